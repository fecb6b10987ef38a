// The trace log's rules; what real files, locks and processes add is tested under the platform itself.
#include <sys/stat.h>

#include <filesystem>
#include <semaphore>
#include <set>
#include <thread>

#include "base/owned.h"
#include "support.h"

namespace r5lqz {
namespace {

using Trace = ModuleTest;

TEST_F(Trace, RecordHasTimeThreadAndItsLevelsTag) {
  const std::pair<DWORD, const char*> kTags[] = {{0, "[Error] "}, {1, "[Info]  "}, {2, "[Trace] "}, {3, ""}, {~0u, ""}};
  for (const auto& [level, tag] : kTags) {
    LogMessage(level, "%d%% of %s", 5, "all");
    EXPECT_EQ(LogLines().back(), tag + std::string("5% of all"));
  }
  std::string line;
  std::getline(std::ifstream(LogFile()), line);
  const std::string head = "[2024-03-05 07:08:09.012] [TID: " + std::to_string(GetCurrentThreadId()) + "] ";
  EXPECT_EQ(line, head + "[Error] 5% of all");
}

TEST_F(Trace, LockIsNamedAfterTheLogAndInheritable) {
  LogMessage(0, "locked");
  const platform::MutexCreation made = platform::LastMutex();
  EXPECT_EQ(made.name, "c:/temp/r5-lqz-ui.txt");
  EXPECT_TRUE(made.inheritable && made.default_security && !made.initially_owned);
}

TEST_F(Trace, RecordOfAnySizeIsWholeOrDropped) {
  // Around the size that needs no memory, whatever that is.
  for (std::size_t size = 0; size < 700; ++size) {
    const std::string message = std::string(size, 'm') + "!";
    LogMessage(1, "%s", message.c_str());
    ASSERT_EQ(LogLines().back(), "[Info]  " + message);
    std::remove(LogFile().c_str());
  }
  platform::FailCall("malloc", 2);  // the first is for the lock's name
  LogMessage(1, "%s", std::string(700, 'm').c_str());
  LogMessage(1, "next");
  EXPECT_EQ(LogLines(), std::vector<std::string>{"[Info]  next"});
}

// Another thread, which has the log's lock between two turns.
class Holder {
 public:
  ~Holder() {
    over_ = true;
    go_.release();
    thread_.join();
  }
  void Turn() {
    go_.release();
    done_.acquire();
  }

