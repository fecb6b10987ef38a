#include "sheet_fixture.h"

#include <malloc.h>

namespace tests {
namespace {

Watch* watching = nullptr;

using Lock = std::lock_guard<std::mutex>;

// The title of messages as it reads in another language.
constexpr wchar_t kForeignTitle[] = L"Fehler";

int WINAPI LoadForeign(HINSTANCE module, UINT id, LPWSTR text, int size) {
  if (id != IDS_ERROR) return LoadStringW(module, id, text, size);
  return swprintf(text, static_cast<std::size_t>(size), kForeignTitle);
}

int WINAPI TakeBox(HWND owner, LPCWSTR text, LPCWSTR title, UINT type) {
  EXPECT_TRUE(IsWindow(owner) && type == MB_ICONERROR);
  std::string& said = watching->said;
  said +=
      (said.empty() ? "" : "; ") + (wcscmp(title, kForeignTitle) ? NarrowText(title) + ": " : "") + NarrowText(text);
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

void* Hold(void* block) {
  return *watching->blocks.insert(block).first;
}

void __cdecl Release(void* block) {
  if (!block) return;
  const Lock lock(watching->guard);
  EXPECT_EQ(watching->blocks.erase(block), 1u) << "released twice, or somebody else's";
  memset(block, 0xDD, _msize(block));
  watching->released.push_back(block);
}

}  // namespace

std::string NarrowText(const std::wstring& text) {
  return Narrow(text.c_str(), text.size());
}

std::wstring WideText(const std::string& text) {
  std::wstring wide(text.size(), L'\0');
  const int size = static_cast<int>(text.size());
  wide.resize(static_cast<std::size_t>(MultiByteToWideChar(CP_ACP, 0, text.data(), size, wide.data(), size)));
  return wide;
}

HWND SheetUser::Tab() const {
  const auto tab = reinterpret_cast<HWND>(SendMessageW(sheet, PSM_GETCURRENTPAGEHWND, 0, 0));
  return tab ? tab : sheet;
}

LRESULT SheetUser::Send(int id, UINT message, WPARAM first, LPARAM second) const {
  const HWND control = GetDlgItem(Tab(), id);
  EXPECT_TRUE(control) << "the tab has no control " << id;
  return SendMessageW(control, message, first, second);
}

LRESULT SheetUser::Notify(UINT code) const {
  const NMHDR notification{nullptr, 0, code};
  return SendMessageW(Tab(), WM_NOTIFY, 0, reinterpret_cast<LPARAM>(&notification));
}

Watch::Watch(HMODULE watched) : module(watched) {
  watching = this;
  Replace("user32.dll", "LoadStringW", &LoadForeign);
  Replace("user32.dll", "MessageBoxW", &TakeBox);
  Replace("mscms.dll", "EnumColorProfilesW", &GiveProfiles);
  // New blocks hold no zeros by chance.
  Replace(
      "msvcrt.dll", "malloc", +[](std::size_t size) {
        const Lock lock(watching->guard);
        return memset(Hold(malloc(size)), 0xCD, size);
      });
  Replace(
      "msvcrt.dll", "calloc", +[](std::size_t count, std::size_t size) {
        const Lock lock(watching->guard);
        return Hold(calloc(count, size));
      });
  Replace(
      "msvcrt.dll", "realloc", +[](void* block, std::size_t size) {
        const Lock lock(watching->guard);
        watching->blocks.erase(block);
        return Hold(realloc(block, size));
      });
  Replace("msvcrt.dll", "free", &Release);
}

Watch::~Watch() {
  while (!patches.empty()) patches.pop_back();
  for (void* block : released) free(block);
}

platform::SheetOutcome ShowSheet(platform::SheetEntry entry, void* header, const Steps& steps, int button) {
  auto outcome = platform::ShowSheet({entry, header, nullptr, true, [&](HWND sheet) {
                                        SheetUser user{sheet};
                                        user::WaitUntilShown(sheet);
                                        steps(user);
                                        user::CloseSheet(sheet, button);
                                      }});
  EXPECT_TRUE(outcome.opened == 1 && outcome.shown) << "without a display no sheet is tested";
  return outcome;
}

void SheetTest::SetUp() {
  SpoolerTest::SetUp();
  if (HasFatalFailure()) return;
  device = {sizeof device, 0, Printer(), PrinterName()};
  watch = std::make_unique<Watch>(Module());
  settled = Edit(Defaults(), [](SheetUser& user) { EXPECT_TRUE(user.Open(kColorTab)); });
  heaps = GetProcessHeaps(0, nullptr);
}

void SheetTest::TearDown() {
  if (!watch) return;
  EXPECT_EQ(watch->blocks.size(), 0u);
  EXPECT_EQ(GetProcessHeaps(0, nullptr), heaps);
}

DOCUMENTPROPERTYHEADER SheetTest::Header(const void* in, void* out, DWORD mode) {
  auto* const shape = static_cast<DEVMODEW*>(const_cast<void*>(in));
  return {sizeof(DOCUMENTPROPERTYHEADER), 0, Printer(), PrinterName(), shape, static_cast<DEVMODEW*>(out), 0, mode};
}

DriverDevMode SheetTest::Edit(const DriverDevMode& in, const Steps& steps) {
  DriverDevMode out{};
  auto header = Header(&in, &out);
  EXPECT_EQ(ShowSheet(Driver().DocumentPropertySheets, &header, steps, PSBTN_OK).result, ULONG_PTR{CPSUI_OK});
  // Whatever the tabs did: what is padding in the private part stays zero.
  const auto* const bytes = reinterpret_cast<const BYTE*>(&out.dm_private);
  for (const int at : {90, 91, 102, 103}) EXPECT_EQ(bytes[at], 0) << "padding " << at;
  return out;
}

}  // namespace tests
