// Where the in-memory platform would mislead the tests built on it if it were wrong: the sizing rules, what a fault
// does and does not do, what the balance counts, who is refused.
#include "native/control.h"

#include <gtest/gtest.h>
#include <icm.h>
#include <ddk/winsplp.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

extern "C" DWORD WINAPI DeletePrinterKeyW(HANDLE printer, LPCWSTR key);

namespace {

using platform::Balance;

WCHAR* Wide(const WCHAR* text) {
  return const_cast<WCHAR*>(text);
}

platform::Bytes BytesOf(std::string_view text) {
  const auto bytes = std::as_bytes(std::span(text));
  return {bytes.begin(), bytes.end()};
}

struct PlatformLayer : testing::Test {
  PlatformLayer() {
    platform::Reset();
    platform::AddPrinter("Lab", "Brindlewick R5-LQZ", BytesOf("devmode"));
    printer = platform::OpenTestPrinter("LAB");
  }
  ~PlatformLayer() override { platform::Reset(); }

  DWORD Read(const char* key, const char* value, DWORD size) {
    std::memset(buffer, '#', sizeof(buffer));
    type = needed = 77;
    return GetPrinterDataExA(printer, key, value, &type, reinterpret_cast<BYTE*>(buffer), size, &needed);
  }

  HANDLE printer = nullptr;
  char buffer[64];
  DWORD type = 0, needed = 0;
};

TEST_F(PlatformLayer, PrinterDataKeepsExactlyTheBytesAndReportsSizes) {
  platform::SetDataText("lab", "Label Sizes\\258", "name", "Stock", false);
  EXPECT_EQ(Read("label sizes\\258", "NAME", 4), DWORD{ERROR_MORE_DATA});
  EXPECT_EQ(needed, 5u);
  EXPECT_EQ(buffer[0], '#');
  EXPECT_EQ(Read("Label Sizes\\258", "name", 5), DWORD{ERROR_SUCCESS});
  EXPECT_EQ(type, DWORD{REG_SZ});
  EXPECT_EQ(std::string(buffer, 6), "Stock#");
  EXPECT_EQ(Read("Label Sizes\\258", "width", 5), DWORD{ERROR_FILE_NOT_FOUND});
  EXPECT_EQ(Read("Label Sizes\\259", "name", 5), DWORD{ERROR_FILE_NOT_FOUND});

  DWORD number = 2;
  EXPECT_EQ(SetPrinterDataW(printer, Wide(L"Forms?"), REG_DWORD, reinterpret_cast<BYTE*>(&number), 4), 0u);
  EXPECT_EQ(platform::GetData("Lab", "", "Forms?"), (platform::Data{REG_DWORD, BytesOf({"\2\0\0\0", 4})}));
  platform::SetData("Lab", "", "Forms?", REG_BINARY, BytesOf("12345678"));
  auto* out = reinterpret_cast<BYTE*>(&number);
  EXPECT_EQ(GetPrinterDataW(printer, Wide(L"Forms?"), &type, out, 4, &needed), DWORD{ERROR_MORE_DATA});

  platform::CloseTestPrinter(printer);
  for (HANDLE closed : {printer, HANDLE{}}) {
    printer = closed;
    EXPECT_EQ(Read("Label Sizes\\258", "name", 5), DWORD{ERROR_INVALID_HANDLE});
  }
}

TEST_F(PlatformLayer, KeyListsAreSizedInBytesAndEndWithAnEmptyName) {
  const WCHAR* key = L"Label Sizes";
  WCHAR names[16];
  EXPECT_EQ(EnumPrinterKeyW(printer, key, nullptr, 0, &needed), DWORD{ERROR_FILE_NOT_FOUND});
  platform::SetDataDword("Lab", "Label Sizes\\300", "version", 1);
  platform::SetDataDword("Lab", "Label Sizes\\258\\deeper", "version", 1);
  platform::SetDataDword("Lab", "Label Sizes-2", "version", 1);
  EXPECT_EQ(EnumPrinterKeyW(printer, key, nullptr, 0, &needed), DWORD{ERROR_MORE_DATA});
  EXPECT_EQ(needed, 18u);
  EXPECT_EQ(EnumPrinterKeyW(printer, key, names, 17, &needed), DWORD{ERROR_MORE_DATA});
  EXPECT_EQ(EnumPrinterKeyW(printer, key, names, 18, &needed), DWORD{ERROR_SUCCESS});
  EXPECT_EQ(std::memcmp(names,
                        u"258\0"
                        u"300\0",
                        18),
            0);

  EXPECT_EQ(DeletePrinterKeyW(printer, L"label sizes\\258"), 0u);
  EXPECT_EQ(DeletePrinterKeyW(printer, L"label sizes\\258"), DWORD{ERROR_FILE_NOT_FOUND});
  EXPECT_EQ(platform::Keys("Lab", "Label Sizes"), std::vector<std::string>{"300"});
  EXPECT_EQ(platform::Keys("Lab", ""), (std::vector<std::string>{"Label Sizes", "Label Sizes-2"}));
  EXPECT_EQ(DeletePrinterKeyW(printer, L"Label Sizes\\300"), 0u);
  EXPECT_EQ(EnumPrinterKeyW(printer, key, names, 2, &needed), 0u);
  EXPECT_EQ(needed, 2u);
  EXPECT_EQ(names[0], 0);

  platform::SetKeyListBytes("Lab", "Label Sizes",
                            BytesOf({"2\0"
                                     "5\0"
                                     "8",
                                     5}));
  EXPECT_EQ(EnumPrinterKeyW(printer, key, nullptr, 0, &needed), DWORD{ERROR_MORE_DATA});
  EXPECT_EQ(needed, 5u);
  EXPECT_EQ(EnumPrinterKeyW(printer, key, names, 5, &needed), 0u);
}

TEST_F(PlatformLayer, PrinterInformationEndsWithTheSettingsRecord) {
  EXPECT_FALSE(GetPrinterW(printer, 2, nullptr, 0, &needed));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
  auto* block = static_cast<BYTE*>(GlobalAlloc(GMEM_FIXED, needed));
  EXPECT_EQ(block[0], 0xCD);
  EXPECT_EQ(GlobalSize(block), needed);
  EXPECT_FALSE(GetPrinterW(printer, 2, block, needed - 1, &needed));
  ASSERT_TRUE(GetPrinterW(printer, 2, block, needed, &needed));
  const auto* info = reinterpret_cast<PRINTER_INFO_2W*>(block);
  EXPECT_EQ(std::memcmp(info->pPrinterName, u"Lab", 8), 0);
  EXPECT_EQ(std::memcmp(info->pDriverName, u"Brindlewick R5-LQZ", 38), 0);
  EXPECT_EQ(reinterpret_cast<BYTE*>(info->pDevMode) + 7, block + needed);
  EXPECT_EQ(std::memcmp(info->pDevMode, "devmode", 7), 0);
  GlobalFree(block);
}

TEST_F(PlatformLayer, FaultsHitTheNthCallOnceOrForGoodAndDoNothing) {
  DWORD number = 1;
  const auto write = [&] {
    return SetPrinterDataExA(printer, "k", "v", REG_DWORD, reinterpret_cast<BYTE*>(&number), 4);
  };
  platform::FailCall("SetPrinterDataExA", 2, 1234);
  EXPECT_EQ(write(), 0u);
  number = 2;
  EXPECT_EQ(write(), 1234u);
  const auto kept = platform::GetData("Lab", "k", "v");
  ASSERT_TRUE(kept && !kept->bytes.empty());
  EXPECT_EQ(kept ? kept->bytes[0] : std::byte{}, std::byte{1});
  EXPECT_EQ(write(), 0u);

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

TEST_F(PlatformLayer, HookRunsBeforeTheCallAndIsNotSeenItself) {
  platform::RecordCalls(true);
  platform::SetCallHook([&](const char* name) {
    if (std::strcmp(name, "GetPrinterDataExA") == 0) SetPrinterDataExA(printer, "k", "v", REG_SZ, nullptr, 0);
  });
  EXPECT_EQ(Read("k", "v", 8), 0u);
  EXPECT_EQ(needed, 0u);
  EXPECT_EQ(platform::CallLog(), std::vector<std::string>{"GetPrinterDataExA"});
  EXPECT_EQ(platform::TotalCalls(), 1u);
}

TEST_F(PlatformLayer, BalanceCountsWhatIsOpenUntilItIsGivenBack) {
  HANDLE opened = nullptr;
  ASSERT_TRUE(OpenPrinterW(Wide(L"lab"), &opened, nullptr));
  EXPECT_FALSE(OpenPrinterW(Wide(L"Other"), &opened, nullptr));
  HANDLE heap = HeapCreate(0, 0, 0);
  auto* zeroed = static_cast<BYTE*>(HeapAlloc(heap, HEAP_ZERO_MEMORY, 3));
  auto* poisoned = static_cast<BYTE*>(HeapAlloc(heap, 0, 3));
  EXPECT_EQ(zeroed[2], 0);
  EXPECT_EQ(poisoned[2], 0xCD);
  void* global = GlobalAlloc(0, 1);
  HANDLE mutex = CreateMutexA(nullptr, FALSE, "c:/temp/x.txt");
  FILE* file = std::fopen("C:\\TEMP\\x.txt", "w");
  platform::SetImpersonating(true);
  HANDLE token = RevertToPrinterSelf();
  EXPECT_FALSE(platform::IsImpersonating());
  volatile std::size_t size = 5;  // else the compiler may leave the pair out
  void* stranger = std::malloc(size);
  void* block = nullptr;
  {
    platform::ModuleScope module;
    block = std::malloc(size);
    EXPECT_EQ(static_cast<BYTE*>(block)[4], 0xCD);
    platform::FailCall("malloc", 1);
    EXPECT_EQ(std::malloc(size), nullptr);
    EXPECT_EQ(std::calloc(~std::size_t{0} / 2, size), nullptr);
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
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
  EXPECT_FALSE(CloseHandle(nullptr));
  HeapDestroy(heap);
  GlobalFree(global);
  CloseHandle(mutex);
  std::fclose(file);
  EXPECT_TRUE(ImpersonatePrinterClient(token));
  EXPECT_TRUE(platform::IsImpersonating());
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

TEST_F(PlatformLayer, RefusesWhomItIsToldTo) {
  PRINTER_DEFAULTSW defaults = {nullptr, nullptr, PRINTER_ALL_ACCESS};
  HANDLE full = nullptr;
  DWORD number = 1;
  const auto write = [&](HANDLE handle) {
    return SetPrinterDataW(handle, Wide(L"v"), REG_DWORD, reinterpret_cast<BYTE*>(&number), 4);
  };
  platform::DenyFullAccess("Lab", platform::Denied::kPlain);
  platform::SetImpersonating(true);
  EXPECT_FALSE(OpenPrinterW(Wide(L"Lab"), &full, &defaults));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
  platform::SetImpersonating(false);
  ASSERT_TRUE(OpenPrinterW(Wide(L"Lab"), &full, &defaults));
  platform::DenyWrites("Lab", platform::Denied::kPlain);
  EXPECT_EQ(write(printer), DWORD{ERROR_ACCESS_DENIED});
  EXPECT_EQ(write(full), 0u);
  platform::DenyWrites("Lab");
  EXPECT_EQ(write(full), DWORD{ERROR_ACCESS_DENIED});
  FORM_INFO_1W form = {0, Wide(L"Custom"), {1, 2}, {3, 4, 5, 6}};
  EXPECT_FALSE(AddFormW(full, 1, reinterpret_cast<BYTE*>(&form)));
  platform::DenyWrites("Lab", platform::Denied::kNobody);
  EXPECT_TRUE(AddFormW(full, 1, reinterpret_cast<BYTE*>(&form)));
  EXPECT_FALSE(AddFormW(full, 1, reinterpret_cast<BYTE*>(&form)));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_EXISTS});
  ASSERT_EQ(platform::Forms("Lab").size(), 1u);
  EXPECT_EQ(platform::Forms("Lab")[0].name, "Custom");
  EXPECT_EQ(platform::Forms("Lab")[0].imageable_area.bottom, 6);
}

TEST_F(PlatformLayer, ProfilesAnswerTheSizeFirst) {
  ENUMTYPEW filter{};
  filter.dwSize = sizeof(filter);
  filter.dwVersion = ENUM_TYPE_VERSION;
  filter.dwFields = ET_DEVICENAME;
  filter.pDeviceName = L"Lab";
  WCHAR list[8];
  DWORD size = 0, count = 9;
  const auto enumerate = [&](void* out) {
    return EnumColorProfilesW(nullptr, &filter, static_cast<BYTE*>(out), &size, &count);
  };
  EXPECT_FALSE(enumerate(nullptr));
  EXPECT_EQ(size, 2u);
  EXPECT_EQ(count, 0u);
  const std::u16string names[] = {u"b", u"\u4E2D"};
  platform::SetProfiles(names);
  size = 9;
  EXPECT_FALSE(enumerate(list));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
  EXPECT_EQ(size, 10u);
  EXPECT_TRUE(enumerate(list));
  EXPECT_EQ(count, 2u);
  EXPECT_EQ(std::memcmp(list, u"b\0\u4E2D\0", 10), 0);
  platform::SetProfileListBytes({}, 3);
  size = 0;
  EXPECT_TRUE(enumerate(nullptr));
  EXPECT_EQ(platform::LastProfileDevice(), "Lab");
  filter.dwSize = 4;
  EXPECT_FALSE(enumerate(list));
}

TEST_F(PlatformLayer, MutexesOrderThreadsAndPlayOtherProcesses) {
  const char* name = "c:/temp/x.txt";
  SECURITY_ATTRIBUTES security = {sizeof(security), nullptr, TRUE};
  HANDLE mutex = CreateMutexA(&security, FALSE, name);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_SUCCESS});
  EXPECT_TRUE(platform::LastMutex().inheritable && platform::LastMutex().default_security);
  EXPECT_EQ(CreateMutexA(nullptr, FALSE, "c:\\temp\\x.txt"), nullptr);
  EXPECT_FALSE(ReleaseMutex(mutex));

