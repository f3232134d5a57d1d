// The Win32 view on the real controls of a dialog made from a test template, run by the
// modal base: each operation reaches its control, and what the controls report reaches the
// logic through the one dialog procedure.
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "base/HResultException.h"
#include "tests/win32/data/ViewTestDialog.rh"
#include "win32/Win32DialogHost.h"
#include "win32/Win32DialogView.h"

namespace {

using namespace zelvo::ui;
using zelvo::win32::Win32DialogHost;
using zelvo::win32::Win32DialogView;

// A logic whose handlers are the test's: it notes what the dialog procedure hands it.
class ScriptedLogic : public DialogLogic {
 public:
  using DialogLogic::DialogLogic;
  std::function<void()> init;
  std::function<bool(ControlId, const Notification&)> react;
  std::vector<std::pair<ControlId, Notification>> notes;
  std::vector<std::pair<ControlId, int>> commands;
  std::vector<std::pair<int, int>> sizes;

 protected:
  void onInitDialog() override {
    if (init) init();
  }
  void onCommand(ControlId id, int code) override {
    commands.emplace_back(id, code);
    if (id == IDC_CHECK && code == notify::buttonClicked) ZEL_HERE.raise(E_ACCESSDENIED, L"refused");
  }
  bool onNotify(ControlId id, const Notification& n) override {
    notes.emplace_back(id, n);
    return react ? react(id, n) : false;
  }
  void onSize(int width, int height) override { sizes.emplace_back(width, height); }

