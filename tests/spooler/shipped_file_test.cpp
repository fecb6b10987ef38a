// The module's file: what it exports, what it needs, how it may be loaded, what it says of itself.
#include <set>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "import_patch.h"
#include "spooler_fixture.h"

namespace tests {
namespace {

using Names = std::set<std::string>;

// The file mapped as an image, without running or resolving anything of it.
class ShippedFile : public testing::Test {
 protected:
  ~ShippedFile() override { FreeLibrary(module_); }

  template <class T>
  const T& At(DWORD offset) const {
    return *reinterpret_cast<const T*>(reinterpret_cast<const BYTE*>(module_) + offset);
  }
  const IMAGE_DATA_DIRECTORY& Directory(unsigned index) const { return headers_.OptionalHeader.DataDirectory[index]; }

  const HMODULE module_ = LoadLibraryExW(ModulePath().c_str(), nullptr, DONT_RESOLVE_DLL_REFERENCES);
  const IMAGE_NT_HEADERS64& headers_ = At<IMAGE_NT_HEADERS64>(static_cast<DWORD>(At<IMAGE_DOS_HEADER>(0).e_lfanew));
};

TEST_F(ShippedFile, ExportsTheEntryPointsAndNeedsWhatEveryProgramThatPrintsHasLoaded) {
  const auto& exports = At<IMAGE_EXPORT_DIRECTORY>(Directory(IMAGE_DIRECTORY_ENTRY_EXPORT).VirtualAddress);
  Names exported, needed;
  for (DWORD i = 0; i < exports.NumberOfNames; ++i) {
    exported.insert(&At<char>((&At<DWORD>(exports.AddressOfNames))[i]));
  }
  EXPECT_EQ(exported, (Names{"DevQueryPrintEx", "DrvConvertDevMode", "DrvDeviceCapabilities", "DrvDocumentEvent",
                             "DrvDevicePropertySheets", "DrvDocumentPropertySheets", "DrvDriverEvent",
                             "DrvPrinterEvent", "DrvQueryColorProfile"}));
  EXPECT_EQ(exports.NumberOfFunctions, exported.size()) << "something is exported without a name";

  const auto* import = &At<IMAGE_IMPORT_DESCRIPTOR>(Directory(IMAGE_DIRECTORY_ENTRY_IMPORT).VirtualAddress);
  for (; import->Name; ++import) {
    std::string name = &At<char>(import->Name);
    needed.insert(_strlwr(name.data()));
  }
  EXPECT_EQ(needed, (Names{"advapi32.dll", "comctl32.dll", "gdi32.dll", "kernel32.dll", "msvcrt.dll", "ntdll.dll",
                           "user32.dll", "winspool.drv"}));
  EXPECT_EQ(Directory(IMAGE_DIRECTORY_ENTRY_DELAY_IMPORT).Size, 0u);
}

TEST_F(ShippedFile, IsHardenedAndCarriesItsVersions) {
  EXPECT_EQ(headers_.FileHeader.Machine, IMAGE_FILE_MACHINE_AMD64);
  EXPECT_NE(Directory(IMAGE_DIRECTORY_ENTRY_BASERELOC).Size, 0u) << "nothing to relocate it by";
  constexpr WORD kHighEntropy = 0x20;
  constexpr WORD kExpected = kHighEntropy | IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE | IMAGE_DLLCHARACTERISTICS_NX_COMPAT;
  EXPECT_EQ(headers_.OptionalHeader.DllCharacteristics & kExpected, kExpected);

  Names writable, running;
  const auto* const first = IMAGE_FIRST_SECTION(&headers_);
  for (const auto& section : std::span(first, headers_.FileHeader.NumberOfSections)) {
    const auto* const name = reinterpret_cast<const char*>(section.Name);
    if (section.Characteristics & IMAGE_SCN_MEM_WRITE) writable.emplace(name, strnlen(name, 8));
    if (section.Characteristics & IMAGE_SCN_MEM_EXECUTE) running.emplace(name, strnlen(name, 8));
  }
  EXPECT_EQ(running, Names{".text"});
  // Some versions of the tools make resources so, all make thread data so; nothing is called by what stands in either.
  writable.erase(".rsrc");
  EXPECT_EQ(writable, (Names{".data", ".bss", ".late", ".tls"}));

  // Functions with arrays compare the word beside their return address with the process's guard, at gs:60h, and end
  // the process when it is another one.
  const std::string_view code(&At<char>(first->VirtualAddress), first->Misc.VirtualSize);
  const auto count = [&](std::string_view pattern) {
    int found = 0;
    for (auto at = code.find(pattern); at != code.npos; at = code.find(pattern, at + 1)) ++found;
    return found;
  };
  using namespace std::string_view_literals;
  EXPECT_GT(count("\x65\x48\x2B\x04\x25\x60\0\0\0"sv) + count("\x65\x48\x2B\x0C\x25\x60\0\0\0"sv) +
                count("\x65\x48\x2B\x14\x25\x60\0\0\0"sv),
            50);
  EXPECT_GE(count("\xCD\x29"sv), 1);

  const HRSRC place = FindResourceW(module_, MAKEINTRESOURCEW(VS_VERSION_INFO), MAKEINTRESOURCEW(16));
  ASSERT_TRUE(place);
  // The fixed part follows the block's head: three words and its aligned key.
  const auto* const block = static_cast<const BYTE*>(LockResource(LoadResource(module_, place)));
  const auto& fixed = *reinterpret_cast<const VS_FIXEDFILEINFO*>(block + 40);
  EXPECT_EQ((std::vector{fixed.dwSignature, fixed.dwFileVersionMS, fixed.dwFileVersionLS, fixed.dwProductVersionMS,
                         fixed.dwProductVersionLS}),
            (std::vector<DWORD>{0xFEEF04BD, 3, 0x10000, 0x10000, 0}));
}

Names late_asked;      // the files that the module asked for, with the flags
bool late_is_missing;  // whether none is found
HMODULE WINAPI WatchedLoad(LPCSTR name, HANDLE file, DWORD flags) {
  late_asked.insert(name + (flags == LOAD_LIBRARY_SEARCH_SYSTEM32 ? std::string() : " from anywhere"));
  if (!late_is_missing) return LoadLibraryExA(name, file, flags);
  SetLastError(ERROR_MOD_NOT_FOUND);
  return nullptr;
}

// What asks for them is a second copy, so that nothing was asked before.
TEST_F(SpoolerTest, OtherFilesAreLoadedWhenTheyAreNeeded) {
  const std::wstring copy = ModulePath() + L".copy.dll";
  ASSERT_TRUE(CopyFileW(ModulePath().c_str(), copy.c_str(), FALSE));
  for (const bool missing : {true, false}) {
    SCOPED_TRACE(missing);
    late_is_missing = missing;
    const HMODULE module = LoadLibraryW(copy.c_str());
    {
      const auto patch = platform::ReplaceImport(module, "kernel32.dll", "LoadLibraryExA",
                                                 reinterpret_cast<const void*>(&WatchedLoad));
      platform::DriverEntries driver;
      ASSERT_EQ(platform::FindDriverEntries(module, driver), nullptr);
      for (const WORD capability : {DC_BINS, DC_COPIES, DC_ORIENTATION, DC_PAPERS, DC_PAPERSIZE, DC_PAPERNAMES}) {
        EXPECT_NE(driver.DeviceCapabilities(Printer(), PrinterName(), capability, nullptr, nullptr), GDI_ERROR);
      }
      r5lqz::DriverDevMode in = Defaults(), out{};
      LONG size = sizeof out;
      EXPECT_TRUE(driver.ConvertDevMode(PrinterName(), &in.dm_public, &out.dm_public, &size, CDM_CONVERT351));
      EXPECT_EQ(driver.DocumentEvent(nullptr, nullptr, DOCUMENTEVENT_STARTDOCPRE, 0, nullptr, 0, nullptr), 1);
      EXPECT_EQ(late_asked, Names{});

      DOCUMENTPROPERTYHEADER header{};
      header.hPrinter = Printer();
      header.pdmOut = &out.dm_public;
      header.fMode = DM_OUT_BUFFER;
      EXPECT_EQ(driver.DocumentPropertySheets(nullptr, reinterpret_cast<LPARAM>(&header)), 1);
      EXPECT_EQ(late_asked, Names{"mscms.dll"});
      DRIVER_INFO_1W info{PrinterName()};
      EXPECT_TRUE(driver.DriverEvent(DRIVER_EVENT_DELETE, 1, reinterpret_cast<BYTE*>(&info), 0));
      late_asked.erase("shlwapi.dll");  // which works on a path that only shell32.dll gives
      EXPECT_EQ(std::exchange(late_asked, {}), (Names{"mscms.dll", "shell32.dll"}));
      EXPECT_TRUE(driver.PrinterEvent(PrinterName(), PRINTER_EVENT_INITIALIZE, 0, 0));
      late_asked.clear();
    }
    FreeLibrary(module);
  }
  DeleteFileW(copy.c_str());
}

}  // namespace
}  // namespace tests
