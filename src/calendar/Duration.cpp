#include "calendar/Duration.h"

#include <cstdio>

namespace zelvo::timezone {

namespace {
uint64_t magnitude(int64_t seconds) {
  return seconds < 0 ? 0 - static_cast<uint64_t>(seconds) : static_cast<uint64_t>(seconds);
}

template <class Char>
Duration parseIsoText(const std::basic_string<Char>& text) {
  size_t pos = 0;
  bool negative = false;
  if (pos < text.size() && (text[pos] == '+' || text[pos] == '-')) negative = text[pos++] == '-';
  if (pos >= text.size() || text[pos] != 'P') return Duration();
  ++pos;
  int64_t total = 0;
  int64_t number = 0;
  for (; pos < text.size(); ++pos) {
    const Char c = text[pos];
    if (c >= '0' && c <= '9') {
      // A run that would overflow is malformed rather than a huge span.
      if (number > (INT64_MAX - 9) / 10) return Duration();
      number = number * 10 + (c - '0');
      continue;
    }
    int64_t unit = 0;
    switch (c) {
      case 'W': unit = 604800; break;
      case 'D': unit = 86400; break;
      case 'H': unit = 3600; break;
      case 'M': unit = 60; break;
      case 'S': unit = 1; break;
      default: break;
    }
    if (unit != 0) {
      if (number > (INT64_MAX / 2) / unit) return Duration();
      total += number * unit;
    }
    number = 0;
  }
  return Duration(negative ? -total : total);
}
}  // namespace

Duration::Duration(int64_t days, int64_t hours, int64_t minutes, int64_t seconds, bool negative) noexcept {
  const int64_t total = days * 86400 + hours * 3600 + minutes * 60 + seconds;
  seconds_ = negative ? -total : total;
}

int64_t Duration::hours() const noexcept {
  return isValid() ? static_cast<int64_t>(magnitude(seconds_) / 3600) : 0;
}
int Duration::minutes() const noexcept {
  return isValid() ? static_cast<int>(magnitude(seconds_) / 60 % 60) : 0;
}
int Duration::seconds() const noexcept {
  return isValid() ? static_cast<int>(magnitude(seconds_) % 60) : 0;
}

Duration& Duration::operator+=(Duration other) noexcept {
  if (!isValid() || !other.isValid()) {
    seconds_ = notADuration;
  } else {
    seconds_ += other.seconds_;
  }
  return *this;
}

Duration& Duration::operator-=(Duration other) noexcept {
  if (!isValid() || !other.isValid()) {
    seconds_ = notADuration;
  } else {
    seconds_ -= other.seconds_;
  }
  return *this;
}

std::string Duration::formatOffset() const {
  if (!isValid()) return std::string();
  char buffer[48];
  const char sign = seconds_ < 0 ? '-' : '+';
  if (seconds() != 0) {
    std::snprintf(buffer, sizeof buffer, "%c%02lld%02d%02d", sign, static_cast<long long>(hours()), minutes(), seconds());
  } else {
    std::snprintf(buffer, sizeof buffer, "%c%02lld%02d", sign, static_cast<long long>(hours()), minutes());
  }
  return buffer;
}

std::string Duration::formatIso() const {
  if (!isValid()) return std::string();
  const uint64_t all = magnitude(seconds_);
  const unsigned long long days = all / 86400;
  const unsigned long long hours = all / 3600 % 24;
  char buffer[80];
  int length = std::snprintf(buffer, sizeof buffer, "%cP", seconds_ < 0 ? '-' : '+');
  if (days != 0) length += std::snprintf(buffer + length, sizeof buffer - length, "%lluD", days);
  length += std::snprintf(buffer + length, sizeof buffer - length, "T%02lluH%02dM", hours, minutes());
  if (seconds() != 0) std::snprintf(buffer + length, sizeof buffer - length, "%02dS", seconds());
  return buffer;
}

Duration Duration::parseIso(const std::string& text) { return parseIsoText(text); }
Duration Duration::parseIso(const std::wstring& text) { return parseIsoText(text); }

}  // namespace zelvo::timezone
