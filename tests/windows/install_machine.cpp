#include "install_machine.h"

#include "../built_files.h"

namespace tests {
namespace {

constexpr char kModuleLog[] = "c:\\temp\\r5-lqz-ui.txt";

}  // namespace

fs::path ModulePath() {
  return Built(L"r5-lqz-ui.dll");
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
