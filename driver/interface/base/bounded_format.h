// Formatted wide texts in fixed arrays.
#pragma once

#include <windows.h>

#include <cstdarg>
#include <cstdio>
#include <cwchar>
#include <span>

namespace r5lqz {

// The one bounded format: "%s" takes a wide text, as the platform's runtime has it; narrow ones are widened before, by
// the system's code page. Never truncates: a text that does not fit with its terminator leaves `text` empty.
template <std::size_t extent>
void FormatBounded(std::span<WCHAR, extent> text, const WCHAR* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const int length = _vsnwprintf(text.data(), text.size(), format, arguments);
  va_end(arguments);
  if (length < 0 || static_cast<std::size_t>(length) >= text.size()) text[0] = L'\0';
}

}  // namespace r5lqz
