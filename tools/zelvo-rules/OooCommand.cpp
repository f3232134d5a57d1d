// ooo: the out-of-office reply of a mailbox, shown and set as the out-of-office dialog
// does: the range is typed as wall-clock time in a zone and kept in UTC.
#include <algorithm>
#include <cstdio>
#include <cwctype>
#include <memory>

#include "Commands.h"
#include "MailboxTarget.h"
#include "ToolText.h"
#include "calendar/DateTime.h"
#include "calendar/TimeZone.h"
#include "calendar/ZoneTables.h"
#include "sieve/OutOfOfficeRule.h"
#include "sieve/SieveRules.h"
#include "strings/Localization.h"

namespace zelvo {
namespace rules {
namespace details {

using timezone::DateTime;
using timezone::ZTimeZone;

// The zone that --zone names, or the machine's own. False with a message for a name that
// matches no zone, rather than quietly taking UTC for a misspelt one.
bool zoneOf(const CommandLine& line, ZTimeZone& zone, ToolIo& io) {
  const auto option = line.options.find("--zone");
  const std::string name = option == line.options.end() ? std::string() : option->second;
  if (!name.empty()) {
    std::string lower(name);
    std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char c) { return std::tolower(c); });
    const bool known = lower == "server" || lower == "utc" || lower == "gmt" ||
                       timezone::parseUtcOffset(name).isValid() ||
                       timezone::details::findRowByName(name, timezone::tables::displayZones, timezone::tables::displayZoneCount) >= 0 ||
                       timezone::details::findRowByName(name, timezone::tables::namedZones, timezone::tables::namedZoneCount) >= 0;
    if (!known) {
      writeLine(io.err, Localization::formatString(IDS_TOOL_UNKNOWN_ZONE, wide(name)));
      return false;
    }
  }
  zone = timezone::findTimeZone(name);
  return true;
}

// "YYYY-MM-DD HH:MM" (or with a T) as wall-clock time in the zone, to UTC seconds.
bool parseWallClock(const std::string& text, const ZTimeZone& zone, int64_t& utc) {
  int year, month, day, hour, minute;
  char separator;
  int used = 0;
  if (std::sscanf(text.c_str(), "%4d-%2d-%2d%c%2d:%2d%n", &year, &month, &day, &separator, &hour, &minute, &used) != 6 ||
      static_cast<size_t>(used) != text.size() || (separator != ' ' && separator != 'T'))
    return false;
  if (year < 1970 || year > 9999 || month < 1 || month > 12 || day < 1 ||
      day > timezone::details::monthLength(year, month - 1) || hour > 23 || minute > 59 || hour < 0 || minute < 0)
    return false;
  DateTime wall(day, month, year, hour, minute, 0, timezone::Duration(0));
  wall.setZone(std::make_shared<ZTimeZone>(zone));
  utc = wall.utc();
  return wall.isValid();
}

std::wstring wallClockText(int64_t utc, const ZTimeZone& zone) {
  const timezone::TimeParts parts = DateTime::fromUtc(utc, std::make_shared<ZTimeZone>(zone)).wallClock();
  wchar_t text[32];
  std::swprintf(text, 32, L"%04d-%02d-%02d %02d:%02d", parts.year + 1900, parts.month + 1, parts.day, parts.hour,
                parts.minute);
  return text;
}

std::wstring yesNo(bool value) { return Localization::getString(value ? IDS_TOOL_YES : IDS_TOOL_NO); }

std::wstring trimmed(const std::wstring& text) {
  size_t begin = 0, end = text.size();
  while (begin < end && std::iswspace(static_cast<wint_t>(text[begin]))) ++begin;
  while (end > begin && std::iswspace(static_cast<wint_t>(text[end - 1]))) --end;
  return text.substr(begin, end - begin);
}

void showOutOfOffice(const Sieve::SieveRules& rules, const ZTimeZone& zone, ToolIo& io) {
  Sieve::OutOfOfficeParams params;
  rules.getOutOfOffice(params);
  const std::wstring zoneName = wide(zone.name);
  std::wstring range = Localization::getString(IDS_TOOL_OFF);
  if (params.rangeEnabled) {
    const int64_t start = Sieve::secondsOfUtcFields(params.rangeStart), end = Sieve::secondsOfUtcFields(params.rangeEnd);
    range = Localization::formatString(IDS_TOOL_OOO_RANGE, wallClockText(start, zone), wallClockText(end, zone),
                                       zoneName, wallClockText(start, timezone::findTimeZone("UTC")),
                                       wallClockText(end, timezone::findTimeZone("UTC")));
  }
  std::wstring external = Localization::getString(IDS_TOOL_OFF);
  if (params.externalSupported && params.externalEnabled) {
    external = Localization::formatString(IDS_TOOL_OOO_EXTERNAL, yesNo(params.externalKnownContactsOnly),
                                          params.externalBody);
  }
  writeLine(io.out, Localization::formatString(IDS_TOOL_OOO_STATE, Localization::getString(params.enabled ? IDS_TOOL_ON : IDS_TOOL_OFF),
                                               yesNo(rules.getOutOfOfficeEnabled()), params.message, range, external));
}

}  // namespace details

