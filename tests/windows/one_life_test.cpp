// One life of the driver on a machine: installed, given a printer, used by a user and an application, removed; and what
// is left.
#include "driver_life.h"
#include "install_machine.h"

namespace tests {
namespace {

class OneLife : public InstallMachine {};

TEST_F(OneLife, LeavesTheMachineAsItWas) {
  const demo::DriverLife life = demo::LiveOneLife(ModulePath().wstring());
  EXPECT_EQ(life.stages.size(), 8u);
  for (const auto& stage : life.stages) EXPECT_TRUE(stage.held) << stage.done << ": " << stage.seen;

  EXPECT_GT(life.before.files.size(), 500u) << "an empty picture would show no difference";
  EXPECT_GT(life.before.registry.size(), 1000u);
  EXPECT_EQ(life.before.profiles, life.after.profiles);
  EXPECT_EQ(life.traces.size(), 4u) << "the module's loaded copy, two empty folders, the order to remove them";
  for (const auto& trace : life.traces) EXPECT_NE(trace.reason, "") << trace.what;
}

}  // namespace
}  // namespace tests
