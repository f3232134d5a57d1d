#include "win32/Win32DialogView.h"

#include <algorithm>
#include <vector>

#include "base/HResultException.h"
#include "base/Win32Error.h"
#include "streams/RichTextConvertor.h"
#include "ui/Anchoring.h"

namespace zelvo::win32 {

namespace details {

constexpr int kGripId = 0x7FF0;
// FR_DOWN, which the SDK keeps with the common dialogs.
constexpr WPARAM kFindDown = 0x00000001;

std::wstring windowText(HWND window) {
  const int length = GetWindowTextLengthW(window);
  std::wstring text(static_cast<std::size_t>(length) + 1, L'\0');
  const int got = GetWindowTextW(window, &text[0], length + 1);
  text.resize(static_cast<std::size_t>(got > 0 ? got : 0));
  return text;
}

bool isClass(HWND window, const wchar_t* name) {
  wchar_t className[64] = {};
  return GetClassNameW(window, className, 64) && lstrcmpiW(className, name) == 0;
}

HICON loadIcon(HINSTANCE module, int iconId, int side) {
  return static_cast<HICON>(LoadImageW(module, MAKEINTRESOURCEW(iconId), IMAGE_ICON, side, side,
                                       side ? LR_SHARED : LR_SHARED | LR_DEFAULTSIZE));
}

HTREEITEM treeHandle(ui::TreeItem item) { return reinterpret_cast<HTREEITEM>(item); }
ui::TreeItem treeItemOf(HTREEITEM handle) { return reinterpret_cast<ui::TreeItem>(handle); }

}  // namespace details

HINSTANCE thisModule() {
  HMODULE module = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                     reinterpret_cast<LPCWSTR>(&thisModule), &module);
  return module;
}

void Win32DialogView::ImageListDeleter::operator()(_IMAGELIST* list) const { ImageList_Destroy(list); }

Win32DialogView::Win32DialogView(HINSTANCE module) : module_(module) {}

Win32DialogView::~Win32DialogView() = default;

HWND Win32DialogView::item(ui::ControlId id) const {
  HWND control = dialog_ ? GetDlgItem(dialog_, id) : nullptr;
  if (!control) ZEL_HERE.raiseFormatted(E_INVALIDARG, "The dialog has no control %1%", id);
  return control;
}

ui::Extent Win32DialogView::clientSize() const {
  RECT client{};
  GetClientRect(dialog_, &client);
  return {client.right - client.left, client.bottom - client.top};
}

// --- texts, states, focus -----------------------------------------------------------------------

std::wstring Win32DialogView::getText(ui::ControlId id) const { return details::windowText(item(id)); }

void Win32DialogView::setText(ui::ControlId id, const std::wstring& text) { SetWindowTextW(item(id), text.c_str()); }

bool Win32DialogView::isChecked(ui::ControlId id) const {
  return SendMessageW(item(id), BM_GETCHECK, 0, 0) == BST_CHECKED;
}

void Win32DialogView::setChecked(ui::ControlId id, bool checked) {
  SendMessageW(item(id), BM_SETCHECK, checked ? BST_CHECKED : BST_UNCHECKED, 0);
}

void Win32DialogView::checkRadio(ui::ControlId first, ui::ControlId last, ui::ControlId checked) {
  item(checked);
  CheckRadioButton(dialog_, first, last, checked);
}

bool Win32DialogView::isEnabled(ui::ControlId id) const { return IsWindowEnabled(item(id)) != FALSE; }

void Win32DialogView::enable(ui::ControlId id, bool enabled) { EnableWindow(item(id), enabled ? TRUE : FALSE); }

bool Win32DialogView::isVisible(ui::ControlId id) const {
  // The control's own style: while the dialog opens it is not on the screen yet.
  return (GetWindowLongPtrW(item(id), GWL_STYLE) & WS_VISIBLE) != 0;
}

void Win32DialogView::show(ui::ControlId id, bool visible) { ShowWindow(item(id), visible ? SW_SHOW : SW_HIDE); }

ui::ControlId Win32DialogView::focus() const {
  // The focus may be in a part of a control (the edit of a combo box): its control is the
  // child of the dialog it lies in.
  for (HWND window = GetFocus(); window; window = GetParent(window)) {
    if (GetParent(window) == dialog_) return GetDlgCtrlID(window);
  }
  return ui::kNoControl;
}

void Win32DialogView::setFocus(ui::ControlId id) {
  // Through the dialog manager, so that the default button follows.
  SendMessageW(dialog_, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(item(id)), TRUE);
  focusSet_ = true;
}

ui::ControlId Win32DialogView::defaultButton() const {
  const LRESULT answer = SendMessageW(dialog_, DM_GETDEFID, 0, 0);
  return HIWORD(answer) == DC_HASDEFID ? LOWORD(answer) : ui::kNoControl;
}

void Win32DialogView::setDefaultButton(ui::ControlId id) {
  const ui::ControlId old = defaultButton();
  SendMessageW(dialog_, DM_SETDEFID, static_cast<WPARAM>(id), 0);
  // The buttons' frames follow the default.
  if (old != ui::kNoControl && old != id) {
    if (HWND button = GetDlgItem(dialog_, old)) SendMessageW(button, BM_SETSTYLE, BS_PUSHBUTTON, TRUE);
  }
  SendMessageW(item(id), BM_SETSTYLE, BS_DEFPUSHBUTTON, TRUE);
}

