// The trace log's folder as one test sees it, and what is read from it.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <string_view>
#include <vector>

namespace tests {

// The trace files take the name of the module's file, which here is the test program itself.
inline constexpr char kFolder[] = "c:\\temp";
inline constexpr char kLog[] = "c:\\temp\\trace_log_test.txt";
inline constexpr char kLock[] = "c:/temp/trace_log_test.txt";

// Each test finds the folder new and empty; afterwards the folder that was there before is back.
class TraceFolder : public testing::Test {
 protected:
  TraceFolder();
  ~TraceFolder() override;
};

// A file's size in bytes; -1 without the file.
long long SizeOf(const std::string& path);
// A file's bytes from `offset` on; empty without the file.
std::string ReadBytes(const std::string& path, long long offset = 0);
void WriteBytes(const std::string& path, std::string_view bytes);

// Runs a shell script on the host, in the folder that is drive c: here, and waits for its end: on this platform only
// the host makes and removes links and pipes.
void RunOnHostDrive(const std::string& script);

// One line of the log.
struct Record {
  std::string time;  // "yyyy-mm-dd hh:mm:ss.mmm"
  DWORD thread;
  std::string text;  // tag and message
};

// The log's records from the byte `offset` on. A line that is not of the record's form, or does not end in CR LF, is
// a failure of the test.
std::vector<Record> ReadRecords(const std::string& path = kLog, long long offset = 0);
// The same, only their texts.
std::vector<std::string> ReadTexts(const std::string& path = kLog, long long offset = 0);

// Writes one error record and checks that the thread's last error stays.
void Log(const std::string& message);

}  // namespace tests
