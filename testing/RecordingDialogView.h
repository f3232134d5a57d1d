// A DialogView that keeps every control's state in memory and records what the user would
// have seen and heard, for tests of dialog logic. Controls spring into being on first use,
// enabled and visible. Misuse that a real control would refuse (an index past the end of a
// list) is reported as a test failure.
#pragma once

#include <deque>
#include <iosfwd>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "ui/DialogLogic.h"
#include "ui/DialogView.h"

namespace zelvo::testing {

// Owns a window made for the recording view (its rich edit controls).
class OwnedWindow {
 public:
  explicit OwnedWindow(HWND window = nullptr) : window_(window) {}
  OwnedWindow(OwnedWindow&& other) noexcept : window_(other.window_) { other.window_ = nullptr; }
  OwnedWindow& operator=(OwnedWindow&& other) noexcept;
  OwnedWindow(const OwnedWindow&) = delete;
  OwnedWindow& operator=(const OwnedWindow&) = delete;
  ~OwnedWindow();
  HWND get() const { return window_; }

 private:
  HWND window_;
};

class RecordingDialogView : public ui::DialogView {
 public:
  struct Message {
    std::wstring text;
    std::wstring caption;
    UINT style = 0;
  };
  struct Failure {
    HRESULT code = S_OK;
    std::wstring text;
  };
  struct Control {
    std::wstring text;
    bool checked = false;
    bool enabled = true;
    bool visible = true;
    bool redraw = true;
    int redrawsOn = 0;  // how often drawing was turned back on
    std::vector<std::wstring> items;
    int selection = ui::kNoItem;
    int selectionStart = 0;
    int selectionEnd = 0;
    int caretScrolls = 0;
    int textLimit = 0;  // 0: none set
    RECT rect{0, 0, 0, 0};
    UINT anchor = 0;
    int icon = 0;  // the icon a static shows
    std::wstring font;  // set by setFont; empty for the dialog's own
    int fontPoints = 0;
  };
  struct ListRow {
    std::vector<std::wstring> texts;  // by column; empty in a virtual list
    ui::ItemData data = 0;
    int stateImage = ui::stateImage::none;
    bool selected = false;
  };
  struct ListView {
    DWORD extendedStyle = 0;
    std::vector<std::pair<std::wstring, int>> columns;  // title and width
    bool isVirtual = false;
    ui::VirtualRows source;
    std::vector<ListRow> rows;
    int focused = ui::kNoItem;
    int lastEnsuredVisible = ui::kNoItem;
    std::vector<std::pair<int, int>> redrawn;  // the ranges asked to be painted again
  };
  struct ComboItem {
    std::wstring text;
    ui::ItemData data = 0;
  };
  struct Combo {
    std::vector<ComboItem> items;
    int selection = ui::kNoItem;
  };
  struct TreeNode {
    ui::TreeItemSetup setup;
    ui::TreeItem parent = ui::kTreeRoot;
    std::vector<ui::TreeItem> children;
    bool expanded = false;
  };
  struct Tree {
    std::vector<int> images;
    std::map<ui::TreeItem, TreeNode> nodes;
    std::vector<ui::TreeItem> top;
    ui::TreeItem selection = ui::kNoTreeItem;
    ui::TreeItem lastEnsuredVisible = ui::kNoTreeItem;
  };
  struct DatePicker {
    std::optional<SYSTEMTIME> value;
    std::wstring format;
  };
  struct Link {
    LONG start = 0;
    LONG end = 0;
    COLORREF color = 0;
  };
  struct RichEdit {
    OwnedWindow window;  // the system's rich edit: the real one on Windows
    std::vector<Link> links;
    bool linkEvents = false;
    bool readOnly = false;
    std::wstring font;
    int fontPoints = 0;
  };

  RecordingDialogView();

  // --- what a test sets up or reads -----------------------------------------------------
  // The answer of the next message box that is not a plain OK box. Without one queued such
  // a box fails the test and answers Cancel.
  void queueAnswer(int buttonId) { answers_.push_back(buttonId); }
  std::size_t pendingAnswers() const { return answers_.size(); }

  const std::vector<Message>& messages() const { return messages_; }
  const std::vector<ui::Beep>& beeps() const { return beeps_; }
  const std::vector<Failure>& failures() const { return failures_; }
  // The result the dialog ended with, once it ended.
  std::optional<int> result() const { return result_; }

