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

template <typename T>
std::string BytesOf(std::initializer_list<T> values) {
  return {reinterpret_cast<const char*>(std::data(values)), values.size() * sizeof(T)};
}

class EntryPoints : public ModuleTest {
 protected:
  EntryPoints() { SetLastError(kUntouchedError); }

  BOOL Convert(const DEVMODEW* in, DEVMODEW* out, LONG count, DWORD mode) {
    WCHAR name[] = L"Labels";
    SetLastError(kUntouchedError);
    count_ = count;
    return DrvConvertDevMode(name, const_cast<DEVMODEW*>(in), out, &count_, mode);
  }

  DWORD Capability(WORD index, void* output = nullptr, DEVMODEW* record = nullptr) {
    WCHAR device[] = L"Labels";
    return DrvDeviceCapabilities(printer(), device, index, output, record);
  }

  LONG count_ = 0;  // as the last conversion left it
};

TEST_F(EntryPoints, ConvertAnswersByModeAndSize) {
  const Record full(Defaults()), unknown(200, 0, 0), nothing(0, 0);
  const DEVMODEW* const in = full.get();
  const struct {
    DWORD mode;
    const DEVMODEW* in;
    bool has_out;
    LONG count, count_after;
    DWORD error;
    const RecordForm* words = nullptr;  // put into the output, though nothing was converted into it
  } kRows[] = {
      {CDM_CONVERT, in, false, 864, 864, ERROR_INVALID_PARAMETER},
      {CDM_CONVERT, in, true, 863, 863, ERROR_INVALID_PARAMETER},
      {CDM_CONVERT, in, true, -1, -1, ERROR_INVALID_PARAMETER},
      {CDM_CONVERT, unknown.get(), true, 864, 864, ERROR_INVALID_PARAMETER},
      {CDM_CONVERT, nothing.get(), true, 864, 864, ERROR_INVALID_PARAMETER, &kCurrentForm},
      {CDM_CONVERT, in, true, 865, 864, ERROR_SUCCESS},
      {CDM_CONVERT351, in, true, 299, 300, ERROR_INSUFFICIENT_BUFFER},
      {CDM_CONVERT351, in, false, 300, 300, ERROR_INSUFFICIENT_BUFFER},
      {CDM_CONVERT351, nullptr, true, 864, 864, ERROR_INVALID_PARAMETER, &kOlderForm},
      {CDM_CONVERT351, nothing.get(), true, 864, 864, ERROR_INVALID_PARAMETER, &kOlderForm},
      {CDM_CONVERT351, in, true, 864, 300, ERROR_SUCCESS},
      {CDM_DRIVER_DEFAULT, nullptr, true, 863, 864, ERROR_INSUFFICIENT_BUFFER},
      {CDM_DRIVER_DEFAULT, nullptr, false, 0, 864, ERROR_INSUFFICIENT_BUFFER},
      {3, in, true, 864, 864, kUntouchedError},
  };
  for (const auto& one : kRows) {
    SCOPED_TRACE(testing::Message() << "mode " << one.mode << ", count " << one.count);
    const Record out(220, 644, 0x7777), expected(220, 644, 0x7777);
    if (one.words) PutForm(expected.get(), *one.words);
    const bool done = one.error == ERROR_SUCCESS;
    EXPECT_EQ(Convert(one.in, one.has_out ? out.get() : nullptr, one.count, one.mode), done);
    EXPECT_EQ(count_, one.count_after);
    if (done) continue;
    EXPECT_EQ(GetLastError(), one.error);
    EXPECT_EQ(out.bytes(), expected.bytes()) << "a refused call changes no more";
  }
  // A buffer of exactly the bytes that it is said to have, too few for the words.
  const auto cut = std::make_unique<BYTE[]>(kFormEnd - 1);
  EXPECT_FALSE(Convert(in, reinterpret_cast<DEVMODEW*>(cut.get()), kFormEnd - 1, CDM_CONVERT));
  SetLastError(kUntouchedError);
  EXPECT_FALSE(DrvConvertDevMode(nullptr, full.get(), Record(220, 644).get(), nullptr, CDM_CONVERT));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
}

