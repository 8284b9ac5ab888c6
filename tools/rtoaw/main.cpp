// rtoaw: the scans of a GSSI DZT radar file to the column text that the
// ASCII importer reads, from a terminal or, with no arguments on a desktop,
// from a small window.
#include <sys/stat.h>

#include <charconv>
#include <iostream>
#include <string>
#include <vector>

#include "core/failure.h"
#include "dzt_text.h"
#include "word_text.h"

#ifdef VEXMOR_TOOL_WINDOW
#include "qt_screen.h"
#include "rtoaw_window.h"
#endif

namespace {

using namespace vexmor;

const char* const kUsage =
    "usage: rtoaw [-c N] [-r | -w] FILE.DZT [FILE.TXT]   DZT radar scans to column text for the ASCII import\n"
    "  FILE.TXT  the text to write (FILE.TXT beside the input when left out); a file of several\n"
    "            channels gives FILE_1.TXT, FILE_2.TXT ...\n"
    "  -c N      channel N only\n"
    "  -r        samples as stored: unsigned 8- and 16-bit values keep their zero at 128 or 32768\n"
    "  -w        two samples to one word, as the direct DZT to SU conversion reads the file: a\n"
    "            1024-byte header, then traces of half the samples per scan (ASCII import gives the same)\n"
    "  -h, --help  this text\n"
    "The text has one row for each sample and one column for each scan, separated by commas.\n"
    "A last scan cut short is written padded with zeros and said; the exit status is then 1.\n"
#ifdef VEXMOR_TOOL_WINDOW
    "Started with no argument on a desktop, rtoaw opens its window.\n"
    "  --screenshot FILE.png [-w] [FILE.DZT [FILE.TXT]]   draw the window to a picture and end; with a\n"
    "               text named, convert first and draw the final message to FILE-message.png\n"
#endif
    ;

bool SameFile(const std::string& a, const std::string& b) {
  struct stat sa{}, sb{};
  return ::stat(a.c_str(), &sa) == 0 && ::stat(b.c_str(), &sb) == 0 && sa.st_dev == sb.st_dev &&
         sa.st_ino == sb.st_ino;
}

// A wrong argument gets one line naming it; no argument at all, the usage.
int Usage(const std::string& error) {
  if (error.empty()) {
    std::cerr << kUsage;
  } else {
    std::cerr << "rtoaw: " << error << " (rtoaw --help shows the usage)\n";
  }
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  DztToTextOptions options;
  std::vector<std::string> files;
  std::string screenshot;
  bool words = false;
  for (int k = 1; k < argc; ++k) {
    const std::string arg = argv[k];
    if (arg == "-h" || arg == "--help") {
      std::cout << kUsage;
      return 0;
    } else if (arg == "-r" || arg == "--raw") {
      options.centre = false;
    } else if (arg == "-w" || arg == "--words") {
      words = true;
    } else if (arg == "-c" || arg == "--channel" || arg == "--screenshot") {
      if (k + 1 >= argc) return Usage(arg + " needs a value");
      const std::string value = argv[++k];
      if (arg == "--screenshot") {
        screenshot = value;
      } else {
        // The whole word is the number: "3x" or 4294967297 is refused, not read as 3 or 1.
        int channel = 0;
        const auto [end, ec] = std::from_chars(value.data(), value.data() + value.size(), channel);
        if (ec != std::errc() || end != value.data() + value.size() || channel < 1 || channel > 65535) {
          return Usage(arg + " takes a channel number from 1 to 65535, not '" + value + "'");
        }
        options.channel = channel;
      }
    } else if (arg.size() > 1 && arg[0] == '-') {
      return Usage("unknown option " + arg);
    } else {
      files.push_back(arg);
    }
  }
#ifdef VEXMOR_TOOL_WINDOW
  if (!screenshot.empty()) {
    PrepareScreen("rtoaw", ScreenUse::Picture);
    return RunRtoawWindow(argc, argv, screenshot, files.empty() ? "" : files[0], files.size() > 1 ? files[1] : "", words);
  }
  // With nothing to do it is the window or nothing: without a screen nobody
  // could close it, and whoever started it would wait for ever.
  if (argc == 1) {
    if (PrepareScreen("rtoaw", ScreenUse::Window)) return RunRtoawWindow(argc, argv, "", "");
    return Usage("");
  }
#endif
  if (files.empty() || files.size() > 2) {
    return Usage(files.empty() ? "" : "one DZT file at a time: '" + files[2] + "' is one too many");
  }
  const std::string input = files[0];
  const std::string output = files.size() > 1 ? files[1] : "";
  try {
    if (!output.empty() && SameFile(input, output)) return Usage(output + " is the input file");
    if (words) {
      const std::string text = output.empty() ? DztTextNames(input, "", 1, 0)[0] : output;
      const WordTextResult w = DztWordsToText(input, text);
      std::cout << "written " << text << ": " << w.words << " rows (words of two samples) of " << w.traces
                << " columns (traces)\n"
                << "Samples per scan for the ASCII import: " << w.words << ". Remember this number.\n";
      for (const std::string& note : w.notes) std::cout << note << '\n';
      return w.notes.empty() ? 0 : 1;
    }
    const DztToTextResult r = DztToText(input, output, options);
    const DztHeader& h = r.header;
    std::cout << input << ": " << h.scans << " scans of " << h.samplesPerScan << " samples, " << h.bits
              << " bits, " << h.channels << " channel" << (h.channels == 1 ? "" : "s") << ", time window "
              << h.rangeNs << " ns\n";
    for (const std::string& name : r.outputs) {
      std::cout << "written " << name << ": " << h.samplesPerScan << " rows (samples) of " << r.columns
                << " columns (scans)\n";
    }
    for (const std::string& note : r.notes) std::cout << note << '\n';
    std::cout << "Samples per scan: " << h.samplesPerScan
              << ". Remember this number: the ASCII import asks for it.\n";
    return r.damaged ? 1 : 0;  // everything is written, but the input was damaged
  } catch (const DztError& e) {
    std::cerr << "rtoaw: " << e.what() << '\n';
  } catch (const RunTimeFailure& e) {
    std::cerr << "rtoaw: " << e.what() << '\n';
  } catch (const std::bad_alloc&) {
    std::cerr << "rtoaw: " << input << ": too large to convert in memory\n";
  } catch (const std::exception& e) {
    std::cerr << "rtoaw: " << input << ": " << e.what() << '\n';
  }
  return 1;
}
