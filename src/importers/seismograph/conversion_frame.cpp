#include "importers/seismograph/conversion_frame.h"

#include <new>

#include "core/failure.h"
#include "core/numbers.h"
#include "core/paths.h"
#include "panels/control.h"
#include "platform/platform.h"

namespace vexmor {

std::string ConversionErrorText(int number) { return "File conversion error N° " + NumberText(number); }

bool RunConversion(Platform& platform, const std::string& panel, const std::function<void()>& body,
                   std::string_view failureTail) {
  platform.BusyPointer(true, panel);
  int failure = 0;
  try {
    body();
  } catch (const ConversionStopped&) {
    platform.BusyPointer(false, panel);
    return false;
  } catch (const RunTimeFailure& e) {
    failure = e.Number();
  } catch (const std::bad_alloc&) {
    failure = static_cast<int>(FailureCode::OutOfMemory);
  } catch (const std::length_error&) {
    failure = static_cast<int>(FailureCode::OutOfMemory);
  }
  if (failure != 0) {
    platform.MessageBox(ConversionErrorText(failure) + std::string(failureTail), buttons::kOk, "");
    platform.BusyPointer(false, panel);
    return false;
  }
  platform.BusyPointer(false, panel);
  return true;
}

BinaryFile OpenOutput(const std::string& path) {
  if (path.find_first_not_of(' ') == std::string::npos || HasWildcards(path)) {
    throw RunTimeFailure(FailureCode::BadFileName, "not a file name: \"" + path + "\"");
  }
  return BinaryFile(path, BinaryFile::Mode::Update);
}

int16_t LimitTo99Records(int16_t nbFiles, Platform& platform) {
  if (nbFiles <= 99) return nbFiles;
  platform.MessageBox("Maximum 99 records", buttons::kOk, "");
  return 99;
}

void StartProgress(Control& bar, int max) {
  bar.SetVisible(true);
  bar.SetRange(1, max);
  bar.SetProgress(1);
}

}  // namespace vexmor
