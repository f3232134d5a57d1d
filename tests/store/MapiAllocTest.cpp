#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <iterator>
#include <map>
#include <set>
#include <vector>

#include "store/MapiAlloc.h"
#include "StoreTestSupport.h"

using ReferenceStore::ReferenceAllocator;

namespace {

// Allocators that record every call and fill their blocks with garbage, so that a test
// sees whether a block was zeroed and which function made or freed it.
struct Recorder {
  static std::vector<std::string> calls;
  static std::map<void*, void*> parents;  // block -> parent (null for a root)
  static std::set<void*> freed;

  static SCODE STDMETHODCALLTYPE allocateBuffer(ULONG size, LPVOID* out) {
    calls.push_back("buffer " + std::to_string(size));
    *out = dirtyBlock(size);
    parents[*out] = nullptr;
    return S_OK;
  }
  static SCODE STDMETHODCALLTYPE allocateMore(ULONG size, LPVOID parent, LPVOID* out) {
    calls.push_back("more " + std::to_string(size));
    *out = dirtyBlock(size);
    parents[*out] = parent;
    return S_OK;
  }
  static ULONG STDMETHODCALLTYPE freeBuffer(LPVOID block) {
    calls.push_back(parents.count(block) && parents[block] ? "free child" : "free root");
    freed.insert(block);
    return 0;
  }
  static SCODE STDMETHODCALLTYPE failingBuffer(ULONG, LPVOID* out) {
    *out = nullptr;
    return MAPI_E_NOT_ENOUGH_MEMORY;
  }
  static void* dirtyBlock(ULONG size) {
    void* block = std::malloc(size ? size : 1);
    std::memset(block, 0xCD, size);
    return block;
  }
  static MapiAlloc functions() {
    MapiAlloc a;
    a.allocateBuffer = &allocateBuffer;
    a.allocateMore = &allocateMore;
    a.freeBuffer = &freeBuffer;
    return a;
  }
  static void reset() {
    for (auto& entry : parents) std::free(entry.first);
    calls.clear();
    parents.clear();
    freed.clear();
  }
};
std::vector<std::string> Recorder::calls;
std::map<void*, void*> Recorder::parents;
std::set<void*> Recorder::freed;

class MapiAllocTest : public storetest::StoreTest {
 protected:
  void TearDown() override {
    Recorder::reset();
    StoreTest::TearDown();
  }
};

TEST_F(MapiAllocTest, RawAllocZeroesRootAndChainedBlocks) {
  const MapiAlloc a = Recorder::functions();
  wchar_t* root = detail::rawAlloc(5, nullptr, a);
  wchar_t* child = detail::rawAlloc(3, root, a);
  for (int i = 0; i < 5; ++i) EXPECT_EQ(root[i], L'\0') << i;
  for (int i = 0; i < 3; ++i) EXPECT_EQ(child[i], L'\0') << i;
  const std::vector<std::string> expected = {"buffer " + std::to_string(5 * sizeof(wchar_t)),
                                             "more " + std::to_string(3 * sizeof(wchar_t))};
  EXPECT_EQ(Recorder::calls, expected);
  EXPECT_EQ(Recorder::parents[child], root);
  EXPECT_TRUE(Recorder::freed.empty()) << "nothing is freed by the allocation helpers";
}

TEST_F(MapiAllocTest, ChainedStringsAreNeverFreedOnTheirOwn) {
  const MapiAlloc a = Recorder::functions();
  MapiBuffer<wchar_t> root(a.freeBuffer);
  wchar_t* copy = nullptr;
  InternalMapiAlloc::copyStringW(L"root", a, nullptr, &copy);
  root.reset(copy);
  wchar_t* child = nullptr;
  InternalMapiAlloc::copyStringW(L"child", a, root.get(), &child);
  EXPECT_STREQ(child, L"child");
  root.reset();
  const std::vector<std::string> expected = {"buffer " + std::to_string(5 * sizeof(wchar_t)),
                                             "more " + std::to_string(6 * sizeof(wchar_t)), "free root"};
  EXPECT_EQ(Recorder::calls, expected);
}

TEST_F(MapiAllocTest, ArgumentsAreChecked) {
  const MapiAlloc unset;
  MapiAlloc partial = Recorder::functions();
  partial.allocateMore = nullptr;
  wchar_t* out = nullptr;
  struct Case {
    const char* name;
    std::function<void()> call;
    HRESULT code;
  } cases[] = {
      {"rawAlloc without allocators", [&] { detail::rawAlloc(1, nullptr, unset); }, E_INVALIDARG},
      {"rawAlloc with two of three", [&] { detail::rawAlloc(1, nullptr, partial); }, E_INVALIDARG},
      {"copyStringW of null", [&] { InternalMapiAlloc::copyStringW(nullptr, Recorder::functions(), nullptr, &out); }, E_INVALIDARG},
      {"copyStringW into null", [&] { InternalMapiAlloc::copyStringW(L"x", Recorder::functions(), nullptr, nullptr); }, E_INVALIDARG},
      {"copyStringWLen of null", [&] { InternalMapiAlloc::copyStringWLen(nullptr, 1, Recorder::functions(), nullptr, &out); }, E_INVALIDARG},
      {"allocator failure passes unchanged",
       [&] {
         MapiAlloc failing = Recorder::functions();
         failing.allocateBuffer = &Recorder::failingBuffer;
         detail::rawAlloc(4, nullptr, failing);
       },
       MAPI_E_NOT_ENOUGH_MEMORY},
      {"getAlloc of null", [&] { MapiAlloc a; MapiAlloc::getAlloc(a, nullptr); }, E_INVALIDARG},
  };
  for (auto& c : cases) {
    SCOPED_TRACE(c.name);
    try {
      c.call();
      ADD_FAILURE() << "no raise";
    } catch (const HResultException& e) {
      EXPECT_EQ(e.getHResult(), c.code);
    }
  }
  EXPECT_EQ(out, nullptr);
}

TEST_F(MapiAllocTest, StringCopiesKeepLengthAndTerminator) {
  const MapiAlloc a = ReferenceAllocator::functions();
  struct Case {
    const wchar_t* source;
    size_t length;  // npos: copyStringW
    std::wstring expected;
  } cases[] = {
      {L"", std::wstring::npos, L""},
      {L"jane.doe@example.com", std::wstring::npos, L"jane.doe@example.com"},
      {L"Gr\u00fc\u00dfe \u20ac", std::wstring::npos, L"Gr\u00fc\u00dfe \u20ac"},
      {L"abcdef", 3, L"abc"},
      {L"abc", 0, L""},
  };
  MapiBuffer<void> root(a.freeBuffer);
  root.reset(detail::rawAllocBytes(8, nullptr, a));
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.expected.begin(), c.expected.end()));
    wchar_t* copy = nullptr;
    if (c.length == std::wstring::npos) InternalMapiAlloc::copyStringW(c.source, a, root.get(), &copy);
    else InternalMapiAlloc::copyStringWLen(c.source, c.length, a, root.get(), &copy);
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(std::wstring(copy), c.expected);
    EXPECT_NE(copy, c.source);
  }
  EXPECT_EQ(ReferenceAllocator::liveBlocks(), 1u + std::size(cases));
}

