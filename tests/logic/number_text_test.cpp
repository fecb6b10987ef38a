#include <gtest/gtest.h>

#include <clocale>
#include <string>

#include "diag/number_text.h"
#include "labels/printer_label.h"

namespace r5lqz {
namespace {

const std::string kLongest = std::string(70, '0') + "4.125";  // longer than any stored text
const std::pair<std::string, double> kDecimals[] = {{"-0.5", -0.5}, {"+4.125", 4.125}, {".5", 0.5}, {"5.", 5},
                                                    {"", 0},        {"-", 0},          {".", 0},    {kLongest, 4.125}};
constexpr std::pair<const char*, int> kIntegers[] = {{"-2400", -2400}, {"+7", 7}, {"007", 7}, {"", 0}, {"-", 0}};
constexpr const char* kNeither[] = {"4,125", "1e3", "4.1.2", " 12", "12 ", "++1", "+-1", "0x1", "inf", "nan", "1\xE9"};

TEST(NumberText, IsPlainAndKeepsItsPointInEveryLocale) {
  double decimal = 0;
  int integer = 0;
  for (const char* const locale : {"C", "de_DE.UTF-8"}) {
    if (!std::setlocale(LC_NUMERIC, locale)) continue;
    for (const auto& [text, value] : kDecimals) {
      EXPECT_EQ(StringToFloat(text.c_str(), &decimal), ERROR_SUCCESS) << text;
      EXPECT_EQ(decimal, value) << text << " in " << locale;
    }
  }
  std::setlocale(LC_NUMERIC, "C");
  for (const auto& [text, value] : kIntegers) {
    EXPECT_EQ(StringToInt(text, &integer), ERROR_SUCCESS) << text;
    EXPECT_EQ(integer, value) << text;
  }
  decimal = integer = 99;
  for (const char* const text : kNeither) {
    EXPECT_EQ(StringToFloat(text, &decimal), kNotANumber) << text;
    EXPECT_EQ(StringToInt(text, &integer), kNotANumber) << text;
  }
  EXPECT_EQ(StringToInt("12.5", &integer), kNotANumber);
  EXPECT_EQ(StringToFloat(nullptr, &decimal), kNoText);
  EXPECT_EQ(StringToFloat("1", nullptr), kNoResultPlace);
  EXPECT_EQ(StringToInt(nullptr, &integer), kNoText);
  EXPECT_EQ(StringToInt("1", nullptr), kNoResultPlace);
  EXPECT_TRUE(decimal == 99 && integer == 99) << "written without success";
}

TEST(NumberText, TrimmingKeepsInnerBlanks) {
  constexpr const char* kCases[][2] = {{"  4.125\t", "4.125"}, {" \t\r\n ", ""}, {"", ""}, {" a  b ", "a  b"}};
  for (const auto& [before, after] : kCases) {
    std::string text = before;
    TrimWhitespace(text.data());
    EXPECT_STREQ(text.c_str(), after);
  }
  TrimWhitespace(nullptr);
}

TEST(LabelUnits, ThatAreUnknownConvertNothing) {
  for (DWORD known = 0; known < 3; ++known) {
    EXPECT_EQ(ConvertUnits(77, known, 3), 77);
    EXPECT_EQ(ConvertUnits(77, 3, known), 77);
  }
  EXPECT_EQ(LabelTenths({"4.125"}, kInches), 1048) << "rounded";
  EXPECT_EQ(LabelTenths({"4,125"}, kInches), 0);
  EXPECT_EQ(LabelTenths({"9999999"}, kInches), 2539999746);
}

}  // namespace
}  // namespace r5lqz
