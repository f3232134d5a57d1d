#include <gtest/gtest.h>

#include <functional>

#include "config/SenderSettings.h"
#include "store/reference/ReferenceAllocator.h"
#include "store/reference/ReferenceStore.h"
#include "testing/TestEnvironment.h"
#include "tests/store/StoreTestSupport.h"

using namespace zelvo::config;
using ReferenceStore::Operation;
using zelvo::testing::utf8;

namespace {

// The configuration properties object supplies IUnknown; here the settings stand alone.
class Settings final : public SenderSettingsImpl {
 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** out) override {
    *out = nullptr;
    return E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return 1; }
  ULONG STDMETHODCALLTYPE Release() override { return 1; }
};

// Answers as told and remembers what it was asked.
class Question final : public ISenderAddressQuestion {
 public:
  bool useUncheckedAddress(const std::wstring& address) override {
    asked.push_back(address);
    return answer;
  }
  bool answer = false;
  std::vector<std::wstring> asked;
};

ReferenceStore::Mailbox senderMailbox() {
  ReferenceStore::Mailbox m;
  m.sender = {L"Jane", L"jane@example.com", L"Jane D.", L"", L"reply@example.com", L"Sent from the desk"};
  m.senderAddresses = {L"sales@example.com"};
  return m;
}

class SenderSettingsTest : public storetest::StoreTest {
 protected:
  ReferenceStore::Store store{senderMailbox()};
  ComRef<IGlobalConfig> config{store.globalConfig()};
  Settings settings;
  Question question;

  void SetUp() override {
    StoreTest::SetUp();
    settings.setSenderAddressQuestion(&question);
  }

  template <class Call>
  HRESULT raised(Call&& call) {
    try {
      call();
      return S_OK;
    } catch (const HResultException& e) {
      lastMessage = storetest::messageOf(e);
      return e.getHResult();
    }
  }
  std::string lastMessage;
};

TEST_F(SenderSettingsTest, LoadReadsTheSixFieldsWithNullsAsEmpty) {
  EXPECT_EQ(settings.senderState(), SenderSettingsImpl::kNotLoaded);
  settings.loadSenderSettings(config.get());
  EXPECT_EQ(settings.senderState(), SenderSettingsImpl::kClean);
  EXPECT_EQ(settings.getDefaultName(), L"Jane");
  EXPECT_EQ(settings.getDefaultAddress(), L"jane@example.com");
  EXPECT_EQ(settings.getSenderName(), L"Jane D.");
  EXPECT_EQ(settings.getSenderAddress(), L"");
  EXPECT_EQ(settings.getReplyAddress(), L"reply@example.com");
  EXPECT_EQ(settings.getExtraText(), L"Sent from the desk");
  EXPECT_EQ(raised([&] { settings.loadSenderSettings(nullptr); }), E_INVALIDARG);
}

TEST_F(SenderSettingsTest, AFailedLoadEmptiesEveryFieldAndForgetsTheState) {
  const struct {
    Operation operation;
    HRESULT code;
  } cases[] = {
      {Operation::GetSenderRecord, MAPI_E_NETWORK_ERROR},
      {Operation::GetAllocator, MAPI_E_CALL_FAILED},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(static_cast<int>(c.operation));
    settings.loadSenderSettings(config.get());
    store.failNext(c.operation, c.code);
    EXPECT_EQ(raised([&] { settings.loadSenderSettings(config.get()); }), c.code);
    EXPECT_EQ(settings.senderState(), SenderSettingsImpl::kNotLoaded);
    EXPECT_EQ(settings.getDefaultName() + settings.getDefaultAddress() + settings.getSenderName() +
                  settings.getReplyAddress() + settings.getExtraText(),
              L"");
  }
  ReferenceStore::ReferenceAllocator::failAllocation(MAPI_E_NOT_ENOUGH_MEMORY, 3);
  EXPECT_EQ(raised([&] { settings.loadSenderSettings(config.get()); }), MAPI_E_NOT_ENOUGH_MEMORY);
  EXPECT_EQ(settings.getDefaultName(), L"");
}

