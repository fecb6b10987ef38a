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

TEST_F(PlatformLayer, FaultsHitTheNthCallOnceOrForGoodAndDoNothing) {
  platform::FailCall("SetPrinterDataExA", 2, 1234);
  EXPECT_EQ(Write(printer, 1), 0u);
  EXPECT_EQ(Write(printer, 2), 1234u);
  EXPECT_EQ(platform::GetData("Lab", "k", "v"), (platform::Data{REG_DWORD, {std::byte{1}, {}, {}, {}}}));
  EXPECT_EQ(Write(printer, 3), 0u);

  platform::DisarmFaults();
  platform::FailCall(nullptr, 2, ERROR_OUTOFMEMORY, true);
  SetLastError(7);  // cannot fail, so it does not count
  HANDLE heap = HeapCreate(0, 0, 0);
  EXPECT_NE(heap, nullptr);
  EXPECT_EQ(HeapAlloc(heap, 0, 8), nullptr);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_OUTOFMEMORY});
  EXPECT_EQ(GlobalAlloc(0, 8), nullptr);
  EXPECT_EQ(platform::LiveBalance(), Balance{.heaps = 1});
  EXPECT_FALSE(HeapDestroy(heap));  // says so, but the caller did its part
  EXPECT_EQ(platform::LiveBalance(), Balance{});
  EXPECT_EQ(platform::FaultsInjected(), 4u);
  EXPECT_EQ(platform::Calls("HeapAlloc"), 1u);
  EXPECT_DEATH(platform::FailCall("HeapAlloca", 1), "HeapAlloca");
  EXPECT_DEATH(platform::Calls("HeapAlloca"), "HeapAlloca");
}

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

TEST_F(PlatformLayer, RefusesWhomItIsToldTo) {
  HANDLE full = nullptr;
  platform::DenyAccess("Lab", platform::Denied::kPlain);
  platform::SetImpersonating(true);
  EXPECT_FALSE(Open(L"Lab", &full, PRINTER_ALL_ACCESS));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
  RevertToPrinterSelf();
  ASSERT_TRUE(Open(L"Lab", &full, PRINTER_ALL_ACCESS));
  platform::DenyWrites("Lab", platform::Denied::kPlain);
  EXPECT_EQ(Write(printer, 1), DWORD{ERROR_ACCESS_DENIED});
  EXPECT_EQ(Write(full, 1), 0u);
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
