// The trace log under the platform itself: real files, links and pipes, and the lock. Its records' form, the mask and
// the waiting are tested natively.
#include <gtest/gtest.h>
#include <windows.h>

#include <psapi.h>
#include <winternl.h>

#include <map>
#include <regex>
#include <set>
#include <thread>

#include "../built_files.h"
#include "diag/trace.h"
#include "host_drive.h"
#include "import_patch.h"

namespace tests {
namespace {

namespace fs = std::filesystem;

// The trace files take the name of the module's file, which here is this program.
const fs::path kFolder = "c:\\temp", kLog = kFolder / "trace_log_test.txt", kOthers = "c:\\others";
const fs::path kAside = "c:\\temp.before-trace-tests";
constexpr char kLock[] = "c:/temp/trace_log_test.txt";
constexpr std::uintmax_t kSizeLimit = 104857600;  // bytes

// Each test finds the folder new and empty; afterwards the one that was there before is back.
class TraceLog : public testing::Test {
 protected:
  TraceLog() {
    // A program that ended half-way left its own folder in the place of the one put aside.
    if (fs::exists(kFolder) && !fs::exists(kAside)) fs::rename(kFolder, kAside);
    fs::remove_all(kFolder);
    fs::create_directory(kFolder);
  }
  ~TraceLog() override {
    r5lqz::log_mask = 0;
    fs::remove_all(kFolder);
    if (fs::exists(kAside)) fs::rename(kAside, kFolder);
  }
};

// Writes one error record; the thread's last error stays.
void Log(const std::string& message) {
  constexpr DWORD kEarlierError = 0xBEEF;
  SetLastError(kEarlierError);
  r5lqz::LogMessage(r5lqz::kErrorLevel, "%s", message.c_str());
  EXPECT_EQ(GetLastError(), kEarlierError);
}

// What the log holds from the byte `offset` on, but for its records' times and threads.
std::string Logged(std::uintmax_t offset = 0) {
  static const std::regex head(R"(\[\d+-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3}\] \[TID: \d+\] )");
  return std::regex_replace(ReadBytes(kLog, static_cast<long long>(offset)), head, "");
}

// The file of that number; of 0 the current one.
fs::path Numbered(char number) {
  return number == '0' ? kLog : kFolder / (std::string("trace_log_test.") + number + ".txt");
}

TEST_F(TraceLog, RotationMovesTheOlderFilesUpAsFarAsTheFirstGap) {
  // Which file stands under each number from 1 on, by the number it had before; C is the current one.
  const struct {
    std::uintmax_t size;
    const char* before;
    const char* after;
    char busy = 0;
  } rows[] = {{kSizeLimit, "1", "1"},
              {kSizeLimit + 1, "123456789", "C12345678"},
              {kSizeLimit + 1, "12.4", "C124"},
              {kSizeLimit + 1, "........9", "C.......9"},
              // Whoever has one open could have a lock that renaming would wait for.
              {kSizeLimit + 1, "123456789", ".12345678", '0'},
              {kSizeLimit + 1, "123456789", "1.2345678", '1'},
              {kSizeLimit + 1, "123456789", "123456789", '9'},
              // And whoever has the folder like that.
              {kSizeLimit + 1, "12", "12", 'f'}};
  for (const auto& row : rows) {
    SCOPED_TRACE(&row - rows);
    for (const char* number = row.before; *number; ++number) {
      if (*number != '.') WriteBytes(Numbered(*number), {number, 1});
    }
    WriteBytes(kLog, "");
    fs::resize_file(kLog, row.size);  // takes no room on the disk
    const fs::path busy = row.busy == 'f' ? kFolder : Numbered(row.busy);
    const DWORD shared = FILE_SHARE_READ | (row.busy == 'f' ? 0 : FILE_SHARE_WRITE | FILE_SHARE_DELETE);
    const HANDLE reader = row.busy ? CreateFileW(busy.c_str(), GENERIC_READ, shared, nullptr, OPEN_EXISTING,
                                                 FILE_FLAG_BACKUP_SEMANTICS, nullptr)
                                   : nullptr;
    Log("new");
    CloseHandle(reader);

    std::string after;
    for (char number = '1'; number <= '9'; ++number) {
      const fs::path file = Numbered(number);
      after += !fs::exists(file) ? "." : fs::file_size(file) > 1 ? "C" : ReadBytes(file);
      fs::remove(file);
    }
    after.erase(after.find_last_not_of('.') + 1);
    EXPECT_EQ(after, row.after);
    EXPECT_EQ(Logged(fs::file_size(kLog) > row.size ? row.size : 0), "[Error] new\r\n");
    fs::remove(kLog);
    EXPECT_TRUE(fs::is_empty(kFolder)) << "something else was made";
  }
}

std::map<fs::path, std::uintmax_t> SizesOfOthers() {
  std::map<fs::path, std::uintmax_t> sizes;
  for (const auto& entry : fs::directory_iterator(kOthers)) sizes[entry.path()] = entry.file_size();
  return sizes;
}

TEST_F(TraceLog, NameThatLeadsElsewhereIsNotOpenedRenamedOrDeleted) {
  const std::string other_folder = "rmdir temp && ln -s others temp", full = "truncate -s 104857601 temp/NAME.EXT && ";
  const struct {
    std::string script;
    bool plain = false;
  } rows[] = {{"cp others/f temp/NAME.EXT", true},
              {"ln -s ../others/f temp/NAME.EXT"},
              {"ln -s ../others/new temp/NAME.EXT"},
              {"ln others/f temp/NAME.EXT"},
              {"mkdir temp/NAME.EXT"},
              {"rmdir temp"},
              {"cp others/f others/NAME.EXT && " + other_folder},
              {other_folder},
              // Somebody at the pipe's other end, who writes first and reads then: at times what was written itself.
              {": > others/new && mkfifo temp/NAME.EXT && "
               "{ timeout 2 sh -c 'echo 3 > temp/NAME.EXT; sed /^3$/d temp/NAME.EXT > others/new' & }"},
              // And a log that is to be rotated.
              {full + "ln -s ../others/f temp/NAME.1.txt"},
              {full + "for n in 1 2 3 4 5 6 7 8; do : > temp/NAME.$n.txt; done && ln -s ../others/f temp/NAME.9.txt"},
              {"truncate -s 104857601 others/NAME.EXT && " + other_folder}};
  const auto set_up = [](const std::string& script, const char* extension) {
    RunOnHostDrive("rm -rf temp others && mkdir temp others && printf 3 > others/f && " +
                   std::regex_replace(std::regex_replace(script, std::regex("NAME"), "trace_log_test"),
                                      std::regex("EXT"), extension));
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.script);
    set_up(row.script, "dat");
    r5lqz::LoadLogMask();
    EXPECT_EQ(r5lqz::log_mask, row.plain ? 3u : 0u);
    set_up(row.script, "txt");
    const auto before = SizesOfOthers();
    const bool has_folder = fs::exists(kFolder);
    Log("led away");
    EXPECT_EQ(SizesOfOthers(), before);
    EXPECT_EQ(fs::exists(kFolder), has_folder);
    if (row.plain) {
      EXPECT_EQ(Logged(1), "[Error] led away\r\n");
    }
  }
  RunOnHostDrive("rm -rf temp others && mkdir temp");
}

// This program's own imports lead to what watches them.
template <class Function>
Function* Real(const char* dll, const char* name) {
  return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA(dll), name)));
}

