// The UTC offset of a moment in a named zone, as formatting and comparison ask for it:
// cold (a fresh zone and an empty yearly cache each time), through the yearly cache, and
// the C library's localtime_r over the same moments with TZ set to the same zone.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include "calendar/DateTime.h"
#include "calendar/TimeZone.h"

using namespace zelvo::timezone;

namespace {

const char* const zoneNames[] = {"Europe/Berlin", "America/New_York", "Australia/Sydney"};

// Moments spread over 2000 to 2039, hours apart, so that every lookup is a new one.
const std::vector<int64_t>& moments() {
  static const std::vector<int64_t> values = [] {
    std::vector<int64_t> out;
    const int64_t start = 946684800;  // 1 January 2000
    for (int64_t i = 0; i < 4096; ++i) out.push_back(start + i * 308881);
    return out;
  }();
  return values;
}

void BM_OffsetCold(benchmark::State& state) {
  const char* name = zoneNames[state.range(0)];
  const std::vector<int64_t>& times = moments();
  size_t i = 0;
  for (auto _ : state) {
    details::clearYearlyCache();
    const auto zone = std::make_shared<ZTimeZone>(findTimeZone(std::string(name)));
    benchmark::DoNotOptimize(DateTime::fromUtc(times[i++ % times.size()], zone).offset());
  }
  state.SetLabel(name);
}

// The zone is found once; each iteration asks a new DateTime, so the DateTime's own
// cached offset never answers and the yearly cache does.
void BM_OffsetCached(benchmark::State& state) {
  const char* name = zoneNames[state.range(0)];
  const auto zone = std::make_shared<ZTimeZone>(findTimeZone(std::string(name)));
  const std::vector<int64_t>& times = moments();
  for (int64_t t : times) DateTime::fromUtc(t, zone).offset();  // fill the cache for these years
  size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(DateTime::fromUtc(times[i++ % times.size()], zone).offset());
  }
  state.SetLabel(name);
}

// Only the zone lookup, without building a DateTime around it.
void BM_ZoneOffsetAtCached(benchmark::State& state) {
  const char* name = zoneNames[state.range(0)];
  const ZTimeZone zone = findTimeZone(std::string(name));
  const std::vector<int64_t>& times = moments();
  for (int64_t t : times) zone.offsetAt(t);
  size_t i = 0;
  for (auto _ : state) benchmark::DoNotOptimize(zone.offsetAt(times[i++ % times.size()]));
  state.SetLabel(name);
}

void BM_LocaltimeR(benchmark::State& state) {
  const char* name = zoneNames[state.range(0)];
  setenv("TZ", name, 1);
  tzset();
  const std::vector<int64_t>& times = moments();
  size_t i = 0;
  for (auto _ : state) {
    const std::time_t t = static_cast<std::time_t>(times[i++ % times.size()]);
    std::tm parts{};
    localtime_r(&t, &parts);
    benchmark::DoNotOptimize(parts.tm_gmtoff);
  }
  unsetenv("TZ");
  tzset();
  state.SetLabel(name);
}

}  // namespace

BENCHMARK(BM_OffsetCold)->DenseRange(0, 2);
BENCHMARK(BM_OffsetCached)->DenseRange(0, 2);
BENCHMARK(BM_ZoneOffsetAtCached)->DenseRange(0, 2);
BENCHMARK(BM_LocaltimeR)->DenseRange(0, 2);

BENCHMARK_MAIN();
