// What a power cut at any moment leaves of the operations that sync: by a model of the disk, and,
// where exhaustive proofs are wanted and may mount file systems, by real ones.

#include <cstdlib>
#include <filesystem>
#include <string>

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

constexpr auto overwrite = std::filesystem::copy_options::overwrite_existing;

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

// A file system of its own in a file, mounted while the object lives.
class Image final {
 public:
  explicit Image(const std::filesystem::path& image)
      : file(image), folder(image.string() + ".mounted") {
    std::filesystem::create_directory(folder);
    mounted = Run("mount -o loop " + file.string() + " " + folder.string());
  }
  Image(const Image&) = delete;
  Image& operator=(const Image&) = delete;
  ~Image() {
    if (mounted) Run("umount " + folder.string());
  }

  static bool Run(const std::string& command) {
    return std::system((command + " >/dev/null 2>&1").c_str()) == 0;  // NOLINT
  }

  const std::filesystem::path file;
  const std::filesystem::path folder;
  bool mounted = false;
};

// The image as it is at the moment holds what has reached the disk, and nothing else. Without the
// line that lets syncs reach it, all operations but the one that changes nothing fail here.
TEST_P(EachDurableOperation, LeavesOldOrNewOnARealFileSystem) {
  if (!IsDeep()) return;
  PretendedCalls::kinds = 0;  // here syncs have to reach the disk
  const TemporaryFolder images;
  const std::filesystem::path image = images.GetPath() / "image";
  const std::filesystem::path copy = images.GetPath() / "copy";
  const bool made = Image::Run("truncate -s 8M " + image.string()) &&
                    Image::Run("mkfs.ext4 -q " + image.string());
  const Image disk(image);
  if (!made || !disk.mounted) GTEST_SKIP() << "No file system can be made and mounted here.";
  const Stage stage(disk.folder);
  const std::string name = stage.folder.GetPath().filename();
  bool struck = true;
  for (unsigned int call = 0; struck; ++call) {
    SCOPED_TRACE("before call " + std::to_string(call));
    stage.Clear();
    GetParam().prepare(stage);
    ASSERT_TRUE(Image::Run("sync -f " + disk.folder.string()));
    const auto cut = [&] { std::filesystem::copy_file(image, copy, overwrite); };
    {
      const CallHook hook(call, cut);
      GetParam().run(stage);
      struck = hook.HasStruck();
    }
    if (!struck) cut();
    const Image found(copy);
    ASSERT_TRUE(found.mounted);
    const Tree tree = WithoutTemporaries(LookAt(found.folder / name));
    EXPECT_TRUE(struck ? trial.IsSound(tree) : tree == trial.after) << Print(tree);
    CountPoint("power cuts of a file system");
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
