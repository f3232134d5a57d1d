#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>

#include "StreamTestSupport.h"
#include "streams/AdaptiveStreamData.h"
#include "streams/MemoryStreamData.h"
#include "streams/TempFileStreamData.h"

#ifndef _WIN32
#include <unistd.h>
#endif

namespace {

using streamtest::Event;
using streamtest::makeListener;
using streamtest::pattern;
using streamtest::readAll;

constexpr DWORD T = 2000000;

enum class Backend { Memory, TempFile, Adaptive };

const char* nameOf(Backend kind) {
  switch (kind) {
    case Backend::Memory: return "Memory";
    case Backend::TempFile: return "TempFile";
    default: return "Adaptive";
  }
}

ComRef<IStreamData> make(Backend kind, DWORD flags = 0) {
  ComRef<IStreamData> data;
  HRESULT hr = E_FAIL;
  switch (kind) {
    case Backend::Memory: hr = MemoryStreamData::create(flags, nullptr, data.put()); break;
    case Backend::TempFile: hr = TempFileStreamData::create(flags, nullptr, data.put()); break;
    case Backend::Adaptive: hr = AdaptiveStreamData::create(flags, nullptr, data.put(), T); break;
  }
  EXPECT_EQ(hr, S_OK);
  return data;
}

ComRef<MemoryStreamData> makeMemory() { return ComRef<MemoryStreamData>::adopt(new MemoryStreamData(nullptr)); }

ComRef<AdaptiveStreamData> makeAdaptive(DWORD threshold = T) {
  return ComRef<AdaptiveStreamData>::adopt(new AdaptiveStreamData(nullptr, threshold));
}

HRESULT writeAt(IStreamData* data, const std::vector<BYTE>& bytes, ULONGLONG offset) {
  ULONG written = 0;
  const HRESULT hr = data->write(bytes.data(), static_cast<ULONG>(bytes.size()), offset, &written);
  if (SUCCEEDED(hr)) {
    EXPECT_EQ(written, bytes.size());
  }
  return hr;
}

ULONGLONG sizeOf(IStreamData* data) {
  ULONGLONG size = 0;
  EXPECT_EQ(data->getSize(&size), S_OK);
  return size;
}

// ---- The interface itself

// Calls through the raw table of the object, as a caller in another module would.
TEST(StreamDataInterface, SlotsStandInTheirOrder) {
  ComRef<IStreamData> data = make(Backend::Memory);
  ASSERT_EQ(writeAt(data.get(), pattern(10), 0), S_OK);
  void** table = *reinterpret_cast<void***>(data.get());
  using GetSize = HRESULT(STDMETHODCALLTYPE*)(IStreamData*, ULONGLONG*);
  using GetFlags = HRESULT(STDMETHODCALLTYPE*)(IStreamData*, DWORD*);
  using SetSize = HRESULT(STDMETHODCALLTYPE*)(IStreamData*, ULONGLONG);
  ASSERT_EQ(reinterpret_cast<SetSize>(table[5])(data.get(), 7), S_OK);
  ULONGLONG size = 0;
  ASSERT_EQ(reinterpret_cast<GetSize>(table[11])(data.get(), &size), S_OK);
  EXPECT_EQ(size, 7u);
  ASSERT_EQ(data->setFlags(STREAMDATA_AUTOCOMMIT, nullptr), S_OK);
  DWORD flags = 0;
  ASSERT_EQ(reinterpret_cast<GetFlags>(table[16])(data.get(), &flags), S_OK);
  EXPECT_EQ(flags, STREAMDATA_AUTOCOMMIT);
}

TEST(StreamDataInterface, AnswersItsOwnIdentifierAndNoOther) {
  ComRef<IStreamData> data = make(Backend::Memory);
  ComRef<IUnknown> unknown;
  EXPECT_EQ(data->QueryInterface(IID_IStreamData, unknown.putVoid()), S_OK);
  EXPECT_EQ(data->QueryInterface(IID_IUnknown, unknown.putVoid()), S_OK);
  EXPECT_EQ(data->QueryInterface(IID_IStream, unknown.putVoid()), E_NOINTERFACE);
  EXPECT_EQ(unknown.get(), nullptr);
  const IID expected = {0x97162CEC, 0x9C4F, 0x477A, {0x94, 0xF3, 0x63, 0xA2, 0x80, 0xCD, 0x69, 0x81}};
  EXPECT_TRUE(IsEqualIID(IID_IStreamData, expected));
}

// ---- Failure codes shared by every back end

class EveryBackend : public ::testing::TestWithParam<Backend> {
 protected:
  streamtest::TempFolder folder_;
};

TEST_P(EveryBackend, ArgumentFailuresGiveTheirCodes) {
  ComRef<IStreamData> data = make(GetParam());
  ASSERT_EQ(writeAt(data.get(), pattern(16), 0), S_OK);
  std::vector<Event> log;
  auto listener = makeListener(log, 1);
  STATSTG stat;
  BYTE byte = 0;
  DWORD cookie = 0;
  const struct {
    const char* what;
    std::function<HRESULT()> call;
    HRESULT expected;
  } cases[] = {
      {"read null buffer", [&] { return data->read(nullptr, 1, 0, nullptr); }, STG_E_INVALIDPOINTER},
      {"write null buffer", [&] { return data->write(nullptr, 1, 0, nullptr); }, STG_E_INVALIDPOINTER},
      {"stat null record", [&] { return data->_stat64(nullptr, STATFLAG_DEFAULT); }, STG_E_INVALIDPOINTER},
      {"stat flag 2", [&] { return data->_stat64(&stat, STATFLAG_NOOPEN); }, STG_E_INVALIDFLAG},
      {"getSize null", [&] { return data->getSize(nullptr); }, E_POINTER},
      {"getFlags null", [&] { return data->getFlags(nullptr); }, E_POINTER},
      {"register null listener", [&] { return data->registerCallback(nullptr, &cookie); }, E_INVALIDARG},
      {"register null cookie", [&] { return data->registerCallback(listener.get(), nullptr); }, E_POINTER},
      {"unknown cookie", [&] { return data->unregisterCallback(77); }, E_INVALIDARG},
      {"lockRegion", [&] { return data->lockRegion(0, 4, 1); }, STG_E_INVALIDFUNCTION},
      {"unlockRegion", [&] { return data->unlockRegion(0, 4, 1); }, STG_E_INVALIDFUNCTION},
      {"copyTo null", [&] { return data->copyTo(nullptr); }, E_INVALIDARG},
      {"read after failures", [&] { return data->read(&byte, 1, 3, nullptr); }, S_OK},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(c.call(), c.expected);
  }
  // No failure leaves the object broken.
  EXPECT_EQ(byte, pattern(16)[3]);
  EXPECT_EQ(readAll(data.get()), pattern(16));
}

TEST_P(EveryBackend, ReadOnlyAfterDataKeepsReadsAndRefusesChanges) {
  ComRef<IStreamData> data = make(GetParam());
  ASSERT_EQ(writeAt(data.get(), pattern(100), 0), S_OK);
  std::vector<Event> log;
  auto listener = makeListener(log, 1);
  DWORD cookie = 0;
  ASSERT_EQ(data->registerCallback(listener.get(), &cookie), S_OK);
  DWORD old = 99;
  ASSERT_EQ(data->setFlags(STREAMDATA_READONLY, &old), S_OK);
  EXPECT_EQ(old, 0u);
  EXPECT_EQ(readAll(data.get()), pattern(100));
  EXPECT_EQ(writeAt(data.get(), pattern(5), 0), STG_E_ACCESSDENIED);
  EXPECT_EQ(data->setSize(10), STG_E_ACCESSDENIED);
  // The pending change is not committed while read-only.
  EXPECT_EQ(data->commit(0), S_OK);
  EXPECT_TRUE(log.empty());
  EXPECT_EQ(readAll(data.get()), pattern(100));
}

TEST_P(EveryBackend, StatDescribesAnUnnamedExclusiveStream) {
  ComRef<IStreamData> data = make(GetParam());
  ASSERT_EQ(writeAt(data.get(), pattern(300), 0), S_OK);
  for (DWORD flag : {DWORD(STATFLAG_DEFAULT), DWORD(STATFLAG_NONAME)}) {
    SCOPED_TRACE(flag);
    STATSTG stat;
    std::memset(&stat, 0xAB, sizeof stat);
    ASSERT_EQ(data->_stat64(&stat, flag), S_OK);
    EXPECT_EQ(stat.pwcsName, nullptr);
    EXPECT_EQ(stat.type, 2u);
    EXPECT_EQ(stat.grfMode, 18u);
    EXPECT_EQ(stat.cbSize.QuadPart, 300u);
    EXPECT_NE(stat.mtime.dwHighDateTime, 0u);
    EXPECT_EQ(stat.grfLocksSupported, 0u);
  }
}

TEST_P(EveryBackend, AutoCommitCommitsEveryChange) {
  ComRef<IStreamData> data = make(GetParam(), STREAMDATA_AUTOCOMMIT);
  std::vector<Event> log;
  auto listener = makeListener(log, 1);
  DWORD cookie = 0;
  ASSERT_EQ(data->registerCallback(listener.get(), &cookie), S_OK);
  ASSERT_EQ(writeAt(data.get(), pattern(10), 0), S_OK);
  ASSERT_EQ(data->setSize(4), S_OK);
  const auto commits = std::count_if(log.begin(), log.end(), [](const Event& e) { return e.kind == Event::Commit; });
  EXPECT_EQ(commits, 2);
  for (const Event& e : log) EXPECT_EQ(e.source, data.get());
  EXPECT_EQ(log.back().kind, Event::Commit);
  // Nothing is dirty any more.
  log.clear();
  EXPECT_EQ(data->commit(0), S_OK);
  EXPECT_TRUE(log.empty());
}

TEST_P(EveryBackend, CopyToFillsADestinationOfEachKind) {
  const auto content = pattern(T + 123456);
  ComRef<IStreamData> source = make(GetParam());
  ASSERT_EQ(writeAt(source.get(), content, 0), S_OK);
  for (Backend target : {Backend::Memory, Backend::TempFile, Backend::Adaptive}) {
    SCOPED_TRACE(nameOf(target));
    ComRef<IStreamData> destination = make(target);
    ASSERT_EQ(writeAt(destination.get(), pattern(T + 200000, 3), 0), S_OK);
    ASSERT_EQ(source->copyTo(destination.get()), S_OK);
    EXPECT_EQ(readAll(destination.get()), content);
  }
}

INSTANTIATE_TEST_SUITE_P(Backends, EveryBackend,
                         ::testing::Values(Backend::Memory, Backend::TempFile, Backend::Adaptive),
                         [](const ::testing::TestParamInfo<Backend>& info) { return nameOf(info.param); });

// ---- Memory back end

TEST(MemoryStreamData, GrowthStepDependsOnCapacityAndCount) {
  const struct {
    const char* what;
    ULONGLONG reserved;
    ULONGLONG offset;
    ULONG count;
    ULONGLONG capacity;
  } cases[] = {
      {"first byte: n = 2, plus 1024", 0, 0, 1, 2 + 1024},
      {"n = 1023 still adds 1024", 1000, 990, 22, 1023 + 1024},
      {"n = 1024 doubles", 1000, 990, 23, 2048},
      {"n = 2,500,000 still doubles", 2499000, 2499000, 999, 5000000},
      {"n = 2,500,001 adds 5,000,000", 2499000, 2499000, 1000, 2500001 + 5000000},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    auto data = makeMemory();
    if (c.reserved) {
      ASSERT_EQ(data->setSize(c.reserved), S_OK);
    }
    ASSERT_EQ(data->capacity(), c.reserved);
    ASSERT_EQ(writeAt(data.get(), pattern(c.count), c.offset), S_OK);
    EXPECT_EQ(data->capacity(), c.capacity);
    EXPECT_EQ(MemoryStreamData::grownCapacity(c.reserved, c.count), c.capacity);
    EXPECT_EQ(sizeOf(data.get()), c.offset + c.count);
  }
}

TEST(MemoryStreamData, AWriteFarPastTheEndStillGetsRoom) {
  auto data = makeMemory();
  ASSERT_EQ(writeAt(data.get(), pattern(4), 10000), S_OK);
  EXPECT_GE(data->capacity(), 10004u);
  const auto all = readAll(data.get());
  ASSERT_EQ(all.size(), 10004u);
  EXPECT_TRUE(std::all_of(all.begin(), all.begin() + 10000, [](BYTE b) { return b == 0; }));
}

// Beyond the capacity setSize only reserves; the size follows on a second call.
TEST(MemoryStreamData, SetSizeBeyondCapacityOnlyReserves) {
  auto data = makeMemory();
  std::vector<Event> log;
  auto listener = makeListener(log, 1);
  DWORD cookie = 0;
  ASSERT_EQ(data->registerCallback(listener.get(), &cookie), S_OK);
  ASSERT_EQ(data->setSize(100), S_OK);
  ASSERT_EQ(writeAt(data.get(), pattern(10), 0), S_OK);
  log.clear();
  const struct {
    ULONGLONG request;
    ULONGLONG size;
    ULONGLONG capacity;
    size_t events;
  } steps[] = {{50, 50, 100, 1}, {200, 50, 200, 0}, {200, 200, 200, 1}, {200, 200, 200, 1}};
  for (const auto& s : steps) {
    SCOPED_TRACE(s.request);
    log.clear();
    ASSERT_EQ(data->setSize(s.request), S_OK);
    EXPECT_EQ(sizeOf(data.get()), s.size);
    EXPECT_EQ(data->capacity(), s.capacity);
    EXPECT_EQ(log.size(), s.events);
  }
}

TEST(MemoryStreamData, ShrinkingKeepsTheOldBytesInTheBuffer) {
  auto data = makeMemory();
  ASSERT_EQ(writeAt(data.get(), pattern(10), 0), S_OK);
  const ULONGLONG capacity = data->capacity();
  ASSERT_EQ(data->setSize(4), S_OK);
  const auto ten = pattern(10);
  EXPECT_EQ(readAll(data.get()), std::vector<BYTE>(ten.begin(), ten.begin() + 4));
  ASSERT_EQ(data->setSize(10), S_OK);
  EXPECT_EQ(readAll(data.get()), pattern(10));
  EXPECT_EQ(data->capacity(), capacity);
}

TEST(MemoryStreamData, FourGigabytesIsMediumFull) {
  const struct {
    const char* what;
    std::function<HRESULT(IStreamData*)> call;
  } cases[] = {
      {"setSize 4 GiB", [](IStreamData* d) { return d->setSize(0x100000000ull); }},
      {"setSize far beyond", [](IStreamData* d) { return d->setSize(0x7FFFFFFFFFFFull); }},
      {"write ending at 4 GiB", [](IStreamData* d) {
         BYTE b = 1;
         return d->write(&b, 1, 0xFFFFFFFFull, nullptr);
       }},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    auto data = makeMemory();
    ASSERT_EQ(writeAt(data.get(), pattern(20), 0), S_OK);
    EXPECT_EQ(c.call(data.get()), STG_E_MEDIUMFULL);
    EXPECT_EQ(readAll(data.get()), pattern(20));
  }
}

TEST(MemoryStreamData, ReadsStopAtTheEnd) {
  auto data = makeMemory();
  ASSERT_EQ(writeAt(data.get(), pattern(10), 0), S_OK);
  const struct {
    ULONGLONG offset;
    ULONG count;
    ULONG expected;
  } cases[] = {{0, 10, 10}, {4, 100, 6}, {10, 5, 0}, {11, 5, 0}, {0xFFFFFFFFFFull, 5, 0}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.offset);
    std::vector<BYTE> buffer(c.count);
    ULONG got = 99;
    EXPECT_EQ(data->read(buffer.data(), c.count, c.offset, &got), S_OK);
    EXPECT_EQ(got, c.expected);
  }
}