void Win32DialogView::setRedraw(ui::ControlId id, bool redraw) {
  HWND control = item(id);
  SendMessageW(control, WM_SETREDRAW, redraw ? TRUE : FALSE, 0);
  if (redraw) InvalidateRect(control, nullptr, TRUE);
}

// --- edit fields --------------------------------------------------------------------------------

void Win32DialogView::selectText(ui::ControlId id, int start, int end) {
  SendMessageW(item(id), EM_SETSEL, static_cast<WPARAM>(start), static_cast<LPARAM>(end));
}

void Win32DialogView::scrollCaret(ui::ControlId id) { SendMessageW(item(id), EM_SCROLLCARET, 0, 0); }

void Win32DialogView::setTextLimit(ui::ControlId id, int characters) {
  SendMessageW(item(id), EM_LIMITTEXT, static_cast<WPARAM>(characters), 0);
}

// --- list boxes ---------------------------------------------------------------------------------

void Win32DialogView::listBoxClear(ui::ControlId id) { SendMessageW(item(id), LB_RESETCONTENT, 0, 0); }

int Win32DialogView::listBoxAdd(ui::ControlId id, const std::wstring& text) {
  return static_cast<int>(SendMessageW(item(id), LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(text.c_str())));
}

int Win32DialogView::listBoxInsert(ui::ControlId id, int index, const std::wstring& text) {
  return static_cast<int>(
      SendMessageW(item(id), LB_INSERTSTRING, static_cast<WPARAM>(index), reinterpret_cast<LPARAM>(text.c_str())));
}

void Win32DialogView::listBoxDelete(ui::ControlId id, int index) {
  SendMessageW(item(id), LB_DELETESTRING, static_cast<WPARAM>(index), 0);
}

int Win32DialogView::listBoxCount(ui::ControlId id) const {
  return static_cast<int>(SendMessageW(item(id), LB_GETCOUNT, 0, 0));
}

std::wstring Win32DialogView::listBoxText(ui::ControlId id, int index) const {
  HWND list = item(id);
  const LRESULT length = SendMessageW(list, LB_GETTEXTLEN, static_cast<WPARAM>(index), 0);
  if (length < 0) return std::wstring();
  std::wstring text(static_cast<std::size_t>(length) + 1, L'\0');
  const LRESULT got = SendMessageW(list, LB_GETTEXT, static_cast<WPARAM>(index), reinterpret_cast<LPARAM>(&text[0]));
  text.resize(static_cast<std::size_t>(got > 0 ? got : 0));
  return text;
}

int Win32DialogView::listBoxSelection(ui::ControlId id) const {
  return static_cast<int>(SendMessageW(item(id), LB_GETCURSEL, 0, 0));
}

void Win32DialogView::listBoxSelect(ui::ControlId id, int index) {
  SendMessageW(item(id), LB_SETCURSEL, static_cast<WPARAM>(index), 0);
}

int Win32DialogView::listBoxFindExact(ui::ControlId id, const std::wstring& text) const {
  return static_cast<int>(
      SendMessageW(item(id), LB_FINDSTRINGEXACT, static_cast<WPARAM>(-1), reinterpret_cast<LPARAM>(text.c_str())));
}

// --- list views ---------------------------------------------------------------------------------

void Win32DialogView::listViewSetExtendedStyle(ui::ControlId id, DWORD mask, DWORD style) {
  SendMessageW(item(id), LVM_SETEXTENDEDLISTVIEWSTYLE, mask, style);
}

void Win32DialogView::listViewAddColumn(ui::ControlId id, const std::wstring& title, int width) {
  HWND list = item(id);
  HWND header = reinterpret_cast<HWND>(SendMessageW(list, LVM_GETHEADER, 0, 0));
  const int column = header ? static_cast<int>(SendMessageW(header, HDM_GETITEMCOUNT, 0, 0)) : 0;
  LVCOLUMNW setup{};
  setup.mask = LVCF_TEXT | LVCF_WIDTH | LVCF_SUBITEM;
  setup.pszText = const_cast<wchar_t*>(title.c_str());
  setup.cx = width > 0 ? width : 50;
  setup.iSubItem = column;
  if (SendMessageW(list, LVM_INSERTCOLUMNW, static_cast<WPARAM>(column), reinterpret_cast<LPARAM>(&setup)) < 0) {
    ZEL_HERE.raise(E_FAIL, L"The list view refused a column");
  }
  if (width <= 0) listViewSetColumnWidth(id, column, width);
}

void Win32DialogView::listViewSetColumnWidth(ui::ControlId id, int column, int width) {
  SendMessageW(item(id), LVM_SETCOLUMNWIDTH, static_cast<WPARAM>(column), MAKELPARAM(width, 0));
}

void Win32DialogView::listViewSetVirtualRows(ui::ControlId id, int count, ui::VirtualRows rows) {
  HWND list = item(id);
  if (!(GetWindowLongPtrW(list, GWL_STYLE) & LVS_OWNERDATA)) {
    ZEL_HERE.raiseFormatted(E_INVALIDARG, "List view %1% is not a virtual one", id);
  }
  const bool stateImages = static_cast<bool>(rows.stateImage);
  virtualRows_[id] = std::move(rows);
  SendMessageW(list, LVM_SETCALLBACKMASK, stateImages ? LVIS_STATEIMAGEMASK : 0, 0);
  SendMessageW(list, LVM_SETITEMCOUNT, static_cast<WPARAM>(count), LVSICF_NOSCROLL);
  InvalidateRect(list, nullptr, TRUE);
}

