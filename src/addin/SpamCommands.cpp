#include "addin/SpamCommands.h"

#include <cstring>
#include <optional>

#include "addin/GUI.h"
#include "base/LateBinding.h"
#include "base/SizeCast.h"
#include "base/Variant.h"
#include "store/EntryId.h"
#include "store/MapiAlloc.h"

namespace AddIn {
namespace Utils {

// {00063034-0000-0000-C000-000000000046}, as the host's type library has it.
const IID IID__MailItem = {0x00063034, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};

bool isInspectorForMailItem(IDispatch* inspector, ComRef<IDispatch>* mailItem) {
  if (mailItem && *mailItem) ZEL_HERE.raise(E_INVALIDARG);
  if (!inspector) return false;
  const Variant current = zelvo::getProperty(inspector, L"CurrentItem");
  if (current.type() != VT_DISPATCH && current.type() != VT_UNKNOWN) return false;
  const ComRef<IDispatch> item = current.toDispatch();
  if (!item) return false;
  ComRef<IDispatch> mail;
  if (FAILED(item->QueryInterface(IID__MailItem, mail.putVoid())) || !mail) return false;
  if (mailItem) *mailItem = mail;
  return true;
}

}  // namespace Utils
}  // namespace AddIn

namespace zelvo {
namespace addin {

namespace details {
namespace {

// The folder type of the Outbox, whose mail has not been sent and gets no junk command.
constexpr LONG kOutboxFolderType = 4;
// The item type of a folder that holds mail.
constexpr LONG kMailItemType = 0;

// String ids of the confirmation.
constexpr UINT kConfirmOneText = 15005;
constexpr UINT kConfirmManyText = 15006;
constexpr UINT kConfirmTickText = 15007;
constexpr UINT kMessageTitle = 5000;

// Dispinterfaces of the host: MAPIFolder {00063006-...}, and the ribbon's IRibbonControl
// {000C0395-...} of the shared office library.
const IID IID_MAPIFolder = {0x00063006, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
const IID IID_IRibbonControl = {0x000C0395, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};

// The object's answer to iid, or null when it has none.
ComRef<IDispatch> queryDispatch(IUnknown* object, REFIID iid) {
  ComRef<IDispatch> result;
  if (!object || FAILED(object->QueryInterface(iid, result.putVoid()))) return ComRef<IDispatch>();
  return result;
}

ComRef<IDispatch> objectOf(const Variant& value) {
  if (value.type() != VT_DISPATCH && value.type() != VT_UNKNOWN) return ComRef<IDispatch>();
  return value.toDispatch();
}

// A host object read by name; null when the host answered something else.
ComRef<IDispatch> objectProperty(IDispatch* object, const wchar_t* name) {
  return objectOf(zelvo::getProperty(object, name));
}

ComRef<IDispatch> selectionItem(IDispatch* selection, LONG index) {
  return objectOf(zelvo::callMethod(selection, L"Item", {Variant::fromInt32(index)}));
}

// The junk mark of a message by the components of its entry id, as its store has it. Only
// the product's own ids take apart; anything else raises and leaves the caller's default.
std::optional<bool> storeJunkMark(const AddIn::Utils::StoreConfigs& configs, const std::wstring& entryIdText) {
  const std::string bytes = AddIn::Utils::strHex2Bin(entryIdText);
  Guid provider;
  Guid object;
  uint32_t type = 0;
  EntryId(bytes).getComponents(provider, object, type);
  if (object.isNil()) return std::nullopt;
  const auto found = configs.find(object);
  if (found == configs.end() || !found->second.config || provider.isNil()) return std::nullopt;
  IGlobalConfig* config = found->second.config.get();
  // The allocator first: a block handed out must never lack its free function.
  ComRef<IStoreAllocator> allocator;
  AddIn::Utils::getAllocatorFromConfig(config, allocator);
  MapiAlloc functions;
  MapiAlloc::getAlloc(functions, allocator.get());
  SPropTagArray tags = {1, {kJunkMarkPropertyTag}};
  MapiBuffer<MessagePropertyBlock> values(functions.freeBuffer);
  ZEL_CHECK(config->getMessageProperties(provider.get(), object.get(), type, &tags, values.receive()));
  if (!values || !values->values) return std::nullopt;
  for (ULONG i = 0; i < values->count; ++i)
    if (values->values[i].ulPropTag == kJunkMarkPropertyTag) return values->values[i].Value.b == 1;
  return std::nullopt;
}

}  // namespace

void executeMarkAsJunkEmail(bool junk, IGlobalConfig* config, IStoreAllocator* allocator,
                            const std::vector<std::string>& ids) {
  if (!config || !allocator) ZEL_HERE.raise(E_INVALIDARG);
  MapiAlloc functions;
  MapiAlloc::getAlloc(functions, allocator);
  // One root block; the items and the bytes are chained to it and go when it is freed.
  MapiBuffer<SBinaryArray> array(functions.freeBuffer);
  array.reset(static_cast<SBinaryArray*>(::detail::rawAllocBytes(sizeof(SBinaryArray), nullptr, functions)));
  array->cValues = size_cast<ULONG>(ids.size());
  if (!ids.empty()) {
    const size_t itemBytes = size_cast<ULONG>(ids.size() * sizeof(SBinary));
    array->lpbin = static_cast<SBinary*>(::detail::rawAllocBytes(itemBytes, array.get(), functions));
  }
  for (size_t i = 0; i < ids.size(); ++i) {
    SBinary& item = array->lpbin[i];
    item.cb = size_cast<ULONG>(ids[i].size());
    if (ids[i].empty()) continue;
    item.lpb = static_cast<LPBYTE>(::detail::rawAllocBytes(ids[i].size(), array.get(), functions));
    std::memcpy(item.lpb, ids[i].data(), ids[i].size());
  }
  ZEL_CHECK(config->markAsJunk(array.get(), junk));
}

}  // namespace details

ULONG getSelectionEntryIDs(IDispatch* window, std::vector<std::string>& ids) {
  if (!window) ZEL_HERE.raise(E_INVALIDARG);
  const ComRef<IDispatch> inspector = details::queryDispatch(window, AddIn::Utils::IID__Inspector);
  const ComRef<IDispatch> explorer = details::queryDispatch(window, AddIn::Utils::IID__Explorer);
  ids.clear();
  if (inspector) {
    // An item without a readable id simply adds nothing.
    try {
      const ComRef<IDispatch> item = details::objectProperty(inspector.get(), L"CurrentItem");
      ids.push_back(getObjectBinaryProperty(item.get(), PR_ENTRYID));
    } catch (const HResultException&) {
    }
  }
  if (explorer) {
    const ComRef<IDispatch> selection = details::objectProperty(explorer.get(), L"Selection");
    if (!selection) ZEL_HERE.raise(E_FAIL);
    const LONG count = zelvo::getProperty(selection.get(), L"Count").toInt32();
    ids.reserve(count > 0 ? static_cast<size_t>(count) : 0);
    // One unreadable item does not stop the others: the command runs on the rest.
    for (LONG index = 1; index <= count; ++index) {
      try {
        const ComRef<IDispatch> item = details::selectionItem(selection.get(), index);
        ids.push_back(getObjectBinaryProperty(item.get(), PR_ENTRYID));
      } catch (const HResultException&) {
      }
    }
  }
  return size_cast<ULONG>(ids.size());
}

void getConfigForSelection(IDispatch* window, ComRef<IGlobalConfig>& config) {
  if (!window || config) ZEL_HERE.raise(E_INVALIDARG);
  const ComRef<IDispatch> inspector = details::queryDispatch(window, AddIn::Utils::IID__Inspector);
  const ComRef<IDispatch> explorer = details::queryDispatch(window, AddIn::Utils::IID__Explorer);
  ComRef<IDispatch> folder;
  if (inspector) {
    try {
      const ComRef<IDispatch> item = details::objectProperty(inspector.get(), L"CurrentItem");
      if (item) {
        const Variant parent = zelvo::getProperty(item.get(), L"Parent");
        const VARIANT& raw = parent.get();
        IUnknown* object = raw.vt == VT_DISPATCH ? raw.pdispVal : raw.vt == VT_UNKNOWN ? raw.punkVal : nullptr;
        folder = details::queryDispatch(object, details::IID_MAPIFolder);
      }
    } catch (const HResultException&) {
    }
  }
  if (explorer) folder = details::objectProperty(explorer.get(), L"CurrentFolder");
  if (!folder) ZEL_HERE.raise(E_INVALIDARG, L"Failed to get current folder");
  ComRef<IFolderConfig> folderConfig;
  AddIn::Utils::getMsoFolderConfig(folder.get(), folderConfig);
  ZEL_CHECK(folderConfig->getGlobalConfig(config.put()));
  if (!config) ZEL_HERE.raise(E_FAIL);
}

std::string getObjectBinaryProperty(IDispatch* object, ULONG tag) {
  if (!object || PROP_TYPE(tag) != PT_BINARY) ZEL_HERE.raise(E_INVALIDARG);
  ComRef<IMAPIProp> prop;
  AddIn::Utils::getMAPIObjectFor(object, prop);
  // GetProps of the one tag, as HrGetOneProp does: not every MAPI library that the module
  // meets implements HrGetOneProp (Wine's mapi32 has only a stub that aborts), while every
  // message answers GetProps.
  SPropTagArray tags = {1, {tag}};
  ULONG count = 0;
  MapiBuffer<SPropValue> value(&MAPIFreeBuffer);
  ZEL_CHECK(prop->GetProps(&tags, 0, &count, value.receive()));
  if (!value || count != 1) ZEL_HERE.raise(MAPI_E_NOT_FOUND);
  if (PROP_TYPE(value->ulPropTag) == PT_ERROR)
    ZEL_HERE.raise(FAILED(value->Value.err) ? value->Value.err : MAPI_E_NOT_FOUND);
  const SBinary& bytes = value->Value.bin;
  return bytes.cb ? std::string(reinterpret_cast<const char*>(bytes.lpb), bytes.cb) : std::string();
}

bool confirmMarkAsSpam(size_t count, const config::RegistryConfig& registry) {
  if (!config::getConfirmMarkAsSpam(registry)) {
    config::setConfirmMarkAsSpam(false, registry);
    return true;
  }
  bool ticked = false;
  const int answer = GUI::showOptionalMessage(count == 1 ? details::kConfirmOneText : details::kConfirmManyText,
                                              details::kMessageTitle, details::kConfirmTickText, ticked,
                                              MB_OKCANCEL | MB_ICONEXCLAMATION);
  // The tick box counts whichever button closed the box.
  config::setConfirmMarkAsSpam(!ticked, registry);
  return answer == IDOK;
}

SpamCommands::SpamCommands(IDispatch* application, IDispatch* nameSpace, const AddIn::Utils::StoreConfigs& configs,
                           const config::RegistryConfig& registry)
    : application_(application), nameSpace_(nameSpace), configs_(configs), registry_(registry) {}

bool SpamCommands::markAsJunkEmail(bool junk) {
  try {
    if (!application_) ZEL_HERE.raise(E_POINTER);
    const ComRef<IDispatch> window = details::objectOf(zelvo::callMethod(application_, L"ActiveWindow"));
    std::vector<std::string> ids;
    const ULONG count = getSelectionEntryIDs(window.get(), ids);
    if (count == 0) return false;
    if (junk && !confirmMarkAsSpam(count, registry_)) return false;
    ComRef<IGlobalConfig> config;
    getConfigForSelection(window.get(), config);
    ComRef<IStoreAllocator> allocator;
    AddIn::Utils::getAllocatorFromConfig(config.get(), allocator);
    details::executeMarkAsJunkEmail(junk, config.get(), allocator.get(), ids);
    return true;
  } catch (const HResultException&) {
    return false;
  }
}

bool SpamCommands::determineExplorerSpamControlsStateAllowed(IDispatch* explorer) {
  if (!explorer) ZEL_HERE.raise(E_INVALIDARG);
  // A folder of a foreign store has no folder config: that refusal is what keeps it out.
  try {
    const ComRef<IDispatch> folder = details::objectProperty(explorer, L"CurrentFolder");
    if (!folder) ZEL_HERE.raise(E_INVALIDARG, L"Failed to get current folder");
    // Contact, calendar and task folders have no junk commands.
    if (zelvo::getProperty(folder.get(), L"DefaultItemType").toInt32() != details::kMailItemType) return false;
    if (!nameSpace_) ZEL_HERE.raise(E_POINTER);
    if (AddIn::Utils::isMsoDefaultFolder(nameSpace_, folder.get(), details::kOutboxFolderType)) return false;
    ComRef<IFolderConfig> folderConfig;
    AddIn::Utils::getMsoFolderConfig(folder.get(), folderConfig);
    ULONG flags = 0;
    ZEL_CHECK(folderConfig->getFolderFlags(&flags, 0));
    return (flags & kFolderFlagSpamCommands) != 0;
  } catch (const HResultException&) {
    return false;
  }
}

bool SpamCommands::determineExplorerSpamControlsStateSimple(IDispatch* explorer, bool& isSpam, bool& notSpam) {
  if (!explorer) ZEL_HERE.raise(E_INVALIDARG);
  isSpam = false;
  notSpam = false;
  // The host refuses the selection in some views; that is no error.
  ComRef<IDispatch> selection;
  try {
    selection = details::objectProperty(explorer, L"Selection");
  } catch (const HResultException&) {
    return false;
  }
  if (!selection) return false;
  const LONG count = zelvo::getProperty(selection.get(), L"Count").toInt32();
  if (count == 1) {
    const SpamControlsState state = getItemSpamState(details::selectionItem(selection.get(), 1).get());
    isSpam = state.isSpam;
    notSpam = state.notSpam;
  } else if (count > 1) {
    // Several items may hold either kind: both commands, without looking at them.
    isSpam = true;
    notSpam = true;
  }
  return true;
}

void SpamCommands::getSpamControlStateFromButton(IDispatch* ribbonControl, bool& isSpam, bool& notSpam) {
  isSpam = false;
  notSpam = false;
  const ComRef<IDispatch> control = details::queryDispatch(ribbonControl, details::IID_IRibbonControl);
  if (!control) ZEL_HERE.raise(E_INVALIDARG);
  const ComRef<IDispatch> context = details::objectProperty(control.get(), L"Context");
  const ComRef<IDispatch> inspector = details::queryDispatch(context.get(), AddIn::Utils::IID__Inspector);
  if (!inspector) ZEL_HERE.raise(E_INVALIDARG);
  const ComRef<IDispatch> item = details::objectProperty(inspector.get(), L"CurrentItem");
  const SpamControlsState state = getItemSpamState(item.get());
  isSpam = state.isSpam;
  notSpam = state.notSpam;
}

SpamControlsState SpamCommands::getItemSpamState(IDispatch* item) {
  SpamControlsState state;
  const ComRef<IDispatch> mail = details::queryDispatch(item, AddIn::Utils::IID__MailItem);
  if (!mail) return state;
  // An unsent draft has neither command.
  const Variant sent = zelvo::getProperty(mail.get(), L"Sent");
  if (sent.changedTo(VT_BOOL).get().boolVal != VARIANT_TRUE) return state;
  state.isSpam = true;
  // Without a readable id of one of our stores the default stands: Mark as spam.
  try {
    const Variant entryId = zelvo::getProperty(mail.get(), L"EntryID");
    const std::wstring text = entryId.type() == VT_BSTR ? entryId.toText() : std::wstring();
    if (text.empty()) return state;
    if (const std::optional<bool> junk = details::storeJunkMark(configs_, text)) {
      state.isSpam = !*junk;
      state.notSpam = *junk;
    }
  } catch (const HResultException&) {
  }
  return state;
}

}  // namespace addin
}  // namespace zelvo