 public:
  using DialogLogic::view;
  int count(int code) const {
    int n = 0;
    for (const auto& note : notes) n += note.second.code == code;
    return n;
  }
};

struct Failure {
  HRESULT code;
  std::wstring text;
};

// Opens the test dialog, lets body act on it once it is shown, and closes it with Cancel
// unless body ended it. Gives the dialog's result.
struct DialogRun {
  std::vector<Failure> failures;
  int result = 0;
  DialogRun(const std::function<void(ScriptedLogic&)>& setUp,
            const std::function<void(HWND, Win32DialogView&, ScriptedLogic&)>& body) {
    Win32DialogHost host;
    host.setFailureSink([this](HRESULT code, const std::wstring& text) { failures.push_back({code, text}); });
    host.onShown([&](HWND dialog, Win32DialogView& view, DialogLogic& logic) {
      // A body that fails still closes the dialog; one that ended it keeps its result,
      // since the dialog's loop stops before it reads this.
      struct Closer {
        HWND dialog;
        ~Closer() { PostMessageW(dialog, WM_COMMAND, MAKEWPARAM(kIdCancel, BN_CLICKED), 0); }
      } closer{dialog};
      body(dialog, view, static_cast<ScriptedLogic&>(logic));
    });
    result = host.runModal(IDD_VIEW_TEST, nullptr, [&](DialogView& view) {
      auto logic = std::make_unique<ScriptedLogic>(view);
      setUp(*logic);
      return logic;
    });
  }
};

const auto noSetUp = [](ScriptedLogic&) {};

TEST(Win32DialogView, TextsChecksRadiosAndFocusReachTheControls) {
  DialogRun run(noSetUp, [](HWND dialog, Win32DialogView& view, ScriptedLogic& logic) {
    view.setText(IDC_EDIT, L"näme@host");
    EXPECT_EQ(view.getText(IDC_EDIT), L"näme@host");
    view.setTextLimit(IDC_EDIT, 4);
    EXPECT_EQ(SendMessageW(GetDlgItem(dialog, IDC_EDIT), EM_GETLIMITTEXT, 0, 0), 4);
    view.selectText(IDC_EDIT, 1, 3);
    DWORD start = 0, end = 0;
    SendMessageW(GetDlgItem(dialog, IDC_EDIT), EM_GETSEL, reinterpret_cast<WPARAM>(&start),
                 reinterpret_cast<LPARAM>(&end));
    EXPECT_EQ(start, 1u);
    EXPECT_EQ(end, 3u);

    view.setChecked(IDC_CHECK, true);
    EXPECT_TRUE(view.isChecked(IDC_CHECK));
    view.checkRadio(IDC_RADIO1, IDC_RADIO2, IDC_RADIO2);
    EXPECT_FALSE(view.isChecked(IDC_RADIO1));
    EXPECT_TRUE(view.isChecked(IDC_RADIO2));

    view.enable(IDC_EDIT, false);
    EXPECT_FALSE(view.isEnabled(IDC_EDIT));
    EXPECT_FALSE(IsWindowEnabled(GetDlgItem(dialog, IDC_EDIT)));
    view.enable(IDC_EDIT, true);
    view.show(IDC_COMBO, false);
    EXPECT_FALSE(view.isVisible(IDC_COMBO));
    EXPECT_TRUE(view.isVisible(IDC_EDIT));

    view.setFocus(IDC_LISTBOX);
    EXPECT_EQ(view.focus(), IDC_LISTBOX);
    EXPECT_EQ(view.defaultButton(), kIdOk);
    view.setDefaultButton(kIdCancel);
    EXPECT_EQ(view.defaultButton(), kIdCancel);
    EXPECT_EQ(GetWindowLongPtrW(GetDlgItem(dialog, kIdCancel), GWL_STYLE) & 0xF, BS_DEFPUSHBUTTON);
    EXPECT_EQ(GetWindowLongPtrW(GetDlgItem(dialog, kIdOk), GWL_STYLE) & 0xF, BS_PUSHBUTTON);

    // The user's click on the check box comes as a command.
    SendMessageW(GetDlgItem(dialog, IDC_RADIO1), BM_CLICK, 0, 0);
    EXPECT_EQ(logic.commands.back(), std::make_pair(ControlId{IDC_RADIO1}, notify::buttonClicked));
  });
  EXPECT_EQ(run.result, kIdCancel);
}

TEST(Win32DialogView, ListBoxKeepsItsOrderAndFindsWithoutCase) {
  DialogRun run(noSetUp, [](HWND, Win32DialogView& view, ScriptedLogic&) {
    for (const wchar_t* text : {L"b@x.org", L"A@x.org"}) view.listBoxAdd(IDC_LISTBOX, text);
    view.listBoxInsert(IDC_LISTBOX, 0, L"first");
    EXPECT_EQ(view.listBoxCount(IDC_LISTBOX), 3);
    EXPECT_EQ(view.listBoxText(IDC_LISTBOX, 2), L"A@x.org");
    EXPECT_EQ(view.listBoxFindExact(IDC_LISTBOX, L"a@X.ORG"), 2);
    EXPECT_EQ(view.listBoxFindExact(IDC_LISTBOX, L"a@x"), kNoItem);
    view.listBoxSelect(IDC_LISTBOX, 1);
    view.listBoxDelete(IDC_LISTBOX, 0);
    EXPECT_EQ(view.listBoxSelection(IDC_LISTBOX), 0);
    view.listBoxClear(IDC_LISTBOX);
    EXPECT_EQ(view.listBoxCount(IDC_LISTBOX), 0);
  });
}

TEST(Win32DialogView, ListViewRowsCheckBoxesAndSelection) {
  DialogRun run(noSetUp, [](HWND dialog, Win32DialogView& view, ScriptedLogic& logic) {
    view.listViewSetExtendedStyle(IDC_LISTVIEW, lvx::checkBoxes | lvx::fullRowSelect, lvx::checkBoxes);
    view.listViewAddColumn(IDC_LISTVIEW, L"Rule", kColumnFill);
    view.listViewAddColumn(IDC_LISTVIEW, L"Second", 40);
    for (int i = 0; i < 3; ++i) view.listViewInsert(IDC_LISTVIEW, 99, L"row" + std::to_wstring(i), 10 + i);
    EXPECT_EQ(view.listViewInsert(IDC_LISTVIEW, 0, L"top", 9), 0);
    EXPECT_EQ(view.listViewCount(IDC_LISTVIEW), 4);
    view.listViewSetText(IDC_LISTVIEW, 1, 1, L"sub");
    EXPECT_EQ(view.listViewText(IDC_LISTVIEW, 1, 0), L"row0");
    EXPECT_EQ(view.listViewText(IDC_LISTVIEW, 1, 1), L"sub");
    EXPECT_EQ(view.listViewItemData(IDC_LISTVIEW, 3), 12);
    view.listViewSetItemData(IDC_LISTVIEW, 3, -5);
    EXPECT_EQ(view.listViewItemData(IDC_LISTVIEW, 3), -5);
    EXPECT_EQ(view.listViewStateImage(IDC_LISTVIEW, 0), stateImage::unchecked);

    logic.notes.clear();
    view.listViewSetStateImage(IDC_LISTVIEW, 2, stateImage::checked);
    EXPECT_EQ(view.listViewStateImage(IDC_LISTVIEW, 2), stateImage::checked);
    EXPECT_TRUE(ListView_GetCheckState(GetDlgItem(dialog, IDC_LISTVIEW), 2));
    ASSERT_GE(logic.count(notify::listItemChanged), 1) << "a program's change is told, as to the recording view";
    EXPECT_EQ(lvis::stateImageOf(logic.notes.back().second.newState), stateImage::checked);

    view.listViewSetSelected(IDC_LISTVIEW, 1, true);
    view.listViewSetSelected(IDC_LISTVIEW, 3, true);
    EXPECT_EQ(view.listViewSelectedRows(IDC_LISTVIEW), (std::vector<int>{1, 3}));
    view.listViewSetSelected(IDC_LISTVIEW, kNoItem, false);
    EXPECT_TRUE(view.listViewSelectedRows(IDC_LISTVIEW).empty());
    view.listViewSetFocusedRow(IDC_LISTVIEW, 2);
    EXPECT_EQ(view.listViewFocusedRow(IDC_LISTVIEW), 2);
    view.listViewEnsureVisible(IDC_LISTVIEW, 3);
    view.listViewRedrawRows(IDC_LISTVIEW, 0, 3);
    view.listViewDelete(IDC_LISTVIEW, 0);
    EXPECT_EQ(view.listViewText(IDC_LISTVIEW, 0, 0), L"row0");
    view.listViewClear(IDC_LISTVIEW);
    EXPECT_EQ(view.listViewCount(IDC_LISTVIEW), 0);
  });
  EXPECT_TRUE(run.failures.empty());
}

TEST(Win32DialogView, AClickOnAStateImageIsToldAsSuch) {
  DialogRun run(noSetUp, [](HWND dialog, Win32DialogView& view, ScriptedLogic& logic) {
    view.listViewSetExtendedStyle(IDC_LISTVIEW, lvx::checkBoxes, lvx::checkBoxes);
    view.listViewAddColumn(IDC_LISTVIEW, L"Rule", kColumnFill);
    view.listViewInsert(IDC_LISTVIEW, 0, L"a rule", 0);
    HWND list = GetDlgItem(dialog, IDC_LISTVIEW);
    RECT client{};
    GetClientRect(list, &client);
    EXPECT_EQ(ListView_GetColumnWidth(list, 0), client.right) << "the one column fills the view";
    RECT row{};
    row.left = LVIR_BOUNDS;
    SendMessageW(list, LVM_GETITEMRECT, 0, reinterpret_cast<LPARAM>(&row));
    const LPARAM box = MAKELPARAM(row.left + 8, (row.top + row.bottom) / 2);
    logic.notes.clear();
    SendMessageW(list, WM_LBUTTONDOWN, MK_LBUTTON, box);
    SendMessageW(list, WM_LBUTTONUP, 0, box);
    EXPECT_EQ(view.listViewStateImage(IDC_LISTVIEW, 0), stateImage::checked) << "the control flips it";
    bool clickedBox = false;
    for (const auto& [id, n] : logic.notes) clickedBox |= n.code == notify::click && n.onStateImage && n.item == 0;
    EXPECT_TRUE(clickedBox);
  });
}

TEST(Win32DialogView, VirtualRowsAreAskedForAsTheControlPaints) {
  std::vector<std::wstring> names{L"Junk e-mail", L"Out of office", L"mine"};
  std::vector<int> images{2, 1, 2};
  DialogRun run(noSetUp, [&](HWND dialog, Win32DialogView& view, ScriptedLogic&) {
    view.listViewSetExtendedStyle(IDC_VIRTUAL, lvx::checkBoxes, lvx::checkBoxes);
    view.listViewAddColumn(IDC_VIRTUAL, L"", kColumnFill);
    view.listViewSetVirtualRows(IDC_VIRTUAL, 3,
                                {[&](int row, int) { return names[static_cast<std::size_t>(row)]; },
                                 [&](int row) { return images[static_cast<std::size_t>(row)]; }});
    HWND list = GetDlgItem(dialog, IDC_VIRTUAL);
    EXPECT_EQ(ListView_GetItemCount(list), 3);
    // The control itself asks the dialog, which the view answers.
    wchar_t text[64] = {};
    ListView_GetItemText(list, 1, 0, text, 64);
    EXPECT_STREQ(text, L"Out of office");
    EXPECT_EQ(ListView_GetItemState(list, 1, LVIS_STATEIMAGEMASK), INDEXTOSTATEIMAGEMASK(1));
    images[1] = 2;
    view.listViewRedrawRows(IDC_VIRTUAL, 1, 1);
    EXPECT_EQ(ListView_GetItemState(list, 1, LVIS_STATEIMAGEMASK), INDEXTOSTATEIMAGEMASK(2));
    view.listViewSetSelected(IDC_VIRTUAL, 2, true);
    EXPECT_EQ(view.listViewSelectedRows(IDC_VIRTUAL), std::vector<int>{2});
    EXPECT_EQ(view.listViewText(IDC_VIRTUAL, 0, 0), L"Junk e-mail");
    EXPECT_THROW(view.listViewSetVirtualRows(IDC_LISTVIEW, 1, {}), HResultException) << "not an owner-data list";
  });
  EXPECT_TRUE(run.failures.empty());
}

TEST(Win32DialogView, ComboBoxItemsAndData) {
  DialogRun run(noSetUp, [](HWND, Win32DialogView& view, ScriptedLogic&) {
    EXPECT_EQ(view.comboAdd(IDC_COMBO, L"bytes", 1), 0);
    EXPECT_EQ(view.comboAdd(IDC_COMBO, L"kB", 1024), 1);
    EXPECT_EQ(view.comboAdd(IDC_COMBO, L"MB", 1048576), 2);
    EXPECT_EQ(view.comboSelection(IDC_COMBO), kNoItem);
    view.comboSelect(IDC_COMBO, 2);
    EXPECT_EQ(view.comboSelection(IDC_COMBO), 2);
    EXPECT_EQ(view.comboText(IDC_COMBO, 1), L"kB");
    EXPECT_EQ(view.comboItemData(IDC_COMBO, 2), 1048576);
    EXPECT_EQ(view.comboCount(IDC_COMBO), 3);
    view.comboClear(IDC_COMBO);
    EXPECT_EQ(view.comboCount(IDC_COMBO), 0);
  });
}

TEST(Win32DialogView, TreePendingParentIsFilledWhenTheUserExpandsIt) {
  TreeItem store = kNoTreeItem;
  DialogRun run(
      [&](ScriptedLogic& logic) {
        logic.react = [&logic, &store](ControlId id, const Notification& n) {
          if (n.code != notify::treeItemExpanding || n.treeItem != store) return false;
          // The logic fills the children on the user's first expanding.
          DialogView& v = logic.view();
          if (v.treeChildren(id, store).empty()) {
            v.treeInsert(id, store, {L"Inbox", 0, -1, -1, 2, false});
            v.treeInsert(id, store, {L"Archive", 0, -1, 3, 3, false});
          }
          return false;
        };
      },
      [&](HWND dialog, Win32DialogView& view, ScriptedLogic& logic) {
        view.treeSetImages(IDC_TREE, {IDI_VIEW_TEST, IDI_VIEW_TEST, IDI_VIEW_TEST, IDI_VIEW_TEST});
        store = view.treeInsert(IDC_TREE, kTreeRoot, {L"Mailbox", 1, -1, -1, 1, true});
        ASSERT_NE(store, kNoTreeItem);
        HWND tree = GetDlgItem(dialog, IDC_TREE);
        TVITEMW entry{};
        entry.mask = TVIF_CHILDREN;
        entry.hItem = reinterpret_cast<HTREEITEM>(store);
        TreeView_GetItem(tree, &entry);
        EXPECT_EQ(entry.cChildren, 1) << "a plus before the children are known";

        view.treeSelect(IDC_TREE, store);
        EXPECT_EQ(view.treeSelection(IDC_TREE), store);
        EXPECT_EQ(logic.count(notify::treeSelChanged), 1);
        // The user opens it from the keyboard.
        SetFocus(tree);
        SendMessageW(tree, WM_KEYDOWN, VK_ADD, 0);
        EXPECT_EQ(logic.count(notify::treeItemExpanding), 1);
        const std::vector<TreeItem> children = view.treeChildren(IDC_TREE, store);
        ASSERT_EQ(children.size(), 2u);
        EXPECT_TRUE(view.treeIsExpanded(IDC_TREE, store));
        EXPECT_EQ(view.treeText(IDC_TREE, children[1]), L"Archive");
        EXPECT_EQ(view.treeItemData(IDC_TREE, children[1]), 3);
        EXPECT_EQ(view.treeParent(IDC_TREE, children[1]), store);
        EXPECT_EQ(view.treeParent(IDC_TREE, store), kTreeRoot);
        EXPECT_EQ(TreeView_GetItemState(tree, reinterpret_cast<HTREEITEM>(children[1]), TVIS_OVERLAYMASK),
                  INDEXTOOVERLAYMASK(4u));
        view.treeEnsureVisible(IDC_TREE, children[1]);

        view.treeDeleteChildren(IDC_TREE, store);
        EXPECT_TRUE(view.treeChildren(IDC_TREE, store).empty());
        const int expandingBefore = logic.count(notify::treeItemExpanding);
        view.treeInsert(IDC_TREE, store, {L"Again", 0, -1, -1, 4, false});
        view.treeExpand(IDC_TREE, store);
        EXPECT_TRUE(view.treeIsExpanded(IDC_TREE, store));
        EXPECT_EQ(logic.count(notify::treeItemExpanding), expandingBefore) << "a program's expanding is not told";
        view.treeClear(IDC_TREE);
        EXPECT_TRUE(view.treeChildren(IDC_TREE, kTreeRoot).empty());
      });
  EXPECT_TRUE(run.failures.empty());
}

TEST(Win32DialogView, DatePickerTakesAValueOrNone) {
  DialogRun run(noSetUp, [](HWND dialog, Win32DialogView& view, ScriptedLogic& logic) {
    SYSTEMTIME when{};
    when.wYear = 2026;
    when.wMonth = 11;
    when.wDay = 23;
    when.wHour = 16;
    when.wMinute = 45;
    view.dateTimeSet(IDC_TIME, &when);
    SYSTEMTIME read{};
    ASSERT_TRUE(view.dateTimeGet(IDC_TIME, read));
    EXPECT_EQ(read.wDay, 23);
    EXPECT_EQ(read.wHour, 16);
    EXPECT_EQ(read.wMinute, 45);
    view.dateTimeSetFormat(IDC_TIME, L"HH':'mm");
    EXPECT_EQ(view.getText(IDC_TIME), L"16:45");
    view.dateTimeSet(IDC_DATE, nullptr);
    EXPECT_FALSE(view.dateTimeGet(IDC_DATE, read)) << "a show-none picker unchecked";
    EXPECT_THROW(view.dateTimeSet(IDC_TIME, nullptr), HResultException) << "no box to uncheck";
    // What the picker tells its dialog reaches the logic.
    NMDATETIMECHANGE change{};
    change.nmhdr.hwndFrom = GetDlgItem(dialog, IDC_DATE);
    change.nmhdr.idFrom = IDC_DATE;
    change.nmhdr.code = DTN_DATETIMECHANGE;
    change.dwFlags = GDT_NONE;
    SendMessageW(dialog, WM_NOTIFY, IDC_DATE, reinterpret_cast<LPARAM>(&change));
    ASSERT_EQ(logic.count(notify::dateTimeChange), 1);
    EXPECT_TRUE(logic.notes.back().second.dateNone);
  });
}

TEST(Win32DialogView, RichEditStreamsFindsAndMarksLinks) {
  DialogRun run(noSetUp, [](HWND dialog, Win32DialogView& view, ScriptedLogic& logic) {
    view.richEditSetFont(IDC_RICH, L"Tahoma", 8);
    view.richEditStreamIn(IDC_RICH, "{\\rtf1\\ansi Move it to <a href=#folder_1>Inbox</a> now}", sf::rtf);
    const LONG open = view.richEditFind(IDC_RICH, 0, L"<a href=#");
    ASSERT_EQ(open, 11);
    view.richEditReplace(IDC_RICH, open, view.richEditFind(IDC_RICH, open, L">") + 1, L"");
    const LONG close = view.richEditFind(IDC_RICH, open, L"</a>");
    view.richEditReplace(IDC_RICH, close, close + 4, L"");
    view.richEditSetLink(IDC_RICH, open, close, RGB(0, 0, 204));
    EXPECT_EQ(view.richEditTextRange(IDC_RICH, open, close), L"Inbox");
    EXPECT_EQ(view.richEditFind(IDC_RICH, 0, L"nowhere"), -1);

    HWND rich = GetDlgItem(dialog, IDC_RICH);
    CHARRANGE range{open, close};
    SendMessageW(rich, EM_EXSETSEL, 0, reinterpret_cast<LPARAM>(&range));
    CHARFORMAT2W format{};
    format.cbSize = sizeof format;
    SendMessageW(rich, EM_GETCHARFORMAT, SCF_SELECTION, reinterpret_cast<LPARAM>(&format));
    EXPECT_TRUE(format.dwEffects & CFE_LINK);
    EXPECT_EQ(format.crTextColor, RGB(0, 0, 204));
    EXPECT_STREQ(format.szFaceName, L"Tahoma");

    view.richEditSetLinkEvents(IDC_RICH, true);
    EXPECT_TRUE(SendMessageW(rich, EM_GETEVENTMASK, 0, 0) & ENM_LINK);
    view.richEditSetReadOnly(IDC_RICH, false);
    EXPECT_FALSE(GetWindowLongPtrW(rich, GWL_STYLE) & ES_READONLY);

    // A click on the link, as the control reports it; and the pointer over it, which the
    // view answers itself.
    ENLINK link{};
    link.nmhdr.hwndFrom = rich;
    link.nmhdr.idFrom = IDC_RICH;
    link.nmhdr.code = EN_LINK;
    link.msg = WM_SETCURSOR;
    link.chrg = range;
    SendMessageW(dialog, WM_NOTIFY, IDC_RICH, reinterpret_cast<LPARAM>(&link));
    EXPECT_EQ(GetWindowLongPtrW(dialog, DWLP_MSGRESULT), TRUE);
    EXPECT_EQ(logic.count(notify::richEditLink), 0);
    link.msg = WM_LBUTTONUP;
    SendMessageW(dialog, WM_NOTIFY, IDC_RICH, reinterpret_cast<LPARAM>(&link));
    ASSERT_EQ(logic.count(notify::richEditLink), 1);
    EXPECT_EQ(logic.notes.back().second.start, open);
    EXPECT_EQ(logic.notes.back().second.message, kLinkClickMessage);

    view.sendNotification(IDC_RICH, notify::descriptionChanged);
    EXPECT_EQ(logic.count(notify::descriptionChanged), 1);
  });
  EXPECT_TRUE(run.failures.empty());
}

TEST(Win32DialogView, ResizingMovesAnchoredControlsAndKeepsTheMinimum) {
  DialogRun run(noSetUp, [](HWND dialog, Win32DialogView& view, ScriptedLogic& logic) {
    const Extent opened = view.windowSize();
    view.setAnchor(IDC_RICH, anchor::all);
    view.setAnchor(kIdOk, anchor::right | anchor::bottom);
    const RECT rich = view.controlRect(IDC_RICH);
    const RECT ok = view.controlRect(kIdOk);
    const RECT edit = view.controlRect(IDC_EDIT);
    view.enableResizing(0, 0);
    EXPECT_TRUE(GetWindowLongPtrW(dialog, GWL_STYLE) & WS_THICKFRAME);
    const Extent framed = view.windowSize();
    EXPECT_GE(framed.width, opened.width);

    view.setWindowSize(framed.width + 40, framed.height + 30);
    EXPECT_EQ(view.controlRect(IDC_RICH).right, rich.right + 40);
    EXPECT_EQ(view.controlRect(IDC_RICH).bottom, rich.bottom + 30);
    EXPECT_EQ(view.controlRect(IDC_RICH).left, rich.left);
    EXPECT_EQ(view.controlRect(kIdOk).left, ok.left + 40);
    EXPECT_EQ(view.controlRect(kIdOk).top, ok.top + 30);
    EXPECT_EQ(view.controlRect(IDC_EDIT).left, edit.left) << "no anchor, no move";
    ASSERT_FALSE(logic.sizes.empty());

    MINMAXINFO limits{};
    SendMessageW(dialog, WM_GETMINMAXINFO, 0, reinterpret_cast<LPARAM>(&limits));
    EXPECT_EQ(limits.ptMinTrackSize.x, framed.width);
    EXPECT_EQ(limits.ptMinTrackSize.y, framed.height);

    view.moveControl(IDC_EDIT, {10, 10, 60, 30});
    EXPECT_EQ(view.controlRect(IDC_EDIT).right, 60);
    view.setTitle(L"Title");
    EXPECT_EQ(GetWindowTextLengthW(dialog), 5);
    view.setIcon(IDI_VIEW_TEST);
    EXPECT_TRUE(SendMessageW(dialog, WM_GETICON, ICON_BIG, 0));
    view.setControlIcon(IDC_VIEW_ICON, IDI_VIEW_TEST);
    EXPECT_TRUE(SendMessageW(GetDlgItem(dialog, IDC_VIEW_ICON), STM_GETICON, 0, 0));
  });
  EXPECT_TRUE(run.failures.empty());
}

TEST(Win32DialogHost, AFailingHandlerEndsInTheFrameAndTheDialogGoesOn) {
  DialogRun run(noSetUp, [](HWND dialog, Win32DialogView& view, ScriptedLogic& logic) {
    SendMessageW(GetDlgItem(dialog, IDC_CHECK), BM_CLICK, 0, 0);
    EXPECT_TRUE(IsWindow(dialog));
    EXPECT_EQ(logic.commands.back().first, IDC_CHECK);
    // A view operation on a control that is not there fails in the frame as well.
    logic.react = [&view](ControlId, const Notification&) {
      view.getText(4242);
      return false;
    };
    view.sendNotification(IDC_RICH, notify::descriptionChanged);
    SendMessageW(GetDlgItem(dialog, kIdOk), BM_CLICK, 0, 0);
  });
  EXPECT_EQ(run.result, kIdOk) << "OK still ends the dialog";
  ASSERT_EQ(run.failures.size(), 2u);
  EXPECT_EQ(run.failures[0].code, E_ACCESSDENIED);
  EXPECT_NE(run.failures[0].text.find(L"refused"), std::wstring::npos);
  EXPECT_EQ(run.failures[1].code, E_INVALIDARG);
}

TEST(Win32DialogHost, ADialogThatCannotOpenAnswersCancel) {
  Win32DialogHost host;
  int made = 0;
  EXPECT_EQ(host.runModal(4711, nullptr,
                          [&](DialogView& view) {
                            ++made;
                            return std::make_unique<ScriptedLogic>(view);
                          }),
            kIdCancel)
      << "no such template";
  EXPECT_EQ(made, 0);
  std::vector<Failure> failures;
  host.setFailureSink([&](HRESULT code, const std::wstring& text) { failures.push_back({code, text}); });
  EXPECT_EQ(host.runModal(IDD_VIEW_TEST, nullptr,
                          [](DialogView&) -> std::unique_ptr<DialogLogic> { ZEL_HERE.raise(E_OUTOFMEMORY, L""); }),
            kIdCancel);
  ASSERT_EQ(failures.size(), 1u);
  EXPECT_EQ(failures[0].code, E_OUTOFMEMORY);
}

// Plays the user of a message box: waits for the box with caption and presses button.
std::thread answerBox(const std::wstring& caption, int button, std::atomic<bool>& found) {
  return std::thread([caption, button, &found] {
    for (int i = 0; i < 1000; ++i) {
      HWND box = FindWindowW(L"#32770", caption.c_str());
      if (box && GetDlgItem(box, button)) {
        found = true;
        SendMessageW(box, WM_NULL, 0, 0);
        PostMessageW(box, WM_COMMAND, MAKEWPARAM(button, BN_CLICKED),
                     reinterpret_cast<LPARAM>(GetDlgItem(box, button)));
        return;
      }
      Sleep(10);
    }
  });
}

struct BoxCase {
  UINT style;
  int press;
};

class Win32MessageBox : public ::testing::TestWithParam<BoxCase> {};

TEST_P(Win32MessageBox, IsOwnedByTheDialogAndGivesTheButtonPressed) {
  int answer = 0;
  HWND owner = nullptr;
  std::atomic<bool> found{false};
  DialogRun run(noSetUp, [&](HWND dialog, Win32DialogView& view, ScriptedLogic&) {
    std::thread user = answerBox(L"Zelvo test box", GetParam().press, found);
    answer = view.messageBox(L"Go on?", L"Zelvo test box", GetParam().style);
    user.join();
    owner = dialog;
  });
  EXPECT_TRUE(found);
  EXPECT_EQ(answer, GetParam().press);
  EXPECT_NE(owner, nullptr);
}

INSTANTIATE_TEST_SUITE_P(Buttons, Win32MessageBox,
                         ::testing::Values(BoxCase{mb::ok | mb::iconError, kIdOk},
                                           BoxCase{mb::yesNo | mb::iconQuestion, kIdNo},
                                           BoxCase{mb::yesNo | mb::iconQuestion, kIdYes},
                                           BoxCase{mb::okCancel | mb::iconExclamation, kIdCancel}));

}  // namespace
