#include <numeric>

#include "entry/document_properties.h"
#include "entry/forms.h"
#include "entry/properties_context.h"
#include "install/printer_event.h"
#include "support.h"

namespace r5lqz {
namespace {

constexpr DWORD kUntouchedError = 0xDEAD;

class EntryPoints : public ModuleTest {
 protected:
  EntryPoints() { SetLastError(kUntouchedError); }

  struct Converted {
    BOOL result;
    LONG count;
    DWORD error;
  };
  Converted Convert(const DEVMODEW* in, DEVMODEW* out, LONG count, DWORD mode) {
    WCHAR name[] = L"Labels";
    SetLastError(kUntouchedError);
    const BOOL result = DrvConvertDevMode(name, const_cast<DEVMODEW*>(in), out, &count, mode);
    return {result, count, GetLastError()};
  }
  static void ExpectConverted(const Converted& got, BOOL result, LONG count, DWORD error = kUntouchedError) {
    EXPECT_EQ(got.result, result);
    EXPECT_EQ(got.count, count);
    if (!result) EXPECT_EQ(got.error, error);
  }

  LONG DocumentProperties(DEVMODEW* in, DEVMODEW* out, DWORD mode) {
    DOCUMENTPROPERTYHEADER header{sizeof header, 0, printer(), nullptr, in, out, 0xDEAD, mode};
    const LONG result = DrvDocumentPropertySheets(nullptr, reinterpret_cast<LPARAM>(&header));
    EXPECT_EQ(header.cbOut, 864u);
    return result;
  }

  BOOL Query(DEVMODEW* job) {
    WCHAR text[4] = {0xA5A5, 0xA5A5};
    DEVQUERYPRINT_INFO info{sizeof info, 1, printer(), job, text, 4, 0xA5};
    const BOOL result = DevQueryPrintEx(&info);
    EXPECT_EQ(text[0], 0xA5A5);
    EXPECT_EQ(info.cchNeeded, 0xA5u);
    return result;
  }

  DWORD Capability(WORD index, void* output = nullptr, DEVMODEW* record = nullptr) {
    WCHAR device[] = L"Labels";
    return DrvDeviceCapabilities(printer(), device, index, output, record);
  }
};

TEST_F(EntryPoints, ConvertRefusesByModeAndSize) {
  const Record full(Defaults());
  const Record out(220, 644);
  SetLastError(kUntouchedError);
  EXPECT_FALSE(DrvConvertDevMode(nullptr, full.get(), out.get(), nullptr, CDM_CONVERT));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});

  const std::string before = out.bytes();
  struct Case {
    DWORD mode;
    const DEVMODEW* in;
    DEVMODEW* out;
    LONG count, count_after;
    DWORD error;
  };
  const Case kCases[] = {
      {CDM_CONVERT, full.get(), nullptr, 864, 864, ERROR_INVALID_PARAMETER},
      {CDM_CONVERT, full.get(), out.get(), 863, 863, ERROR_INVALID_PARAMETER},
      {CDM_CONVERT, full.get(), out.get(), 71, 71, ERROR_INVALID_PARAMETER},
      {CDM_CONVERT, full.get(), out.get(), -1, -1, ERROR_INVALID_PARAMETER},
      {CDM_CONVERT, nullptr, out.get(), 864, 864, ERROR_INVALID_PARAMETER},
      {CDM_CONVERT351, full.get(), out.get(), 299, 300, ERROR_INSUFFICIENT_BUFFER},
      {CDM_CONVERT351, full.get(), nullptr, 300, 300, ERROR_INSUFFICIENT_BUFFER},
      {CDM_CONVERT351, nullptr, out.get(), 864, 864, ERROR_INVALID_PARAMETER},
      {CDM_DRIVER_DEFAULT, nullptr, out.get(), 863, 864, ERROR_INSUFFICIENT_BUFFER},
      {CDM_DRIVER_DEFAULT, nullptr, nullptr, 0, 864, ERROR_INSUFFICIENT_BUFFER},
      {0, full.get(), out.get(), 864, 864, kUntouchedError},
      {3, full.get(), out.get(), 864, 864, kUntouchedError},
      {5, full.get(), out.get(), 864, 864, kUntouchedError},
  };
  for (const Case& one : kCases) {
    SCOPED_TRACE(testing::Message() << "mode " << one.mode << ", count " << one.count);
    ExpectConverted(Convert(one.in, one.out, one.count, one.mode), FALSE, one.count_after, one.error);
    EXPECT_EQ(out.bytes(), before);
  }
}

