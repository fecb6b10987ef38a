#include "user/trace_files.h"

#include <windows.h>

#include <algorithm>
#include <fstream>
#include <iterator>

namespace user {
namespace {

constexpr wchar_t kFolder[] = L"c:\\temp";

std::string ReadAll(const std::wstring& path) {
  std::ifstream file(path.c_str(), std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

bool WriteAll(const std::wstring& path, const std::string& content) {
  std::ofstream file(path.c_str(), std::ios::binary | std::ios::trunc);
  file << content;
  return static_cast<bool>(file.flush());
}

bool Exists(const std::wstring& path) {
  return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

}  // namespace

TraceFiles::TraceFiles(const std::wstring& module_path) {
  const auto slash = module_path.find_last_of(L'\\');
  const std::wstring base = kFolder + module_path.substr(slash, module_path.size() - slash - 3);
  log_ = base + L"txt";
  mask_ = base + L"dat";
  made_folder_ = CreateDirectoryW(kFolder, nullptr);
  had_log_ = Exists(log_);
  had_mask_ = Exists(mask_);
  if (had_mask_) old_mask_ = ReadAll(mask_);
  read_ = ReadAll(log_).size();
}

TraceFiles::~TraceFiles() {
  if (had_mask_) {
    WriteAll(mask_, old_mask_);
  } else {
    DeleteFileW(mask_.c_str());
  }
  if (!had_log_) DeleteFileW(log_.c_str());
  if (made_folder_) RemoveDirectoryW(kFolder);
}

bool TraceFiles::SwitchOn(int mask) {
  return WriteAll(mask_, std::to_string(mask) + "\n");
}

void TraceFiles::SwitchOff() {
  DeleteFileW(mask_.c_str());
}

std::vector<std::string> TraceFiles::NewLines() {
  const std::string text = ReadAll(log_);
  std::vector<std::string> lines;
  while (read_ < text.size()) {
    const auto end = std::min(text.find('\n', read_), text.size());
    std::string line = text.substr(read_, end - read_);
    if (!line.empty() && line.back() == '\r') line.pop_back();
    lines.push_back(std::move(line));
    read_ = end + 1;
  }
  return lines;
}

}  // namespace user
