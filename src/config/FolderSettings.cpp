#include "config/FolderSettings.h"

#include "base/HResultException.h"

namespace zelvo {
namespace config {

void FolderSettings::readFeatures(IFolderConfig* config) {
  if (!config) ZEL_HERE.raise(E_INVALIDARG);
  auto available = [config](ULONG feature) { return config->isFeatureAvailable(feature) == S_OK; };
  AccessFeatures features;
  features.canReadRights = available(kFeatureReadAccessRights);
  features.canWriteRights = available(kFeatureWriteAccessRights);
  synchronization_.setAvailable(available(kFeatureSynchronizationMode));
  features.hideRecursive = available(kFeatureHideRecursiveSharing);
  features.checkDelegates = available(kFeatureDelegateAccess);
  access_.setFeatures(features);
}

void FolderSettings::reset(IFolderConfig* config) {
  if (access_.features().canReadRights) access_.loadAccessData(config);
  if (synchronization_.available()) synchronization_.loadSynchronization(config);
  clearDirty();
}

void FolderSettings::apply(IFolderConfig* config) {
  const AccessFeatures& features = access_.features();
  if (features.canReadRights && features.canWriteRights) access_.saveAccessData(config);
  if (synchronization_.available()) synchronization_.saveSynchronization(config);
  clearDirty();
}

void FolderSettings::clearDirty() {
  access_.clearDirty();
  synchronization_.clearDirty();
}

}  // namespace config
}  // namespace zelvo
