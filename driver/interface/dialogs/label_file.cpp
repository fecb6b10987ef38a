#include "dialogs/label_file.h"

#include <cstdlib>
#include <cstring>

#include "base/owned.h"
#include "dialogs/label_json.h"

namespace r5lqz {
namespace {

// Bytes. A full list of pages takes some 25 KiB; parsed, a text can take forty times its size of the host's memory.
constexpr LONGLONG kLargestFile = LONGLONG{1024} * 1024;

// No process that the host starts inherits the handle. The name may lead to a pipe, whose other end then learns who the
// user is but cannot act as him.
OwnedHandle OpenFile(const WCHAR* path, DWORD access, DWORD sharing, DWORD disposition) {
  constexpr DWORD kFlags = FILE_ATTRIBUTE_NORMAL | SECURITY_SQOS_PRESENT | SECURITY_IDENTIFICATION;
  const HANDLE file = CreateFileW(path, access, sharing, nullptr, disposition, kFlags, nullptr);
  return OwnedHandle(file == INVALID_HANDLE_VALUE ? nullptr : file);
}

// The file's size; 0 for what has none, such as a device, or one that no list has.
DWORD SizeOf(HANDLE file) {
  LARGE_INTEGER size{};
  if (GetFileType(file) != FILE_TYPE_DISK || !GetFileSizeEx(file, &size)) return 0;
  return size.QuadPart > 0 && size.QuadPart <= kLargestFile ? static_cast<DWORD>(size.QuadPart) : 0;
}

// The file's bytes and a terminator. What is read counts, not what was measured: the file may have changed in between.
RuntimeBlock<char> ReadWhole(const WCHAR* path) {
  const OwnedHandle file = OpenFile(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING);
  const DWORD size = file ? SizeOf(file.get()) : 0;
  if (size == 0) return nullptr;
  RuntimeBlock<char> text(static_cast<char*>(std::malloc(std::size_t{size} + 1)));
  DWORD read = 0;
  if (!text || !ReadFile(file.get(), text.get(), size, &read, nullptr)) return nullptr;
  text.get()[read] = '\0';
  return text;
}

}  // namespace

BOOL ExportPrinterLabels(const PrinterLabel* labels, int count, const WCHAR* path) {
  const auto text = WriteLabelJson({labels, static_cast<std::size_t>(count)});
  if (!text || !path) return FALSE;
  const OwnedHandle file = OpenFile(path, GENERIC_WRITE, FILE_SHARE_WRITE, CREATE_ALWAYS);
  if (!file) return FALSE;
  const auto length = static_cast<DWORD>(std::strlen(text.get()));
  DWORD written = 0;
  return WriteFile(file.get(), text.get(), length, &written, nullptr) && written == length;
}

int ImportPrinterLabels(PrinterLabel* labels, int capacity, const WCHAR* path) {
  if (!path) return 0;
  const auto text = ReadWhole(path);
  return text ? ReadLabelJson(text.get(), {labels, static_cast<std::size_t>(capacity)}) : 0;
}

}  // namespace r5lqz
