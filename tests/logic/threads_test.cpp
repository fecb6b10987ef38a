// Several threads in the module at once, as hosts have them whatever is agreed. In the build with ThreadSanitizer this
// shows that the process-wide state (the log mask, the cached paths) has no data race.
#include <atomic>
#include <thread>

#include "support.h"

namespace r5lqz {
namespace {

constexpr int kThreads = 4;
constexpr int kRounds = 24;

void AskEverything(HANDLE printer) {
  DriverDevMode job, out;
  SetupDefaultDevMode(job, L"Printer", printer);
  job.dm_public.dmPaperSize = 259;
  EXPECT_EQ(DocumentProperties(printer, &job.dm_public, &out.dm_public, DM_OUT_BUFFER), 1);
  EXPECT_EQ(out.dm_public.dmPaperWidth, 1048);
  EXPECT_TRUE(QueryPrint(printer, &job.dm_public));
  EXPECT_EQ(DrvDeviceCapabilities(printer, nullptr, DC_PAPERS, nullptr, nullptr), 2u);
}

// Not a ModuleTest: here the trace paths must be built by threads that race for it.
TEST(Threads, ShareTheModule) {
  platform::Reset();
  platform::AddPrinter(kPrinterName, kDriverName);
  StoreLabel(258, "First");
  StoreLabel(259, "Second", "4.125", "5", kInches);
  std::ofstream(platform::TempFolder() + "/r5-lqz-ui.dat") << "1";

  std::atomic<int> waiting{kThreads};
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([thread, &waiting] {
      const HANDLE printer = platform::OpenTestPrinter(kPrinterName);
      --waiting;
      while (waiting > 0) std::this_thread::yield();
      for (int round = 0; round < kRounds; ++round) {
        // Some start documents, which switches tracing on in the middle of the others' calls; one switches it off.
        if (round % 8 == thread) DrvDocumentEvent(nullptr, nullptr, DOCUMENTEVENT_STARTDOCPRE, 0, nullptr, 0, nullptr);
        if (round % 8 == 4 && thread == 0) log_mask = 0;
        AskEverything(printer);
      }
      platform::CloseTestPrinter(printer);
    });
  }
  for (std::thread& thread : threads) thread.join();
  log_mask = 0;

  std::ifstream log(platform::TempFolder() + "/r5-lqz-ui.txt");
  int lines = 0;
  for (std::string line; std::getline(log, line); ++lines)
    EXPECT_TRUE(line.starts_with("[2024-03-05 07:08:09.012")) << line;
  EXPECT_GT(lines, 0);
  EXPECT_EQ(platform::LiveBalance(), platform::Balance{});
}

}  // namespace
}  // namespace r5lqz