TEST_F(SenderSettingsTest, AddressSettersCheckTheFormAndLeaveARefusedFieldAlone) {
  settings.loadSenderSettings(config.get());
  const struct {
    const wchar_t* value;
    HRESULT result;
    const wchar_t* stored;
  } cases[] = {
      {L"other@example.com", S_OK, L"other@example.com"},
      {L"a@b", S_OK, L"a@b"},
      {L"not an address", E_INVALIDARG, L"a@b"},
      {L"a.@b", E_INVALIDARG, L"a@b"},
      {L"", S_OK, L""},  // an empty address needs no check
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(utf8(c.value));
    EXPECT_EQ(raised([&] { settings.setReplyAddress(c.value); }), c.result);
    if (c.result == E_INVALIDARG) {
      EXPECT_EQ(lastMessage, "This is not an email address.");
    }
    EXPECT_EQ(settings.getReplyAddress(), c.stored);
  }
  EXPECT_EQ(settings.senderState(), SenderSettingsImpl::kModified);

  Settings fresh;
  EXPECT_EQ(raised([&] { fresh.setReplyAddress(L"x"); }), E_INVALIDARG);
  EXPECT_EQ(fresh.senderState(), SenderSettingsImpl::kNotLoaded) << "a refused value changes no state";
}

TEST_F(SenderSettingsTest, TheServerDecidesOnTheSenderAddressAndTheUserSettlesADoubt) {
  const struct {
    const wchar_t* name;
    const wchar_t* address;
    HRESULT injected;  // what checkSenderAddress answers, S_OK for the store's own answer
    bool yes;
    HRESULT result;
    bool asked;
  } cases[] = {
      {L"allowed", L"sales@example.com", S_OK, false, S_OK, false},
      {L"the account's own, in capitals", L"JANE@example.com", S_OK, false, S_OK, false},
      {L"refused", L"boss@example.com", S_OK, true, E_ACCESSDENIED, false},
      {L"doubt, yes", L"boss@example.com", MAPI_E_NETWORK_ERROR, true, S_OK, true},
      {L"doubt, no", L"boss@example.com", MAPI_E_NETWORK_ERROR, false, E_ABORT, true},
      {L"a warning is no doubt", L"jane@example.com", S_FALSE, false, S_OK, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(utf8(c.name));
    settings.loadSenderSettings(config.get());
    settings.setSenderAddr(L"sales@example.com");
    question.asked.clear();
    question.answer = c.yes;
    if (c.injected < 0) store.failNext(Operation::CheckSenderAddress, c.injected);
    if (c.injected > 0) store.warnNext(Operation::CheckSenderAddress, c.injected);
    EXPECT_EQ(raised([&] { settings.setSenderAddr(c.address); }), c.result);
    EXPECT_EQ(settings.getSenderAddress(), c.result == S_OK ? c.address : L"sales@example.com");
    EXPECT_EQ(question.asked, c.asked ? std::vector<std::wstring>{c.address} : std::vector<std::wstring>{});
    EXPECT_EQ(store.pendingFailures(), 0u);
  }
}

TEST_F(SenderSettingsTest, AnEmptyOrMalformedSenderAddressNeverReachesTheServer) {
  settings.loadSenderSettings(config.get());
  store.failNext(Operation::CheckSenderAddress, E_ACCESSDENIED);
  settings.setSenderAddr(L"");
  EXPECT_EQ(settings.senderState(), SenderSettingsImpl::kModified);
  EXPECT_EQ(raised([&] { settings.setSenderAddr(L"@example.com"); }), E_INVALIDARG);
  EXPECT_EQ(store.pendingFailures(), 1u) << "checkSenderAddress was not called";
}

TEST_F(SenderSettingsTest, WithoutAStoreOrAQuestionNobodyIsAsked) {
  Settings unloaded;
  unloaded.setSenderAddr(L"boss@example.com");
  EXPECT_EQ(unloaded.getSenderAddress(), L"boss@example.com") << "no config held, no server check";
  unloaded.sendSenderRequest();

  Settings silent;
  silent.loadSenderSettings(config.get());
  store.failNext(Operation::CheckSenderAddress, E_FAIL);
  EXPECT_EQ(raised([&] { silent.setSenderAddr(L"boss@example.com"); }), E_ABORT);
  EXPECT_EQ(silent.getSenderAddress(), L"");
  EXPECT_EQ(store.activity().senderRequests, 0u);
}

TEST_F(SenderSettingsTest, ABadReplyAddressLeavesTheFieldsStoredBeforeIt) {
  // The dialog's OK: name, sender address, reply address, extra text, in this order.
  settings.loadSenderSettings(config.get());
  settings.setSenderName(L"Sales desk");
  settings.setSenderAddr(L"sales@example.com");
  EXPECT_EQ(raised([&] { settings.setReplyAddress(L"no reply"); }), E_INVALIDARG);
  EXPECT_EQ(settings.getSenderName(), L"Sales desk");
  EXPECT_EQ(settings.getSenderAddress(), L"sales@example.com");
  EXPECT_EQ(settings.getReplyAddress(), L"reply@example.com");
  EXPECT_EQ(settings.senderState(), SenderSettingsImpl::kModified);
  EXPECT_EQ(store.mailbox().sender, senderMailbox().sender) << "nothing written before the save";

  settings.saveSenderSettings(config.get());
  EXPECT_EQ(settings.senderState(), SenderSettingsImpl::kClean);
  const ReferenceStore::Sender written = store.mailbox().sender;
  EXPECT_EQ(written.senderName, L"Sales desk");
  EXPECT_EQ(written.senderAddress, L"sales@example.com");
  EXPECT_EQ(written.replyAddress, L"reply@example.com");
}

TEST_F(SenderSettingsTest, OnlyModifiedSettingsAreWrittenAndEmptyFieldsGoAsNull) {
  settings.loadSenderSettings(config.get());
  store.failNext(Operation::SetSenderRecord, E_FAIL);
  store.failNext(Operation::GetAllocator, E_FAIL);
  settings.saveSenderSettings(config.get());
  EXPECT_EQ(store.pendingFailures(), 2u) << "a clean state writes nothing";
  ReferenceStore::Store clean{senderMailbox()};
  ComRef<IGlobalConfig> cleanConfig(clean.globalConfig());
  Settings other;
  other.loadSenderSettings(cleanConfig.get());
  other.setExtraText(L"");
  other.setReplyAddress(L"");
  other.saveSenderSettings(cleanConfig.get());
  const ReferenceStore::Sender written = clean.mailbox().sender;
  EXPECT_EQ(written.extraText, L"");
  EXPECT_EQ(written.replyAddress, L"");
  EXPECT_EQ(written.senderName, L"Jane D.");
  EXPECT_EQ(raised([&] { other.saveSenderSettings(nullptr); }), E_INVALIDARG);
}

TEST_F(SenderSettingsTest, AFailedSaveEmptiesTheFieldsAndWritesNothing) {
  const struct {
    const char* name;
    std::function<void()> inject;
    HRESULT code;
  } cases[] = {
      {"store refuses", [&] { store.failNext(Operation::SetSenderRecord, MAPI_E_NO_ACCESS); }, MAPI_E_NO_ACCESS},
      {"no allocator", [&] { store.failNext(Operation::GetAllocator, MAPI_E_CALL_FAILED); }, MAPI_E_CALL_FAILED},
      {"root block", [] { ReferenceStore::ReferenceAllocator::failAllocation(MAPI_E_NOT_ENOUGH_MEMORY, 0); },
       MAPI_E_NOT_ENOUGH_MEMORY},
      {"a string", [] { ReferenceStore::ReferenceAllocator::failAllocation(MAPI_E_NOT_ENOUGH_MEMORY, 3); },
       MAPI_E_NOT_ENOUGH_MEMORY},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    store.setMailbox(senderMailbox());
    settings.loadSenderSettings(config.get());
    settings.setSenderName(L"Changed");
    c.inject();
    EXPECT_EQ(raised([&] { settings.saveSenderSettings(config.get()); }), c.code);
    EXPECT_EQ(settings.senderState(), SenderSettingsImpl::kNotLoaded);
    EXPECT_EQ(settings.getSenderName(), L"");
    EXPECT_EQ(store.mailbox().sender, senderMailbox().sender);
  }
}

TEST_F(SenderSettingsTest, TheSenderRequestGoesOutAtOnceAndItsAnswerIsIgnored) {
  settings.loadSenderSettings(config.get());
  settings.sendSenderRequest();
  store.failNext(Operation::SendSenderRequest, E_FAIL);
  settings.sendSenderRequest();
  EXPECT_EQ(store.activity().senderRequests, 1u);
  EXPECT_EQ(store.mailbox().sender, senderMailbox().sender) << "a cancelled dialog writes nothing else";
}

}  // namespace
