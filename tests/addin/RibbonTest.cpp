#include <climits>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "addin/ribbon/Ribbon.h"
#include "base/HResultException.h"
#include "strings/Localization.h"

namespace {
std::string narrow(std::wstring_view text) { return std::string(text.begin(), text.end()); }
}  // namespace

// Readable failures of the invalidation tables.
namespace zelvo::addin {
void PrintTo(const RibbonInvalidation& call, std::ostream* out) {
  *out << "{" << call.ribbon << ", " << (call.control ? narrow(call.control) : std::string("null")) << "}";
}
}  // namespace zelvo::addin

using namespace zelvo::addin;

namespace {

TEST(RibbonControlId, EveryControlIdHasItsNumberAndEveryNumberItsNameToInvalidateBy) {
  const struct {
    const wchar_t* id;
    int number;
    const wchar_t* invalidatedAs;  // the reverse table's name for the number
  } cases[] = {
      {L"tabZelvoHub", 0, L"tabZelvoHub"},
      {L"grpExplorerMain", 1, L"grpExplorerMain"},
      {L"grpOptions", 2, L"grpOptions"},
      {L"grpInspectorSpam", 3, L"grpInspectorSpam"},
      {L"btnIsSpam", 4, L"btnIsSpam"},
      {L"btnNotSpam", 5, L"btnNotSpam"},
      {L"btnOutOfOffice", 6, L"btnOutOfOffice"},
      {L"btnOptions", 7, L"btnOptions"},
      // One command behind two controls; only btnOptions can be invalidated by name.
      {L"btnOptionsLauncher", 7, L"btnOptions"},
      {L"btnDelegation", 8, L"btnDelegation"},
      {L"btnAbout", 9, L"btnAbout"},
      {L"btnHelp", 10, L"btnHelp"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(narrow(c.id));
    EXPECT_EQ(getRibbonControlId(c.id), c.number);
    ASSERT_NE(getRibbonControlName(c.number), nullptr);
    EXPECT_STREQ(getRibbonControlName(c.number), c.invalidatedAs);
  }
}

TEST(RibbonControlId, AnyOtherTextIsElevenAndCaseCounts) {
  const wchar_t* unknown[] = {L"",           L"box",           L"btnisspam",     L"BTNISSPAM", L"btnIsSpam ",
                              L" btnIsSpam", L"btnIsSpam2",    L"btnOptionsLaunch", L"TabMail", L"tabZelvoHubX",
                              L"btnHel",     L"grpInspector"};
  for (const wchar_t* id : unknown) {
    SCOPED_TRACE(narrow(id));
    EXPECT_EQ(getRibbonControlId(id), kUnknownRibbonControl);
  }
  // A text that merely starts like a known id, cut at a null, is not that id.
  EXPECT_EQ(getRibbonControlId(std::wstring_view(L"btnAbout\0x", 10)), kUnknownRibbonControl);
}

TEST(RibbonControlId, NumbersWithoutANameGiveNull) {
  for (int number : {-1, 11, 12, 100, INT_MIN, INT_MAX}) {
    SCOPED_TRACE(number);
    EXPECT_EQ(getRibbonControlName(number), nullptr);
    EXPECT_EQ(findRibbonControlInfo(number), nullptr);
  }
}

TEST(RibbonControlInfo, TextsAndImagesPerNumber) {
  const struct {
    int number;
    RibbonControlInfo info;
  } cases[] = {
      {0, {16001, 0, 0, 0, 0, false}},
      {1, {16002, 0, 0, 0, 0, false}},
      {2, {16003, 0, 0, 0, 0, false}},
      {3, {16004, 0, 0, 0, 0, false}},
      {4, {11101, 11101, 11103, 301, 302, true}},
      {5, {11102, 11102, 11104, 303, 304, true}},
      {6, {11105, 11105, 11106, 251, 265, true}},
      {7, {16005, 16005, 16006, 305, 309, false}},
      {8, {16011, 16011, 16012, 308, 310, false}},
      {9, {16007, 16007, 16008, 306, 306, false}},
      {10, {16009, 16009, 16010, 307, 307, false}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.number);
    const RibbonControlInfo* info = findRibbonControlInfo(c.number);
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(info->label, c.info.label);
    EXPECT_EQ(info->screenTip, c.info.screenTip);
    EXPECT_EQ(info->superTip, c.info.superTip);
    EXPECT_EQ(info->imageEnabled, c.info.imageEnabled);
    EXPECT_EQ(info->imageDisabled, c.info.imageDisabled);
    EXPECT_EQ(info->largeImage, c.info.largeImage);
  }
}

TEST(RibbonControlInfo, EveryTextIdHasAnEnglishText) {
  const auto& english = Localization::englishTranslator();
  for (int number = 0; number < kUnknownRibbonControl; ++number) {
    SCOPED_TRACE(number);
    const RibbonControlInfo* info = findRibbonControlInfo(number);
    ASSERT_NE(info, nullptr);
    for (unsigned id : {info->label, info->screenTip, info->superTip}) {
      if (id == 0) continue;
      SCOPED_TRACE(id);
      const wchar_t* text = english.find(id);
      ASSERT_NE(text, nullptr);
      EXPECT_GT(std::wcslen(text), 1u);
    }
  }
  // A super tip says more than the label it stands under.
  for (int number : {4, 5, 6, 7, 8, 9, 10}) {
    const RibbonControlInfo* info = findRibbonControlInfo(number);
    EXPECT_NE(Localization::getString(info->superTip), Localization::getString(info->label)) << number;
  }
}

TEST(RibbonControlText, LabelsAndTipsInTheLanguageInForceAndNoneWhereThereIsNoText) {
  const Localization::TableTranslator other({{16001, L"Onglet"}, {11103, L"Conseil"}});
  Localization::setTranslator(&other);
  const auto tabLabel = getRibbonControlText(kTabZelvoHub, RibbonText::kLabel);
  const auto superTip = getRibbonControlText(kBtnIsSpam, RibbonText::kSuperTip);
  Localization::setTranslator(nullptr);
  EXPECT_EQ(tabLabel, std::optional<std::wstring>(L"Onglet"));
  EXPECT_EQ(superTip, std::optional<std::wstring>(L"Conseil"));
  // A button's screen tip is its label's text.
  const auto label = getRibbonControlText(kBtnIsSpam, RibbonText::kLabel);
  ASSERT_TRUE(label.has_value());
  EXPECT_EQ(*label, L"Mark as Spam");
  EXPECT_EQ(getRibbonControlText(kBtnIsSpam, RibbonText::kScreenTip), label);

  // Tabs and groups have labels only; numbers without a row have nothing.
  for (int number : {0, 1, 2, 3}) {
    EXPECT_TRUE(getRibbonControlText(number, RibbonText::kLabel).has_value()) << number;
    EXPECT_FALSE(getRibbonControlText(number, RibbonText::kScreenTip).has_value()) << number;
    EXPECT_FALSE(getRibbonControlText(number, RibbonText::kSuperTip).has_value()) << number;
  }
  for (int number : {-1, 11, 12}) {
    for (RibbonText which : {RibbonText::kLabel, RibbonText::kScreenTip, RibbonText::kSuperTip}) {
      EXPECT_FALSE(getRibbonControlText(number, which).has_value()) << number;
    }
  }
}

// Owns a BSTR out value for the test.
struct BstrOut {
  BSTR value = nullptr;
  ~BstrOut() { SysFreeString(value); }
};

TEST(RibbonGetCustomUi, TheChosenDocumentGoesOutAsAFreshStringOfTheSameLength) {
  const struct {
    const wchar_t* ribbonId;
    bool allowed;
    int version;
    int document;
  } cases[] = {
      {L"Microsoft.Outlook.Explorer", true, 16, 15000},
      {L"Microsoft.Outlook.Mail.Read", true, 14, 15001},
      {L"Microsoft.Outlook.Mail.Read", true, 12, 15002},
      {L"Microsoft.Outlook.Mail.Compose", true, 16, 0},
      {L"Microsoft.Outlook.Explorer", false, 16, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(narrow(c.ribbonId) + " " + std::to_string(c.document));
    BstrOut first, second;
    // Whatever the caller left in the out value is replaced, by null when there is no document.
    first.value = SysAllocStringLen(L"stale", 5);
    BSTR stale = first.value;
    getCustomUi(c.ribbonId, c.allowed, c.version, &first.value);
    SysFreeString(stale);
    if (c.document == 0) {
      EXPECT_EQ(first.value, nullptr);
      continue;
    }
    ASSERT_NE(first.value, nullptr);
    const std::string_view bytes = getRibbonXml(c.document);
    ASSERT_EQ(SysStringLen(first.value), bytes.size());
    EXPECT_EQ(narrow(std::wstring_view(first.value, SysStringLen(first.value))), bytes);
    getCustomUi(c.ribbonId, c.allowed, c.version, &second.value);
    EXPECT_NE(first.value, second.value) << "each call gets a copy of its own";
  }
}

TEST(RibbonGetCustomUi, ANullOutPointerRaisesEPointerEvenWithoutADocument) {
  for (bool allowed : {true, false}) {
    try {
      getCustomUi(L"Microsoft.Outlook.Explorer", allowed, 16, nullptr);
      ADD_FAILURE() << "no exception";
    } catch (const HResultException& e) {
      EXPECT_EQ(e.getHResult(), E_POINTER);
    }
  }
}

TEST(RibbonCallbacks, DispidsOneToTwentyInSlotOrder) {
  const wchar_t* expected[] = {
      L"explorerOnLoad",
      L"inspectorOnLoad",
      L"explorerOnButtonAction",
      L"explorerOnToggleButtonAction",
      L"inspectorOnButtonAction",
      L"explorerOnGetLabel",
      L"inspectorOnGetLabel",
      L"explorerOnGetButtonImage",
      L"inspectorOnGetButtonImage",
      L"explorerOnGetButtonEnabled",
      L"inspectorOnGetButtonEnabled",
      L"explorerOnGetButtonScreentip",
      L"inspectorOnGetButtonScreentip",
      L"explorerOnGetButtonSupertip",
      L"inspectorOnGetButtonSupertip",
      L"explorerOnGetButtonPressed",
      L"toggleOnlineCommandOnAction",
      L"sendReceiveAllCommandOnAction",
      L"rulesAndAlertsCommandOnAction",
      L"createMailRuleCommandOnAction",
  };
  static_assert(std::size(expected) == kRibbonCallbackCount);
  for (int dispid = 1; dispid <= kRibbonCallbackCount; ++dispid) {
    SCOPED_TRACE(dispid);
    ASSERT_NE(getRibbonCallbackName(dispid), nullptr);
    EXPECT_STREQ(getRibbonCallbackName(dispid), expected[dispid - 1]);
    EXPECT_EQ(findRibbonCallbackDispid(expected[dispid - 1]), dispid);
  }
  for (int dispid : {0, -1, 21, INT_MAX}) EXPECT_EQ(getRibbonCallbackName(dispid), nullptr) << dispid;
}

TEST(RibbonCallbacks, NamesAreFoundWithoutRegardToCase) {
  const struct {
    const wchar_t* name;
    int dispid;
  } cases[] = {
      // The XML's spellings of the tip callbacks.
      {L"explorerOnGetButtonScreenTip", 12},
      {L"inspectorOnGetButtonScreenTip", 13},
      {L"explorerOnGetButtonSuperTip", 14},
      {L"inspectorOnGetButtonSuperTip", 15},
      {L"EXPLORERONLOAD", 1},
      {L"inspectoronload", 2},
      {L"CreateMailRuleCommandOnAction", 20},
      {L"ExplorerOnGetButtonPressed", 16},
      // Near misses.
      {L"", -1},
      {L"explorerOnLoa", -1},
      {L"explorerOnLoadd", -1},
      {L"explorerOnLoad ", -1},
      {L"explorerOnGetButtonTip", -1},
      {L"onLoad", -1},
      {L"GetCustomUI", -1},
      // Only ASCII letters fold: a dotless i or a Kelvin sign is another letter.
      {L"explorer\u0131OnLoad", -1},
      {L"explorerOnLoad\u212A", -1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(narrow(c.name));
    EXPECT_EQ(findRibbonCallbackDispid(c.name), c.dispid);
  }
}

TEST(RibbonXmlSelection, DocumentPerRibbonIdHostVersionAndStore) {
  const struct {
    const wchar_t* ribbonId;
    bool allowed;
    int version;
    int expected;
  } cases[] = {
      {L"Microsoft.Outlook.Explorer", true, 12, 15000},
      {L"Microsoft.Outlook.Explorer", true, 16, 15000},
      {L"Microsoft.Outlook.Mail.Read", true, 14, 15001},
      {L"Microsoft.Outlook.Mail.Read", true, 16, 15001},
      {L"Microsoft.Outlook.Mail.Read", true, 13, 15002},
      {L"Microsoft.Outlook.Mail.Read", true, 12, 15002},
      {L"Microsoft.Outlook.Mail.Read", true, 0, 15002},
      {L"Microsoft.Outlook.Post.Read", true, 15, 15001},
      {L"Microsoft.Outlook.MeetingRequest.Read", true, 12, 15002},
      // The middle part may itself hold dots.
      {L"Microsoft.Outlook.Response.Compose.Read", true, 14, 15001},
      {L"Microsoft.Outlook.x.Read", true, 14, 15001},
      // Compose windows and other kinds get nothing.
      {L"Microsoft.Outlook.Mail.Compose", true, 14, 0},
      {L"Microsoft.Outlook.Post.Compose", true, 12, 0},
      {L"Microsoft.Outlook.Appointment", true, 14, 0},
      {L"Microsoft.Outlook.Mail.Read.Compose", true, 14, 0},
      // No middle part, or the text around it not exactly as it must be.
      {L"Microsoft.Outlook..Read", true, 14, 0},
      {L"Microsoft.Outlook.Read", true, 14, 0},
      {L"Microsoft.Outlook.Mail.read", true, 14, 0},
      {L"microsoft.outlook.mail.Read", true, 14, 0},
      {L"Microsoft.Outlook.Mail.Read ", true, 14, 0},
      {L" Microsoft.Outlook.Mail.Read", true, 14, 0},
      {L"xMicrosoft.Outlook.Mail.Read", true, 14, 0},
      {L"MicrosoftXOutlook.Mail.Read", true, 14, 0},
      {L"Microsoft.OutlookX.Mail.Read", true, 14, 0},
      {L"Microsoft.Outlook.Mail.Readx", true, 14, 0},
      {L"Microsoft.Outlook.Explorer.Read", true, 12, 15002},
      {L"Microsoft.Outlook.explorer", true, 14, 0},
      {L"", true, 14, 0},
      // A profile without one of our stores has no ribbon at all.
      {L"Microsoft.Outlook.Explorer", false, 16, 0},
      {L"Microsoft.Outlook.Mail.Read", false, 16, 0},
      {L"Microsoft.Outlook.Mail.Read", false, 12, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(narrow(c.ribbonId) + (c.allowed ? " with a store, " : " without a store, ") +
                 std::to_string(c.version));
    EXPECT_EQ(selectRibbonXml(c.ribbonId, c.allowed, c.version), c.expected);
  }
}

TEST(RibbonXmlSelection, ALineBreakInTheMiddlePartDoesNotMatch) {
  // Any character but a line end, as in Perl's default.
  EXPECT_FALSE(isReadInspectorRibbonId(L"Microsoft.Outlook.Ma\nil.Read"));
  EXPECT_FALSE(isReadInspectorRibbonId(L"Microsoft.Outlook.Mail.Read\n"));
  EXPECT_TRUE(isReadInspectorRibbonId(L"Microsoft.Outlook.M\u00e4il.Read"));
}

RibbonControlState explorerState(bool folderAllowed, bool isSpam, bool notSpam, bool storeFolder) {
  RibbonControlState state;
  state.window = RibbonWindowKind::kExplorer;
  state.spamFolderAllowed = folderAllowed;
  state.isSpam = isSpam;
  state.notSpam = notSpam;
  state.storeFolder = storeFolder;
  return state;
}

TEST(RibbonControlRules, SpamButtonsInTheExplorerNeedTheFolderTestAndTheirFlag) {
  // Every combination of folder test and flags, for both buttons.
  for (int bits = 0; bits < 16; ++bits) {
    const bool allowed = bits & 1, isSpam = bits & 2, notSpam = bits & 4, store = bits & 8;
    SCOPED_TRACE(bits);
    const RibbonControlState state = explorerState(allowed, isSpam, notSpam, store);
    EXPECT_EQ(isRibbonControlEnabled(kBtnIsSpam, state), allowed && isSpam);
    EXPECT_EQ(isRibbonControlEnabled(kBtnNotSpam, state), allowed && notSpam);
    const auto isSpamImage = getRibbonControlImage(kBtnIsSpam, state);
    const auto notSpamImage = getRibbonControlImage(kBtnNotSpam, state);
    ASSERT_TRUE(isSpamImage && notSpamImage);
    EXPECT_EQ(isSpamImage->iconId, allowed && isSpam ? 301u : 302u);
    EXPECT_EQ(notSpamImage->iconId, allowed && notSpam ? 303u : 304u);
    EXPECT_TRUE(isSpamImage->large);
  }
}

TEST(RibbonControlRules, SpamButtonsInAnInspectorFollowOnlyTheirFlag) {
  for (int bits = 0; bits < 8; ++bits) {
    const bool allowed = bits & 1, isSpam = bits & 2, notSpam = bits & 4;
    SCOPED_TRACE(bits);
    RibbonControlState state = explorerState(allowed, isSpam, notSpam, false);
    state.window = RibbonWindowKind::kInspector;
    EXPECT_EQ(isRibbonControlEnabled(kBtnIsSpam, state), isSpam);
    EXPECT_EQ(isRibbonControlEnabled(kBtnNotSpam, state), notSpam);
    EXPECT_EQ(getRibbonControlImage(kBtnIsSpam, state)->iconId, isSpam ? 301u : 302u);
    EXPECT_EQ(getRibbonControlImage(kBtnNotSpam, state)->iconId, notSpam ? 303u : 304u);
  }
}

TEST(RibbonControlRules, StoreControlsTestOnlyThatTheFolderIsOfOurStores) {
  const struct {
    int number;
    unsigned enabledIcon, disabledIcon;
  } controls[] = {{kBtnOutOfOffice, 251, 265}, {kBtnOptions, 305, 309}, {kBtnDelegation, 308, 310}};
  for (const auto& c : controls) {
    for (bool store : {false, true}) {
      for (RibbonWindowKind window : {RibbonWindowKind::kExplorer, RibbonWindowKind::kInspector}) {
        SCOPED_TRACE(testing::Message() << c.number << (store ? " our store " : " other store ")
                                        << (window == RibbonWindowKind::kExplorer ? "explorer" : "inspector"));
        // A folder of a foreign store whose spam flags say otherwise changes nothing.
        RibbonControlState state = explorerState(!store, !store, !store, store);
        state.window = window;
        // An inspector's getEnabled doesn't look; its image does.
        EXPECT_EQ(isRibbonControlEnabled(c.number, state), window == RibbonWindowKind::kInspector || store);
        const auto image = getRibbonControlImage(c.number, state);
        ASSERT_TRUE(image.has_value());
        EXPECT_EQ(image->iconId, store ? c.enabledIcon : c.disabledIcon);
        EXPECT_EQ(image->large, c.number == kBtnOutOfOffice);
      }
    }
  }
}

TEST(RibbonControlRules, OtherControlsAreAlwaysEnabled) {
  const RibbonControlState nothing = explorerState(false, false, false, false);
  for (int number : std::initializer_list<int>{kTabZelvoHub, kGrpExplorerMain, kGrpOptions, kGrpInspectorSpam,
                                             kBtnAbout, kBtnHelp, kUnknownRibbonControl, -1, 99}) {
    SCOPED_TRACE(number);
    EXPECT_TRUE(isRibbonControlEnabled(number, nothing));
  }
  // About and Help stay usable in folders of other stores, with the same icon either way.
  EXPECT_EQ(getRibbonControlImage(kBtnAbout, nothing)->iconId, 306u);
  EXPECT_EQ(getRibbonControlImage(kBtnHelp, nothing)->iconId, 307u);
  EXPECT_FALSE(getRibbonControlImage(kBtnHelp, nothing)->large);
}

TEST(RibbonControlRules, TabsGroupsAndUnknownNumbersHaveNoImage) {
  const RibbonControlState all = explorerState(true, true, true, true);
  for (int number : std::initializer_list<int>{kTabZelvoHub, kGrpExplorerMain, kGrpOptions, kGrpInspectorSpam,
                                             kUnknownRibbonControl, -1, 12}) {
    EXPECT_FALSE(getRibbonControlImage(number, all).has_value()) << number;
  }
}

TEST(RibbonControlRules, OnlyTheOutOfOfficeToggleIsPressedAndShowsTheServersState) {
  for (bool on : {false, true}) {
    RibbonControlState state = explorerState(true, true, true, true);
    state.outOfOfficeOn = on;
    EXPECT_EQ(getRibbonControlPressed(kBtnOutOfOffice, state), std::optional<bool>(on));
    for (int number = -1; number <= kUnknownRibbonControl + 1; ++number) {
      if (number != kBtnOutOfOffice) {
        EXPECT_FALSE(getRibbonControlPressed(number, state).has_value()) << number;
      }
    }
  }
}

TEST(RibbonCommands, ButtonsAndTheToggleRunTheirCommands) {
  const struct {
    int number;
    RibbonCommand command;
    bool toggle;
  } cases[] = {
      {kTabZelvoHub, RibbonCommand::kNone, false},          {kGrpExplorerMain, RibbonCommand::kNone, false},
      {kGrpOptions, RibbonCommand::kNone, false},           {kGrpInspectorSpam, RibbonCommand::kNone, false},
      {kBtnIsSpam, RibbonCommand::kMarkAsSpam, false},      {kBtnNotSpam, RibbonCommand::kMarkAsNotSpam, false},
      {kBtnOutOfOffice, RibbonCommand::kNone, true},        {kBtnOptions, RibbonCommand::kOptions, false},
      {kBtnDelegation, RibbonCommand::kDelegation, false},  {kBtnAbout, RibbonCommand::kAbout, false},
      {kBtnHelp, RibbonCommand::kHelp, false},              {kUnknownRibbonControl, RibbonCommand::kNone, false},
      {-1, RibbonCommand::kNone, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.number);
    EXPECT_EQ(getRibbonButtonCommand(c.number), c.command);
    EXPECT_EQ(isRibbonToggleCommand(c.number), c.toggle);
  }
  // The launcher is the Options button.
  EXPECT_EQ(getRibbonButtonCommand(getRibbonControlId(L"btnOptionsLauncher")), RibbonCommand::kOptions);
}

constexpr auto kExplorer = RibbonInvalidation::kExplorerRibbon;

TEST(RibbonInvalidation, SpamControlsOnTheExplorerAndTheInspectors) {
  using Calls = std::vector<RibbonInvalidation>;
  const struct {
    bool explorerOnly;
    bool haveExplorer;
    std::size_t inspectors;
    Calls expected;
  } cases[] = {
      {true, true, 0, {{kExplorer, L"btnNotSpam"}, {kExplorer, L"btnIsSpam"}}},
      {true, true, 2, {{kExplorer, L"btnNotSpam"}, {kExplorer, L"btnIsSpam"}}},
      {true, false, 2, {}},
      {false, true, 0, {{kExplorer, L"btnNotSpam"}, {kExplorer, L"btnIsSpam"}}},
      {false,
       true,
       2,
       {{kExplorer, L"btnNotSpam"},
        {kExplorer, L"btnIsSpam"},
        {0, L"btnNotSpam"},
        {0, L"btnIsSpam"},
        {1, L"btnNotSpam"},
        {1, L"btnIsSpam"}}},
      // The inspectors are reached also when the explorer ribbon is missing.
      {false, false, 1, {{0, L"btnNotSpam"}, {0, L"btnIsSpam"}}},
      {false, false, 0, {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.explorerOnly << c.haveExplorer << c.inspectors);
    EXPECT_EQ(spamControlInvalidations(c.explorerOnly, c.haveExplorer, c.inspectors), c.expected);
  }
}

TEST(RibbonInvalidation, OutOfOfficeAndStoreControlsOnlyOnTheExplorer) {
  using Calls = std::vector<RibbonInvalidation>;
  EXPECT_EQ(outOfOfficeInvalidations(true), (Calls{{kExplorer, L"btnOutOfOffice"}}));
  EXPECT_EQ(storeControlInvalidations(true),
            (Calls{{kExplorer, L"btnOutOfOffice"}, {kExplorer, L"btnOptions"}, {kExplorer, L"btnDelegation"}}));
  EXPECT_TRUE(outOfOfficeInvalidations(false).empty());
  EXPECT_TRUE(storeControlInvalidations(false).empty());
}

}  // namespace
