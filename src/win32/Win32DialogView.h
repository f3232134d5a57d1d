// The DialogView of a real dialog window: every operation is a window message to one of the
// dialog's controls. The dialog procedure of Win32DialogHost hands this view what the
// controls report and routes it to the logic.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "ui/DialogView.h"

#ifndef _WIN32
#error "Win32DialogView needs the window system"
#endif

#include <commctrl.h>

namespace zelvo::win32 {

class Win32DialogView : public ui::DialogView {
 public:
  // module holds the icons the logic names.
  explicit Win32DialogView(HINSTANCE module);
  ~Win32DialogView() override;
  Win32DialogView(const Win32DialogView&) = delete;
  Win32DialogView& operator=(const Win32DialogView&) = delete;

  // The dialog window, from WM_INITDIALOG on.
  void attach(HWND dialog) { dialog_ = dialog; }
  HWND window() const override { return dialog_; }

  // Dropped handler failures go to the debugger's trace, and to sink when one is set.
  using FailureSink = std::function<void(HRESULT code, const std::wstring& text)>;
  void setFailureSink(FailureSink sink) { failureSink_ = std::move(sink); }

  // --- what the dialog procedure asks --------------------------------------------------------
  // A notification the view answers itself (a virtual row's text, the cursor over a link).
  // True when it did, with the answer in result.
  bool answerNotification(const NMHDR& header, LRESULT& result);
  // The notification as the logic hears it; false for one the logic does not hear.
  bool translateNotification(const NMHDR& header, ui::Notification& out) const;
  // WM_SIZE: anchored controls and the grip follow the client area.
  void layout();
  // WM_GETMINMAXINFO of a resizable dialog.
  void limitTracking(MINMAXINFO& info) const;
  // Whether the logic put the focus somewhere while the dialog opened.
  bool focusWasSet() const { return focusSet_; }

  // --- DialogView ----------------------------------------------------------------------------
  std::wstring getText(ui::ControlId id) const override;
  void setText(ui::ControlId id, const std::wstring& text) override;
  bool isChecked(ui::ControlId id) const override;
  void setChecked(ui::ControlId id, bool checked) override;
  void checkRadio(ui::ControlId first, ui::ControlId last, ui::ControlId checked) override;
  bool isEnabled(ui::ControlId id) const override;
  void enable(ui::ControlId id, bool enabled) override;
  bool isVisible(ui::ControlId id) const override;
  void show(ui::ControlId id, bool visible) override;
  ui::ControlId focus() const override;
  void setFocus(ui::ControlId id) override;
  ui::ControlId defaultButton() const override;
  void setDefaultButton(ui::ControlId id) override;
  void setRedraw(ui::ControlId id, bool redraw) override;
  void setFont(ui::ControlId id, const std::wstring& face, int points) override;

  void selectText(ui::ControlId id, int start, int end) override;
  void scrollCaret(ui::ControlId id) override;
  void setTextLimit(ui::ControlId id, int characters) override;

  void listBoxClear(ui::ControlId id) override;
  int listBoxAdd(ui::ControlId id, const std::wstring& text) override;
  int listBoxInsert(ui::ControlId id, int index, const std::wstring& text) override;
  void listBoxDelete(ui::ControlId id, int index) override;
  int listBoxCount(ui::ControlId id) const override;
  std::wstring listBoxText(ui::ControlId id, int index) const override;
  int listBoxSelection(ui::ControlId id) const override;
  void listBoxSelect(ui::ControlId id, int index) override;
  int listBoxFindExact(ui::ControlId id, const std::wstring& text) const override;

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
  int listViewFocusedRow(ui::ControlId id) const override;
  void listViewSetFocusedRow(ui::ControlId id, int row) override;
  void listViewEnsureVisible(ui::ControlId id, int row) override;
  void listViewRedrawRows(ui::ControlId id, int first, int last) override;

  void comboClear(ui::ControlId id) override;
  int comboAdd(ui::ControlId id, const std::wstring& text, ui::ItemData data) override;
  int comboCount(ui::ControlId id) const override;
  std::wstring comboText(ui::ControlId id, int index) const override;
  ui::ItemData comboItemData(ui::ControlId id, int index) const override;
  int comboSelection(ui::ControlId id) const override;
  void comboSelect(ui::ControlId id, int index) override;

