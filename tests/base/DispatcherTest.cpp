// The table-driven IDispatch, driven as a script host or the host application drives it:
// names in any case, gets, puts and calls, and the failures COM defines for each.
#include <gtest/gtest.h>

#include <cctype>
#include <cwchar>
#include <string>
#include <vector>

#include "base/Dispatcher.h"

namespace {

class Sample : public iui_::IUnknownImpl<zelvo::DispatchImpl<Sample>> {
 public:
  static const zelvo::DispatchTable<Sample>& dispatchTable();

  std::wstring name = L"first";
  ComRef<IDispatch> owner;
};

const zelvo::DispatchTable<Sample>& Sample::dispatchTable() {
  using zelvo::DispatchCall;
  static const zelvo::DispatchTable<Sample> table({
      {L"Name", 1, DISPATCH_PROPERTYGET | DISPATCH_PROPERTYPUT, 0,
       [](Sample& s, DispatchCall& call) {
         if (call.isPut()) s.name = call.value().toText();
         else call.result = Variant::fromText(s.name);
       }},
      {L"Subtract", 2, DISPATCH_METHOD, 2,
       [](Sample&, DispatchCall& call) { call.result = Variant::fromInt32(call.int32(0) - call.int32(1)); }},
      {L"Describe", 3, DISPATCH_METHOD, 3,
       [](Sample&, DispatchCall& call) {
         call.result = Variant::fromText(call.text(0) + L"/" + std::to_wstring(call.uint32(1)) + L"/" +
                                         (call.boolean(2) ? L"yes" : L"no"));
       }},
      {L"Owner", 4, DISPATCH_PROPERTYGET | DISPATCH_PROPERTYPUT, 0,
       [](Sample& s, DispatchCall& call) {
         if (call.isPut()) s.owner = call.value().toDispatch();
         else call.result = Variant::fromDispatch(s.owner.get());
       }},
      {L"Refuse", 5, DISPATCH_METHOD, 0, [](Sample&, DispatchCall&) { ZEL_HERE.raise(E_ACCESSDENIED, "refused"); }},
      {L"Count", 6, DISPATCH_PROPERTYGET, 0, [](Sample&, DispatchCall& call) { call.result = Variant::fromInt32(7); }},
      {L"HasObject", 7, DISPATCH_METHOD, 1,
       [](Sample&, DispatchCall& call) { call.result = Variant::fromBool(call.unknown(0).get() != nullptr); }},
      {L"Partly", 8, DISPATCH_METHOD, 1,
       [](Sample&, DispatchCall& call) {
         call.result = Variant::fromText(L"done");
         if (call.boolean(0)) call.answer = S_FALSE;
       }},
  });
  return table;
}

struct Fixture : ::testing::Test {
  ComRef<Sample> sample = ComRef<Sample>::adopt(new Sample);
  IDispatch* dispatch() { return sample.get(); }
};

struct NameCase {
  const wchar_t* name;
  HRESULT code;
  DISPID id;
};

TEST_F(Fixture, NamesAreFoundWithoutRegardToCase) {
  const NameCase cases[] = {
      {L"Name", S_OK, 1},         {L"name", S_OK, 1},          {L"NAME", S_OK, 1},
      {L"sUbTrAcT", S_OK, 2},     {L"Subtrac", DISP_E_UNKNOWNNAME, DISPID_UNKNOWN},
      {L"Names", DISP_E_UNKNOWNNAME, DISPID_UNKNOWN}, {L"", DISP_E_UNKNOWNNAME, DISPID_UNKNOWN},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.name, c.name + std::wcslen(c.name)));
    std::wstring text(c.name);
    LPOLESTR names[] = {&text[0]};
    DISPID id = 12345;
    EXPECT_EQ(dispatch()->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id), c.code);
    EXPECT_EQ(id, c.id);
  }
}

TEST_F(Fixture, NamedParametersAreUnknownAndTheMemberStillFound) {
  std::wstring member(L"Subtract"), parameter(L"left");
  LPOLESTR names[] = {&member[0], &parameter[0]};
  DISPID ids[2] = {0, 0};
  EXPECT_EQ(dispatch()->GetIDsOfNames(IID_NULL, names, 2, LOCALE_USER_DEFAULT, ids), DISP_E_UNKNOWNNAME);
  EXPECT_EQ(ids[0], 2);
  EXPECT_EQ(ids[1], DISPID_UNKNOWN);
}

// One Invoke: the arguments in the member's order (the test reverses them into rgvarg,
// as a caller must), whether the value goes as the named put argument, and the outcome.
struct InvokeCase {
  const char* name;
  DISPID id;
  WORD flags;
  std::vector<Variant> arguments;
  bool namedPut;
  HRESULT code;
  std::wstring result;  // the result as text, when there is one
  UINT argumentError;   // checked for conversion failures
};

