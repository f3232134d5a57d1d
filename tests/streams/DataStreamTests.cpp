#include <gtest/gtest.h>

#include <cstring>
#include <functional>

#include "StreamTestSupport.h"
#include "streams/AdaptiveStreamData.h"
#include "streams/DataStream.h"
#include "streams/MemoryStreamData.h"
#include "streams/StreamUtils.h"
#include "streams/StreamWrappers.h"
#include "streams/TempFileStreamData.h"

namespace {

using streamtest::Event;
using streamtest::makeListener;
using streamtest::pattern;

LARGE_INTEGER move(LONGLONG value) {
  LARGE_INTEGER v;
  v.QuadPart = value;
  return v;
}

ULARGE_INTEGER count(ULONGLONG value) {
  ULARGE_INTEGER v;
  v.QuadPart = value;
  return v;
}

ComRef<IStream> memoryStream(const std::vector<BYTE>& content = {}) {
  ComRef<IStream> stream;
  EXPECT_EQ(DataStream::create<MemoryStreamData>(false, false, false, stream.put(),
                                                 content.empty() ? nullptr : content.data(),
                                                 static_cast<ULONG>(content.size())),
            S_OK);
  return stream;
}

ULONGLONG position(IStream* stream) {
  ULARGE_INTEGER at;
  EXPECT_EQ(stream->Seek(move(0), STREAM_SEEK_CUR, &at), S_OK);
  return at.QuadPart;
}

std::vector<BYTE> readFrom(IStream* stream, ULONG size) {
  std::vector<BYTE> bytes(size);
  ULONG got = 0;
  EXPECT_EQ(stream->Read(bytes.data(), size, &got), S_OK);
  bytes.resize(got);
  return bytes;
}

// ---- Seeking, reading, writing

TEST(DataStream, SeekMovesOrRefusesWithoutMoving) {
  auto stream = memoryStream(pattern(100));
  const struct {
    const char* what;
    LONGLONG move;
    DWORD origin;
    HRESULT expected;
    ULONGLONG position;  // after the call, from position 10
  } cases[] = {
      {"set", 40, STREAM_SEEK_SET, S_OK, 40},
      {"set past the end", 5000, STREAM_SEEK_SET, S_OK, 5000},
      {"cur forward", 5, STREAM_SEEK_CUR, S_OK, 15},
      {"cur back to the start", -10, STREAM_SEEK_CUR, S_OK, 0},
      {"cur before the start", -11, STREAM_SEEK_CUR, STG_E_INVALIDFUNCTION, 10},
      {"cur at the most negative", INT64_MIN, STREAM_SEEK_CUR, STG_E_INVALIDFUNCTION, 10},
      {"end", -1, STREAM_SEEK_END, S_OK, 99},
      {"end back to the start", -100, STREAM_SEEK_END, S_OK, 0},
      {"end before the start", -101, STREAM_SEEK_END, STG_E_INVALIDFUNCTION, 10},
      {"end past the end", 7, STREAM_SEEK_END, S_OK, 107},
      {"bad origin", 0, 3, STG_E_INVALIDFUNCTION, 10},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    ASSERT_EQ(stream->Seek(move(10), STREAM_SEEK_SET, nullptr), S_OK);
    ULARGE_INTEGER out;
    out.QuadPart = 12345;
    EXPECT_EQ(stream->Seek(move(c.move), c.origin, &out), c.expected);
    if (c.expected == S_OK) {
      EXPECT_EQ(out.QuadPart, c.position);
    }
    EXPECT_EQ(position(stream.get()), c.position);
  }
}

TEST(DataStream, PastTheEndReadsNothingAndWritesGrow) {
  auto stream = memoryStream(pattern(10));
  ASSERT_EQ(stream->Seek(move(20), STREAM_SEEK_SET, nullptr), S_OK);
  EXPECT_TRUE(readFrom(stream.get(), 5).empty());
  EXPECT_EQ(position(stream.get()), 20u);
  ULONG written = 0;
  ASSERT_EQ(stream->Write("abc", 3, &written), S_OK);
  EXPECT_EQ(written, 3u);
  EXPECT_EQ(position(stream.get()), 23u);
  EXPECT_EQ(streamUtils::getStreamSize(stream.get()), 23u);
  streamUtils::rewind(stream.get());
  const auto all = readFrom(stream.get(), 100);
  ASSERT_EQ(all.size(), 23u);
  EXPECT_EQ(std::vector<BYTE>(all.begin(), all.begin() + 10), pattern(10));
  EXPECT_EQ(std::memcmp(all.data() + 20, "abc", 3), 0);
}

// A stream that records what its own listener hears.
class RecordingStream : public DataStream {
 public:
  RecordingStream(IStreamData* data, std::vector<Event>& log) : DataStream(0, data, 0, nullptr), log_(log) {}
  void onCommit() override { log_.push_back({Event::Commit, nullptr, 0, 0}); }
  void onSizeChanged(ULONGLONG size) override { log_.push_back({Event::Size, nullptr, size, 0}); }

