#include "base/string_table.h"

#include "base/module.h"

namespace r5lqz {

StringText LoadText(UINT string_id) {
  StringText text{};
  LoadStringW(ModuleHandle(), string_id, text.data(), static_cast<int>(text.size()));
  return text;
}

}  // namespace r5lqz
