// Opening a folder's property pages reads its features, access list (marking delegates'
// entries) and synchronisation mode; this happens inside the host's folder-properties
// event. Measured against the reference store with 10, 100 and 1,000 grantees and as many
// delegates, and the address check the delegate and sender dialogs run per entry.
#include <benchmark/benchmark.h>

#include <string>

#include "base/AddressCheck.h"
#include "config/FolderSettings.h"
#include "store/reference/ReferenceStore.h"

namespace {

ReferenceStore::Mailbox mailboxWith(int grantees) {
  ReferenceStore::Mailbox m;
  ReferenceStore::MailboxFolder folder;
  folder.path = L"INBOX";
  folder.displayPath = L"Inbox";
  folder.features = {0, 1, 2, 6};
  const wchar_t* const rights[] = {L"lr", L"lrswid", L"lrswicda", L"lrsw"};
  for (int i = 0; i < grantees; ++i) {
    const std::wstring name = L"user" + std::to_wstring(i) + L"@example.com";
    folder.access.push_back({i % 7 == 0 ? 0x8000u : 0u, name, rights[i % 4]});
    m.delegates.push_back({static_cast<uint32_t>(i + 1), L"User" + std::to_wstring(i * 2) + L"@Example.com", name, false});
  }
  m.folders = {folder};
  return m;
}

void BM_FolderSettingsReset(benchmark::State& state) {
  ReferenceStore::Store store(mailboxWith(static_cast<int>(state.range(0))));
  const ComRef<IFolderConfig> folder = store.folderConfig(L"INBOX");
  for (auto _ : state) {
    zelvo::config::FolderSettings settings;
    settings.readFeatures(folder.get());
    settings.reset(folder.get());
    benchmark::DoNotOptimize(settings.dirty());
  }
}
BENCHMARK(BM_FolderSettingsReset)->Arg(10)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond);

void BM_FolderSettingsApply(benchmark::State& state) {
  ReferenceStore::Store store(mailboxWith(static_cast<int>(state.range(0))));
  const ComRef<IFolderConfig> folder = store.folderConfig(L"INBOX");
  zelvo::config::FolderSettings settings;
  settings.readFeatures(folder.get());
  settings.reset(folder.get());
  for (auto _ : state) settings.apply(folder.get());
}
BENCHMARK(BM_FolderSettingsApply)->Arg(10)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond);

void BM_AddressCheck(benchmark::State& state) {
  const std::wstring address = state.range(0) == 0 ? L"jane.doe@mail.example.com"
                                                   : std::wstring(200, L'x') + L"@" + std::wstring(200, L'y') + L".com";
  for (auto _ : state) benchmark::DoNotOptimize(zelvo::checkEmailAddress(address));
}
BENCHMARK(BM_AddressCheck)->Arg(0)->Arg(1);

}  // namespace

BENCHMARK_MAIN();
