// The trace log's rules; what real files, locks and processes add is tested under the platform itself.
#include <set>

#include "diag/owned.h"
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
  } kRows[] = {{"0", 0, ""}, {"1", 1, "EI"}, {"2x1", 2, "T"}, {" 3\r\n", 3, "EIT"}, {"-1", ~0u, "EIT"},
               {"4", 4, ""}, {"", 0, ""},    {"x3", 0, ""},   {nullptr, 0, ""}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.file ? row.file : "no file");
    std::remove(LogFile("r5-lqz-ui.dat").c_str());
    if (row.file) std::ofstream(LogFile("r5-lqz-ui.dat")) << row.file;
    log_mask = 8;  // an earlier mask never stays
    LoadLogMask();
    EXPECT_EQ(log_mask, row.mask);
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
