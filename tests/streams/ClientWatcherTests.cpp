#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <string>
#include <thread>

#include "base/Win32Error.h"
#include "platform/Utf8.h"
#include "streams/ExternalConnection.h"
#include "streams/StreamWrappers.h"

#ifndef _WIN32
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace {

// A real client process: the small helper program that the build puts next to this one.
class ChildProcess {
 public:
  ChildProcess() {
    WCHAR self[4096];
    const DWORD length = GetModuleFileNameW(nullptr, self, 4096);
    std::wstring path(self, length);
    path = path.substr(0, path.find_last_of(L"/\\") + 1) + L"streams_child";
#ifdef _WIN32
    path += L".exe";
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION info = {};
    std::wstring commandLine = L"\"" + path + L"\"";
    if (!CreateProcessW(path.c_str(), &commandLine[0], nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &info)) {
      ADD_FAILURE() << "cannot start the child, error " << GetLastError();
      return;
    }
    CloseHandle(info.hThread);
    process_ = info.hProcess;
    id_ = info.dwProcessId;
#else
    const std::string program = platform::toUtf8(path);
    char* argv[] = {const_cast<char*>(program.c_str()), nullptr};
    pid_t pid = 0;
    if (posix_spawn(&pid, program.c_str(), nullptr, nullptr, argv, environ) != 0) {
      ADD_FAILURE() << "cannot start " << program;
      return;
    }
    id_ = static_cast<DWORD>(pid);
#endif
  }
  ~ChildProcess() { kill(); }

  DWORD id() const { return id_; }

  void kill() {
    if (!id_) return;
#ifdef _WIN32
    TerminateProcess(process_, 1);
    WaitForSingleObject(process_, INFINITE);
    CloseHandle(process_);
#else
    ::kill(static_cast<pid_t>(id_), SIGKILL);
    ::waitpid(static_cast<pid_t>(id_), nullptr, 0);
#endif
    id_ = 0;
  }

 private:
  DWORD id_ = 0;
#ifdef _WIN32
  HANDLE process_ = nullptr;
#endif
};

// Waits, briefly, for the watcher thread to catch up.
bool eventually(const std::function<bool()>& condition) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (std::chrono::steady_clock::now() < deadline) {
    if (condition()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return condition();
}

// Counts its disconnects and leaves the watcher as an external connection does.
class FakeClientObject : public iui_::IUnknownImpl<IClientManip> {
 public:
  explicit FakeClientObject(detail::ClientWatcherBase& watcher) : watcher_(watcher) {}
  HRESULT STDMETHODCALLTYPE disconnect() override {
    ++disconnects;
    watcher_.unregisterObject(this);
    return S_OK;
  }
  std::atomic<int> disconnects{0};

 private:
  detail::ClientWatcherBase& watcher_;
};

TEST(ClientWatcher, KnownProcessesAndUnknownOnes) {
  detail::ClientWatcherBase watcher;
  ChildProcess child;
  ASSERT_NE(child.id(), 0u);
  EXPECT_EQ(watcher.registerClient(child.id()), S_OK);
  EXPECT_EQ(watcher.registerClient(child.id()), S_FALSE);
  EXPECT_EQ(watcher.clientCount(), 1u);
  // A process that does not exist cannot be opened.
  const HRESULT hr = watcher.registerClient(0x7FFFFFF0u);
  EXPECT_EQ(hr, win32ErrorToHResult(ERROR_INVALID_PARAMETER));
  EXPECT_EQ(watcher.clientCount(), 1u);
}

TEST(ClientWatcher, OnlyTheDeathOfTheLastClientDisconnectsEverything) {
  detail::ClientWatcherBase watcher;
  auto first = ComRef<FakeClientObject>::adopt(new FakeClientObject(watcher));
  auto second = ComRef<FakeClientObject>::adopt(new FakeClientObject(watcher));
  watcher.registerObject(first.get());
  watcher.registerObject(second.get());
  watcher.registerObject(second.get());
  EXPECT_EQ(watcher.objectCount(), 2u);

  ChildProcess clientA, clientB;
  ASSERT_EQ(watcher.registerClient(clientA.id()), S_OK);
  ASSERT_EQ(watcher.registerClient(clientB.id()), S_OK);

  clientA.kill();
  ASSERT_TRUE(eventually([&] { return watcher.clientCount() == 1; }));
  EXPECT_EQ(first->disconnects, 0);
  EXPECT_EQ(second->disconnects, 0);
  EXPECT_EQ(watcher.objectCount(), 2u);

  clientB.kill();
  ASSERT_TRUE(eventually([&] { return watcher.objectCount() == 0; }));
  EXPECT_EQ(watcher.clientCount(), 0u);
  EXPECT_EQ(first->disconnects, 1);
  EXPECT_EQ(second->disconnects, 1);
}

// The wrapper's external connection registers with the watcher of its flag.
ComRef<IExternalConnection> connectionOf(IStream* wrapper) {
  ComRef<IExternalConnection> connection;
  EXPECT_EQ(wrapper->QueryInterface(IID_IExternalConnection, connection.putVoid()), S_OK);
  return connection;
}

ComRef<IStream> wrappedStream(DWORD flag) {
  ComRef<IStream> stream;
  EXPECT_EQ(createWrappedStream(0, stream.put(), flag, false, false, false), S_OK);
  return stream;
}

TEST(ExternalConnection, OnlyStrongConnectionsCount) {
  auto& watcher = detail::ClientWatcher<false>::instance();
  const size_t before = watcher.objectCount();
  auto stream = wrappedStream(0);
  auto connection = connectionOf(stream.get());
  const struct {
    const char* what;
    std::function<DWORD()> call;
    DWORD result;
    size_t watched;
  } steps[] = {
      {"weak add", [&] { return connection->AddConnection(EXTCONN_WEAK, 0); }, 0, 0},
      {"strong add", [&] { return connection->AddConnection(EXTCONN_STRONG, 0); }, 1, 1},
      {"second strong add", [&] { return connection->AddConnection(EXTCONN_STRONG | EXTCONN_CALLABLE, 0); }, 2, 1},
      {"weak release", [&] { return connection->ReleaseConnection(EXTCONN_WEAK, 0, TRUE); }, 0, 1},
      {"strong release", [&] { return connection->ReleaseConnection(EXTCONN_STRONG, 0, TRUE); }, 1, 1},
      {"last release, stays open", [&] { return connection->ReleaseConnection(EXTCONN_STRONG, 0, FALSE); }, 0, 1},
      {"strong add again", [&] { return connection->AddConnection(EXTCONN_STRONG, 0); }, 1, 1},
      {"last release, closes", [&] { return connection->ReleaseConnection(EXTCONN_STRONG, 0, TRUE); }, 0, 0},
      {"strong add after close", [&] { return connection->AddConnection(EXTCONN_STRONG, 0); }, 1, 1},
  };
  for (const auto& s : steps) {
    SCOPED_TRACE(s.what);
    EXPECT_EQ(s.call(), s.result);
    EXPECT_EQ(watcher.objectCount(), before + s.watched);
  }
  ComRef<IClientManip> manip;
  ASSERT_EQ(connection->QueryInterface(IID_IClientManip, manip.putVoid()), E_NOINTERFACE);
  // Leave the watcher as we found it.
  watcher.disconnectAll();
  EXPECT_EQ(watcher.objectCount(), before);
  EXPECT_EQ(connection->AddConnection(EXTCONN_STRONG, 0), 1u);
  EXPECT_EQ(connection->ReleaseConnection(EXTCONN_STRONG, 0, TRUE), 0u);
}

TEST(ExternalConnection, TheDeathOfTheLastClientCutsAConnectedStreamOff) {
  auto& watcher = detail::ClientWatcher<true>::instance();
  const size_t before = watcher.objectCount();
  auto stream = wrappedStream(1);
  auto connection = connectionOf(stream.get());
  ASSERT_EQ(connection->AddConnection(EXTCONN_STRONG, 0), 1u);
  ASSERT_EQ(connection->AddConnection(EXTCONN_STRONG, 0), 2u);
  EXPECT_EQ(watcher.objectCount(), before + 1);

  ChildProcess first, second;
  ASSERT_EQ(watcher.registerClient(first.id()), S_OK);
  ASSERT_EQ(watcher.registerClient(second.id()), S_OK);
  first.kill();
  ASSERT_TRUE(eventually([&] { return watcher.clientCount() == 1; }));
  EXPECT_EQ(watcher.objectCount(), before + 1);
  second.kill();
  ASSERT_TRUE(eventually([&] { return watcher.objectCount() == before; }));
  // Cut off: counting starts over.
  EXPECT_EQ(connection->AddConnection(EXTCONN_STRONG, 0), 1u);
  EXPECT_EQ(connection->ReleaseConnection(EXTCONN_STRONG, 0, TRUE), 0u);
  ASSERT_EQ(stream->Write("ok", 2, nullptr), S_OK);
  EXPECT_EQ(watcher.objectCount(), before);
}

}  // namespace
