// The Page tab: which label it shows as chosen, what it says of it, and what it makes of the choice or, in the Custom
// Page dialog, of a page size of the document's own.
#include <algorithm>
#include <clocale>

#include "../trace_shape.h"
#include "dialogs_fixture.h"
#include "user/trace_files.h"

namespace tests {
namespace {

struct PageTab : DialogTest {};

constexpr platform::LabelStock kInch{259, "Inch", "4.125", "5.000", "-12", "34", 1};
constexpr platform::LabelStock kMetric{258, "Metric", "60", "80", "1", "2", 0};

std::string Details(const platform::LabelStock& label, const char* unit) {
  return std::string("Width: ") + label.width + unit + "\r\nLength: " + label.length + unit +
         "\r\nVertical Offset: " + label.vertical_offset + "\r\nHorizontal Offset: " + label.horizontal_offset + "\r\n";
}

// The chosen label and what is said of it.
std::string Shown(const SheetUser& user) {
  return user.Text(IDC_PAGE_LABELS) + " " + user.Text(IDC_PAGE_DETAILS);
}

void TypeCustomWidth(const SheetUser& user) {
  const DialogUser custom(user, kCustom);
  user::Type(custom.sheet, IDC_CUSTOM_WIDTH, L"3");
  custom.EndBy(VK_RETURN);
}

TEST_F(PageTab, SelectsTheLabelThatMatchesInEverything) {
  Store({258, "Inch", "4.125", "5.000", "-12", "34", 1});
  Store(kInch);
  void (*const kChanges[])(r5lqz::PrivateDevMode&) = {[](auto&) {},
                                                      [](auto& own) { strcpy(own.labelName, "inch"); },
                                                      [](auto& own) { strcpy(own.width_string, "4.12"); },
                                                      [](auto& own) { strcpy(own.length_string, "5"); },
                                                      [](auto& own) { own.vertOffset = 12; },
                                                      [](auto& own) { own.horzOffset = 35; },
                                                      [](auto& own) { own.units = 0; }};
  const auto selected = [](const DriverDevMode& in) {
    LRESULT entry = -1;
    Edit(in, [&](SheetUser& user) { entry = user.Send(IDC_PAGE_LABELS, CB_GETCURSEL); });
    return entry;
  };
  for (const auto& change : kChanges) {
    DriverDevMode in = MadeBy(kInch);
    change(in.dm_private);
    EXPECT_EQ(selected(in), &change == kChanges ? 2 : 0) << &change - kChanges;
  }
  watch->Replace(
      "user32.dll", "SendMessageA", +[](HWND window, UINT message, WPARAM first, LPARAM second) {
        static bool refused = false;
        if (message == CB_ADDSTRING && !std::exchange(refused, true)) return LRESULT{CB_ERRSPACE};
        return SendMessageA(window, message, first, second);
      });
  EXPECT_EQ(selected(MadeBy(kInch)), 0) << "an entry stands for the label with its number";
}

TEST_F(PageTab, ShowsAndAppliesEachLabel) {
  const struct {
    platform::LabelStock stock;
    const char* unit;
    const char* taken;
  } kRows[] = {{{258, "Inches", "4.125", "1", "-2400", "2400", 1}, " in", "4.125 1 -2400 2400 1, 258 1048 254"},
               {{259, "Metric \xE4", "104.75", "901.7", "", "7", 0}, " mm", "104.75 901.7 0 7 0, 259 1048 9017"},
               {{260, "Tenths", "1047.4", "1270.6", "1", "2", 2}, " mm", "1047.4 1270.6 1 2 2, 260 1047 1271"},
               {{261, "No number", "abc", "1e3", "x", "1e0", 0}, " mm", "abc 1e3 6 5 0, 261 1048 1270"},
               // The low 16 bits.
               {{262, "Too large", "66552", "40000", "0", "0", 2}, " mm", "66552 40000 0 0 2, 262 1016 -25536"}};
  for (const auto& row : kRows) Store(row.stock);
  const platform::LabelStock custom{257, "Custom", "4.125", "5.000", "6", "5", 1};
  for (const char* const locale : {"C", "German_Germany.1252"}) {
    ASSERT_TRUE(setlocale(LC_ALL, locale));
    const auto shown = [&](const platform::LabelStock& stock, const char* unit) {
      std::string details = Details(stock, unit);
      if (*locale != 'C') std::ranges::replace(details, '.', ',');
      return stock.name + (" " + details);
    };
    for (const auto& [stock, unit, taken] : kRows) {
      const DriverDevMode out = Edit(MadeBy(custom), [&](SheetUser& user) {
        EXPECT_EQ(Shown(user), shown(custom, " in"));
        user.Choose(IDC_PAGE_LABELS, stock.name);
        EXPECT_EQ(Shown(user), shown(stock, unit));
      });
      EXPECT_EQ(PageOf(out), std::to_string(stock.number) + " " + stock.name + " " + taken);
      EXPECT_EQ(out.dm_public.dmFields, settled.dm_public.dmFields);
      EXPECT_EQ(Narrow(out.dm_public.dmFormName, 32), "Custom");
    }
  }
  setlocale(LC_ALL, "C");
}

TEST_F(PageTab, ManagingNeedsTheRightToWrite) {
  for (const DWORD answer : {ERROR_SUCCESS, ERROR_ACCESS_DENIED}) {
    store[kProbe].answer = answer;
    Edit(Defaults(), [&](SheetUser& user) {
      EXPECT_EQ(user.Enabled(IDC_PAGE_MANAGE), answer == ERROR_SUCCESS);
      EXPECT_TRUE(user.Enabled(IDC_PAGE_EDIT_CUSTOM));
    });
  }
  DWORD needed = 0;
  EXPECT_EQ(platform::RegistryEnumPrinterKey(Printer(), L"test", nullptr, 0, &needed), DWORD{ERROR_FILE_NOT_FOUND});
}

TEST_F(PageTab, AChoiceOutlivesEditCustomButNotManagePages) {
  Store(kMetric);
  Store(kInch);
  const DriverDevMode out = Edit(MadeBy(kInch), [&](SheetUser& user) {
    user.Choose(IDC_PAGE_LABELS, "Metric");
    TypeCustomWidth(user);
    EXPECT_EQ(Shown(user), "Metric " + Details(kMetric, " mm"));
  });
  EXPECT_EQ(PageOf(out), "258 Metric 60 80 1 2 0, 258 600 800");
  Edit(Defaults(), [&](SheetUser& user) {
    TypeCustomWidth(user);
    EXPECT_EQ(Shown(user), "Custom " + Details({257, "Custom", "3", "5.000", "0", "0", 1}, " in"));
  });
  // Cancel, on the other hand, hands nothing over.
  DriverDevMode in = MadeBy(kInch), untouched{};
  auto header = Header(&in, &untouched);
  ShowSheet(
      Driver().DocumentPropertySheets, &header,
      [](SheetUser& user) {
        user.Choose(IDC_PAGE_LABELS, "Metric");
        DialogUser(user, kManage).Click(IDC_MANAGE_DELETE);
        EXPECT_EQ(user.Send(IDC_PAGE_LABELS, CB_GETCURSEL), 1);
        EXPECT_EQ(Shown(user), "Inch " + Details(kInch, " in"));
      },
      PSBTN_CANCEL);
  EXPECT_EQ(untouched.dm_public.dmPaperSize, 0);
}

TEST_F(PageTab, EditCustomWritesWhatIsTypedOrNothing) {
  constexpr platform::LabelStock kInches{257, "Other", "4.125", "5.000", "0", "0", 1},
      kOffsets{257, "Other", "4.125", "5.000", "-12", "-2399", 1}, kMetric{257, "Other", "1048", "1270", "0", "0", 0},
      kTenths{257, "Other", "1048", "1270", "0", "0", 2};
  const struct {
    platform::LabelStock shown;
    const char* taken;
    std::vector<Step> steps;
    WPARAM key = VK_RETURN;
  } kRows[] = {
      {kInches,
       "257 Custom 0.04 35.5 0 1 1, 257 10 9017",
       {{{}, Click(IDC_CUSTOM_INCHES), "", "4.125 5.000 0 0 | in 0.000 in, 0.000 in, 0.040 - 11.692"},
        {{nullptr, "0.04", "35.5", "", "+1"}}}},
      {kMetric, "257 Custom 104.8 127 0 0 0, 257 1048 1270", {{{nullptr, " 104.8 ", "127"}}}},
      {kTenths,
       "257 Custom 104.800 127.000 0 0 0, 257 1048 1270",
       {{{}, Click(IDC_CUSTOM_MM), "", "104.800 127.000 0 0 | mm 0.000 mm, 0.000 mm, 1.000 - 297.000"}}},
      {kTenths,
       "257 Custom 30 127 0 0 0, 257 300 1270",
       {{{}, Click(IDOK), kWidthMm, "1048 1270 0 0 | mm 0.000 mm, 0.000 mm, 10.000 - 2970.000"},
        {{nullptr, "30", "127"}}}},
      {kInches,
       "257 Custom 3 5 2400 0 1, 257 762 1270",
       {{{nullptr, "3", "5", "2401"}, Click(IDOK), kOffset},
        {{nullptr, nullptr, nullptr, "2399"}, Press(IDC_CUSTOM_VERT, VK_UP, 3)}}},
      {kInches,
       "257 Other 4.125 5.000 0 0 1, 257 1048 1270",
       {{{nullptr, "3", nullptr, "-2399", "1.5"}, Press(IDC_CUSTOM_VERT, VK_DOWN, 3)},
        {{}, Click(IDC_CUSTOM_MM), "", "76.200 127.000 -2400 1.5 | mm -50.800 mm, -.--- mm, 1.000 - 297.000"}},
       VK_ESCAPE},
      {kOffsets,
       "257 Custom 4.125 5.000 -12 -2399 1, 257 1048 1270",
       {{{}, {}, "", "4.125 5.000 -12 -2399 | in -0.010 in, -1.999 in, 0.040 - 11.692"},
        {{}, Press(IDC_CUSTOM_HORZ, VK_DOWN, 3), "", "4.125 5.000 -12 -2400 | in -0.010 in, -2.000 in, 0.040 - 11.692"},
        {{}, Press(IDC_CUSTOM_HORZ, VK_UP)}}},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.taken);
    const DriverDevMode out = Take(kCustom, row.steps, MadeBy(row.shown), row.key);
    EXPECT_EQ(PageOf(out), row.taken);
    EXPECT_EQ(out.dm_public.dmFields, settled.dm_public.dmFields);
  }
}

// Two sheets, each on its own thread: one changes the printer's list and reads it again; the other applies what its own
// list shows. Neither knows of the other's colours.
TEST_F(PageTab, TwoSheetsAtOnceKnowNothingOfEachOther) {
  Store(kMetric);
  Store(kInch);
  DriverDevMode theirs{};
  // The second begins when the first is drawn: fonts that two threads draw with for the first time at the same moment
  // can stop Wine's drawing of text for good.
  const DriverDevMode ours = Edit(Defaults(), [&](SheetUser& user) {
    user.Choose(IDC_PAGE_LABELS, "Inch");
    EXPECT_TRUE(user.Open(kColorTab));
    user.Click(IDC_COLOR_AUTOMATIC);
    theirs = Edit(Defaults(), [](SheetUser& other) {
      {
        DialogUser dialog(other, kManage);
        dialog.Click(IDC_MANAGE_DELETE);
        user::Type(dialog.sheet, IDC_MANAGE_NAME, L"C");
        user::Type(dialog.sheet, IDC_MANAGE_WIDTH, L"7");
        dialog.Click(IDC_MANAGE_ADD);
      }
      other.Choose(IDC_PAGE_LABELS, "C");
      EXPECT_TRUE(other.Open(kColorTab));
      other.Click(IDC_COLOR_APPLICATION);
    });
    EXPECT_TRUE(user.Open(kLayoutTab) && user.Open(kColorTab));
    EXPECT_TRUE(user.Checked(IDC_COLOR_AUTOMATIC) && user.Enabled(IDC_COLOR_PROFILE));
  });
  EXPECT_EQ(PageOf(ours), "259 Inch 4.125 5.000 -12 34 1, 259 1048 1270");
  EXPECT_EQ(PageOf(theirs), "260 C 7 5.000 -12 34 1, 260 1778 1270");
  EXPECT_TRUE(ours.dm_private.colorAdjust == 1 && theirs.dm_private.colorAdjust == 0);
}

// Every record of a walk through both sheets, with each kind of click in the dialogs: who called whom, what was said at
// which level, in which order.
TEST_F(PageTab, AWalkThroughEverythingIsTracedStepByStep) {
  user::TraceFiles files(ModulePath());
  const auto read_mask = [] {
    EXPECT_EQ(Driver().DocumentEvent(nullptr, nullptr, DOCUMENTEVENT_STARTDOCPRE, 0, nullptr, 0, nullptr), 1);
  };
  Store(kInch);
  files.SwitchOn(3);
  read_mask();
  watch->blocks.clear();  // the paths of the trace files, which stay
  Edit(MadeBy(kInch), [&](SheetUser& user) {
    EXPECT_TRUE(user.Open(kLayoutTab) && user.Open(kColorTab) && user.Open(kPageTab));
    user.Choose(IDC_PAGE_LABELS, "Custom");
    {
      DialogUser dialog(user, kManage);
      user::Type(dialog.sheet, IDC_MANAGE_NAME, L"New");
      dialog.Click(IDC_MANAGE_ADD);
      user::Type(dialog.sheet, IDC_MANAGE_HORZ, L"x");
      for (const int button : {IDC_MANAGE_MODIFY, IDC_MANAGE_MM, IDC_MANAGE_EXPORT, IDC_MANAGE_DELETE}) {
        dialog.Click(button);
      }
      Choose("Inch")(dialog);
      dialog.Click(IDC_MANAGE_DELETE);
    }
    DialogUser(user, kCustom).EndBy(VK_RETURN);
  });
  ShowSheet(Driver().DevicePropertySheets, &device, [](SheetUser&) {}, PSBTN_OK);
  files.SwitchOff();
  read_mask();
  std::vector<std::string> texts;
  for (const std::string& line : files.NewLines()) {
    const auto head = line.find("] ", line.find("] [TID: ") + 2);
    texts.push_back(line.substr(std::min(line.size(), head + 2)));
  }
  std::string shape = TraceShape(texts);
  // How often the list is told of the focus is the platform's to say.
  int shown = 0;
  for (const std::string& click : {std::string("LabelListClick(DisplayLabelDetails()) "),
                                   std::string("LabelListClick(DisplayDevmodeDetails()) ")}) {
    for (auto at = shape.find(click); at != std::string::npos; at = shape.find(click))
      ++shown, shape.erase(at, click.size());
  }
  EXPECT_GT(shown, 0);
  const std::string profiles = "GetColorProfileList('Color Profile List:' 'alpha.icm' 'beta.icm' 'gamma.icm')";
  const std::string converted = "ConvertDevMode('pdmIn:'{} 'pdmOut:'{} 'pdmIn:'{} 'pdmOut:'{} =";
  const auto merged = [&](const char* bytes) {
    return "MergeDevMode('pdmDest:'{} 'pdmSrc:'{} " + converted + bytes +
           ") CopyDevmode('dest:'{} 'src:'{} 'dest:'{} 'src:'{}) ValidateDevmode('pdm (before ValidateForm):'{} "
           "ValidateForm() 'pdm (After ValidateForm):'{} 'pdm:'{}) 'pdmDest:'{} 'pdmSrc:'{} =TRUE) ";
  };
  const std::string defaults =
      "MyGetPrinterInfo() SetupDefaultDevMode(AssignDefaultColorProfile(" + profiles + ") =TRUE)";
  const std::string context = "FillUiData(" + defaults + " 'pdm:'{} " + merged("220");
  const std::string list = "ReadPrinterLabelList(LoadPrinterLabel(=0x0) =0x0)";
  const std::string entries =
      "ReadAndValidateFloat() ReadAndValidateFloat() ReadAndValidateInt() ReadAndValidateInt())";
  const std::string ranges = "SetRangeText(GetRangeString() GetRangeString()) UpdateVertOffset() UpdateHorzOffset())";
  const auto reason = [](const char* number) {
    return "DrvDocumentPropertySheets('pDPHdr->fMode = 10' 'pPSUIInfo->Reason = " + std::string(number) + "'";
  };
  EXPECT_EQ(shape,
            ") DrvConvertDevMode(" + defaults + ") " + reason("0") + " " + context + merged("864") +
                "AddPrinterForms()) AddTab() AddTab() AddTab() AddTab()) " + reason("1") +
                ") Initialize(LoadLabelList(" + list +
                ")) InitDialog(DisplayNumberCopies()) ReInitPage() ValidatePage(GetNumberCopies(ReadAndValidateInt())) "
                "InitDialog(InitComboBox() InitComboBox() InitColorProfileComboBox(" +
                profiles + ") SetComboBoxSelectionString()) ReInitPage() ManageLabelsClick(Initialize(" + list +
                " AdjustLabelListExtent() DisplayValues(" + ranges +
                ") AddClick(ReadAndValidate(ReadAndValidateName() " + entries +
                " AddPrinterLabel(GenerateNextLabelId(=0x0) SavePrinterLabel(=0x0) =0x0) AdjustLabelListExtent()) "
                "UpdateHorzOffset() UpdateHorzOffset() ModifyClick(ReadAndValidate(ReadAndValidateName() " +
                entries + ") UnitsClick(ReadAndValidateFloat() ReadAndValidateFloat() " + ranges +
                " ExportClick(InitFileDlg()) DeleteClick(DeletePrinterLabel(=0x0) AdjustLabelListExtent() "
                "DisplayValues(UpdateVertOffset() UpdateHorzOffset() " +
                ranges + ") LabelListClick(DisplayValues(UpdateVertOffset() UpdateHorzOffset() " + ranges +
                ") DeleteClick(DeletePrinterLabel(=0x0) AdjustLabelListExtent()) CloseClick() LoadLabelList("
                "ReadPrinterLabelList(=0x0) DisplayDevmodeDetails()) DisplayDevmodeDetails()) "
                "EditCustomClick(Initialize(DisplayValues(" +
                ranges + ") OkClick(" + entries + " DisplayDevmodeDetails()) OkClick(" + converted + "864)) OkClick(" +
                converted + "864)) OkClick(GetNumberCopies(ReadAndValidateInt()) " + converted +
                "864)) FreeColorProfileItemData() " + reason("3") + " " + converted + "864)) " + reason("2") +
                ") DrvDevicePropertySheets(" + context +
                "MergeDevMode(=TRUE) AddPrinterForms()) AddTab()) DrvDevicePropertySheets() InitDialog() OkClick() "
                "DrvDevicePropertySheets() DrvDevicePropertySheets([Trace] PROPSHEETUI_REASON_DESTROY "
                "[Trace] PROPSHEETUI_REASON_DESTROY Complete) DrvDocumentEvent(");
}

}  // namespace
}  // namespace tests
