// Checked narrowing of sizes to the length arguments of APIs.
#pragma once

#include <cstdint>
#include <limits>
#include <stdexcept>
#include <type_traits>
#include <typeinfo>

#include <boost/format.hpp>

namespace details {
std::string typeDisplayName(const std::type_info& type);

[[noreturn]] inline void throwSizeOverflow(const std::type_info& source, const std::type_info& target,
                                           uint64_t value) {
  boost::format text("%s overflow occurred. Source type: %s, target type: %s, source value: 0x%x.");
  text % "size_cast" % typeDisplayName(source) % typeDisplayName(target) % value;
  throw std::overflow_error(text.str());
}
}  // namespace details

// Returns value as Target; a value above Target's largest throws std::overflow_error.
// A negative value of a signed source is compared as its sign-extended 64-bit pattern,
// so that it overflows an unsigned or narrower target.
template <class Target, class Source>
Target size_cast(Source value) {
  static_assert(std::is_integral<Target>::value && std::is_integral<Source>::value, "size_cast takes integers");
  const auto bits = static_cast<uint64_t>(static_cast<int64_t>(value));
  const auto widened = std::is_signed<Source>::value ? bits : static_cast<uint64_t>(value);
  if (widened > static_cast<uint64_t>(std::numeric_limits<Target>::max()))
    details::throwSizeOverflow(typeid(Source), typeid(Target), widened);
  return static_cast<Target>(value);
}