class InvokeTest : public ::testing::TestWithParam<InvokeCase> {};

Variant text(const wchar_t* t) { return Variant::fromText(t); }
Variant number(LONG n) { return Variant::fromInt32(n); }

const InvokeCase kInvokes[] = {
    {"get", 1, DISPATCH_PROPERTYGET, {}, false, S_OK, L"first", 0},
    {"get asked as method or get", 1, DISPATCH_METHOD | DISPATCH_PROPERTYGET, {}, false, S_OK, L"first", 0},
    {"method in member order", 2, DISPATCH_METHOD, {number(10), number(3)}, false, S_OK, L"7", 0},
    {"method arguments coerced", 2, DISPATCH_METHOD, {text(L"10"), Variant::fromBool(true)}, false, S_OK, L"11", 0},
    {"three kinds of argument", 3, DISPATCH_METHOD, {text(L"a"), text(L"42"), number(0)}, false, S_OK, L"a/42/no", 0},
    {"too few arguments", 2, DISPATCH_METHOD, {number(1)}, false, DISP_E_BADPARAMCOUNT, L"", 0},
    {"too many arguments", 2, DISPATCH_METHOD, {number(1), number(2), number(3)}, false, DISP_E_BADPARAMCOUNT, L"", 0},
    {"arguments to a get", 6, DISPATCH_PROPERTYGET, {number(1)}, false, DISP_E_BADPARAMCOUNT, L"", 0},
    {"first argument does not convert", 2, DISPATCH_METHOD, {text(L"ten"), number(3)}, false, DISP_E_TYPEMISMATCH,
     L"", 1},
    {"second argument does not convert", 2, DISPATCH_METHOD, {number(10), text(L"three")}, false,
     DISP_E_TYPEMISMATCH, L"", 0},
    {"unsigned beyond 32 bits", 3, DISPATCH_METHOD, {text(L"a"), text(L"10000000000"), number(0)}, false,
     DISP_E_OVERFLOW, L"",
     1},
    {"value where an object is wanted", 7, DISPATCH_METHOD, {number(1)}, false, DISP_E_TYPEMISMATCH, L"", 0},
    {"null object", 7, DISPATCH_METHOD, {Variant::fromUnknown(nullptr)}, false, S_OK, L"0", 0},
    {"put of a read-only property", 6, DISPATCH_PROPERTYPUT, {number(1)}, true, DISP_E_MEMBERNOTFOUND, L"", 0},
    {"get of a method", 2, DISPATCH_PROPERTYGET, {number(1), number(2)}, false, DISP_E_MEMBERNOTFOUND, L"", 0},
    {"method call of a property", 6, DISPATCH_METHOD, {}, false, DISP_E_MEMBERNOTFOUND, L"", 0},
    {"unknown id", 99, DISPATCH_METHOD, {}, false, DISP_E_MEMBERNOTFOUND, L"", 0},
    {"put without the named argument", 1, DISPATCH_PROPERTYPUT, {text(L"x")}, false, DISP_E_PARAMNOTFOUND, L"", 0},
    {"body's own failure", 5, DISPATCH_METHOD, {}, false, E_ACCESSDENIED, L"", 0},
    {"body's own success code", 8, DISPATCH_METHOD, {Variant::fromBool(true)}, false, S_FALSE, L"done", 0},
    {"body without a code of its own", 8, DISPATCH_METHOD, {Variant::fromBool(false)}, false, S_OK, L"done", 0},
};

// rgvarg holds the arguments last first; a put's value is the named one at index 0.
HRESULT invoke(IDispatch* target, const InvokeCase& c, VARIANT* result, UINT* argumentError) {
  std::vector<VARIANT> rgvarg;
  for (auto it = c.arguments.rbegin(); it != c.arguments.rend(); ++it) rgvarg.push_back(it->get());
  DISPID put = DISPID_PROPERTYPUT;
  DISPPARAMS params{rgvarg.empty() ? nullptr : rgvarg.data(), c.namedPut ? &put : nullptr,
                    static_cast<UINT>(rgvarg.size()), c.namedPut ? 1u : 0u};
  return target->Invoke(c.id, IID_NULL, LOCALE_USER_DEFAULT, c.flags, &params, result, nullptr, argumentError);
}

