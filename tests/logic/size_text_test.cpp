// The texts of sizes and offsets in the page dialogs, to the digit.
#include "dialogs/size_text.h"

#include <gtest/gtest.h>

#include "diag/number_text.h"
#include "labels/printer_label.h"

namespace r5lqz {
namespace {

TEST(SizeText, ConvertsWithThreeDecimals) {
  const struct {
    const char* text;
    DWORD from, to;
    const char* converted;
  } kRows[] = {{"4.125", kInches, kMillimetres, "104.775"},         {"104.775", kMillimetres, kInches, "4.125"},
               {"35.5", kInches, kMillimetres, "901.700"},          {"297", kMillimetres, kInches, "11.693"},
               {"1047.75", kTenthsOfMillimetre, kInches, "4.125"},  {"", kInches, kMillimetres, "0.000"},
               {"9017", kTenthsOfMillimetre, kMillimetres, "901.700"}, {"0.04", kInches, kMillimetres, "1.016"},
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
