#include "dialogs/label_file.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "diag/owned.h"
#include "dialogs/label_json.h"

namespace r5lqz {
namespace {

// Far above what any list of pages takes: a file that somebody chose by mistake must not fill the host's memory.
constexpr long kLargestFile = 64L * 1024 * 1024;

OwnedHandle CreateOutput(const WCHAR* path) {
  const HANDLE file =
      CreateFileW(path, GENERIC_WRITE, FILE_SHARE_WRITE, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  return OwnedHandle(file == INVALID_HANDLE_VALUE ? nullptr : file);
}

// The file's size; 0 for what has none, such as a device.
long SizeOf(std::FILE* file) {
  if (std::fseek(file, 0, SEEK_END) != 0) return 0;
  const long size = std::ftell(file);
  return std::fseek(file, 0, SEEK_SET) == 0 && size > 0 && size <= kLargestFile ? size : 0;
}

// The file's bytes and a terminator. What is read counts, not what was measured: the file may have changed in between.
RuntimeBlock<char> ReadWhole(const WCHAR* path) {
  const OwnedFile file(_wfopen(path, L"rb"));
  if (!file) return nullptr;
  const auto size = static_cast<std::size_t>(SizeOf(file.get()));
  RuntimeBlock<char> text(static_cast<char*>(std::malloc(size + 1)));
  if (text) text.get()[std::fread(text.get(), 1, size, file.get())] = '\0';
  return text;
}

}  // namespace

BOOL ExportPrinterLabels(const PrinterLabel* labels, int count, const WCHAR* path) {
  const auto text = WriteLabelJson({labels, static_cast<std::size_t>(count)});
  if (!text || !path) return FALSE;
  const OwnedHandle file = CreateOutput(path);
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
