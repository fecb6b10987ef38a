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
// For comparing names without regard to case.
std::u16string Folded(std::u16string text);

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
