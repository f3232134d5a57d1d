// The synchronisation mode of a folder: what the store service keeps, how the page's
// property packs the recursive flag into bit 31, and what the page shows for a mode.
#pragma once

#include "store/StoreInterfaces.h"

namespace zelvo {
namespace config {

enum SyncMode : ULONG {
  kSyncOff = 0,     // the folder is not synchronised
  kSyncFirst = 1,   // first form; only mail and post folders offer it
  kSyncSecond = 2,  // second form
};

// In the value of the page's property: also for the subfolders.
constexpr ULONG kSyncRecursiveBit = 0x80000000u;
// The folder types (as the host's item types) that may choose between the two forms.
constexpr LONG kFolderTypeMail = 0;
constexpr LONG kFolderTypePost = 6;

class FolderSynchronization {
 public:
  // Whether the folder has a mode at all; without it nothing is read or written.
  void setAvailable(bool available) { available_ = available; }
  bool available() const { return available_; }

  // Raises the store's failure.
  void loadSynchronization(IFolderConfig* config);
  void saveSynchronization(IFolderConfig* config) const;

  // The property as the page reads it: the mode alone.
  LONG getSynchronization() const { return static_cast<LONG>(mode_); }
  // The low 16 bits are the mode, which must be below 3 (else E_INVALIDARG and nothing
  // changes); bit 31 is the recursive flag. Marks the data dirty.
  void putSynchronization(LONG value);

  ULONG mode() const { return mode_; }
  bool recursive() const { return recursive_; }
  bool dirty() const { return dirty_; }
  void clearDirty() { dirty_ = false; }

 private:
  bool available_ = false;
  ULONG mode_ = kSyncOff;
  bool recursive_ = false;
  bool dirty_ = false;
};

// How the synchronisation page shows a stored mode.
struct SyncPageState {
  bool modeSelectable = false;  // the folder type allows the first form
  // False for a mode the page does not know: the controls stay as the template made them.
  bool setsControls = false;
  bool synchronize = false;     // the check box
  bool firstForm = false;       // which radio button is chosen
};

SyncPageState syncPageState(ULONG mode, LONG folderType);
// The radio buttons are usable only with the box ticked, and only where there is a choice.
inline bool syncFormsEnabled(bool synchronize, bool modeSelectable) { return synchronize && modeSelectable; }
// The property value the page puts after any change of its controls.
LONG syncValueFromControls(bool synchronize, bool firstFormChosen, bool subfolders);

}  // namespace config
}  // namespace zelvo
