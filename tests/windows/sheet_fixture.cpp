#include "sheet_fixture.h"

#include <malloc.h>

#include <algorithm>
#include <utility>

namespace tests {
namespace {

// Wine waits two seconds for a window manager to say that a window is gone, and a bare display has none: this program's
// windows are not to be managed. Read before this runs, so it holds from the next run on: listing the tests is one.
const bool unmanaged = [] {
  wchar_t path[MAX_PATH];
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  const std::wstring key = std::wstring(L"Software\\Wine\\AppDefaults") + wcsrchr(path, L'\\') + L"\\X11 Driver";
  return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") &&
         !RegSetKeyValueW(HKEY_CURRENT_USER, key.c_str(), L"Managed", REG_SZ, L"N", sizeof L"N");
}();

Watch* watching = nullptr;

using Lock = std::lock_guard<std::recursive_mutex>;

std::string NarrowText(const std::wstring& text) {
  return Narrow(text.c_str(), text.size());
}

// A page's first procedure: counts that the page really came to be, and leaves everything to the module's own.
INT_PTR CALLBACK CountDialog(HWND dialog, UINT message, WPARAM w_param, LPARAM l_param) {
  if (message != WM_INITDIALOG) return FALSE;
  const UINT id = LOWORD(reinterpret_cast<const PROPSHEETPAGEW*>(l_param)->pszTemplate);
  const Lock lock(watching->guard);
  ++watching->shown[id];
  SetWindowLongPtrW(dialog, DWLP_DLGPROC, reinterpret_cast<LONG_PTR>(watching->procedures[id]));
  return watching->procedures[id](dialog, message, w_param, l_param);
}

HPROPSHEETPAGE WINAPI MakePage(LPCPROPSHEETPAGEW page) {
  const Lock lock(watching->guard);
  watching->pages.push_back(*page);
  if (watching->pages.size() == watching->failing_page) return nullptr;
  PROPSHEETPAGEW counted = *page;
  counted.dwSize = sizeof counted;
  watching->procedures[LOWORD(page->pszTemplate)] = std::exchange(counted.pfnDlgProc, CountDialog);
  return CreatePropertySheetPageW(&counted);
}

int WINAPI TakeBox(HWND owner, LPCWSTR text, LPCWSTR caption, UINT type) {
  watching->boxes.push_back({owner, NarrowText(caption) + ": " + NarrowText(text), type});
  watching->while_open(owner);
  return IDOK;
}

BOOL WINAPI GiveProfiles(PCWSTR, PENUMTYPEW, PBYTE buffer, PDWORD size, PDWORD count) {
  std::wstring list;
  for (const auto& name : watching->profiles) list += name + L'\0';
  list += L'\0';
  const auto needed = static_cast<DWORD>(list.size() * sizeof(wchar_t));
  *count = static_cast<DWORD>(watching->profiles.size());
  if (std::exchange(*size, needed) < needed) return SetLastError(ERROR_INSUFFICIENT_BUFFER), FALSE;
  memcpy(buffer, list.data(), needed);
  return TRUE;
}

DWORD WINAPI Write(HANDLE printer, LPWSTR name, DWORD type, LPBYTE data, DWORD size) {
  watching->written.push_back(NarrowText(name));
  return watching->write_answer ? watching->write_answer : SetPrinterDataW(printer, name, type, data, size);
}

void* __cdecl Allocate(std::size_t count, std::size_t size) {
  const Lock lock(watching->guard);
  return *watching->blocks.insert(calloc(count, size)).first;
}

void __cdecl Release(void* block) {
  if (!block) return;
  const Lock lock(watching->guard);
  if (!watching->blocks.erase(block)) {
    ++watching->strange_releases;
    return;
  }
  memset(block, 0xDD, _msize(block));
  watching->released.push_back(block);
}

}  // namespace

std::wstring WideText(const std::string& text) {
  wchar_t wide[512];
  return {wide, static_cast<std::size_t>(MultiByteToWideChar(CP_ACP, 0, text.data(), static_cast<int>(text.size()),
                                                             wide, static_cast<int>(std::size(wide))))};
}

Texts SheetUser::Titles() const {
  Texts titles;
  for (int tab = 0; tab < user::TabCount(sheet_); ++tab) titles.push_back(NarrowText(user::TabTitle(sheet_, tab)));
  return titles;
}

bool SheetUser::Open(const std::string& title) const {
  const Texts titles = Titles();
  return user::SelectTab(sheet_, static_cast<int>(std::ranges::find(titles, title) - titles.begin())) != nullptr;
}

HWND SheetUser::Tab() const {
  const auto tab = reinterpret_cast<HWND>(SendMessageW(sheet_, PSM_GETCURRENTPAGEHWND, 0, 0));
  return tab ? tab : sheet_;
}

HWND SheetUser::Control(int id) const {
  const HWND control = GetDlgItem(Tab(), id);
  EXPECT_TRUE(control) << "the tab has no control " << id;
  return control;
}

std::string SheetUser::Text(int id) const {
  return NarrowText(user::TextOf(Control(id)));
}

void SheetUser::Choose(int id, const std::string& entry) const {
  EXPECT_TRUE(user::ChooseEntry(Tab(), id, WideText(entry))) << entry;
}

void SheetUser::Type(int id, const char* text) const {
  Send(id, EM_SETSEL, 0, -1);
  SendMessageA(GetDlgItem(Tab(), id), EM_REPLACESEL, TRUE, reinterpret_cast<LPARAM>(text));
}

void SheetUser::Press(int button) const {
  const bool closes = button == PSBTN_OK || button == PSBTN_CANCEL;
  if (closes) PostMessageW(sheet_, PSM_PRESSBUTTON, static_cast<WPARAM>(button), 0);
  if (!closes) SendMessageW(sheet_, PSM_PRESSBUTTON, static_cast<WPARAM>(button), 0);
}

Watch::Watch(HMODULE watched) : module(watched) {
  watching = this;
  Replace("comctl32.dll", "CreatePropertySheetPageW", &MakePage);
  Replace("user32.dll", "MessageBoxW", &TakeBox);
  Replace("mscms.dll", "EnumColorProfilesW", &GiveProfiles);
  Replace("winspool.drv", "SetPrinterDataW", &Write);
  // New blocks hold no zeros by chance.
  Replace("msvcrt.dll", "malloc", +[](std::size_t size) { return memset(Allocate(1, size), 0xCD, size); });
  Replace("msvcrt.dll", "calloc", &Allocate);
  Replace("msvcrt.dll", "free", &Release);
}

Watch::~Watch() {
  while (!patches.empty()) patches.pop_back();
  for (void* block : released) free(block);
}

platform::SheetOutcome ShowSheet(platform::SheetEntry entry, void* header, const Steps& steps, int button) {
  auto outcome = platform::ShowSheet({entry, header, nullptr, true, [&](HWND sheet) {
                                        SheetUser user(sheet);
                                        steps(user);
                                        user.Press(button);
                                        if (user::WaitUntil([&] { return !IsWindow(sheet); })) return;
                                        ADD_FAILURE() << "the sheet did not close";
                                        user.Press(PSBTN_CANCEL);
                                      }});
  EXPECT_TRUE(outcome.opened == 1 && outcome.shown) << "without a display no sheet is tested";
  return outcome;
}

// Where the platform does not count GDI objects they are looked up in the table that it shares with every process; its
// address stands in the process environment block.
std::size_t GdiObjects() {
  if (const DWORD counted = GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS)) return counted;
  constexpr std::size_t kEntries = 0x10000, kEntrySize = 24, kTypeOffset = 14;
  const HMODULE base = GetModuleHandleW(L"ntdll.dll");
  const auto find_block =
      reinterpret_cast<const BYTE*(WINAPI*)()>(reinterpret_cast<void*>(GetProcAddress(base, "RtlGetCurrentPeb")));
  const BYTE* const table = *reinterpret_cast<const BYTE* const*>(find_block() + 0xF8);
  std::size_t count = 0;
  for (std::size_t i = 0; i < kEntries; ++i) count += table[i * kEntrySize + kTypeOffset] != 0;
  return count;
}