 private:
  std::vector<Event>& log_;
};

TEST(DataStream, InitWritesIntoReadOnlyDataSilently) {
  const std::vector<BYTE> content = pattern(64);
  ComRef<IStreamData> data;
  ASSERT_EQ(MemoryStreamData::create(STREAMDATA_READONLY, nullptr, data.put()), S_OK);
  std::vector<Event> log;
  auto stream = ComRef<RecordingStream>::adopt(new RecordingStream(data.get(), log));
  stream->init(content.data(), static_cast<ULONG>(content.size()));
  EXPECT_TRUE(log.empty());
  EXPECT_EQ(readFrom(stream.get(), 100), content);
  DWORD flags = 0;
  ASSERT_EQ(data->getFlags(&flags), S_OK);
  EXPECT_EQ(flags, STREAMDATA_READONLY);
  EXPECT_EQ(stream->Write("x", 1, nullptr), STG_E_ACCESSDENIED);
  // Listeners are back once init is over.
  ASSERT_EQ(data->setFlags(0, nullptr), S_OK);
  ASSERT_EQ(stream->Write("x", 1, nullptr), S_OK);
  ASSERT_EQ(stream->Commit(0), S_OK);
  EXPECT_EQ(log, (std::vector<Event>{{Event::Size, nullptr, 65, 0}, {Event::Commit, nullptr, 0, 0}}));
}

TEST(DataStream, InitWithoutDataDoesNothing) {
  static const BYTE some[] = {1, 2, 3};
  const struct {
    const void* data;
    ULONG size;
  } cases[] = {{nullptr, 0}, {nullptr, 3}, {some, 0}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.size);
    ComRef<IStream> stream;
    ASSERT_EQ(DataStream::create<MemoryStreamData>(true, false, false, stream.put(), c.data, c.size), S_OK);
    EXPECT_EQ(streamUtils::getStreamSize(stream.get()), 0u);
  }
}

TEST(DataStream, CreationFailures) {
  ComRef<IStream> stream;
  ComRef<IStreamData> none;
  EXPECT_EQ(DataStream::create(false, nullptr, nullptr, stream.put(), nullptr, 0), E_INVALIDARG);
  EXPECT_EQ(DataStream::wrap(nullptr, stream.put(), 0, 0, nullptr), E_INVALIDARG);
  EXPECT_EQ(createDataStream(3, stream.put(), false, false, false), E_INVALIDARG);
  EXPECT_FALSE(stream);
}

TEST(DataStream, EachKindReachesItsBackEnd) {
  streamtest::TempFolder folder;
  for (DWORD kind : {0u, 1u, 2u}) {
    SCOPED_TRACE(kind);
    ComRef<IStream> stream;
    ASSERT_EQ(createDataStream(kind, stream.put(), false, true, false), S_OK);
    ComRef<IStreamManager> manager;
    ASSERT_EQ(stream->QueryInterface(IID_IStreamManager, manager.putVoid()), S_OK);
    ComRef<IStreamData> data;
    ASSERT_EQ(manager->getStreamData(data.put()), S_OK);
    DWORD flags = 0;
    ASSERT_EQ(data->getFlags(&flags), S_OK);
    EXPECT_EQ(flags, STREAMDATA_AUTOCOMMIT);
    ASSERT_EQ(stream->Write("hello", 5, nullptr), S_OK);
    ULONGLONG size = 0;
    ASSERT_EQ(data->getSize(&size), S_OK);
    EXPECT_EQ(size, 5u);
    const bool adaptive = dynamic_cast<AdaptiveStreamData*>(data.get()) != nullptr;
    const bool file = dynamic_cast<TempFileStreamData*>(data.get()) != nullptr;
    EXPECT_EQ(adaptive, kind == 2);
    EXPECT_EQ(file, kind == 1);
  }
}

