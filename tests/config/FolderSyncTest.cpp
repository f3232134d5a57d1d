#include <gtest/gtest.h>

#include "config/FolderSettings.h"
#include "store/reference/ReferenceStore.h"
#include "tests/store/StoreTestSupport.h"

using namespace zelvo::config;
using ReferenceStore::Operation;

namespace {

constexpr LONG kContactFolder = 2;
constexpr LONG kCalendarFolder = 1;

TEST(SynchronizationProperty, LowBitsAreTheModeAndBit31TheRecursiveFlag) {
  const struct {
    ULONG value;
    bool accepted;
    ULONG mode;
    bool recursive;
  } cases[] = {
      {0x00000000u, true, 0, false},  {0x00000001u, true, 1, false}, {0x00000002u, true, 2, false},
      {0x80000000u, true, 0, true},   {0x80000002u, true, 2, true},  {0x00010001u, true, 1, false},
      {0x7FFF0002u, true, 2, false},  {0xFFFF0001u, true, 1, true},  {0x00000003u, false, 0, false},
      {0x80000003u, false, 0, false}, {0x0000FFFFu, false, 0, false}, {0xFFFFFFFFu, false, 0, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.value);
    FolderSynchronization sync;
    if (!c.accepted) {
      sync.putSynchronization(0x80000001);
      sync.clearDirty();
      try {
        sync.putSynchronization(static_cast<LONG>(c.value));
        ADD_FAILURE() << "accepted";
      } catch (const HResultException& e) {
        EXPECT_EQ(e.getHResult(), E_INVALIDARG);
      }
      EXPECT_EQ(sync.mode(), 1u) << "a refused value changes nothing";
      EXPECT_TRUE(sync.recursive());
      EXPECT_FALSE(sync.dirty());
      continue;
    }
    sync.putSynchronization(static_cast<LONG>(c.value));
    EXPECT_EQ(sync.mode(), c.mode);
    EXPECT_EQ(sync.recursive(), c.recursive);
    EXPECT_EQ(sync.getSynchronization(), static_cast<LONG>(c.mode)) << "reading gives the mode alone";
    EXPECT_TRUE(sync.dirty());
  }
}

TEST(SynchronizationPage, WhatTheControlsShowForEachModeAndFolderType) {
  const struct {
    ULONG mode;
    LONG type;
    bool selectable, sets, synchronize, firstForm;
  } cases[] = {
      {0, kFolderTypeMail, true, true, false, true},
      {1, kFolderTypeMail, true, true, true, true},
      {2, kFolderTypeMail, true, true, true, false},
      {1, kFolderTypePost, true, true, true, true},
      {0, kContactFolder, false, true, false, true},
      {1, kContactFolder, false, true, true, false},  // shown as the second form
      {2, kCalendarFolder, false, true, true, false},
      {3, kFolderTypeMail, true, false, false, false},  // left as the template has it
      {0x10001, kFolderTypeMail, true, false, false, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "mode " << c.mode << " type " << c.type);
    const SyncPageState state = syncPageState(c.mode, c.type);
    EXPECT_EQ(state.modeSelectable, c.selectable);
    EXPECT_EQ(state.setsControls, c.sets);
    if (!c.sets) continue;
    EXPECT_EQ(state.synchronize, c.synchronize);
    EXPECT_EQ(state.firstForm, c.firstForm);
    EXPECT_EQ(syncFormsEnabled(state.synchronize, state.modeSelectable), c.synchronize && c.selectable);
  }
}

TEST(SynchronizationPage, ControlsMakeTheValueWithTheSubfolderBitEveryTime) {
  const struct {
    bool synchronize, first, subfolders;
    ULONG value;
  } cases[] = {
      {false, true, false, 0},           {false, false, false, 0},
      {true, true, false, 1},            {true, false, false, 2},
      {false, true, true, 0x80000000u},  {true, true, true, 0x80000001u},
      {true, false, true, 0x80000002u},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.value);
    EXPECT_EQ(static_cast<ULONG>(syncValueFromControls(c.synchronize, c.first, c.subfolders)), c.value);
    FolderSynchronization sync;
    sync.putSynchronization(syncValueFromControls(c.synchronize, c.first, c.subfolders));
    EXPECT_EQ(sync.recursive(), c.subfolders);
  }
}

ReferenceStore::Mailbox folderMailbox() {
  ReferenceStore::Mailbox m;
  ReferenceStore::MailboxFolder inbox;
  inbox.path = L"INBOX";
  inbox.displayPath = L"Inbox";
  inbox.features = {0, 1, 2};
  inbox.synchronization = 1;
  inbox.access = {{0, L"bob", L"lr"}};
  ReferenceStore::MailboxFolder sub = inbox;
  sub.path = L"INBOX/Sub";
  sub.synchronization = 0;
  sub.access.clear();
  ReferenceStore::MailboxFolder contacts = sub;
  contacts.path = L"Contacts";
  contacts.features = {2, 4};
  contacts.synchronization = 1;
  m.folders = {inbox, sub, contacts};
  return m;
}

class FolderSettingsTest : public storetest::StoreTest {
 protected:
  ReferenceStore::Store store{folderMailbox()};
  ComRef<IFolderConfig> inbox{store.folderConfig(L"INBOX")};
  FolderSettings settings;

