#include "user/printer_calls.h"
#include "settings.h"

namespace demo {

void ShowPrintQueries(Session& session) {
  session.report.Section("Whether a job's paper is known to the printer");
  session.report.Road("the loaded driver's DevQueryPrintEx; no call of this platform leads there");
  auto record = AskPlatform(session, "the defaults", nullptr);
  if (!record) return;

  static constexpr struct {
    short paper;
    const char* what;
    bool accepted;
  } kJobs[] = {
      {256, "a size of the application's own", true},
      {257, "the driver's custom page, which is no label", false},
      {260, "a label's number", true},
      {4711, "no label's number", false},
  };
  std::vector<Row> rows;
  for (const auto& job : kJobs) {
    record->dm_public.dmPaperSize = job.paper;
    const bool accepted = AcceptsPaper(session.installed, record->dm_public);
    rows.push_back({Format("%d", job.paper), job.what, accepted ? "accepted" : "refused"});
    session.report.Expect(accepted == job.accepted, Format("another answer for paper %d", job.paper));
  }
  session.report.Table({"paper", "which is", "answer"}, rows);
}

void ShowColorProfile(Session& session) {
  session.report.Section("The colour profile for a job");
  session.report.Road("the loaded driver's DrvQueryColorProfile; no call of this platform leads there");
  auto record = AskPlatform(session, "the defaults", nullptr);
  if (!record) return;
  wchar_t name[MAX_PATH]{};
  ULONG size = sizeof name;
  ULONG flags = 0;
  if (!session.installed.entries.QueryColorProfile(session.installed.printer, &record->dm_public, QCP_DEVICEPROFILE,
                                                   name, &size, &flags)) {
    session.report.Failed("DrvQueryColorProfile", GetLastError());
    return;
  }
  session.report.Table({"profile", "bytes", "given as"},
                       {{Narrow(name, MAX_PATH), Format("%lu", size),
                         flags == QCP_PROFILEDISK ? "a file's name" : Format("flags %lu", flags)}});
  session.report.Expect(flags == QCP_PROFILEDISK && size == (wcslen(name) + 1) * sizeof(wchar_t),
                        "a file's name in the size reported");
}

}  // namespace demo
