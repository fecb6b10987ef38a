#include "pages/help.h"

#include <array>
#include <atomic>
#include <iterator>
#include <span>

#include "base/bounded_text.h"
#include "base/owned.h"
#include "base/printer_interface.h"
#include "diag/trace.h"

namespace r5lqz {
namespace {

// The platform's HTML Help: its command to show a topic (HH_DISPLAY_TOPIC), and the class by which its file is found.
constexpr UINT kDisplayTopic = 0;
constexpr WCHAR kComponentKey[] = L"Software\\Classes\\CLSID\\{ADB880A6-D8FF-11CF-9377-00AA003B7A11}\\InprocServer32";

using HtmlHelpFunction = HWND(WINAPI*)(HWND caller, LPCWSTR file, UINT command, DWORD_PTR data);

// With a drive: what a path without one leads to is the host's, or the current directory's, to say.
bool IsAbsolute(const WCHAR* path) {
  const auto drive = static_cast<WCHAR>(path[0] | 0x20);  // in lower case, if it is a letter
  return drive >= L'a' && drive <= L'z' && path[1] == L':' && path[2] == L'\\';
}

// Puts the system's own folder in the place of its variable in front; false when that does not fit.
bool ReplaceSystemRoot(std::span<WCHAR, MAX_PATH> path) {
  constexpr WCHAR kVariable[] = L"%SystemRoot%";
  constexpr int kLength = static_cast<int>(std::size(kVariable)) - 1;
  if (CompareStringOrdinal(path.data(), kLength, kVariable, kLength, TRUE) != CSTR_EQUAL) return true;
  std::array<WCHAR, MAX_PATH> rest{};
  CopyBounded(std::span(rest), path.data() + kLength);
  const UINT length = GetSystemWindowsDirectoryW(path.data(), MAX_PATH);
  if (length == 0 || length >= MAX_PATH) return false;
  const auto tail = path.subspan(length);
  CopyBounded(tail, rest.data());
  return tail[0] != 0;
}

// The file that the machine's registry names as the component's, or none: the user's own entries, which the merged view
// of both prefers, have no say in a program that runs with more rights than the user. Never a file of that name found
// on the search path, nor its imports: we are in somebody else's process, which may have been started anywhere.
HMODULE LoadComponent() {
  WCHAR file[MAX_PATH]{};
  DWORD size = sizeof file;
  // Not expanded: the environment is the user's and the host's to set.
  constexpr DWORD kAsStored = RRF_RT_REG_SZ | RRF_RT_REG_EXPAND_SZ | RRF_NOEXPAND;
  if (RegGetValueW(HKEY_LOCAL_MACHINE, kComponentKey, nullptr, kAsStored, nullptr, file, &size) != ERROR_SUCCESS ||
      !ReplaceSystemRoot(file) || !IsAbsolute(file)) {
    return nullptr;
  }
  return LoadLibraryExW(file, nullptr, LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32);
}

// Beside the gate, not in it: the platform keeps two bits of a gate's own value for itself, and a function may lie at
// any address.
constinit std::atomic<HtmlHelpFunction> html_help_entry{nullptr};

BOOL CALLBACK FindHtmlHelp(PINIT_ONCE, void*, void**) {
  if (const HMODULE component = LoadComponent()) {
    html_help_entry =
        reinterpret_cast<HtmlHelpFunction>(reinterpret_cast<void*>(GetProcAddress(component, "HtmlHelpW")));
  }
  return TRUE;
}

// The component's entry, looked for at the first call of the process and never again; it stays loaded.
HtmlHelpFunction HtmlHelp() {
  static INIT_ONCE looked_for = INIT_ONCE_STATIC_INIT;
  InitOnceExecuteOnce(&looked_for, FindHtmlHelp, nullptr, nullptr);
  return html_help_entry;
}

// The driver's information in one runtime-heap block, or none.
RuntimeBlock<DRIVER_INFO_3W> DriverInfo(HANDLE printer) {
  DWORD size = 0;
  GetPrinterDriverW(printer, nullptr, 3, nullptr, 0, &size);
  if (size < sizeof(DRIVER_INFO_3W)) return nullptr;
  RuntimeBlock<DRIVER_INFO_3W> info(static_cast<DRIVER_INFO_3W*>(std::calloc(1, size)));
  if (!info || !GetPrinterDriverW(printer, nullptr, 3, reinterpret_cast<BYTE*>(info.get()), size, &size))
    return nullptr;
  return info;
}

}  // namespace

void HelpClick(HWND dialog, HANDLE printer, const WCHAR* topic) {
  const TraceScope trace("HelpClick");
  const auto info = DriverInfo(printer);
  if (!info || !info->pHelpFile) return;
  const HelpPath path = BuildHelpPath(info->pHelpFile, GetUiLanguage(), topic);
  if (!path[0]) {
    LOG_ERROR("The help path is too long");
    return;
  }
  if (const auto html_help = HtmlHelp()) html_help(dialog, path.data(), kDisplayTopic, 0);
}

}  // namespace r5lqz
