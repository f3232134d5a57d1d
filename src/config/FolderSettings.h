// The data of a folder's property pages: its access list and its synchronisation mode,
// read and written together, with one dirty state. The folder properties object holds
// one of these behind its automation interface.
#pragma once

#include "config/AccessRights.h"
#include "config/FolderSync.h"

namespace zelvo {
namespace config {

class FolderSettings {
 public:
  // Asks the service for features 1, 0, 2, 4 and 6, in this order; a failing answer
  // counts as "not available".
  void readFeatures(IFolderConfig* config);

  // Loads the rights when they may be read and the mode when there is one; ends clean.
  void reset(IFolderConfig* config);
  // Writes the rights when they may be read and written, then the mode when there is one.
  // A failure is raised and leaves the data dirty, even when a part was written.
  void apply(IFolderConfig* config);
  bool dirty() const { return access_.dirty() || synchronization_.dirty(); }

  FolderAccessList& access() { return access_; }
  const FolderAccessList& access() const { return access_; }
  FolderSynchronization& synchronization() { return synchronization_; }
  const FolderSynchronization& synchronization() const { return synchronization_; }

 private:
  void clearDirty();

  FolderAccessList access_;
  FolderSynchronization synchronization_;
};

}  // namespace config
}  // namespace zelvo
