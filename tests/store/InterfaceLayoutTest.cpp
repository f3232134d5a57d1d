// The slot order of each interface is the binary contract with the store services and
// the add-in's callers: a slot moved or dropped would call the wrong operation.
#include <gtest/gtest.h>

#include <vector>

#include "store/AddInInterfaces.h"
#include "store/StoreInterfaces.h"
#include "testing/VtableSlot.h"

namespace {

using zelvo::testing::slotOf;

// IUnknown takes slots 0 to 2; the declared order 1 is slot 3.
void expectDeclaredOrder(const std::vector<long>& slots) { zelvo::testing::expectSlotsFrom(3, slots); }

#if defined(__GNUC__)

TEST(InterfaceLayoutTest, GlobalConfigKeepsAllThirtyFourPositions) {
  using I = IGlobalConfig;
  expectDeclaredOrder({
      slotOf(&I::reserved01), slotOf(&I::getFolderList), slotOf(&I::setSieveScript), slotOf(&I::getSieveScript),
      slotOf(&I::translateFolderName), slotOf(&I::getAllocator), slotOf(&I::markAsJunk), slotOf(&I::reserved08),
      slotOf(&I::getAccountText), slotOf(&I::getDomainName), slotOf(&I::reserved11), slotOf(&I::reserved12),
      slotOf(&I::getSenderRecord), slotOf(&I::setSenderRecord), slotOf(&I::synchronizeAll),
      slotOf(&I::setConnectionMode), slotOf(&I::requestSynchronization), slotOf(&I::getServiceUid),
      slotOf(&I::getStoreClass), slotOf(&I::isAddressBookReady), slotOf(&I::setAddressBookDone),
      slotOf(&I::isAddressBookDone), slotOf(&I::setAbConfig), slotOf(&I::clearAbConfig), slotOf(&I::reserved25),
      slotOf(&I::getMessageProperties), slotOf(&I::newDelegateId), slotOf(&I::getDelegates),
      slotOf(&I::setDelegates), slotOf(&I::getDelegators), slotOf(&I::resolveAddress),
      slotOf(&I::checkSenderAddress), slotOf(&I::sendSenderRequest), slotOf(&I::getDelegateRights),
  });
}

TEST(InterfaceLayoutTest, FolderConfigOrder) {
  using I = IFolderConfig;
  expectDeclaredOrder({slotOf(&I::getAccessRights), slotOf(&I::setAccessRights), slotOf(&I::getSynchronization),
                       slotOf(&I::setSynchronization), slotOf(&I::getAllocator), slotOf(&I::getGlobalConfig),
                       slotOf(&I::isFeatureAvailable), slotOf(&I::getFolderFlags),
                       slotOf(&I::resynchronizeContents)});
}

TEST(InterfaceLayoutTest, AllocatorAndAddressBookOrder) {
  expectDeclaredOrder({slotOf(&IStoreAllocator::getAllocators)});
  using A = IAbConfig;
  expectDeclaredOrder({slotOf(&A::addFolder), slotOf(&A::showContacts), slotOf(&A::removeFolder),
                       slotOf(&A::storeClosed), slotOf(&A::detach)});
}

TEST(InterfaceLayoutTest, AddInInterfacesOrder) {
  {
    SCOPED_TRACE("IMailServerOptions");
    using I = AddIn::IMailServerOptions;
    expectDeclaredOrder({slotOf(&I::setOutOfOfficeEnabled), slotOf(&I::getOutOfOfficeEnabled),
                         slotOf(&I::setOutOfOffice), slotOf(&I::getOutOfOffice), slotOf(&I::setOutOfOfficeControl),
                         slotOf(&I::setJunkEmailEnabled), slotOf(&I::getJunkEmailEnabled),
                         slotOf(&I::setJunkEmailTrustContacts), slotOf(&I::getJunkEmailTrustContacts),
                         slotOf(&I::setJunkEmailTrustedSenders), slotOf(&I::getJunkEmailTrustedSenders),
                         slotOf(&I::setRules), slotOf(&I::getRules), slotOf(&I::getSenderSettings),
                         slotOf(&I::setConfirmMarkAsSpam), slotOf(&I::getConfirmMarkAsSpam),
                         slotOf(&I::setCheckDefaultStore), slotOf(&I::getCheckDefaultStore)});
  }
  {
    SCOPED_TRACE("ISenderSettings");
    using I = AddIn::ISenderSettings;
    expectDeclaredOrder({slotOf(&I::getDefaultName), slotOf(&I::getDefaultAddress), slotOf(&I::getSenderName),
                         slotOf(&I::setSenderName), slotOf(&I::getSenderAddress), slotOf(&I::setSenderAddr),
                         slotOf(&I::getReplyAddress), slotOf(&I::setReplyAddress), slotOf(&I::getExtraText),
                         slotOf(&I::setExtraText), slotOf(&I::sendSenderRequest)});
  }
  {
    SCOPED_TRACE("IDelegationList");
    using I = AddIn::IDelegationList;
    expectDeclaredOrder({slotOf(&I::getCount), slotOf(&I::getFirst), slotOf(&I::getNext), slotOf(&I::getDelegate),
                         slotOf(&I::addDelegate), slotOf(&I::removeDelegate), slotOf(&I::toggleDelegate)});
  }
  {
    SCOPED_TRACE("IFolderAccessRights");
    using I = AddIn::IFolderAccessRights;
    expectDeclaredOrder({slotOf(&I::getCount), slotOf(&I::getItem), slotOf(&I::isLocked), slotOf(&I::addAccess),
                         slotOf(&I::setLevel), slotOf(&I::removeAccess), slotOf(&I::getLevel), slotOf(&I::getType),
                         slotOf(&I::getName), slotOf(&I::setRecursive), slotOf(&I::isRecursiveHidden),
                         slotOf(&I::isDelegate)});
  }
}

TEST(InterfaceLayoutTest, OpenPropertyIsTheFifthSlotOfIMapiProp) {
  EXPECT_EQ(slotOf(&IMAPIProp::OpenProperty), 3 + 4);
}

#endif

struct IidCase {
  const char* name;
  const IID& iid;
  const char* text;
};

std::string iidText(const IID& iid) {
  char buffer[40];
  std::snprintf(buffer, sizeof buffer, "%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X",
                static_cast<unsigned>(iid.Data1), iid.Data2, iid.Data3, iid.Data4[0], iid.Data4[1], iid.Data4[2],
                iid.Data4[3], iid.Data4[4], iid.Data4[5], iid.Data4[6], iid.Data4[7]);
  return buffer;
}

TEST(InterfaceLayoutTest, InterfaceIdentifiers) {
  const IidCase cases[] = {
      {"IGlobalConfig", IID_IGlobalConfig, "223D5E3B-649C-4E1F-BAE7-E79348272763"},
      {"IFolderConfig", IID_IFolderConfig, "6AA736AB-E1C0-494B-80ED-02DCD1DD1A70"},
      {"store allocator", IID_IStoreAllocator, "B4B2E014-BBEC-444E-8AEF-34C6811F3CDC"},
      {"IAbConfig", IID_IAbConfig, "279B60E9-FCE9-4587-BE38-FE8B770CE229"},
      {"IMailServerOptions", AddIn::IID_IMailServerOptions, "BF594C20-C649-4EC2-986D-2ACDF8258A04"},
      {"ISenderSettings", AddIn::IID_ISenderSettings, "85338A6A-9763-4F06-9D89-6A33209500A2"},
      {"IDelegationList", AddIn::IID_IDelegationList, "6C9FA368-C1F5-4787-B2A8-2D077632B8A4"},
      {"IFolderAccessRights", AddIn::IID_IFolderAccessRights, "50440275-A852-420B-98FF-2897451F5306"},
      {"private store class", kPrivateStoreClass, "FAE7EDF0-3901-45A9-8056-9122BCA26F55"},
      {"public store class", kPublicStoreClass, "11BA4B20-1828-427C-AF31-C757109A1740"},
      {"delegate store class", kDelegateStoreClass, "092918AF-3F1A-4F1A-8EAD-B25BB037C232"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(iidText(c.iid), c.text);
  }
}

}  // namespace