  EXPECT_EQ(WaitForSingleObject(mutex, 0), DWORD{WAIT_OBJECT_0});
  std::thread([&] {
    HANDLE other = CreateMutexA(nullptr, FALSE, name);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ALREADY_EXISTS});
    EXPECT_EQ(WaitForSingleObject(other, 1), DWORD{WAIT_TIMEOUT});
    EXPECT_FALSE(ReleaseMutex(other));
    CloseHandle(other);
  }).join();
  using std::chrono::steady_clock;
  steady_clock::duration waited{};
  std::thread waiter([&] {
    const auto start = steady_clock::now();
    EXPECT_EQ(WaitForSingleObject(mutex, 10000), DWORD{WAIT_OBJECT_0});
    waited = steady_clock::now() - start;
    ReleaseMutex(mutex);
  });
  while (platform::Calls("WaitForSingleObject") < 3) std::this_thread::yield();
  std::this_thread::sleep_for(std::chrono::milliseconds(20));  // let it go to sleep
  ReleaseMutex(mutex);
  waiter.join();
  EXPECT_LT(waited, std::chrono::seconds(5));  // woken, not timed out

  platform::SetMutexState(name, platform::MutexState::kHeldByOther);
  EXPECT_EQ(WaitForSingleObject(mutex, 100), DWORD{WAIT_TIMEOUT});
  platform::SetMutexState(name, platform::MutexState::kAbandoned);
  EXPECT_EQ(WaitForSingleObject(mutex, 100), DWORD{WAIT_ABANDONED});
  EXPECT_TRUE(ReleaseMutex(mutex));
  EXPECT_EQ(WaitForSingleObject(mutex, 100), DWORD{WAIT_OBJECT_0});
  CloseHandle(mutex);
  EXPECT_EQ(WaitForSingleObject(mutex, 0), DWORD{WAIT_FAILED});
}

