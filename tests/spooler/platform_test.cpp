// What is put in place of the platform's missing calls must itself keep their contract, or it would fool every test.
#include <windows.h>
#include <winspool.h>

#include <atomic>

#include "import_patch.h"
#include "printer_keys.h"
#include "spooler_fixture.h"

namespace tests {
namespace {

using platform::RegistryDeletePrinterKey;
using platform::RegistryEnumPrinterKey;
using PrinterKeysTest = SpoolerTest;

constexpr wchar_t kKey[] = L"Label Sizes";

TEST_F(PrinterKeysTest, AreListedByBytesAndDeletedWithAllBeneathThem) {
  DWORD needed = 77;
  EXPECT_EQ(RegistryEnumPrinterKey(Printer(), kKey, nullptr, 0, &needed), DWORD{ERROR_FILE_NOT_FOUND});
  EXPECT_EQ(RegistryEnumPrinterKey(nullptr, kKey, nullptr, 0, &needed), DWORD{ERROR_INVALID_HANDLE});
  EXPECT_EQ(RegistryEnumPrinterKey(Printer(), nullptr, nullptr, 0, &needed), DWORD{ERROR_INVALID_PARAMETER});
  EXPECT_EQ(needed, 77u);

  Store({258, "a", "1", "1", "0", "0", 0});
  Store({300, "b", "1", "1", "0", "0", 0});
  constexpr wchar_t kNames[] = L"258\000300\0";
  EXPECT_EQ(RegistryEnumPrinterKey(Printer(), kKey, nullptr, 0, &needed), DWORD{ERROR_MORE_DATA});
  ASSERT_EQ(needed, sizeof kNames);
  wchar_t names[16];
  memset(names, 0xA5, sizeof names);
  EXPECT_EQ(RegistryEnumPrinterKey(Printer(), kKey, names, needed - 1, &needed), DWORD{ERROR_MORE_DATA});
  EXPECT_EQ(names[0], 0xA5A5) << "a list that does not fit is not begun";
  EXPECT_EQ(RegistryEnumPrinterKey(Printer(), kKey, names, needed, &needed), 0u);
  EXPECT_EQ(memcmp(names, kNames, sizeof kNames), 0);
  EXPECT_EQ(names[std::size(kNames)], 0xA5A5);

  EXPECT_EQ(RegistryDeletePrinterKey(Printer(), L"Label Sizes\\258"), 0u);
  EXPECT_EQ(RegistryDeletePrinterKey(Printer(), L"Label Sizes\\258"), DWORD{ERROR_FILE_NOT_FOUND});
  EXPECT_EQ(RegistryEnumPrinterKey(Printer(), kKey, names, sizeof names, &needed), 0u);
  EXPECT_EQ(Narrow(names, 8), "300");
  EXPECT_EQ(RegistryDeletePrinterKey(Printer(), L""), 0u);
  EXPECT_EQ(RegistryEnumPrinterKey(Printer(), kKey, nullptr, 0, &needed), DWORD{ERROR_FILE_NOT_FOUND});
  EXPECT_EQ(DocumentPropertiesW(nullptr, Printer(), PrinterName(), nullptr, nullptr, 0), 864) << "the printer is gone";
}

DWORD WINAPI FixedTicks() {
  return 4711;
}

// Never inlined, so that the compiler cannot keep an import's address from one call to the next.
[[gnu::noinline]] DWORD AskTicks() {
  std::atomic_signal_fence(std::memory_order_seq_cst);
  return GetTickCount();
}

TEST(ImportPatch, ReplacesAndRestoresAnOrdinaryImport) {
  const HMODULE self = GetModuleHandleW(nullptr);
  {
    auto patch = platform::ReplaceImport(self, "KERNEL32.dll", "GetTickCount", reinterpret_cast<void*>(&FixedTicks));
    ASSERT_TRUE(patch);
    EXPECT_EQ(AskTicks(), 4711u);
    EXPECT_NE(patch.Previous<decltype(&GetTickCount)>()(), 4711u);
    const platform::ImportPatch moved = std::move(patch);
    EXPECT_EQ(AskTicks(), 4711u) << "moving the owner must not end it";
  }
  EXPECT_NE(AskTicks(), 4711u);
  EXPECT_FALSE(platform::ReplaceImport(self, "kernel32.dll", "NoSuchFunction", nullptr));
}

// As much of a loaded module as has a delay-load table; the linker here makes none that its directory names.
struct DelayingModule {
  IMAGE_DOS_HEADER dos;
  IMAGE_NT_HEADERS64 headers;
  IMAGE_DELAYLOAD_DESCRIPTOR table[2];
  IMAGE_THUNK_DATA64 names[2];
  IMAGE_THUNK_DATA64 addresses[2];
  char dll[12];
  WORD hint;
  char import[17];
};

TEST(ImportPatch, DelayedImportsPreviousFunctionIsTheOneBehindTheLoadersStub) {
  constexpr ULONGLONG kLoaderStub = 0x1234;
  DelayingModule module{.dll = "version.dll", .import = "VerLanguageNameW"};
  module.dos.e_lfanew = offsetof(DelayingModule, headers);
  module.headers.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_DELAY_IMPORT] = {offsetof(DelayingModule, table),
                                                                                     sizeof module.table};
  module.table[0].DllNameRVA = offsetof(DelayingModule, dll);
  module.table[0].ImportNameTableRVA = offsetof(DelayingModule, names);
  module.table[0].ImportAddressTableRVA = offsetof(DelayingModule, addresses);
  module.names[0].u1.AddressOfData = offsetof(DelayingModule, hint);
  module.addresses[0].u1.Function = kLoaderStub;
  {
    const auto patch = platform::ReplaceImport(reinterpret_cast<HMODULE>(&module), "VERSION.dll", "VerLanguageNameW",
                                               reinterpret_cast<void*>(&FixedTicks));
    ASSERT_TRUE(patch);
    EXPECT_EQ(module.addresses[0].u1.Function, reinterpret_cast<ULONGLONG>(&FixedTicks));
    wchar_t name[64];
    EXPECT_NE(patch.Previous<decltype(&VerLanguageNameW)>()(0x409, name, std::size(name)), 0u);
  }
  EXPECT_EQ(module.addresses[0].u1.Function, kLoaderStub);
}

}  // namespace
}  // namespace tests