void Win32DialogView::listViewClear(ui::ControlId id) {
  HWND list = item(id);
  if (GetWindowLongPtrW(list, GWL_STYLE) & LVS_OWNERDATA) {
    SendMessageW(list, LVM_SETITEMCOUNT, 0, 0);
    virtualRows_.erase(id);
  }
  SendMessageW(list, LVM_DELETEALLITEMS, 0, 0);
}

int Win32DialogView::listViewInsert(ui::ControlId id, int index, const std::wstring& text, ui::ItemData data) {
  HWND list = item(id);
  const int count = static_cast<int>(SendMessageW(list, LVM_GETITEMCOUNT, 0, 0));
  LVITEMW row{};
  row.mask = LVIF_TEXT | LVIF_PARAM;
  row.iItem = index < 0 || index > count ? count : index;
  row.pszText = const_cast<wchar_t*>(text.c_str());
  row.lParam = data;
  const int got = static_cast<int>(SendMessageW(list, LVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&row)));
  if (got < 0) ZEL_HERE.raise(E_FAIL, L"The list view refused a row");
  return got;
}

void Win32DialogView::listViewDelete(ui::ControlId id, int row) {
  SendMessageW(item(id), LVM_DELETEITEM, static_cast<WPARAM>(row), 0);
}

int Win32DialogView::listViewCount(ui::ControlId id) const {
  return static_cast<int>(SendMessageW(item(id), LVM_GETITEMCOUNT, 0, 0));
}

std::wstring Win32DialogView::listViewText(ui::ControlId id, int row, int column) const {
  HWND list = item(id);
  const auto source = virtualRows_.find(id);
  if (source != virtualRows_.end()) return source->second.text ? source->second.text(row, column) : std::wstring();
  // The list view copies at most the buffer; a longer text needs a longer buffer.
  for (std::size_t size = 256;; size *= 4) {
    std::wstring text(size, L'\0');
    LVITEMW request{};
    request.iSubItem = column;
    request.pszText = &text[0];
    request.cchTextMax = static_cast<int>(size);
    const LRESULT got =
        SendMessageW(list, LVM_GETITEMTEXTW, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&request));
    if (got < static_cast<LRESULT>(size) - 1 || size > 65536) {
      text.resize(static_cast<std::size_t>(got > 0 ? got : 0));
      return text;
    }
  }
}

void Win32DialogView::listViewSetText(ui::ControlId id, int row, int column, const std::wstring& text) {
  LVITEMW request{};
  request.iSubItem = column;
  request.pszText = const_cast<wchar_t*>(text.c_str());
  SendMessageW(item(id), LVM_SETITEMTEXTW, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&request));
}

ui::ItemData Win32DialogView::listViewItemData(ui::ControlId id, int row) const {
  LVITEMW request{};
  request.mask = LVIF_PARAM;
  request.iItem = row;
  SendMessageW(item(id), LVM_GETITEMW, 0, reinterpret_cast<LPARAM>(&request));
  return request.lParam;
}

void Win32DialogView::listViewSetItemData(ui::ControlId id, int row, ui::ItemData data) {
  LVITEMW request{};
  request.mask = LVIF_PARAM;
  request.iItem = row;
  request.lParam = data;
  SendMessageW(item(id), LVM_SETITEMW, 0, reinterpret_cast<LPARAM>(&request));
}

int Win32DialogView::listViewStateImage(ui::ControlId id, int row) const {
  HWND list = item(id);
  const auto source = virtualRows_.find(id);
  if (source != virtualRows_.end()) {
    return source->second.stateImage ? source->second.stateImage(row) : ui::stateImage::none;
  }
  return ui::lvis::stateImageOf(
      static_cast<UINT>(SendMessageW(list, LVM_GETITEMSTATE, static_cast<WPARAM>(row), LVIS_STATEIMAGEMASK)));
}

void Win32DialogView::listViewSetStateImage(ui::ControlId id, int row, int image) {
  LVITEMW request{};
  request.stateMask = LVIS_STATEIMAGEMASK;
  request.state = ui::lvis::stateImage(image);
  SendMessageW(item(id), LVM_SETITEMSTATE, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&request));
}

std::vector<int> Win32DialogView::listViewSelectedRows(ui::ControlId id) const {
  HWND list = item(id);
  std::vector<int> rows;
  for (int row = -1;;) {
    row = static_cast<int>(SendMessageW(list, LVM_GETNEXTITEM, static_cast<WPARAM>(row), LVNI_SELECTED));
    if (row < 0) return rows;
    rows.push_back(row);
  }
}

void Win32DialogView::listViewSetSelected(ui::ControlId id, int row, bool selected) {
  LVITEMW request{};
  request.stateMask = LVIS_SELECTED;
  request.state = selected ? LVIS_SELECTED : 0;
  SendMessageW(item(id), LVM_SETITEMSTATE, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&request));
}

int Win32DialogView::listViewFocusedRow(ui::ControlId id) const {
  return static_cast<int>(SendMessageW(item(id), LVM_GETNEXTITEM, static_cast<WPARAM>(-1), LVNI_FOCUSED));
}

void Win32DialogView::listViewSetFocusedRow(ui::ControlId id, int row) {
  LVITEMW request{};
  request.stateMask = LVIS_FOCUSED;
  request.state = LVIS_FOCUSED;
  SendMessageW(item(id), LVM_SETITEMSTATE, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&request));
}

