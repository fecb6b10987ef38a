// How tests, fuzz targets and benchmarks set up the in-memory platform, make its calls fail and see what the
// module did with it. Texts are narrow (Latin-1, as the platform's ANSI calls take them) unless said otherwise;
// names of printers, keys and values do not depend on letter case. A name that the layer does not know (a call,
// a printer) ends the program with a message: a misspelt name must not make a test pass.
#pragma once

#include <windows.h>
#include <winspool.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

using Bytes = std::vector<std::byte>;

// Empties everything (printers, profiles, mutexes, c:\temp, hook, log, faults), zeroes the counters and turns every
// switch off. Blocks of heaps and global memory are freed, runtime blocks and files still open are forgotten. No
// other thread may be inside the layer.
void Reset();

// --- Printers ---------------------------------------------------------------------------------------------------

// Adds a printer or replaces the one of that name. `devmode` is its stored default record, given out byte for byte at
// the very end of the printer information, so it may lie about its own size; empty: the printer has none.
void AddPrinter(std::string_view name, std::string_view driver_name, std::span<const std::byte> devmode = {});

// Replaces the printer's stored default record.
void SetDevMode(std::string_view printer, std::span<const std::byte> devmode);

// From now on the printer's information carries neither its name nor its driver's (null pointers).
void OmitNames(std::string_view printer);

// A handle of the test's own: neither a call nor part of the balance. Reset or CloseTestPrinter ends it; a ClosePrinter
// of it by the module counts as a bad release. `access` 0 is the plain one.
HANDLE OpenTestPrinter(std::string_view printer, ACCESS_MASK access = 0);
void CloseTestPrinter(HANDLE printer);

// One printer data value: registry type and exactly the bytes stored.
struct Data {
  DWORD type = REG_NONE;
  Bytes bytes;
  bool operator==(const Data&) const = default;
};

// Key "" is where the calls without a key keep their values; other keys ("Label Sizes\\258") are made as needed.
void SetData(std::string_view printer, std::string_view key, std::string_view value, DWORD type,
             std::span<const std::byte> bytes);
// REG_SZ, with its terminator unless told otherwise.
void SetDataText(std::string_view printer, std::string_view key, std::string_view value, std::string_view text,
                 bool terminated = true);
// REG_DWORD.
void SetDataDword(std::string_view printer, std::string_view key, std::string_view value, DWORD number);
std::optional<Data> GetData(std::string_view printer, std::string_view key, std::string_view value);
void RemoveKey(std::string_view printer, std::string_view key);
void RemoveData(std::string_view printer, std::string_view key, std::string_view value);

// EnumPrinterKeyW answers exactly these bytes for the key, whatever lies beneath it. A call without a buffer is always
// answered ERROR_MORE_DATA with their number, even when there are none.
void SetKeyListBytes(std::string_view printer, std::string_view key, std::span<const std::byte> bytes);

struct Form {
  std::string name;
  DWORD flags = 0;
  SIZEL size{};
  RECTL imageable_area{};
};
std::vector<Form> Forms(std::string_view printer);

// Who is refused with ERROR_ACCESS_DENIED.
enum class Denied {
  kNobody,
  kPlain,  // writes: through handles opened without PRINTER_ALL_ACCESS; opening: while the thread is the client
  kEveryone,
};
// SetPrinterData..., DeletePrinterKeyW and AddFormW.
void DenyWrites(std::string_view printer, Denied who = Denied::kEveryone);
// OpenPrinterW with PRINTER_DEFAULTS of any kind; who asks for nothing is let in.
void DenyAccess(std::string_view printer, Denied who = Denied::kEveryone);

// --- Colour profiles --------------------------------------------------------------------------------------------

