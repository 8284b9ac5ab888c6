// The viewer's tests share one QApplication, ended before the program ends,
// on Qt's offscreen platform unless another one is asked for.
#include <gtest/gtest.h>

#include <QApplication>
#include <cstring>
#include <memory>

int main(int argc, char** argv) {
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  bool listing = false;
  for (int i = 1; i < argc; ++i) listing = listing || std::strncmp(argv[i], "--gtest_list_tests", 18) == 0;
  testing::InitGoogleTest(&argc, argv);
  std::unique_ptr<QApplication> app;
  if (!listing) app = std::make_unique<QApplication>(argc, argv);
  return RUN_ALL_TESTS();
}