// By another thread: its own one can take it again.
void ExpectLockIsHeld() {
  std::thread([] {
    const HANDLE lock = OpenMutexA(SYNCHRONIZE, FALSE, kLock);
    EXPECT_EQ(WaitForSingleObject(lock, 0), DWORD{WAIT_TIMEOUT});
    CloseHandle(lock);
  }).join();
}

bool oplocked;        // whether somebody has a lock on the file that an open would break, and may put that off for good
HANDLE opened;        // the file
std::string written;  // the bytes of each call

NTSTATUS WINAPI WatchedCreate(HANDLE* handle, ACCESS_MASK access, OBJECT_ATTRIBUTES* attributes,
                              IO_STATUS_BLOCK* outcome, LARGE_INTEGER* size, ULONG file_attributes, ULONG sharing,
                              ULONG disposition, ULONG options, void* extra, ULONG extra_size) {
  ExpectLockIsHeld();
  EXPECT_EQ(options & (FILE_COMPLETE_IF_OPLOCKED | FILE_OPEN_REPARSE_POINT),
            ULONG{FILE_COMPLETE_IF_OPLOCKED | FILE_OPEN_REPARSE_POINT});
  EXPECT_EQ(options & FILE_OPEN_NO_RECALL, options & FILE_DIRECTORY_FILE ? 0 : ULONG{FILE_OPEN_NO_RECALL})
      << "for a folder Windows refuses it";
  EXPECT_EQ(sharing, access & DELETE ? 0 : ULONG{FILE_SHARE_READ | FILE_SHARE_WRITE});
  EXPECT_EQ(static_cast<SECURITY_QUALITY_OF_SERVICE*>(attributes->SecurityQualityOfService)->ImpersonationLevel,
            SecurityIdentification);
  EXPECT_FALSE(attributes->Attributes & OBJ_INHERIT);
  EXPECT_EQ(attributes->RootDirectory != nullptr, !(options & FILE_DIRECTORY_FILE)) << "beneath its opened folder";
  static const auto real = Real<decltype(NtCreateFile)>("ntdll.dll", "NtCreateFile");
  const NTSTATUS status = real(handle, access, attributes, outcome, size, file_attributes, sharing, disposition,
                               options, extra, extra_size);
  if (status < 0 || options & FILE_DIRECTORY_FILE) return status;
  opened = *handle;
  return oplocked ? 0x108 : status;
}

