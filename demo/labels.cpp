#include "session.h"

namespace demo {

std::span<const DemoLabel> DemoLabels() {
  // One of each unit, one with print offsets.
  static constexpr DemoLabel kLabels[] = {
      {{258, "Address 4 x 2 in", "4.000", "2.000", "0", "0", 1}, 1016, 508},
      {{259, "Shipping 100 x 150 mm", "100.0", "150.0", "0", "0", 0}, 1000, 1500},
      {{260, "Shelf tag 62 x 29 mm", "620", "290", "0", "0", 2}, 620, 290},
      {{261, "Bottle 3.5 x 4.75 in", "3.500", "4.750", "24", "-60", 1}, 889, 1207},
  };
  return kLabels;
}

void ShowStoredLabels(Session& session) {
  static constexpr const char* kUnits[] = {"mm", "in", "1/10 mm"};
  std::vector<Row> rows;
  for (const auto& stock : platform::ReadLabelStocks(session.installed.printer)) {
    rows.push_back({stock.key, stock.name, stock.width, stock.length, stock.units < 3 ? kUnits[stock.units] : "?",
                    stock.vertical_offset, stock.horizontal_offset});
  }
  session.report.Table({"key", "name", "width", "length", "units", "vert. 1/1200 in", "horz. 1/1200 in"}, rows);
}

void StoreLabels(Session& session) {
  for (const auto& [stock, width, length] : DemoLabels()) {
    const DWORD code = platform::StoreLabelStock(session.installed.printer, stock);
    if (code) session.report.Failed(Format("SetPrinterDataExA for label %d", stock.number), code);
  }
}

void ShowLabelStorage(Session& session) {
  session.report.Section("Label stocks stored as printer data");
  session.report.Road("platform, SetPrinterDataExA, and read again");
  StoreLabels(session);
  ShowStoredLabels(session);
}

}  // namespace demo
