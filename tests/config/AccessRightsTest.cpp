#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>

#include "config/AccessRights.h"
#include "store/reference/ReferenceAllocator.h"
#include "store/reference/ReferenceStore.h"
#include "testing/TestEnvironment.h"
#include "tests/store/StoreTestSupport.h"

using namespace zelvo::config;
using AddIn::AccessItem;
using ReferenceStore::AccessEntry;
using ReferenceStore::Operation;
using zelvo::testing::utf8;

namespace {

TEST(AccessLevels, LettersReadAsTheLastCompleteRowOfTheLevelTable) {
  const struct {
    const wchar_t* rights;
    ULONG level;
  } cases[] = {
      {nullptr, 0},           {L"", 0},
      {L"l", 0},              {L"r", 0},
      {L"lr", 3},             {L"rl", 3},
      {L"lrsw", 3},           {L"lrswi", 3},
      {L"lrswid", 0x5F},      {L"lrswicd", 0x5F},
      {L"lrswidO", 0x5F},     {L"lrswicda", 0xFF},
      {L"adcilrsw", 0xFF},    {L"lrswicdae", 0xFF},  // letters outside the table are ignored
      {L"lrswicdaO", 0x80FF}, {L"Olrswicda", 0x80FF},
      {L"lrswicdao", 0xFF},   {L"LRSWICDA", 0},      // letters are case-sensitive
      {L"lr swid", 0x5F},     {L"xyzlr", 3},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.rights ? utf8(c.rights) : "null");
    EXPECT_EQ(levelFromRights(c.rights), c.level);
  }
}

TEST(AccessLevels, OnlyTheFourLevelsWriteLetters) {
  const struct {
    ULONG level;
    const wchar_t* rights;
  } cases[] = {
      {kLevelRead, L"lr"},        {kLevelReadWrite, L"lrswid"}, {kLevelFull, L"lrswicda"},
      {kLevelOwner, L"lrswicdaO"}, {kLevelNone, L""},           {kLevelKeep, L""},
      {kLevelDelegate, L""},      {0x01, L""},                  {0x7F, L""},
      {0x80FE, L""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.level);
    EXPECT_EQ(rightsFromLevel(c.level), c.rights);
    if (*c.rights) {
      EXPECT_EQ(levelFromRights(rightsFromLevel(c.level).c_str()), c.level) << "both ways";
    }
  }
}

TEST(AccessLevels, EachLevelIsTheMaskOfItsLettersInTheBitTable) {
  for (const auto& row : kAccessLevels) {
    ULONG mask = 0;
    for (const wchar_t* letter = row.letters; *letter; ++letter)
      for (const auto& bit : kRightsLetters)
        if (bit.letter == *letter) mask |= bit.bit;
    EXPECT_EQ(mask, row.level) << utf8(row.letters);
  }
  EXPECT_EQ(accessLevelTextId(kLevelDelegate), 0x2B66u);
  EXPECT_EQ(accessLevelTextId(0x7F), 0x2AFFu) << "an unknown level reads as no level";
}

TEST(AccessLevels, GranteeTypeOfARecord) {
  const struct {
    ULONG flags;
    const wchar_t* name;
    ULONG level;
    ULONG type;
  } cases[] = {
      {0x8000, L"owners", kLevelOwner, kGranteeGroup},  // the group bit wins over the owner's letters
      {0x8000, L"anyone", kLevelRead, kGranteeGroup},
      {0, L"jane", kLevelOwner, kGranteeOwner},
      {0x0001, L"anyone", kLevelOwner, kGranteeOwner},
      {0, L"anyone", kLevelRead, kGranteeSpecial},
      {0, L"authuser", kLevelNone, kGranteeSpecial},
      {0, L"authuser@", kLevelRead, kGranteeSpecial},  // an empty domain is still special
      {0, L"authuser@example.com", kLevelRead, kGranteeSpecial},
      {0, L"Anyone", kLevelRead, kGranteeUser},
      {0, L"authuser2", kLevelRead, kGranteeUser},
      {0, L"AUTHUSER@example.com", kLevelRead, kGranteeUser},
      {0x7FFF, L"tom", kLevelFull, kGranteeUser},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(utf8(c.name));
    EXPECT_EQ(granteeTypeOf(c.flags, c.name, c.level), c.type);
  }
}