TEST_F(EntryPoints, ConvertMakesEachForm) {
  const Record full(Defaults());
  const Record older(188, 112, 0);
  ExpectConverted(Convert(full.get(), older.get(), 1000, CDM_CONVERT), TRUE, 300);
  EXPECT_EQ(older->dmSpecVersion, 0x0320);

  const Record exact(200, 100);
  ExpectConverted(Convert(full.get(), exact.get(), 300, CDM_CONVERT351), TRUE, 300);
  const RecordForm form = FormOf(exact.get());
  EXPECT_EQ(form.public_size, 188);
  EXPECT_EQ(form.spec_version, 0x0320);
  EXPECT_EQ(form.driver_version, 0x0350);
  EXPECT_EQ(form.private_size, 112);

  const Record defaults(220, 644);
  ExpectConverted(Convert(nullptr, defaults.get(), 864, CDM_DRIVER_DEFAULT), TRUE, 864);
  EXPECT_EQ(Text(defaults->dmDeviceName), kDriverName);
  EXPECT_EQ(defaults->dmFields, 0x00015F03u);

  platform::FailCall("OpenPrinterW", 1, ERROR_ACCESS_DENIED);
  ExpectConverted(Convert(nullptr, defaults.get(), 864, CDM_DRIVER_DEFAULT), FALSE, 864, ERROR_ACCESS_DENIED);
  platform::FailCall("GetPrinterW", 2, ERROR_GEN_FAILURE);
  ExpectConverted(Convert(nullptr, defaults.get(), 864, CDM_DRIVER_DEFAULT), FALSE, 864, ERROR_GEN_FAILURE);
}

TEST_F(EntryPoints, SizeQueryTouchesNothing) {
  Record out(220, 644);
  const auto calls = platform::TotalCalls();
  EXPECT_EQ(DocumentProperties(nullptr, out.get(), 0), 864);
  EXPECT_EQ(DocumentProperties(nullptr, nullptr, DM_OUT_BUFFER), 864);
  EXPECT_EQ(DrvDocumentPropertySheets(nullptr, 0), -1);
  EXPECT_EQ(platform::TotalCalls(), calls);
}

TEST_F(EntryPoints, DocumentPropertiesLayDefaultsStoredAndCallersRecords) {
  Record stored(Defaults());
  stored.whole().dm_private.mirrorImage = 1;
  stored->dmOrientation = 2;
  platform::SetDevMode(kPrinterName, stored.span());

  Record out(220, 644);
  EXPECT_EQ(DocumentProperties(nullptr, out.get(), DM_OUT_BUFFER), 1);
  EXPECT_EQ(Text(out->dmDeviceName), kDriverName);
  EXPECT_EQ(out.whole().dm_private.mirrorImage, 1u);
  EXPECT_EQ(out->dmOrientation, 2);

  Record in(188, 0);
  in->dmFields = DM_ORIENTATION;
  in->dmOrientation = 1;
  Record small(188, 0, 0);
  EXPECT_EQ(DocumentProperties(in.get(), small.get(), DM_IN_BUFFER | DM_OUT_BUFFER), 1);
  EXPECT_EQ(small->dmOrientation, 1);
  EXPECT_EQ(FormOf(small.get()).total(), 188u);

  const std::string before = out.bytes();
  EXPECT_EQ(DocumentProperties(in.get(), out.get(), DM_IN_BUFFER), 1);
  EXPECT_EQ(out.bytes(), before) << "no output was asked for";
  EXPECT_EQ(DocumentProperties(Record(200, 0, 0).get(), Record(220, 644).get(), DM_OUT_BUFFER), 1)
      << "a record that cannot be merged still gets an answer";
}

