#include "common_sheet.h"

#include <thread>

namespace platform {
namespace {

// What the handle that the driver's callback brings stands for.
struct Host {
  const SheetRequest& request;
  SheetOutcome outcome;
  std::vector<HPROPSHEETPAGE> pages;
};

LONG_PTR CALLBACK ComPropSheet(HANDLE handle, UINT function, LPARAM first, LPARAM second) {
  Host& host = *static_cast<Host*>(handle);
  switch (function) {
    case CPSFUNC_ADD_HPROPSHEETPAGE:
      ++host.outcome.pages;
      host.pages.push_back(reinterpret_cast<HPROPSHEETPAGE>(first));
      return static_cast<LONG_PTR>(host.pages.size());
    case CPSFUNC_SET_RESULT:
      host.outcome.results.push_back(second);
      return 1;
    default:
      return 0;
  }
}

// The sheet's callback has no place for data of ours; a modal sheet belongs to one thread.
thread_local HWND shown_sheet = nullptr;
thread_local const std::function<void(HWND)>* shown_work = nullptr;
thread_local std::thread* shown_worker = nullptr;
thread_local std::function<void()> destroy_shown;

int CALLBACK SheetCallback(HWND sheet, UINT message, LPARAM) {
  if (message == PSCB_INITIALIZED) {
    shown_sheet = sheet;
    if (shown_work && *shown_work) *shown_worker = std::thread(*shown_work, sheet);
  }
  return 0;
}

class Protocol {
 public:
  explicit Protocol(const SheetRequest& request) : host_{request, {}, {}} {
    info_.cbSize = sizeof info_;
    info_.Version = PROPSHEETUI_INFO_VERSION;
    info_.hComPropSheet = &host_;
    info_.pfnComPropSheet = ComPropSheet;
    info_.lParamInit = reinterpret_cast<LPARAM>(request.header);
  }

  SheetOutcome Run() {
    host_.outcome.opened = Ask(PROPSHEETUI_REASON_INIT, info_.lParamInit);
    host_.outcome.user_data_after_open = info_.UserData;
    if (host_.outcome.opened > 0 && AskHeader()) {
      Show();
      if (destroyed_) return host_.outcome;
      TellResult();
    } else {
      for (const HPROPSHEETPAGE page : host_.pages) DestroyPropertySheetPage(page);
    }
    Ask(PROPSHEETUI_REASON_DESTROY, 0);
    host_.outcome.result = info_.Result;
    host_.outcome.user_data_after_close = info_.UserData;
    return host_.outcome;
  }

 private:
  LONG Ask(WORD reason, LPARAM param) {
    info_.Reason = reason;
    return host_.request.entry(&info_, param);
  }

  bool AskHeader() {
    PROPSHEETUI_INFO_HEADER& header = host_.outcome.header;
    header.cbSize = sizeof header;
    header.hWndParent = host_.request.parent;
    return Ask(PROPSHEETUI_REASON_GET_INFO_HEADER, reinterpret_cast<LPARAM>(&header)) > 0;
  }

  void Show() {
    const PROPSHEETUI_INFO_HEADER& header = host_.outcome.header;
    PROPSHEETHEADERW sheet{};
    sheet.dwSize = sizeof sheet;
    sheet.dwFlags = PSH_USECALLBACK;
    if (header.Flags & PSUIHDRF_PROPTITLE) sheet.dwFlags |= PSH_PROPTITLE;
    if ((header.Flags & PSUIHDRF_NOAPPLYNOW) && !host_.request.apply_button) sheet.dwFlags |= PSH_NOAPPLYNOW;
    sheet.hwndParent = header.hWndParent;
    sheet.hInstance = header.hInst;
    sheet.pszCaption = header.pTitle;
    sheet.nPages = static_cast<UINT>(host_.pages.size());
    sheet.phpage = host_.pages.data();
    sheet.pfnCallback = SheetCallback;

    std::thread worker;
    shown_work = &host_.request.work;
    shown_worker = &worker;
    destroy_shown = [this] {
      if (!destroyed_) destroyed_ = Ask(PROPSHEETUI_REASON_DESTROY, 0) > 0;
    };
    host_.outcome.shown = PropertySheetW(&sheet) >= 0 && shown_sheet;
    shown_work = nullptr;
    shown_worker = nullptr;
    destroy_shown = nullptr;
    shown_sheet = nullptr;
    if (worker.joinable()) worker.join();
  }

  void TellResult() {
    const bool ok = !host_.outcome.results.empty() && host_.outcome.results.back() == CPSUI_OK;
    SETRESULT_INFO result{};
    result.cbSize = sizeof result;
    result.Result = ok ? CPSUI_OK : CPSUI_CANCEL;
    Ask(PROPSHEETUI_REASON_SET_RESULT, reinterpret_cast<LPARAM>(&result));
  }

  bool destroyed_ = false;
  Host host_;
  PROPSHEETUI_INFO info_{};
};

}  // namespace

void EndDriversPart() {
  destroy_shown();
}

void EndShownSheet() {
  DestroyWindow(shown_sheet);
  destroy_shown();
  // A loop looks whether its window is still there when a message has come.
  constexpr int kMostLoops = 8;
  for (int i = 0; i < kMostLoops; ++i) PostThreadMessageW(GetCurrentThreadId(), WM_NULL, 0, 0);
}

SheetOutcome ShowSheet(const SheetRequest& request) {
  return Protocol(request).Run();
}

}  // namespace platform
