#include "testing/RecordingDialogView.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cwctype>
#include <ostream>

#include "platform/RichEditWindow.h"
#include "streams/RichTextConvertor.h"
#include "ui/Anchoring.h"

namespace zelvo::testing {

namespace {
bool sameIgnoringCase(const std::wstring& a, const std::wstring& b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (std::towlower(static_cast<wint_t>(a[i])) != std::towlower(static_cast<wint_t>(b[i]))) return false;
  }
  return true;
}

// What a check box click makes of a state image, as the common controls do it: unchecked
// becomes checked, and every other image unchecked.
int flipped(int image) {
  return image == ui::stateImage::unchecked ? ui::stateImage::checked : ui::stateImage::unchecked;
}
// Made-up window handles: far from the small numbers real handles are, one per view.
HWND nextFakeWindow() {
  static std::atomic<std::uintptr_t> next{0xF00D0000};
  return reinterpret_cast<HWND>(next.fetch_add(0x10));
}
}  // namespace

RecordingDialogView::RecordingDialogView() : window_(nextFakeWindow()) {}

const RecordingDialogView::Control& RecordingDialogView::control(ui::ControlId id) const {
  static const Control fresh;
  const auto found = controls_.find(id);
  return found == controls_.end() ? fresh : found->second;
}

void RecordingDialogView::checkRadio(ui::ControlId first, ui::ControlId last, ui::ControlId checked) {
  for (ui::ControlId id = first; id <= last; ++id) at(id).checked = id == checked;
}

void RecordingDialogView::setDefaultButton(ui::ControlId id) {
  defaultButton_ = id;
  ++defaultButtonChanges_;
}

void RecordingDialogView::setRedraw(ui::ControlId id, bool redraw) {
  Control& c = at(id);
  if (redraw) ++c.redrawsOn;
  c.redraw = redraw;
}

void RecordingDialogView::selectText(ui::ControlId id, int start, int end) {
  Control& c = at(id);
  c.selectionStart = start;
  c.selectionEnd = end;
}

bool RecordingDialogView::validItem(ui::ControlId id, int index, const char* operation) const {
  const auto count = static_cast<int>(control(id).items.size());
  if (index >= 0 && index < count) return true;
  ADD_FAILURE() << operation << " of item " << index << " in list " << id << " of " << count << " items";
  return false;
}

void RecordingDialogView::listBoxClear(ui::ControlId id) {
  Control& c = at(id);
  c.items.clear();
  c.selection = ui::kNoItem;
}

int RecordingDialogView::listBoxAdd(ui::ControlId id, const std::wstring& text) {
  // The recording list has no sort style: an added item goes to the end.
  Control& c = at(id);
  c.items.push_back(text);
  return static_cast<int>(c.items.size()) - 1;
}

int RecordingDialogView::listBoxInsert(ui::ControlId id, int index, const std::wstring& text) {
  Control& c = at(id);
  const auto count = static_cast<int>(c.items.size());
  if (index < 0 || index > count) index = count;  // as LB_INSERTSTRING with -1
  c.items.insert(c.items.begin() + index, text);
  if (c.selection >= index) ++c.selection;
  return index;
}

void RecordingDialogView::listBoxDelete(ui::ControlId id, int index) {
  if (!validItem(id, index, "delete")) return;
  Control& c = at(id);
  c.items.erase(c.items.begin() + index);
  // A list box forgets the selection of a deleted item and shifts the one behind it.
  if (c.selection == index) {
    c.selection = ui::kNoItem;
  } else if (c.selection > index) {
    --c.selection;
  }
}

int RecordingDialogView::listBoxCount(ui::ControlId id) const { return static_cast<int>(control(id).items.size()); }

std::wstring RecordingDialogView::listBoxText(ui::ControlId id, int index) const {
  if (!validItem(id, index, "text")) return std::wstring();
  return control(id).items[static_cast<std::size_t>(index)];
}

void RecordingDialogView::listBoxSelect(ui::ControlId id, int index) {
  if (index != ui::kNoItem && !validItem(id, index, "select")) return;
  at(id).selection = index;
}

