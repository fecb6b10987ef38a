#include "dialogs/manage_pages.h"

#include <commdlg.h>

#include <algorithm>
#include <array>
#include <span>

#include "base/bounded_format.h"
#include "base/bounded_text.h"
#include "base/late.h"
#include "base/module.h"
#include "base/owned.h"
#include "diag/trace.h"
#include "dialogs/dialog_frame.h"
#include "dialogs/label_file.h"
#include "dialogs/page_names.h"
#include "dialogs/size_fields.h"
#include "labels/label_store.h"
#include "pages/dialog_helpers.h"
#include "resources/resource_ids.h"

namespace r5lqz {
namespace manage_pages {
namespace {

constexpr INT_PTR kClosed = 1;
constexpr INT_PTR kUnreadable = 2;

constexpr SizeFields kFields{
    .width = IDC_MANAGE_WIDTH,
    .width_range = IDC_MANAGE_WIDTH_RANGE,
    .length = IDC_MANAGE_LENGTH,
    .length_range = IDC_MANAGE_LENGTH_RANGE,
    .inches = IDC_MANAGE_INCHES,
    .millimetres = IDC_MANAGE_MM,
    .vertical = IDC_MANAGE_VERT,
    .vertical_spin = IDC_MANAGE_VERT_SPIN,
    .vertical_readout = IDC_MANAGE_VERT_READOUT,
    .horizontal = IDC_MANAGE_HORZ,
    .horizontal_spin = IDC_MANAGE_HORZ_SPIN,
    .horizontal_readout = IDC_MANAGE_HORZ_READOUT,
};

// What a printer without pages offers to begin with: 4.125 by 5.000 inches.
constexpr SizeTexts kDefaultSize{"4.125", "5.000", "0", "0", kInches};

constexpr DWORD kPathSize = 256;
using PathText = std::array<WCHAR, kPathSize>;

// The file dialogs' one filter: name, pattern and the empty text that ends the list.
constexpr WCHAR kFileFilter[] = L"ZPK\0*.ZPK\0";
constexpr WCHAR kFileExtension[] = L"zpk";

// The one title that is the same in every language.
constexpr WCHAR kTooManyTitle[] = L"Error";

// Pixels behind the longest name of the list.
constexpr int kExtentMargin = 3;

// The state of one open dialog; the list control holds the names of the same pages in the same order.
struct ManagePagesContext {
  PrinterLabel labels[kMostLabels];
  int count;
  DWORD units;
  HANDLE hPrinter;
  const bool* is_ended;
};

// What the dialog is opened with.
struct Opening {
  HANDLE printer;
  const bool* is_ended;
};

HWND ListOf(HWND dialog) {
  return GetDlgItem(dialog, IDC_MANAGE_LABELS);
}

// The page that is selected in the list; none without one. The list control is anybody's to change, so its index is
// taken for no more than it is.
PrinterLabel* SelectedPage(HWND dialog, ManagePagesContext& context) {
  const LRESULT index = SendMessageW(ListOf(dialog), LB_GETCURSEL, 0, 0);
  return index >= 0 && index < context.count ? &context.labels[index] : nullptr;
}

void Select(HWND dialog, int index) {
  SendMessageW(ListOf(dialog), LB_SETCURSEL, static_cast<WPARAM>(index), 0);
}

// False when the list control cannot hold one more.
bool AppendName(HWND dialog, const PrinterLabel& label) {
  return SendMessageA(ListOf(dialog), LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(label.name)) >= 0;
}

// --- Messages --------------------------------------------------------------------------------------------------------

void ShowMessage(HWND dialog, UINT message_id) {
  ShowError(dialog, LoadText(message_id).data());
}

void ShowStoreError(HWND dialog, UINT message_id, ResultCode code) {
  const StringText message = LoadText(message_id);
  StringText text;
  FormatBounded(std::span(text), L"%s: 0x%x", message.data(), static_cast<unsigned>(code));
  ShowError(dialog, text.data());
}

void ShowTooManyPages(HWND dialog) {
  MessageBoxW(dialog, LoadText(IDS_TOO_MANY_PAGES).data(), kTooManyTitle, MB_ICONERROR);
}

void ShowNameTooLong(HWND dialog, const WCHAR* name) {
  const StringText message = LoadText(IDS_NAME_TOO_LONG);
  StringText text;
  FormatBounded(std::span(text), L"%s:\n%s", message.data(), name);
  ShowError(dialog, text.data());
}

// --- The list's width ------------------------------------------------------------------------------------------------

// A window's device context with its font selected, given back at the end.
class FontContext {
 public:
  explicit FontContext(HWND window) : window_(window), device_(GetDC(window)) {
    const auto font = reinterpret_cast<HGDIOBJ>(SendMessageW(window, WM_GETFONT, 0, 0));
    if (device_ && font) previous_ = SelectObject(device_, font);
  }
  ~FontContext() {
    if (previous_) SelectObject(device_, previous_);
    if (device_) ReleaseDC(window_, device_);
  }
  FontContext(const FontContext&) = delete;
  FontContext& operator=(const FontContext&) = delete;

