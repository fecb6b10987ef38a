#include "support.h"

namespace r5lqz {
namespace {

class Settings : public ModuleTest {
 protected:
  // Merges a 220-byte application record (no private part) that marks `fields`, set by `fill`.
  template <typename Fill>
  DriverDevMode Merged(DWORD fields, Fill fill) {
    Record application(kPublicSize, 0);
    application->dmFields = fields;
    fill(*application.get());
    DriverDevMode record = Defaults();
    EXPECT_TRUE(MergeDevMode(record, application.get(), printer()));
    return record;
  }
};

TEST_F(Settings, DefaultsAreTheDocumentedRecord) {
  DriverDevMode record;
  std::memset(&record, 0xA5, sizeof record);
  EXPECT_TRUE(SetupDefaultDevMode(record, L"Printer", printer()));

  DriverDevMode expected{};
  std::memcpy(expected.dm_public.dmDeviceName, L"Printer", sizeof L"Printer");
  PutForm(&expected.dm_public, {0x0401, 0x0401, 220, 644});
  expected.dm_public.dmFields = 0x00015F03;
  expected.dm_public.dmOrientation = 1;
  expected.dm_public.dmPaperSize = 257;
  expected.dm_public.dmPaperLength = 1270;
  expected.dm_public.dmPaperWidth = 1048;
  expected.dm_public.dmCopies = 1;
  expected.dm_public.dmDefaultSource = 15;
  expected.dm_public.dmPrintQuality = 300;
  expected.dm_public.dmColor = 2;
  expected.dm_public.dmDuplex = 1;
  expected.dm_public.dmYResolution = 300;
  expected.dm_public.dmTTOption = 1;
  std::memcpy(expected.dm_public.dmFormName, L"Custom", sizeof L"Custom");
  expected.dm_private.signature = 0x18284000;
  expected.dm_private.rendIntent = 1;
  expected.dm_private.copies = 1;
  expected.dm_private.dmPaperSize = 257;
  expected.dm_private.units = 1;
  std::strcpy(expected.dm_private.width_string, "4.125");
  std::strcpy(expected.dm_private.length_string, "5.000");
  EXPECT_EQ(std::memcmp(&record, &expected, sizeof record), 0);
}

TEST_F(Settings, DeviceNameIsKeptWholeOrNotAtAll) {
  constexpr WCHAR kName[] = L"0123456789012345678901234567890X";  // 32 characters
  DriverDevMode record;
  SetupDefaultDevMode(record, kName, printer());
  EXPECT_EQ(Text(record.dm_public.dmDeviceName), "");
  SetupDefaultDevMode(record, kName + 1, printer());
  EXPECT_EQ(Text(record.dm_public.dmDeviceName), Text(kName + 1));
}

TEST_F(Settings, FirstProfileInOrderBecomesTheDefault) {
  EXPECT_EQ(Text(Defaults().dm_private.colorProfile), "");
  platform::SetProfiles(std::vector<std::u16string>{u"b.icc", u"A.icc", u"a.icc"});
  EXPECT_EQ(Text(Defaults().dm_private.colorProfile), "A.icc");
  EXPECT_EQ(platform::LastProfileDevice(), kPrinterName);
  // A name that no field holds is not cut into another file's.
  platform::SetProfiles(std::vector<std::u16string>{std::u16string(260, u'p')});
  EXPECT_EQ(Text(Defaults().dm_private.colorProfile), "");
  platform::SetProfiles(std::vector<std::u16string>{std::u16string(259, u'p')});
  EXPECT_EQ(Text(Defaults().dm_private.colorProfile), std::string(259, 'p'));
}

struct Conversion {
  WORD in_size, in_extra, in_spec;
  WORD out_size, out_extra, out_spec;
  LONG copied;
  WORD spec_written;
};

constexpr Conversion kConversions[] = {
    {220, 644, 0x0401, 220, 644, 0x0401, 864, 0x0401},
    {220, 644, 0x0401, 188, 112, 0, 300, 0x0320},      // the output's version comes from its size
    {220, 644, 0x0401, 212, 0, 0x7777, 212, 0x0400},
    {188, 0, 0, 220, 644, 0x0401, 188, 0x0401},        // a known size needs no version
    {200, 0, 0, 220, 644, 0x0401, -1, 0x0401},         // an unknown one does
    {200, 0, 0x0300, 220, 644, 0x0401, 200, 0x0401},
    {220, 644, 0x0401, 200, 0, 0, -1, 0},
    {220, 644, 0x0401, 200, 0, 0x0300, 200, 0x0300},
    {300, 9000, 0x0500, 220, 644, 0x0401, 864, 0x0401},  // a record of a later version
    {220, 644, 0x0401, 64, 0, 0x0401, -1, 0x0401},     // an output that cannot hold its own header words
    {72, 5, 0x0401, 220, 644, 0x0401, 77, 0x0401},
    {0, 0, 0x0401, 220, 644, 0x0401, 0, 0x0401},
};

TEST_F(Settings, ConversionCopiesWhatBothHoldAndKeepsTheOutputsForm) {
  for (const Conversion& one : kConversions) {
    SCOPED_TRACE(testing::Message() << one.in_size << "+" << one.in_extra << " to " << one.out_size << "+" << one.out_extra);
    Record in(one.in_size, one.in_extra, one.in_spec);
    std::memset(reinterpret_cast<BYTE*>(in.get()) + kFormEnd, 0x11, in.size() - kFormEnd);
    const Record out(one.out_size, one.out_extra, one.out_spec);
    const std::string before = out.bytes();
    EXPECT_EQ(ConvertDevMode(in.get(), out.get()), one.copied);
    EXPECT_EQ(out->dmSpecVersion, one.spec_written);
    EXPECT_EQ(out->dmSize, one.out_size);
    EXPECT_EQ(out->dmDriverExtra, one.out_extra);
    if (one.copied < 0) {
      EXPECT_EQ(out.bytes(), before);
    } else {
      // The bytes behind the header that were copied, and no others, are the input's.
      const auto behind = out.span().subspan(kFormEnd);
      const auto copied = std::count(behind.begin(), behind.end(), std::byte{0x11});
      EXPECT_LE(copied, std::max<LONG>(one.copied - static_cast<LONG>(kFormEnd), 0));
    }
  }
  Record record(220, 644);
  EXPECT_EQ(ConvertDevMode(nullptr, record.get()), -1);
  EXPECT_EQ(ConvertDevMode(record.get(), nullptr), -1);
  EXPECT_EQ(ConvertDevMode(record.get(), record.get()), 864) << "one buffer as input and output";
}

TEST_F(Settings, OutputTakesTheCallersShape) {
  DriverDevMode working = Defaults();
  ValidateDevmode(working, printer());
  working.dm_private.rotate180 = 1;

  const Record whole(220, 644);
  EXPECT_TRUE(CopyDevModeToOutput(working, nullptr, whole.get()));
  EXPECT_EQ(std::memcmp(whole.get(), &working, sizeof working), 0);

  const Record older(188, 20, 0x0320);
  const Record out(188, 20, 0);
  EXPECT_TRUE(CopyDevModeToOutput(working, older.get(), out.get()));
  EXPECT_EQ(out->dmSpecVersion, 0x0320);
  EXPECT_EQ(out->dmPaperWidth, 1048);
  DWORD rotated = 0;
  std::memcpy(&rotated, reinterpret_cast<BYTE*>(out.get()) + 188 + offsetof(PrivateDevMode, rotate180), sizeof rotated);
  EXPECT_EQ(rotated, 1u);

  const Record newer(300, 9000, 0x0500);
  const Record roomy(300, 9000, 0x0500);
  EXPECT_TRUE(CopyDevModeToOutput(working, newer.get(), roomy.get()));
  EXPECT_EQ(FormOf(roomy.get()).total(), 864u) << "never larger than the driver's own";

  EXPECT_TRUE(CopyDevModeToOutput(working, roomy.get(), roomy.get())) << "one buffer as shape and output";
  EXPECT_EQ(std::memcmp(roomy.get(), &working, sizeof working), 0);

  const Record unknown(200, 0, 0);
  const Record kept(220, 644);
  const std::string before = kept.bytes();
  EXPECT_FALSE(CopyDevModeToOutput(working, unknown.get(), kept.get()));
  EXPECT_EQ(kept.bytes(), before);
}

TEST_F(Settings, MergeTakesOnlyWhatTheSourceMarks) {
  DriverDevMode expected = Defaults();
  ValidateDevmode(expected, printer());
  const DriverDevMode nothing_set = Merged(0, [](DEVMODEW&) {});
  EXPECT_EQ(std::memcmp(&nothing_set, &expected, sizeof expected), 0);

  expected.dm_public.dmOrientation = 2;
  const DriverDevMode landscape = Merged(DM_ORIENTATION, [](DEVMODEW& record) { record.dmOrientation = 2; });
  EXPECT_EQ(std::memcmp(&landscape, &expected, sizeof expected), 0);
}

TEST_F(Settings, MergeCopiesEachMarkedField) {
  const DriverDevMode merged = Merged(DM_NUP | DM_ICMMETHOD | DM_ICMINTENT | DM_MEDIATYPE | DM_DITHERTYPE | DM_COLOR |
                                          DM_DEFAULTSOURCE | DM_TTOPTION | DM_FORMNAME | DM_PAPERSIZE,
                                      [](DEVMODEW& record) {
                                        record.dmNup = 1;
                                        record.dmICMMethod = 2;
                                        record.dmICMIntent = 3;
                                        record.dmMediaType = 4;
                                        record.dmDitherType = 5;
                                        record.dmColor = 6;
                                        record.dmDefaultSource = 7;
                                        record.dmTTOption = 8;
                                        record.dmPaperSize = 257;  // no form of its own: the name stays
                                        std::fill(std::begin(record.dmFormName), std::end(record.dmFormName), L'x');
                                      });
  const DEVMODEW& settings = merged.dm_public;
  EXPECT_EQ(settings.dmNup, 1u);
  EXPECT_EQ(settings.dmICMMethod, 2u);
  EXPECT_EQ(settings.dmICMIntent, 3u);
  EXPECT_EQ(settings.dmMediaType, 4u);
  EXPECT_EQ(settings.dmDitherType, 5u);
  EXPECT_EQ(settings.dmColor, 6);
  EXPECT_EQ(settings.dmDefaultSource, 7);
  EXPECT_EQ(settings.dmTTOption, 8);
  EXPECT_EQ(Text(settings.dmFormName), "") << "a name without a terminator does not fit";
  EXPECT_EQ(settings.dmFields, 0x00015F03u | DM_NUP | DM_ICMMETHOD | DM_ICMINTENT | DM_MEDIATYPE | DM_DITHERTYPE |
                                   DM_PAPERLENGTH | DM_PAPERWIDTH);
}

TEST_F(Settings, PrivatePartComesOnlyWithTheSignature) {
  Record source(Defaults());
  source.whole().dm_private.rotate180 = 1;
  source.whole().dm_private.vertOffset = -2400;
  DriverDevMode record = Defaults();
  EXPECT_TRUE(MergeDevMode(record, source.get(), printer()));
  EXPECT_EQ(record.dm_private.rotate180, 1u);
  EXPECT_EQ(record.dm_private.vertOffset, -2400);

  source.whole().dm_private.signature ^= 1;
  record = Defaults();
  EXPECT_TRUE(MergeDevMode(record, source.get(), printer()));
  EXPECT_EQ(record.dm_private.rotate180, 0u);

  // The first bytes of a private part give their fields; the rest stays the destination's.
  Record cut(188, 16);
  cut->dmFields = 0;
  std::memcpy(reinterpret_cast<BYTE*>(cut.get()) + 188, &source.whole().dm_private, 16);
  reinterpret_cast<BYTE*>(cut.get())[188] ^= 1;
  record.dm_private.mirrorImage = 1;
  EXPECT_TRUE(MergeDevMode(record, cut.get(), printer()));
  EXPECT_EQ(record.dm_private.rotate180, 1u);
  EXPECT_EQ(record.dm_private.mirrorImage, 1u);
}

TEST_F(Settings, UnusableSourceLeavesTheDestination) {
  const DriverDevMode before = Defaults();
  DriverDevMode record = before;
  EXPECT_TRUE(MergeDevMode(record, nullptr, printer()));
  EXPECT_EQ(std::memcmp(&record, &before, sizeof record), 0) << "not even validated";
  EXPECT_FALSE(MergeDevMode(record, Record(200, 0, 0).get(), printer()));
  platform::FailCall("calloc", 1);
  EXPECT_FALSE(MergeDevMode(record, Record(before).get(), printer()));
  EXPECT_EQ(std::memcmp(&record, &before, sizeof record), 0);
}

TEST_F(Settings, ValidationForcesEveryField) {
  DriverDevMode record;
  std::memset(&record, 0x7E, sizeof record);  // every number far out of range
  PutForm(&record.dm_public, kCurrentForm);
  record.dm_public.dmPaperSize = 9;
  ValidateDevmode(record, printer());
  const DEVMODEW& settings = record.dm_public;
  EXPECT_EQ(settings.dmPaperSize, 256);
  EXPECT_EQ(Text(settings.dmFormName), "Custom");
  EXPECT_EQ(settings.dmPaperWidth, 1048);
  EXPECT_EQ(settings.dmPaperLength, 1270);
  EXPECT_EQ(settings.dmOrientation, 1);
  EXPECT_EQ(settings.dmPrintQuality, 300);
  EXPECT_EQ(settings.dmYResolution, 300);
  EXPECT_EQ(settings.dmCopies, 1);
  EXPECT_EQ(settings.dmDuplex, 1);
  EXPECT_EQ(settings.dmScale, 100);
  EXPECT_EQ(settings.dmCollate, 0);
  EXPECT_EQ(settings.dmFields, 0x7E7E7E7Eu | 0x0001000E);
  EXPECT_EQ(settings.dmColor, 0x7E7E) << "not checked";
  const PrivateDevMode& own = record.dm_private;
  EXPECT_EQ(own.vertOffset, 0);
  EXPECT_EQ(own.horzOffset, 0);
  EXPECT_EQ(own.rendIntent, 1u);
  EXPECT_EQ(own.copies, 1);
  EXPECT_EQ(own.colorAdjust + own.rotate180 + own.mirrorImage + own.usePrivateCopies, 0u);
  EXPECT_EQ(own.signature, 0x7E7E7E7Eu) << "not checked";
}

TEST_F(Settings, ValuesAtTheirLimitsSurviveValidation) {
  for (const SHORT quality : {600, 300, 150, 1200}) {
    const DriverDevMode merged = Merged(DM_PRINTQUALITY, [quality](DEVMODEW& at) { at.dmPrintQuality = quality; });
    EXPECT_EQ(merged.dm_public.dmPrintQuality, quality == 1200 ? 300 : quality);
    EXPECT_EQ(merged.dm_public.dmYResolution, merged.dm_public.dmPrintQuality);
  }
  struct Size {
    SHORT width, length, width_kept, length_kept;
  };
  for (const Size& size : {Size{10, 254, 10, 254}, {2970, 9017, 2970, 9017}, {9, 253, 1048, 1270}, {2971, 9018, 1048, 1270},
                           {-1, -1, 1048, 1270}}) {
    const DriverDevMode merged = Merged(DM_PAPERSIZE | DM_PAPERWIDTH | DM_PAPERLENGTH, [&size](DEVMODEW& at) {
      at.dmPaperSize = 256;
      at.dmPaperWidth = size.width;
      at.dmPaperLength = size.length;
    });
    EXPECT_EQ(merged.dm_public.dmPaperWidth, size.width_kept);
    EXPECT_EQ(merged.dm_public.dmPaperLength, size.length_kept);
  }
}

TEST_F(Settings, LabelNumbersResolveToTheirLabel) {
  StoreLabel(258, "Inches", "4.125", "5.000", kInches, "-1200", "2401");
  StoreLabel(259, "A name that is just too long for a form", "101.6", "50", kMillimetres, "12", "x");
  StoreLabel(260, "Tenths", "1016", "70000", kTenthsOfMillimetre);
  const auto choose = [this](SHORT id) {
    return Merged(DM_PAPERSIZE, [id](DEVMODEW& record) { record.dmPaperSize = id; });
  };
  const DriverDevMode inches = choose(258);
  EXPECT_EQ(inches.dm_public.dmPaperSize, 258);
  EXPECT_EQ(inches.dm_public.dmPaperWidth, 1048);
  EXPECT_EQ(inches.dm_public.dmPaperLength, 1270);
  EXPECT_EQ(Text(inches.dm_public.dmFormName), "Inches");
  EXPECT_STREQ(inches.dm_private.labelName, "Inches");
  EXPECT_EQ(inches.dm_private.vertOffset, -1200);
  EXPECT_EQ(inches.dm_private.horzOffset, 0) << "out of range";
  EXPECT_EQ(inches.dm_private.dmPaperSize, 257) << "left to the sheet";

  const DriverDevMode millimetres = choose(259);
  EXPECT_EQ(millimetres.dm_public.dmPaperWidth, 1016);
  EXPECT_EQ(millimetres.dm_public.dmPaperLength, 500);
  EXPECT_EQ(Text(millimetres.dm_public.dmFormName), "") << "32 characters or more";
  EXPECT_STREQ(millimetres.dm_private.labelName, "A name that is just too long for a form");
  EXPECT_EQ(millimetres.dm_private.vertOffset, 12);
  EXPECT_EQ(millimetres.dm_private.horzOffset, 0) << "no number: as it was";

  const DriverDevMode tenths = choose(260);
  EXPECT_EQ(tenths.dm_public.dmPaperWidth, 1016);
  EXPECT_EQ(tenths.dm_public.dmPaperLength, 1270) << "70000 is too long, not 4464";

  const DriverDevMode deleted = choose(300);
  EXPECT_EQ(deleted.dm_public.dmPaperSize, 300);
  EXPECT_EQ(Text(deleted.dm_public.dmFormName), "Custom");

  // A record whose private part says that its sizes belong to the paper already asks the store nothing.
  DriverDevMode settled = Defaults();
  settled.dm_public.dmPaperSize = settled.dm_private.dmPaperSize = 258;
  settled.dm_public.dmPaperWidth = 777;
  const auto calls = platform::TotalCalls();
  ValidateForm(settled, printer());
  EXPECT_EQ(platform::TotalCalls(), calls);
  EXPECT_EQ(settled.dm_public.dmPaperWidth, 777);
}

TEST_F(Settings, DumpShowsWhatTheRecordHolds) {
  Record record(Defaults());
  std::strcpy(record.whole().dm_private.labelName, "two\nlines");
  DumpDevMode(record.get());
  EXPECT_TRUE(LogLines().empty()) << "tracing is off";

  log_mask = kMessageBit;
  DumpDevMode(record.get());
  const auto lines = LogLines();
  ASSERT_EQ(lines.size(), 2u + 29 + 2 + 15);
  EXPECT_EQ(lines.front(), "[Info]  <Public-DevMode>");
  EXPECT_EQ(lines[4], "[Info]  dmDriverExtra      = 644");
  EXPECT_EQ(lines[19], "[Info]  dmFormName         = Custom");
  EXPECT_EQ(lines[26], "[Info]  dmICMMethod        = 0");
  EXPECT_EQ(lines[32], "[Info]  signature                   = 405291008");
  EXPECT_EQ(lines[37], "[Info]  labelName                   = two?lines");
  EXPECT_EQ(lines[44], "[Info]  width_string                = 4.125");
  EXPECT_EQ(lines.back(), "[Info]  </Private-DevMode>");

  // Texts without a terminator, and a private part that ends early: nothing beyond is read.
  Record cut(220, 90);
  DumpDevMode(cut.get());
  EXPECT_EQ(LogLines().size() - lines.size(), 2u + 29 + 2 + 8);

  Record older(188, 112);
  DumpDevMode(older.get());
  EXPECT_EQ(LogLines().back(), "[Info]  DevMode is invalid. The values of sizeof(DEVMODE) and dmSize do not match.");
}

}  // namespace
}  // namespace r5lqz