int RecordingDialogView::listBoxFindExact(ui::ControlId id, const std::wstring& text) const {
  const std::vector<std::wstring>& items = control(id).items;
  for (std::size_t i = 0; i < items.size(); ++i) {
    if (sameIgnoringCase(items[i], text)) return static_cast<int>(i);
  }
  return ui::kNoItem;
}

int RecordingDialogView::messageBox(const std::wstring& text, const std::wstring& caption, UINT style) {
  messages_.push_back({text, caption, style});
  if ((style & ui::mb::buttonMask) == ui::mb::ok) return ui::kIdOk;
  if (answers_.empty()) {
    ADD_FAILURE() << "a message box that nobody answers was shown (style " << style << ")";
    return ui::kIdCancel;
  }
  const int answer = answers_.front();
  answers_.pop_front();
  return answer;
}

void RecordingDialogView::endDialog(int result) {
  if (result_) ADD_FAILURE() << "the dialog ended twice, with " << *result_ << " and " << result;
  result_ = result;
}

OwnedWindow& OwnedWindow::operator=(OwnedWindow&& other) noexcept {
  std::swap(window_, other.window_);
  return *this;
}

OwnedWindow::~OwnedWindow() {
  if (window_) DestroyWindow(window_);
}

// --- attached logic ---------------------------------------------------------------------------

ui::DialogLogic* RecordingDialogView::logic(const char* action) const {
  if (!logic_) ADD_FAILURE() << action << " with no dialog logic attached to the view";
  return logic_;
}

bool RecordingDialogView::notifyLogic(ui::ControlId id, const ui::Notification& notification) {
  return logic_ ? logic_->notify(id, notification) : false;
}

void RecordingDialogView::sendNotification(ui::ControlId id, int code) {
  sent_.emplace_back(id, code);
  ui::Notification notification;
  notification.code = code;
  notifyLogic(id, notification);
}

// --- list views -------------------------------------------------------------------------------

const RecordingDialogView::ListView& RecordingDialogView::listView(ui::ControlId id) const {
  static const ListView fresh;
  const auto found = listViews_.find(id);
  return found == listViews_.end() ? fresh : found->second;
}

bool RecordingDialogView::validRow(ui::ControlId id, int row, const char* operation) const {
  const auto count = static_cast<int>(listView(id).rows.size());
  if (row >= 0 && row < count) return true;
  ADD_FAILURE() << operation << " of row " << row << " in list view " << id << " of " << count << " rows";
  return false;
}

void RecordingDialogView::listViewSetExtendedStyle(ui::ControlId id, DWORD mask, DWORD style) {
  DWORD& current = listViews_[id].extendedStyle;
  current = (current & ~mask) | (style & mask);
}

void RecordingDialogView::listViewAddColumn(ui::ControlId id, const std::wstring& title, int width) {
  listViews_[id].columns.emplace_back(title, width);
}

void RecordingDialogView::listViewSetColumnWidth(ui::ControlId id, int column, int width) {
  ListView& list = listViews_[id];
  if (column < 0 || column >= static_cast<int>(list.columns.size())) {
    ADD_FAILURE() << "width of column " << column << " in list view " << id << " of " << list.columns.size();
    return;
  }
  list.columns[static_cast<std::size_t>(column)].second = width;
}

void RecordingDialogView::listViewSetVirtualRows(ui::ControlId id, int count, ui::VirtualRows rows) {
  ListView& list = listViews_[id];
  if (!list.isVirtual) list.rows.clear();
  list.isVirtual = true;
  list.source = std::move(rows);
  // LVM_SETITEMCOUNT keeps the selection of the rows that remain.
  list.rows.resize(static_cast<std::size_t>(std::max(count, 0)));
  if (list.focused >= count) list.focused = ui::kNoItem;
}

void RecordingDialogView::listViewClear(ui::ControlId id) {
  ListView& list = listViews_[id];
  list.rows.clear();
  list.isVirtual = false;
  list.source = {};
  list.focused = ui::kNoItem;
}

