// Where user settings live when there is no Windows registry.
//
// On Windows the registry calls are the operating system's own. On Linux the same calls
// (RegOpenKeyExW, RegQueryValueExW, ...) work on the back end installed here: by default
// a per-user file, "$XDG_CONFIG_HOME/zelvo/settings.reg" (or "~/.config/zelvo/..."), in
// the text form of a registry export; tests install one in memory. Values are typed as in
// the registry, so that reading a DWORD from a string value fails as it does there.
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/Win32.h"

namespace platform {

struct SettingsValue {
  DWORD type = REG_NONE;
  std::vector<BYTE> data;

  bool operator==(const SettingsValue& other) const { return type == other.type && data == other.data; }
};

// A tree of keys addressed by their full path, such as
// "HKEY_CURRENT_USER\Software\Zelvo\Mail Bridge (Offline Edition)". Key and value names
// compare without regard to case, as in the registry.
class SettingsBackend {
 public:
  virtual ~SettingsBackend() = default;
  virtual bool keyExists(const std::wstring& key) = 0;
  virtual void createKey(const std::wstring& key) = 0;
  virtual std::optional<SettingsValue> getValue(const std::wstring& key, const std::wstring& name) = 0;
  // Returns false when the key does not exist.
  virtual bool setValue(const std::wstring& key, const std::wstring& name, const SettingsValue& value) = 0;
  virtual bool deleteValue(const std::wstring& key, const std::wstring& name) = 0;
  virtual bool deleteTree(const std::wstring& key) = 0;
  // Names of the keys directly under key, in the order of their folded names.
  virtual std::vector<std::wstring> subKeys(const std::wstring& key) {
    (void)key;
    return {};
  }
  // Names of the values of key, in the order of their folded names.
  virtual std::vector<std::wstring> valueNames(const std::wstring& key) {
    (void)key;
    return {};
  }
};

// Settings held in memory only; each instance starts empty.
class MemorySettings : public SettingsBackend {
 public:
  bool keyExists(const std::wstring& key) override;
  void createKey(const std::wstring& key) override;
  std::optional<SettingsValue> getValue(const std::wstring& key, const std::wstring& name) override;
  bool setValue(const std::wstring& key, const std::wstring& name, const SettingsValue& value) override;
  bool deleteValue(const std::wstring& key, const std::wstring& name) override;
  bool deleteTree(const std::wstring& key) override;
  std::vector<std::wstring> subKeys(const std::wstring& key) override;
  std::vector<std::wstring> valueNames(const std::wstring& key) override;

  // The text form of a registry export: "[key]" lines, then "name"=dword:0000002a,
  // "name"="text" and "name"=hex(N):01,02 lines. Read back by parse().
  std::string serialize() const;
  // Replaces the content; returns false (and keeps the old content) on a malformed text.
  bool parse(const std::string& text);

 protected:
  struct Key {
    std::wstring displayName;
    std::map<std::wstring, std::pair<std::wstring, SettingsValue>> values;  // folded name -> (name, value)
  };
  mutable std::recursive_mutex mutex_;
  std::map<std::wstring, Key> keys_;  // folded path -> key
};

// Settings in a file, read when the back end is made and written after each change.
class FileSettings : public MemorySettings {
 public:
  explicit FileSettings(std::string path);
  const std::string& path() const { return path_; }

  void createKey(const std::wstring& key) override;
  bool setValue(const std::wstring& key, const std::wstring& name, const SettingsValue& value) override;
  bool deleteValue(const std::wstring& key, const std::wstring& name) override;
  bool deleteTree(const std::wstring& key) override;

 private:
  void save();
  std::string path_;
};

// The per-user file of the current user.
std::string defaultSettingsPath();

// The back end that the registry calls use on Linux; made on first use from
// defaultSettingsPath() unless one was installed before.
std::shared_ptr<SettingsBackend> settingsBackend();
// Installs a back end and returns the previous one (null if none was made yet).
std::shared_ptr<SettingsBackend> setSettingsBackend(std::shared_ptr<SettingsBackend> backend);

}  // namespace platform
