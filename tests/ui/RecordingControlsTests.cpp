// The recording view's list views, combo boxes, tree views, date pickers and rich edits
// tell the logic what the real controls would, so that dialog tests can act as the user:
// these tests show how, and pin what each user action delivers.
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/HResultException.h"
#include "streams/RichTextConvertor.h"
#include "testing/RecordingDialogView.h"
#include "ui/DialogLogic.h"

namespace {

using zelvo::testing::RecordingDialogView;
using namespace zelvo::ui;

constexpr ControlId kList = 200;
constexpr ControlId kTree = 201;
constexpr ControlId kDate = 202;
constexpr ControlId kRich = 203;
constexpr ControlId kCombo = 204;

// A logic that notes every notification as "control:code:item" and can be told to answer or
// to raise.
class NotedLogic : public DialogLogic {
 public:
  using DialogLogic::DialogLogic;
  std::vector<Notification> notes;
  std::vector<std::pair<ControlId, int>> commands;
  bool answer = false;
  bool raise = false;
  std::function<void(const Notification&)> react;

 protected:
  bool onNotify(ControlId, const Notification& n) override {
    notes.push_back(n);
    if (raise) ZEL_CHECK(E_ACCESSDENIED);
    if (react) react(n);
    return answer;
  }
  void onCommand(ControlId id, int notification) override { commands.emplace_back(id, notification); }
};

struct Fixture : ::testing::Test {
  RecordingDialogView view;
  NotedLogic logic{view};
  Fixture() { view.attach(logic); }
  void fillList(int rows, bool checkBoxes) {
    if (checkBoxes) view.listViewSetExtendedStyle(kList, lvx::checkBoxes, lvx::checkBoxes);
    for (int i = 0; i < rows; ++i) view.listViewInsert(kList, i, L"row" + std::to_wstring(i), 100 + i);
    logic.notes.clear();
  }
  std::vector<int> changedRows() const {
    std::vector<int> rows;
    for (const Notification& n : logic.notes)
      if (n.code == notify::listItemChanged) rows.push_back(n.item);
    return rows;
  }
};

using RecordingListView = Fixture;

TEST_F(RecordingListView, ClickingACheckBoxFlipsItAndTellsTheLogicTwice) {
  fillList(3, true);
  EXPECT_EQ(view.listViewStateImage(kList, 1), stateImage::unchecked) << "a new row of a check list";
  view.userClickStateImage(kList, 1);
  EXPECT_EQ(view.listViewStateImage(kList, 1), stateImage::checked);
  ASSERT_EQ(logic.notes.size(), 2u);
  EXPECT_EQ(logic.notes[0].code, notify::listItemChanged);
  EXPECT_EQ(lvis::stateImageOf(logic.notes[0].oldState), stateImage::unchecked);
  EXPECT_EQ(lvis::stateImageOf(logic.notes[0].newState), stateImage::checked);
  EXPECT_EQ(logic.notes[1].code, notify::click);
  EXPECT_TRUE(logic.notes[1].onStateImage);
  EXPECT_TRUE(view.listViewSelectedRows(kList).empty()) << "a click on the box selects nothing";
}

TEST_F(RecordingListView, ADisabledStateImageTurnsUncheckedOnAClick) {
  fillList(1, true);
  view.listViewSetStateImage(kList, 0, 4);
  view.userClickStateImage(kList, 0);
  EXPECT_EQ(view.listViewStateImage(kList, 0), stateImage::unchecked);
}

TEST_F(RecordingListView, SpaceFlipsTheFocusedRowAfterTheKeyIsTold) {
  fillList(3, true);
  view.userClickRow(kList, 2);
  logic.notes.clear();
  view.userPressKey(kList, vk::space);
  ASSERT_EQ(logic.notes.size(), 2u);
  EXPECT_EQ(logic.notes[0].code, notify::listKeyDown);
  EXPECT_EQ(logic.notes[0].key, vk::space);
  EXPECT_EQ(logic.notes[1].item, 2);
  EXPECT_EQ(view.listViewStateImage(kList, 2), stateImage::checked);
}

TEST_F(RecordingListView, AClickSelectsOneRowAndTellsEachChange) {
  fillList(4, false);
  view.userSelectRows(kList, {0, 2});
  EXPECT_EQ(view.listViewSelectedRows(kList), (std::vector<int>{0, 2}));
  EXPECT_EQ(view.listViewFocusedRow(kList), 2);
  logic.notes.clear();
  view.userClickRow(kList, 3);
  EXPECT_EQ(view.listViewSelectedRows(kList), std::vector<int>{3});
  EXPECT_EQ(view.listViewFocusedRow(kList), 3);
  EXPECT_EQ(changedRows(), (std::vector<int>{0, 2, 3}));
  EXPECT_EQ(logic.notes.back().code, notify::click);
}

TEST_F(RecordingListView, AProgramsSelectionIsToldAsTheControlTellsIt) {
  fillList(3, false);
  view.listViewSetSelected(kList, 1, true);
  view.listViewSetSelected(kList, 1, true);  // no change, nothing told
  view.listViewSetSelected(kList, kNoItem, false);
  EXPECT_EQ(changedRows(), (std::vector<int>{1, 1}));
  EXPECT_TRUE(view.listViewSelectedRows(kList).empty());
}

TEST_F(RecordingListView, VirtualRowsComeFromTheLogicAndKeepTheirSelection) {
  std::vector<std::wstring> names{L"junk", L"away", L"mine"};
  std::vector<bool> enabled{true, false, true};
  view.listViewSetExtendedStyle(kList, lvx::checkBoxes, lvx::checkBoxes);
  VirtualRows rows{[&](int row, int) { return names[static_cast<std::size_t>(row)]; },
                   [&](int row) { return enabled[static_cast<std::size_t>(row)] ? 2 : 1; }};
  view.listViewSetVirtualRows(kList, 3, rows);
  view.userSelectRows(kList, {0, 2});
  names.pop_back();
  view.listViewSetVirtualRows(kList, 2, rows);
  EXPECT_EQ(view.listViewSelectedRows(kList), std::vector<int>{0});
  EXPECT_EQ(view.listViewText(kList, 1, 0), L"away");
  EXPECT_EQ(view.listViewStateImage(kList, 1), stateImage::unchecked);

  logic.notes.clear();
  view.userClickStateImage(kList, 1);
  ASSERT_EQ(logic.notes.size(), 1u) << "a virtual list leaves the check to the logic";
  EXPECT_EQ(logic.notes[0].code, notify::click);
  EXPECT_EQ(logic.notes[0].item, 1);
  EXPECT_NONFATAL_FAILURE(view.listViewInsert(kList, 0, L"x", 0), "virtual");
}

TEST_F(RecordingListView, DeletingRowsShiftsTheFocus) {
  fillList(3, false);
  view.listViewSetFocusedRow(kList, 2);
  view.listViewDelete(kList, 0);
  EXPECT_EQ(view.listViewFocusedRow(kList), 1);
  EXPECT_EQ(view.listViewItemData(kList, 1), 102);
  EXPECT_NONFATAL_FAILURE(view.listViewDelete(kList, 2), "delete of row 2");
}

TEST_F(RecordingListView, AFailingHandlerEndsInItsFrame) {
  fillList(2, false);
  logic.raise = true;
  view.userDoubleClickRow(kList, 1);
  EXPECT_EQ(view.listViewSelectedRows(kList), std::vector<int>{1});
  ASSERT_FALSE(view.failures().empty());
  EXPECT_EQ(view.failures()[0].code, E_ACCESSDENIED);
  EXPECT_EQ(logic.notes.back().code, notify::doubleClick);
}

using RecordingTreeView = Fixture;

TEST_F(RecordingTreeView, ExpandingAPendingParentLetsTheLogicFillIt) {
  const TreeItem store = view.treeInsert(kTree, kTreeRoot, {L"Mailbox", 1, -1, -1, 7, true});
  logic.react = [&](const Notification& n) {
    if (n.code != notify::treeItemExpanding) return;
    view.treeInsert(kTree, n.treeItem, {L"Inbox", 0, -1, -1, 8, false});
    view.treeInsert(kTree, n.treeItem, {L"Sent", 0, -1, 3, 9, false});
  };
  view.userExpandTreeItem(kTree, store);
  EXPECT_TRUE(view.treeIsExpanded(kTree, store));
  const std::vector<TreeItem> children = view.treeChildren(kTree, store);
  ASSERT_EQ(children.size(), 2u);
  EXPECT_EQ(view.treeText(kTree, children[1]), L"Sent");
  EXPECT_EQ(view.treeItemData(kTree, children[1]), 9);
  EXPECT_EQ(view.treeParent(kTree, children[0]), store);

  view.userSelectTreeItem(kTree, children[0]);
  EXPECT_EQ(view.treeSelection(kTree), children[0]);
  EXPECT_EQ(logic.notes.back().code, notify::treeSelChanged);
  EXPECT_EQ(logic.notes.back().treeItem, children[0]);

  view.treeDeleteChildren(kTree, store);
  EXPECT_EQ(view.treeSelection(kTree), kNoTreeItem) << "the selected child went";
  EXPECT_FALSE(view.treeIsExpanded(kTree, store));
  EXPECT_FALSE(view.treeNode(kTree, store).setup.childrenPending);
}

TEST_F(RecordingTreeView, ARefusedOrEmptyExpansionLeavesTheItemClosed) {
  const TreeItem a = view.treeInsert(kTree, kTreeRoot, {L"a", 0, -1, -1, 0, true});
  const TreeItem b = view.treeInsert(kTree, kTreeRoot, {L"b", 0, -1, -1, 0, true});
  logic.answer = true;
  view.userExpandTreeItem(kTree, a);
  EXPECT_TRUE(view.treeNode(kTree, a).setup.childrenPending) << "refused: the plus stays";
  logic.answer = false;
  view.userExpandTreeItem(kTree, b);
  EXPECT_FALSE(view.treeIsExpanded(kTree, b));
  EXPECT_FALSE(view.treeNode(kTree, b).setup.childrenPending) << "nothing came: the plus goes";
  EXPECT_NONFATAL_FAILURE(view.userExpandTreeItem(kTree, b), "no plus");
}

using RecordingOtherControls = Fixture;

TEST_F(RecordingOtherControls, DatePickerKeepsAValueOrNone) {
  SYSTEMTIME when{};
  when.wYear = 2026;
  when.wMonth = 11;
  when.wDay = 23;
  view.userSetDate(kDate, &when);
  SYSTEMTIME read{};
  ASSERT_TRUE(view.dateTimeGet(kDate, read));
  EXPECT_EQ(read.wDay, 23);
  view.userSetDate(kDate, nullptr);
  EXPECT_FALSE(view.dateTimeGet(kDate, read));
  ASSERT_EQ(logic.notes.size(), 2u);
  EXPECT_FALSE(logic.notes[0].dateNone);
  EXPECT_TRUE(logic.notes[1].dateNone);
}

TEST_F(RecordingOtherControls, ComboChoiceArrivesAsACommand) {
  view.comboAdd(kCombo, L"B", 0);
  view.comboAdd(kCombo, L"kB", 10);
  view.comboSelect(kCombo, 0);
  EXPECT_TRUE(logic.commands.empty()) << "a program's choice is not told";
  view.userSelectCombo(kCombo, 1);
  EXPECT_EQ(view.comboSelection(kCombo), 1);
  EXPECT_EQ(view.comboItemData(kCombo, 1), 10);
  ASSERT_EQ(logic.commands.size(), 1u);
  EXPECT_EQ(logic.commands[0], std::make_pair(kCombo, notify::comboSelChange));
}

TEST_F(RecordingOtherControls, ALinkClickCarriesItsRange) {
  view.richEditStreamIn(kRich, "{\\rtf1 Move it to <a href=#folder_1>Inbox</a> now}", sf::rtf);
  const LONG open = view.richEditFind(kRich, 0, L"<a href=#");
  ASSERT_EQ(open, 11);
  const LONG tagEnd = view.richEditFind(kRich, open, L">");
  view.richEditReplace(kRich, open, tagEnd + 1, L"");
  const LONG close = view.richEditFind(kRich, open, L"</a>");
  view.richEditReplace(kRich, close, close + 4, L"");
  view.richEditSetLink(kRich, open, close, RGB(0, 0, 204));
  view.richEditReplace(kRich, 0, 4,
                       L"Put");  // the link moves one place to the left
  EXPECT_EQ(view.richEditText(kRich), L"Put it to Inbox now");

  EXPECT_NONFATAL_FAILURE(view.userClickLink(kRich, 12), "does not tell of link events");
  view.richEditSetLinkEvents(kRich, true);
  view.userClickLink(kRich, 12);
  ASSERT_EQ(logic.notes.size(), 1u);
  EXPECT_EQ(logic.notes[0].code, notify::richEditLink);
  EXPECT_EQ(view.richEditTextRange(kRich, logic.notes[0].start, logic.notes[0].end), L"Inbox");
  EXPECT_EQ(logic.notes[0].message, kLinkClickMessage);
  EXPECT_NONFATAL_FAILURE(view.userClickLink(kRich, 2), "no link at position 2");
}

TEST_F(RecordingOtherControls, SentNotificationsReachTheLogic) {
  view.sendNotification(10019, notify::descriptionChanged);
  ASSERT_EQ(logic.notes.size(), 1u);
  EXPECT_EQ(logic.notes[0].code, notify::descriptionChanged);
  EXPECT_EQ(view.sentNotifications().size(), 1u);
}

TEST_F(RecordingOtherControls, ResizingMovesAnchoredControlsAndStopsAtTheMinimum) {
  view.setWindowSize(300, 200);
  view.moveControl(1, {10, 10, 290, 150});
  view.setAnchor(1, anchor::all);
  view.moveControl(2, {200, 160, 290, 190});
  view.setAnchor(2, anchor::right | anchor::bottom);
  EXPECT_NONFATAL_FAILURE(view.userResize(400, 300), "not resizable");
  view.enableResizing(0, 0);
  view.userResize(100, 260);  // narrower than it opened: held at 300
  EXPECT_EQ(view.windowSize().width, 300);
  const RECT list = view.controlRect(1);
  const RECT button = view.controlRect(2);
  EXPECT_EQ(list.right, 290);
  EXPECT_EQ(list.bottom, 210);
  EXPECT_EQ(button.top, 220);
  EXPECT_EQ(button.left, 200);
}

}  // namespace