// ---- Listeners

TEST(StreamDataCallbacks, ListenersHearInCookieOrderAndCookiesAreNotReused) {
  ComRef<IStreamData> data = make(Backend::Memory);
  std::vector<Event> log;
  auto first = makeListener(log, 1);
  auto second = makeListener(log, 2);
  auto third = makeListener(log, 3);
  DWORD a = 0, b = 0, c = 0;
  ASSERT_EQ(data->registerCallback(first.get(), &a), S_OK);
  ASSERT_EQ(data->registerCallback(second.get(), &b), S_OK);
  EXPECT_EQ(a, 1u);
  EXPECT_EQ(b, 2u);
  ASSERT_EQ(data->unregisterCallback(b), S_OK);
  EXPECT_EQ(data->unregisterCallback(b), E_INVALIDARG);
  ASSERT_EQ(data->registerCallback(third.get(), &c), S_OK);
  EXPECT_EQ(c, 3u);
  ASSERT_EQ(data->registerCallback(second.get(), &b), S_OK);
  EXPECT_EQ(b, 4u);
  ASSERT_EQ(writeAt(data.get(), pattern(5), 0), S_OK);
  ASSERT_EQ(data->commit(0), S_OK);
  const std::vector<Event> expected = {{Event::Size, data.get(), 5, 1}, {Event::Size, data.get(), 5, 3},
                                       {Event::Size, data.get(), 5, 2}, {Event::Commit, data.get(), 0, 1},
                                       {Event::Commit, data.get(), 0, 3}, {Event::Commit, data.get(), 0, 2}};
  EXPECT_EQ(log, expected);
}