int runOoo(const CommandLine& line, ToolIo& io) {
  const std::vector<std::string>& args = line.operands;
  const std::string first = args.empty() ? std::string() : args[0];
  enum class Action { Show, Switch, Set } action = Action::Show;
  std::string scriptOperand;
  bool on = false;
  if (first == "on" || first == "off") {
    action = Action::Switch;
    on = first == "on";
    if (args.size() > 2) {
      writeLine(io.err, Localization::getString(IDS_TOOL_BAD_OOO_ARGUMENTS));
      return ExitUsage;
    }
    scriptOperand = args.size() > 1 ? args[1] : std::string();
  } else if (first == "set") {
    action = Action::Set;
    if (args.size() > 2) {
      writeLine(io.err, Localization::getString(IDS_TOOL_BAD_OOO_ARGUMENTS));
      return ExitUsage;
    }
    scriptOperand = args.size() > 1 ? args[1] : std::string();
  } else {
    if (args.size() > 1) {
      writeLine(io.err, Localization::getString(IDS_TOOL_BAD_OOO_ARGUMENTS));
      return ExitUsage;
    }
    scriptOperand = first;
  }
  const auto option = [&line](const char* name) {
    const auto found = line.options.find(name);
    return found == line.options.end() ? nullptr : &found->second;
  };
  if (action != Action::Set) {
    for (const char* name : {"--message", "--from", "--to", "--external-message", "--known-contacts-only"}) {
      if (option(name)) {
        writeLine(io.err, Localization::formatString(IDS_TOOL_OOO_ONLY_WITH_SET, wide(name)));
        return ExitUsage;
      }
    }
  }

  timezone::ZTimeZone zone;
  if (!details::zoneOf(line, zone, io)) return ExitUsage;

  // Everything the command line says is checked before the mailbox is touched.
  Sieve::OutOfOfficeParams asked;
  int64_t from = 0, to = 0;
  if (action == Action::Set) {
    const std::string* message = option("--message");
    if (!message) {
      writeLine(io.err, Localization::getString(IDS_TOOL_OOO_NEEDS_MESSAGE));
      return ExitUsage;
    }
    const std::string* fromText = option("--from");
    const std::string* toText = option("--to");
    if (!fromText != !toText) {
      writeLine(io.err, Localization::getString(IDS_TOOL_OOO_NEEDS_BOTH_ENDS));
      return ExitUsage;
    }
    if (fromText) {
      for (const std::string* text : {fromText, toText}) {
        if (!details::parseWallClock(*text, zone, text == fromText ? from : to)) {
          writeLine(io.err, Localization::formatString(IDS_TOOL_OOO_BAD_TIME, wide(*text)));
          return ExitUsage;
        }
      }
      if (from >= to) {
        writeLine(io.err, Localization::formatString(IDS_TOOL_OOO_START_NOT_BEFORE_END, wide(*fromText), wide(*toText)));
        return ExitUsage;
      }
    }
    if (option("--known-contacts-only") && !option("--external-message")) {
      writeLine(io.err, Localization::getString(IDS_TOOL_OOO_CONTACTS_NEED_EXTERNAL));
      return ExitUsage;
    }
    asked.message = details::trimmed(wide(*message));
    asked.rangeEnabled = fromText != nullptr;
  }

  MailboxTarget target;
  Sieve::SieveRules rules;
  if (const int code = target.open(line, scriptOperand, io); code != ExitSuccess) return code;
  if (const int code = target.load(rules, io); code != ExitSuccess) return code;

  switch (action) {
    case Action::Show:
      details::showOutOfOffice(rules, zone, io);
      return ExitSuccess;
    case Action::Switch: {
      // The rule's own flag decides; without the rule the reply is off already.
      const Sieve::SieveRule* rule = rules.findRuleByName(Sieve::kOutOfOfficeRuleName);
      const bool present = Sieve::isOutOfOfficeRule(rule);
      if (present ? rule->enabled != on : on) rules.setOutOfOfficeEnabled(on);
      break;
    }
    case Action::Set: {
      Sieve::OutOfOfficeParams params;
      rules.getOutOfOffice(params);  // the present record, or the defaults
      params.enabled = true;
      params.message = asked.message;
      params.rangeEnabled = asked.rangeEnabled;
      if (asked.rangeEnabled) {
        params.rangeStart = Sieve::utcFieldsOfSeconds(from);
        params.rangeEnd = Sieve::utcFieldsOfSeconds(to);
      }
      if (const std::string* external = option("--external-message")) {
        params.externalSupported = true;
        params.externalEnabled = true;
        params.externalBody = details::trimmed(wide(*external));
        params.externalKnownContactsOnly = option("--known-contacts-only") != nullptr;
      }
      rules.setOutOfOffice(params);
      break;
    }
  }
  return target.save(rules, io);
}

}  // namespace rules
}  // namespace zelvo
