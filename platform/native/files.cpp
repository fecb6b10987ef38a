// c:\temp: the one folder that the module writes to, mapped to a folder of this process's own.
#include "native/state.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <unordered_set>

extern "C" {
FILE* __real_fopen(const char* path, const char* mode);
int __real_fclose(FILE* file);
int __real_rename(const char* from, const char* to);
int __real_remove(const char* path);
}

namespace platform {
namespace {

namespace fs = std::filesystem;

// The private folder, removed with the process that made it (not with a forked copy of that process).
struct Root {
  std::string path;
  pid_t owner = 0;
  ~Root() {
    std::error_code ignored;
    if (owner == getpid()) fs::remove_all(path, ignored);
  }
};

std::unordered_set<FILE*> open_files;
bool folder_used = false;    // something may lie in it, or it may be missing
bool folder_shared = false;  // a test knows its name and may write to it at any time

const std::string& RootPath() {
  static Root root = [] {
    std::error_code ignored;
    std::string path = (fs::temp_directory_path(ignored) / "r5lqz-XXXXXX").string();
    if (!mkdtemp(path.data())) ReportMisuse("no temporary folder can be made at", path);
    mkdir((path + "/temp").c_str(), 0700);
    return Root{path, getpid()};
  }();
  return root.path;
}

std::string HostFolder() {
  return RootPath() + "/temp";
}

// The host's name of a path in c:\temp (or of the folder itself); none for any other path.
std::optional<std::string> HostPath(const char* path) {
  constexpr std::string_view kFolder = "c:\\temp";
  const std::string_view text = path ? path : "";
  if (text.size() < kFolder.size()) return std::nullopt;
  for (std::size_t i = 0; i < kFolder.size(); ++i) {
    const char c = text[i] == '/' ? '\\' : static_cast<char>(LowerChar(static_cast<unsigned char>(text[i])));
    if (c != kFolder[i]) return std::nullopt;
  }
  std::string rest(text.substr(kFolder.size()));
  if (!rest.empty() && rest[0] != '\\' && rest[0] != '/') return std::nullopt;
  for (char& c : rest) {
    if (c == '\\') c = '/';
  }
  return HostFolder() + rest;
}

int FailErrno() {
  errno = EIO;
  return -1;
}

}  // namespace

std::string TempFolder() {
  std::lock_guard lock(StateMutex());
  folder_shared = true;
  return HostFolder();
}

void ResetFiles() {
  std::lock_guard lock(StateMutex());
  open_files.clear();
  // Fuzz targets reset before every input: a folder that nobody used costs nothing.
  if (!folder_used && !folder_shared) return;
  folder_used = false;
  std::error_code ignored;
  mkdir(HostFolder().c_str(), 0700);
  for (const auto& entry : fs::directory_iterator(HostFolder(), ignored)) fs::remove_all(entry.path(), ignored);
}

void AddFiles(Balance& balance) {
  std::lock_guard lock(StateMutex());
  balance.files += static_cast<std::int64_t>(open_files.size());
}

}  // namespace platform

using platform::Call;
using platform::CallScope;

extern "C" {

FILE* __wrap_fopen(const char* path, const char* mode) {
  const auto host = platform::HostPath(path);
  if (!host) return __real_fopen(path, mode);
  CallScope call(Call::kfopen);
  if (call.failed()) {
    errno = EACCES;
    return nullptr;
  }
  FILE* file = __real_fopen(host->c_str(), mode);
  if (file) {
    std::lock_guard lock(platform::StateMutex());
    platform::open_files.insert(file);
    platform::folder_used = true;
  }
  return file;
}

int __wrap_fclose(FILE* file) {
  {
    std::unique_lock lock(platform::StateMutex());
    if (platform::open_files.erase(file) == 0) {
      lock.unlock();
      return __real_fclose(file);
    }
  }
  CallScope call(Call::kfclose);
  const int result = __real_fclose(file);
  return call.failed() ? platform::FailErrno() : result;
}

int __wrap_rename(const char* from, const char* to) {
  const auto host_from = platform::HostPath(from);
  const auto host_to = platform::HostPath(to);
  if (!host_from || !host_to) return __real_rename(from, to);
  CallScope call(Call::krename);
  if (call.failed()) return platform::FailErrno();
  // Unlike here, a file of the new name stands in the way on Windows.
  if (access(host_to->c_str(), F_OK) == 0) {
    errno = EEXIST;
    return -1;
  }
  return __real_rename(host_from->c_str(), host_to->c_str());
}

int __wrap_remove(const char* path) {
  const auto host = platform::HostPath(path);
  if (!host) return __real_remove(path);
  CallScope call(Call::kremove);
  return call.failed() ? platform::FailErrno() : __real_remove(host->c_str());
}

DWORD WINAPI GetFileAttributesA(LPCSTR path) {
  CallScope call(Call::kGetFileAttributesA);
  if (call.failed()) return call.Fail(INVALID_FILE_ATTRIBUTES);
  const auto host = platform::HostPath(path);
  struct stat info;
  if (host && stat(host->c_str(), &info) == 0) {
    return S_ISDIR(info.st_mode) ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_ARCHIVE;
  }
  const bool has_folder = host && access(platform::HostFolder().c_str(), F_OK) == 0;
  return platform::FailWith(has_folder ? ERROR_FILE_NOT_FOUND : ERROR_PATH_NOT_FOUND, INVALID_FILE_ATTRIBUTES);
}

}  // extern "C"
