// Whose rights the thread acts with: the spooler's own or a client's.
#include "native/state.h"

#include <ddk/winsplp.h>

#include <atomic>
#include <unordered_set>

namespace platform {
namespace {

// A thread's identity counts only in the round in which it was set; Reset begins a new round for all threads.
struct Identity {
  std::uint64_t round = 0;
  bool client = false;
};

std::atomic<std::uint64_t> current_round{1};
thread_local constinit Identity identity;
std::unordered_set<HANDLE> tokens;

}  // namespace

void SetImpersonating(bool on) {
  identity = {current_round, on};
}

bool IsImpersonating() {
  return identity.round == current_round && identity.client;
}

void ResetIdentity() {
  ++current_round;
  std::lock_guard lock(StateMutex());
  tokens.clear();
}

void AddIdentity(Balance& balance) {
  std::lock_guard lock(StateMutex());
  balance.tokens += static_cast<std::int64_t>(tokens.size());
}

}  // namespace platform

using platform::Call;
using platform::CallScope;

extern "C" {

HANDLE WINAPI RevertToPrinterSelf() {
  CallScope call(Call::kRevertToPrinterSelf);
  if (call.failed()) return call.Fail<HANDLE>(nullptr);
  if (!platform::IsImpersonating()) return platform::FailWith<HANDLE>(ERROR_NO_TOKEN, nullptr);
  platform::SetImpersonating(false);
  std::lock_guard lock(platform::StateMutex());
  return *platform::tokens.insert(platform::NewHandle()).first;
}

BOOL WINAPI ImpersonatePrinterClient(HANDLE token) {
  CallScope call(Call::kImpersonatePrinterClient);
  if (call.failed()) return call.Fail(FALSE);
  std::lock_guard lock(platform::StateMutex());
  if (platform::tokens.erase(token) == 0) return platform::FailWith(ERROR_INVALID_HANDLE, FALSE);
  platform::SetImpersonating(true);
  return TRUE;
}

}  // extern "C"
