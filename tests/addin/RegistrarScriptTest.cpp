// The registration script's reader: the tree it makes of good scripts, and the line and
// message of the first error of bad ones.
#include <gtest/gtest.h>

#include <string>

#include "addin/registrar/RegistrarScript.h"
#include "testing/TestEnvironment.h"

using namespace zelvo::addin;
using zelvo::testing::utf8;

namespace {

const RegistrarReplacements kReplacements = {
    {L"MODULE", L"\"C:\\Program Files\\Zelvo\\DravAddIn.dll\""},
    {L"APPCLASSIID", L"{BEE5E564-0C5E-4139-B60E-F92077A29CD6}"},
    {L"APPCLASSNAME", L"Zelvo Mail Bridge UI"},
    {L"APPID", L""},
};

std::wstring describeValue(const RegistrarValue& value) {
  switch (value.type) {
    case REG_DWORD:
      return L"d:" + std::to_wstring(value.number);
    case REG_BINARY: {
      std::wstring text = L"b:";
      for (BYTE b : value.bytes) text += std::to_wstring(b) + L",";
      return text;
    }
    case REG_EXPAND_SZ:
      return L"e:" + value.text;
    default:
      return L"s:" + value.text;
  }
}

// One line per key and value, indented by depth: a compact picture of the tree.
void outlineKey(const RegistrarKey& key, int depth, std::wstring& out) {
  static const wchar_t* const kFlags[] = {L"", L"ForceRemove ", L"NoRemove ", L"Delete "};
  out += std::wstring(depth * 2, L' ') + kFlags[static_cast<int>(key.flag)] + L"[" + key.name + L"]@" +
         std::to_wstring(key.line);
  if (key.defaultValue) out += L" = " + describeValue(*key.defaultValue);
  out += L"\n";
  for (const auto& named : key.values)
    out += std::wstring(depth * 2 + 2, L' ') + L"val " + named.name + L" = " + describeValue(named.value) + L"\n";
  for (const auto& sub : key.subKeys) outlineKey(sub, depth + 1, out);
}

std::wstring outline(const RegistrarScript& script) {
  static const wchar_t* const kRoots[] = {L"HKCR", L"HKCU", L"HKLM", L"HKU"};
  std::wstring out;
  for (const auto& root : script.roots) {
    out += std::wstring(kRoots[static_cast<int>(root.root)]) + L"\n";
    for (const auto& key : root.keys) outlineKey(key, 1, out);
  }
  return out;
}

struct GoodCase {
  const char* name;
  const wchar_t* script;
  const wchar_t* outline;
};

const GoodCase kGoodScripts[] = {
    {"Empty", L"", L""},
    {"EmptyRoot", L"HKCR { }", L"HKCR\n"},
    {"LongRootNamesIgnoreCase", L"hkey_local_machine {}\r\nHKEY_CURRENT_USER{}hku{}", L"HKLM\nHKCU\nHKU\n"},
    {"KeyWithDefaultAndSubKeys",
     L"HKCR\r\n{\r\n  DravAddIn.UserInterface.1 = s '%APPCLASSNAME%'\r\n  {\r\n    CLSID = s '%APPCLASSIID%'\r\n  "
     L"}\r\n}\r\n",
     L"HKCR\n  [DravAddIn.UserInterface.1]@3 = s:Zelvo Mail Bridge UI\n"
     L"    [CLSID]@5 = s:{BEE5E564-0C5E-4139-B60E-F92077A29CD6}\n"},
    {"ReplacementInKeyNameAndFlags",
     L"HKCR { NoRemove CLSID { ForceRemove %APPCLASSIID% = s 'x' { 'Programmable' } } }",
     L"HKCR\n  NoRemove [CLSID]@1\n    ForceRemove [{BEE5E564-0C5E-4139-B60E-F92077A29CD6}]@1 = s:x\n"
     L"      [Programmable]@1\n"},
    {"NamedValuesOfEveryType",
     L"HKLM {\n K {\n  val A = s 'a'\n  val 'B c' = d '3'\n  val D = d '0x1F'\n  val E = e '%%TEMP%%'\n"
     L"  val F = b '0aFF'\n  val G = d '4294967295'\n }\n}",
     L"HKLM\n  [K]@2\n    val A = s:a\n    val B c = d:3\n    val D = d:31\n    val E = e:%TEMP%\n"
     L"    val F = b:10,255,\n    val G = d:4294967295\n"},
    {"QuotesDoubledAndModuleQuoted", L"HKCR { I = s '%MODULE%' { val T = s 'it''s' } }",
     L"HKCR\n  [I]@1 = s:\"C:\\Program Files\\Zelvo\\DravAddIn.dll\"\n    val T = s:it's\n"},
    {"KeywordsIgnoreCaseAndQuotedKeywordsAreNames",
     L"HKCU { forceremove A {} NOREMOVE B {} delete C 'NoRemove' { VAL x = S 'y' } 'val' }",
     L"HKCU\n  ForceRemove [A]@1\n  NoRemove [B]@1\n  Delete [C]@1\n  [NoRemove]@1\n    val x = s:y\n"
     L"  [val]@1\n"},
    {"EmptyReplacementAndTextOverLines", L"HKCR { 'a%APPID%b' = s 'one\ntwo' K }",
     L"HKCR\n  [ab]@1 = s:one\ntwo\n  [K]@2\n"},
};

class RegistrarGoodScript : public ::testing::TestWithParam<GoodCase> {};

TEST_P(RegistrarGoodScript, MakesTheTree) {
  const auto result = parseRegistrarScript(GetParam().script, kReplacements);
  ASSERT_FALSE(result.error) << utf8(result.error->message) << " at line " << result.error->line;
  EXPECT_EQ(utf8(GetParam().outline), utf8(outline(result.script)));
}

INSTANTIATE_TEST_SUITE_P(Scripts, RegistrarGoodScript, ::testing::ValuesIn(kGoodScripts),
                         [](const auto& info) { return std::string(info.param.name); });

struct BadCase {
  const wchar_t* script;
  const wchar_t* message;
  int line;
};

const BadCase kBadScripts[] = {
    {L"HKCX { }", L"unknown root key 'HKCX'", 1},
    {L"\r\n\r\n'HKCR' { }", L"root key expected, found 'HKCR'", 3},
    {L"HKCR", L"'{' expected, found end of script", 1},
    {L"HKCR\n{\n  A\n", L"key name expected, found end of script", 4},
    {L"HKCR }", L"'{' expected, found '}'", 1},
    {L"HKCR { } }", L"root key expected, found '}'", 1},
    {L"HKCR { val X = s 'y' }", L"named value outside a key", 1},
    {L"HKCR { A { val = s 'y' } }", L"value name expected, found '='", 1},
    {L"HKCR { A { val X s 'y' } }", L"'=' expected, found 's'", 1},
    {L"HKCR {\n A =\n }", L"value type expected, found '}'", 3},
    {L"HKCR { A = s }", L"quoted value expected, found '}'", 1},
    {L"HKCR { A = s unquoted }", L"quoted value expected, found 'unquoted'", 1},
    {L"HKCR {\n A = x 'y' }", L"unknown value type 'x'", 2},
    {L"HKCR { A = d '12a' }", L"bad DWORD value '12a'", 1},
    {L"HKCR { A = d '4294967296' }", L"bad DWORD value '4294967296'", 1},
    {L"HKCR { A = d '' }", L"bad DWORD value ''", 1},
    {L"HKCR { A = d '0x' }", L"bad DWORD value '0x'", 1},
    {L"HKCR { A = b 'abc' }", L"bad binary value 'abc'", 1},
    {L"HKCR { A = b 'zz' }", L"bad binary value 'zz'", 1},
    {L"HKCR {\n A = s 'open\n\n }", L"unterminated quoted text", 2},
    {L"HKCR { A = s '%NOPE%' }", L"unknown replacement %NOPE%", 1},
    {L"HKCR {\n\n %MODULE }", L"unterminated replacement name", 3},
    {L"HKCR { ForceRemove { } }", L"key name expected, found '{'", 1},
    {L"HKCR { NoRemove }", L"key name expected, found '}'", 1},
    {L"HKCR { '' }", L"empty key name", 1},
    {L"HKCR { A\\B }", L"key name 'A\\B' holds a backslash", 1},
    {L"HKCR { A = = }", L"value type expected, found '='", 1},
    {L"HKCR { A { B { } }", L"key name expected, found end of script", 1},
};

class RegistrarBadScript : public ::testing::TestWithParam<BadCase> {};

TEST_P(RegistrarBadScript, ReportsTheFirstErrorWithItsLine) {
  const auto result = parseRegistrarScript(GetParam().script, kReplacements);
  ASSERT_TRUE(result.error) << utf8(GetParam().script);
  EXPECT_EQ(utf8(GetParam().message), utf8(result.error->message)) << utf8(GetParam().script);
  EXPECT_EQ(GetParam().line, result.error->line) << utf8(GetParam().script);
  EXPECT_TRUE(result.script.roots.empty());
}

INSTANTIATE_TEST_SUITE_P(Scripts, RegistrarBadScript, ::testing::ValuesIn(kBadScripts),
                         [](const auto& info) { return "Script" + std::to_string(info.index); });

}  // namespace
