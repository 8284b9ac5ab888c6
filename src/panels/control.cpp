#include "panels/control.h"

#include <algorithm>

#include "panels/form.h"

namespace vexmor {

std::string_view KindName(ControlKind kind) {
  switch (kind) {
    case ControlKind::Text: return "text";
    case ControlKind::Label: return "label";
    case ControlKind::Button: return "button";
    case ControlKind::Option: return "option";
    case ControlKind::Check: return "check box";
    case ControlKind::Frame: return "frame";
    case ControlKind::List: return "list";
    case ControlKind::Combo: return "drop-down list";
    case ControlKind::Grid: return "grid";
    case ControlKind::ProgressBar: return "progress bar";
    case ControlKind::RichText: return "rich text";
    case ControlKind::Tabs: return "tabs";
    case ControlKind::Timer: return "timer";
    case ControlKind::Drawing: return "drawing surface";
    case ControlKind::Menu: return "menu";
    case ControlKind::MenuEntry: return "menu entry";
    case ControlKind::Toolbar: return "tool bar";
    case ControlKind::FileDialog: return "file dialog";
    case ControlKind::Picture: return "picture";
  }
  return "control";
}

Control::Control(Form& form, const ControlDef& def)
    : form_(&form),
      name_(def.name),
      kind_(def.kind),
      frame_(def.frame),
      caption_(def.caption),
      toolTip_(def.toolTip),
      keySet_(def.keySet),
      visible_(!(def.flags & kHidden)),
      enabled_(!(def.flags & kDisabled)),
      locked_(def.flags & kLocked),
      multiLine_(def.flags & kMultiLine),
      value_(def.flags & kSelected) {
  switch (kind_) {
    case ControlKind::Text:
    case ControlKind::RichText:
    case ControlKind::Combo:
    case ControlKind::Picture: text_ = def.initial; break;
    case ControlKind::Label: text_ = def.initial.empty() ? def.caption : def.initial; break;
    default: text_ = def.caption; break;
  }
  if (kind_ == ControlKind::Timer) interval_ = static_cast<int>(std::stoi(std::string(def.initial.empty() ? "0" : def.initial)));
}

void Control::Changed() {
  if (viewHook_) viewHook_(*this);
}

void Control::SetText(std::string text) {
  if (kind_ != ControlKind::Text && kind_ != ControlKind::RichText && kind_ != ControlKind::Label &&
      kind_ != ControlKind::Combo) {
    SetCaption(std::move(text));
    return;
  }
  if (text == text_) return;
  text_ = std::move(text);
  selStart_ = std::min(selStart_, text_.size());
  selLength_ = std::min(selLength_, text_.size() - selStart_);
  Changed();
  if (kind_ == ControlKind::Text || kind_ == ControlKind::RichText) form_->Raise(name_, "Change");
}

const std::string& Control::ItemTip(size_t index) const {
  static const std::string none;
  return index < itemTips_.size() ? itemTips_[index] : none;
}

void Control::SetItemTip(size_t index, std::string tip) {
  if (itemTips_.size() <= index) itemTips_.resize(index + 1);
  itemTips_[index] = std::move(tip);
  Changed();
}

void Control::SetSelection(size_t start, size_t length) {
  start = std::min(start, text_.size());
  length = std::min(length, text_.size() - start);
  if (start == selStart_ && length == selLength_) return;
  selStart_ = start;
  selLength_ = length;
  Changed();
}

void Control::SetFont(TextFont font) {
  if (font == font_) return;
  font_ = std::move(font);
  Changed();
}

void Control::SetCaption(std::string caption) {
  caption_ = std::move(caption);
  if (kind_ != ControlKind::Text && kind_ != ControlKind::RichText && kind_ != ControlKind::Label &&
      kind_ != ControlKind::Combo) {
    text_ = caption_;
  }
  Changed();
}

void Control::SetToolTip(std::string tip) {
  toolTip_ = std::move(tip);
  Changed();
}

void Control::SetVisible(bool v) {
  if (v == visible_) return;
  visible_ = v;
  Changed();
}

void Control::SetEnabled(bool e) {
  if (e == enabled_) return;
  enabled_ = e;
  Changed();
}

void Control::SetLocked(bool l) {
  if (l == locked_) return;
  locked_ = l;
  Changed();
}

void Control::SetValue(bool on) {
  if (kind_ == ControlKind::Option) {
    if (!on) {
      if (value_) {
        value_ = false;
        Changed();
      }
      return;
    }
    if (value_) return;
    for (Control& other : form_->Controls()) {
      if (&other != this && other.kind_ == ControlKind::Option && other.frame_ == frame_ && other.value_) {
        other.value_ = false;
        other.Changed();
      }
    }
    value_ = true;
    Changed();
    form_->Raise(name_, "Click");
    return;
  }
  if (on == value_) return;
  value_ = on;
  Changed();
  if (kind_ == ControlKind::Check) form_->Raise(name_, "Click");
}

void Control::AddItem(std::string item) {
  items_.push_back(std::move(item));
  Changed();
}

void Control::RemoveItem(int index) {
  if (index < 0 || index >= static_cast<int>(items_.size())) return;
  items_.erase(items_.begin() + index);
  if (static_cast<size_t>(index) < itemTips_.size()) itemTips_.erase(itemTips_.begin() + index);
  if (listIndex_ >= static_cast<int>(items_.size())) listIndex_ = static_cast<int>(items_.size()) - 1;
  Changed();
}

void Control::ClearItems() {
  items_.clear();
  itemTips_.clear();
  listIndex_ = -1;
  if (kind_ == ControlKind::Combo) text_.clear();
  Changed();
}

void Control::SetListIndex(int index) {
  if (index < -1 || index >= static_cast<int>(items_.size())) index = -1;
  if (index == listIndex_) return;
  listIndex_ = index;
  if (kind_ == ControlKind::Combo) text_ = index >= 0 ? items_[static_cast<size_t>(index)] : std::string();
  Changed();
  if (index >= 0) form_->Raise(name_, "Click");
}

std::string Control::SelectedItem() const {
  return listIndex_ >= 0 && listIndex_ < static_cast<int>(items_.size()) ? items_[static_cast<size_t>(listIndex_)]
                                                                          : std::string();
}

void Control::SetCellCount(int count) {
  cells_.resize(static_cast<size_t>(std::max(0, count)));
  Changed();
}

void Control::SetCell(int index, std::string value) {
  if (index < 0) return;
  if (static_cast<size_t>(index) >= cells_.size()) cells_.resize(static_cast<size_t>(index) + 1);
  cells_[static_cast<size_t>(index)] = std::move(value);
  Changed();
}

void Control::SetRange(int min, int max) {
  min_ = min;
  max_ = max;
  Changed();
}

void Control::SetProgress(int value) {
  progress_ = value;
  Changed();
}

void Control::SetInterval(int ms) {
  interval_ = ms;
  Changed();
}

void Control::SetTab(int tab) {
  if (tab == tab_) return;
  tab_ = tab;
  Changed();
  form_->Raise(name_, "Click");
}

void Control::ClearFigures() {
  figures_.clear();
  Changed();
}

void Control::AddFigure(Figure figure) {
  figures_.push_back(std::move(figure));
  Changed();
}

int Control::PolygonCount() const {
  int count = 0;
  for (const Figure& f : figures_) count += f.filled ? 1 : 0;
  return count;
}

void Control::SetScale(const SurfaceScale& scale) {
  scale_ = scale;
  Changed();
}

void Control::SetCrossPointer(bool on) {
  if (on == crossPointer_) return;
  crossPointer_ = on;
  Changed();
}

}  // namespace vexmor
