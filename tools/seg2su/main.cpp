// seg2su: SEG-2 records to one SU file, from a terminal or, started with no
// arguments on a desktop, from a small window.
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <string>
#include <vector>

#include "core/binary_file.h"
#include "core/failure.h"
#include "formats/seg2.h"
#include "seg2_to_su.h"
#include "tool_desktop.h"
#include "tool_output.h"

#ifdef VEXMOR_TOOL_WINDOW
#include "seg2su_window.h"
#endif

namespace {

using namespace vexmor;

const char* const kUsage =
    "usage: seg2su [-o OUT.su] [-d] FILE...      SEG-2 records to one SU file (standard output without -o)\n"
    "       seg2su -l FILE...                    list the descriptor strings of SEG-2 files\n"
    "  -o FILE      write the SU traces to FILE\n"
    "  -d           multiply the samples by the DESCALING_FACTOR of each trace\n"
    "  -l           list, convert nothing\n"
    "  -h, --help   this text\n"
#ifdef VEXMOR_TOOL_WINDOW
    "Started with no argument on a desktop, seg2su opens its window.\n"
    "  --screenshot FILE.png [-o OUT.su] [FILE...]   draw the window to a picture and end; with -o,\n"
    "               convert first and draw the final message to FILE-message.png\n"
#endif
    ;

struct Arguments {
  std::string output;
  bool descale = false;
  bool list = false;
  bool help = false;
  std::string screenshot;
  std::vector<std::string> inputs;
  std::string error;
};

Arguments ParseArguments(int argc, char** argv) {
  Arguments a;
  for (int k = 1; k < argc; ++k) {
    const std::string arg = argv[k];
    if (arg == "-o" || arg == "--output" || arg == "--screenshot") {
      if (k + 1 >= argc) {
        a.error = arg + " needs a file name";
        return a;
      }
      (arg == "--screenshot" ? a.screenshot : a.output) = argv[++k];
    } else if (arg == "-d" || arg == "--descale") {
      a.descale = true;
    } else if (arg == "-l" || arg == "--list") {
      a.list = true;
    } else if (arg == "-h" || arg == "--help") {
      a.help = true;
    } else if (arg == "--") {
      for (++k; k < argc; ++k) a.inputs.emplace_back(argv[k]);
    } else if (arg.size() > 1 && arg[0] == '-') {
      a.error = "unknown option " + arg;
      return a;
    } else {
      a.inputs.push_back(arg);
    }
  }
  return a;
}

void ListStrings(const std::vector<Seg2String>& strings, const char* indent) {
  for (const Seg2String& s : strings) std::cout << indent << s.key << (s.value.empty() ? "" : " ") << s.value << '\n';
}

int List(const std::vector<std::string>& inputs) {
  static const char* formats[] = {"", "int16", "int32", "20-bit packed", "float32", "float64"};
  int failed = 0;
  for (const std::string& path : inputs) {
    try {
      BinaryFile f(path, BinaryFile::Mode::Read);
      const Seg2File file = ReadSeg2(f);
      std::cout << path << ": SEG-2 revision " << file.revision << ", "
                << (file.bigEndian ? "high" : "low") << " byte first, " << file.traces.size() << " traces\n";
      ListStrings(file.strings, "  ");
      for (size_t t = 0; t < file.traces.size(); ++t) {
        const Seg2Trace& trace = file.traces[t];
        std::cout << "  trace " << t + 1 << ": " << trace.samples << " samples, " << formats[trace.format] << '\n';
        ListStrings(trace.strings, "    ");
      }
      for (const std::string& n : file.notes) std::cerr << "seg2su: " << path << ": " << n << '\n';
    } catch (const std::exception& e) {
      std::cerr << "seg2su: " << e.what() << '\n';
      ++failed;
    }
  }
  // A listing lost on a full disk or a closed pipe is said, not passed over.
  errno = 0;
  if (!(std::cout << std::flush)) {
    std::cerr << "seg2su: standard output: the listing could not be written"
              << (errno != 0 ? std::string(": ") + std::strerror(errno) : std::string()) << '\n';
    return 1;
  }
  return failed == 0 ? 0 : 1;
}

bool SameFile(const std::string& a, const std::string& b) {
  struct stat sa{}, sb{};
  return ::stat(a.c_str(), &sa) == 0 && ::stat(b.c_str(), &sb) == 0 && sa.st_dev == sb.st_dev &&
         sa.st_ino == sb.st_ino;
}

int Convert(const Arguments& a) {
  for (const std::string& in : a.inputs) {
    if (!a.output.empty() && SameFile(in, a.output)) {
      std::cerr << "seg2su: " << a.output << " is one of the input files; choose another output\n";
      return 2;
    }
  }
  if (a.output.empty() && ::isatty(STDOUT_FILENO)) {
    std::cerr << "seg2su: SU traces are binary; name an output with -o or send them to a file\n";
    return 2;
  }
  ToolOutput out(a.output);
  Seg2SuReport report;
  try {
    Seg2SuOptions options;
    options.descale = a.descale;
    report = ConvertSeg2ToSu(a.inputs, [&out](const uint8_t* p, size_t n) { out.Write(p, n); }, options);
    out.Close();
  } catch (const std::exception& e) {  // the output failed (disk full, no access)
    std::cerr << "seg2su: " << e.what() << '\n';
    return 1;
  }
  for (const std::string& m : report.messages) std::cerr << "seg2su: " << m << '\n';
  std::cerr << "seg2su: " << Seg2SuSummary(report, out.Name()) << '\n';
  return report.filesFailed == 0 && report.tracesLost == 0 && report.tracesCut == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  const Arguments a = ParseArguments(argc, argv);
  if (!a.error.empty()) {
    std::cerr << "seg2su: " << a.error << " (seg2su --help shows the usage)\n";
    return 2;
  }
  if (a.help) {
    std::cout << kUsage;
    return 0;
  }
#ifdef VEXMOR_TOOL_WINDOW
  if (!a.screenshot.empty()) return RunSeg2SuWindow(argc, argv, a.screenshot, a.inputs, a.output);
  if (argc == 1 && DesktopPresent()) return RunSeg2SuWindow(argc, argv, "", {});
#endif
  if (a.inputs.empty()) {
    std::cerr << kUsage;
    return 2;
  }
  if (a.list) return List(a.inputs);
  return Convert(a);
}
