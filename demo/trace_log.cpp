#include <windows.h>
#include <winspool.h>

#include <algorithm>
#include <cstddef>

#include "user/printer_calls.h"
#include "session.h"
#include "user/trace_files.h"

namespace demo {
namespace {

constexpr std::size_t kTailLines = 12;

// What an application does with a printer: settings for a label, then a print query.
void UsePrinter(Session& session) {
  auto& installed = session.installed;
  r5lqz::DriverDevMode record{};
  const LONG result = DocumentPropertiesW(nullptr, installed.printer, installed.printer_name.data(), &record.dm_public,
                                          nullptr, DM_OUT_BUFFER);
  if (result != 1) session.report.Failed("DocumentPropertiesW", GetLastError());
  record.dm_public.dmPaperSize = static_cast<short>(DemoLabels()[0].stock.number);
  session.report.Expect(AcceptsPaper(installed, record.dm_public), "the driver to know the label");
}

void ShowFilter(Session& session) {
  // The structure ends in one event; the driver may ask for as many as there is room for.
  alignas(DOCEVENT_FILTER) BYTE block[sizeof(DOCEVENT_FILTER) + 7 * sizeof(DWORD)]{};
  auto* filter = reinterpret_cast<DOCEVENT_FILTER*>(block);
  filter->cbSize = sizeof block;
  filter->cElementsAllocated = 8;
  session.installed.entries.DocumentEvent(session.installed.printer, nullptr, DOCUMENTEVENT_QUERYFILTER, 0, nullptr,
                                          sizeof block, filter);
  const auto* events = reinterpret_cast<const DWORD*>(block + offsetof(DOCEVENT_FILTER, aDocEventCall));
  std::string list;
  for (UINT i = 0; i < std::min(filter->cElementsReturned, 8u); ++i) list += Format(" %lu", events[i]);
  printf("   events that the driver asks for:%s\n", list.c_str());
  session.report.Expect(filter->cElementsReturned == 2 && events[1] == DOCUMENTEVENT_STARTDOCPRE,
                        "the start of a document among the events asked for");
}

bool Mentions(const std::vector<std::string>& lines, const char* text) {
  return std::any_of(lines.begin(), lines.end(), [&](const auto& line) { return line.find(text) != line.npos; });
}

}  // namespace

void ShowTraceLog(Session& session) {
  session.report.Section("The trace log");
  session.report.Road("platform, DocumentPropertiesW; the loaded driver's DrvDocumentEvent and DevQueryPrintEx");
  TraceFiles files(session.installed.loaded_path);
  const auto start_document = [&] {
    session.report.Expect(StartDocument(session.installed), "DrvDocumentEvent to take the start of a document");
  };
  if (!files.SwitchOn(3)) return session.report.Failed("writing the mask file", GetLastError());
  ShowFilter(session);

  UsePrinter(session);
  session.report.Expect(files.NewLines().empty(), "no record before a document was started");

  start_document();
  UsePrinter(session);
  const auto lines = files.NewLines();
  printf("   %s (mask 3): %zu lines; the last of them:\n", Narrow(files.Log()).c_str(), lines.size());
  for (auto i = lines.size() - std::min(lines.size(), kTailLines); i < lines.size(); ++i) {
    printf("     %s\n", lines[i].c_str());
  }
  session.report.Expect(Mentions(lines, "<DrvDocumentPropertySheets>") && Mentions(lines, "</DevQueryPrintEx>"),
                        "both calls among the records");
  session.report.Expect(std::all_of(lines.begin(), lines.end(), [](const auto& line) { return line.starts_with("["); }),
                        "every line to begin with its time");

  files.SwitchOff();
  start_document();
  files.NewLines();
  UsePrinter(session);
  session.report.Expect(files.NewLines().empty(), "no record once a document was started without a mask file");
}

}  // namespace demo