TEST(StreamDataCallbacks, SuspendedNotificationsAreDroppedNotQueued) {
  ComRef<IStreamData> data = make(Backend::Memory);
  std::vector<Event> log;
  auto listener = makeListener(log, 1);
  DWORD cookie = 0;
  ASSERT_EQ(data->registerCallback(listener.get(), &cookie), S_OK);
  ASSERT_EQ(data->suspendCallbacks(), S_OK);
  ASSERT_EQ(data->suspendCallbacks(), S_OK);
  ASSERT_EQ(writeAt(data.get(), pattern(5), 0), S_OK);
  ASSERT_EQ(data->resumeCallbacks(), S_OK);
  ASSERT_EQ(data->commit(0), S_OK);
  EXPECT_TRUE(log.empty());
  ASSERT_EQ(data->resumeCallbacks(), S_OK);
  EXPECT_TRUE(log.empty());
  // Resuming below zero stays at zero: one suspension is enough again.
  ASSERT_EQ(data->resumeCallbacks(), S_OK);
  ASSERT_EQ(data->suspendCallbacks(), S_OK);
  ASSERT_EQ(writeAt(data.get(), pattern(9), 0), S_OK);
  EXPECT_TRUE(log.empty());
  ASSERT_EQ(data->resumeCallbacks(), S_OK);
  ASSERT_EQ(writeAt(data.get(), pattern(12), 0), S_OK);
  EXPECT_EQ(log, (std::vector<Event>{{Event::Size, data.get(), 12, 1}}));
}