TEST(AccessLevels, DelegateAddressesFoldToLowerCaseLowBytes) {
  const struct {
    std::wstring address;
    std::wstring folded;
  } cases[] = {
      {L"Tom@Example.COM", L"tom@example.com"},
      {L"[\\]^_`", L"[\\]^_`"},
      {L"\u00c4", std::wstring(1, static_cast<wchar_t>(0xFFC4))},  // not made lower case; sign-extended
      {L"\u0141", L"A"},                                             // cut after the case step: stays upper
      {L"\u0161", L"a"},
      {L"\u20ac", std::wstring(1, static_cast<wchar_t>(0xFFAC))},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(utf8(c.address));
    EXPECT_EQ(foldDelegateAddress(c.address), c.folded);
  }
}

// A folder with one entry of each kind the server sends.
ReferenceStore::Mailbox sharedMailbox() {
  ReferenceStore::Mailbox m;
  m.delegates = {{1, L"Tom@Example.com", L"Tom", true}, {2, L"", L"No address", false}};
  ReferenceStore::MailboxFolder inbox;
  inbox.path = L"INBOX";
  inbox.displayPath = L"Inbox";
  inbox.features = {0, 1, 2, 6};
  inbox.access = {
      {0x0001, L"jane", L"lrswicdaO"},         // the mailbox owner
      {0x8000, L"owners", L"lrswicdaO"},       // a group with the owner's letters
      {0x0000, L"tom@example.COM", L"lrswid"},  // a delegate
      {0x0000, L"bob@example.com", L"lrswicdae"},
      {0x0000, L"anyone", L"l"},
      {0x0000, L"authuser@", L"lr"},
      {0x0010, L"carl@example.com", L""},
  };
  ReferenceStore::MailboxFolder sub = inbox;
  sub.path = L"INBOX/Sub";
  sub.displayPath = L"Inbox/Sub";
  sub.access.clear();
  m.folders = {inbox, sub};
  return m;
}

class FolderAccessListTest : public storetest::StoreTest {
 protected:
  ReferenceStore::Store store{sharedMailbox()};
  ComRef<IFolderConfig> folder{store.folderConfig(L"INBOX")};
  FolderAccessList list;

  void SetUp() override {
    StoreTest::SetUp();
    list.setFeatures({true, true, false, true});
  }

  AccessItem item(ULONG index) {
    AccessItem result = 0;
    EXPECT_EQ(list.getItem(index, &result), S_OK);
    return result;
  }
  ULONG count() {
    ULONG n = 0;
    EXPECT_EQ(list.getCount(&n), S_OK);
    return n;
  }
  ULONG level(AccessItem i) {
    ULONG l = 0xDEAD;
    EXPECT_EQ(list.getLevel(i, &l), 0);
    return l;
  }
  ULONG type(AccessItem i) {
    ULONG t = 0xDEAD;
    EXPECT_EQ(list.getType(i, &t), 0);
    return t;
  }
  std::vector<AccessEntry> stored(const std::wstring& path = L"INBOX") {
    return store.mailbox().findFolder(path)->access;
  }
};

TEST_F(FolderAccessListTest, LoadsEachRecordWithItsTypeLevelAndLock) {
  list.loadAccessData(folder.get());
  const struct {
    const wchar_t* name;
    ULONG type;
    ULONG level;
    HRESULT locked;
  } expected[] = {
      {L"jane", kGranteeOwner, kLevelOwner, 1},
      {L"owners", kGranteeGroup, kLevelOwner, 1},
      {L"tom@example.COM", kGranteeUser, kLevelDelegate, 0},
      {L"bob@example.com", kGranteeUser, kLevelFull, 0},
      {L"anyone", kGranteeSpecial, kLevelNone, 0},
      {L"authuser@", kGranteeSpecial, kLevelRead, 0},
      {L"carl@example.com", kGranteeUser, kLevelNone, 0},
  };
  ASSERT_EQ(count(), std::size(expected));
  for (ULONG i = 0; i < count(); ++i) {
    SCOPED_TRACE(utf8(expected[i].name));
    std::wstring name;
    EXPECT_EQ(list.getName(item(i), name), 0);
    EXPECT_EQ(name, expected[i].name);
    EXPECT_EQ(type(item(i)), expected[i].type);
    EXPECT_EQ(level(item(i)), expected[i].level);
    EXPECT_EQ(list.isLocked(item(i)), expected[i].locked);
  }
  EXPECT_FALSE(list.dirty());
  EXPECT_TRUE(list.isDelegate(L"TOM@EXAMPLE.COM"));
  EXPECT_FALSE(list.isDelegate(L"")) << "the delegate without an address names nobody";
}

