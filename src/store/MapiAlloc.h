// Memory that goes out through a MAPI interface must come from the allocators of that
// interface's owner. MapiAlloc holds the three functions a store allocator reports;
// InternalMapiAlloc builds zeroed blocks, strings and arrays from them, either as a root
// block or chained to a parent so that they go when the parent is freed.
#pragma once

#include <cstddef>
#include <cstring>
#include <utility>

#include "base/HResultException.h"
#include "store/StoreInterfaces.h"

struct MapiAlloc {
  LPALLOCATEBUFFER allocateBuffer = nullptr;
  LPALLOCATEMORE allocateMore = nullptr;
  LPFREEBUFFER freeBuffer = nullptr;

  // The three functions of a store allocator. Raises E_INVALIDARG for a null allocator
  // or a null function, and the allocator's own failure unchanged.
  static void getAlloc(MapiAlloc& out, IStoreAllocator* allocator);

  bool isSet() const { return allocateBuffer && allocateMore && freeBuffer; }
};

namespace detail {
// A zeroed block of count wide characters (count * sizeof(wchar_t) bytes); with a parent
// it is chained to it. Raises E_INVALIDARG when the allocators are not set and the
// allocator's failure unchanged.
wchar_t* rawAlloc(size_t count, void* parent, const MapiAlloc& allocators);
// The same for a block of bytes.
void* rawAllocBytes(size_t bytes, void* parent, const MapiAlloc& allocators);

// Copies count records into one zeroed block (chained to parent when given). A count of
// 0 gives a null block.
template <class T>
void copyArray(const T* source, size_t count, const MapiAlloc& allocators, void* parent, T** out);
}  // namespace detail

namespace InternalMapiAlloc {
// A copy of a zero-terminated string with its terminator. Raises E_INVALIDARG for a
// null source or out.
void copyStringW(const wchar_t* source, const MapiAlloc& allocators, void* parent, wchar_t** out);
// The same for length characters of source; the copy is terminated.
void copyStringWLen(const wchar_t* source, size_t length, const MapiAlloc& allocators, void* parent,
                    wchar_t** out);
}  // namespace InternalMapiAlloc

// Owns one root block of a MAPI allocator and frees it (with everything chained to it).
template <class T>
class MapiBuffer {
 public:
  MapiBuffer() = default;
  explicit MapiBuffer(LPFREEBUFFER freeBuffer) : free_(freeBuffer) {}
  MapiBuffer(const MapiBuffer&) = delete;
  MapiBuffer& operator=(const MapiBuffer&) = delete;
  MapiBuffer(MapiBuffer&& other) noexcept : block_(std::exchange(other.block_, nullptr)), free_(other.free_) {}
  ~MapiBuffer() { reset(); }

  // For out-parameters: frees what is held and hands out the slot.
  T** receive() {
    reset();
    return &block_;
  }
  void reset(T* block = nullptr) {
    if (block_ && free_) free_(block_);
    block_ = block;
  }
  T* release() { return std::exchange(block_, nullptr); }
  T* get() const { return block_; }
  T* operator->() const { return block_; }
  explicit operator bool() const { return block_ != nullptr; }

 private:
  T* block_ = nullptr;
  LPFREEBUFFER free_ = nullptr;
};

template <class T>
void detail::copyArray(const T* source, size_t count, const MapiAlloc& allocators, void* parent, T** out) {
  if (!out || (!source && count)) ZEL_HERE.raise(E_INVALIDARG);
  *out = nullptr;
  if (count == 0) return;
  if (count > static_cast<size_t>(-1) / sizeof(T)) ZEL_HERE.raise(E_OUTOFMEMORY);
  void* block = rawAllocBytes(count * sizeof(T), parent, allocators);
  std::memcpy(block, source, count * sizeof(T));
  *out = static_cast<T*>(block);
}