void Win32DialogView::listViewEnsureVisible(ui::ControlId id, int row) {
  SendMessageW(item(id), LVM_ENSUREVISIBLE, static_cast<WPARAM>(row), FALSE);
}

void Win32DialogView::listViewRedrawRows(ui::ControlId id, int first, int last) {
  HWND list = item(id);
  SendMessageW(list, LVM_REDRAWITEMS, static_cast<WPARAM>(first), static_cast<LPARAM>(last));
  UpdateWindow(list);
}

// --- combo boxes --------------------------------------------------------------------------------

void Win32DialogView::comboClear(ui::ControlId id) { SendMessageW(item(id), CB_RESETCONTENT, 0, 0); }

int Win32DialogView::comboAdd(ui::ControlId id, const std::wstring& text, ui::ItemData data) {
  HWND combo = item(id);
  const LRESULT index = SendMessageW(combo, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(text.c_str()));
  if (index < 0) ZEL_HERE.raise(E_FAIL, L"The combo box refused an item");
  SendMessageW(combo, CB_SETITEMDATA, static_cast<WPARAM>(index), data);
  return static_cast<int>(index);
}

int Win32DialogView::comboCount(ui::ControlId id) const {
  return static_cast<int>(SendMessageW(item(id), CB_GETCOUNT, 0, 0));
}

std::wstring Win32DialogView::comboText(ui::ControlId id, int index) const {
  HWND combo = item(id);
  const LRESULT length = SendMessageW(combo, CB_GETLBTEXTLEN, static_cast<WPARAM>(index), 0);
  if (length < 0) return std::wstring();
  std::wstring text(static_cast<std::size_t>(length) + 1, L'\0');
  const LRESULT got = SendMessageW(combo, CB_GETLBTEXT, static_cast<WPARAM>(index), reinterpret_cast<LPARAM>(&text[0]));
  text.resize(static_cast<std::size_t>(got > 0 ? got : 0));
  return text;
}

ui::ItemData Win32DialogView::comboItemData(ui::ControlId id, int index) const {
  return static_cast<ui::ItemData>(SendMessageW(item(id), CB_GETITEMDATA, static_cast<WPARAM>(index), 0));
}

int Win32DialogView::comboSelection(ui::ControlId id) const {
  return static_cast<int>(SendMessageW(item(id), CB_GETCURSEL, 0, 0));
}

void Win32DialogView::comboSelect(ui::ControlId id, int index) {
  SendMessageW(item(id), CB_SETCURSEL, static_cast<WPARAM>(index), 0);
}

// --- tree views ---------------------------------------------------------------------------------

void Win32DialogView::treeSetImages(ui::ControlId id, const std::vector<int>& iconIds) {
  HWND tree = item(id);
  // As deep in colour as the screen.
  HDC screen = GetDC(nullptr);
  const int bits = GetDeviceCaps(screen, BITSPIXEL);
  ReleaseDC(nullptr, screen);
  const UINT depth = bits >= 32 ? ILC_COLOR32 : bits >= 24 ? ILC_COLOR24 : bits >= 16 ? ILC_COLOR16 : ILC_COLOR8;
  std::unique_ptr<_IMAGELIST, ImageListDeleter> list(
      ImageList_Create(16, 16, depth | ILC_MASK, static_cast<int>(iconIds.size()), 0));
  if (!list) ZEL_HERE.raise(E_OUTOFMEMORY, L"No image list for the tree");
  for (std::size_t i = 0; i < iconIds.size(); ++i) {
    HICON icon = details::loadIcon(module_, iconIds[i], 16);
    if (!icon) ZEL_HERE.raiseFormatted(lastErrorToHResult(), "No icon %1% in the module", iconIds[i]);
    ImageList_AddIcon(list.get(), icon);
    // Overlay places count from 1 and stop at 15.
    if (i < 15) ImageList_SetOverlayImage(list.get(), static_cast<int>(i), static_cast<int>(i) + 1);
  }
  SendMessageW(tree, TVM_SETIMAGELIST, TVSIL_NORMAL, reinterpret_cast<LPARAM>(list.get()));
  treeImages_[id] = std::move(list);
}

ui::TreeItem Win32DialogView::treeInsert(ui::ControlId id, ui::TreeItem parent, const ui::TreeItemSetup& setup) {
  TVINSERTSTRUCTW insert{};
  insert.hParent = parent == ui::kTreeRoot ? TVI_ROOT : details::treeHandle(parent);
  insert.hInsertAfter = TVI_LAST;
  TVITEMW& entry = insert.item;
  entry.mask = TVIF_TEXT | TVIF_PARAM;
  entry.pszText = const_cast<wchar_t*>(setup.text.c_str());
  entry.lParam = setup.data;
  if (setup.image >= 0) {
    entry.mask |= TVIF_IMAGE | TVIF_SELECTEDIMAGE;
    entry.iImage = setup.image;
    entry.iSelectedImage = setup.selectedImage >= 0 ? setup.selectedImage : setup.image;
  }
  if (setup.overlay >= 0 && setup.overlay < 15) {
    entry.mask |= TVIF_STATE;
    entry.stateMask = TVIS_OVERLAYMASK;
    entry.state = INDEXTOOVERLAYMASK(setup.overlay + 1);
  }
  if (setup.childrenPending) {
    // A plus before the children are known; inserting them later keeps it.
    entry.mask |= TVIF_CHILDREN;
    entry.cChildren = 1;
  }
  const auto handle =
      reinterpret_cast<HTREEITEM>(SendMessageW(item(id), TVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&insert)));
  return details::treeItemOf(handle);
}

