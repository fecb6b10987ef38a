#include "entry/color_profile_list.h"

#include "diag/owned.h"
#include "support.h"

namespace r5lqz {
namespace {

class ColorProfileList : public ModuleTest {
 protected:
  // The listed names, or none when there is no list.
  std::optional<std::vector<std::string>> List() {
    WCHAR* list = nullptr;
    if (!GetColorProfileList(L"Labels", &list)) {
      EXPECT_EQ(list, nullptr);
      return std::nullopt;
    }
    const RuntimeBlock<WCHAR> owned(list);
    std::vector<std::string> names;
    for (; *list; list += names.back().size() + 1) names.push_back(Text(list));
    return names;
  }
  static void SetRawList(std::u16string_view list, std::size_t bytes, DWORD count) {
    platform::SetProfileListBytes(std::as_bytes(std::span(list)).first(bytes), count);
  }
  using Names = std::vector<std::string>;
};

TEST_F(ColorProfileList, IsSortedWithoutRegardToCase) {
  platform::SetProfiles(std::vector<std::u16string>{u"b.icc", u"A.icc", u"a.icc", u"B", u"_", u"a.ic"});
  EXPECT_EQ(List(), (Names{"_", "a.ic", "A.icc", "a.icc", "B", "b.icc"}));
  platform::SetProfiles({});
  EXPECT_EQ(List(), Names{});
}

TEST_F(ColorProfileList, EndsWithinWhatTheSystemGave) {
  constexpr std::u16string_view kList(u"b\0a\0c\0", 7);
  SetRawList(kList, 14, 3);
  EXPECT_EQ(List(), (Names{"a", "b", "c"}));
  SetRawList(kList, 14, 2);
  EXPECT_EQ(List(), (Names{"a", "b"})) << "only as many as it counts";
  SetRawList(kList, 14, 99);
  EXPECT_EQ(List(), (Names{"a", "b", "c"}));
  SetRawList(kList, 10, 3);
  EXPECT_EQ(List(), (Names{"a", "b", "c"})) << "neither terminator nor closing text";
  SetRawList(kList, 9, 3);
  EXPECT_EQ(List(), (Names{"a", "b"})) << "half a character";
  SetRawList(kList, 0, 3);
  EXPECT_EQ(List(), Names{});
}

TEST_F(ColorProfileList, FailuresGiveNoList) {
  log_mask = kMessageBit;
  platform::SetProfiles(std::vector<std::u16string>{u"a"});
  for (const std::uint64_t call : {1, 2}) {
    platform::FailCall("EnumColorProfilesW", call, ERROR_ACCESS_DENIED);
    EXPECT_EQ(List(), std::nullopt);
    EXPECT_EQ(LogLines().back(), "[Error] Unable to get color profile list:  GetLastError() = 5");
  }
  platform::FailCall("calloc", 1);
  EXPECT_EQ(List(), std::nullopt);
  EXPECT_EQ(List(), Names{"a"});
  EXPECT_EQ(LogLines().back(), "[Info]  a");
  platform::SetProfiles({});
  List();
  EXPECT_EQ(LogLines().back(), "[Info]  MULTI_SZ string is empty");
}

}  // namespace
}  // namespace r5lqz
