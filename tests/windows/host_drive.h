// Files on drive c: that the tests make and read, and those that only the host can make.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

namespace tests {

// A file's bytes from `offset` on; none without the file.
inline std::string ReadBytes(const std::filesystem::path& path, long long offset = 0) {
  std::ifstream file(path, std::ios::binary);
  file.seekg(offset);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

inline void WriteBytes(const std::filesystem::path& path, std::string_view bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

// Runs a shell script on the host, in the folder that is drive c: here, and waits for its end: on this platform only
// the host makes and removes links and pipes.
inline void RunOnHostDrive(const std::string& script) {
  const std::filesystem::path done = "c:\\host-script-done";
  std::filesystem::remove(done);
  std::string line = "sh -c \"IFS= && cd $WINEPREFIX/drive_c && " + script + " && : > host-script-done\"";
  STARTUPINFOA startup{sizeof startup};
  PROCESS_INFORMATION created{};
  ASSERT_TRUE(
      CreateProcessA("Z:\\bin\\sh", line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &created));
  CloseHandle(created.hThread);
  CloseHandle(created.hProcess);
  for (int wait = 0; wait < 2000 && !std::filesystem::exists(done); ++wait) Sleep(10);
  ASSERT_TRUE(std::filesystem::remove(done)) << script;
}

}  // namespace tests
