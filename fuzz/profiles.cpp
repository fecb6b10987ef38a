// Colour profile lists in any bytes, cut off anywhere, with a count that need not fit, changing while they are read.
#include <algorithm>
#include <string>
#include <vector>

#include "base/owned.h"
#include "diag/trace.h"
#include "entry/shared/color_profile_list.h"
#include "input.h"
#include "settings/driver_devmode.h"

namespace {

using fuzz::Block;
using namespace r5lqz;
using Texts = std::vector<std::u16string>;

constexpr BYTE kTraced = 1;
constexpr BYTE kChanging = 2;

// The front of an input; the list takes the rest.
struct Head {
  BYTE flags;
  BYTE way;  // which of the checks
  WORD count;
  WORD second_size;  // how many of the list's bytes the second question finds
};

std::u16string CharactersOf(std::span<const std::byte> bytes) {
  std::u16string characters(bytes.size() / sizeof(char16_t), u'\0');
  std::memcpy(characters.data(), bytes.data(), characters.size() * sizeof(char16_t));
  return characters;
}

Texts TextsOf(const std::u16string& list, std::size_t most) {
  Texts texts;
  for (std::size_t at = 0; at < list.size() && list[at] && texts.size() < most;) {
    texts.push_back(list.substr(at, list.find(u'\0', at) - at));
    at += texts.back().size() + 1;
  }
  return texts;
}

// The texts in `list`, in whichever order, and nothing but zeros behind them.
void RequireExactly(const Texts& texts, const std::u16string& list) {
  REQUIRE(std::ranges::is_permutation(TextsOf(list, list.size()), texts));
  std::size_t end = 0;
  for (const auto& text : texts) end += text.size() + 1;
  REQUIRE(end >= list.size() || list.find_first_not_of(u'\0', end) == list.npos);
}

void CheckSorting(std::span<const std::byte> given, std::size_t count) {
  const Block list(given);
  SortProfileList(list.As<WCHAR>(), list.size(), count);
  RequireExactly(TextsOf(CharactersOf(given), count), CharactersOf(list.bytes()));
}

// A list that was handed over ends by itself: the sanitizer watches the walk.
std::u16string HandedOver(const WCHAR* list) {
  std::size_t size = 0;
  while (list[size] || (size && list[size - 1])) ++size;
  return {reinterpret_cast<const char16_t*>(list), size};
}

void CheckReading(std::span<const std::byte> first, std::span<const std::byte> second, DWORD count) {
  platform::SetProfileListBytes(first, count);
  int asked = 0;
  const auto change = [&](const char*) {
    if (++asked == 2) platform::SetProfileListBytes(second, count);
  };
  platform::SetCallHook(change, "EnumColorProfilesW");
  WCHAR* list = nullptr;
  if (GetColorProfileList(L"Printer", &list)) {
    const RuntimeBlock<WCHAR> owned(list);
    RequireExactly(TextsOf(CharactersOf(second), count), HandedOver(list));
  } else {
    REQUIRE(!list && second.size() > first.size());
  }
  platform::SetCallHook({});
}

void CheckDefaultProfile(std::span<const std::byte> list, DWORD count, HANDLE printer) {
  platform::SetProfileListBytes(list, count);
  DriverDevMode record;
  SetupDefaultDevMode(record, nullptr, printer);
  const Texts texts = TextsOf(CharactersOf(list), count);
  const Texts assigned = TextsOf(CharactersOf(std::as_bytes(std::span(record.dm_private.colorProfile))), 1);
  REQUIRE(assigned.empty() || std::ranges::find(texts, assigned[0]) != texts.end());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const HANDLE printer = fuzz::AddPrinter();
  fuzz::Input input(data, size);
  const Head head = input.Take<Head>();
  const auto list = input.TakeRest();
  const auto second = head.flags & kChanging ? list.first(std::min<std::size_t>(head.second_size, list.size())) : list;
  log_mask = head.flags & kTraced ? kMessageBit | kTraceBit : 0;
  fuzz::AsModule([&] {
    switch (head.way % 4) {
      case 0:
        return CheckSorting(list, head.count);
      case 1:
        return CheckReading(list, second, head.count);
      case 2:
        return CheckReading(second, list, head.count);
      default:
        return CheckDefaultProfile(list, head.count, printer);
    }
  });
  return 0;
}