void Win32DialogView::treeClear(ui::ControlId id) {
  SendMessageW(item(id), TVM_DELETEITEM, 0, reinterpret_cast<LPARAM>(TVI_ROOT));
}

void Win32DialogView::treeDeleteChildren(ui::ControlId id, ui::TreeItem parent) {
  HWND tree = item(id);
  for (ui::TreeItem child : treeChildren(id, parent)) {
    SendMessageW(tree, TVM_DELETEITEM, 0, reinterpret_cast<LPARAM>(details::treeHandle(child)));
  }
  TVITEMW entry{};
  entry.mask = TVIF_CHILDREN | TVIF_STATE;
  entry.hItem = details::treeHandle(parent);
  entry.cChildren = 0;
  entry.stateMask = TVIS_EXPANDED | TVIS_EXPANDEDONCE;
  entry.state = 0;
  SendMessageW(tree, TVM_SETITEMW, 0, reinterpret_cast<LPARAM>(&entry));
}

std::vector<ui::TreeItem> Win32DialogView::treeChildren(ui::ControlId id, ui::TreeItem parent) const {
  HWND tree = item(id);
  std::vector<ui::TreeItem> children;
  auto next = reinterpret_cast<HTREEITEM>(
      parent == ui::kTreeRoot
          ? SendMessageW(tree, TVM_GETNEXTITEM, TVGN_ROOT, 0)
          : SendMessageW(tree, TVM_GETNEXTITEM, TVGN_CHILD, reinterpret_cast<LPARAM>(details::treeHandle(parent))));
  for (; next; next = reinterpret_cast<HTREEITEM>(
                   SendMessageW(tree, TVM_GETNEXTITEM, TVGN_NEXT, reinterpret_cast<LPARAM>(next)))) {
    children.push_back(details::treeItemOf(next));
  }
  return children;
}

ui::TreeItem Win32DialogView::treeParent(ui::ControlId id, ui::TreeItem child) const {
  return details::treeItemOf(reinterpret_cast<HTREEITEM>(
      SendMessageW(item(id), TVM_GETNEXTITEM, TVGN_PARENT, reinterpret_cast<LPARAM>(details::treeHandle(child)))));
}

std::wstring Win32DialogView::treeText(ui::ControlId id, ui::TreeItem entryItem) const {
  wchar_t buffer[1024] = {};
  TVITEMW entry{};
  entry.mask = TVIF_TEXT;
  entry.hItem = details::treeHandle(entryItem);
  entry.pszText = buffer;
  entry.cchTextMax = 1024;
  SendMessageW(item(id), TVM_GETITEMW, 0, reinterpret_cast<LPARAM>(&entry));
  return entry.pszText ? std::wstring(entry.pszText) : std::wstring();
}

ui::ItemData Win32DialogView::treeItemData(ui::ControlId id, ui::TreeItem entryItem) const {
  TVITEMW entry{};
  entry.mask = TVIF_PARAM;
  entry.hItem = details::treeHandle(entryItem);
  SendMessageW(item(id), TVM_GETITEMW, 0, reinterpret_cast<LPARAM>(&entry));
  return entry.lParam;
}

bool Win32DialogView::treeIsExpanded(ui::ControlId id, ui::TreeItem entryItem) const {
  return (SendMessageW(item(id), TVM_GETITEMSTATE, reinterpret_cast<WPARAM>(details::treeHandle(entryItem)),
                       TVIS_EXPANDED) &
          TVIS_EXPANDED) != 0;
}

void Win32DialogView::treeExpand(ui::ControlId id, ui::TreeItem entryItem) {
  HWND tree = item(id);
  ++expanding_;
  SendMessageW(tree, TVM_EXPAND, TVE_EXPAND, reinterpret_cast<LPARAM>(details::treeHandle(entryItem)));
  --expanding_;
}

void Win32DialogView::treeSelect(ui::ControlId id, ui::TreeItem entryItem) {
  SendMessageW(item(id), TVM_SELECTITEM, TVGN_CARET, reinterpret_cast<LPARAM>(details::treeHandle(entryItem)));
}

ui::TreeItem Win32DialogView::treeSelection(ui::ControlId id) const {
  return details::treeItemOf(reinterpret_cast<HTREEITEM>(SendMessageW(item(id), TVM_GETNEXTITEM, TVGN_CARET, 0)));
}

void Win32DialogView::treeEnsureVisible(ui::ControlId id, ui::TreeItem entryItem) {
  SendMessageW(item(id), TVM_ENSUREVISIBLE, 0, reinterpret_cast<LPARAM>(details::treeHandle(entryItem)));
}

// --- date and time pickers ----------------------------------------------------------------------

bool Win32DialogView::dateTimeGet(ui::ControlId id, SYSTEMTIME& value) const {
  SYSTEMTIME read{};
  if (SendMessageW(item(id), DTM_GETSYSTEMTIME, 0, reinterpret_cast<LPARAM>(&read)) != GDT_VALID) return false;
  value = read;
  return true;
}

