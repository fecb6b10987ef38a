#include "../trace_shape.h"
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

void ExpectSame(const DriverDevMode& got, const DriverDevMode& expected) {
  const auto* const one = reinterpret_cast<const BYTE*>(&got);
  const auto* const other = reinterpret_cast<const BYTE*>(&expected);
  for (std::size_t at = 0; at < sizeof got; ++at) EXPECT_EQ(one[at], other[at]) << "byte " << at;
}

TEST_F(Settings, DefaultsAreTheDocumentedRecord) {
  DriverDevMode record;
  std::memset(&record, 0xA5, sizeof record);
  EXPECT_TRUE(SetupDefaultDevMode(record, L"Printer", printer()));

  DriverDevMode expected{};
  DEVMODEW& settings = expected.dm_public;
  std::memcpy(settings.dmDeviceName, L"Printer", sizeof L"Printer");
  PutForm(&settings, {0x0401, 0x0401, 220, 644});
  settings.dmFields = 0x00015F03;
  settings.dmOrientation = settings.dmCopies = settings.dmDuplex = settings.dmTTOption = 1;
  settings.dmPaperSize = expected.dm_private.dmPaperSize = 257;
  settings.dmPaperLength = 1270;
  settings.dmPaperWidth = 1048;
  settings.dmDefaultSource = 15;
  settings.dmPrintQuality = settings.dmYResolution = 300;
  settings.dmColor = 2;
  std::memcpy(settings.dmFormName, L"Custom", sizeof L"Custom");
  expected.dm_private.signature = 0x18284000;
  expected.dm_private.rendIntent = expected.dm_private.units = 1;
  expected.dm_private.copies = 1;
  std::strcpy(expected.dm_private.width_string, "4.125");
  std::strcpy(expected.dm_private.length_string, "5.000");
  ExpectSame(record, expected);
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

constexpr struct {
  WORD in_size, in_extra, in_spec;
  WORD out_size, out_extra, out_spec;
  LONG copied;
  WORD spec_written;
} kConversions[] = {
    {220, 644, 0x0401, 220, 644, 0x0401, 864, 0x0401},
    {220, 644, 0x0401, 188, 112, 0, 300, 0x0320},  // the output's version comes from its size
    {220, 644, 0x0401, 212, 0, 0x7777, 212, 0x0400},
    {188, 0, 0, 220, 644, 0x0401, 188, 0x0401},  // a known size needs no version
    {200, 0, 0, 188, 112, 0x7777, -1, 0x7777},   // an unknown one does
    {200, 0, 0x0300, 220, 644, 0x0401, 200, 0x0401},
    {220, 644, 0x0401, 200, 0, 0, -1, 0},
    {220, 644, 0x0401, 200, 0, 0x0300, 200, 0x0300},
    {300, 9000, 0x0500, 220, 644, 0x0401, 864, 0x0401},  // a record of a later version
    {220, 644, 0x0401, 64, 0, 0x0401, -1, 0x0401},       // an output that cannot hold its own header words
    {72, 5, 0x0401, 220, 644, 0x0401, 77, 0x0401},
    {0, 0, 0x0401, 220, 644, 0x0401, 0, 0x0401},
};

TEST_F(Settings, ConversionCopiesWhatBothHoldAndKeepsTheOutputsForm) {
  for (const auto& one : kConversions) {
    SCOPED_TRACE(testing::Message() << one.in_size << "+" << one.in_extra << " to " << one.out_size << "+"
                                    << one.out_extra);
    Record in(one.in_size, one.in_extra, one.in_spec);
    std::memset(reinterpret_cast<BYTE*>(in.get()) + kFormEnd, 0x11, in.size() - kFormEnd);
    const Record out(one.out_size, one.out_extra, one.out_spec);
    const std::string before = out.bytes();
    EXPECT_EQ(ConvertDevMode(in.get(), out.get()), one.copied);
    EXPECT_EQ(out->dmSpecVersion, one.spec_written);
    EXPECT_EQ(out->dmSize, one.out_size);
    EXPECT_EQ(out->dmDriverExtra, one.out_extra);
    if (one.copied < 0) EXPECT_EQ(out.bytes(), before);
    // As many bytes of the input behind the header as were copied, and no more.
    const auto behind = out.span().subspan(kFormEnd);
    const auto copied = std::count(behind.begin(), behind.end(), std::byte{0x11});
    EXPECT_EQ(copied, std::max<LONG>(one.copied - static_cast<LONG>(kFormEnd), 0));
  }
  Record record(220, 644);
  EXPECT_EQ(ConvertDevMode(record.get(), record.get()), 864) << "one buffer as input and output";
  log_mask = kMessageBit;
  EXPECT_EQ(ConvertDevMode(nullptr, record.get()), -1);
  EXPECT_EQ(ConvertDevMode(record.get(), nullptr), -1);
  EXPECT_EQ(tests::TraceShape(LogLines()), "'pdmOut:'{} 'pdmIn:'{}") << "of a record that is not there nothing is said";

  // Two records that overlap: the input's fields come to lie where its words were, and claim 864 bytes of its 220.
  constexpr std::size_t kShift = 8;
  const std::unique_ptr<BYTE[]> overlapped(new BYTE[kShift + kPublicSize]());
  auto* const out = reinterpret_cast<DEVMODEW*>(overlapped.get());
  auto* const in = reinterpret_cast<DEVMODEW*>(overlapped.get() + kShift);
  PutForm(out, {0x0401, 0x0401, 220, 0});
  PutForm(in, {0x0401, 0x0401, 220, 0});
  in->dmOrientation = 220;
  in->dmPaperSize = 644;
  log_mask = kMessageBit;
  EXPECT_EQ(ConvertDevMode(in, out), 220);
}

TEST_F(Settings, OutputTakesTheCallersShape) {
  DriverDevMode working = Defaults();
  ValidateDevmode(working, printer());
  working.dm_private.rotate180 = 1;

  const Record whole(220, 644);
  EXPECT_TRUE(CopyDevModeToOutput(working, nullptr, whole.get()));
  ExpectSame(whole.whole(), working);

  // Each version word comes with the part that it belongs to, unless the public part's size tells it.
  const struct {
    WORD size, extra, spec, spec_after, driver_after;
  } kShapes[] = {{200, 644, 0x0300, 0x0300, 0x0401}, {220, 20, 0x0300, 0x0401, 0x0350}, {188, 20, 0, 0x0320, 0x0350}};
  for (const auto& row : kShapes) {
    const Record shape(row.size, row.extra, row.spec);
    shape->dmDriverVersion = 0x0350;
    EXPECT_TRUE(CopyDevModeToOutput(working, shape.get(), shape.get()));
    EXPECT_EQ(shape->dmSpecVersion, row.spec_after);
    EXPECT_EQ(shape->dmDriverVersion, row.driver_after);
    EXPECT_EQ(std::memcmp(shape.bytes().data() + row.size, &working.dm_private, row.extra), 0);
  }

  const Record newer(300, 9000, 0x0500);
  for (int call = 0; call < 2; ++call) {
    EXPECT_TRUE(CopyDevModeToOutput(working, newer.get(), newer.get())) << "one buffer as shape and output";
    EXPECT_EQ(FormOf(newer.get()).total(), 864u) << "never larger than the driver's own";
    ExpectSame(newer.whole(), working);
  }

  // Of a shape that cannot be converted into, its words are all that comes back.
  const Record unknown(200, 0, 0), refused(220, 644), words(220, 644);
  PutForm(words.get(), FormOf(unknown.get()));
  EXPECT_FALSE(CopyDevModeToOutput(working, unknown.get(), refused.get()));
  EXPECT_EQ(refused.bytes(), words.bytes());
}

TEST_F(Settings, MergeTakesOnlyWhatTheSourceMarks) {
  const auto fill = [](DEVMODEW& record) {
    const RecordForm form = FormOf(&record);
    const DWORD fields = record.dmFields;
    std::memset(&record, 1, sizeof record);  // in every field what no default is, in texts no terminator
    PutForm(&record, form);
    record.dmFields = fields;
    record.dmOrientation = 2;
  };
  DriverDevMode expected = Defaults();
  ValidateDevmode(expected, printer());
  ExpectSame(Merged(0, fill), expected);

  expected.dm_public.dmOrientation = 2;
  ExpectSame(Merged(DM_ORIENTATION, fill), expected);

  // Of the forced ones only the bits are left to see.
  constexpr DWORD kForced = DM_SCALE | DM_YRESOLUTION | DM_COLLATE;
  constexpr DWORD kUnchecked = DM_NUP | DM_ICMMETHOD | DM_ICMINTENT | DM_MEDIATYPE | DM_DITHERTYPE | DM_COLOR |
                               DM_DEFAULTSOURCE | DM_TTOPTION | DM_FORMNAME;
  DEVMODEW& settings = expected.dm_public;
  settings.dmFields |= kUnchecked | kForced;
  settings.dmNup = settings.dmICMMethod = settings.dmICMIntent = settings.dmMediaType = settings.dmDitherType =
      0x01010101;
  settings.dmColor = settings.dmDefaultSource = settings.dmTTOption = 0x0101;
  std::memset(settings.dmFormName, 0, sizeof settings.dmFormName);  // one without a terminator does not fit
  ExpectSame(Merged(DM_ORIENTATION | kUnchecked | kForced, fill), expected);
}

TEST_F(Settings, PrivatePartComesOnlyWithTheSignature) {
  const Record source(Defaults());
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
  const Record cut(188, 16);
  cut->dmFields = 0;
  source.whole().dm_private.signature ^= 1;
  std::memcpy(reinterpret_cast<BYTE*>(cut.get()) + 188, &source.whole().dm_private, 16);
  record.dm_private.mirrorImage = 1;
  EXPECT_TRUE(MergeDevMode(record, cut.get(), printer()));
  EXPECT_EQ(record.dm_private.rotate180, 1u);
  EXPECT_EQ(record.dm_private.mirrorImage, 1u);
}

TEST_F(Settings, UnusableSourceLeavesTheDestination) {
  const DriverDevMode before = Defaults();
  DriverDevMode record = before;
  EXPECT_TRUE(MergeDevMode(record, nullptr, printer()));
  ExpectSame(record, before);  // not even validated
  EXPECT_FALSE(MergeDevMode(record, Record(200, 0, 0).get(), printer()));
  platform::FailCall("calloc", 1);
  EXPECT_FALSE(MergeDevMode(record, Record(before).get(), printer()));
  ExpectSame(record, before);
}

TEST_F(Settings, ValidationForcesEveryField) {
  // One that is not supported, a size of the application's own, one without a label.
  for (const SHORT paper : std::to_array<SHORT>({9, 256, 300})) {
    DriverDevMode record;
    std::memset(&record, 0x7E, sizeof record);  // every number far out of range, no text terminated
    PutForm(&record.dm_public, kCurrentForm);
    record.dm_public.dmPaperSize = paper;
    DriverDevMode expected = record;  // what is not checked stays
    ValidateDevmode(record, printer());

    DEVMODEW& settings = expected.dm_public;
    if (paper < 300) settings.dmPaperSize = 256;
    std::memset(settings.dmFormName, 0, sizeof settings.dmFormName);
    if (paper < 300) std::memcpy(settings.dmFormName, L"Custom", sizeof L"Custom");
    std::memset(settings.dmDeviceName, 0, sizeof settings.dmDeviceName);
    settings.dmPaperWidth = 1048;
    settings.dmPaperLength = 1270;
    settings.dmPrintQuality = settings.dmYResolution = 300;
    settings.dmOrientation = settings.dmCopies = settings.dmDuplex = 1;
    settings.dmScale = 100;
    settings.dmCollate = 0;
    settings.dmFields |= 0x0001000E;
    PrivateDevMode& own = expected.dm_private;
    own.vertOffset = own.horzOffset = 0;
    own.colorAdjust = own.rotate180 = own.mirrorImage = own.usePrivateCopies = 0;
    own.rendIntent = 1;
    own.copies = 1;
    // Whoever gets the record reads its texts up to their terminators.
    std::memset(own.labelName, 0, sizeof own.labelName);
    std::memset(own.width_string, 0, sizeof own.width_string);
    std::memset(own.length_string, 0, sizeof own.length_string);
    std::memset(own.colorProfile, 0, sizeof own.colorProfile);
    ExpectSame(record, expected);
  }
}

TEST_F(Settings, ValuesAtTheirLimitsSurviveValidation) {
  constexpr struct {
    SHORT quality, width, length;
    SHORT quality_kept, width_kept, length_kept;
  } kRows[] = {{600, 10, 254, 600, 10, 254},
               {150, 2970, 9017, 150, 2970, 9017},
               {300, 9, 253, 300, 1048, 1270},
               {1200, 2971, 9018, 300, 1048, 1270},
               {0, -1, -1, 300, 1048, 1270}};
  for (const auto& row : kRows) {
    const DriverDevMode merged =
        Merged(DM_PRINTQUALITY | DM_PAPERSIZE | DM_PAPERWIDTH | DM_PAPERLENGTH, [&](DEVMODEW& at) {
          at.dmPrintQuality = row.quality;
          at.dmPaperSize = 256;
          at.dmPaperWidth = row.width;
          at.dmPaperLength = row.length;
        });
    EXPECT_EQ(merged.dm_public.dmPrintQuality, row.quality_kept);
    EXPECT_EQ(merged.dm_public.dmYResolution, row.quality_kept);
    EXPECT_EQ(merged.dm_public.dmPaperWidth, row.width_kept);
    EXPECT_EQ(merged.dm_public.dmPaperLength, row.length_kept);
  }
  constexpr struct {
    LONG offset, kept;
    DWORD intent, intent_kept;
  } kPrivate[] = {{2400, 2400, 3, 3}, {-2400, -2400, 0, 0}, {2401, 0, 4, 1}, {-2401, 0, 2, 2}};
  for (const auto& [offset, kept, intent, intent_kept] : kPrivate) {
    DriverDevMode record = Defaults();
    record.dm_private.vertOffset = record.dm_private.horzOffset = offset;
    record.dm_private.rendIntent = intent;
    std::memset(record.dm_private.labelName, 'n', kLabelNameSize - 1);
    std::fill_n(record.dm_private.colorProfile, kProfileNameSize - 1, L'p');
    ValidateDevmode(record, printer());
    EXPECT_EQ(std::strlen(record.dm_private.labelName), kLabelNameSize - 1);
    EXPECT_EQ(Text(record.dm_private.colorProfile).size(), kProfileNameSize - 1);
    EXPECT_EQ(record.dm_private.vertOffset, kept);
    EXPECT_EQ(record.dm_private.horzOffset, kept);
    EXPECT_EQ(record.dm_private.rendIntent, intent_kept);
  }
}

TEST_F(Settings, LabelNumbersResolveToTheirLabel) {
  static constexpr char kLongName[] = "A name that is just too long for a form";
  StoreLabel(258, "Inches", "4.125", "5.000", kInches, "-1200", "2401");
  StoreLabel(259, kLongName, "101.6", "50", kMillimetres, "12", "x");
  StoreLabel(260, "Tenths", "66552", "70000", kTenthsOfMillimetre);
  StoreLabel(261, "Low bits", "40000", "65537", kTenthsOfMillimetre);
  const struct {
    SHORT id, width, length;
    const char* form_name;
    const char* label_name;
    LONG vertical, horizontal;
  } kLabels[] = {{258, 1048, 1270, "Inches", "Inches", -1200, 0},  // the other offset is out of range
                 {259, 1016, 500, "", kLongName, 12, 0},           // the other is no number
                 {260, 1016, 4464, "Tenths", "Tenths", 0, 0},      // the low 16 bits
                 {261, 1048, 1270, "Low bits", "Low bits", 0, 0},  // whose low 16 bits are out of range too
                 {300, 1048, 1270, "Custom", "", 0, 0}};           // deleted meanwhile
  for (const auto& label : kLabels) {
    SCOPED_TRACE(label.id);
    const DriverDevMode merged = Merged(DM_PAPERSIZE, [&](DEVMODEW& record) { record.dmPaperSize = label.id; });
    EXPECT_EQ(merged.dm_public.dmPaperSize, label.id);
    EXPECT_EQ(merged.dm_public.dmPaperWidth, label.width);
    EXPECT_EQ(merged.dm_public.dmPaperLength, label.length);
    EXPECT_EQ(Text(merged.dm_public.dmFormName), label.form_name);
    EXPECT_STREQ(merged.dm_private.labelName, label.label_name);
    EXPECT_EQ(merged.dm_private.vertOffset, label.vertical);
    EXPECT_EQ(merged.dm_private.horzOffset, label.horizontal);
    EXPECT_EQ(merged.dm_private.dmPaperSize, 257) << "left to the sheet";
  }

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
  const Record whole(Defaults());
  std::strcpy(whole.whole().dm_private.labelName, "two\nlines");
  DumpDevMode(whole.get());
  EXPECT_TRUE(LogLines().empty()) << "tracing is off";

  log_mask = kMessageBit;
  DumpDevMode(whole.get());
  const auto lines = LogLines();
  ASSERT_EQ(lines.size(), 2u + 29 + 2 + 15);
  EXPECT_EQ(lines[4], "[Info]  dmDriverExtra      = 644");
  EXPECT_EQ(lines[19], "[Info]  dmFormName         = Custom");
  EXPECT_EQ(lines[37], "[Info]  labelName                   = two?lines");
  EXPECT_EQ(lines[44], "[Info]  width_string                = 4.125");
  EXPECT_EQ(lines.back(), "[Info]  </Private-DevMode>");

  // Texts without a terminator, and a private part that ends early: nothing beyond is read.
  DumpDevMode(Record(220, 90).get());
  EXPECT_EQ(LogLines().size() - lines.size(), 2u + 29 + 2 + 8);
  DumpDevMode(Record(188, 112).get());
  EXPECT_EQ(LogLines().back(), "[Info]  DevMode is invalid. The values of sizeof(DEVMODE) and dmSize do not match.");
}

}  // namespace
}  // namespace r5lqz
