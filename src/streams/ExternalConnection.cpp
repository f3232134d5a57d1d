#include "streams/ExternalConnection.h"

#include <vector>

#include "base/Win32Error.h"

extern "C" const IID IID_IClientManip = {0x8EBDB69A, 0x8ADE, 0x446B, {0xBF, 0x22, 0x68, 0x1A, 0xA0, 0x88, 0x91, 0xD3}};

namespace detail {

ClientWatcherBase::ClientWatcherBase() : Thread(false, "ClientWatcher"), wake_(CreateEventW(nullptr, FALSE, FALSE, nullptr)) {}

ClientWatcherBase::~ClientWatcherBase() {
  shutDown();
  for (auto& client : clients_) CloseHandle(client.second);
  if (wake_) CloseHandle(wake_);
}

HRESULT ClientWatcherBase::registerClient(DWORD processId, HANDLE process) {
  CLockGuard guard(this);
  if (clients_.count(processId)) return S_FALSE;
  if (!process) {
    process = OpenProcess(SYNCHRONIZE, FALSE, processId);
    if (!process) return lastErrorToHResult();
  }
  clients_.emplace(processId, process);
  run();
  SetEvent(wake_);
  return S_OK;
}

void ClientWatcherBase::registerObject(IClientManip* object) {
  if (!object) return;
  CLockGuard guard(this);
  objects_.emplace(object, ComRef<IClientManip>(object));
}

void ClientWatcherBase::unregisterObject(IClientManip* object) {
  ComRef<IClientManip> released;
  {
    CLockGuard guard(this);
    auto it = objects_.find(object);
    if (it == objects_.end()) return;
    released = std::move(it->second);
    objects_.erase(it);
  }
  // The reference goes after the lock: it may be the last one on the object.
}

void ClientWatcherBase::disconnectAll() {
  std::vector<ComRef<IClientManip>> copy;
  {
    CLockGuard guard(this);
    for (auto& entry : objects_) copy.push_back(entry.second);
  }
  for (auto& object : copy) object->disconnect();
}

size_t ClientWatcherBase::clientCount() {
  CLockGuard guard(this);
  return clients_.size();
}

size_t ClientWatcherBase::objectCount() {
  CLockGuard guard(this);
  return objects_.size();
}

void ClientWatcherBase::execute() {
  for (;;) {
    std::vector<HANDLE> handles;
    std::vector<DWORD> ids;
    {
      CLockGuard guard(this);
      handles.push_back(getTerminationEvent());
      handles.push_back(wake_);
      for (auto& client : clients_) {
        ids.push_back(client.first);
        handles.push_back(client.second);
      }
    }
    const DWORD index = WaitForMultipleObjects(static_cast<DWORD>(handles.size()), handles.data(), FALSE, INFINITE);
    if (index == WAIT_OBJECT_0) return;
    if (index == WAIT_OBJECT_0 + 1) continue;
    if (index < WAIT_OBJECT_0 + 2 || index >= WAIT_OBJECT_0 + handles.size()) return;
    bool none = false;
    {
      CLockGuard guard(this);
      auto it = clients_.find(ids[index - WAIT_OBJECT_0 - 2]);
      if (it != clients_.end()) {
        CloseHandle(it->second);
        clients_.erase(it);
      }
      none = clients_.empty();
    }
    // The last client is gone: nobody outside can use the watched objects any more.
    if (none) disconnectAll();
  }
}

}  // namespace detail
