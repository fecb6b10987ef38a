// Label lists as JSON: what is written is read again, and whatever a file says becomes labels that the module can use.
#include "dialogs/label_json.h"

#include "dialogs/page_names.h"
#include "support.h"

namespace r5lqz {
namespace {

// "NAME WIDTHxLENGTH UNITS VERTICAL,HORIZONTAL #ID;" for each label that a text gives.
std::string Read(const std::string& text, std::size_t capacity = kMostLabels) {
  // Of exactly their sizes, so that the sanitizer sees a byte beyond them.
  const std::unique_ptr<char[]> exact(new char[text.size() + 1]);
  std::memcpy(exact.get(), text.c_str(), text.size() + 1);
  const std::unique_ptr<PrinterLabel[]> labels(new PrinterLabel[capacity]);
  std::memset(labels.get(), 0xA5, capacity * sizeof(PrinterLabel));
  const int count = ReadLabelJson(exact.get(), {labels.get(), capacity});
  std::string list;
  for (int at = 0; at < count; ++at) {
    const PrinterLabel& label = labels[static_cast<std::size_t>(at)];
    list += label.name + std::string(" ") + label.width + "x" + label.length + " " + std::to_string(label.units) + " " +
            label.vertOffset + "," + label.horzOffset + " #" + std::to_string(label.id) + ";";
  }
  if (count == 0) EXPECT_EQ(labels[0].name[0], '\xA5') << "a refused text changes nothing";
  return list;
}

std::string List(const std::string& pages) {
  return "{\"version\":0,\"list\":[" + pages + "]}";
}

constexpr char kDefaultPage[] = "No Name 1 4.13x5.00 1 0,0 #259;";

struct LabelJson : ModuleTest {};

TEST_F(LabelJson, ATextThatIsNoListIsRefused) {
  const std::string list = List("{}");
  for (const std::string& text :
       {std::string("null"), "[" + list + "]", std::string(R"({"list":[{}]})"),
        std::string(R"({"version":"0","list":[{}]})"), std::string(R"({"version":0,"list":{"name":"A"}})"),
        "\xEF\xBB\xBF" + list, " \xEF\xBB\xBF" + list, List(std::string(100000, '[')),
        List("\"" + std::string(1, '\xC3'))}) {
    EXPECT_EQ(Read(text), "") << text.substr(0, 60);
  }
  for (std::size_t length = 0; length < list.size(); ++length) EXPECT_EQ(Read(list.substr(0, length)), "") << length;
  EXPECT_EQ(Read("\x01\r\n" + list + "anything"), kDefaultPage);
  // Root and list are two of the 32 levels that a text may have.
  const auto nested = [](std::size_t levels) { return List(std::string(levels, '[') + std::string(levels, ']')); };
  EXPECT_EQ(Read(nested(30)), kDefaultPage);
  EXPECT_EQ(Read(nested(31)), "");
}

TEST_F(LabelJson, EachMemberIsCheckedOrBecomesItsDefault) {
  const std::string fits(63, 'n');
  // Either a page's members, or the sizes, units and offsets alone of the page "N" that has them.
  const std::pair<std::string, std::string> kPages[] = {
      {R"(17)", kDefaultPage},
      {R"({"NAME":"A","name":"B","Units":0,"id":32767.9})", "A 104.80x127.00 0 0,0 #32767;"},
      {R"({"name":"","units":2.9,"id":258})", " 1048.00x1270.00 2 0,0 #259;"},
      {R"({"name":null,"units":3,"id":1e300})", kDefaultPage},
      {R"({"name":"\u00e9","units":"0","id":"300"})", "\xC3\xA9 4.13x5.00 1 0,0 #259;"},
      {"{\"name\":\"\xE9\",\"units\":-1e999}", "\xE9 4.13x5.00 1 0,0 #259;"},
      {"{\"name\":\"" + fits + "\"}", fits + " 4.13x5.00 1 0,0 #259;"},
      {"{\"name\":\"" + fits + "n\"}", " 4.13x5.00 1 0,0 #259;"},
      {R"("width":4.125,"vertOffset":7)", "4.13x5.00 1 0,0"},
      {R"("width":"4,125","length":"1,0","vertOffset":"12.5","horzOffset":"-2400")", "4.125x1.0 1 12.5,-2400"},
      {R"("width":"0.0394","length":"35.5","vertOffset":"12345678","horzOffset":"")", "0.0394x35.5 1 ,"},
      {R"("width":"0.0393","length":"0.99999","vertOffset":"2401","horzOffset":"2400")", "4.13x5.00 1 0,2400"},
      {R"("units":0,"width":"297","length":"25.4")", "297x25.4 0 0,0"},
      {R"("units":0,"width":"297.001","length":"901.701")", "104.80x127.00 0 0,0"},
      {R"("width":"4.125000","length":"1,2,3")", "4.13x5.00 1 0,0"},
  };
  for (const auto& [page, expected] : kPages) {
    const bool alone = page[0] == '"';
    const std::string list = Read(List(alone ? "{\"name\":\"N\"," + page + "}" : page));
    EXPECT_EQ(list, alone ? "N " + expected + " #259;" : expected) << page;
  }
  EXPECT_EQ(Read(List(R"({"name":"A"},{"name":"B","id":300},{},{})"), 3),
            "A 4.13x5.00 1 0,0 #259;B 4.13x5.00 1 0,0 #300;No Name 3 4.13x5.00 1 0,0 #261;")
      << "of three pages, and no more than there is room for";
}

TEST_F(LabelJson, WhatIsWrittenIsReadAgain) {
  EXPECT_STREQ(WriteLabelJson({}).get(), "{\n\t\"version\":\t0,\n\t\"list\":\t[]\n}");
  PrinterLabel labels[]{{"Q\"\\\t\x7F\xE4", "4.125", "5.000", "-2400", "2400", kInches, 300},
                        {"", "104.8", "127", "", "+1", kMillimetres, 259},
                        {"T", "2970.00", "9017.00", "0", "0", kTenthsOfMillimetre, 258}};
  std::memset(labels[1].name, 'n', kLabelNameSize - 1);
  const auto text = WriteLabelJson(labels);
  EXPECT_EQ(Read(text.get()), "Q\"\\\t\x7F\xE4 4.125x5.000 1 -2400,2400 #300;" + std::string(63, 'n') +
                                  " 104.8x127 0 ,+1 #259;T 2970.00x9017.00 2 0,0 #261;");
  EXPECT_NE(std::string(text.get()).find("\"units\":\t1,\n\t\t\t\"id\":\t300\n"), std::string::npos) << text.get();
  // Without memory there is no text rather than half of one, and nothing is left behind (the fixture looks).
  std::uint64_t nth = 0;
  for (bool failed = true; failed;) {
    const auto before = platform::FaultsInjected();
    platform::FailCall(nullptr, ++nth);
    const auto written = WriteLabelJson(labels);
    failed = platform::FaultsInjected() > before;
    EXPECT_NE(failed, written != nullptr) << nth;
    platform::DisarmFaults();
  }
  EXPECT_GT(nth, 20u);
}

TEST(PageNames, CopiesTakeTheFirstFreeNumber) {
  const PrinterLabel labels[]{{"A"}, {"a (COPY 1)"}, {"A (Copy 3)"}, {""}};
  EXPECT_TRUE(IsLabelNameUsed(labels, 4, "a"));
  EXPECT_FALSE(IsLabelNameUsed(labels, 2, "A (Copy 3)"));
  EXPECT_FALSE(IsLabelNameUsed(labels, -1, "A"));
  EXPECT_STREQ(FindCopyName(labels, 4, "A").data(), "A (Copy 2)");
  EXPECT_STREQ(FindCopyName(labels, 4, "").data(), " (Copy 1)");
  EXPECT_EQ(std::strlen(FindCopyName(labels, 4, std::string(54, 'x').c_str()).data()), 63u);
}

}  // namespace
}  // namespace r5lqz
