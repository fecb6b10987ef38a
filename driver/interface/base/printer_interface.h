// The platform's printer-interface contract: its headers, and the declarations of it that they lack here.
#pragma once

#include <windows.h>
#include <winspool.h>

#include <icm.h>

#if __has_include(<winddiui.h>)
#include <winddiui.h>
#include <winsplp.h>
#else
#include <ddk/winddiui.h>
#include <ddk/winsplp.h>
#endif

// As the platform's headers would have it: their names, in their form, some of them declared there as well.
// NOLINTBEGIN(readability-identifier-naming, readability-redundant-declaration)

// What a document-properties call, or the document sheet, is given.
#ifndef DM_NOPERMISSION
typedef struct _DOCUMENTPROPERTYHEADER {
  WORD cbSize;
  WORD Reserved;
  HANDLE hPrinter;  // the caller's; may be missing
  LPTSTR pszPrinterName;
  PDEVMODE pdmIn;   // may be missing
  PDEVMODE pdmOut;  // may be missing
  DWORD cbOut;      // an answer only: on entry it means nothing
  DWORD fMode;      // DM_ flags
} DOCUMENTPROPERTYHEADER, *PDOCUMENTPROPERTYHEADER;

// In fMode: the user may look at the settings but not change them.
#define DM_NOPERMISSION 0x20
#endif

// What the device sheet is given.
#ifndef DPS_NOPERMISSION
typedef struct _DEVICEPROPERTYHEADER {
  WORD cbSize;
  WORD Flags;
  HANDLE hPrinter;
  LPTSTR pszPrinterName;
} DEVICEPROPERTYHEADER, *PDEVICEPROPERTYHEADER;

#define DPS_NOPERMISSION 0x0001
#endif

// Modes of DrvConvertDevMode.
#ifndef CDM_CONVERT
#define CDM_CONVERT 0x00000001
#define CDM_CONVERT351 0x00000002
#define CDM_DRIVER_DEFAULT 0x00000004
#endif

// Query modes of DrvQueryColorProfile, and what its flags say of the answer.
#ifndef QCP_DEVICEPROFILE
#define QCP_DEVICEPROFILE 0x0000
#define QCP_SOURCEPROFILE 0x0001
#define QCP_PROFILEMEMORY 0x0001
#define QCP_PROFILEDISK 0x0002

// What a print query is given.
typedef struct _DEVQUERYPRINT_INFO {
  WORD cbSize;
  WORD Level;
  HANDLE hPrinter;
  DEVMODE* pDevMode;
  LPTSTR pszErrorStr;
  DWORD cchErrorStr;
  DWORD cchNeeded;
} DEVQUERYPRINT_INFO, *PDEVQUERYPRINT_INFO;
#endif

// Document events, the answers to them, and the filter that names which ones are delivered.
#ifndef DOCUMENTEVENT_CREATEDCPRE
#define DOCUMENTEVENT_CREATEDCPRE 1
#define DOCUMENTEVENT_STARTDOCPRE 5
#define DOCUMENTEVENT_SUCCESS 1
#define DOCUMENTEVENT_UNSUPPORTED 0
#define DOCUMENTEVENT_EVENT(code) (LOWORD(code))
#endif
#ifndef DOCUMENTEVENT_QUERYFILTER
#define DOCUMENTEVENT_QUERYFILTER 14
#endif
#if !defined(__MINGW32__) && !defined(_MSC_VER)
typedef struct _DOCEVENT_FILTER {
  UINT cbSize;
  UINT cElementsAllocated;
  UINT cElementsNeeded;
  UINT cElementsReturned;
  DWORD aDocEventCall[ANYSIZE_ARRAY];
} DOCEVENT_FILTER, *PDOCEVENT_FILTER;

extern "C" DWORD WINAPI DeletePrinterKeyW(HANDLE printer, LPCWSTR key);
#endif

// The entry points that the platform's headers do not all declare.
extern "C" {
BOOL WINAPI DrvConvertDevMode(LPTSTR printer_name, PDEVMODE in, PDEVMODE out, PLONG count, DWORD mode);
int WINAPI DrvDocumentEvent(HANDLE printer, HDC device, int event, ULONG in_size, PVOID in, ULONG out_size, PVOID out);
LONG WINAPI DrvDevicePropertySheets(PPROPSHEETUI_INFO info, LPARAM param);
LONG WINAPI DrvDocumentPropertySheets(PPROPSHEETUI_INFO info, LPARAM param);
BOOL WINAPI DevQueryPrintEx(PDEVQUERYPRINT_INFO info);
DWORD WINAPI DrvDeviceCapabilities(HANDLE printer, LPWSTR device_name, WORD capability, PVOID output, PDEVMODEW record);
BOOL WINAPI DrvQueryColorProfile(HANDLE printer, PDEVMODEW record, ULONG mode, PVOID name, ULONG* size, ULONG* flags);
}

// NOLINTEND(readability-identifier-naming, readability-redundant-declaration)

namespace r5lqz {

// A text for those of the spooler's operations that take names as writable but do not write them.
inline WCHAR* Writable(const WCHAR* text) {
  return const_cast<WCHAR*>(text);
}

}  // namespace r5lqz