TEST_F(FolderAccessListTest, SavingWritesTheTableLettersAndKeepsTheFlags) {
  list.loadAccessData(folder.get());
  list.saveAccessData(folder.get());
  const std::vector<AccessEntry> expected = {
      {0x0001, L"jane", L"lrswicdaO"},
      {0x8000, L"owners", L"lrswicdaO"},
      {0x0000, L"tom@example.COM", L"lrswid"},  // the stored level, not the delegate mark
      {0x0000, L"bob@example.com", L"lrswicda"},  // the unknown letter is gone
      {0x0000, L"anyone", L""},
      {0x0000, L"authuser@", L"lr"},
      {0x0010, L"carl@example.com", L""},
  };
  EXPECT_EQ(stored(), expected);
  EXPECT_TRUE(stored(L"INBOX/Sub").empty()) << "not recursive";
}

TEST_F(FolderAccessListTest, AChangedLevelWritesItsLettersAndANewGroupGetsTheGroupBit) {
  list.loadAccessData(folder.get());
  EXPECT_EQ(list.setLevel(item(4), kLevelRead), 0);
  AccessItem added = 0;
  ASSERT_EQ(list.addAccess(kGranteeGroup, L"staff", kLevelReadWrite, &added), 0);
  list.saveAccessData(folder.get());
  const auto access = stored();
  ASSERT_EQ(access.size(), 8u);
  EXPECT_EQ(access[4], (AccessEntry{0, L"anyone", L"lr"}));
  EXPECT_EQ(access[7], (AccessEntry{0x8000, L"staff", L"lrswid"}));
}

TEST_F(FolderAccessListTest, AddAccessTurnsTheTypeByLevelAndName) {
  list.loadAccessData(folder.get());
  const struct {
    ULONG type;
    const wchar_t* name;
    ULONG level;
    ULONG storedType;
    ULONG storedLevel;
  } cases[] = {
      {kGranteeUser, L"dan", kLevelRead, kGranteeUser, kLevelRead},
      {kGranteeUser, L"eve", kLevelOwner, kGranteeOwner, kLevelOwner},
      {kGranteeUser, L"authuser@example.com", kLevelRead, kGranteeSpecial, kLevelRead},
      {kGranteeOwner, L"fay", kLevelRead, kGranteeOwner, kLevelOwner},
      {kGranteeGroup, L"authuser", kLevelRead, kGranteeGroup, kLevelRead},
      {kGranteeSpecial, L"gus", kLevelFull, kGranteeSpecial, kLevelFull},
      {kGranteeUser, L"Jane", kLevelRead, kGranteeUser, kLevelRead},  // names compare exactly
      {kGranteeUser, L"TOM@example.com", kLevelRead, kGranteeUser, kLevelDelegate},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(utf8(c.name));
    AccessItem added = 0;
    ASSERT_EQ(list.addAccess(c.type, c.name, c.level, &added), 0);
    EXPECT_EQ(added, item(count() - 1)) << "goes to the end";
    EXPECT_EQ(type(added), c.storedType);
    EXPECT_EQ(level(added), c.storedLevel);
  }
  EXPECT_TRUE(list.dirty());
}

TEST_F(FolderAccessListTest, AddingANameThatIsThereGivesTheExistingEntry) {
  list.loadAccessData(folder.get());
  AccessItem existing = 0;
  EXPECT_EQ(list.addAccess(kGranteeUser, L"bob@example.com", kLevelRead, &existing), 1);
  EXPECT_EQ(existing, item(3));
  EXPECT_EQ(level(existing), kLevelFull) << "the existing entry is not changed";
  EXPECT_EQ(count(), 7u);
  EXPECT_FALSE(list.dirty());
}

TEST_F(FolderAccessListTest, SetLevelWithKeepChangesNothingButAnswersOneAndIsDirty) {
  list.loadAccessData(folder.get());
  EXPECT_EQ(list.setLevel(item(3), kLevelKeep), 1);
  EXPECT_EQ(level(item(3)), kLevelFull);
  EXPECT_TRUE(list.dirty());
  EXPECT_EQ(list.setLevel(item(3), kLevelReadWrite), 0);
  EXPECT_EQ(level(item(3)), kLevelReadWrite);
  EXPECT_EQ(list.setLevel(item(2), kLevelRead), 0) << "a delegate's entry stores the level, but shows as a delegate's";
  EXPECT_EQ(level(item(2)), kLevelDelegate);
}

