// Text conversion and case: the code page is Latin-1.
#include "native/state.h"

#include <algorithm>

namespace platform {
namespace {

constexpr bool IsAnsi(UINT code_page) {
  return code_page == CP_ACP || code_page == CP_THREAD_ACP;
}

// The common rules of both conversions: copies what fits, converted character by character.
template <typename Target, typename Source, typename Convert>
int ConvertText(const Source* source, int length, Target* target, int capacity, Convert convert) {
  if (!source || length == 0 || length < -1 || capacity < 0 || (!target && capacity > 0)) {
    return FailWith(ERROR_INVALID_PARAMETER, 0);
  }
  if (length == -1) {
    length = 1;
    for (const Source* at = source; *at; ++at) ++length;
  }
  if (capacity == 0) return length;
  const int copied = std::min(length, capacity);
  std::transform(source, source + copied, target, convert);
  return copied == length ? length : FailWith(ERROR_INSUFFICIENT_BUFFER, 0);
}

}  // namespace

std::u16string Widen(std::string_view text) {
  std::u16string wide(text.size(), u'\0');
  std::transform(text.begin(), text.end(), wide.begin(), [](char c) { return static_cast<unsigned char>(c); });
  return wide;
}

std::string Narrow(std::u16string_view text) {
  std::string narrow(text.size(), '\0');
  std::transform(text.begin(), text.end(), narrow.begin(),
                 [](char16_t c) { return static_cast<char>(c < 256 ? c : '?'); });
  return narrow;
}

std::u16string_view View(const WCHAR* text) {
  return text ? std::u16string_view(reinterpret_cast<const char16_t*>(text)) : std::u16string_view();
}

char16_t LowerChar(char16_t c) {
  const bool upper = (c >= u'A' && c <= u'Z') || (c >= 0xC0 && c <= 0xDE && c != 0xD7);
  return upper ? static_cast<char16_t>(c + 32) : c;
}

FoldedName::FoldedName(std::u16string_view text) {
  Fold(text);
}

FoldedName::FoldedName(std::string_view text) {
  Fold(text);
}

template <typename Source>
void FoldedName::Fold(Source text) {
  if (text.size() > short_.size()) long_.resize(text.size());
  char16_t* const to = long_.empty() ? short_.data() : long_.data();
  std::transform(text.begin(), text.end(), to,
                 [](auto c) { return LowerChar(static_cast<std::make_unsigned_t<decltype(c)>>(c)); });
  view_ = {to, text.size()};
}

}  // namespace platform

using platform::Call;
using platform::CallScope;

extern "C" {

INT WINAPI MultiByteToWideChar(UINT code_page, DWORD, LPCSTR source, INT length, LPWSTR target, INT capacity) {
  CallScope call(Call::kMultiByteToWideChar);
  if (call.failed()) return call.Fail(0);
  if (!platform::IsAnsi(code_page)) return platform::FailWith(ERROR_INVALID_PARAMETER, 0);
  return platform::ConvertText(source, length, target, capacity,
                               [](char c) { return static_cast<WCHAR>(static_cast<unsigned char>(c)); });
}

INT WINAPI WideCharToMultiByte(UINT code_page, DWORD, LPCWSTR source, INT length, LPSTR target, INT capacity,
                               LPCSTR replacement, LPBOOL replaced) {
  CallScope call(Call::kWideCharToMultiByte);
  if (call.failed()) return call.Fail(0);
  if (!platform::IsAnsi(code_page)) return platform::FailWith(ERROR_INVALID_PARAMETER, 0);
  if (replaced) *replaced = FALSE;
  return platform::ConvertText(source, length, target, capacity, [&](WCHAR c) {
    if (c < 256) return static_cast<char>(c);
    if (replaced) *replaced = TRUE;
    return replacement ? *replacement : '?';
  });
}

INT WINAPI CompareStringOrdinal(const WCHAR* left, INT left_length, const WCHAR* right, INT right_length,
                                BOOL ignore_case) {
  CallScope call(Call::kCompareStringOrdinal);
  if (call.failed()) return call.Fail(0);
  const auto text = [&](const WCHAR* at, INT length) {
    const auto view = platform::View(at);
    const std::u16string whole(length < 0 ? view : view.substr(0, static_cast<std::size_t>(length)));
    return ignore_case ? platform::FoldedName(std::u16string_view(whole)).text() : whole;
  };
  const int order = text(left, left_length).compare(text(right, right_length));
  return order < 0 ? CSTR_LESS_THAN : order > 0 ? CSTR_GREATER_THAN : CSTR_EQUAL;
}

LPWSTR WINAPI CharLowerW(LPWSTR text) {
  CallScope call(Call::kCharLowerW);
  const auto value = reinterpret_cast<ULONG_PTR>(text);
  // A value without a high part is one character, not an address.
  if (value <= 0xFFFF) return reinterpret_cast<LPWSTR>(ULONG_PTR{platform::LowerChar(static_cast<char16_t>(value))});
  for (WCHAR* at = text; *at; ++at) *at = static_cast<WCHAR>(platform::LowerChar(*at));
  return text;
}

}  // extern "C"
