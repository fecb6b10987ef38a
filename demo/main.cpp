// Meets the driver as an ordinary application does: installs it in the platform's spooler, asks everything that an
// application can ask, shows the answers, removes it. Ends with 0 only when every step held.
#include <windows.h>

#include <cstdio>

#include "session.h"

namespace {

using demo::Format;

bool ShowVersion(demo::Report& report, const std::wstring& path) {
  DWORD unused = 0;
  const DWORD size = GetFileVersionInfoSizeW(path.c_str(), &unused);
  std::vector<BYTE> block(size);
  VS_FIXEDFILEINFO* info = nullptr;
  UINT length = 0;
  if (!size || !GetFileVersionInfoW(path.c_str(), 0, size, block.data()) ||
      !VerQueryValueW(block.data(), L"\\", reinterpret_cast<void**>(&info), &length)) {
    report.Failed("GetFileVersionInfoW of the module", GetLastError());
    return false;
  }
  const auto text = [](DWORD high, DWORD low) {
    return Format("%u.%u.%u.%u", HIWORD(high), LOWORD(high), HIWORD(low), LOWORD(low));
  };
  report.Table({"module", "file version", "product version"},
               {{demo::Narrow(path), text(info->dwFileVersionMS, info->dwFileVersionLS),
                 text(info->dwProductVersionMS, info->dwProductVersionLS)}});
  return true;
}

bool Install(demo::Session& session, const std::wstring& module_path) {
  session.report.Section("The driver and a printer of it in this system's spooler");
  if (!ShowVersion(session.report, module_path)) return false;
  platform::PrinterRequest request;
  request.module_path = module_path;
  request.driver_name = L"Brindlewick R5-LQZ";
  request.printer_name = L"R5-LQZ demo printer";
  request.progress = [](const char* step) { printf("   %s ...\n", step); };
  const auto result = platform::InstallPrinter(request, session.installed);
  if (!result.Held()) session.report.Failed(result.call, result.code);
  return result.Held();
}

void Remove(demo::Session& session) {
  session.report.Section("Removal of printer and driver");
  if (const auto result = platform::RemovePrinter(session.installed); !result.Held()) {
    session.report.Failed(result.call, result.code);
  }
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
  setvbuf(stdout, nullptr, _IONBF, 0);
  if (count != 2) {
    fprintf(stderr, "usage: r5lqz-demo PATH-OF-THE-DRIVER-MODULE\n");
    return 2;
  }
  wchar_t path[MAX_PATH];
  const DWORD length = GetFullPathNameW(arguments[1], MAX_PATH, path, nullptr);
  if (!length || length >= MAX_PATH || GetFileAttributesW(path) == INVALID_FILE_ATTRIBUTES) {
    fprintf(stderr, "no driver module at %s\n", demo::Narrow(arguments[1]).c_str());
    return 2;
  }

  printf("An application meets the driver of the Brindlewick R5-LQZ label printer\n");
  demo::Session session;
  if (Install(session, path)) {
    demo::StoreLabels(session);
    demo::ShowPapers(session);
    demo::ShowCapabilities(session);
    demo::ShowDefaults(session);
    demo::ShowMergeCases(session);
    demo::ShowPrintQueries(session);
    demo::ShowColorProfile(session);
    demo::ShowTraceLog(session);
  }
  Remove(session);
  if (session.report.failures) {
    printf("\n%d step(s) did not hold\n", session.report.failures);
    return 1;
  }
  printf("\nEvery step held\n");
  return 0;
}
