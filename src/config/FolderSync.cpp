#include "config/FolderSync.h"

#include "base/HResultException.h"

namespace zelvo {
namespace config {

void FolderSynchronization::loadSynchronization(IFolderConfig* config) {
  if (!config) ZEL_HERE.raise(E_INVALIDARG);
  ULONG mode = 0;
  ZEL_CHECK(config->getSynchronization(&mode));
  mode_ = mode;
}

void FolderSynchronization::saveSynchronization(IFolderConfig* config) const {
  if (!config) ZEL_HERE.raise(E_INVALIDARG);
  ZEL_CHECK(config->setSynchronization(mode_, recursive_));
}

void FolderSynchronization::putSynchronization(LONG value) {
  const ULONG bits = static_cast<ULONG>(value);
  const ULONG mode = bits & 0xFFFFu;
  if (mode > kSyncSecond) ZEL_HERE.raiseFormatted(E_INVALIDARG, "Invalid synchronization mode %u", mode);
  mode_ = mode;
  recursive_ = (bits & kSyncRecursiveBit) != 0;
  dirty_ = true;
}

SyncPageState syncPageState(ULONG mode, LONG folderType) {
  SyncPageState state;
  state.modeSelectable = folderType == kFolderTypeMail || folderType == kFolderTypePost;
  if (mode == kSyncFirst && !state.modeSelectable) mode = kSyncSecond;
  switch (mode) {
    case kSyncOff:
      state.setsControls = true;
      state.firstForm = true;
      break;
    case kSyncFirst:
      state.setsControls = true;
      state.synchronize = true;
      state.firstForm = true;
      break;
    case kSyncSecond:
      state.setsControls = true;
      state.synchronize = true;
      break;
    default:
      break;
  }
  return state;
}

LONG syncValueFromControls(bool synchronize, bool firstFormChosen, bool subfolders) {
  ULONG value = !synchronize ? kSyncOff : firstFormChosen ? kSyncFirst : kSyncSecond;
  if (subfolders) value |= kSyncRecursiveBit;
  return static_cast<LONG>(value);
}

}  // namespace config
}  // namespace zelvo
