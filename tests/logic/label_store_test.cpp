#include "support.h"

namespace r5lqz {
namespace {

class LabelStore : public ModuleTest {
 protected:
  LabelStore() { log_mask = kMessageBit; }
  SHORT NextId(ResultCode expected = ERROR_SUCCESS) {
    SHORT id = -1;
    EXPECT_EQ(GenerateNextLabelId(printer(), &id), expected);
    return id;
  }
  // The keys that the store lists; a bar stands for the end of a name.
  static void SetKeys(std::u16string list) {
    std::replace(list.begin(), list.end(), u'|', u'\0');
    platform::SetKeyListBytes(kPrinterName, "Label Sizes", std::as_bytes(std::span(list)));
  }
};

TEST_F(LabelStore, LivesThroughAddModifyDelete) {
  EXPECT_TRUE(Labels().empty());
  EXPECT_EQ(NextId(), 258);
  EXPECT_EQ(LogLines().back(), "[Error] Could not find label list in registry: 0x2");
  PrinterLabel first{"First", "50.8", "101.6", "-12", "34", kInches, 0}, second = first;
  EXPECT_EQ(AddPrinterLabel(printer(), &first), ERROR_SUCCESS);
  EXPECT_EQ(AddPrinterLabel(printer(), &second), ERROR_SUCCESS);
  EXPECT_EQ(second.id, 259);
  EXPECT_EQ(platform::GetData(kPrinterName, "Label Sizes\\258", "name")->bytes.size(), sizeof "First");

  std::strcpy(first.name, "Renamed");
  EXPECT_EQ(ModifyPrinterLabel(printer(), &first), ERROR_SUCCESS);
  EXPECT_EQ(DeletePrinterLabel(printer(), &second), ERROR_SUCCESS);
  const auto labels = Labels();
  ASSERT_EQ(labels.size(), 1u);
  EXPECT_EQ(std::memcmp(&labels[0], &first, sizeof first), 0);
  EXPECT_EQ(DeletePrinterLabel(printer(), &second), DWORD{ERROR_FILE_NOT_FOUND});
  for (const auto& [handle, label] : {std::pair(printer(), static_cast<PrinterLabel*>(nullptr)), {nullptr, &first}}) {
    EXPECT_EQ(AddPrinterLabel(handle, label), kMissingArgument);
    EXPECT_EQ(ModifyPrinterLabel(handle, label), kMissingArgument);
    EXPECT_EQ(DeletePrinterLabel(handle, label), kMissingArgument);
  }
}

TEST_F(LabelStore, NextIdFollowsTheHighestNumber) {
  const std::pair<std::u16string, SHORT> kLists[] = {
      {u"258|260|259||", 261},
      {u"abc|+259|+-65236|-7||", 260},
      {u" 300x||", 301},
      {u"99999999999999999999||", 258},  // no number that an int holds
      {u"65794||", 259},                 // 258, as 16 bits
      {u"32766||", 32767},
      {u"32767|258|260||", 259},  // used up: the lowest free one
      {u"258|259", 260},          // neither closing name nor terminator
      {u"", 258},
  };
  for (const auto& [list, id] : kLists) {
    SetKeys(list);
    EXPECT_EQ(NextId(), id);
  }
  std::u16string all;
  for (int id = 258; id <= 32767; ++id) {
    const std::string name = std::to_string(id);
    all += std::u16string(name.begin(), name.end()) + u'|';
  }
  SetKeys(all);
  NextId(ERROR_TOO_MANY_NAMES);
}

TEST_F(LabelStore, UnreadableLabelsAreLeftOut) {
  const std::tuple<const char*, DWORD, std::string, const char*> kFaults[] = {
      {"version", REG_DWORD, std::string("\2\0\0\0", 4), "[Error] Unknown label version: 2"},
      {"version", REG_DWORD, std::string("\1\0", 2), "[Error] Could not read label version: 0x20000004"},
      {"name", REG_SZ, std::string(64, 'n'), "[Error] Could not read label name: 0xea"},
      {"length", REG_BINARY, "1", "[Error] Could not read label length: 0x20000004"},
      {"units", REG_DWORD, "12345", "[Error] Could not read label units: 0xea"},
      {"units", REG_QWORD, std::string(4, '\0'), "[Error] Could not read label units: 0x20000004"},
      {"horzOffset", REG_NONE, "", "[Error] Could not read label horzOffset: 0x20000004"},
  };
  for (const auto& [value, type, bytes, record] : kFaults) {
    StoreLabel(300, "Bad");
    StoreLabel(301, "Good");
    platform::SetData(kPrinterName, "Label Sizes\\300", value, type, std::as_bytes(std::span(bytes)));
    const auto labels = Labels();
    ASSERT_EQ(labels.size(), 1u) << record;
    EXPECT_EQ(labels[0].id, 301);
    EXPECT_EQ(LogLines().back(), record);
  }
  // Texts are terminated however they are stored.
  StoreLabel(300, "x");
  platform::SetDataText(kPrinterName, "Label Sizes\\300", "name", std::string(63, 'n'), false);
  platform::SetDataText(kPrinterName, "Label Sizes\\300", "width", "1234567", false);
  platform::SetData(kPrinterName, "Label Sizes\\300", "length", REG_SZ, {});
  const auto labels = Labels();
  ASSERT_EQ(labels.size(), 2u);
  EXPECT_EQ(labels[0].name, std::string(63, 'n'));
  EXPECT_STREQ(labels[0].width, "1234567");
  EXPECT_STREQ(labels[0].length, "");
  EXPECT_EQ(Labels(1).size(), 1u) << "as many as there is room for";
}

// Keys without end that anybody with write access to the printer's data may have made: each listing gives them up.
TEST_F(LabelStore, UnreadableKeysWithoutEndAreGivenUp) {
  StoreLabel(300, "First");
  StoreLabel(301, "Last");
  constexpr std::pair<int, std::size_t> kRows[] = {{255, 2}, {256, 1}, {30000, 1}};
  for (const auto& [unreadable, listed] : kRows) {
    std::u16string list = u"300|";
    for (int key = 0; key < unreadable; ++key) list += u"400|";
    SetKeys(list + u"301||");
    const auto before = platform::Calls("GetPrinterDataExA");
    EXPECT_EQ(Labels().size(), listed);
    EXPECT_LE(platform::Calls("GetPrinterDataExA") - before, 269u);
  }
  EXPECT_EQ(LogLines().back(), "[Error] Gave up the label list after 256 unreadable labels");

  // Nor is memory taken for a list that no label numbers fill.
  SetKeys(std::u16string(9 * 1024 * 1024, u'1'));
  PrinterLabel label;
  LONG count = -1;
  EXPECT_EQ(ReadPrinterLabelList(printer(), &label, 1, &count), DWORD{ERROR_NOT_ENOUGH_MEMORY});
  EXPECT_EQ(count, 0);
  EXPECT_EQ(LogLines().back(), "[Error] Could not read label list from registry: 0x8");
}

TEST_F(LabelStore, ListThatGrowsWhileItIsReadIsReadAgain) {
  StoreLabel(258, "First");
  int enumerations = 0;
  platform::SetCallHook(
      [&](const char*) {
        if (++enumerations == 2) StoreLabel(259, "Late");
        // One that has shrunk meanwhile is taken as it is, though it does not close.
        if (enumerations == 5) SetKeys(u"258");
      },
      "EnumPrinterKeyW");
  EXPECT_EQ(Labels().size(), 2u);
  EXPECT_EQ(enumerations, 3);
  EXPECT_EQ(Labels().size(), 1u);
  EXPECT_EQ(enumerations, 5);
  platform::SetCallHook(nullptr);
  // A store that never settles is given up, with its code.
  platform::FailCall("EnumPrinterKeyW", 2, ERROR_MORE_DATA, true);
  const auto calls = platform::Calls("EnumPrinterKeyW");
  EXPECT_EQ(NextId(ERROR_MORE_DATA), 258);
  EXPECT_LE(platform::Calls("EnumPrinterKeyW") - calls, 5u);
}

TEST_F(LabelStore, RefusedWritesAreReportedAndUnterminatedTextsRefused) {
  PrinterLabel label{"Refused", "50.8", "", "-12", "34", kInches, 300};
  std::memset(label.length, '9', sizeof label.length);
  platform::FailCall("SetPrinterDataExA", 3, ERROR_ACCESS_DENIED);
  EXPECT_EQ(SavePrinterLabel(printer(), &label), DWORD{ERROR_ACCESS_DENIED});
  EXPECT_EQ(LogLines().back(), "[Error] Could not set label width: 0x5");
  EXPECT_EQ(SavePrinterLabel(printer(), &label), DWORD{ERROR_INVALID_DATA});
  EXPECT_TRUE(platform::GetData(kPrinterName, "Label Sizes\\300", "width"));
  EXPECT_FALSE(platform::GetData(kPrinterName, "Label Sizes\\300", "length"));
  EXPECT_FALSE(platform::GetData(kPrinterName, "Label Sizes\\300", "units"));

  platform::FailCall("EnumPrinterKeyW", 1, ERROR_ACCESS_DENIED);
  EXPECT_EQ(AddPrinterLabel(printer(), &label), DWORD{ERROR_ACCESS_DENIED});
  EXPECT_FALSE(platform::GetData(kPrinterName, "Label Sizes\\258", "version")) << "nothing is stored without a number";
}

}  // namespace
}  // namespace r5lqz
