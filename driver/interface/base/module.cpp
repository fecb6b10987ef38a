#include "base/module.h"

namespace r5lqz {
namespace {

HINSTANCE module_handle = nullptr;

}  // namespace

HINSTANCE ModuleHandle() {
  return module_handle;
}

}  // namespace r5lqz

// Runs under the loader lock, in every process that prints: it keeps the handle and touches nothing else.
extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID /*reserved*/) {
  if (reason == DLL_PROCESS_ATTACH) r5lqz::module_handle = module;
  return TRUE;
}
