#include "addin/registrar/RegistrarScript.h"

#include <cwctype>

namespace zelvo {
namespace addin {

namespace details {

bool equalsFolded(std::wstring_view a, std::wstring_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (std::towlower(static_cast<std::wint_t>(a[i])) != std::towlower(static_cast<std::wint_t>(b[i]))) return false;
  }
  return true;
}

std::optional<RegistrarRoot> rootByName(std::wstring_view name) {
  static const struct {
    const wchar_t* shortName;
    const wchar_t* longName;
    RegistrarRoot root;
  } kRoots[] = {
      {L"HKCR", L"HKEY_CLASSES_ROOT", RegistrarRoot::kClassesRoot},
      {L"HKCU", L"HKEY_CURRENT_USER", RegistrarRoot::kCurrentUser},
      {L"HKLM", L"HKEY_LOCAL_MACHINE", RegistrarRoot::kLocalMachine},
      {L"HKU", L"HKEY_USERS", RegistrarRoot::kUsers},
  };
  for (const auto& entry : kRoots) {
    if (equalsFolded(name, entry.shortName) || equalsFolded(name, entry.longName)) return entry.root;
  }
  return std::nullopt;
}

int hexDigit(wchar_t c) {
  if (c >= L'0' && c <= L'9') return c - L'0';
  if (c >= L'a' && c <= L'f') return c - L'a' + 10;
  if (c >= L'A' && c <= L'F') return c - L'A' + 10;
  return -1;
}

// A DWORD as the script writes it: decimal, or hexadecimal after 0x; nothing else.
std::optional<DWORD> parseDword(std::wstring_view text) {
  unsigned base = 10;
  if (text.size() > 2 && text[0] == L'0' && (text[1] == L'x' || text[1] == L'X')) {
    base = 16;
    text.remove_prefix(2);
  }
  if (text.empty()) return std::nullopt;
  unsigned long long value = 0;
  for (wchar_t c : text) {
    const int digit = hexDigit(c);
    if (digit < 0 || static_cast<unsigned>(digit) >= base) return std::nullopt;
    value = value * base + static_cast<unsigned>(digit);
    if (value > 0xFFFFFFFFull) return std::nullopt;
  }
  return static_cast<DWORD>(value);
}

std::optional<std::vector<BYTE>> parseBytes(std::wstring_view text) {
  if (text.size() % 2 != 0) return std::nullopt;
  std::vector<BYTE> bytes;
  for (std::size_t i = 0; i < text.size(); i += 2) {
    const int high = hexDigit(text[i]);
    const int low = hexDigit(text[i + 1]);
    if (high < 0 || low < 0) return std::nullopt;
    bytes.push_back(static_cast<BYTE>(high * 16 + low));
  }
  return bytes;
}

const wchar_t* describe(const RegistrarToken& token) {
  switch (token.kind) {
    case RegistrarTokenKind::kOpenBrace:
      return L"'{'";
    case RegistrarTokenKind::kCloseBrace:
      return L"'}'";
    case RegistrarTokenKind::kEquals:
      return L"'='";
    case RegistrarTokenKind::kEnd:
      return L"end of script";
    default:
      return nullptr;
  }
}

// Recursive descent over the tokens; the first error ends the parse.
class Parser {
 public:
  Parser(std::wstring_view text, const RegistrarReplacements& replacements) : tokens_(text, replacements) {}

  RegistrarParseResult run() {
    RegistrarParseResult result;
    if (!parseScript(result.script)) {
      result.script = {};
      result.error = error_;
    }
    return result;
  }

 private:
  bool parseScript(RegistrarScript& script) {
    for (;;) {
      if (!advance()) return false;
      if (token_.kind == RegistrarTokenKind::kEnd) return true;
      if (token_.kind != RegistrarTokenKind::kWord) return unexpected(L"root key");
      const auto root = rootByName(token_.text);
      if (!root) return fail(token_.line, L"unknown root key '" + token_.text + L"'");
      RegistrarRootKey rootKey{*root, {}};
      if (!advance()) return false;
      if (token_.kind != RegistrarTokenKind::kOpenBrace) return unexpected(L"'{'");
      if (!parseBody(rootKey.keys, nullptr)) return false;
      script.roots.push_back(std::move(rootKey));
    }
  }

  // The entries between braces, the opening one already read, up to and with the closing
  // one. Named values are allowed only where there is a key to hold them.
  bool parseBody(std::vector<RegistrarKey>& keys, std::vector<RegistrarNamedValue>* values) {
    for (;;) {
      if (!advance()) return false;
      if (token_.kind == RegistrarTokenKind::kCloseBrace) return true;
      if (token_.kind == RegistrarTokenKind::kWord && equalsFolded(token_.text, L"val")) {
        if (!values) return fail(token_.line, L"named value outside a key");
        if (!parseNamedValue(*values)) return false;
        continue;
      }
      RegistrarKey key;
      if (!parseKey(key)) return false;
      keys.push_back(std::move(key));
    }
  }

