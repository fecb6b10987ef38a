// The trace log's rules; what real files, links, locks and processes add is tested under the platform itself.
#include <sys/stat.h>

#include <barrier>
#include <filesystem>
#include <thread>

#include "base/owned.h"
#include "support.h"

namespace r5lqz {
namespace {

using Trace = ModuleTest;

TEST_F(Trace, RecordHasTimeThreadAndItsLevelsTagOrIsDropped) {
  const std::pair<DWORD, const char*> kTags[] = {{0, "[Error] "}, {1, "[Info]  "}, {2, "[Trace] "}, {3, ""}, {~0u, ""}};
  for (const auto& [level, tag] : kTags) {
    LogMessage(level, "%d%% of %s", 5, "all");
    EXPECT_EQ(LogLines().back(), tag + std::string("5% of all"));
  }
  std::string line;
  std::getline(std::ifstream(LogFile()), line);
  const std::string head = "[2024-03-05 07:08:09.012] [TID: " + std::to_string(GetCurrentThreadId()) + "] ";
  EXPECT_EQ(line, head + "[Error] 5% of all");
  const platform::MutexCreation lock = platform::LastMutex();
  EXPECT_EQ(lock.name, "c:/temp/r5-lqz-ui.txt");
  EXPECT_TRUE(lock.inheritable && lock.default_security && !lock.initially_owned);

  // Around the size that needs no memory, whatever that is.
  for (std::size_t size = 400; size < 600; ++size) {
    std::remove(LogFile().c_str());
    LogMessage(1, "%s", std::string(size, 'm').c_str());
    ASSERT_EQ(LogLines(), Lines{"[Info]  " + std::string(size, 'm')});
  }
  platform::FailCall("malloc", 2);  // the first is for the lock's name
  LogMessage(1, "%s", std::string(700, 'd').c_str());
  EXPECT_EQ(LogLines().size(), 1u);
}

// Another thread, which has the log's lock between two turns.
class Holder {
 public:
  ~Holder() {
    thread_.request_stop();
    turn_.arrive_and_wait();
  }
  void Turn() {
    turn_.arrive_and_wait();
    turn_.arrive_and_wait();
  }

