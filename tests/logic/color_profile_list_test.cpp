#include "entry/shared/color_profile_list.h"

#include "base/owned.h"
#include "support.h"

namespace r5lqz {
namespace {

class ColorProfileList : public ModuleTest {
 protected:
  // The listed names, or none when there is no list; whether there then stands what stood there before.
  std::optional<std::vector<std::string>> List() {
    WCHAR stood[] = L"x";
    WCHAR* list = stood;
    if (!GetColorProfileList(L"Labels", &list)) {
      is_untouched_ = list == stood;
      EXPECT_TRUE(is_untouched_ || !list);
      return std::nullopt;
    }
    const RuntimeBlock<WCHAR> owned(list);
    std::vector<std::string> names;
    for (; *list; list += names.back().size() + 1) names.push_back(Text(list));
    return names;
  }
  using Names = std::vector<std::string>;
  bool is_untouched_ = false;
};

TEST_F(ColorProfileList, IsSortedWithoutRegardToCase) {
  platform::SetProfiles(std::vector<std::u16string>{u"b.icc", u"A.icc", u"a.icc", u"B", u"_", u"a.ic"});
  EXPECT_EQ(List(), (Names{"_", "a.ic", "A.icc", "a.icc", "B", "b.icc"}));
  platform::SetProfiles({});
  EXPECT_EQ(List(), Names{});
}

TEST_F(ColorProfileList, EndsWithinWhatTheSystemGave) {
  constexpr std::u16string_view kList(u"b\0a\0c\0\0", 7);
  const struct {
    std::size_t bytes;
    DWORD count;
    Names names;
    DWORD beyond = 0;
  } kRows[] = {
      {14, 3, {"a", "b", "c"}},
      {14, 2, {"a", "b"}},  // only as many as it counts
      {14, 99, {"a", "b", "c"}},
      {10, 3, {"a", "b", "c"}},  // neither terminator nor closing text
      {9, 3, {"a", "b"}},        // half a character
      {0, 3, {}},
      {14, 99, {"a", "b", "c"}, 4000},  // said to be longer than there is room for
  };
  for (const auto& [bytes, count, names, beyond] : kRows) {
    platform::SetProfileListBytes(std::as_bytes(std::span(kList)).first(bytes), count, beyond);
    EXPECT_EQ(List(), names) << bytes << ", " << count;
  }
  platform::SetProfileListBytes(std::as_bytes(std::span(kList)).first(9), 3);
  platform::FailCall("malloc", 1, ERROR_NOT_ENOUGH_MEMORY);
  EXPECT_EQ(List(), (Names{"b", "a", "c"})) << "as it came, without memory to sort it";
}

TEST_F(ColorProfileList, FailuresGiveNoList) {
  log_mask = kMessageBit;
  platform::SetProfiles(std::vector<std::u16string>{u"a"});
  constexpr std::tuple<const char*, int, bool> kFaults[] = {
      {"EnumColorProfilesW", 1, true}, {"EnumColorProfilesW", 2, false}, {"calloc", 1, false}};
  for (const auto& [call, nth, untouched] : kFaults) {
    platform::FailCall(call, static_cast<std::uint64_t>(nth), ERROR_NOT_ENOUGH_MEMORY);
    EXPECT_EQ(List(), std::nullopt);
    EXPECT_EQ(is_untouched_, untouched) << call << nth;
    EXPECT_EQ(LogLines().back(), "[Error] Unable to get color profile list:  GetLastError() = 8");
  }
  EXPECT_EQ(List(), Names{"a"});
  EXPECT_EQ(LogLines().back(), "[Info]  a");
  // A list that grows between the two calls.
  int calls = 0;
  platform::SetCallHook(
      [&](const char*) {
        if (++calls == 2) platform::SetProfiles(std::vector<std::u16string>{u"a", u"b"});
      },
      "EnumColorProfilesW");
  EXPECT_EQ(List(), std::nullopt);
  EXPECT_EQ(LogLines().back(), "[Error] Unable to get color profile list:  GetLastError() = 122");
  platform::SetCallHook(nullptr);
}

}  // namespace
}  // namespace r5lqz
