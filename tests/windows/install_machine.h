// What an installed driver leaves on a machine, and a machine that is free of it.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "trace_folder.h"

namespace tests {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

inline constexpr char kModuleMask[] = "c:\\temp\\r5-lqz-ui.dat";

// The folders of the start menu, of the Raster SDK, and from which drivers are loaded; the module file of this build.
fs::path StartMenuFolder();
fs::path SdkFolder();
fs::path LoadedDriversFolder();
fs::path ModulePath();

// The Raster SDK files, in the order of installation; among the driver's files the model's name stands before theirs.
inline const Lines kSdkFiles{"hpcrlib.dll", "hpldrlgl.dat", "hpldrlgl.dll", "iconv.dll"};
fs::path SourceOf(const std::string& sdk_file);

// What a folder holds, as sorted UTF-8 paths in it with "/"; nothing without the folder.
Lines Listing(const fs::path& folder);

// Each test finds nothing of the driver but the Raster SDK's sources, each of which holds its own name, and the
// module's trace switched on by its file. It leaves nothing.
class InstallMachine : public TraceFolder {
 protected:
  InstallMachine();
  ~InstallMachine() override;
  static void Clear();
  // The messages that the module wrote since the last time, with their tags.
  static Lines TakeRecords();
};

}  // namespace tests
