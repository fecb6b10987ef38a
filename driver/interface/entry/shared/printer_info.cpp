#include "entry/shared/printer_info.h"

#include <cstdlib>

#include "base/owned.h"
#include "diag/trace.h"

namespace r5lqz {
namespace {

// Somebody may change the printer between the question for the size and the answer.
constexpr int kMostAttempts = 3;

}  // namespace

PRINTER_INFO_2W* MyGetPrinterInfo(HANDLE printer) {
  const TraceScope trace("MyGetPrinterInfo");
  GlobalBlock<PRINTER_INFO_2W> info;
  DWORD size = 0;
  BOOL read = GetPrinterW(printer, 2, nullptr, 0, &size);
  if (read) return nullptr;
  for (int attempt = 0; attempt < kMostAttempts && !read; ++attempt) {
    if (GetLastError() != ERROR_INSUFFICIENT_BUFFER || size < sizeof(PRINTER_INFO_2W)) break;
    info.reset(static_cast<PRINTER_INFO_2W*>(GlobalAlloc(GMEM_FIXED, size)));
    if (!info) break;
    read = GetPrinterW(printer, 2, reinterpret_cast<BYTE*>(info.get()), size, &size);
  }
  return read ? info.release() : nullptr;
}

WCHAR* GetPrinterName(HANDLE printer) {
  DWORD size = 0;
  GetPrinterW(printer, 2, nullptr, 0, &size);
  // Without a printer the size is 0 and the second call says why; the block must still hold what is read from it.
  const DWORD capacity = size < sizeof(PRINTER_INFO_2W) ? DWORD{sizeof(PRINTER_INFO_2W)} : size;
  const RuntimeBlock<PRINTER_INFO_2W> info(static_cast<PRINTER_INFO_2W*>(std::calloc(1, capacity)));
  if (!info) {
    LOG_ERROR("GetPrinterName: malloc failed");
    return nullptr;
  }
  if (!GetPrinterW(printer, 2, reinterpret_cast<BYTE*>(info.get()), capacity, &size)) {
    LOG_ERROR("GetPrinterName: GetPrinter failed: 0x%x", static_cast<unsigned>(GetLastError()));
    return nullptr;
  }
  return info->pPrinterName ? CopyOfText(info->pPrinterName).release() : nullptr;
}

}  // namespace r5lqz
