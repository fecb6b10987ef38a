// Entries and ranges as texts. Here there is always a locale with a decimal comma.
#include "pages/number_entry.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <clocale>
#include <cstdio>
#include <cstring>
#include <string>

#include "labels/printer_label.h"
#include "pages/help.h"

namespace r5lqz {
namespace {

constexpr LONG kWidths[] = {10, 2970};
constexpr LONG kOffsets[] = {-2400, 2400};

// The stored form of a decimal entry, or "refused".
std::string Accept(const char* entry, const LONG (&range)[2], DWORD units) {
  char text[kNumberTextSize];
  std::snprintf(text, sizeof text, "%s", entry);
  return AcceptFloatEntry(text, range[0], range[1], units) ? text : "refused";
}

std::string AcceptInt(std::string entry, const LONG (&range)[2]) {
  return AcceptIntEntry(entry.data(), range[0], range[1]) ? entry.c_str() : "refused";
}

std::string Range(LONG minimum, LONG maximum, DWORD units) {
  std::array<WCHAR, kRangeTextSize> wide;
  GetRangeString(wide, minimum, maximum, units);
  return {wide.begin(), std::find(wide.begin(), wide.end(), WCHAR{})};
}

std::string Shown(const char* stored) {
  char text[kNumberTextSize];
  EXPECT_EQ(LocalizeNumberText(text, stored), 0u);
  return text;
}

std::string Path(const WCHAR* file, const UiLanguage& language, const WCHAR* topic) {
  const HelpPath path = BuildHelpPath(file, language, topic);
  return {path.begin(), std::find(path.begin(), path.end(), WCHAR{})};
}

TEST(NumberEntry, TakesDecimalsWithinTheirBounds) {
  const struct {
    const char* entry;
    DWORD units;
    const char* stored;
  } kRows[] = {{"12.5", kMillimetres, "12.5"},        {" 25 ", kMillimetres, "25"},
               {"+25.", kMillimetres, "+25."},        {"1", kMillimetres, "1"},
               {"1.000", kMillimetres, "1.000"},      {"0.999", kMillimetres, "refused"},
               {"297", kMillimetres, "297"},          {"297.01", kMillimetres, "refused"},
               {"11.692", kInches, "11.692"},         {"11.693", kInches, "refused"},
               {"0.040", kInches, "0.040"},           {"0.039", kInches, "refused"},
               {"2970", kTenthsOfMillimetre, "2970"}, {"2971", 77, "refused"},
               {"12,5", kMillimetres, "refused"},     {"1.2.3", kMillimetres, "refused"},
               {"12a", kMillimetres, "refused"},      {"1e2", kMillimetres, "refused"},
               {"-12", kMillimetres, "refused"},      {"+-12", kMillimetres, "refused"},
               {"1 2", kMillimetres, "refused"},      {"", kMillimetres, "refused"},
               {"+", kMillimetres, "refused"},        {"inf", kMillimetres, "refused"},
               {"\xFF", kMillimetres, "refused"}};
  for (const auto& row : kRows) EXPECT_EQ(Accept(row.entry, kWidths, row.units), row.stored) << row.entry << row.units;
  for (const char* const nothing : {"", "+", "-", "."}) EXPECT_EQ(Accept(nothing, {0, 10}, 0), nothing);
  EXPECT_EQ(Accept("-1.5", {-20, 10}, kMillimetres), "-1.5");
}

TEST(NumberEntry, TakesWholeNumbersWithinTheirBounds) {
  const char* const kRows[][2] = {
      {"-2400", "-2400"}, {"2400", "2400"}, {"2401", "refused"}, {"-2401", "refused"},
      {" +7\t", "+7"},    {"", ""},         {"1.0", "refused"},  {"1 0", "refused"},
      {"0x1", "refused"}, {"-", "-"},       {"--1", "refused"},  {"000000000000000007", "000000000000000007"}};
  for (const auto& [entry, stored] : kRows) EXPECT_EQ(AcceptInt(entry, kOffsets), stored) << entry;
  EXPECT_EQ(AcceptInt("", {1, 1}), "refused");
}

TEST(NumberEntry, NamesRangesRoundedInwards) {
  EXPECT_EQ(Range(10, 2970, kMillimetres), "1.000 - 297.000");
  EXPECT_EQ(Range(10, 2970, kInches), "0.040 - 11.692");
  EXPECT_EQ(Range(254, 9017, kInches), "1.000 - 35.500");
  EXPECT_EQ(Range(254, 9017, kTenthsOfMillimetre), "254.000 - 9017.000");
  EXPECT_EQ(Range(-20, -10, kInches), "-0.077 - -0.039");
  EXPECT_EQ(Range(-10, 10, kMillimetres), "-1.000 - 1.000");
  EXPECT_EQ(Range(0, 0, 0), "0.000 - 0.000");
  // Whatever the bounds: one text, terminated, or none.
  for (const LONG bound : {2147483647, -2147483647}) EXPECT_LT(Range(bound, bound, 2).size(), kRangeTextSize);
}

TEST(NumberEntry, SpeaksTheLocaleAndStoresPoints) {
  EXPECT_EQ(Shown("4.125"), "4.125");
  ASSERT_TRUE(std::setlocale(LC_ALL, "German_Germany.1252"));
  EXPECT_EQ(Accept("12,5", kWidths, kMillimetres), "12.5");
  EXPECT_EQ(Accept(" ,5 ", {0, 10}, kMillimetres), ".5");
  EXPECT_EQ(Accept("297,01", kWidths, kMillimetres), "refused") << "the fraction counts";
  for (const char* const entry : {"12.5", "1,2,3", "1,2.3", "1.2,3"}) {
    EXPECT_EQ(Accept(entry, kWidths, 0), "refused") << entry;
  }
  EXPECT_EQ(Range(10, 2970, kInches), "0.040 - 11.692");
  EXPECT_EQ(Shown("4.125"), "4,125");
  EXPECT_EQ(Shown("1.2.3"), "1,2.3");
  char text[kNumberTextSize] = "5.000";
  LocalizeNumberText(text, text);
  EXPECT_STREQ(text, "5,000");
  std::setlocale(LC_ALL, "C");
  EXPECT_EQ(Shown("4.12556789"), "") << "never cut";
}

TEST(HelpPaths, NameTheLanguagesFileOrNothing) {
  constexpr WCHAR kFile[] = L"C:\\help\\guide.chm";
  EXPECT_EQ(Path(kFile, kUiLanguages[0], L"::/t"), "C:\\help\\guide.chm::/t");
  EXPECT_EQ(Path(kFile, kUiLanguages[3], L""), "C:\\help\\guide.zh.chm");
  EXPECT_EQ(Path(L"ab", kUiLanguages[2], L"::/t"), "");
  EXPECT_EQ(Path(L"chm", kUiLanguages[4], L"::/t"), "es.chm::/t");
  // A path is as long as its buffer at most, terminator included.
  for (const std::size_t length : {256u, 257u, 259u, 260u, 261u, 400u}) {
    std::array<WCHAR, 401> file{};
    std::fill_n(file.begin(), length - 1, L'x');
    EXPECT_EQ(Path(file.data(), kUiLanguages[0], L"t").size(), length < 260 ? length : 0) << length;
    EXPECT_EQ(Path(file.data(), kUiLanguages[1], L"t").size(), length < 257 ? length + 3 : 0) << length;
    EXPECT_EQ(Path(L"", kUiLanguages[0], file.data()).size(), length <= 260 ? length - 1 : 0) << length;
  }
}

}  // namespace
}  // namespace r5lqz
