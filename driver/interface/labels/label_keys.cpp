#include "labels/label_keys.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <iterator>

#include "base/bounded_text.h"
#include "diag/trace.h"

namespace r5lqz {
namespace {

constexpr WCHAR kParentKey[] = L"Label Sizes";

// Somebody may add a label between the question for the size and the answer.
constexpr int kMostAttempts = 3;

// Bytes. All numbers that there are take less than half a megabyte as names; nobody's memory is filled with more junk
// than this.
constexpr DWORD kLargestList = 16 * 1024 * 1024;

bool IsBlank(WCHAR character) {
  return character == ' ' || (character >= '\t' && character <= '\r');
}

// A key's name read as "%d" reads it: blanks, a sign, digits, and whatever follows. A number that no `int` holds is
// none.
SHORT NumberIn(const WCHAR* name) {
  while (IsBlank(*name)) ++name;
  if (*name == '+' && name[1] != '-') ++name;
  std::array<char, 16> digits{};
  char* end = digits.data();
  for (; end != digits.data() + digits.size() && *name > ' ' && *name < 0x7F; ++name) *end++ = static_cast<char>(*name);
  int number = 0;
  std::from_chars(digits.data(), end, number);
  return static_cast<SHORT>(number);
}

// Room for a list of `size` bytes; none without memory for it.
RuntimeBlock<WCHAR> ListOf(DWORD size) {
  if (size > kLargestList) return nullptr;
  // Two more characters than asked for: the list then ends even when the store's own does not.
  const std::size_t characters = size / sizeof(WCHAR) + 1;
  return RuntimeBlock<WCHAR>(static_cast<WCHAR*>(std::calloc(characters + 2, sizeof(WCHAR))));
}

}  // namespace

std::array<char, 24> LabelKeyName(SHORT id) {
  std::array<char, 24> name{};
  std::snprintf(name.data(), name.size(), "Label Sizes\\%d", id);
  return name;
}

std::array<WCHAR, 24> WideLabelKeyName(SHORT id) {
  const auto narrow = LabelKeyName(id);
  std::array<WCHAR, 24> wide{};
  std::copy(narrow.begin(), narrow.end(), wide.begin());
  return wide;
}

ResultCode LabelKeyList::Read(HANDLE printer) {
  names_.reset();
  at_ = nullptr;

  DWORD size = 0;
  DWORD code = EnumPrinterKeyW(printer, kParentKey, nullptr, 0, &size);
  if (code != ERROR_MORE_DATA) {
    LOG_ERROR("Could not find label list in registry: 0x%x", static_cast<unsigned>(code));
    return code == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : code;
  }

  for (int attempt = 0; attempt < kMostAttempts && code == ERROR_MORE_DATA; ++attempt) {
    names_ = ListOf(size);
    code = names_ ? EnumPrinterKeyW(printer, kParentKey, names_.get(), size, &size) : ERROR_NOT_ENOUGH_MEMORY;
  }
  if (code != ERROR_SUCCESS) {
    names_.reset();
    LOG_ERROR("Could not read label list from registry: 0x%x", static_cast<unsigned>(code));
    return code;
  }
  at_ = names_.get();
  return ERROR_SUCCESS;
}

bool LabelKeyList::Next(SHORT* id) {
  if (!at_ || !*at_) return false;
  *id = NumberIn(at_);
  while (*at_) ++at_;
  ++at_;
  return true;
}

}  // namespace r5lqz