BOOL WINAPI WatchedWrite(HANDLE file, const void* bytes, DWORD size, DWORD* done, OVERLAPPED* overlapped) {
  ExpectLockIsHeld();
  written += std::to_string(size) + ' ';
  static const auto real = Real<decltype(WriteFile)>("kernel32.dll", "WriteFile");
  return real(file, bytes, size, done, overlapped);
}

TEST_F(TraceLog, RecordIsWrittenAtOnceUnderTheLockOrNotAtAll) {
  const auto watch = [](const char* dll, const char* function, auto* watcher) {
    auto patch =
        platform::ReplaceImport(GetModuleHandleW(nullptr), dll, function, reinterpret_cast<const void*>(watcher));
    EXPECT_TRUE(patch) << function;
    return patch;
  };
  const auto creating = watch("ntdll.dll", "NtCreateFile", &WatchedCreate);
  const auto writing = watch("kernel32.dll", "WriteFile", &WatchedWrite);
  const std::string message(31 * 1024, 'm');
  Log(message);
  EXPECT_EQ(written, std::to_string(fs::file_size(kLog)) + ' ');
  oplocked = true;
  Log("dropped");
  DWORD flags = 0;
  EXPECT_TRUE(opened && !GetHandleInformation(opened, &flags)) << "not closed";
  EXPECT_EQ(Logged(), "[Error] " + message + "\r\n");
}

// By a writer that ended with it.
TEST_F(TraceLog, AbandonedLockCostsOneRecordAndIsGivenBack) {
  const HANDLE lock = CreateMutexA(nullptr, FALSE, kLock);
  std::thread([&] { WaitForSingleObject(lock, INFINITE); }).join();
  Log("dropped");
  // Were it not given back, this thread could take it again, but no other.
  std::thread([] { Log("written"); }).join();
  CloseHandle(lock);
  EXPECT_EQ(Logged(), "[Error] written\r\n");
  EXPECT_EQ(OpenMutexA(SYNCHRONIZE, FALSE, kLock), nullptr) << "nothing is kept between records";
}

std::set<HMODULE> Modules() {
  HMODULE found[512];
  DWORD size = 0;
  EnumProcessModules(GetCurrentProcess(), found, sizeof found, &size);
  return {found, found + size / sizeof(HMODULE)};
}

TEST_F(TraceLog, IsNotBegunByAModuleThatComesAndGoes) {
  WriteBytes(kFolder / "r5-lqz-ui.dat", "3");
  const auto load_and_free = [] { return FreeLibrary(LoadLibraryW(Built(L"r5-lqz-ui.dll").c_str())); };
  // What it imports may stay in the process after the first time.
  ASSERT_TRUE(load_and_free());
  const auto modules = Modules();
  ASSERT_TRUE(load_and_free());
  EXPECT_EQ(Modules(), modules);
  EXPECT_EQ(GetModuleHandleA("r5-lqz-ui.dll"), nullptr);
  EXPECT_FALSE(fs::exists(kFolder / "r5-lqz-ui.txt"));
}

}  // namespace
}  // namespace tests
