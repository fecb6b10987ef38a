#include <array>

#include "session.h"

namespace demo {
namespace {

constexpr DWORD kNoAnswer = static_cast<DWORD>(-1);

// Papers are asked of the loaded driver: this platform's query hands it no printer, and a printer's papers are its
// own label stocks.
DWORD AskDriver(Session& session, WORD capability, void* output = nullptr) {
  auto& installed = session.installed;
  const DWORD answer = installed.entries.DeviceCapabilities(installed.printer, installed.printer_name.data(),
                                                            capability, output, nullptr);
  if (answer == kNoAnswer) session.report.Failed(Format("DrvDeviceCapabilities(%u)", capability), GetLastError());
  return answer;
}

DWORD AskPlatform(Session& session, WORD capability, void* output = nullptr) {
  const int answer = DeviceCapabilitiesW(session.installed.printer_name.c_str(), L"FILE:", capability,
                                         static_cast<wchar_t*>(output), nullptr);
  if (answer == -1) session.report.Failed(Format("DeviceCapabilitiesW(%u)", capability), GetLastError());
  return static_cast<DWORD>(answer);
}

std::string TenthsAsMillimetres(LONG width, LONG length) {
  return Format("%.1f x %.1f mm", static_cast<double>(width) / 10, static_cast<double>(length) / 10);
}

Row BinRow(Session& session) {
  WORD number = 0;
  wchar_t name[24]{};
  const DWORD bins = AskPlatform(session, DC_BINS);
  const DWORD names = AskPlatform(session, DC_BINNAMES);
  // The space above is for one.
  if (!session.report.Expect(bins == 1 && names == 1, "one bin with one name")) return {"bins", "?"};
  AskPlatform(session, DC_BINS, &number);
  AskPlatform(session, DC_BINNAMES, name);
  return {"bins", Format("%u %s", number, Narrow(name, std::size(name)).c_str())};
}

Row ResolutionRow(Session& session) {
  const DWORD count = AskPlatform(session, DC_ENUMRESOLUTIONS);
  std::array<LONG, 6> pairs{};
  if (!session.report.Expect(count == pairs.size() / 2, "three resolutions")) return {"resolutions", "?"};
  AskPlatform(session, DC_ENUMRESOLUTIONS, pairs.data());
  std::string text;
  for (std::size_t i = 0; i < pairs.size(); i += 2) {
    text += Format("%s%ld x %ld", text.empty() ? "" : ", ", pairs[i], pairs[i + 1]);
  }
  return {"resolutions", text + " dpi"};
}

Row ExtentRow(Session& session, const char* what, WORD capability) {
  const DWORD packed = AskPlatform(session, capability);
  return {what, TenthsAsMillimetres(LOWORD(packed), HIWORD(packed))};
}

}  // namespace

void ShowPapers(Session& session) {
  session.report.Section("Papers");
  session.report.Road("the loaded driver's DrvDeviceCapabilities with an open printer handle, as a spooler calls it");
  const auto labels = DemoLabels();
  const DWORD count = AskDriver(session, DC_PAPERS);
  if (!session.report.Expect(count == labels.size(), Format("%zu papers, got %lu", labels.size(), count))) return;

  std::vector<WORD> numbers(count);
  std::vector<POINT> sizes(count);
  std::vector<std::array<wchar_t, 64>> names(count);
  AskDriver(session, DC_PAPERS, numbers.data());
  AskDriver(session, DC_PAPERSIZE, sizes.data());
  AskDriver(session, DC_PAPERNAMES, names.data());

  std::vector<Row> rows;
  for (DWORD i = 0; i < count; ++i) {
    const std::string name = Narrow(names[i].data(), names[i].size());
    rows.push_back({Format("%u", numbers[i]), name, TenthsAsMillimetres(sizes[i].x, sizes[i].y)});
    const auto& [stock, width, length] = labels[i];
    session.report.Expect(
        numbers[i] == stock.number && name == stock.name && sizes[i].x == width && sizes[i].y == length,
        Format("label %d \"%s\" in this place", stock.number, stock.name));
  }
  session.report.Table({"number", "name", "size"}, rows);
  printf("   DeviceCapabilitiesW itself names no printer to the driver here and so finds %d papers.\n",
         DeviceCapabilitiesW(session.installed.printer_name.c_str(), L"FILE:", DC_PAPERS, nullptr, nullptr));
}

void ShowCapabilities(Session& session) {
  session.report.Section("Bins, resolutions, extents and the rest");
  session.report.Road("platform, DeviceCapabilitiesW");
  std::vector<Row> rows{BinRow(session), ResolutionRow(session), ExtentRow(session, "smallest paper", DC_MINEXTENT),
                        ExtentRow(session, "largest paper", DC_MAXEXTENT)};

  const DWORD size = AskPlatform(session, DC_SIZE);
  const DWORD extra = AskPlatform(session, DC_EXTRA);
  rows.push_back({"settings record", Format("%lu + %lu bytes", size, extra)});
  session.report.Expect(size == 220 && extra == 644, "a record of 220 + 644 bytes");
  rows.push_back({"versions", Format("record 0x%04lx, driver 0x%04lx", AskPlatform(session, DC_VERSION),
                                     AskPlatform(session, DC_DRIVER))});
  rows.push_back({"settable fields", Format("0x%08lx", AskPlatform(session, DC_FIELDS))});
  rows.push_back({"landscape turns by", Format("%lu degrees", AskPlatform(session, DC_ORIENTATION))});
  rows.push_back({"copies", Format("%lu", AskPlatform(session, DC_COPIES))});
  rows.push_back({"duplex", Format("%lu", AskPlatform(session, DC_DUPLEX))});
  rows.push_back({"TrueType", Format("%lu", AskPlatform(session, DC_TRUETYPE))});
  rows.push_back({"dependent files", Format("%lu", AskPlatform(session, DC_FILEDEPENDENCIES))});
  session.report.Table({"capability", "answer"}, rows);
}

}  // namespace demo
