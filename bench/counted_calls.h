// A loaded module's calls of the spooler and of the colour profiles' keeper, counted and timed: its imports point here,
// and from here at what they pointed at before.
#pragma once

#include <windows.h>

#include <icm.h>
#include <winspool.h>

#include <algorithm>
#include <vector>

#include "import_patch.h"
#include "printer_keys.h"

namespace bench {

inline double Microseconds() {
  LARGE_INTEGER now;
  LARGE_INTEGER frequency;
  QueryPerformanceCounter(&now);
  QueryPerformanceFrequency(&frequency);
  return 1e6 * static_cast<double>(now.QuadPart) / static_cast<double>(frequency.QuadPart);
}

enum Call { kList, kRead, kWrite, kOther, kCalls };

// What the calls since the last reset cost, in microseconds; all come from one thread.
struct Spent {
  int calls[kCalls]{};
  double in_calls = 0;

  int All() const { return calls[kList] + calls[kRead] + calls[kWrite] + calls[kOther]; }
};
inline Spent spent;

template <Call which, auto original>
struct Counted;
template <Call which, class Result, class... Arguments, Result(WINAPI* original)(Arguments...)>
struct Counted<which, original> {
  static Result WINAPI Function(Arguments... arguments) {
    const double start = Microseconds();
    const Result result = original(arguments...);
    spent.in_calls += Microseconds() - start;
    ++spent.calls[which];
    return result;
  }
};

// Found when it is called: a program that measures what comes along with a module must not have it loaded before.
inline BOOL WINAPI ListProfiles(PCWSTR machine, PENUMTYPEW filter, BYTE* names, PDWORD size, PDWORD count) {
  using Function = decltype(&EnumColorProfilesW);
  static const auto list = reinterpret_cast<Function>(
      reinterpret_cast<void*>(GetProcAddress(LoadLibraryW(L"mscms.dll"), "EnumColorProfilesW")));
  return list(machine, filter, names, size, count);
}

// Counts as long as it lives.
class CountedCalls {
 public:
  explicit CountedCalls(HMODULE module) {
    const auto replace = [&](const char* function, auto* counted, const char* dll = "winspool.drv") {
      patches_.push_back(platform::ReplaceImport(module, dll, function, reinterpret_cast<const void*>(counted)));
    };
    replace("EnumPrinterKeyW", &Counted<kList, &platform::RegistryEnumPrinterKey>::Function);
    replace("GetPrinterDataExA", &Counted<kRead, &GetPrinterDataExA>::Function);
    replace("SetPrinterDataExA", &Counted<kWrite, &SetPrinterDataExA>::Function);
    replace("GetPrinterW", &Counted<kOther, &GetPrinterW>::Function);
    replace("GetPrinterDataW", &Counted<kOther, &GetPrinterDataW>::Function);
    replace("SetPrinterDataW", &Counted<kOther, &SetPrinterDataW>::Function);
    replace("AddFormW", &Counted<kOther, &AddFormW>::Function);
    replace("OpenPrinterW", &Counted<kOther, &OpenPrinterW>::Function);
    replace("ClosePrinter", &Counted<kOther, &ClosePrinter>::Function);
    replace("EnumColorProfilesW", &Counted<kOther, &ListProfiles>::Function, "mscms.dll");
  }
  bool AreCounted() const {
    return std::ranges::all_of(patches_, [](const auto& patch) { return static_cast<bool>(patch); });
  }

 private:
  std::vector<platform::ImportPatch> patches_;
};

}  // namespace bench
