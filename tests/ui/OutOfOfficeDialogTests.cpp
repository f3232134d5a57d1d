// The out-of-office dialog over a reply read from the reference store: what the user sees
// in the zone the test gives, what OK leaves in the record and, once stored, in the script.
#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "RulesMailServerOptions.h"
#include "calendar/TimeZone.h"
#include "sieve/SieveRules.h"
#include "store/reference/ReferenceStore.h"
#include "strings/Localization.h"
#include "testing/RecordingDialogHost.h"
#include "testing/RecordingDialogView.h"
#include "ui/OutOfOfficeDialog.h"
#include "ui/WarningQuestionDialog.h"

namespace {

using zelvo::testing::RecordingDialogHost;
using zelvo::testing::RecordingDialogView;
using zelvo::timezone::ZTimeZone;
using zelvo::ui::ControlId;
using zelvo::ui::OutOfOfficeDialog;
using zelvo::ui::WarningQuestionDialog;
using zelvo::ui::test::RulesMailServerOptions;
namespace notify = zelvo::ui::notify;
namespace mb = zelvo::ui::mb;
using Dlg = OutOfOfficeDialog;

constexpr auto kIdOk = zelvo::ui::kIdOk;
constexpr auto kIdCancel = zelvo::ui::kIdCancel;
constexpr auto kIdYes = zelvo::ui::kIdYes;
constexpr auto kIdNo = zelvo::ui::kIdNo;

// 1 March 2015 00:00 UTC: every range below lies ahead, so none reads as expired.
constexpr int64_t kNow = 1425168000;
constexpr int kWidth = 640;
constexpr int kFullHeight = 720;
// The recording view maps a dialog unit to two pixels.
constexpr int kFoldedHeight = kFullHeight - 2 * OutOfOfficeDialog::kPanelExtent;

std::shared_ptr<const ZTimeZone> zone(const char* name) {
  return std::make_shared<const ZTimeZone>(zelvo::timezone::findTimeZone(std::string(name)));
}

SYSTEMTIME at(int year, int month, int day, int hour, int minute) {
  SYSTEMTIME time{};
  time.wYear = static_cast<WORD>(year);
  time.wMonth = static_cast<WORD>(month);
  time.wDay = static_cast<WORD>(day);
  time.wHour = static_cast<WORD>(hour);
  time.wMinute = static_cast<WORD>(minute);
  return time;
}

// Date and time as a picker shows them, for readable comparisons.
std::string shown(const SYSTEMTIME& time) {
  char text[64];
  std::snprintf(text, sizeof text, "%04u-%02u-%02u %02u:%02u:%02u", time.wYear, time.wMonth, time.wDay, time.wHour,
                time.wMinute, time.wSecond);
  return text;
}
std::string pickerTime(const RecordingDialogView& view, ControlId id) {
  return shown(*view.datePicker(id).value).substr(11);
}

class OutOfOfficeTest : public ::testing::Test {
 protected:
  std::unique_ptr<ReferenceStore::Store> store;
  ComRef<IGlobalConfig> config;
  Sieve::SieveRules rules;
  RulesMailServerOptions options{rules};
  RecordingDialogView view;
  RecordingDialogHost host;
  Sieve::OutOfOfficeParams record;
  OutOfOfficeDialog::Settings settings{zone("Europe/Berlin"), false, {L"H:mm", true}};
  std::unique_ptr<OutOfOfficeDialog> dialog;

  // A reply whose range is start..end (UTC), stored and read back as the add-in does.
  static Sieve::OutOfOfficeParams reply(SYSTEMTIME start, SYSTEMTIME end, bool enabled = true, bool range = true) {
    Sieve::OutOfOfficeParams params;
    Sieve::initOutOfOffice(params, kNow);
    params.enabled = enabled;
    params.message = L"Away until Monday";
    params.rangeEnabled = range;
    params.rangeStart = start;
    params.rangeEnd = end;
    return params;
  }
  static Sieve::OutOfOfficeParams anyReply() { return reply(at(2015, 6, 1, 7, 0), at(2015, 6, 8, 16, 0)); }

  void openMailbox(const Sieve::OutOfOfficeParams& stored, const std::wstring& accountName = L"Anna Berg") {
    ReferenceStore::Mailbox mailbox;
    if (!accountName.empty()) mailbox.accountTexts[1] = accountName;
    store = std::make_unique<ReferenceStore::Store>(mailbox);
    config = store->globalConfig();
    {
      Sieve::SieveRules seed;
      seed.setClock([] { return kNow; });
      seed.loadSieveScript(config.get(), false, nullptr);
      seed.setOutOfOffice(stored);
      seed.saveSieveScript(config.get());
    }
    rules.setClock([] { return kNow; });
    rules.loadSieveScript(config.get(), false, nullptr);
    options.getOutOfOffice(record);
  }
  void openDialog(IUnknown* configObject) {
    view.setWindowSize(kWidth, kFullHeight);
    view.moveControl(Dlg::kStartTime, RECT{200, 80, 300, 102});
    view.moveControl(Dlg::kEndTime, RECT{200, 110, 300, 132});
    dialog = std::make_unique<OutOfOfficeDialog>(view, configObject, record, host, settings);
    view.attach(*dialog);
    dialog->initDialog();
  }
  void open(const Sieve::OutOfOfficeParams& stored) {
    openMailbox(stored);
    openDialog(config.get());
  }

