// Numbers as texts; what a locale with a decimal comma makes of them is tested under the platform itself, which always
// has one.
#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "diag/number_text.h"
#include "dialogs/size_text.h"
#include "labels/printer_label.h"

namespace r5lqz {
namespace {

TEST(NumberText, IsPlain) {
  const std::string longest = std::string(70, '0') + "4.125";  // longer than any stored text
  const std::pair<std::string, double> kDecimals[] = {{"-0.5", -0.5}, {"+4.125", 4.125}, {".5", 0.5}, {"5.", 5},
                                                      {"", 0},        {"-", 0},          {".", 0},    {longest, 4.125}};
  constexpr std::pair<const char*, int> kIntegers[] = {{"-2400", -2400}, {"+7", 7}, {"007", 7}, {"", 0}, {"-", 0}};
  double decimal = 0;
  int integer = 0;
  for (const auto& [text, value] : kDecimals) {
    EXPECT_EQ(StringToFloat(text.c_str(), &decimal), ERROR_SUCCESS) << text;
    EXPECT_EQ(decimal, value) << text;
  }
  for (const auto& [text, value] : kIntegers) {
    EXPECT_EQ(StringToInt(text, &integer), ERROR_SUCCESS) << text;
    EXPECT_EQ(integer, value) << text;
  }
  decimal = integer = 99;
  for (const char* const text : {"4,125", "1e3", "4.1.2", " 12", "12 ", "++1", "+-1", "0x1", "inf", "1\xE9"}) {
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

TEST(LabelUnits, AreRoundedAndConvertNothingWhenUnknown) {
  for (DWORD known = 0; known < 3; ++known) {
    EXPECT_EQ(ConvertUnits(77, known, 3), 77);
    EXPECT_EQ(ConvertUnits(77, 3, known), 77);
  }
  EXPECT_EQ(LabelTenths({"4.125"}, kInches), 1048);
  EXPECT_EQ(LabelTenths({"4,125"}, kInches), 0);
  EXPECT_EQ(LabelTenths({"9999999"}, kInches), 2539999746);
}

TEST(SizeText, ConvertsWithThreeDecimals) {
  constexpr std::tuple<const char*, DWORD, DWORD, const char*> kRows[] = {
      {"4.125", kInches, kMillimetres, "104.775"},
      {"297", kMillimetres, kInches, "11.693"},
      {"1047.75", kTenthsOfMillimetre, kInches, "4.125"},
      {"", kInches, kMillimetres, "0.000"},
      {"9017", kTenthsOfMillimetre, kMillimetres, "901.700"},
      {"901.7", kMillimetres, kTenthsOfMillimetre, "9017.000"},
      {"9999999", kInches, kTenthsOfMillimetre, "2539999746.000"}};
  for (const auto& [text, from, to, converted] : kRows) {
    EXPECT_STREQ(ConvertSizeText(text, from, to).data(), converted) << text;
  }
}

TEST(SizeText, ReadsOffsetsOut) {
  constexpr const char* kRows[][3] = {{" \t\r\n ", "0.000 u", "0.000 u"},
                                      {" 1200\t", "1.000 u", "25.400 u"},
                                      {"-2400", "-2.000 u", "-50.800 u"},
                                      {"1.5", "-.--- u", "-.--- u"},
                                      {"2147483647", "1789569.706 u", "45455070.528 u"}};
  for (const auto& [entry, inches, millimetres] : kRows) {
    std::string text = entry;
    EXPECT_STREQ(OffsetReadout(text.data(), false, "u").data(), inches) << entry;
    EXPECT_STREQ(OffsetReadout(text.data(), true, "u").data(), millimetres) << entry;
  }
}

TEST(SizeText, ADecimalThatDoesNotFitIsNone) {
  constexpr std::pair<double, const char*> kRows[] = {{104.8 / 25.4, "4.13"}, {1270, "1270.00"}, {12700, ""}};
  for (const auto& [value, expected] : kRows) {
    char text[kNumberTextSize] = "xxxxxxx";
    FormatDecimal(text, value, 2);
    EXPECT_STREQ(text, expected);
  }
}

}  // namespace
}  // namespace r5lqz