  ReferenceStore::MailboxFolder stored(const std::wstring& path) { return *store.mailbox().findFolder(path); }
};

TEST_F(FolderSettingsTest, FeaturesAreAskedInTheirOrderAndAFailureMeansNo) {
  settings.readFeatures(inbox.get());
  EXPECT_TRUE(settings.access().features().canReadRights);
  EXPECT_TRUE(settings.access().features().canWriteRights);
  EXPECT_TRUE(settings.synchronization().available());
  EXPECT_FALSE(settings.access().features().hideRecursive);
  EXPECT_FALSE(settings.access().features().checkDelegates);

  store.failNext(Operation::IsFeatureAvailable, E_FAIL);  // the first question is feature 1
  settings.readFeatures(inbox.get());
  EXPECT_FALSE(settings.access().features().canReadRights);
  EXPECT_TRUE(settings.access().features().canWriteRights);
}

TEST_F(FolderSettingsTest, ResetLoadsRightsAndModeAndApplyWritesThemRecursively) {
  settings.readFeatures(inbox.get());
  settings.reset(inbox.get());
  EXPECT_FALSE(settings.dirty());
  EXPECT_EQ(settings.synchronization().getSynchronization(), 1);
  ULONG count = 0;
  settings.access().getCount(&count);
  EXPECT_EQ(count, 1u);

  settings.synchronization().putSynchronization(static_cast<LONG>(0x80000002u));
  EXPECT_TRUE(settings.dirty());
  settings.apply(inbox.get());
  EXPECT_FALSE(settings.dirty());
  EXPECT_EQ(stored(L"INBOX").synchronization, 2u);
  EXPECT_EQ(stored(L"INBOX/Sub").synchronization, 2u);
  EXPECT_EQ(stored(L"Contacts").synchronization, 1u);
  EXPECT_EQ(stored(L"INBOX").access.size(), 1u) << "the unchanged rights are written again";
}

TEST_F(FolderSettingsTest, APartialApplyKeepsDirtyAndTheNextApplyFinishes) {
  settings.readFeatures(inbox.get());
  settings.reset(inbox.get());
  AddIn::AccessItem item = 0;
  settings.access().addAccess(kGranteeUser, L"carol", kLevelFull, &item);
  settings.synchronization().putSynchronization(0);

  store.failNext(Operation::SetSynchronization, MAPI_E_NETWORK_ERROR);
  try {
    settings.apply(inbox.get());
    ADD_FAILURE() << "no failure";
  } catch (const HResultException& e) {
    EXPECT_EQ(e.getHResult(), MAPI_E_NETWORK_ERROR);
  }
  EXPECT_EQ(stored(L"INBOX").access.size(), 2u) << "the rights went out before the failure";
  EXPECT_EQ(stored(L"INBOX").synchronization, 1u);
  EXPECT_TRUE(settings.dirty());

  settings.apply(inbox.get());
  EXPECT_EQ(stored(L"INBOX").synchronization, 0u);
  EXPECT_FALSE(settings.dirty());
}

TEST_F(FolderSettingsTest, WhatTheServiceDoesNotOfferIsNeitherReadNorWritten) {
  ComRef<IFolderConfig> contacts(store.folderConfig(L"Contacts"));
  settings.readFeatures(contacts.get());
  EXPECT_EQ(settings.access().isRecursiveHidden(), 0);
  store.failNext(Operation::GetAccessRights, E_FAIL);
  store.failNext(Operation::SetAccessRights, E_FAIL);
  settings.reset(contacts.get());
  EXPECT_EQ(settings.synchronization().mode(), 1u);
  EXPECT_EQ(store.pendingFailures(), 2u) << "the rights were never touched";

  // The contact folder opens in the second form, and ticking the box again writes 2.
  const SyncPageState state = syncPageState(settings.synchronization().mode(), kContactFolder);
  EXPECT_FALSE(syncFormsEnabled(state.synchronize, state.modeSelectable));
  settings.synchronization().putSynchronization(syncValueFromControls(false, state.firstForm, false));
  settings.synchronization().putSynchronization(syncValueFromControls(true, state.firstForm, false));
  settings.apply(contacts.get());
  EXPECT_EQ(stored(L"Contacts").synchronization, 2u);
  EXPECT_EQ(store.pendingFailures(), 2u);

  // Rights that may be read but not written are loaded and never saved.
  FolderSettings readOnly;
  readOnly.access().setFeatures({true, false, false, false});
  EXPECT_THROW(readOnly.reset(inbox.get()), HResultException) << "the queued reading failure";
  readOnly.reset(inbox.get());
  readOnly.access().setRecursive(true);
  EXPECT_EQ(readOnly.access().isLocked(-1), 1);
  readOnly.apply(inbox.get());
  EXPECT_EQ(store.pendingFailures(), 1u) << "setAccessRights was never called";
  EXPECT_FALSE(readOnly.dirty());
}

TEST_F(FolderSettingsTest, AFailedReadOfTheModeIsRaised) {
  settings.readFeatures(inbox.get());
  store.failNext(Operation::GetSynchronization, MAPI_E_NO_ACCESS);
  try {
    settings.reset(inbox.get());
    ADD_FAILURE() << "no failure";
  } catch (const HResultException& e) {
    EXPECT_EQ(e.getHResult(), MAPI_E_NO_ACCESS);
  }
}

}  // namespace