TEST(DataStream, AnswersItsListInOrderWithOneIdentity) {
  auto stream = memoryStream();
  ComRef<IUnknown> fromStream;
  ASSERT_EQ(stream->QueryInterface(IID_IUnknown, fromStream.putVoid()), S_OK);
  const struct {
    const IID* iid;
    HRESULT expected;
  } cases[] = {{&IID_IUnknown, S_OK},       {&IID_ISequentialStream, S_OK}, {&IID_IStream, S_OK},
               {&IID_IStreamManager, S_OK}, {&IID_IStreamData, E_NOINTERFACE}, {&IID_IMarshal, E_NOINTERFACE}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.expected);
    ComRef<IUnknown> face;
    ASSERT_EQ(stream->QueryInterface(*c.iid, face.putVoid()), c.expected);
    if (c.expected != S_OK) continue;
    ComRef<IUnknown> identity;
    ASSERT_EQ(face->QueryInterface(IID_IUnknown, identity.putVoid()), S_OK);
    EXPECT_EQ(identity.get(), fromStream.get());
  }
  EXPECT_EQ(stream->QueryInterface(IID_IStream, nullptr), E_POINTER);
}

// ---- Copying

// Stream data whose writes take at most limit bytes.
class ShortWriter : public MemoryStreamData {
 public:
  explicit ShortWriter(ULONG limit) : MemoryStreamData(nullptr), limit_(limit) {}
  HRESULT STDMETHODCALLTYPE write(const void* buffer, ULONG count, ULONGLONG offset, ULONG* written) override {
    return MemoryStreamData::write(buffer, std::min(count, limit_), offset, written);
  }

 private:
  ULONG limit_;
};

TEST(DataStream, CopyToGoesOnPastShortWrites) {
  const auto content = pattern(2500000);
  const struct {
    const char* what;
    ULONG limit;
    ULONGLONG requested;
    ULONGLONG read;
    ULONGLONG written;
  } cases[] = {
      {"all taken", 0xFFFFFFFFu, 5000000, 2500000, 2500000},
      {"600,000 a turn", 600000, 5000000, 2500000, 600000 + 600000 + 500000},
      {"fewer requested", 0xFFFFFFFFu, 1234567, 1234567, 1234567},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    auto source = memoryStream(content);
    auto sink = ComRef<ShortWriter>::adopt(new ShortWriter(c.limit));
    ComRef<IStream> destination;
    ASSERT_EQ(DataStream::wrap(sink.get(), destination.put(), 0, 0, nullptr), S_OK);
    ULARGE_INTEGER read, written;
    ASSERT_EQ(source->CopyTo(destination.get(), count(c.requested), &read, &written), S_OK);
    EXPECT_EQ(read.QuadPart, c.read);
    EXPECT_EQ(written.QuadPart, c.written);
    EXPECT_EQ(position(source.get()), c.read);
  }
  auto source = memoryStream(content);
  ULARGE_INTEGER read;
  read.QuadPart = 7;
  EXPECT_EQ(source->CopyTo(nullptr, count(10), &read, nullptr), STG_E_INVALIDPOINTER);
}

// ---- Clones

TEST(DataStream, AClonePositionIsItsOwnAndStartsAtTheSource) {
  auto stream = memoryStream(pattern(50));
  ASSERT_EQ(stream->Seek(move(20), STREAM_SEEK_SET, nullptr), S_OK);
  ComRef<IStream> clone;
  ASSERT_EQ(stream->Clone(clone.put()), S_OK);
  EXPECT_EQ(position(clone.get()), 20u);
  const auto content = pattern(50);
  EXPECT_EQ(readFrom(clone.get(), 5), std::vector<BYTE>(content.begin() + 20, content.begin() + 25));
  EXPECT_EQ(position(clone.get()), 25u);
  EXPECT_EQ(position(stream.get()), 20u);
  // Both see one content.
  ASSERT_EQ(clone->Write("zz", 2, nullptr), S_OK);
  EXPECT_EQ(readFrom(stream.get(), 7).back(), 'z');
  // Created streams share their lock with the data, so the clone shares it too; a stream
  // with a lock of its own gives its clone a new one.
  auto* source = static_cast<DataStream*>(stream.get());
  EXPECT_TRUE(source->sharesWith(*static_cast<DataStream*>(clone.get())));
  ComRef<IStreamData> data;
  ASSERT_EQ(source->getStreamData(data.put()), S_OK);
  ComRef<IStream> own, ownClone;
  ASSERT_EQ(DataStream::wrap(data.get(), own.put(), 0, 3, nullptr), S_OK);
  ASSERT_EQ(own->Clone(ownClone.put()), S_OK);
  EXPECT_EQ(position(ownClone.get()), 3u);
  EXPECT_FALSE(static_cast<DataStream*>(own.get())->sharesWith(*static_cast<DataStream*>(ownClone.get())));
  EXPECT_FALSE(static_cast<DataStream*>(own.get())->sharesWith(*source));
}

