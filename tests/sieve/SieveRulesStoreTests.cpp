// The rule set against the reference store service: what reaches the server, and when.
#include <gtest/gtest.h>

#include <functional>

#include "base/HResultException.h"
#include "sieve/SieveRules.h"
#include "store/reference/ReferenceStore.h"

namespace {

using namespace Sieve;

const std::wstring kScript = L"#!1 Mine\r\nif true \r\n{\r\n  keep;\r\n}\r\n";
const std::wstring kBroken = L"if true { keep;\r\n";

struct StoreFixture : ::testing::Test {
  std::unique_ptr<ReferenceStore::Store> store;
  ComRef<IGlobalConfig> config;

  void open(const std::wstring& script) {
    ReferenceStore::Mailbox mailbox;
    mailbox.script = script;
    store = std::make_unique<ReferenceStore::Store>(mailbox);
    config = store->globalConfig();
  }
  std::wstring serverText() const { return store->mailbox().script; }
};

HRESULT codeOf(const std::function<void()>& f) {
  try {
    f();
  } catch (const HResultException& e) {
    return e.getHResult();
  }
  return S_OK;
}

TEST_F(StoreFixture, EmptyScriptLoadsWithNoRules) {
  open(L"");
  SieveRules rules;
  rules.loadSieveScript(config.get(), false, nullptr);
  EXPECT_EQ(rules.getSieveStatus(), SieveStatus::Loaded);
  EXPECT_EQ(rules.getRules(false), nullptr);
}

TEST_F(StoreFixture, NothingIsWrittenWhenNothingChanged) {
  open(kScript);
  SieveRules rules;
  rules.loadSieveScript(config.get(), false, nullptr);
  store->failNext(ReferenceStore::Operation::SetSieveScript, E_FAIL);
  rules.saveSieveScript(config.get());
  EXPECT_EQ(store->pendingFailures(), 1u) << "the store was not asked";
  EXPECT_EQ(serverText(), kScript);
}

TEST_F(StoreFixture, AScriptThatFailedToLoadIsNeverOverwritten) {
  open(kBroken);
  SieveRules rules;
  EXPECT_EQ(codeOf([&] { rules.loadSieveScript(config.get(), true, nullptr); }), E_FAIL);
  EXPECT_EQ(rules.getSieveStatus(), SieveStatus::NotLoaded);
  EXPECT_EQ(codeOf([&] { rules.setJunkEmailEnabled(true); }), E_INVALIDARG);
  rules.saveSieveScript(config.get());
  EXPECT_EQ(serverText(), kBroken);
}

TEST_F(StoreFixture, StoreFailuresComeBackWithTheirCodes) {
  open(kScript);
  SieveRules rules;
  store->failNext(ReferenceStore::Operation::GetSieveScript, MAPI_E_NETWORK_ERROR);
  EXPECT_EQ(codeOf([&] { rules.loadSieveScript(config.get(), false, nullptr); }), MAPI_E_NETWORK_ERROR);
  EXPECT_EQ(rules.getSieveStatus(), SieveStatus::NotLoaded);

  rules.loadSieveScript(config.get(), false, nullptr);
  rules.setJunkEmailEnabled(true);
  store->failNext(ReferenceStore::Operation::SetSieveScript, MAPI_E_DISK_ERROR);
  EXPECT_EQ(codeOf([&] { rules.saveSieveScript(config.get()); }), MAPI_E_DISK_ERROR);
  EXPECT_EQ(rules.getSieveStatus(), SieveStatus::Modified) << "the status stays as it was";
  EXPECT_EQ(serverText(), kScript);

  rules.saveSieveScript(config.get());
  EXPECT_EQ(rules.getSieveStatus(), SieveStatus::Loaded);
  std::wstring written;
  rules.writeSieveScript(written);
  EXPECT_EQ(serverText(), written);
  EXPECT_EQ(serverText().find(L"#!1 __WebmailJunk__\r\n"), 0u);
}

TEST_F(StoreFixture, AWriteFailureLeavesTheServerTextAndTheStatus) {
  open(kScript);
  SieveRules rules;
  rules.loadSieveScript(config.get(), false, nullptr);
  RulePtr unwritable(new SieveRule());  // kind Empty
  rules.setRules(unwritable.get());
  EXPECT_EQ(codeOf([&] { rules.saveSieveScript(config.get()); }), E_FAIL);
  EXPECT_EQ(rules.getSieveStatus(), SieveStatus::Modified);
  EXPECT_EQ(serverText(), kScript);
}

TEST_F(StoreFixture, NullConfigIsRefused) {
  SieveRules rules;
  EXPECT_EQ(codeOf([&] { rules.loadSieveScript(nullptr, false, nullptr); }), E_INVALIDARG);
  EXPECT_EQ(codeOf([&] { rules.saveSieveScript(nullptr); }), E_INVALIDARG);
}

}  // namespace