TEST_F(EntryPoints, StoredRecordThatClaimsMoreThanItHasIsLeftOut) {
  Record stored(Defaults());
  stored->dmOrientation = 2;
  for (const std::size_t size : {std::size_t{863}, std::size_t{220}, std::size_t{71}, std::size_t{1}}) {
    platform::SetDevMode(kPrinterName, stored.span().first(size));
    Record out(220, 644);
    EXPECT_EQ(DocumentProperties(nullptr, out.get(), DM_OUT_BUFFER), 1);
    EXPECT_EQ(out->dmOrientation, 1) << size;
  }
}

TEST_F(EntryPoints, MissingPrinterOrInformationIsAFailureResult) {
  Record out(220, 644);
  const std::string before = out.bytes();
  DOCUMENTPROPERTYHEADER header{sizeof header, 0, nullptr, nullptr, nullptr, out.get(), 0, DM_OUT_BUFFER};
  EXPECT_EQ(CopyDocumentProperties(header), -1);
  for (const char* const call : {"HeapCreate", "HeapAlloc", "GlobalAlloc"}) {
    platform::FailCall(call, 1);
    EXPECT_EQ(DocumentProperties(nullptr, out.get(), DM_OUT_BUFFER), -1) << call;
  }
  EXPECT_EQ(out.bytes(), before);
  platform::OmitNames(kPrinterName);
  EXPECT_EQ(DocumentProperties(nullptr, out.get(), DM_OUT_BUFFER), 1) << "a printer without names still has settings";
  EXPECT_EQ(DrvDeviceCapabilities(nullptr, nullptr, DC_SIZE, nullptr, nullptr), 220u);
}

TEST_F(EntryPoints, FormIsRegisteredOncePerPrinter) {
  const auto marker = [] {
    const auto data = platform::GetData(kPrinterName, "", "Forms?");
    return data && data->bytes.size() == 4 ? static_cast<int>(data->bytes[0]) : -1;
  };
  Record out(220, 644);
  for (int call = 0; call < 3; ++call) EXPECT_EQ(DocumentProperties(nullptr, out.get(), DM_OUT_BUFFER), 1);
  const auto forms = platform::Forms(kPrinterName);
  ASSERT_EQ(forms.size(), 1u);
  EXPECT_EQ(forms[0].name, "Custom");
  EXPECT_EQ(forms[0].flags, DWORD{FORM_USER});
  EXPECT_EQ(forms[0].size.cx + forms[0].size.cy + forms[0].imageable_area.right + forms[0].imageable_area.bottom, 0);
  EXPECT_EQ(platform::Calls("AddFormW"), 1u);
  EXPECT_EQ(marker(), 2);

  struct Marker {
    DWORD type;
    std::string bytes;
    bool registers;
  };
  const Marker kMarkers[] = {{REG_DWORD, {1, 0, 0, 0}, false},
                             {REG_BINARY, {2, 0, 0, 0}, false},
                             {REG_DWORD, {0, 0, 0, 0}, true},
                             {REG_DWORD, std::string(8, '\1'), true}};
  for (const Marker& one : kMarkers) {
    platform::SetData(kPrinterName, "", "Forms?", one.type, std::as_bytes(std::span(one.bytes)));
    const auto added = platform::Calls("AddFormW");
    EXPECT_TRUE(AddPrinterForms(printer()));
    EXPECT_EQ(platform::Calls("AddFormW") - added, one.registers ? 1u : 0u);
    if (one.registers) EXPECT_EQ(marker(), 2);
  }
}

TEST_F(EntryPoints, PrintQueryKnowsLabelsAndCustomSizes) {
  StoreLabel(258, "Label", "50", "60", kMillimetres);
  EXPECT_TRUE(Query(nullptr));
  EXPECT_FALSE(DevQueryPrintEx(nullptr));
  Record job(Defaults());
  for (const auto& [paper, known] : std::initializer_list<std::pair<SHORT, BOOL>>{
           {SHORT{256}, TRUE}, {SHORT{258}, TRUE}, {SHORT{257}, FALSE}, {SHORT{259}, FALSE}, {SHORT{9}, FALSE}}) {
    job->dmPaperSize = paper;
    EXPECT_EQ(Query(job.get()), known) << paper;
  }
  EXPECT_FALSE(Query(Record(200, 0, 0).get())) << "cannot be merged";
  Record short_job(76, 0);
  EXPECT_FALSE(Query(short_job.get())) << "ends before its paper";
}

