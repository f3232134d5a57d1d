// The folder picker of a fileinto: the server folders of every message store of the mailbox
// account, as their store service lists them, in one tree. It gives back the path that the server
// understands.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "base/ComRef.h"
#include "store/StoreInterfaces.h"
#include "ui/RuleMoveToStruct.h"
#include "ui/RuleParameterDialogs.h"

namespace zelvo::ui {

class RuleMoveToDialog : public SieveEditDialogImpl<RuleMoveToDialog, 5023> {
 public:
  static constexpr ControlId kTree = 10016;
  static constexpr ControlId kRefresh = 14001;
  // The images of the tree: a closed folder, the account's own store, a store of another namespace,
  // and the overlay on folders that cannot be chosen.
  static constexpr int kFolderIcon = 261;
  static constexpr int kMailboxIcon = 262;
  static constexpr int kNamespaceIcon = 263;
  static constexpr int kNotChosenIcon = 264;
  static constexpr int kFolderImage = 0;
  static constexpr int kMailboxImage = 1;
  static constexpr int kNamespaceImage = 2;
  static constexpr int kNotChosenOverlay = 3;

  // config is the store whose account the tree shows; path is the folder path the dialog opens on,
  // and the chosen one after OK.
  RuleMoveToDialog(DialogView& view, MessageStoreSession& session, IGlobalConfig* config, std::wstring& path);

  // The folder record of a tree item; null for a store's root item and an unknown item.
  const RuleFolder* folderOf(TreeItem item) const;

 protected:
  void onInitDialog() override;
  void onOk() override;
  void onCommand(ControlId id, int notification) override;
  bool onNotify(ControlId id, const Notification& notification) override;

 private:
  // Where the last folder went: its parent is usually the folder just before it.
  struct LastInserted {
    TreeItem item = kNoTreeItem;
    std::wstring path;
  };

  // A folder of the list on its way into the tree.
  struct Waiting {
    RuleFolder folder;
    bool placed = false;
  };

  void refreshFolderTree();
  // Inserts the store's root and its folders; the root item, or kNoTreeItem when the tree refused
  // it.
  TreeItem createMsgStoreTree(const details::MsgStore& store);
  // Inserts the folder, its missing parents first; raises when a parent is not in the list.
  TreeItem insertFolder(TreeItem root, const std::wstring& rootName, Waiting& waiting, std::vector<Waiting>& pending,
                        LastInserted& last);
  TreeItem findFolder(const std::wstring& path) const;
  void selectPresentFolder();
  void revealSelection(TreeItem item);
  void updateOk();

  MessageStoreSession& session_;
  ComRef<IGlobalConfig> config_;
  std::wstring& path_;
  std::map<TreeItem, RuleFolder> folders_;
};

}  // namespace zelvo::ui
