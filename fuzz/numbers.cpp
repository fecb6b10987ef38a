// Number texts: the parsers against a second reading of their rule, texts of any length and content.
#include <charconv>
#include <climits>
#include <cmath>
#include <string>

#include "diag/number_text.h"
#include "input.h"
#include "labels/printer_label.h"

namespace {

using fuzz::Block;
using namespace r5lqz;

// A terminated text in a block of exactly its size.
Block ExactText(std::string_view text) {
  return Block(text.size() + 1, std::as_bytes(std::span(text)));
}

std::string_view WithoutSign(std::string_view text) {
  return !text.empty() && (text[0] == '+' || text[0] == '-') ? text.substr(1) : text;
}

bool IsOnly(std::string_view text, std::string_view allowed) {
  return text.find_first_not_of(allowed) == text.npos;
}

bool IsDecimal(std::string_view text) {
  const std::string_view number = WithoutSign(text);
  return IsOnly(number, "0123456789.") && number.find('.') == number.rfind('.');
}

// What the C++ library, which knows no locale here, reads; digits that are not there count as zero.
void RequireValueOf(std::string_view text, double value) {
  const std::string_view number = WithoutSign(text);
  const double magnitude = text.starts_with('-') ? -value : value;
  double expected = 0;
  const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), expected);
  if (error == std::errc::result_out_of_range) {
    REQUIRE(std::isinf(magnitude) || (magnitude >= 0 && magnitude < 1e-300));
  } else {
    REQUIRE(magnitude == expected);
  }
}

void CheckDecimal(std::string_view text) {
  const Block copy = ExactText(text);
  double value = -1.5;
  const ResultCode code = StringToFloat(copy.As<char>(), &value);
  REQUIRE(code == (IsDecimal(text) ? ERROR_SUCCESS : kNotANumber));
  if (code != ERROR_SUCCESS) REQUIRE(value == -1.5);
  if (code == ERROR_SUCCESS) RequireValueOf(text, value);
  REQUIRE(copy.Holds(ExactText(text).bytes()));
}

void CheckInteger(std::string_view text) {
  const Block copy = ExactText(text);
  const std::string_view digits = WithoutSign(text);
  const bool is_integer = IsOnly(digits, "0123456789");
  int value = -7;
  REQUIRE(StringToInt(copy.As<char>(), &value) == (is_integer ? ERROR_SUCCESS : kNotANumber));
  if (!is_integer) REQUIRE(value == -7);
  // What does not fit is the runtime library's choice.
  long long expected = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), expected);
  if (text.starts_with('-')) expected = -expected;
  if (is_integer && error != std::errc::result_out_of_range && expected >= INT_MIN && expected <= INT_MAX) {
    REQUIRE(value == expected);
  }
}

void CheckTrimming(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\n\v\f\r";
  const Block copy = ExactText(text);
  TrimWhitespace(copy.As<char>());
  const std::size_t first = std::min(text.find_first_not_of(kBlanks), text.size());
  const std::size_t last = text.find_last_not_of(kBlanks);
  REQUIRE(copy.As<char>() == (last == text.npos ? std::string_view() : text.substr(first, last + 1 - first)));
}

// Of any number, and of none, a length that can be compared.
void CheckLengths(std::string_view text) {
  char label_text[kNumberTextSize]{};
  text.copy(label_text, sizeof label_text - 1);
  for (const DWORD unit : {0u, 1u, 2u, 3u}) REQUIRE(std::abs(LabelTenths(label_text, unit)) <= 9999999LL * 254);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view all(reinterpret_cast<const char*>(data), size);
  const std::string_view text = all.substr(0, all.find('\0'));
  fuzz::AsModule([&] {
    CheckDecimal(text);
    CheckInteger(text);
    CheckTrimming(text);
    CheckLengths(text);
  });
  return 0;
}
