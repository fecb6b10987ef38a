// Entries and ranges as texts. Here there is always a locale with a decimal comma.
#include "pages/number_entry.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <clocale>
#include <cstdio>
#include <string>
#include <tuple>

#include "diag/number_text.h"
#include "labels/printer_label.h"
#include "pages/help.h"

namespace r5lqz {
namespace {

constexpr LONG kWidths[] = {10, 2970};

// The stored form of a decimal entry, or "refused".
std::string Accept(const char* entry, const LONG (&range)[2], DWORD units) {
  char text[kNumberTextSize];
  std::snprintf(text, sizeof text, "%s", entry);
  return AcceptFloatEntry(text, range[0], range[1], units) ? text : "refused";
}

std::string AcceptInt(std::string entry, const LONG (&range)[2]) {
  return AcceptIntEntry(entry.data(), range[0], range[1]) ? entry.c_str() : "refused";
}

template <std::size_t size>
std::string Narrow(const std::array<WCHAR, size>& wide) {
  return {wide.begin(), std::find(wide.begin(), wide.end(), WCHAR{})};
}

std::string Range(LONG minimum, LONG maximum, DWORD units) {
  std::array<WCHAR, kRangeTextSize> wide;
  GetRangeString(wide, minimum, maximum, units);
  return Narrow(wide);
}

std::string Shown(const char* stored) {
  char text[kNumberTextSize];
  EXPECT_EQ(LocalizeNumberText(text, stored), 0u);
  return text;
}

TEST(NumberEntry, IsTakenWithinItsBounds) {
  constexpr std::tuple<const char*, DWORD, const char*> kDecimals[] = {
      {" 25.5 ", kMillimetres, "25.5"},    {"1", kMillimetres, "1"},
      {"0.999", kMillimetres, "refused"},  {"297", kMillimetres, "297"},
      {"297.01", kMillimetres, "refused"}, {"11.692", kInches, "11.692"},
      {"11.693", kInches, "refused"},      {"0.040", kInches, "0.040"},
      {"0.039", kInches, "refused"},       {"2970", kTenthsOfMillimetre, "2970"},
      {"12,5", kMillimetres, "refused"},   {"12a", kMillimetres, "refused"},
      {"", kTenthsOfMillimetre, "refused"}};
  for (const auto& [entry, units, stored] : kDecimals) EXPECT_EQ(Accept(entry, kWidths, units), stored) << entry;
  EXPECT_EQ(Accept("", {0, 10}, 0), "") << "nothing is zero";
  const char* const kIntegers[][2] = {{"-2400", "-2400"}, {"2400", "2400"}, {"2401", "refused"}, {"-2401", "refused"},
                                      {" +7\t", "+7"},    {"", ""},         {"1.0", "refused"}};
  for (const auto& [entry, stored] : kIntegers) EXPECT_EQ(AcceptInt(entry, {-2400, 2400}), stored) << entry;
}

TEST(NumberEntry, NamesRangesRoundedInwards) {
  EXPECT_EQ(Range(10, 2970, kMillimetres), "1.000 - 297.000");
  EXPECT_EQ(Range(10, 2970, kInches), "0.040 - 11.692");
  EXPECT_EQ(Range(-20, -10, kInches), "-0.077 - -0.039");
  // Whatever the bounds: one text, terminated, or none.
  for (const LONG bound : {2147483647, -2147483647}) EXPECT_LT(Range(bound, bound, 2).size(), kRangeTextSize);
}

TEST(NumberEntry, SpeaksTheLocaleAndStoresPoints) {
  ASSERT_TRUE(std::setlocale(LC_ALL, "German_Germany.1252"));
  const char* const kRows[][2] = {{"12,5", "12.5"},    {" 2,5 ", "2.5"},     {"297,01", "refused"},
                                  {"12.5", "refused"}, {"1,2,3", "refused"}, {"1,2.3", "refused"}};
  for (const auto& [entry, stored] : kRows) EXPECT_EQ(Accept(entry, kWidths, kMillimetres), stored) << entry;
  EXPECT_EQ(Range(10, 2970, kInches), "0.040 - 11.692");
  EXPECT_EQ(Shown("4.125"), "4,125");
  char text[kNumberTextSize] = "5.000";
  LocalizeNumberText(text, text);
  EXPECT_STREQ(text, "5,000");
  FormatDecimal(text, 4.125, 3);
  EXPECT_STREQ(text, "4.125");
  std::setlocale(LC_ALL, "C");
  EXPECT_EQ(Shown("4.125"), "4.125");
  EXPECT_EQ(Shown("4.12556789"), "") << "never cut";
}

TEST(HelpPaths, NameTheLanguagesFileOrNothing) {
  const UiLanguage &english = kUiLanguages[0], &german = kUiLanguages[1];
  EXPECT_EQ(Narrow(BuildHelpPath(L"C:\\help\\guide.chm", english, L"::/t")), "C:\\help\\guide.chm::/t");
  EXPECT_EQ(Narrow(BuildHelpPath(L"C:\\help\\guide.chm", german, L"::/t")), "C:\\help\\guide.de.chm::/t");
  EXPECT_EQ(Narrow(BuildHelpPath(L"ab", german, L"::/t")), "");
  // A path is as long as its buffer at most, terminator included.
  for (const std::size_t length : {256u, 257u, 259u, 260u, 261u, 400u}) {
    const std::wstring file(length - 1, L'x');
    EXPECT_EQ(Narrow(BuildHelpPath(file.c_str(), english, L"t")).size(), length < 260 ? length : 0) << length;
    EXPECT_EQ(Narrow(BuildHelpPath(file.c_str(), german, L"t")).size(), length < 257 ? length + 3 : 0) << length;
    EXPECT_EQ(Narrow(BuildHelpPath(L"", english, file.c_str())).size(), length <= 260 ? length - 1 : 0) << length;
  }
}

}  // namespace
}  // namespace r5lqz