int RecordingDialogView::listViewInsert(ui::ControlId id, int index, const std::wstring& text, ui::ItemData data) {
  ListView& list = listViews_[id];
  if (list.isVirtual) {
    ADD_FAILURE() << "a row inserted into the virtual list view " << id;
    return ui::kNoItem;
  }
  const auto count = static_cast<int>(list.rows.size());
  if (index < 0 || index > count) index = count;
  ListRow row;
  row.texts.push_back(text);
  row.data = data;
  // A list with check boxes gives a new row an unchecked box.
  if (list.extendedStyle & ui::lvx::checkBoxes) row.stateImage = ui::stateImage::unchecked;
  list.rows.insert(list.rows.begin() + index, row);
  if (list.focused >= index) ++list.focused;
  return index;
}

void RecordingDialogView::listViewDelete(ui::ControlId id, int row) {
  if (!validRow(id, row, "delete")) return;
  ListView& list = listViews_[id];
  list.rows.erase(list.rows.begin() + row);
  if (list.focused == row) {
    list.focused = ui::kNoItem;
  } else if (list.focused > row) {
    --list.focused;
  }
}

int RecordingDialogView::listViewCount(ui::ControlId id) const { return static_cast<int>(listView(id).rows.size()); }

std::wstring RecordingDialogView::listViewText(ui::ControlId id, int row, int column) const {
  if (!validRow(id, row, "text")) return std::wstring();
  const ListView& list = listView(id);
  if (list.isVirtual) return list.source.text ? list.source.text(row, column) : std::wstring();
  const auto& texts = list.rows[static_cast<std::size_t>(row)].texts;
  return column >= 0 && column < static_cast<int>(texts.size()) ? texts[static_cast<std::size_t>(column)]
                                                                : std::wstring();
}

void RecordingDialogView::listViewSetText(ui::ControlId id, int row, int column, const std::wstring& text) {
  if (!validRow(id, row, "set text") || column < 0) return;
  ListView& list = listViews_[id];
  if (list.isVirtual) {
    ADD_FAILURE() << "a text set in the virtual list view " << id;
    return;
  }
  auto& texts = list.rows[static_cast<std::size_t>(row)].texts;
  if (static_cast<int>(texts.size()) <= column) texts.resize(static_cast<std::size_t>(column) + 1);
  texts[static_cast<std::size_t>(column)] = text;
}

ui::ItemData RecordingDialogView::listViewItemData(ui::ControlId id, int row) const {
  if (!validRow(id, row, "item data")) return 0;
  return listView(id).rows[static_cast<std::size_t>(row)].data;
}

void RecordingDialogView::listViewSetItemData(ui::ControlId id, int row, ui::ItemData data) {
  if (!validRow(id, row, "set item data")) return;
  listViews_[id].rows[static_cast<std::size_t>(row)].data = data;
}

int RecordingDialogView::listViewStateImage(ui::ControlId id, int row) const {
  if (!validRow(id, row, "state image")) return ui::stateImage::none;
  const ListView& list = listView(id);
  if (list.isVirtual) return list.source.stateImage ? list.source.stateImage(row) : ui::stateImage::none;
  return list.rows[static_cast<std::size_t>(row)].stateImage;
}

void RecordingDialogView::listViewSetStateImage(ui::ControlId id, int row, int image) {
  if (!validRow(id, row, "set state image")) return;
  if (listView(id).isVirtual) {
    ADD_FAILURE() << "a state image set in the virtual list view " << id << "; its logic gives them";
    return;
  }
  changeRowState(id, row, ui::lvis::stateImageMask, ui::lvis::stateImage(image));
}

