// What an installed driver leaves on a machine, and a machine that is free of it.
#pragma once

#include "machine_state.h"
#include "trace_folder.h"

namespace tests {

namespace fs = std::filesystem;
using platform::kSdkFiles;
using platform::Lines;
using platform::Listing;
using platform::LoadedDriversFolder;
using platform::SdkFolder;
using platform::SourceOf;
using platform::StartMenuFolder;

inline constexpr char kModuleMask[] = "c:\\temp\\r5-lqz-ui.dat";

// The module file of this build.
fs::path ModulePath();

// Each test finds nothing of the driver but the Raster SDK's sources, and the module's trace switched on by its file.
// It leaves nothing.
class InstallMachine : public TraceFolder {
 protected:
  InstallMachine();
  ~InstallMachine() override;
  static void Clear() { platform::PrepareMachine(); }
  // The messages that the module wrote since the last time, with their tags.
  static Lines TakeRecords();
};

}  // namespace tests
