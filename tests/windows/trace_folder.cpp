#include "trace_folder.h"

#include <filesystem>
#include <fstream>
#include <regex>

#include "diag/trace.h"

namespace tests {
namespace {

namespace fs = std::filesystem;

constexpr char kAside[] = "c:\\temp.before-trace-tests";
constexpr std::size_t kLongestHead = 64;  // more than time and thread take

bool ParseRecord(const std::string& line, Record& record) {
  static const std::regex head_form(R"(\[(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3})\] \[TID: (\d+)\] )");
  const std::string head = line.substr(0, kLongestHead);
  std::smatch parts;
  if (!std::regex_search(head, parts, head_form, std::regex_constants::match_continuous)) return false;
  record = {parts[1], static_cast<DWORD>(std::stoul(parts[2])), line.substr(static_cast<std::size_t>(parts.length()))};
  return record.text.find_first_of("\r\n") == std::string::npos;
}

}  // namespace

TraceFolder::TraceFolder() {
  // A program that ended half-way left its own folder in the place of the one put aside.
  if (!fs::exists(kAside)) {
    CreateDirectoryA(kFolder, nullptr);  // so that there is always one to put aside
    MoveFileA(kFolder, kAside);
  }
  fs::remove_all(kFolder);
  fs::create_directory(kFolder);
}

TraceFolder::~TraceFolder() {
  fs::remove_all(kFolder);
  MoveFileA(kAside, kFolder);
}

long long SizeOf(const std::string& path) {
  std::error_code error;
  const auto size = fs::file_size(path, error);
  return error ? -1 : static_cast<long long>(size);
}

std::string ReadBytes(const std::string& path, long long offset) {
  std::ifstream file(path, std::ios::binary);
  file.seekg(offset);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

void WriteBytes(const std::string& path, std::string_view bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

void RunOnHostDrive(const std::string& script) {
  constexpr char kDone[] = "c:\\host-script-done";
  const auto convert = reinterpret_cast<char*(CDECL*)(LPCWSTR)>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "wine_get_unix_file_name")));
  ASSERT_TRUE(convert);
  DeleteFileA(kDone);
  std::string line = std::string("sh -c \"cd '") + convert(L"c:\\") + "' && " + script + " && : > host-script-done\"";
  STARTUPINFOA startup{sizeof startup};
  PROCESS_INFORMATION created{};
  ASSERT_TRUE(
      CreateProcessA("Z:\\bin\\sh", line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &created));
  CloseHandle(created.hThread);
  CloseHandle(created.hProcess);
  for (int wait = 0; wait < 2000 && SizeOf(kDone) < 0; ++wait) Sleep(10);
  ASSERT_EQ(SizeOf(kDone), 0) << script;
  DeleteFileA(kDone);
}

std::vector<Record> ReadRecords(const std::string& path, long long offset) {
  std::vector<Record> records;
  const std::string bytes = ReadBytes(path, offset);
  for (std::size_t at = 0; at < bytes.size();) {
    const std::size_t end = std::min(bytes.find("\r\n", at), bytes.size());
    if (Record record; ParseRecord(bytes.substr(at, end - at), record) && end < bytes.size()) {
      records.push_back(record);
    } else {
      ADD_FAILURE() << "no record: " << bytes.substr(at, std::min<std::size_t>(end - at, 200));
    }
    at = end + 2;
  }
  return records;
}

std::vector<std::string> ReadTexts(const std::string& path, long long offset) {
  std::vector<std::string> texts;
  for (const Record& record : ReadRecords(path, offset)) texts.push_back(record.text);
  return texts;
}

void Log(const std::string& message) {
  constexpr DWORD kEarlierError = 0xBEEF;
  SetLastError(kEarlierError);
  r5lqz::LogMessage(r5lqz::kErrorLevel, "%s", message.c_str());
  EXPECT_EQ(GetLastError(), kEarlierError);
}

}  // namespace tests