void RecordingDialogView::changeRowState(ui::ControlId id, int row, UINT mask, UINT state) {
  ListView& list = listViews_[id];
  ListRow& r = list.rows[static_cast<std::size_t>(row)];
  const auto stateOf = [&] {
    UINT bits = ui::lvis::stateImage(r.stateImage);
    if (r.selected) bits |= ui::lvis::selected;
    if (list.focused == row) bits |= ui::lvis::focused;
    return bits;
  };
  const UINT before = stateOf();
  const UINT after = (before & ~mask) | (state & mask);
  if (before == after) return;
  if (mask & ui::lvis::stateImageMask) r.stateImage = ui::lvis::stateImageOf(after);
  if (mask & ui::lvis::selected) r.selected = (after & ui::lvis::selected) != 0;
  if (mask & ui::lvis::focused) {
    if (after & ui::lvis::focused) {
      list.focused = row;
    } else if (list.focused == row) {
      list.focused = ui::kNoItem;
    }
  }
  ui::Notification changed;
  changed.code = ui::notify::listItemChanged;
  changed.item = row;
  changed.oldState = before;
  changed.newState = after;
  changed.changed = ui::kListItemStateChanged;
  notifyLogic(id, changed);
}

std::vector<int> RecordingDialogView::listViewSelectedRows(ui::ControlId id) const {
  std::vector<int> rows;
  const ListView& list = listView(id);
  for (std::size_t i = 0; i < list.rows.size(); ++i) {
    if (list.rows[i].selected) rows.push_back(static_cast<int>(i));
  }
  return rows;
}

void RecordingDialogView::listViewSetSelected(ui::ControlId id, int row, bool selected) {
  const UINT state = selected ? ui::lvis::selected : 0;
  if (row == ui::kNoItem) {
    for (int i = 0; i < listViewCount(id); ++i) changeRowState(id, i, ui::lvis::selected, state);
    return;
  }
  if (validRow(id, row, "select")) changeRowState(id, row, ui::lvis::selected, state);
}

void RecordingDialogView::listViewSetFocusedRow(ui::ControlId id, int row) {
  if (!validRow(id, row, "focus")) return;
  // The focus rectangle is on one row at most.
  const int old = listView(id).focused;
  if (old != ui::kNoItem && old != row) changeRowState(id, old, ui::lvis::focused, 0);
  changeRowState(id, row, ui::lvis::focused, ui::lvis::focused);
}

void RecordingDialogView::listViewEnsureVisible(ui::ControlId id, int row) {
  if (validRow(id, row, "ensure visible")) listViews_[id].lastEnsuredVisible = row;
}

void RecordingDialogView::listViewRedrawRows(ui::ControlId id, int first, int last) {
  if (validRow(id, first, "redraw") && validRow(id, last, "redraw")) listViews_[id].redrawn.emplace_back(first, last);
}

void RecordingDialogView::userClickRow(ui::ControlId id, int row) {
  if (!logic("a click on a row") || !validRow(id, row, "click")) return;
  for (int i = 0; i < listViewCount(id); ++i) {
    if (i != row) changeRowState(id, i, ui::lvis::selected | ui::lvis::focused, 0);
  }
  changeRowState(id, row, ui::lvis::selected | ui::lvis::focused, ui::lvis::selected | ui::lvis::focused);
  ui::Notification click;
  click.code = ui::notify::click;
  click.item = row;
  notifyLogic(id, click);
}

void RecordingDialogView::userSelectRows(ui::ControlId id, const std::vector<int>& rows) {
  if (!logic("a selection of rows")) return;
  for (int row : rows) {
    if (!validRow(id, row, "select")) return;
  }
  for (int i = 0; i < listViewCount(id); ++i) {
    const bool wanted = std::find(rows.begin(), rows.end(), i) != rows.end();
    changeRowState(id, i, ui::lvis::selected, wanted ? ui::lvis::selected : 0);
  }
  if (!rows.empty()) listViewSetFocusedRow(id, rows.back());
}

void RecordingDialogView::userDoubleClickRow(ui::ControlId id, int row) {
  userClickRow(id, row);
  ui::Notification doubleClick;
  doubleClick.code = ui::notify::doubleClick;
  doubleClick.item = row;
  notifyLogic(id, doubleClick);
}

