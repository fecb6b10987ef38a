// The resources of the module that the build made, in a language of the caller's choice.
#pragma once

#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "../built_files.h"

namespace tests {

inline HMODULE Module() {
  static const HMODULE module = LoadLibraryW(Built(L"r5-lqz-ui.dll").c_str());
  return module;
}

// A resource's bytes; none when it is not there.
inline std::vector<BYTE> Resource(const wchar_t* type, int id, LANGID language) {
  const HRSRC found = FindResourceExW(Module(), type, MAKEINTRESOURCEW(id), language);
  if (!found) return {};
  const auto* const bytes = static_cast<const BYTE*>(LockResource(LoadResource(Module(), found)));
  return {bytes, bytes + SizeofResource(Module(), found)};
}

// The strings of a language that are not empty; sixteen at a time are one resource, each with its length before it.
inline std::map<int, std::wstring> Strings(LANGID language) {
  std::map<int, std::wstring> strings;
  for (int block = 0; block < 64; ++block) {
    const std::vector<BYTE> bytes = Resource(RT_STRING, block + 1, language);
    std::size_t at = 0;
    for (int id = block * 16; id < block * 16 + 16 && at + 2 <= bytes.size(); ++id) {
      std::wstring text(static_cast<std::size_t>(bytes[at] + bytes[at + 1] * 256), L' ');
      std::memcpy(text.data(), bytes.data() + at + 2, text.size() * 2);
      at += 2 + text.size() * 2;
      if (!text.empty()) strings[id] = text;
    }
  }
  return strings;
}

// A text as UTF-8, to be printed.
inline std::string Shown(const std::wstring& text) {
  char utf8[1024] = "";
  WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, utf8, sizeof utf8, nullptr, nullptr);
  return utf8;
}

}  // namespace tests