TEST_F(EntryPoints, DocumentEventsSwitchTheTraceAndNameTheFilter) {
  const auto event = [](int code, ULONG size = 0, void* out = nullptr) {
    return DrvDocumentEvent(nullptr, nullptr, code, 0, nullptr, size, out);
  };
  std::ofstream(LogFile("r5-lqz-ui.dat")) << "3";
  EXPECT_EQ(event(DOCUMENTEVENT_CREATEDCPRE), 1);
  EXPECT_EQ(log_mask, 0u);
  EXPECT_EQ(event(DOCUMENTEVENT_STARTDOCPRE), 1);
  EXPECT_EQ(log_mask, 3u);
  std::remove(LogFile("r5-lqz-ui.dat").c_str());
  EXPECT_EQ(event(0x10000 | DOCUMENTEVENT_STARTDOCPRE), 1) << "with the flag of a spooled job";
  EXPECT_EQ(log_mask, 0u);
  for (const int code : {0, 2, 6, 13, 15, -1}) EXPECT_EQ(event(code), 0) << code;

  for (UINT room = 0; room <= 3; ++room) {
    // Exactly as long as its elements.
    std::vector<UINT> filter{4 * (4 + room), room, 77, 77};
    filter.resize(4 + room, 77);
    EXPECT_EQ(event(DOCUMENTEVENT_QUERYFILTER, static_cast<ULONG>(4 * filter.size()), filter.data()), 1);
    EXPECT_EQ(filter[2], room < 2 ? 2u : 77u);
    EXPECT_EQ(filter[3], room < 2 ? 77u : 2u);
    if (room >= 2) EXPECT_TRUE(filter[4] == 14 && filter[5] == 5);
    filter[1] = 1000;  // claims more than it has
    EXPECT_EQ(event(DOCUMENTEVENT_QUERYFILTER, static_cast<ULONG>(4 * filter.size()), filter.data()), 1);
  }
  EXPECT_EQ(event(DOCUMENTEVENT_QUERYFILTER, 15, std::make_unique<BYTE[]>(15).get()), 1);
  EXPECT_EQ(event(DOCUMENTEVENT_QUERYFILTER), 1);
}

TEST_F(EntryPoints, CapabilitiesOfThePrinterAreFixed) {
  const std::pair<WORD, DWORD> kAnswers[] = {
      {DC_MINEXTENT, 0x00FE000A}, {DC_MAXEXTENT, 0x23390B9A}, {DC_BINS, 1}, {DC_DUPLEX, 1}, {DC_BINNAMES, 1},
      {DC_ENUMRESOLUTIONS, 3}, {DC_FILEDEPENDENCIES, 0}, {DC_TRUETYPE, 1}, {DC_ORIENTATION, 90}, {DC_COPIES, 1},
      {DC_PAPERS, 0}, {DC_PAPERSIZE, 0}, {DC_PAPERNAMES, 0}, {DC_SIZE, 220}, {DC_EXTRA, 644}, {DC_VERSION, 0x0401},
      {DC_DRIVER, 0x0401}, {DC_FIELDS, 0x00015F03}, {0, GDI_ERROR}, {19, GDI_ERROR}, {33, GDI_ERROR}, {0xFFFF, GDI_ERROR}};
  for (const auto& [index, answer] : kAnswers) EXPECT_EQ(Capability(index), answer) << index;
  for (const WORD index : {DC_FIELDS, DC_SIZE, DC_EXTRA, DC_VERSION, DC_DRIVER}) {
    EXPECT_EQ(Capability(index, nullptr, Record(200, 0, 0).get()), GDI_ERROR) << index;
  }

  // Outputs of exactly the bytes that an answer has; one byte more would be seen.
  const auto output = [this](WORD index, std::size_t size) {
    const auto bytes = std::make_unique<BYTE[]>(size);
    std::memset(bytes.get(), 0xA5, size);
    Capability(index, bytes.get());
    return std::string(reinterpret_cast<char*>(bytes.get()), size);
  };
  const auto words = [](std::initializer_list<LONG> values) {
    return std::string(reinterpret_cast<const char*>(std::data(values)), values.size() * sizeof(LONG));
  };
  EXPECT_EQ(output(DC_MINEXTENT, 8), words({10, 254}));
  EXPECT_EQ(output(DC_MAXEXTENT, 8), words({2970, 9017}));
  EXPECT_EQ(output(DC_ENUMRESOLUTIONS, 24), words({600, 600, 300, 300, 150, 150}));
  EXPECT_EQ(output(DC_BINS, 2), std::string("\0\1", 2));
  EXPECT_EQ(output(DC_FILEDEPENDENCIES, 2), std::string(2, '\0'));
  EXPECT_EQ(output(DC_BINNAMES, 48), std::string("F\0e\0e\0d\0e\0r\0", 12) + std::string(36, '\0'));
}

