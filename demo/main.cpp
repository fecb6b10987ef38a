// Meets the driver as an ordinary application does: installs it in the platform's spooler, asks everything that an
// application can ask, shows the answers, removes it. Ends with 0 only when every step held.
#include <windows.h>

#include <algorithm>
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

bool Install(demo::Session& session, const std::wstring& module_path, void (*progress)(const char* step)) {
  platform::PrinterRequest request;
  request.module_path = module_path;
  request.driver_name = L"Brindlewick R5-LQZ";
  request.printer_name = L"R5-LQZ demo printer";
  request.progress = progress;
  const auto result = platform::InstallPrinter(request, session.installed);
  if (!result.Held()) session.report.Failed(result.call, result.code);
  return result.Held();
}

bool InstallAndShow(demo::Session& session, const std::wstring& module_path) {
  session.report.Section("The driver and a printer of it in this system's spooler");
  return ShowVersion(session.report, module_path) &&
         Install(session, module_path, [](const char* step) { printf("   %s ...\n", step); });
}

void Remove(demo::Session& session) {
  if (const auto result = platform::RemovePrinter(session.installed); !result.Held()) {
    session.report.Failed(result.call, result.code);
  }
}

void ShowAll(demo::Session& session, const std::wstring& module_path, bool interactive) {
  printf("An application meets the driver of the Brindlewick R5-LQZ label printer\n");
  if (InstallAndShow(session, module_path)) {
    demo::ShowLabelStorage(session);
    demo::ShowPapers(session);
    demo::ShowCapabilities(session);
    demo::ShowDefaults(session);
    demo::ShowMergeCases(session);
    demo::ShowPrintQueries(session);
    demo::ShowColorProfile(session);
    demo::ShowTraceLog(session);
    if (interactive) {
      demo::OfferSheets(session);
    } else {
      demo::WorkSheets(session);
      demo::ManageLabels(session);
    }
  }
  session.report.Section("Removal of printer and driver");
  Remove(session);
}

void OnlyPictures(demo::Session& session, const std::wstring& module_path, const std::wstring& folder,
                  const std::wstring& language) {
  if (Install(session, module_path, nullptr)) demo::SavePictures(session, folder, demo::Narrow(language));
  Remove(session);
}

// The path in full, of something that is there; empty when it is not.
std::wstring FullPath(const wchar_t* path) {
  wchar_t full[MAX_PATH];
  const DWORD length = GetFullPathNameW(path, MAX_PATH, full, nullptr);
  const bool there = length && length < MAX_PATH && GetFileAttributesW(full) != INVALID_FILE_ATTRIBUTES;
  if (!there) fprintf(stderr, "there is no %s\n", demo::Narrow(path).c_str());
  return there ? full : L"";
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
  setvbuf(stdout, nullptr, _IONBF, 0);
  const std::span<wchar_t*> options(arguments + 1, static_cast<std::size_t>(std::max(count, 1) - 1));
  const bool interactive = options.size() == 2 && !wcscmp(options[1], L"--interactive");
  const bool pictures = options.size() == 4 && !wcscmp(options[1], L"--pictures");
  const bool life = options.size() == 2 && !wcscmp(options[1], L"--life");
  if (options.size() != 1 && !interactive && !pictures && !life) {
    fprintf(stderr, "usage: r5lqz-demo DRIVER-MODULE [--interactive | --life | --pictures FOLDER LANGUAGE]\n");
    return 2;
  }
  const std::wstring module_path = FullPath(options[0]);
  const std::wstring folder = pictures ? FullPath(options[2]) : L".";
  if (module_path.empty() || folder.empty()) return 2;

  demo::Session session;
  if (pictures) {
    OnlyPictures(session, module_path, folder, options[3]);
  } else if (life) {
    demo::ShowOneLife(session.report, module_path);
  } else {
    ShowAll(session, module_path, interactive);
  }
  if (session.report.failures) {
    printf("\n%d step(s) did not hold\n", session.report.failures);
    return 1;
  }
  if (!pictures) printf("\nEvery step held\n");
  return 0;
}
