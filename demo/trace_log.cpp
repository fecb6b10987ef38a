#include <windows.h>
#include <winspool.h>

#include <algorithm>
#include <cstddef>
#include <fstream>
#include <iterator>

#include "session.h"
#include "settings/driver_devmode.h"

namespace demo {
namespace {

constexpr wchar_t kFolder[] = L"c:\\temp";
constexpr std::size_t kTailLines = 12;

std::string ReadAll(const std::wstring& path) {
  std::ifstream file(path.c_str(), std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

bool WriteAll(const std::wstring& path, const std::string& content) {
  std::ofstream file(path.c_str(), std::ios::binary | std::ios::trunc);
  file << content;
  return static_cast<bool>(file.flush());
}

// The trace files of the module as they were found; its end leaves the folder so.
struct TraceFiles {
  explicit TraceFiles(const std::wstring& module_path) {
    const auto slash = module_path.find_last_of(L'\\');
    const std::wstring base = kFolder + module_path.substr(slash, module_path.size() - slash - 3);
    log = base + L"txt";
    mask = base + L"dat";
    made_folder = CreateDirectoryW(kFolder, nullptr);
    had_log = Exists(log);
    had_mask = Exists(mask);
    if (had_mask) old_mask = ReadAll(mask);
  }
  TraceFiles(const TraceFiles&) = delete;
  TraceFiles& operator=(const TraceFiles&) = delete;
  ~TraceFiles() {
    if (had_mask) {
      WriteAll(mask, old_mask);
    } else {
      DeleteFileW(mask.c_str());
    }
    if (!had_log) DeleteFileW(log.c_str());
    if (made_folder) RemoveDirectoryW(kFolder);
  }

  static bool Exists(const std::wstring& path) { return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES; }

  std::wstring log;
  std::wstring mask;
  std::string old_mask;
  bool made_folder;
  bool had_log;
  bool had_mask;
};

// What an application does with a printer: settings for a label, then a print query.
void UsePrinter(Session& session) {
  auto& installed = session.installed;
  r5lqz::DriverDevMode record{};
  const LONG result = DocumentPropertiesW(nullptr, installed.printer, installed.printer_name.data(), &record.dm_public,
                                          nullptr, DM_OUT_BUFFER);
  if (result != 1) session.report.Failed("DocumentPropertiesW", GetLastError());
  record.dm_public.dmPaperSize = static_cast<short>(DemoLabels()[0].stock.number);
  DEVQUERYPRINT_INFO query{};
  query.cbSize = sizeof query;
  query.Level = 1;
  query.hPrinter = installed.printer;
  query.pDevMode = &record.dm_public;
  if (!installed.entries.QueryPrintEx(&query)) session.report.Failed("DevQueryPrintEx", GetLastError());
}

void StartDocument(Session& session) {
  const int answer = session.installed.entries.DocumentEvent(session.installed.printer, nullptr,
                                                             DOCUMENTEVENT_STARTDOCPRE, 0, nullptr, 0, nullptr);
  session.report.Expect(answer == DOCUMENTEVENT_SUCCESS, "DrvDocumentEvent to take the start of a document");
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

std::vector<std::string> LinesFrom(const std::string& text, std::size_t start) {
  std::vector<std::string> lines;
  while (start < text.size()) {
    const auto end = std::min(text.find('\n', start), text.size());
    std::string line = text.substr(start, end - start);
    if (!line.empty() && line.back() == '\r') line.pop_back();
    lines.push_back(std::move(line));
    start = end + 1;
  }
  return lines;
}

bool Mentions(const std::vector<std::string>& lines, const char* text) {
  return std::any_of(lines.begin(), lines.end(), [&](const auto& line) { return line.find(text) != line.npos; });
}

}  // namespace

void ShowTraceLog(Session& session) {
  session.report.Section("The trace log");
  session.report.Road("platform, DocumentPropertiesW; the loaded driver's DrvDocumentEvent and DevQueryPrintEx");
  const TraceFiles files(session.installed.loaded_path);
  const std::size_t start = ReadAll(files.log).size();
  if (!WriteAll(files.mask, "3\n")) return session.report.Failed("writing " + Narrow(files.mask), GetLastError());
  ShowFilter(session);

  UsePrinter(session);
  session.report.Expect(ReadAll(files.log).size() == start, "no record before a document was started");

  StartDocument(session);
  UsePrinter(session);
  const auto lines = LinesFrom(ReadAll(files.log), start);
  printf("   %s (mask 3): %zu lines; the last of them:\n", Narrow(files.log).c_str(), lines.size());
  for (auto i = lines.size() - std::min(lines.size(), kTailLines); i < lines.size(); ++i) {
    printf("     %s\n", lines[i].c_str());
  }
  session.report.Expect(Mentions(lines, "<DrvDocumentPropertySheets>") && Mentions(lines, "</DevQueryPrintEx>"),
                        "both calls among the records");
  session.report.Expect(std::all_of(lines.begin(), lines.end(), [](const auto& line) { return line.starts_with("["); }),
                        "every line to begin with its time");

  DeleteFileW(files.mask.c_str());
  StartDocument(session);
  const std::size_t end = ReadAll(files.log).size();
  UsePrinter(session);
  session.report.Expect(ReadAll(files.log).size() == end, "no record once a document was started without a mask file");
}

}  // namespace demo
