// The folder picker of a fileinto over reference stores: which stores and folders the tree shows,
// in which shape, which can be chosen, and the path OK gives back.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "base/Guid.h"
#include "store/reference/ReferenceStore.h"
#include "testing/RecordingDialogView.h"
#include "ui/RuleMoveToDialog.h"

namespace {

using zelvo::testing::RecordingDialogView;
using zelvo::ui::RuleFolder;
using zelvo::ui::RuleMoveToDialog;
using zelvo::ui::TreeItem;
namespace notify = zelvo::ui::notify;

constexpr auto kTree = RuleMoveToDialog::kTree;
constexpr auto kIdOk = zelvo::ui::kIdOk;
constexpr auto kNoTreeItem = zelvo::ui::kNoTreeItem;

// Folder entry flags of the store service.
constexpr uint32_t kChoosable = 0x3;    // may be chosen and may take messages
constexpr uint32_t kNoSelect = 0x2;     // bit 0 clear: only a parent
constexpr uint32_t kNoInferiors = 0x1;  // bit 1 clear: not chosen

Guid account(unsigned char n) {
  GUID value{};
  value.Data1 = 0x5EC0000u + n;
  return Guid(value);
}

struct StoreSetup {
  std::wstring name;
  Guid service;
  std::wstring rootName;
  std::vector<ReferenceStore::MailboxFolder> folders;
};

ReferenceStore::MailboxFolder folder(const std::wstring& path, const std::wstring& displayPath, uint32_t flags) {
  ReferenceStore::MailboxFolder f;
  f.path = path;
  f.displayPath = displayPath;
  f.flags = flags;
  return f;
}

// The session's stores: reference stores with their names.
class Stores : public zelvo::ui::MessageStoreSession {
 public:
  void add(const StoreSetup& setup) {
    ReferenceStore::Mailbox mailbox;
    mailbox.serviceUid = setup.service;
    mailbox.rootName = setup.rootName;
    mailbox.folders = setup.folders;
    stores_.push_back(std::make_unique<ReferenceStore::Store>(mailbox));
    names_.push_back(setup.name);
  }
  ReferenceStore::Store& store(std::size_t i) { return *stores_[i]; }
  std::vector<Store> messageStores() override {
    std::vector<Store> result;
    for (std::size_t i = 0; i < stores_.size(); ++i) result.push_back({stores_[i]->mapiStore(), names_[i]});
    return result;
  }

 private:
  std::vector<std::unique_ptr<ReferenceStore::Store>> stores_;
  std::vector<std::wstring> names_;
};

class RuleMoveToTest : public ::testing::Test {
 protected:
  Stores stores;
  RecordingDialogView view;
  std::wstring path;
  std::unique_ptr<RuleMoveToDialog> dialog;

  void open(const std::wstring& present) {
    path = present;
    dialog = std::make_unique<RuleMoveToDialog>(view, stores, stores.store(0).globalConfig().get(), path);
    view.attach(*dialog);
    dialog->initDialog();
  }

