// The module's attachment to a process.
#pragma once

#include <windows.h>

namespace r5lqz {

// The module's instance handle: owner of its resources and of the file name that names the trace files. Written once at
// process attach, before any entry point can run; empty before. Never released by us.
HINSTANCE ModuleHandle();

}  // namespace r5lqz