TEST_F(EntryPoints, CapabilitiesOfLabelsAgreeWithTheirCount) {
  StoreLabel(258, "Four inches", "4.125", "5.000", kInches);
  StoreLabel(261, "\xC9tiquette", "104.8", "127.0", kMillimetres);
  StoreLabel(260, std::string(63, 'n').c_str(), "1048", "1270", kTenthsOfMillimetre);
  StoreLabel(259, "No number", "4,125", "70000", kTenthsOfMillimetre);
  const auto labels = Labels();
  ASSERT_EQ(Capability(DC_PAPERS), 4u);

  const std::unique_ptr<WORD[]> papers(new WORD[4]);
  const std::unique_ptr<POINT[]> sizes(new POINT[4]);
  const std::unique_ptr<WCHAR[]> names(new WCHAR[std::size_t{4} * 64]);
  std::memset(names.get(), 0xA5, std::size_t{4} * 64 * sizeof(WCHAR));
  EXPECT_EQ(Capability(DC_PAPERS, papers.get()), 4u);
  EXPECT_EQ(Capability(DC_PAPERSIZE, sizes.get()), 4u);
  EXPECT_EQ(Capability(DC_PAPERNAMES, names.get()), 4u);
  for (std::size_t at = 0; at < labels.size(); ++at) {
    EXPECT_EQ(papers[at], labels[at].id);
    EXPECT_EQ(Text(&names[64 * at]), labels[at].name);
    EXPECT_TRUE(std::all_of(&names[64 * at] + std::strlen(labels[at].name), &names[64 * at] + 64,
                            [](WCHAR character) { return character == 0; }));
    const bool unusable = labels[at].id == 259;
    EXPECT_EQ(sizes[at].x, unusable ? 0 : 1048);
    EXPECT_EQ(sizes[at].y, unusable ? static_cast<SHORT>(70000) : 1270);
  }
}

TEST_F(EntryPoints, ColorProfileIsNamedForRecordsOfThisDriver) {
  constexpr char16_t kName[] = u"sRGB Color Space Profile.icm";
  static_assert(sizeof kName == 58);
  Record record(Defaults());
  record.whole().dm_private.colorAdjust = 1;
  const auto query = [](DEVMODEW* job, ULONG mode, void* name, ULONG& size, ULONG& flags) {
    size = name ? size : 0;
    SetLastError(kUntouchedError);
    return DrvQueryColorProfile(nullptr, job, mode, name, &size, &flags);
  };
  const auto name = std::make_unique<BYTE[]>(58);
  ULONG flags = 77;
  ULONG size = 58;
  EXPECT_TRUE(query(record.get(), QCP_DEVICEPROFILE, name.get(), size, flags));
  EXPECT_EQ(std::memcmp(name.get(), kName, sizeof kName), 0);
  EXPECT_EQ(size, 58u);
  EXPECT_EQ(flags, 2u);

  std::memset(name.get(), 0, 58);
  for (void* const buffer : {static_cast<void*>(name.get()), static_cast<void*>(nullptr)}) {
    size = 57;
    EXPECT_FALSE(query(record.get(), QCP_DEVICEPROFILE, buffer, size, flags));
    EXPECT_EQ(size, 58u);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
  }
  EXPECT_EQ(name[0], 0);
  size = 58;
  EXPECT_FALSE(query(record.get(), 1, name.get(), size, flags));
  EXPECT_FALSE(query(nullptr, QCP_DEVICEPROFILE, name.get(), size, flags));
  EXPECT_FALSE(query(Record(188, 112).get(), QCP_DEVICEPROFILE, name.get(), size, flags));
  EXPECT_FALSE(query(Record(220, 3).get(), QCP_DEVICEPROFILE, name.get(), size, flags)) << "ends within its signature";
  EXPECT_EQ(GetLastError(), kUntouchedError);
  EXPECT_EQ(size, 58u);
}

