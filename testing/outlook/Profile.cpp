#include "testing/outlook/Profile.h"

#include <fstream>
#include <sstream>

#include "base/HResultException.h"
#include "platform/Utf8.h"

namespace OutlookStandIn {

using platform::fromUtf8;
using platform::toUtf8;

namespace {

int hexValue(wchar_t c) {
  if (c >= L'0' && c <= L'9') return c - L'0';
  if (c >= L'A' && c <= L'F') return c - L'A' + 10;
  if (c >= L'a' && c <= L'f') return c - L'a' + 10;
  return -1;
}

std::optional<std::string> parseHex(const std::wstring& text) {
  if (text.size() % 2) return std::nullopt;
  std::string bytes;
  for (size_t i = 0; i < text.size(); i += 2) {
    const int high = hexValue(text[i]);
    const int low = hexValue(text[i + 1]);
    if (high < 0 || low < 0) return std::nullopt;
    bytes.push_back(static_cast<char>(high * 16 + low));
  }
  return bytes;
}

class LineReader {
 public:
  LineReader(unsigned number, std::wstring text) : number_(number), text_(std::move(text)) {}

  // The next word, or a double-quoted text; nullopt at the end of the line.
  std::optional<std::wstring> next() {
    while (at_ < text_.size() && (text_[at_] == L' ' || text_[at_] == L'\t')) ++at_;
    if (at_ >= text_.size()) return std::nullopt;
    std::wstring word;
    bool quoted = false;
    while (at_ < text_.size()) {
      const wchar_t c = text_[at_];
      if (c == L'"') {
        quoted = !quoted;
        ++at_;
        continue;
      }
      if (!quoted && (c == L' ' || c == L'\t')) break;
      word.push_back(c);
      ++at_;
    }
    if (quoted) fail("unterminated quote");
    return word;
  }
  // The rest of the line as it stands, spaces trimmed at both ends.
  std::wstring rest() {
    while (at_ < text_.size() && (text_[at_] == L' ' || text_[at_] == L'\t')) ++at_;
    std::wstring result = text_.substr(at_);
    while (!result.empty() && (result.back() == L' ' || result.back() == L'\t')) result.pop_back();
    at_ = text_.size();
    return result;
  }

  [[noreturn]] void fail(const std::string& what) const {
    ZEL_HERE.raise(E_INVALIDARG, L"profile line " + std::to_wstring(number_) + L": " + platform::fromUtf8Lenient(what));
  }

