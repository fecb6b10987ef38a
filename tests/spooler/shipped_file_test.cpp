// The module's file: what it exports, what it needs, how it may be loaded, what it says of itself.
#include <set>

#include "spooler_fixture.h"

namespace tests {
namespace {

// The file mapped as an image, without running or resolving anything of it.
struct Image {
  Image() : module(LoadLibraryExW(ModulePath().c_str(), nullptr, DONT_RESOLVE_DLL_REFERENCES)) {}
  ~Image() { FreeLibrary(module); }

  template <class T>
  const T* At(DWORD offset) const {
    return reinterpret_cast<const T*>(reinterpret_cast<const BYTE*>(module) + offset);
  }
  const IMAGE_NT_HEADERS64& Headers() const {
    return *At<IMAGE_NT_HEADERS64>(static_cast<DWORD>(At<IMAGE_DOS_HEADER>(0)->e_lfanew));
  }
  const IMAGE_DATA_DIRECTORY& Directory(unsigned index) const { return Headers().OptionalHeader.DataDirectory[index]; }

  HMODULE module;
};

TEST(ShippedFile, ExportsExactlyTheEntryPoints) {
  const Image image;
  ASSERT_TRUE(image.module);
  const auto& exports = *image.At<IMAGE_EXPORT_DIRECTORY>(image.Directory(IMAGE_DIRECTORY_ENTRY_EXPORT).VirtualAddress);
  std::set<std::string> names;
  for (DWORD i = 0; i < exports.NumberOfNames; ++i) {
    names.insert(image.At<char>(image.At<DWORD>(exports.AddressOfNames)[i]));
  }
  const std::set<std::string> expected{"DevQueryPrintEx",     "DrvConvertDevMode",         "DrvDeviceCapabilities",
                                       "DrvDocumentEvent",    "DrvDevicePropertySheets",   "DrvDocumentPropertySheets",
                                       "DrvDriverEvent",      "DrvPrinterEvent",           "DrvQueryColorProfile"};
  EXPECT_EQ(expected, names);
  EXPECT_EQ(expected.size(), exports.NumberOfFunctions) << "something is exported without a name";
}

TEST(ShippedFile, NeedsOnlyWhatEveryWindowsHas) {
  const Image image;
  ASSERT_TRUE(image.module);
  static const std::set<std::string> kWindowsHas{
      "advapi32.dll", "comctl32.dll", "comdlg32.dll", "gdi32.dll",   "kernel32.dll", "mscms.dll",   "msvcrt.dll",
      "ole32.dll",    "shell32.dll",  "shlwapi.dll",  "spoolss.dll", "user32.dll",   "version.dll", "winspool.drv"};
  const auto* entry = image.At<IMAGE_IMPORT_DESCRIPTOR>(image.Directory(IMAGE_DIRECTORY_ENTRY_IMPORT).VirtualAddress);
  for (; entry->Name; ++entry) {
    std::string name = image.At<char>(entry->Name);
    for (char& c : name) c = static_cast<char>(tolower(c));
    EXPECT_TRUE(kWindowsHas.contains(name)) << name;
  }
}

TEST(ShippedFile, MayBeLoadedAnywhereAndRunsNoData) {
  const Image image;
  ASSERT_TRUE(image.module);
  EXPECT_EQ(IMAGE_FILE_MACHINE_AMD64, image.Headers().FileHeader.Machine);
  EXPECT_NE(0u, image.Directory(IMAGE_DIRECTORY_ENTRY_BASERELOC).Size) << "nothing to relocate it by";
  constexpr WORD kHighEntropy = 0x20;
  constexpr WORD kExpected = kHighEntropy | IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE | IMAGE_DLLCHARACTERISTICS_NX_COMPAT;
  EXPECT_EQ(kExpected, image.Headers().OptionalHeader.DllCharacteristics & kExpected);
}

TEST(ShippedFile, CarriesItsVersions) {
  const Image image;
  ASSERT_TRUE(image.module);
  const HRSRC place = FindResourceW(image.module, MAKEINTRESOURCEW(VS_VERSION_INFO), MAKEINTRESOURCEW(16));
  ASSERT_TRUE(place);
  // The fixed part follows the block's head: three words and its aligned key.
  const auto* block = static_cast<const BYTE*>(LockResource(LoadResource(image.module, place)));
  const auto& fixed = *reinterpret_cast<const VS_FIXEDFILEINFO*>(block + 40);
  ASSERT_EQ(0xFEEF04BD, fixed.dwSignature);
  EXPECT_EQ(MAKELONG(3, 0), static_cast<LONG>(fixed.dwFileVersionMS));
  EXPECT_EQ(MAKELONG(0, 1), static_cast<LONG>(fixed.dwFileVersionLS));
  EXPECT_EQ(MAKELONG(0, 1), static_cast<LONG>(fixed.dwProductVersionMS));
  EXPECT_EQ(0u, fixed.dwProductVersionLS);
}

}  // namespace
}  // namespace tests