  int WidthOf(std::span<const char> text) const {
    SIZE size{};
    if (!device_ || !GetTextExtentPoint32A(device_, text.data(), static_cast<int>(text.size()), &size)) return 0;
    POINT extent{size.cx, size.cy};
    LPtoDP(device_, &extent, 1);
    return extent.x;
  }

 private:
  HWND window_;
  HDC device_;
  HGDIOBJ previous_ = nullptr;
};

void AdjustLabelListExtent(HWND dialog, const PrinterLabel* labels, int count) {
  const TraceScope trace("AdjustLabelListExtent");
  const FontContext font(ListOf(dialog));
  int widest = 0;
  for (int index = 0; index < count; ++index) {
    widest = std::max(widest, font.WidthOf(TextIn(std::span<const char>(labels[index].name))));
  }
  SendMessageW(ListOf(dialog), LB_SETHORIZONTALEXTENT, static_cast<WPARAM>(widest + kExtentMargin), 0);
}

// --- Showing pages ---------------------------------------------------------------------------------------------------

void DisplayValues(HWND dialog, const PrinterLabel& page, DWORD& units) {
  const TraceScope trace("DisplayValues");
  SetDlgItemTextA(dialog, IDC_MANAGE_NAME, page.name);
  ShowSize(dialog, kFields, {page.width, page.length, page.vertOffset, page.horzOffset, page.units}, units);
}

void DisplayDefaultValues(HWND dialog, DWORD& units) {
  const TraceScope trace("DisplayDefaultValues");
  ShowSize(dialog, kFields, kDefaultSize, units);
}

void LabelListClick(HWND dialog, ManagePagesContext& context) {
  const TraceScope trace("LabelListClick");
  if (const PrinterLabel* const page = SelectedPage(dialog, context)) DisplayValues(dialog, *page, context.units);
}

BOOL Initialize(HWND dialog, ManagePagesContext& context) {
  const TraceScope trace("Initialize");
  SendDlgItemMessageW(dialog, IDC_MANAGE_NAME, EM_LIMITTEXT, kLabelNameSize - 1, 0);
  LONG count = 0;
  if (ReadPrinterLabelList(context.hPrinter, context.labels, kMostLabels, &count) != ERROR_SUCCESS) return FALSE;
  // Only as many as the control shows: an entry stands for the page with its number.
  while (context.count < count && AppendName(dialog, context.labels[context.count])) ++context.count;
  AdjustLabelListExtent(dialog, context.labels, context.count);
  Select(dialog, 0);
  InitSizeFields(dialog, kFields);
  if (context.count > 0) {
    DisplayValues(dialog, context.labels[0], context.units);
  } else {
    DisplayDefaultValues(dialog, context.units);
  }
  return TRUE;
}

// --- Reading the fields ----------------------------------------------------------------------------------------------

bool ReadAndValidateName(HWND dialog, PrinterLabel& page) {
  const TraceScope trace("ReadAndValidateName");
  if (!ReadNarrowText(dialog, IDC_MANAGE_NAME, page.name)) {
    std::array<WCHAR, kLabelNameSize> typed{};
    GetDlgItemTextW(dialog, IDC_MANAGE_NAME, typed.data(), static_cast<int>(typed.size()));
    ShowNameTooLong(dialog, typed.data());
    return false;
  }
  if (page.name[0]) return true;
  ShowMessage(dialog, IDS_NAME_MISSING);
  return false;
}

bool ReadAndValidate(HWND dialog, PrinterLabel& page) {
  const TraceScope trace("ReadAndValidate");
  page = {};
  return ReadAndValidateName(dialog, page) && ReadSize(dialog, kFields, page);
}

// --- The buttons -----------------------------------------------------------------------------------------------------

// Puts a page at the end of the printer's list, the dialog's copy and the list control, or nowhere; then the user has
// been told, and the dialog may be gone. A page that only the list control had no memory for is in the printer's list.
bool Append(HWND dialog, ManagePagesContext& context, PrinterLabel page) {
  if (context.count >= kMostLabels) {
    ShowTooManyPages(dialog);
    return false;
  }
  if (const ResultCode code = AddPrinterLabel(context.hPrinter, &page)) {
    ShowStoreError(dialog, IDS_ADD_FAILED, code);
    return false;
  }
  if (!AppendName(dialog, page)) return false;
  context.labels[context.count++] = page;
  return true;
}

void AddClick(HWND dialog, ManagePagesContext& context) {
  const TraceScope trace("AddClick");
  if (context.count >= kMostLabels) return ShowTooManyPages(dialog);
  PrinterLabel page;
  if (!ReadAndValidate(dialog, page)) return;
  if (IsLabelNameUsed(context.labels, context.count, page.name)) return ShowMessage(dialog, IDS_NAME_USED);
  if (!Append(dialog, context, page)) return;
  Select(dialog, context.count - 1);
  AdjustLabelListExtent(dialog, context.labels, context.count);
}

// Whether another page than the one at `index` has the name.
bool IsNameUsedElsewhere(const ManagePagesContext& context, int index, const char* name) {
  const PrinterLabel* const behind = context.labels + index + 1;
  return IsLabelNameUsed(context.labels, index, name) || IsLabelNameUsed(behind, context.count - index - 1, name);
}

// Where the list control cannot hold the new name, the old one goes on standing for the page.
void ReplaceName(HWND dialog, int index, const char* name) {
  const HWND list = ListOf(dialog);
  const LRESULT inserted =
      SendMessageA(list, LB_INSERTSTRING, static_cast<WPARAM>(index), reinterpret_cast<LPARAM>(name));
  if (inserted >= 0) SendMessageW(list, LB_DELETESTRING, static_cast<WPARAM>(index + 1), 0);
}

// Stores `page` in the place of `old`. The printer's data are written value by value: after a refusal in the midst of
// them the old values are put back, so that the printer holds the page that the list shows, not a mixture of both.
ResultCode Replace(HANDLE printer, const PrinterLabel& old, const PrinterLabel& page) {
  const ResultCode code = ModifyPrinterLabel(printer, &page);
  if (code) ModifyPrinterLabel(printer, &old);
  return code;
}

void ModifyClick(HWND dialog, ManagePagesContext& context) {
  const TraceScope trace("ModifyClick");
  PrinterLabel page;
  if (!ReadAndValidate(dialog, page)) return;
  PrinterLabel* const current = SelectedPage(dialog, context);
  if (!current) return;
  const auto selected = static_cast<int>(current - context.labels);
  if (IsNameUsedElsewhere(context, selected, page.name)) return ShowMessage(dialog, IDS_NAME_USED);
  page.id = current->id;
  if (const ResultCode code = Replace(context.hPrinter, *current, page)) {
    return ShowStoreError(dialog, IDS_MODIFY_FAILED, code);
  }
  *current = page;
  ReplaceName(dialog, selected, page.name);
  Select(dialog, selected);
  AdjustLabelListExtent(dialog, context.labels, context.count);
}

void DeleteClick(HWND dialog, ManagePagesContext& context) {
  const TraceScope trace("DeleteClick");
  PrinterLabel* const deleted = SelectedPage(dialog, context);
  if (!deleted) return;
  const auto selected = static_cast<int>(deleted - context.labels);
  if (const ResultCode code = DeletePrinterLabel(context.hPrinter, deleted)) {
    return ShowStoreError(dialog, IDS_DELETE_FAILED, code);
  }
  std::copy(deleted + 1, context.labels + context.count, deleted);
  --context.count;
  SendMessageW(ListOf(dialog), LB_DELETESTRING, static_cast<WPARAM>(selected), 0);
  AdjustLabelListExtent(dialog, context.labels, context.count);
  if (context.count == 0) return;
  const int next = std::min(selected, context.count - 1);
  Select(dialog, next);
  DisplayValues(dialog, context.labels[next], context.units);
}

OPENFILENAMEW InitFileDlg(HWND dialog, PathText& path, DWORD flags) {
  const TraceScope trace("InitFileDlg");
  OPENFILENAMEW request{};
  request.lStructSize = sizeof request;
  request.hwndOwner = dialog;
  request.lpstrFilter = kFileFilter;
  request.nFilterIndex = 1;
  request.lpstrFile = path.data();
  request.nMaxFile = kPathSize;
  request.lpstrDefExt = kFileExtension;
  // The host's current directory stays its own; see also AskForImport.
  request.Flags = flags | OFN_HIDEREADONLY | OFN_NOCHANGEDIR;
  return request;
}

// The dialog that opens a file is documented not to heed OFN_NOCHANGEDIR. A change that the host itself, or another
// such dialog, makes meanwhile cannot be told from the dialog's.
BOOL AskForImport(OPENFILENAMEW& request) {
  std::array<WCHAR, MAX_PATH> before{}, after{};
  const DWORD length = GetCurrentDirectoryW(MAX_PATH, before.data());
  const BOOL chosen = R5LQZ_CALL_LATE(GetOpenFileNameW, &request);
  GetCurrentDirectoryW(MAX_PATH, after.data());
  if (length > 0 && length < MAX_PATH && after != before) SetCurrentDirectoryW(before.data());
  return chosen;
}

// Gives an imported page a name that is free; false, with the user told, when there is none of a label's length.
bool GiveFreeName(HWND dialog, const ManagePagesContext& context, PrinterLabel& page) {
  if (!IsLabelNameUsed(context.labels, context.count, page.name)) return true;
  const CopyNameText name = FindCopyName(context.labels, context.count, page.name);
  if (TextAt(name.data(), name.size()).size() >= sizeof page.name) {
    ShowNameTooLong(dialog, WidenText<std::tuple_size_v<CopyNameText>>(name).data());
    return false;
  }
  CopyBounded(std::span(page.name), name.data());
  return true;
}

// A page that the printer's data refuses is reported as Add reports it, and left out. The rest of the list is left out
// when the dialog goes during such a report.
void AppendImported(HWND dialog, ManagePagesContext& context, std::span<PrinterLabel> pages,
                    const RunningOperation& self) {
  for (PrinterLabel& page : pages) {
    if (GiveFreeName(dialog, context, page)) Append(dialog, context, page);
    if (self.IsWindowGone()) return;
  }
}

void ImportClick(HWND dialog, ManagePagesContext& context, const RunningOperation& self) {
  const TraceScope trace("ImportClick");
  PathText path{};
  OPENFILENAMEW request = InitFileDlg(dialog, path, OFN_FILEMUSTEXIST);
  if (!AskForImport(request) || self.IsWindowGone()) return;
  PrinterLabel pages[kMostLabels]{};
  const int read = ImportPrinterLabels(pages, kMostLabels, path.data());
  if (read + context.count > kMostLabels) return ShowTooManyPages(dialog);
  // Drawn once, not at each page.
  SendMessageW(ListOf(dialog), WM_SETREDRAW, FALSE, 0);
  AppendImported(dialog, context, std::span(pages).first(static_cast<std::size_t>(read)), self);
  if (self.IsWindowGone()) return;
  SendMessageW(ListOf(dialog), WM_SETREDRAW, TRUE, 0);
  InvalidateRect(ListOf(dialog), nullptr, TRUE);
  AdjustLabelListExtent(dialog, context.labels, context.count);
  Select(dialog, 0);
  if (context.count > 0) DisplayValues(dialog, context.labels[0], context.units);
}

void ExportClick(HWND dialog, const ManagePagesContext& context, const RunningOperation& self) {
  const TraceScope trace("ExportClick");
  PathText path{};
  OPENFILENAMEW request = InitFileDlg(dialog, path, OFN_OVERWRITEPROMPT);
  if (!R5LQZ_CALL_LATE(GetSaveFileNameW, &request) || self.IsWindowGone()) return;
  ExportPrinterLabels(context.labels, context.count, path.data());
}

void CloseClick(HWND dialog) {
  const TraceScope trace("CloseClick");
  EndDialog(dialog, kClosed);
}

// --- The dialog ------------------------------------------------------------------------------------------------------

bool Open(HWND dialog, ManagePagesContext& context, LPARAM parameter) {
  context.units = kInches;
  const auto& opening = *reinterpret_cast<const Opening*>(parameter);
  context.hPrinter = opening.printer;
  context.is_ended = opening.is_ended;
  return Initialize(dialog, context);
}

INT_PTR Command(HWND dialog, int control, int notification, ManagePagesContext& context, const RunningOperation& self) {
  INT_PTR answer = TRUE;
  if (RouteSizeFields(dialog, kFields, control, notification, context.units, self, answer)) return answer;
  if (control == IDC_MANAGE_LABELS) {
    // Also while a button's operation waits for the user: it only shows a page.
    LabelListClick(dialog, context);
    return TRUE;
  }
  if (self.IsNested()) return TRUE;
  switch (control) {
    case IDOK:
    case IDCANCEL:
      CloseClick(dialog);
      return TRUE;
    default:
      break;
  }
  // The printer's handle may be closed, or another's.
  if (self.IsWindowGone()) return TRUE;
  switch (control) {
    case IDC_MANAGE_ADD:
      AddClick(dialog, context);
      return TRUE;
    case IDC_MANAGE_MODIFY:
      ModifyClick(dialog, context);
      return TRUE;
    case IDC_MANAGE_DELETE:
      DeleteClick(dialog, context);
      return TRUE;
    case IDC_MANAGE_IMPORT:
      ImportClick(dialog, context, self);
      return TRUE;
    case IDC_MANAGE_EXPORT:
      ExportClick(dialog, context, self);
      return TRUE;
    default:
      return TRUE;
  }
}

constexpr DialogOperations<ManagePagesContext> kOperations{.open = Open, .command = Command, .not_shown = kUnreadable};

INT_PTR CALLBACK ManagePagesDlgProc(HWND dialog, UINT message, WPARAM w_param, LPARAM l_param) {
  return RouteDialog(kOperations, dialog, message, w_param, l_param);
}

}  // namespace
}  // namespace manage_pages

void ManagePages(HWND owner, HANDLE printer, const bool& is_ended) {
  manage_pages::Opening opening{printer, &is_ended};
  DialogBoxParamW(ModuleHandle(), MAKEINTRESOURCEW(IDD_MANAGE_PAGES), owner, manage_pages::ManagePagesDlgProc,
                  reinterpret_cast<LPARAM>(&opening));
}

}  // namespace r5lqz