void RecordingDialogView::userClickStateImage(ui::ControlId id, int row) {
  if (!logic("a click on a check box") || !validRow(id, row, "click on the check box")) return;
  const ListView& list = listView(id);
  if (!(list.extendedStyle & ui::lvx::checkBoxes)) {
    ADD_FAILURE() << "a click on the check box of list view " << id << ", which has none";
    return;
  }
  if (!list.isVirtual) {
    const int image = list.rows[static_cast<std::size_t>(row)].stateImage;
    changeRowState(id, row, ui::lvis::stateImageMask, ui::lvis::stateImage(flipped(image)));
  }
  ui::Notification click;
  click.code = ui::notify::click;
  click.item = row;
  click.onStateImage = true;
  notifyLogic(id, click);
}

void RecordingDialogView::userPressKey(ui::ControlId id, int key) {
  if (!logic("a key")) return;
  ui::Notification keyDown;
  keyDown.code = ui::notify::listKeyDown;
  keyDown.key = key;
  notifyLogic(id, keyDown);
  const ListView& list = listView(id);
  if (key == ui::vk::space && !list.isVirtual && (list.extendedStyle & ui::lvx::checkBoxes) &&
      list.focused != ui::kNoItem) {
    const int image = list.rows[static_cast<std::size_t>(list.focused)].stateImage;
    changeRowState(id, list.focused, ui::lvis::stateImageMask, ui::lvis::stateImage(flipped(image)));
  }
}

// --- combo boxes ------------------------------------------------------------------------------

const RecordingDialogView::Combo& RecordingDialogView::combo(ui::ControlId id) const {
  static const Combo fresh;
  const auto found = combos_.find(id);
  return found == combos_.end() ? fresh : found->second;
}

bool RecordingDialogView::validCombo(ui::ControlId id, int index, const char* operation) const {
  const auto count = static_cast<int>(combo(id).items.size());
  if (index >= 0 && index < count) return true;
  ADD_FAILURE() << operation << " of item " << index << " in combo box " << id << " of " << count << " items";
  return false;
}

void RecordingDialogView::comboClear(ui::ControlId id) { combos_[id] = Combo(); }

int RecordingDialogView::comboAdd(ui::ControlId id, const std::wstring& text, ui::ItemData data) {
  Combo& c = combos_[id];
  c.items.push_back({text, data});
  return static_cast<int>(c.items.size()) - 1;
}

std::wstring RecordingDialogView::comboText(ui::ControlId id, int index) const {
  return validCombo(id, index, "text") ? combo(id).items[static_cast<std::size_t>(index)].text : std::wstring();
}

ui::ItemData RecordingDialogView::comboItemData(ui::ControlId id, int index) const {
  return validCombo(id, index, "item data") ? combo(id).items[static_cast<std::size_t>(index)].data : 0;
}

void RecordingDialogView::comboSelect(ui::ControlId id, int index) {
  if (index != ui::kNoItem && !validCombo(id, index, "select")) return;
  combos_[id].selection = index;
}

void RecordingDialogView::userSelectCombo(ui::ControlId id, int index) {
  if (!logic("a choice in a combo box") || !validCombo(id, index, "choice")) return;
  combos_[id].selection = index;
  logic_->command(id, ui::notify::comboSelChange);
}

// --- tree views -------------------------------------------------------------------------------

const RecordingDialogView::Tree& RecordingDialogView::tree(ui::ControlId id) const {
  static const Tree fresh;
  const auto found = trees_.find(id);
  return found == trees_.end() ? fresh : found->second;
}

bool RecordingDialogView::validTreeItem(ui::ControlId id, ui::TreeItem item, const char* operation) const {
  if (tree(id).nodes.count(item)) return true;
  ADD_FAILURE() << operation << " of item " << item << ", which tree view " << id << " does not hold";
  return false;
}

const RecordingDialogView::TreeNode& RecordingDialogView::treeNode(ui::ControlId id, ui::TreeItem item) const {
  static const TreeNode none;
  if (!validTreeItem(id, item, "reading")) return none;
  return tree(id).nodes.at(item);
}

