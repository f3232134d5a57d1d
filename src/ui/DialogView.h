// What a dialog's logic sees of its window: controls addressed by their ids, message boxes
// and beeps. The Win32 view is a thin class over the dialog's window; tests use a view that
// records. Logic never sends a window message itself.
//
// Codes that cross this interface (message box styles and answers, beep kinds, command
// notifications) carry the values of the Win32 constants, so that the Win32 view passes
// them through unchanged. They have names of their own because the SDK defines the Win32
// ones as macros.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "platform/Win32.h"

namespace zelvo::ui {

// A control's id in the dialog template; 0 is no control.
using ControlId = int;
constexpr ControlId kNoControl = 0;

// Button ids: what a message box answers, and what a dialog ends with.
constexpr int kIdOk = 1;
constexpr int kIdCancel = 2;
constexpr int kIdYes = 6;
constexpr int kIdNo = 7;

// Message box styles: one button set or'ed with one icon.
namespace mb {
constexpr UINT ok = 0x00000000;
constexpr UINT okCancel = 0x00000001;
constexpr UINT yesNoCancel = 0x00000003;
constexpr UINT yesNo = 0x00000004;
constexpr UINT iconError = 0x00000010;  // the stop sign
constexpr UINT iconQuestion = 0x00000020;
constexpr UINT iconExclamation = 0x00000030;
constexpr UINT iconInformation = 0x00000040;
constexpr UINT buttonMask = 0x0000000F;
constexpr UINT iconMask = 0x000000F0;
}  // namespace mb

// The sounds of MessageBeep.
enum class Beep : UINT {
  Default = 0x00000000,
  Stop = 0x00000010,
  Question = 0x00000020,
  Exclamation = 0x00000030,
  Asterisk = 0x00000040,
  Simple = 0xFFFFFFFF,
};

// Notification codes of the command message, as the Win32 view hands them on.
namespace notify {
constexpr int buttonClicked = 0;       // BN_CLICKED
constexpr int listSelChange = 1;       // LBN_SELCHANGE
constexpr int editSetFocus = 0x0100;   // EN_SETFOCUS
constexpr int editKillFocus = 0x0200;  // EN_KILLFOCUS
constexpr int editChange = 0x0300;     // EN_CHANGE
constexpr int editUpdate = 0x0400;     // EN_UPDATE
constexpr int comboSelChange = 1;      // CBN_SELCHANGE

// Notification codes of WM_NOTIFY, as the common controls send them.
constexpr int click = -2;                  // NM_CLICK: a list view row or its state image
constexpr int doubleClick = -3;            // NM_DBLCLK
constexpr int listItemChanged = -101;      // LVN_ITEMCHANGED
constexpr int listKeyDown = -155;          // LVN_KEYDOWN
constexpr int treeSelChanged = -451;       // TVN_SELCHANGEDW
constexpr int treeItemExpanding = -454;    // TVN_ITEMEXPANDINGW
constexpr int dateTimeChange = -759;       // DTN_DATETIMECHANGE
constexpr int richEditLink = 0x070B;       // EN_LINK
constexpr int descriptionChanged = 32768;  // the rule description changed its rule
}  // namespace notify

// List view item states (LVIS_*) and the state image in bits 12..15 of them.
namespace lvis {
constexpr UINT focused = 0x0001;
constexpr UINT selected = 0x0002;
constexpr UINT stateImageMask = 0xF000;
constexpr UINT stateImage(int image) { return static_cast<UINT>(image) << 12; }
constexpr int stateImageOf(UINT state) { return static_cast<int>((state & stateImageMask) >> 12); }
}  // namespace lvis

// The state images of a list view with check boxes.
namespace stateImage {
constexpr int none = 0;
constexpr int unchecked = 1;
constexpr int checked = 2;
}  // namespace stateImage

// Extended list view styles (LVS_EX_*).
namespace lvx {
constexpr DWORD checkBoxes = 0x00000004;
constexpr DWORD fullRowSelect = 0x00000020;
}  // namespace lvx

// A column width that gives the column the rest of the view's width
// (LVSCW_AUTOSIZE_USEHEADER on the last column).
constexpr int kColumnFill = -2;

// Tree view expand actions (TVE_*), as an expanding notification tells them.
namespace tve {
constexpr UINT collapse = 0x0001;
constexpr UINT expand = 0x0002;
}  // namespace tve

// Formats of rich edit streaming (SF_*).
namespace sf {
constexpr UINT text = 0x0001;
constexpr UINT rtf = 0x0002;
}  // namespace sf

// Edges a control keeps its distance to when the dialog is resized. Left and right together
// stretch it; right alone moves it.
namespace anchor {
constexpr UINT left = 0x1;
constexpr UINT top = 0x2;
constexpr UINT right = 0x4;
constexpr UINT bottom = 0x8;
constexpr UINT topLeft = left | top;
constexpr UINT all = left | top | right | bottom;
}  // namespace anchor

// The virtual key codes that dialogs look at.
namespace vk {
constexpr int space = 0x20;
constexpr int deleteKey = 0x2E;
}  // namespace vk

// What a control can hang on an item of a list view, combo box or tree view.
using ItemData = std::intptr_t;

// A tree view item; kTreeRoot stands for the root as a parent, and for no item as a result.
using TreeItem = std::uintptr_t;
constexpr TreeItem kTreeRoot = 0;
constexpr TreeItem kNoTreeItem = 0;

// A new tree view item. An image of -1 is none; overlay is the index of an image of the
// tree's list drawn over the item's own. With childrenPending the item shows a plus before
// its children are inserted; expanding it is the time to insert them.
struct TreeItemSetup {
  std::wstring text;
  int image = -1;
  int selectedImage = -1;  // -1: as image
  int overlay = -1;
  ItemData data = 0;
  bool childrenPending = false;
};

// What a virtual list view asks of the logic for the rows it paints. stateImage may be
// empty: the rows then show no state image.
struct VirtualRows {
  std::function<std::wstring(int row, int column)> text;
  std::function<int(int row)> stateImage;
};

// A notification from a control (WM_NOTIFY), with the fields its code fills:
// - listItemChanged: item, oldState, newState and changed (LVIF_STATE is 0x8);
// - click and doubleClick: item (kNoItem off the rows), onStateImage;
// - listKeyDown: key;
// - treeSelChanged: treeItem (the new selection), oldTreeItem;
// - treeItemExpanding: treeItem, action (tve::expand or tve::collapse);
// - dateTimeChange: dateNone when the picker was unchecked;
// - richEditLink: start and end of the link, message (the mouse message, WM_LBUTTONUP for a
//   click);
// - descriptionChanged: nothing further.
struct Notification {
  int code = 0;
  int item = -1;
  UINT oldState = 0;
  UINT newState = 0;
  UINT changed = 0;
  bool onStateImage = false;
  int key = 0;
  TreeItem treeItem = kNoTreeItem;
  TreeItem oldTreeItem = kNoTreeItem;
  UINT action = 0;
  bool dateNone = false;
  LONG start = 0;
  LONG end = 0;
  UINT message = 0;
};

// A width and height in pixels.
struct Extent {
  int width = 0;
  int height = 0;
};

// The item state bit of LVN_ITEMCHANGED's changed field.
constexpr UINT kListItemStateChanged = 0x0008;  // LVIF_STATE
// The mouse message of a link click.
constexpr UINT kLinkClickMessage = 0x0202;  // WM_LBUTTONUP

// A list box index; -1 is none (LB_ERR).
constexpr int kNoItem = -1;

class DialogView {
 public:
  virtual ~DialogView() = default;