TEST_F(EntryPoints, CreatedPrinterGetsItsOption) {
  WCHAR name[] = L"Labels";
  WCHAR unknown[] = L"Nobody";
  const auto option = [] { return platform::GetData(kPrinterName, "", "bufferPrintJob"); };
  log_mask = kMessageBit;
  for (int event = 0; event < 8; ++event) {
    if (event != PRINTER_EVENT_INITIALIZE) EXPECT_TRUE(DrvPrinterEvent(name, event, 0, 0));
  }
  EXPECT_FALSE(option());
  EXPECT_TRUE(DrvPrinterEvent(name, PRINTER_EVENT_INITIALIZE, 0, 0));
  const platform::Data one{REG_DWORD, {std::byte{1}, {}, {}, {}}};
  EXPECT_EQ(option(), one);
  EXPECT_EQ(platform::Calls("ImpersonatePrinterClient"), 0u);

  platform::SetDataDword(kPrinterName, "", "bufferPrintJob", 0);
  EXPECT_TRUE(DrvPrinterEvent(name, PRINTER_EVENT_INITIALIZE, 0, 0));
  EXPECT_NE(option(), one) << "an option once stored survives";
  platform::SetDataText(kPrinterName, "", "bufferPrintJob", "1");
  EXPECT_TRUE(DrvPrinterEvent(name, PRINTER_EVENT_INITIALIZE, 0, 0));
  EXPECT_EQ(option(), one);
  EXPECT_TRUE(LogLines().empty());

  EXPECT_TRUE(DrvPrinterEvent(unknown, PRINTER_EVENT_INITIALIZE, 0, 0));
  EXPECT_EQ(LogLines().back(), "[Error] Could not get printer handle: 0x709");
  platform::RemoveData(kPrinterName, "", "bufferPrintJob");
  platform::DenyWrites(kPrinterName);
  EXPECT_TRUE(DrvPrinterEvent(name, PRINTER_EVENT_INITIALIZE, 0, 0));
  EXPECT_EQ(LogLines()[1], "[Error] Could not set buffer print job value: 0x5");
  EXPECT_EQ(LogLines()[2], "[Error] Could not set default buffer print job option");
}

TEST_F(EntryPoints, OptionIsStoredUnderTheSpoolersIdentity) {
  platform::DenyFullAccess(kPrinterName, platform::Denied::kPlain);  // the client may not
  platform::SetImpersonating(true);
  EXPECT_TRUE(SetBufferPrintJob(printer(), 0));
  EXPECT_TRUE(platform::IsImpersonating()) << "the client is back";
  platform::DenyFullAccess(kPrinterName);
  log_mask = kMessageBit;
  EXPECT_FALSE(SetBufferPrintJob(printer(), 1));
  EXPECT_TRUE(platform::IsImpersonating());
  EXPECT_EQ(LogLines().back(), "[Error] Couldn't get printer handle: 0x5");
  EXPECT_EQ(GetPrinterName(nullptr), nullptr);
  EXPECT_EQ(LogLines().back(), "[Error] GetPrinterName: GetPrinter failed: 0x6");
}

}  // namespace
}  // namespace r5lqz
