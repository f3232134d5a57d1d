// The contract with the store services: what a message store (IGlobalConfig) and a folder
// (IFolderConfig) hand out through OpenProperty, the store allocator that owns every
// record crossing them, the address-book call-back the add-in hands back (IAbConfig), and
// the records themselves.
//
// The slot order of each interface is the binary contract with the services and is kept
// exactly, including the slots this product never calls (the reservedNN placeholders).
// All records are allocated by the store allocator: out-blocks are released by the
// caller with its free function; in-blocks are built by the caller from it, one root block
// with its strings chained to it. A null string reads as empty.
#pragma once

#include "base/Iui.h"
#include "platform/Mapi.h"

// Property tag of the configuration object on a store or folder of the product.
constexpr ULONG kConfigPropertyTag = 0xAF15000Du;
// Property of a message: the server has marked it as junk (1) or not.
constexpr ULONG kJunkMarkPropertyTag = 0xAF17000Bu;

extern "C" const IID IID_IGlobalConfig;
extern "C" const IID IID_IFolderConfig;
extern "C" const IID IID_IStoreAllocator;
extern "C" const IID IID_IAbConfig;

// Store classes of getStoreClass, one per store kind.
extern "C" const GUID kPrivateStoreClass;
extern "C" const GUID kPublicStoreClass;
extern "C" const GUID kDelegateStoreClass;

// One element of getDelegates / setDelegates / getDelegators.
struct DelegateRecord {
  ULONG id;
  LPWSTR address;
  LPWSTR displayName;
  ULONG grantFlag;  // written as 1 or 0
};

// getSenderRecord / setSenderRecord: one block of six strings.
struct SenderRecord {
  LPWSTR defaultName;
  LPWSTR defaultAddress;
  LPWSTR senderName;
  LPWSTR senderAddress;
  LPWSTR replyAddress;
  LPWSTR extraText;
};

constexpr ULONG kAccessGroupFlag = 0x8000u;  // the grantee is a group
constexpr ULONG kAccessLockedFlag = 0x0001u;  // the entry may not be changed or removed

// One element of a folder's access list.
struct AccessInfo {
  ULONG flags;
  LPWSTR name;
  LPWSTR rights;  // rights letters, "lrswicda"
};

// One element of getFolderList. Paths are slash-separated.
struct FolderListEntry {
  ULONG flags;
  LPWSTR path;
  LPWSTR displayPath;
};

// The block of getMessageProperties: one value per asked tag, chained to the block.
// A tag the message does not have comes back as PT_ERROR with MAPI_E_NOT_FOUND.
struct MessagePropertyBlock {
  ULONG count;
  LPSPropValue values;
};

// The store allocator: the three MAPI memory functions of the store's owner.
struct IStoreAllocator : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE getAllocators(LPALLOCATEBUFFER* allocateBuffer, LPALLOCATEMORE* allocateMore,
                                                  LPFREEBUFFER* freeBuffer) = 0;

 protected:
  ~IStoreAllocator() = default;
};

// The add-in's call-back for address-book requests of a store service; called on the
// service's threads.
struct IAbConfig : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE addFolder(const SBinary* folderId, ULONG flags) = 0;
  virtual HRESULT STDMETHODCALLTYPE showContacts() = 0;
  virtual HRESULT STDMETHODCALLTYPE removeFolder(const SBinary* folderId, const SBinary* storeId, ULONG flags) = 0;
  virtual HRESULT STDMETHODCALLTYPE storeClosed(GUID storeKey) = 0;
  virtual HRESULT STDMETHODCALLTYPE detach() = 0;

 protected:
  ~IAbConfig() = default;
};