  // The tree as text: one line per item, indented by depth, "-" marking a folder that cannot be
  // chosen, "+" an expanded item, and the path of each folder.
  std::vector<std::wstring> shape() const {
    std::vector<std::wstring> lines;
    walk(view.tree(kTree).top, L"", lines);
    return lines;
  }
  void walk(const std::vector<TreeItem>& items, const std::wstring& indent, std::vector<std::wstring>& lines) const {
    for (TreeItem item : items) {
      const auto& node = view.treeNode(kTree, item);
      std::wstring line = indent + node.setup.text;
      if (const RuleFolder* f = dialog->folderOf(item)) {
        line += L" <" + f->path + L">";
        if (!f->canChoose()) line += L" -";
        EXPECT_EQ(node.setup.overlay, f->canChoose() ? -1 : RuleMoveToDialog::kNotChosenOverlay) << line;
      } else {
        line += L" [" + std::to_wstring(node.setup.image) + L"]";
      }
      if (node.expanded) line += L" +";
      lines.push_back(line);
      walk(node.children, indent + L"  ", lines);
    }
  }
  TreeItem itemOf(const std::wstring& folderPath) const {
    for (const auto& [item, node] : view.tree(kTree).nodes) {
      const RuleFolder* f = dialog->folderOf(item);
      if (f && f->path == folderPath) return item;
    }
    return kNoTreeItem;
  }
};

using Lines = std::vector<std::wstring>;

TEST_F(RuleMoveToTest, ShowsEveryStoreOfTheAccountAndNoneOfAnother) {
  stores.add({L"Mailbox", account(1), L"", {folder(L"INBOX", L"Inbox", kChoosable)}});
  stores.add({L"Other account", account(2), L"", {folder(L"INBOX", L"Inbox", kChoosable)}});
  stores.add({L"Public Folders", account(1), L"#public", {folder(L"News", L"News", kChoosable)}});
  open(L"INBOX");
  EXPECT_EQ(shape(), (Lines{L"Mailbox [1] +", L"  Inbox <INBOX>", L"Public Folders [2] +", L"  News <#public/News>"}));
  EXPECT_EQ(view.tree(kTree).images, (std::vector<int>{261, 262, 263, 264}));
  EXPECT_TRUE(view.control(kTree).redraw);
}

TEST_F(RuleMoveToTest, AFolderOfAnotherNamespaceIsMarkedAndKeepsItsPathBelowTheRoot) {
  stores.add({L"Mailbox", account(1), L"", {}});
  stores.add({L"Shared",
              account(1),
              L"~anna@example.com",
              {folder(L"Projects/2026", L"Projects/2026", kChoosable), folder(L"Projects", L"Projects", kChoosable)}});
  open(L"~anna@example.com/Projects/2026");
  const TreeItem item = itemOf(L"~anna@example.com/Projects/2026");
  ASSERT_NE(item, kNoTreeItem);
  EXPECT_TRUE(dialog->folderOf(item)->flags & RuleFolder::kForeignNamespace);
  EXPECT_EQ(view.treeSelection(kTree), item);
  EXPECT_EQ(shape(), (Lines{L"Mailbox [1]", L"Shared [2] +", L"  Projects <~anna@example.com/Projects>",
                            L"    2026 <~anna@example.com/Projects/2026>"}));
}

TEST_F(RuleMoveToTest, ParentsComeFromTheListWhereverTheyStandAndUnchoosableOnesOnlyAsParents) {
  stores.add({L"Mailbox",
              account(1),
              L"",
              {
                  folder(L"INBOX/Lists/dev", L"Inbox/Lists/dev", kChoosable),
                  folder(L"Archive", L"Archive",
                         kNoSelect),  // no parent of any: not shown
                  folder(L"INBOX", L"Inbox", kChoosable),
                  folder(L"INBOX/Lists", L"Inbox/Lists", kNoSelect),
                  folder(L"INBOX/Lists/ops", L"Inbox/Lists/ops", kChoosable),
                  folder(L"Outbox", L"Outbox", kNoInferiors),
                  folder(L"Sent", L"Sent Items", kChoosable),
              }});
  open(L"Sent");
  EXPECT_EQ(shape(), (Lines{L"Mailbox [1] +", L"  Inbox <INBOX>", L"    Lists <INBOX/Lists> -",
                            L"      dev <INBOX/Lists/dev>", L"      ops <INBOX/Lists/ops>", L"  Sent Items <Sent>"}));
}

TEST_F(RuleMoveToTest, AFolderWhoseParentIsNotListedStopsTheTree) {
  stores.add({L"Mailbox",
              account(1),
              L"",
              {folder(L"INBOX", L"Inbox", kChoosable), folder(L"Gone/Child", L"Gone/Child", kChoosable)}});
  open(L"INBOX");
  ASSERT_EQ(view.failures().size(), 1u);
  EXPECT_EQ(view.failures()[0].code, E_UNEXPECTED);
  EXPECT_NE(view.failures()[0].text.find(L"Parent folder doesn't exist in the tree."), std::wstring::npos);
  EXPECT_TRUE(view.control(kTree).redraw) << "drawing comes back on after a failure";
}

TEST_F(RuleMoveToTest, OkGivesThePathOfTheChosenFolder) {
  stores.add({L"Mailbox",
              account(1),
              L"",
              {folder(L"INBOX", L"Inbox", kChoosable), folder(L"INBOX/Lists", L"Inbox/Lists", kNoSelect),
               folder(L"INBOX/Lists/dev", L"Inbox/Lists/dev", kChoosable)}});
  open(L"INBOX");
  EXPECT_TRUE(view.isEnabled(kIdOk));
  view.userSelectTreeItem(kTree, itemOf(L"INBOX/Lists/dev"));
  EXPECT_TRUE(view.isEnabled(kIdOk));
  dialog->command(kIdOk, notify::buttonClicked);
  EXPECT_EQ(view.result(), kIdOk);
  EXPECT_EQ(path, L"INBOX/Lists/dev");
}

TEST_F(RuleMoveToTest, AFolderThatCannotBeChosenKeepsTheDialogOpen) {
  stores.add({L"Mailbox",
              account(1),
              L"",
              {folder(L"INBOX", L"Inbox", kNoSelect), folder(L"INBOX/a", L"Inbox/a", kChoosable)}});
  open(L"INBOX/a");
  const TreeItem parent = itemOf(L"INBOX");
  view.userSelectTreeItem(kTree, parent);
  EXPECT_FALSE(view.isEnabled(kIdOk));
  dialog->command(kIdOk, notify::buttonClicked);
  EXPECT_FALSE(view.result());
  EXPECT_EQ(path, L"INBOX/a");
  EXPECT_EQ(view.treeSelection(kTree), parent);
  EXPECT_EQ(view.tree(kTree).lastEnsuredVisible, parent);

  // A store's own item has no folder either.
  view.userSelectTreeItem(kTree, view.tree(kTree).top[0]);
  EXPECT_FALSE(view.isEnabled(kIdOk));
}

TEST_F(RuleMoveToTest, APathThatNoLongerExistsSelectsNothing) {
  stores.add({L"Mailbox", account(1), L"", {folder(L"INBOX", L"Inbox", kChoosable)}});
  for (const std::wstring present : {L"Removed", L"inbox", L""}) {
    open(present);
    EXPECT_EQ(view.treeSelection(kTree), kNoTreeItem);
    EXPECT_FALSE(view.isEnabled(kIdOk));
    dialog->command(kIdOk, notify::buttonClicked);
    EXPECT_FALSE(view.result());
    EXPECT_EQ(path, present);
  }
}

TEST_F(RuleMoveToTest, RefreshReadsTheFolderListsAgain) {
  stores.add({L"Mailbox", account(1), L"", {folder(L"INBOX", L"Inbox", kChoosable)}});
  open(L"New");
  EXPECT_EQ(view.treeSelection(kTree), kNoTreeItem);
  auto mailbox = stores.store(0).mailbox();
  mailbox.folders.push_back(folder(L"New", L"New", kChoosable));
  stores.store(0).setMailbox(mailbox);
  dialog->command(RuleMoveToDialog::kRefresh, notify::buttonClicked);
  EXPECT_EQ(shape(), (Lines{L"Mailbox [1] +", L"  Inbox <INBOX>", L"  New <New>"}));
  EXPECT_EQ(view.treeSelection(kTree), itemOf(L"New"));
  EXPECT_TRUE(view.isEnabled(kIdOk));
}

TEST_F(RuleMoveToTest, AFailingStoreCallIsRaisedWithItsCode) {
  struct Case {
    ReferenceStore::Operation operation;
    std::size_t store;
  };
  const Case cases[] = {{ReferenceStore::Operation::GetServiceUid, 0},
                        {ReferenceStore::Operation::GetFolderList, 1},
                        {ReferenceStore::Operation::OpenProperty, 1},
                        {ReferenceStore::Operation::GetAllocator, 0}};
  for (const Case& c : cases) {
    SCOPED_TRACE(static_cast<int>(c.operation));
    Stores session;
    session.add({L"Mailbox", account(1), L"", {folder(L"INBOX", L"Inbox", kChoosable)}});
    session.add({L"Public", account(1), L"#public", {folder(L"News", L"News", kChoosable)}});
    RecordingDialogView v;
    std::wstring p = L"INBOX";
    ComRef<IGlobalConfig> config = session.store(0).globalConfig();
    session.store(c.store).failNext(c.operation, MAPI_E_NETWORK_ERROR);
    RuleMoveToDialog d(v, session, config.get(), p);
    v.attach(d);
    d.initDialog();
    ASSERT_EQ(v.failures().size(), 1u);
    EXPECT_EQ(v.failures()[0].code, MAPI_E_NETWORK_ERROR);
    EXPECT_FALSE(v.isEnabled(kIdOk));
  }
}

TEST(RuleFolder, FlagsOfAnEntry) {
  struct Case {
    ULONG entry;
    uint32_t flags;
    bool choosable;
  };
  const Case cases[] = {
      {0x3, 0, true}, {0x2, 0x10000, false}, {0x1, 0x7FFF, false}, {0x0, 0x17FFF, false}, {0xFFFFFFFF, 0, true}};
  for (const Case& c : cases) {
    FolderListEntry entry{c.entry, nullptr, nullptr};
    const RuleFolder f = RuleFolder::fromEntry(entry);
    EXPECT_EQ(f.flags, c.flags) << c.entry;
    EXPECT_EQ(f.canChoose(), c.choosable) << c.entry;
    EXPECT_EQ(f.path, L"");
  }
}

}  // namespace
