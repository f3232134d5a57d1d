// The out-of-office reply: on or off, its message, an optional date range, and in advanced
// mode a foldable panel with a separate reply to senders outside the organisation. Edits
// the caller's record in memory; the caller stores it when the dialog ends with OK.
//
// The record holds the range in UTC; the pickers show it in the local zone, which comes in
// with the settings so that nothing here asks the machine for its zone.
#pragma once

#include <memory>
#include <string>

#include "base/ComRef.h"
#include "calendar/TimeZone.h"
#include "config/RegistryConfig.h"
#include "sieve/OutOfOfficeRule.h"
#include "ui/DialogHost.h"
#include "ui/DialogLogic.h"

namespace zelvo::ui {

// What the user's locale says of times: its time format ("h:mm:ss tt"), where the AM/PM
// marker stands ("1" in front) and the separator of hours and minutes.
struct LocaleTimeFormat {
  std::wstring timeFormat;
  std::wstring markerPosition;
  std::wstring separator;
};

// The display format of the time pickers, in hours and minutes.
struct TimePickerFormat {
  std::wstring format;
  // Hours to 24, without a marker: the pickers need less room.
  bool twentyFourHours = false;
};

TimePickerFormat makeTimePickerFormat(const LocaleTimeFormat& locale);
// The user's locale as the system reports it.
LocaleTimeFormat userLocaleTimeFormat();
// Built from the user's locale on first use and kept for the life of the process.
const TimePickerFormat& userTimePickerFormat();

// A moment of the record (UTC fields) as the wall clock of zone, and back. A wall-clock
// time that the zone skips or repeats is settled as a zone change settles it.
SYSTEMTIME utcToZone(const SYSTEMTIME& utc, const std::shared_ptr<const timezone::ZTimeZone>& zone);
SYSTEMTIME zoneToUtc(const SYSTEMTIME& wallClock, const std::shared_ptr<const timezone::ZTimeZone>& zone);
// The date of a date picker with the time of a time picker, milliseconds 0.
SYSTEMTIME joinDateAndTime(const SYSTEMTIME& date, const SYSTEMTIME& time);

class OutOfOfficeDialog : public DialogLogic {
 public:
  static constexpr int kTemplateId = 5012;
  static constexpr int kIconId = 251;  // the out-of-office icon of the module

  static constexpr ControlId kOn = 0x275E;
  static constexpr ControlId kOff = 0x275F;
  static constexpr ControlId kMessage = 0x2769;
  static constexpr ControlId kDefaultMessage = 0x36B1;
  static constexpr ControlId kRangeEnabled = 0x2762;
  static constexpr ControlId kStartLabel = 0x2763;
  static constexpr ControlId kStartDate = 0x2764;
  static constexpr ControlId kStartTime = 0x2765;
  static constexpr ControlId kEndLabel = 0x2766;
  static constexpr ControlId kEndDate = 0x2767;
  static constexpr ControlId kEndTime = 0x2768;
  static constexpr ControlId kFold = 0x2761;  // advanced mode only
  static constexpr ControlId kExternalEnabled = 0x276B;
  static constexpr ControlId kExternalBody = 0x276C;
  static constexpr ControlId kExternalDefaultMessage = 0x2770;
  static constexpr ControlId kExternalBodyLabel = 0x276D;
  static constexpr ControlId kKnownContactsOnly = 0x276E;
  static constexpr ControlId kEverybody = 0x276F;

  // What the window loses in height while the external panel is folded, in the template's
  // dialog units: all below a margin under OK and Cancel.
  static constexpr int kPanelExtent = 160;
  // How much narrower the time pickers are in a 24-hour locale.
  static constexpr int kNarrowerTimePicker = 25;

  // What the dialog takes from the machine; tests give their own.
  struct Settings {
    std::shared_ptr<const timezone::ZTimeZone> zone;
    bool advancedMode = false;
    TimePickerFormat timeFormat;

    // The local zone, the local setting "AdvancedOutOfOffice" and the user's time format.
    static Settings ofMachine(const config::RegistryConfig& registry = config::RegistryConfig::instance());
  };

  // config is the store's configuration object or null; it only gives the title. record and
  // host stay alive while the dialog runs; host shows the nested question.
  OutOfOfficeDialog(DialogView& view, IUnknown* config, Sieve::OutOfOfficeParams& record, DialogHost& host,
                    Settings settings);

  bool advancedMode() const { return settings_.advancedMode; }
  bool externalPanelOpen() const { return externalPanelOpen_; }

 protected:
  void onInitDialog() override;
  // OK stores nothing itself: it reads the controls into the record, and stays open where
  // a step asks the user to fix something. Cancel leaves the record as it was.
  void onOk() override;
  void onCommand(ControlId id, int notification) override;

 private:
  void setTitleFromAccount();
  void prepareTimePickers();
  void showRange();
  // The enabling rules, by group: the reply as a whole, the range, the external panel.
  void updateReply();
  void updateRange();
  void updateExternal();
  // The window's height follows the panel's state.
  void updatePanelHeight();
  void toggleExternalPanel();

  // The steps of OK; false where a step keeps the dialog open.
  bool readReply();
  bool readRange();
  // The panel's fields into the record; false when the user wants to fix an empty text.
  bool readExternalPanel();
  bool confirmDroppingExternal();

  // A Yes/No question on an empty text; No puts the focus on field.
  bool acceptEmptyText(ControlId field);

  ComRef<IUnknown> config_;
  Sieve::OutOfOfficeParams& record_;
  DialogHost& host_;
  Settings settings_;
  bool externalPanelOpen_ = false;
  // The template shows the panel; the first run of the rules folds it.
  bool externalPanelShown_ = true;
  int fullHeight_ = 0;
  int panelHeight_ = 0;  // kPanelExtent in pixels
};

}  // namespace zelvo::ui
