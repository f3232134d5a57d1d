#include "ui/RuleMoveToDialog.h"

#include <algorithm>
#include <vector>

#include "base/HResultException.h"

namespace zelvo::ui {

namespace details {
namespace {

std::wstring lastComponent(const std::wstring& path) {
  const std::size_t slash = path.rfind(L'/');
  return slash == std::wstring::npos ? path : path.substr(slash + 1);
}

}  // namespace
}  // namespace details

RuleMoveToDialog::RuleMoveToDialog(DialogView& view, MessageStoreSession& session, IGlobalConfig* config,
                                   std::wstring& path)
    : SieveEditDialogImpl(view), session_(session), config_(config), path_(path) {}

const RuleFolder* RuleMoveToDialog::folderOf(TreeItem item) const {
  const auto found = folders_.find(item);
  return found == folders_.end() ? nullptr : &found->second;
}

void RuleMoveToDialog::onInitDialog() {
  view().treeSetImages(kTree, {kFolderIcon, kMailboxIcon, kNamespaceIcon, kNotChosenIcon});
  updateOk();
  refreshFolderTree();
  selectPresentFolder();
}

void RuleMoveToDialog::refreshFolderTree() {
  RedrawOff quiet(view(), kTree);
  folders_.clear();
  view().treeClear(kTree);
  if (!config_) ZEL_HERE.raise(E_INVALIDARG);
  GUID mailbox{};
  ZEL_CHECK(config_->getServiceUid(&mailbox));
  for (const MessageStoreSession::Store& entry : session_.messageStores()) {
    details::MsgStore store;
    if (!store.initialize(entry, mailbox)) continue;
    const TreeItem root = createMsgStoreTree(store);
    if (root != kNoTreeItem) view().treeExpand(kTree, root);
  }
}

TreeItem RuleMoveToDialog::createMsgStoreTree(const details::MsgStore& store) {
  TreeItemSetup rootSpec;
  rootSpec.text = store.storeName;
  rootSpec.image = store.rootName.empty() ? kMailboxImage : kNamespaceImage;
  const TreeItem root = view().treeInsert(kTree, kTreeRoot, rootSpec);
  if (root == kNoTreeItem) return kNoTreeItem;

  // Every folder waits here until it is in the tree. One that can be chosen goes in at its place in
  // the list, or earlier as the parent of one before it; one that cannot be chosen only ever as a
  // parent. A parent may stand anywhere in the list.
  std::vector<Waiting> pending;
  pending.reserve(store.folders.size());
  for (const RuleFolder& listed : store.folders) {
    Waiting waiting{listed, false};
    if (!store.rootName.empty()) {
      waiting.folder.path = store.rootName + L"/" + waiting.folder.path;
      waiting.folder.flags |= RuleFolder::kForeignNamespace;
    }
    pending.push_back(std::move(waiting));
  }
  LastInserted last;
  for (Waiting& waiting : pending) {
    if (waiting.placed || !waiting.folder.canChoose()) continue;
    insertFolder(root, store.rootName, waiting, pending, last);
  }
  return root;
}

TreeItem RuleMoveToDialog::insertFolder(TreeItem root, const std::wstring& rootName, Waiting& waiting,
                                        std::vector<Waiting>& pending, LastInserted& last) {
  const RuleFolder& folder = waiting.folder;
  waiting.placed = true;
  TreeItem parent = root;
  const std::size_t slash = folder.path.rfind(L'/');
  if (slash != std::wstring::npos) {
    const std::wstring parentPath = folder.path.substr(0, slash);
    // A top folder of another namespace stands below the namespace's name.
    if (rootName.empty() || parentPath != rootName) {
      if (last.item != kNoTreeItem && last.path == parentPath) {
        parent = last.item;
      } else {
        parent = findFolder(parentPath);
      }
      if (parent == kNoTreeItem) {
        const auto found = std::find_if(pending.begin(), pending.end(), [&](const Waiting& candidate) {
          return !candidate.placed && candidate.folder.path == parentPath;
        });
        if (found == pending.end()) ZEL_HERE.raise(E_UNEXPECTED, "Parent folder doesn't exist in the tree.");
        parent = insertFolder(root, rootName, *found, pending, last);
      }
    }
  }

  TreeItemSetup setup;
  setup.text = details::lastComponent(folder.displayPath);
  setup.image = kFolderImage;
  if (!folder.canChoose()) setup.overlay = kNotChosenOverlay;
  const TreeItem item = view().treeInsert(kTree, parent, setup);
  if (item == kNoTreeItem) ZEL_HERE.raise(E_FAIL, "Failed to insert a folder into the tree.");
  folders_[item] = folder;
  last.item = item;
  last.path = folder.path;
  return item;
}

TreeItem RuleMoveToDialog::findFolder(const std::wstring& path) const {
  for (const auto& [item, folder] : folders_) {
    if (folder.path == path) return item;
  }
  return kNoTreeItem;
}

void RuleMoveToDialog::selectPresentFolder() {
  const TreeItem item = findFolder(path_);
  view().treeSelect(kTree, item);
  if (item != kNoTreeItem) {
    view().treeEnsureVisible(kTree, item);
    view().treeExpand(kTree, item);
  }
  updateOk();
}

void RuleMoveToDialog::revealSelection(TreeItem item) {
  view().treeSelect(kTree, item);
  view().treeEnsureVisible(kTree, item);
  view().treeExpand(kTree, item);
}

void RuleMoveToDialog::updateOk() {
  const RuleFolder* folder = folderOf(view().treeSelection(kTree));
  view().enable(kIdOk, folder && folder->canChoose());
}

void RuleMoveToDialog::onOk() {
  const TreeItem item = view().treeSelection(kTree);
  if (item == kNoTreeItem) return;
  const RuleFolder* folder = folderOf(item);
  if (!folder || !folder->canChoose()) {
    revealSelection(item);
    return;
  }
  path_ = folder->path;
  view().endDialog(kIdOk);
}

void RuleMoveToDialog::onCommand(ControlId id, int notification) {
  if (id == kRefresh && notification == notify::buttonClicked) {
    refreshFolderTree();
    selectPresentFolder();
  }
}

bool RuleMoveToDialog::onNotify(ControlId id, const Notification& notification) {
  if (id == kTree && notification.code == notify::treeSelChanged) updateOk();
  return false;
}

}  // namespace zelvo::ui
