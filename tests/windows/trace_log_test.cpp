// The trace log in one process: its records, its mask, its size limit, and what keeps a record from being written.
#include <filesystem>
#include <functional>
#include <set>

#include "diag/trace.h"
#include "entry/printer_interface.h"
#include "settings/conversion.h"
#include "trace_folder.h"

namespace tests {
namespace {

using TraceLog = TraceFolder;

std::string Utc() {
  SYSTEMTIME time;
  GetSystemTime(&time);
  char text[64];
  snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d.%03d", time.wYear, time.wMonth, time.wDay, time.wHour,
           time.wMinute, time.wSecond, time.wMilliseconds);
  return text;
}

HANDLE OpenUnshared(const char* path, DWORD share) {
  return CreateFileA(path, GENERIC_READ, share, nullptr, OPEN_EXISTING, 0, nullptr);
}

std::string Rotated(char number) {
  return std::string("c:\\temp\\trace_log_test.") + number + ".txt";
}

TEST_F(TraceLog, RecordIsOneLineOfTimeThreadTagAndMessage) {
  const struct {
    DWORD level;
    std::string tag;
  } levels[] = {{0, "[Error] "}, {1, "[Info]  "}, {2, "[Trace] "}, {3, ""}, {7, ""}, {0xFFFFFFFF, ""}};
  const std::string message(31 * 1024, 'm');
  const std::string before = Utc();
  for (const auto& [level, tag] : levels) Log(level, message);
  r5lqz::LogMessage(0, "%d%% of %s, 0x%x, %ld", 5, "all", 0xABCu, -7L);
  const std::string after = Utc();

  const auto records = ReadRecords();
  ASSERT_EQ(records.size(), std::size(levels) + 1);
  for (std::size_t i = 0; i < std::size(levels); ++i) {
    EXPECT_TRUE(records[i].text == levels[i].tag + message) << records[i].text.substr(0, 100);
  }
  EXPECT_EQ(records.back().text, "[Error] 5% of all, 0xabc, -7");
  std::string last = before;
  for (const Record& record : records) {
    EXPECT_EQ(record.thread, GetCurrentThreadId());
    EXPECT_LE(last, record.time);
    last = record.time;
  }
  EXPECT_LE(last, after);
}

// What stands in a record's way, and how it is taken away again.
struct Obstacle {
  const char* name;
  std::function<bool()> place;
  std::function<bool()> remove;
};

TEST_F(TraceLog, RecordThatCannotBeWrittenIsDroppedAndTheNextOneIsNot) {
  HANDLE held = nullptr;
  const Obstacle obstacles[] = {
      {"no folder", [] { return RemoveDirectoryA(kFolder); }, [] { return CreateDirectoryA(kFolder, nullptr); }},
      {"folder is a file", [] { return RemoveDirectoryA(kFolder) && (WriteBytes(kFolder, "a file"), true); },
       [] { return ReadBytes(kFolder) == "a file" && DeleteFileA(kFolder) && CreateDirectoryA(kFolder, nullptr); }},
      {"log is a folder", [] { return CreateDirectoryA(kLog, nullptr); }, [] { return RemoveDirectoryA(kLog); }},
      {"log is not shared",
       [&] { return WriteBytes(kLog, ""), (held = OpenUnshared(kLog, 0)) != INVALID_HANDLE_VALUE; },
       [&] { return CloseHandle(held) && SizeOf(kLog) == 0; }}};
  for (const Obstacle& obstacle : obstacles) {
    SCOPED_TRACE(obstacle.name);
    ASSERT_TRUE(obstacle.place());
    Log(0, "dropped");
    // A folder that was made, or a file left in it, would be in the way of the removal.
    ASSERT_TRUE(obstacle.remove());
    Log(0, "written");
    const auto records = ReadRecords();
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].text, "[Error] written");
    DeleteFileA(kLog);
  }
}

// The tags of the records that operations of every kind write.
std::set<std::string> TagsOfOperations() {
  DeleteFileA(kLog);
  r5lqz::DriverDevMode record{};
  r5lqz::SetupDefaultDevMode(record, nullptr, nullptr);
  const r5lqz::DriverDevMode source = record;
  EXPECT_TRUE(r5lqz::MergeDevMode(record, &source.dm_public, nullptr));
  wchar_t name[] = L"no such printer";
  EXPECT_TRUE(DrvPrinterEvent(name, PRINTER_EVENT_INITIALIZE, 0, 0));
  std::set<std::string> tags;
  for (const Record& line : ReadRecords()) tags.insert(line.text.substr(0, 8));
  return tags;
}