TEST_P(InvokeTest, AnswersAsCOMHasIt) {
  const InvokeCase& c = GetParam();
  auto sample = ComRef<Sample>::adopt(new Sample);
  Variant result;
  UINT argumentError = 1000;
  EXPECT_EQ(invoke(sample.get(), c, result.put(), &argumentError), c.code);
  if (SUCCEEDED(c.code)) {
    EXPECT_EQ(result.toText(), c.result);
  } else {
    EXPECT_TRUE(result.empty());
  }
  if (c.code == DISP_E_TYPEMISMATCH || c.code == DISP_E_OVERFLOW) {
    EXPECT_EQ(argumentError, c.argumentError);
  }
}

INSTANTIATE_TEST_SUITE_P(Calls, InvokeTest, ::testing::ValuesIn(kInvokes),
                         [](const ::testing::TestParamInfo<InvokeCase>& info) {
                           std::string name;
                           for (const char* p = info.param.name; *p; ++p) name += std::isalnum(static_cast<unsigned char>(*p)) ? *p : '_';
                           return name;
                         });

TEST_F(Fixture, PutWithTheNamedArgumentChangesWhatGetAnswers) {
  const InvokeCase put{"put", 1, DISPATCH_PROPERTYPUT, {text(L"second")}, true, S_OK, L"", 0};
  ASSERT_EQ(invoke(dispatch(), put, nullptr, nullptr), S_OK);
  EXPECT_EQ(sample->name, L"second");
  const InvokeCase get{"get", 1, DISPATCH_PROPERTYGET, {}, false, S_OK, L"", 0};
  Variant result;
  ASSERT_EQ(invoke(dispatch(), get, result.put(), nullptr), S_OK);
  EXPECT_EQ(result.toText(), L"second");
}

TEST_F(Fixture, ObjectPropertiesHoldTheirReference) {
  auto other = ComRef<Sample>::adopt(new Sample);
  const InvokeCase put{"put", 4, DISPATCH_PROPERTYPUTREF, {Variant::fromDispatch(other.get())}, true, S_OK, L"", 0};
  ASSERT_EQ(invoke(dispatch(), put, nullptr, nullptr), S_OK);
  EXPECT_EQ(sample->owner.get(), static_cast<IDispatch*>(other.get()));
  const InvokeCase get{"get", 4, DISPATCH_PROPERTYGET, {}, false, S_OK, L"", 0};
  Variant result;
  ASSERT_EQ(invoke(dispatch(), get, result.put(), nullptr), S_OK);
  EXPECT_EQ(result.type(), VT_DISPATCH);
  EXPECT_EQ(result.toDispatch().get(), static_cast<IDispatch*>(other.get()));
}

TEST_F(Fixture, OtherInterfaceIdsAndMissingParametersAreRefused) {
  DISPPARAMS none{nullptr, nullptr, 0, 0};
  Variant result;
  EXPECT_EQ(dispatch()->Invoke(6, IID_IDispatch, 0, DISPATCH_PROPERTYGET, &none, result.put(), nullptr, nullptr),
            DISP_E_UNKNOWNINTERFACE);
  EXPECT_EQ(dispatch()->Invoke(6, IID_NULL, 0, DISPATCH_PROPERTYGET, nullptr, result.put(), nullptr, nullptr),
            E_INVALIDARG);
  DISPID named = 0;
  VARIANT value = Variant::fromInt32(1).detach();
  DISPPARAMS withNamed{&value, &named, 1, 1};
  EXPECT_EQ(dispatch()->Invoke(2, IID_NULL, 0, DISPATCH_METHOD, &withNamed, result.put(), nullptr, nullptr),
            DISP_E_NONAMEDARGS);
}

TEST_F(Fixture, TypeInformationIsNotThereYet) {
  UINT count = 5;
  EXPECT_EQ(dispatch()->GetTypeInfoCount(&count), S_OK);
  EXPECT_EQ(count, 0u);
  ITypeInfo* info = reinterpret_cast<ITypeInfo*>(1);
  EXPECT_EQ(dispatch()->GetTypeInfo(0, 0, &info), E_NOTIMPL);
  EXPECT_EQ(info, nullptr);
}

TEST_F(Fixture, AnswersIDispatchAndIUnknown) {
  ComRef<IDispatch> asDispatch;
  EXPECT_EQ(sample->QueryInterface(IID_IDispatch, asDispatch.putVoid()), S_OK);
  EXPECT_EQ(asDispatch.get(), dispatch());
  ComRef<IUnknown> asUnknown;
  EXPECT_EQ(sample->QueryInterface(IID_IUnknown, asUnknown.putVoid()), S_OK);
  ComRef<IStream> asStream;
  EXPECT_EQ(sample->QueryInterface(IID_IStream, asStream.putVoid()), E_NOINTERFACE);
}

}  // namespace
