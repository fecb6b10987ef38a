#include "settings.h"

#include <winspool.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "record_text.h"

namespace demo {
namespace {

constexpr WORD kOtherPrivateSize = 48;

// What a record asks for: a public setting whose bit is clear is not asked, whatever stands in its place.
std::string Asked(const Field& field, const Record& record) {
  const bool asked = !field.bit || (record.dm_public.dmFields & field.bit);
  return asked ? field.text(record.dm_public) : kAbsent;
}

}  // namespace

std::optional<Record> AskPlatform(Session& session, const char* what, Record* asked) {
  auto& installed = session.installed;
  auto* name = installed.printer_name.data();
  const LONG size = DocumentPropertiesW(nullptr, installed.printer, name, nullptr, nullptr, 0);
  if (size != static_cast<LONG>(sizeof(Record))) {
    session.report.Failed(Format("DocumentPropertiesW for the record's size answered %ld", size), GetLastError());
    return {};
  }
  Record back{};
  const DWORD mode = DM_OUT_BUFFER | (asked ? DM_IN_BUFFER : 0);
  const LONG result =
      DocumentPropertiesW(nullptr, installed.printer, name, &back.dm_public, asked ? &asked->dm_public : nullptr, mode);
  if (result != 1) {
    session.report.Failed(Format("DocumentPropertiesW for %s answered %ld", what, result), GetLastError());
    return {};
  }
  return back;
}

void ShowAskedAndBack(const Report& report, const Record& defaults, const Record& asked, const Record& back) {
  std::vector<Row> rows;
  for (const auto& field : Fields()) {
    const std::string usual = field.text(defaults.dm_public);
    const std::string request = Asked(field, asked);
    const std::string answer = field.text(back.dm_public);
    const bool unusual_request = request != kAbsent && request != usual;
    const bool unusual_answer = answer != kAbsent && answer != (request == kAbsent ? usual : request);
    if (unusual_request || unusual_answer) rows.push_back({field.label, request, answer});
  }
  report.Table({"setting", "asked", "came back"}, rows);
}

void ShowChanges(const Report& report, const Record& before, const Record& after) {
  std::vector<Row> rows;
  for (const auto& field : Fields()) {
    Row row{field.label, field.text(before.dm_public), field.text(after.dm_public)};
    if (row[1] != row[2]) rows.push_back(std::move(row));
  }
  if (rows.empty()) {
    printf("   no setting changed\n");
  } else {
    report.Table({"setting", "before", "after"}, rows);
  }
}

bool SameSettings(const Record& one, const Record& other) {
  return std::ranges::all_of(
      Fields(), [&](const Field& field) { return field.text(one.dm_public) == field.text(other.dm_public); });
}

namespace {

Record LabelByNumber(Session&, const Record& defaults) {
  Record asked = defaults;
  asked.dm_public.dmFields = DM_PAPERSIZE;
  asked.dm_public.dmPaperSize = static_cast<short>(DemoLabels()[3].stock.number);
  return asked;
}

bool IsChosenLabel(const Record& back) {
  const auto& label = DemoLabels()[3];
  return back.dm_public.dmPaperSize == label.stock.number && back.dm_public.dmPaperWidth == label.width &&
         back.dm_public.dmPaperLength == label.length && back.dm_private.vertOffset == 24 &&
         back.dm_private.horzOffset == -60 && !strcmp(back.dm_private.labelName, label.stock.name);
}

Record CustomSize(Session&, const Record& defaults) {
  Record asked = defaults;
  asked.dm_public.dmFields = DM_PAPERSIZE | DM_PAPERWIDTH | DM_PAPERLENGTH;
  asked.dm_public.dmPaperSize = DMPAPER_USER;
  asked.dm_public.dmPaperWidth = 605;
  asked.dm_public.dmPaperLength = 9999;  // longer than the printer can
  return asked;
}

bool IsCustomSize(const Record& back) {
  return back.dm_public.dmPaperSize == DMPAPER_USER && back.dm_public.dmPaperWidth == 605 &&
         back.dm_public.dmPaperLength == 1270;
}

Record Landscape(Session&, const Record& defaults) {
  Record asked = defaults;
  asked.dm_public.dmFields = DM_ORIENTATION;
  asked.dm_public.dmOrientation = DMORIENT_LANDSCAPE;
  return asked;
}

bool IsLandscape(const Record& back) {
  return back.dm_public.dmOrientation == DMORIENT_LANDSCAPE && back.dm_public.dmPaperSize == r5lqz::kCustomPage;
}

Record OtherDriver(Session&, const Record&) {
  Record asked{};
  auto& common = asked.dm_public;
  lstrcpynW(common.dmDeviceName, L"An office laser", 32);
  common.dmSpecVersion = DM_SPECVERSION;
  common.dmDriverVersion = 0x0600;
  common.dmSize = sizeof common;
  common.dmDriverExtra = kOtherPrivateSize;
  common.dmFields = DM_ORIENTATION | DM_PAPERSIZE | DM_COPIES | DM_PRINTQUALITY | DM_DUPLEX | DM_COLLATE;
  common.dmOrientation = DMORIENT_PORTRAIT;
  common.dmPaperSize = DMPAPER_A4;
  common.dmCopies = 5;
  common.dmPrintQuality = 1200;
  common.dmDuplex = DMDUP_VERTICAL;
  common.dmCollate = DMCOLLATE_TRUE;
  asked.dm_private.signature = 0x4C415352;
  return asked;
}

bool IsMadeOurs(const Record& back) {
  return back.dm_public.dmPaperSize == DMPAPER_USER && back.dm_public.dmCopies == 1 &&
         back.dm_public.dmPrintQuality == 300 && back.dm_public.dmDuplex == DMDUP_SIMPLEX &&
         back.dm_public.dmDriverExtra == kOtherPrivateSize;
}

// What an application of an older system keeps: made by the driver itself, which converts downwards on request.
Record OlderRecord(Session& session, const Record& defaults) {
  Record newer = defaults;
  newer.dm_public.dmOrientation = DMORIENT_LANDSCAPE;
  newer.dm_private.mirrorImage = 1;
  Record older{};
  LONG count = sizeof older;
  auto& installed = session.installed;
  if (!installed.entries.ConvertDevMode(installed.printer_name.data(), &newer.dm_public, &older.dm_public, &count,
                                        CDM_CONVERT351)) {
    session.report.Failed("DrvConvertDevMode(CDM_CONVERT351)", GetLastError());
  }
  return older;
}

bool IsOlderRecord(const Record& back) {
  const auto* extra = reinterpret_cast<const BYTE*>(&back) + back.dm_public.dmSize;
  DWORD mirrored = 0;
  memcpy(&mirrored, extra + offsetof(r5lqz::PrivateDevMode, mirrorImage), sizeof mirrored);
  return back.dm_public.dmSize == 188 && back.dm_public.dmDriverExtra == 112 && mirrored == 1 &&
         back.dm_public.dmOrientation == DMORIENT_LANDSCAPE;
}

constexpr struct {
  const char* title;
  Record (*ask)(Session&, const Record& defaults);
  bool (*holds)(const Record& back);
  const char* expectation;
} kCases[] = {
    {"a label chosen by its number", LabelByNumber, IsChosenLabel, "the label's size, name and offsets"},
    {"a custom size, longer than the printer can", CustomSize, IsCustomSize, "the width kept, the length made usual"},
    {"landscape, all else left alone", Landscape, IsLandscape, "landscape on the usual page"},
    {"a record of another driver", OtherDriver, IsMadeOurs, "settings that this printer has, in the asked form"},
    {"an older record of 188 bytes (made by the driver's DrvConvertDevMode)", OlderRecord, IsOlderRecord,
     "an older record with its settings kept"},
};

}  // namespace

void ShowDefaults(Session& session) {
  session.report.Section("The printer's default settings");
  session.report.Road("platform, DocumentPropertiesW");
  const auto defaults = AskPlatform(session, "the defaults", nullptr);
  if (!defaults) return;
  std::vector<Row> rows;
  for (const auto& field : Fields()) rows.push_back({field.label, field.text(defaults->dm_public)});
  session.report.Table({"setting", "default"}, rows);
  session.report.Expect(defaults->dm_public.dmPaperSize == r5lqz::kCustomPage &&
                            Narrow(defaults->dm_public.dmDeviceName, 32) == Narrow(session.installed.driver_name),
                        "the custom page, and the driver's name as the device");
}

void ShowMergeCases(Session& session) {
  session.report.Section("Settings as asked and as they came back");
  session.report.Road("platform, DocumentPropertiesW with the record asked for; only what matters is shown");
  const auto defaults = AskPlatform(session, "the defaults", nullptr);
  if (!defaults) return;
  char letter = 'a';
  for (const auto& each : kCases) {
    printf("\n   %c) %s\n", letter++, each.title);
    Record asked = each.ask(session, *defaults);
    const auto back = AskPlatform(session, each.title, &asked);
    if (!back) continue;
    ShowAskedAndBack(session.report, *defaults, asked, *back);
    session.report.Expect(each.holds(*back), each.expectation);
  }
}

}  // namespace demo
