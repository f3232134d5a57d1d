#include "platform/SettingsStore.h"

#include <cstdio>
#include <cstdlib>
#include <cwctype>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "platform/Utf8.h"

namespace platform {
namespace details {

std::wstring fold(const std::wstring& text) {
  std::wstring out(text);
  for (auto& c : out) c = static_cast<wchar_t>(std::towlower(static_cast<wint_t>(c)));
  return out;
}

// Key paths compare without case and without stray separators at either end.
std::wstring normaliseKey(const std::wstring& key) {
  size_t b = 0, e = key.size();
  while (b < e && key[b] == L'\\') ++b;
  while (e > b && key[e - 1] == L'\\') --e;
  return key.substr(b, e - b);
}

std::string quote(const std::string& text) {
  std::string out = "\"";
  for (char c : text) {
    if (c == '"' || c == '\\') out += '\\';
    out += c;
  }
  return out + '"';
}

// Reads a quoted text starting at pos (which holds the opening quote); pos ends after it.
bool unquote(const std::string& line, size_t& pos, std::string& out) {
  if (pos >= line.size() || line[pos] != '"') return false;
  out.clear();
  for (++pos; pos < line.size(); ++pos) {
    char c = line[pos];
    if (c == '\\') {
      if (++pos >= line.size()) return false;
      out += line[pos];
    } else if (c == '"') {
      ++pos;
      return true;
    } else {
      out += c;
    }
  }
  return false;
}

std::string hexBytes(const std::vector<BYTE>& data) {
  std::string out;
  char buf[4];
  for (size_t i = 0; i < data.size(); ++i) {
    std::snprintf(buf, sizeof buf, "%02x", data[i]);
    if (i) out += ',';
    out += buf;
  }
  return out;
}

bool parseHexBytes(const std::string& text, std::vector<BYTE>& out) {
  out.clear();
  std::stringstream in(text);
  std::string item;
  while (std::getline(in, item, ',')) {
    if (item.empty() && text.empty()) break;
    char* end = nullptr;
    const unsigned long v = std::strtoul(item.c_str(), &end, 16);
    if (item.empty() || *end != '\0' || v > 0xFF) return false;
    out.push_back(static_cast<BYTE>(v));
  }
  return true;
}

std::wstring wideFromBytes(const std::vector<BYTE>& data) {
  // Strings are stored as the registry stores them: UTF-16LE with a terminator.
  std::wstring out;
  for (size_t i = 0; i + 1 < data.size(); i += 2) out += static_cast<wchar_t>(data[i] | (data[i + 1] << 8));
  while (!out.empty() && out.back() == L'\0') out.pop_back();
  return out;
}

std::vector<BYTE> bytesFromWide(const std::wstring& text) {
  std::vector<BYTE> out;
  for (wchar_t c : text) {
    const auto u = static_cast<uint32_t>(c);
    if (u > 0xFFFF) {  // outside the BMP: a surrogate pair, as UTF-16 has it
      const uint32_t v = u - 0x10000;
      const uint16_t hi = static_cast<uint16_t>(0xD800 + (v >> 10)), lo = static_cast<uint16_t>(0xDC00 + (v & 0x3FF));
      out.push_back(static_cast<BYTE>(hi & 0xFF)), out.push_back(static_cast<BYTE>(hi >> 8));
      out.push_back(static_cast<BYTE>(lo & 0xFF)), out.push_back(static_cast<BYTE>(lo >> 8));
    } else {
      out.push_back(static_cast<BYTE>(u & 0xFF)), out.push_back(static_cast<BYTE>(u >> 8));
    }
  }
  out.push_back(0), out.push_back(0);
  return out;
}

}  // namespace details

bool MemorySettings::keyExists(const std::wstring& key) {
  std::lock_guard<std::recursive_mutex> lock(mutex_);
  return keys_.count(details::fold(details::normaliseKey(key))) != 0;
}

void MemorySettings::createKey(const std::wstring& key) {
  std::lock_guard<std::recursive_mutex> lock(mutex_);
  // Every ancestor exists as a key of its own, as in the registry.
  const std::wstring path = details::normaliseKey(key);
  for (size_t pos = 0;;) {
    const size_t sep = path.find(L'\\', pos);
    const std::wstring part = path.substr(0, sep);
    auto& entry = keys_[details::fold(part)];
    if (entry.displayName.empty()) entry.displayName = part;
    if (sep == std::wstring::npos) break;
    pos = sep + 1;
  }
}

std::optional<SettingsValue> MemorySettings::getValue(const std::wstring& key, const std::wstring& name) {
  std::lock_guard<std::recursive_mutex> lock(mutex_);
  const auto k = keys_.find(details::fold(details::normaliseKey(key)));
  if (k == keys_.end()) return std::nullopt;
  const auto v = k->second.values.find(details::fold(name));
  if (v == k->second.values.end()) return std::nullopt;
  return v->second.second;
}

bool MemorySettings::setValue(const std::wstring& key, const std::wstring& name, const SettingsValue& value) {
  std::lock_guard<std::recursive_mutex> lock(mutex_);
  const auto k = keys_.find(details::fold(details::normaliseKey(key)));
  if (k == keys_.end()) return false;
  k->second.values[details::fold(name)] = {name, value};
  return true;
}

bool MemorySettings::deleteValue(const std::wstring& key, const std::wstring& name) {
  std::lock_guard<std::recursive_mutex> lock(mutex_);
  const auto k = keys_.find(details::fold(details::normaliseKey(key)));
  return k != keys_.end() && k->second.values.erase(details::fold(name)) != 0;
}

bool MemorySettings::deleteTree(const std::wstring& key) {
  std::lock_guard<std::recursive_mutex> lock(mutex_);
  const std::wstring folded = details::fold(details::normaliseKey(key));
  if (keys_.erase(folded) == 0) return false;
  const std::wstring prefix = folded + L"\\";
  for (auto it = keys_.lower_bound(prefix); it != keys_.end() && it->first.compare(0, prefix.size(), prefix) == 0;)
    it = keys_.erase(it);
  return true;
}

std::vector<std::wstring> MemorySettings::subKeys(const std::wstring& key) {
  std::lock_guard<std::recursive_mutex> lock(mutex_);
  const std::wstring prefix = details::fold(details::normaliseKey(key)) + L"\\";
  std::vector<std::wstring> names;
  for (auto it = keys_.lower_bound(prefix); it != keys_.end() && it->first.compare(0, prefix.size(), prefix) == 0;
       ++it) {
    if (it->first.find(L'\\', prefix.size()) != std::wstring::npos) continue;
    const std::wstring& shown = it->second.displayName;
    names.push_back(shown.substr(shown.rfind(L'\\') + 1));
  }
  return names;
}

std::vector<std::wstring> MemorySettings::valueNames(const std::wstring& key) {
  std::lock_guard<std::recursive_mutex> lock(mutex_);
  std::vector<std::wstring> names;
  const auto k = keys_.find(details::fold(details::normaliseKey(key)));
  if (k != keys_.end())
    for (const auto& entry : k->second.values) names.push_back(entry.second.first);
  return names;
}

std::string MemorySettings::serialize() const {
  std::lock_guard<std::recursive_mutex> lock(mutex_);
  std::string out = "; Zelvo Mail Bridge settings\n";
  for (const auto& [folded, key] : keys_) {
    out += "\n[" + toUtf8(key.displayName) + "]\n";
    for (const auto& [vfolded, entry] : key.values) {
      const auto& [name, value] = entry;
      out += details::quote(toUtf8(name)) + "=";
      char buf[32];
      if (value.type == REG_DWORD && value.data.size() == 4) {
        const DWORD d = value.data[0] | (value.data[1] << 8) | (value.data[2] << 16) | (static_cast<DWORD>(value.data[3]) << 24);
        std::snprintf(buf, sizeof buf, "dword:%08x", d);
        out += buf;
      } else if (value.type == REG_SZ) {
        out += details::quote(toUtf8(details::wideFromBytes(value.data)));
      } else {
        std::snprintf(buf, sizeof buf, "hex(%x):", static_cast<unsigned>(value.type));
        out += buf + details::hexBytes(value.data);
      }
      out += "\n";
    }
  }
  return out;
}

bool MemorySettings::parse(const std::string& text) {
  std::map<std::wstring, Key> keys;
  Key* current = nullptr;
  std::stringstream in(text);
  std::string line;
  while (std::getline(in, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (line.empty() || line[0] == ';') continue;
    if (line[0] == '[') {
      if (line.back() != ']') return false;
      const std::wstring name = details::normaliseKey(fromUtf8Lenient(line.substr(1, line.size() - 2)));
      current = &keys[details::fold(name)];
      current->displayName = name;
      continue;
    }
    if (!current) return false;
    size_t pos = 0;
    std::string name, rest;
    if (!details::unquote(line, pos, name) || pos >= line.size() || line[pos] != '=') return false;
    rest = line.substr(pos + 1);
    SettingsValue value;
    if (rest.rfind("dword:", 0) == 0) {
      char* end = nullptr;
      const unsigned long long d = std::strtoull(rest.c_str() + 6, &end, 16);
      if (rest.size() == 6 || *end != '\0' || d > 0xFFFFFFFFull) return false;
      value.type = REG_DWORD;
      for (int i = 0; i < 4; ++i) value.data.push_back(static_cast<BYTE>(d >> (8 * i)));
    } else if (!rest.empty() && rest[0] == '"') {
      size_t p = 0;
      std::string s;
      if (!details::unquote(rest, p, s) || p != rest.size()) return false;
      value.type = REG_SZ;
      value.data = details::bytesFromWide(fromUtf8Lenient(s));
    } else if (rest.rfind("hex(", 0) == 0) {
      const size_t close = rest.find("):");
      if (close == std::string::npos) return false;
      char* end = nullptr;
      value.type = static_cast<DWORD>(std::strtoul(rest.c_str() + 4, &end, 16));
      if (end != rest.c_str() + close || !details::parseHexBytes(rest.substr(close + 2), value.data)) return false;
    } else {
      return false;
    }
    const std::wstring wname = fromUtf8Lenient(name);
    current->values[details::fold(wname)] = {wname, value};
  }
  std::lock_guard<std::recursive_mutex> lock(mutex_);
  keys_ = std::move(keys);
  return true;
}

FileSettings::FileSettings(std::string path) : path_(std::move(path)) {
  std::ifstream in(path_, std::ios::binary);
  if (in) {
    std::stringstream text;
    text << in.rdbuf();
    // A damaged file is not overwritten by an empty one until something is written.
    parse(text.str());
  }
}

void FileSettings::save() {
  // Written to a side file and renamed, so that a crash never leaves half a file.
  std::error_code ec;
  const std::filesystem::path target(path_);
  if (target.has_parent_path()) std::filesystem::create_directories(target.parent_path(), ec);
  const std::string tmp = path_ + ".tmp";
  {
    std::ofstream out(tmp, std::ios::binary | std::ios::trunc);
    out << serialize();
    if (!out) return;
  }
  std::filesystem::rename(tmp, target, ec);
}

void FileSettings::createKey(const std::wstring& key) {
  std::lock_guard<std::recursive_mutex> lock(mutex_);
  MemorySettings::createKey(key);
  save();
}

bool FileSettings::setValue(const std::wstring& key, const std::wstring& name, const SettingsValue& value) {
  std::lock_guard<std::recursive_mutex> lock(mutex_);
  const bool ok = MemorySettings::setValue(key, name, value);
  if (ok) save();
  return ok;
}

bool FileSettings::deleteValue(const std::wstring& key, const std::wstring& name) {
  std::lock_guard<std::recursive_mutex> lock(mutex_);
  const bool ok = MemorySettings::deleteValue(key, name);
  if (ok) save();
  return ok;
}

bool FileSettings::deleteTree(const std::wstring& key) {
  std::lock_guard<std::recursive_mutex> lock(mutex_);
  const bool ok = MemorySettings::deleteTree(key);
  if (ok) save();
  return ok;
}

std::string defaultSettingsPath() {
  const char* xdg = std::getenv("XDG_CONFIG_HOME");
  std::string base;
  if (xdg && *xdg) {
    base = xdg;
  } else {
    const char* home = std::getenv("HOME");
    base = std::string(home && *home ? home : ".") + "/.config";
  }
  return base + "/zelvo/settings.reg";
}

namespace details {
std::mutex backendMutex;
std::shared_ptr<SettingsBackend> backend;
}  // namespace details

std::shared_ptr<SettingsBackend> settingsBackend() {
  std::lock_guard<std::mutex> lock(details::backendMutex);
  if (!details::backend) details::backend = std::make_shared<FileSettings>(defaultSettingsPath());
  return details::backend;
}

std::shared_ptr<SettingsBackend> setSettingsBackend(std::shared_ptr<SettingsBackend> backend) {
  std::lock_guard<std::mutex> lock(details::backendMutex);
  std::swap(details::backend, backend);
  return backend;
}

}  // namespace platform
