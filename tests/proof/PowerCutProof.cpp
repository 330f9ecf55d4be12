// What a power cut at any moment leaves of the operations that sync, by a model of the disk.

#include <cerrno>

#include "tests/proof/Trial.h"
#include "tests/support/PowerCut.h"

namespace Tests {
namespace {

std::vector<Operation> DurableOperations() {
  std::vector<Operation> found;
  for (const Operation& operation : AllOperations()) {
    if (operation.durable) found.push_back(operation);
  }
  return found;
}

class EachDurableOperation : public testing::TestWithParam<Operation> {
 protected:
  // Calls `check` with each state that a cut may leave, while the operation runs or afterwards.
  template <class Check>
  std::size_t ForEachState(OtherSystem::Kind kind, PowerCut::Order order, PowerCut::Moment moment,
                           Check check, bool syncs = true) {
    trial.Prepare();
    PowerCut cut(trial.stage.folder.GetPath());
    {
      const OtherSystem system(kind);
      GetParam().run(trial.stage);
    }
    if (!syncs) cut.ForgetSyncs();
    return cut.ForEachState(order, check, moment);
  }

  const Trial trial{GetParam()};
};

INSTANTIATE_TEST_SUITE_P(Proof, EachDurableOperation, testing::ValuesIn(DurableOperations()),
                         [](const auto& parameter) { return ToTestName(parameter.param.name); });

TEST_P(EachDurableOperation, LeavesOldOrNewAndOnceDoneTheNew) {
  for (const auto kind : OtherSystem::All) {
    for (const auto order : {PowerCut::Order::Kept, PowerCut::Order::None}) {
      SCOPED_TRACE(std::string(order == PowerCut::Order::Kept ? "names in order" : "in any order") +
                   ", system " + std::to_string(kind));
      const std::size_t states =
          ForEachState(kind, order, PowerCut::Moment::Any, [&](const Tree& disk) {
            CountPoint("power cuts");
            EXPECT_TRUE(trial.IsSound(WithoutTemporaries(disk))) << Print(disk);
          });
      EXPECT_GE(states, 2U);
      ForEachState(kind, order, PowerCut::Moment::End, [&](const Tree& disk) {
        CountPoint("power cuts");
        EXPECT_TRUE(WithoutTemporaries(disk) == trial.after) << "once done: " << Print(disk);
      });
    }
  }
}

// The control: the model does find what a missing sync costs.
TEST_P(EachDurableOperation, LosesDataWhereNothingIsSynced) {
  std::size_t lost = 0;
  const auto count = [&](const Tree& disk) {
    lost += WithoutTemporaries(disk) == trial.after ? 0U : 1U;
  };
  ForEachState(OtherSystem::None, PowerCut::Order::None, PowerCut::Moment::End, count, false);
  EXPECT_TRUE(lost > 0 || trial.before == trial.after);
}

}  // namespace
}  // namespace Tests
