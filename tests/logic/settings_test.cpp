#include "../trace_shape.h"
#include "support.h"

namespace r5lqz {
namespace {

class Settings : public ModuleTest {
 protected:
  // What a record holds, in the lines in which the module itself shows it.
  static Lines Shown(const DEVMODEW* record) {
    std::remove(LogFile().c_str());
    log_mask = kMessageBit;
    DumpDevMode(record);
    log_mask = 0;
    return LogLines();
  }

  // The fields in which `after` differs from `before`, with the values that they have there.
  static std::string Changes(const DriverDevMode& before, const DriverDevMode& after) {
    const Lines from = Shown(&before.dm_public), to = Shown(&after.dm_public);
    std::string changes;
    for (std::size_t at = 0; at < to.size(); ++at) {
      if (from[at] == to[at]) continue;
      changes += to[at].substr(8, to[at].find(' ', 8) - 8) + to[at].substr(to[at].find('=')) + ' ';
    }
    return changes;
  }
};

TEST_F(Settings, DefaultsAreTheDocumentedRecord) {
  constexpr WCHAR kName[] = L"0123456789012345678901234567890X";  // 32 characters: not kept, and not cut
  for (const WCHAR* const name : {kName, kName + 1}) {
    DriverDevMode record, nothing{};
    PutForm(&nothing.dm_public, {0, 0, 220, 644});
    std::memset(&record, 0xA5, sizeof record);
    EXPECT_TRUE(SetupDefaultDevMode(record, name, printer()));
    EXPECT_EQ(Changes(nothing, record),
              (name == kName ? "" : "dmDeviceName= 123456789012345678901234567890X ") +
                  std::string("dmDriverVersion= 1025 dmFields= 89859 dmOrientation= 1 dmPaperSize= 257 "
                              "dmPaperLength= 1270 dmPaperWidth= 1048 dmCopies= 1 dmDefaultSource= 15 "
                              "dmPrintQuality= 300 dmColor= 2 dmDuplex= 1 dmYResolution= 300 dmTTOption= 1 "
                              "dmFormName= Custom signature= 405291008 rendIntent= 1 copies= 1 dmPaperSize= 257 "
                              "units= 1 width_string= 4.125 length_string= 5.000 "));
  }
  // The printer's first profile in order, unless no field holds its name: cut it would be another file's.
  const std::pair<std::vector<std::u16string>, std::string> kProfiles[] = {
      {{u"b.icc", u"A.icc", u"a.icc"}, "A.icc"},
      {{std::u16string(260, u'p')}, ""},
      {{std::u16string(259, u'p')}, std::string(259, 'p')}};
  for (const auto& [profiles, first] : kProfiles) {
    platform::SetProfiles(profiles);
    EXPECT_EQ(Text(Defaults().dm_private.colorProfile), first);
  }
  EXPECT_EQ(platform::LastProfileDevice(), kPrinterName);
}

constexpr struct {
  WORD in_size, in_extra, in_spec;
  WORD out_size, out_extra, out_spec;
  LONG copied;
  WORD spec_written;
} kConversions[] = {
    {220, 644, 0x0401, 188, 112, 0, 300, 0x0320},  // the output's version comes from its size
    {220, 644, 0x0401, 212, 0, 0x7777, 212, 0x0400},
    {188, 0, 0, 220, 644, 0x7777, 188, 0x0401},  // a known size needs no version
    {200, 0, 0, 188, 112, 0x7777, -1, 0x7777},   // an unknown one does
    {200, 0, 0x0300, 220, 644, 0x0401, 200, 0x0401},
    {220, 644, 0x0401, 200, 0, 0, -1, 0},
    {220, 644, 0x0401, 200, 0, 0x0300, 200, 0x0300},
    {300, 9000, 0x0500, 220, 644, 0x0401, 864, 0x0401},  // a record of a later version
    {220, 644, 0x0401, 64, 0, 0x0401, -1, 0x0401},       // an output that cannot hold its own header words
    {72, 5, 0x0401, 220, 644, 0x0401, 77, 0x0401},
};

TEST_F(Settings, ConversionCopiesWhatBothHoldAndKeepsTheOutputsForm) {
  for (const auto& one : kConversions) {
    SCOPED_TRACE(testing::Message() << one.in_size << "+" << one.in_extra << " to " << one.out_size << "+"
                                    << one.out_extra);
    const Record in(one.in_size, one.in_extra, one.in_spec), out(one.out_size, one.out_extra, one.out_spec);
    std::memset(reinterpret_cast<BYTE*>(in.get()) + kFormEnd, 0x11, in.span().size() - kFormEnd);
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
  const Record record(220, 644);
  log_mask = kMessageBit;
  EXPECT_EQ(ConvertDevMode(nullptr, record.get()), -1);
  EXPECT_EQ(ConvertDevMode(record.get(), nullptr), -1);
  EXPECT_EQ(tests::TraceShape(LogLines()), "'pdmOut:'{} 'pdmIn:'{}") << "of a record that is not there nothing is said";

  // Two records that overlap: the input's fields come to lie where its words were, and claim 864 bytes of its 220.
  const auto overlapped = std::make_unique<BYTE[]>(8 + 220);
  auto* const out = reinterpret_cast<DEVMODEW*>(overlapped.get());
  auto* const in = reinterpret_cast<DEVMODEW*>(overlapped.get() + 8);
  for (DEVMODEW* const one : {out, in}) PutForm(one, {0x0401, 0x0401, 220, 0});
  in->dmOrientation = 220;
  in->dmPaperSize = 644;
  EXPECT_EQ(ConvertDevMode(in, out), 220);
}

TEST_F(Settings, OutputTakesTheCallersShape) {
  const Record working(Defaults());
  // Each version word comes with the part that it belongs to, unless the public part's size tells it.
  const struct {
    WORD size, extra, spec, size_after, extra_after, spec_after, driver_after;
  } kShapes[] = {{200, 644, 0x0300, 200, 644, 0x0300, 0x0401},
                 {220, 20, 0x0300, 220, 20, 0x0401, 0x0350},
                 {188, 20, 0, 188, 20, 0x0320, 0x0350},
                 {300, 9000, 0x0500, 220, 644, 0x0401, 0x0401}};  // never larger than the driver's own
  for (const auto& row : kShapes) {
    const Record shape(row.size, row.extra, row.spec);  // and output, in one buffer
    shape->dmDriverVersion = 0x0350;
    EXPECT_TRUE(CopyDevModeToOutput(working.whole(), shape.get(), shape.get()));
    const RecordForm form{row.spec_after, row.driver_after, row.size_after, row.extra_after};
    EXPECT_EQ(std::memcmp(shape.bytes().data() + kFormOffset, &form, sizeof form), 0) << row.size;
    EXPECT_EQ(shape.bytes().substr(row.size_after, row.extra_after), working.bytes().substr(220, row.extra_after));
  }
  // Of a shape that cannot be converted into, its words are all that comes back.
  const Record unknown(200, 0, 0), refused(220, 644), words(220, 644);
  PutForm(words.get(), FormOf(unknown.get()));
  EXPECT_FALSE(CopyDevModeToOutput(working.whole(), unknown.get(), refused.get()));
  EXPECT_EQ(refused.bytes(), words.bytes());
}

TEST_F(Settings, MergeTakesOnlyWhatTheSourceMarks) {
  DriverDevMode defaults = Defaults();
  ValidateDevmode(defaults, printer());
  const auto merged_changes = [&](DWORD marked) {
    const Record application(220, 0);
    std::memset(application.get(), 1, 220);  // in every field what no default is, in texts no terminator
    PutForm(application.get(), {0x0401, 0x0401, 220, 0});
    application->dmFields = marked;
    application->dmOrientation = 2;
    DriverDevMode record = Defaults();
    EXPECT_TRUE(MergeDevMode(record, application.get(), printer()));
    return Changes(defaults, record);
  };
  EXPECT_EQ(merged_changes(0), "");
  // Of those that validation forces only the bits are left to see.
  constexpr DWORD kMarked = DM_ORIENTATION | DM_SCALE | DM_YRESOLUTION | DM_COLLATE | DM_NUP | DM_ICMMETHOD |
                            DM_ICMINTENT | DM_MEDIATYPE | DM_DITHERTYPE | DM_COLOR | DM_DEFAULTSOURCE | DM_TTOPTION |
                            DM_FORMNAME;
  EXPECT_EQ(merged_changes(kMarked),
            "dmFields= 125960031 dmOrientation= 2 dmDefaultSource= 257 dmColor= 257 dmTTOption= 257 dmFormName=  "
            "dmNup= 16843009 dmICMMethod= 16843009 dmICMIntent= 16843009 dmMediaType= 16843009 "
            "dmDitherType= 16843009 ");
}

TEST_F(Settings, PrivatePartComesOnlyWithTheSignatureAndAsFarAsItGoes) {
  const Record whole(Defaults()), foreign(Defaults()), cut(188, 16), unknown(200, 0, 0);
  PrivateDevMode& own = whole.whole().dm_private;
  own.rotate180 = own.mirrorImage = 1;
  std::memcpy(reinterpret_cast<BYTE*>(cut.get()) + 188, &own, 16);
  cut->dmFields = 0;
  foreign.whole().dm_private = own;
  foreign.whole().dm_private.signature ^= 1;
  const std::tuple<DEVMODEW*, bool, const char*> kRows[] = {
      {whole.get(), true, "dmFields= 89871 dmScale= 100 rotate180= 1 mirrorImage= 1 "},
      {cut.get(), true, "dmFields= 89871 dmScale= 100 rotate180= 1 "},
      {foreign.get(), true, "dmFields= 89871 dmScale= 100 "},
      {nullptr, true, ""},  // not even validated
      {unknown.get(), false, ""}};
  DriverDevMode record;
  for (const auto& [source, merges, changes] : kRows) {
    record = Defaults();
    EXPECT_EQ(MergeDevMode(record, source, printer()), merges);
    EXPECT_EQ(Changes(Defaults(), record), changes);
  }
  platform::FailCall("calloc", 1);
  EXPECT_FALSE(MergeDevMode(record, whole.get(), printer()));
  EXPECT_EQ(Changes(Defaults(), record), "");
}

TEST_F(Settings, ValidationForcesEveryField) {
  const std::tuple<SHORT, std::string, std::string> kRows[] = {
      {9, "dmPaperSize= 256 ", "Custom"}, {256, "", "Custom"}, {300, "", ""}};  // the last without a label
  for (const auto& [paper, paper_after, form_name] : kRows) {
    DriverDevMode record;
    std::memset(&record, 0x7E, sizeof record);  // every number far out of range, no text terminated
    PutForm(&record.dm_public, kCurrentForm);
    record.dm_public.dmPaperSize = paper;
    const DriverDevMode before = record;
    ValidateDevmode(record, printer());
    EXPECT_EQ(Changes(before, record),
              "dmDeviceName=  dmFields= 2122284670 dmOrientation= 1 " + paper_after +
                  "dmPaperLength= 1270 dmPaperWidth= 1048 dmScale= 100 dmCopies= 1 dmPrintQuality= 300 dmDuplex= 1 "
                  "dmYResolution= 300 dmCollate= 0 dmFormName= " +
                  form_name +
                  " colorAdjust= 0 rendIntent= 1 rotate180= 0 mirrorImage= 0 labelName=  usePrivateCopies= 0 copies= 1 "
                  "vertOffset= 0 horzOffset= 0 width_string=  length_string=  colorProfile=  ");
  }
}

TEST_F(Settings, ValuesAtTheirLimitsSurviveValidation) {
  constexpr struct {
    SHORT orientation, quality, width, length;
    LONG offset;
    DWORD intent, flag;
    const char* changes;
  } kRows[] = {{1, 600, 10, 254, 2400, 3, 1, ""},
               {2, 150, 2970, 9017, -2400, 0, 0, ""},
               {1, 300, 9, 253, 2401, 4, 2,
                "dmPaperLength= 1270 dmPaperWidth= 1048 colorAdjust= 0 rendIntent= 1 rotate180= 0 mirrorImage= 0 "
                "usePrivateCopies= 0 vertOffset= 0 horzOffset= 0 "},
               {3, 1200, 2971, 9018, -2401, 2, 1,
                "dmOrientation= 1 dmPaperLength= 1270 dmPaperWidth= 1048 dmPrintQuality= 300 dmYResolution= 300 "
                "vertOffset= 0 horzOffset= 0 "}};
  for (const auto& row : kRows) {
    DriverDevMode record = Defaults();
    DEVMODEW& settings = record.dm_public;
    settings.dmFields |= 0x0001000E;
    settings.dmPaperSize = 256;
    settings.dmScale = 100;
    settings.dmOrientation = row.orientation;
    settings.dmPrintQuality = settings.dmYResolution = row.quality;
    settings.dmPaperWidth = row.width;
    settings.dmPaperLength = row.length;
    PrivateDevMode& own = record.dm_private;
    own.vertOffset = own.horzOffset = row.offset;
    own.rendIntent = row.intent;
    own.colorAdjust = own.rotate180 = own.mirrorImage = own.usePrivateCopies = row.flag;
    std::memset(own.labelName, 'n', kLabelNameSize - 1);
    std::fill_n(own.colorProfile, kProfileNameSize - 1, L'p');
    const DriverDevMode before = record;
    ValidateDevmode(record, printer());
    EXPECT_EQ(Changes(before, record), row.changes);
  }
}

TEST_F(Settings, LabelNumbersResolveToTheirLabel) {
  const std::string long_name = "A name that is just too long for a form";
  StoreLabel(258, "Inches", "2.500", "10", kInches, "-1200", "2401");
  StoreLabel(259, long_name.c_str(), "101.6", "5O", kMillimetres, "12", "x");
  StoreLabel(260, "Tenths", "66552", "70000", kTenthsOfMillimetre);
  StoreLabel(261, "Low bits", "40000", "65537", kTenthsOfMillimetre, "0", "-7");
  const std::pair<SHORT, std::string> kLabels[] = {
      // The other offset is out of range.
      {258,
       "dmPaperLength= 2540 dmPaperWidth= 635 dmFormName= Inches labelName= Inches vertOffset= -1200 horzOffset= 0 "},
      // The other offset and the length are no numbers: they stay, and become the default.
      {259, "dmPaperWidth= 1016 dmFormName=  labelName= " + long_name + " vertOffset= 12 "},
      // The low 16 bits, which are out of range too in the next.
      {260, "dmPaperLength= 4464 dmPaperWidth= 1016 dmFormName= Tenths labelName= Tenths horzOffset= 0 "},
      {261, "dmFormName= Low bits labelName= Low bits horzOffset= -7 "},
      {300, ""}};  // deleted meanwhile
  for (const auto& [id, changes] : kLabels) {
    DriverDevMode record = Defaults();
    ValidateDevmode(record, printer());
    record.dm_public.dmPaperSize = id;
    record.dm_private.horzOffset = 5;
    const DriverDevMode before = record;
    ValidateDevmode(record, printer());
    EXPECT_EQ(Changes(before, record), changes) << "the private paper number is left to the sheet";
  }
  // A record whose private part says that its sizes belong to the paper already asks the store nothing.
  DriverDevMode settled = Defaults();
  settled.dm_public.dmPaperSize = settled.dm_private.dmPaperSize = 258;
  const auto calls = platform::TotalCalls();
  ValidateForm(settled, printer());
  EXPECT_EQ(platform::TotalCalls(), calls);
}

TEST_F(Settings, DumpShowsWhatTheRecordHolds) {
  const Record whole(Defaults());
  std::strcpy(whole.whole().dm_private.labelName, "two\nlines");
  const Lines lines = Shown(whole.get());
  ASSERT_EQ(lines.size(), 2u + 29 + 2 + 15);
  EXPECT_EQ(lines[4], "[Info]  dmDriverExtra      = 644");
  EXPECT_EQ(lines[37], "[Info]  labelName                   = two?lines");
  // Texts without a terminator, and a private part that ends early: nothing beyond is read.
  EXPECT_EQ(Shown(Record(220, 90).get()).size(), 2u + 29 + 2 + 8);
  EXPECT_EQ(Shown(Record(188, 112).get()),
            Lines{"[Info]  DevMode is invalid. The values of sizeof(DEVMODE) and dmSize do not match."});
}

}  // namespace
}  // namespace r5lqz
