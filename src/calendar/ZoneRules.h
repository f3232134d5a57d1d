// What a DateTime needs from a time zone: the UTC offset in force at a moment. The full
// zone model implements this; a fixed offset (UTC among them) is enough for everything
// that does not follow daylight saving time.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "calendar/Duration.h"

namespace zelvo::timezone {

class ZoneRules {
 public:
  virtual ~ZoneRules() = default;
  // An invalid zone makes a DateTime fall back to the machine's local time.
  virtual bool isValid() const = 0;
  // The offset of the wall clock from UTC at the UTC moment given in seconds since 1970.
  virtual Duration offsetAt(int64_t utcSeconds) const = 0;
  virtual std::string zoneName() const = 0;
};

class FixedOffsetZone : public ZoneRules {
 public:
  FixedOffsetZone(std::string name, Duration offset) : name_(std::move(name)), offset_(offset) {}
  bool isValid() const override { return !name_.empty() && offset_.isValid(); }
  Duration offsetAt(int64_t) const override { return offset_; }
  std::string zoneName() const override { return name_; }

 private:
  std::string name_;
  Duration offset_;
};

// One shared instance, named "UTC".
const std::shared_ptr<const ZoneRules>& utcZone();

}  // namespace zelvo::timezone
