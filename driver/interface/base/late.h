// Functions of DLLs that few programs which print ever need: such a DLL is loaded, from the system's own folder, when a
// function of it is first called, and stays. One that cannot be loaded, or lacks the function, is an ordinary failure
// of the call: its result is 0, which each of these functions fails with, and the last error says why.
#pragma once

#include <windows.h>

#include <cstddef>

// Each function with the DLL that has it.
#define R5LQZ_LATE_FUNCTIONS(entry)                                                           \
  entry("comdlg32.dll", GetOpenFileNameW) entry("comdlg32.dll", GetSaveFileNameW)             \
      entry("mscms.dll", EnumColorProfilesW) entry("mscms.dll", UninstallColorProfileW)       \
          entry("shell32.dll", SHGetSpecialFolderPathW) entry("shlwapi.dll", PathAppendW)     \
              entry("shlwapi.dll", PathFileExistsW) entry("shlwapi.dll", PathRemoveFileSpecW) \
                  entry("spoolss.dll", ImpersonatePrinterClient) entry("spoolss.dll", RevertToPrinterSelf)

namespace r5lqz {

#define R5LQZ_LATE_NAME(dll, name) k##name,
enum class LateFunction : std::size_t { R5LQZ_LATE_FUNCTIONS(R5LQZ_LATE_NAME) };
#undef R5LQZ_LATE_NAME

// The function's address, with the last error as it was; or null, with the last error that says why.
void* FindLateFunction(LateFunction which);

// Calls the function that is declared as `Function`.
template <typename Function, typename... Arguments>
auto CallLate(LateFunction which, Arguments... arguments) {
  auto* const function = reinterpret_cast<Function*>(FindLateFunction(which));
  using Result = decltype(function(arguments...));
  return function ? function(arguments...) : Result{};
}

}  // namespace r5lqz

// Calls one of the functions by its name. Where there are no such DLLs they are part of the program.
#if defined(_WIN32)
#define R5LQZ_CALL_LATE(name, ...) \
  ::r5lqz::CallLate<decltype(::name)>(::r5lqz::LateFunction::k##name __VA_OPT__(, ) __VA_ARGS__)
#else
#define R5LQZ_CALL_LATE(name, ...) ::name(__VA_ARGS__)
#endif
