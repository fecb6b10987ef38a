// The trace log in one process: its records in a real file, its size limit, and what keeps a record from being written.
#include <windows.h>
#include <winternl.h>

#include "../built_files.h"

#include <psapi.h>

#include <set>

#include "diag/trace.h"
#include "import_patch.h"
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

TEST_F(TraceLog, FolderIsNotMade) {
  ASSERT_TRUE(RemoveDirectoryA(kFolder));
  Log("no folder");
  ASSERT_TRUE(CreateDirectoryA(kFolder, nullptr));
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

// Whoever has it open could have a lock that renaming would wait for.
TEST_F(TraceLog, RecordGoesOnTheOldFileWhileSomebodyHasOneOpen) {
  for (const std::string& busy : {std::string(kLog), Rotated('1'), Rotated('9')}) {
    SCOPED_TRACE(busy);
    for (char number = '1'; number <= '9'; ++number) WriteBytes(Rotated(number), {&number, 1});
    MakeLog(kSizeLimit + 1);
    const HANDLE reader = OpenForReading(busy, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE);
    ASSERT_NE(reader, INVALID_HANDLE_VALUE);
    Log("new");
    CloseHandle(reader);
    EXPECT_EQ(ReadTexts(kLog, kSizeLimit + 1), Texts{"[Error] new"});
  }
}

constexpr char kOthers[] = "c:\\others";

// What lies in the folder that names in the log's own lead to.
std::string Others() {
  std::string listing;
  for (const char* name : {"f", "trace_log_test.txt", "trace_log_test.1.txt", "new"}) {
    const long long size = SizeOf(std::string(kOthers) + '\\' + name);
    if (size >= 0) listing += std::string(name) + ' ' + std::to_string(size) + ' ';
  }
  return listing;
}

class TraceLinks : public TraceFolder {
 protected:
  ~TraceLinks() override {
    std::filesystem::remove_all(kOthers);
    r5lqz::log_mask = 0;
  }
  // Makes both folders, and in them what the script says, which names the file NAME.
  static void SetUpOthers(std::string script, const std::string& name) {
    for (std::size_t at; (at = script.find("NAME")) != script.npos;) script.replace(at, 4, "trace_log_test" + name);
    std::filesystem::remove_all(kOthers);
    std::filesystem::create_directory(kOthers);
    WriteBytes(std::string(kOthers) + "\\f", "3");
    RunOnHostDrive("rm -rf temp && mkdir temp && " + script);
  }
};

TEST_F(TraceLinks, NameThatLeadsElsewhereIsNotOpened) {
  const struct {
    const char* script;
    bool plain;
  } rows[] = {{"cp others/f temp/NAME", true},
              {"ln -s ../others/f temp/NAME", false},
              {"ln -s ../others/new temp/NAME", false},
              {"ln others/f temp/NAME", false},
              {"mkdir temp/NAME", false},
              {"cp others/f others/NAME && rmdir temp && ln -s others temp", false},
              {"rmdir temp && ln -s others temp", false},
              // Somebody at the pipe's other end, who writes first and reads then: at times what was written itself.
              {": > others/new && mkfifo temp/NAME && "
               "{ timeout 2 sh -c 'echo 3 > temp/NAME; sed /^3$/d temp/NAME > others/new' & }",
               false}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.script);
    SetUpOthers(row.script, ".dat");
    r5lqz::LoadLogMask();
    EXPECT_EQ(r5lqz::log_mask, row.plain ? 3u : 0u);
    SetUpOthers(row.script, ".txt");
    const std::string before = Others();
    Log("led away");
    EXPECT_EQ(Others(), before);
    EXPECT_EQ(row.plain ? ReadTexts(kLog, 1) : Texts{"[Error] led away"}, Texts{"[Error] led away"});
  }
  RunOnHostDrive("rm -rf temp && mkdir temp");
}

