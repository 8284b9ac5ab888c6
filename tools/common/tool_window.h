#pragma once
// Qt side of the outside programs' windows.
#include <QApplication>
#include <QPushButton>
#include <QString>
#include <QTimer>
#include <QWidget>

namespace vexmor {

// Presses the button; the first dialog that it opens is drawn to
// `picture` and closed, so that the whole round can be seen without a user.
inline void PressAndDrawDialog(QPushButton* button, const QString& picture) {
  auto* timer = new QTimer(button);
  QObject::connect(timer, &QTimer::timeout, timer, [timer, picture] {
    if (QWidget* dialog = QApplication::activeModalWidget()) {
      timer->stop();
      dialog->grab().save(picture);
      dialog->close();
    }
  });
  timer->start(50);
  button->click();
  timer->stop();
}

}  // namespace vexmor
