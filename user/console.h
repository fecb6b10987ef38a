// What the demo prints: headings, aligned tables, and what did not hold.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

#ifdef __GNUC__
#define USER_PRINTF __attribute__((format(gnu_printf, 1, 2)))
#else
#define USER_PRINTF
#endif

namespace user {

using Row = std::vector<std::string>;

/// printf into a text.
std::string Format(const char* format, ...) USER_PRINTF;

/// UTF-16 as the console's UTF-8. The second form ends at the first zero or at the capacity.
std::string Narrow(const std::wstring& text);
std::string Narrow(const wchar_t* text, std::size_t capacity);

/// Counts what did not hold; a demo with any of it fails as a whole.
struct Report {
  int sections = 0;
  int failures = 0;

  void Section(const char* title);
  /// Where the answers that follow come from.
  void Road(const char* text) const;
  void Table(const Row& headings, const std::vector<Row>& rows) const;
  /// A failed call, with the code that it gave.
  void Failed(const std::string& call, DWORD code);
  /// Something that must hold; says what was expected if it does not.
  bool Expect(bool held, const std::string& expectation);
};

}  // namespace user
