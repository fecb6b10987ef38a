// c:\temp: the one folder that the module writes to, mapped to a folder of this process's own.
#include "native/state.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <unordered_map>

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

std::unordered_map<HANDLE, int> open_files;  // with their descriptors
std::uint64_t bytes_asked = 0;
bool folder_used = false;    // something may lie in it, or it may be missing
bool folder_shared = false;  // a test knows its name and may write to it at any time

const std::string& RootPath() {
  static Root root = [] {
    std::error_code ignored;
    std::string path = (fs::canonical(fs::temp_directory_path(ignored), ignored) / "r5lqz-XXXXXX").string();
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

// The descriptor of an open file, -1 without one.
int Find(HANDLE handle) {
  const auto found = open_files.find(handle);
  return found == open_files.end() ? -1 : found->second;
}

// What the last step of a file operation failed with.
DWORD ErrorOfHost() {
  switch (errno) {
    case ENOENT:
      return access(HostFolder().c_str(), F_OK) == 0 ? ERROR_FILE_NOT_FOUND : ERROR_PATH_NOT_FOUND;
    case EEXIST:
      return ERROR_FILE_EXISTS;
    default:
      return ERROR_ACCESS_DENIED;
  }
}

// What is no file can be looked at but neither read nor written; nor can a link that is opened itself.
int OpenOnHost(const std::string& path, DWORD access, DWORD disposition, bool follow) {
  struct stat info;
  const bool there = (follow ? stat : lstat)(path.c_str(), &info) == 0;
  const int link = follow ? 0 : O_NOFOLLOW;
  if (there && S_ISDIR(info.st_mode)) return errno = EISDIR, -1;
  if (there && !S_ISREG(info.st_mode) && disposition == OPEN_EXISTING) return open(path.c_str(), O_PATH | link);
  int flags = O_CLOEXEC | link | (disposition == CREATE_NEW ? O_CREAT | O_EXCL : 0);
  flags |= access & FILE_APPEND_DATA ? O_WRONLY | O_APPEND : O_RDONLY;
  return open(path.c_str(), flags, 0600);
}

// The path that an open file really has on the host.
std::string HostPathOf(int file) {
  std::error_code ignored;
  return fs::read_symlink("/proc/self/fd/" + std::to_string(file), ignored).string();
}

}  // namespace

std::string TempFolder() {
  std::lock_guard lock(StateMutex());
  folder_shared = true;
  return HostFolder();
}

void ResetFiles() {
  std::lock_guard lock(StateMutex());
  for (const auto& file : open_files) close(file.second);
  open_files.clear();
  bytes_asked = 0;
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

bool CloseFile(HANDLE handle) {
  const auto found = open_files.find(handle);
  if (found == open_files.end()) return false;
  close(found->second);
  open_files.erase(found);
  return true;
}

std::uint64_t BytesAsked() {
  std::lock_guard lock(StateMutex());
  return bytes_asked;
}

}  // namespace platform

using platform::Call;
using platform::CallScope;

extern "C" {

HANDLE WINAPI CreateFileA(LPCSTR path, DWORD access, DWORD, LPSECURITY_ATTRIBUTES, DWORD disposition, DWORD flags,
                          HANDLE) {
  CallScope call(Call::kCreateFileA);
  if (call.failed()) return call.Fail(INVALID_HANDLE_VALUE);
  const auto host = platform::HostPath(path);
  if (!host) return platform::FailWith(ERROR_PATH_NOT_FOUND, INVALID_HANDLE_VALUE);
  if (disposition != OPEN_EXISTING && disposition != CREATE_NEW) {
    platform::ReportMisuse("no such way of opening a file:", std::to_string(disposition));
  }
  std::lock_guard lock(platform::StateMutex());
  platform::folder_used = true;
  const int file = platform::OpenOnHost(*host, access, disposition, !(flags & FILE_FLAG_OPEN_REPARSE_POINT));
  if (file < 0) return platform::FailWith(platform::ErrorOfHost(), INVALID_HANDLE_VALUE);
  return platform::open_files.emplace(platform::NewHandle(), file).first->first;
}

DWORD WINAPI GetFileType(HANDLE handle) {
  CallScope call(Call::kGetFileType);
  if (call.failed()) return call.Fail(FILE_TYPE_UNKNOWN);
  std::lock_guard lock(platform::StateMutex());
  struct stat info;
  if (fstat(platform::Find(handle), &info) != 0) return platform::FailWith(ERROR_INVALID_HANDLE, FILE_TYPE_UNKNOWN);
  return S_ISFIFO(info.st_mode) ? FILE_TYPE_PIPE : S_ISCHR(info.st_mode) ? FILE_TYPE_CHAR : FILE_TYPE_DISK;
}

BOOL WINAPI GetFileInformationByHandleEx(HANDLE handle, FILE_INFO_BY_HANDLE_CLASS kind, LPVOID answer, DWORD size) {
  CallScope call(Call::kGetFileInformationByHandleEx);
  if (call.failed()) return call.Fail(FALSE);
  std::lock_guard lock(platform::StateMutex());
  struct stat info;
  if (fstat(platform::Find(handle), &info) != 0) return platform::FailWith(ERROR_INVALID_HANDLE, FALSE);
  if (kind == FileStandardInfo && size >= sizeof(FILE_STANDARD_INFO)) {
    FILE_STANDARD_INFO standard{};
    standard.EndOfFile.QuadPart = info.st_size;
    standard.NumberOfLinks = static_cast<DWORD>(info.st_nlink);
    std::memcpy(answer, &standard, sizeof standard);
  } else if (kind == FileAttributeTagInfo && size >= sizeof(FILE_ATTRIBUTE_TAG_INFO)) {
    const bool link = S_ISLNK(info.st_mode);
    const FILE_ATTRIBUTE_TAG_INFO tag{link ? DWORD{FILE_ATTRIBUTE_REPARSE_POINT} : DWORD{FILE_ATTRIBUTE_ARCHIVE},
                                      link ? DWORD{IO_REPARSE_TAG_SYMLINK} : 0};
    std::memcpy(answer, &tag, sizeof tag);
  } else {
    return platform::FailWith(ERROR_INVALID_PARAMETER, FALSE);
  }
  return TRUE;
}

DWORD WINAPI GetFinalPathNameByHandleW(HANDLE handle, LPWSTR text, DWORD size, DWORD) {
  CallScope call(Call::kGetFinalPathNameByHandleW);
  if (call.failed()) return call.Fail(0u);
  std::lock_guard lock(platform::StateMutex());
  const int file = platform::Find(handle);
  if (file < 0) return platform::FailWith(ERROR_INVALID_HANDLE, 0u);
  std::string path = platform::HostPathOf(file);
  // What lies elsewhere on the host is on a drive of its own.
  const std::string folder = platform::HostFolder();
  path = path.starts_with(folder + "/") ? "\\\\?\\C:\\temp" + path.substr(folder.size()) : "\\\\?\\Z:" + path;
  std::u16string wide = platform::Widen(path);
  std::replace(wide.begin(), wide.end(), u'/', u'\\');
  const auto length = static_cast<DWORD>(wide.size());
  if (length >= size) return length + 1;
  std::copy_n(wide.c_str(), length + 1, text);
  return length;
}

BOOL WINAPI ReadFile(HANDLE handle, LPVOID bytes, DWORD size, LPDWORD read_size, LPOVERLAPPED) {
  CallScope call(Call::kReadFile);
  *read_size = 0;
  if (call.failed()) return call.Fail(FALSE);
  std::lock_guard lock(platform::StateMutex());
  platform::bytes_asked += size;
  const ssize_t done = read(platform::Find(handle), bytes, size);
  if (done < 0) return platform::FailWith(ERROR_ACCESS_DENIED, FALSE);
  *read_size = static_cast<DWORD>(done);
  return TRUE;
}

BOOL WINAPI WriteFile(HANDLE handle, LPCVOID bytes, DWORD size, LPDWORD written, LPOVERLAPPED) {
  CallScope call(Call::kWriteFile);
  *written = 0;
  if (call.failed()) return call.Fail(FALSE);
  std::lock_guard lock(platform::StateMutex());
  const ssize_t done = write(platform::Find(handle), bytes, size);
  if (done < 0) return platform::FailWith(ERROR_ACCESS_DENIED, FALSE);
  *written = static_cast<DWORD>(done);
  return TRUE;
}

// Renames, without replacing anything, and deletes.
BOOL WINAPI SetFileInformationByHandle(HANDLE handle, FILE_INFO_BY_HANDLE_CLASS kind, LPVOID change, DWORD size) {
  CallScope call(Call::kSetFileInformationByHandle);
  if (call.failed()) return call.Fail(FALSE);
  std::lock_guard lock(platform::StateMutex());
  const int file = platform::Find(handle);
  if (file < 0) return platform::FailWith(ERROR_INVALID_HANDLE, FALSE);
  const std::string path = platform::HostPathOf(file);
  if (kind == FileDispositionInfo) {
    return unlink(path.c_str()) == 0 ? TRUE : platform::FailWith(platform::ErrorOfHost(), FALSE);
  }
  if (kind != FileRenameInfo || size < sizeof(FILE_RENAME_INFO)) {
    return platform::FailWith(ERROR_INVALID_PARAMETER, FALSE);
  }
  const auto* const renaming = static_cast<const FILE_RENAME_INFO*>(change);
  const auto name = platform::View(renaming->FileName).substr(0, renaming->FileNameLength / sizeof(WCHAR));
  const auto to = platform::HostPath(platform::Narrow(name).c_str());
  if (!to) return platform::FailWith(ERROR_PATH_NOT_FOUND, FALSE);
  if (access(to->c_str(), F_OK) == 0) return platform::FailWith(ERROR_ALREADY_EXISTS, FALSE);
  return rename(path.c_str(), to->c_str()) == 0 ? TRUE : platform::FailWith(platform::ErrorOfHost(), FALSE);
}

DWORD WINAPI GetFileAttributesA(LPCSTR path) {
  CallScope call(Call::kGetFileAttributesA);
  if (call.failed()) return call.Fail(INVALID_FILE_ATTRIBUTES);
  const auto host = platform::HostPath(path);
  struct stat info;
  if (host && lstat(host->c_str(), &info) == 0) {
    if (S_ISLNK(info.st_mode)) return FILE_ATTRIBUTE_REPARSE_POINT;
    return S_ISDIR(info.st_mode) ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_ARCHIVE;
  }
  const bool has_folder = host && access(platform::HostFolder().c_str(), F_OK) == 0;
  return platform::FailWith(has_folder ? ERROR_FILE_NOT_FOUND : ERROR_PATH_NOT_FOUND, INVALID_FILE_ATTRIBUTES);
}

}  // extern "C"
