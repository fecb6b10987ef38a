#include "pages/product_info.h"

#include <array>

#include "base/bounded_format.h"
#include "diag/number_text.h"

namespace r5lqz {
namespace {

constexpr WCHAR kVersion[] = L"1.0.0";
constexpr WCHAR kNotice[] = L"\u00A9 %d Brindlewick. All rights reserved.";
constexpr std::size_t kNoticeSize = 71;

// The compiler's date reads "Nov 20 2023".
constexpr char kBuildDate[] = __DATE__;
constexpr std::size_t kYearOffset = 7;
static_assert(sizeof kBuildDate == kYearOffset + 4 + 1);

int BuildYear() {
  int year = 0;
  StringToInt(kBuildDate + kYearOffset, &year);
  return year;
}

}  // namespace

void ShowProductInfo(HWND dialog, int version_control, int notice_control) {
  std::array<WCHAR, kNoticeSize> notice;
  FormatBounded(std::span(notice), kNotice, BuildYear());
  SetDlgItemTextW(dialog, notice_control, notice.data());
  SetDlgItemTextW(dialog, version_control, kVersion);
}

}  // namespace r5lqz
