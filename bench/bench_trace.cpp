// What a trace record costs while tracing is on, beside the platform calls that writing one takes whoever does it: the
// time, the lock by its name, the file opened, its size, the line written, all closed again; and beside the same with
// the file opened as the module does it, which also makes sure that the name leads nowhere else. Medians of alternating
// batches in one process. Run by scripts/bench.
#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <vector>

#include "base/plain_file.h"
#include "user/console.h"
#include "counted_calls.h"
#include "diag/trace.h"

namespace {

constexpr int kBatches = 41;
constexpr int kRecords = 200;  // of a batch
constexpr char kFolder[] = "c:\\temp";
constexpr char kBarePath[] = "c:\\temp\\bare.txt";
constexpr char kBareLock[] = "c:/temp/bare.txt";
constexpr char kLine[] = "[2026-01-01 00:00:00.000] [TID: 1234] [Trace] <DrvDocumentPropertySheets>\r\n";

using bench::Microseconds;

template <class Open>
void WriteBy(Open open) {
  SYSTEMTIME time;
  GetSystemTime(&time);
  SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
  const HANDLE lock = CreateMutexA(&inheritable, FALSE, kBareLock);
  WaitForSingleObject(lock, 100);
  const HANDLE file = open();
  DWORD written = 0;
  WriteFile(file, kLine, sizeof kLine - 1, &written, nullptr);
  CloseHandle(file);
  ReleaseMutex(lock);
  CloseHandle(lock);
}

void WriteBare() {
  WriteBy([] {
    const HANDLE file = CreateFileA(kBarePath, FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                    OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    LARGE_INTEGER size;
    GetFileSizeEx(file, &size);
    return file;
  });
}

void WriteSafely() {
  WriteBy([] { return r5lqz::OpenPlainFile(kBarePath, FILE_APPEND_DATA).handle.release(); });
}

void WriteRecord() {
  r5lqz::LogMessage(2, "<%s>", "DrvDocumentPropertySheets");
}

double Batch(void (*write)()) {
  const double start = Microseconds();
  for (int at = 0; at < kRecords; ++at) write();
  return (Microseconds() - start) / kRecords;
}

double Median(std::vector<double>& values) {
  std::ranges::nth_element(values, values.begin() + kBatches / 2);
  return values[kBatches / 2];
}

long long SizeOf(const char* path) {
  WIN32_FILE_ATTRIBUTE_DATA data{};
  GetFileAttributesExA(path, GetFileExInfoStandard, &data);
  return static_cast<long long>(data.nFileSizeHigh) << 32 | data.nFileSizeLow;
}

}  // namespace

int main() {
  CreateDirectoryA(kFolder, nullptr);
  user::Report report;
  char* const path = r5lqz::GetLogFilePath();
  std::vector<double> records;
  std::vector<double> bare;
  std::vector<double> safe;
  for (int at = 0; at < kBatches; ++at) {
    records.push_back(Batch(WriteRecord));
    bare.push_back(Batch(WriteBare));
    safe.push_back(Batch(WriteSafely));
  }
  constexpr long long kLines = static_cast<long long>(kBatches) * kRecords;
  report.Expect(path && SizeOf(path) >= kLines * 70 && SizeOf(kBarePath) >= kLines * 70, "every record in its file");
  const double ours = Median(records);
  const auto row_of = [&](const char* what, double theirs) {
    return user::Row{what, user::Format("%.1f", ours), user::Format("%.1f", theirs),
                     user::Format("%.2f", ours / theirs)};
  };
  report.Table({"a trace record, us", "ours", "the calls'", "ratio"},
               {row_of("beside the bare calls", Median(bare)), row_of("with a file opened safely", Median(safe))});
  if (path) DeleteFileA(path);
  DeleteFileA(kBarePath);
  std::free(path);
  return report.failures ? 1 : 0;
}
