#include "dialogs_fixture.h"

#include <commdlg.h>

#include <fstream>
#include <sstream>

namespace tests {
namespace {

constexpr char kFile[] = "pages.zpk";
Watch* watched = nullptr;

template <StoreCall which, class... Arguments>
DWORD WINAPI Count(Arguments... arguments) {
  StoreCalls& call = store[which];
  ++call.count;
  if (call.answer && call.let_through-- <= 0) return call.once ? std::exchange(call.answer, 0) : call.answer;
  return reinterpret_cast<DWORD(WINAPI*)(Arguments...)>(call.real)(arguments...);
}
template <StoreCall which, class... Arguments>
void CountCalls(const char* name, DWORD(WINAPI* real)(Arguments...)) {
  store[which] = {0, 0, 0, false, reinterpret_cast<void*>(real)};
  watched->Replace("winspool.drv", name, &Count<which, Arguments...>);
}

BOOL WINAPI ChooseFile(LPOPENFILENAMEW request) {
  asked_for.clear();
  for (const WCHAR* part = request->lpstrFilter; *part; part += wcslen(part) + 1) asked_for += Narrow(part, 64) + "|";
  asked_for += Narrow(request->lpstrDefExt, 8) + " " + std::to_string(request->Flags);
  EXPECT_TRUE(IsWindow(request->hwndOwner) && request->lStructSize == sizeof *request && !*request->lpstrFile);
  EXPECT_LT(chosen_file.size(), request->nMaxFile);
  wcscpy(request->lpstrFile, chosen_file.c_str());
  watched->while_open(request->hwndOwner);
  // As a user may make the one that opens do, whatever its flags; the file is looked for in the host's own folder.
  if (request->Flags & OFN_FILEMUSTEXIST) SetCurrentDirectoryW(L"c:\\");
  return !chosen_file.empty();
}

}  // namespace

DialogUser::DialogUser(const SheetUser& user, const DialogKind& its_kind)
    : SheetUser{user::OpenDialog(user.Tab(), its_kind.opener, its_kind.edits[1])}, kind(its_kind) {
  EXPECT_TRUE(sheet) << "no dialog";
}

void DialogUser::EndBy(WPARAM key) const {
  const HWND owner = GetWindow(sheet, GW_OWNER);
  PostMessageW(GetDlgItem(sheet, kind.edits[1]), WM_KEYDOWN, key, 0);
  EXPECT_TRUE(user::WaitUntil([&] { return !IsWindow(sheet); })) << "the key closes the dialog";
  SendMessageW(owner, WM_NULL, 0, 0);
}

std::string DialogUser::Fields() const {
  std::string text;
  for (const int id : kind.edits) text += id ? Text(id) + " " : "";
  text += Checked(kind.inches) ? "| in" : "|";
  text += Checked(kind.mm) ? " mm" : "";
  for (const int id : kind.shown) text += (id == kind.shown[0] ? " " : ", ") + Text(id);
  return text;
}

std::string DialogUser::Pages() const {
  std::string pages;
  for (const auto& name : user::ListEntries(sheet, IDC_MANAGE_LABELS)) pages += NarrowText(name) + ";";
  return pages;
}

LONG DialogUser::WidestName() const {
  const HDC device = GetDC(sheet);
  SelectObject(device, reinterpret_cast<HGDIOBJ>(Send(IDC_MANAGE_LABELS, WM_GETFONT)));
  LONG widest = 0;
  for (const auto& name : user::ListEntries(sheet, IDC_MANAGE_LABELS)) {
    SIZE size{};
    GetTextExtentPoint32W(device, name.data(), static_cast<int>(name.size()), &size);
    widest = std::max(widest, size.cx);
  }
  ReleaseDC(sheet, device);
  return widest;
}

void DialogTest::SetUp() {
  SheetTest::SetUp();
  if (!watch) return;
  watched = watch.get();
  CountCalls<kEnumerate>("EnumPrinterKeyW", &platform::RegistryEnumPrinterKey);
  CountCalls<kDelete>("DeletePrinterKeyW", &platform::RegistryDeletePrinterKey);
  CountCalls<kRead>("GetPrinterDataExA", &GetPrinterDataExA);
  CountCalls<kWrite>("SetPrinterDataExA", &SetPrinterDataExA);
  CountCalls<kProbe>("SetPrinterDataExW", &SetPrinterDataExW);
  watch->Replace("comdlg32.dll", "GetOpenFileNameW", &ChooseFile);
  watch->Replace("comdlg32.dll", "GetSaveFileNameW", +[](LPOPENFILENAMEW request) { return ChooseFile(request); });
}

DriverDevMode DialogTest::Work(const DialogKind& kind, const std::function<void(DialogUser&)>& work,
                               const DriverDevMode& in, WPARAM key) {
  return Edit(in, [&](SheetUser& user) {
    DialogUser dialog(user, kind);
    work(dialog);
    dialog.EndBy(key);
  });
}

DriverDevMode DialogTest::Take(const DialogKind& kind, const std::vector<Step>& steps, const DriverDevMode& in,
                               WPARAM key) {
  std::string stored = Stored();
  const auto take = [&](DialogUser& dialog, const Step& step) {
    SCOPED_TRACE("step " + std::to_string(&step - steps.data()));
    for (int at = 0; at < 5; ++at) {
      if (step.typed[at]) user::Type(dialog.sheet, kind.edits[at], WideText(step.typed[at]));
    }
    if (step.act) step.act(dialog);
    EXPECT_EQ(Said(), step.said);
    if (step.stored) stored = step.stored;
    EXPECT_EQ(Stored(), stored);
    if (step.fields) {
      EXPECT_EQ(dialog.Fields(), step.fields);
    }
    if (kind.opener == kManage.opener) {
      EXPECT_EQ(dialog.Pages(), StoredNames());
      EXPECT_EQ(dialog.Send(IDC_MANAGE_LABELS, LB_GETHORIZONTALEXTENT), dialog.WidestName() + 3);
    }
    const bool in_inches = dialog.Text(kind.shown[2]).ends_with(" 11.692");
    EXPECT_TRUE(!in_inches || dialog.Text(kind.length_range) == "1.000 - 35.500");
    EXPECT_TRUE(step.selected == -2 || user::ChosenEntry(dialog.sheet, IDC_MANAGE_LABELS) == step.selected);
  };
  const auto take_all = [&](DialogUser& dialog) {
    for (const Step& step : steps) take(dialog, step);
  };
  return Work(kind, take_all, in, key);
}

DriverDevMode DialogTest::MadeBy(const platform::LabelStock& label) {
  DriverDevMode record = Defaults();
  auto& own = record.dm_private;
  record.dm_public.dmPaperSize = own.dmPaperSize = static_cast<short>(label.number);
  strcpy(own.labelName, label.name);
  strcpy(own.width_string, label.width);
  strcpy(own.length_string, label.length);
  own.vertOffset = atoi(label.vertical_offset);
  own.horzOffset = atoi(label.horizontal_offset);
  own.units = label.units;
  return record;
}

std::string PageOf(const DriverDevMode& record) {
  const auto& own = record.dm_private;
  const DEVMODEW& settings = record.dm_public;
  std::ostringstream page;
  page << own.dmPaperSize << " " << own.labelName << " " << own.width_string << " " << own.length_string << " "
       << own.vertOffset << " " << own.horzOffset << " " << own.units << ", " << settings.dmPaperSize << " "
       << settings.dmPaperWidth << " " << settings.dmPaperLength;
  return page.str();
}

std::string DialogTest::Stored() {
  std::string list;
  for (const auto& stock : platform::ReadLabelStocks(Printer())) {
    list += stock.key.substr(stock.key.find('\\') + 1) + " " + stock.name + " " + stock.width + " " + stock.length +
            " " + stock.vertical_offset + " " + stock.horizontal_offset + " " + std::to_string(stock.units) + ";";
  }
  return list;
}

std::string DialogTest::StoredNames() {
  std::string list;
  for (const auto& stock : platform::ReadLabelStocks(Printer())) list += stock.name + ";";
  return list;
}

void DialogTest::StoreSome(int count, const std::string& name) {
  for (int at = 0; at < count; ++at) {
    Store({258 + at, (name + " " + std::to_string(at)).c_str(), "4.125", "5.000", "0", "0", 1});
  }
}

void PutFile(const std::string& text) {
  chosen_file = L"pages.zpk";
  std::ofstream(kFile, std::ios::binary) << text;
}

std::string FileText() {
  std::ostringstream text;
  text << std::ifstream(kFile, std::ios::binary).rdbuf();
  return text.str();
}

}  // namespace tests
