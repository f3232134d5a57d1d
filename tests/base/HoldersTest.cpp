// The owners of COM references, BSTRs and VARIANTs: what each holds after a copy, a
// move, an adoption and a release, counted on an object that reports its references.
#include <gtest/gtest.h>

#include <cctype>
#include <string>

#include "base/Bstr.h"
#include "base/ComRef.h"
#include "base/Iui.h"
#include "base/Variant.h"

namespace {

// Counts its references where the test can see them, also after it is gone.
struct Counter {
  int alive = 0;
};

class Counted : public iui_::IUnknownImpl<IDispatch> {
 public:
  explicit Counted(Counter& counter) : counter_(counter) { ++counter_.alive; }
  ~Counted() override { --counter_.alive; }
  ULONG references() {
    AddRef();
    return Release();
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override {
    return E_NOTIMPL;
  }

 private:
  Counter& counter_;
};

TEST(ComRefTest, CopiesShareAndEachReleasesItsOwn) {
  Counter counter;
  auto first = ComRef<Counted>::adopt(new Counted(counter));
  EXPECT_EQ(first->references(), 1u);
  {
    ComRef<Counted> copy = first;
    EXPECT_EQ(first->references(), 2u);
    ComRef<Counted> moved = std::move(copy);
    EXPECT_FALSE(copy);
    EXPECT_EQ(first->references(), 2u);
  }
  EXPECT_EQ(first->references(), 1u);
  first.reset();
  EXPECT_EQ(counter.alive, 0);
}

TEST(ComRefTest, DetachHandsTheReferenceOverAndPutDropsTheOldOne) {
  Counter counter;
  auto ref = ComRef<Counted>::adopt(new Counted(counter));
  Counted* raw = ref.detach();
  EXPECT_FALSE(ref);
  EXPECT_EQ(counter.alive, 1);
  auto again = ComRef<Counted>::adopt(raw);
  IDispatch** slot = reinterpret_cast<IDispatch**>(again.put());
  EXPECT_EQ(*slot, nullptr);
  EXPECT_EQ(counter.alive, 0);
}

TEST(ComRefTest, AsQueriesTheListAndRaisesWhatItDoesNotAnswer) {
  Counter counter;
  auto ref = ComRef<IUnknown>::adopt(static_cast<IDispatch*>(new Counted(counter)));
  ComRef<IDispatch> dispatch = ref.as<IDispatch>(IID_IDispatch);
  EXPECT_TRUE(dispatch);
  try {
    (void)ref.as<IStream>(IID_IStream);
    FAIL() << "no IStream in the list";
  } catch (const HResultException& e) {
    EXPECT_EQ(e.getHResult(), E_NOINTERFACE);
  }
  try {
    (void)ComRef<IUnknown>().as<IDispatch>(IID_IDispatch);
    FAIL() << "a null reference answers nothing";
  } catch (const HResultException& e) {
    EXPECT_EQ(e.getHResult(), E_NOINTERFACE);
  }
  dispatch.reset();
  ref.reset();
  EXPECT_EQ(counter.alive, 0);
}

TEST(BstrTest, CopiesAreStringsOfTheirOwnWithEmbeddedZeros) {
  const std::wstring text(L"a\0b", 3);
  Bstr a(text);
  Bstr b = a;
  EXPECT_NE(a.get(), b.get());
  EXPECT_EQ(b.text(), text);
  EXPECT_EQ(b.length(), 3u);
  Bstr moved = std::move(a);
  EXPECT_EQ(a.get(), nullptr);
  EXPECT_EQ(a.text(), L"");
  EXPECT_EQ(moved.text(), text);
}

TEST(BstrTest, PutFreesAndAdoptTakesOver) {
  Bstr s(L"old");
  BSTR* slot = s.put();
  EXPECT_EQ(*slot, nullptr);
  *slot = SysAllocString(L"new");
  EXPECT_EQ(s.text(), L"new");
  Bstr taken = Bstr::adopt(s.detach());
  EXPECT_EQ(s.get(), nullptr);
  EXPECT_EQ(taken.text(), L"new");
}

struct VariantRead {
  const char* name;
  Variant (*make)();
  HRESULT int32Code;  // S_OK: reads as int32Value
  LONG int32Value;
  HRESULT textCode;
  const wchar_t* text;
  HRESULT boolCode;
  bool boolValue;
};

const VariantRead kReads[] = {
    {"int", [] { return Variant::fromInt32(-5); }, S_OK, -5, S_OK, L"-5", S_OK, true},
    {"large unsigned", [] { return Variant::fromUInt32(0xFFFFFFFFu); }, S_OK, -1, S_OK, L"4294967295", S_OK, true},
    {"beyond 32 bits", [] { return Variant::fromText(L"5000000000"); }, DISP_E_OVERFLOW, 0, S_OK, L"5000000000",
     S_OK, true},
    {"true", [] { return Variant::fromBool(true); }, S_OK, -1, S_OK, L"-1", S_OK, true},
    {"false", [] { return Variant::fromBool(false); }, S_OK, 0, S_OK, L"0", S_OK, false},
    {"number text", [] { return Variant::fromText(L"12"); }, S_OK, 12, S_OK, L"12", S_OK, true},
    {"word text", [] { return Variant::fromText(L"twelve"); }, DISP_E_TYPEMISMATCH, 0, S_OK, L"twelve",
     DISP_E_TYPEMISMATCH, false},
    {"empty", [] { return Variant(); }, S_OK, 0, S_OK, L"", S_OK, false},
};

class VariantReadTest : public ::testing::TestWithParam<VariantRead> {};

template <class Read>
HRESULT codeOf(Read&& read) {
  try {
    read();
    return S_OK;
  } catch (const HResultException& e) {
    return e.getHResult();
  }
}

TEST_P(VariantReadTest, ReadsAsAutomationConverts) {
  const VariantRead& r = GetParam();
  const Variant v = r.make();
  LONG number = 0;
  EXPECT_EQ(codeOf([&] { number = v.toInt32(); }), r.int32Code);
  if (r.int32Code == S_OK) {
    EXPECT_EQ(number, r.int32Value);
  }
  std::wstring text;
  EXPECT_EQ(codeOf([&] { text = v.toText(); }), r.textCode);
  if (r.textCode == S_OK) {
    EXPECT_EQ(text, r.text);
  }
  bool flag = false;
  EXPECT_EQ(codeOf([&] { flag = v.toBool(); }), r.boolCode);
  if (r.boolCode == S_OK) {
    EXPECT_EQ(flag, r.boolValue);
  }
}

INSTANTIATE_TEST_SUITE_P(Values, VariantReadTest, ::testing::ValuesIn(kReads),
                         [](const ::testing::TestParamInfo<VariantRead>& info) {
                           std::string name;
                           for (const char* p = info.param.name; *p; ++p) name += std::isalnum(static_cast<unsigned char>(*p)) ? *p : '_';
                           return name;
                         });

TEST(VariantHolderTest, HoldsOneReferenceOfAnObjectPerCopy) {
  Counter counter;
  auto object = ComRef<Counted>::adopt(new Counted(counter));
  {
    Variant v = Variant::fromDispatch(object.get());
    EXPECT_EQ(object->references(), 2u);
    Variant copy = v;
    EXPECT_EQ(object->references(), 3u);
    ComRef<IUnknown> unknown = copy.toUnknown();
    EXPECT_EQ(unknown.get(), static_cast<IUnknown*>(static_cast<IDispatch*>(object.get())));
    EXPECT_EQ(copy.toDispatch().get(), static_cast<IDispatch*>(object.get()));
    Variant moved = std::move(v);
    EXPECT_TRUE(v.empty());
  }
  EXPECT_EQ(object->references(), 1u);
  EXPECT_TRUE(Variant::fromDispatch(nullptr).toDispatch().get() == nullptr);
}

TEST(VariantHolderTest, AdoptAndDetachMoveOwnership) {
  VARIANT raw;
  VariantInit(&raw);
  raw.vt = VT_BSTR;
  raw.bstrVal = SysAllocString(L"owned");
  Variant v = Variant::adopt(raw);
  EXPECT_EQ(raw.vt, VT_EMPTY);
  EXPECT_EQ(v.toText(), L"owned");
  VARIANT out = v.detach();
  EXPECT_TRUE(v.empty());
  EXPECT_EQ(out.vt, VT_BSTR);
  VariantClear(&out);
}

}  // namespace
