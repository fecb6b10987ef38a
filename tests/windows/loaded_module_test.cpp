// The driver module as it ships, loaded and unloaded as hosts do.
#include <windows.h>
#include <psapi.h>

#include <set>

#include "trace_folder.h"

namespace tests {
namespace {

using LoadedModule = TraceFolder;

constexpr char kModuleLog[] = "c:\\temp\\r5-lqz-ui.txt";
constexpr char kModuleMask[] = "c:\\temp\\r5-lqz-ui.dat";
constexpr char kModuleLock[] = "c:/temp/r5-lqz-ui.txt";

// Beneath it a build puts this program two folders down.
std::string ModulePath() {
  char program[MAX_PATH] = "";
  GetModuleFileNameA(nullptr, program, sizeof program);
  const std::string path = program;
  return path.substr(0, path.find_last_of('\\') + 1) + "..\\..\\r5-lqz-ui.dll";
}

std::set<HMODULE> Modules() {
  HMODULE found[512];
  DWORD size = 0;
  EnumProcessModules(GetCurrentProcess(), found, sizeof found, &size);
  return {found, found + size / sizeof *found};
}

TEST_F(LoadedModule, ComesAndGoesWithoutATrace) {
  WriteBytes(kModuleMask, "3");
  // What it imports may stay in the process after the first time.
  FreeLibrary(LoadLibraryA(ModulePath().c_str()));
  const auto modules = Modules();
  for (int i = 0; i < 100; ++i) {
    const HMODULE module = LoadLibraryA(ModulePath().c_str());
    ASSERT_TRUE(module) << GetLastError();
    ASSERT_TRUE(FreeLibrary(module));
  }
  EXPECT_EQ(Modules(), modules);
  EXPECT_EQ(GetModuleHandleA("r5-lqz-ui.dll"), nullptr);
  EXPECT_EQ(SizeOf(kModuleLog), -1);
  EXPECT_EQ(OpenMutexA(SYNCHRONIZE, FALSE, kModuleLock), nullptr);
}

}  // namespace
}  // namespace tests
