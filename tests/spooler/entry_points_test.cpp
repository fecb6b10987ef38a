// The entry points besides: colour profile, document and printer events, the form, and several threads at once.
#include <windows.h>
#include <winspool.h>

#include <atomic>
#include <thread>

#include "guarded_block.h"
#include "import_patch.h"
#include "spooler_fixture.h"

namespace tests {
namespace {

using EntryPointsTest = SpoolerTest;

TEST_F(EntryPointsTest, TheColourProfileIsAFilesName) {
  constexpr wchar_t kName[] = L"sRGB Color Space Profile.icm";
  constexpr DWORD kSignature = 0x18284000;
  constexpr struct {
    const char* name;
    DWORD signature;
    ULONG mode;
    ULONG size;
    BOOL result;
    ULONG size_after;
    DWORD error;
  } kCases[] = {
      {"exact", kSignature, QCP_DEVICEPROFILE, 58, TRUE, 58, kPoisonedError},
      {"one byte more", kSignature, QCP_DEVICEPROFILE, 59, TRUE, 58, kPoisonedError},
      {"one byte short", kSignature, QCP_DEVICEPROFILE, 57, FALSE, 58, ERROR_INSUFFICIENT_BUFFER},
      {"empty", kSignature, QCP_DEVICEPROFILE, 0, FALSE, 58, ERROR_INSUFFICIENT_BUFFER},
      {"another driver's record", 0x18284001, QCP_DEVICEPROFILE, 58, FALSE, 58, kPoisonedError},
      {"another mode", kSignature, QCP_SOURCEPROFILE, 59, FALSE, 59, kPoisonedError},
  };
  for (const auto& each : kCases) {
    SCOPED_TRACE(each.name);
    r5lqz::DriverDevMode record = Defaults();
    record.dm_private.signature = each.signature;
    GuardedBlock name(each.size);
    ULONG size = each.size;
    ULONG flags = 0xA5A5A5A5;
    SetLastError(kPoisonedError);
    EXPECT_EQ(each.result,
              Driver().QueryColorProfile(Printer(), &record.dm_public, each.mode, name.data(), &size, &flags));
    EXPECT_EQ(each.error, GetLastError());
    EXPECT_EQ(each.size_after, size);
    EXPECT_EQ(each.result ? QCP_PROFILEDISK : 0xA5A5A5A5, flags);
    EXPECT_TRUE(name.Untouched(each.result ? sizeof kName : 0));
    EXPECT_EQ(each.result, each.size >= sizeof kName && !memcmp(kName, name.data(), sizeof kName));
  }
}

TEST_F(EntryPointsTest, OnlyTwoDocumentEventsAreAskedFor) {
  const auto send = [](int event, ULONG size, void* out) {
    return Driver().DocumentEvent(Printer(), nullptr, event, 0, nullptr, size, out);
  };
  for (int event = 0; event <= 20; ++event) {
    const bool taken = event == 1 || event == 5 || event == 14;
    EXPECT_EQ(taken, send(event, 0, nullptr)) << event;
  }
  constexpr std::size_t kHead = offsetof(DOCEVENT_FILTER, aDocEventCall);
  for (const UINT room : {0u, 1u, 2u, 3u}) {
    SCOPED_TRACE(room);
    const ULONG size = static_cast<ULONG>(kHead + room * sizeof(DWORD));
    GuardedBlock filter(size);
    const UINT head[] = {size, room, 77, 77};
    memcpy(filter.data(), head, sizeof head);
    EXPECT_EQ(1, send(DOCUMENTEVENT_QUERYFILTER, size, filter.data()));
    const bool fits = room >= 2;
    EXPECT_EQ(fits ? 77u : 2u, filter.Read<UINT>(offsetof(DOCEVENT_FILTER, cElementsNeeded)));
    EXPECT_EQ(fits ? 2u : 77u, filter.Read<UINT>(offsetof(DOCEVENT_FILTER, cElementsReturned)));
    if (fits) {
      EXPECT_EQ(14u, filter.Read<DWORD>(kHead));
      EXPECT_EQ(5u, filter.Read<DWORD>(kHead + sizeof(DWORD)));
    }
    EXPECT_TRUE(filter.Untouched(fits ? kHead + 2 * sizeof(DWORD) : kHead));
  }
}

DWORD ReadNumber(HANDLE printer, const wchar_t* name, DWORD& type) {
  DWORD value = 0;
  DWORD needed = 0;
  const DWORD code = GetPrinterDataW(printer, const_cast<wchar_t*>(name), &type, reinterpret_cast<BYTE*>(&value),
                                     sizeof value, &needed);
  return code ? 0xDEAD0000 + code : value;
}

DWORD WriteNumber(HANDLE printer, const wchar_t* name, DWORD type, DWORD value) {
  return SetPrinterDataW(printer, const_cast<wchar_t*>(name), type, reinterpret_cast<BYTE*>(&value), sizeof value);
}

TEST_F(EntryPointsTest, ANewPrinterBuffersItsJobsUnlessToldOtherwise) {
  constexpr wchar_t kOption[] = L"bufferPrintJob";
  DWORD type = 0;
  constexpr struct {
    const char* name;
    int event;
    DWORD stored_type;
    DWORD stored;
    DWORD type_after;
    DWORD after;
  } kCases[] = {
      {"an option of the user's is kept", PRINTER_EVENT_INITIALIZE, REG_DWORD, 0, REG_DWORD, 0},
      {"an option of another type is replaced", PRINTER_EVENT_INITIALIZE, REG_BINARY, 0, REG_DWORD, 1},
      {"another event changes nothing", PRINTER_EVENT_DELETE, REG_BINARY, 7, REG_BINARY, 7},
      {"nor does an unknown one", 99, REG_BINARY, 7, REG_BINARY, 7},
  };
  for (const auto& each : kCases) {
    SCOPED_TRACE(each.name);
    ASSERT_EQ(0u, WriteNumber(Printer(), kOption, each.stored_type, each.stored));
    EXPECT_TRUE(Driver().PrinterEvent(PrinterName(), each.event, 0, 0));
    EXPECT_EQ(each.after, ReadNumber(Printer(), kOption, type));
    EXPECT_EQ(each.type_after, type);
  }
  wchar_t nobody[] = L"no such printer";
  EXPECT_TRUE(Driver().PrinterEvent(nobody, PRINTER_EVENT_INITIALIZE, 0, 0));
}

// What the driver hands to AddFormW.
std::vector<FORM_INFO_1W> forms;
std::vector<std::string> form_names;
BOOL WINAPI CollectForm(HANDLE, DWORD level, BYTE* form) {
  EXPECT_EQ(1u, level);
  forms.push_back(*reinterpret_cast<FORM_INFO_1W*>(form));
  form_names.push_back(Narrow(forms.back().pName, 64));
  return TRUE;
}

TEST_F(EntryPointsTest, TheFormIsRegisteredOncePerPrinter) {
  constexpr wchar_t kMarker[] = L"Forms?";
  const platform::ImportPatch patch =
      platform::ReplaceImport(Module(), "winspool.drv", "AddFormW", reinterpret_cast<void*>(&CollectForm));
  ASSERT_TRUE(patch);
  r5lqz::DriverDevMode out = Defaults();
  const auto ask = [&] {
    forms.clear();
    form_names.clear();
    EXPECT_EQ(1, DocumentPropertiesW(nullptr, Printer(), PrinterName(), &out.dm_public, nullptr, DM_OUT_BUFFER));
    return forms.size();
  };
  DWORD type = 0;
  ASSERT_EQ(0u, WriteNumber(Printer(), kMarker, REG_DWORD, 0));
  EXPECT_EQ(864, DocumentPropertiesW(nullptr, Printer(), PrinterName(), nullptr, nullptr, 0));
  EXPECT_EQ(0u, ReadNumber(Printer(), kMarker, type)) << "a size query registers nothing";

  ASSERT_EQ(1u, ask());
  EXPECT_EQ("Custom", form_names[0]);
  const auto& form = forms[0];
  EXPECT_EQ(0u, form.Flags);
  EXPECT_TRUE(form.Size.cx == 0 && form.Size.cy == 0 && form.ImageableArea.right == 0 &&
              form.ImageableArea.bottom == 0);
  EXPECT_EQ(2u, ReadNumber(Printer(), kMarker, type));
  EXPECT_EQ(DWORD{REG_DWORD}, type);
  EXPECT_EQ(0u, ask());
  ASSERT_EQ(0u, WriteNumber(Printer(), kMarker, REG_DWORD, 1));
  EXPECT_EQ(0u, ask());
  EXPECT_EQ(1u, ReadNumber(Printer(), kMarker, type));
}

TEST_F(EntryPointsTest, SeveralThreadsGetTheAnswersOfOne) {
  for (int number = 258; number < 268; ++number) Store({number, "shared", "4.125", "5.000", "24", "-60", 1});
  std::atomic<int> wrong;
  const auto work = [&](int paper) {
    r5lqz::DriverDevMode in = Defaults();
    in.dm_public.dmFields = DM_PAPERSIZE;
    in.dm_public.dmPaperSize = static_cast<short>(paper);
    DEVQUERYPRINT_INFO query{sizeof query, 1, Printer(), &in.dm_public, nullptr, 0, 0};
    for (int round = 0; round < 10; ++round) {
      r5lqz::DriverDevMode out{};
      wrong += DocumentPropertiesW(nullptr, Printer(), PrinterName(), &out.dm_public, &in.dm_public,
                                   DM_IN_BUFFER | DM_OUT_BUFFER) != 1;
      wrong += out.dm_public.dmPaperSize != paper || strcmp(out.dm_private.labelName, "shared") != 0 ||
               out.dm_private.horzOffset != -60;
      WORD numbers[10]{};
      wrong += Driver().DeviceCapabilities(Printer(), PrinterName(), DC_PAPERS, numbers, nullptr) != 10;
      wrong += numbers[9] != 267;
      wrong += Driver().QueryPrintEx(&query) != TRUE;
      Driver().DocumentEvent(Printer(), nullptr, DOCUMENTEVENT_STARTDOCPRE, 0, nullptr, 0, nullptr);
    }
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) threads.emplace_back(work, 258 + i);
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(0, wrong);
}

}  // namespace
}  // namespace tests
