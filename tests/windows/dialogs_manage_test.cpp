// The Manage Pages dialog: every button, key and message, and the printer's data behind them.
#include <windows.h>

#include <commdlg.h>

#include <clocale>

#include "dialogs_fixture.h"
#include "labels/printer_label.h"

namespace tests {
namespace {

struct ManagePages : DialogTest {};

const auto Add = Click(IDC_MANAGE_ADD), Modify = Click(IDC_MANAGE_MODIFY), Delete = Click(IDC_MANAGE_DELETE),
           Import = Click(IDC_MANAGE_IMPORT), Export = Click(IDC_MANAGE_EXPORT), Inches = Click(IDC_MANAGE_INCHES),
           Mm = Click(IDC_MANAGE_MM);

constexpr int kMostPages = r5lqz::kMostLabels;
constexpr char kWidthInches[] = "Invalid Width\nValid range: 0.040 - 11.692";

auto ImportOf(const std::string& text) {
  return [text](DialogUser& dialog) { PutFile(text), Import(dialog); };
}

// A list file of `count` pages.
std::string ListOf(int count) {
  std::string text;
  for (int at = 0; at < count; ++at) text += ",{\"name\":\"F" + std::to_string(at) + "\"}";
  return "{\"version\":0,\"list\":[" + text.erase(0, 1) + "]}";
}

TEST_F(ManagePages, EmptyListsAndOtherUnits) {
  Take(kManage, {{{}, Delete, "", " 4.125 5.000 0 0 | in 0.000 in, 0.000 in, 0.040 - 11.692", nullptr, -1},
                 {{}, Modify, "You must enter a name."},
                 {{"Free", ""}, Modify, kWidthInches},
                 {{nullptr, "4"}, Modify, ""}});
  Store({259, "Metric", "104.8", "127", "1200", "-2400", 0});
  Store({260, "Tenths", "1048", "1270", "", "x", 2});
  Take(kManage, {{{}, {}, "", "Metric 104.8 127 1200 -2400 | mm 25.400 mm, -50.800 mm, 1.000 - 297.000", nullptr, 0},
                 {{}, Choose("Tenths"), "", "Tenths 1048 1270  x | mm 0.000 mm, -.--- mm, 10.000 - 2970.000"},
                 {{nullptr, nullptr, nullptr, nullptr, "7"}, Modify, kWidthMm},  // as they stand they are millimetres
                 {{}, Mm, "", "Tenths 104.800 127.000  7 | mm 0.000 mm, 0.148 mm, 1.000 - 297.000"},
                 {{}, Modify, "", nullptr, "259 Metric 104.8 127 1200 -2400 0;260 Tenths 104.800 127.000  7 0;"}});
  store[kEnumerate].answer = ERROR_ACCESS_DENIED;
  Edit(Defaults(), [&](SheetUser& user) {
    user.Click(IDC_PAGE_MANAGE);  // comes back because no dialog stays open
    EXPECT_EQ(Said() + std::to_string(user.Send(IDC_PAGE_LABELS, CB_GETCOUNT)), "1");
  });
}

TEST_F(ManagePages, AddsModifiesAndDeletes) {
  const std::string longest(63, 'n'), too_long = longest + "nn", long_stored = "258 " + longest + " 10 30 0 0 0;";
  const std::string a = "258 A 4.125 5.000 0 0 1;", b = a + "259 B b 0.04 35.5 -2400 2400 1;";
  const std::string m = "259 M 297 901.7 1 +3 0;", c = "260 C 4.125 5.000 0 0 1;", am = a + m, amc = am + c, ac = a + c;
  constexpr char kZeroMm[] = " | mm 0.000 mm, 0.000 mm, 1.000 - 297.000";
  constexpr char kFieldsOfC[] = "C 4.125 5.000 0 0 | in 0.000 in, 0.000 in, 0.040 - 11.692";
  Take(kManage,
       {{{" \t "}, Add, "You must enter a name."},
        {{"  A "}, Add, "", nullptr, a.c_str(), 0},
        {{"a"}, Add, "Name already used."},
        {{"B b", " 0.04 ", "35.5", "-2400", "2400"}, Add, "", nullptr, b.c_str(), 1},
        {{"C", "11.692", "1", "1", "1e3"}, Modify, kOffset},
        {{"A", nullptr, nullptr, nullptr, ""}, Modify, "Name already used."},
        {{"b B"}, Modify, "", nullptr, "258 A 4.125 5.000 0 0 1;259 b B 11.692 1 1  1;", 1},
        {{}, Mm, "", "b B 296.977 25.400 1  | mm 0.021 mm, 0.000 mm, 1.000 - 297.000"},
        {{"M", "297", "901.7", nullptr, "+3"}, Modify, "", nullptr, am.c_str()},
        {{}, Choose("A")},
        {{"C"}, Add, "", nullptr, amc.c_str(), 2},
        {{}, Choose("A")},
        {{"m"}, Modify, "Name already used."},
        // The middle one goes, then the last, then the only one: a neighbour takes the place of each, with its fields.
        {{}, Choose("M")},
        {{}, Delete, "", kFieldsOfC, ac.c_str(), 1},
        {{}, Choose("A")},
        {{}, Delete, "", kFieldsOfC, c.c_str(), 0},
        {{}, Delete, "", kFieldsOfC, "", -1},
        {{}, Mm},
        // The fields take no more than can be stored; names are of the system's code page.
        {{too_long.c_str(), "10", "30", "0", "0"}, Add, "", nullptr, long_stored.c_str()},
        {{nullptr, "123.45678"}, {}, "", (longest + " 123.456 30 0 0" + kZeroMm).c_str()},
        {{"\xC4tikett \xDF"}, Add, "", nullptr, (long_stored + "259 \xC4tikett \xDF 123.456 30 0 0 0;").c_str()}});
}

TEST_F(ManagePages, ANameThatTheListRefusesTakesNoEntryAway) {
  StoreSome(2);
  watch->Replace(
      "user32.dll", "SendMessageA", +[](HWND window, UINT message, WPARAM first, LPARAM second) {
        return message == LB_INSERTSTRING ? LB_ERRSPACE : SendMessageA(window, message, first, second);
      });
  Work(kManage, [&](DialogUser& dialog) {
    const std::string names = dialog.Pages();
    user::Type(dialog.sheet, IDC_MANAGE_NAME, L"New");
    Modify(dialog);
    EXPECT_EQ(dialog.Pages(), names) << "an entry stands for the page with its number";
  });
}

TEST_F(ManagePages, KeysClicksAndUnits) {
  Store({258, "A", "4.125", "5.000", "2399", "0", 1});
  for (const WPARAM key : {VK_RETURN, VK_ESCAPE}) Take(kManage, {{{"Changed", "1", ""}}}, Defaults(), key);
  const char* const as_stored = "A 4.125 5.000 2399 0 | in 1.999 in, 0.000 in, 0.040 - 11.692";
  Take(kManage,
       {{{"Changed", "1", "", "5", "6"}, Choose("A"), "", as_stored},
        // The arrows stop at the limits; typing does not.
        {{}, Press(IDC_MANAGE_VERT, VK_UP, 3), "", "A 4.125 5.000 2400 0 | in 2.000 in, 0.000 in, 0.040 - 11.692"},
        {{nullptr, nullptr, nullptr, "3000", "-2399"},
         Press(IDC_MANAGE_HORZ, VK_DOWN, 3),
         "",
         "A 4.125 5.000 3000 -2400 | in 2.500 in, -2.000 in, 0.040 - 11.692"},
        {{nullptr, "x", nullptr, "1", "0"}, Inches, "", "A x 5.000 1 0 | in 0.001 in, 0.000 in, 0.040 - 11.692"},
        {{}, Mm, kWidthInches, "A x 5.000 1 0 | in 0.001 in, 0.000 in, 0.040 - 11.692"},
        {{nullptr, "4.125"}, Mm, "", "A 104.775 127.000 1 0 | mm 0.021 mm, 0.000 mm, 1.000 - 297.000"},
        {{nullptr, nullptr, "x"},
         Inches,
         "Invalid Length\nValid range: 25.400 - 901.700",
         "A 104.775 x 1 0 | mm 0.021 mm, 0.000 mm, 1.000 - 297.000"},
        {{nullptr, nullptr, "127"}, Inches, "", "A 4.125 5.000 1 0 | in 0.001 in, 0.000 in, 0.040 - 11.692"},
        {{nullptr, "5"},
         [](DialogUser& dialog) {  // the focus alone does what a click does
           const HWND list = GetDlgItem(dialog.sheet, IDC_MANAGE_LABELS);
           SendMessageW(dialog.sheet, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(list), 1);
         },
         "",
         as_stored}});
}

TEST_F(ManagePages, ADecimalCommaIsShownAndTypedButNotStored) {
  Store({258, "A", "4.125", "5.000", "0", "0", 1});
  ASSERT_TRUE(setlocale(LC_ALL, "German_Germany.1252"));
  chosen_file = L"pages.zpk";
  Take(kManage, {{{}, {}, "", "A 4,125 5,000 0 0 | in 0,000 in, 0,000 in, 0.040 - 11.692"},
                 {{}, Mm, "", "A 104,775 127,000 0 0 | mm 0,000 mm, 0,000 mm, 1.000 - 297.000"},
                 {{"B", "60.5"}, Add, kWidthMm},
                 {{"B", "60,5"}, Add, "", nullptr, "258 A 4.125 5.000 0 0 1;259 B 60.5 127.000 0 0 0;"},
                 {{}, Export},
                 {{}, Delete, "", nullptr, "258 A 4.125 5.000 0 0 1;"},
                 {{}, Delete, "", nullptr, ""},
                 {{}, Import, "", nullptr, "258 A 4.125 5.000 0 0 1;259 B 60.5 127.000 0 0 0;"},
                 {{},
                  ImportOf(ListOf(1)),
                  "",
                  nullptr,
                  "258 A 4.125 5.000 0 0 1;259 B 60.5 127.000 0 0 0;260 F0 4.13 5.00 0 0 1;"}});
  EXPECT_STREQ(setlocale(LC_ALL, nullptr), "German_Germany.1252") << "the host's locale is the host's";
  setlocale(LC_ALL, "C");
}

// A refusal is reported with its code; what is listed is what can be read, whatever was written before it came. A page
// is seven values: whichever of them a change is refused, the page stays the old one.
TEST_F(ManagePages, ARefusingStoreIsReported) {
  const struct {
    std::function<void(DialogUser&)> act;
    StoreCall refused;
    DWORD code;
    int let_through;
    const char* said;
    const char* added = "";
    bool once = false;
  } kRows[] = {{Add, kWrite, ERROR_ACCESS_DENIED, 0, "Could not add page: 0x5"},
               {Add, kWrite, ERROR_PRINTER_DELETED, 3, "Could not add page: 0x771"},
               {Add, kEnumerate, ERROR_PRINTER_DELETED, 1, "Could not add page: 0x771"},
               {Modify, kWrite, ERROR_ACCESS_DENIED, 0, "Could not modify page: 0x5"},
               {Modify, kWrite, ERROR_ACCESS_DENIED, 3, "Could not modify page: 0x5", "", true},
               {Modify, kWrite, ERROR_ACCESS_DENIED, 6, "Could not modify page: 0x5", "", true},
               {Delete, kDelete, ERROR_ACCESS_DENIED, 0, "Could not delete page: 0x5"},
               {Import, kWrite, ERROR_ACCESS_DENIED, 7, "Could not add page: 0x5", "F0;"}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(&row - kRows);
    ASSERT_EQ(0u, platform::RemoveLabelStocks(Printer()));
    StoreSome(2);
    const std::string stored = Stored(), listed = StoredNames() + row.added;
    PutFile(ListOf(2));
    Work(kManage, [&](DialogUser& dialog) {
      Mm(dialog);
      for (const int field : kManage.edits) SetDlgItemTextA(dialog.sheet, field, "50");
      StoreCalls& call = store[row.refused];
      call.answer = row.code, call.let_through = row.let_through, call.once = row.once;
      row.act(dialog);
      call.answer = 0;
      EXPECT_EQ(Said(), row.said);
      EXPECT_EQ(dialog.Pages(), listed);
    });
    Work(kManage, [&](DialogUser& again) { EXPECT_EQ(again.Pages(), listed); });
    EXPECT_TRUE(Stored().starts_with(stored));
  }
}

TEST_F(ManagePages, HoldsAsManyPagesAsAListHasLabels) {
  Work(kManage, [&](DialogUser& dialog) {
    const auto import3 = ImportOf(ListOf(3));
    ImportOf(ListOf(kMostPages))(dialog);
    for (const wchar_t* const width : {L"4", L"x"}) {
      user::Type(dialog.sheet, IDC_MANAGE_NAME, L"One more");
      user::Type(dialog.sheet, IDC_MANAGE_WIDTH, width);
      Add(dialog);
      EXPECT_EQ(Said(), "Error: Too many pages") << "the one title that stays English";
    }
    Delete(dialog), Delete(dialog), import3(dialog), Delete(dialog), import3(dialog);
    EXPECT_EQ(Said(), "Error: Too many pages");
    EXPECT_EQ(dialog.Count(), kMostPages);
    EXPECT_EQ(dialog.Pages(), StoredNames());
  });
}

TEST_F(ManagePages, ImportedNamesAreMadeUnique) {
  static std::string redraws;
  const std::string fits(54, 'f'), too_long(55, 't');
  int id = 258;
  for (const std::string& name : {fits, too_long, std::string("A"), std::string("a (copy 1)")}) {
    Store({id++, name.c_str(), "4.125", "5.000", "0", "0", 1});
  }
  std::string pages;
  for (const std::string& name : {std::string("A"), std::string("B"), too_long, std::string("B"), fits}) {
    pages += (pages.empty() ? "{\"name\":\"" : ",{\"name\":\"") + name + "\",\"id\":300}";
  }
  const auto import = [&](DialogUser& dialog) {
    redraws.clear();
    watch->Replace(
        "user32.dll", "SendMessageW", +[](HWND window, UINT message, WPARAM first, LPARAM second) {
          if (message == WM_SETREDRAW) redraws += first ? "on " : "off ";
          return SendMessageW(window, message, first, second);
        });
    ImportOf("{\"VERSION\":0,\"List\":[" + pages + "]}")(dialog);
  };
  const std::string said = "Page name too long:\n" + too_long + " (Copy 1)", size = " 4.13 5.00 0 0 1;",
                    stored = Stored() + "262 A (Copy 2)" + size + "263 B" + size + "264 B (Copy 1)" + size + "265 " +
                             fits + " (Copy 1)" + size,
                    first = fits + " 4.125 5.000 0 0 | in 0.000 in, 0.000 in, 0.040 - 11.692";
  Take(kManage, {{{}, Choose("A")}, {{}, import, said, first.c_str(), stored.c_str(), 0}});
  EXPECT_EQ(redraws, "off on ") << "the list is drawn once, and again afterwards";
}

// Run in Chinese too, where a character takes two bytes: nothing is cut within one. Where the code page lacks the
// characters each becomes one byte, and everything fits.
TEST_F(ManagePages, NamesAndNumbersAreStoredWholeOrRefused) {
  const std::wstring most(31, L'\u4E2D');
  const auto text_of = [](int id) {
    wchar_t text[256] = L"";
    return Narrow(text, static_cast<std::size_t>(LoadStringW(Module(), static_cast<UINT>(id), text, 256)));
  };
  Work(kManage, [&](DialogUser& dialog) {
    const auto add_with = [&](int field, const std::wstring& text) {
      SetDlgItemTextW(dialog.sheet, field, text.c_str());
      Add(dialog);
    };
    std::string names;
    for (const auto& name : {most + L"1", most + L"\u4E2D", most + L"12", L"  " + most + L"  "}) {
      add_with(IDC_MANAGE_NAME, name);
      const auto bytes = NarrowText(name.starts_with(L' ') ? most : name);
      const bool fits = bytes.size() < 64;
      if (fits) names += bytes + ";";
      EXPECT_EQ(Said(), fits ? "" : text_of(IDS_NAME_TOO_LONG) + ":\n" + NarrowText(name)) << bytes;
      EXPECT_EQ(StoredNames(), names);
      EXPECT_EQ(dialog.Pages(), names);
    }
    // What is left of a number is no other number; more than a user can type is no other text for being cut.
    const std::tuple<int, std::wstring, int> kRefused[] = {
        {IDC_MANAGE_WIDTH, std::wstring(4, L'\u4E2D'), IDS_INVALID_WIDTH},
        {IDC_MANAGE_VERT, std::wstring(4, L'\u4E2D'), IDS_INVALID_OFFSET},
        {IDC_MANAGE_NAME, L"a name that goes on and on and on beyond sixty-three characters, quite", IDS_NAME_TOO_LONG},
        {IDC_MANAGE_WIDTH, L"4.12500no number at all", IDS_INVALID_WIDTH},
        {IDC_MANAGE_VERT, L"      12345", IDS_INVALID_OFFSET}};
    SetDlgItemTextW(dialog.sheet, IDC_MANAGE_NAME, L"N");
    for (const auto& [field, text, message] : kRefused) {
      const std::wstring before = user::TextOf(GetDlgItem(dialog.sheet, field));
      add_with(field, text);
      EXPECT_TRUE(Said().starts_with(text_of(message))) << field;
      EXPECT_EQ(dialog.Text(IDC_MANAGE_VERT_READOUT).starts_with("-.--- "),
                field == IDC_MANAGE_VERT && text[0] != L' ');
      SetDlgItemTextW(dialog.sheet, field, before.c_str());
    }
    EXPECT_EQ(StoredNames(), names);
  });
}

LONGLONG reported_size;

BOOL WINAPI Measure(HANDLE file, LARGE_INTEGER* size) {
  const BOOL measured = GetFileSizeEx(file, size);
  if (reported_size) size->QuadPart = reported_size;
  return measured;
}

// What the host starts must not inherit a list's file, and whoever is behind its name must not act as the user.
HANDLE WINAPI OpenWatched(LPCWSTR path, DWORD access, DWORD sharing, LPSECURITY_ATTRIBUTES security, DWORD disposition,
                          DWORD flags, HANDLE like) {
  EXPECT_TRUE(!security || !security->bInheritHandle);
  EXPECT_EQ(flags & SECURITY_VALID_SQOS_FLAGS, DWORD{SECURITY_SQOS_PRESENT | SECURITY_IDENTIFICATION});
  return CreateFileW(path, access, sharing, security, disposition, flags, like);
}

// A file that is no list, or another one than it seemed: nothing is said or stored, the first page is shown again.
TEST_F(ManagePages, ListsGoToFilesAndBack) {
  const std::string list = ListOf(2);
  watch->Replace("kernel32.dll", "CreateFileW", &OpenWatched);
  watch->Replace("kernel32.dll", "GetFileSizeEx", &Measure);
  PutFile(std::string(5000, '#'));
  Take(kManage, {{{}, Export}, {{}, [](DialogUser& dialog) { chosen_file.clear(), Export(dialog), Import(dialog); }}});
  EXPECT_EQ(FileText(), "{\n\t\"version\":\t0,\n\t\"list\":\t[]\n}") << "a longer file is replaced, and only once";
  EXPECT_EQ(asked_for, "ZPK|*.ZPK|zpk " + std::to_string(OFN_FILEMUSTEXIST | OFN_HIDEREADONLY | OFN_NOCHANGEDIR));
  Store({258, "Q\"\\ \xE4", "4.125", "5.000", "-2400", "2400", 1});
  Store({259, "M", "104.8", "127", "0", "", 0});
  Store({260, "T", "1048", "1270", "1", "2", 2});
  const std::string all = Stored(), last_two = all.substr(all.find("259")), last = all.substr(all.find("260"));
  chosen_file = L"pages.zpk";
  std::vector<Step> steps{{{}, Export},
                          {{}, Delete, "", nullptr, last_two.c_str()},
                          {{}, Delete, "", nullptr, last.c_str()},
                          {{}, Delete, "", nullptr, ""},
                          {{}, Import, "", nullptr, all.c_str(), 0}};
  const char* const first_page = "Q\"\\ \xE4 4.125 5.000 -2400 2400 | in -2.000 in, 2.000 in, 0.040 - 11.692";
  const auto refuse = [&](std::function<void(DialogUser&)> import) {
    steps.push_back({{}, Choose("M")});
    steps.push_back({{"Edited", "7", "8"}, import, "", first_page, nullptr, 0});
  };
  for (const wchar_t* path : {L"NUL", L"CON", L"C:\\windows", L"missing.zpk"}) {
    refuse([path](DialogUser& dialog) { chosen_file = path, Import(dialog); });
  }
  for (const std::string& text : {std::string(), list.substr(0, list.size() - 1), "\xEF\xBB\xBF" + list}) {
    refuse(ImportOf(text));
  }
  // As if the file had grown since it was measured, were none, or were larger than any list.
  constexpr LONGLONG kLargest = 1024 * 1024;
  for (const LONGLONG size : {static_cast<LONGLONG>(list.size()) - 5, -1LL, kLargest + 1, 0x100000100LL}) {
    refuse([=](DialogUser& dialog) { reported_size = size, ImportOf(list)(dialog), reported_size = 0; });
  }
  const std::string grown = all + "261 F0 4.13 5.00 0 0 1;262 F1 4.13 5.00 0 0 1;";
  const auto shrunk = [&](DialogUser& dialog) { reported_size = kLargest, ImportOf(list)(dialog), reported_size = 0; };
  steps.push_back({{}, shrunk, "", nullptr, grown.c_str()});
  steps.push_back({{}, [](DialogUser& dialog) { chosen_file = L"no such folder\\pages.zpk", Export(dialog); }});
  Take(kManage, steps);
  EXPECT_EQ(asked_for, "ZPK|*.ZPK|zpk " + std::to_string(OFN_OVERWRITEPROMPT | OFN_HIDEREADONLY | OFN_NOCHANGEDIR));
}

}  // namespace
}  // namespace tests