std::string SheetTest::ModuleText(int id) {
  wchar_t text[256] = L"";
  LoadStringW(Module(), static_cast<UINT>(id), text, std::size(text));
  return NarrowText(text);
}

void SheetTest::SetUp() {
  SpoolerTest::SetUp();
  if (HasFatalFailure()) return;
  document_entry = EntryOf(Module(), "DrvDocumentPropertySheets");
  device_entry = EntryOf(Module(), "DrvDevicePropertySheets");
  device = {sizeof device, 0, Printer(), PrinterName()};
  watch = std::make_unique<Watch>(Module());
  settled = Edit(Defaults(), [](SheetUser& user) { EXPECT_TRUE(user.Open(ModuleText(IDS_TAB_COLOR))); });
  watch->shown.clear();
  heaps = GetProcessHeaps(0, nullptr);
}

void SheetTest::TearDown() {
  if (!watch) return;
  EXPECT_EQ(watch->blocks.size(), 0u);
  EXPECT_EQ(watch->strange_releases, 0);
  EXPECT_EQ(GetProcessHeaps(0, nullptr), heaps);
}

platform::SheetEntry SheetTest::EntryOf(HMODULE module, const char* name) {
  return reinterpret_cast<platform::SheetEntry>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

DOCUMENTPROPERTYHEADER SheetTest::Header(const void* in, void* out, DWORD mode) {
  auto* const shape = static_cast<DEVMODEW*>(const_cast<void*>(in));
  return {sizeof(DOCUMENTPROPERTYHEADER), 0, Printer(), PrinterName(), shape, static_cast<DEVMODEW*>(out), 0, mode};
}

DriverDevMode SheetTest::Edit(const DriverDevMode& in, const Steps& steps) {
  DriverDevMode out{};
  auto header = Header(&in, &out);
  const auto entry = EntryOf(Module(), "DrvDocumentPropertySheets");
  EXPECT_EQ(ShowSheet(entry, &header, steps, PSBTN_OK).result, ULONG_PTR{CPSUI_OK});
  // Whatever the tabs did: what is padding in the private part (bytes 90 and 102 of it) stays zero.
  const auto* const bytes = reinterpret_cast<const BYTE*>(&out.dm_private);
  for (const int at : {90, 91, 102, 103}) EXPECT_EQ(bytes[at], 0) << "padding " << at;
  return out;
}

std::vector<LPARAM> SheetTest::Reported(LPARAM result) const {
  std::vector<LPARAM> results;
  for (const auto& [id, times] : watch->shown) {
    if (id != IDD_ABOUT_TAB) results.insert(results.end(), static_cast<std::size_t>(times), result);
  }
  return results;
}

}  // namespace tests
