// The Page tab: which of the printer's label stocks, or the custom page, the document is printed on.
#include <algorithm>
#include <array>
#include <cstring>
#include <span>

#include "base/bounded_format.h"
#include "base/bounded_text.h"
#include "diag/number_text.h"
#include "diag/trace.h"
#include "dialogs/custom_page.h"
#include "dialogs/manage_pages.h"
#include "labels/label_store.h"
#include "pages/dialog_helpers.h"
#include "pages/help_topics.h"
#include "pages/number_entry.h"
#include "pages/tab.h"
#include "resources/resource_ids.h"
#include "settings/paper.h"

namespace r5lqz {
namespace page_tab {
namespace {

// The first entry of the list, in every language.
constexpr WCHAR kCustomEntry[] = L"Custom";

// The key and value by which the tab finds out whether the printer's data can be written.
constexpr WCHAR kProbeName[] = L"test";

constexpr std::size_t kDetailsSize = 1048;
constexpr std::size_t kDetailsLineSize = 256;
using DetailsText = std::array<WCHAR, kDetailsSize>;
using NumberText = std::array<char, kNumberTextSize>;

// The labels that this tab's list shows, one place behind its entries. Each sheet has its own, in its context's heap:
// sheets on other threads read the printer again at their own times, and must not change what an entry here stands for.
struct LabelTable {
  PrinterLabel labels[kMostLabels];
  LONG count;
};

LabelTable* TableOf(PropertiesContext& context) {
  if (!context.label_table) {
    context.label_table = HeapAlloc(context.heap, HEAP_ZERO_MEMORY, sizeof(LabelTable));
  }
  return static_cast<LabelTable*>(context.label_table);
}

// The label that is selected in the list; none for "Custom".
const PrinterLabel* SelectedLabel(HWND dialog, PropertiesContext& context) {
  const LabelTable* const table = TableOf(context);
  const LRESULT entry = SendDlgItemMessageW(dialog, IDC_PAGE_LABELS, CB_GETCURSEL, 0, 0);
  return table && entry > 0 && entry <= table->count ? &table->labels[entry - 1] : nullptr;
}

// --- Details ---------------------------------------------------------------------------------------------------------

// The text box's text, line by line; a line that does not fit is left out.
class Details {
 public:
  // "WORD NUMBER UNIT" for a length.
  void AddSize(UINT caption, const char* stored, DWORD units) {
    NumberText number{};
    LocalizeNumberText(number, stored);
    Line line;
    FormatBounded(std::span(line), L"%s %s %s\r\n", LoadText(caption).data(), Wide(number.data()).data(),
                  LoadText(units == kInches ? IDS_INCHES : IDS_MM).data());
    Add(line);
  }
  void AddOffset(UINT caption, const char* text) {
    Line line;
    FormatBounded(std::span(line), L"%s %s\r\n", LoadText(caption).data(), Wide(text).data());
    Add(line);
  }
  void AddOffset(UINT caption, LONG offset) {
    Line line;
    FormatBounded(std::span(line), L"%s %d\r\n", LoadText(caption).data(), static_cast<int>(offset));
    Add(line);
  }
  void Show(HWND dialog) const { SetDlgItemTextW(dialog, IDC_PAGE_DETAILS, text_.data()); }

 private:
  using Line = std::array<WCHAR, kDetailsLineSize>;
  // Not by the format, which would read bytes of strangers as the host's locale has characters.
  static std::array<WCHAR, kNumberTextSize> Wide(const char* text) {
    return WidenText<kNumberTextSize>(TextAt(text, kNumberTextSize));
  }

  void Add(const Line& line) {
    const auto text = TextIn(std::span<const WCHAR>(line));
    if (text.size() >= text_.size() - length_) return;
    std::copy(text.begin(), text.end(), text_.begin() + static_cast<std::ptrdiff_t>(length_));
    length_ += text.size();
  }

