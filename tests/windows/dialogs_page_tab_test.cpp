// The Page tab: which label it shows as chosen, what it says of it, and what it makes of the choice.
#include <clocale>
#include <fstream>

#include "../trace_shape.h"
#include "dialogs_fixture.h"

namespace tests {
namespace {

struct PageTab : DialogTest {};

constexpr platform::LabelStock kInch{259, "Inch", "4.125", "5.000", "-12", "34", 1};
constexpr platform::LabelStock kMetric{258, "Metric", "60", "80", "1", "2", 0};

// Settings that the label kInch has made.
DriverDevMode Chosen(DriverDevMode record) {
  auto& own = record.dm_private;
  record.dm_public.dmPaperSize = own.dmPaperSize = kInch.number;
  strcpy(own.labelName, kInch.name);
  own.vertOffset = -12;
  own.horzOffset = 34;
  return record;
}

std::string Details(const platform::LabelStock& label, const char* unit) {
  return std::string("Width: ") + label.width + unit + "\r\nLength: " + label.length + unit +
         "\r\nVertical Offset: " + label.vertical_offset + "\r\nHorizontal Offset: " + label.horizontal_offset + "\r\n";
}

LRESULT Selected(const SheetUser& sheet) {
  return sheet.Send(IDC_PAGE_LABELS, CB_GETCURSEL);
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
  for (const auto& change : kChanges) {
    DriverDevMode in = Chosen(Defaults());
    change(in.dm_private);
    Edit(in, [&](SheetUser& sheet) {
      ASSERT_TRUE(sheet.Open("Page"));
      EXPECT_EQ(sheet.Send(IDC_PAGE_LABELS, CB_GETCOUNT), 3);
      EXPECT_EQ(Selected(sheet), &change == kChanges ? 2 : 0) << &change - kChanges;
      sheet.Choose(IDC_PAGE_LABELS, "Custom");
      if (&change == kChanges) {
        EXPECT_EQ(sheet.Text(IDC_PAGE_DETAILS), Details(kInch, " in"));
      }
    });
  }
  watch->Replace(
      "user32.dll", "SendMessageA", +[](HWND window, UINT message, WPARAM first, LPARAM second) {
        static bool refused = false;
        if (message == CB_ADDSTRING && !std::exchange(refused, true)) return LRESULT{CB_ERRSPACE};
        return SendMessageA(window, message, first, second);
      });
  Edit(Chosen(Defaults()), [&](SheetUser& sheet) {
    ASSERT_TRUE(sheet.Open("Page"));
    EXPECT_EQ(sheet.Send(IDC_PAGE_LABELS, CB_GETCOUNT), 1) << "an entry stands for the label with its number";
    EXPECT_EQ(Selected(sheet), 0);
  });
}

TEST_F(PageTab, ShowsAndAppliesEachLabel) {
  const struct {
    platform::LabelStock stock;
    const char* unit;
    short width, length;
    LONG vertical, horizontal;
  } kRows[] = {{{258, "Inches", "4.125", "1", "-2400", "2400", 1}, " in", 1048, 254, -2400, 2400},
               {{259, "Metric \xE4", "104.75", "901.7", "", "7", 0}, " mm", 1048, 9017, 0, 7},
               {{260, "Tenths", "1047.4", "1270.6", "1", "2", 2}, " mm", 1047, 1271, 1, 2},
               {{261, "No number", "abc", "1e3", "x", "1e0", 0}, " mm", 1048, 1270, 6, 5},
               {{262, "Too large", "66552", "40000", "0", "0", 2}, " mm", 1016, -25536, 0, 0}};  // the low 16 bits
  for (const auto& row : kRows) Store(row.stock);
  DriverDevMode in = Defaults();
  in.dm_private.vertOffset = 6;
  in.dm_private.horzOffset = 5;
  for (const char* const locale : {"C", "German_Germany.1252"}) {
    ASSERT_TRUE(setlocale(LC_ALL, locale));
    for (const auto& row : kRows) {
      std::string details = Details(row.stock, row.unit);
      if (*locale != 'C') std::replace(details.begin(), details.end(), '.', ',');
      const DriverDevMode out = Edit(in, [&](SheetUser& sheet) {
        ASSERT_TRUE(sheet.Open("Page"));
        EXPECT_EQ(Selected(sheet), 0);
        sheet.Choose(IDC_PAGE_LABELS, row.stock.name);
        EXPECT_EQ(sheet.Text(IDC_PAGE_DETAILS), details);
      });
      const auto& own = out.dm_private;
      EXPECT_STREQ(own.labelName, row.stock.name);
      EXPECT_EQ(out.dm_public.dmPaperSize, row.stock.number);
      EXPECT_EQ(own.dmPaperSize, row.stock.number);
      EXPECT_EQ(out.dm_public.dmPaperWidth, row.width) << own.labelName;
      EXPECT_EQ(out.dm_public.dmPaperLength, row.length) << own.labelName;
      EXPECT_TRUE(own.vertOffset == row.vertical && own.horzOffset == row.horizontal) << own.labelName;
      EXPECT_STREQ(own.width_string, row.stock.width);
      EXPECT_STREQ(own.length_string, row.stock.length);
      EXPECT_EQ(own.units, row.stock.units);
      EXPECT_EQ(out.dm_public.dmFields, settled.dm_public.dmFields);
      EXPECT_EQ(Narrow(out.dm_public.dmFormName, 32), "Custom");
    }
  }
  setlocale(LC_ALL, "C");
}

TEST_F(PageTab, ManagingNeedsTheRightToWrite) {
  Store(kMetric);
  for (const DWORD answer : {ERROR_SUCCESS, ERROR_ACCESS_DENIED}) {
    store[kProbe].answer = answer;
    store[kDelete].count = 0;
    const DriverDevMode out = Edit(Defaults(), [&](SheetUser& sheet) {
      ASSERT_TRUE(sheet.Open("Page"));
      EXPECT_EQ(sheet.Enabled(IDC_PAGE_MANAGE), answer == ERROR_SUCCESS);
      EXPECT_TRUE(sheet.Enabled(IDC_PAGE_EDIT_CUSTOM));
      sheet.Choose(IDC_PAGE_LABELS, "Metric");
    });
    EXPECT_EQ(out.dm_public.dmPaperSize, 258);
    EXPECT_EQ(store[kDelete].count, answer == ERROR_SUCCESS ? 1 : 0);
  }
  DWORD needed = 0;
  EXPECT_EQ(platform::RegistryEnumPrinterKey(Printer(), L"test", nullptr, 0, &needed), DWORD{ERROR_FILE_NOT_FOUND});
}

TEST_F(PageTab, AChoiceOutlivesEditCustomButNotManagePages) {
  Store(kMetric);
  Store(kInch);
  const DriverDevMode out = Edit(Chosen(Defaults()), [&](SheetUser& sheet) {
    ASSERT_TRUE(sheet.Open("Page"));
    sheet.Choose(IDC_PAGE_LABELS, "Metric");
    DialogUser custom(sheet, kCustom);
    custom.Type(IDC_CUSTOM_WIDTH, "3");
    custom.EndBy(IDC_CUSTOM_WIDTH, VK_RETURN);
    EXPECT_EQ(sheet.Text(IDC_PAGE_LABELS) + sheet.Text(IDC_PAGE_DETAILS), "Metric" + Details(kMetric, " mm"));
  });
  EXPECT_STREQ(out.dm_private.labelName, "Metric");
  EXPECT_EQ(out.dm_public.dmPaperWidth, 600);
  Edit(Defaults(), [&](SheetUser& sheet) {
    ASSERT_TRUE(sheet.Open("Page"));
    DialogUser custom(sheet, kCustom);
    custom.Type(IDC_CUSTOM_WIDTH, "3");
    custom.EndBy(IDC_CUSTOM_WIDTH, VK_RETURN);
    const platform::LabelStock own{257, "Custom", "3", "5.000", "0", "0", 1};
    EXPECT_EQ(sheet.Text(IDC_PAGE_LABELS) + sheet.Text(IDC_PAGE_DETAILS), "Custom" + Details(own, " in"));
  });
  // Cancel, on the other hand, hands nothing over.
  DriverDevMode in = Chosen(Defaults()), untouched{};
  auto header = Header(&in, &untouched);
  ShowSheet(
      document_entry, &header,
      [](SheetUser& sheet) {
        ASSERT_TRUE(sheet.Open("Page"));
        sheet.Choose(IDC_PAGE_LABELS, "Metric");
        DialogUser dialog(sheet, kManage);
        dialog.Click(IDC_MANAGE_DELETE);
        dialog.EndBy(IDC_MANAGE_NAME, VK_RETURN);
        EXPECT_EQ(Selected(sheet), 1);
        EXPECT_EQ(sheet.Text(IDC_PAGE_LABELS) + sheet.Text(IDC_PAGE_DETAILS), "Inch" + Details(kInch, " in"));
      },
      PSBTN_CANCEL);
  EXPECT_EQ(untouched.dm_public.dmPaperSize, 0);
}

// Two sheets, each on its own thread: one changes the printer's list and reads it again; the other applies what its own
// list shows.
TEST_F(PageTab, AppliesWhatItsOwnListShows) {
  Store(kMetric);
  Store(kInch);
  DriverDevMode theirs{};
  const DriverDevMode ours = Edit(Defaults(), [&](SheetUser& sheet) {
    EXPECT_TRUE(sheet.Open("Page"));
    sheet.Choose(IDC_PAGE_LABELS, "Inch");
    theirs = Edit(Defaults(), [&](SheetUser& other) {
      EXPECT_TRUE(other.Open("Page"));
      DialogUser dialog(other, kManage);
      dialog.Click(IDC_MANAGE_DELETE);
      dialog.Type(IDC_MANAGE_NAME, "C"), dialog.Type(IDC_MANAGE_WIDTH, "7");
      dialog.Click(IDC_MANAGE_ADD);
      dialog.EndBy(IDC_MANAGE_NAME, VK_ESCAPE);
      other.Choose(IDC_PAGE_LABELS, "C");
    });
    EXPECT_EQ(sheet.Text(IDC_PAGE_LABELS), "Inch");
  });
  EXPECT_STREQ(ours.dm_private.labelName, "Inch");
  EXPECT_EQ(ours.dm_public.dmPaperWidth, 1048);
  EXPECT_STREQ(theirs.dm_private.labelName, "C");
  EXPECT_EQ(theirs.dm_public.dmPaperWidth, 1778);
}

// Every record of a walk through both sheets, with each kind of click in the dialogs: who called whom, what was said at
// which level, in which order.
TEST_F(PageTab, AWalkThroughEverythingIsTracedStepByStep) {
  constexpr char kMaskFile[] = "c:\\temp\\r5-lqz-ui.dat", kLogFile[] = "c:\\temp\\r5-lqz-ui.txt";
  const auto read_mask = [] {
    EXPECT_EQ(Driver().DocumentEvent(nullptr, nullptr, DOCUMENTEVENT_STARTDOCPRE, 0, nullptr, 0, nullptr), 1);
  };
  CreateDirectoryA("c:\\temp", nullptr);
  DeleteFileA(kLogFile);
  Store(kInch);
  std::ofstream(kMaskFile) << "3";
  read_mask();
  watch->blocks.clear();  // the paths of the trace files, which stay
  Edit(Chosen(Defaults()), [&](SheetUser& sheet) {
    EXPECT_TRUE(sheet.Open("Layout") && sheet.Open("Appearance") && sheet.Open("Page"));
    sheet.Choose(IDC_PAGE_LABELS, "Custom");
    {
      DialogUser dialog(sheet, kManage);
      dialog.Type(IDC_MANAGE_NAME, "New");
      dialog.Click(IDC_MANAGE_ADD);
      dialog.Type(IDC_MANAGE_HORZ, "x");
      dialog.Click(IDC_MANAGE_MODIFY);
      dialog.Click(IDC_MANAGE_MM);
      dialog.Click(IDC_MANAGE_EXPORT);
      dialog.Click(IDC_MANAGE_DELETE);
      Choose(0)(dialog);
      dialog.Click(IDC_MANAGE_DELETE);
      dialog.EndBy(IDC_MANAGE_NAME, VK_ESCAPE);
    }
    DialogUser(sheet, kCustom).EndBy(IDC_CUSTOM_WIDTH, VK_RETURN);
  });
  ShowSheet(device_entry, &device, [](SheetUser& sheet) { EXPECT_TRUE(sheet.Open("Device")); }, PSBTN_OK);
  DeleteFileA(kMaskFile);
  read_mask();
  std::vector<std::string> texts;
  std::ifstream log(kLogFile);
  for (std::string line; std::getline(log, line);) {
    const auto head = line.find("] ", line.find("] [TID: ") + 2);
    texts.push_back(line.substr(std::min(line.size(), head + 2)));
  }
  log.close();
  DeleteFileA(kLogFile);
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
