// A signed span of whole seconds, with one reserved value that means "no span".
#pragma once

#include <cstdint>
#include <string>

namespace zelvo::timezone {

class Duration {
 public:
  // The lowest 64-bit value; what a default construction gives. Sums and differences
  // with it give it back.
  static constexpr int64_t notADuration = INT64_MIN;

  constexpr Duration() noexcept = default;
  constexpr explicit Duration(int64_t seconds) noexcept : seconds_(seconds) {}
  // The parts are added up without sign and the sum negated when asked to.
  Duration(int64_t days, int64_t hours, int64_t minutes, int64_t seconds, bool negative) noexcept;

  constexpr bool isValid() const noexcept { return seconds_ != notADuration; }
  constexpr int64_t totalSeconds() const noexcept { return seconds_; }
  constexpr bool isNegative() const noexcept { return isValid() && seconds_ < 0; }

  // The parts of the span without its sign: whole hours, then minutes and seconds within.
  int64_t hours() const noexcept;
  int minutes() const noexcept;
  int seconds() const noexcept;

  Duration operator-() const noexcept { return isValid() ? Duration(-seconds_) : Duration(); }
  Duration& operator+=(Duration other) noexcept;
  Duration& operator-=(Duration other) noexcept;
  friend Duration operator+(Duration a, Duration b) noexcept { return a += b; }
  friend Duration operator-(Duration a, Duration b) noexcept { return a -= b; }

  // Plain comparisons of the counts: not a Duration sorts below every span.
  friend constexpr bool operator==(Duration a, Duration b) noexcept { return a.seconds_ == b.seconds_; }
  friend constexpr bool operator!=(Duration a, Duration b) noexcept { return a.seconds_ != b.seconds_; }
  friend constexpr bool operator<(Duration a, Duration b) noexcept { return a.seconds_ < b.seconds_; }
  friend constexpr bool operator>(Duration a, Duration b) noexcept { return a.seconds_ > b.seconds_; }
  friend constexpr bool operator<=(Duration a, Duration b) noexcept { return a.seconds_ <= b.seconds_; }
  friend constexpr bool operator>=(Duration a, Duration b) noexcept { return a.seconds_ >= b.seconds_; }

  // "+0130", or "-013005" when there are seconds; empty for not a Duration.
  std::string formatOffset() const;
  // ISO 8601 with an explicit sign, as the zone tables write it: "-PT04H30M", "+P1DT02H00M",
  // "+PT00H00M05S". Empty for not a Duration.
  std::string formatIso() const;
  // Optional sign, a mandatory "P", then runs of digits each closed by W, D, H, M or S;
  // any other character (such as "T") drops the running number. No "P" or an empty text
  // gives not a Duration.
  static Duration parseIso(const std::string& text);
  static Duration parseIso(const std::wstring& text);

 private:
  int64_t seconds_ = notADuration;
};

}  // namespace zelvo::timezone
