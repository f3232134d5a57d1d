#include "store/MapiAlloc.h"

#include <cwchar>

#include "base/SizeCast.h"

void MapiAlloc::getAlloc(MapiAlloc& out, IStoreAllocator* allocator) {
  if (!allocator) ZEL_HERE.raise(E_INVALIDARG);
  MapiAlloc functions;
  ZEL_CHECK(allocator->getAllocators(&functions.allocateBuffer, &functions.allocateMore, &functions.freeBuffer));
  if (!functions.isSet()) ZEL_HERE.raise(E_INVALIDARG);
  out = functions;
}

void* detail::rawAllocBytes(size_t bytes, void* parent, const MapiAlloc& allocators) {
  if (!allocators.isSet()) ZEL_HERE.raise(E_INVALIDARG);
  const ULONG size = size_cast<ULONG>(bytes);
  void* block = nullptr;
  // A chained block goes with its parent; it is never freed on its own.
  ZEL_CHECK(parent ? allocators.allocateMore(size, parent, &block) : allocators.allocateBuffer(size, &block));
  if (!block) ZEL_HERE.raise(E_OUTOFMEMORY);
  std::memset(block, 0, size);
  return block;
}

wchar_t* detail::rawAlloc(size_t count, void* parent, const MapiAlloc& allocators) {
  if (count > static_cast<size_t>(-1) / sizeof(wchar_t)) ZEL_HERE.raise(E_OUTOFMEMORY);
  return static_cast<wchar_t*>(rawAllocBytes(count * sizeof(wchar_t), parent, allocators));
}

void InternalMapiAlloc::copyStringW(const wchar_t* source, const MapiAlloc& allocators, void* parent,
                                    wchar_t** out) {
  if (!source || !out) ZEL_HERE.raise(E_INVALIDARG);
  copyStringWLen(source, std::wcslen(source), allocators, parent, out);
}

void InternalMapiAlloc::copyStringWLen(const wchar_t* source, size_t length, const MapiAlloc& allocators,
                                       void* parent, wchar_t** out) {
  if (!source || !out) ZEL_HERE.raise(E_INVALIDARG);
  if (length == static_cast<size_t>(-1)) ZEL_HERE.raise(E_INVALIDARG);
  const ULONG count = size_cast<ULONG>(length + 1);
  wchar_t* copy = detail::rawAlloc(count, parent, allocators);
  std::wmemcpy(copy, source, length);
  *out = copy;  // the zeroed block already holds the terminator
}