  DetailsText text_{};
  std::size_t length_ = 0;
};

void DisplayLabelDetails(HWND dialog, const PrinterLabel& label) {
  const TraceScope trace("DisplayLabelDetails");
  Details details;
  details.AddSize(IDS_WIDTH, label.width, label.units);
  details.AddSize(IDS_LENGTH, label.length, label.units);
  details.AddOffset(IDS_VERTICAL_OFFSET, label.vertOffset);
  details.AddOffset(IDS_HORIZONTAL_OFFSET, label.horzOffset);
  details.Show(dialog);
}

void DisplayDevmodeDetails(HWND dialog, const DriverDevMode& working) {
  const TraceScope trace("DisplayDevmodeDetails");
  const PrivateDevMode& own = working.dm_private;
  Details details;
  details.AddSize(IDS_WIDTH, own.width_string, own.units);
  details.AddSize(IDS_LENGTH, own.length_string, own.units);
  details.AddOffset(IDS_VERTICAL_OFFSET, own.vertOffset);
  details.AddOffset(IDS_HORIZONTAL_OFFSET, own.horzOffset);
  details.Show(dialog);
}

void ShowSelection(HWND dialog, PropertiesContext& context) {
  if (const PrinterLabel* const label = SelectedLabel(dialog, context)) {
    DisplayLabelDetails(dialog, *label);
  } else {
    DisplayDevmodeDetails(dialog, context.working);
  }
}

// --- The list --------------------------------------------------------------------------------------------------------

bool TextsEqual(std::span<const char> left, std::span<const char> right) {
  const auto left_text = TextIn(left);
  const auto right_text = TextIn(right);
  return std::equal(left_text.begin(), left_text.end(), right_text.begin(), right_text.end());
}

// A text that is no number is nobody's offset.
bool IsOffset(const char* text, LONG offset) {
  int value = 0;
  return StringToInt(text, &value) == ERROR_SUCCESS && value == offset;
}

bool Matches(const PrinterLabel& label, const PrivateDevMode& own) {
  return label.id == own.dmPaperSize && TextsEqual(label.name, own.labelName) &&
         TextsEqual(label.width, own.width_string) && TextsEqual(label.length, own.length_string) &&
         IsOffset(label.vertOffset, own.vertOffset) && IsOffset(label.horzOffset, own.horzOffset) &&
         label.units == own.units;
}

std::span<const PrinterLabel> ReadTable(PropertiesContext& context) {
  LabelTable* const table = TableOf(context);
  if (!table) return {};
  ReadPrinterLabelList(context.printer, table->labels, kMostLabels, &table->count);
  return std::span(table->labels).first(static_cast<std::size_t>(table->count));
}

// Shows "Custom" and the labels; answers those that are shown. An entry stands for the label with its number, so the
// first that the box refuses is the last that is tried.
std::span<const PrinterLabel> FillBox(HWND box, std::span<const PrinterLabel> labels) {
  SendMessageW(box, CB_RESETCONTENT, 0, 0);
  if (SendMessageW(box, CB_INSERTSTRING, 0, reinterpret_cast<LPARAM>(kCustomEntry)) < 0) return {};
  const auto refused = std::find_if(labels.begin(), labels.end(), [box](const PrinterLabel& label) {
    return SendMessageA(box, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(label.name)) < 0;
  });
  return {labels.begin(), refused};
}

void LoadLabelList(HWND dialog, PropertiesContext& context) {
  const TraceScope trace("LoadLabelList");
  const HWND box = GetDlgItem(dialog, IDC_PAGE_LABELS);
  const auto labels = FillBox(box, ReadTable(context));
  const auto match = std::find_if(labels.begin(), labels.end(), [&context](const PrinterLabel& label) {
    return Matches(label, context.working.dm_private);
  });
  if (match != labels.end()) {
    SendMessageW(box, CB_SETCURSEL, static_cast<WPARAM>(match - labels.begin() + 1), 0);
    return;
  }
  SendMessageW(box, CB_SETCURSEL, 0, 0);
  DisplayDevmodeDetails(dialog, context.working);
}

// Whether the printer's data can be written is seen by doing so.
bool CanWritePrinterData(HANDLE printer) {
  DWORD nothing = 0;
  if (SetPrinterDataExW(printer, kProbeName, kProbeName, REG_DWORD, reinterpret_cast<BYTE*>(&nothing),
                        sizeof nothing) != ERROR_SUCCESS) {
    return false;
  }
  DeletePrinterKeyW(printer, kProbeName);
  return true;
}

void Initialize(HWND dialog, PropertiesContext& context) {
  const TraceScope trace("Initialize");
  LoadLabelList(dialog, context);
  EnableWindow(GetDlgItem(dialog, IDC_PAGE_MANAGE), CanWritePrinterData(context.printer));
}

// --- What the user does ----------------------------------------------------------------------------------------------

void LabelListClick(HWND dialog, PropertiesContext& context) {
  const TraceScope trace("LabelListClick");
  ShowSelection(dialog, context);
}

void ManageLabelsClick(HWND dialog, PropertiesContext& context) {
  const TraceScope trace("ManageLabelsClick");
  ManagePages(dialog, context.printer, context.is_closed);
  if (IsTabGone(context)) return;
  LoadLabelList(dialog, context);
  ShowSelection(dialog, context);
}

void EditCustomClick(HWND dialog, PropertiesContext& context) {
  const TraceScope trace("EditCustomClick");
  EditCustomPage(dialog, context.printer, context.working);
  if (IsTabGone(context)) return;
  ShowSelection(dialog, context);
}

void OkClick(HWND dialog, PropertiesContext& context) {
  const TraceScope trace("OkClick");
  if (const PrinterLabel* const label = SelectedLabel(dialog, context)) TakePage(context.working, *label);
  FinishApply(dialog, context);
}

void CancelClick(HWND dialog, PropertiesContext& context) {
  const TraceScope trace("CancelClick");
  FinishReset(dialog, context);
}

void Command(HWND dialog, int control, PropertiesContext& context) {
  switch (control) {
    case IDC_PAGE_LABELS:
      return LabelListClick(dialog, context);
    default:
      break;
  }
  // Not one dialog above another, whoever sends the command.
  if (IsNestedOperation(context)) return;
  switch (control) {
    case IDC_PAGE_MANAGE:
      return ManageLabelsClick(dialog, context);
    case IDC_PAGE_EDIT_CUSTOM:
      return EditCustomClick(dialog, context);
    default:
      return;
  }
}

constexpr TabOperations kOperations{
    .initialize = Initialize,
    .apply = OkClick,
    .reset = CancelClick,
    .help_topic = kPageTopic,
    .takes_commands = true,
    .command = Command,
};

}  // namespace
}  // namespace page_tab

INT_PTR CALLBACK PageDlgProc(HWND dialog, UINT message, WPARAM w_param, LPARAM l_param) {
  return RouteTab(page_tab::kOperations, dialog, message, w_param, l_param);
}

}  // namespace r5lqz
