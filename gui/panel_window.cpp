#include "panel_window.h"

#include <QAbstractButton>
#include <QAction>
#include <QButtonGroup>
#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QPixmap>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QMouseEvent>
#include <QPainter>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QTabWidget>
#include <QTableWidget>
#include <QStyle>
#include <QTextCursor>
#include <QTimer>
#include <QToolBar>
#include <QToolTip>
#include <QVBoxLayout>
#include <algorithm>
#include <cmath>
#include <cstdio>

#include "layout_hints.h"
#include "qt_platform.h"

namespace vexmor {

namespace {

QString Q(const std::string& text) { return QString::fromStdString(text); }

// Positions in a control's text are bytes of UTF-8 that may hold CR LF; the
// widget counts UTF-16 units and keeps LF alone.
bool Skipped(const std::string& text, size_t i) { return text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n'; }
int Units(unsigned char byte) { return (byte & 0xC0) == 0x80 ? 0 : (byte >= 0xF0 ? 2 : 1); }

int WidgetPosOf(const std::string& text, size_t byte) {
  int pos = 0;
  for (size_t i = 0; i < std::min(byte, text.size()); ++i) {
    if (!Skipped(text, i)) pos += Units(static_cast<unsigned char>(text[i]));
  }
  return pos;
}

size_t ByteOf(const std::string& text, int widgetPos) {
  int pos = 0;
  size_t i = 0;
  for (; i < text.size(); ++i) {
    if (Skipped(text, i)) continue;
    const int units = Units(static_cast<unsigned char>(text[i]));
    if (units > 0 && pos >= widgetPos) break;
    pos += units;
  }
  return i;
}

// The pictures of the tool-bar buttons, by their keys.
QIcon ToolIcon(const std::string& key, QStyle* style) {
  if (key == "open") return style->standardIcon(QStyle::SP_DialogOpenButton);
  if (key == "save") return style->standardIcon(QStyle::SP_DialogSaveButton);
  if (key == "print") return QIcon::fromTheme(QStringLiteral("document-print"), style->standardIcon(QStyle::SP_FileIcon));
  if (key == "stop") return style->standardIcon(QStyle::SP_DialogCloseButton);
  return {};
}

// What a table can't say of a widget's looks: bold text, a larger size.
void ApplyLookHints(QWidget* w, const std::string& panel, const std::string& control) {
  if (FindLayoutHint(panel, control, "bold")) {
    QFont font = w->font();
    font.setBold(true);
    w->setFont(font);
  }
  if (auto size = FindLayoutHint(panel, control, "minsize")) {
    int width = 0, height = 0;
    if (std::sscanf(std::string(*size).c_str(), "%dx%d", &width, &height) == 2) w->setMinimumSize(width, height);
  }
}

void ShowSelection(QPlainTextEdit* rich, const Control& c) {
  const int start = WidgetPosOf(c.Text(), c.SelStart());
  const int end = WidgetPosOf(c.Text(), c.SelStart() + c.SelLength());
  QTextCursor cursor = rich->textCursor();
  if (cursor.selectionStart() == start && cursor.selectionEnd() == end) return;
  cursor.setPosition(start);
  cursor.setPosition(end, QTextCursor::KeepAnchor);
  rich->setTextCursor(cursor);
}

// Runs a function on the events of one object.
class EventHook : public QObject {
 public:
  EventHook(QObject* parent, std::function<bool(QEvent*)> f) : QObject(parent), f_(std::move(f)) {}
  bool eventFilter(QObject*, QEvent* event) override { return f_(event); }

 private:
  std::function<bool(QEvent*)> f_;
};

// A drawing surface: its figures fitted into the widget, the mouse reported
// back in the figures' own units.
class Surface : public QWidget {
 public:
  explicit Surface(Control& c) : control_(&c) {
    setMouseTracking(true);
    setMinimumSize(320, 200);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setAutoFillBackground(true);
    QPalette p = palette();
    p.setColor(QPalette::Window, Qt::white);
    setPalette(p);
  }
  void Detach() { control_ = nullptr; }
  std::function<void(double, double)> onMove;

 protected:
  void paintEvent(QPaintEvent*) override {
    if (control_ == nullptr) return;
    QPainter painter(this);
    const SurfaceScale& scale = control_->Scale();
    setCursor(control_->CrossPointer() ? Qt::CrossCursor : Qt::ArrowCursor);
    if (scale.width > 0 && scale.height > 0) {
      // Figures in the surface's own pixels, stretched to the widget.
      painter.scale(double(width()) / scale.width, double(height()) / scale.height);
      painter.setPen(QPen(Qt::black, 0));
      for (const Figure& f : control_->Figures()) {
        QPolygonF poly;
        for (const auto& [x, y] : f.points) poly << QPointF(x, y);
        if (f.filled) {
          painter.setBrush(QColor(0x80, 0x80, 0x80));
          painter.drawPolygon(poly);
        } else {
          painter.setBrush(Qt::NoBrush);
          painter.drawPolyline(poly);
        }
      }
      return;
    }
    painter.setRenderHint(QPainter::Antialiasing);
    Bounds();
    for (const Figure& f : control_->Figures()) {
      QPolygonF poly;
      for (const auto& [x, y] : f.points) poly << ToScreen(x, y);
      if (f.filled) {
        painter.setBrush(Qt::black);
        painter.drawPolygon(poly);
      } else {
        painter.setBrush(Qt::NoBrush);
        painter.drawPolyline(poly);
      }
    }
  }
  void mouseMoveEvent(QMouseEvent* event) override {
    if (control_ == nullptr || !onMove) return;
    const QPointF at = event->position();
    const SurfaceScale& scale = control_->Scale();
    if (scale.width > 0 && scale.height > 0) {
      onMove(scale.left + at.x() / std::max(1, width()) * (scale.right - scale.left),
             scale.top + at.y() / std::max(1, height()) * (scale.bottom - scale.top));
      // A read-out follows the pointer at once, not after the hover delay.
      if (control_ != nullptr && !control_->ToolTip().empty()) {
        QToolTip::showText(event->globalPosition().toPoint(), Q(control_->ToolTip()), this);
      }
      return;
    }
    Bounds();
    onMove(x0_ + at.x() / std::max(1, width()) * (x1_ - x0_), y0_ + at.y() / std::max(1, height()) * (y1_ - y0_));
  }

 private:
  void Bounds() {
    bool any = false;
    for (const Figure& f : control_->Figures()) {
      for (const auto& [x, y] : f.points) {
        if (!any) {
          x0_ = x1_ = x;
          y0_ = y1_ = y;
          any = true;
        }
        x0_ = std::min(x0_, x);
        x1_ = std::max(x1_, x);
        y0_ = std::min(y0_, y);
        y1_ = std::max(y1_, y);
      }
    }
    if (!any) x0_ = y0_ = 0, x1_ = width(), y1_ = height();
    if (x1_ == x0_) x1_ = x0_ + 1;
    if (y1_ == y0_) y1_ = y0_ + 1;
  }
  QPointF ToScreen(double x, double y) const {
    return {(x - x0_) / (x1_ - x0_) * width(), (y - y0_) / (y1_ - y0_) * height()};
  }
  Control* control_;
  double x0_ = 0, x1_ = 1, y0_ = 0, y1_ = 1;
};

int KeyCodeOf(const QKeyEvent& event) {
  if (event.key() == Qt::Key_Backspace) return 8;
  if (event.modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier)) return 0;
  const QString text = event.text();
  if (text.isEmpty() || text[0].unicode() < 32 || text[0].unicode() == 127) return 0;
  return text[0].unicode();
}

// Puts a key into a text widget as if it had been typed.
void TypeInto(QWidget* w, int key) {
  if (auto* edit = qobject_cast<QLineEdit*>(w)) {
    if (key == 8) {
      edit->backspace();
    } else {
      edit->insert(QString(QChar(key)));
    }
  } else if (auto* plain = qobject_cast<QPlainTextEdit*>(w)) {
    if (key == 8) {
      plain->textCursor().deletePreviousChar();
    } else {
      plain->insertPlainText(QString(QChar(key)));
    }
  }
}

// A label that shows a value rather than names one.
bool HasValueBesideCaption(const Control& c) {
  return c.Kind() == ControlKind::Label && !c.Caption().empty() && c.Text() != c.Caption();
}

// The text broken at blanks into lines of at most `width` characters.
QString Wrapped(const QString& text, int width) {
  if (width <= 0) return text;
  QString out, line;
  for (const QString& word : text.split(QChar(' '), Qt::SkipEmptyParts)) {
    if (!line.isEmpty() && line.size() + 1 + word.size() > width) {
      out += line + QChar('\n');
      line.clear();
    }
    line += (line.isEmpty() ? QString() : QStringLiteral(" ")) + word;
  }
  return out + line;
}

// The captions of a tab control: its lines, or its caption split at '|'.
QStringList TabNames(const Control& c) {
  QStringList names;
  for (const std::string& item : c.Items()) names << Q(item);
  if (names.isEmpty()) names = Q(c.Caption()).split(QChar('|'), Qt::SkipEmptyParts);
  return names;
}

// Wide enough for the path of a field file as a user keeps them, so that a
// field shows the whole name rather than its tail.
constexpr const char* kTypicalPath = "/home/geo/survey-2024/line-01/shots/SHOT0001.ABM";

int TypicalPathWidth(const QWidget& w) { return w.fontMetrics().horizontalAdvance(QString::fromLatin1(kTypicalPath)); }

class PathEdit : public QLineEdit {
 public:
  QSize sizeHint() const override {
    QSize hint = QLineEdit::sizeHint();
    hint.setWidth(std::max(hint.width(), TypicalPathWidth(*this) + 16));
    return hint;
  }
};

class PathList : public QListWidget {
 public:
  QSize sizeHint() const override {
    QSize hint = QListWidget::sizeHint();
    hint.setWidth(std::max(hint.width(), TypicalPathWidth(*this) + 32));
    return hint;
  }
};

// Controls that take the height the user gives the window.
bool Grows(const Control& c) {
  switch (c.Kind()) {
    case ControlKind::List:
    case ControlKind::RichText:
    case ControlKind::Drawing: return true;
    case ControlKind::Text: return c.MultiLine();
    default: return false;
  }
}

// Gives the item that holds target, at any depth of layout, the stretch of
// its box layouts. True when target stands in layout.
bool StretchTowards(QLayout* layout, QWidget* target) {
  for (int i = 0; i < layout->count(); ++i) {
    QLayoutItem* item = layout->itemAt(i);
    const bool here = item->widget() == target || (item->layout() != nullptr && StretchTowards(item->layout(), target));
    if (!here) continue;
    if (auto* box = qobject_cast<QBoxLayout*>(layout)) box->setStretch(i, 1);
    return true;
  }
  return false;
}

bool HasLabelBeside(const Control& c) {
  switch (c.Kind()) {
    case ControlKind::Text:
    case ControlKind::Combo:
    case ControlKind::List: return !c.Caption().empty();
    case ControlKind::Label: return HasValueBesideCaption(c);
    default: return false;
  }
}

}  // namespace

// Where the controls of one frame (or of the window itself) are laid out,
// and the run of like controls that the last one started.
struct PanelWindow::Container {
  QVBoxLayout* body = nullptr;
  QFormLayout* rows = nullptr;       // run of labelled fields
  QHBoxLayout* buttons = nullptr;    // run of buttons
  int buttonCount = 0;
  QHBoxLayout* frames = nullptr;     // run of frames side by side
  std::map<std::string, QVBoxLayout*> columns;
  void EndRuns() {
    rows = nullptr;
    buttons = nullptr;
    buttonCount = 0;
    frames = nullptr;
    columns.clear();
  }
};

PanelWindow::PanelWindow(Form& form, bool scripted) : form_(&form), scripted_(scripted) {
  setWindowTitle(Q(form.Caption()));
  Build();
  form.SetCaptionHook([this](Form& f) { setWindowTitle(Q(f.Caption())); });
}

PanelWindow::~PanelWindow() { Detach(); }

void PanelWindow::Detach() {
  if (form_ == nullptr) return;
  form_->SetCaptionHook({});
  for (Bound& b : bound_) {
    b.control->SetViewHook({});
    if (b.timer != nullptr) b.timer->stop();
    if (auto* s = dynamic_cast<Surface*>(b.widget)) s->Detach();
  }
  form_ = nullptr;
}

QWidget* PanelWindow::WidgetOf(const std::string& control) const {
  const auto it = byName_.find(control);
  return it == byName_.end() ? nullptr : bound_[it->second].widget;
}

QLabel* PanelWindow::LabelOf(const std::string& control) const {
  const auto it = byName_.find(control);
  return it == byName_.end() ? nullptr : bound_[it->second].beside;
}

QTimer* PanelWindow::TimerOf(const std::string& control) const {
  const auto it = byName_.find(control);
  return it == byName_.end() ? nullptr : bound_[it->second].timer;
}

QAction* PanelWindow::ActionOf(const std::string& control, const std::string& key) const {
  const auto it = byName_.find(control);
  if (it == byName_.end()) return nullptr;
  const Bound& b = bound_[it->second];
  if (b.action != nullptr) return b.action;
  if (b.toolbar != nullptr) {
    for (QAction* a : b.toolbar->actions()) {
      if (a->data().toString() == Q(key)) return a;
    }
  }
  return nullptr;
}

void PanelWindow::closeEvent(QCloseEvent* event) {
  event->accept();
  if (form_ != nullptr && onUserClose) onUserClose(*this);
}

void PanelWindow::TakeSelection(Bound& b) {
  const QTextCursor cursor = static_cast<QPlainTextEdit*>(b.widget)->textCursor();
  const std::string& text = b.control->Text();
  const size_t start = ByteOf(text, cursor.selectionStart());
  const size_t end = ByteOf(text, cursor.selectionEnd());
  b.shownSelStart = start;
  b.shownSelLength = end - start;
  b.control->SetSelection(start, end - start);
}

void PanelWindow::TakeSelections() {
  for (Bound& b : bound_) {
    if (b.control->Kind() == ControlKind::RichText && b.widget != nullptr) TakeSelection(b);
  }
}

void PanelWindow::Build() {
  root_ = std::make_unique<Container>();
  root_->body = new QVBoxLayout(this);
  bound_.reserve(form_->Controls().size());
  for (Control& c : form_->Controls()) {
    byName_[c.Name()] = bound_.size();
    Bound b;
    b.control = &c;
    bound_.push_back(std::move(b));
  }
  // Frames first, so that a control finds its frame wherever it stands.
  for (Bound& b : bound_) {
    b.widget = MakeWidget(b);
    if (b.widget != nullptr) ApplyLookHints(b.widget, form_->Name(), b.control->Name());
  }
  for (Bound& b : bound_) Place(b, ContainerOf(*b.control));
  for (Bound& b : bound_) {
    Connect(b);
    InstallFilters(b);
    Refresh(b);
    b.control->SetViewHook([this, index = static_cast<size_t>(&b - bound_.data())](Control& c) {
      if (form_ == nullptr) return;
      // Lists and grids are filled line by line (up to 900 files): they
      // are redrawn once, when the operation lets the screen run.
      const bool many = c.Kind() == ControlKind::Grid || c.Kind() == ControlKind::List ||
                        c.Kind() == ControlKind::Combo;
      if (!many) {
        Refresh(bound_[index]);
        return;
      }
      if (bound_[index].pending) return;
      bound_[index].pending = true;
      QTimer::singleShot(0, this, [this, index] {
        bound_[index].pending = false;
        if (form_ != nullptr) Refresh(bound_[index]);
      });
    });
  }
  // Spare height goes to the lists and texts; without any, below the controls.
  root_->body->addStretch(0);
  for (Bound& b : bound_) {
    if (b.widget == nullptr || !Grows(*b.control)) continue;
    for (QWidget* w = b.widget; w != nullptr && w != this; w = w->parentWidget()) {
      QWidget* holder = w->parentWidget();
      if (holder != nullptr && holder->layout() != nullptr) StretchTowards(holder->layout(), w);
    }
  }
  // A panel with nothing on it yet still gets a window whose title, its
  // name, can be read.
  if (form_->Controls().empty()) setMinimumSize(320, 120);
}

PanelWindow::Container& PanelWindow::ContainerOf(const Control& c) {
  if (!c.Frame().empty()) {
    const auto it = containers_.find(c.Frame());
    if (it != containers_.end()) return *it->second;
  }
  return *root_;
}

QWidget* PanelWindow::MakeWidget(Bound& b) {
  Control& c = *b.control;
  switch (c.Kind()) {
    case ControlKind::Text: {
      if (c.MultiLine()) return new QPlainTextEdit;
      auto* edit = new PathEdit;
      if (auto twips = FindLayoutHint(form_->Name(), c.Name(), "twips")) {
        // 15 twips to a pixel on a screen of 96 dots an inch.
        edit->setMinimumWidth(std::atoi(std::string(*twips).c_str()) / 15);
      }
      return edit;
    }
    case ControlKind::Label: {
      auto* label = new QLabel;
      if (HasValueBesideCaption(c)) {
        // An output field: sunken, so that an empty value still shows.
        label->setFrameStyle(QFrame::Panel | QFrame::Sunken);
        label->setMinimumWidth(120);
        label->setTextInteractionFlags(Qt::TextSelectableByMouse);
      }
      return label;
    }
    case ControlKind::Button: return new QPushButton;
    case ControlKind::Option: {
      auto* radio = new QRadioButton;
      QButtonGroup*& group = groups_[c.Frame()];
      if (group == nullptr) group = new QButtonGroup(this);
      group->addButton(radio);
      b.group = group;
      return radio;
    }
    case ControlKind::Check: return new QCheckBox;
    case ControlKind::Frame: {
      auto* box = new QGroupBox;
      auto container = std::make_unique<Container>();
      container->body = new QVBoxLayout(box);
      containers_[c.Name()] = std::move(container);
      return box;
    }
    case ControlKind::List: return new PathList;
    case ControlKind::Combo: {
      auto* combo = new QComboBox;
      // Its text before a line is chosen is a value, not a grey hint.
      QPalette p = combo->palette();
      p.setColor(QPalette::PlaceholderText, p.color(QPalette::ButtonText));
      combo->setPalette(p);
      return combo;
    }
    case ControlKind::Grid: {
      auto* grid = new QTableWidget(1, 0);
      // One row of plain cells, as the panels fill them.
      grid->verticalHeader()->hide();
      grid->horizontalHeader()->hide();
      grid->setEditTriggers(QAbstractItemView::NoEditTriggers);
      grid->setSelectionMode(QAbstractItemView::NoSelection);
      grid->horizontalHeader()->setStretchLastSection(true);
      return grid;
    }
    case ControlKind::ProgressBar: return new QProgressBar;
    case ControlKind::RichText: {
      // Plain text laid out lazily: files of megabytes open and scroll at once.
      auto* rich = new QPlainTextEdit;
      rich->setMinimumSize(360, 160);
      // Script lines stand as written; unwrapped lines also spare laying
      // out every line of a long file before it shows.
      rich->setLineWrapMode(QPlainTextEdit::NoWrap);
      return rich;
    }
    case ControlKind::Tabs: {
      // One page for each tab; a control whose frame is "SSTab1:2" stands
      // on the third page of SSTab1.
      auto* tabs = new QTabWidget;
      const QStringList names = TabNames(c);
      for (int i = 0; i < names.size(); ++i) {
        auto* page = new QWidget;
        auto container = std::make_unique<Container>();
        container->body = new QVBoxLayout(page);
        containers_[c.Name() + ":" + std::to_string(i)] = std::move(container);
        tabs->addTab(page, names[i]);
      }
      return tabs;
    }
    case ControlKind::Drawing: return new Surface(c);
    case ControlKind::Timer:
      b.timer = new QTimer(this);
      // A coarse timer may fire 5 % early: a 3000 ms message would go at 2850.
      b.timer->setTimerType(Qt::PreciseTimer);
      return nullptr;
    case ControlKind::Menu: {
      auto* bar = findChild<QMenuBar*>();
      if (bar == nullptr) {
        bar = new QMenuBar(this);
        root_->body->setMenuBar(bar);
      }
      QMenu* menu = bar->addMenu(Q(c.Caption()));
      menu->setObjectName(Q(c.Name()));
      return nullptr;
    }
    case ControlKind::MenuEntry: {
      QMenu* menu = nullptr;
      if (auto* bar = findChild<QMenuBar*>()) menu = bar->findChild<QMenu*>(Q(c.Frame()));
      b.action = new QAction(Q(c.Caption()), this);
      if (menu != nullptr) menu->addAction(b.action);
      return nullptr;
    }
    case ControlKind::Toolbar: {
      b.toolbar = new QToolBar;
      b.toolbar->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
      return b.toolbar;
    }
    case ControlKind::FileDialog: return nullptr;
    case ControlKind::Picture: {
      // Pictures are resources of the program, named by the control's text.
      auto* picture = new QLabel;
      picture->setPixmap(QPixmap(":/pictures/" + Q(c.Text())));
      picture->setAlignment(Qt::AlignCenter);
      picture->setFrameStyle(QFrame::Box | QFrame::Plain);  // a picture, not live controls
      return picture;
    }
  }
  return nullptr;
}

QWidget* PanelWindow::FieldWithNeighbours(Bound& b) {
  const std::vector<std::string_view> names = ControlsBeside(form_->Name(), b.control->Name());
  if (names.empty()) return b.widget;
  // The field and what stands beside it share one row of the form.
  auto* row = new QWidget;
  auto* line = new QHBoxLayout(row);
  line->setContentsMargins(0, 0, 0, 0);
  line->addWidget(b.widget, 1);
  for (std::string_view name : names) {
    const auto it = byName_.find(name);
    if (it == byName_.end() || bound_[it->second].widget == nullptr) continue;
    QWidget* neighbour = bound_[it->second].widget;
    neighbour->setObjectName(Q(bound_[it->second].control->Name()));
    line->addWidget(neighbour);
    placedBeside_.insert(bound_[it->second].control->Name());
  }
  b.rowWidget = row;
  return row;
}

void PanelWindow::Place(Bound& b, Container& into) {
  Control& c = *b.control;
  QWidget* w = b.widget;
  if (w == nullptr || placedBeside_.count(c.Name()) != 0) return;
  w->setObjectName(Q(c.Name()));
  // Path fields get room for a whole path.
  if (const auto width = FindLayoutHint(form_->Name(), c.Name(), "minwidth")) {
    w->setMinimumWidth(QString::fromUtf8(width->data(), static_cast<qsizetype>(width->size())).toInt());
  }
  switch (c.Kind()) {
    case ControlKind::Text:
    case ControlKind::Label:
    case ControlKind::Combo:
    case ControlKind::List:
      if (c.Kind() == ControlKind::List && !HasLabelBeside(c)) break;
      if (c.Kind() == ControlKind::Combo && !HasLabelBeside(c)) break;
      if (into.rows == nullptr) {
        into.EndRuns();
        into.rows = new QFormLayout;
        into.rows->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
        into.body->addLayout(into.rows);
      }
      b.rows = into.rows;
      if (HasLabelBeside(c)) {
        b.beside = new QLabel(Q(c.Caption()));
        b.beside->setBuddy(w);
        into.rows->addRow(b.beside, FieldWithNeighbours(b));
      } else {
        into.rows->addRow(FieldWithNeighbours(b));
      }
      return;
    case ControlKind::Button:
      // Buttons stand in rows of three, but for one that a hint puts on a
      // row of its own.
      if (FindLayoutHint(form_->Name(), c.Name(), "row") == "alone" && into.buttons != nullptr) {
        into.buttonCount = 3;
      }
      if (into.buttons == nullptr || into.buttonCount == 3) {
        const bool continuing = into.buttons != nullptr;
        if (!continuing) into.EndRuns();
        into.buttons = new QHBoxLayout;
        into.body->addLayout(into.buttons);
        into.buttonCount = 0;
      }
      into.buttons->addWidget(w);
      if (c.Visible()) ++into.buttonCount;
      if (FindLayoutHint(form_->Name(), c.Name(), "row") == "alone") into.buttonCount = 3;
      return;
    case ControlKind::Frame: {
      // Frames in a row stand side by side; a hint may stack one under another.
      if (into.frames == nullptr) {
        into.EndRuns();
        into.frames = new QHBoxLayout;
        into.body->addLayout(into.frames);
      }
      const std::string column =
          std::string(FindLayoutHint(form_->Name(), c.Name(), "column").value_or(c.Name()));
      QVBoxLayout*& stack = into.columns[column];
      if (stack == nullptr) {
        stack = new QVBoxLayout;
        into.frames->addLayout(stack);
      }
      stack->addWidget(w);
      return;
    }
    default: break;
  }
  into.EndRuns();
  into.body->addWidget(w);
}

void PanelWindow::Connect(Bound& b) {
  Control& c = *b.control;
  QWidget* w = b.widget;
  Control* cp = &c;
  switch (c.Kind()) {
    case ControlKind::Text:
      if (auto* edit = qobject_cast<QLineEdit*>(w)) {
        connect(edit, &QLineEdit::textChanged, this,
                [this, cp](const QString& t) { FromUser([&] { cp->SetText(t.toStdString()); }); });
      } else if (auto* plain = qobject_cast<QPlainTextEdit*>(w)) {
        connect(plain, &QPlainTextEdit::textChanged, this,
                [this, cp, plain] { FromUser([&] { cp->SetText(plain->toPlainText().toStdString()); }); });
      }
      break;
    case ControlKind::RichText: {
      auto* rich = static_cast<QPlainTextEdit*>(w);
      const size_t index = static_cast<size_t>(&b - bound_.data());
      connect(rich, &QPlainTextEdit::textChanged, this, [this, cp, rich, index] {
        FromUser([&] {
          Bound& self = bound_[index];
          self.shownText = rich->toPlainText().toStdString();
          self.fromWidget = true;
          cp->SetText(self.shownText);
          self.fromWidget = false;
          TakeSelection(self);
        });
      });
      break;
    }
    case ControlKind::Button:
      connect(static_cast<QPushButton*>(w), &QPushButton::clicked, this,
              [this, cp] { FromUser([&] { form_->Raise(cp->Name(), "Click"); }); });
      break;
    case ControlKind::Option:
      // Only a newly selected option raises a click; the one left goes quiet.
      connect(static_cast<QRadioButton*>(w), &QRadioButton::toggled, this, [this, cp](bool on) {
        if (on) FromUser([&] { cp->SetValue(true); });
      });
      break;
    case ControlKind::Check:
      connect(static_cast<QCheckBox*>(w), &QCheckBox::toggled, this,
              [this, cp](bool on) { FromUser([&] { cp->SetValue(on); }); });
      break;
    case ControlKind::List:
      connect(static_cast<QListWidget*>(w), &QListWidget::currentRowChanged, this,
              [this, cp](int row) { FromUser([&] { cp->SetListIndex(row); }); });
      break;
    case ControlKind::Combo:
      connect(static_cast<QComboBox*>(w), &QComboBox::currentIndexChanged, this,
              [this, cp](int index) { FromUser([&] { cp->SetListIndex(index); }); });
      break;
    case ControlKind::Tabs:
      connect(static_cast<QTabWidget*>(w), &QTabWidget::currentChanged, this,
              [this, cp](int index) { FromUser([&] { cp->SetTab(index); }); });
      break;
    case ControlKind::Timer:
      connect(b.timer, &QTimer::timeout, this, [this, cp] {
        if (form_ != nullptr && cp->Enabled()) form_->Raise(cp->Name(), "Timer");
      });
      break;
    case ControlKind::MenuEntry:
      connect(b.action, &QAction::triggered, this, [this, cp] {
        FromUser([&] {
          TakeSelections();
          form_->Raise(cp->Name(), "Click");
        });
      });
      break;
    case ControlKind::Drawing:
      static_cast<Surface*>(w)->onMove = [this, cp](double x, double y) {
        FromUser([&] {
          EventArgs args;
          args.x = x;
          args.y = y;
          form_->Raise(cp->Name(), "MouseMove", args);
        });
      };
      break;
    default: break;
  }
}

void PanelWindow::InstallFilters(Bound& b) {
  Control& c = *b.control;
  QWidget* w = b.widget;
  if (w == nullptr) return;
  const std::string name = c.Name();
  // Scroll areas get their mouse events on the viewport.
  QWidget* mouseTarget = w;
  if (auto* area = qobject_cast<QAbstractScrollArea*>(w)) mouseTarget = area->viewport();
  if (form_->Handles(name, "DblClick")) {
    mouseTarget->installEventFilter(new EventHook(mouseTarget, [this, name](QEvent* e) {
      if (e->type() == QEvent::MouseButtonDblClick) FromUser([&] { form_->Raise(name, "DblClick"); });
      return false;
    }));
  }
  if (form_->Handles(name, "KeyPress")) {
    w->installEventFilter(new EventHook(w, [this, name, w](QEvent* e) {
      if (e->type() != QEvent::KeyPress || form_ == nullptr) return false;
      const int key = KeyCodeOf(*static_cast<QKeyEvent*>(e));
      if (key == 0) return false;  // moves and shortcuts are no key presses
      EventArgs args;
      args.key = key;
      form_->Raise(name, "KeyPress", args);
      if (form_ == nullptr || args.key == 0) return true;  // swallowed
      if (args.key == key) return false;
      TypeInto(w, args.key);  // the handler put another key in its place
      return true;
    }));
  }
}

void PanelWindow::Refresh(Bound& b) {
  Control& c = *b.control;
  ++syncing_;
  if (b.timer != nullptr) {
    const bool run = c.Enabled() && c.Interval() > 0 && !scripted_;
    if (b.timer->interval() != c.Interval()) b.timer->setInterval(c.Interval());
    if (run && !b.timer->isActive()) b.timer->start();
    if (!run) b.timer->stop();
  }
  if (b.action != nullptr) {
    b.action->setText(Q(c.Caption()));
    b.action->setVisible(c.Visible());
    b.action->setEnabled(c.Enabled());
  }
  QWidget* w = b.widget;
  if (w == nullptr) {
    --syncing_;
    return;
  }
  if (w->toolTip() != Q(c.ToolTip())) w->setToolTip(Q(c.ToolTip()));
  w->setEnabled(c.Enabled());
  if (b.beside != nullptr) {
    b.beside->setText(Q(c.Caption()));
    b.beside->setToolTip(Q(c.ToolTip()));
    b.beside->setEnabled(c.Enabled());
  }
  // Qt lays a widget out as it is shown, so a progress bar shown in the
  // middle of a conversion has its place before the screen's loop runs.
  if (b.rows != nullptr) {
    b.rows->setRowVisible(b.rowWidget != nullptr ? b.rowWidget : w, c.Visible());
  } else {
    w->setVisible(c.Visible());
  }

  switch (c.Kind()) {
    case ControlKind::Text:
      if (auto* edit = qobject_cast<QLineEdit*>(w)) {
        if (edit->text() != Q(c.Text())) edit->setText(Q(c.Text()));
        edit->setReadOnly(c.Locked());
      } else if (auto* plain = qobject_cast<QPlainTextEdit*>(w)) {
        if (plain->toPlainText() != Q(c.Text())) plain->setPlainText(Q(c.Text()));
        plain->setReadOnly(c.Locked());
      }
      break;
    case ControlKind::RichText: {
      auto* rich = static_cast<QPlainTextEdit*>(w);
      // The text the widget holds is known: no copy of megabytes to compare.
      if (!b.fromWidget && c.Text() != b.shownText) {
        rich->setPlainText(Q(c.Text()));
        b.shownText = c.Text();
      }
      rich->setReadOnly(c.Locked());
      const QFont font = ToQFont(c.Font());
      if (rich->font() != font) rich->setFont(font);
      // Only a selection the logic made is shown; the user's stands.
      if (!b.fromWidget && (c.SelStart() != b.shownSelStart || c.SelLength() != b.shownSelLength)) {
        ShowSelection(rich, c);
        b.shownSelStart = c.SelStart();
        b.shownSelLength = c.SelLength();
      }
      break;
    }
    case ControlKind::Label: static_cast<QLabel*>(w)->setText(Q(c.Text())); break;
    case ControlKind::Button: {
      // A long caption may be wrapped to lines of a hinted length.
      QString caption = Q(c.Caption());
      if (const auto wrap = FindLayoutHint(form_->Name(), c.Name(), "wrap")) {
        caption = Wrapped(caption, QString::fromUtf8(wrap->data(), static_cast<qsizetype>(wrap->size())).toInt());
      }
      static_cast<QPushButton*>(w)->setText(caption);
      break;
    }
    case ControlKind::Option: {
      auto* radio = static_cast<QRadioButton*>(w);
      radio->setText(Q(c.Caption()));
      if (radio->isChecked() != c.Value()) {
        // An exclusive group will not let its checked button go by itself.
        b.group->setExclusive(false);
        radio->setChecked(c.Value());
        b.group->setExclusive(true);
      }
      break;
    }
    case ControlKind::Check: {
      auto* check = static_cast<QCheckBox*>(w);
      check->setText(Q(c.Caption()));
      check->setChecked(c.Value());
      break;
    }
    case ControlKind::Frame: static_cast<QGroupBox*>(w)->setTitle(Q(c.Caption())); break;
    case ControlKind::List: {
      auto* list = static_cast<QListWidget*>(w);
      QStringList items;
      for (const std::string& item : c.Items()) items << Q(item);
      bool same = list->count() == items.size();
      for (int i = 0; same && i < list->count(); ++i) same = list->item(i)->text() == items[i];
      if (!same) {
        list->clear();
        list->addItems(items);
      }
      if (list->currentRow() != c.ListIndex()) list->setCurrentRow(c.ListIndex());
      break;
    }
    case ControlKind::Combo: {
      auto* combo = static_cast<QComboBox*>(w);
      QStringList items;
      for (const std::string& item : c.Items()) items << Q(item);
      bool same = combo->count() == items.size();
      for (int i = 0; same && i < combo->count(); ++i) same = combo->itemText(i) == items[i];
      if (!same) {
        combo->clear();
        combo->addItems(items);
      }
      if (combo->currentIndex() != c.ListIndex()) combo->setCurrentIndex(c.ListIndex());
      // A text that no line holds is shown until a line is chosen.
      combo->setPlaceholderText(c.ListIndex() < 0 ? Q(c.Text()) : QString());
      break;
    }
    case ControlKind::Grid: {
      auto* grid = static_cast<QTableWidget*>(w);
      const int n = static_cast<int>(c.Cells().size());
      grid->setColumnCount(n);
      for (int k = 0; k < n; ++k) {
        const QString text = Q(c.Cells()[static_cast<size_t>(k)]);
        QTableWidgetItem* item = grid->item(0, k);
        if (item == nullptr) {
          grid->setItem(0, k, new QTableWidgetItem(text));
        } else if (item->text() != text) {
          item->setText(text);
        }
      }
      grid->resizeColumnsToContents();
      if (n > 0) {
        if (auto twips = FindLayoutHint(form_->Name(), c.Name(), "cell0twips")) {
          // 15 twips to a pixel on a screen of 96 dots an inch.
          const int px = std::atoi(std::string(*twips).c_str()) / 15;
          grid->setColumnWidth(0, std::max(grid->columnWidth(0), px));
        }
      }
      if (auto twips = FindLayoutHint(form_->Name(), c.Name(), "cell0twips")) {
        // Room for the folder and a few names beside it.
        grid->setMinimumWidth(std::atoi(std::string(*twips).c_str()) / 15 + 2 * grid->frameWidth() + 280);
      }
      const int height = grid->verticalHeader()->defaultSectionSize() +
                         grid->horizontalScrollBar()->sizeHint().height() + 2 * grid->frameWidth();
      grid->setFixedHeight(height);
      break;
    }
    case ControlKind::ProgressBar: {
      auto* bar = static_cast<QProgressBar*>(w);
      const int lo = std::min(c.Min(), c.Max());
      const int hi = std::max(c.Min(), c.Max());
      bar->setRange(lo, hi);
      bar->setValue(std::clamp(c.ProgressValue(), lo, hi));
      // Conversions run on this thread: draw now, not when they end.
      if (bar->isVisible()) bar->repaint();
      break;
    }
    case ControlKind::Tabs: {
      auto* tabs = static_cast<QTabWidget*>(w);
      const QStringList names = TabNames(c);
      for (int i = 0; i < std::min<int>(names.size(), tabs->count()); ++i) tabs->setTabText(i, names[i]);
      if (c.Tab() >= 0 && c.Tab() < tabs->count()) tabs->setCurrentIndex(c.Tab());
      break;
    }
    case ControlKind::Drawing: {
      const SurfaceScale& scale = c.Scale();
      if (scale.width > 0) w->setMinimumSize(std::max(320, scale.width), std::max(200, scale.height));
      w->update();
      break;
    }
    case ControlKind::Toolbar: {
      QToolBar* bar = b.toolbar;
      QStringList keys;
      for (const std::string& item : c.Items()) keys << Q(item);
      QStringList have;
      for (QAction* a : bar->actions()) have << a->data().toString();
      if (have != keys) {
        bar->clear();
        for (int i = 0; i < keys.size(); ++i) {
          const QString& key = keys[i];
          if (key.isEmpty()) {
            bar->addSeparator();
            continue;
          }
          QAction* a = bar->addAction(ToolIcon(key.toStdString(), style()), key);
          a->setData(key);
          a->setToolTip(Q(c.ItemTip(static_cast<size_t>(i))));
          const std::string k = key.toStdString();
          connect(a, &QAction::triggered, this, [this, name = c.Name(), k] {
            FromUser([&] {
              TakeSelections();
              EventArgs args;
              args.itemKey = k;
              form_->Raise(name, "ButtonClick", args);
            });
          });
        }
      }
      break;
    }
    default: break;
  }
  --syncing_;
}

}  // namespace vexmor
