#include "dialogs_fixture.h"

#include <commdlg.h>

#include <fstream>
#include <sstream>
#include <utility>

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
  return !chosen_file.empty();
}

// The title of messages as it reads in another language.
int WINAPI LoadForeign(HINSTANCE module, UINT id, LPWSTR text, int size) {
  if (id != IDS_ERROR) return LoadStringW(module, id, text, size);
  return swprintf(text, static_cast<std::size_t>(size), L"Fehler");
}

void* __cdecl Reallocate(void* block, std::size_t size) {
  const std::lock_guard lock(watched->guard);
  watched->blocks.erase(block);
  return *watched->blocks.insert(realloc(block, size)).first;
}

}  // namespace

DialogUser::DialogUser(const SheetUser& sheet, const DialogKind& its_kind)
    : SheetUser(user::OpenDialog(sheet.Tab(), its_kind.opener, its_kind.edits[1])), kind(its_kind) {
  EXPECT_TRUE(IsOpen());
}

void DialogUser::Type(int id, const std::string& text) const {
  user::Type(Tab(), id, WideText(text));
}

void DialogUser::EndBy(int id, WPARAM key) const {
  const HWND dialog = Tab(), owner = GetWindow(dialog, GW_OWNER);
  PostMessageW(GetDlgItem(dialog, id), WM_KEYDOWN, key, 0);
  EXPECT_TRUE(user::WaitUntil([&] { return !IsWindow(dialog); })) << "the key closes the dialog";
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
  for (const auto& name : user::ListEntries(Tab(), IDC_MANAGE_LABELS)) pages += Narrow(name.c_str(), name.size()) + ";";
  return pages;
}

LONG DialogUser::WidestName() const {
  const HWND list = GetDlgItem(Tab(), IDC_MANAGE_LABELS);
  const HDC device = GetDC(list);
  const HGDIOBJ before = SelectObject(device, reinterpret_cast<HGDIOBJ>(Send(IDC_MANAGE_LABELS, WM_GETFONT)));
  LONG widest = 0;
  std::istringstream names(Pages());
  for (std::string name; std::getline(names, name, ';');) {
    SIZE size{};
    GetTextExtentPoint32A(device, name.data(), static_cast<int>(name.size()), &size);
    widest = std::max(widest, size.cx);
  }
  SelectObject(device, before);
  ReleaseDC(list, device);
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
  watch->Replace("user32.dll", "LoadStringW", &LoadForeign);
  watch->Replace("msvcrt.dll", "realloc", &Reallocate);
}

DriverDevMode DialogTest::Work(const DialogKind& kind, const std::vector<Step>& steps, WPARAM key) {
  return Work(kind, steps, Defaults(), key);
}

DriverDevMode DialogTest::Work(const DialogKind& kind, const std::vector<Step>& steps, const DriverDevMode& in,
                               WPARAM key) {
  return Edit(in, [&](SheetUser& sheet) {
    ASSERT_TRUE(sheet.Open("Page"));
    DialogUser dialog(sheet, kind);
    std::string stored = Stored();
    for (const Step& step : steps) {
      SCOPED_TRACE("step " + std::to_string(&step - steps.data()));
      for (int at = 0; at < 5; ++at) {
        if (step.typed[at]) dialog.Type(kind.edits[at], step.typed[at]);
      }
      if (step.act) step.act(dialog);
      EXPECT_EQ(Said(), step.said);
      if (step.stored) stored = step.stored;
      EXPECT_EQ(Stored(), stored);
      const bool lists = kind.opener == kManage.opener;
      if (step.fields) {
        EXPECT_EQ(dialog.Fields(), step.fields);
      }
      if (lists && !step.apart) {
        EXPECT_EQ(dialog.Pages(), StoredNames());
        EXPECT_EQ(dialog.Send(IDC_MANAGE_LABELS, LB_GETHORIZONTALEXTENT), dialog.WidestName() + 3);
      }
      const bool in_inches = dialog.Text(kind.shown[2]).ends_with(" 11.692");
      EXPECT_TRUE(!in_inches || dialog.Text(kind.length_range) == "1.000 - 35.500");
      EXPECT_TRUE(step.selected == -2 || dialog.Send(IDC_MANAGE_LABELS, LB_GETCURSEL) == step.selected);
    }
    dialog.EndBy(kind.edits[1], key);
  });
}

std::string DialogTest::Said() {
  std::string said;
  for (const auto& box : std::exchange(watch->boxes, {})) {
    EXPECT_TRUE(box.type == MB_ICONERROR && IsWindow(box.owner));
    said += (said.empty() ? "" : "; ") + (box.text.starts_with("Fehler: ") ? box.text.substr(8) : box.text);
  }
  return said;
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