  // The state of a control; a control never touched reads as a fresh one.
  const Control& control(ui::ControlId id) const;
  std::vector<std::wstring> items(ui::ControlId id) const { return control(id).items; }

  // The logic that the view's controls notify, as a window procedure would: the user
  // actions below and the notifications a real control sends on a program's changes.
  void attach(ui::DialogLogic& logic) { logic_ = &logic; }

  const ListView& listView(ui::ControlId id) const;
  const Combo& combo(ui::ControlId id) const;
  const Tree& tree(ui::ControlId id) const;
  const TreeNode& treeNode(ui::ControlId id, ui::TreeItem item) const;
  const DatePicker& datePicker(ui::ControlId id) const;
  // The links of a rich edit, and its whole text.
  std::vector<Link> richEditLinks(ui::ControlId id) const;
  std::wstring richEditText(ui::ControlId id) const;
  bool richEditLinkEvents(ui::ControlId id) const;
  bool richEditReadOnly(ui::ControlId id) const;
  // Whether the dialog was made resizable, and its minimum size.
  bool resizable() const { return resizable_; }
  ui::Extent minimumSize() const { return minimumSize_; }
  // The notifications the logic asked the view to send (sendNotification).
  const std::vector<std::pair<ui::ControlId, int>>& sentNotifications() const { return sent_; }

  // --- what the user does ---------------------------------------------------------------------
  // Each
  // reaches the attached logic as the real control would tell it. A click on a row: it
  // becomes the only selected row and gets the focus.
  void userClickRow(ui::ControlId id, int row);
  // A click with the control key held: the selection becomes exactly rows.
  void userSelectRows(ui::ControlId id, const std::vector<int>& rows);
  void userDoubleClickRow(ui::ControlId id, int row);
  // A click on a row's check box. A list of inserted rows flips the check itself; a virtual
  // list leaves that to the logic.
  void userClickStateImage(ui::ControlId id, int row);
  // A key pressed in a list view; the space bar flips the focused row's check box in a list
  // of inserted rows with check boxes.
  void userPressKey(ui::ControlId id, int key);
  void userSelectCombo(ui::ControlId id, int index);
  // Clicks the plus of a tree item; the logic may fill the children or refuse.
  void userExpandTreeItem(ui::ControlId id, ui::TreeItem item);
  void userSelectTreeItem(ui::ControlId id, ui::TreeItem item);
  // Sets a date picker (null unchecks it).
  void userSetDate(ui::ControlId id, const SYSTEMTIME* value);
  // A click on the link of a rich edit at position.
  void userClickLink(ui::ControlId id, LONG position);
  // The user drags the dialog's frame: anchored controls follow, then the logic hears of
  // it.
  void userResize(int width, int height);

  // --- DialogView -----------------------------------------------------------------------
  std::wstring getText(ui::ControlId id) const override { return control(id).text; }
  void setText(ui::ControlId id, const std::wstring& text) override { at(id).text = text; }
  bool isChecked(ui::ControlId id) const override { return control(id).checked; }
  void setChecked(ui::ControlId id, bool checked) override { at(id).checked = checked; }
  void checkRadio(ui::ControlId first, ui::ControlId last, ui::ControlId checked) override;
  bool isEnabled(ui::ControlId id) const override { return control(id).enabled; }
  void enable(ui::ControlId id, bool enabled) override { at(id).enabled = enabled; }
  bool isVisible(ui::ControlId id) const override { return control(id).visible; }
  void show(ui::ControlId id, bool visible) override { at(id).visible = visible; }
  ui::ControlId focus() const override { return focus_; }
  void setFocus(ui::ControlId id) override { focus_ = id; }
  ui::ControlId defaultButton() const override { return defaultButton_; }
  void setDefaultButton(ui::ControlId id) override;
  int defaultButtonChanges() const { return defaultButtonChanges_; }
  void setRedraw(ui::ControlId id, bool redraw) override;
  void setFont(ui::ControlId id, const std::wstring& face, int points) override {
    at(id).font = face;
    at(id).fontPoints = points;
  }

  void selectText(ui::ControlId id, int start, int end) override;
  void scrollCaret(ui::ControlId id) override { ++at(id).caretScrolls; }