// ---- Commit on final release

TEST(DataStream, TheFinalReleaseCommitsWhenAsked) {
  const struct {
    const char* what;
    bool commitOnRelease;
    bool wrapped;
    int commits;
  } cases[] = {{"plain", false, false, 0}, {"commit on release", true, false, 1}, {"wrapped", true, true, 1}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    ComRef<IStreamData> data;
    ASSERT_EQ(MemoryStreamData::create(0, nullptr, data.put()), S_OK);
    std::vector<Event> log;
    auto listener = makeListener(log, 1);
    DWORD cookie = 0;
    ASSERT_EQ(data->registerCallback(listener.get(), &cookie), S_OK);
    ComRef<IStream> stream;
    ASSERT_EQ(DataStream::create(c.commitOnRelease, data.get(), nullptr, stream.put(), nullptr, 0), S_OK);
    ASSERT_EQ(stream->Write("abc", 3, nullptr), S_OK);
    if (c.wrapped) {
      ComRef<IStream> wrapper;
      ASSERT_EQ(wrapStream(stream.get(), 1, wrapper.put()), S_OK);
      stream = wrapper;
    }
    log.clear();
    stream.reset();
    const auto commits = std::count_if(log.begin(), log.end(), [](const Event& e) { return e.kind == Event::Commit; });
    EXPECT_EQ(commits, c.commits);
  }
}

// ---- Wrappers

TEST(StreamWrappers, EachWrapperAnswersItsList) {
  streamtest::TempFolder folder;
  ComRef<IStream> wrapped;
  ASSERT_EQ(createWrappedStream(2, wrapped.put(), 1, false, false, true), S_OK);
  ComRef<IStream> plainInner;
  ASSERT_EQ(DravGenericStreamWrapper::createWrapper(memoryStream().get(), 0, plainInner.put()), S_OK);
  ComRef<IStream> generic;
  ASSERT_EQ(wrapStream(plainInner.get(), 0, generic.put()), S_OK);

  const struct {
    const char* what;
    IStream* stream;
    bool manager;
  } wrappers[] = {{"data wrapper", wrapped.get(), true}, {"generic wrapper", generic.get(), false}};
  for (const auto& w : wrappers) {
    SCOPED_TRACE(w.what);
    ComRef<IUnknown> identity;
    ASSERT_EQ(w.stream->QueryInterface(IID_IUnknown, identity.putVoid()), S_OK);
    const struct {
      const IID* iid;
      bool answered;
    } faces[] = {{&IID_ISequentialStream, true}, {&IID_IStream, true}, {&IID_IMarshal, true},
                 {&IID_IExternalConnection, true}, {&IID_IStreamManager, w.manager}, {&IID_IStreamData, false},
                 {&IID_IClientManip, false}};
    for (const auto& f : faces) {
      ComRef<IUnknown> face;
      const HRESULT hr = w.stream->QueryInterface(*f.iid, face.putVoid());
      EXPECT_EQ(hr, f.answered ? S_OK : E_NOINTERFACE);
      if (!face) continue;
      // Aggregated faces lead back to the wrapper.
      ComRef<IUnknown> back;
      ASSERT_EQ(face->QueryInterface(IID_IUnknown, back.putVoid()), S_OK);
      EXPECT_EQ(back.get(), identity.get());
    }
    ComRef<IStream> clone;
    ASSERT_EQ(w.stream->Clone(clone.put()), S_OK);
    ComRef<IStreamManager> manager;
    EXPECT_EQ(clone->QueryInterface(IID_IStreamManager, manager.putVoid()), w.manager ? S_OK : E_NOINTERFACE);
    ComRef<IMarshal> marshal;
    EXPECT_EQ(clone->QueryInterface(IID_IMarshal, marshal.putVoid()), S_OK);
  }
  // The data wrapper still reaches the data.
  ComRef<IStreamManager> manager;
  ASSERT_EQ(wrapped->QueryInterface(IID_IStreamManager, manager.putVoid()), S_OK);
  ComRef<IStreamData> data;
  ASSERT_EQ(manager->getStreamData(data.put()), S_OK);
  ASSERT_EQ(wrapped->Write("12345", 5, nullptr), S_OK);
  ULONGLONG size = 0;
  ASSERT_EQ(data->getSize(&size), S_OK);
  EXPECT_EQ(size, 5u);
}

TEST(StreamWrappers, FailuresBecomeEFail) {
  ComRef<IStream> out;
  EXPECT_EQ(wrapStream(nullptr, 1, out.put()), E_FAIL);
  EXPECT_EQ(DravGenericStreamWrapper::createWrapper(nullptr, 1, out.put()), E_FAIL);
  EXPECT_EQ(DravDataStreamWrapper::createWrapper(nullptr, 0, out.put()), E_FAIL);
  EXPECT_FALSE(out);
}

