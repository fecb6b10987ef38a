#include "base/plain_file.h"

#if defined(_WIN32)
#include <winternl.h>
#endif

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <span>

#include "base/bounded_text.h"
#if defined(_WIN32)
#include "base/open_beneath.h"
#endif

namespace r5lqz {
namespace {

using WidePath = std::array<WCHAR, MAX_PATH>;

constexpr DWORD kRecallOnDataAccess = 0x00400000;  // FILE_ATTRIBUTE_RECALL_ON_DATA_ACCESS

// A link, or what some service has yet to fetch, for which whoever reads or writes it would wait.
constexpr DWORD kElsewhere = FILE_ATTRIBUTE_REPARSE_POINT | FILE_ATTRIBUTE_OFFLINE | kRecallOnDataAccess;

constexpr std::size_t kFinalPrefixLength = std::size(kFinalPrefix) - 1;

WidePath WidePathOf(const char* path) {
  return WidenText<MAX_PATH>(TextAt(path, MAX_PATH));
}

#if defined(_WIN32)

// How much of a full path is its folder; 0 when it has none.
std::size_t FolderLength(std::span<const WCHAR> path) {
  const auto separator = std::find(path.rbegin(), path.rend(), L'\\');
  return static_cast<std::size_t>(std::max<std::ptrdiff_t>(path.rend() - separator - 1, 0));
}

// The folder, no link to one. A link in the place of a file in it is then opened itself, not what it leads to.
OwnedHandle OpenFolder(std::span<const WCHAR> path, ACCESS_MASK access = FILE_TRAVERSE) {
  OwnedHandle folder = OpenFullPath(path, access, FILE_DIRECTORY_FILE | FILE_OPEN_REPARSE_POINT);
  FILE_ATTRIBUTE_TAG_INFO tag{};
  if (folder && (!GetFileInformationByHandleEx(folder.get(), FileAttributeTagInfo, &tag, sizeof tag) ||
                 (tag.FileAttributes & kElsewhere))) {
    folder.reset();
  }
  return folder;
}

OwnedHandle Open(const char* path, DWORD access, DWORD disposition) {
  const WidePath wide = WidePathOf(path);
  const auto text = TextIn(std::span<const WCHAR>(wide));
  const std::size_t folder_length = FolderLength(text);
  if (folder_length == 0) return nullptr;
  const OwnedHandle folder = OpenFolder(text.first(folder_length));
  if (!folder) {
    SetLastError(ERROR_PATH_NOT_FOUND);
    return nullptr;
  }
  return OpenBeneath(folder.get(), text.subspan(folder_length + 1), access,
                     disposition == CREATE_NEW ? FILE_CREATE : FILE_OPEN,
                     FILE_NON_DIRECTORY_FILE | FILE_OPEN_REPARSE_POINT);
}

// The system itself opens the folder in which a file gets a name, to write and waiting: while we have it open like that
// nobody can have it in a way for which that would wait. None when somebody has.
OwnedHandle HoldForRenaming(std::span<const WCHAR> path) {
  return OpenFolder(path.first(FolderLength(path)), FILE_TRAVERSE | FILE_ADD_FILE);
}

#else

OwnedHandle Open(const char* path, DWORD access, DWORD disposition) {
  const HANDLE handle = CreateFileA(path, access, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, disposition,
                                    FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
  return OwnedHandle(handle != INVALID_HANDLE_VALUE ? handle : nullptr);
}

bool HoldForRenaming(std::span<const WCHAR>) {
  return true;
}

#endif

// Whether the file is where `path` says: a link among the folders, and whatever else a path can be led away by, shows
// in the path that the file really has. Not every platform opens a link in the file's own place when asked to; that
// shows here too.
bool IsAt(HANDLE file, const char* path) {
  const WidePath wanted = WidePathOf(path);
  const FinalPath found = FinalPathOf(file);
  return std::equal(kFinalPrefix, kFinalPrefix + kFinalPrefixLength, found.begin()) &&
         CompareStringOrdinal(found.data() + kFinalPrefixLength, -1, wanted.data(), -1, TRUE) == CSTR_EQUAL;
}

bool IsPlain(HANDLE file, const char* path, LONGLONG& size) {
  return IsPlainFile(file, size) && IsAt(file, path);
}

// Only a first look: what is made in a folder that becomes a link afterwards is taken away again.
bool IsInFolderProper(const char* path) {
  std::array<char, MAX_PATH> folder{};
  CopyBounded(std::span(folder), path);
  char* const name = std::strrchr(folder.data(), '\\');
  if (!name) return false;
  *name = '\0';
  const DWORD attributes = GetFileAttributesA(folder.data());
  return attributes != INVALID_FILE_ATTRIBUTES && !(attributes & kElsewhere);
}

}  // namespace

FinalPath FinalPathOf(HANDLE file) {
  FinalPath path{};
  const DWORD length = GetFinalPathNameByHandleW(file, path.data(), static_cast<DWORD>(path.size()), 0);
  if (length == 0 || length >= path.size()) path = {};
  return path;
}

bool IsPlainFile(HANDLE file, LONGLONG& size) {
  FILE_STANDARD_INFO standard{};
  FILE_ATTRIBUTE_TAG_INFO tag{};
  if (GetFileType(file) != FILE_TYPE_DISK ||
      !GetFileInformationByHandleEx(file, FileStandardInfo, &standard, sizeof standard) ||
      !GetFileInformationByHandleEx(file, FileAttributeTagInfo, &tag, sizeof tag)) {
    return false;
  }
  size = standard.EndOfFile.QuadPart;
  return !standard.Directory && standard.NumberOfLinks == 1 && !(tag.FileAttributes & kElsewhere);
}

bool DeleteOpened(HANDLE file) {
  FILE_DISPOSITION_INFO disposition{TRUE};
  return SetFileInformationByHandle(file, FileDispositionInfo, &disposition, sizeof disposition) != FALSE;
}

PlainFile OpenPlainFile(const char* path, DWORD access) {
  PlainFile file{Open(path, access, OPEN_EXISTING)};
  if (file.handle && !IsPlain(file.handle.get(), path, file.size)) {
    file.handle.reset();
    SetLastError(ERROR_ACCESS_DENIED);
  }
  return file;
}

bool CreatePlainFile(const char* path) {
  if (!IsInFolderProper(path)) return false;
  const OwnedHandle file = Open(path, DELETE, CREATE_NEW);
  LONGLONG size = 0;
  if (!file || IsPlain(file.get(), path, size)) return file != nullptr;
  DeleteOpened(file.get());
  return false;
}

// By the handle, which keeps the file's folder from becoming another: by their names both paths could be led elsewhere.
bool RenamePlainFile(const char* from, const char* to) {
  struct {
    FILE_RENAME_INFO info;
    WCHAR rest[MAX_PATH];
  } renaming{};
  const WidePath target = WidePathOf(to);
  const auto name = TextIn(std::span<const WCHAR>(target));
  if (name.empty()) return false;
  renaming.info.FileNameLength = static_cast<DWORD>(name.size_bytes());
  std::memcpy(reinterpret_cast<std::byte*>(&renaming) + offsetof(FILE_RENAME_INFO, FileName), name.data(),
              name.size_bytes());
  const auto folder = HoldForRenaming(name);
  const PlainFile file = OpenPlainFile(from, DELETE);
  return folder && file.handle &&
         SetFileInformationByHandle(file.handle.get(), FileRenameInfo, &renaming, sizeof renaming);
}

bool DeletePlainFile(const char* path) {
  const PlainFile file = OpenPlainFile(path, DELETE);
  return file.handle && DeleteOpened(file.handle.get());
}

}  // namespace r5lqz
