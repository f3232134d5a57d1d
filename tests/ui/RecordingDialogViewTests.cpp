// The recording view keeps a list box as a single-selection list box without a sort style
// keeps it, so that dialog tests see what the user would; and it refuses what a test did
// not prepare for.
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "testing/RecordingDialogView.h"

namespace {

using zelvo::testing::RecordingDialogView;
using namespace zelvo::ui;
using Items = std::vector<std::wstring>;

constexpr ControlId kList = 100;

struct ListCase {
  const char* name;
  int selectBefore;
  std::function<void(RecordingDialogView&)> change;
  Items items;
  int selection;
};

class RecordingListBox : public ::testing::TestWithParam<ListCase> {};

TEST_P(RecordingListBox, KeepsItemsAndSelectionAsAListBoxDoes) {
  RecordingDialogView view;
  for (const wchar_t* item : {L"a", L"b", L"c"}) view.listBoxAdd(kList, item);
  view.listBoxSelect(kList, GetParam().selectBefore);
  GetParam().change(view);
  EXPECT_EQ(view.items(kList), GetParam().items);
  EXPECT_EQ(view.listBoxSelection(kList), GetParam().selection);
  EXPECT_EQ(view.listBoxCount(kList), static_cast<int>(GetParam().items.size()));
}

INSTANTIATE_TEST_SUITE_P(
    Operations, RecordingListBox,
    ::testing::Values(
        ListCase{"DeleteSelected", 1, [](RecordingDialogView& v) { v.listBoxDelete(kList, 1); }, {L"a", L"c"}, kNoItem},
        ListCase{"DeleteBeforeSelected", 2, [](RecordingDialogView& v) { v.listBoxDelete(kList, 0); }, {L"b", L"c"}, 1},
        ListCase{"DeleteAfterSelected", 0, [](RecordingDialogView& v) { v.listBoxDelete(kList, 2); }, {L"a", L"b"}, 0},
        ListCase{"InsertBeforeSelected", 1, [](RecordingDialogView& v) { v.listBoxInsert(kList, 0, L"x"); },
                 {L"x", L"a", L"b", L"c"}, 2},
        ListCase{"InsertAtEnd", 1, [](RecordingDialogView& v) { v.listBoxInsert(kList, -1, L"x"); },
                 {L"a", L"b", L"c", L"x"}, 1},
        ListCase{"AddAppends", 0, [](RecordingDialogView& v) { v.listBoxAdd(kList, L"B"); }, {L"a", L"b", L"c", L"B"}, 0},
        ListCase{"Clear", 1, [](RecordingDialogView& v) { v.listBoxClear(kList); }, {}, kNoItem}),
    [](const ::testing::TestParamInfo<ListCase>& info) { return std::string(info.param.name); });

TEST(RecordingListBox, FindsExactItemsWithoutRegardToCase) {
  RecordingDialogView view;
  for (const wchar_t* item : {L"Ab@x.org", L"ab", L"x.org"}) view.listBoxAdd(kList, item);
  EXPECT_EQ(view.listBoxFindExact(kList, L"AB"), 1);
  EXPECT_EQ(view.listBoxFindExact(kList, L"ab@X.ORG"), 0);
  EXPECT_EQ(view.listBoxFindExact(kList, L"x.or"), kNoItem) << "a prefix is no match";
  EXPECT_EQ(view.listBoxFindExact(kList, L" ab"), kNoItem) << "blanks count";
}

TEST(RecordingDialogView, AnIndexPastTheEndFailsTheTest) {
  RecordingDialogView view;
  view.listBoxAdd(kList, L"a");
  EXPECT_NONFATAL_FAILURE(view.listBoxDelete(kList, 1), "delete of item 1");
  EXPECT_NONFATAL_FAILURE(view.listBoxSelect(kList, 3), "select of item 3");
  EXPECT_EQ(view.items(kList), Items{L"a"});
}

TEST(RecordingDialogView, MessageBoxesAreRecordedAndAnsweredInOrder) {
  RecordingDialogView view;
  view.queueAnswer(kIdNo);
  view.queueAnswer(kIdYes);
  EXPECT_EQ(view.messageBox(L"first", L"t", mb::yesNo), kIdNo);
  EXPECT_EQ(view.messageBox(L"plain", L"t", mb::ok | mb::iconError), kIdOk) << "an OK box needs no answer";
  EXPECT_EQ(view.messageBox(L"second", L"t", mb::yesNo | mb::iconQuestion), kIdYes);
  int answer = 0;
  EXPECT_NONFATAL_FAILURE(answer = view.messageBox(L"third", L"t", mb::okCancel), "nobody answers");
  EXPECT_EQ(answer, kIdCancel);
  ASSERT_EQ(view.messages().size(), 4u);
  EXPECT_EQ(view.messages()[2].text, L"second");
  EXPECT_EQ(view.messages()[2].style, mb::yesNo | mb::iconQuestion);
}

}  // namespace