ui::TreeItem RecordingDialogView::treeInsert(ui::ControlId id, ui::TreeItem parent, const ui::TreeItemSetup& item) {
  if (parent != ui::kTreeRoot && !validTreeItem(id, parent, "insert under")) return ui::kNoTreeItem;
  Tree& t = trees_[id];
  const ui::TreeItem handle = nextTreeItem_++;
  TreeNode node;
  node.setup = item;
  node.parent = parent;
  t.nodes[handle] = node;
  (parent == ui::kTreeRoot ? t.top : t.nodes[parent].children).push_back(handle);
  return handle;
}

void RecordingDialogView::eraseTreeItem(Tree& t, ui::TreeItem item) {
  for (ui::TreeItem child : t.nodes[item].children) eraseTreeItem(t, child);
  if (t.selection == item) t.selection = ui::kNoTreeItem;
  t.nodes.erase(item);
}

void RecordingDialogView::treeClear(ui::ControlId id) {
  Tree& t = trees_[id];
  t.nodes.clear();
  t.top.clear();
  t.selection = ui::kNoTreeItem;
}

void RecordingDialogView::treeDeleteChildren(ui::ControlId id, ui::TreeItem item) {
  if (!validTreeItem(id, item, "delete children")) return;
  Tree& t = trees_[id];
  for (ui::TreeItem child : t.nodes[item].children) eraseTreeItem(t, child);
  TreeNode& node = t.nodes[item];
  node.children.clear();
  node.setup.childrenPending = false;
  node.expanded = false;
}

std::vector<ui::TreeItem> RecordingDialogView::treeChildren(ui::ControlId id, ui::TreeItem parent) const {
  if (parent == ui::kTreeRoot) return tree(id).top;
  return treeNode(id, parent).children;
}

void RecordingDialogView::treeExpand(ui::ControlId id, ui::TreeItem item) {
  if (!validTreeItem(id, item, "expand")) return;
  TreeNode& node = trees_[id].nodes[item];
  // An item without children has nothing to open, and loses its plus.
  node.expanded = !node.children.empty();
  node.setup.childrenPending = false;
}

void RecordingDialogView::treeSelect(ui::ControlId id, ui::TreeItem item) {
  if (item != ui::kNoTreeItem && !validTreeItem(id, item, "select")) return;
  Tree& t = trees_[id];
  if (t.selection == item) return;
  ui::Notification changed;
  changed.code = ui::notify::treeSelChanged;
  changed.oldTreeItem = t.selection;
  changed.treeItem = item;
  t.selection = item;
  notifyLogic(id, changed);
}

void RecordingDialogView::treeEnsureVisible(ui::ControlId id, ui::TreeItem item) {
  if (validTreeItem(id, item, "ensure visible")) trees_[id].lastEnsuredVisible = item;
}

void RecordingDialogView::userExpandTreeItem(ui::ControlId id, ui::TreeItem item) {
  if (!logic("expanding a tree item") || !validTreeItem(id, item, "expand")) return;
  const TreeNode& node = tree(id).nodes.at(item);
  if (node.children.empty() && !node.setup.childrenPending) {
    ADD_FAILURE() << "tree item " << item << " has no plus to click";
    return;
  }
  ui::Notification expanding;
  expanding.code = ui::notify::treeItemExpanding;
  expanding.treeItem = item;
  expanding.action = ui::tve::expand;
  if (notifyLogic(id, expanding)) return;  // refused
  if (validTreeItem(id, item, "expand")) treeExpand(id, item);
}

void RecordingDialogView::userSelectTreeItem(ui::ControlId id, ui::TreeItem item) {
  if (logic("a click on a tree item") && validTreeItem(id, item, "click")) treeSelect(id, item);
}

// --- date pickers -----------------------------------------------------------------------------

const RecordingDialogView::DatePicker& RecordingDialogView::datePicker(ui::ControlId id) const {
  static const DatePicker fresh;
  const auto found = dates_.find(id);
  return found == dates_.end() ? fresh : found->second;
}

bool RecordingDialogView::dateTimeGet(ui::ControlId id, SYSTEMTIME& value) const {
  const DatePicker& picker = datePicker(id);
  if (!picker.value) return false;
  value = *picker.value;
  return true;
}