TEST_F(MapiAllocTest, CopyArrayCopiesRecordsIntoOneBlock) {
  const MapiAlloc a = ReferenceAllocator::functions();
  const AccessInfo source[3] = {{1, nullptr, nullptr}, {0x8000, nullptr, nullptr}, {7, nullptr, nullptr}};
  AccessInfo* copy = nullptr;
  detail::copyArray(source, 3, a, nullptr, &copy);
  MapiBuffer<AccessInfo> owner(a.freeBuffer);
  owner.reset(copy);
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(copy[0].flags, 1u);
  EXPECT_EQ(copy[1].flags, 0x8000u);
  EXPECT_EQ(copy[2].flags, 7u);
  AccessInfo sentinel{};
  AccessInfo* none = &sentinel;
  detail::copyArray(source, 0, a, nullptr, &none);
  EXPECT_EQ(none, nullptr) << "an empty array is a null block";
  EXPECT_EQ(ReferenceAllocator::liveBlocks(), 1u);
}

TEST_F(MapiAllocTest, ReferenceAllocatorFreesChainsWithTheirRoot) {
  const MapiAlloc a = ReferenceAllocator::functions();
  void* root = detail::rawAllocBytes(16, nullptr, a);
  void* child = detail::rawAllocBytes(16, root, a);
  detail::rawAllocBytes(4, child, a);  // chained to a child: still goes with the root
  EXPECT_EQ(ReferenceAllocator::liveBlocks(), 3u);
  a.freeBuffer(child);
  EXPECT_EQ(ReferenceAllocator::misuses(), 1u) << "a chained block may not be freed on its own";
  EXPECT_EQ(ReferenceAllocator::liveBlocks(), 3u);
  a.freeBuffer(root);
  EXPECT_EQ(ReferenceAllocator::liveBlocks(), 0u);
  ReferenceAllocator::resetDiagnostics();
}

TEST_F(MapiAllocTest, InjectedAllocationFailureReachesTheCaller) {
  const MapiAlloc a = ReferenceAllocator::functions();
  MapiBuffer<void> root(a.freeBuffer);
  root.reset(detail::rawAllocBytes(8, nullptr, a));
  ReferenceAllocator::failAllocation(MAPI_E_NOT_ENOUGH_MEMORY, 1);
  wchar_t* first = nullptr;
  InternalMapiAlloc::copyStringW(L"fits", a, root.get(), &first);
  wchar_t* second = nullptr;
  try {
    InternalMapiAlloc::copyStringW(L"fails", a, root.get(), &second);
    ADD_FAILURE() << "no raise";
  } catch (const HResultException& e) {
    EXPECT_EQ(e.getHResult(), MAPI_E_NOT_ENOUGH_MEMORY);
  }
  EXPECT_STREQ(first, L"fits");
  EXPECT_EQ(second, nullptr);
}

TEST_F(MapiAllocTest, GetAllocTakesTheStoreAllocatorsFunctions) {
  ComRef<IStoreAllocator> allocator(ReferenceStore::createAllocatorObject());
  MapiAlloc a;
  MapiAlloc::getAlloc(a, allocator.get());
  EXPECT_EQ(a.allocateBuffer, &ReferenceAllocator::allocateBuffer);
  EXPECT_EQ(a.allocateMore, &ReferenceAllocator::allocateMore);
  EXPECT_EQ(a.freeBuffer, &ReferenceAllocator::freeBuffer);
}

}  // namespace
