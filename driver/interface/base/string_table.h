// The module's string table, in the language that the platform's resource loader chose.
#pragma once

#include <windows.h>

#include <array>
#include <cstddef>

namespace r5lqz {

// Room for a text of the string table, characters with the terminator.
inline constexpr std::size_t kStringSize = 256;
using StringText = std::array<WCHAR, kStringSize>;

// A text by its number (IDS_ of the resources); empty when it is missing.
StringText LoadText(UINT string_id);

}  // namespace r5lqz
