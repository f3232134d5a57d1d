// The Sieve text editor: the text it shows, and what OK accepts or refuses with which message.
#include <gtest/gtest.h>

#include <cwchar>
#include <string>

#include "sieve/SieveModel.h"
#include "testing/RecordingDialogView.h"
#include "ui/ParseFailureMessage.h"
#include "ui/SieveScriptDialog.h"

namespace {

using zelvo::testing::RecordingDialogView;
using zelvo::ui::SieveScriptDialog;
namespace mb = zelvo::ui::mb;
namespace notify = zelvo::ui::notify;

constexpr auto kEdit = SieveScriptDialog::kEdit;
constexpr auto kIdOk = zelvo::ui::kIdOk;
const std::wstring kTitle = L"Zelvo Mail Bridge";
const std::wstring kUnreadable = L"The filter rules stored on the server cannot be read.";

struct LineBreakCase {
  const wchar_t* in;
  const wchar_t* out;
};

class EditLineBreaks : public ::testing::TestWithParam<LineBreakCase> {};

TEST_P(EditLineBreaks, BecomeWhatTheEditFieldShows) { EXPECT_EQ(zelvo::ui::editLineBreaks(GetParam().in), GetParam().out); }

INSTANTIATE_TEST_SUITE_P(Texts, EditLineBreaks,
                         ::testing::Values(LineBreakCase{L"", L""},                      //
                                           LineBreakCase{L"keep;", L"keep;"},            //
                                           LineBreakCase{L"a\nb\n", L"a\r\nb\r\n"},      // line feeds alone
                                           LineBreakCase{L"a\r\nb\r\n", L"a\r\nb\r\n"},  // already pairs
                                           LineBreakCase{L"a\r\n\r\nb", L"a\r\n\r\nb"},  // a blank line
                                           LineBreakCase{L"a\rb\r", L"ab"},              // returns alone
                                           LineBreakCase{L"a\n\nb", L"a\r\n\nb"},        // the second feed
                                           LineBreakCase{L"a\n\n\nb", L"a\r\n\n\nb"},    //
                                           LineBreakCase{L"\n", L"\r\n"},                //
                                           LineBreakCase{L"a\r\r\nb", L"a\r\nb"},        // two returns
                                           LineBreakCase{L"a\n\r\nb", L"a\r\n\r\nb"}));  // a return between

class ScriptDialogTest : public ::testing::Test {
 protected:
  RecordingDialogView view;
  std::unique_ptr<SieveScriptDialog> dialog;

