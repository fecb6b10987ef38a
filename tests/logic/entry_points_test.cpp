#include "entry/exports/document_properties.h"
#include "entry/shared/forms.h"
#include "entry/shared/properties_context.h"
#include "entry/shared/printer_info.h"
#include "install/printer_event.h"
#include "../trace_shape.h"
#include "support.h"

namespace r5lqz {
namespace {

constexpr DWORD kUntouchedError = 0xDEAD;

class EntryPoints : public ModuleTest {
 protected:
  EntryPoints() { SetLastError(kUntouchedError); }

  BOOL Convert(const DEVMODEW* in, DEVMODEW* out, LONG& count, DWORD mode) {
    WCHAR name[] = L"Labels";
    SetLastError(kUntouchedError);
    return DrvConvertDevMode(name, const_cast<DEVMODEW*>(in), out, &count, mode);
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

TEST_F(EntryPoints, ConvertAnswersByModeAndSize) {
  const Record full(Defaults());
  const Record unknown(200, 0, 0), nothing(0, 0);
  const DEVMODEW* const in = full.get();
  constexpr DWORD kDone = ERROR_SUCCESS;
  const struct {
    DWORD mode;
    const DEVMODEW* in;
    bool has_out;
    LONG count, count_after;
    DWORD error;
    bool older_words = false;  // in the output, though nothing was converted into it
  } kCases[] = {
      {CDM_CONVERT, in, false, 864, 864, ERROR_INVALID_PARAMETER},
      {CDM_CONVERT, in, true, 863, 863, ERROR_INVALID_PARAMETER},
      {CDM_CONVERT, in, true, -1, -1, ERROR_INVALID_PARAMETER},
      {CDM_CONVERT, nullptr, true, 864, 864, ERROR_INVALID_PARAMETER},
      {CDM_CONVERT, unknown.get(), true, 864, 864, ERROR_INVALID_PARAMETER},
      {CDM_CONVERT, in, true, 865, 864, kDone},
      {CDM_CONVERT351, in, true, 299, 300, ERROR_INSUFFICIENT_BUFFER},
      {CDM_CONVERT351, in, true, -1, 300, ERROR_INSUFFICIENT_BUFFER},
      {CDM_CONVERT351, in, false, 300, 300, ERROR_INSUFFICIENT_BUFFER},
      {CDM_CONVERT351, nullptr, true, 864, 864, ERROR_INVALID_PARAMETER, true},
      {CDM_CONVERT351, unknown.get(), true, 300, 300, ERROR_INVALID_PARAMETER, true},
      {CDM_CONVERT351, nothing.get(), true, 864, 864, ERROR_INVALID_PARAMETER, true},
      {CDM_CONVERT351, in, true, 864, 300, kDone},
      {CDM_DRIVER_DEFAULT, nullptr, true, 863, 864, ERROR_INSUFFICIENT_BUFFER},
      {CDM_DRIVER_DEFAULT, nullptr, false, 0, 864, ERROR_INSUFFICIENT_BUFFER},
      {CDM_DRIVER_DEFAULT, nullptr, true, 864, 864, kDone},
      {3, in, true, 864, 864, kUntouchedError},
  };
  for (const auto& one : kCases) {
    SCOPED_TRACE(testing::Message() << "mode " << one.mode << ", count " << one.count);
    const Record out(220, 644), expected(220, 644);
    if (one.older_words) PutForm(expected.get(), kOlderForm);
    LONG count = one.count;
    EXPECT_EQ(Convert(one.in, one.has_out ? out.get() : nullptr, count, one.mode), one.error == kDone);
    EXPECT_EQ(count, one.count_after);
    if (one.error == kDone) continue;
    EXPECT_EQ(GetLastError(), one.error);
    EXPECT_EQ(out.bytes(), expected.bytes()) << "a refused call changes no more";
  }
  const Record stale(220, 644, 0x7777);
  LONG count = 864;
  EXPECT_FALSE(Convert(nothing.get(), stale.get(), count, CDM_CONVERT));
  EXPECT_EQ(stale->dmSpecVersion, 0x0401) << "written, though the two records have nothing in common";
  // A buffer of exactly the bytes that it is said to have, too few for the words.
  const auto cut = std::make_unique<BYTE[]>(kFormEnd - 1);
  EXPECT_FALSE(Convert(in, reinterpret_cast<DEVMODEW*>(cut.get()), count = kFormEnd - 1, CDM_CONVERT));
  EXPECT_FALSE(DrvConvertDevMode(nullptr, full.get(), Record(220, 644).get(), nullptr, CDM_CONVERT));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
}

TEST_F(EntryPoints, ConvertMakesEachForm) {
  const Record full(Defaults());
  LONG count = 300;
  const Record exact(200, 100);
  EXPECT_TRUE(Convert(full.get(), exact.get(), count, CDM_CONVERT351));
  constexpr WORD kForm[] = {0x0320, 0x0350, 188, 112};
  EXPECT_EQ(std::memcmp(exact.bytes().data() + kFormOffset, kForm, sizeof kForm), 0);
  const Record both(full.whole());
  count = 864;
  EXPECT_TRUE(Convert(both.get(), both.get(), count, CDM_CONVERT351)) << "one buffer as input and output";
  EXPECT_EQ(both.bytes().substr(0, 300), exact.bytes());

  // Words that another thread changes meanwhile: each block ends where they ended at the call.
  const Record small(220, 80);
  int records = 0;
  const auto grow = [&](const char*) { small->dmDriverExtra = ++records < 2 ? 80 : 644; };
  log_mask = kTraceBit;
  platform::SetCallHook(grow, "WriteFile");
  count = 300;
  EXPECT_TRUE(Convert(full.get(), small.get(), count, CDM_CONVERT));
  EXPECT_EQ(count, 300);
  const Record shape(220, 80);
  records = 1;
  EXPECT_TRUE(CopyDevModeToOutput(full.whole(), shape.get(), small.get()));
  platform::SetCallHook(nullptr);
  log_mask = 0;

  // At an odd address.
  const auto room = std::make_unique<BYTE[]>(865);
  auto* const defaults = reinterpret_cast<DEVMODEW*>(room.get() + 1);
  count = 864;
  platform::DenyAccess(kPrinterName);  // no more is asked for than anybody has
  ASSERT_TRUE(Convert(nullptr, defaults, count, CDM_DRIVER_DEFAULT));
  const Record made(220, 644);
  std::memcpy(made.get(), room.get() + 1, 864);
  EXPECT_EQ(Text(made->dmDeviceName), kDriverName);
  EXPECT_EQ(made->dmFields, 0x00015F03u);
  for (const char* const call : {"OpenPrinterW", "GetPrinterW"}) {
    platform::FailCall(call, 1, ERROR_ACCESS_DENIED);
    EXPECT_FALSE(Convert(nullptr, defaults, count, CDM_DRIVER_DEFAULT));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED}) << call;
  }
}

// Every record and output is a block of exactly its size.
TEST_F(EntryPoints, RecordsOfEverySizeAreAnsweredInTheirForm) {
  const DriverDevMode defaults = Defaults();
  for (const WORD public_size : {72, 76, 188, 213, 220, 300}) {
    for (const WORD extra : {0, 1, 3, 4, 112, 643, 644, 2000}) {
      SCOPED_TRACE(testing::Message() << "record of " << public_size << " + " << extra);
      const WORD public_back = std::min(public_size, kPublicSize);
      const WORD extra_back = std::min(extra, kPrivateSize);
      const Record in(public_size, extra);
      BYTE* const bytes = reinterpret_cast<BYTE*>(in.get());
      std::memcpy(bytes, &defaults, public_back);
      std::memcpy(bytes + public_size, &defaults.dm_private, extra_back);
      PutForm(in.get(), {0x0401, 0x0401, public_size, extra});
      const Record out(public_back, extra_back);
      EXPECT_EQ(DocumentProperties(in.get(), out.get(), DM_IN_BUFFER | DM_OUT_BUFFER), 1);
      EXPECT_EQ(out->dmSize, public_back);
      EXPECT_EQ(out->dmDriverExtra, extra_back);
      EXPECT_NE(out.bytes().back(), '\xA5') << "the whole of the form is written";
      EXPECT_EQ(Capability(DC_VERSION, nullptr, in.get()), 0x0401u);
      BYTE name[58];
      ULONG size = sizeof name, flags = 0;
      EXPECT_EQ(DrvQueryColorProfile(nullptr, in.get(), QCP_DEVICEPROFILE, name, &size, &flags),
                public_size == kPublicSize && extra >= 4)
          << "signed where this driver signs";
    }
  }
}

TEST_F(EntryPoints, DocumentPropertiesWithoutPrinterOrMemory) {
  const Record out(220, 644);
  const std::string before = out.bytes();
  const auto calls = platform::TotalCalls();
  EXPECT_EQ(DocumentProperties(nullptr, out.get(), 0), 864);
  EXPECT_EQ(DocumentProperties(nullptr, nullptr, DM_OUT_BUFFER), 864);
  EXPECT_EQ(DrvDocumentPropertySheets(nullptr, 0), -1);
  EXPECT_EQ(platform::TotalCalls(), calls) << "a size query asks nobody";
  DOCUMENTPROPERTYHEADER header{sizeof header, 0, nullptr, nullptr, nullptr, out.get(), 0, DM_OUT_BUFFER};
  EXPECT_EQ(CopyDocumentProperties(header), -1);
  for (const char* const call : {"HeapCreate", "HeapAlloc", "GlobalAlloc"}) {
    platform::FailCall(call, 1);
    EXPECT_EQ(DocumentProperties(nullptr, out.get(), DM_OUT_BUFFER), -1) << call;
  }
  EXPECT_EQ(DocumentProperties(nullptr, out.get(), DM_IN_BUFFER), 1) << "no output was asked for";
  EXPECT_EQ(out.bytes(), before);
  platform::OmitNames(kPrinterName);
  EXPECT_EQ(DocumentProperties(nullptr, out.get(), DM_OUT_BUFFER), 1) << "a printer without names still has settings";
}

// The words that an output record brings along may be left from anything: they claim what its block need not hold.
TEST_F(EntryPoints, OutputIsDumpedAsFarAsTheCallMayWrite) {
  const struct {
    WORD in_size, in_extra;  // 0: no input record
    std::size_t room;
    RecordForm stale;
    DWORD mode;
    int lines;  // the title's among them
  } kRows[] = {{220, 80, 300, {0x0401, 0x0401, 220, 644}, DM_OUT_BUFFER, 39},
               {188, 112, 300, {0x0401, 0x0401, 220, 644}, DM_OUT_BUFFER, 39},
               {188, 0, 188, {0x0401, 0x0401, 220, 644}, DM_OUT_DEFAULT, 30},
               {1000, 9000, 864, {0x0401, 0x0401, 220, 65535}, DM_OUT_BUFFER, 49},
               {0, 0, 864, {0x0401, 0x0401, 220, 65535}, DM_OUT_BUFFER, 49},
               {220, 80, 300, {0x0401, 0x0401, 220, 20}, DM_OUT_BUFFER, 39},
               {220, 80, 300, {0x0401, 0x0401, 65535, 65535}, DM_OUT_BUFFER, 2},
               {72, 0, 72, {0x0401, 0x0401, 220, 644}, DM_OUT_BUFFER, 9},
               {40, 0, 40, {}, DM_OUT_BUFFER, 1},  // no room for the words themselves
               {0, 0, 1, {}, DM_IN_BUFFER, 1}};    // nothing is written, so no room is promised
  for (const auto& row : kRows) {
    SCOPED_TRACE(testing::Message() << "input of " << row.in_size << " + " << row.in_extra << ", room " << row.room);
    const Record in(row.in_size, row.in_extra);
    const std::unique_ptr<BYTE[]> block(new BYTE[row.room]);
    std::memset(block.get(), 'A', row.room);
    auto* const out = reinterpret_cast<DEVMODEW*>(block.get());
    if (row.room >= kFormEnd) PutForm(out, row.stale);
    const auto earlier = static_cast<std::ptrdiff_t>(LogLines().size());
    log_mask = kMessageBit;
    EXPECT_EQ(DocumentProperties(row.in_size ? in.get() : nullptr, out, row.mode), 1);
    log_mask = 0;
    const auto lines = LogLines();
    const auto title = std::find(lines.begin() + earlier, lines.end(), "[Info]  pDPHdr->pdmOut:");
    const auto end = std::find(title, lines.end(), "[Info]  Color Profile List:");  // the next records
    EXPECT_EQ(end - title, row.lines);
    if (row.room < kFormEnd) EXPECT_EQ(std::count(block.get(), block.get() + row.room, 'A'), row.room);
  }
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
  const Record small(188, 0, 0);
  EXPECT_EQ(DocumentProperties(in.get(), small.get(), DM_IN_BUFFER | DM_OUT_BUFFER), 1);
  EXPECT_EQ(small->dmOrientation, 1);
  EXPECT_EQ(DocumentProperties(Record(200, 0, 0).get(), Record(220, 644).get(), DM_OUT_BUFFER), 1)
      << "a record that cannot be merged still gets an answer";
}

// Every record of one call: who called whom, what was said at which level, in which order.
TEST_F(EntryPoints, DocumentPropertiesAreTracedStepByStep) {
  StoreLabel(258, "Label", "50", "60", kMillimetres);
  platform::SetProfiles(std::vector<std::u16string>{u"a.icc"});
  const Record stored(Defaults()), in(Defaults()), out(220, 644);
  std::memcpy(out.get(), &stored.whole(), sizeof stored.whole());
  in->dmPaperSize = 258;
  platform::SetDevMode(kPrinterName, stored.span());
  log_mask = kMessageBit | kTraceBit;
  EXPECT_EQ(DocumentProperties(in.get(), out.get(), DM_IN_BUFFER | DM_OUT_BUFFER), 1);
  const auto merged = [](const std::string& list) {
    return "MergeDevMode('pdmDest:'{} 'pdmSrc:'{} ConvertDevMode('pdmIn:'{} 'pdmOut:'{} 'pdmIn:'{} 'pdmOut:'{} =864) "
           "CopyDevmode('dest:'{} 'src:'{} 'dest:'{} 'src:'{}) ValidateDevmode('pdm (before ValidateForm):'{} "
           "ValidateForm(" +
           list + ") 'pdm (After ValidateForm):'{} 'pdm:'{}) 'pdmDest:'{} 'pdmSrc:'{} =TRUE) ";
  };
  EXPECT_EQ(tests::TraceShape(LogLines()),
            "DrvDocumentPropertySheets('pDPHdr->fMode = 10' CopyDocumentProperties('pDPHdr->pdmIn:'{} "
            "'pDPHdr->pdmOut:'{} FillUiData(MyGetPrinterInfo() SetupDefaultDevMode(AssignDefaultColorProfile("
            "GetColorProfileList('Color Profile List:' 'a.icc')) =TRUE) 'pdm:'{} " +
                merged("") + merged("ReadPrinterLabelList(LoadPrinterLabel(=0x0) =0x0)") +
                "AddPrinterForms()) ConvertDevMode('pdmIn:'{} 'pdmOut:'{} 'pdmIn:'{} 'pdmOut:'{} =864)))");
}

TEST_F(EntryPoints, StoredRecordIsTakenWholeOrLeftOut) {
  const Record stored(Defaults()), out(220, 644);
  stored->dmOrientation = 2;
  for (const std::size_t size : {std::size_t{863}, std::size_t{220}, std::size_t{71}, std::size_t{1}}) {
    platform::SetDevMode(kPrinterName, stored.span().first(size));
    EXPECT_EQ(DocumentProperties(nullptr, out.get(), DM_OUT_BUFFER), 1);
    EXPECT_EQ(out->dmOrientation, 1) << size;
  }
  // Printer information that grows while it is read is read again.
  int reads = 0;
  platform::SetCallHook([&](const char* name) {
    if (std::strcmp(name, "GetPrinterW") == 0 && ++reads == 2) platform::SetDevMode(kPrinterName, stored.span());
  });
  EXPECT_EQ(DocumentProperties(nullptr, out.get(), DM_OUT_BUFFER), 1);
  EXPECT_EQ(out->dmOrientation, 2);
  platform::SetCallHook(nullptr);
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

  const struct {
    DWORD type;
    std::string bytes;
    bool registers;
  } kMarkers[] = {{REG_DWORD, {1, 0, 0, 0}, false},
                  {REG_BINARY, {2, 0, 0, 0}, false},
                  {REG_DWORD, {0, 0, 0, 0}, true},
                  {REG_DWORD, std::string(8, '\1'), true}};
  for (const auto& one : kMarkers) {
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
  constexpr std::pair<SHORT, BOOL> kPapers[] = {{256, TRUE}, {258, TRUE}, {257, FALSE}, {259, FALSE}, {9, FALSE}};
  for (const auto& [paper, known] : kPapers) {
    job->dmPaperSize = paper;
    EXPECT_EQ(Query(job.get()), known) << paper;
  }
  const Record unknown(200, 0, 0);
  unknown->dmPaperSize = 256;
  EXPECT_FALSE(Query(unknown.get())) << "cannot be merged";
  EXPECT_FALSE(Query(Record(76, 0).get())) << "ends before its paper";
}

TEST_F(EntryPoints, DocumentEventsSwitchTheTraceAndNameTheFilter) {
  const auto event = [](int code, ULONG size = 0, void* out = nullptr) {
    return DrvDocumentEvent(nullptr, nullptr, code, 0, nullptr, size, out);
  };
  std::ofstream(LogFile("r5-lqz-ui.dat")) << "3";
  EXPECT_EQ(event(DOCUMENTEVENT_CREATEDCPRE), 1);
  EXPECT_EQ(log_mask, 0u);
  for (int document = 0; document < 2; ++document) EXPECT_EQ(event(DOCUMENTEVENT_STARTDOCPRE), 1);
  EXPECT_EQ(log_mask, 3u);
  constexpr char kBegin[] = "[Trace] <DrvDocumentEvent>", kEnd[] = "[Trace] </DrvDocumentEvent>";
  EXPECT_EQ(LogLines(), (std::vector<std::string>{kEnd, kBegin, kEnd}));
  std::remove(LogFile("r5-lqz-ui.dat").c_str());
  EXPECT_EQ(event(0x10000 | DOCUMENTEVENT_STARTDOCPRE), 1) << "with the flag of a spooled job";
  EXPECT_EQ(log_mask, 0u);
  for (const int code : {0, 2, 6, 13, 15, -1}) EXPECT_EQ(event(code), 0) << code;

  for (UINT room = 0; room <= 3; ++room) {
    // Exactly as long as its elements.
    std::vector<UINT> filter{4 * (4 + room), room, 77, 77};
    filter.resize(4 + room, 77);
    const auto size = static_cast<ULONG>(4 * filter.size());
    EXPECT_EQ(event(DOCUMENTEVENT_QUERYFILTER, size, filter.data()), 1);
    EXPECT_EQ(filter[2], room < 2 ? 2u : 77u);
    EXPECT_EQ(filter[3], room < 2 ? 77u : 2u);
    if (room >= 2) EXPECT_TRUE(filter[4] == 14 && filter[5] == 5);
    filter[1] = 1000;  // claims more than it has
    EXPECT_EQ(event(DOCUMENTEVENT_QUERYFILTER, size, filter.data()), 1);
  }
  EXPECT_EQ(event(DOCUMENTEVENT_QUERYFILTER, 15, std::make_unique<BYTE[]>(15).get()), 1);
  EXPECT_EQ(event(DOCUMENTEVENT_QUERYFILTER), 1);
}

template <typename T>
std::string BytesOf(std::initializer_list<T> values) {
  return {reinterpret_cast<const char*>(std::data(values)), values.size() * sizeof(T)};
}

TEST_F(EntryPoints, CapabilitiesOfThePrinterAreFixed) {
  const std::pair<WORD, DWORD> kPlain[] = {
      {DC_DUPLEX, 1},      {DC_TRUETYPE, 1},        {DC_ORIENTATION, 90}, {DC_COPIES, 1},  {DC_PAPERS, 0},
      {DC_PAPERSIZE, 0},   {DC_PAPERNAMES, 0},      {DC_SIZE, 220},       {DC_EXTRA, 644}, {DC_VERSION, 0x0401},
      {DC_DRIVER, 0x0401}, {DC_FIELDS, 0x00015F03}, {0, GDI_ERROR},       {19, GDI_ERROR}, {0xFFFF, GDI_ERROR}};
  for (const auto& [index, answer] : kPlain) EXPECT_EQ(Capability(index), answer) << index;
  const std::tuple<WORD, DWORD, std::string> kWithOutput[] = {
      {DC_MINEXTENT, 0x00FE000A, BytesOf<LONG>({10, 254})},
      {DC_MAXEXTENT, 0x23390B9A, BytesOf<LONG>({2970, 9017})},
      {DC_BINS, 1, BytesOf<WORD>({256})},
      {DC_BINNAMES, 1, BytesOf<WCHAR>({'F', 'e', 'e', 'd', 'e', 'r'}) + std::string(36, '\0')},
      {DC_ENUMRESOLUTIONS, 3, BytesOf<LONG>({600, 600, 300, 300, 150, 150})},
      {DC_FILEDEPENDENCIES, 0, std::string(2, '\0')},
  };
  for (const auto& [index, answer, bytes] : kWithOutput) {
    // Outputs of exactly the bytes that an answer has; one byte more would be seen.
    const auto output = std::make_unique<char[]>(bytes.size());
    std::memset(output.get(), 0xA5, bytes.size());
    EXPECT_EQ(Capability(index), answer) << index << " counted";
    EXPECT_EQ(Capability(index, output.get()), answer) << index;
    EXPECT_EQ(std::string(output.get(), bytes.size()), bytes) << index;
  }
  for (const WORD index : {DC_FIELDS, DC_SIZE, DC_EXTRA, DC_VERSION, DC_DRIVER}) {
    EXPECT_EQ(Capability(index, nullptr, Record(200, 0, 0).get()), GDI_ERROR) << index;
  }
  Record scaled(220, 0);
  scaled->dmFields = DM_SCALE;
  EXPECT_EQ(Capability(DC_FIELDS, nullptr, scaled.get()), 0x00015F03u | DM_SCALE | DM_PAPERLENGTH | DM_PAPERWIDTH);
}

TEST_F(EntryPoints, CapabilitiesOfLabelsAgreeWithTheirCount) {
  StoreLabel(258, "Four inches", "4.125", "5.000", kInches);
  StoreLabel(261, "\xC9tiquette", "104.8", "127.0", kMillimetres);
  StoreLabel(260, std::string(63, 'n').c_str(), "1048", "1270", kTenthsOfMillimetre);
  StoreLabel(259, "No number", "4,125", "70000", kTenthsOfMillimetre);
  const auto labels = Labels();
  ASSERT_EQ(labels.size(), 4u);

  const auto papers = std::make_unique<WORD[]>(4);
  const auto sizes = std::make_unique<POINT[]>(4);
  const auto names = std::make_unique<WCHAR[]>(std::size_t{4} * 64);
  std::memset(names.get(), 0xA5, std::size_t{4} * 64 * sizeof(WCHAR));
  EXPECT_EQ(Capability(DC_PAPERS, papers.get()), 4u);
  EXPECT_EQ(Capability(DC_PAPERSIZE, sizes.get()), 4u);
  EXPECT_EQ(Capability(DC_PAPERNAMES, names.get()), 4u);
  for (std::size_t at = 0; at < labels.size(); ++at) {
    const PrinterLabel& label = labels[at];
    const bool unusable = label.id == 259;
    EXPECT_EQ(papers[at], label.id);
    EXPECT_EQ(sizes[at].x, unusable ? 0 : 1048);
    EXPECT_EQ(sizes[at].y, unusable ? static_cast<SHORT>(70000) : 1270);
    const WCHAR* const name = &names[64 * at];
    EXPECT_EQ(Text(name), label.name);
    EXPECT_TRUE(std::all_of(name + std::strlen(label.name), name + 64, [](WCHAR one) { return one == 0; }));
  }
}

TEST_F(EntryPoints, ColorProfileIsNamedForRecordsOfThisDriver) {
  constexpr char16_t kName[] = u"sRGB Color Space Profile.icm";
  const Record own(Defaults());
  own.whole().dm_private.colorAdjust = 1;
  const Record foreign(Defaults());
  foreign.whole().dm_private.signature ^= 1;
  const struct {
    DEVMODEW* record;
    ULONG mode;
    bool has_name;
    ULONG size, size_after;
    DWORD error;
  } kRows[] = {{own.get(), QCP_DEVICEPROFILE, true, 58, 58, ERROR_SUCCESS},
               {own.get(), QCP_DEVICEPROFILE, true, 59, 58, ERROR_SUCCESS},
               {own.get(), QCP_DEVICEPROFILE, true, 57, 58, ERROR_INSUFFICIENT_BUFFER},
               {own.get(), QCP_DEVICEPROFILE, false, 58, 58, ERROR_INSUFFICIENT_BUFFER},
               {own.get(), QCP_SOURCEPROFILE, true, 59, 59, kUntouchedError},
               {foreign.get(), QCP_DEVICEPROFILE, true, 59, 59, kUntouchedError},
               {nullptr, QCP_DEVICEPROFILE, true, 59, 59, kUntouchedError}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(&row - kRows);
    const auto name = std::make_unique<BYTE[]>(row.size);
    ULONG flags = 77;
    ULONG size = row.size;
    SetLastError(kUntouchedError);
    const bool named = row.error == ERROR_SUCCESS;
    EXPECT_EQ(DrvQueryColorProfile(nullptr, row.record, row.mode, row.has_name ? name.get() : nullptr, &size, &flags),
              named);
    EXPECT_EQ(size, row.size_after);
    EXPECT_EQ(flags, named ? 2u : 77u);
    EXPECT_EQ(GetLastError(), named ? kUntouchedError : row.error);
    EXPECT_EQ(named ? std::memcmp(name.get(), kName, sizeof kName) : name[0], 0);
  }
}

TEST_F(EntryPoints, CreatedPrinterGetsItsOption) {
  log_mask = kMessageBit;
  const auto send = [](int event, std::string_view printer_name = kPrinterName) {
    std::vector<WCHAR> name(printer_name.begin(), printer_name.end());
    name.push_back(0);
    EXPECT_TRUE(DrvPrinterEvent(name.data(), event, 0, 0));
    return platform::GetData(kPrinterName, "", "bufferPrintJob");
  };
  for (const int event : {0, 1, 2, 4, 5, 6, 7}) EXPECT_FALSE(send(event)) << event;
  const platform::Data one{REG_DWORD, {std::byte{1}, {}, {}, {}}};
  EXPECT_EQ(send(PRINTER_EVENT_INITIALIZE), one);
  EXPECT_EQ(platform::Calls("ImpersonatePrinterClient"), 0u) << "there is no client";
  // A client that may open the printer and no more.
  platform::RemoveData(kPrinterName, "", "bufferPrintJob");
  platform::DenyAccess(kPrinterName, platform::Denied::kPlain);
  platform::SetImpersonating(true);
  EXPECT_EQ(send(PRINTER_EVENT_INITIALIZE), one);
  platform::SetDataDword(kPrinterName, "", "bufferPrintJob", 0);
  EXPECT_NE(send(PRINTER_EVENT_INITIALIZE), one) << "an option once stored survives";
  platform::SetDataText(kPrinterName, "", "bufferPrintJob", "1");
  EXPECT_EQ(send(PRINTER_EVENT_INITIALIZE), one);
  EXPECT_TRUE(LogLines().empty());

  send(PRINTER_EVENT_INITIALIZE, "Nobody");
  platform::RemoveData(kPrinterName, "", "bufferPrintJob");
  platform::DenyWrites(kPrinterName);
  EXPECT_FALSE(send(PRINTER_EVENT_INITIALIZE));
  EXPECT_EQ(LogLines(), (std::vector<std::string>{"[Error] Could not get printer handle: 0x709",
                                                  "[Error] Could not set buffer print job value: 0x5",
                                                  "[Error] Could not set default buffer print job option"}));
}

TEST_F(EntryPoints, OptionIsStoredUnderTheSpoolersIdentity) {
  platform::DenyAccess(kPrinterName, platform::Denied::kPlain);  // the client may not
  platform::DenyWrites(kPrinterName, platform::Denied::kPlain);
  platform::SetImpersonating(true);
  EXPECT_TRUE(SetBufferPrintJob(printer(), 0));
  EXPECT_TRUE(platform::IsImpersonating()) << "the client is back";
  platform::DenyAccess(kPrinterName);
  log_mask = kMessageBit;
  EXPECT_FALSE(SetBufferPrintJob(printer(), 1));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
  EXPECT_TRUE(platform::IsImpersonating());
  EXPECT_EQ(LogLines().back(), "[Error] Couldn't get printer handle: 0x5");
  EXPECT_EQ(GetPrinterName(nullptr), nullptr);
  EXPECT_EQ(LogLines().back(), "[Error] GetPrinterName: GetPrinter failed: 0x6");
  // A client that cannot be had back: reported, and neither the result nor the last error is hidden by it.
  platform::AddPrinter(kPrinterName, kDriverName);
  platform::DenyWrites(kPrinterName);
  EXPECT_FALSE(SetBufferPrintJob(printer(), 1));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_SUCCESS}) << "the printer was opened";
  platform::AddPrinter(kPrinterName, kDriverName);
  platform::FailCall("ImpersonatePrinterClient", 1, ERROR_BAD_IMPERSONATION_LEVEL);
  SetLastError(kUntouchedError);
  EXPECT_TRUE(SetBufferPrintJob(printer(), 1));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_SUCCESS});
  EXPECT_EQ(LogLines().back(), "[Error] Could not resume the client's identity: 0x542");
  platform::Reset();  // the token is nobody's
}

}  // namespace
}  // namespace r5lqz