TEST_F(EntryPoints, ConvertMakesEachForm) {
  const Record full(Defaults()), older(200, 100);
  EXPECT_TRUE(Convert(full.get(), older.get(), 300, CDM_CONVERT351));
  constexpr WORD kForm[] = {0x0320, 0x0350, 188, 112};
  EXPECT_EQ(std::memcmp(older.bytes().data() + kFormOffset, kForm, sizeof kForm), 0);
  const Record both(full.whole());
  EXPECT_TRUE(Convert(both.get(), both.get(), 864, CDM_CONVERT351)) << "one buffer as input and output";
  EXPECT_EQ(both.bytes().substr(0, 300), older.bytes());

  // Words that another thread changes meanwhile: each block ends where they ended at the call.
  const Record small(220, 80);
  int records = 0;
  log_mask = kMessageBit | kTraceBit;
  platform::SetCallHook([&](const char*) { small->dmDriverExtra = ++records < 2 ? 80 : 644; }, "WriteFile");
  EXPECT_TRUE(Convert(full.get(), small.get(), 300, CDM_CONVERT));
  EXPECT_EQ(count_, 300);
  records = 1;
  EXPECT_TRUE(CopyDevModeToOutput(full.whole(), Record(220, 80).get(), small.get()));
  platform::SetCallHook(nullptr);
  log_mask = 0;

  // At an odd address, and asking for no more than anybody has.
  const auto room = std::make_unique<BYTE[]>(865);
  auto* const defaults = reinterpret_cast<DEVMODEW*>(room.get() + 1);
  platform::DenyAccess(kPrinterName);
  ASSERT_TRUE(Convert(nullptr, defaults, 864, CDM_DRIVER_DEFAULT));
  const Record made(220, 644);
  std::memcpy(made.get(), room.get() + 1, 864);
  EXPECT_EQ(Text(made->dmDeviceName), kDriverName);
  EXPECT_EQ(made->dmFields, 0x00015F03u);
  for (const char* const call : {"OpenPrinterW", "GetPrinterW"}) {
    platform::FailCall(call, 1, ERROR_ACCESS_DENIED);
    EXPECT_FALSE(Convert(nullptr, defaults, 865, CDM_DRIVER_DEFAULT));
    EXPECT_EQ(count_, 864);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED}) << call;
  }
}

TEST_F(EntryPoints, DocumentPropertiesWithoutPrinterOrMemory) {
  const Record out(220, 644);
  const std::string before = out.bytes();
  const auto calls = platform::TotalCalls();
  EXPECT_EQ(DocumentProperties(nullptr, nullptr, out.get(), 0), 864);
  EXPECT_EQ(DocumentProperties(nullptr, nullptr, nullptr, DM_OUT_BUFFER), 864);
  EXPECT_EQ(DrvDocumentPropertySheets(nullptr, 0), -1);
  EXPECT_EQ(platform::TotalCalls(), calls) << "a size query asks nobody";
  EXPECT_EQ(DocumentProperties(nullptr, nullptr, out.get(), DM_OUT_BUFFER), -1);
  EXPECT_EQ(DocumentProperties(printer(), nullptr, out.get(), DM_IN_BUFFER), 1) << "no output was asked for";
  EXPECT_EQ(out.bytes(), before);
  platform::OmitNames(kPrinterName);
  EXPECT_EQ(DocumentProperties(printer(), nullptr, out.get(), DM_OUT_BUFFER), 1)
      << "a printer without names still has settings";
}

