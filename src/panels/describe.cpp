#include "panels/describe.h"

#include "core/shared_state.h"
#include "panels/registry.h"
#include "platform/headless_platform.h"
#include "platform/transcript.h"

namespace vexmor {

namespace {

// Builds the panel from its table without loading it: no Form_Load runs, so
// nothing is asked, read or started.
template <typename Use>
void WithUnloadedForm(const PanelType& type, Use use) {
  HeadlessPlatform platform;
  platform.SetRecordOnly(true);
  SharedState state;
  Session session(platform, state);
  const Session::Loaded loaded = type.make(session, type.name);
  use(*loaded.form);
}

std::string ControlLine(const Control& c) {
  std::string line = c.Name() + " kind=" + Quote(KindName(c.Kind())) + " caption=" + Quote(c.Caption());
  switch (c.Kind()) {
    case ControlKind::Text:
    case ControlKind::RichText:
    case ControlKind::Combo: line += " default=" + Quote(c.Text()); break;
    case ControlKind::Label:
      if (c.Text() != c.Caption()) line += " default=" + Quote(c.Text());
      break;
    case ControlKind::Option:
    case ControlKind::Check: line += c.Value() ? " default=on" : " default=off"; break;
    case ControlKind::Timer: line += " interval=" + std::to_string(c.Interval()); break;
    default: break;
  }
  if (!c.Frame().empty()) line += " frame=" + c.Frame();
  if (!c.KeySet().empty()) line += " keys=" + Quote(c.KeySet());
  if (c.MultiLine()) line += " multiline=1";
  if (c.Locked()) line += " locked=1";
  if (!c.Enabled()) line += " enabled=0";
  if (!c.Visible()) line += " visible=0";
  return line;
}

}  // namespace

std::vector<PanelSummary> DescribePanels() {
  std::vector<PanelSummary> panels;
  for (const PanelType& type : PanelTypes()) {
    PanelSummary summary;
    summary.name = type.name;
    summary.built = type.make != &MakeEmptyPanel;
    WithUnloadedForm(type, [&summary](Form& form) {
      summary.caption = form.Caption();
      summary.controls = form.Controls().size();
    });
    panels.push_back(std::move(summary));
  }
  return panels;
}

std::optional<std::vector<std::string>> ControlLines(std::string_view panel) {
  const PanelType* type = FindPanelType(panel);
  if (type == nullptr) return std::nullopt;
  std::vector<std::string> lines;
  WithUnloadedForm(*type, [&lines](Form& form) {
    for (const Control& c : form.Controls()) lines.push_back(ControlLine(c));
  });
  return lines;
}

}  // namespace vexmor
