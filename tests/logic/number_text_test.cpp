#include <gtest/gtest.h>

#include <clocale>
#include <string>

#include "diag/number_text.h"
#include "dialogs/size_text.h"
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

TEST(SizeText, ConvertsWithThreeDecimals) {
  const struct {
    const char* text;
    DWORD from, to;
    const char* converted;
  } kRows[] = {{"4.125", kInches, kMillimetres, "104.775"},
               {"104.775", kMillimetres, kInches, "4.125"},
               {"35.5", kInches, kMillimetres, "901.700"},
               {"297", kMillimetres, kInches, "11.693"},
               {"1047.75", kTenthsOfMillimetre, kInches, "4.125"},
               {"", kInches, kMillimetres, "0.000"},
               {"9017", kTenthsOfMillimetre, kMillimetres, "901.700"},
               {"0.04", kInches, kMillimetres, "1.016"},
               {"9999999", kInches, kTenthsOfMillimetre, "2539999746.000"}};
  for (const auto& row : kRows) {
    EXPECT_STREQ(ConvertSizeText(row.text, row.from, row.to).data(), row.converted) << row.text;
  }
}

TEST(SizeText, ReadsOffsetsOut) {
  const struct {
    const char *text, *inches, *millimetres;
  } kRows[] = {{"", "0.000 u", "0.000 u"},      {" 1200\t", "1.000 u", "25.400 u"},
               {"3000", "2.500 u", "63.500 u"}, {"-2400", "-2.000 u", "-50.800 u"},
               {"1", "0.001 u", "0.021 u"},     {"1.5", "-.--- u", "-.--- u"},
               {"1 2", "-.--- u", "-.--- u"},   {"2147483647", "1789569.706 u", "45455070.528 u"}};
  for (const auto& row : kRows) {
    for (const bool millimetres : {false, true}) {
      std::string text = row.text;
      const Readout readout = OffsetReadout(text.data(), millimetres, "u");
      EXPECT_STREQ(readout.data(), millimetres ? row.millimetres : row.inches) << row.text;
    }
  }
}

TEST(SizeText, ADecimalThatDoesNotFitIsNone) {
  const std::pair<double, const char*> kRows[] = {{104.8 / 25.4, "4.13"}, {1270, "1270.00"}, {12700, ""}, {1e300, ""}};
  for (const auto& [value, expected] : kRows) {
    char text[kNumberTextSize] = "xxxxxxx";
    FormatDecimal(text, value, 2);
    EXPECT_STREQ(text, expected);
  }
}

}  // namespace
}  // namespace r5lqz
