#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <sys/types.h>
#include <vector>

namespace Tests {

/// What the disk holds of a folder after a power cut. While the object lives it records what the
/// process does to the files of one folder, through the C functions that the test program defines;
/// afterwards `ForEachState` makes every state that a cut at any moment could have left behind.
///
/// The model: a sync of a file makes what was written to it durable, a sync of the folder the names
/// that were made, changed or removed. Of what is not synced, the disk may hold any part: of a file
/// nothing, all, a beginning, or zeros; of the names a beginning, or, on a disk without order, any
/// selection. One write within 4096 bytes is never torn. One at a time.
class PowerCut final {
 public:
  /// The content of each file, by its name.
  using Files = std::map<std::string, std::string>;
  enum class Order { Kept, None };
  /// Whether the power may fail at any moment, or after all that was recorded.
  enum class Moment { Any, End };

  explicit PowerCut(std::filesystem::path folder);
  PowerCut(const PowerCut&) = delete;
  PowerCut& operator=(const PowerCut&) = delete;
  ~PowerCut();

  /// Ends the recording. Calls `check` once with each state; gives their number.
  std::size_t ForEachState(Order order, const std::function<void(const Files&)>& check,
                           Moment moment = Moment::Any);

  /// For negative controls: as if no call had synced anything.
  void ForgetSyncs();

  /// For the C functions, after a call that succeeded; nothing without an object.
  static void NoteWrite(int descriptor, const void* data, std::size_t size, off_t offset);
  static void NoteTruncation(int descriptor);
  static void NoteNames();
  static void NoteSync(int descriptor);

 private:
  using Node = std::uint64_t;
  using Names = std::map<std::string, Node>;
  struct Event {
    enum class Kind { Write, Truncate, Names, SyncFile, SyncNames } kind;
    Node node = 0;
    std::size_t offset = 0;
    std::string bytes;
    std::map<std::string, std::optional<Node>> changes;  // no node: the name is gone
  };
  using Contents = std::map<Node, std::vector<std::string>>;

  [[nodiscard]] Names ScanNames() const;
  [[nodiscard]] std::vector<Names> PossibleNames(std::size_t end, Order order) const;
  [[nodiscard]] std::vector<std::string> PossibleContents(Node node, std::size_t end) const;
  void Combine(const Names& names, Names::const_iterator next, const Contents& contents,
               Files& state, const std::function<void(const Files&)>& check);

  static inline PowerCut* current = nullptr;

  const std::filesystem::path folder;
  Node folderNode = 0;
  Names names;
  const Names namesAtStart;
  std::map<Node, std::string> contentsAtStart;
  std::vector<Event> events;
  std::set<Files> seen;
};

}  // namespace Tests
