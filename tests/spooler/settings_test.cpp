// Settings records: what DocumentPropertiesW and the conversion entry point give an application, to the byte.
#include <windows.h>
#include <winspool.h>

#include <functional>

#include "guarded_block.h"
#include "spooler_fixture.h"

namespace tests {
namespace {

using r5lqz::DriverDevMode;

struct SettingsTest : SpoolerTest {
  // The platform's call.
  static LONG Ask(DEVMODEW* out, DEVMODEW* in, DWORD mode) {
    return DocumentPropertiesW(nullptr, Printer(), PrinterName(), out, in, mode);
  }
  // What the spooler hands the driver, for records on which the platform's own road would stumble first.
  static LONG AskDriver(HANDLE printer, void* out, void* in, DWORD mode, DWORD* count = nullptr) {
    DOCUMENTPROPERTYHEADER header{
        sizeof header, 0,   printer, PrinterName(), static_cast<DEVMODEW*>(in), static_cast<DEVMODEW*>(out),
        0xA5A5A5A5,    mode};
    const LONG result = Driver().DocumentPropertySheets(nullptr, reinterpret_cast<LPARAM>(&header));
    if (count) *count = header.cbOut;
    return result;
  }
};

std::string Difference(const DriverDevMode& expected, const DriverDevMode& actual) {
  const auto* one = reinterpret_cast<const BYTE*>(&expected);
  const auto* other = reinterpret_cast<const BYTE*>(&actual);
  std::string text;
  for (std::size_t i = 0; i < sizeof expected; ++i) {
    if (one[i] != other[i]) {
      text +=
          "byte " + std::to_string(i) + " is " + std::to_string(other[i]) + ", not " + std::to_string(one[i]) + "; ";
    }
  }
  return text;
}

TEST_F(SettingsTest, SizeQueriesWriteNothing) {
  GuardedBlock out(sizeof(DriverDevMode));
  out.As<DEVMODEW>()->dmSize = 0;  // the platform looks at it
  out.As<DEVMODEW>()->dmDriverExtra = 0;
  EXPECT_EQ(864, Ask(nullptr, nullptr, 0));
  EXPECT_EQ(864, Ask(out.As<DEVMODEW>(), nullptr, 0));
  EXPECT_EQ(864, Ask(nullptr, nullptr, DM_OUT_BUFFER));
  EXPECT_TRUE(out.Untouched(offsetof(DEVMODEW, dmFields)));

  for (HANDLE printer : {Printer(), HANDLE{}}) {
    DWORD count = 0;
    EXPECT_EQ(864, AskDriver(printer, nullptr, nullptr, DM_IN_BUFFER | DM_OUT_BUFFER, &count));
    EXPECT_EQ(864u, count);
  }
  EXPECT_EQ(-1, Driver().DocumentPropertySheets(nullptr, 0));
}

TEST_F(SettingsTest, WithoutAPrinterOnlyTheSizeIsKnown) {
  GuardedBlock out(sizeof(DriverDevMode));
  DWORD count = 0;
  EXPECT_EQ(-1, AskDriver(nullptr, out.data(), nullptr, DM_OUT_BUFFER, &count));
  EXPECT_EQ(864u, count);
  EXPECT_TRUE(out.Untouched());
}

TEST_F(SettingsTest, DefaultRecordIsTheDocumentedOneToTheByte) {
  DriverDevMode expected{};
  auto& common = expected.dm_public;
  wcscpy(common.dmDeviceName, L"R5-LQZ tested driver");
  common.dmSpecVersion = common.dmDriverVersion = 0x0401;
  common.dmSize = 220;
  common.dmDriverExtra = 644;
  common.dmFields = 0x00015F03;
  common.dmOrientation = common.dmCopies = common.dmDuplex = common.dmTTOption = 1;
  common.dmPaperSize = 257;
  common.dmPaperLength = 1270;
  common.dmPaperWidth = 1048;
  common.dmDefaultSource = 15;
  common.dmPrintQuality = common.dmYResolution = 300;
  common.dmColor = 2;
  wcscpy(common.dmFormName, L"Custom");
  auto& own = expected.dm_private;
  own.signature = 0x18284000;
  own.rendIntent = own.units = 1;
  own.copies = 1;
  own.dmPaperSize = 257;
  strcpy(own.width_string, "4.125");
  strcpy(own.length_string, "5.000");

  const DriverDevMode defaults = Defaults();
  // The first of the profiles that this system has, or none.
  wcsncpy(own.colorProfile, defaults.dm_private.colorProfile, std::size(own.colorProfile) - 1);
  EXPECT_EQ("", Difference(expected, defaults));

  // Through the platform the record has been validated as well.
  common.dmFields |= DM_PAPERSIZE | DM_PAPERLENGTH | DM_PAPERWIDTH | DM_FORMNAME;
  common.dmScale = 100;
  GuardedBlock out(sizeof expected);
  EXPECT_EQ(1, Ask(out.As<DEVMODEW>(), nullptr, DM_OUT_BUFFER));
  EXPECT_EQ("", Difference(expected, out.Read<DriverDevMode>()));
  EXPECT_TRUE(out.FrontIntact());
}

TEST_F(SettingsTest, RecordsComeBackMergedAndWithinThePrintersMeans) {
  Store({258, "Address", "4", "5.000", "24", "-60", 1});
  Store({259, "A name of exactly 32 characters.", "101.6", "127.0", "x", "9999", 0});

  struct Case {
    const char* name;
    std::function<void(DEVMODEW&, r5lqz::PrivateDevMode&)> ask;
    std::function<void(DEVMODEW&, r5lqz::PrivateDevMode&)> expect;
  };
  const auto nothing = [](DEVMODEW&, r5lqz::PrivateDevMode&) {};
  const Case cases[] = {
      {"nothing asked: fields without their bit are ignored",
       [](auto& d, auto&) { d.dmFields = 0, d.dmOrientation = 2, d.dmPaperSize = 9, d.dmPrintQuality = 600; }, nothing},
      {"landscape only", [](auto& d, auto&) { d.dmFields = DM_ORIENTATION, d.dmOrientation = 2, d.dmPaperSize = 9; },
       [](auto& d, auto&) { d.dmOrientation = 2; }},
      {"an unknown orientation", [](auto& d, auto&) { d.dmFields = DM_ORIENTATION, d.dmOrientation = 3; }, nothing},
      {"a standard paper, too wide",
       [](auto& d, auto&) { d.dmFields = DM_PAPERSIZE | DM_PAPERWIDTH, d.dmPaperSize = 9, d.dmPaperWidth = 2971; },
       [](auto& d, auto&) { d.dmPaperSize = 256; }},
      {"the largest custom size",
       [](auto& d, auto&) {
         d.dmFields = DM_PAPERSIZE | DM_PAPERWIDTH | DM_PAPERLENGTH;
         d.dmPaperSize = 256, d.dmPaperWidth = 2970, d.dmPaperLength = 9017;
       },
       [](auto& d, auto&) { d.dmPaperSize = 256, d.dmPaperWidth = 2970, d.dmPaperLength = 9017; }},
      {"the smallest width with a length below the smallest",
       [](auto& d, auto&) { d.dmFields = DM_PAPERWIDTH | DM_PAPERLENGTH, d.dmPaperWidth = 10, d.dmPaperLength = 253; },
       [](auto& d, auto&) { d.dmPaperWidth = 10; }},
      {"a label", [](auto& d, auto&) { d.dmFields = DM_PAPERSIZE, d.dmPaperSize = 258; },
       [](auto& d, auto& p) {
         d.dmPaperSize = 258, d.dmPaperWidth = 1016, wcscpy(d.dmFormName, L"Address");
         strcpy(p.labelName, "Address"), p.vertOffset = 24, p.horzOffset = -60;
       }},
      {"a label with a long name and offsets that are none",
       [](auto& d, auto&) { d.dmFields = DM_PAPERSIZE, d.dmPaperSize = 259; },
       [](auto& d, auto& p) {
         d.dmPaperSize = 259, d.dmPaperWidth = 1016, memset(d.dmFormName, 0, sizeof d.dmFormName);
         strcpy(p.labelName, "A name of exactly 32 characters.");
       }},
      {"a label that is gone", [](auto& d, auto&) { d.dmFields = DM_PAPERSIZE, d.dmPaperSize = 300; },
       [](auto& d, auto&) { d.dmPaperSize = 300; }},
      {"the best quality", [](auto& d, auto&) { d.dmFields = DM_PRINTQUALITY, d.dmPrintQuality = 600; },
       [](auto& d, auto&) { d.dmPrintQuality = d.dmYResolution = 600; }},
      {"what the printer cannot",
       [](auto& d, auto&) {
         d.dmFields = DM_PRINTQUALITY | DM_COPIES | DM_DUPLEX | DM_SCALE | DM_COLLATE | DM_YRESOLUTION;
         d.dmPrintQuality = 1200, d.dmCopies = 5, d.dmDuplex = 2, d.dmScale = 50, d.dmCollate = 1,
         d.dmYResolution = 150;
       },
       [](auto& d, auto&) { d.dmFields |= DM_SCALE | DM_COLLATE | DM_YRESOLUTION; }},
      {"own settings",
       [](auto& d, auto& p) { d.dmFields = 0, p.mirrorImage = 1, p.vertOffset = -2400, p.rendIntent = 3, p.units = 0; },
       [](auto&, auto& p) { p.mirrorImage = 1, p.vertOffset = -2400, p.rendIntent = 3, p.units = 0; }},
      {"own settings out of range",
       [](auto&, auto& p) {
         p.rendIntent = 4, p.copies = 2, p.colorAdjust = p.rotate180 = p.mirrorImage = p.usePrivateCopies = 2;
         p.vertOffset = -2401, p.horzOffset = 2401;
       },
       nothing},
      {"another driver's settings",
       [](auto&, auto& p) { p.signature = 0x18284001, p.mirrorImage = 1, strcpy(p.labelName, "theirs"); }, nothing},
  };
  GuardedBlock usual(sizeof(DriverDevMode));
  ASSERT_EQ(1, Ask(usual.As<DEVMODEW>(), nullptr, DM_OUT_BUFFER));
  for (const auto& each : cases) {
    SCOPED_TRACE(each.name);
    auto expected = usual.Read<DriverDevMode>();
    each.expect(expected.dm_public, expected.dm_private);
    auto asked = usual.Read<DriverDevMode>();
    each.ask(asked.dm_public, asked.dm_private);
    GuardedBlock in(&asked, sizeof asked);
    GuardedBlock out(sizeof asked);
    memcpy(out.data(), usual.data(),
           offsetof(DEVMODEW, dmFields));  // an output that was never initialised misleads the platform
    EXPECT_EQ(1, Ask(out.As<DEVMODEW>(), in.As<DEVMODEW>(), DM_IN_BUFFER | DM_OUT_BUFFER));
    EXPECT_EQ("", Difference(expected, out.Read<DriverDevMode>()));
    EXPECT_EQ("", Difference(asked, in.Read<DriverDevMode>())) << "the caller's record was changed";
    EXPECT_TRUE(out.FrontIntact());
  }
}

TEST_F(SettingsTest, NoByteBeyondARecordIsReadOrWritten) {
  const DriverDevMode defaults = Defaults();
  for (const WORD public_size : {72, 76, 100, 187, 188, 189, 211, 212, 213, 219, 220, 221, 300}) {
    for (const WORD extra : {0, 1, 3, 4, 111, 112, 113, 643, 644, 645, 2000}) {
      SCOPED_TRACE("record of " + std::to_string(public_size) + " + " + std::to_string(extra));
      GuardedBlock in(public_size + extra, 0);
      memcpy(in.data(), &defaults, std::min<std::size_t>(public_size, 220));
      memcpy(in.data() + public_size, &defaults.dm_private, std::min<std::size_t>(extra, 644));
      const r5lqz::RecordForm form{0x0401, 0x0401, public_size, extra};
      memcpy(in.data() + offsetof(DEVMODEW, dmSpecVersion), &form, sizeof form);
      // What comes back has the asked form, and never more than the driver has to say.
      const WORD public_back = std::min<WORD>(public_size, 220);
      const WORD extra_back = std::min<WORD>(extra, 644);
      GuardedBlock out(public_back + extra_back);

      EXPECT_EQ(1, AskDriver(Printer(), out.data(), in.data(), DM_IN_BUFFER | DM_OUT_BUFFER));
      EXPECT_TRUE(out.FrontIntact());
      EXPECT_EQ(public_back, out.Read<WORD>(offsetof(DEVMODEW, dmSize)));
      EXPECT_EQ(extra_back, out.Read<WORD>(offsetof(DEVMODEW, dmDriverExtra)));
      // The whole of the form was written: the poison of both ends is gone.
      const BYTE last = extra_back ? out.Read<BYTE>(public_back + extra_back - 1) : BYTE{};
      EXPECT_NE(0xA5, last);

      EXPECT_EQ(0x0401u, Driver().DeviceCapabilities(Printer(), PrinterName(), DC_VERSION, nullptr, in.As<DEVMODEW>()));
      ULONG size = 58;
      ULONG flags = 0;
      wchar_t name[29];
      const BOOL profile =
          Driver().QueryColorProfile(Printer(), in.As<DEVMODEW>(), QCP_DEVICEPROFILE, name, &size, &flags);
      const bool signed_at_220 = public_size == 220 && extra >= 4;
      EXPECT_EQ(signed_at_220, profile == TRUE);
    }
  }
}

TEST_F(SettingsTest, RecordsOfUnknownFormLeaveTheSettingsAlone) {
  // An unknown size needs a version; one too small to hold its own form words cannot be filled.
  constexpr r5lqz::RecordForm forms[] = {
      {0, 0, 200, 0}, {0, 0, 0, 0}, {0x0401, 0, 0, 0}, {0x0401, 0, 71, 0}, {0, 0, 0, 644}};
  for (const auto& form : forms) {
    SCOPED_TRACE(form.public_size);
    GuardedBlock in(std::max<std::size_t>(form.total(), r5lqz::kFormEnd), 0);
    memcpy(in.data() + offsetof(DEVMODEW, dmSpecVersion), &form, sizeof form);
    GuardedBlock out(std::max<std::size_t>(form.total(), r5lqz::kFormEnd));
    EXPECT_EQ(1, AskDriver(Printer(), out.data(), in.data(), DM_IN_BUFFER | DM_OUT_BUFFER));
    EXPECT_TRUE(out.FrontIntact());
    const bool unusable = form.spec_version == 0;
    if (unusable) {
      EXPECT_EQ(static_cast<DWORD>(-1),
                Driver().DeviceCapabilities(Printer(), PrinterName(), DC_SIZE, nullptr, in.As<DEVMODEW>()));
    }
  }
}

TEST_F(SettingsTest, InputOnlyWritesNothing) {
  DriverDevMode in = Defaults();
  GuardedBlock out(sizeof in);
  EXPECT_EQ(1, AskDriver(Printer(), out.data(), &in, DM_IN_BUFFER));
  EXPECT_TRUE(out.Untouched());
}

TEST_F(SettingsTest, ConversionAnswersByCountAndMode) {
  constexpr DWORD kKept = kPoisonedError;
  constexpr struct {
    const char* name;
    DWORD mode;
    LONG count;
    bool has_out;
    bool has_in;
    BOOL result;
    LONG count_after;
    DWORD error;
  } kCases[] = {
      {"older form, one byte short", CDM_CONVERT351, 299, true, true, FALSE, 300, ERROR_INSUFFICIENT_BUFFER},
      {"older form, exact", CDM_CONVERT351, 300, true, true, TRUE, 300, kKept},
      {"older form, one byte more", CDM_CONVERT351, 301, true, true, TRUE, 300, kKept},
      {"older form, negative count", CDM_CONVERT351, -1, true, true, FALSE, 300, ERROR_INSUFFICIENT_BUFFER},
      {"older form, no output", CDM_CONVERT351, 864, false, true, FALSE, 300, ERROR_INSUFFICIENT_BUFFER},
      {"older form, no input", CDM_CONVERT351, 300, true, false, FALSE, 300, ERROR_INVALID_PARAMETER},
      {"default, one byte short", CDM_DRIVER_DEFAULT, 863, true, false, FALSE, 864, ERROR_INSUFFICIENT_BUFFER},
      {"default, exact", CDM_DRIVER_DEFAULT, 864, true, false, TRUE, 864, 0},
      {"default, one byte more", CDM_DRIVER_DEFAULT, 865, true, false, TRUE, 864, 0},
      {"default, no output", CDM_DRIVER_DEFAULT, 864, false, false, FALSE, 864, ERROR_INSUFFICIENT_BUFFER},
      {"convert, one byte short", CDM_CONVERT, 863, true, true, FALSE, 863, ERROR_INVALID_PARAMETER},
      {"convert, exact", CDM_CONVERT, 864, true, true, TRUE, 864, kKept},
      {"convert, one byte more", CDM_CONVERT, 865, true, true, TRUE, 864, kKept},
      {"convert, no input", CDM_CONVERT, 864, true, false, FALSE, 864, ERROR_INVALID_PARAMETER},
      {"convert, no output", CDM_CONVERT, 864, false, true, FALSE, 864, ERROR_INVALID_PARAMETER},
      {"no mode", 0, 864, true, true, FALSE, 864, kKept},
      {"two modes", 3, 864, true, true, FALSE, 864, kKept},
      {"unknown mode", 5, 864, true, true, FALSE, 864, kKept},
  };
  DriverDevMode in = Defaults();
  for (const auto& each : kCases) {
    SCOPED_TRACE(each.name);
    GuardedBlock out(std::max<std::size_t>(static_cast<std::size_t>(std::max(each.count, 300l)), 300));
    if (each.mode == CDM_CONVERT) {
      const r5lqz::RecordForm form{0x0401, 0x0401, 220, 644};
      memcpy(out.data() + offsetof(DEVMODEW, dmSpecVersion), &form, sizeof form);
    }
    LONG count = each.count;
    SetLastError(kPoisonedError);
    EXPECT_EQ(each.result, Driver().ConvertDevMode(PrinterName(), each.has_in ? &in.dm_public : nullptr,
                                                   each.has_out ? out.As<DEVMODEW>() : nullptr, &count, each.mode));
    const DWORD error = GetLastError();
    EXPECT_EQ(each.error ? each.error : error, error);
    EXPECT_EQ(each.count_after, count);
    EXPECT_TRUE(out.Untouched(each.result ? static_cast<std::size_t>(count) : offsetof(DEVMODEW, dmFields)));
  }

  GuardedBlock older(300);
  LONG count = 300;
  ASSERT_TRUE(Driver().ConvertDevMode(PrinterName(), &in.dm_public, older.As<DEVMODEW>(), &count, CDM_CONVERT351));
  EXPECT_EQ(188, older.Read<WORD>(offsetof(DEVMODEW, dmSize)));
  EXPECT_EQ(0x0320, older.Read<WORD>(offsetof(DEVMODEW, dmSpecVersion)));
  EXPECT_EQ(0x0350, older.Read<WORD>(offsetof(DEVMODEW, dmDriverVersion)));
  EXPECT_EQ(112, older.Read<WORD>(offsetof(DEVMODEW, dmDriverExtra)));
  EXPECT_EQ(0, memcmp(older.data() + 188, &in.dm_private, 112));

  SetLastError(kPoisonedError);
  EXPECT_FALSE(Driver().ConvertDevMode(PrinterName(), &in.dm_public, &in.dm_public, nullptr, CDM_CONVERT));
  EXPECT_EQ(DWORD{ERROR_INVALID_PARAMETER}, GetLastError());

  wchar_t nobody[] = L"no such printer";
  count = 864;
  SetLastError(kPoisonedError);
  EXPECT_FALSE(Driver().ConvertDevMode(nobody, nullptr, &in.dm_public, &count, CDM_DRIVER_DEFAULT));
  EXPECT_EQ(DWORD{ERROR_INVALID_PRINTER_NAME}, GetLastError());
}

}  // namespace
}  // namespace tests