// ---- Temporary file back end

TEST(TempFileStreamData, SendsNoSizeEvents) {
  streamtest::TempFolder folder;
  ComRef<IStreamData> data = make(Backend::TempFile);
  std::vector<Event> log;
  auto listener = makeListener(log, 1);
  DWORD cookie = 0;
  ASSERT_EQ(data->registerCallback(listener.get(), &cookie), S_OK);
  ASSERT_EQ(writeAt(data.get(), pattern(1000), 0), S_OK);
  ASSERT_EQ(data->setSize(10), S_OK);
  ASSERT_EQ(data->setSize(5000), S_OK);
  EXPECT_TRUE(log.empty());
  EXPECT_EQ(sizeOf(data.get()), 5000u);
  ASSERT_EQ(data->commit(0), S_OK);
  EXPECT_EQ(log, (std::vector<Event>{{Event::Commit, data.get(), 0, 1}}));
}

TEST(TempFileStreamData, WithoutAFileEveryOperationFailsWithEHandle) {
  auto data = ComRef<TempFileStreamData>::adopt(new TempFileStreamData(nullptr));
  BYTE byte = 0;
  ULONGLONG size = 0;
  STATSTG stat;
  const struct {
    const char* what;
    std::function<HRESULT()> call;
  } cases[] = {
      {"read", [&] { return data->read(&byte, 1, 0, nullptr); }},
      {"write", [&] { return data->write(&byte, 1, 0, nullptr); }},
      {"setSize", [&] { return data->setSize(1); }},
      {"stat", [&] { return data->_stat64(&stat, 0); }},
      {"getSize", [&] { return data->getSize(&size); }},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(c.call(), E_HANDLE);
  }
  // Flags and listeners do not need the file.
  EXPECT_EQ(data->setFlags(STREAMDATA_READONLY, nullptr), S_OK);
  EXPECT_EQ(data->commit(0), S_OK);
}