TEST_F(TraceLinks, RotationRenamesAndDeletesNothingElsewhere) {
  // Number 1 or 9 is a link, or another folder stands in the place of the log's.
  for (const char* const script : {"ln -s ../others/f temp/trace_log_test.1.txt",
                                   "for n in 1 2 3 4 5 6 7 8; do : > temp/trace_log_test.$n.txt; done && "
                                   "ln -s ../others/f temp/trace_log_test.9.txt",
                                   "truncate -s 104857601 others/NAME && rmdir temp && ln -s others temp"}) {
    SCOPED_TRACE(script);
    SetUpOthers(script, ".txt");
    if (SizeOf(kLog) < 0) MakeLog(kSizeLimit + 1);
    const std::string before = Others();
    Log("new");
    EXPECT_EQ(Others(), before);
  }
  RunOnHostDrive("rm -rf temp && mkdir temp");
}

HANDLE oplocked;
NTSTATUS WINAPI FindOplock(HANDLE* handle, ACCESS_MASK access, OBJECT_ATTRIBUTES* attributes, IO_STATUS_BLOCK* outcome,
                           LARGE_INTEGER* size, ULONG file_attributes, ULONG sharing, ULONG disposition, ULONG options,
                           void* extra, ULONG extra_size) {
  EXPECT_EQ(options & (FILE_COMPLETE_IF_OPLOCKED | FILE_OPEN_REPARSE_POINT),
            ULONG{FILE_COMPLETE_IF_OPLOCKED | FILE_OPEN_REPARSE_POINT});
  EXPECT_EQ(sharing, ULONG{FILE_SHARE_READ | FILE_SHARE_WRITE});
  EXPECT_EQ(static_cast<SECURITY_QUALITY_OF_SERVICE*>(attributes->SecurityQualityOfService)->ImpersonationLevel,
            SecurityIdentification);
  EXPECT_EQ(attributes->RootDirectory != nullptr, !(options & FILE_DIRECTORY_FILE)) << "beneath its opened folder";
  static const auto real_create = reinterpret_cast<decltype(&NtCreateFile)>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtCreateFile")));
  const NTSTATUS status = real_create(handle, access, attributes, outcome, size, file_attributes, sharing, disposition,
                                      options, extra, extra_size);
  if (status < 0 || options & FILE_DIRECTORY_FILE) return status;
  oplocked = *handle;
  return 0x108;
}

// Whoever has a lock on the file that an open would break may put that off for good.
TEST_F(TraceLog, FileThatWouldHaveToBeWaitedForIsNotOpened) {
  Log("written");
  {
    const auto patch = platform::ReplaceImport(GetModuleHandleW(nullptr), "ntdll.dll", "NtCreateFile",
                                               reinterpret_cast<const void*>(&FindOplock));
    ASSERT_TRUE(patch);
    Log("dropped");
  }
  DWORD flags = 0;
  EXPECT_TRUE(oplocked && !GetHandleInformation(oplocked, &flags)) << "closed";
  EXPECT_EQ(ReadTexts(), Texts{"[Error] written"});
}

int writes = 0;
DWORD handle_flags = ~0u;

BOOL WINAPI ObserveWrite(HANDLE file, const void* bytes, DWORD size, DWORD* written, OVERLAPPED* overlapped) {
  ++writes;
  GetHandleInformation(file, &handle_flags);
  // This program's own import leads here.
  static const auto real_write = reinterpret_cast<decltype(&WriteFile)>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "WriteFile")));
  return real_write(file, bytes, size, written, overlapped);
}

TEST_F(TraceLog, RecordIsWrittenAtOnceThroughAHandleThatNobodyInherits) {
  const auto patch = platform::ReplaceImport(GetModuleHandleW(nullptr), "kernel32.dll", "WriteFile",
                                             reinterpret_cast<const void*>(&ObserveWrite));
  ASSERT_TRUE(patch);
  Log(std::string(31 * 1024, 'm'));
  EXPECT_EQ(writes, 1);
  EXPECT_EQ(handle_flags, 0u);
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
  for (int i = 0; i < 3; ++i) {
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
