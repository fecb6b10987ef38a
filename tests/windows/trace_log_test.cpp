// The trace log in one process: its records in a real file, its size limit, and what keeps a record from being written.
#include "../built_files.h"

#include <psapi.h>

#include <set>

#include "trace_folder.h"

namespace tests {
namespace {

using TraceLog = TraceFolder;
using Texts = std::vector<std::string>;

constexpr long long kSizeLimit = 104857600;  // bytes

std::string UtcNow() {
  SYSTEMTIME time;
  GetSystemTime(&time);
  char text[64];
  snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d.%03d", time.wYear, time.wMonth, time.wDay, time.wHour,
           time.wMinute, time.wSecond, time.wMilliseconds);
  return text;
}

std::string Rotated(char number) {
  return std::string("c:\\temp\\trace_log_test.") + number + ".txt";
}

// A new log of `size` bytes that takes no room on the disk.
void MakeLog(long long size) {
  WriteBytes(kLog, "");
  std::filesystem::resize_file(kLog, static_cast<std::uintmax_t>(size));
}

HANDLE OpenForReading(const std::string& path, DWORD share) {
  return CreateFileA(path.c_str(), GENERIC_READ, share, nullptr, OPEN_EXISTING, 0, nullptr);
}

TEST_F(TraceLog, RecordIsOneLineOfUtcThreadAndMessage) {
  const std::string before = UtcNow();
  Log("first");
  Log(std::string(31 * 1024, 'm'));
  const auto records = ReadRecords();
  ASSERT_EQ(records.size(), 2u);
  EXPECT_LE(before, records[0].time);
  EXPECT_LE(records[0].time, records[1].time);
  EXPECT_LE(records[1].time, UtcNow());
  EXPECT_EQ(records[0].thread, GetCurrentThreadId());
  EXPECT_EQ(records[0].text, "[Error] first");
  EXPECT_TRUE(records[1].text == "[Error] " + std::string(31 * 1024, 'm'));
}

TEST_F(TraceLog, RecordThatCannotBeWrittenIsDroppedAndTheNextOneIsNot) {
  ASSERT_TRUE(RemoveDirectoryA(kFolder));
  Log("no folder");
  ASSERT_TRUE(CreateDirectoryA(kFolder, nullptr)) << "the folder is not made";
  WriteBytes(kLog, "");
  const HANDLE reader = OpenForReading(kLog, 0);
  ASSERT_NE(reader, INVALID_HANDLE_VALUE);
  Log("not shared");
  CloseHandle(reader);
  Log("written");
  EXPECT_EQ(ReadTexts(), Texts{"[Error] written"});
}

TEST_F(TraceLog, RotationMovesTheOlderFilesUpAsFarAsTheFirstGap) {
  // Which file stands under each number from 1 on, by the number it had before; C is the current one.
  const struct {
    long long size;
    const char* before;
    const char* after;
  } rows[] = {{kSizeLimit, "1", "1"},
              {kSizeLimit + 1, "", "C"},
              {kSizeLimit + 1, "123456789", "C12345678"},
              {kSizeLimit + 1, "12.4", "C124"},
              {kSizeLimit + 1, "........9", "C.......9"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.before);
    for (const char* number = row.before; *number; ++number) {
      if (*number != '.') WriteBytes(Rotated(*number), {number, 1});
    }
    MakeLog(row.size);
    Log("new");

    std::string after;
    for (char number = '1'; number <= '9'; ++number) {
      const long long size = SizeOf(Rotated(number));
      after += size < 0 ? "." : size > kSizeLimit ? "C" : ReadBytes(Rotated(number));
      DeleteFileA(Rotated(number).c_str());
    }
    EXPECT_EQ(after.substr(0, after.find_last_not_of('.') + 1), row.after);
    const bool rotated = row.size > kSizeLimit;
    EXPECT_EQ(ReadTexts(kLog, rotated ? 0 : row.size), Texts{"[Error] new"});
    DeleteFileA(kLog);
    EXPECT_TRUE(std::filesystem::is_empty(kFolder)) << "something else was made";
  }
}

TEST_F(TraceLog, RecordGoesOnTheOldFileWhenAReaderForbidsRenaming) {
  for (const std::string& busy : {std::string(kLog), Rotated('1'), Rotated('9')}) {
    SCOPED_TRACE(busy);
    for (char number = '1'; number <= '9'; ++number) WriteBytes(Rotated(number), {&number, 1});
    MakeLog(kSizeLimit + 1);
    const HANDLE reader = OpenForReading(busy, FILE_SHARE_READ | FILE_SHARE_WRITE);
    ASSERT_NE(reader, INVALID_HANDLE_VALUE);
    Log("new");
    CloseHandle(reader);
    EXPECT_EQ(ReadTexts(kLog, kSizeLimit + 1), Texts{"[Error] new"});
  }
}

std::set<HMODULE> Modules() {
  HMODULE found[512];
  DWORD size = 0;
  EnumProcessModules(GetCurrentProcess(), found, sizeof found, &size);
  return {found, found + size / sizeof(HMODULE)};
}

TEST_F(TraceLog, IsNotBegunByAModuleThatComesAndGoes) {
  WriteBytes("c:\\temp\\r5-lqz-ui.dat", "3");
  // What it imports may stay in the process after the first time.
  FreeLibrary(LoadLibraryW(Built(L"r5-lqz-ui.dll").c_str()));
  const auto modules = Modules();
  for (int i = 0; i < 100; ++i) {
    const HMODULE module = LoadLibraryW(Built(L"r5-lqz-ui.dll").c_str());
    ASSERT_TRUE(module) << GetLastError();
    ASSERT_TRUE(FreeLibrary(module));
  }
  EXPECT_EQ(Modules(), modules);
  EXPECT_EQ(GetModuleHandleA("r5-lqz-ui.dll"), nullptr);
  EXPECT_EQ(SizeOf("c:\\temp\\r5-lqz-ui.txt"), -1);
  EXPECT_EQ(OpenMutexA(SYNCHRONIZE, FALSE, "c:/temp/r5-lqz-ui.txt"), nullptr);
}

}  // namespace
}  // namespace tests