TEST(TempFileStreamData, TheFileIsPrivateAndGoneWhenReleased) {
  streamtest::TempFolder folder;
  EXPECT_TRUE(folder.entries().empty());
  {
    ComRef<IStreamData> data = make(Backend::TempFile);
    ASSERT_TRUE(data);
    ASSERT_EQ(writeAt(data.get(), pattern(4096), 0), S_OK);
    EXPECT_EQ(readAll(data.get()), pattern(4096));
#ifdef _WIN32
    // Windows keeps the name until the handle closes.
    const auto names = folder.entries();
    ASSERT_EQ(names.size(), 1u);
    EXPECT_EQ(names[0].rfind("ZEL", 0), 0u) << names[0];
#else
    // The name goes at once; the open descriptor still shows it, marked deleted.
    EXPECT_TRUE(folder.entries().empty());
    int deletedOurs = 0;
    for (const auto& fd : std::filesystem::directory_iterator("/proc/self/fd")) {
      std::error_code error;
      const std::string target = std::filesystem::read_symlink(fd.path(), error).string();
      if (target.rfind(folder.path().string() + "/ZEL", 0) == 0 && target.find(" (deleted)") != std::string::npos)
        ++deletedOurs;
    }
    EXPECT_EQ(deletedOurs, 1);
#endif
  }
  EXPECT_TRUE(folder.entries().empty());
}