void Win32DialogView::dateTimeSet(ui::ControlId id, const SYSTEMTIME* value) {
  // Some pickers want a time even for none.
  const SYSTEMTIME unused{};
  if (!SendMessageW(item(id), DTM_SETSYSTEMTIME, value ? GDT_VALID : GDT_NONE,
                    reinterpret_cast<LPARAM>(value ? value : &unused))) {
    ZEL_HERE.raiseFormatted(E_INVALIDARG, "Date picker %1% refused the value", id);
  }
}

void Win32DialogView::dateTimeSetFormat(ui::ControlId id, const std::wstring& format) {
  SendMessageW(item(id), DTM_SETFORMATW, 0, reinterpret_cast<LPARAM>(format.c_str()));
}

// --- rich edit ----------------------------------------------------------------------------------

void Win32DialogView::richEditStreamIn(ui::ControlId id, const std::string& bytes, UINT format) {
  ZEL_CHECK(RichTextConvertor::streamIn(item(id), bytes, format));
}

std::wstring Win32DialogView::richEditTextRange(ui::ControlId id, LONG start, LONG end) const {
  if (end <= start) return std::wstring();
  std::wstring text(static_cast<std::size_t>(end - start) + 1, L'\0');
  TEXTRANGEW range{{start, end}, &text[0]};
  const LRESULT count = SendMessageW(item(id), EM_GETTEXTRANGE, 0, reinterpret_cast<LPARAM>(&range));
  text.resize(static_cast<std::size_t>(count > 0 ? count : 0));
  return text;
}

LONG Win32DialogView::richEditFind(ui::ControlId id, LONG from, const std::wstring& text) const {
  FINDTEXTEXW find{};
  find.chrg.cpMin = from;
  find.chrg.cpMax = -1;
  find.lpstrText = text.c_str();
  return static_cast<LONG>(SendMessageW(item(id), EM_FINDTEXTEXW, details::kFindDown, reinterpret_cast<LPARAM>(&find)));
}

void Win32DialogView::richEditReplace(ui::ControlId id, LONG start, LONG end, const std::wstring& text) {
  HWND edit = item(id);
  CHARRANGE range{start, end};
  SendMessageW(edit, EM_EXSETSEL, 0, reinterpret_cast<LPARAM>(&range));
  SendMessageW(edit, EM_REPLACESEL, FALSE, reinterpret_cast<LPARAM>(text.c_str()));
}

void Win32DialogView::richEditSetLink(ui::ControlId id, LONG start, LONG end, COLORREF color) {
  HWND edit = item(id);
  CHARRANGE range{start, end};
  SendMessageW(edit, EM_EXSETSEL, 0, reinterpret_cast<LPARAM>(&range));
  CHARFORMAT2W format{};
  format.cbSize = sizeof format;
  format.dwMask = CFM_LINK | CFM_COLOR;
  format.dwEffects = CFE_LINK;
  format.crTextColor = color;
  SendMessageW(edit, EM_SETCHARFORMAT, SCF_SELECTION, reinterpret_cast<LPARAM>(&format));
}

void Win32DialogView::richEditSetLinkEvents(ui::ControlId id, bool on) {
  HWND edit = item(id);
  const auto mask = static_cast<DWORD>(SendMessageW(edit, EM_GETEVENTMASK, 0, 0));
  SendMessageW(edit, EM_SETEVENTMASK, 0, static_cast<LPARAM>(on ? mask | ENM_LINK : mask & ~ENM_LINK));
}

void Win32DialogView::richEditSetReadOnly(ui::ControlId id, bool readOnly) {
  SendMessageW(item(id), EM_SETREADONLY, readOnly ? TRUE : FALSE, 0);
}

void Win32DialogView::FontDeleter::operator()(HFONT__* font) const { DeleteObject(font); }

void Win32DialogView::setFont(ui::ControlId id, const std::wstring& face, int points) {
  HWND control = item(id);
  HDC screen = GetDC(dialog_);
  const int height = -MulDiv(points, GetDeviceCaps(screen, LOGPIXELSY), 72);
  ReleaseDC(dialog_, screen);
  HFONT font = CreateFontW(height, 0, 0, 0, FW_NORMAL, FALSE, FALSE, FALSE, DEFAULT_CHARSET, OUT_DEFAULT_PRECIS,
                           CLIP_DEFAULT_PRECIS, DEFAULT_QUALITY, FIXED_PITCH | FF_MODERN, face.c_str());
  if (!font) ZEL_HERE.raise(E_FAIL);
  fonts_.emplace_back(font);
  SendMessageW(control, WM_SETFONT, reinterpret_cast<WPARAM>(font), TRUE);
}

void Win32DialogView::richEditSetFont(ui::ControlId id, const std::wstring& face, int points) {
  HWND edit = item(id);
  CHARFORMAT2W format{};
  format.cbSize = sizeof format;
  format.dwMask = CFM_FACE | CFM_SIZE;
  lstrcpynW(format.szFaceName, face.c_str(), LF_FACESIZE);
  format.yHeight = points * 20;  // in twips
  // The default, for what is streamed in later, and what the control holds now.
  SendMessageW(edit, EM_SETCHARFORMAT, SCF_DEFAULT, reinterpret_cast<LPARAM>(&format));
  SendMessageW(edit, EM_SETCHARFORMAT, SCF_ALL, reinterpret_cast<LPARAM>(&format));
}

// --- the window ---------------------------------------------------------------------------------

void Win32DialogView::setTitle(const std::wstring& text) { SetWindowTextW(dialog_, text.c_str()); }

