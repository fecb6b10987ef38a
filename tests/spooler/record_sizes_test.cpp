// Records of every size, each right before a page that nobody may touch.
#include <windows.h>
#include <winspool.h>

#include "guarded_block.h"
#include "spooler_fixture.h"

namespace tests {
namespace {

using r5lqz::DriverDevMode;

struct RecordSizesTest : SpoolerTest {
  // What the spooler hands the driver; the platform's own road would stumble over some of these records first.
  static LONG Ask(HANDLE printer, GuardedBlock& out, void* in, DWORD mode) {
    DOCUMENTPROPERTYHEADER header{sizeof header, 0, printer, PrinterName()};
    header.pdmIn = static_cast<DEVMODEW*>(in);
    header.pdmOut = out.As<DEVMODEW>();
    header.cbOut = 0xA5A5A5A5;
    header.fMode = mode;
    const LONG result = Driver().DocumentPropertySheets(nullptr, reinterpret_cast<LPARAM>(&header));
    EXPECT_EQ(header.cbOut, 864u);
    return result;
  }
};

TEST_F(RecordSizesTest, NoByteBeyondARecordIsReadOrWritten) {
  const DriverDevMode defaults = Defaults();
  for (const WORD public_size : {72, 76, 188, 213, 220, 300}) {
    for (const WORD extra : {0, 1, 3, 4, 112, 643, 644, 2000}) {
      SCOPED_TRACE("record of " + std::to_string(public_size) + " + " + std::to_string(extra));
      GuardedBlock in(std::size_t{public_size} + extra);
      memset(in.data(), 0, std::size_t{public_size} + extra);
      memcpy(in.data(), &defaults, std::min<std::size_t>(public_size, 220));
      memcpy(in.data() + public_size, &defaults.dm_private, std::min<std::size_t>(extra, 644));
      const r5lqz::RecordForm form{0x0401, 0x0401, public_size, extra};
      memcpy(in.data() + r5lqz::kFormOffset, &form, sizeof form);
      // What comes back has the asked form, and never more than the driver has to say.
      const WORD public_back = std::min<WORD>(public_size, 220);
      const WORD extra_back = std::min<WORD>(extra, 644);
      GuardedBlock out(std::size_t{public_back} + extra_back);

      EXPECT_EQ(Ask(Printer(), out, in.data(), DM_IN_BUFFER | DM_OUT_BUFFER), 1);
      EXPECT_TRUE(out.FrontIntact());
      const auto form_back = out.Read<r5lqz::RecordForm>(r5lqz::kFormOffset);
      EXPECT_EQ(form_back.public_size, public_back);
      EXPECT_EQ(form_back.private_size, extra_back);
      const std::size_t last = std::size_t{public_back} + extra_back - 1;
      EXPECT_NE(out.Read<BYTE>(last), GuardedBlock::kPoison) << "the whole of the form is written";

      EXPECT_EQ(Driver().DeviceCapabilities(Printer(), PrinterName(), DC_VERSION, nullptr, in.As<DEVMODEW>()), 0x0401u);
      ULONG flags = 0;
      ULONG size = sizeof L"sRGB Color Space Profile.icm";
      GuardedBlock name(size);
      const BOOL profile =
          Driver().QueryColorProfile(Printer(), in.As<DEVMODEW>(), QCP_DEVICEPROFILE, name.data(), &size, &flags);
      EXPECT_EQ(profile, public_size == 220 && extra >= 4) << "signed where this driver signs";
      EXPECT_TRUE(name.FrontIntact());
    }
  }
}

TEST_F(RecordSizesTest, OutputsThatAreNotAskedForStayUntouched) {
  DriverDevMode in = Defaults();
  GuardedBlock out(sizeof in);
  EXPECT_EQ(Ask(Printer(), out, &in, DM_IN_BUFFER), 1);
  EXPECT_EQ(Ask(Printer(), out, &in, 0), 864);
  EXPECT_EQ(Ask(nullptr, out, nullptr, 0), 864);
  EXPECT_EQ(Ask(nullptr, out, nullptr, DM_OUT_BUFFER), -1) << "without a printer only the size is known";
  EXPECT_TRUE(out.Untouched());
}

}  // namespace
}  // namespace tests
