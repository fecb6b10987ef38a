#include "user/console.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

namespace user {
namespace {

// Columns count characters, not the bytes of their UTF-8; a Chinese character is as wide as two others.
std::size_t WidthOf(const std::string& text) {
  std::size_t width = 0;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    const bool begins_character = (byte & 0xC0) != 0x80;
    const bool begins_wide_one = byte >= 0xE3 && byte <= 0xE9;
    width += begins_wide_one ? 2u : begins_character;
  }
  return width;
}

void PrintRow(const Row& row, const std::vector<std::size_t>& widths) {
  std::string line = "  ";
  for (std::size_t column = 0; column < row.size(); ++column) {
    line += " " + row[column];
    if (column + 1 < row.size()) line.append(widths[column] - WidthOf(row[column]) + 1, ' ');
  }
  printf("%s\n", line.c_str());
}

}  // namespace

std::string Format(const char* format, ...) {
  char text[512];
  va_list arguments;
  va_start(arguments, format);
  vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  return text;
}

std::string Narrow(const std::wstring& text) {
  const int length = static_cast<int>(text.size());
  const int size = WideCharToMultiByte(CP_UTF8, 0, text.c_str(), length, nullptr, 0, nullptr, nullptr);
  std::string narrow(static_cast<std::size_t>(size), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text.c_str(), length, narrow.data(), size, nullptr, nullptr);
  return narrow;
}

std::string Narrow(const wchar_t* text, std::size_t capacity) {
  return Narrow(std::wstring(text, wcsnlen(text, capacity)));
}

void Report::Section(const char* title) {
  printf("\n%d. %s\n", ++sections, title);
}

void Report::Road(const char* text) const {
  printf("   road: %s\n", text);
}

void Report::Table(const Row& headings, const std::vector<Row>& rows) const {
  std::vector<std::size_t> widths;
  for (const auto& heading : headings) widths.push_back(WidthOf(heading));
  for (const auto& row : rows) {
    for (std::size_t column = 0; column < row.size(); ++column) {
      widths[column] = std::max(widths[column], WidthOf(row[column]));
    }
  }
  Row rule;
  for (const auto width : widths) rule.emplace_back(width, '-');
  PrintRow(headings, widths);
  PrintRow(rule, widths);
  for (const auto& row : rows) PrintRow(row, widths);
}

void Report::Failed(const std::string& call, DWORD code) {
  ++failures;
  printf("   FAILED: %s, code %lu (0x%lx)\n", call.c_str(), code, code);
}

bool Report::Expect(bool held, const std::string& expectation) {
  if (held) return true;
  ++failures;
  printf("   FAILED: expected %s\n", expectation.c_str());
  return false;
}

}  // namespace user