TEST(TempFileStreamData, AMissingFolderFailsCreation) {
  std::filesystem::path missing;
  {
    streamtest::TempFolder folder;
    missing = folder.path() / "missing";
    std::wstring text = missing.wstring();
    text += static_cast<wchar_t>(std::filesystem::path::preferred_separator);
    Stream::Init::setTempPathOverride(text);
    ComRef<IStreamData> data;
    const HRESULT hr = TempFileStreamData::create(0, nullptr, data.put());
    EXPECT_TRUE(FAILED(hr)) << std::hex << hr;
    EXPECT_EQ(HRESULT_FACILITY(hr), FACILITY_WIN32) << std::hex << hr;
    EXPECT_FALSE(data);
  }
  EXPECT_FALSE(std::filesystem::exists(missing));
}

// ---- Adaptive back end

TEST(AdaptiveStreamData, FirstOperationChoosesTheKind) {
  streamtest::TempFolder folder;
  const struct {
    const char* what;
    std::function<HRESULT(IStreamData*)> call;
    AdaptiveStreamData::Kind kind;
  } cases[] = {
      {"read", [](IStreamData* d) {
         BYTE b;
         ULONG got = 9;
         const HRESULT hr = d->read(&b, 1, 0, &got);
         EXPECT_EQ(got, 0u);
         return hr;
       }, AdaptiveStreamData::KindMemory},
      {"write T-1", [](IStreamData* d) { return writeAt(d, pattern(T - 1), 0); }, AdaptiveStreamData::KindMemory},
      {"write T", [](IStreamData* d) { return writeAt(d, pattern(T), 0); }, AdaptiveStreamData::KindTempFile},
      {"write 1 at T-1", [](IStreamData* d) { return writeAt(d, pattern(1), T - 1); }, AdaptiveStreamData::KindTempFile},
      {"setSize T-1", [](IStreamData* d) { return d->setSize(T - 1); }, AdaptiveStreamData::KindMemory},
      {"setSize T", [](IStreamData* d) { return d->setSize(T); }, AdaptiveStreamData::KindTempFile},
      {"getSize", [](IStreamData* d) {
         ULONGLONG s;
         return d->getSize(&s);
       }, AdaptiveStreamData::KindMemory},
      {"commit", [](IStreamData* d) { return d->commit(0); }, AdaptiveStreamData::KindMemory},
      {"lock below T", [](IStreamData* d) { return d->lockRegion(0, T - 1, 1) == STG_E_INVALIDFUNCTION ? S_OK : E_FAIL; },
       AdaptiveStreamData::KindMemory},
      {"lock up to T", [](IStreamData* d) { return d->lockRegion(1, T - 1, 1) == STG_E_INVALIDFUNCTION ? S_OK : E_FAIL; },
       AdaptiveStreamData::KindTempFile},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    auto data = makeAdaptive();
    EXPECT_EQ(data->kind(), AdaptiveStreamData::KindNone);
    EXPECT_EQ(c.call(data.get()), S_OK);
    EXPECT_EQ(data->kind(), c.kind);
  }
}