TEST_F(PlatformLayer, FilesLieInAFolderOfTheProcessAndOnlyThoseCount) {
  const char* path = "c:\\temp\\a.txt";
  EXPECT_EQ(GetFileAttributesA(path), INVALID_FILE_ATTRIBUTES);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
  for (const char* each : {path, "c:\\temp\\b.txt"}) std::fclose(std::fopen(each, "w"));
  EXPECT_NE(GetFileAttributesA(path), INVALID_FILE_ATTRIBUTES);
  EXPECT_EQ(GetFileAttributesA("c:\\temp"), DWORD{FILE_ATTRIBUTE_DIRECTORY});
  EXPECT_NE(std::rename(path, "c:\\temp\\b.txt"), 0);  // never onto another file, as on Windows
  EXPECT_EQ(std::remove("c:\\temp\\b.txt"), 0);
  EXPECT_EQ(std::rename(path, "c:\\temp\\b.txt"), 0);
  FILE* host = std::fopen((platform::TempFolder() + "/b.txt").c_str(), "r");
  ASSERT_NE(host, nullptr);
  EXPECT_EQ(platform::Calls("fopen"), 2u);
  EXPECT_EQ(platform::LiveBalance(), Balance{});
  std::fclose(host);
  platform::FailCall("fopen", 1);
  EXPECT_EQ(std::fopen("c:\\temp\\b.txt", "r"), nullptr);
  platform::RemoveTempFolder();
  EXPECT_EQ(std::fopen("c:\\temp\\b.txt", "w"), nullptr);
  EXPECT_EQ(GetFileAttributesA(path), INVALID_FILE_ATTRIBUTES);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_PATH_NOT_FOUND});
  platform::Reset();
  EXPECT_EQ(GetFileAttributesA("c:\\temp"), DWORD{FILE_ATTRIBUTE_DIRECTORY});
  EXPECT_EQ(GetFileAttributesA("c:\\temp\\b.txt"), INVALID_FILE_ATTRIBUTES);
}

