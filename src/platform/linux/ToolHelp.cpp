// Process and module snapshots of the Linux build, taken from /proc when the snapshot is
// made, as Windows takes them.
#include <dirent.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "platform/Utf8.h"
#include "platform/Win32.h"
#include "platform/linux/KernelObject.h"

namespace {

struct Entry {
  DWORD processId;
  std::wstring name;  // the file name
  std::wstring path;  // the full path; empty when it cannot be read
};

class Snapshot : public platform::posix::KernelObject {
 public:
  DWORD kind = 0;
  std::vector<Entry> entries;
  size_t next = 0;
};

std::wstring fileName(const std::wstring& path) { return path.substr(path.rfind(L'/') + 1); }

std::vector<Entry> processes() {
  std::vector<Entry> out;
  DIR* dir = opendir("/proc");
  if (!dir) return out;
  while (const dirent* item = readdir(dir)) {
    char* end = nullptr;
    const unsigned long pid = std::strtoul(item->d_name, &end, 10);
    if (!*item->d_name || *end) continue;
    const std::string base = std::string("/proc/") + item->d_name;
    char link[4096];
    const ssize_t n = readlink((base + "/exe").c_str(), link, sizeof link - 1);
    std::wstring path = n > 0 ? platform::fromUtf8Lenient(std::string(link, static_cast<size_t>(n))) : L"";
    std::wstring name = fileName(path);
    if (name.empty()) {
      // Another user's process: its program can't be read, but its short name can.
      std::ifstream comm(base + "/comm");
      std::string text;
      std::getline(comm, text);
      name = platform::fromUtf8Lenient(text);
    }
    if (!name.empty()) out.push_back({static_cast<DWORD>(pid), name, path});
  }
  closedir(dir);
  std::sort(out.begin(), out.end(), [](const Entry& a, const Entry& b) { return a.processId < b.processId; });
  return out;
}

std::vector<Entry> modules(DWORD processId) {
  std::vector<Entry> out;
  std::ifstream maps("/proc/" + std::to_string(processId ? processId : static_cast<DWORD>(getpid())) + "/maps");
  std::set<std::string> seen;
  std::string line;
  while (std::getline(maps, line)) {
    const size_t slash = line.find('/');
    if (slash == std::string::npos) continue;
    const std::string path = line.substr(slash);
    if (!seen.insert(path).second) continue;
    const std::wstring wide = platform::fromUtf8Lenient(path);
    out.push_back({processId, fileName(wide), wide});
  }
  return out;
}

template <class Text>
void copyText(const std::wstring& from, Text& to) {
  const size_t n = std::min(from.size(), sizeof(to) / sizeof(to[0]) - 1);
  std::copy(from.begin(), from.begin() + static_cast<std::ptrdiff_t>(n), to);
  to[n] = 0;
}

Snapshot* snapshotOf(HANDLE handle, DWORD kind) {
  auto* snapshot = dynamic_cast<Snapshot*>(platform::posix::objectOf(handle));
  if (!snapshot || snapshot->kind != kind) {
    SetLastError(ERROR_INVALID_HANDLE);
    return nullptr;
  }
  return snapshot;
}

const Entry* take(Snapshot* snapshot) {
  if (snapshot->next >= snapshot->entries.size()) {
    SetLastError(ERROR_NO_MORE_FILES);
    return nullptr;
  }
  return &snapshot->entries[snapshot->next++];
}

}  // namespace

HANDLE CreateToolhelp32Snapshot(DWORD dwFlags, DWORD th32ProcessID) {
  auto* snapshot = new Snapshot;
  if (dwFlags & TH32CS_SNAPPROCESS) {
    snapshot->kind = TH32CS_SNAPPROCESS;
    snapshot->entries = processes();
  } else if (dwFlags & TH32CS_SNAPMODULE) {
    snapshot->kind = TH32CS_SNAPMODULE;
    snapshot->entries = modules(th32ProcessID);
    if (snapshot->entries.empty()) {
      delete snapshot;
      SetLastError(ERROR_ACCESS_DENIED);  // no such process, or not ours to read
      return INVALID_HANDLE_VALUE;
    }
  }
  return platform::posix::handleOf(snapshot);
}

BOOL Process32FirstW(HANDLE hSnapshot, LPPROCESSENTRY32W lppe) {
  Snapshot* snapshot = snapshotOf(hSnapshot, TH32CS_SNAPPROCESS);
  if (!snapshot) return FALSE;
  snapshot->next = 0;
  return Process32NextW(hSnapshot, lppe);
}

BOOL Process32NextW(HANDLE hSnapshot, LPPROCESSENTRY32W lppe) {
  Snapshot* snapshot = snapshotOf(hSnapshot, TH32CS_SNAPPROCESS);
  if (!snapshot || !lppe) return FALSE;
  const Entry* entry = take(snapshot);
  if (!entry) return FALSE;
  lppe->th32ProcessID = entry->processId;
  copyText(entry->name, lppe->szExeFile);
  return TRUE;
}

BOOL Module32FirstW(HANDLE hSnapshot, LPMODULEENTRY32W lpme) {
  Snapshot* snapshot = snapshotOf(hSnapshot, TH32CS_SNAPMODULE);
  if (!snapshot) return FALSE;
  snapshot->next = 0;
  return Module32NextW(hSnapshot, lpme);
}

BOOL Module32NextW(HANDLE hSnapshot, LPMODULEENTRY32W lpme) {
  Snapshot* snapshot = snapshotOf(hSnapshot, TH32CS_SNAPMODULE);
  if (!snapshot || !lpme) return FALSE;
  const Entry* entry = take(snapshot);
  if (!entry) return FALSE;
  lpme->th32ProcessID = entry->processId;
  lpme->hModule = nullptr;
  copyText(entry->name, lpme->szModule);
  copyText(entry->path, lpme->szExePath);
  return TRUE;
}