TEST_F(FolderAccessListTest, HandlesThatAreNotInTheListAreRefused) {
  list.loadAccessData(folder.get());
  const AccessItem gone = item(6);
  ASSERT_EQ(list.removeAccess(gone), 0);
  EXPECT_EQ(count(), 6u);
  EXPECT_TRUE(list.dirty());
  for (AccessItem bad : {AccessItem(0), gone}) {
    SCOPED_TRACE(bad);
    ULONG value = 0;
    std::wstring name;
    EXPECT_EQ(list.isLocked(bad), E_INVALIDARG);
    EXPECT_EQ(list.setLevel(bad, kLevelRead), E_INVALIDARG);
    EXPECT_EQ(list.removeAccess(bad), E_INVALIDARG);
    EXPECT_EQ(list.getLevel(bad, &value), E_INVALIDARG);
    EXPECT_EQ(list.getType(bad, &value), E_INVALIDARG);
    EXPECT_EQ(list.getName(bad, name), E_INVALIDARG);
  }
  AccessItem out = 0;
  try {
    list.getItem(6, &out);
    ADD_FAILURE() << "an index behind the list must throw";
  } catch (const std::out_of_range& e) {
    EXPECT_STREQ(e.what(), "invalid vector<T> subscript");
  }
  ULONG* none = nullptr;
  EXPECT_EQ(list.getCount(none), E_POINTER);
}

TEST_F(FolderAccessListTest, TheWholeListIsLockedWithoutTheWriteFeature) {
  list.setFeatures({true, false, false, false});
  EXPECT_EQ(list.isLocked(-1), 1);
  list.setFeatures({true, true, false, false});
  EXPECT_EQ(list.isLocked(-1), 0);
}

TEST_F(FolderAccessListTest, RecursiveBoxHiddenAnswersZeroAndOnlyATickMakesDirty) {
  list.setFeatures({true, true, true, false});
  EXPECT_EQ(list.isRecursiveHidden(), 0);
  list.setFeatures({true, true, false, false});
  EXPECT_EQ(list.isRecursiveHidden(), 1);

  list.loadAccessData(folder.get());
  EXPECT_EQ(list.setRecursive(false), 0);
  EXPECT_FALSE(list.dirty()) << "unticking alone does not enable Apply";
  EXPECT_EQ(list.setRecursive(true), 0);
  EXPECT_TRUE(list.dirty());
  list.saveAccessData(folder.get());
  EXPECT_EQ(stored(L"INBOX/Sub"), stored()) << "written to the subfolders as well";
  list.setRecursive(false);
  EXPECT_TRUE(list.dirty()) << "unticking keeps an earlier change";
}

TEST_F(FolderAccessListTest, WithoutTheDelegateFeatureNoEntryIsMarked) {
  list.setFeatures({true, true, false, false});
  list.loadAccessData(folder.get());
  EXPECT_EQ(level(item(2)), kLevelReadWrite);
  EXPECT_FALSE(list.isDelegate(L"tom@example.com"));
}

TEST_F(FolderAccessListTest, AFailureToReadTheDelegatesLeavesThemUnmarked) {
  for (Operation failing : {Operation::GetDelegates, Operation::GetGlobalConfig}) {
    SCOPED_TRACE(static_cast<int>(failing));
    store.failNext(failing, E_FAIL);
    list.loadAccessData(folder.get());
    EXPECT_EQ(count(), 7u);
    EXPECT_EQ(level(item(2)), kLevelReadWrite);
    EXPECT_EQ(store.pendingFailures(), 0u);
  }
}

TEST_F(FolderAccessListTest, StoreFailuresOnLoadPassThroughAndLeaveAnEmptyList) {
  const struct {
    Operation operation;
    HRESULT code;
  } cases[] = {
      {Operation::GetAccessRights, MAPI_E_NETWORK_ERROR},
      {Operation::FolderGetAllocator, MAPI_E_CALL_FAILED},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(static_cast<int>(c.operation));
    list.loadAccessData(folder.get());
    store.failNext(c.operation, c.code);
    try {
      list.loadAccessData(folder.get());
      ADD_FAILURE() << "no failure";
    } catch (const HResultException& e) {
      EXPECT_EQ(e.getHResult(), c.code);
    }
    EXPECT_EQ(count(), 0u);
  }
  // The store's own allocation failing inside getAccessRights.
  list.setFeatures({true, true, false, false});
  ReferenceStore::ReferenceAllocator::failAllocation(MAPI_E_NOT_ENOUGH_MEMORY, 2);
  EXPECT_THROW(list.loadAccessData(folder.get()), HResultException);
}

