// Results of the module's internal operations: ERROR_SUCCESS, a Win32 error code passed on from a failing call, or one
// of the module's own codes below (bit 29, which the platform keeps free for applications, is set in them).
#pragma once

#include <windows.h>

namespace r5lqz {

using ResultCode = DWORD;

inline constexpr ResultCode kMissingArgument = 0x20000001;
inline constexpr ResultCode kUnknownLabelVersion = 0x20000002;
inline constexpr ResultCode kWrongValueType = 0x20000004;
inline constexpr ResultCode kNoMemoryForPath = 0x20010001;
inline constexpr ResultCode kSourceMissing = 0x20010004;
inline constexpr ResultCode kTargetExists = 0x20010005;
inline constexpr ResultCode kNoText = 0x20010008;
inline constexpr ResultCode kPathNotBuilt = 0x20010009;
inline constexpr ResultCode kNoDriverDirectory = 0x2001000D;
inline constexpr ResultCode kNoResultPlace = 0x2001000F;
inline constexpr ResultCode kNotANumber = 0x2001001A;

}  // namespace r5lqz
