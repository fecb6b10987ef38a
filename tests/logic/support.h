// What the tests of the module's logic share: a printer in the in-memory spooler, records in blocks of exactly their
// size, calls as the spooler's client makes them, and the trace log as lines.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <fstream>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "diag/trace.h"
#include "base/printer_interface.h"
#include "labels/label_store.h"
#include "native/control.h"
#include "settings/conversion.h"

namespace r5lqz {

inline constexpr char kPrinterName[] = "Labels";
inline constexpr char kDriverName[] = "Brindlewick R5-LQZ";

using Lines = std::vector<std::string>;

// A wide text of ASCII characters as a narrow one that can be compared and printed.
inline std::string Text(const WCHAR* wide) {
  std::string narrow;
  for (; *wide; ++wide) narrow += static_cast<char>(*wide);
  return narrow;
}

// A settings record in a heap block of exactly the bytes that its header claims, unless told otherwise; everything
// behind the header is poisoned until the test sets it.
class Record {
 public:
  Record(WORD public_size, WORD private_size, WORD spec_version = 0x0401)
      : size_(std::max<std::size_t>(std::size_t{public_size} + private_size, kFormEnd)), bytes_(new BYTE[size_]) {
    std::memset(bytes_.get(), 0xA5, size_);
    PutForm(get(), {spec_version, 0x0401, public_size, private_size});
  }
  // A copy of a complete record.
  explicit Record(const DriverDevMode& whole) : Record(kPublicSize, kPrivateSize) {
    std::memcpy(bytes_.get(), &whole, sizeof whole);
  }
  DEVMODEW* get() const { return reinterpret_cast<DEVMODEW*>(bytes_.get()); }
  DEVMODEW* operator->() const { return get(); }
  DriverDevMode& whole() const { return *reinterpret_cast<DriverDevMode*>(bytes_.get()); }
  std::span<const std::byte> span() const { return std::as_bytes(std::span(bytes_.get(), size_)); }
  std::string bytes() const { return {reinterpret_cast<const char*>(bytes_.get()), size_}; }

 private:
  std::size_t size_;
  std::unique_ptr<BYTE[]> bytes_;
};

inline void StoreLabel(int id, const char* name, const char* width = "50", const char* length = "60",
                       DWORD units = kMillimetres, const char* vertical = "0", const char* horizontal = "0") {
  const std::string key = "Label Sizes\\" + std::to_string(id);
  platform::SetDataDword(kPrinterName, key, "version", 1);
  platform::SetDataText(kPrinterName, key, "name", name);
  platform::SetDataText(kPrinterName, key, "width", width);
  platform::SetDataText(kPrinterName, key, "length", length);
  platform::SetDataText(kPrinterName, key, "vertOffset", vertical);
  platform::SetDataText(kPrinterName, key, "horzOffset", horizontal);
  platform::SetDataDword(kPrinterName, key, "units", units);
}

// The document-properties call without a window.
inline LONG DocumentProperties(HANDLE printer, DEVMODEW* in, DEVMODEW* out, DWORD mode) {
  DOCUMENTPROPERTYHEADER header{sizeof header, 0, printer, nullptr, in, out, 0xDEAD, mode};
  const LONG result = DrvDocumentPropertySheets(nullptr, reinterpret_cast<LPARAM>(&header));
  EXPECT_EQ(header.cbOut, 864u);
  return result;
}

inline BOOL QueryPrint(HANDLE printer, DEVMODEW* job) {
  WCHAR text[4] = {0xA5A5, 0xA5A5};
  DEVQUERYPRINT_INFO info{sizeof info, 1, printer, job, text, 4, 0xA5};
  const BOOL result = DevQueryPrintEx(&info);
  EXPECT_TRUE(text[0] == 0xA5A5 && info.cchNeeded == 0xA5) << "no reason is given";
  return result;
}

// Every test has a printer with an open handle, and must leave nothing open behind.
class ModuleTest : public testing::Test {
 protected:
  ModuleTest() {
    platform::Reset();
    log_mask = 0;
    // The paths of the trace files are built once in a process; they are nobody's leak.
    LogMessage(kErrorLevel, "first");
    LoadLogMask();
    platform::Reset();
    platform::AddPrinter(kPrinterName, kDriverName);
    printer_ = platform::OpenTestPrinter(kPrinterName);
    platform::WatchRuntimeHeap(true);
  }
  ~ModuleTest() override {
    platform::WatchRuntimeHeap(false);
    log_mask = 0;
    EXPECT_EQ(platform::LiveBalance(), platform::Balance{});
  }

  HANDLE printer() const { return printer_; }

  DriverDevMode Defaults() const {
    DriverDevMode record;
    SetupDefaultDevMode(record, nullptr, printer_);
    return record;
  }

  std::vector<PrinterLabel> Labels(LONG capacity = kMostLabels) const {
    std::vector<PrinterLabel> labels(static_cast<std::size_t>(capacity));
    LONG count = -1;
    EXPECT_EQ(ReadPrinterLabelList(printer_, labels.data(), capacity, &count), ERROR_SUCCESS);
    labels.resize(static_cast<std::size_t>(count));
    return labels;
  }

  static std::string LogFile(const char* name = "r5-lqz-ui.txt") { return platform::TempFolder() + "/" + name; }

  // The log's records without their time and thread.
  static Lines LogLines() {
    Lines lines;
    std::ifstream file(LogFile());
    for (std::string line; std::getline(file, line);) lines.push_back(line.substr(line.find("] ", 30) + 2));
    return lines;
  }

 private:
  HANDLE printer_;
};

}  // namespace r5lqz
