// Where a wrong in-memory platform would let faults of the module pass unseen: calls that do not fail when told to,
// leaks that do not count, memory that outlives its heap, clients that are let in.
#include "native/control.h"

#include <gtest/gtest.h>
#include <ddk/winsplp.h>

#include <cstdio>
#include <cstdlib>

namespace {

using platform::Balance;

struct PlatformLayer : testing::Test {
  PlatformLayer() {
    platform::Reset();
    platform::AddPrinter("Lab", "Brindlewick R5-LQZ");
    printer = platform::OpenTestPrinter("LAB");
  }
  ~PlatformLayer() override { platform::Reset(); }

  static BOOL Open(const WCHAR* name, HANDLE* handle, ACCESS_MASK access = 0) {
    PRINTER_DEFAULTSW defaults = {nullptr, nullptr, access};
    return OpenPrinterW(const_cast<WCHAR*>(name), handle, &defaults);
  }
  static DWORD Write(HANDLE handle, DWORD number) {
    return SetPrinterDataExA(handle, "k", "v", REG_DWORD, reinterpret_cast<BYTE*>(&number), 4);
  }

  HANDLE printer = nullptr;
};

TEST_F(PlatformLayer, BalanceCountsWhatIsOpenUntilItIsGivenBack) {
  HANDLE opened = nullptr;
  ASSERT_TRUE(Open(L"lab", &opened));
  EXPECT_FALSE(Open(L"Other", &opened));
  HANDLE heap = HeapCreate(0, 0, 0);
  EXPECT_EQ(static_cast<BYTE*>(HeapAlloc(heap, 0, 3))[2], 0xCD) << "no zeros by chance";
  void* global = GlobalAlloc(0, 1);
  HANDLE mutex = CreateMutexA(nullptr, FALSE, "c:/temp/x.txt");
  HANDLE file = CreateFileA("C:\\TEMP\\x.txt", FILE_APPEND_DATA, 0, nullptr, CREATE_NEW, 0, nullptr);
  platform::SetImpersonating(true);
  HANDLE token = RevertToPrinterSelf();
  volatile std::size_t size = 5;  // else the compiler may leave the pair out
  void* stranger = std::malloc(size);
  void* block = nullptr;
  {
    platform::ModuleScope module;
    block = std::malloc(size);
    EXPECT_EQ(static_cast<BYTE*>(block)[4], 0xCD);
    platform::FailCall("malloc", 1);
    EXPECT_EQ(std::malloc(size), nullptr);
    platform::FailCall("calloc", 1);
    EXPECT_EQ(std::calloc(1, size), nullptr);
    void* grown = std::realloc(block, size * 1000);
    ASSERT_NE(grown, nullptr);
    block = grown;
    platform::FailCall("realloc", 1);
    EXPECT_EQ(std::realloc(block, size), nullptr);
  }
  EXPECT_EQ(platform::LiveBalance(), (Balance{1, 1, 1, 1, 1, 1, 1, 0}));

  EXPECT_TRUE(ClosePrinter(opened));
  EXPECT_FALSE(ClosePrinter(opened));
  HeapDestroy(heap);
  GlobalFree(global);
  CloseHandle(mutex);
  CloseHandle(file);
  EXPECT_TRUE(ImpersonatePrinterClient(token));
  std::free(stranger);
  std::free(block);
  EXPECT_EQ(platform::LiveBalance(), Balance{.bad_releases = 1});
  ClosePrinter(printer);
  EXPECT_EQ(platform::LiveBalance(), Balance{.bad_releases = 2});
}

#if defined(__SANITIZE_ADDRESS__) || __has_feature(address_sanitizer)
TEST_F(PlatformLayer, MemoryIsReallyGoneWithItsHeap) {
  HANDLE heap = HeapCreate(0, 0, 0);
  auto* block = static_cast<volatile BYTE*>(HeapAlloc(heap, 0, 3));
  EXPECT_DEATH(block[3] = 1, "heap-buffer-overflow");
  HeapDestroy(heap);
  EXPECT_DEATH(block[0] = 1, "heap-use-after-free");
  EXPECT_DEATH(HeapAlloc(heap, 0, 3), "HeapAlloc");
}
#endif

}  // namespace