  void listBoxClear(ui::ControlId id) override;
  int listBoxAdd(ui::ControlId id, const std::wstring& text) override;
  int listBoxInsert(ui::ControlId id, int index, const std::wstring& text) override;
  void listBoxDelete(ui::ControlId id, int index) override;
  int listBoxCount(ui::ControlId id) const override;
  std::wstring listBoxText(ui::ControlId id, int index) const override;
  int listBoxSelection(ui::ControlId id) const override { return control(id).selection; }
  void listBoxSelect(ui::ControlId id, int index) override;
  int listBoxFindExact(ui::ControlId id, const std::wstring& text) const override;
  void setTextLimit(ui::ControlId id, int characters) override { at(id).textLimit = characters; }

  void listViewSetExtendedStyle(ui::ControlId id, DWORD mask, DWORD style) override;
  void listViewAddColumn(ui::ControlId id, const std::wstring& title, int width) override;
  void listViewSetColumnWidth(ui::ControlId id, int column, int width) override;
  void listViewSetVirtualRows(ui::ControlId id, int count, ui::VirtualRows rows) override;
  void listViewClear(ui::ControlId id) override;
  int listViewInsert(ui::ControlId id, int index, const std::wstring& text, ui::ItemData data) override;
  void listViewDelete(ui::ControlId id, int row) override;
  int listViewCount(ui::ControlId id) const override;
  std::wstring listViewText(ui::ControlId id, int row, int column) const override;
  void listViewSetText(ui::ControlId id, int row, int column, const std::wstring& text) override;
  ui::ItemData listViewItemData(ui::ControlId id, int row) const override;
  void listViewSetItemData(ui::ControlId id, int row, ui::ItemData data) override;
  int listViewStateImage(ui::ControlId id, int row) const override;
  void listViewSetStateImage(ui::ControlId id, int row, int image) override;
  std::vector<int> listViewSelectedRows(ui::ControlId id) const override;
  void listViewSetSelected(ui::ControlId id, int row, bool selected) override;
  int listViewFocusedRow(ui::ControlId id) const override { return listView(id).focused; }
  void listViewSetFocusedRow(ui::ControlId id, int row) override;
  void listViewEnsureVisible(ui::ControlId id, int row) override;
  void listViewRedrawRows(ui::ControlId id, int first, int last) override;

  void comboClear(ui::ControlId id) override;
  int comboAdd(ui::ControlId id, const std::wstring& text, ui::ItemData data) override;
  int comboCount(ui::ControlId id) const override { return static_cast<int>(combo(id).items.size()); }
  std::wstring comboText(ui::ControlId id, int index) const override;
  ui::ItemData comboItemData(ui::ControlId id, int index) const override;
  int comboSelection(ui::ControlId id) const override { return combo(id).selection; }
  void comboSelect(ui::ControlId id, int index) override;

  void treeSetImages(ui::ControlId id, const std::vector<int>& iconIds) override { trees_[id].images = iconIds; }
  ui::TreeItem treeInsert(ui::ControlId id, ui::TreeItem parent, const ui::TreeItemSetup& item) override;
  void treeClear(ui::ControlId id) override;
  void treeDeleteChildren(ui::ControlId id, ui::TreeItem item) override;
  std::vector<ui::TreeItem> treeChildren(ui::ControlId id, ui::TreeItem parent) const override;
  ui::TreeItem treeParent(ui::ControlId id, ui::TreeItem item) const override { return treeNode(id, item).parent; }
  std::wstring treeText(ui::ControlId id, ui::TreeItem item) const override { return treeNode(id, item).setup.text; }
  ui::ItemData treeItemData(ui::ControlId id, ui::TreeItem item) const override { return treeNode(id, item).setup.data; }
  bool treeIsExpanded(ui::ControlId id, ui::TreeItem item) const override { return treeNode(id, item).expanded; }
  void treeExpand(ui::ControlId id, ui::TreeItem item) override;
  void treeSelect(ui::ControlId id, ui::TreeItem item) override;
  ui::TreeItem treeSelection(ui::ControlId id) const override { return tree(id).selection; }
  void treeEnsureVisible(ui::ControlId id, ui::TreeItem item) override;

  bool dateTimeGet(ui::ControlId id, SYSTEMTIME& value) const override;
  void dateTimeSet(ui::ControlId id, const SYSTEMTIME* value) override;
  void dateTimeSetFormat(ui::ControlId id, const std::wstring& format) override { dates_[id].format = format; }

