// VariantChangeType as the automation of both builds does it: ours on Linux, the
// system's under Wine, held to one table of conversions.
#include <gtest/gtest.h>

#include <cctype>
#include <string>

#include "platform/Win32.h"

namespace {

struct Value {
  VARIANT v;
  Value() { VariantInit(&v); }
  ~Value() { VariantClear(&v); }
  Value(const Value&) = delete;
  Value& operator=(const Value&) = delete;
};

void setText(VARIANT& v, const wchar_t* text) {
  v.vt = VT_BSTR;
  v.bstrVal = SysAllocString(text);
}

struct Conversion {
  const char* name;
  void (*make)(VARIANT&);
  VARTYPE target;
  HRESULT expected;
  // Checked when the conversion succeeds.
  bool (*check)(const VARIANT&);
};

std::wstring textOf(const VARIANT& v) { return std::wstring(v.bstrVal, SysStringLen(v.bstrVal)); }

const Conversion kConversions[] = {
    {"digits to I4", [](VARIANT& v) { setText(v, L"  42 "); }, VT_I4, S_OK,
     [](const VARIANT& v) { return v.lVal == 42; }},
    {"negative digits to I4", [](VARIANT& v) { setText(v, L"-7"); }, VT_I4, S_OK,
     [](const VARIANT& v) { return v.lVal == -7; }},
    {"words to I4", [](VARIANT& v) { setText(v, L"forty"); }, VT_I4, DISP_E_TYPEMISMATCH, nullptr},
    {"empty text to I4", [](VARIANT& v) { setText(v, L""); }, VT_I4, DISP_E_TYPEMISMATCH, nullptr},
    {"I4 to text", [](VARIANT& v) { v.vt = VT_I4; v.lVal = -123; }, VT_BSTR, S_OK,
     [](const VARIANT& v) { return textOf(v) == L"-123"; }},
    {"UI4 to text", [](VARIANT& v) { v.vt = VT_UI4; v.ulVal = 4000000000u; }, VT_BSTR, S_OK,
     [](const VARIANT& v) { return textOf(v) == L"4000000000"; }},
    {"empty to I4", [](VARIANT& v) { v.vt = VT_EMPTY; }, VT_I4, S_OK, [](const VARIANT& v) { return v.lVal == 0; }},
    {"empty to text", [](VARIANT& v) { v.vt = VT_EMPTY; }, VT_BSTR, S_OK,
     [](const VARIANT& v) { return SysStringLen(v.bstrVal) == 0; }},
    {"null to I4", [](VARIANT& v) { v.vt = VT_NULL; }, VT_I4, DISP_E_TYPEMISMATCH, nullptr},
    {"I4 beyond I2", [](VARIANT& v) { v.vt = VT_I4; v.lVal = 70000; }, VT_I2, DISP_E_OVERFLOW, nullptr},
    {"negative I4 to UI4 keeps the bits", [](VARIANT& v) { v.vt = VT_I4; v.lVal = -1; }, VT_UI4, S_OK,
     [](const VARIANT& v) { return v.ulVal == 0xFFFFFFFFu; }},
    {"UI4 beyond I4 keeps the bits", [](VARIANT& v) { v.vt = VT_UI4; v.ulVal = 0x80000000u; }, VT_I4, S_OK,
     [](const VARIANT& v) { return v.lVal == static_cast<LONG>(0x80000000u); }},
    {"I8 beyond I4", [](VARIANT& v) { v.vt = VT_I8; v.llVal = 0x100000000ll; }, VT_I4, DISP_E_OVERFLOW, nullptr},
    {"double beyond UI4", [](VARIANT& v) { v.vt = VT_R8; v.dblVal = 1e10; }, VT_UI4, DISP_E_OVERFLOW, nullptr},
    {"digits beyond I4", [](VARIANT& v) { setText(v, L"3000000000"); }, VT_I4, DISP_E_OVERFLOW, nullptr},
    {"negative I2 to UI2 keeps the bits", [](VARIANT& v) { v.vt = VT_I2; v.iVal = -2; }, VT_UI2, S_OK,
     [](const VARIANT& v) { return v.uiVal == 0xFFFEu; }},
    {"double halves to even", [](VARIANT& v) { v.vt = VT_R8; v.dblVal = 2.5; }, VT_I4, S_OK,
     [](const VARIANT& v) { return v.lVal == 2; }},
    {"double halves to even upward", [](VARIANT& v) { v.vt = VT_R8; v.dblVal = -3.5; }, VT_I4, S_OK,
     [](const VARIANT& v) { return v.lVal == -4; }},
    {"true to I4", [](VARIANT& v) { v.vt = VT_BOOL; v.boolVal = VARIANT_TRUE; }, VT_I4, S_OK,
     [](const VARIANT& v) { return v.lVal == -1; }},
    {"I4 to bool", [](VARIANT& v) { v.vt = VT_I4; v.lVal = 5; }, VT_BOOL, S_OK,
     [](const VARIANT& v) { return v.boolVal == VARIANT_TRUE; }},
    {"zero to bool", [](VARIANT& v) { v.vt = VT_I2; v.iVal = 0; }, VT_BOOL, S_OK,
     [](const VARIANT& v) { return v.boolVal == VARIANT_FALSE; }},
    {"bool to text", [](VARIANT& v) { v.vt = VT_BOOL; v.boolVal = VARIANT_TRUE; }, VT_BSTR, S_OK,
     [](const VARIANT& v) { return textOf(v) == L"-1"; }},
    {"reference to I4", [](VARIANT& v) {
       static LONG target = 99;
       v.vt = VT_BYREF | VT_I4;
       v.plVal = &target;
     }, VT_I4, S_OK, [](const VARIANT& v) { return v.lVal == 99; }},
    {"text to itself", [](VARIANT& v) { setText(v, L"same"); }, VT_BSTR, S_OK,
     [](const VARIANT& v) { return textOf(v) == L"same"; }},
};

class VariantConversionTest : public ::testing::TestWithParam<Conversion> {};

TEST_P(VariantConversionTest, AsAutomationConverts) {
  const Conversion& c = GetParam();
  Value source, target;
  c.make(source.v);
  const HRESULT hr = VariantChangeType(&target.v, &source.v, 0, c.target);
  EXPECT_EQ(hr, c.expected);
  if (SUCCEEDED(hr) && c.check) {
    EXPECT_EQ(target.v.vt, c.target);
    EXPECT_TRUE(c.check(target.v));
  } else if (FAILED(hr)) {
    EXPECT_EQ(target.v.vt, VT_EMPTY) << "a failed conversion leaves the destination alone";
  }
}

INSTANTIATE_TEST_SUITE_P(Table, VariantConversionTest, ::testing::ValuesIn(kConversions),
                         [](const ::testing::TestParamInfo<Conversion>& info) {
                           std::string name;
                           for (const char* p = info.param.name; *p; ++p) name += std::isalnum(static_cast<unsigned char>(*p)) ? *p : '_';
                           return name;
                         });

TEST(VariantTest, ConversionInPlaceReplacesTheSource) {
  Value v;
  setText(v.v, L"17");
  ASSERT_EQ(VariantChangeType(&v.v, &v.v, 0, VT_I4), S_OK);
  EXPECT_EQ(v.v.vt, VT_I4);
  EXPECT_EQ(v.v.lVal, 17);
}

TEST(VariantTest, CopyMakesItsOwnString) {
  Value a, b;
  setText(a.v, L"text");
  ASSERT_EQ(VariantCopy(&b.v, &a.v), S_OK);
  ASSERT_EQ(b.v.vt, VT_BSTR);
  EXPECT_NE(b.v.bstrVal, a.v.bstrVal);
  EXPECT_EQ(textOf(b.v), L"text");
  ASSERT_EQ(VariantClear(&a.v), S_OK);
  EXPECT_EQ(a.v.vt, VT_EMPTY);
  EXPECT_EQ(textOf(b.v), L"text");
}

// Entry-id texts are compared this way; the cases are those on which a locale's collation
// and code-point order agree, so both builds answer alike.
TEST(VariantTest, BstrComparisonOfEntryIdTexts) {
  struct Case {
    const wchar_t* left;  // null for a null BSTR
    const wchar_t* right;
    ULONG flags;
    HRESULT expected;
  };
  const Case cases[] = {
      {L"00A1FF", L"00A1FF", 0, VARCMP_EQ},
      {L"00A1FE", L"00A1FF", 0, VARCMP_LT},
      {L"00B1", L"00A1FF", 0, VARCMP_GT},
      {L"00A1", L"00A1FF", 0, VARCMP_LT},
      {L"9F", L"A0", 0, VARCMP_LT},
      {L"00a1ff", L"00A1FF", NORM_IGNORECASE, VARCMP_EQ},
      {nullptr, nullptr, 0, VARCMP_EQ},
      {nullptr, L"", 0, VARCMP_EQ},
      {nullptr, L"00", 0, VARCMP_LT},
      {L"00", nullptr, 0, VARCMP_GT},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.left ? "left" : "null") + " / " + (c.right ? "right" : "null"));
    BSTR left = c.left ? SysAllocString(c.left) : nullptr;
    BSTR right = c.right ? SysAllocString(c.right) : nullptr;
    EXPECT_EQ(VarBstrCmp(left, right, LOCALE_USER_DEFAULT, c.flags), c.expected);
    SysFreeString(left);
    SysFreeString(right);
  }
}

}  // namespace
