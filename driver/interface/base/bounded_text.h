// Texts in fixed arrays, whose terminator nobody else guarantees.
#pragma once

#include <windows.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <type_traits>

namespace r5lqz {

// The characters of `text` before its terminator, or all of it when it has none.
template <typename Char>
std::span<const Char> TextIn(std::span<const Char> text) {
  return text.first(static_cast<std::size_t>(std::find(text.begin(), text.end(), Char{}) - text.begin()));
}

// The first characters of a terminated text (or none), at most `most` of them; nothing behind the terminator is read.
template <typename Char>
std::span<const Char> TextAt(const Char* text, std::size_t most) {
  std::size_t length = 0;
  while (text && length < most && text[length]) ++length;
  return {text, length};
}

// The one bounded copy: never truncates. A text that does not fit with its terminator leaves the destination empty. The
// destination is zero to its end behind the text, so no earlier content shows.
template <typename Char, std::size_t extent>
void CopyBounded(std::span<Char, extent> destination, std::type_identity_t<std::span<const Char>> source) {
  const auto text = TextIn(source);
  const bool fits = text.size() < destination.size();
  const auto end = std::copy_n(text.begin(), fits ? text.size() : 0, destination.begin());
  std::fill(end, destination.end(), Char{});
}

// The same from a terminated text of any length; a missing one counts as empty.
template <typename Char, std::size_t extent>
void CopyBounded(std::span<Char, extent> destination, const std::type_identity_t<Char>* source) {
  CopyBounded(destination, TextAt(source, destination.size()));
}

// A wide text as a narrow one of the system's ANSI code page; what that lacks becomes its default character. Empty when
// it does not fit with its terminator.
template <std::size_t capacity>
std::array<char, capacity> NarrowText(std::span<const WCHAR> wide) {
  std::array<char, capacity> narrow{};
  const auto text = TextIn(wide);
  if (!text.empty()) {
    const int bytes = WideCharToMultiByte(CP_ACP, 0, text.data(), static_cast<int>(text.size()), narrow.data(),
                                          static_cast<int>(capacity - 1), nullptr, nullptr);
    std::fill(narrow.begin() + std::max(bytes, 0), narrow.end(), '\0');
  }
  return narrow;
}

// A text of somebody else's as a trace record shows it: narrow, terminated, at most `capacity` bytes with the
// terminator, empty when it does not fit. Control characters show as "?": a record is one line, whatever a text brings
// along.
template <std::size_t capacity>
class ShownText {
 public:
  explicit ShownText(std::span<const WCHAR> wide) : text_(NarrowText<capacity>(wide)) {
    HideControls(TextIn(std::span<const char>(text_)).size());
  }
  explicit ShownText(std::span<const char> narrow) {
    CopyBounded(std::span(text_), narrow);
    HideControls(TextIn(std::span<const char>(text_)).size());
  }
  const char* c_str() const { return text_.data(); }

 private:
  void HideControls(std::size_t length) {
    std::replace_if(
        text_.begin(), text_.begin() + static_cast<std::ptrdiff_t>(length),
        [](char character) { return static_cast<unsigned char>(character) < ' '; }, '?');
    text_[length] = '\0';
  }

  std::array<char, capacity> text_{};
};

// The reverse: a narrow text of the system's ANSI code page as a wide one. The names that the spooler keeps were
// converted with the same page, whatever locale the host has chosen for its runtime library.
template <std::size_t capacity>
std::array<WCHAR, capacity> WidenText(std::span<const char> narrow) {
  std::array<WCHAR, capacity> wide{};
  const auto text = TextIn(narrow);
  if (!text.empty()) {
    const int count = MultiByteToWideChar(CP_ACP, 0, text.data(), static_cast<int>(text.size()), wide.data(),
                                          static_cast<int>(capacity - 1));
    std::fill(wide.begin() + std::max(count, 0), wide.end(), WCHAR{});
  }
  return wide;
}

}  // namespace r5lqz
