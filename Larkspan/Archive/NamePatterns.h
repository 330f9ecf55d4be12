#pragma once

#include <string_view>
#include <vector>

#include "Larkspan/Common/Export.h"
#include "foundation/Vx/UniString.h"

namespace Larkspan::Archive {

/// A pattern for names with `/` between their parts. `*` and `?` stand for characters other than
/// `/`, `[a-z]` and `[!a-z]` for one character, with `[:alpha:]` and its kin in it, and `**` as a
/// whole part for any number of parts. Matching takes time in proportion to the pattern's length
/// times the name's, whatever they are.
class LARKSPAN_API NamePattern final {
 public:
  /// Whether `\` takes the meaning of the character behind it.
  enum class Backslash : int { Escapes, IsPlain };

  /// A pattern that can't be complete, such as `[a`, matches nothing. Throws
  /// `Vx::OutOfMemoryException`.
  explicit NamePattern(std::u16string_view text, Backslash backslash = Backslash::Escapes);

  /// Whether the pattern stands for the whole name.
  [[nodiscard]] bool Matches(std::u16string_view name) const;

  /// Whether a text has characters that mean more than themselves.
  [[nodiscard]] static bool IsPattern(std::u16string_view text) noexcept {
    return text.find_first_of(u"*?[") != text.npos;
  }

 private:
  enum class Kind : unsigned char {
    Character,
    Any,      // one but `/`
    Set,      // one of a set, but not `/`
    Star,     // any number but `/`
    AllStar,  // any number
    Folders,  // nothing, or any number of characters that end with `/`; `FolderRest` follows
    FolderRest,
  };
  struct Range {
    char32_t first;
    char32_t last;
  };
  struct Step {
    Kind kind;
    char32_t code = 0;
    bool negated = false;
    std::vector<Range> ranges = {};
  };

  void Parse(std::u16string_view text, bool escapes);
  [[nodiscard]] bool ParseSet(std::u16string_view text, std::size_t& index, bool escapes);
  void ParseStars(std::u16string_view text, std::size_t& index, bool escapes);
  [[nodiscard]] static bool Takes(const Step& step, char32_t code) noexcept;
  void Enter(std::vector<bool>& states, std::size_t state) const;

  std::vector<Step> steps;
  bool valid = true;
};

/// What is left out of a file tree, by the rules of gitignore(5): the last pattern that matches
/// decides, `!` takes back, a `/` at the end asks for a folder, and one before that binds the
/// pattern to the root; without one it matches at any depth. Nothing can be taken back below a
/// folder that is left out.
class LARKSPAN_API NamePatterns final {
 public:
  /// Adds a line of such a file; comments and empty lines count as nothing. Throws
  /// `Vx::OutOfMemoryException`.
  void Add(std::u16string_view line);

  [[nodiscard]] bool IsEmpty() const noexcept { return rows.empty(); }

  /// Whether the item is left out by its own name. For a walk that goes into no folder that is.
  [[nodiscard]] bool Excludes(std::u16string_view path, bool isFolder) const;
  /// Whether the file is left out, or a folder above it.
  [[nodiscard]] bool ExcludesFile(std::u16string_view path) const;

 private:
  struct Row {
    NamePattern pattern;
    bool takesBack;
    bool foldersOnly;
    bool anyDepth;
  };

  std::vector<Row> rows;
};

}  // namespace Larkspan::Archive