TEST(StreamWrappers, TheMarshalerHandsThePointerOnWithinTheProcess) {
  ComRef<IStream> wrapped;
  ASSERT_EQ(createWrappedStream(0, wrapped.put(), 1, false, false, false), S_OK);
  ComRef<IMarshal> marshal;
  ASSERT_EQ(wrapped->QueryInterface(IID_IMarshal, marshal.putVoid()), S_OK);
  CLSID unmarshaler;
  ASSERT_EQ(marshal->GetUnmarshalClass(IID_IStream, wrapped.get(), MSHCTX_INPROC, nullptr, MSHLFLAGS_NORMAL, &unmarshaler),
            S_OK);
#ifndef _WIN32
  // The system's own marshaler may name another class for the same job.
  EXPECT_TRUE(IsEqualCLSID(unmarshaler, CLSID_InProcFreeMarshaler));
#endif
  auto carrier = memoryStream();
  ASSERT_EQ(marshal->MarshalInterface(carrier.get(), IID_IStream, wrapped.get(), MSHCTX_INPROC, nullptr,
                                      MSHLFLAGS_NORMAL),
            S_OK);
  streamUtils::rewind(carrier.get());
  ComRef<IStream> received;
  ASSERT_EQ(marshal->UnmarshalInterface(carrier.get(), IID_IStream, received.putVoid()), S_OK);
  EXPECT_EQ(received.get(), wrapped.get());
}

// ---- Stream utilities

TEST(StreamUtils, SizesOfFourGigabytesAndMoreAreRefused) {
  streamtest::TempFolder folder;
  ComRef<IStream> stream;
  ASSERT_EQ(createDataStream(1, stream.put(), false, false, false), S_OK);
  const struct {
    ULONGLONG size;
    HRESULT expected;
  } cases[] = {{0, S_OK}, {0xFFFFFFFFull, S_OK}, {0x100000000ull, static_cast<HRESULT>(0x80080011u)},
               {0x100000005ull, static_cast<HRESULT>(0x80080011u)}};
  // A temporary file grows sparsely, so these sizes cost no disk.
  for (const auto& c : cases) {
    SCOPED_TRACE(c.size);
    ASSERT_EQ(stream->SetSize(count(c.size)), S_OK);
    try {
      EXPECT_EQ(streamUtils::getStreamSize(stream.get()), static_cast<ULONG>(c.size));
      EXPECT_EQ(c.expected, S_OK);
    } catch (const HResultException& e) {
      EXPECT_EQ(e.getHResult(), c.expected);
      EXPECT_NE(std::string(e.what()).find("streamUtils::getStreamSize"), std::string::npos) << e.what();
    }
  }
  ASSERT_EQ(stream->SetSize(count(0)), S_OK);
}

TEST(StreamUtils, NullStreamsAreInvalidArguments) {
  const std::function<void()> calls[] = {
      [] { streamUtils::rewind(nullptr); },
      [] { streamUtils::getStreamSize(nullptr); },
      [] { streamUtils::detail::writeStr(nullptr, std::string("a")); },
      [] { streamUtils::detail::writeStr(nullptr, std::wstring(L"a")); },
  };
  for (size_t i = 0; i < sizeof calls / sizeof calls[0]; ++i) {
    SCOPED_TRACE(i);
    try {
      calls[i]();
      ADD_FAILURE() << "no raise";
    } catch (const HResultException& e) {
      EXPECT_EQ(e.getHResult(), E_INVALIDARG);
    }
  }
}

TEST(StreamUtils, WriteStrWritesTheCharactersWithoutATerminator) {
  auto stream = memoryStream();
  streamUtils::detail::writeStr(stream.get(), std::string("abc"));
  streamUtils::detail::writeStr(stream.get(), std::wstring(L"de"));
  streamUtils::detail::writeStr(stream.get(), std::string());
  EXPECT_EQ(streamUtils::getStreamSize(stream.get()), 3 + 2 * sizeof(wchar_t));
  streamUtils::rewind(stream.get());
  const auto bytes = readFrom(stream.get(), 100);
  EXPECT_EQ(std::memcmp(bytes.data(), "abc", 3), 0);
  wchar_t wide[2];
  std::memcpy(wide, bytes.data() + 3, sizeof wide);
  EXPECT_EQ(wide[0], L'd');
  EXPECT_EQ(wide[1], L'e');
}

}  // namespace
