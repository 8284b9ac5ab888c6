// vexmor-view: looks at field files. Started as quartel, quartely or tolmix
// it offers SEG-2, SEG-Y or GSSI radar files first.
//
//   vexmor-view [FILE]
//   vexmor-view --info FILE
//   vexmor-view --screenshot OUT.png [--width W --height H] [--mode wiggle|image] FILE
#include <QApplication>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QTimer>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include "field_file.h"
#include "qt_screen.h"
#include "section_render.h"
#include "view_window.h"

namespace {

using namespace vexmor::view;

const char* kUsage =
    "usage: vexmor-view [FILE]\n"
    "       vexmor-view --info FILE\n"
    "       vexmor-view --screenshot OUT.png [--width W --height H] [--mode wiggle|image] FILE\n";

std::string ProgramName(const char* argv0) {
  std::string name = argv0;
  const size_t slash = name.find_last_of('/');
  if (slash != std::string::npos) name = name.substr(slash + 1);
  for (char& c : name) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  if (name.size() > 4 && name.substr(name.size() - 4) == ".exe") name.resize(name.size() - 4);
  return name;
}

QString FilterFor(const std::string& name) {
  if (name == "quartel") return "SEG-2 files (*.dat *.sg2 *.seg2 *.DAT *.SG2)";
  if (name == "quartely") return "SEG-Y files (*.sgy *.segy *.SGY *.SEGY)";
  if (name == "tolmix") return "GSSI radar files (*.dzt *.DZT)";
  return {};
}

void Fail(const std::string& text) { std::cerr << "vexmor-view: " << text << '\n'; }

int Info(const std::string& path) {
  try {
    const auto file = FieldFile::Open(path);
    std::cout << InfoLine(file->Info()) << '\n';
    return 0;
  } catch (const std::exception& e) {
    Fail(e.what());
  }
  return 1;
}

int Screenshot(int argc, char** argv, const std::vector<std::string>& args) {
  std::string out, path, mode;
  int width = 1200, height = 800;
  for (size_t i = 1; i < args.size(); ++i) {
    const std::string& a = args[i];
    const bool hasValue = i + 1 < args.size();
    if (a == "--screenshot" && hasValue) {
      out = args[++i];
    } else if (a == "--width" && hasValue) {
      width = std::atoi(args[++i].c_str());
    } else if (a == "--height" && hasValue) {
      height = std::atoi(args[++i].c_str());
    } else if (a == "--mode" && hasValue) {
      mode = args[++i];
    } else if (!a.empty() && a[0] != '-' && path.empty()) {
      path = a;
    } else {
      std::cerr << kUsage;
      return 1;
    }
  }
  if (out.empty() || path.empty() || width < 16 || height < 16 || width > 20000 || height > 20000 ||
      (!mode.empty() && mode != "wiggle" && mode != "image")) {
    std::cerr << kUsage;
    return 1;
  }
  std::unique_ptr<FieldFile> file;
  try {
    file = FieldFile::Open(path);
  } catch (const std::exception& e) {
    Fail(e.what());
    return 1;
  }
  vexmor::PrepareScreen("vexmor-view", vexmor::ScreenUse::Picture);
  QGuiApplication app(argc, argv);
  ViewSettings settings;
  const FieldInfo& info = file->Info();
  const bool image = mode.empty() ? (info.radar || info.traces > 400) : mode == "image";
  settings.mode = image ? Mode::Grey : Mode::Wiggle;
  settings.perTrace = !image;
  TraceCache cache(*file);
  QImage picture(width, height, QImage::Format_RGB32);
  QPainter painter(&picture);
  RenderSection(painter, picture.rect(), cache, settings, WholeRange(info));
  painter.end();
  for (const std::string& note : file->Notes()) Fail(path + ": " + note);
  if (!picture.save(QString::fromStdString(out), "PNG")) {
    Fail(out + ": the picture could not be written");
    return 1;
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> args(argv, argv + argc);
  const std::string name = ProgramName(argv[0]);
  if (const char* probe = std::getenv("VEXMOR_VIEW_PROBE")) {
    // Tells how it was started and ends: the launch test needs no window.
    std::ofstream(probe, std::ios::app) << "name=" << name << " filter=" << FilterFor(name).toStdString() << '\n';
    return 0;
  }
  if (argc >= 2 && args[1] == "--info") {
    if (argc != 3) {
      std::cerr << kUsage;
      return 1;
    }
    return Info(args[2]);
  }
  if (argc >= 2 && (args[1] == "--help" || args[1] == "-h")) {
    std::cout << kUsage;
    return 0;
  }
  for (const std::string& a : args) {
    if (a == "--screenshot") return Screenshot(argc, argv, args);
  }
  if (argc > 2 || (argc == 2 && args[1].size() > 1 && args[1][0] == '-')) {
    std::cerr << kUsage;
    return 1;
  }
  if (!vexmor::PrepareScreen("vexmor-view", vexmor::ScreenUse::Window, "--screenshot and --info work without one")) {
    return 1;
  }
  QApplication app(argc, argv);
  ViewWindow window(FilterFor(name));
  window.show();
  if (argc == 2) {
    window.OpenFile(QString::fromStdString(args[1]));
  } else if (!FilterFor(name).isEmpty()) {
    // Started from the converter with no file: ask for one at once.
    QTimer::singleShot(0, &window, &ViewWindow::ChooseFile);
  }
  return app.exec();
}
