#include "install_machine.h"

#include <windows.h>

#include <shlobj.h>
#include <winspool.h>

#include <algorithm>

namespace tests {
namespace {

fs::path SpecialFolder(int which) {
  wchar_t path[MAX_PATH] = L"";
  EXPECT_TRUE(SHGetSpecialFolderPathW(nullptr, path, which, FALSE));
  return path;
}

fs::path MakersFolder() { return SdkFolder().parent_path(); }

void Remove(const fs::path& path) {
  std::error_code error;
  fs::remove_all(path, error);
  EXPECT_FALSE(error) << path << ": " << error.message();
}

void RemoveInstalled() {
  Remove(StartMenuFolder());
  Remove(MakersFolder());
}

}  // namespace

fs::path StartMenuFolder() { return SpecialFolder(CSIDL_COMMON_PROGRAMS) / L"Brindlewick R5-LQZ"; }
fs::path SdkFolder() { return SpecialFolder(CSIDL_COMMON_APPDATA) / L"Brindlewick" / L"Brindlewick R5-LQZ Driver"; }

fs::path LoadedDriversFolder() {
  wchar_t path[MAX_PATH] = L"";
  DWORD needed = 0;
  EXPECT_TRUE(GetPrinterDriverDirectoryW(nullptr, nullptr, 1, reinterpret_cast<BYTE*>(path), sizeof path, &needed));
  return fs::path(path) / L"3";
}

// Beneath it a build puts this program two folders down.
fs::path ModulePath() {
  wchar_t path[MAX_PATH] = L"";
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  return fs::path(path).parent_path().parent_path().parent_path() / L"r5-lqz-ui.dll";
}

fs::path SourceOf(const wchar_t* sdk_file) { return LoadedDriversFolder() / (std::wstring(L"r5-lqz-") + sdk_file); }

Lines Listing(const fs::path& folder) {
  Lines found;
  std::error_code error;
  for (const auto& entry : fs::recursive_directory_iterator(folder, error)) {
    const auto path = fs::relative(entry.path(), folder).generic_u8string();
    found.emplace_back(path.begin(), path.end());
  }
  std::sort(found.begin(), found.end());
  return found;
}

void InstallMachine::Clear() {
  RemoveInstalled();
  fs::create_directories(LoadedDriversFolder());
  for (const auto* file : kSdkFiles) WriteBytes(SourceOf(file).string(), SourceOf(file).filename().string());
}

Lines InstallMachine::TakeRecords() {
  Lines texts;
  for (const Record& record : ReadRecords(kModuleLog)) texts.push_back(record.text);
  DeleteFileA(kModuleLog);
  return texts;
}

InstallMachine::InstallMachine() {
  WriteBytes(kModuleMask, "3");
  Clear();
}

InstallMachine::~InstallMachine() {
  RemoveInstalled();
  for (const auto* file : kSdkFiles) Remove(SourceOf(file));
}

}  // namespace tests