  void open(const std::wstring& text, bool parseOnOk = true, bool singleRule = false) {
    dialog = std::make_unique<SieveScriptDialog>(view, text, parseOnOk, singleRule);
    dialog->initDialog();
  }
  void okWith(const std::wstring& text) {
    view.setText(kEdit, text);
    dialog->command(kIdOk, notify::buttonClicked);
  }
  static int count(const Sieve::SieveRule* rule) {
    int n = 0;
    for (; rule; rule = rule->next) ++n;
    return n;
  }
};

TEST_F(ScriptDialogTest, OpeningPutsTheTextIntoTheFocusedEditFieldWithNothingSelected) {
  open(L"keep;\nstop;\n");
  EXPECT_EQ(view.getText(kEdit), L"keep;\r\nstop;\r\n");
  EXPECT_EQ(view.focus(), kEdit);
  EXPECT_EQ(view.control(kEdit).selectionStart, 0);
  EXPECT_EQ(view.control(kEdit).selectionEnd, 0);
  EXPECT_EQ(view.control(kEdit).caretScrolls, 1);
  EXPECT_TRUE(view.resizable());
  EXPECT_EQ(view.control(kEdit).anchor, zelvo::ui::anchor::all);
  EXPECT_EQ(view.control(kIdOk).anchor, zelvo::ui::anchor::right | zelvo::ui::anchor::bottom);
}

TEST_F(ScriptDialogTest, WithoutParsingOkTakesTheTextAsItIs) {
  open(L"keep;", false);
  okWith(L"this is no sieve");
  EXPECT_EQ(view.result(), kIdOk);
  EXPECT_TRUE(view.messages().empty());
  EXPECT_EQ(dialog->text(), L"this is no sieve");
  EXPECT_EQ(dialog->getRules(false), nullptr);
}

struct FailureCase {
  const wchar_t* script;
  const wchar_t* shown;  // what follows the statement and two line feeds
};

class ScriptDialogParseFailure : public ScriptDialogTest, public ::testing::WithParamInterface<FailureCase> {};

TEST_P(ScriptDialogParseFailure, ShowsTheReadersMessageAndLineAndStaysOpen) {
  open(L"");
  okWith(GetParam().script);
  ASSERT_EQ(view.messages().size(), 1u);
  EXPECT_EQ(view.messages()[0].text, kUnreadable + L"\n\n" + GetParam().shown);
  EXPECT_EQ(view.messages()[0].caption, kTitle);
  EXPECT_EQ(view.messages()[0].style, mb::ok | mb::iconError);
  EXPECT_FALSE(view.result().has_value());
  EXPECT_EQ(dialog->getRules(false), nullptr);
}

INSTANTIATE_TEST_SUITE_P(
    Scripts, ScriptDialogParseFailure,
    ::testing::Values(FailureCase{L"keep", L"Line 1: premature end of script: semicolon expected"},
                      FailureCase{L"keep;\r\n\r\nstop\r\n", L"Line 4: premature end of script: semicolon expected"},
                      FailureCase{L"keep;\r\nrequire \"fileinto\";", L"Line 2: invalid command: require"},
                      FailureCase{L"if true { keep;\r\n", L"Line 2: premature end of script inside block"}));

class ScriptDialogEmpty : public ScriptDialogTest, public ::testing::WithParamInterface<int> {};

TEST_P(ScriptDialogEmpty, AsksWhetherToKeepAnEmptyScript) {
  open(L"keep;", true, true);
  view.queueAnswer(GetParam());
  okWith(L"  \r\n");
  ASSERT_EQ(view.messages().size(), 1u);
  EXPECT_EQ(view.messages()[0].text, L"The script holds no rules. Do you want to keep it empty?");
  EXPECT_EQ(view.messages()[0].style, mb::yesNo);
  EXPECT_EQ(view.pendingAnswers(), 0u);
  if (GetParam() == zelvo::ui::kIdYes) {
    EXPECT_EQ(view.result(), kIdOk);
  } else {
    EXPECT_FALSE(view.result().has_value());
  }
  EXPECT_EQ(dialog->getRules(false), nullptr);
}

INSTANTIATE_TEST_SUITE_P(Answers, ScriptDialogEmpty, ::testing::Values(zelvo::ui::kIdYes, zelvo::ui::kIdNo));

const wchar_t* const kTwoRules =
    L"#!1 First\r\nif header :contains \"subject\" \"a\" {\r\n  keep;\r\n}\r\n"
    L"#!1 Second\r\nif size :over 100K {\r\n  discard;\r\n}\r\n";

TEST_F(ScriptDialogTest, OneRuleModeRefusesASecondRule) {
  open(L"", true, true);
  okWith(kTwoRules);
  ASSERT_EQ(view.messages().size(), 1u);
  EXPECT_EQ(view.messages()[0].text,
            L"The script may hold one rule only. Remove the other rules, or add them as rules of their own.");
  EXPECT_EQ(view.messages()[0].style, mb::ok | mb::iconError);
  EXPECT_FALSE(view.result().has_value());
  EXPECT_EQ(dialog->getRules(false), nullptr) << "nothing refused is held";
}

TEST_F(ScriptDialogTest, AWholeScriptTakesEveryRuleAndACopyIsTheCallers) {
  open(L"");
  okWith(kTwoRules);
  EXPECT_EQ(view.result(), kIdOk);
  ASSERT_EQ(count(dialog->getRules(false)), 2);
  EXPECT_EQ(dialog->getRules(false)->name, L"First");
  Sieve::RulePtr copy(dialog->getRules(true));
  ASSERT_EQ(count(copy.get()), 2);
  EXPECT_NE(copy.get(), dialog->getRules(false));
  EXPECT_EQ(copy->next->name, L"Second");
}

TEST_F(ScriptDialogTest, TheResultOutlivesTheDialogOnlyWhenOkWasAccepted) {
  SieveScriptDialog::Result result;
  dialog = std::make_unique<SieveScriptDialog>(view, L"", true, false, &result);
  dialog->initDialog();
  okWith(L"keep");  // does not parse: nothing is handed out
  EXPECT_EQ(result.rules, nullptr);
  EXPECT_EQ(result.text, L"");
  okWith(kTwoRules);
  ASSERT_EQ(view.result(), kIdOk);
  const Sieve::SieveRule* own = dialog->getRules(false);
  dialog.reset();
  ASSERT_EQ(count(result.rules.get()), 2);
  EXPECT_NE(result.rules.get(), own) << "a copy, not the dialog's chain";
  EXPECT_EQ(result.rules->next->name, L"Second");
  EXPECT_EQ(result.text, kTwoRules);
}

struct EditableCase {
  const wchar_t* condition;
  bool editable;
};

class ScriptDialogEditable : public ScriptDialogTest, public ::testing::WithParamInterface<EditableCase> {};

TEST_P(ScriptDialogEditable, MarksWhetherTheRuleEditorCanShowTheRule) {
  open(L"", true, true);
  okWith(std::wstring(L"if ") + GetParam().condition + L" {\r\n  keep;\r\n}\r\n");
  ASSERT_EQ(view.result(), kIdOk) << (view.messages().empty() ? L"" : view.messages()[0].text);
  ASSERT_NE(dialog->getRules(false), nullptr);
  EXPECT_EQ(dialog->getRules(false)->editable, GetParam().editable);
}

INSTANTIATE_TEST_SUITE_P(
    Conditions, ScriptDialogEditable,
    ::testing::Values(EditableCase{L"header :contains \"subject\" \"x\"", true},
                      EditableCase{L"allof (size :over 10K, header :contains \"subject\" \"x\")", true},
                      EditableCase{L"header :contains \"x-mailer\" \"x\"", false},
                      EditableCase{L"anyof (true, header :contains \"x-mailer\" \"x\")", false}));

TEST(ParseFailureMessage, AsksWhetherToCorrectOnlyWithTheReadersMessage) {
  Sieve::SieveParseStatus status;
  status.line = 7;
  std::wcscpy(status.errorMessage, L"bad token: keyword expected");
  RecordingDialogView view;
  view.queueAnswer(zelvo::ui::kIdYes);
  EXPECT_TRUE(zelvo::ui::showParseFailure(view, status, true));
  view.queueAnswer(zelvo::ui::kIdNo);
  EXPECT_FALSE(zelvo::ui::showParseFailure(view, status, true));
  status.errorMessage[0] = L'\0';
  EXPECT_FALSE(zelvo::ui::showParseFailure(view, status, true));

  ASSERT_EQ(view.messages().size(), 3u);
  EXPECT_EQ(view.messages()[0].text, kUnreadable +
                                         L"\n\nLine 7: bad token: keyword expected\n\n"
                                         L"Do you want to correct the script by hand?");
  EXPECT_EQ(view.messages()[0].style, mb::yesNo | mb::iconExclamation);
  EXPECT_EQ(view.messages()[2].text, kUnreadable);
  EXPECT_EQ(view.messages()[2].style, mb::ok | mb::iconError);
  EXPECT_EQ(view.messages()[2].caption, kTitle);
}

}  // namespace
