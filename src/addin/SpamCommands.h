// Marking the selected mail as junk, or a junk mail as good. The add-in moves nothing
// itself: it collects the messages' binary entry ids and hands them to the store's
// IGlobalConfig, which moves them and tells the server. What is ours is to say which of
// the two commands may run right now, and to ask before mail is marked as junk.
//
// Nothing is kept between calls: every state is computed from the host and the stores
// when it is asked for. Host objects go in as IDispatch and are read by name.
#pragma once

#include <string>
#include <vector>

#include "addin/AddInUtils.h"
#include "base/ComRef.h"
#include "config/RegistryConfig.h"
#include "platform/Mapi.h"
#include "store/StoreInterfaces.h"

namespace AddIn {
namespace Utils {

// _MailItem of the host's type library: only mail gets the junk commands.
extern const IID IID__MailItem;

// Whether the inspector shows a mail item. mailItem may be null; otherwise it must be
// empty (E_INVALIDARG) and receives the item.
bool isInspectorForMailItem(IDispatch* inspector, ComRef<IDispatch>* mailItem);

}  // namespace Utils
}  // namespace AddIn

namespace zelvo {
namespace addin {

// The state of the two buttons: Mark as spam may run, Not spam may run.
struct SpamControlsState {
  bool isSpam = false;
  bool notSpam = false;
};

// The entry ids of what a window shows selected: an inspector's item, or each item of an
// explorer's selection that has a readable id (so the list may be shorter than the
// selection). ids is cleared first; the answer is its size. Raises E_INVALIDARG for a
// null window, and the failure of reading an explorer's Selection or its Count.
ULONG getSelectionEntryIDs(IDispatch* window, std::vector<std::string>& ids);

// The IGlobalConfig of the store that holds the window's folder (an explorer's current
// folder, else the parent folder of an inspector's item). config must be empty
// (E_INVALIDARG); no folder raises E_INVALIDARG "Failed to get current folder".
void getConfigForSelection(IDispatch* window, ComRef<IGlobalConfig>& config);

// A binary property of a host object, read from the MAPI object behind it. Raises
// E_INVALIDARG for a null object or a tag that is not of type PT_BINARY.
std::string getObjectBinaryProperty(IDispatch* object, ULONG tag);

// Asks before count items are marked as junk, unless the user said not to ask again. The
// tick box's answer is written back to the local option "Confirm Mark As Spam". True when
// the user agreed (or was not asked).
bool confirmMarkAsSpam(size_t count, const config::RegistryConfig& registry = config::RegistryConfig::instance());

// The junk commands over the host's objects and the stores found by discovery. Holds no
// references: the objects and the map must outlive the calls made on it.
class SpamCommands {
 public:
  SpamCommands(IDispatch* application, IDispatch* nameSpace, const AddIn::Utils::StoreConfigs& configs,
               const config::RegistryConfig& registry = config::RegistryConfig::instance());

  // Marks the active window's selection as junk (junk) or as good. True when the command
  // reached the store; false, with nothing shown, when there was nothing to mark, the
  // user declined, or anything failed.
  bool markAsJunkEmail(bool junk);

  // The folder test of an explorer: a mail folder of one of our stores, not the Outbox,
  // whose folder flags allow the junk commands. Raises E_INVALIDARG for a null explorer;
  // every other failure answers false.
  bool determineExplorerSpamControlsStateAllowed(IDispatch* explorer);

  // The state from an explorer's selection: none selected, neither; one, by the item;
  // several, both. False (with both false) when the host refuses the selection. Raises
  // E_INVALIDARG for a null explorer and the failure of the selection's Count.
  bool determineExplorerSpamControlsStateSimple(IDispatch* explorer, bool& isSpam, bool& notSpam);

  // The state of a ribbon control in a read inspector, by the inspector's item; an
  // inspector has no folder test. Raises E_INVALIDARG for a control without an inspector.
  void getSpamControlStateFromButton(IDispatch* ribbonControl, bool& isSpam, bool& notSpam);

  // The state of one item: not a sent mail, neither; otherwise Mark as spam, or Not spam
  // when its store says the message is junk.
  SpamControlsState getItemSpamState(IDispatch* item);

 private:
  IDispatch* application_;
  IDispatch* nameSpace_;
  const AddIn::Utils::StoreConfigs& configs_;
  const config::RegistryConfig& registry_;
};

namespace details {

// Hands ids to config->markAsJunk as one SBinaryArray built from the store allocator and
// freed afterwards. Raises E_INVALIDARG for a null config or allocator, and any failure
// of the allocator or the store.
void executeMarkAsJunkEmail(bool junk, IGlobalConfig* config, IStoreAllocator* allocator,
                            const std::vector<std::string>& ids);

}  // namespace details

}  // namespace addin
}  // namespace zelvo
