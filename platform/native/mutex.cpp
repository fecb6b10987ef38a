// Named mutexes, shared by the threads of this process.
#include "native/state.h"

#include <condition_variable>
#include <map>
#include <memory>
#include <thread>
#include <unordered_map>

namespace platform {
namespace {

struct Mutex {
  std::string name;
  std::thread::id owner;  // none when free
  int depth = 0;
};

std::unordered_map<HANDLE, std::shared_ptr<Mutex>> handles;
std::map<std::string, std::weak_ptr<Mutex>, std::less<>> named;
std::condition_variable released;
MutexCreation last_mutex;
std::uint64_t waited_in_vain = 0;

std::shared_ptr<Mutex> Find(HANDLE handle) {
  const auto found = handles.find(handle);
  return found == handles.end() ? nullptr : found->second;
}

void Take(Mutex& mutex) {
  mutex.owner = std::this_thread::get_id();
  ++mutex.depth;
}

// Waits until the mutex is free or this thread's own; false when the time is over.
bool AwaitTurn(std::unique_lock<std::mutex>& lock, const Mutex& mutex, DWORD milliseconds) {
  const auto free = [&] { return mutex.depth == 0 || mutex.owner == std::this_thread::get_id(); };
  if (milliseconds == INFINITE) {
    released.wait(lock, free);
    return true;
  }
  return released.wait_for(lock, std::chrono::milliseconds(milliseconds), free);
}

}  // namespace

MutexCreation LastMutex() {
  std::lock_guard lock(StateMutex());
  return last_mutex;
}

void ResetMutexes() {
  std::lock_guard lock(StateMutex());
  handles.clear();
  named.clear();
  last_mutex = {};
  waited_in_vain = 0;
}

std::uint64_t MillisecondsWaitedInVain() {
  std::lock_guard lock(StateMutex());
  return waited_in_vain;
}

void AddMutexes(Balance& balance) {
  std::lock_guard lock(StateMutex());
  balance.mutex_handles += static_cast<std::int64_t>(handles.size());
}

}  // namespace platform

using platform::Call;
using platform::CallScope;

extern "C" {

HANDLE WINAPI CreateMutexA(LPSECURITY_ATTRIBUTES security, BOOL owned, LPCSTR name) {
  CallScope call(Call::kCreateMutexA);
  if (call.failed()) return call.Fail<HANDLE>(nullptr);
  const std::string_view text = name ? name : "";
  // A backslash would part the name from a namespace, and there is none of that name.
  if (text.find('\\') != text.npos) return platform::FailWith<HANDLE>(ERROR_PATH_NOT_FOUND, nullptr);
  std::lock_guard lock(platform::StateMutex());
  platform::last_mutex = {std::string(text), security && security->bInheritHandle,
                          !security || !security->lpSecurityDescriptor, owned != FALSE};
  std::shared_ptr<platform::Mutex> mutex;
  if (const auto found = platform::named.find(text); name && found != platform::named.end()) {
    mutex = found->second.lock();
  }
  platform::last_error = mutex ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS;
  if (!mutex) {
    mutex = std::make_shared<platform::Mutex>(platform::Mutex{std::string(text), {}, 0});
    if (owned) Take(*mutex);
    if (name) platform::named.insert_or_assign(mutex->name, mutex);
  }
  const HANDLE handle = platform::NewHandle();
  platform::handles.emplace(handle, std::move(mutex));
  return handle;
}

DWORD WINAPI WaitForSingleObject(HANDLE handle, DWORD milliseconds) {
  CallScope call(Call::kWaitForSingleObject);
  if (call.failed()) return call.Fail(WAIT_FAILED);
  std::unique_lock lock(platform::StateMutex());
  const auto mutex = platform::Find(handle);
  if (!mutex) return platform::FailWith(ERROR_INVALID_HANDLE, WAIT_FAILED);
  if (!platform::AwaitTurn(lock, *mutex, milliseconds)) {
    platform::waited_in_vain += milliseconds;
    return WAIT_TIMEOUT;
  }
  platform::Take(*mutex);
  return WAIT_OBJECT_0;
}

BOOL WINAPI ReleaseMutex(HANDLE handle) {
  CallScope call(Call::kReleaseMutex);
  if (call.failed()) return call.Fail(FALSE);
  std::lock_guard lock(platform::StateMutex());
  const auto mutex = platform::Find(handle);
  if (!mutex) return platform::FailWith(ERROR_INVALID_HANDLE, FALSE);
  if (mutex->depth == 0 || mutex->owner != std::this_thread::get_id()) {
    return platform::FailWith(ERROR_NOT_OWNER, FALSE);
  }
  if (--mutex->depth == 0) platform::released.notify_all();
  return TRUE;
}

BOOL WINAPI CloseHandle(HANDLE handle) {
  CallScope call(Call::kCloseHandle);
  std::lock_guard lock(platform::StateMutex());
  if (platform::handles.erase(handle) == 0 && !platform::CloseFile(handle)) {
    platform::CountBadRelease(handle);
    return platform::FailWith(ERROR_INVALID_HANDLE, FALSE);
  }
  return call.failed() ? call.Fail(FALSE) : TRUE;
}

}  // extern "C"