  bool parseNamedValue(std::vector<RegistrarNamedValue>& values) {
    if (!advance()) return false;
    if (token_.kind != RegistrarTokenKind::kWord && token_.kind != RegistrarTokenKind::kText)
      return unexpected(L"value name");
    RegistrarNamedValue named{token_.text, {}};
    if (!advance()) return false;
    if (token_.kind != RegistrarTokenKind::kEquals) return unexpected(L"'='");
    if (!parseValue(named.value)) return false;
    values.push_back(std::move(named));
    return true;
  }

  // A key, its name token under token_ or after a flag, then "= value" and a body, each
  // optional. What follows is looked at and kept for the caller when it is neither.
  bool parseKey(RegistrarKey& key) {
    key.line = token_.line;
    if (token_.kind == RegistrarTokenKind::kWord) {
      static const struct {
        const wchar_t* word;
        RegistrarKeyFlag flag;
      } kFlags[] = {{L"ForceRemove", RegistrarKeyFlag::kForceRemove},
                    {L"NoRemove", RegistrarKeyFlag::kNoRemove},
                    {L"Delete", RegistrarKeyFlag::kDelete}};
      for (const auto& entry : kFlags) {
        if (equalsFolded(token_.text, entry.word)) {
          key.flag = entry.flag;
          if (!advance()) return false;
          break;
        }
      }
    }
    if (token_.kind != RegistrarTokenKind::kWord && token_.kind != RegistrarTokenKind::kText)
      return unexpected(L"key name");
    if (token_.text.empty()) return fail(token_.line, L"empty key name");
    if (token_.text.find(L'\\') != std::wstring::npos)
      return fail(token_.line, L"key name '" + token_.text + L"' holds a backslash");
    key.name = token_.text;
    if (!peek()) return false;
    if (lookahead_->kind == RegistrarTokenKind::kEquals) {
      advance();
      key.defaultValue.emplace();
      if (!parseValue(*key.defaultValue)) return false;
      if (!peek()) return false;
    }
    if (lookahead_->kind == RegistrarTokenKind::kOpenBrace) {
      advance();
      if (!parseBody(key.subKeys, &key.values)) return false;
    }
    return true;
  }

  // "s 'text'", "e 'text'", "d 'n'" or "b 'hex'", after the equals sign.
  bool parseValue(RegistrarValue& value) {
    if (!advance()) return false;
    if (token_.kind != RegistrarTokenKind::kWord) return unexpected(L"value type");
    const std::wstring type = token_.text;
    const int typeLine = token_.line;
    if (!advance()) return false;
    if (token_.kind != RegistrarTokenKind::kText) return unexpected(L"quoted value");
    if (equalsFolded(type, L"s") || equalsFolded(type, L"e")) {
      value.type = equalsFolded(type, L"s") ? REG_SZ : REG_EXPAND_SZ;
      value.text = token_.text;
    } else if (equalsFolded(type, L"d")) {
      const auto number = parseDword(token_.text);
      if (!number) return fail(token_.line, L"bad DWORD value '" + token_.text + L"'");
      value.type = REG_DWORD;
      value.number = *number;
    } else if (equalsFolded(type, L"b")) {
      auto bytes = parseBytes(token_.text);
      if (!bytes) return fail(token_.line, L"bad binary value '" + token_.text + L"'");
      value.type = REG_BINARY;
      value.bytes = std::move(*bytes);
    } else {
      return fail(typeLine, L"unknown value type '" + type + L"'");
    }
    return true;
  }

  bool advance() {
    if (lookahead_) {
      token_ = std::move(*lookahead_);
      lookahead_.reset();
      return true;
    }
    auto token = tokens_.next();
    if (!token) {
      error_ = tokens_.error();
      return false;
    }
    token_ = std::move(*token);
    return true;
  }

  bool peek() {
    if (lookahead_) return true;
    lookahead_ = tokens_.next();
    if (!lookahead_) {
      error_ = tokens_.error();
      return false;
    }
    return true;
  }

  bool unexpected(const std::wstring& expected) {
    const wchar_t* what = describe(token_);
    return fail(token_.line, expected + L" expected, found " + (what ? std::wstring(what) : L"'" + token_.text + L"'"));
  }

  bool fail(int line, std::wstring message) {
    error_ = {line, std::move(message)};
    return false;
  }

  RegistrarTokenizer tokens_;
  RegistrarToken token_;
  std::optional<RegistrarToken> lookahead_;
  RegistrarError error_;
};

}  // namespace details

RegistrarParseResult parseRegistrarScript(std::wstring_view text, const RegistrarReplacements& replacements) {
  return details::Parser(text, replacements).run();
}

}  // namespace addin
}  // namespace zelvo
