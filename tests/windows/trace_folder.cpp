#include "trace_folder.h"

#include <filesystem>
#include <fstream>

#include "diag/trace.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID reserved);

namespace tests {
namespace {

namespace fs = std::filesystem;

constexpr char kAside[] = "c:\\temp.before-trace-tests";

void RemoveFolder(const char* path) {
  std::error_code error;
  if (fs::is_directory(path, error)) {
    for (const auto& entry : fs::directory_iterator(path, error)) {
      SetFileAttributesW(entry.path().c_str(), FILE_ATTRIBUTE_NORMAL);
    }
  }
  fs::remove_all(path, error);
}

// Takes `pattern` off the front of `line`, where "0" stands for any digit.
bool Take(std::string_view& line, std::string_view pattern) {
  if (line.size() < pattern.size()) return false;
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    const bool fits = pattern[i] == '0' ? isdigit(static_cast<unsigned char>(line[i])) : line[i] == pattern[i];
    if (!fits) return false;
  }
  line.remove_prefix(pattern.size());
  return true;
}

bool ParseRecord(std::string_view line, Record& record) {
  const std::string_view whole = line;
  if (!Take(line, "[0000-00-00 00:00:00.000] [TID: ")) return false;
  record.time = whole.substr(1, sizeof "yyyy-mm-dd hh:mm:ss.mmm" - 1);
  const std::size_t digits = line.find_first_not_of("0123456789");
  if (digits == 0 || digits == line.npos) return false;
  record.thread = static_cast<DWORD>(strtoul(std::string(line.substr(0, digits)).c_str(), nullptr, 10));
  line.remove_prefix(digits);
  if (!Take(line, "] ")) return false;
  record.text = line;
  return line.find_first_of("\r\n") == line.npos;
}

}  // namespace

TraceFolder::TraceFolder() {
  std::error_code error;
  // A program that ended half-way left its own folder in the place of the one put aside.
  if (fs::exists(kAside, error)) {
    RemoveFolder(kFolder);
  } else {
    CreateDirectoryA(kFolder, nullptr);  // so that there is always one to put aside
    MoveFileA(kFolder, kAside);
  }
  if (!CreateDirectoryA(kFolder, nullptr)) ADD_FAILURE() << "no folder to work in: " << GetLastError();
  DllMain(GetModuleHandleA(nullptr), DLL_PROCESS_ATTACH, nullptr);
  r5lqz::log_mask = 0;
}

TraceFolder::~TraceFolder() {
  RemoveFolder(kFolder);
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
  std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

void MakeLarge(const std::string& path, long long size) {
  WriteBytes(path, "");
  std::error_code error;
  fs::resize_file(path, static_cast<std::uintmax_t>(size), error);
  ASSERT_FALSE(error) << error.message();
  ASSERT_EQ(SizeOf(path), size);
}

std::vector<Record> ReadRecords(const std::string& path, long long offset) {
  std::vector<Record> records;
  const std::string bytes = ReadBytes(path, offset);
  for (std::string_view rest = bytes; !rest.empty();) {
    const std::size_t end = rest.find("\r\n");
    Record record;
    if (end == rest.npos || !ParseRecord(rest.substr(0, end), record)) {
      ADD_FAILURE() << "no record: " << rest.substr(0, std::min<std::size_t>(end, 200));
      if (end == rest.npos) break;
    }
    records.push_back(record);
    rest.remove_prefix(end + 2);
  }
  return records;
}

void Log(DWORD level, const std::string& message) {
  constexpr DWORD kEarlierError = 0xBEEF;
  SetLastError(kEarlierError);
  r5lqz::LogMessage(level, "%s", message.c_str());
  EXPECT_EQ(GetLastError(), kEarlierError);
}

}  // namespace tests