  void treeSetImages(ui::ControlId id, const std::vector<int>& iconIds) override;
  ui::TreeItem treeInsert(ui::ControlId id, ui::TreeItem parent, const ui::TreeItemSetup& item) override;
  void treeClear(ui::ControlId id) override;
  void treeDeleteChildren(ui::ControlId id, ui::TreeItem item) override;
  std::vector<ui::TreeItem> treeChildren(ui::ControlId id, ui::TreeItem parent) const override;
  ui::TreeItem treeParent(ui::ControlId id, ui::TreeItem item) const override;
  std::wstring treeText(ui::ControlId id, ui::TreeItem item) const override;
  ui::ItemData treeItemData(ui::ControlId id, ui::TreeItem item) const override;
  bool treeIsExpanded(ui::ControlId id, ui::TreeItem item) const override;
  void treeExpand(ui::ControlId id, ui::TreeItem item) override;
  void treeSelect(ui::ControlId id, ui::TreeItem item) override;
  ui::TreeItem treeSelection(ui::ControlId id) const override;
  void treeEnsureVisible(ui::ControlId id, ui::TreeItem item) override;

  bool dateTimeGet(ui::ControlId id, SYSTEMTIME& value) const override;
  void dateTimeSet(ui::ControlId id, const SYSTEMTIME* value) override;
  void dateTimeSetFormat(ui::ControlId id, const std::wstring& format) override;

  void richEditStreamIn(ui::ControlId id, const std::string& bytes, UINT format) override;
  std::wstring richEditTextRange(ui::ControlId id, LONG start, LONG end) const override;
  LONG richEditFind(ui::ControlId id, LONG from, const std::wstring& text) const override;
  void richEditReplace(ui::ControlId id, LONG start, LONG end, const std::wstring& text) override;
  void richEditSetLink(ui::ControlId id, LONG start, LONG end, COLORREF color) override;
  void richEditSetLinkEvents(ui::ControlId id, bool on) override;
  void richEditSetReadOnly(ui::ControlId id, bool readOnly) override;
  void richEditSetFont(ui::ControlId id, const std::wstring& face, int points) override;

  void setTitle(const std::wstring& text) override;
  void setIcon(int iconId) override;
  void setControlIcon(ui::ControlId id, int iconId) override;
  ui::Extent windowSize() const override;
  void setWindowSize(int width, int height) override;
  RECT controlRect(ui::ControlId id) const override;
  void moveControl(ui::ControlId id, const RECT& rect) override;
  RECT dialogUnitsToPixels(const RECT& units) const override;
  void enableResizing(int minWidth, int minHeight) override;
  void setAnchor(ui::ControlId id, UINT edges) override;
  void sendNotification(ui::ControlId id, int code) override;

  int messageBox(const std::wstring& text, const std::wstring& caption, UINT style) override;
  void beep(ui::Beep kind) override;
  void endDialog(int result) override;
  void handlerFailed(HRESULT code, const std::wstring& text) override;

 private:
  struct Anchor {
    UINT edges = 0;
    RECT rect{};          // the control's place when the anchor was set
    ui::Extent client{};  // the client area then
  };
  struct ImageListDeleter {
    void operator()(_IMAGELIST* list) const;
  };
  struct FontDeleter {
    void operator()(HFONT__* font) const;
  };

  // The control; a missing one raises E_INVALIDARG.
  HWND item(ui::ControlId id) const;
  ui::Extent clientSize() const;
  void anchorAt(ui::ControlId id, UINT edges);
  HWND treeItemCheck(ui::ControlId id, ui::TreeItem item) const;

  HINSTANCE module_;
  HWND dialog_ = nullptr;
  FailureSink failureSink_;
  bool focusSet_ = false;
  std::map<ui::ControlId, ui::VirtualRows> virtualRows_;
  std::wstring lentText_;  // a virtual row's text, lent to the list view until it asks again
  std::map<ui::ControlId, Anchor> anchors_;
  bool resizable_ = false;
  ui::Extent minimum_;
  HWND grip_ = nullptr;  // a child: it goes with the dialog
  Anchor gripAnchor_;
  std::map<ui::ControlId, std::unique_ptr<_IMAGELIST, ImageListDeleter>> treeImages_;
  // Declared after nothing that uses them: the dialog's window is gone before the view.
  std::vector<std::unique_ptr<HFONT__, FontDeleter>> fonts_;
  int expanding_ = 0;  // inside treeExpand: the control's own expanding notice is not the user's
};

// The module that holds this code: the add-in's DLL, or a test program.
HINSTANCE thisModule();

}  // namespace zelvo::win32