  // --- texts, states, focus ----------------------------------------------------------------
  virtual std::wstring getText(ControlId id) const = 0;
  virtual void setText(ControlId id, const std::wstring& text) = 0;
  // Check boxes and radio buttons. checkRadio checks one button of the group first..last
  // and clears the others, as CheckRadioButton does.
  virtual bool isChecked(ControlId id) const = 0;
  virtual void setChecked(ControlId id, bool checked) = 0;
  virtual void checkRadio(ControlId first, ControlId last, ControlId checked) = 0;
  virtual bool isEnabled(ControlId id) const = 0;
  virtual void enable(ControlId id, bool enabled) = 0;
  virtual bool isVisible(ControlId id) const = 0;
  virtual void show(ControlId id, bool visible) = 0;
  // The control of this dialog that has the focus, or kNoControl.
  virtual ControlId focus() const = 0;
  virtual void setFocus(ControlId id) = 0;
  virtual ControlId defaultButton() const = 0;
  virtual void setDefaultButton(ControlId id) = 0;
  // Drawing of a control off and on; turning it on redraws the control.
  virtual void setRedraw(ControlId id, bool redraw) = 0;
  // The font of a control by face and size in points, in place of the dialog's; a face the
  // system lacks falls back to a fixed-pitch one. The view keeps the font while it lives.
  virtual void setFont(ControlId id, const std::wstring& face, int points) = 0;

