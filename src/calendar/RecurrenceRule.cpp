#include "calendar/RecurrenceRule.h"

#include <cstdio>
#include <cstring>

namespace zelvo::timezone {

namespace {
const char* const frequencyNames[] = {"YEARLY", "MONTHLY", "WEEKLY", "DAILY", "HOURLY", "MINUTELY", "SECONDLY"};
const char* const weekDayNames[] = {"MO", "TU", "WE", "TH", "FR", "SA", "SU"};

char upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

bool equalsNoCase(const std::string& a, const char* b) {
  const size_t length = std::strlen(b);
  if (a.size() != length) return false;
  for (size_t i = 0; i < length; ++i) {
    if (upper(a[i]) != upper(b[i])) return false;
  }
  return true;
}

std::vector<std::string> split(const std::string& text, const char* separators) {
  std::vector<std::string> parts;
  std::string current;
  for (char c : text) {
    if (std::strchr(separators, c) != nullptr) {
      parts.push_back(current);
      current.clear();
    } else {
      current += c;
    }
  }
  parts.push_back(current);
  return parts;
}

// A whole text of an optional sign and decimal digits that fits in 32 bits.
bool readInt(const std::string& text, int32_t& out) {
  size_t pos = 0;
  bool negative = false;
  if (pos < text.size() && (text[pos] == '+' || text[pos] == '-')) negative = text[pos++] == '-';
  if (pos >= text.size()) return false;
  int64_t value = 0;
  for (; pos < text.size(); ++pos) {
    if (text[pos] < '0' || text[pos] > '9') return false;
    value = value * 10 + (text[pos] - '0');
    if (value > INT32_MAX) return false;
  }
  out = static_cast<int32_t>(negative ? -value : value);
  return true;
}

bool readIntList(const std::string& text, std::vector<int32_t>& out) {
  out.clear();
  for (const std::string& item : split(text, ",")) {
    int32_t value = 0;
    if (!readInt(item, value)) return false;
    out.push_back(value);
  }
  return true;
}

int weekDayNumber(const std::string& text) {
  for (int i = 0; i < 7; ++i) {
    if (equalsNoCase(text, weekDayNames[i])) return i + 1;
  }
  return 0;
}

// "MO", "1MO", "-2FR", "+3SU".
bool readDayItem(const std::string& text, int32_t& out) {
  if (text.size() < 2) return false;
  const int weekDay = weekDayNumber(text.substr(text.size() - 2));
  if (weekDay == 0) return false;
  int32_t ordinal = 0;
  const std::string number = text.substr(0, text.size() - 2);
  if (!number.empty() && !readInt(number, ordinal)) return false;
  if (ordinal < -366 || ordinal > 366) return false;
  out = RecurrenceRule::packDay(ordinal, weekDay);
  return true;
}

// A date or a time, as a UTC value. A date alone stands for that day at 00:00 UTC, so that
// it is written back as the same date wherever the machine is.
DateTime readUntil(const std::string& text) {
  DateTime until = DateTime::parse(text);
  if (!until.isValid()) return until;
  if (until.isDateOnly() && until.kind() == DateTime::kindFloating) {
    const TimeParts parts = until.wallClock();
    return DateTime(parts.day, parts.month + 1, parts.year + 1900);
  }
  until.setFixedOffset(Duration(0));
  return until;
}

void appendList(std::string& text, const char* key, const std::vector<int32_t>& values) {
  if (values.empty()) return;
  text += ';';
  text += key;
  text += '=';
  char buffer[16];
  for (size_t i = 0; i < values.size(); ++i) {
    if (i != 0) text += ',';
    std::snprintf(buffer, sizeof buffer, "%i", values[i]);
    text += buffer;
  }
}

template <class Char>
std::string narrow(const std::basic_string<Char>& text) {
  std::string result;
  result.reserve(text.size());
  for (Char c : text) {
    // Anything outside ASCII cannot belong to a rule; a '?' keeps it from matching.
    result += (c >= 0 && c < 0x80) ? static_cast<char>(c) : '?';
  }
  return result;
}
}  // namespace

const char* RecurrenceRule::frequencyName(int32_t frequency) {
  return frequency >= yearly && frequency <= secondly ? frequencyNames[frequency] : nullptr;
}

const char* RecurrenceRule::weekDayName(int weekDay) {
  return weekDay >= 1 && weekDay <= 7 ? weekDayNames[weekDay - 1] : nullptr;
}

RecurrenceRule RecurrenceRule::parse(const std::string& text) {
  RecurrenceRule rule;
  bool vCalendar = false;
  for (const std::string& part : split(text, ";")) {
    if (!part.empty() && part.find('=') == std::string::npos) vCalendar = true;
  }
  rule.valid = vCalendar ? rule.readVCalendar(text) : rule.readRrule(text);
  return rule;
}

RecurrenceRule RecurrenceRule::parse(const std::wstring& text) { return parse(narrow(text)); }

bool RecurrenceRule::readRrule(const std::string& text) {
  for (const std::string& part : split(text, ";")) {
    const size_t equals = part.find('=');
    if (equals == std::string::npos) continue;
    const std::string key = part.substr(0, equals);
    const std::string value = part.substr(equals + 1);
    if (equalsNoCase(key, "FREQ")) {
      frequency = frequencyNone;
      for (int32_t i = yearly; i <= secondly; ++i) {
        if (equalsNoCase(value, frequencyNames[i])) frequency = i;
      }
      if (frequency == frequencyNone) return false;
    } else if (equalsNoCase(key, "UNTIL")) {
      until = readUntil(value);
      if (!until.isValid()) return false;
    } else if (equalsNoCase(key, "X-UNTIL")) {
      extendedUntil = readUntil(value);
      if (!extendedUntil.isValid()) return false;
    } else if (equalsNoCase(key, "COUNT")) {
      if (!readInt(value, count)) return false;
    } else if (equalsNoCase(key, "INTERVAL")) {
      if (!readInt(value, interval)) return false;
    } else if (equalsNoCase(key, "BYSECOND")) {
      if (!readIntList(value, bySecond)) return false;
    } else if (equalsNoCase(key, "BYMINUTE")) {
      if (!readIntList(value, byMinute)) return false;
    } else if (equalsNoCase(key, "BYHOUR")) {
      if (!readIntList(value, byHour)) return false;
    } else if (equalsNoCase(key, "BYMONTHDAY")) {
      if (!readIntList(value, byMonthDay)) return false;
    } else if (equalsNoCase(key, "BYYEARDAY")) {
      if (!readIntList(value, byYearDay)) return false;
    } else if (equalsNoCase(key, "BYWEEKNO")) {
      if (!readIntList(value, byWeekNo)) return false;
    } else if (equalsNoCase(key, "BYMONTH")) {
      if (!readIntList(value, byMonth)) return false;
    } else if (equalsNoCase(key, "BYSETPOS")) {
      if (!readIntList(value, bySetPos)) return false;
    } else if (equalsNoCase(key, "BYDAY")) {
      byDay.clear();
      for (const std::string& item : split(value, ",")) {
        int32_t day = 0;
        if (!readDayItem(item, day)) return false;
        byDay.push_back(day);
      }
    } else if (equalsNoCase(key, "WKST")) {
      weekStart = weekDayNumber(value);
      if (weekStart == 0) return false;
    }
  }
  return frequency != frequencyNone;
}

bool RecurrenceRule::readVCalendar(const std::string& text) {
  std::vector<std::string> words;
  for (const std::string& word : split(text, " \t")) {
    if (!word.empty()) words.push_back(word);
  }
  if (words.empty() || words[0].size() >= 20) return false;
  char code[20] = {};
  int number = 1;
  if (std::sscanf(words[0].c_str(), "%19[A-Z]%d", code, &number) < 1) return false;
  const std::string kind = code;
  if (kind == "M") {
    frequency = minutely;
  } else if (kind == "D") {
    frequency = daily;
  } else if (kind == "W") {
    frequency = weekly;
  } else if (kind == "MP" || kind == "MD") {
    frequency = monthly;
  } else if (kind == "YM" || kind == "YD") {
    frequency = yearly;
  } else {
    return false;
  }
  interval = number;
  // Ordinals of "MP" wait for the weekdays that follow them.
  std::vector<int> ordinals;
  bool ordinalsUsed = false;
  for (size_t i = 1; i < words.size(); ++i) {
    const std::string& word = words[i];
    if (word.size() > 8) {
      until = readUntil(word);
      continue;
    }
    int32_t value = 0;
    if (word[0] == '#') {
      if (readInt(word.substr(1), value)) count = value;
      continue;
    }
    // "3+" and "1-" count from the start or from the end.
    int32_t ordinal = 0;
    const char last = word.back();
    const bool signedNumber = (last == '+' || last == '-') && readInt(word.substr(0, word.size() - 1), ordinal);
    if (signedNumber && last == '-') ordinal = -ordinal;
    if (kind == "W") {
      if (const int weekDay = weekDayNumber(word)) byDay.push_back(packDay(0, weekDay));
    } else if (kind == "MP") {
      if (signedNumber) {
        if (ordinalsUsed) ordinals.clear();
        ordinalsUsed = false;
        ordinals.push_back(ordinal);
      } else if (const int weekDay = weekDayNumber(word)) {
        if (ordinals.empty()) byDay.push_back(packDay(0, weekDay));
        for (int n : ordinals) byDay.push_back(packDay(n, weekDay));
        ordinalsUsed = true;
      }
    } else if (kind == "MD") {
      if (equalsNoCase(word, "LD")) {
        byMonthDay.push_back(-1);
      } else if (signedNumber) {
        byMonthDay.push_back(ordinal);
      } else if (readInt(word, value)) {
        byMonthDay.push_back(value);
      }
    } else if (kind == "YM") {
      if (readInt(word, value)) byMonth.push_back(value);
    } else if (kind == "YD") {
      if (signedNumber) {
        byYearDay.push_back(ordinal);
      } else if (readInt(word, value)) {
        byYearDay.push_back(value);
      }
    }
  }
  return true;
}

std::string RecurrenceRule::toString() const {
  const char* name = frequencyName(frequency);
  if (!valid || name == nullptr) return std::string();
  std::string text = "FREQ=";
  text += name;
  char buffer[32];
  if (extendedUntil.isValid()) text += ";X-UNTIL=" + extendedUntil.format(0);
  if (until.isValid()) {
    text += ";UNTIL=" + until.format(0);
  } else if (count > 0) {
    std::snprintf(buffer, sizeof buffer, ";COUNT=%i", count);
    text += buffer;
  }
  if (interval > 1) {
    std::snprintf(buffer, sizeof buffer, ";INTERVAL=%i", interval);
    text += buffer;
  }
  appendList(text, "BYMONTH", byMonth);
  appendList(text, "BYWEEKNO", byWeekNo);
  appendList(text, "BYYEARDAY", byYearDay);
  appendList(text, "BYMONTHDAY", byMonthDay);
  if (!byDay.empty()) {
    text += ";BYDAY=";
    for (size_t i = 0; i < byDay.size(); ++i) {
      const char* day = weekDayName(dayWeekDay(byDay[i]));
      if (day == nullptr) return std::string();
      if (i != 0) text += ',';
      if (dayOrdinal(byDay[i]) != 0) {
        std::snprintf(buffer, sizeof buffer, "%i", dayOrdinal(byDay[i]));
        text += buffer;
      }
      text += day;
    }
  }
  appendList(text, "BYHOUR", byHour);
  appendList(text, "BYMINUTE", byMinute);
  appendList(text, "BYSECOND", bySecond);
  appendList(text, "BYSETPOS", bySetPos);
  if (weekStart != monday) {
    const char* day = weekDayName(weekStart);
    if (day == nullptr) return std::string();
    text += ";WKST=";
    text += day;
  }
  return text;
}

}  // namespace zelvo::timezone