TEST_F(PlatformLayer, TextsConvertByTheSizeRulesOfThePlatform) {
  const WCHAR wide[] = L"a\u00E9\u4E2D";
  EXPECT_EQ(WideCharToMultiByte(CP_ACP, 0, wide, -1, nullptr, 0, nullptr, nullptr), 4);
  EXPECT_EQ(WideCharToMultiByte(CP_ACP, 0, wide, -1, buffer, 4, nullptr, nullptr), 4);
  EXPECT_STREQ(buffer, "a\xE9?");
  EXPECT_EQ(WideCharToMultiByte(CP_ACP, 0, wide, -1, buffer, 3, nullptr, nullptr), 0);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
  WCHAR back[4] = {9, 9, 9, 9};
  EXPECT_EQ(MultiByteToWideChar(CP_ACP, 0, "a\xE9", 2, back, 4), 2);
  EXPECT_EQ(back[1], 0xE9);
  EXPECT_EQ(back[2], 9);
  EXPECT_EQ(MultiByteToWideChar(CP_ACP, 0, "", 0, back, 4), 0);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
  EXPECT_EQ(reinterpret_cast<ULONG_PTR>(CharLowerW(reinterpret_cast<WCHAR*>(ULONG_PTR{0xC9}))), 0xE9u);
  WCHAR mixed[] = L"A\u00D7Z";
  CharLowerW(mixed);
  EXPECT_EQ(std::memcmp(mixed, u"a\u00D7z", 8), 0);

  platform::SetModuleFileName("C:\\x\\abc.dll");
  EXPECT_EQ(GetModuleFileNameA(nullptr, buffer, 13), 12u);
  EXPECT_STREQ(buffer, "C:\\x\\abc.dll");
  SetLastError(0);
  EXPECT_EQ(GetModuleFileNameA(nullptr, buffer, 12), 12u);
  EXPECT_STREQ(buffer, "C:\\x\\abc.dl");
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
}

}  // namespace
