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

struct PrinterKeysTest : SpoolerTest {
  static constexpr wchar_t kKey[] = L"Label Sizes";
};

TEST_F(PrinterKeysTest, ListsAreMeasuredInBytesAndEndedByAnEmptyName) {
  DWORD needed = 77;
  EXPECT_EQ(DWORD{ERROR_FILE_NOT_FOUND}, RegistryEnumPrinterKey(Printer(), kKey, nullptr, 0, &needed));
  EXPECT_EQ(DWORD{ERROR_INVALID_HANDLE}, RegistryEnumPrinterKey(nullptr, kKey, nullptr, 0, &needed));
  EXPECT_EQ(DWORD{ERROR_INVALID_PARAMETER}, RegistryEnumPrinterKey(Printer(), nullptr, nullptr, 0, &needed));
  EXPECT_EQ(77u, needed);

  Store({258, "a", "1", "1", "0", "0", 0});
  Store({300, "b", "1", "1", "0", "0", 0});
  constexpr wchar_t kNames[] =
      L"258\0"
      L"300\0";
  EXPECT_EQ(DWORD{ERROR_MORE_DATA}, RegistryEnumPrinterKey(Printer(), kKey, nullptr, 0, &needed));
  ASSERT_EQ(sizeof kNames, needed);
  wchar_t names[16];
  memset(names, 0xA5, sizeof names);
  EXPECT_EQ(DWORD{ERROR_MORE_DATA}, RegistryEnumPrinterKey(Printer(), kKey, names, needed - 1, &needed));
  EXPECT_EQ(0xA5A5, names[0]) << "a list that does not fit is not begun";
  EXPECT_EQ(0u, RegistryEnumPrinterKey(Printer(), kKey, names, needed, &needed));
  EXPECT_EQ(0, memcmp(kNames, names, sizeof kNames));
  EXPECT_EQ(0xA5A5, names[std::size(kNames)]);
  // A key without keys of its own lists nothing but the end.
  EXPECT_EQ(0u, RegistryEnumPrinterKey(Printer(), L"Label Sizes\\258", names, sizeof names, &needed));
  EXPECT_EQ(sizeof(wchar_t), needed);
  EXPECT_EQ(0, names[0]);
}

TEST_F(PrinterKeysTest, KeysGoWithAllThatIsBeneathThem) {
  Store({258, "a", "1", "1", "0", "0", 0});
  Store({259, "b", "1", "1", "0", "0", 0});
  DWORD needed = 0;
  EXPECT_EQ(0u, RegistryDeletePrinterKey(Printer(), L"Label Sizes\\258"));
  EXPECT_EQ(DWORD{ERROR_FILE_NOT_FOUND}, RegistryDeletePrinterKey(Printer(), L"Label Sizes\\258"));
  wchar_t names[8];
  EXPECT_EQ(0u, RegistryEnumPrinterKey(Printer(), kKey, names, sizeof names, &needed));
  EXPECT_EQ("259", Narrow(names, 8));
  EXPECT_EQ(0u, RegistryDeletePrinterKey(Printer(), L""));
  EXPECT_EQ(DWORD{ERROR_FILE_NOT_FOUND}, RegistryEnumPrinterKey(Printer(), kKey, nullptr, 0, &needed));
  EXPECT_EQ(864, DocumentPropertiesW(nullptr, Printer(), PrinterName(), nullptr, nullptr, 0)) << "the printer is gone";
  EXPECT_EQ(DWORD{ERROR_INVALID_HANDLE}, RegistryDeletePrinterKey(nullptr, kKey));
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
    EXPECT_EQ(4711u, AskTicks());
    EXPECT_NE(4711u, patch.Previous<decltype(&GetTickCount)>()());
    const platform::ImportPatch moved = std::move(patch);
    EXPECT_EQ(4711u, AskTicks()) << "moving the owner must not end it";
  }
  EXPECT_NE(4711u, AskTicks());
  EXPECT_FALSE(platform::ReplaceImport(self, "kernel32.dll", "NoSuchFunction", nullptr));
  EXPECT_FALSE(platform::ReplaceImport(self, "nosuch.dll", "GetTickCount", nullptr));
}

// As much of a loaded module as has a delay-load table; the linker here makes none that its directory names.
struct DelayingModule {
  IMAGE_DOS_HEADER dos{};
  IMAGE_NT_HEADERS64 headers{};
  IMAGE_DELAYLOAD_DESCRIPTOR table[2]{};
  char dll[16] = "version.dll";
  IMAGE_THUNK_DATA64 names[3]{};
  IMAGE_THUNK_DATA64 addresses[3]{};
  struct {
    WORD hint = 0;
    char name[22] = "VerLanguageNameW";
  } import;

  DelayingModule() {
    dos.e_lfanew = static_cast<LONG>(Offset(&headers));
    headers.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_DELAY_IMPORT] = {Offset(table), sizeof table};
    table[0].DllNameRVA = Offset(dll);
    table[0].ImportNameTableRVA = Offset(names);
    table[0].ImportAddressTableRVA = Offset(addresses);
    names[0].u1.Ordinal = IMAGE_ORDINAL_FLAG64 | 7;
    names[1].u1.AddressOfData = Offset(&import);
    addresses[1].u1.Function = kLoaderStub;
  }
  DWORD Offset(const void* member) const {
    return static_cast<DWORD>(static_cast<const BYTE*>(member) - reinterpret_cast<const BYTE*>(this));
  }
  static constexpr ULONGLONG kLoaderStub = 0x1234;
};

TEST(ImportPatch, ADelayedImportsPreviousFunctionIsTheOneBehindTheLoadersStub) {
  DelayingModule module;
  const auto replacement = reinterpret_cast<ULONGLONG>(&FixedTicks);
  {
    const auto patch = platform::ReplaceImport(reinterpret_cast<HMODULE>(&module), "VERSION.dll", "VerLanguageNameW",
                                               reinterpret_cast<void*>(replacement));
    ASSERT_TRUE(patch);
    EXPECT_EQ(replacement, module.addresses[1].u1.Function);
    EXPECT_EQ(0u, module.addresses[0].u1.Function) << "an import by number has no name to match";
    wchar_t name[64];
    EXPECT_NE(0u, patch.Previous<decltype(&VerLanguageNameW)>()(0x409, name, std::size(name)));
  }
  EXPECT_EQ(DelayingModule::kLoaderStub, module.addresses[1].u1.Function);
}

}  // namespace
}  // namespace tests