TEST(AdaptiveStreamData, CrossingTheThresholdMovesTheContentFirst) {
  streamtest::TempFolder folder;
  auto data = makeAdaptive();
  const auto head = pattern(T - 10);
  ASSERT_EQ(writeAt(data.get(), head, 0), S_OK);
  ASSERT_EQ(data->kind(), AdaptiveStreamData::KindMemory);
  ASSERT_EQ(writeAt(data.get(), pattern(10, 99), T - 10), S_OK);
  EXPECT_EQ(data->kind(), AdaptiveStreamData::KindTempFile);
  auto expected = head;
  const auto tail = pattern(10, 99);
  expected.insert(expected.end(), tail.begin(), tail.end());
  EXPECT_EQ(readAll(data.get()), expected);
}

TEST(AdaptiveStreamData, ALockBeyondTheThresholdMovesAndThenFails) {
  streamtest::TempFolder folder;
  auto data = makeAdaptive();
  ASSERT_EQ(writeAt(data.get(), pattern(1000), 0), S_OK);
  EXPECT_EQ(data->lockRegion(0, T, 1), STG_E_INVALIDFUNCTION);
  EXPECT_EQ(data->kind(), AdaptiveStreamData::KindTempFile);
  EXPECT_EQ(readAll(data.get()), pattern(1000));
}

// Between T/2 and T the data stays where it is.
TEST(AdaptiveStreamData, ShrinkingMovesBackOnlyBelowHalfTheThreshold) {
  streamtest::TempFolder folder;
  const auto content = pattern(T + 5000);
  const struct {
    ULONGLONG size;
    AdaptiveStreamData::Kind kind;
  } cases[] = {{T, AdaptiveStreamData::KindTempFile},
               {T / 2, AdaptiveStreamData::KindTempFile},
               {T / 2 - 1, AdaptiveStreamData::KindMemory},
               {10, AdaptiveStreamData::KindMemory}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.size);
    auto data = makeAdaptive();
    ASSERT_EQ(writeAt(data.get(), content, 0), S_OK);
    ASSERT_EQ(data->kind(), AdaptiveStreamData::KindTempFile);
    ASSERT_EQ(data->setSize(c.size), S_OK);
    EXPECT_EQ(data->kind(), c.kind);
    EXPECT_EQ(readAll(data.get()), std::vector<BYTE>(content.begin(), content.begin() + c.size));
  }
}

TEST(AdaptiveStreamData, AWriteIntoTheFileNeverMovesBack) {
  streamtest::TempFolder folder;
  auto data = makeAdaptive();
  ASSERT_EQ(data->setSize(T), S_OK);
  ASSERT_EQ(data->setSize(T / 2), S_OK);
  ASSERT_EQ(writeAt(data.get(), pattern(5), 0), S_OK);
  EXPECT_EQ(data->kind(), AdaptiveStreamData::KindTempFile);
  // In memory, setSize to T moves out and the content comes along.
  auto memory = makeAdaptive();
  ASSERT_EQ(writeAt(memory.get(), pattern(300), 0), S_OK);
  ASSERT_EQ(memory->setSize(T), S_OK);
  EXPECT_EQ(memory->kind(), AdaptiveStreamData::KindTempFile);
  std::vector<BYTE> head(300);
  ASSERT_EQ(memory->read(head.data(), 300, 0, nullptr), S_OK);
  EXPECT_EQ(head, pattern(300));
}

TEST(AdaptiveStreamData, ListenersSurviveTheMoveAndHearNoSizeEventsFromTheFile) {
  streamtest::TempFolder folder;
  auto data = makeAdaptive();
  std::vector<Event> log;
  auto listener = makeListener(log, 1);
  DWORD cookie = 0;
  ASSERT_EQ(data->registerCallback(listener.get(), &cookie), S_OK);
  IStreamData* self = data.get();
  ASSERT_EQ(writeAt(self, pattern(100), 0), S_OK);
  ASSERT_EQ(self->commit(0), S_OK);
  EXPECT_EQ(log, (std::vector<Event>{{Event::Size, self, 100, 1}, {Event::Commit, self, 0, 1}}));
  log.clear();
  ASSERT_EQ(writeAt(self, pattern(T), 0), S_OK);
  ASSERT_EQ(data->kind(), AdaptiveStreamData::KindTempFile);
  ASSERT_EQ(writeAt(self, pattern(10), T + 50), S_OK);
  ASSERT_EQ(self->commit(0), S_OK);
  EXPECT_EQ(log, (std::vector<Event>{{Event::Commit, self, 0, 1}}));
  // Back in memory the size events return.
  log.clear();
  ASSERT_EQ(self->setSize(100), S_OK);
  EXPECT_EQ(log, (std::vector<Event>{{Event::Size, self, 100, 1}}));
}