 private:
  std::barrier<> turn_{2};
  std::jthread thread_{[this](const std::stop_token& over) {
    const HANDLE lock = CreateMutexA(nullptr, FALSE, "c:/temp/r5-lqz-ui.txt");
    for (bool held = false; turn_.arrive_and_wait(), !over.stop_requested(); turn_.arrive_and_wait()) {
      held ? ReleaseMutex(lock) : WaitForSingleObject(lock, INFINITE);
      held = !held;
    }
    CloseHandle(lock);
  }};
};

TEST_F(Trace, LockThatStaysBusyIsAwaitedOnceInTenSeconds) {
  static ULONGLONG run = 0;  // The module remembers the last pause for the life of the process.
  run += 1000000;
  Holder holder;
  holder.Turn();
  const std::pair<ULONGLONG, std::uint64_t> kTicks[] = {{500, 100}, {10499, 100}, {10500, 200}, {20499, 200}};
  for (const auto& [tick, waited] : kTicks) {
    platform::SetTickCount(run + tick);
    for (int i = 0; i < 3; ++i) LogMessage(0, "dropped");
    EXPECT_EQ(platform::MillisecondsWaitedInVain(), waited) << tick;
  }
  holder.Turn();
  const auto asked = platform::Calls("GetTickCount64");
  LogMessage(0, "written");
  EXPECT_EQ(LogLines(), Lines{"[Error] written"}) << "a free lock is had at once";
  EXPECT_EQ(platform::Calls("GetTickCount64"), asked) << "whatever the pause";

  // Somebody who holds it a little at every record, and gives it up each time before a wait is in vain: two waits of
  // 60 milliseconds within a few seconds are enough, two that lie further apart are not. The last two overlap, as those
  // of two threads do.
  constexpr std::pair<ULONGLONG, int> kWaits[] = {{40000, 2}, {50060, 2}, {50500, 2}, {50600, 1},
                                                  {70000, 2}, {70030, 2}, {70100, 1}};
  for (const auto& [tick, questions] : kWaits) {
    platform::SetTickCount(run + tick);
    holder.Turn();
    int asked_now = 0;
    platform::SetCallHook(
        [&, begin = tick, waits = questions == 2](const char*) {
          if (asked_now++ == 0 && waits) holder.Turn();
          if (asked_now == 2) platform::SetTickCount(run + begin + 60);
        },
        "GetTickCount64");
    LogMessage(0, "held up");
    platform::SetCallHook(nullptr);
    EXPECT_EQ(asked_now, questions) << tick;
    if (questions == 1) holder.Turn();
  }
}

// Everybody may write to the folder.
TEST_F(Trace, PipeOrFolderInAFilesPlaceIsNotOpened) {
  for (const auto make : {mkfifo, mkdir}) {
    for (const char* const name : {"r5-lqz-ui.txt", "r5-lqz-ui.dat"}) ASSERT_EQ(make(LogFile(name).c_str(), 0700), 0);
    log_mask = 8;
    LoadLogMask();
    EXPECT_EQ(log_mask, 0u);
    LogMessage(0, "led away");
    EXPECT_EQ(platform::Calls("ReadFile") + platform::Calls("WriteFile"), 0u);
    for (const char* const name : {"r5-lqz-ui.txt", "r5-lqz-ui.dat"}) std::remove(LogFile(name).c_str());
  }
}

// And make it lead anywhere between two looks at it.
TEST_F(Trace, FileMadeInAFolderThatBecomesALinkIsTakenAway) {
  namespace fs = std::filesystem;
  const fs::path folder = platform::TempFolder(), others = folder.string() + ".others";
  fs::create_directory(others);
  platform::SetCallHook(
      [&, openings = 0](const char*) mutable {
        if (++openings != 2) return;
        fs::remove_all(folder);
        fs::create_directory_symlink(others, folder);
      },
      "CreateFileA");
  LogMessage(0, "led away");
  platform::SetCallHook(nullptr);
  EXPECT_TRUE(fs::is_symlink(folder));
  EXPECT_TRUE(fs::is_empty(others));
  const auto taken_away = platform::Calls("SetFileInformationByHandle");
  LogMessage(0, "led away");
  EXPECT_EQ(platform::Calls("SetFileInformationByHandle"), taken_away) << "nor is anything made where it leads already";
  fs::remove(folder);
  fs::rename(others, folder);
}

TEST_F(Trace, MaskFileChoosesWhatIsTraced) {
  const struct {
    const char* file;
    DWORD mask;
    Lines traced;
  } kRows[] = {{"1", 1, {"[Error] e", "[Info]  i"}},
               {"2x1", 2, {"[Trace] t"}},
               {" +3\r\n", 3, {"[Error] e", "[Info]  i", "[Trace] t"}},
               {"4", 4, {}},
               {"-1", ~0u, {"[Error] e", "[Info]  i", "[Trace] t"}},
               {"x3", 0, {}},
               {nullptr, 0, {}},
               {"- 1", 0, {}},
               {"4294967304", 8, {}},
               // No more than 16 bytes are looked at, were it half a gigabyte of blanks.
               {"\t\n\v\f\r          8", 8, {}},
               {"                3", 0, {}}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.file ? row.file : "no file");
    std::remove(LogFile().c_str());
    std::remove(LogFile("r5-lqz-ui.dat").c_str());
    if (row.file) std::ofstream(LogFile("r5-lqz-ui.dat")) << row.file;
    log_mask = 16;  // an earlier mask never stays
    const auto asked = platform::BytesAsked();
    LoadLogMask();
    EXPECT_EQ(log_mask, row.mask);
    EXPECT_EQ(platform::BytesAsked() - asked, row.file ? 16u : 0u);
    LOG_ERROR("e");
    LOG_INFO("i");
    LOG_TRACE("t");
    EXPECT_EQ(LogLines(), row.traced);
  }
}

TEST_F(Trace, FilesTakeTheModulesName) {
  const std::pair<std::string, const char*> kModules[] = {{"C:\\drivers\\3\\other-ui.dll", "c:\\temp\\other-ui.txt"},
                                                          {"C:\\abc", "c:\\temp\\txt"},
                                                          {"C:\\ab", nullptr},
                                                          {"name.dll", nullptr},
                                                          {"C:\\" + std::string(300, 'n'), nullptr}};
  for (const auto& [module, path] : kModules) {
    platform::SetModuleFileName(module);
    const RuntimeBlock<char> built(GetLogFilePath());
    EXPECT_STREQ(built.get(), path) << module;
  }
}

}  // namespace
}  // namespace r5lqz