  void richEditStreamIn(ui::ControlId id, const std::string& bytes, UINT format) override;
  std::wstring richEditTextRange(ui::ControlId id, LONG start, LONG end) const override;
  LONG richEditFind(ui::ControlId id, LONG from, const std::wstring& text) const override;
  void richEditReplace(ui::ControlId id, LONG start, LONG end, const std::wstring& text) override;
  void richEditSetLink(ui::ControlId id, LONG start, LONG end, COLORREF color) override;
  void richEditSetLinkEvents(ui::ControlId id, bool on) override { richEdit(id).linkEvents = on; }
  void richEditSetReadOnly(ui::ControlId id, bool readOnly) override;
  void richEditSetFont(ui::ControlId id, const std::wstring& face, int points) override;

  void setTitle(const std::wstring& text) override { title_ = text; }
  const std::wstring& title() const { return title_; }
  void setIcon(int iconId) override { icon_ = iconId; }
  int icon() const { return icon_; }
  void setControlIcon(ui::ControlId id, int iconId) override { at(id).icon = iconId; }
  ui::Extent windowSize() const override { return windowSize_; }
  void setWindowSize(int width, int height) override { windowSize_ = {width, height}; }
  RECT controlRect(ui::ControlId id) const override { return control(id).rect; }
  void moveControl(ui::ControlId id, const RECT& rect) override { at(id).rect = rect; }
  // Two pixels a dialog unit either way.
  RECT dialogUnitsToPixels(const RECT& units) const override;
  void enableResizing(int minWidth, int minHeight) override;
  void setAnchor(ui::ControlId id, UINT edges) override { at(id).anchor = edges; }
  void sendNotification(ui::ControlId id, int code) override;

  // A handle of its own, made up: distinct for every view, and never a real window, so that
  // a test sees which dialog owns which.
  HWND window() const override { return window_; }
  int messageBox(const std::wstring& text, const std::wstring& caption, UINT style) override;
  void beep(ui::Beep kind) override { beeps_.push_back(kind); }
  void endDialog(int result) override;
  void handlerFailed(HRESULT code, const std::wstring& text) override { failures_.push_back({code, text}); }

 private:
  Control& at(ui::ControlId id) { return controls_[id]; }
  bool validItem(ui::ControlId id, int index, const char* operation) const;
  bool validRow(ui::ControlId id, int row, const char* operation) const;
  bool validCombo(ui::ControlId id, int index, const char* operation) const;
  bool validTreeItem(ui::ControlId id, ui::TreeItem item, const char* operation) const;
  RichEdit& richEdit(ui::ControlId id);
  const RichEdit* findRichEdit(ui::ControlId id) const;
  ui::DialogLogic* logic(const char* action) const;
  // Sets a row's state bits and tells the logic, as LVN_ITEMCHANGED does.
  void changeRowState(ui::ControlId id, int row, UINT mask, UINT state);
  bool notifyLogic(ui::ControlId id, const ui::Notification& notification);
  void eraseTreeItem(Tree& tree, ui::TreeItem item);

  HWND window_;
  std::map<ui::ControlId, Control> controls_;
  ui::ControlId focus_ = ui::kNoControl;
  ui::ControlId defaultButton_ = ui::kIdOk;
  int defaultButtonChanges_ = 0;
  std::deque<int> answers_;
  std::vector<Message> messages_;
  std::vector<ui::Beep> beeps_;
  std::vector<Failure> failures_;
  std::optional<int> result_;

  ui::DialogLogic* logic_ = nullptr;
  std::map<ui::ControlId, ListView> listViews_;
  std::map<ui::ControlId, Combo> combos_;
  std::map<ui::ControlId, Tree> trees_;
  ui::TreeItem nextTreeItem_ = 1;
  std::map<ui::ControlId, DatePicker> dates_;
  std::map<ui::ControlId, RichEdit> richEdits_;
  std::wstring title_;
  int icon_ = 0;
  ui::Extent windowSize_{400, 300};
  bool resizable_ = false;
  ui::Extent minimumSize_;
  std::vector<std::pair<ui::ControlId, int>> sent_;
};

const char* beepName(ui::Beep kind);

}  // namespace zelvo::testing

namespace zelvo::ui {
// Beeps by name in test output.
void PrintTo(Beep kind, std::ostream* out);
}  // namespace zelvo::ui
