#pragma once

#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "foundation/Vx/UniString.h"

namespace Tool {

/// Names of entries as a drawing of the folders that they stand in. What stands in a folder keeps
/// the order in which it was added.
class NameTree final {
 public:
  /// `facts` is printed in front of the name's line. Behind a great number of parts, the rest of a
  /// name stands on one line.
  void Add(const Vx::UniString& name, bool isFolder, const std::string& facts);

  /// Calls `print` with each line; `folderFacts` stands in front of folders that were not added.
  void Draw(const std::string& folderFacts,
            const std::function<void(const std::string&)>& print) const;

 private:
  struct Node {
    std::string label;
    std::string facts;
    bool isFolder = false;
    bool isAdded = false;
    std::vector<std::unique_ptr<Node>> children;
    std::unordered_map<Vx::UniString, Node*> folders;  // of the children, by name
  };

  [[nodiscard]] static Node& AddChild(Node& parent, const Vx::UniString& name, bool isFolder);

  Node root;
};

}  // namespace Tool