  // --- edit fields ---------------------------------------------------------------------------
  // Selects characters start..end (end excluded); start == end puts the caret there.
  virtual void selectText(ControlId id, int start, int end) = 0;
  virtual void scrollCaret(ControlId id) = 0;

  // --- list boxes ----------------------------------------------------------------------------
  // Indexes are those of the list as it shows; add places by the list's sort style.
  virtual void listBoxClear(ControlId id) = 0;
  virtual int listBoxAdd(ControlId id, const std::wstring& text) = 0;
  virtual int listBoxInsert(ControlId id, int index, const std::wstring& text) = 0;
  virtual void listBoxDelete(ControlId id, int index) = 0;
  virtual int listBoxCount(ControlId id) const = 0;
  virtual std::wstring listBoxText(ControlId id, int index) const = 0;
  // The selected item of a single-selection list, or kNoItem.
  virtual int listBoxSelection(ControlId id) const = 0;
  // kNoItem clears the selection.
  virtual void listBoxSelect(ControlId id, int index) = 0;
  // The first item equal to text as a whole, without regard to case; kNoItem for none.
  virtual int listBoxFindExact(ControlId id, const std::wstring& text) const = 0;

  // Limits the characters the user can type into an edit field.
  virtual void setTextLimit(ControlId id, int characters) = 0;

  // --- list views in report mode --------------------------------------------------------------
  // Rows are
  // indexes as the view shows them; columns count from 0. A list is either one of inserted
  // rows or a virtual one whose texts come from the logic.
  virtual void listViewSetExtendedStyle(ControlId id, DWORD mask, DWORD style) = 0;
  virtual void listViewAddColumn(ControlId id, const std::wstring& title, int width) = 0;
  // width may be kColumnFill.
  virtual void listViewSetColumnWidth(ControlId id, int column, int width) = 0;
  // Makes the list virtual with count rows; their texts and state images are asked for as
  // they are painted. Setting it again with another count keeps the rows' selection where
  // it still fits.
  virtual void listViewSetVirtualRows(ControlId id, int count, VirtualRows rows) = 0;
  virtual void listViewClear(ControlId id) = 0;
  // Inserts a row at index (past the end appends) and gives the index it got.
  virtual int listViewInsert(ControlId id, int index, const std::wstring& text, ItemData data) = 0;
  virtual void listViewDelete(ControlId id, int row) = 0;
  virtual int listViewCount(ControlId id) const = 0;
  virtual std::wstring listViewText(ControlId id, int row, int column) const = 0;
  virtual void listViewSetText(ControlId id, int row, int column, const std::wstring& text) = 0;
  virtual ItemData listViewItemData(ControlId id, int row) const = 0;
  virtual void listViewSetItemData(ControlId id, int row, ItemData data) = 0;
  // The state image of a row of inserted rows: stateImage::unchecked, checked, or any index
  // of the view's state images.
  virtual int listViewStateImage(ControlId id, int row) const = 0;
  virtual void listViewSetStateImage(ControlId id, int row, int image) = 0;
  // The selected rows in ascending order.
  virtual std::vector<int> listViewSelectedRows(ControlId id) const = 0;
  // Selects or deselects a row; kNoItem stands for every row. As with a real control, the
  // logic hears of each change (listItemChanged), here and from listViewSetStateImage.
  virtual void listViewSetSelected(ControlId id, int row, bool selected) = 0;
  // The row with the focus rectangle, or kNoItem.
  virtual int listViewFocusedRow(ControlId id) const = 0;
  virtual void listViewSetFocusedRow(ControlId id, int row) = 0;
  virtual void listViewEnsureVisible(ControlId id, int row) = 0;
  // Paints rows first..last again, so that a virtual list asks for them anew.
  virtual void listViewRedrawRows(ControlId id, int first, int last) = 0;

