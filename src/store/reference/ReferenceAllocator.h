// The memory functions of the reference store: MAPI semantics (a block from allocateMore
// belongs to its root and goes when the root is freed) with every live block tracked, so
// that a test can prove that all it was handed has been released. On Linux these are
// also MAPIAllocateBuffer, MAPIAllocateMore and MAPIFreeBuffer.
#pragma once

#include <cstddef>

#include "base/ComRef.h"
#include "store/MapiAlloc.h"

namespace ReferenceStore {

class ReferenceAllocator {
 public:
  static SCODE STDMETHODCALLTYPE allocateBuffer(ULONG size, LPVOID* buffer);
  static SCODE STDMETHODCALLTYPE allocateMore(ULONG size, LPVOID parent, LPVOID* buffer);
  static ULONG STDMETHODCALLTYPE freeBuffer(LPVOID buffer);

  static MapiAlloc functions();

  // Root and chained blocks not yet freed.
  static size_t liveBlocks();
  // Frees of a chained block or of a pointer that is no live root; nothing is freed then.
  static size_t misuses();
  // After skip successful allocations, the next one fails with code and hands out null.
  static void failAllocation(SCODE code, size_t skip = 0);
  // Forgets a pending failure and the misuse count.
  static void resetDiagnostics();
};

// A new store allocator object (reference count 1).
ComRef<IStoreAllocator> createAllocatorObject();

}  // namespace ReferenceStore
