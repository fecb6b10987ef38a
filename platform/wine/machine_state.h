// What a machine holds that an installed driver may change, and a machine that is free of the driver.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace platform {

using Lines = std::vector<std::string>;

// The folders of the driver's start menu, of the Raster SDK, from which drivers are loaded, of colour profiles. A
// machine that does not tell them ends the program.
std::filesystem::path StartMenuFolder();
std::filesystem::path SdkFolder();
std::filesystem::path LoadedDriversFolder();
std::filesystem::path ColorFolder();

// The Raster SDK files, in the order of installation; among the driver's files the model's name stands before theirs.
inline const Lines kSdkFiles{"hpcrlib.dll", "hpldrlgl.dat", "hpldrlgl.dll", "iconv.dll"};
std::filesystem::path SourceOf(const std::string& sdk_file);

// Takes away what the driver made in these folders, and puts in place the Raster SDK's sources, each of which holds its
// own name, or takes them away as well.
void PrepareMachine();
void CleanMachine();

// What a folder holds, as sorted UTF-8 paths in it with "/"; nothing without the folder.
Lines Listing(const std::filesystem::path& folder);

// The order to delete files at the next restart, as a registry entry reads in a state, and without it.
std::string PendingDeletions(const Lines& paths);
void ForgetPendingDeletions();

// Each list is sorted: every file of the system's drive, every registry key and value with its type and bytes, every
// colour profile.
struct MachineState {
  Lines files;
  Lines registry;
  Lines profiles;
};
// What the platform itself makes at the first use and keeps is made first.
MachineState ReadMachineState();

// What is in the one and not in the other.
Lines Difference(const Lines& one, const Lines& other);

}  // namespace platform
