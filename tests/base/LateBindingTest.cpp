// Calls by name as the host sees them: a recording IDispatch shows what goes over the
// wire, and the table-driven one answers them end to end.
#include <gtest/gtest.h>

#include <cctype>
#include <string>
#include <vector>

#include "base/Dispatcher.h"
#include "base/LateBinding.h"

namespace {

// Records the last call; answers every name with id 7 except "Missing", and fails a
// call to "Broken" through the exception record as automation servers do.
class Recorder : public iui_::IUnknownImpl<IDispatch> {
 public:
  std::wstring askedName;
  LCID namesLocale = 0, invokeLocale = 0;
  WORD flags = 0;
  DISPID id = 0;
  std::vector<std::wstring> arguments;  // rgvarg as given, as text
  std::vector<DISPID> named;
  bool resultAsked = false;

  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID lcid, DISPID* ids) override {
    askedName = names[0];
    namesLocale = lcid;
    if (askedName == L"Missing") {
      ids[0] = DISPID_UNKNOWN;
      return DISP_E_UNKNOWNNAME;
    }
    ids[0] = askedName == L"Broken" ? 8 : 7;
    return count == 1 ? S_OK : DISP_E_UNKNOWNNAME;
  }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID member, REFIID, LCID lcid, WORD wFlags, DISPPARAMS* params,
                                   VARIANT* result, EXCEPINFO* exception, UINT*) override {
    id = member;
    invokeLocale = lcid;
    flags = wFlags;
    arguments.clear();
    for (UINT i = 0; i < params->cArgs; ++i) arguments.push_back(Variant::copyOf(params->rgvarg[i]).toText());
    named.assign(params->rgdispidNamedArgs, params->rgdispidNamedArgs + params->cNamedArgs);
    resultAsked = result != nullptr;
    if (member == 8) {
      exception->scode = STG_E_ACCESSDENIED;
      exception->bstrDescription = SysAllocString(L"the folder is locked");
      return DISP_E_EXCEPTION;
    }
    if (result) *result = Variant::fromText(L"answer").detach();
    return S_OK;
  }
};

TEST(LateBindingTest, MethodArgumentsGoLastFirstInTheUserLocale) {
  auto recorder = ComRef<Recorder>::adopt(new Recorder);
  const Variant result = zelvo::callMethod(recorder.get(), L"GetDefaultFolder",
                                           {Variant::fromInt32(1), Variant::fromText(L"two"), Variant::fromBool(true)});
  EXPECT_EQ(recorder->askedName, L"GetDefaultFolder");
  EXPECT_EQ(recorder->namesLocale, 0x400u);
  EXPECT_EQ(recorder->invokeLocale, 0x400u);
  EXPECT_EQ(recorder->flags, DISPATCH_METHOD);
  EXPECT_EQ(recorder->id, 7);
  EXPECT_EQ(recorder->arguments, (std::vector<std::wstring>{L"-1", L"two", L"1"}));
  EXPECT_TRUE(recorder->named.empty());
  EXPECT_TRUE(recorder->resultAsked);
  EXPECT_EQ(result.toText(), L"answer");
}

TEST(LateBindingTest, GetAsksForAResultWithoutArguments) {
  auto recorder = ComRef<Recorder>::adopt(new Recorder);
  EXPECT_EQ(zelvo::getProperty(recorder.get(), L"MAPIOBJECT").toText(), L"answer");
  EXPECT_EQ(recorder->flags, DISPATCH_PROPERTYGET);
  EXPECT_TRUE(recorder->arguments.empty());
}

TEST(LateBindingTest, PutSendsTheValueAsTheNamedPutArgument) {
  auto recorder = ComRef<Recorder>::adopt(new Recorder);
  zelvo::putProperty(recorder.get(), L"Visible", Variant::fromInt32(5));
  EXPECT_EQ(recorder->flags, DISPATCH_PROPERTYPUT);
  EXPECT_EQ(recorder->arguments, (std::vector<std::wstring>{L"5"}));
  EXPECT_EQ(recorder->named, (std::vector<DISPID>{DISPID_PROPERTYPUT}));
  EXPECT_FALSE(recorder->resultAsked);
}

struct FailureCase {
  const char* name;
  void (*call)(IDispatch*);
  HRESULT code;
  const char* messagePart;
};

const FailureCase kFailures[] = {
    {"unknown name", [](IDispatch* d) { zelvo::getProperty(d, L"Missing"); }, DISP_E_UNKNOWNNAME,
     "Unknown member Missing"},
    {"exception record", [](IDispatch* d) { zelvo::callMethod(d, L"Broken"); }, STG_E_ACCESSDENIED,
     "Failed to call Broken: the folder is locked"},
    {"null object", [](IDispatch*) { zelvo::getProperty(nullptr, L"Anything"); }, E_INVALIDARG,
     "No object for Anything"},
};

class LateBindingFailureTest : public ::testing::TestWithParam<FailureCase> {};

TEST_P(LateBindingFailureTest, RaisesWithTheMembersName) {
  auto recorder = ComRef<Recorder>::adopt(new Recorder);
  try {
    GetParam().call(recorder.get());
    FAIL() << "no raise";
  } catch (const HResultException& e) {
    EXPECT_EQ(e.getHResult(), GetParam().code);
    EXPECT_NE(std::string(e.what()).find(GetParam().messagePart), std::string::npos) << e.what();
  }
}

INSTANTIATE_TEST_SUITE_P(Failures, LateBindingFailureTest, ::testing::ValuesIn(kFailures),
                         [](const ::testing::TestParamInfo<FailureCase>& info) {
                           std::string name;
                           for (const char* p = info.param.name; *p; ++p) name += std::isalnum(static_cast<unsigned char>(*p)) ? *p : '_';
                           return name;
                         });

// End to end over our own dispatcher: what one side sends the other unpacks.
class Account : public iui_::IUnknownImpl<zelvo::DispatchImpl<Account>> {
 public:
  static const zelvo::DispatchTable<Account>& dispatchTable() {
    static const zelvo::DispatchTable<Account> table({
        {L"Balance", 1, DISPATCH_PROPERTYGET | DISPATCH_PROPERTYPUT, 0,
         [](Account& a, zelvo::DispatchCall& call) {
           if (call.isPut()) a.balance = call.value().toInt32();
           else call.result = Variant::fromInt32(a.balance);
         }},
        {L"Move", 2, DISPATCH_METHOD, 2,
         [](Account& a, zelvo::DispatchCall& call) {
           a.balance += call.int32(0) - call.int32(1);
           call.result = Variant::fromInt32(a.balance);
         }},
    });
    return table;
  }
  LONG balance = 0;
};

TEST(LateBindingTest, RoundTripThroughTheDispatcher) {
  auto account = ComRef<Account>::adopt(new Account);
  zelvo::putProperty(account.get(), L"balance", Variant::fromInt32(100));
  EXPECT_EQ(zelvo::callMethod(account.get(), L"MOVE", {Variant::fromInt32(30), Variant::fromText(L"5")}).toInt32(),
            125);
  EXPECT_EQ(zelvo::getProperty(account.get(), L"Balance").toInt32(), 125);
  try {
    zelvo::callMethod(account.get(), L"Move", {Variant::fromInt32(1)});
    FAIL() << "one argument short";
  } catch (const HResultException& e) {
    EXPECT_EQ(e.getHResult(), DISP_E_BADPARAMCOUNT);
    EXPECT_NE(std::string(e.what()).find("Failed to call Move"), std::string::npos);
  }
}

}  // namespace