// One per message store.
struct IGlobalConfig : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE reserved01() = 0;
  virtual HRESULT STDMETHODCALLTYPE getFolderList(ULONG* count, FolderListEntry** entries, BSTR* rootName) = 0;
  virtual HRESULT STDMETHODCALLTYPE setSieveScript(BSTR script) = 0;
  virtual HRESULT STDMETHODCALLTYPE getSieveScript(BSTR* script) = 0;
  virtual HRESULT STDMETHODCALLTYPE translateFolderName(ULONG number, BSTR name, BSTR* translated) = 0;
  virtual HRESULT STDMETHODCALLTYPE getAllocator(IUnknown** allocator) = 0;
  virtual HRESULT STDMETHODCALLTYPE markAsJunk(SBinaryArray* entryIds, bool junk) = 0;
  virtual HRESULT STDMETHODCALLTYPE reserved08() = 0;
  // kind 1: the account's name for dialog titles; kind 0: asked by the out-of-office state.
  virtual HRESULT STDMETHODCALLTYPE getAccountText(ULONG kind, BSTR* text) = 0;
  virtual HRESULT STDMETHODCALLTYPE getDomainName(BSTR* domain) = 0;
  virtual HRESULT STDMETHODCALLTYPE reserved11() = 0;
  virtual HRESULT STDMETHODCALLTYPE reserved12() = 0;
  virtual HRESULT STDMETHODCALLTYPE getSenderRecord(SenderRecord** record) = 0;
  virtual HRESULT STDMETHODCALLTYPE setSenderRecord(SenderRecord* record) = 0;
  virtual HRESULT STDMETHODCALLTYPE synchronizeAll() = 0;
  // 1 offline, 2 online.
  virtual HRESULT STDMETHODCALLTYPE setConnectionMode(ULONG mode) = 0;
  // A folder's entry id: that folder now; null: take up all configuration changes.
  virtual HRESULT STDMETHODCALLTYPE requestSynchronization(SBinary* folderId) = 0;
  virtual HRESULT STDMETHODCALLTYPE getServiceUid(GUID* uid) = 0;
  virtual HRESULT STDMETHODCALLTYPE getStoreClass(GUID* storeClass) = 0;
  // Answers 1 when ready for the address-book set-up.
  virtual HRESULT STDMETHODCALLTYPE isAddressBookReady() = 0;
  virtual HRESULT STDMETHODCALLTYPE setAddressBookDone() = 0;
  // Answers 0 while the set-up is still to do.
  virtual HRESULT STDMETHODCALLTYPE isAddressBookDone() = 0;
  virtual HRESULT STDMETHODCALLTYPE setAbConfig(IAbConfig* abConfig) = 0;
  virtual HRESULT STDMETHODCALLTYPE clearAbConfig() = 0;
  virtual HRESULT STDMETHODCALLTYPE reserved25() = 0;
  virtual HRESULT STDMETHODCALLTYPE getMessageProperties(GUID provider, GUID object, ULONG type,
                                                         SPropTagArray* tags, MessagePropertyBlock** values) = 0;
  virtual HRESULT STDMETHODCALLTYPE newDelegateId(ULONG* id) = 0;
  // mode 1: from the delegation list, 0: from the folder access rights.
  virtual HRESULT STDMETHODCALLTYPE getDelegates(ULONG mode, ULONG* count, DelegateRecord** records) = 0;
  virtual HRESULT STDMETHODCALLTYPE setDelegates(ULONG count, DelegateRecord* records) = 0;
  virtual HRESULT STDMETHODCALLTYPE getDelegators(ULONG* count, DelegateRecord** records) = 0;
  virtual HRESULT STDMETHODCALLTYPE resolveAddress(LPCWSTR address, BSTR* displayName) = 0;
  virtual HRESULT STDMETHODCALLTYPE checkSenderAddress(LPCWSTR address) = 0;
  virtual HRESULT STDMETHODCALLTYPE sendSenderRequest() = 0;
  virtual HRESULT STDMETHODCALLTYPE getDelegateRights(LPCWSTR address, BSTR* rights) = 0;

 protected:
  ~IGlobalConfig() = default;
};

// Features of IFolderConfig::isFeatureAvailable.
enum FolderFeature : ULONG {
  kFeatureWriteAccessRights = 0,
  kFeatureReadAccessRights = 1,
  kFeatureSynchronizationMode = 2,
  kFeatureFolderMapping = 3,
  kFeatureHideRecursiveSharing = 4,
  kFeatureDelegateAccess = 6,
};

// Bit 0 of getFolderFlags: the spam commands are allowed in the folder.
constexpr ULONG kFolderFlagSpamCommands = 0x1u;

// One per folder.
struct IFolderConfig : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE getAccessRights(ULONG* count, AccessInfo** entries) = 0;
  virtual HRESULT STDMETHODCALLTYPE setAccessRights(ULONG count, AccessInfo* entries, bool recursive) = 0;
  virtual HRESULT STDMETHODCALLTYPE getSynchronization(ULONG* mode) = 0;
  virtual HRESULT STDMETHODCALLTYPE setSynchronization(ULONG mode, bool recursive) = 0;
  virtual HRESULT STDMETHODCALLTYPE getAllocator(IUnknown** allocator) = 0;
  virtual HRESULT STDMETHODCALLTYPE getGlobalConfig(IGlobalConfig** config) = 0;
  // S_OK when available; any other result means no.
  virtual HRESULT STDMETHODCALLTYPE isFeatureAvailable(ULONG feature) = 0;
  virtual HRESULT STDMETHODCALLTYPE getFolderFlags(ULONG* flags, ULONG reserved) = 0;
  virtual HRESULT STDMETHODCALLTYPE resynchronizeContents() = 0;

 protected:
  ~IFolderConfig() = default;
};

ZEL_IUI_INTERFACE(IMAPIProp, IID_IMAPIProp)
ZEL_IUI_INTERFACE(IStoreAllocator, IID_IStoreAllocator)
ZEL_IUI_INTERFACE(IAbConfig, IID_IAbConfig)
ZEL_IUI_INTERFACE(IGlobalConfig, IID_IGlobalConfig)
ZEL_IUI_INTERFACE(IFolderConfig, IID_IFolderConfig)