// The words that an output record brings along may be left from anything: they claim what its block need not hold.
TEST_F(EntryPoints, OutputIsDumpedAsFarAsTheCallMayWrite) {
  const struct {
    WORD in_size, in_extra;  // 0: no input record
    std::size_t room;
    WORD stale_size, stale_extra;
    DWORD mode;
    int lines;  // the title's among them
  } kRows[] = {{220, 80, 300, 220, 644, DM_OUT_BUFFER, 39},
               {188, 0, 188, 220, 644, DM_OUT_DEFAULT, 30},
               {1000, 9000, 864, 220, 65535, DM_OUT_BUFFER, 49},
               {220, 80, 300, 220, 20, DM_OUT_BUFFER, 39},
               {220, 80, 300, 65535, 65535, DM_OUT_BUFFER, 2},
               {72, 0, 72, 220, 644, DM_OUT_BUFFER, 9},
               {40, 0, 40, 0, 0, DM_OUT_BUFFER, 1},  // no room for the words themselves
               {0, 0, 1, 0, 0, DM_IN_BUFFER, 1}};    // nothing is written, so no room is promised
  for (const auto& row : kRows) {
    SCOPED_TRACE(testing::Message() << "input of " << row.in_size << " + " << row.in_extra << ", room " << row.room);
    const Record in(row.in_size, row.in_extra);
    const auto block = std::make_unique<BYTE[]>(row.room);
    auto* const out = reinterpret_cast<DEVMODEW*>(block.get());
    if (row.room >= kFormEnd) PutForm(out, {0x0401, 0x0401, row.stale_size, row.stale_extra});
    std::remove(LogFile().c_str());
    log_mask = kMessageBit;
    EXPECT_EQ(DocumentProperties(printer(), row.in_size ? in.get() : nullptr, out, row.mode), 1);
    log_mask = 0;
    const auto lines = LogLines();
    const auto title = std::find(lines.begin(), lines.end(), "[Info]  pDPHdr->pdmOut:");
    EXPECT_EQ(std::find(title, lines.end(), "[Info]  Color Profile List:") - title, row.lines) << "to the next records";
    if (row.room < kFormEnd) EXPECT_EQ(std::count(block.get(), block.get() + row.room, 0), row.room);
  }
}

TEST_F(EntryPoints, DocumentPropertiesLayDefaultsStoredAndCallersRecords) {
  const Record stored(Defaults()), out(220, 644), in(188, 0), small(188, 0, 0);
  stored.whole().dm_private.mirrorImage = 1;
  stored->dmOrientation = 2;
  // A stored record is taken whole or left out.
  for (const std::size_t size : {863, 220, 71, 1, 864}) {
    platform::SetDevMode(kPrinterName, stored.span().first(size));
    EXPECT_EQ(DocumentProperties(printer(), nullptr, out.get(), DM_OUT_BUFFER), 1);
    EXPECT_EQ(Text(out->dmDeviceName), kDriverName);
    EXPECT_EQ(out->dmOrientation, size == 864 ? 2 : 1) << size;
    EXPECT_EQ(out.whole().dm_private.mirrorImage, size == 864 ? 1u : 0u);
  }
  in->dmFields = DM_ORIENTATION;
  in->dmOrientation = 1;
  EXPECT_EQ(DocumentProperties(printer(), in.get(), small.get(), DM_IN_BUFFER | DM_OUT_BUFFER), 1);
  EXPECT_EQ(small->dmOrientation, 1);
  EXPECT_EQ(DocumentProperties(printer(), Record(200, 0, 0).get(), out.get(), DM_OUT_BUFFER), 1)
      << "a record that cannot be merged still gets an answer";

  // Printer information that grows while it is read is read again.
  platform::SetDevMode(kPrinterName, {});
  int reads = 0;
  platform::SetCallHook(
      [&](const char*) {
        if (++reads == 2) platform::SetDevMode(kPrinterName, stored.span());
      },
      "GetPrinterW");
  EXPECT_EQ(DocumentProperties(printer(), nullptr, out.get(), DM_OUT_BUFFER), 1);
  EXPECT_EQ(out->dmOrientation, 2);
  platform::SetCallHook(nullptr);
}

