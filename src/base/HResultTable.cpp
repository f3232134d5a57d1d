#include "base/HResultTable.h"

#include <atomic>
#include <cstdio>
#include <map>
#include <memory>

#include "base/DravCodes.h"
#include "base/Win32Error.h"
#include "base/ZMutex.h"

namespace {

using NameTable = std::map<uint32_t, const char*>;

struct Row {
  uint32_t code;
  const char* name;
};

const Row kRows[] = {
#define ZEL_HRESULT_ROW(name) {static_cast<uint32_t>(name), #name},
#define ZEL_WIN32_ROW(name) {static_cast<uint32_t>(win32ErrorToHResult(name)), #name},
#include "base/HResultTable.inc"
#undef ZEL_HRESULT_ROW
#undef ZEL_WIN32_ROW
};

std::atomic<const NameTable*> table{nullptr};

// Built once on first use: a lock-free read of the finished table, and a process-wide
// lock only while it is being built. It lives until the module goes.
const NameTable& nameTable() {
  const NameTable* current = table.load(std::memory_order_acquire);
  if (current) return *current;
  static zelvo::tiny::ZMutex buildLock;
  buildLock.lock();
  current = table.load(std::memory_order_relaxed);
  if (!current) {
    static std::unique_ptr<NameTable> owner;
    owner = std::make_unique<NameTable>();
    for (const Row& row : kRows) owner->emplace(row.code, row.name);  // first row wins
    current = owner.get();
    table.store(current, std::memory_order_release);
  }
  buildLock.unlock();
  return *current;
}

}  // namespace

std::string hresultToString(HRESULT code) {
  const NameTable& names = nameTable();
  char hex[16];
  std::snprintf(hex, sizeof hex, "0x%08x", static_cast<uint32_t>(code));
  std::string text(hex);
  const auto row = names.find(static_cast<uint32_t>(code));
  if (row != names.end()) {
    text += ' ';
    text += row->second;
  }
  return text;
}

namespace details {
size_t hresultTableSize() { return nameTable().size(); }
}  // namespace details
