#include "support.h"

namespace r5lqz {
namespace {

class LabelStore : public ModuleTest {
 protected:
  static PrinterLabel Label(const char* name) {
    PrinterLabel label{"", "50.8", "101.6", "-12", "34", kInches, 0};
    std::strcpy(label.name, name);
    return label;
  }
  SHORT NextId(ResultCode expected = ERROR_SUCCESS) {
    SHORT id = -1;
    EXPECT_EQ(GenerateNextLabelId(printer(), &id), expected);
    return id;
  }
};

TEST_F(LabelStore, LivesThroughAddModifyDelete) {
  EXPECT_TRUE(Labels().empty());
  PrinterLabel first = Label("First");
  PrinterLabel second = Label("Second");
  EXPECT_EQ(AddPrinterLabel(printer(), &first), ERROR_SUCCESS);
  EXPECT_EQ(AddPrinterLabel(printer(), &second), ERROR_SUCCESS);
  EXPECT_EQ(first.id, 258);
  EXPECT_EQ(second.id, 259);
  EXPECT_EQ(platform::GetData(kPrinterName, "Label Sizes\\258", "name")->bytes.size(), sizeof "First");

  std::strcpy(first.name, "Renamed");
  EXPECT_EQ(ModifyPrinterLabel(printer(), &first), ERROR_SUCCESS);
  auto labels = Labels();
  ASSERT_EQ(labels.size(), 2u);
  EXPECT_EQ(std::memcmp(&labels[0], &first, sizeof first), 0);

  EXPECT_EQ(DeletePrinterLabel(printer(), &second), ERROR_SUCCESS);
  EXPECT_EQ(Labels().size(), 1u);
  EXPECT_EQ(NextId(), 259) << "the highest number, once deleted, is the next one again";
  EXPECT_EQ(AddPrinterLabel(printer(), nullptr), kMissingArgument);
  EXPECT_EQ(AddPrinterLabel(nullptr, &first), kMissingArgument);
  EXPECT_EQ(ModifyPrinterLabel(nullptr, &first), kMissingArgument);
  EXPECT_EQ(ModifyPrinterLabel(printer(), nullptr), kMissingArgument);
  EXPECT_EQ(DeletePrinterLabel(printer(), nullptr), kMissingArgument);
  EXPECT_EQ(DeletePrinterLabel(nullptr, &first), kMissingArgument);
  EXPECT_EQ(DeletePrinterLabel(printer(), &second), DWORD{ERROR_FILE_NOT_FOUND});
}

TEST_F(LabelStore, NextIdFollowsTheHighestNumber) {
  log_mask = kMessageBit;
  EXPECT_EQ(NextId(), 258);
  EXPECT_EQ(LogLines(), std::vector<std::string>{"[Error] Could not find label list in registry: 0x2"});
  // A bar stands for the end of a name.
  const std::pair<std::u16string, SHORT> kLists[] = {
      {u"258|260|259||", 261},
      {u"abc|+259|+-65236||", 260},
      {u" 300x|-7||", 301},
      {u"99999999999999999999||", 258},  // no number that an int holds
      {u"65794||", 259},                 // 258, as 16 bits
      {u"32766||", 32767},
      {u"32767|258|260||", 259},  // used up: the lowest free one
      {u"258|259", 260},          // neither closing name nor terminator
      {u"|", 258},
      {u"", 258},
  };
  for (auto [list, id] : kLists) {
    std::replace(list.begin(), list.end(), u'|', u'\0');
    platform::SetKeyListBytes(kPrinterName, "Label Sizes", std::as_bytes(std::span(list)));
    EXPECT_EQ(NextId(), id);
  }
  std::u16string all;
  for (int id = 258; id <= 32767; ++id) {
    for (const char digit : std::to_string(id)) all += static_cast<char16_t>(digit);
    all += u'\0';
  }
  platform::SetKeyListBytes(kPrinterName, "Label Sizes", std::as_bytes(std::span(all)));
  NextId(ERROR_TOO_MANY_NAMES);
}

TEST_F(LabelStore, UnreadableLabelsAreLeftOut) {
  log_mask = kMessageBit;
  struct Fault {
    const char* value;
    DWORD type;
    std::string bytes;
    const char* record;
  };
  const Fault kFaults[] = {
      {"version", REG_DWORD, std::string("\2\0\0\0", 4), "[Error] Unknown label version: 2"},
      {"version", REG_DWORD, std::string("\1\0", 2), "[Error] Could not read label version: 0x20000004"},
      {"name", REG_SZ, std::string(64, 'n'), "[Error] Could not read label name: 0xea"},
      {"width", REG_SZ, "12345678", "[Error] Could not read label width: 0xea"},
      {"length", REG_BINARY, "1", "[Error] Could not read label length: 0x20000004"},
      {"units", REG_DWORD, "12345", "[Error] Could not read label units: 0xea"},
      {"units", REG_QWORD, std::string(4, '\0'), "[Error] Could not read label units: 0x20000004"},
  };
  StoreLabel(299, "Good", "50", "60", kMillimetres);
  for (const Fault& fault : kFaults) {
    StoreLabel(300, "Bad", "50", "60", kMillimetres);
    StoreLabel(301, "Also good", "50", "60", kMillimetres);
    platform::SetData(kPrinterName, "Label Sizes\\300", fault.value, fault.type, std::as_bytes(std::span(fault.bytes)));
    const auto labels = Labels();
    ASSERT_EQ(labels.size(), 2u) << fault.record;
    EXPECT_EQ(labels[1].id, 301);
    EXPECT_EQ(LogLines().back(), fault.record);
  }
  StoreLabel(300, "Bad", "50", "60", kMillimetres);
  platform::RemoveData(kPrinterName, "Label Sizes\\300", "horzOffset");
  EXPECT_EQ(Labels().size(), 2u);
  EXPECT_EQ(LogLines().back(), "[Error] Could not read label horzOffset: 0x2");
}

TEST_F(LabelStore, TextsAreTerminatedHoweverTheyAreStored) {
  StoreLabel(258, "x", "50", "60", kMillimetres);
  platform::SetDataText(kPrinterName, "Label Sizes\\258", "name", std::string(63, 'n'), false);
  platform::SetDataText(kPrinterName, "Label Sizes\\258", "width", "1234567", false);
  platform::SetData(kPrinterName, "Label Sizes\\258", "length", REG_SZ, {});
  const auto labels = Labels();
  ASSERT_EQ(labels.size(), 1u);
  EXPECT_EQ(labels[0].name, std::string(63, 'n'));
  EXPECT_STREQ(labels[0].width, "1234567");
  EXPECT_STREQ(labels[0].length, "");
}

TEST_F(LabelStore, ListHoldsAsManyAsItHasRoomFor) {
  for (int id = kFirstLabelId; id < kFirstLabelId + kMostLabels + 2; ++id)
    StoreLabel(id, "Many", "50", "60", kMillimetres);
  EXPECT_EQ(Labels().size(), std::size_t{kMostLabels});
  EXPECT_EQ(Labels(0).size(), 0u);
}

// Keys without end that anybody with write access to the printer's data may have made: each listing gives them up.
TEST_F(LabelStore, UnreadableKeysWithoutEndAreGivenUp) {
  log_mask = kMessageBit;
  const auto list_after = [&](int unreadable) {
    std::u16string list = u"300|";
    for (int key = 0; key < unreadable; ++key) list += u"400|";
    list += u"301||";
    std::replace(list.begin(), list.end(), u'|', u'\0');
    platform::SetKeyListBytes(kPrinterName, "Label Sizes", std::as_bytes(std::span(list)));
    const auto before = platform::Calls("GetPrinterDataExA");
    std::string found;
    for (const PrinterLabel& label : Labels()) found += label.name;
    return found + " " + std::to_string(platform::Calls("GetPrinterDataExA") - before);
  };
  StoreLabel(300, "First", "50", "60", kMillimetres);
  StoreLabel(301, "Last", "50", "60", kMillimetres);
  EXPECT_EQ(list_after(255), "FirstLast 269");
  EXPECT_EQ(list_after(256), "First 263");
  EXPECT_EQ(list_after(30000), "First 263");
  EXPECT_EQ(LogLines().back(), "[Error] Gave up the label list after 256 unreadable labels");

  // Nor is memory taken for a list that no label numbers fill.
  const std::u16string huge(9 * 1024 * 1024, u'1');
  platform::SetKeyListBytes(kPrinterName, "Label Sizes", std::as_bytes(std::span(huge)));
  PrinterLabel label;
  LONG count = -1;
  EXPECT_EQ(ReadPrinterLabelList(printer(), &label, 1, &count), DWORD{ERROR_NOT_ENOUGH_MEMORY});
  EXPECT_EQ(count, 0);
  EXPECT_EQ(LogLines().back(), "[Error] Could not read label list from registry: 0x8");
}

TEST_F(LabelStore, ListThatGrowsWhileItIsReadIsReadAgain) {
  StoreLabel(258, "First", "50", "60", kMillimetres);
  int enumerations = 0;
  platform::SetCallHook(
      [&](const char*) {
        if (++enumerations == 2) StoreLabel(259, "Late", "1", "2", kInches);
        // One that has shrunk meanwhile is taken as it is, though it does not close.
        if (enumerations == 5)
          platform::SetKeyListBytes(kPrinterName, "Label Sizes", std::as_bytes(std::span(u"258", 3)));
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
  log_mask = kMessageBit;
  PrinterLabel label = Label("Refused");
  label.id = 300;
  platform::FailCall("SetPrinterDataExA", 3, ERROR_ACCESS_DENIED);
  EXPECT_EQ(SavePrinterLabel(printer(), &label), DWORD{ERROR_ACCESS_DENIED});
  EXPECT_EQ(LogLines().back(), "[Error] Could not set label width: 0x5");
  EXPECT_TRUE(platform::GetData(kPrinterName, "Label Sizes\\300", "name"));
  EXPECT_FALSE(platform::GetData(kPrinterName, "Label Sizes\\300", "length"));

  std::memset(label.length, '9', sizeof label.length);
  EXPECT_EQ(SavePrinterLabel(printer(), &label), DWORD{ERROR_INVALID_DATA});
  EXPECT_FALSE(platform::GetData(kPrinterName, "Label Sizes\\300", "length"));

  platform::FailCall("EnumPrinterKeyW", 1, ERROR_ACCESS_DENIED);
  EXPECT_EQ(AddPrinterLabel(printer(), &label), DWORD{ERROR_ACCESS_DENIED});
  EXPECT_FALSE(platform::GetData(kPrinterName, "Label Sizes\\301", "version")) << "nothing is stored without a number";
}

}  // namespace
}  // namespace r5lqz
