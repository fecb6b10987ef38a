// One life of the driver on a machine: installed, given a printer, used, removed; and what is left of it.
#pragma once

#include <string>
#include <vector>

#include "machine_state.h"

namespace user {

struct LifeStage {
  std::string done;
  std::string seen;
  bool held;
};

/// What the machine has after the life and had not before, or the other way round. Without a reason it should not be
/// so.
struct LifeTrace {
  std::string what;
  std::string reason;
};

struct DriverLife {
  std::vector<LifeStage> stages;
  platform::MachineState before;
  platform::MachineState after;
  std::vector<LifeTrace> traces;
};

/// Lives it with a driver and a printer of their own names. What an earlier life left is taken away before, and what
/// this one leaves afterwards, but for the module's copy that this process has loaded by then.
DriverLife LiveOneLife(const std::wstring& module_path);

}  // namespace user