TEST_F(FolderAccessListTest, AFailedSaveChangesNothingInTheStoreAndStaysDirty) {
  list.loadAccessData(folder.get());
  AccessItem added = 0;
  list.addAccess(kGranteeUser, L"dan", kLevelRead, &added);
  const auto before = stored();
  store.failNext(Operation::SetAccessRights, E_ACCESSDENIED);
  try {
    list.saveAccessData(folder.get());
    ADD_FAILURE() << "no failure";
  } catch (const HResultException& e) {
    EXPECT_EQ(e.getHResult(), E_ACCESSDENIED);
  }
  EXPECT_EQ(stored(), before);
  EXPECT_TRUE(list.dirty());

  for (size_t skip : {0, 1, 5, 15}) {
    SCOPED_TRACE(skip);
    ReferenceStore::ReferenceAllocator::failAllocation(MAPI_E_NOT_ENOUGH_MEMORY, skip);
    try {
      list.saveAccessData(folder.get());
      ADD_FAILURE() << "no failure";
    } catch (const HResultException& e) {
      EXPECT_EQ(e.getHResult(), MAPI_E_NOT_ENOUGH_MEMORY);
    }
    EXPECT_EQ(stored(), before);
  }
  list.saveAccessData(folder.get());
  EXPECT_EQ(stored().size(), 8u);
}

TEST_F(FolderAccessListTest, AnEmptyListIsWrittenAsAnEmptyList) {
  list.loadAccessData(folder.get());
  while (count()) list.removeAccess(item(0));
  const size_t blocksBefore = ReferenceStore::ReferenceAllocator::liveBlocks();
  list.saveAccessData(folder.get());
  EXPECT_TRUE(stored().empty());
  EXPECT_EQ(ReferenceStore::ReferenceAllocator::liveBlocks(), blocksBefore);
}

// A service that breaks the rules and lets a C++ exception out of its access calls.
class ThrowingFolderConfig final : public IFolderConfig {
 public:
  explicit ThrowingFolderConfig(IFolderConfig* inner) : inner_(inner) {}
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override { return inner_->QueryInterface(iid, out); }
  ULONG STDMETHODCALLTYPE AddRef() override { return 1; }
  ULONG STDMETHODCALLTYPE Release() override { return 1; }
  HRESULT STDMETHODCALLTYPE getAccessRights(ULONG*, AccessInfo**) override { throw std::length_error("too long"); }
  HRESULT STDMETHODCALLTYPE setAccessRights(ULONG, AccessInfo*, bool) override { throw std::runtime_error("gone"); }
  HRESULT STDMETHODCALLTYPE getSynchronization(ULONG* mode) override { return inner_->getSynchronization(mode); }
  HRESULT STDMETHODCALLTYPE setSynchronization(ULONG mode, bool recursive) override {
    return inner_->setSynchronization(mode, recursive);
  }
  HRESULT STDMETHODCALLTYPE getAllocator(IUnknown** allocator) override { return inner_->getAllocator(allocator); }
  HRESULT STDMETHODCALLTYPE getGlobalConfig(IGlobalConfig** config) override { return inner_->getGlobalConfig(config); }
  HRESULT STDMETHODCALLTYPE isFeatureAvailable(ULONG feature) override { return inner_->isFeatureAvailable(feature); }
  HRESULT STDMETHODCALLTYPE getFolderFlags(ULONG* flags, ULONG reserved) override {
    return inner_->getFolderFlags(flags, reserved);
  }
  HRESULT STDMETHODCALLTYPE resynchronizeContents() override { return inner_->resynchronizeContents(); }

 private:
  IFolderConfig* inner_;
};

TEST_F(FolderAccessListTest, OtherExceptionsBecomeOutOfMemoryWithTheirText) {
  ThrowingFolderConfig broken(folder.get());
  const struct {
    std::function<void()> call;
    std::string message;
  } cases[] = {
      {[&] { list.loadAccessData(&broken); }, "Failed to load access rights (too long)"},
      {[&] { list.saveAccessData(&broken); }, "Failed to save access rights (gone)"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.message);
    try {
      c.call();
      ADD_FAILURE() << "no raise";
    } catch (const HResultException& e) {
      EXPECT_EQ(e.getHResult(), E_OUTOFMEMORY);
      EXPECT_EQ(storetest::messageOf(e), c.message);
    }
  }
}

}  // namespace
