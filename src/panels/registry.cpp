#include "panels/registry.h"

#include <cctype>

#include "importers/radar/ascii2su.h"
#include "importers/radar/dt1.h"
#include "importers/radar/dzt2.h"
#include "importers/radar/dzt_old.h"
#include "importers/radar/ramac.h"
#include "importers/seismograph/abem.h"
#include "importers/seismograph/ambrogeo.h"
#include "importers/seismograph/bison.h"
#include "importers/seismograph/dolang.h"
#include "importers/seismograph/es1225.h"
#include "importers/seismograph/handy_viewer.h"
#include "importers/seismograph/oyo.h"
#include "importers/seismograph/pasi.h"
#include "importers/seismograph/sisforme.h"
#include "panels/main_panel.h"
#include "toolchains/segy.h"
#include "toolchains/su2sgy.h"
#include "toolchains/convert.h"
#include "utilities/add_su_files.h"
#include "utilities/editor.h"
#include "utilities/pick.h"

namespace vexmor {

namespace {

// One row for each panel; a panel that is not built yet opens empty.
constexpr PanelType kPanels[] = {
    {"MainPanel", MakePanel<MainPanel>},
    {"sisforme", MakePanel<Sisforme>},
    {"abem", MakePanel<Abem>},
    {"es1225", MakePanel<Es1225>},
    {"oyo", MakePanel<Oyo>},
    {"HandyViewer", MakePanel<HandyViewer>},
    {"Bison", MakePanel<Bison>},
    {"DOLANG", MakePanel<Dolang>},
    {"pasi", MakePanel<Pasi>},
    {"Ambrogeo", MakePanel<Ambrogeo>},
    {"Radar_F", MakePanel<Radar_F>},
    {"DT1", MakePanel<DT1>},
    {"DZT_old", MakePanel<DZT_old>},
    {"ASCII2SU", MakePanel<ASCII2SU>},
    {"DZT2", MakePanel<DZT2>},
    {"Convert", MakePanel<Convert>},
    {"SEGY", MakePanel<Segy>},
    {"SU2SGY", MakePanel<Su2Sgy>},
    {"Add_SU_files", MakePanel<Add_SU_files>},
    {"pick", MakePanel<pick>},
    {"editor", MakePanel<editor>},
};

struct EmptyPanel {
  EmptyPanel(Session& session, std::string_view name) : form(session, std::string(name), std::string(name), {}) {}
  Form form;
};

}  // namespace

Session::Loaded MakeEmptyPanel(Session& session, std::string_view name) {
  auto panel = std::make_shared<EmptyPanel>(session, name);
  return Session::Loaded{panel, &panel->form, false};
}

std::span<const PanelType> PanelTypes() { return kPanels; }

const PanelType* FindPanelType(std::string_view name) {
  for (const PanelType& type : kPanels) {
    if (type.name == name) return &type;
  }
  return nullptr;
}

std::string PanelNameAnyCase(std::string_view name) {
  const auto lower = [](std::string_view text) {
    std::string out(text);
    for (char& c : out) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return out;
  };
  if (FindPanelType(name) != nullptr) return std::string(name);
  for (const PanelType& type : kPanels) {
    if (lower(type.name) == lower(name)) return std::string(type.name);
  }
  return std::string(name);
}

}  // namespace vexmor
