// The local options are read on every spam command, and the folder names are filled at
// start-up: both sit on paths that the host times.
#include <benchmark/benchmark.h>

#include <memory>

#include "addin/StringLocalizator.h"
#include "config/RegistryConfig.h"
#include "platform/SettingsStore.h"

namespace {

using namespace zelvo;

// The settings in memory, with the product key and the option set as a user would have it.
struct Settings {
  Settings() {
    previous = platform::setSettingsBackend(std::make_shared<platform::MemorySettings>());
    HKEY key = nullptr;
    RegCreateKeyExW(HKEY_CURRENT_USER, config::RegistryConfig::kProductKey, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                    &key, nullptr);
    const DWORD off = 0;
    RegSetValueExW(key, config::kConfirmMarkAsSpam, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&off), sizeof off);
    RegCloseKey(key);
  }
  ~Settings() { platform::setSettingsBackend(previous); }
  std::shared_ptr<platform::SettingsBackend> previous;
};

void BM_ReadLocalOption(benchmark::State& state) {
  Settings settings;
  const config::RegistryConfig config(config::RegistryConfig::systemRoots());
  for (auto _ : state) benchmark::DoNotOptimize(config::getConfirmMarkAsSpam(config));
}
BENCHMARK(BM_ReadLocalOption);

void BM_FillFolderNames(benchmark::State& state) {
  Settings settings;
  for (auto _ : state) {
    addin::StringLocalizator localizator(16);
    std::wstring text;
    localizator.getStrings(addin::kInboxFolder, text);
    benchmark::DoNotOptimize(text);
  }
}
BENCHMARK(BM_FillFolderNames);

}  // namespace

BENCHMARK_MAIN();
