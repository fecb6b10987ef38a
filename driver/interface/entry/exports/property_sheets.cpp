#include "entry/exports/property_sheets.h"

#include <prsht.h>

#include <array>
#include <cstddef>
#include <span>

#include "base/module.h"
#include "diag/trace.h"
#include "entry/shared/properties_context.h"
#include "pages/tab.h"
#include "resources/resource_ids.h"
#include "settings/conversion.h"

namespace r5lqz {
namespace {

constexpr LONG kHandled = 1;
constexpr LONG kNoTab = 0;
constexpr LONG kFailed = -1;

constexpr DWORD kOutputModes = DM_OUT_DEFAULT | DM_OUT_BUFFER;
// An icon of the common property sheet's own: a printer.
constexpr ULONG_PTR kSheetIcon = 64082;

constexpr WCHAR kPermissionName[] = L"Permission";

struct Tab {
  UINT template_id;
  DLGPROC procedure;
  UINT title_id;
  bool has_help;
};

// In the order in which they are shown.
constexpr Tab kDocumentTabs[] = {
    {IDD_PAGE_TAB, PageDlgProc, IDS_TAB_PAGE, true},
    {IDD_COLOR_TAB, ColorDlgProc, IDS_TAB_COLOR, true},
    {IDD_LAYOUT_TAB, LayoutDlgProc, IDS_TAB_LAYOUT, true},
    {IDD_ABOUT_TAB, AboutDlgProc, IDS_TAB_ABOUT, true},
};
constexpr Tab kDeviceTabs[] = {{IDD_DEVICE_TAB, DeviceDlgProc, IDS_TAB_DEVICE, false}};

PropertiesContext* ContextOf(const PROPSHEETUI_INFO& info) {
  return reinterpret_cast<PropertiesContext*>(info.UserData);
}

// The platform's current structure in its full size; not every compiler's headers have its last member.
union FullPage {
  std::array<std::byte, 104> whole;
  PROPSHEETPAGEW page;
};
static_assert(sizeof(FullPage) == sizeof(FullPage::whole));

HPROPSHEETPAGE CreateTab(const Tab& tab, PropertiesContext& context) {
  FullPage full{};
  PROPSHEETPAGEW& page = full.page;
  page.dwSize = sizeof full;
  page.dwFlags = tab.has_help ? PSP_USETITLE | PSP_HASHELP : PSP_USETITLE;
  page.hInstance = ModuleHandle();
  page.pszTemplate = MAKEINTRESOURCEW(tab.template_id);
  page.pszTitle = MAKEINTRESOURCEW(tab.title_id);
  page.pfnDlgProc = tab.procedure;
  page.lParam = reinterpret_cast<LPARAM>(&context);
  return CreatePropertySheetPageW(&page);
}

// Hands a tab over to the common property sheet. A page that cannot be made releases the context, and with it the
// sheet's last chance to be shown: pages handed over before stay with the common property sheet, which destroys them
// unseen.
BOOL AddTab(OwnedContext& context, const Tab& tab) {
  LOG_TRACE("<%s>", "AddTab");
  const HPROPSHEETPAGE page = CreateTab(tab, *context);
  if (!page) {
    context.reset();
    return FALSE;
  }
  context->pfnComPropSheet(context->hComPropSheet, CPSFUNC_ADD_HPROPSHEETPAGE, reinterpret_cast<LPARAM>(page), 0);
  LOG_TRACE("</%s>", "AddTab");
  return TRUE;
}

// Opens a sheet: from here to its end the context is the sheet's. Without one nothing is left in UserData to be used.
LONG OpenSheet(PROPSHEETUI_INFO& info, OwnedContext context, std::span<const Tab> tabs) {
  info.UserData = 0;
  if (!context || !info.pfnComPropSheet) return kFailed;
  context->pfnComPropSheet = info.pfnComPropSheet;
  context->hComPropSheet = info.hComPropSheet;
  for (const Tab& tab : tabs) {
    if (!AddTab(context, tab)) return kNoTab;
  }
  info.UserData = reinterpret_cast<ULONG_PTR>(context.release());
  info.Result = 0;
  return kHandled;
}

LONG OpenDocumentSheet(PROPSHEETUI_INFO& info, const DOCUMENTPROPERTYHEADER& header) {
  OwnedContext context = FillUiData(header.hPrinter, header.pdmIn);
  if (context) {
    context->pdmIn = header.pdmIn;
    context->pdmOut = header.pdmOut;
    context->fMode = header.fMode;
  }
  return OpenSheet(info, std::move(context), kDocumentTabs);
}

// Whether the user may change the printer is seen by doing so.
bool MayChangePrinter(HANDLE printer) {
  DWORD value = 1;
  return SetPrinterDataW(printer, Writable(kPermissionName), REG_DWORD, reinterpret_cast<BYTE*>(&value),
                         sizeof value) == ERROR_SUCCESS;
}

LONG OpenDeviceSheet(PROPSHEETUI_INFO& info, DEVICEPROPERTYHEADER& header) {
  const LONG result = OpenSheet(info, FillUiData(header.hPrinter, nullptr), kDeviceTabs);
  if (result == kHandled && !MayChangePrinter(header.hPrinter)) header.Flags |= DPS_NOPERMISSION;
  return result;
}

LONG FillHeader(PROPSHEETUI_INFO_HEADER* header, WCHAR* title) {
  if (!header) return kFailed;
  header->Flags = PSUIHDRF_NOAPPLYNOW | PSUIHDRF_PROPTITLE;
  header->pTitle = title;
  header->hInst = ModuleHandle();
  header->IconID = kSheetIcon;
  return kHandled;
}

LONG CloseSheet(PROPSHEETUI_INFO& info) {
  DestroyContext(ContextOf(info));
  info.UserData = 0;
  return kHandled;
}

LONG TakeResult(PROPSHEETUI_INFO& info, const SETRESULT_INFO* result) {
  if (!result) return kFailed;
  info.Result = static_cast<ULONG_PTR>(result->Result);
  return kHandled;
}

LONG TakeDocumentResult(PROPSHEETUI_INFO& info, const DOCUMENTPROPERTYHEADER& header, const SETRESULT_INFO* result) {
  const PropertiesContext* const context = ContextOf(info);
  if (context && result && result->Result == CPSUI_OK && (header.fMode & kOutputModes) && header.pdmOut) {
    CopyDevModeToOutput(context->working, header.pdmIn, header.pdmOut);
  }
  return TakeResult(info, result);
}

LONG AnswerDeviceSheet(PROPSHEETUI_INFO& info, LPARAM param) {
  auto* const header = reinterpret_cast<DEVICEPROPERTYHEADER*>(info.lParamInit);
  if (!header) return kFailed;
  switch (info.Reason) {
    case PROPSHEETUI_REASON_INIT:
      return OpenDeviceSheet(info, *header);
    case PROPSHEETUI_REASON_GET_INFO_HEADER:
      return FillHeader(reinterpret_cast<PROPSHEETUI_INFO_HEADER*>(param), header->pszPrinterName);
    case PROPSHEETUI_REASON_DESTROY: {
      LOG_TRACE("PROPSHEETUI_REASON_DESTROY");
      const LONG result = CloseSheet(info);
      LOG_TRACE("PROPSHEETUI_REASON_DESTROY Complete");
      return result;
    }
    case PROPSHEETUI_REASON_SET_RESULT:
      return TakeResult(info, reinterpret_cast<const SETRESULT_INFO*>(param));
    default:
      return kFailed;
  }
}

}  // namespace

LONG AnswerDocumentSheet(PROPSHEETUI_INFO& info, LPARAM param) {
  const auto* const header = reinterpret_cast<const DOCUMENTPROPERTYHEADER*>(info.lParamInit);
  if (!header) return kFailed;
  LOG_INFO("pDPHdr->fMode = %d", static_cast<int>(header->fMode));
  LOG_INFO("pPSUIInfo->Reason = %d", static_cast<int>(info.Reason));
  switch (info.Reason) {
    case PROPSHEETUI_REASON_INIT:
      return OpenDocumentSheet(info, *header);
    case PROPSHEETUI_REASON_GET_INFO_HEADER:
      return FillHeader(reinterpret_cast<PROPSHEETUI_INFO_HEADER*>(param), header->pszPrinterName);
    case PROPSHEETUI_REASON_DESTROY:
      return CloseSheet(info);
    case PROPSHEETUI_REASON_SET_RESULT:
      return TakeDocumentResult(info, *header, reinterpret_cast<const SETRESULT_INFO*>(param));
    default:
      return kFailed;
  }
}

}  // namespace r5lqz

LONG WINAPI DrvDevicePropertySheets(PPROPSHEETUI_INFO info, LPARAM param) {
  const r5lqz::TraceScope trace("DrvDevicePropertySheets");
  return info ? r5lqz::AnswerDeviceSheet(*info, param) : r5lqz::kFailed;
}
