#include "store/reference/ReferenceAllocator.h"

#include <atomic>
#include <cstdlib>
#include <mutex>
#include <unordered_map>
#include <vector>

namespace ReferenceStore {
namespace {

struct BlockInfo {
  void* root;                   // null for a root block
  std::vector<void*> children;  // chained blocks of a root
};

struct Registry {
  std::mutex mutex;
  std::unordered_map<void*, BlockInfo> blocks;
  size_t misuses = 0;
  bool failPending = false;
  SCODE failCode = S_OK;
  size_t failSkip = 0;
};

Registry& registry() {
  static Registry* instance = new Registry;  // outlives every static that frees blocks
  return *instance;
}

// Called under the lock; true when this allocation is to fail.
bool takeFailure(Registry& r, SCODE& code) {
  if (!r.failPending) return false;
  if (r.failSkip > 0) {
    --r.failSkip;
    return false;
  }
  r.failPending = false;
  code = r.failCode;
  return true;
}

void* newBlock(ULONG size) {
  // Never a null block for size 0, so that every allocation has its own identity.
  return std::calloc(1, size ? size : 1);
}

}  // namespace

SCODE STDMETHODCALLTYPE ReferenceAllocator::allocateBuffer(ULONG size, LPVOID* buffer) {
  if (!buffer) return E_INVALIDARG;
  *buffer = nullptr;
  Registry& r = registry();
  std::lock_guard<std::mutex> lock(r.mutex);
  SCODE code;
  if (takeFailure(r, code)) return code;
  void* block = newBlock(size);
  if (!block) return MAPI_E_NOT_ENOUGH_MEMORY;
  r.blocks.emplace(block, BlockInfo{nullptr, {}});
  *buffer = block;
  return S_OK;
}

SCODE STDMETHODCALLTYPE ReferenceAllocator::allocateMore(ULONG size, LPVOID parent, LPVOID* buffer) {
  if (!buffer) return E_INVALIDARG;
  *buffer = nullptr;
  Registry& r = registry();
  std::lock_guard<std::mutex> lock(r.mutex);
  auto found = r.blocks.find(parent);
  if (!parent || found == r.blocks.end()) return E_INVALIDARG;
  void* root = found->second.root ? found->second.root : parent;
  SCODE code;
  if (takeFailure(r, code)) return code;
  void* block = newBlock(size);
  if (!block) return MAPI_E_NOT_ENOUGH_MEMORY;
  r.blocks.emplace(block, BlockInfo{root, {}});
  r.blocks[root].children.push_back(block);
  *buffer = block;
  return S_OK;
}

ULONG STDMETHODCALLTYPE ReferenceAllocator::freeBuffer(LPVOID buffer) {
  if (!buffer) return 0;
  Registry& r = registry();
  std::lock_guard<std::mutex> lock(r.mutex);
  auto found = r.blocks.find(buffer);
  if (found == r.blocks.end() || found->second.root) {
    ++r.misuses;
    return 0;
  }
  for (void* child : found->second.children) {
    r.blocks.erase(child);
    std::free(child);
  }
  r.blocks.erase(found);
  std::free(buffer);
  return 0;
}

MapiAlloc ReferenceAllocator::functions() {
  MapiAlloc result;
  result.allocateBuffer = &ReferenceAllocator::allocateBuffer;
  result.allocateMore = &ReferenceAllocator::allocateMore;
  result.freeBuffer = &ReferenceAllocator::freeBuffer;
  return result;
}

size_t ReferenceAllocator::liveBlocks() {
  Registry& r = registry();
  std::lock_guard<std::mutex> lock(r.mutex);
  return r.blocks.size();
}

size_t ReferenceAllocator::misuses() {
  Registry& r = registry();
  std::lock_guard<std::mutex> lock(r.mutex);
  return r.misuses;
}

void ReferenceAllocator::failAllocation(SCODE code, size_t skip) {
  Registry& r = registry();
  std::lock_guard<std::mutex> lock(r.mutex);
  r.failPending = true;
  r.failCode = code;
  r.failSkip = skip;
}

void ReferenceAllocator::resetDiagnostics() {
  Registry& r = registry();
  std::lock_guard<std::mutex> lock(r.mutex);
  r.failPending = false;
  r.misuses = 0;
}

namespace {

class AllocatorObject final : public iui_::IUnknownImpl<IStoreAllocator> {
 public:
  HRESULT STDMETHODCALLTYPE getAllocators(LPALLOCATEBUFFER* allocateBuffer, LPALLOCATEMORE* allocateMore,
                                          LPFREEBUFFER* freeBuffer) override {
    if (!allocateBuffer || !allocateMore || !freeBuffer) return E_POINTER;
    *allocateBuffer = &ReferenceAllocator::allocateBuffer;
    *allocateMore = &ReferenceAllocator::allocateMore;
    *freeBuffer = &ReferenceAllocator::freeBuffer;
    return S_OK;
  }
};

}  // namespace

ComRef<IStoreAllocator> createAllocatorObject() { return ComRef<IStoreAllocator>::adopt(new AllocatorObject); }

}  // namespace ReferenceStore

#ifndef _WIN32
// Without a MAPI subsystem the reference store is the owner of MAPI memory.
SCODE STDMETHODCALLTYPE MAPIAllocateBuffer(ULONG cbSize, LPVOID* lppBuffer) {
  return ReferenceStore::ReferenceAllocator::allocateBuffer(cbSize, lppBuffer);
}
SCODE STDMETHODCALLTYPE MAPIAllocateMore(ULONG cbSize, LPVOID lpObject, LPVOID* lppBuffer) {
  return ReferenceStore::ReferenceAllocator::allocateMore(cbSize, lpObject, lppBuffer);
}
ULONG STDMETHODCALLTYPE MAPIFreeBuffer(LPVOID lpBuffer) { return ReferenceStore::ReferenceAllocator::freeBuffer(lpBuffer); }
#endif
