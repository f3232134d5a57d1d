#include "ui/OutOfOfficeDialog.h"

#include <iterator>
#include <locale>
#include <utility>

#include <boost/algorithm/string/trim.hpp>

#include "base/Bstr.h"
#include "base/HResultException.h"
#include "calendar/LocalTimeZone.h"
#include "store/StoreInterfaces.h"
#include "strings/Localization.h"
#include "ui/WarningQuestionDialog.h"

namespace zelvo::ui {

namespace details {

// The kind of account text that names the account in titles.
constexpr ULONG kAccountNameText = 1;

std::wstring trimmed(const std::wstring& text) { return boost::algorithm::trim_copy(text, std::locale::classic()); }

std::wstring localeInfo(LCTYPE type) {
  wchar_t buffer[80] = {};
  const int length = GetLocaleInfoW(LOCALE_USER_DEFAULT, type, buffer, static_cast<int>(std::size(buffer)));
  return length > 0 ? std::wstring(buffer) : std::wstring();
}

// The controls on which Enter belongs to the control rather than to OK.
bool keepsEnter(ControlId id) {
  switch (id) {
    case OutOfOfficeDialog::kRangeEnabled:
    case OutOfOfficeDialog::kStartDate:
    case OutOfOfficeDialog::kStartTime:
    case OutOfOfficeDialog::kEndDate:
    case OutOfOfficeDialog::kEndTime:
    case OutOfOfficeDialog::kExternalEnabled:
      return true;
    default:
      return false;
  }
}

// Whether the record's external options say more than the plain reply does: a reply that
// only repeats the plain one may go without asking.
bool externalDiffersFromPlain(const Sieve::OutOfOfficeParams& record) {
  return !record.externalEnabled || record.externalKnownContactsOnly || record.externalSubject != record.subject ||
         record.externalBody != record.message;
}

}  // namespace details

TimePickerFormat makeTimePickerFormat(const LocaleTimeFormat& locale) {
  // Only a format that begins with the marker gives 12-hour pickers; any other, one with
  // the marker behind the time included, gives 24-hour ones.
  const bool flag = locale.timeFormat.find(L't') != 0;
  const bool leadingMarker = !flag && locale.markerPosition == L"1";
  const std::wstring separator = locale.separator.empty() ? std::wstring(L":") : locale.separator;
  TimePickerFormat result;
  result.twentyFourHours = flag;
  if (flag) {
    result.format = L"H" + separator + L"mm";
  } else if (leadingMarker) {
    result.format = L"tt h" + separator + L"mm";
  } else {
    result.format = L"h" + separator + L"mm tt";
  }
  return result;
}

LocaleTimeFormat userLocaleTimeFormat() {
  return {details::localeInfo(LOCALE_STIMEFORMAT), details::localeInfo(LOCALE_ITIMEMARKPOSN),
          details::localeInfo(LOCALE_STIME)};
}

const TimePickerFormat& userTimePickerFormat() {
  static const TimePickerFormat format = makeTimePickerFormat(userLocaleTimeFormat());
  return format;
}

SYSTEMTIME utcToZone(const SYSTEMTIME& utc, const std::shared_ptr<const timezone::ZTimeZone>& zone) {
  timezone::DateTime moment(utc);
  moment.moveToZone(zone);
  return timezone::toSystemTime(moment.wallClock());
}

SYSTEMTIME joinDateAndTime(const SYSTEMTIME& date, const SYSTEMTIME& time) {
  SYSTEMTIME joined{};
  joined.wYear = date.wYear;
  joined.wMonth = date.wMonth;
  joined.wDay = date.wDay;
  joined.wHour = time.wHour;
  joined.wMinute = time.wMinute;
  joined.wSecond = time.wSecond;
  return joined;
}

SYSTEMTIME zoneToUtc(const SYSTEMTIME& wallClock, const std::shared_ptr<const timezone::ZTimeZone>& zone) {
  timezone::DateTime moment(wallClock);
  moment.setZone(zone);  // the same wall clock, now read in the zone
  SYSTEMTIME result{};
  moment.toSystemTime(result);
  return result;
}

OutOfOfficeDialog::Settings OutOfOfficeDialog::Settings::ofMachine(const config::RegistryConfig& registry) {
  Settings settings;
  settings.zone = std::make_shared<const timezone::ZTimeZone>(timezone::getLocalTimeZone());
  settings.advancedMode = config::getAdvancedOutOfOffice(registry);
  settings.timeFormat = userTimePickerFormat();
  return settings;
}

OutOfOfficeDialog::OutOfOfficeDialog(DialogView& view, IUnknown* config, Sieve::OutOfOfficeParams& record,
                                     DialogHost& host, Settings settings)
    : DialogLogic(view), config_(config), record_(record), host_(host), settings_(std::move(settings)) {}

void OutOfOfficeDialog::onInitDialog() {
  const Extent size = view().windowSize();
  fullHeight_ = size.height;
  panelHeight_ = view().dialogUnitsToPixels({0, 0, 0, kPanelExtent}).bottom;
  // The controls keep their places and widths follow the frame; nothing hangs on the bottom
  // edge, which moves when the panel folds.
  view().enableResizing(size.width, fullHeight_ - panelHeight_);
  for (const ControlId id : {kMessage, kExternalBody, kExternalBodyLabel, kExternalEnabled, kKnownContactsOnly,
                             kEverybody, kRangeEnabled, kOn, kOff})
    view().setAnchor(id, anchor::left | anchor::top | anchor::right);
  view().setAnchor(kIdOk, anchor::top | anchor::right);
  view().setAnchor(kIdCancel, anchor::top | anchor::right);

  setTitleFromAccount();
  view().setIcon(kIconId);
  if (!settings_.advancedMode) {
    view().show(kFold, false);
    view().enable(kFold, false);
  }

  prepareTimePickers();
  view().setText(kMessage, record_.message);
  showRange();
  view().setText(kExternalBody, record_.externalBody);
  view().checkRadio(kKnownContactsOnly, kEverybody,
                    record_.externalKnownContactsOnly ? kKnownContactsOnly : kEverybody);

  updateReply();
}

void OutOfOfficeDialog::setTitleFromAccount() {
  if (!config_) return;
  try {
    ComRef<IGlobalConfig> global;
    if (FAILED(config_->QueryInterface(IID_IGlobalConfig, global.putVoid())) || !global) return;
    Bstr name;
    if (global->getAccountText(details::kAccountNameText, name.put()) != S_OK || name.length() == 0) return;
    view().setTitle(Localization::formatString(IDS_OUT_OF_OFFICE_TITLE, name.text()));
  } catch (const HResultException&) {
    // The template's title stays.
  }
}

void OutOfOfficeDialog::prepareTimePickers() {
  for (const ControlId id : {kStartTime, kEndTime}) {
    view().dateTimeSetFormat(id, settings_.timeFormat.format);
    if (settings_.timeFormat.twentyFourHours) {
      RECT rect = view().controlRect(id);
      rect.right -= kNarrowerTimePicker;
      view().moveControl(id, rect);
    }
  }
}

void OutOfOfficeDialog::showRange() {
  const SYSTEMTIME start = utcToZone(record_.rangeStart, settings_.zone);
  const SYSTEMTIME end = utcToZone(record_.rangeEnd, settings_.zone);
  view().dateTimeSet(kStartDate, &start);
  view().dateTimeSet(kStartTime, &start);
  view().dateTimeSet(kEndDate, &end);
  view().dateTimeSet(kEndTime, &end);
}

void OutOfOfficeDialog::updateReply() {
  view().checkRadio(kOn, kOff, record_.enabled ? kOn : kOff);
  for (const ControlId id : {kMessage, kDefaultMessage, kRangeEnabled}) view().enable(id, record_.enabled);
  if (settings_.advancedMode) view().enable(kFold, record_.enabled);
  updateRange();
  updateExternal();
}

void OutOfOfficeDialog::updateRange() {
  const bool on = record_.enabled && record_.rangeEnabled;
  for (const ControlId id : {kStartLabel, kStartDate, kStartTime, kEndLabel, kEndDate, kEndTime}) view().enable(id, on);
  view().setChecked(kRangeEnabled, record_.rangeEnabled);
}

void OutOfOfficeDialog::updateExternal() {
  // Folded, the panel's controls hide, so that neither Tab nor a mnemonic reaches them.
  for (const ControlId id : {kExternalEnabled, kExternalBody, kExternalBodyLabel, kKnownContactsOnly, kEverybody,
                             kExternalDefaultMessage})
    view().show(id, externalPanelOpen_);
  view().enable(kExternalEnabled, externalPanelOpen_ && record_.enabled);
  view().setChecked(kExternalEnabled, record_.externalEnabled);
  const bool on = externalPanelOpen_ && record_.enabled && record_.externalEnabled;
  for (const ControlId id :
       {kExternalBody, kExternalBodyLabel, kKnownContactsOnly, kEverybody, kExternalDefaultMessage})
    view().enable(id, on);
  updatePanelHeight();
}

void OutOfOfficeDialog::updatePanelHeight() {
  if (externalPanelOpen_ == externalPanelShown_) return;
  const Extent size = view().windowSize();
  view().setWindowSize(size.width, size.height + (externalPanelOpen_ ? panelHeight_ : -panelHeight_));
  externalPanelShown_ = externalPanelOpen_;
}

void OutOfOfficeDialog::toggleExternalPanel() {
  if (externalPanelOpen_ && !readExternalPanel()) return;
  externalPanelOpen_ = !externalPanelOpen_;
  updateExternal();
}

void OutOfOfficeDialog::onCommand(ControlId id, int notification) {
  if (notification != notify::buttonClicked) return;
  switch (id) {
    case kOn:
    case kOff:
      record_.enabled = id == kOn;
      updateReply();
      break;
    case kRangeEnabled:
      record_.rangeEnabled = !record_.rangeEnabled;
      updateRange();
      break;
    case kExternalEnabled:
      record_.externalEnabled = !record_.externalEnabled;
      updateExternal();
      break;
    case kDefaultMessage:
      view().setText(kMessage, Localization::getString(IDS_OUT_OF_OFFICE_DEFAULT_MESSAGE));
      break;
    case kExternalDefaultMessage:
      view().setText(kExternalBody, Localization::getString(IDS_OUT_OF_OFFICE_DEFAULT_MESSAGE));
      break;
    case kFold:
      if (settings_.advancedMode) toggleExternalPanel();
      break;
    default:
      break;
  }
}

bool OutOfOfficeDialog::acceptEmptyText(ControlId field) {
  const int answer = view().messageBox(Localization::getString(IDS_OUT_OF_OFFICE_EMPTY_MESSAGE),
                                       Localization::getString(IDS_MESSAGE_TITLE), mb::yesNo | mb::iconQuestion);
  if (answer == kIdYes) return true;
  view().setFocus(field);
  return false;
}

bool OutOfOfficeDialog::readReply() {
  record_.enabled = view().isChecked(kOn);
  record_.message = details::trimmed(view().getText(kMessage));
  return !(record_.enabled && record_.message.empty()) || acceptEmptyText(kMessage);
}

bool OutOfOfficeDialog::readRange() {
  record_.rangeEnabled = view().isChecked(kRangeEnabled);
  SYSTEMTIME startDate{}, startTime{}, endDate{}, endTime{};
  if (!view().dateTimeGet(kStartDate, startDate) || !view().dateTimeGet(kStartTime, startTime) ||
      !view().dateTimeGet(kEndDate, endDate) || !view().dateTimeGet(kEndTime, endTime))
    ZEL_HERE.raise(E_UNEXPECTED, L"A date picker of the range shows no date");
  const SYSTEMTIME start = joinDateAndTime(startDate, startTime);
  const SYSTEMTIME end = joinDateAndTime(endDate, endTime);
  // The ends are compared as the user sees them, on the wall clock, not as moments.
  if (record_.rangeEnabled && !(timezone::DateTime(start) < timezone::DateTime(end))) {
    view().messageBox(Localization::getString(IDS_OUT_OF_OFFICE_END_BEFORE_START),
                      Localization::getString(IDS_MESSAGE_TITLE), mb::ok | mb::iconExclamation);
    view().setFocus(kEndDate);
    return false;
  }
  // The pickers replace the range even when it is off, so that it is there when it is
  // turned on again.
  record_.rangeStart = zoneToUtc(start, settings_.zone);
  record_.rangeEnd = zoneToUtc(end, settings_.zone);
  return true;
}

bool OutOfOfficeDialog::readExternalPanel() {
  record_.externalSupported = true;
  record_.externalEnabled = view().isChecked(kExternalEnabled);
  record_.externalBody = details::trimmed(view().getText(kExternalBody));
  if (externalPanelOpen_ && record_.externalEnabled && record_.externalBody.empty() && !acceptEmptyText(kExternalBody))
    return false;
  record_.externalKnownContactsOnly = view().isChecked(kKnownContactsOnly);
  return true;
}

bool OutOfOfficeDialog::confirmDroppingExternal() {
  if (settings_.advancedMode || !record_.externalSupported || !details::externalDiffersFromPlain(record_)) return true;
  const int answer = host_.runModal(WarningQuestionDialog::kTemplateId, view().window(), [](DialogView& nested) {
    return std::make_unique<WarningQuestionDialog>(
        nested, std::wstring(), Localization::getString(IDS_OUT_OF_OFFICE_DROP_EXTERNAL),
        Localization::getString(IDS_WARNING_QUESTION_CONFIRM), Localization::getString(IDS_WARNING_QUESTION_CANCEL));
  });
  if (answer != kIdOk) return false;
  record_.externalSupported = false;  // the writer leaves the external options out
  return true;
}

void OutOfOfficeDialog::onOk() {
  if (details::keepsEnter(view().focus())) return;
  if (!readReply() || !readRange()) return;
  if (settings_.advancedMode && !readExternalPanel()) return;
  if (!confirmDroppingExternal()) return;
  view().endDialog(kIdOk);
}

}  // namespace zelvo::ui