// The profiles of every printer, in the order in which EnumColorProfilesW lists them.
void SetProfiles(std::span<const std::u16string> names);
// EnumColorProfilesW answers exactly these bytes and this count; with no bytes the size query succeeds. It says that it
// has written as many bytes `beyond`.
void SetProfileListBytes(std::span<const std::byte> bytes, DWORD count, DWORD beyond = 0);
// The device name of the last enumeration.
std::string LastProfileDevice();

// --- Faults -----------------------------------------------------------------------------------------------------

// Lets the nth (from 1, counted from now) call of that name, or of any call that can fail (nullptr), fail: it does
// nothing and gives its failure result with `code` as result or last error (runtime functions: errno). `persistent`:
// every later one fails too. Calls that give something back (ClosePrinter, CloseHandle, HeapFree, HeapDestroy,
// GlobalFree) report the failure but do give it back: their caller has no second try. Several may be armed.
void FailCall(const char* name, std::uint64_t nth, DWORD code = ERROR_GEN_FAILURE, bool persistent = false);
void DisarmFaults();
// Calls failed this way since Reset.
std::uint64_t FaultsInjected();

// --- What was called --------------------------------------------------------------------------------------------

// Calls of one name, of all, since Reset. Runtime functions count as below.
std::uint64_t Calls(const char* name);
std::uint64_t TotalCalls();

// Runs before each call, on its thread and before a fault is injected, so that it can change what the call will see.
// What it calls itself is neither counted, failed nor hooked. Empty: none. With `only` it runs before calls of that
// name alone, and the others cost no more than without it.
void SetCallHook(std::function<void(const char* name)> hook, const char* only = nullptr);

// Time that all threads spent inside the layer while this was on, in nanoseconds. The clock itself costs each call a
// few tens of nanoseconds, about half of which fall outside what is counted.
void MeasureTime(bool on);
std::uint64_t TimeInLayer();

// malloc, calloc and realloc are counted, failed, filled with 0xCD (malloc) and entered into the balance only where
// they are the module's: on this thread while a ModuleScope lives, or on any thread after WatchRuntimeHeap(true). A
// block so counted is followed until it is freed, wherever that happens.
struct ModuleScope {
  ModuleScope();
  ~ModuleScope();
  ModuleScope(const ModuleScope&) = delete;
  ModuleScope& operator=(const ModuleScope&) = delete;
};
void WatchRuntimeHeap(bool on);

// What is open now; all zero when nothing leaked.
struct Balance {
  std::int64_t printers = 0;
  std::int64_t heaps = 0;
  std::int64_t global_blocks = 0;
  std::int64_t runtime_blocks = 0;
  std::int64_t mutex_handles = 0;
  std::int64_t files = 0;
  std::int64_t tokens = 0;        // identities taken by RevertToPrinterSelf and not given back
  std::int64_t bad_releases = 0;  // handles closed that were not open or not the module's, null ones left out
  bool operator==(const Balance&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Balance& balance);
Balance LiveBalance();

// --- Identity, module -------------------------------------------------------------------------------------------

// Whether the calling thread acts for a client; at first it does not.
void SetImpersonating(bool on);
bool IsImpersonating();

// What GetModuleFileNameA answers; after Reset a path in the driver directory that ends in \r5-lqz-ui.dll.
void SetModuleFileName(std::string_view name);

// --- Mutexes ----------------------------------------------------------------------------------------------------

struct MutexCreation {
  std::string name;
  bool inheritable = false;
  bool default_security = false;
  bool initially_owned = false;
};
// The last CreateMutexA.
MutexCreation LastMutex();
// What waits for mutexes that stayed busy have taken since Reset.
std::uint64_t MillisecondsWaitedInVain();

// What GetTickCount64 answers; 0 after Reset.
void SetTickCount(ULONGLONG milliseconds);

// --- Files ------------------------------------------------------------------------------------------------------

// The folder of this machine behind c:\temp: this process's own, removed when it ends. After Reset it exists and is
// empty.
std::string TempFolder();

// The bytes that ReadFile was asked for since Reset.
std::uint64_t BytesAsked();

}  // namespace platform
