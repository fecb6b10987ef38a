// Writes the seeds that are made by hand and are no plain text: make_seeds FOLDER fills FOLDER/TARGET. The layouts of
// the inputs are those of the targets' Head structures.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "settings/conversion.h"

namespace {

using namespace r5lqz;
using std::string;
using namespace std::string_literals;

std::filesystem::path folder;

void Write(const char* target, const string& name, const string& content) {
  std::filesystem::create_directories(folder / target);
  std::ofstream(folder / target / name, std::ios::binary) << content;
}

template <typename T>
string BytesOf(const T& value, std::size_t size = sizeof(T)) {
  return string(reinterpret_cast<const char*>(&value), size);
}

string Number16(int number) {
  return BytesOf(static_cast<WORD>(number));
}

string Byte(int number) {
  return string(1, static_cast<char>(number));
}

string Wide(std::u16string_view text) {
  return string(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(char16_t));
}

// --- Settings records ------------------------------------------------------------------------------------------------

struct Record {
  DriverDevMode settings;
  Record() { SetupDefaultDevMode(settings, L"Driver", nullptr); }
  Record& Form(RecordForm form) {
    PutForm(&settings.dm_public, form);
    return *this;
  }
  Record& Paper(SHORT paper, SHORT width, SHORT length) {
    settings.dm_public.dmPaperSize = paper;
    settings.dm_public.dmPaperWidth = width;
    settings.dm_public.dmPaperLength = length;
    settings.dm_public.dmFields |= DM_PAPERSIZE | DM_PAPERWIDTH | DM_PAPERLENGTH;
    return *this;
  }
  string bytes(std::size_t size = sizeof(DriverDevMode)) const { return BytesOf(settings, size); }
};

void WriteRecord(const char* name, int flags, int mode, int count, int query_size, const string& first,
                 const string& second) {
  Write("record", name,
        Byte(flags) + Byte(mode) + Number16(count) + Byte(0) + Byte(query_size) +
            Number16(static_cast<int>(first.size())) + first + second);
}

void WriteRecords() {
  const string full = Record().bytes();
  const string older = Record().Form(kOlderForm).bytes(300);
  const string foreign = Record().Form({0x0320, 0x0100, 188, 0}).Paper(9, 2100, 2970).bytes(188);
  WriteRecord("full", 1, 1, 864, 58, full, full);
  WriteRecord("full-to-older", 0, 2, 300, 57, full, full);
  WriteRecord("older", 1, 1, 864, 58, older, full);
  WriteRecord("defaults", 0, 4, 864, 0, full, older);
  WriteRecord("defaults-short", 8, 4, 863, 0, full, older);
  WriteRecord("unknown-printer", 4, 4, 864, 0, full, older);
  WriteRecord("no-printer", 2, 2, 300, 0, full, older);
  WriteRecord("foreign", 1, 1, 188, 58, foreign, foreign);
  WriteRecord("stored-cut-off", 0, 2, 300, 58, foreign, full.substr(0, 500));
  WriteRecord("label", 0, 1, 864, 58, Record().Paper(258, 10, 254).bytes(), full);
  WriteRecord("label-without-numbers", 0, 1, 864, 58, Record().Paper(260, 0, 0).bytes(), full);
  WriteRecord("application-size", 0, 3, 864, 58, Record().Paper(256, 2971, 253).bytes(), full);
  Record all_set;
  all_set.settings.dm_public.dmFields = 0xFFFFFFFF;
  all_set.settings.dm_private.rendIntent = all_set.settings.dm_private.rotate180 = 7;
  all_set.settings.dm_private.vertOffset = -2401;
  WriteRecord("all-set", 1, 2, 864, 58, all_set.bytes(), full);
  WriteRecord("claims-nothing", 1, 1, 72, 58, string(72, '\0'), full);
  WriteRecord("claims-much", 1, 1, 864, 58, Record().Form({0x0401, 0x0401, 0xFFFF, 0xFFFF}).bytes(), full);
  WriteRecord("private-cut-off", 1, 1, 230, 58, Record().Form({0x0401, 0x0401, 220, 10}).bytes(230), full);
  WriteRecord("nothing-in-common", 0, 1, 188, 58, Record().Form({0x0401, 0x0401, 0, 0}).bytes(72),
              Record().Form({0x0100, 0x0100, 188, 0}).bytes(188));
  WriteRecord("odd-address", 33, 1, 864, 58, older, full);
  WriteRecord("odd-size", 1, 1, 864, 58, Record().Form({0x0300, 0x0401, 201, 77}).bytes(278), full);
}

// --- Labels ----------------------------------------------------------------------------------------------------------

string LabelHead(int flags, int capacity, const string& list, const string& second, int paper) {
  return Byte(flags) + Byte(capacity) + Number16(static_cast<int>(list.size())) +
         Number16(static_cast<int>(second.size())) + Number16(paper) + list + second;
}

string GoodLabel(int id) {
  return Number16(id) + string(7, '\0');
}

string Given(int type, const string& content) {
  return Byte(1) + Byte(type) + Byte(static_cast<int>(content.size())) + content;
}

string Unterminated(const string& content) {
  return Byte(2) + Byte(static_cast<int>(content.size())) + content;
}

void WriteLabels() {
  const string good = string(1, '\0');
  const string plain = LabelHead(0, 128, "", "", 258);
  Write("labels", "none", plain);
  Write("labels", "three", LabelHead(1, 2, "", "", 259) + GoodLabel(258) + GoodLabel(260) + GoodLabel(259));
  Write("labels", "highest", plain + GoodLabel(0x7FFF) + GoodLabel(258));
  Write("labels", "negative", plain + GoodLabel(-1));
  Write("labels", "unterminated",
        plain + Number16(258) + good + Unterminated("Roll") + Unterminated("101.6") + Unterminated("1270.00") + good +
            good + good);
  Write("labels", "exact-capacity", plain + Number16(258) + good + Unterminated(string(64, 'n')));
  Write("labels", "number-capacity", plain + Number16(258) + good + good + Unterminated("12345678"));
  Write("labels", "name-capacity", plain + Number16(258) + good + Unterminated(string(63, '\xE4')) + string(5, '\0'));
  Write("labels", "version-2", plain + Number16(258) + Given(4, "\2\0\0\0"s) + string(6, '\0') + GoodLabel(259));
  Write("labels", "version-text", plain + Number16(258) + Given(1, "1\0"s));
  Write("labels", "short-number", plain + Number16(258) + string(6, '\0') + Given(4, "\1\0"s));
  Write("labels", "name-binary", plain + Number16(258) + good + Given(3, "Roll"));
  Write("labels", "missing-units", plain + Number16(258) + string(6, '\0') + Byte(3));
  Write("labels", "tenths",
        plain + Number16(258) + good + good + Given(1, "1016\0"s) + Given(1, "1270\0"s) + string(2, '\0') +
            Given(4, "\2\0\0\0"s));
  const string keys = Wide(u"258\0 +259x\0abc\0-1\0 99999999999\0\0"s);
  Write("labels", "given-list", LabelHead(2, 128, keys, "", 258) + GoodLabel(258) + GoodLabel(259));
  Write("labels", "list-cut-off", LabelHead(2, 128, keys.substr(0, 7), "", 258) + GoodLabel(258));
  Write("labels", "list-empty", LabelHead(2, 128, "", "", 258));
  Write("labels", "list-grows", LabelHead(6, 128, keys.substr(0, 8), keys, 258) + GoodLabel(258));
  Write("labels", "list-shrinks", LabelHead(6, 128, keys, keys.substr(0, 8), 258) + GoodLabel(258));
  string many;
  for (int at = 0; at < 130; ++at) many += Wide(u"258\0"s);
  Write("labels", "too-many", LabelHead(2, 128, many, "", 258) + GoodLabel(258));
}

// --- Profile lists ---------------------------------------------------------------------------------------------------

void WriteProfiles() {
  const auto head = [](int flags, int count, int second_size) {
    return Byte(flags) + Byte(0) + Number16(count) + Number16(second_size);
  };
  const string list = Wide(u"b.icc\0A.icc\0a.icc\0\0"s);
  const std::pair<const char*, string> kSeeds[] = {
      {"three", head(1, 3, 0) + list},
      {"count-small", head(0, 2, 0) + list},
      {"count-large", head(0, 9, 0) + list},
      {"empty", head(1, 0, 0) + Wide(u"\0"s)},
      {"nothing", head(1, 0, 0)},
      {"cut-off", head(0, 3, 0) + list.substr(0, 31)},
      {"shrinks", head(2, 3, 24) + list},
      {"long", head(1, 2, 0) + Wide(std::u16string(259, u'\xC4') + u"\0x\0\0"s)},
      {"too-long", head(1, 1, 0) + Wide(std::u16string(260, u'z') + u"\0\0"s)},
  };
  for (const auto& [name, content] : kSeeds) Write("profiles", name, content);
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2) {
    std::fprintf(stderr, "use: make_seeds FOLDER\n");
    return 2;
  }
  folder = arguments[1];
  WriteRecords();
  WriteLabels();
  WriteProfiles();
  return 0;
}
