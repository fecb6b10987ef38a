#include "entry/shared/color_profile_list.h"

#include "base/owned.h"
#include "support.h"

namespace r5lqz {
namespace {

constexpr char kUntouched[] = "what stood there", kNone[] = "none";

// The names that are listed, each followed by a blank, or what stands in the place of a list.
std::string List() {
  WCHAR stood[] = L"x";
  WCHAR* list = stood;
  if (!GetColorProfileList(L"Labels", &list)) return list == stood ? kUntouched : list ? "anything" : kNone;
  const RuntimeBlock<WCHAR> owned(list);
  std::string names;
  for (; *list; list += Text(list).size() + 1) names += Text(list) + ' ';
  return names;
}

TEST_F(ModuleTest, ColorProfilesAreSortedWithoutRegardToCase) {
  platform::SetProfiles(std::vector<std::u16string>{u"b.icc", u"A.icc", u"a.icc", u"B", u"_", u"a.ic"});
  EXPECT_EQ(List(), "_ a.ic A.icc a.icc B b.icc ");
  platform::SetProfiles({});
  EXPECT_EQ(List(), "");
}

TEST_F(ModuleTest, ColorProfilesEndWithinWhatTheSystemGave) {
  constexpr std::u16string_view kList(u"b\0a\0c\0\0", 7);
  constexpr std::tuple<std::size_t, DWORD, DWORD, const char*> kRows[] = {
      {14, 99, 0, "a b c "},
      // Only as many as it counts.
      {14, 2, 0, "a b "},
      {14, 0, 0, ""},
      {0, 3, 0, ""},
      // Neither terminator nor closing text, and half a character.
      {10, 3, 0, "a b c "},
      {9, 3, 0, "a b "},
      // Said to be longer than there is room for.
      {14, 99, 4000, "a b c "}};
  for (const auto& [bytes, count, beyond, names] : kRows) {
    platform::SetProfileListBytes(std::as_bytes(std::span(kList)).first(bytes), count, beyond);
    EXPECT_EQ(List(), names) << bytes << ", " << count;
  }
  platform::SetProfileListBytes(std::as_bytes(std::span(kList)).first(9), 3);
  platform::FailCall("malloc", 1, ERROR_NOT_ENOUGH_MEMORY);
  EXPECT_EQ(List(), "b a c ") << "as it came, without memory to sort it";
}

TEST_F(ModuleTest, ColorProfilesAreNotListedAfterAFailure) {
  log_mask = kMessageBit;
  platform::SetProfiles(std::vector<std::u16string>{u"a"});
  constexpr std::tuple<const char*, int, const char*> kFaults[] = {
      {"EnumColorProfilesW", 1, kUntouched}, {"EnumColorProfilesW", 2, kNone}, {"calloc", 1, kNone}};
  for (const auto& [call, nth, list] : kFaults) {
    platform::FailCall(call, static_cast<std::uint64_t>(nth), ERROR_NOT_ENOUGH_MEMORY);
    EXPECT_EQ(List(), list) << call << nth;
    EXPECT_EQ(LogLines().back(), "[Error] Unable to get color profile list:  GetLastError() = 8");
  }
  // A list that grows between the two calls.
  platform::SetCallHook(
      [calls = 0](const char*) mutable {
        if (++calls == 2) platform::SetProfiles(std::vector<std::u16string>{u"a", u"b"});
      },
      "EnumColorProfilesW");
  EXPECT_EQ(List(), kNone);
  EXPECT_EQ(LogLines().back(), "[Error] Unable to get color profile list:  GetLastError() = 122");
  platform::SetCallHook(nullptr);
}

}  // namespace
}  // namespace r5lqz