 private:
  std::binary_semaphore go_{0}, done_{0};
  bool over_ = false;
  std::thread thread_{[this] {
    const HANDLE lock = CreateMutexA(nullptr, FALSE, "c:/temp/r5-lqz-ui.txt");
    for (bool held = false; go_.acquire(), !over_; done_.release()) {
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
  LogMessage(0, "written");
  EXPECT_EQ(LogLines(), std::vector<std::string>{"[Error] written"}) << "a free lock is had at once";
  const auto asked = platform::Calls("GetTickCount64");
  LogMessage(0, "written too");
  EXPECT_EQ(platform::Calls("GetTickCount64"), asked) << "the pause is over with it";

  // Somebody who holds it a little at every record, and gives it up each time before a wait is in vain: two waits of
  // 60 milliseconds within a few seconds are enough, two that lie further apart are not.
  constexpr std::pair<ULONGLONG, int> kWaits[] = {{40000, 2}, {50060, 2}, {50500, 2}, {50600, 1}};
  for (const auto& [tick, questions] : kWaits) {
    platform::SetTickCount(run + tick);
    holder.Turn();
    int asked_now = 0;
    platform::SetCallHook(
        [&, begin = tick](const char*) {
          if (asked_now++ == 0 && begin < 50600) holder.Turn();
          if (asked_now == 2) platform::SetTickCount(run + begin + 60);
        },
        "GetTickCount64");
    LogMessage(0, "held up");
    platform::SetCallHook(nullptr);
    EXPECT_EQ(asked_now, questions) << tick;
  }
  holder.Turn();
}

// Everybody may write to the folder: a name in it may lead anywhere.
namespace fs = std::filesystem;
struct TraceLinks : ModuleTest {
  ~TraceLinks() override { Renew(); }
  void Renew() const {
    fs::remove_all(folder);
    fs::create_directory(folder);
    fs::remove_all(others);
  }
  const fs::path folder = platform::TempFolder();
  const fs::path others = folder.string() + ".others";
};

TEST_F(TraceLinks, FileThatIsNotPlainIsNotOpened) {
  const struct {
    const char* what;
    void (*make)(const fs::path& file, const fs::path& others);
  } kRows[] = {
      {"link", [](const fs::path& file, const fs::path& there) { fs::create_symlink(there / "f", file); }},
      {"link to nothing", [](const fs::path& file, const fs::path& there) { fs::create_symlink(there / "new", file); }},
      {"second name", [](const fs::path& file, const fs::path& there) { fs::create_hard_link(there / "f", file); }},
      {"pipe", [](const fs::path& file, const fs::path&) { ASSERT_EQ(mkfifo(file.c_str(), 0600), 0); }},
      {"folder", [](const fs::path& file, const fs::path&) { fs::create_directory(file); }},
      {"linked folder",
       [](const fs::path& file, const fs::path& there) {
         fs::copy(there / "f", there / file.filename());
         fs::remove_all(file.parent_path());
         fs::create_directory_symlink(there, file.parent_path());
       }},
      {"linked empty folder",
       [](const fs::path& file, const fs::path& there) {
         fs::remove_all(file.parent_path());
         fs::create_directory_symlink(there, file.parent_path());
       }},
  };
  for (const auto& row : kRows) {
    for (const char* const name : {"r5-lqz-ui.txt", "r5-lqz-ui.dat"}) {
      SCOPED_TRACE(std::string(row.what) + ' ' + name);
      fs::create_directories(others);
      std::ofstream(others / "f") << "3";
      row.make(folder / name, others);
      std::set<fs::path> before{fs::directory_iterator(others), {}};
      log_mask = 8;
      LoadLogMask();
      EXPECT_EQ(log_mask, 0u);
      if (name[10] == 't') LogMessage(0, "led away");
      EXPECT_EQ((std::set<fs::path>{fs::directory_iterator(others), {}}), before);
      for (const fs::path& file : before) EXPECT_EQ(fs::file_size(file), 1u) << file;
      // Nor is a link read or written itself, or something made elsewhere for a moment.
      for (const char* const call : {"ReadFile", "WriteFile", "SetFileInformationByHandle"}) {
        EXPECT_EQ(platform::Calls(call), 0u) << call;
      }
      Renew();
    }
  }
}

TEST_F(TraceLinks, FolderThatBecomesALinkMeanwhileIsLeftAsItWas) {
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
}

// The first letters of the tags of the records that operations of every kind write.
std::string TagsOfOperations(HANDLE printer) {
  std::remove((platform::TempFolder() + "/r5-lqz-ui.txt").c_str());
  DriverDevMode record;
  SetupDefaultDevMode(record, nullptr, nullptr);
  DumpTitled("information", &record.dm_public);
  EXPECT_FALSE(DrvQueryColorProfile(printer, nullptr, QCP_DEVICEPROFILE, nullptr, nullptr, nullptr));
  std::set<char> tags;
  std::ifstream file(platform::TempFolder() + "/r5-lqz-ui.txt");
  for (std::string line; std::getline(file, line);) tags.insert(line[line.find("] [", 30) + 3]);
  return {tags.begin(), tags.end()};
}

TEST_F(Trace, MaskFileChoosesWhatIsTraced) {
  const struct {
    const char* file;
    DWORD mask;
    std::string tags;
  } kRows[] = {{"0", 0, ""},
               {"1", 1, "EI"},
               {"2x1", 2, "T"},
               {" 3\r\n", 3, "EIT"},
               {"-1", ~0u, "EIT"},
               {"4", 4, ""},
               {"", 0, ""},
               {"x3", 0, ""},
               {nullptr, 0, ""},
               {"+2", 2, "T"},
               {"- 1", 0, ""},
               {"4294967297", 1, "EI"},
               // No more than 16 bytes are looked at, were it half a gigabyte of blanks.
               {"\t\n\v\f\r          3", 3, "EIT"},
               {"                3", 0, ""}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.file ? row.file : "no file");
    std::remove(LogFile("r5-lqz-ui.dat").c_str());
    if (row.file) std::ofstream(LogFile("r5-lqz-ui.dat")) << row.file;
    log_mask = 8;  // an earlier mask never stays
    const auto asked = platform::BytesAsked();
    LoadLogMask();
    EXPECT_EQ(log_mask, row.mask);
    EXPECT_EQ(platform::BytesAsked() - asked, row.file ? 16u : 0u);
    EXPECT_EQ(TagsOfOperations(printer()), row.tags);
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