 private:
  unsigned number_;
  std::wstring text_;
  size_t at_ = 0;
};

Guid guidField(LineReader& line, const std::wstring& name, const std::wstring& value) {
  const auto guid = parseGuid(value);
  if (!guid) line.fail(toUtf8(name) + " is not a {GUID}: " + toUtf8(value));
  return *guid;
}

ProfileStore parseStore(LineReader& line, const std::string& baseFolder) {
  ProfileStore store;
  const auto kind = line.next();
  if (!kind) line.fail("store without a kind");
  if (*kind == L"private") store.kind = StoreKind::Private;
  else if (*kind == L"public") store.kind = StoreKind::Public;
  else if (*kind == L"delegate") store.kind = StoreKind::Delegate;
  else if (*kind == L"foreign") store.kind = StoreKind::Foreign;
  else line.fail("unknown store kind " + toUtf8(*kind));
  bool hasService = false;
  bool hasKey = false;
  bool hasName = false;
  while (const auto word = line.next()) {
    if (*word == L"default") {
      if (store.isDefault) line.fail("default given twice");
      store.isDefault = true;
      continue;
    }
    const size_t equals = word->find(L'=');
    if (equals == std::wstring::npos) line.fail("expected key=value: " + toUtf8(*word));
    const std::wstring key = word->substr(0, equals);
    const std::wstring value = word->substr(equals + 1);
    bool* seen = nullptr;
    if (key == L"service") {
      seen = &hasService;
      store.serviceUid = guidField(line, key, value);
    } else if (key == L"key") {
      seen = &hasKey;
      store.recordKey = guidField(line, key, value);
    } else if (key == L"name") {
      seen = &hasName;
      store.displayName = value;
    } else if (key == L"mailbox") {
      if (store.mailboxFolder) line.fail("mailbox given twice");
      const std::string folder = toUtf8(value);
      store.mailboxFolder = baseFolder.empty() || (!folder.empty() && folder[0] == '/') ? folder : baseFolder + "/" + folder;
      continue;
    } else {
      line.fail("unknown field " + toUtf8(key));
    }
    if (*seen) line.fail(toUtf8(key) + " given twice");
    *seen = true;
  }
  if (!hasKey) line.fail("store without key");
  if (store.kind != StoreKind::Foreign && !hasService) line.fail("store of the product without service");
  if (store.kind == StoreKind::Foreign && (hasService || store.mailboxFolder))
    line.fail("a foreign store takes no service and no mailbox");
  if (!hasName) store.displayName = *kind;
  return store;
}

}  // namespace

std::optional<Guid> parseGuid(const std::wstring& text) {
  // {00112233-4455-6677-8899-AABBCCDDEEFF}: the first three groups little-endian in memory.
  if (text.size() != 38 || text.front() != L'{' || text.back() != L'}') return std::nullopt;
  const std::wstring inner = text.substr(1, 36);
  for (size_t dash : {8u, 13u, 18u, 23u})
    if (inner[dash] != L'-') return std::nullopt;
  const auto a = parseHex(inner.substr(0, 8));
  const auto b = parseHex(inner.substr(9, 4));
  const auto c = parseHex(inner.substr(14, 4));
  const auto d = parseHex(inner.substr(19, 4) + inner.substr(24, 12));
  if (!a || !b || !c || !d) return std::nullopt;
  GUID value{};
  for (unsigned char byte : *a) value.Data1 = (value.Data1 << 8) | byte;
  for (unsigned char byte : *b) value.Data2 = static_cast<unsigned short>((value.Data2 << 8) | byte);
  for (unsigned char byte : *c) value.Data3 = static_cast<unsigned short>((value.Data3 << 8) | byte);
  for (size_t i = 0; i < 8; ++i) value.Data4[i] = static_cast<unsigned char>((*d)[i]);
  return Guid(value);
}

Profile parseProfile(const std::string& text, const std::string& baseFolder) {
  Profile profile;
  std::istringstream lines(text);
  std::string raw;
  unsigned number = 0;
  bool hasVersion = false;
  bool hasDefault = false;
  while (std::getline(lines, raw)) {
    ++number;
    if (!raw.empty() && raw.back() == '\r') raw.pop_back();
    const auto wide = fromUtf8(raw);
    LineReader line(number, wide ? *wide : std::wstring());
    if (!wide) line.fail("not UTF-8");
    const size_t first = wide->find_first_not_of(L" \t");
    if (first == std::wstring::npos || (*wide)[first] == L'#') continue;
    const std::wstring keyword = *line.next();
    if (keyword == L"version") {
      if (hasVersion) line.fail("version given twice");
      hasVersion = true;
      profile.version = line.rest();
      if (profile.version.empty()) line.fail("empty version");
    } else if (keyword == L"commandline") {
      profile.commandLine = line.rest();
    } else if (keyword == L"store") {
      ProfileStore store = parseStore(line, baseFolder);
      if (store.isDefault && hasDefault) line.fail("a second default store");
      hasDefault = hasDefault || store.isDefault;
      for (const auto& other : profile.stores)
        if (other.recordKey == store.recordKey) line.fail("key of an earlier store");
      profile.stores.push_back(std::move(store));
    } else if (keyword == L"folder") {
      if (profile.stores.empty() || profile.stores.back().kind == StoreKind::Foreign)
        line.fail("folder without a store of the product before it");
      const auto path = line.next();
      const auto hex = line.next();
      if (!path || !hex) line.fail("expected: folder PATH ENTRYID [default=TYPE]");
      const auto entryId = parseHex(*hex);
      if (!entryId) line.fail("entry id is not hexadecimal: " + toUtf8(*hex));
      ProfileFolder folder{*path, *entryId, std::nullopt};
      if (const auto extra = line.next()) {
        const std::wstring prefix = L"default=";
        if (extra->compare(0, prefix.size(), prefix) != 0 || extra->size() == prefix.size() ||
            extra->size() > prefix.size() + 4 ||
            extra->find_first_not_of(L"0123456789", prefix.size()) != std::wstring::npos)
          line.fail("expected default=TYPE: " + toUtf8(*extra));
        folder.defaultType = std::stol(extra->substr(prefix.size()));
        if (line.next()) line.fail("expected: folder PATH ENTRYID [default=TYPE]");
      }
      profile.stores.back().folders.push_back(std::move(folder));
    } else {
      line.fail("unknown keyword " + toUtf8(keyword));
    }
  }
  return profile;
}

Profile loadProfile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) ZEL_HERE.raise(STG_E_FILENOTFOUND, L"cannot read profile " + platform::fromUtf8Lenient(path));
  std::ostringstream text;
  text << file.rdbuf();
  const size_t slash = path.find_last_of("/\\");
  return parseProfile(text.str(), slash == std::string::npos ? std::string(".") : path.substr(0, slash));
}

}  // namespace OutlookStandIn
