// What the build made, beneath which these programs lie two folders down.
#pragma once

#include <windows.h>

#include <filesystem>

namespace tests {

inline std::filesystem::path Built(const wchar_t* file) {
  wchar_t program[MAX_PATH] = L"";
  GetModuleFileNameW(nullptr, program, MAX_PATH);
  return std::filesystem::path(program).parent_path().parent_path().parent_path() / file;
}

}  // namespace tests
