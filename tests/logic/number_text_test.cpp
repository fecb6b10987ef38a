#include <gtest/gtest.h>

#include <clocale>
#include <optional>
#include <string>

#include "diag/number_text.h"
#include "labels/printer_label.h"

namespace r5lqz {
namespace {

constexpr double kUntouched = -777;

struct Accepted {
  const char* text;
  double value;
};

constexpr Accepted kAccepted[] = {
    {"4.125", 4.125}, {"+4.125", 4.125}, {"-0.5", -0.5}, {".5", 0.5}, {"5.", 5}, {"", 0}, {"+", 0}, {"-", 0}, {".", 0},
    // Longer than any stored text, and longer than a usual one.
    {"00000000000000000000000000000000000000000000000000000000000000000004.125", 4.125}};

constexpr const char* kRefused[] = {"4,125", "1e3", "4.1.2", " 12", "12 ", "++1", "+-1", "0x1", "inf", "nan", "1\xE9"};

TEST(NumberText, DecimalsArePlainAndKeepTheirPointInEveryLocale) {
  for (const char* const locale : {"C", "de_DE.UTF-8"}) {
    if (!std::setlocale(LC_NUMERIC, locale)) continue;
    for (const auto& [text, value] : kAccepted) {
      double result = kUntouched;
      EXPECT_EQ(StringToFloat(text, &result), ERROR_SUCCESS) << text;
      EXPECT_EQ(result, value) << text << " in " << locale;
    }
    for (const char* const text : kRefused) {
      double result = kUntouched;
      EXPECT_EQ(StringToFloat(text, &result), kNotANumber) << text;
      EXPECT_EQ(result, kUntouched) << text;
    }
  }
  std::setlocale(LC_NUMERIC, "C");
  double result = kUntouched;
  EXPECT_EQ(StringToFloat(nullptr, &result), kNoText);
  EXPECT_EQ(StringToFloat("1", nullptr), kNoResultPlace);
}

TEST(NumberText, IntegersArePlain) {
  constexpr Accepted kIntegers[] = {{"2400", 2400}, {"-2400", -2400}, {"+7", 7}, {"", 0}, {"-", 0}, {"007", 7}};
  for (const auto& [text, value] : kIntegers) {
    int result = 99;
    EXPECT_EQ(StringToInt(text, &result), ERROR_SUCCESS) << text;
    EXPECT_EQ(result, value) << text;
  }
  for (const char* const text : {"12.5", " 1", "1 ", "0x10", "1e3", "--1"}) {
    int result = 99;
    EXPECT_EQ(StringToInt(text, &result), kNotANumber) << text;
    EXPECT_EQ(result, 99) << text;
  }
  int result = 99;
  EXPECT_EQ(StringToInt(nullptr, &result), kNoText);
  EXPECT_EQ(StringToInt("1", nullptr), kNoResultPlace);
}

TEST(NumberText, TrimmingKeepsInnerBlanks) {
  constexpr const char* kCases[][2] = {{"  4.125\t", "4.125"}, {" \t\r\n ", ""}, {"", ""}, {"a b", "a b"}, {" a  b ", "a  b"}};
  for (const auto& [before, after] : kCases) {
    std::string text = before;
    TrimWhitespace(text.data());
    EXPECT_STREQ(text.c_str(), after);
  }
  TrimWhitespace(nullptr);
}

TEST(LabelUnits, ConvertBetweenTheThreeAndLeaveOthers) {
  EXPECT_DOUBLE_EQ(ConvertUnits(4.125, kInches, kTenthsOfMillimetre), 1047.75);
  EXPECT_NEAR(ConvertUnits(104.8, kMillimetres, kInches), 4.126, 0.0005);
  for (DWORD from = 0; from < 3; ++from) {
    for (DWORD to = 0; to < 3; ++to) EXPECT_NEAR(ConvertUnits(ConvertUnits(77, from, to), to, from), 77, 1e-9);
    EXPECT_EQ(ConvertUnits(77, from, 3), 77);
    EXPECT_EQ(ConvertUnits(77, 3, from), 77);
  }
}

TEST(LabelUnits, SizesAreRoundedTenths) {
  EXPECT_EQ(LabelTenths({"4.125"}, kInches), 1048);
  EXPECT_EQ(LabelTenths({"4"}, kInches), 1016);
  EXPECT_EQ(LabelTenths({"101.6"}, kMillimetres), 1016);
  EXPECT_EQ(LabelTenths({"1016"}, kTenthsOfMillimetre), 1016);
  EXPECT_EQ(LabelTenths({"1016"}, 77), 1016);
  EXPECT_EQ(LabelTenths({"4,125"}, kInches), 0);
  EXPECT_EQ(LabelTenths({"9999999"}, kInches), 2539999746);
}

}  // namespace
}  // namespace r5lqz