  // --- combo boxes (drop-down lists) ----------------------------------------------------------
  virtual void comboClear(ControlId id) = 0;
  // Appends an item and gives its index.
  virtual int comboAdd(ControlId id, const std::wstring& text, ItemData data) = 0;
  virtual int comboCount(ControlId id) const = 0;
  virtual std::wstring comboText(ControlId id, int index) const = 0;
  virtual ItemData comboItemData(ControlId id, int index) const = 0;
  // The selected item, or kNoItem; kNoItem clears the selection.
  virtual int comboSelection(ControlId id) const = 0;
  virtual void comboSelect(ControlId id, int index) = 0;

  // --- tree views -----------------------------------------------------------------------------
  // The images of the tree, icons of the module by resource id, 16 by 16; every one of them
  // can also serve as an overlay.
  virtual void treeSetImages(ControlId id, const std::vector<int>& iconIds) = 0;
  // Inserts an item as the last child of parent (kTreeRoot for a top item); kNoTreeItem
  // when the control refused it.
  virtual TreeItem treeInsert(ControlId id, TreeItem parent, const TreeItemSetup& item) = 0;
  virtual void treeClear(ControlId id) = 0;
  // Deletes the children of item and leaves it without a plus.
  virtual void treeDeleteChildren(ControlId id, TreeItem item) = 0;
  // The children of parent in order (kTreeRoot for the top items).
  virtual std::vector<TreeItem> treeChildren(ControlId id, TreeItem parent) const = 0;
  virtual TreeItem treeParent(ControlId id, TreeItem item) const = 0;
  virtual std::wstring treeText(ControlId id, TreeItem item) const = 0;
  virtual ItemData treeItemData(ControlId id, TreeItem item) const = 0;
  virtual bool treeIsExpanded(ControlId id, TreeItem item) const = 0;
  // Expands item as it stands, without asking the logic: a program expands what it filled.
  virtual void treeExpand(ControlId id, TreeItem item) = 0;
  // Selects item (kNoTreeItem: nothing); the logic hears of it (treeSelChanged).
  virtual void treeSelect(ControlId id, TreeItem item) = 0;
  virtual TreeItem treeSelection(ControlId id) const = 0;
  virtual void treeEnsureVisible(ControlId id, TreeItem item) = 0;

  // --- date and time pickers ------------------------------------------------------------------
  // False,
  // and value untouched, when the picker shows none (its box is unchecked).
  virtual bool dateTimeGet(ControlId id, SYSTEMTIME& value) const = 0;
  // Null shows none; that needs a picker with the show-none style.
  virtual void dateTimeSet(ControlId id, const SYSTEMTIME* value) = 0;
  // The display format, in the picker's format language ("HH':'mm", "d MMM yyyy").
  virtual void dateTimeSetFormat(ControlId id, const std::wstring& format) = 0;

