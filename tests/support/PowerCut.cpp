#include "tests/support/PowerCut.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <sys/stat.h>
#include <utility>

namespace Tests {
namespace {

std::uint64_t NodeOf(const std::filesystem::path& path) {
  struct stat facts {};
  return ::lstat(path.c_str(), &facts) == 0 ? facts.st_ino : 0;
}

std::uint64_t NodeOf(int descriptor) {
  struct stat facts {};
  return ::fstat(descriptor, &facts) == 0 ? facts.st_ino : 0;
}

std::string ReadFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void Apply(std::string& content, std::size_t offset, const std::string& bytes) {
  content.resize(std::max(content.size(), offset + bytes.size()));
  content.replace(offset, bytes.size(), bytes);
}

}  // namespace

PowerCut::PowerCut(std::filesystem::path watched)
    : folder(std::move(watched)),
      folderNode(NodeOf(folder)),
      names(ScanNames()),
      namesAtStart(names) {
  for (const auto& [name, node] : names) contentsAtStart[node] = ReadFile(folder / name);
  current = this;
}

PowerCut::~PowerCut() {
  if (current == this) current = nullptr;
}

PowerCut::Names PowerCut::ScanNames() const {
  Names found;
  for (const auto& item : std::filesystem::directory_iterator(folder)) {
    found[item.path().filename().string()] = NodeOf(item.path());
  }
  return found;
}

void PowerCut::NoteWrite(int descriptor, const void* data, std::size_t size, off_t offset) {
  PowerCut* const cut = std::exchange(current, nullptr);
  if (cut == nullptr) return;
  const std::string bytes(static_cast<const char*>(data), size);
  cut->events.push_back(
      {Event::Kind::Write, NodeOf(descriptor), static_cast<std::size_t>(offset), bytes, {}});
  current = cut;
}

void PowerCut::NoteTruncation(int descriptor) {
  PowerCut* const cut = std::exchange(current, nullptr);
  if (cut == nullptr) return;
  cut->events.push_back({Event::Kind::Truncate, NodeOf(descriptor), 0, "", {}});
  current = cut;
}

// Whatever the call was, the change is what the folder shows.
void PowerCut::NoteNames() {
  PowerCut* const cut = std::exchange(current, nullptr);
  if (cut == nullptr) return;
  Names now = cut->ScanNames();
  Event event{Event::Kind::Names, 0, 0, "", {}};
  for (const auto& [name, node] : cut->names) {
    if (!now.contains(name)) event.changes[name] = std::nullopt;
  }
  for (const auto& [name, node] : now) {
    const auto old = cut->names.find(name);
    if (old == cut->names.end() || old->second != node) event.changes[name] = node;
  }
  if (!event.changes.empty()) cut->events.push_back(std::move(event));
  cut->names = std::move(now);
  current = cut;
}

void PowerCut::NoteSync(int descriptor) {
  PowerCut* const cut = std::exchange(current, nullptr);
  if (cut == nullptr) return;
  const Node node = NodeOf(descriptor);
  const auto kind = node == cut->folderNode ? Event::Kind::SyncNames : Event::Kind::SyncFile;
  cut->events.push_back({kind, node, 0, "", {}});
  current = cut;
}

void PowerCut::ForgetSyncs() {
  std::erase_if(events, [](const Event& event) {
    return event.kind == Event::Kind::SyncFile || event.kind == Event::Kind::SyncNames;
  });
}

std::vector<PowerCut::Names> PowerCut::PossibleNames(std::size_t end, Order order) const {
  Names durable = namesAtStart;
  std::vector<const Event*> pending;
  const auto apply = [](Names& target, const Event& event) {
    for (const auto& [name, node] : event.changes) {
      if (node) {
        target[name] = *node;
      } else {
        target.erase(name);
      }
    }
  };
  for (std::size_t index = 0; index < end; ++index) {
    const Event& event = events[index];
    if (event.kind == Event::Kind::Names) pending.push_back(&event);
    if (event.kind != Event::Kind::SyncNames) continue;
    for (const Event* const change : pending) apply(durable, *change);
    pending.clear();
  }
  std::vector<Names> possible{durable};
  if (order == Order::Kept) {
    for (const Event* const change : pending) {
      possible.push_back(possible.back());
      apply(possible.back(), *change);
    }
    return possible;
  }
  for (const Event* const change : pending) {
    const std::size_t count = possible.size();
    for (std::size_t index = 0; index < count; ++index) {
      possible.push_back(possible[index]);
      apply(possible.back(), *change);
    }
  }
  return possible;
}

std::vector<std::string> PowerCut::PossibleContents(Node node, std::size_t end) const {
  const auto start = contentsAtStart.find(node);
  std::string content = start == contentsAtStart.end() ? "" : start->second;
  std::vector<std::string> possible{content};
  for (std::size_t index = 0; index < end; ++index) {
    const Event& event = events[index];
    if (event.node != node) continue;
    switch (event.kind) {
      case Event::Kind::SyncFile:
        possible = {content};
        break;
      case Event::Kind::Truncate:
        content.clear();
        possible.push_back(content);
        break;
      case Event::Kind::Write:
        Apply(content, event.offset, event.bytes);
        possible.push_back(content);
        break;
      case Event::Kind::Names:
      case Event::Kind::SyncNames:
        break;
    }
  }
  // The first is what is durable, the last what was written; between them a beginning will do.
  if (possible.size() == 1) return possible;
  std::vector<std::string> chosen{possible.front(), possible.back()};
  chosen.push_back(possible[possible.size() / 2]);
  std::string zeros = possible.front();
  zeros.resize(std::max(zeros.size(), possible.back().size()));
  chosen.push_back(zeros);
  return chosen;
}

void PowerCut::Combine(const Names& present, Names::const_iterator next, const Contents& contents,
                       Files& state, const std::function<void(const Files&)>& check) {
  if (next == present.end()) {
    if (seen.insert(state).second) check(state);
    return;
  }
  for (const std::string& content : contents.at(next->second)) {
    state[next->first] = content;
    Combine(present, std::next(next), contents, state, check);
  }
  state.erase(next->first);
}

std::size_t PowerCut::ForEachState(Order order, const std::function<void(const Files&)>& check,
                                   Moment moment) {
  current = nullptr;
  seen.clear();
  for (std::size_t end = moment == Moment::Any ? 0 : events.size(); end <= events.size(); ++end) {
    for (const Names& possible : PossibleNames(end, order)) {
      Contents contents;
      for (const auto& [name, node] : possible) contents[node] = PossibleContents(node, end);
      Files state;
      Combine(possible, possible.begin(), contents, state, check);
    }
  }
  return seen.size();
}

}  // namespace Tests