TEST_F(TraceLog, MaskFileChoosesWhatIsTraced) {
  const std::set<std::string> none, messages{"[Error] ", "[Info]  "}, traces{"[Trace] "},
      all{"[Error] ", "[Info]  ", "[Trace] "};
  const struct {
    const char* file;
    DWORD mask;
    const std::set<std::string>& tags;
  } rows[] = {{"0", 0, none},    {"1", 1, messages}, {"2", 2, traces},        {"3", 3, all},  {" 3", 3, all},
              {"3\r\n", 3, all}, {"2x1", 2, traces}, {"-1", 0xFFFFFFFF, all}, {"4", 4, none}, {"", 0, none},
              {"text", 0, none}, {"x3", 0, none},    {nullptr, 0, none}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.file ? row.file : "no file");
    DeleteFileA(kMask);
    if (row.file) WriteBytes(kMask, row.file);
    r5lqz::log_mask = 8;  // an earlier mask never stays
    EXPECT_EQ(DrvDocumentEvent(nullptr, nullptr, DOCUMENTEVENT_STARTDOCPRE, 0, nullptr, 0, nullptr), 1);
    EXPECT_EQ(r5lqz::log_mask, row.mask);
    EXPECT_EQ(TagsOfOperations(), row.tags);
    EXPECT_EQ(row.tags.empty(), SizeOf(kLog) < 0);
  }
  ASSERT_TRUE(CreateDirectoryA(kMask, nullptr));
  r5lqz::log_mask = 8;
  r5lqz::LoadLogMask();
  EXPECT_EQ(r5lqz::log_mask, 0u) << "unreadable";
}

TEST_F(TraceLog, IsRotatedWhenLargerThanTheLimit) {
  const struct {
    long long size;
    bool rotated;
  } rows[] = {{0, false}, {kSizeLimit - 1, false}, {kSizeLimit, false}, {kSizeLimit + 1, true}};
  for (const auto& [size, rotated] : rows) {
    SCOPED_TRACE(size);
    MakeLarge(kLog, size);
    Log(1, "new");
    EXPECT_EQ(SizeOf(Rotated('1')), rotated ? size : -1);
    const auto records = ReadRecords(kLog, rotated ? 0 : size);
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].text, "[Info]  new");
    DeleteFileA(Rotated('1').c_str());
    DeleteFileA(kLog);
  }
}

TEST_F(TraceLog, RotationMovesTheOlderFilesUpAsFarAsTheFirstGap) {
  // Which file stands under each number from 1 on, by the number it had before; C is the current one.
  const struct {
    const char* before;
    const char* after;
  } rows[] = {{"", "C"},        {"1", "C1"},  {"123456789", "C12345678"}, {"12345678", "C12345678"},
              {"12.4", "C124"}, {".2", "C2"}, {"........9", "C.......9"}, {"1.......9", "C1......9"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.before);
    for (const char* number = row.before; *number; ++number) {
      if (*number != '.') WriteBytes(Rotated(*number), {number, 1});
    }
    MakeLarge(kLog, kSizeLimit + 1);
    Log(0, "new");

    std::string after;
    for (char number = '1'; number <= '9'; ++number) {
      const long long size = SizeOf(Rotated(number));
      after += size < 0 ? "." : size > kSizeLimit ? "C" : ReadBytes(Rotated(number));
      DeleteFileA(Rotated(number).c_str());
    }
    EXPECT_EQ(after.substr(0, after.find_last_not_of('.') + 1), row.after);
    EXPECT_EQ(ReadRecords().size(), 1u);
    DeleteFileA(kLog);
    EXPECT_TRUE(std::filesystem::is_empty(kFolder)) << "something else was made";
  }
}

TEST_F(TraceLog, RecordGoesOnTheOldFileWhenAReaderForbidsRenaming) {
  for (const std::string& busy : {std::string(kLog), Rotated('1'), Rotated('9')}) {
    SCOPED_TRACE(busy);
    for (char number = '1'; number <= '9'; ++number) WriteBytes(Rotated(number), {&number, 1});
    MakeLarge(kLog, kSizeLimit + 1);
    const HANDLE reader = OpenUnshared(busy.c_str(), FILE_SHARE_READ | FILE_SHARE_WRITE);
    ASSERT_NE(reader, INVALID_HANDLE_VALUE);
    Log(0, "new");
    CloseHandle(reader);
    const auto records = ReadRecords(kLog, kSizeLimit + 1);
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].text, "[Error] new");
  }
}

}  // namespace
}  // namespace tests
