#include "tools/larkspan/NameTree.h"

#include "tools/larkspan/Text.h"

namespace Tool {
namespace {

// Of parts: the drawing of a name grows with the square of their number.
constexpr int MaxDepth = 100;

}  // namespace

// A file can have the name of another one; a folder is one and the same.
NameTree::Node& NameTree::AddChild(Node& parent, const Vx::UniString& name, bool isFolder) {
  if (isFolder) {
    const auto known = parent.folders.find(name);
    if (known != parent.folders.end()) return *known->second;
  }
  Node& child = *parent.children.emplace_back(std::make_unique<Node>());
  child.label = ToPrintable(name.GetView()) + (isFolder ? "/" : "");
  child.isFolder = isFolder;
  if (isFolder) parent.folders.emplace(name, &child);
  return child;
}

void NameTree::Add(const Vx::UniString& name, bool isFolder, const std::string& facts) {
  Vx::UniString::View rest = name.GetView();
  Node* parent = &root;
  for (int depth = 1; depth < MaxDepth; ++depth) {
    const std::size_t slash = rest.find(u'/');
    if (slash == rest.npos) break;
    parent = &AddChild(*parent, Vx::UniString(rest.substr(0, slash)), true);
    rest.remove_prefix(slash + 1);
  }
  Node& node = AddChild(*parent, Vx::UniString(rest), isFolder);
  node.facts = facts;
  node.isAdded = true;
}

void NameTree::Draw(const std::string& folderFacts,
                    const std::function<void(const std::string&)>& print) const {
  const auto draw = [&](const Node& parent, const std::string& indent, const auto& again) -> void {
    for (const auto& child : parent.children) {
      const bool isLast = child == parent.children.back();
      print((child->isAdded ? child->facts : folderFacts) + indent + (isLast ? "└── " : "├── ") +
            child->label + "\n");
      again(*child, indent + (isLast ? "    " : "│   "), again);
    }
  };
  draw(root, "", draw);
}

}  // namespace Tool
