#include <QApplication>
#include <QLabel>
int main(int argc, char** argv) {
  QApplication app(argc, argv);
  QLabel label("Vexmor");
  label.show();
  return app.exec();
}
