// What is put in place of the platform's missing calls must itself keep their contract, or it would fool every test.
#include <winspool.h>

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
  constexpr wchar_t kNames[] = L"258\0"
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

DWORD WINAPI FixedTicks() { return 4711; }
DWORD WINAPI FixedLanguage(DWORD, LPWSTR, DWORD) { return 4712; }

TEST(ImportPatch, ReplacesAndRestoresAnOrdinaryImport) {
  const HMODULE self = GetModuleHandleW(nullptr);
  {
    auto patch = platform::ReplaceImport(self, "KERNEL32.dll", "GetTickCount", reinterpret_cast<void*>(&FixedTicks));
    ASSERT_TRUE(patch);
    EXPECT_EQ(4711u, GetTickCount());
    EXPECT_NE(4711u, patch.Previous<decltype(&GetTickCount)>()());
    const platform::ImportPatch moved = std::move(patch);
    EXPECT_EQ(4711u, GetTickCount()) << "moving the owner must not end it";
  }
  EXPECT_NE(4711u, GetTickCount());
  EXPECT_FALSE(platform::ReplaceImport(self, "kernel32.dll", "NoSuchFunction", nullptr));
  EXPECT_FALSE(platform::ReplaceImport(self, "nosuch.dll", "GetTickCount", nullptr));
}

TEST(ImportPatch, ReplacesADelayedImportBeforeAndAfterItsFirstUse) {
  const HMODULE self = GetModuleHandleW(nullptr);
  wchar_t name[64];
  for (const char* when : {"unused", "used"}) {
    SCOPED_TRACE(when);
    {
      const auto patch =
          platform::ReplaceImport(self, "version.dll", "VerLanguageNameW", reinterpret_cast<void*>(&FixedLanguage));
      ASSERT_TRUE(patch);
      // The function behind the patch is called without undoing it.
      const DWORD length = patch.Previous<decltype(&VerLanguageNameW)>()(0x409, name, std::size(name));
      EXPECT_EQ(wcslen(name), length);
      EXPECT_EQ(4712u, VerLanguageNameW(0x409, name, std::size(name)));
    }
    EXPECT_NE(4712u, VerLanguageNameW(0x409, name, std::size(name)));
  }
}

}  // namespace
}  // namespace tests
