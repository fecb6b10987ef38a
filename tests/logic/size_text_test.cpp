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
  } kRows[] = {{"4.125", kInches, kMillimetres, "104.775"},     {"104.775", kMillimetres, kInches, "4.125"},
               {"5", kInches, kMillimetres, "127.000"},         {"297", kMillimetres, kInches, "11.693"},
               {"35.5", kInches, kMillimetres, "901.700"},      {"0.04", kInches, kMillimetres, "1.016"},
               {"1047.75", kTenthsOfMillimetre, kInches, "4.125"}, {"9017", kTenthsOfMillimetre, kMillimetres, "901.700"},
               {"9999999", kInches, kTenthsOfMillimetre, "2539999746.000"}, {"", kInches, kMillimetres, "0.000"}};
  for (const auto& row : kRows) {
    EXPECT_STREQ(ConvertSizeText(row.text, row.from, row.to).data(), row.converted) << row.text;
  }
}

TEST(SizeText, ReadsOffsetsOut) {
  const struct {
    const char *text, *inches, *millimetres;
  } kRows[] = {{"", "0.000 u", "0.000 u"},
               {" 1200\t", "1.000 u", "25.400 u"},
               {"-2400", "-2.000 u", "-50.800 u"},
               {"3000", "2.500 u", "63.500 u"},
               {"1", "0.001 u", "0.021 u"},
               {"+", "0.000 u", "0.000 u"},
               {"1.5", "-.--- u", "-.--- u"},
               {"1 2", "-.--- u", "-.--- u"},
               {"2147483647", "1789569.706 u", "45455070.528 u"}};
  for (const auto& row : kRows) {
    for (const bool millimetres : {false, true}) {
      char text[32] = "";
      std::string(row.text).copy(text, sizeof text - 1);
      EXPECT_STREQ(OffsetReadout(text, millimetres, "u").data(), millimetres ? row.millimetres : row.inches) << row.text;
    }
  }
  char text[] = "7";
  EXPECT_EQ(OffsetReadout(text, true, std::string(200, 'u').c_str()).back(), '\0');
}

TEST(SizeText, ADecimalThatDoesNotFitIsNone) {
  const struct {
    double value;
    int decimals;
    const char* text;
  } kRows[] = {{104.8 / 25.4, 2, "4.13"}, {1270, 2, "1270.00"}, {12700, 2, ""}, {-2400, 0, "-2400"}, {1e300, 2, ""}};
  for (const auto& row : kRows) {
    char text[kNumberTextSize] = "xxxxxxx";
    FormatDecimal(text, row.value, row.decimals);
    EXPECT_STREQ(text, row.text);
  }
}

}  // namespace
}  // namespace r5lqz
