#include "dialogs/label_json.h"

#include <cjson/cJSON.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <iterator>

#include "base/bounded_text.h"
#include "diag/number_text.h"

namespace r5lqz {
namespace {

constexpr int kFileVersion = 0;

void DeleteTree(cJSON* tree) {
  cJSON_Delete(tree);
}
using Tree = std::unique_ptr<cJSON, Releaser<DeleteTree>>;

constexpr char kVersion[] = "version";
constexpr char kList[] = "list";
constexpr char kName[] = "name";
constexpr char kUnits[] = "units";
constexpr char kId[] = "id";

// A text of a page that holds a number.
struct NumberMember {
  const char* name;
  char (PrinterLabel::*field)[kNumberTextSize];
};

constexpr NumberMember kWidth{"width", &PrinterLabel::width};
constexpr NumberMember kLength{"length", &PrinterLabel::length};
constexpr NumberMember kVertOffset{"vertOffset", &PrinterLabel::vertOffset};
constexpr NumberMember kHorzOffset{"horzOffset", &PrinterLabel::horzOffset};

// The printer's limits and the default size, in millimetres.
constexpr double kLowestWidth = 1;
constexpr double kHighestWidth = 297;
constexpr double kDefaultWidth = 104.8;
constexpr double kLowestLength = 25.4;
constexpr double kHighestLength = 901.7;
constexpr double kDefaultLength = 127;

// The lowest number that the file may give a page; lower ones, and missing ones, count up from it.
constexpr int kLowestFileId = 259;
constexpr int kHighestFileId = 32767;

// Adds a new item to its owner, or releases it: an item that could not be made (no memory) is not added.
bool AddMember(cJSON* object, const char* name, Tree item) {
  if (!item || !cJSON_AddItemToObject(object, name, item.get())) return false;
  static_cast<void>(item.release());  // the owner's now
  return true;
}

bool AddNumber(cJSON* object, const char* name, double number) {
  return AddMember(object, name, Tree(cJSON_CreateNumber(number)));
}

// A field's text as it stands, in the system's code page.
bool AddText(cJSON* object, const char* name, std::span<const char> field) {
  std::array<char, kLabelNameSize + 1> terminated{};
  const auto text = TextIn(field);
  std::copy(text.begin(), text.end(), terminated.begin());
  return AddMember(object, name, Tree(cJSON_CreateString(terminated.data())));
}

Tree WritePage(const PrinterLabel& label) {
  Tree page(cJSON_CreateObject());
  if (!page || !AddText(page.get(), kName, label.name)) return nullptr;
  for (const NumberMember& member : {kWidth, kLength, kVertOffset, kHorzOffset}) {
    if (!AddText(page.get(), member.name, label.*member.field)) return nullptr;
  }
  if (!AddNumber(page.get(), kUnits, label.units) || !AddNumber(page.get(), kId, label.id)) return nullptr;
  return page;
}

Tree WritePages(std::span<const PrinterLabel> labels) {
  Tree list(cJSON_CreateArray());
  if (!list) return nullptr;
  for (const PrinterLabel& label : labels) {
    Tree page = WritePage(label);
    if (!page || !cJSON_AddItemToArray(list.get(), page.get())) return nullptr;
    static_cast<void>(page.release());
  }
  return list;
}

int GetJsonIntInRange(const cJSON* page, const char* name, int lowest, int highest, int fallback) {
  const cJSON* const member = cJSON_GetObjectItem(page, name);
  if (!cJSON_IsNumber(member)) return fallback;
  const double whole = std::trunc(member->valuedouble);
  return whole >= lowest && whole <= highest ? static_cast<int>(whole) : fallback;
}

bool TakeNumberText(const cJSON* member, std::span<char, kNumberTextSize> field, double lowest, double highest) {
  if (!cJSON_IsString(member)) return false;
  CopyBounded(field, member->valuestring);
  std::replace(field.begin(), std::find(field.begin(), field.end(), '\0'), ',', '.');
  double value = 0;
  return StringToFloat(field.data(), &value) == ERROR_SUCCESS && value >= lowest && value <= highest;
}

// A number text of the page, or the default with `decimals` digits behind the point.
void GetJsonNumberString(PrinterLabel& label, const NumberMember& number, const cJSON* page, double lowest,
                         double highest, double fallback, int decimals) {
  const std::span<char, kNumberTextSize> field(label.*number.field);
  if (TakeNumberText(cJSON_GetObjectItem(page, number.name), field, lowest, highest)) return;
  FormatDecimal(field, fallback, decimals);
}

void ReadName(PrinterLabel& label, const cJSON* page, int position) {
  const cJSON* const name = cJSON_GetObjectItem(page, kName);
  if (cJSON_IsString(name)) {
    CopyBounded(std::span(label.name), name->valuestring);
  } else {
    std::snprintf(label.name, sizeof label.name, "No Name %d", position);
  }
}

// A size in the page's units; limits and default given in millimetres.
void ReadSize(PrinterLabel& label, const NumberMember& number, const cJSON* page, double lowest, double highest,
              double fallback) {
  const auto in_units = [&label](double millimetres) { return ConvertUnits(millimetres, kMillimetres, label.units); };
  GetJsonNumberString(label, number, page, in_units(lowest), in_units(highest), in_units(fallback), 2);
}

PrinterLabel ReadPage(const cJSON* page, int index) {
  PrinterLabel label{};
  ReadName(label, page, index + 1);
  label.units = static_cast<DWORD>(GetJsonIntInRange(page, kUnits, kMillimetres, kTenthsOfMillimetre, kInches));
  ReadSize(label, kWidth, page, kLowestWidth, kHighestWidth, kDefaultWidth);
  ReadSize(label, kLength, page, kLowestLength, kHighestLength, kDefaultLength);
  for (const NumberMember& offset : {kVertOffset, kHorzOffset}) {
    GetJsonNumberString(label, offset, page, kOffsetLimits.lowest, kOffsetLimits.highest, kOffsetLimits.fallback, 0);
  }
  label.id = static_cast<SHORT>(GetJsonIntInRange(page, kId, kLowestFileId, kHighestFileId, kLowestFileId + index));
  return label;
}

// The parser would pass over a byte-order mark, but a file that begins with one is no label file.
constexpr char kByteOrderMark[] = "\xEF\xBB\xBF";

// The tree of a text, behind blanks and control characters; none when it is not JSON.
Tree Parse(const char* text) {
  while (*text && static_cast<unsigned char>(*text) <= ' ') ++text;
  const bool is_marked = std::strncmp(text, kByteOrderMark, std::size(kByteOrderMark) - 1) == 0;
  return Tree(is_marked ? nullptr : cJSON_Parse(text));
}

}  // namespace

RuntimeBlock<char> WriteLabelJson(std::span<const PrinterLabel> labels) {
  const Tree root(cJSON_CreateObject());
  if (!root || !AddNumber(root.get(), kVersion, kFileVersion) || !AddMember(root.get(), kList, WritePages(labels))) {
    return nullptr;
  }
  return RuntimeBlock<char>(cJSON_Print(root.get()));
}

int ReadLabelJson(const char* text, std::span<PrinterLabel> labels) {
  const Tree root = Parse(text);
  if (!cJSON_IsObject(root.get()) || !cJSON_IsNumber(cJSON_GetObjectItem(root.get(), kVersion))) return 0;
  const cJSON* const list = cJSON_GetObjectItem(root.get(), kList);
  if (!cJSON_IsArray(list)) return 0;
  std::size_t filled = 0;
  const cJSON* page = nullptr;
  cJSON_ArrayForEach(page, list) {
    if (filled == labels.size()) break;
    labels[filled] = ReadPage(page, static_cast<int>(filled));
    ++filled;
  }
  return static_cast<int>(filled);
}

}  // namespace r5lqz
