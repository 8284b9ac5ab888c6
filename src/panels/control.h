#pragma once
// The controls of a panel: small value types that hold what the screen
// shows. The logic reads and sets them; the desktop program binds a widget
// to each and redraws it when the control says it changed. Code that sets a
// value raises the control's event, as a user's change would: a new text
// raises Change, selecting an option or a list line raises Click.
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/platform.h"

namespace vexmor {

class Form;

enum class ControlKind {
  Text,        // text box (multi-line when the table says so)
  Label,
  Button,
  Option,      // radio option; the options of one frame exclude each other
  Check,
  Frame,
  List,        // list box
  Combo,       // drop-down list
  Grid,        // one row of cells
  ProgressBar,
  RichText,
  Tabs,
  Timer,
  Drawing,     // drawing surface
  Menu,
  MenuEntry,
  Toolbar,
  FileDialog,  // the common dialog; it only names the dialog of ChooseFile
  Picture,     // a stored picture; its text names the picture
};

std::string_view KindName(ControlKind kind);

// Flags of a control's row in a control table.
enum ControlFlag : unsigned {
  kHidden = 1u << 0,
  kSelected = 1u << 1,   // option selected / check ticked at the start
  kDisabled = 1u << 2,
  kLocked = 1u << 3,     // read-only text
  kMultiLine = 1u << 4,
};

// One row of a panel's control table.
struct ControlDef {
  std::string_view name = {};
  ControlKind kind = ControlKind::Label;
  std::string_view caption = {};   // caption, or the label shown beside a text
  std::string_view toolTip = {};
  std::string_view initial = {};   // default text
  std::string_view frame = {};     // the frame (container) it stands in, if any
  unsigned flags = 0;
  std::string_view keySet = {};    // characters its key filter lets through
};

// A drawn figure on a drawing surface.
struct Figure {
  bool filled = false;                       // polygon, else polyline
  std::vector<std::pair<double, double>> points;
};

// How a drawing surface maps its pixels (figures are in pixels from its top
// left corner) to the user units in which it reports the mouse. A width of
// 0 means no scale is set: the front fits the figures into its widget.
struct SurfaceScale {
  double left = 0, top = 0, right = 1, bottom = 1;
  int width = 0, height = 0;                 // pixels
};

class Control {
 public:
  Control(Form& form, const ControlDef& def);

  const std::string& Name() const { return name_; }
  ControlKind Kind() const { return kind_; }
  const std::string& Frame() const { return frame_; }
  Form& Owner() const { return *form_; }

  // Text of a text box or rich text; caption of every other control.
  const std::string& Text() const { return text_; }
  void SetText(std::string text);            // a text box raises Change when it differs
  const std::string& Caption() const { return caption_; }
  void SetCaption(std::string caption);
  const std::string& ToolTip() const { return toolTip_; }
  void SetToolTip(std::string tip);

  bool Visible() const { return visible_; }
  void SetVisible(bool v);
  bool Enabled() const { return enabled_; }
  void SetEnabled(bool e);
  bool Locked() const { return locked_; }
  void SetLocked(bool l);
  bool MultiLine() const { return multiLine_; }
  const std::string& KeySet() const { return keySet_; }

  // Option and check box. Selecting an option clears the others of its
  // frame and raises its Click when it was not selected; a check box raises
  // Click whenever its value changes.
  bool Value() const { return value_; }
  void SetValue(bool on);

  // List, drop-down list.
  const std::vector<std::string>& Items() const { return items_; }
  void AddItem(std::string item);
  void RemoveItem(int index);
  void ClearItems();
  int ListIndex() const { return listIndex_; }
  void SetListIndex(int index);              // raises Click when it changes to a line
  std::string SelectedItem() const;

  // Tool bar: the keys are its items ("" a separator), each with a tip.
  const std::string& ItemTip(size_t index) const;
  void SetItemTip(size_t index, std::string tip);

  // Rich text: the selection, in bytes of Text() (the cursor when its
  // length is 0), and the font of the whole text.
  size_t SelStart() const { return selStart_; }
  size_t SelLength() const { return selLength_; }
  void SetSelection(size_t start, size_t length);  // kept inside the text
  std::string SelectedText() const { return text_.substr(selStart_, selLength_); }
  const TextFont& Font() const { return font_; }
  void SetFont(TextFont font);

  // Grid: the cells of its one row.
  const std::vector<std::string>& Cells() const { return cells_; }
  void SetCellCount(int count);
  void SetCell(int index, std::string value); // grows the row when needed

  // Progress bar.
  int Min() const { return min_; }
  int Max() const { return max_; }
  int ProgressValue() const { return progress_; }
  void SetRange(int min, int max);
  void SetProgress(int value);

  // Timer.
  int Interval() const { return interval_; }
  void SetInterval(int ms);

  // Tabs: the tab shown.
  int Tab() const { return tab_; }
  void SetTab(int tab);

  // Drawing surface.
  const std::vector<Figure>& Figures() const { return figures_; }
  int PolygonCount() const;
  void ClearFigures();
  void AddFigure(Figure figure);
  const SurfaceScale& Scale() const { return scale_; }
  void SetScale(const SurfaceScale& scale);
  bool CrossPointer() const { return crossPointer_; }
  void SetCrossPointer(bool on);

  // Called after every change of what the control shows; the desktop
  // program hangs its widget update here.
  void SetViewHook(std::function<void(Control&)> hook) { viewHook_ = std::move(hook); }

 private:
  void Changed();
  Form* form_;
  std::string name_;
  ControlKind kind_;
  std::string frame_;
  std::string text_;
  std::string caption_;
  std::string toolTip_;
  std::string keySet_;
  bool visible_ = true;
  bool enabled_ = true;
  bool locked_ = false;
  bool multiLine_ = false;
  bool value_ = false;
  std::vector<std::string> items_;
  int listIndex_ = -1;
  std::vector<std::string> itemTips_;
  size_t selStart_ = 0, selLength_ = 0;
  TextFont font_;
  std::vector<std::string> cells_;
  int min_ = 0, max_ = 100, progress_ = 0;
  int interval_ = 0;
  int tab_ = 0;
  std::vector<Figure> figures_;
  SurfaceScale scale_;
  bool crossPointer_ = false;
  std::function<void(Control&)> viewHook_;
};

}  // namespace vexmor
