#include "entry/shared/color_profile_list.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <span>

#include "base/bounded_text.h"
#include "base/late.h"
#include "base/owned.h"
#include "base/printer_interface.h"
#include "diag/trace.h"

namespace r5lqz {
namespace {

// The filter's version word that the platform's header calls ENUM_TYPE_VERSION.
constexpr DWORD kFilterVersion = 0x0300;
// The filter's bit that the platform's header calls ET_DEVICENAME.
constexpr DWORD kFilterByDevice = 0x00000001;

// Our block is longer than what the system may write by two characters, and by what half a character lacks, so that it
// ends in an empty text whatever was written.
constexpr std::size_t kClosingBytes = 3 * sizeof(WCHAR);

// How much of a name the trace log shows: a path of the usual greatest length (MAX_PATH).
constexpr std::size_t kMostShown = 260;

void LogListFailure(DWORD error) {
  LOG_ERROR("Unable to get color profile list:  GetLastError() = %d", static_cast<int>(error));
}

// One text of a list, and its place in the original order, which equal texts keep.
struct ListedText {
  std::span<const WCHAR> text;
  std::size_t place;
};

WCHAR Lower(WCHAR character) {
  const auto lower =
      reinterpret_cast<std::uintptr_t>(CharLowerW(reinterpret_cast<WCHAR*>(static_cast<std::uintptr_t>(character))));
  return static_cast<WCHAR>(lower);
}

bool ComesBefore(const ListedText& left, const ListedText& right) {
  const std::size_t common = std::min(left.text.size(), right.text.size());
  for (std::size_t at = 0; at < common; ++at) {
    const WCHAR left_lower = Lower(left.text[at]);
    const WCHAR right_lower = Lower(right.text[at]);
    if (left_lower != right_lower) return left_lower < right_lower;
  }
  if (left.text.size() != right.text.size()) return left.text.size() < right.text.size();
  return left.place < right.place;
}

// The list's next text after `at`, empty at its end.
std::span<const WCHAR> TextFrom(std::span<const WCHAR> list, std::size_t at) {
  return at < list.size() ? TextIn(list.subspan(at)) : std::span<const WCHAR>{};
}

std::size_t CountTexts(std::span<const WCHAR> list, std::size_t most) {
  std::size_t texts = 0;
  std::size_t at = 0;
  for (auto text = TextFrom(list, at); !text.empty() && texts < most; text = TextFrom(list, at)) {
    at += text.size() + 1;
    ++texts;
  }
  return texts;
}

}  // namespace

BOOL GetColorProfileList(const WCHAR* printer_name, WCHAR** list) {
  const TraceScope trace("GetColorProfileList");
  ENUMTYPEW filter{};
  filter.dwSize = sizeof filter;
  filter.dwVersion = kFilterVersion;
  filter.dwFields = kFilterByDevice;
  filter.pDeviceName = printer_name;

  DWORD size = 0;
  DWORD count = 0;
  if (!R5LQZ_CALL_LATE(EnumColorProfilesW, nullptr, &filter, nullptr, &size, &count)) {
    const DWORD error = GetLastError();
    if (error != ERROR_INSUFFICIENT_BUFFER) {
      LogListFailure(error);
      return FALSE;
    }
  }

  *list = nullptr;
  RuntimeBlock<WCHAR> block(static_cast<WCHAR*>(std::calloc(1, size + kClosingBytes)));
  if (!block) {
    LogListFailure(ERROR_NOT_ENOUGH_MEMORY);
    return FALSE;
  }
  const DWORD capacity = size;
  if (!R5LQZ_CALL_LATE(EnumColorProfilesW, nullptr, &filter, reinterpret_cast<BYTE*>(block.get()), &size, &count)) {
    LogListFailure(GetLastError());
    return FALSE;
  }
  SortProfileList(block.get(), std::min(size, capacity), count);
  LOG_INFO("Color Profile List:");
  LogProfileList(block.get());
  *list = block.release();
  return TRUE;
}

void SortProfileList(WCHAR* list, std::size_t size, std::size_t count) {
  const std::size_t characters = size / sizeof(WCHAR);
  const std::size_t texts = CountTexts({list, characters}, count);
  if (texts == 0) {
    std::memset(list, 0, size);
    return;
  }
  const RuntimeBlock<WCHAR> copy(static_cast<WCHAR*>(std::malloc(size)));
  const RuntimeBlock<ListedText> order(static_cast<ListedText*>(std::calloc(texts, sizeof(ListedText))));
  if (!copy || !order) return;
  std::memcpy(copy.get(), list, size);

  const std::span sorted(order.get(), texts);
  std::size_t at = 0;
  for (std::size_t place = 0; place < texts; ++place) {
    const auto text = TextFrom({copy.get(), characters}, at);
    sorted[place] = {text, place};
    at += text.size() + 1;
  }
  // Of the sorts of the library, this one takes no memory; the place in each text keeps equal ones in order.
  std::sort(sorted.begin(), sorted.end(), ComesBefore);

  std::memset(list, 0, size);
  WCHAR* to = list;
  for (const ListedText& one : sorted) to = std::copy(one.text.begin(), one.text.end(), to) + 1;
}

void LogProfileList(const WCHAR* list) {
  if (!Logs(kMessageBit)) return;
  if (!list || !*list) {
    LOG_INFO("MULTI_SZ string is empty");
    return;
  }
  for (; *list; ++list) {
    LOG_INFO("%s", ShownText<3 * kMostShown + 1>(TextAt(list, kMostShown)).c_str());
    while (*list) ++list;
  }
}

}  // namespace r5lqz
