// What the layer's files share: the lock over its state, handles, the poison byte and the steps of Reset.
#pragma once

#include "native/calls.h"

#include <cstring>

namespace platform {

// Held while a call reads or changes what the layer keeps, never while a hook runs.
std::mutex& StateMutex();

// A handle value that was never given out before, so that a closed one is always recognised.
HANDLE NewHandle();

// A handle was closed that was not open. Null ones are not counted. StateMutex need not be held.
void CountBadRelease(HANDLE handle);

// Ends the program: `what` happened with `name`, which no correct caller does.
[[noreturn]] void ReportMisuse(const char* what, std::string_view name);

// What fresh memory holds, so that reading it unset shows.
inline constexpr int kPoison = 0xCD;

// Larger blocks are refused as if memory were short, whatever the machine has.
inline constexpr std::size_t kLargestBlock = std::size_t{1} << 30;

// The text as Latin-1 characters widened, and back ('?' for the rest).
std::u16string Widen(std::string_view text);
std::string Narrow(std::u16string_view text);
std::u16string_view View(const WCHAR* text);
char16_t LowerChar(char16_t c);

// A name folded for comparing without regard to case. One of usual length takes no memory: fuzz targets look up names
// by the thousand.
class FoldedName {
 public:
  explicit FoldedName(std::u16string_view text);
  explicit FoldedName(std::string_view text);
  FoldedName(const FoldedName&) = delete;
  FoldedName& operator=(const FoldedName&) = delete;
  std::u16string_view view() const { return view_; }
  std::u16string text() const { return std::u16string(view_); }

 private:
  template <typename Source>
  void Fold(Source text);

  std::array<char16_t, 64> short_;
  std::u16string long_;
  std::u16string_view view_;
};

// Closes the handle if it is a file's; StateMutex is held.
bool CloseFile(HANDLE handle);

// Each theme's share of Reset and of the balance; StateMutex is not held.
void ResetFiles();
void ResetHeaps();
void ResetIdentity();
void ResetMutexes();
void ResetProcess();
void ResetProfiles();
void ResetRuntimeHeap();
void ResetSpooler();
void AddFiles(Balance& balance);
void AddHeaps(Balance& balance);
void AddIdentity(Balance& balance);
void AddMutexes(Balance& balance);
void AddRuntimeHeap(Balance& balance);
void AddSpooler(Balance& balance);

}  // namespace platform