// Every record of one call: who called whom, what was said at which level, in which order.
TEST_F(EntryPoints, DocumentPropertiesAreTracedStepByStep) {
  StoreLabel(258, "Label");
  platform::SetProfiles(std::vector<std::u16string>{u"a.icc"});
  const Record stored(Defaults()), in(Defaults()), out(Defaults());
  in->dmPaperSize = 258;
  platform::SetDevMode(kPrinterName, stored.span());
  log_mask = kMessageBit | kTraceBit;
  EXPECT_EQ(DocumentProperties(printer(), in.get(), out.get(), DM_IN_BUFFER | DM_OUT_BUFFER), 1);
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

TEST_F(EntryPoints, FormIsRegisteredOncePerPrinter) {
  const platform::Data marked{REG_DWORD, {std::byte{2}, {}, {}, {}}};
  for (int call = 0; call < 2; ++call) EXPECT_TRUE(AddPrinterForms(printer()));
  const auto forms = platform::Forms(kPrinterName);
  ASSERT_EQ(forms.size(), 1u);
  EXPECT_EQ(forms[0].name, "Custom");
  EXPECT_EQ(forms[0].flags, DWORD{FORM_USER});
  EXPECT_EQ(forms[0].size.cx + forms[0].size.cy + forms[0].imageable_area.right + forms[0].imageable_area.bottom, 0);
  EXPECT_EQ(platform::GetData(kPrinterName, "", "Forms?"), marked);
  const std::tuple<DWORD, std::string, bool> kMarkers[] = {{REG_DWORD, BytesOf<DWORD>({1}), false},
                                                           {REG_BINARY, BytesOf<DWORD>({2}), false},
                                                           {REG_DWORD, BytesOf<DWORD>({0}), true},
                                                           {REG_DWORD, BytesOf<DWORD>({1, 1}), true}};
  for (const auto& [type, bytes, registers] : kMarkers) {
    platform::SetData(kPrinterName, "", "Forms?", type, std::as_bytes(std::span(bytes)));
    const auto added = platform::Calls("AddFormW");
    AddPrinterForms(printer());
    EXPECT_EQ(platform::Calls("AddFormW") - added, registers ? 1u : 0u);
    EXPECT_EQ(platform::GetData(kPrinterName, "", "Forms?") == marked, registers);
  }
}

TEST_F(EntryPoints, PrintQueryKnowsLabelsAndCustomSizes) {
  StoreLabel(258, "Label");
  EXPECT_TRUE(QueryPrint(printer(), nullptr));
  EXPECT_FALSE(DevQueryPrintEx(nullptr));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
  const Record job(Defaults()), unknown(200, 0, 0);
  constexpr std::pair<SHORT, BOOL> kPapers[] = {{256, TRUE}, {258, TRUE}, {257, FALSE}, {259, FALSE}, {9, FALSE}};
  for (const auto& [paper, known] : kPapers) {
    job->dmPaperSize = paper;
    EXPECT_EQ(QueryPrint(printer(), job.get()), known) << paper;
  }
  unknown->dmPaperSize = 256;
  EXPECT_FALSE(QueryPrint(printer(), unknown.get())) << "cannot be merged";
  EXPECT_FALSE(QueryPrint(printer(), Record(76, 0).get())) << "ends before its paper";
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
  EXPECT_EQ(tests::TraceShape(LogLines()), ") DrvDocumentEvent()");
  std::remove(LogFile("r5-lqz-ui.dat").c_str());
  EXPECT_EQ(event(0x10000 | DOCUMENTEVENT_STARTDOCPRE), 1) << "with the flag of a spooled job";
  EXPECT_EQ(log_mask, 0u);
  for (const int code : {0, 2, 6, 13, 15, -1}) EXPECT_EQ(event(code), 0) << code;

  for (UINT room = 0; room <= 3; ++room) {
    std::vector<UINT> filter(4 + room, 77);  // exactly as long as its elements
    filter[1] = room;
    std::vector<UINT> filled = filter;
    room < 2 ? filled[2] = 2 : (filled[4] = 14, filled[5] = 5, filled[3] = 2);
    const auto size = static_cast<ULONG>(4 * filter.size());
    EXPECT_EQ(event(DOCUMENTEVENT_QUERYFILTER, size, filter.data()), 1);
    EXPECT_EQ(filter, filled);
    filter[1] = 1000;  // claims more than it has
    EXPECT_EQ(event(DOCUMENTEVENT_QUERYFILTER, size, filter.data()), 1);
  }
  for (const std::size_t size : {7, 15}) {
    std::vector<BYTE> cut(size);
    EXPECT_EQ(event(DOCUMENTEVENT_QUERYFILTER, static_cast<ULONG>(size), cut.data()), 1);
    EXPECT_EQ(cut, std::vector<BYTE>(size));
  }
  EXPECT_EQ(event(DOCUMENTEVENT_QUERYFILTER), 1);
}

// A name's slot, zero behind its characters.
std::string Slot(std::string_view text, std::size_t characters) {
  std::string bytes;
  for (const char one : text) bytes += {one, '\0'};
  bytes.resize(2 * characters);
  return bytes;
}

TEST_F(EntryPoints, CapabilitiesAnswerAsManyAsTheyCount) {
  const std::string longest(63, 'n');
  StoreLabel(258, "Four inches", "4.125", "5.000", kInches);
  StoreLabel(259, "No number", "4,125", "70000", kTenthsOfMillimetre);
  StoreLabel(260, longest.c_str(), "104.8", "127.0", kMillimetres);
  StoreLabel(261, "\xC9tiquette", "1048", "12700", kTenthsOfMillimetre);
  const std::pair<WORD, DWORD> kPlain[] = {{DC_DUPLEX, 1},       {DC_TRUETYPE, 1},    {DC_ORIENTATION, 90},
                                           {DC_COPIES, 1},       {DC_SIZE, 220},      {DC_EXTRA, 644},
                                           {DC_VERSION, 0x0401}, {DC_DRIVER, 0x0401}, {DC_FIELDS, 0x00015F03},
                                           {0, GDI_ERROR},       {19, GDI_ERROR},     {0xFFFF, GDI_ERROR}};
  for (const auto& [index, answer] : kPlain) EXPECT_EQ(Capability(index), answer) << index;
  const std::tuple<WORD, DWORD, std::string> kWithOutput[] = {
      {DC_MINEXTENT, 0x00FE000A, BytesOf<LONG>({10, 254})},
      {DC_MAXEXTENT, 0x23390B9A, BytesOf<LONG>({2970, 9017})},
      {DC_BINS, 1, BytesOf<WORD>({256})},
      {DC_BINNAMES, 1, Slot("Feeder", 24)},
      {DC_ENUMRESOLUTIONS, 3, BytesOf<LONG>({600, 600, 300, 300, 150, 150})},
      {DC_FILEDEPENDENCIES, 0, std::string(2, '\0')},
      {DC_PAPERS, 4, BytesOf<WORD>({258, 259, 260, 261})},
      {DC_PAPERSIZE, 4, BytesOf<LONG>({1048, 1270, 0, 70000 - 65536, 1048, 1270, 1048, 12700})},
      {DC_PAPERNAMES, 4,
       Slot("Four inches", 64) + Slot("No number", 64) + Slot(longest, 64) + Slot("\xC9tiquette", 64)},
  };
  for (const auto& [index, answer, bytes] : kWithOutput) {
    // Outputs of exactly the bytes that an answer has; one byte more would be seen.
    const auto output = std::make_unique<char[]>(bytes.size());
    std::memset(output.get(), 0xA5, bytes.size());
    EXPECT_EQ(Capability(index), answer) << index << " counted";
    EXPECT_EQ(Capability(index, output.get()), answer) << index;
    EXPECT_EQ(std::string(output.get(), bytes.size()), bytes) << index;
  }
  EXPECT_EQ(Capability(DC_FIELDS, nullptr, Record(200, 0, 0).get()), GDI_ERROR);
  const Record scaled(220, 0);
  scaled->dmFields = DM_SCALE;
  EXPECT_EQ(Capability(DC_FIELDS, nullptr, scaled.get()), 0x00015F03u | DM_SCALE | DM_PAPERLENGTH | DM_PAPERWIDTH);
}

TEST_F(EntryPoints, ColorProfileIsNamedForRecordsOfThisDriver) {
  constexpr char16_t kName[] = u"sRGB Color Space Profile.icm";
  const Record own(Defaults()), foreign(Defaults()), cut(220, 3);
  foreign.whole().dm_private.signature ^= 1;
  const std::tuple<DEVMODEW*, ULONG, ULONG, ULONG, DWORD> kRows[] = {
      {own.get(), QCP_DEVICEPROFILE, 58, 58, ERROR_SUCCESS},
      {own.get(), QCP_DEVICEPROFILE, 59, 58, ERROR_SUCCESS},
      {own.get(), QCP_DEVICEPROFILE, 57, 58, ERROR_INSUFFICIENT_BUFFER},
      {own.get(), QCP_SOURCEPROFILE, 59, 59, kUntouchedError},
      {foreign.get(), QCP_DEVICEPROFILE, 59, 59, kUntouchedError},
      {cut.get(), QCP_DEVICEPROFILE, 59, 59, kUntouchedError},
      {nullptr, QCP_DEVICEPROFILE, 59, 59, kUntouchedError}};
  const auto query = [](DEVMODEW* record, ULONG mode, void* name, ULONG* size, ULONG* flags) {
    SetLastError(kUntouchedError);
    return DrvQueryColorProfile(nullptr, record, mode, name, size, flags);
  };
  ULONG flags = 77, size = 0;
  for (const auto& [record, mode, room, size_after, error] : kRows) {
    SCOPED_TRACE(testing::Message() << "mode " << mode << ", room " << room);
    const auto name = std::make_unique<BYTE[]>(room);
    const bool named = error == ERROR_SUCCESS;
    EXPECT_EQ(query(record, mode, name.get(), &(size = room), &(flags = 77)), named);
    EXPECT_EQ(size, size_after);
    EXPECT_EQ(flags, named ? 2u : 77u);
    EXPECT_EQ(GetLastError(), named ? kUntouchedError : error);
    EXPECT_EQ(named ? std::memcmp(name.get(), kName, sizeof kName) : name[0], 0);
  }
  EXPECT_FALSE(query(own.get(), QCP_DEVICEPROFILE, nullptr, &(size = 59), nullptr));
  EXPECT_EQ(size, 58u);
  EXPECT_FALSE(query(own.get(), QCP_DEVICEPROFILE, &flags, nullptr, nullptr));
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
  EXPECT_TRUE(platform::IsImpersonating() && LogLines().empty());

  send(PRINTER_EVENT_INITIALIZE, "Nobody");
  platform::RemoveData(kPrinterName, "", "bufferPrintJob");
  platform::DenyWrites(kPrinterName);
  EXPECT_FALSE(send(PRINTER_EVENT_INITIALIZE));
  // A client that cannot be had back: reported, and neither the result nor the last error is hidden by it.
  platform::DenyWrites(kPrinterName, platform::Denied::kPlain);
  platform::FailCall("ImpersonatePrinterClient", 1, ERROR_BAD_IMPERSONATION_LEVEL);
  SetLastError(kUntouchedError);
  EXPECT_TRUE(SetBufferPrintJob(printer(), 1));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_SUCCESS}) << "the printer was opened";
  platform::DenyAccess(kPrinterName);
  EXPECT_FALSE(SetBufferPrintJob(printer(), 1));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
  EXPECT_EQ(GetPrinterName(nullptr), nullptr);
  EXPECT_EQ(LogLines(),
            (Lines{"[Error] Could not get printer handle: 0x709", "[Error] Could not set buffer print job value: 0x5",
                   "[Error] Could not set default buffer print job option",
                   "[Error] Could not resume the client's identity: 0x542", "[Error] Couldn't get printer handle: 0x5",
                   "[Error] GetPrinterName: GetPrinter failed: 0x6"}));
  platform::Reset();  // the token is nobody's
}

}  // namespace
}  // namespace r5lqz