  void click(ControlId id) { dialog->command(id, notify::buttonClicked); }
  // Enter or the OK button, with the focus where the user left it.
  void pressOk(ControlId focus = kIdOk) {
    view.setFocus(focus);
    dialog->command(kIdOk, notify::buttonClicked);
  }
  void setPickers(ControlId date, ControlId time, const SYSTEMTIME& value) {
    view.userSetDate(date, &value);
    view.userSetDate(time, &value);
  }
  // The script once OK's record is stored.
  std::wstring storedScript() {
    options.setOutOfOffice(record);
    rules.saveSieveScript(config.get());
    return store->mailbox().script;
  }
  bool ended(int result) const { return view.result() == result; }
};

// --- opening -----------------------------------------------------------------------------

TEST_F(OutOfOfficeTest, OpeningShowsTheReplyFoldedWithTheAccountInTheTitle) {
  open(reply(at(2015, 6, 1, 7, 0), at(2015, 6, 8, 16, 30)));
  EXPECT_EQ(view.title(), Localization::formatString(0x3AB9, std::wstring(L"Anna Berg")));
  EXPECT_EQ(view.icon(), Dlg::kIconId);
  EXPECT_TRUE(view.isChecked(Dlg::kOn));
  EXPECT_FALSE(view.isChecked(Dlg::kOff));
  EXPECT_EQ(view.getText(Dlg::kMessage), L"Away until Monday");
  EXPECT_TRUE(view.isChecked(Dlg::kRangeEnabled));
  // Summer in Berlin: two hours ahead of UTC; date and time picker of an end agree.
  EXPECT_EQ(shown(*view.datePicker(Dlg::kStartDate).value), "2015-06-01 09:00:00");
  EXPECT_EQ(shown(*view.datePicker(Dlg::kStartTime).value), "2015-06-01 09:00:00");
  EXPECT_EQ(shown(*view.datePicker(Dlg::kEndDate).value), "2015-06-08 18:30:00");
  EXPECT_EQ(shown(*view.datePicker(Dlg::kEndTime).value), "2015-06-08 18:30:00");
  EXPECT_EQ(view.datePicker(Dlg::kStartTime).format, L"H:mm");
  EXPECT_EQ(view.datePicker(Dlg::kEndTime).format, L"H:mm");
  EXPECT_TRUE(view.datePicker(Dlg::kStartDate).format.empty()) << "the date pickers keep the locale's own";
  EXPECT_EQ(view.controlRect(Dlg::kStartTime).right, 300 - Dlg::kNarrowerTimePicker);
  EXPECT_EQ(view.controlRect(Dlg::kEndTime).right, 300 - Dlg::kNarrowerTimePicker);
  // Without advanced mode there is no panel to unfold.
  EXPECT_FALSE(view.isVisible(Dlg::kFold));
  EXPECT_FALSE(view.isVisible(Dlg::kExternalEnabled)) << "a folded panel hides its controls";
  EXPECT_EQ(view.windowSize().height, kFoldedHeight);
  EXPECT_EQ(view.windowSize().width, kWidth);
  EXPECT_TRUE(view.resizable());
  EXPECT_EQ(view.minimumSize().height, kFoldedHeight);
  EXPECT_TRUE(view.failures().empty());
}

TEST_F(OutOfOfficeTest, AMarkerLocaleKeepsTheTimePickersWide) {
  settings.timeFormat = zelvo::ui::makeTimePickerFormat({L"tt h:mm:ss", L"1", L":"});
  open(anyReply());
  EXPECT_EQ(view.datePicker(Dlg::kStartTime).format, L"tt h:mm");
  EXPECT_EQ(view.controlRect(Dlg::kStartTime).right, 300);
}

TEST_F(OutOfOfficeTest, TheTitleStaysWhenTheAccountGivesNoName) {
  struct Case {
    const char* what;
    std::wstring name;
    HRESULT fail;
    HRESULT warn;
    bool withConfig;
  };
  const Case cases[] = {
      {"no name", L"", S_OK, S_OK, true},
      {"the call fails", L"Anna", MAPI_E_CALL_FAILED, S_OK, true},
      {"a warning instead of S_OK", L"Anna", S_OK, MAPI_W_ERRORS_RETURNED, true},
      {"no configuration object", L"Anna", S_OK, S_OK, false},
  };
  for (const Case& c : cases) {
    view = RecordingDialogView();
    openMailbox(anyReply(), c.name);
    if (FAILED(c.fail)) store->failNext(ReferenceStore::Operation::GetAccountText, c.fail);
    if (c.warn != S_OK) store->warnNext(ReferenceStore::Operation::GetAccountText, c.warn);
    openDialog(c.withConfig ? config.get() : nullptr);
    EXPECT_EQ(view.title(), L"") << c.what;
    EXPECT_TRUE(view.failures().empty()) << c.what;
    EXPECT_EQ(view.icon(), Dlg::kIconId) << c.what << ": the rest of the opening ran";
  }
}

TEST_F(OutOfOfficeTest, TheSwitchAndTheRangeBoxChangeTheRecordAndTheControls) {
  settings.advancedMode = true;
  open(reply(at(2015, 6, 1, 7, 0), at(2015, 6, 8, 16, 0), false, false));
  for (const ControlId id : {Dlg::kMessage, Dlg::kDefaultMessage, Dlg::kRangeEnabled, Dlg::kFold, Dlg::kStartLabel,
                             Dlg::kEndTime, Dlg::kExternalEnabled, Dlg::kExternalBody})
    EXPECT_FALSE(view.isEnabled(id)) << id;
  view.checkRadio(Dlg::kOn, Dlg::kOff, Dlg::kOn);
  click(Dlg::kOn);
  EXPECT_TRUE(record.enabled);
  for (const ControlId id : {Dlg::kMessage, Dlg::kDefaultMessage, Dlg::kRangeEnabled, Dlg::kFold})
    EXPECT_TRUE(view.isEnabled(id)) << id;
  EXPECT_FALSE(view.isEnabled(Dlg::kEndDate));
  EXPECT_FALSE(view.isEnabled(Dlg::kExternalEnabled)) << "the panel is folded";
  view.setChecked(Dlg::kRangeEnabled, true);
  click(Dlg::kRangeEnabled);
  EXPECT_TRUE(record.rangeEnabled);
  EXPECT_TRUE(view.isChecked(Dlg::kRangeEnabled));
  EXPECT_TRUE(view.isEnabled(Dlg::kEndDate));
  view.checkRadio(Dlg::kOn, Dlg::kOff, Dlg::kOff);
  click(Dlg::kOff);
  EXPECT_FALSE(record.enabled);
  EXPECT_FALSE(view.isEnabled(Dlg::kEndDate));
  EXPECT_TRUE(view.isChecked(Dlg::kRangeEnabled)) << "turning the reply off keeps the range as it is";
}

// --- the zone ----------------------------------------------------------------------------

struct ZoneCase {
  const char* zone;
  SYSTEMTIME utc;
  const char* local;
};

class OutOfOfficeZones : public OutOfOfficeTest, public ::testing::WithParamInterface<ZoneCase> {};

// The pickers show the wall clock of the zone given, on either side of its switches; OK
// without a change gives the same UTC moment back.
TEST_P(OutOfOfficeZones, ThePickersShowTheZonesWallClock) {
  const ZoneCase& c = GetParam();
  settings.zone = zone(c.zone);
  SYSTEMTIME end = c.utc;
  end.wYear = static_cast<WORD>(end.wYear + 1);
  open(reply(c.utc, end));
  EXPECT_EQ(shown(*view.datePicker(Dlg::kStartDate).value), c.local);
  pressOk();
  ASSERT_TRUE(ended(kIdOk));
  EXPECT_EQ(shown(record.rangeStart), shown(c.utc));
}

// Berlin goes from +1 to +2 at 01:00 UTC on 29 March 2015 and back at 01:00 UTC on 25
// October; New York goes forward at 07:00 UTC on 8 March; Sydney has its summer in January.
INSTANTIATE_TEST_SUITE_P(AroundSwitches, OutOfOfficeZones,
                         ::testing::Values(ZoneCase{"Europe/Berlin", at(2015, 3, 29, 0, 59), "2015-03-29 01:59:00"},
                                           ZoneCase{"Europe/Berlin", at(2015, 3, 29, 1, 0), "2015-03-29 03:00:00"},
                                           ZoneCase{"Europe/Berlin", at(2015, 10, 24, 23, 59), "2015-10-25 01:59:00"},
                                           ZoneCase{"Europe/Berlin", at(2015, 10, 25, 1, 30), "2015-10-25 02:30:00"},
                                           ZoneCase{"America/New_York", at(2015, 3, 8, 6, 59), "2015-03-08 01:59:00"},
                                           ZoneCase{"America/New_York", at(2015, 3, 8, 3, 0), "2015-03-07 22:00:00"},
                                           ZoneCase{"Australia/Sydney", at(2016, 1, 15, 13, 0),
                                                    "2016-01-16 00:00:00"}));

TEST_F(OutOfOfficeTest, EachEndTakesTheOffsetOfItsOwnDate) {
  // A winter start and a summer end: one hour apart in UTC, two on the wall clock.
  open(reply(at(2015, 3, 28, 8, 0), at(2015, 3, 30, 7, 0)));
  EXPECT_EQ(pickerTime(view, Dlg::kStartTime), "09:00:00");
  EXPECT_EQ(pickerTime(view, Dlg::kEndTime), "09:00:00");
  // The user moves the end back across the switch: it goes in at the winter offset.
  setPickers(Dlg::kEndDate, Dlg::kEndTime, at(2015, 3, 28, 18, 0));
  pressOk();
  ASSERT_TRUE(ended(kIdOk));
  EXPECT_EQ(shown(record.rangeEnd), "2015-03-28 17:00:00");
}

struct WallClockCase {
  const char* what;
  SYSTEMTIME local;
  const char* utc;
};

class OutOfOfficeWallClock : public OutOfOfficeTest, public ::testing::WithParamInterface<WallClockCase> {};

// Times the zone skips or repeats are settled in one pass, as a zone change settles them.
TEST_P(OutOfOfficeWallClock, ASwitchDaysWallClockGoesInOnce) {
  open(reply(at(2015, 1, 1, 0, 0), at(2016, 1, 1, 0, 0)));
  setPickers(Dlg::kStartDate, Dlg::kStartTime, GetParam().local);
  pressOk();
  ASSERT_TRUE(ended(kIdOk)) << GetParam().what;
  EXPECT_EQ(shown(record.rangeStart), GetParam().utc) << GetParam().what;
}

INSTANTIATE_TEST_SUITE_P(
    Berlin2015, OutOfOfficeWallClock,
    ::testing::Values(WallClockCase{"before the gap", at(2015, 3, 29, 1, 59), "2015-03-29 00:59:00"},
                      WallClockCase{"in the gap: an hour on", at(2015, 3, 29, 2, 30), "2015-03-29 01:30:00"},
                      WallClockCase{"after the gap", at(2015, 3, 29, 3, 0), "2015-03-29 01:00:00"},
                      WallClockCase{"the doubled hour: its second pass", at(2015, 10, 25, 2, 30),
                                    "2015-10-25 01:30:00"},
                      WallClockCase{"after the doubled hour", at(2015, 10, 25, 3, 0), "2015-10-25 02:00:00"}));

// West of UTC the first hours after the spring switch go in an hour late: the one pass of
// the zone change looks at the offset of the wall clock taken as UTC, which is still winter
// time there.
TEST_F(OutOfOfficeTest, NewYorksFirstSummerHoursGoInAnHourLate) {
  settings.zone = zone("America/New_York");
  open(reply(at(2015, 1, 1, 0, 0), at(2016, 1, 1, 0, 0)));
  setPickers(Dlg::kStartDate, Dlg::kStartTime, at(2015, 3, 8, 3, 0));
  setPickers(Dlg::kEndDate, Dlg::kEndTime, at(2015, 3, 8, 8, 0));
  pressOk();
  ASSERT_TRUE(ended(kIdOk));
  EXPECT_EQ(shown(record.rangeStart), "2015-03-08 08:00:00");  // 04:00 summer time
  EXPECT_EQ(shown(record.rangeEnd), "2015-03-08 12:00:00");    // 08:00 summer time
}

// --- the range ---------------------------------------------------------------------------

struct RangeCase {
  const char* what;
  bool range;
  SYSTEMTIME start;  // local
  SYSTEMTIME end;
  bool accepted;
};

class OutOfOfficeRange : public OutOfOfficeTest, public ::testing::WithParamInterface<RangeCase> {};

TEST_P(OutOfOfficeRange, TheEndMustComeAfterTheStartWhileTheRangeIsOn) {
  const RangeCase& c = GetParam();
  open(reply(at(2015, 6, 1, 7, 0), at(2015, 6, 8, 16, 0), true, true));
  if (!c.range) {
    view.setChecked(Dlg::kRangeEnabled, false);
    click(Dlg::kRangeEnabled);
  }
  setPickers(Dlg::kStartDate, Dlg::kStartTime, c.start);
  setPickers(Dlg::kEndDate, Dlg::kEndTime, c.end);
  pressOk();
  if (c.accepted) {
    ASSERT_TRUE(ended(kIdOk)) << c.what;
    EXPECT_TRUE(view.messages().empty()) << c.what;
    EXPECT_EQ(record.rangeEnabled, c.range) << c.what;
    // Stored whether or not the range is on (summer: two hours ahead).
    SYSTEMTIME start = c.start;
    start.wHour = static_cast<WORD>(start.wHour - 2);
    EXPECT_EQ(shown(record.rangeStart), shown(start)) << c.what;
  } else {
    EXPECT_FALSE(view.result().has_value()) << c.what;
    ASSERT_EQ(view.messages().size(), 1u) << c.what;
    EXPECT_EQ(view.messages()[0].text, Localization::getString(IDS_OUT_OF_OFFICE_END_BEFORE_START));
    EXPECT_EQ(view.messages()[0].caption, Localization::getString(IDS_MESSAGE_TITLE));
    EXPECT_EQ(view.messages()[0].style, mb::ok | mb::iconExclamation);
    EXPECT_EQ(view.focus(), Dlg::kEndDate) << c.what;
    EXPECT_EQ(shown(record.rangeStart), "2015-06-01 07:00:00") << c.what << ": the record keeps its range";
  }
}

INSTANTIATE_TEST_SUITE_P(
    Ends, OutOfOfficeRange,
    ::testing::Values(RangeCase{"end after start", true, at(2015, 6, 2, 9, 0), at(2015, 6, 2, 9, 1), true},
                      RangeCase{"end equal to start", true, at(2015, 6, 2, 9, 0), at(2015, 6, 2, 9, 0), false},
                      RangeCase{"end before start", true, at(2015, 6, 2, 9, 0), at(2015, 6, 1, 23, 0), false},
                      RangeCase{"same day, earlier time", true, at(2015, 6, 2, 9, 0), at(2015, 6, 2, 8, 59), false},
                      RangeCase{"unchecked: an end before the start goes in", false, at(2015, 6, 2, 9, 0),
                                at(2015, 6, 1, 9, 0), true},
                      RangeCase{"unchecked: equal ends go in", false, at(2015, 6, 2, 9, 0), at(2015, 6, 2, 9, 0),
                                true}));

TEST_F(OutOfOfficeTest, TheDatePickersTimeAndTheTimePickersDateAreIgnored) {
  open(reply(at(2015, 6, 1, 7, 0), at(2015, 6, 8, 16, 0)));
  const SYSTEMTIME date = at(2015, 7, 1, 23, 59);
  const SYSTEMTIME time = at(1999, 1, 1, 6, 15);
  view.userSetDate(Dlg::kEndDate, &date);
  view.userSetDate(Dlg::kEndTime, &time);
  pressOk();
  ASSERT_TRUE(ended(kIdOk));
  EXPECT_EQ(shown(record.rangeEnd), "2015-07-01 04:15:00");
}

TEST_F(OutOfOfficeTest, TheOrderIsThatOfTheWallClockEvenAcrossTheGap) {
  // 02:30 does not exist on 29 March and goes in as 01:30 UTC; 03:10 is 01:10 UTC. The user
  // sees the start first, and the range goes in although its moments are reversed.
  open(reply(at(2015, 3, 1, 0, 0), at(2015, 4, 1, 0, 0)));
  setPickers(Dlg::kStartDate, Dlg::kStartTime, at(2015, 3, 29, 2, 30));
  setPickers(Dlg::kEndDate, Dlg::kEndTime, at(2015, 3, 29, 3, 10));
  pressOk();
  ASSERT_TRUE(ended(kIdOk));
  EXPECT_EQ(shown(record.rangeStart), "2015-03-29 01:30:00");
  EXPECT_EQ(shown(record.rangeEnd), "2015-03-29 01:10:00");
}

TEST_F(OutOfOfficeTest, OkStoresTheRangeInUtcInTheScript) {
  open(reply(at(2015, 6, 1, 7, 0), at(2015, 6, 8, 16, 0)));
  view.setText(Dlg::kMessage, L"  On leave \r\n");
  setPickers(Dlg::kStartDate, Dlg::kStartTime, at(2015, 11, 13, 0, 0));  // winter: +1
  setPickers(Dlg::kEndDate, Dlg::kEndTime, at(2015, 11, 14, 0, 0));
  pressOk();
  ASSERT_TRUE(ended(kIdOk));
  EXPECT_EQ(record.message, L"On leave");
  const std::wstring script = storedScript();
  EXPECT_NE(script.find(L":rangeEnabled 1 :rangeStart 1447369200 :rangeEnd 1447455600 \"On leave\";"),
            std::wstring::npos)
      << std::string(script.begin(), script.end());
}

// --- OK, Cancel and Enter ----------------------------------------------------------------

struct EnterCase {
  ControlId focus;
  bool ends;
};

class OutOfOfficeEnter : public OutOfOfficeTest, public ::testing::WithParamInterface<EnterCase> {};

// Enter on a range control or the external box stays there. The message fields take Enter
// for a new line themselves; what they pass on is OK, and ends the dialog.
TEST_P(OutOfOfficeEnter, EnterEndsTheDialogOnlyWhereTheControlDoesNotKeepIt) {
  settings.advancedMode = true;
  open(anyReply());
  pressOk(GetParam().focus);
  EXPECT_EQ(view.result().has_value(), GetParam().ends);
  EXPECT_EQ(view.focus(), GetParam().focus);
  EXPECT_TRUE(view.messages().empty());
}

INSTANTIATE_TEST_SUITE_P(Controls, OutOfOfficeEnter,
                         ::testing::Values(EnterCase{Dlg::kRangeEnabled, false}, EnterCase{Dlg::kStartDate, false},
                                           EnterCase{Dlg::kStartTime, false}, EnterCase{Dlg::kEndDate, false},
                                           EnterCase{Dlg::kEndTime, false}, EnterCase{Dlg::kExternalEnabled, false},
                                           EnterCase{Dlg::kMessage, true}, EnterCase{Dlg::kExternalBody, true}));

TEST_F(OutOfOfficeTest, CancelEndsWithTwo) {
  open(anyReply());
  dialog->command(kIdCancel, notify::buttonClicked);
  EXPECT_TRUE(ended(kIdCancel));
}

struct EmptyMessageCase {
  const char* what;
  bool enabled;
  const wchar_t* text;
  int answer;  // 0: no question
  bool ends;
};

class OutOfOfficeEmptyMessage : public OutOfOfficeTest, public ::testing::WithParamInterface<EmptyMessageCase> {};

TEST_P(OutOfOfficeEmptyMessage, AnEmptyReplyIsQuestionedOnlyWhenOn) {
  const EmptyMessageCase& c = GetParam();
  open(reply(at(2015, 6, 1, 7, 0), at(2015, 6, 8, 16, 0), c.enabled, true));
  view.setText(Dlg::kMessage, c.text);
  if (c.answer) view.queueAnswer(c.answer);
  pressOk();
  EXPECT_EQ(view.result().has_value(), c.ends) << c.what;
  if (c.answer) {
    ASSERT_EQ(view.messages().size(), 1u) << c.what;
    EXPECT_EQ(view.messages()[0].text, Localization::getString(IDS_OUT_OF_OFFICE_EMPTY_MESSAGE));
    EXPECT_EQ(view.messages()[0].caption, Localization::getString(IDS_MESSAGE_TITLE));
    EXPECT_EQ(view.messages()[0].style & mb::buttonMask, mb::yesNo);
  } else {
    EXPECT_TRUE(view.messages().empty()) << c.what;
  }
  if (c.ends) {
    EXPECT_EQ(record.message, L"") << c.what;
  } else {
    EXPECT_EQ(view.focus(), Dlg::kMessage) << c.what;
  }
}

INSTANTIATE_TEST_SUITE_P(Answers, OutOfOfficeEmptyMessage,
                         ::testing::Values(EmptyMessageCase{"on, empty, Yes", true, L"", kIdYes, true},
                                           EmptyMessageCase{"on, blanks only, No", true, L" \r\n\t", kIdNo, false},
                                           EmptyMessageCase{"off, empty: no question", false, L"", 0, true}));

// --- the external panel ------------------------------------------------------------------

TEST_F(OutOfOfficeTest, ThePanelUnfoldsAndFoldsInAdvancedMode) {
  settings.advancedMode = true;
  Sieve::OutOfOfficeParams stored = anyReply();
  stored.externalSupported = true;
  stored.externalEnabled = true;
  stored.externalBody = L"Please write to my colleague.";
  stored.externalKnownContactsOnly = true;
  open(stored);
  EXPECT_TRUE(view.isVisible(Dlg::kFold));
  EXPECT_TRUE(view.isEnabled(Dlg::kFold));
  EXPECT_EQ(view.windowSize().height, kFoldedHeight);
  EXPECT_EQ(view.getText(Dlg::kExternalBody), L"Please write to my colleague.");
  EXPECT_TRUE(view.isChecked(Dlg::kKnownContactsOnly));
  EXPECT_FALSE(view.isEnabled(Dlg::kExternalBody));

  click(Dlg::kFold);
  EXPECT_TRUE(dialog->externalPanelOpen());
  EXPECT_EQ(view.windowSize().height, kFullHeight);
  for (const ControlId id : {Dlg::kExternalEnabled, Dlg::kExternalBody, Dlg::kExternalBodyLabel,
                             Dlg::kKnownContactsOnly, Dlg::kEverybody, Dlg::kExternalDefaultMessage})
    EXPECT_TRUE(view.isEnabled(id) && view.isVisible(id)) << id;
  EXPECT_TRUE(view.isChecked(Dlg::kExternalEnabled));

  // Turning the separate reply off disables its fields and keeps the panel where it is.
  view.setChecked(Dlg::kExternalEnabled, false);
  click(Dlg::kExternalEnabled);
  EXPECT_FALSE(record.externalEnabled);
  EXPECT_TRUE(view.isEnabled(Dlg::kExternalEnabled));
  EXPECT_FALSE(view.isEnabled(Dlg::kExternalBody));
  EXPECT_EQ(view.windowSize().height, kFullHeight);

  click(Dlg::kFold);
  EXPECT_FALSE(dialog->externalPanelOpen());
  EXPECT_EQ(view.windowSize().height, kFoldedHeight);
  EXPECT_FALSE(view.isEnabled(Dlg::kExternalEnabled));
  click(Dlg::kFold);
  click(Dlg::kFold);
  EXPECT_EQ(view.windowSize().height, kFoldedHeight) << "each change moves the height once";
}

struct FoldCase {
  const char* what;
  bool foldWithOk;  // leave through OK rather than folding
  int answer;
  bool done;  // folded, or ended
};

class OutOfOfficeEmptyExternal : public OutOfOfficeTest, public ::testing::WithParamInterface<FoldCase> {};

TEST_P(OutOfOfficeEmptyExternal, AnEmptyExternalReplyIsQuestionedWhileThePanelIsOpen) {
  const FoldCase& c = GetParam();
  settings.advancedMode = true;
  Sieve::OutOfOfficeParams stored = anyReply();
  stored.externalSupported = true;
  stored.externalEnabled = true;
  open(stored);
  click(Dlg::kFold);
  view.setText(Dlg::kExternalBody, L"   ");
  view.queueAnswer(c.answer);
  if (c.foldWithOk) {
    pressOk();
    EXPECT_EQ(view.result().has_value(), c.done) << c.what;
  } else {
    click(Dlg::kFold);
    EXPECT_EQ(dialog->externalPanelOpen(), !c.done) << c.what;
    EXPECT_EQ(view.windowSize().height, c.done ? kFoldedHeight : kFullHeight) << c.what;
  }
  ASSERT_EQ(view.messages().size(), 1u) << c.what;
  EXPECT_EQ(view.messages()[0].text, Localization::getString(IDS_OUT_OF_OFFICE_EMPTY_MESSAGE));
  if (!c.done) {
    EXPECT_EQ(view.focus(), Dlg::kExternalBody) << c.what;
  }
}

INSTANTIATE_TEST_SUITE_P(Answers, OutOfOfficeEmptyExternal,
                         ::testing::Values(FoldCase{"fold, Yes", false, kIdYes, true},
                                           FoldCase{"fold, No", false, kIdNo, false},
                                           FoldCase{"OK, Yes", true, kIdYes, true},
                                           FoldCase{"OK, No", true, kIdNo, false}));

TEST_F(OutOfOfficeTest, AFoldedPanelIsReadWithoutQuestions) {
  settings.advancedMode = true;
  Sieve::OutOfOfficeParams stored = anyReply();
  stored.externalSupported = true;
  stored.externalEnabled = true;
  stored.externalBody = L"x";
  open(stored);
  view.setText(Dlg::kExternalBody, L"");
  pressOk();
  ASSERT_TRUE(ended(kIdOk));
  EXPECT_TRUE(view.messages().empty());
  EXPECT_TRUE(record.externalSupported);
  EXPECT_TRUE(record.externalEnabled);
  EXPECT_EQ(record.externalBody, L"");
}

TEST_F(OutOfOfficeTest, AdvancedOkWritesTheExternalReply) {
  settings.advancedMode = true;
  open(anyReply());
  click(Dlg::kFold);
  view.setChecked(Dlg::kExternalEnabled, true);
  click(Dlg::kExternalEnabled);
  view.setText(Dlg::kExternalBody, L" Ask the front desk. ");
  view.checkRadio(Dlg::kKnownContactsOnly, Dlg::kEverybody, Dlg::kKnownContactsOnly);
  pressOk();
  ASSERT_TRUE(ended(kIdOk));
  EXPECT_TRUE(host.shown().empty());
  const std::wstring script = storedScript();
  EXPECT_NE(script.find(L":externalMessageEnabled 1 :externalMessageBody \"Ask the front desk.\" "
                        L":externalMessageKnownContactsOnly 1"),
            std::wstring::npos)
      << std::string(script.begin(), script.end());
}

// --- external options set elsewhere, without advanced mode -------------------------------

struct ServerExternalCase {
  const char* what;
  bool enabled;
  bool contactsOnly;
  const wchar_t* body;     // null: the plain message
  const wchar_t* message;  // what the user makes of the plain message; null: unchanged
  int answer;              // 0: no question
  bool ends;
  bool keepsExternal;
};

class OutOfOfficeServerExternal : public OutOfOfficeTest, public ::testing::WithParamInterface<ServerExternalCase> {};

TEST_P(OutOfOfficeServerExternal, ExternalOptionsThatSayMoreAreDroppedOnlyWhenTheUserAgrees) {
  const ServerExternalCase& c = GetParam();
  Sieve::OutOfOfficeParams stored = anyReply();
  stored.externalSupported = true;
  stored.externalEnabled = c.enabled;
  stored.externalKnownContactsOnly = c.contactsOnly;
  stored.externalBody = c.body ? c.body : stored.message;
  open(stored);
  ASSERT_TRUE(record.externalSupported);
  if (c.message) view.setText(Dlg::kMessage, c.message);
  std::wstring questionText;
  if (c.answer) {
    host.script(WarningQuestionDialog::kTemplateId, [&](RecordingDialogView& nested, zelvo::ui::DialogLogic& logic) {
      questionText = nested.getText(WarningQuestionDialog::kMessage);
      EXPECT_EQ(nested.getText(kIdOk), Localization::getString(IDS_WARNING_QUESTION_CONFIRM));
      EXPECT_EQ(nested.getText(kIdCancel), Localization::getString(IDS_WARNING_QUESTION_CANCEL));
      logic.command(c.answer, notify::buttonClicked);
    });
  }
  pressOk();
  EXPECT_EQ(host.shownIds(), c.answer ? std::vector<int>{WarningQuestionDialog::kTemplateId} : std::vector<int>{})
      << c.what;
  if (c.answer) {
    EXPECT_EQ(questionText, Localization::getString(IDS_OUT_OF_OFFICE_DROP_EXTERNAL));
    EXPECT_EQ(host.shown()[0].parent, view.window()) << "the question is the dialog's own";
  }
  EXPECT_EQ(view.result().has_value(), c.ends) << c.what;
  EXPECT_EQ(record.externalSupported, c.keepsExternal) << c.what;
  if (!c.ends) return;
  const std::wstring script = storedScript();
  EXPECT_EQ(script.find(L":externalMessageEnabled") != std::wstring::npos, c.keepsExternal) << c.what;
}

INSTANTIATE_TEST_SUITE_P(
    Answers, OutOfOfficeServerExternal,
    ::testing::Values(
        ServerExternalCase{"repeats the plain reply: no question, kept", true, false, nullptr, nullptr, 0, true, true},
        ServerExternalCase{"own body, OK: dropped", true, false, L"Other text", nullptr, kIdOk, true, false},
        ServerExternalCase{"own body, Cancel: stays open", true, false, L"Other text", nullptr, kIdCancel, false, true},
        ServerExternalCase{"contacts only, OK: dropped", true, true, nullptr, nullptr, kIdOk, true, false},
        ServerExternalCase{"external reply off, Cancel: stays open", false, false, nullptr, nullptr, kIdCancel, false,
                           true},
        ServerExternalCase{"plain message edited: no longer repeated", true, false, nullptr, L"New text", kIdOk, true,
                           false}));

// --- the time pickers' format ------------------------------------------------------------

TEST(TimePickerFormat, FollowsTheLocalesMarkerAndSeparator) {
  struct Case {
    zelvo::ui::LocaleTimeFormat locale;
    const wchar_t* format;
    bool twentyFourHours;
  };
  const Case cases[] = {
      {{L"h:mm:ss tt", L"0", L":"}, L"H:mm", true},  // a marker, but not first: the flag
      {{L"tt h:mm:ss", L"1", L":"}, L"tt h:mm", false},
      {{L"tt hh.mm.ss", L"0", L"."}, L"h.mm tt", false},  // the position, not the format, places it
      {{L"HH:mm:ss", L"0", L":"}, L"H:mm", true},
      {{L"H.mm", L"1", L""}, L"H:mm", true},  // no separator: ":"
      {{L"", L"1", L":"}, L"H:mm", true},     // no format at all
      {{L"t h:mm", L"1", L" h "}, L"tt h h mm", false},
  };
  for (const Case& c : cases) {
    const zelvo::ui::TimePickerFormat format = zelvo::ui::makeTimePickerFormat(c.locale);
    EXPECT_EQ(format.format, c.format) << std::string(c.locale.timeFormat.begin(), c.locale.timeFormat.end());
    EXPECT_EQ(format.twentyFourHours, c.twentyFourHours);
  }
}

// --- the warning question ----------------------------------------------------------------

TEST(WarningQuestionDialog, ShowsItsTextsAndWithoutAConfirmTextOnlyCancel) {
  struct Case {
    const wchar_t* title;
    const wchar_t* confirm;
    std::wstring shownTitle;
  };
  const Case cases[] = {
      {L"", L"Remove", Localization::getString(IDS_WARNING_QUESTION_TITLE)},
      {L"Own title", L"", L"Own title"},
  };
  for (const Case& c : cases) {
    RecordingDialogView view;
    WarningQuestionDialog dialog(view, c.title, L"Something goes", c.confirm, L"Keep");
    dialog.initDialog();
    EXPECT_EQ(view.title(), c.shownTitle);
    EXPECT_EQ(view.getText(WarningQuestionDialog::kMessage), L"Something goes");
    EXPECT_EQ(view.getText(kIdCancel), L"Keep");
    const bool confirms = *c.confirm != L'\0';
    EXPECT_EQ(view.isVisible(kIdOk), confirms);
    if (confirms) {
      EXPECT_EQ(view.getText(kIdOk), c.confirm);
    } else {
      EXPECT_EQ(view.defaultButton(), kIdCancel) << "Enter must not confirm";
    }
    // OK from the keyboard or a stray command confirms only what can be confirmed.
    dialog.command(kIdOk, notify::buttonClicked);
    EXPECT_EQ(view.result(), confirms ? std::optional<int>(kIdOk) : std::nullopt);
    if (confirms) continue;
    dialog.command(kIdCancel, notify::buttonClicked);
    EXPECT_EQ(view.result(), kIdCancel);
  }
}

}  // namespace
