// The module's file: what it exports, what it needs, how it may be loaded, what it says of itself.
#include <set>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "driver_entries.h"
#include "import_patch.h"
#include "spooler_fixture.h"

namespace tests {
namespace {

using Lines = std::vector<std::string>;
using Names = std::set<std::string>;
using r5lqz::DriverDevMode;

// The file mapped as an image, without running or resolving anything of it.
class ShippedFile : public testing::Test {
 protected:
  void SetUp() override {
    module_ = LoadLibraryExW(ModulePath().c_str(), nullptr, DONT_RESOLVE_DLL_REFERENCES);
    ASSERT_TRUE(module_);
  }
  void TearDown() override { FreeLibrary(module_); }

  template <class T>
  const T* At(DWORD offset) const {
    return reinterpret_cast<const T*>(reinterpret_cast<const BYTE*>(module_) + offset);
  }
  const IMAGE_NT_HEADERS64& Headers() const {
    return *At<IMAGE_NT_HEADERS64>(static_cast<DWORD>(At<IMAGE_DOS_HEADER>(0)->e_lfanew));
  }
  const IMAGE_DATA_DIRECTORY& Directory(unsigned index) const { return Headers().OptionalHeader.DataDirectory[index]; }

  HMODULE module_ = nullptr;
};

TEST_F(ShippedFile, ExportsExactlyTheEntryPoints) {
  const auto& exports = *At<IMAGE_EXPORT_DIRECTORY>(Directory(IMAGE_DIRECTORY_ENTRY_EXPORT).VirtualAddress);
  Names names;
  for (DWORD i = 0; i < exports.NumberOfNames; ++i) {
    names.insert(At<char>(At<DWORD>(exports.AddressOfNames)[i]));
  }
  const Names expected{"DevQueryPrintEx",  "DrvConvertDevMode",       "DrvDeviceCapabilities",
                       "DrvDocumentEvent", "DrvDevicePropertySheets", "DrvDocumentPropertySheets",
                       "DrvDriverEvent",   "DrvPrinterEvent",         "DrvQueryColorProfile"};
  EXPECT_EQ(names, expected);
  EXPECT_EQ(exports.NumberOfFunctions, expected.size()) << "something is exported without a name";
}

// Each of these a program that prints has loaded anyway.
TEST_F(ShippedFile, NeedsNoOtherFiles) {
  const Names expected{"advapi32.dll", "comctl32.dll", "gdi32.dll",  "kernel32.dll",
                       "msvcrt.dll",   "ntdll.dll",    "user32.dll", "winspool.drv"};
  Names needed;
  const auto* entry = At<IMAGE_IMPORT_DESCRIPTOR>(Directory(IMAGE_DIRECTORY_ENTRY_IMPORT).VirtualAddress);
  for (; entry->Name; ++entry) {
    std::string name = At<char>(entry->Name);
    for (char& c : name) c = static_cast<char>(tolower(c));
    needed.insert(name);
  }
  EXPECT_EQ(needed, expected);
  EXPECT_EQ(Directory(IMAGE_DIRECTORY_ENTRY_DELAY_IMPORT).Size, 0u);
}

TEST_F(ShippedFile, MayBeLoadedAnywhereAndRunsNoData) {
  EXPECT_EQ(Headers().FileHeader.Machine, IMAGE_FILE_MACHINE_AMD64);
  EXPECT_NE(Directory(IMAGE_DIRECTORY_ENTRY_BASERELOC).Size, 0u) << "nothing to relocate it by";
  constexpr WORD kHighEntropy = 0x20;
  constexpr WORD kExpected = kHighEntropy | IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE | IMAGE_DLLCHARACTERISTICS_NX_COMPAT;
  EXPECT_EQ(Headers().OptionalHeader.DllCharacteristics & kExpected, kExpected);
}

TEST_F(ShippedFile, CanBeWrittenOnlyWhereItsDataAre) {
  Names writable;
  const auto* const first = IMAGE_FIRST_SECTION(&Headers());
  for (const auto& section : std::span(first, Headers().FileHeader.NumberOfSections)) {
    const std::string name(reinterpret_cast<const char*>(section.Name),
                           strnlen(reinterpret_cast<const char*>(section.Name), 8));
    const bool runs = section.Characteristics & IMAGE_SCN_MEM_EXECUTE;
    EXPECT_EQ(runs, name == ".text") << name;
    if (section.Characteristics & IMAGE_SCN_MEM_WRITE) writable.insert(name);
    EXPECT_FALSE(runs && writable.contains(name));
  }
  // Some versions of the tools make resources so, all make thread data so; nothing is called by what stands in either.
  writable.erase(".rsrc");
  EXPECT_EQ(writable, (Names{".data", ".bss", ".late", ".tls"}));
}

// Functions with arrays compare the word beside their return address with the process's guard, at gs:60h, and end the
// process when it is another one.
TEST_F(ShippedFile, ChecksItsStack) {
  const auto& code = *IMAGE_FIRST_SECTION(&Headers());
  const std::string bytes(At<char>(code.VirtualAddress), code.Misc.VirtualSize);
  const auto count = [&](std::string_view pattern) {
    std::size_t found = 0;
    for (auto at = bytes.find(pattern); at != std::string::npos; at = bytes.find(pattern, at + 1)) ++found;
    return found;
  };
  using namespace std::string_view_literals;
  const std::size_t compared = count("\x65\x48\x2B\x04\x25\x60\0\0\0"sv) + count("\x65\x48\x2B\x0C\x25\x60\0\0\0"sv) +
                               count("\x65\x48\x2B\x14\x25\x60\0\0\0"sv);
  EXPECT_GT(compared, 50u);
  EXPECT_GE(count("\xCD\x29"sv), 1u);
}

TEST_F(ShippedFile, CarriesItsVersions) {
  const HRSRC place = FindResourceW(module_, MAKEINTRESOURCEW(VS_VERSION_INFO), MAKEINTRESOURCEW(16));
  ASSERT_TRUE(place);
  // The fixed part follows the block's head: three words and its aligned key.
  const auto* block = static_cast<const BYTE*>(LockResource(LoadResource(module_, place)));
  const auto& fixed = *reinterpret_cast<const VS_FIXEDFILEINFO*>(block + 40);
  ASSERT_EQ(fixed.dwSignature, 0xFEEF04BD);
  EXPECT_EQ(static_cast<LONG>(fixed.dwFileVersionMS), MAKELONG(3, 0));
  EXPECT_EQ(static_cast<LONG>(fixed.dwFileVersionLS), MAKELONG(0, 1));
  EXPECT_EQ(static_cast<LONG>(fixed.dwProductVersionMS), MAKELONG(0, 1));
  EXPECT_EQ(fixed.dwProductVersionLS, 0u);
}

Lines late_asked;      // the files that the module asked for, with the flags
bool late_is_missing;  // whether none is found
HMODULE WINAPI WatchedLoad(LPCSTR name, HANDLE file, DWORD flags) {
  late_asked.push_back(name + (flags == LOAD_LIBRARY_SEARCH_SYSTEM32 ? std::string() : " from anywhere"));
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
    late_asked.clear();
    const HMODULE module = LoadLibraryW(copy.c_str());
    ASSERT_TRUE(module);
    {
      const auto patch = platform::ReplaceImport(module, "kernel32.dll", "LoadLibraryExA",
                                                 reinterpret_cast<const void*>(&WatchedLoad));
      platform::DriverEntries driver;
      ASSERT_EQ(platform::FindDriverEntries(module, driver), nullptr);
      for (const WORD capability : {DC_BINS, DC_COPIES, DC_ORIENTATION, DC_PAPERS, DC_PAPERSIZE, DC_PAPERNAMES}) {
        EXPECT_NE(driver.DeviceCapabilities(Printer(), PrinterName(), capability, nullptr, nullptr), GDI_ERROR);
      }
      DriverDevMode in = Defaults(), out{};
      LONG size = sizeof out;
      EXPECT_TRUE(driver.ConvertDevMode(PrinterName(), &in.dm_public, &out.dm_public, &size, CDM_CONVERT351));
      EXPECT_EQ(driver.DocumentEvent(nullptr, nullptr, DOCUMENTEVENT_STARTDOCPRE, 0, nullptr, 0, nullptr), 1);
      EXPECT_EQ(late_asked, Lines{});

      DOCUMENTPROPERTYHEADER header{};
      header.hPrinter = Printer();
      header.pdmOut = &out.dm_public;
      header.fMode = DM_OUT_BUFFER;
      EXPECT_EQ(driver.DocumentPropertySheets(nullptr, reinterpret_cast<LPARAM>(&header)), 1);
      EXPECT_EQ(std::exchange(late_asked, {}), Lines{"mscms.dll"});
      DRIVER_INFO_1W info{PrinterName()};
      EXPECT_TRUE(driver.DriverEvent(DRIVER_EVENT_DELETE, 1, reinterpret_cast<BYTE*>(&info), 0));
      const std::set<std::string> asked(late_asked.begin(), late_asked.end());
      EXPECT_EQ(asked,
                missing ? Names({"mscms.dll", "shell32.dll"}) : Names({"mscms.dll", "shell32.dll", "shlwapi.dll"}));
      late_asked.clear();
      EXPECT_TRUE(driver.PrinterEvent(PrinterName(), PRINTER_EVENT_INITIALIZE, 0, 0));
    }
    FreeLibrary(module);
  }
  DeleteFileW(copy.c_str());
}

}  // namespace
}  // namespace tests
