#include <algorithm>
#include <cstdio>

#include "user/driver_life.h"
#include "session.h"

namespace demo {
namespace {

// Of a registry value that is known its key and name; the bytes of another hold zeros.
std::string NameOf(const LifeTrace& trace) {
  std::string text = trace.reason.empty() ? trace.what : trace.what.substr(0, trace.what.find(" = "));
  std::erase(text, '\0');
  return text;
}

Row CountRow(const char* what, const platform::Lines& before, const platform::Lines& after) {
  return {what, std::to_string(before.size()), std::to_string(after.size()),
          std::to_string(platform::Difference(after, before).size()),
          std::to_string(platform::Difference(before, after).size())};
}

}  // namespace

void ShowOneLife(Report& report, const std::wstring& module_path) {
  report.Section("The driver's whole life on a machine");
  report.Road(
      "the platform's spooler; of the events it delivers the first alone, the others go to the loaded driver's");
  printf(
      "         entry points. Driver and printer have names of their own. The module's UninstallColorProfileW is\n"
      "         replaced, as this platform's looks for a bare name in the current folder.\n");
  const DriverLife life = LiveOneLife(module_path);

  std::vector<Row> rows;
  for (const auto& stage : life.stages) {
    rows.push_back({stage.done, stage.seen});
    report.Expect(stage.held, "another sight after: " + stage.done);
  }
  report.Table({"stage", "what is seen then"}, rows);

  printf("\n   The machine before the first stage and after the last:\n");
  report.Table({"of it", "before", "after", "new", "gone"},
               {CountRow("files and folders", life.before.files, life.after.files),
                CountRow("registry keys and values", life.before.registry, life.after.registry),
                CountRow("colour profiles", life.before.profiles, life.after.profiles)});

  printf("\n");
  rows.clear();
  for (const auto& trace : life.traces) {
    rows.push_back({NameOf(trace), trace.reason.empty() ? "?" : trace.reason});
    report.Expect(!trace.reason.empty(), "nothing else to be different: " + NameOf(trace));
  }
  report.Table({"different", "because"}, rows);
  printf("   What the driver left is now taken away as well, but for the copy.\n");
}

}  // namespace demo
