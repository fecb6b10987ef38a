// The two spooler operations on printer data keys that Wine's winspool lacks, over the registry tree in which it
// keeps printer data: EnumPrinterKeyW answers ERROR_CALL_NOT_IMPLEMENTED there and a call of DeletePrinterKeyW ends
// the process. They follow the platform's contract and are put into the driver's import table (import_patch.h).
#pragma once

#include <windows.h>

namespace platform {

/// EnumPrinterKeyW: the names of the keys directly under `key` ("" for the printer's top) as zero-terminated texts,
/// ended by an empty text. `size` and `needed` are in bytes. Without a buffer, or with one too small, nothing is
/// written but the size needed and the answer is ERROR_MORE_DATA (234); a missing key is ERROR_FILE_NOT_FOUND (2);
/// a missing key name or `needed` is ERROR_INVALID_PARAMETER (87); a bad handle ERROR_INVALID_HANDLE (6).
DWORD WINAPI RegistryEnumPrinterKey(HANDLE printer, LPCWSTR key, LPWSTR names, DWORD size, LPDWORD needed);

/// DeletePrinterKeyW: removes `key` with its values and everything beneath it; "" removes every key of the printer
/// and leaves the printer itself. Answers as above. Access rights of the handle are not enforced, as nowhere else
/// in this spooler.
DWORD WINAPI RegistryDeletePrinterKey(HANDLE printer, LPCWSTR key);

}  // namespace platform