void Win32DialogView::setIcon(int iconId) {
  HICON big = details::loadIcon(module_, iconId, GetSystemMetrics(SM_CXICON));
  HICON small = details::loadIcon(module_, iconId, GetSystemMetrics(SM_CXSMICON));
  if (!big) ZEL_HERE.raiseFormatted(lastErrorToHResult(), "No icon %1% in the module", iconId);
  SendMessageW(dialog_, WM_SETICON, ICON_BIG, reinterpret_cast<LPARAM>(big));
  SendMessageW(dialog_, WM_SETICON, ICON_SMALL, reinterpret_cast<LPARAM>(small ? small : big));
}

void Win32DialogView::setControlIcon(ui::ControlId id, int iconId) {
  HWND control = item(id);
  HICON icon = details::loadIcon(module_, iconId, 0);
  if (!icon) ZEL_HERE.raiseFormatted(lastErrorToHResult(), "No icon %1% in the module", iconId);
  SendMessageW(control, STM_SETICON, reinterpret_cast<WPARAM>(icon), 0);
}

ui::Extent Win32DialogView::windowSize() const {
  RECT outer{};
  GetWindowRect(dialog_, &outer);
  return {outer.right - outer.left, outer.bottom - outer.top};
}

void Win32DialogView::setWindowSize(int width, int height) {
  SetWindowPos(dialog_, nullptr, 0, 0, width, height, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
}

RECT Win32DialogView::controlRect(ui::ControlId id) const {
  RECT place{};
  GetWindowRect(item(id), &place);
  MapWindowPoints(nullptr, dialog_, reinterpret_cast<POINT*>(&place), 2);
  return place;
}

void Win32DialogView::moveControl(ui::ControlId id, const RECT& rect) {
  MoveWindow(item(id), rect.left, rect.top, rect.right - rect.left, rect.bottom - rect.top, TRUE);
  // A control the logic placed is anchored from its new place.
  const auto anchor = anchors_.find(id);
  if (anchor != anchors_.end()) anchorAt(id, anchor->second.edges);
}

RECT Win32DialogView::dialogUnitsToPixels(const RECT& units) const {
  RECT pixels = units;
  if (!MapDialogRect(dialog_, &pixels)) ZEL_HERE.raise(E_FAIL, L"The dialog cannot map dialog units");
  return pixels;
}

void Win32DialogView::anchorAt(ui::ControlId id, UINT edges) {
  anchors_[id] = Anchor{edges, controlRect(id), clientSize()};
}

void Win32DialogView::setAnchor(ui::ControlId id, UINT edges) { anchorAt(id, edges); }

void Win32DialogView::enableResizing(int minWidth, int minHeight) {
  const LONG_PTR style = GetWindowLongPtrW(dialog_, GWL_STYLE);
  if (!(style & WS_THICKFRAME)) {
    // The thicker frame goes around the client area as it is, so that nothing moves.
    const ui::Extent client = clientSize();
    RECT outer{0, 0, client.width, client.height};
    AdjustWindowRectEx(&outer, static_cast<DWORD>(style | WS_THICKFRAME), FALSE,
                       static_cast<DWORD>(GetWindowLongPtrW(dialog_, GWL_EXSTYLE)));
    SetWindowLongPtrW(dialog_, GWL_STYLE, style | WS_THICKFRAME);
    SetWindowPos(dialog_, nullptr, 0, 0, outer.right - outer.left, outer.bottom - outer.top,
                 SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE | SWP_FRAMECHANGED);
  }
  const ui::Extent now = windowSize();
  minimum_ = {minWidth > 0 ? minWidth : now.width, minHeight > 0 ? minHeight : now.height};
  resizable_ = true;
  if (grip_) return;
  const int side = GetSystemMetrics(SM_CXVSCROLL);
  const ui::Extent client = clientSize();
  grip_ = CreateWindowExW(0, L"SCROLLBAR", nullptr, WS_CHILD | WS_VISIBLE | SBS_SIZEGRIP | SBS_SIZEBOXBOTTOMRIGHTALIGN,
                          client.width - side, client.height - side, side, side, dialog_,
                          reinterpret_cast<HMENU>(static_cast<INT_PTR>(details::kGripId)), module_, nullptr);
  if (grip_) gripAnchor_ = Anchor{ui::anchor::right | ui::anchor::bottom, controlRect(details::kGripId), client};
}

void Win32DialogView::layout() {
  if (!dialog_ || (anchors_.empty() && !grip_)) return;
  const ui::Extent now = clientSize();
  HDWP moves = BeginDeferWindowPos(static_cast<int>(anchors_.size()) + 1);
  const auto place = [&](HWND control, const Anchor& anchor) {
    if (!control || !moves) return;
    const RECT to = ui::anchoredRect(anchor.rect, anchor.edges, anchor.client, now);
    moves = DeferWindowPos(moves, control, nullptr, to.left, to.top, to.right - to.left, to.bottom - to.top,
                           SWP_NOZORDER | SWP_NOACTIVATE);
  };
  for (const auto& [id, anchor] : anchors_) place(GetDlgItem(dialog_, id), anchor);
  place(grip_, gripAnchor_);
  if (moves) EndDeferWindowPos(moves);
  // Controls that stay put may have been under a moved one.
  InvalidateRect(dialog_, nullptr, TRUE);
}

void Win32DialogView::limitTracking(MINMAXINFO& info) const {
  if (!resizable_) return;
  info.ptMinTrackSize.x = minimum_.width;
  info.ptMinTrackSize.y = minimum_.height;
}

void Win32DialogView::sendNotification(ui::ControlId id, int code) {
  NMHDR header{};
  header.hwndFrom = item(id);
  header.idFrom = static_cast<UINT_PTR>(id);
  header.code = static_cast<UINT>(code);
  SendMessageW(dialog_, WM_NOTIFY, static_cast<WPARAM>(id), reinterpret_cast<LPARAM>(&header));
}

// --- notifications ------------------------------------------------------------------------------

bool Win32DialogView::answerNotification(const NMHDR& header, LRESULT& result) {
  const auto id = static_cast<ui::ControlId>(header.idFrom);
  if (header.code == LVN_GETDISPINFOW) {
    const auto source = virtualRows_.find(id);
    if (source == virtualRows_.end()) return false;
    auto& info = const_cast<NMLVDISPINFOW&>(reinterpret_cast<const NMLVDISPINFOW&>(header));
    LVITEMW& row = info.item;
    if ((row.mask & LVIF_TEXT) && row.pszText && row.cchTextMax > 0) {
      lentText_ = source->second.text ? source->second.text(row.iItem, row.iSubItem) : std::wstring();
      lstrcpynW(row.pszText, lentText_.c_str(), row.cchTextMax);
    }
    if ((row.mask & LVIF_STATE) && source->second.stateImage) {
      row.state = (row.state & ~LVIS_STATEIMAGEMASK) | ui::lvis::stateImage(source->second.stateImage(row.iItem));
      row.stateMask |= LVIS_STATEIMAGEMASK;
    }
    result = 0;
    return true;
  }
  if (header.code == EN_LINK) {
    const auto& link = reinterpret_cast<const ENLINK&>(header);
    if (link.msg == WM_SETCURSOR) {
      // Over a link the pointer is a hand.
      SetCursor(LoadCursorW(nullptr, IDC_HAND));
      result = TRUE;
      return true;
    }
  }
  return false;
}

bool Win32DialogView::translateNotification(const NMHDR& header, ui::Notification& out) const {
  out = ui::Notification();
  out.code = static_cast<int>(header.code);
  switch (static_cast<int>(header.code)) {
    case ui::notify::listItemChanged: {
      const auto& change = reinterpret_cast<const NMLISTVIEW&>(header);
      out.item = change.iItem;
      out.oldState = change.uOldState;
      out.newState = change.uNewState;
      out.changed = change.uChanged;
      return true;
    }
    case ui::notify::click:
    case ui::notify::doubleClick: {
      if (!details::isClass(header.hwndFrom, WC_LISTVIEWW)) return true;
      const auto& activate = reinterpret_cast<const NMITEMACTIVATE&>(header);
      LVHITTESTINFO hit{};
      hit.pt = activate.ptAction;
      const auto row = static_cast<int>(SendMessageW(header.hwndFrom, LVM_HITTEST, 0, reinterpret_cast<LPARAM>(&hit)));
      out.item = row >= 0 ? row : activate.iItem;
      out.onStateImage = row >= 0 && (hit.flags & LVHT_ONITEMSTATEICON) != 0;
      return true;
    }
    case ui::notify::listKeyDown:
      out.key = reinterpret_cast<const NMLVKEYDOWN&>(header).wVKey;
      return true;
    case ui::notify::treeSelChanged: {
      const auto& change = reinterpret_cast<const NMTREEVIEWW&>(header);
      out.treeItem = details::treeItemOf(change.itemNew.hItem);
      out.oldTreeItem = details::treeItemOf(change.itemOld.hItem);
      out.action = change.action;
      return true;
    }
    case ui::notify::treeItemExpanding: {
      // A program's own expanding is not the user's.
      if (expanding_) return false;
      const auto& change = reinterpret_cast<const NMTREEVIEWW&>(header);
      out.treeItem = details::treeItemOf(change.itemNew.hItem);
      out.action = change.action & (TVE_EXPAND | TVE_COLLAPSE);
      return true;
    }
    case ui::notify::dateTimeChange:
      out.dateNone = reinterpret_cast<const NMDATETIMECHANGE&>(header).dwFlags == GDT_NONE;
      return true;
    case ui::notify::richEditLink: {
      const auto& link = reinterpret_cast<const ENLINK&>(header);
      // The pointer moving over a link is no event of the logic's.
      if (link.msg == WM_MOUSEMOVE || link.msg == WM_SETCURSOR) return false;
      out.start = link.chrg.cpMin;
      out.end = link.chrg.cpMax;
      out.message = link.msg;
      return true;
    }
    case ui::notify::descriptionChanged:
      return true;
    default:
      return false;
  }
}

// --- messages and the dialog --------------------------------------------------------------------

int Win32DialogView::messageBox(const std::wstring& text, const std::wstring& caption, UINT style) {
  return MessageBoxW(dialog_, text.c_str(), caption.c_str(), style);
}

void Win32DialogView::beep(ui::Beep kind) { MessageBeep(static_cast<UINT>(kind)); }

void Win32DialogView::endDialog(int result) { EndDialog(dialog_, result); }

void Win32DialogView::handlerFailed(HRESULT code, const std::wstring& text) {
  wchar_t line[64] = {};
  wsprintfW(line, L"Zelvo dialog handler failed: 0x%08lX ", static_cast<unsigned long>(code));
  OutputDebugStringW((std::wstring(line) + text + L"\n").c_str());
  if (failureSink_) failureSink_(code, text);
}

}  // namespace zelvo::win32