  // --- rich edit ------------------------------------------------------------------------------
  // Character positions count as the control counts them (a paragraph end is one). The
  // selection is that of selectText. Replaces the whole content with bytes in format
  // sf::rtf or sf::text (8-bit text of the system code page).
  virtual void richEditStreamIn(ControlId id, const std::string& bytes, UINT format) = 0;
  virtual std::wstring richEditTextRange(ControlId id, LONG start, LONG end) const = 0;
  // The first position at or after from where text begins, with case; -1 when none.
  virtual LONG richEditFind(ControlId id, LONG from, const std::wstring& text) const = 0;
  virtual void richEditReplace(ControlId id, LONG start, LONG end, const std::wstring& text) = 0;
  // Gives start..end the link effect in color.
  virtual void richEditSetLink(ControlId id, LONG start, LONG end, COLORREF color) = 0;
  // Whether the control tells the logic of link events (richEditLink).
  virtual void richEditSetLinkEvents(ControlId id, bool on) = 0;
  virtual void richEditSetReadOnly(ControlId id, bool readOnly) = 0;
  virtual void richEditSetFont(ControlId id, const std::wstring& face, int points) = 0;

  // --- the window -----------------------------------------------------------------------------
  // The dialog's own window: the owner of the dialogs and message boxes it opens. The logic
  // only hands it on and never calls the window itself.
  virtual HWND window() const = 0;
  virtual void setTitle(const std::wstring& text) = 0;
  // The dialog's big and small icon, an icon of the module.
  virtual void setIcon(int iconId) = 0;
  // Shows an icon of the module in a static control.
  virtual void setControlIcon(ControlId id, int iconId) = 0;
  // The size of the dialog's window in pixels, frame included.
  virtual Extent windowSize() const = 0;
  virtual void setWindowSize(int width, int height) = 0;
  // A control's place in the dialog's client area, in pixels.
  virtual RECT controlRect(ControlId id) const = 0;
  virtual void moveControl(ControlId id, const RECT& rect) = 0;
  // A rectangle in the template's dialog units as pixels of this dialog.
  virtual RECT dialogUnitsToPixels(const RECT& units) const = 0;
  // Makes the dialog resizable with a grip in its corner, no smaller than minWidth by
  // minHeight (0: the size it opened with). Controls keep their distance to their anchors'
  // edges; controls without an anchor stay where they are.
  virtual void enableResizing(int minWidth, int minHeight) = 0;
  virtual void setAnchor(ControlId id, UINT edges) = 0;
  // Sends the logic a notification from control id, as the control would.
  virtual void sendNotification(ControlId id, int code) = 0;

  // --- messages ------------------------------------------------------------------------------
  // A modal message box owned by the dialog; gives the id of the button chosen.
  virtual int messageBox(const std::wstring& text, const std::wstring& caption, UINT style) = 0;
  virtual void beep(Beep kind) = 0;

  // --- the dialog ----------------------------------------------------------------------------
  // Ends the modal dialog; the result is what the dialog returns to its caller.
  virtual void endDialog(int result) = 0;
  // A handler failed and the failure was dropped in its frame, as a window procedure drops
  // it. The Win32 view only traces it; a test sees it.
  virtual void handlerFailed(HRESULT code, const std::wstring& text) = 0;
};

// Drawing of a control off for the life of this object, back on however the work in
// between ends.
class RedrawOff {
 public:
  RedrawOff(DialogView& view, ControlId id) : view_(view), id_(id) { view_.setRedraw(id_, false); }
  ~RedrawOff() { view_.setRedraw(id_, true); }
  RedrawOff(const RedrawOff&) = delete;
  RedrawOff& operator=(const RedrawOff&) = delete;

 private:
  DialogView& view_;
  ControlId id_;
};

}  // namespace zelvo::ui
