#include "dialog_steps.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>

#include "resources/resource_ids.h"
#include "user/sheet_window.h"

namespace demo {
namespace {

// A number's text with a point, whatever the locale's sign.
std::string Pointed(std::string number) {
  std::replace(number.begin(), number.end(), ',', '.');
  return number;
}

bool InInches(HWND dialog, const DialogFields& fields) {
  return Send(GetDlgItem(dialog, fields.inches), BM_GETCHECK) == BST_CHECKED;
}

std::string ReadFields(HWND dialog, const DialogFields& fields) {
  return (fields.name ? ControlText(dialog, fields.name) + ": " : "") + Pointed(ControlText(dialog, fields.width)) +
         " x " + Pointed(ControlText(dialog, fields.length)) + (InInches(dialog, fields) ? " in" : " mm") + ", " +
         ControlText(dialog, fields.offsets[0]) + ", " + ControlText(dialog, fields.offsets[1]);
}

// Beside each offset stands how much that is in the dialog's units.
bool ReadoutsFollow(HWND dialog, const DialogFields& fields) {
  for (int at = 0; at < 2; ++at) {
    const double length = atoi(ControlText(dialog, fields.offsets[at]).c_str()) / 1200.0;
    const std::string expected = Format("%.3f ", InInches(dialog, fields) ? length : length * 25.4);
    if (!Pointed(ControlText(dialog, fields.readouts[at])).starts_with(expected)) return false;
  }
  return true;
}

std::string ReadList(HWND dialog, const DialogFields& fields) {
  if (!fields.name) return "-";
  return Format("%zu, on no. %d", ListEntries(dialog, IDC_MANAGE_LABELS).size(),
                ChosenEntry(dialog, IDC_MANAGE_LABELS) + 1);
}

std::string ButtonText(HWND dialog, int button) {
  std::string text = ControlText(dialog, button);
  std::erase(text, '&');
  return text;
}

// Does the step and tells what was done.
std::string TakeStep(HWND dialog, const DialogStep& step) {
  std::string done;
  const auto tell = [&](const std::string& what) { done += (done.empty() ? "" : ", ") + what; };
  if (step.chosen && ChooseListed(dialog, IDC_MANAGE_LABELS, step.chosen)) tell("choose " + Narrow(step.chosen));
  std::string texts;
  for (const Typed& each : step.typed) {
    Type(dialog, each.field, each.text);
    texts += " \"" + Narrow(each.text) + "\"";
  }
  if (!texts.empty()) tell("type" + texts);
  if (step.button) {
    tell("press " + ButtonText(dialog, step.button));
    Click(dialog, step.button);
  }
  return done.empty() ? "(opened)" : done;
}

std::string TakeMessages(DialogAnswers& answers) {
  std::string all;
  for (const auto& message : answers.TakeMessages()) all += (all.empty() ? "" : "; ") + OneLine(Narrow(message));
  return all;
}

bool MessageIs(const std::string& message, HMODULE module, UINT expected) {
  wchar_t text[256] = L"";
  if (expected) LoadStringW(module, expected, text, static_cast<int>(std::size(text)));
  return expected ? *text && message.find(Narrow(text)) != message.npos : message.empty();
}

// The list of the dialog, the order apart.
bool ListIsStored(Session& session, HWND dialog) {
  std::vector<std::string> listed;
  for (const auto& entry : ListEntries(dialog, IDC_MANAGE_LABELS)) listed.push_back(Narrow(entry));
  std::ranges::sort(listed);
  return listed == StoredNames(session);
}

void TakeSteps(const DialogWork& work, HWND dialog) {
  auto& report = work.session.report;
  const auto& fields = work.fields;
  std::vector<Row> rows;
  for (const DialogStep& step : work.steps) {
    const std::string done = TakeStep(dialog, step);
    const std::string read = ReadFields(dialog, fields);
    const std::string message = TakeMessages(work.answers);
    rows.push_back({done, ReadList(dialog, fields), read,
                    ControlText(dialog, fields.readouts[0]) + ", " + ControlText(dialog, fields.readouts[1])});
    if (!message.empty()) rows.push_back({"  message box: " + message});
    report.Expect(read == step.fields, "the fields to read " + std::string(step.fields));
    report.Expect(ReadoutsFollow(dialog, fields), "the readouts to follow the offsets");
    report.Expect(MessageIs(message, work.session.installed.module, step.message),
                  step.message ? Format("the message %u after: ", step.message) + done : "no message after: " + done);
    if (!fields.name) continue;
    report.Expect(ListEntries(dialog, IDC_MANAGE_LABELS).size() == step.pages && ListIsStored(work.session, dialog),
                  Format("%zu pages, those that are stored, after: ", step.pages) + done);
  }
  CloseDialog(dialog, IDOK);
  report.Table({"done", "pages", "fields then", "offsets read"}, rows);
}

}  // namespace

std::string ControlText(HWND dialog, int control) {
  return Narrow(TextOf(GetDlgItem(dialog, control)));
}

std::string OneLine(std::string text) {
  std::erase(text, '\r');
  std::replace(text.begin(), text.end(), '\n', ' ');
  return text;
}

std::vector<std::string> StoredNames(Session& session) {
  std::vector<std::string> names;
  for (const auto& stock : platform::ReadLabelStocks(session.installed.printer)) names.push_back(stock.name);
  std::ranges::sort(names);
  return names;
}

void WorkDialog(const DialogWork& work, HWND page, int opener) {
  const HWND dialog = OpenDialog(page, opener, work.fields.width);
  if (!work.session.report.Expect(dialog, "the dialog of " + ButtonText(page, opener))) return;
  printf("   %s\n", Narrow(TextOf(dialog)).c_str());
  TakeSteps(work, dialog);
}

}  // namespace demo
