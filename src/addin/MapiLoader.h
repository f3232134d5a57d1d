// Finding and loading the host's MAPI library, and the exports taken from it. The search is
// logic over MapiEnvironment, so that it runs the same against the machine (win32) and
// against a scripted machine in tests.
#pragma once

#include <mutex>
#include <string>
#include <vector>

namespace zelvo {
namespace addin {

// What the search asks of the machine. Handles and addresses are opaque here.
class MapiEnvironment {
 public:
  enum class Root { LocalMachine, CurrentUser };

  virtual ~MapiEnvironment() = default;
  // A string value; false when the key or value is missing.
  virtual bool readString(Root root, const std::wstring& key, const std::wstring& name, std::wstring& value) = 0;
  // A number value, stored as a DWORD or as decimal text.
  virtual bool readNumber(Root root, const std::wstring& key, const std::wstring& name, unsigned long& value) = 0;
  // A multi-string value holding a key path, then the names of values under it.
  virtual bool readKeyAndNames(Root root, const std::wstring& key, const std::wstring& name, std::wstring& subKey,
                               std::vector<std::wstring>& valueNames) = 0;
  virtual bool fileExists(const std::wstring& path) = 0;
  // Loads without letting the system show an error dialog; null on failure.
  virtual void* loadLibrary(const std::wstring& path) = 0;
  virtual void freeLibrary(void* module) = 0;
  virtual void* getProcAddress(void* module, const char* name) = 0;
  virtual std::wstring systemDirectory() = 0;
  virtual unsigned long userDefaultLcid() = 0;
  virtual unsigned long systemDefaultLcid() = 0;
  // Calls an FGetComponentPath taken from a stub library; false when it finds nothing.
  virtual bool callGetComponentPath(void* function, const std::string& component, const std::string& qualifier,
                                    std::wstring& path) = 0;
};

// The key of the host as a mail client, and the names the search uses.
extern const wchar_t kMailClientsKey[];
extern const wchar_t kOutlookClientName[];

// Finds the MAPI library and loads it: the module, or null when every way failed.
void* findMapiLibrary(MapiEnvironment& env);

// The loaded library, found at its first use. Each load gets a new number, so that the
// exports taken from an earlier load are taken again.
class MapiLoader {
 public:
  explicit MapiLoader(MapiEnvironment& env) : env_(env) {}
  ~MapiLoader();
  MapiLoader(const MapiLoader&) = delete;
  MapiLoader& operator=(const MapiLoader&) = delete;

  // The address of the first of `names` the library exports, kept in `cache` for this load;
  // null when the library or every export is missing.
  struct Cache {
    unsigned long load = 0;
    void* address = nullptr;
  };
  void* resolve(const std::vector<const char*>& names, Cache& cache);
  // Lets the library go; the next use searches again.
  void unload();
  unsigned long loadNumber() const;

 private:
  MapiEnvironment& env_;
  mutable std::mutex lock_;
  void* module_ = nullptr;
  unsigned long load_ = 0;
};

// A call through an export of the loaded library, with the export's own type; `failure`
// when the library or the export is missing. The stubs of the Windows build are made of it.
template <typename Function, typename Result, typename... Args>
Result callMapiExport(MapiLoader& loader, const std::vector<const char*>& names, MapiLoader::Cache& cache,
                      Result failure, Args... args) {
  void* address = loader.resolve(names, cache);
  if (!address) return failure;
  return reinterpret_cast<Function*>(address)(args...);
}

}  // namespace addin
}  // namespace zelvo
