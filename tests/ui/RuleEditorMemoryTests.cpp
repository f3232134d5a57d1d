// The rule editor when memory runs out in the middle of a check: every allocation of the
// change fails once in turn. A condition's failure is told with what was being made, an
// action's is swallowed, and the rule stays whole either way, with nothing leaked.
#include <gtest/gtest.h>

#include <new>
#include <set>
#include <string>

#include "sieve/SieveTables.h"
#include "testing/RecordingDialogView.h"
#include "tests/sieve/AllocationProbe.h"
#include "ui/RuleEditorDialog.h"

namespace {

using namespace Sieve;
using zelvo::testing::RecordingDialogView;
using zelvo::ui::RuleEditorDialog;

std::string shape(const SieveTest* test) {
  if (!test) return "none";
  if (test->kind != TestKind::AllOf) return std::to_string(conditionIdOfTest(test));
  std::string text = "allof(";
  for (const SieveTest* child = test->subTests; child; child = child->next) {
    text += std::to_string(conditionIdOfTest(child)) + (child->next ? "," : "");
  }
  return text + ")";
}

// Opens the editor on rule, clicks the check box of row in list while the allowed-th
// allocation fails, and gives the texts of the failures that the dialog dropped.
std::set<std::wstring> clickWithFailure(SieveRule& rule, zelvo::ui::ControlId list, int row, long long allowed,
                                        std::string& after, bool& failureEscaped) {
  RecordingDialogView view;
  RuleEditorDialog dialog(view, rule, nullptr, nullptr);
  view.attach(dialog);
  dialog.initDialog();
  {
    sievetest::AllocationFailure failure(allowed);
    try {
      view.userClickStateImage(list, row);
    } catch (const std::bad_alloc&) {
      failureEscaped = true;  // the recording view's own allocation, outside the dialog
    }
  }
  after = list == RuleEditorDialog::kConditions ? shape(rule.test) : std::to_string(actionIdOfRule(rule.thenBlock));
  std::set<std::wstring> texts;
  for (const auto& f : view.failures()) {
    EXPECT_EQ(f.code, E_OUTOFMEMORY) << allowed << " allowed";
    texts.insert(f.text);
  }
  return texts;
}

bool anyHolds(const std::set<std::wstring>& texts, const wchar_t* message) {
  for (const std::wstring& text : texts) {
    if (text.find(message) != std::wstring::npos) return true;
  }
  return false;
}

constexpr int kEnoughAllocations = 400;

// Runs the sweep of one test twice: the first pass fills what the program keeps for good
// (the string table, the names of the places that raise), the second counts what is left
// behind after each step.
template <typename Sweep>
void sweepTwice(Sweep sweep) {
  sweep(false);
  sweep(true);
}

TEST(RuleEditorMemory, AConditionThatCannotBeMadeIsToldAndTheRuleStaysWhole) {
  sweepTwice([](bool countLeaks) {
    bool sawCondition = false;
    bool sawJoin = false;
    bool completed = false;
    for (long long allowed = 0; allowed < kEnoughAllocations && !completed; ++allowed) {
      const long long before = sievetest::liveAllocations();
      std::string after;
      bool escaped = false;
      std::set<std::wstring> texts;
      {
        RulePtr rule(new SieveRule(RuleKind::If, nullptr));
        rule->test = createTestForCondition(ConditionSubject);
        texts = clickWithFailure(*rule, RuleEditorDialog::kConditions, 1, allowed, after, escaped);
      }
      sawCondition |= anyHolds(texts, L"Failed to create sieve test for condition");
      sawJoin |= anyHolds(texts, L"Failed to create sieve test to join more tests");
      completed = texts.empty() && !escaped && after == "allof(2,6)";
      texts.clear();
      const long long leaked = sievetest::liveAllocations() - before;
      if (!countLeaks) continue;
      // Before the test is joined the rule is as it was; after, it holds both.
      EXPECT_TRUE(after == "6" || after == "allof(2,6)") << after << " with " << allowed << " allowed";
      EXPECT_EQ(leaked, 0) << allowed << " allowed";
    }
    EXPECT_TRUE(completed);
    EXPECT_TRUE(sawCondition);
    EXPECT_TRUE(sawJoin);
  });
}

TEST(RuleEditorMemory, AnActionThatCannotBeMadeIsSwallowed) {
  sweepTwice([](bool countLeaks) {
    bool swallowed = false;
    bool completed = false;
    for (long long allowed = 0; allowed < kEnoughAllocations && !completed; ++allowed) {
      const long long before = sievetest::liveAllocations();
      std::string after;
      bool escaped = false;
      std::set<std::wstring> texts;
      {
        RulePtr rule(new SieveRule(RuleKind::If, nullptr));
        texts = clickWithFailure(*rule, RuleEditorDialog::kActions, 0, allowed, after, escaped);
      }
      const bool told = anyHolds(texts, L"Failed to create sieve rule for action");
      swallowed |= texts.empty() && !escaped && after == "0";
      completed = texts.empty() && !escaped && after == "1";
      texts.clear();
      const long long leaked = sievetest::liveAllocations() - before;
      if (!countLeaks) continue;
      EXPECT_FALSE(told) << allowed << " allowed";
      EXPECT_TRUE(after == "0" || after == "1") << after << " with " << allowed << " allowed";
      EXPECT_EQ(leaked, 0) << allowed << " allowed";
    }
    EXPECT_TRUE(completed);
    EXPECT_TRUE(swallowed);
  });
}

}  // namespace