void RecordingDialogView::dateTimeSet(ui::ControlId id, const SYSTEMTIME* value) {
  DatePicker& picker = dates_[id];
  if (value) {
    picker.value = *value;
  } else {
    picker.value.reset();
  }
}

void RecordingDialogView::userSetDate(ui::ControlId id, const SYSTEMTIME* value) {
  if (!logic("a date set")) return;
  dateTimeSet(id, value);
  ui::Notification changed;
  changed.code = ui::notify::dateTimeChange;
  changed.dateNone = value == nullptr;
  notifyLogic(id, changed);
}

// --- rich edit --------------------------------------------------------------------------------

RecordingDialogView::RichEdit& RecordingDialogView::richEdit(ui::ControlId id) {
  RichEdit& edit = richEdits_[id];
  if (!edit.window.get()) {
    edit.window = OwnedWindow(platform::createRichEdit(nullptr));
    if (!edit.window.get()) ADD_FAILURE() << "no rich edit control could be made for " << id;
  }
  return edit;
}

const RecordingDialogView::RichEdit* RecordingDialogView::findRichEdit(ui::ControlId id) const {
  const auto found = richEdits_.find(id);
  return found == richEdits_.end() ? nullptr : &found->second;
}

void RecordingDialogView::richEditStreamIn(ui::ControlId id, const std::string& bytes, UINT format) {
  RichEdit& edit = richEdit(id);
  edit.links.clear();
  EXPECT_TRUE(SUCCEEDED(RichTextConvertor::streamIn(edit.window.get(), bytes, format)))
      << "streaming into rich edit " << id;
}

std::wstring RecordingDialogView::richEditTextRange(ui::ControlId id, LONG start, LONG end) const {
  const RichEdit* edit = findRichEdit(id);
  if (!edit || end <= start) return std::wstring();
  std::wstring text(static_cast<std::size_t>(end - start) + 1, L'\0');
  TEXTRANGEW range{{start, end}, &text[0]};
  const LRESULT count = SendMessageW(edit->window.get(), EM_GETTEXTRANGE, 0, reinterpret_cast<LPARAM>(&range));
  text.resize(static_cast<std::size_t>(count > 0 ? count : 0));
  return text;
}

std::wstring RecordingDialogView::richEditText(ui::ControlId id) const {
  const RichEdit* edit = findRichEdit(id);
  if (!edit) return std::wstring();
  const int length = GetWindowTextLengthW(edit->window.get());
  return richEditTextRange(id, 0, length);
}

LONG RecordingDialogView::richEditFind(ui::ControlId id, LONG from, const std::wstring& text) const {
  const RichEdit* edit = findRichEdit(id);
  if (!edit) return -1;
  FINDTEXTEXW find{};
  find.chrg.cpMin = from;
  find.chrg.cpMax = -1;
  find.lpstrText = text.c_str();
  // FR_DOWN
  return static_cast<LONG>(SendMessageW(edit->window.get(), EM_FINDTEXTEXW, 1, reinterpret_cast<LPARAM>(&find)));
}

void RecordingDialogView::richEditReplace(ui::ControlId id, LONG start, LONG end, const std::wstring& text) {
  RichEdit& edit = richEdit(id);
  CHARRANGE range{start, end};
  SendMessageW(edit.window.get(), EM_EXSETSEL, 0, reinterpret_cast<LPARAM>(&range));
  SendMessageW(edit.window.get(), EM_REPLACESEL, FALSE, reinterpret_cast<LPARAM>(text.c_str()));
  // Links behind the range move with the text; a link the range touches is gone.
  const LONG delta = static_cast<LONG>(text.size()) - (end - start);
  std::vector<Link> kept;
  for (Link link : edit.links) {
    if (link.end <= start) {
      kept.push_back(link);
    } else if (link.start >= end) {
      link.start += delta;
      link.end += delta;
      kept.push_back(link);
    }
  }
  edit.links = kept;
}