TEST(AdaptiveStreamData, FlagsReachTheInnerObjectAndSurviveAMove) {
  streamtest::TempFolder folder;
  auto data = makeAdaptive();
  ASSERT_EQ(writeAt(data.get(), pattern(100), 0), S_OK);
  ASSERT_EQ(data->setFlags(STREAMDATA_READONLY, nullptr), S_OK);
  EXPECT_EQ(writeAt(data.get(), pattern(5), 0), STG_E_ACCESSDENIED);
  // A refused lock beyond T still moves, and the copy writes despite the flag.
  EXPECT_EQ(data->lockRegion(0, T, 1), STG_E_INVALIDFUNCTION);
  ASSERT_EQ(data->kind(), AdaptiveStreamData::KindTempFile);
  EXPECT_EQ(readAll(data.get()), pattern(100));
  EXPECT_EQ(data->setSize(0), STG_E_ACCESSDENIED);
  EXPECT_EQ(writeAt(data.get(), pattern(5), 0), STG_E_ACCESSDENIED);
}

TEST(AdaptiveStreamData, AFailedMoveLeavesTheDataReadable) {
  streamtest::TempFolder folder;
  auto data = makeAdaptive();
  const auto content = pattern(5000);
  ASSERT_EQ(writeAt(data.get(), content, 0), S_OK);
  std::wstring missing = (folder.path() / "missing").wstring();
  missing += static_cast<wchar_t>(std::filesystem::path::preferred_separator);
  Stream::Init::setTempPathOverride(missing);
  const struct {
    const char* what;
    std::function<HRESULT()> call;
  } cases[] = {
      {"write across T", [&] { return writeAt(data.get(), pattern(10), T - 5); }},
      {"setSize to T", [&] { return data->setSize(T); }},
      {"lock across T", [&] { return data->lockRegion(0, T + 1, 1); }},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const HRESULT hr = c.call();
    EXPECT_TRUE(FAILED(hr));
    EXPECT_NE(hr, STG_E_INVALIDFUNCTION);
    EXPECT_EQ(data->kind(), AdaptiveStreamData::KindMemory);
    EXPECT_EQ(readAll(data.get()), content);
  }
}

// ---- Copying

// Takes at most limit bytes of each write.
class ShortWriter : public MemoryStreamData {
 public:
  explicit ShortWriter(ULONG limit) : MemoryStreamData(nullptr), limit_(limit) {}
  HRESULT STDMETHODCALLTYPE write(const void* buffer, ULONG count, ULONGLONG offset, ULONG* written) override {
    if (limit_ == 0) {
      if (written) *written = 0;
      return S_OK;
    }
    return MemoryStreamData::write(buffer, std::min(count, limit_), offset, written);
  }

 private:
  ULONG limit_;
};

TEST(DoCopyTo, AShortWritingDestinationIsFollowedAndOneThatTakesNothingIsFull) {
  const auto content = pattern(1500000);
  ComRef<IStreamData> source = make(Backend::Memory);
  ASSERT_EQ(writeAt(source.get(), content, 0), S_OK);
  const struct {
    ULONG limit;
    HRESULT expected;
  } cases[] = {{0, STG_E_MEDIUMFULL}, {700000, S_OK}, {999999, S_OK}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.limit);
    auto destination = ComRef<ShortWriter>::adopt(new ShortWriter(c.limit));
    EXPECT_EQ(doCopyTo(source.get(), destination.get()), c.expected);
    if (c.expected == S_OK) {
      EXPECT_EQ(readAll(destination.get()), content);
    }
  }
  EXPECT_EQ(doCopyTo(nullptr, source.get()), E_INVALIDARG);
}

}  // namespace
