#include "install_machine.h"

namespace tests {
namespace {

constexpr char kModuleLog[] = "c:\\temp\\r5-lqz-ui.txt";

}  // namespace

// Beneath it a build puts this program two folders down.
fs::path ModulePath() {
  wchar_t path[MAX_PATH] = L"";
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  return fs::path(path).parent_path().parent_path().parent_path() / "r5-lqz-ui.dll";
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
  platform::CleanMachine();
}

}  // namespace tests