void RecordingDialogView::richEditSetLink(ui::ControlId id, LONG start, LONG end, COLORREF color) {
  RichEdit& edit = richEdit(id);
  CHARRANGE range{start, end};
  SendMessageW(edit.window.get(), EM_EXSETSEL, 0, reinterpret_cast<LPARAM>(&range));
  CHARFORMAT2W format{};
  format.cbSize = sizeof format;
  format.dwMask = CFM_LINK | CFM_COLOR;
  format.dwEffects = CFE_LINK;
  format.crTextColor = color;
  SendMessageW(edit.window.get(), EM_SETCHARFORMAT, SCF_SELECTION, reinterpret_cast<LPARAM>(&format));
  edit.links.push_back({start, end, color});
}

void RecordingDialogView::richEditSetReadOnly(ui::ControlId id, bool readOnly) {
  RichEdit& edit = richEdit(id);
  edit.readOnly = readOnly;
  SendMessageW(edit.window.get(), EM_SETREADONLY, readOnly ? TRUE : FALSE, 0);
}

void RecordingDialogView::richEditSetFont(ui::ControlId id, const std::wstring& face, int points) {
  RichEdit& edit = richEdit(id);
  edit.font = face;
  edit.fontPoints = points;
}

std::vector<RecordingDialogView::Link> RecordingDialogView::richEditLinks(ui::ControlId id) const {
  const RichEdit* edit = findRichEdit(id);
  return edit ? edit->links : std::vector<Link>();
}

bool RecordingDialogView::richEditLinkEvents(ui::ControlId id) const {
  const RichEdit* edit = findRichEdit(id);
  return edit && edit->linkEvents;
}

bool RecordingDialogView::richEditReadOnly(ui::ControlId id) const {
  const RichEdit* edit = findRichEdit(id);
  return edit && edit->readOnly;
}

void RecordingDialogView::userClickLink(ui::ControlId id, LONG position) {
  if (!logic("a click on a link")) return;
  const RichEdit* edit = findRichEdit(id);
  if (!edit || !edit->linkEvents) {
    ADD_FAILURE() << "a click on a link of rich edit " << id << ", which does not tell of link events";
    return;
  }
  for (const Link& link : edit->links) {
    if (position < link.start || position >= link.end) continue;
    ui::Notification click;
    click.code = ui::notify::richEditLink;
    click.start = link.start;
    click.end = link.end;
    click.message = ui::kLinkClickMessage;
    notifyLogic(id, click);
    return;
  }
  ADD_FAILURE() << "no link at position " << position << " of rich edit " << id;
}

// --- the window -------------------------------------------------------------------------------

RECT RecordingDialogView::dialogUnitsToPixels(const RECT& units) const {
  return {2 * units.left, 2 * units.top, 2 * units.right, 2 * units.bottom};
}

void RecordingDialogView::enableResizing(int minWidth, int minHeight) {
  resizable_ = true;
  minimumSize_ = {minWidth ? minWidth : windowSize_.width, minHeight ? minHeight : windowSize_.height};
}

void RecordingDialogView::userResize(int width, int height) {
  if (!logic("a resize")) return;
  if (!resizable_) {
    ADD_FAILURE() << "the user resized a dialog that is not resizable";
    return;
  }
  const ui::Extent to{std::max(width, minimumSize_.width), std::max(height, minimumSize_.height)};
  for (auto& [id, c] : controls_) {
    if (c.anchor) c.rect = ui::anchoredRect(c.rect, c.anchor, windowSize_, to);
  }
  windowSize_ = to;
  logic_->size(to.width, to.height);
}

const char* beepName(ui::Beep kind) {
  switch (kind) {
    case ui::Beep::Default:
      return "Default";
    case ui::Beep::Stop:
      return "Stop";
    case ui::Beep::Question:
      return "Question";
    case ui::Beep::Exclamation:
      return "Exclamation";
    case ui::Beep::Asterisk:
      return "Asterisk";
    case ui::Beep::Simple:
      return "Simple";
  }
  return "?";
}

}  // namespace zelvo::testing

namespace zelvo::ui {
void PrintTo(Beep kind, std::ostream* out) { *out << testing::beepName(kind); }
}  // namespace zelvo::ui
