// The session's stores as the folder picker of the rules walks them, against the host stand-in:
// which stores are offered, with which names, and the picker over them.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "addin/SessionMessageStores.h"
#include "store/StoreConfig.h"
#include "testing/RecordingDialogView.h"
#include "testing/TestEnvironment.h"
#include "testing/outlook/StandIn.h"
#include "ui/RuleMoveToDialog.h"

namespace {

using AddIn::Utils::SessionMessageStores;
using OutlookStandIn::StandIn;

// Two accounts with a foreign store between them; the first account has a public store.
const char* const kProfile =
    "version 16.0.5095.1000\n"
    "store private name=\"Work\" "
    "service={0A000000-0000-0000-0000-000000000001} "
    "key={0B000000-0000-0000-0000-000000000001} default\n"
    "store foreign name=\"Personal Folders\" "
    "key={0F000000-0000-0000-0000-000000000001}\n"
    "store public name=\"Public Folders - Work\" "
    "service={0A000000-0000-0000-0000-000000000001} "
    "key={0B000000-0000-0000-0000-000000000002}\n"
    "store private name=\"Home\" "
    "service={0A000000-0000-0000-0000-000000000002} "
    "key={0B000000-0000-0000-0000-000000000003}\n";

ReferenceStore::MailboxFolder folder(const std::wstring& path) {
  ReferenceStore::MailboxFolder f;
  f.path = f.displayPath = path;
  f.flags = 3;
  return f;
}

void setFolders(ReferenceStore::Store& store, const std::wstring& rootName, const std::vector<std::wstring>& paths) {
  ReferenceStore::Mailbox mailbox = store.mailbox();
  mailbox.rootName = rootName;
  mailbox.folders.clear();
  for (const std::wstring& path : paths) mailbox.folders.push_back(folder(path));
  store.setMailbox(mailbox);
}

TEST(SessionMessageStores, OffersTheProductsStoresInTableOrderWithTheirOwnConfigs) {
  StandIn host(OutlookStandIn::parseProfile(kProfile));
  SessionMessageStores walk(host.nameSpace().get());
  const auto stores = walk.messageStores();
  ASSERT_EQ(stores.size(), 3u);
  const std::wstring names[] = {L"Work", L"Public Folders - Work", L"Home"};
  const size_t profileIndex[] = {0, 2, 3};
  for (size_t i = 0; i < stores.size(); ++i) {
    EXPECT_EQ(stores[i].name, names[i]);
    ComRef<IGlobalConfig> config;
    ::details::getConfigForObject(stores[i].object.get(), config.put());
    EXPECT_EQ(config.get(), host.store(profileIndex[i]).globalConfig().get()) << i;
  }
  EXPECT_EQ(host.liveTables(), 0u);
}

TEST(SessionMessageStores, ThePickerShowsTheFoldersOfTheAccountsStoresOnly) {
  StandIn host(OutlookStandIn::parseProfile(kProfile));
  setFolders(host.store(0), L"", {L"INBOX", L"INBOX/Lists"});
  setFolders(host.store(2), L"#public", {L"News"});
  setFolders(host.store(3), L"", {L"Home folder"});
  SessionMessageStores walk(host.nameSpace().get());
  zelvo::testing::RecordingDialogView view;
  std::wstring path = L"#public/News";
  const ComRef<IGlobalConfig> config = host.store(0).globalConfig();
  zelvo::ui::RuleMoveToDialog dialog(view, walk, config.get(), path);
  view.attach(dialog);
  dialog.initDialog();
  ASSERT_TRUE(view.failures().empty()) << zelvo::testing::utf8(view.failures()[0].text);

  constexpr auto kTree = zelvo::ui::RuleMoveToDialog::kTree;
  const auto& top = view.tree(kTree).top;
  ASSERT_EQ(top.size(), 2u);
  EXPECT_EQ(view.treeText(kTree, top[0]), L"Work");
  EXPECT_EQ(view.treeText(kTree, top[1]), L"Public Folders - Work");
  const zelvo::ui::RuleFolder* selected = dialog.folderOf(view.treeSelection(kTree));
  ASSERT_NE(selected, nullptr);
  EXPECT_EQ(selected->path, L"#public/News");
  EXPECT_EQ(view.treeParent(kTree, view.treeSelection(kTree)), top[1]);
}

}  // namespace
