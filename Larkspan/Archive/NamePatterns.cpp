#include "Larkspan/Archive/NamePatterns.h"

#include <algorithm>
#include <utility>

#include "foundation/Vx/Utf16.h"

namespace Larkspan::Archive {
namespace {

using View = std::u16string_view;

char32_t DecodeAt(View text, std::size_t& index) noexcept {
  const Vx::Utf16::Character character = Vx::Utf16::Decode(text, index);
  index += character.units;
  return character.code;
}

struct Class {
  View name;
  std::vector<std::pair<char32_t, char32_t>> ranges;
};

// ASCII's, whatever the language of the user.
const std::vector<Class>& GetClasses() {
  static const std::vector<Class> classes = {
      {u"alnum", {{'0', '9'}, {'A', 'Z'}, {'a', 'z'}}},
      {u"alpha", {{'A', 'Z'}, {'a', 'z'}}},
      {u"blank", {{' ', ' '}, {'\t', '\t'}}},
      {u"cntrl", {{0, 0x1F}, {0x7F, 0x7F}}},
      {u"digit", {{'0', '9'}}},
      {u"graph", {{0x21, 0x7E}}},
      {u"lower", {{'a', 'z'}}},
      {u"print", {{0x20, 0x7E}}},
      {u"punct", {{0x21, 0x2F}, {0x3A, 0x40}, {0x5B, 0x60}, {0x7B, 0x7E}}},
      {u"space", {{' ', ' '}, {'\t', '\r'}}},
      {u"upper", {{'A', 'Z'}}},
      {u"xdigit", {{'0', '9'}, {'A', 'F'}, {'a', 'f'}}}};
  return classes;
}

}  // namespace

NamePattern::NamePattern(View text, Backslash backslash) {
  Parse(text, backslash == Backslash::Escapes);
}

void NamePattern::Parse(View text, bool escapes) {
  for (std::size_t index = 0; valid && index < text.size();) {
    switch (text[index]) {
      case u'*':
        ParseStars(text, index, escapes);
        break;
      case u'?':
        steps.push_back({Kind::Any});
        ++index;
        break;
      case u'[':
        valid = ParseSet(text, ++index, escapes);
        break;
      default:
        if (escapes && text[index] == u'\\' && ++index == text.size()) {
          valid = false;
          break;
        }
        steps.push_back({Kind::Character, DecodeAt(text, index)});
    }
  }
}

void NamePattern::ParseStars(View text, std::size_t& index, bool escapes) {
  const std::size_t start = index;
  index = std::min(text.find_first_not_of(u'*', start), text.size());
  const bool begins = start == 0 || text[start - 1] == u'/';
  const bool ends = index == text.size() || text[index] == u'/';
  const bool endsEscaped = escapes && text.substr(index).starts_with(u"\\/");
  if (index - start == 1 || !begins || (!ends && !endsEscaped)) {
    steps.push_back({Kind::Star});
  } else if (index < text.size() && ends) {
    steps.push_back({Kind::Folders});
    steps.push_back({Kind::FolderRest});
    ++index;
  } else {
    steps.push_back({Kind::AllStar});
  }
}

// `index` is behind the bracket. False if there is no end.
bool NamePattern::ParseSet(View text, std::size_t& index, bool escapes) {
  Step step{Kind::Set};
  if (index < text.size() && (text[index] == u'!' || text[index] == u'^')) {
    step.negated = true;
    ++index;
  }
  bool isRange = false;  // a `-` stands between the last character and the next one
  bool hasLast = false;
  // A bracket that comes first is one of the set.
  for (bool isFirst = true; index < text.size() && (isFirst || text[index] != u']');
       isFirst = false) {
    if (text.substr(index).starts_with(u"[:")) {
      const std::size_t end = text.find(u']', index + 2);
      if (end == text.npos) return false;
      if (text[end - 1] == u':' && end > index + 2) {
        const View name = text.substr(index + 2, end - index - 3);
        const auto found = std::ranges::find(GetClasses(), name, &Class::name);
        if (found == GetClasses().end()) return false;
        for (const auto& [first, last] : found->ranges) step.ranges.push_back({first, last});
        index = end + 1;
        hasLast = isRange = false;
        continue;
      }
    }
    const bool isDash = text[index] == u'-' && hasLast && !isRange && index + 1 < text.size() &&
                        text[index + 1] != u']';
    if (isDash) {
      isRange = true;
      ++index;
      continue;
    }
    if (escapes && text[index] == u'\\' && ++index == text.size()) return false;
    const char32_t code = DecodeAt(text, index);
    if (isRange) {
      step.ranges.back().last = code;
    } else {
      step.ranges.push_back({code, code});
    }
    hasLast = !isRange;
    isRange = false;
  }
  if (index == text.size()) return false;
  ++index;
  steps.push_back(std::move(step));
  return true;
}

bool NamePattern::Takes(const Step& step, char32_t code) noexcept {
  switch (step.kind) {
    case Kind::Character:
      return code == step.code;
    case Kind::Any:
    case Kind::Star:
      return code != U'/';
    case Kind::Set:
      return code != U'/' &&
             step.negated != std::ranges::any_of(step.ranges, [code](const Range& range) {
               return code >= range.first && code <= range.last;
             });
    case Kind::AllStar:
    case Kind::FolderRest:
      return true;
    case Kind::Folders:
      break;
  }
  return false;
}

// Adds a state, and those that are reached from it without a character.
void NamePattern::Enter(std::vector<bool>& states, std::size_t state) const {
  while (!states[state]) {
    states[state] = true;
    if (state == steps.size()) return;
    const Kind kind = steps[state].kind;
    if (kind == Kind::Folders) {
      states[state + 1] = true;
      state += 2;
    } else if (kind == Kind::Star || kind == Kind::AllStar) {
      ++state;
    } else {
      return;
    }
  }
}

bool NamePattern::Matches(View name) const {
  if (!valid) return false;
  std::vector<bool> states(steps.size() + 1);
  Enter(states, 0);
  for (std::size_t index = 0; index < name.size();) {
    const char32_t code = DecodeAt(name, index);
    std::vector<bool> next(states.size());
    for (std::size_t state = 0; state < steps.size(); ++state) {
      if (!states[state] || !Takes(steps[state], code)) continue;
      const Kind kind = steps[state].kind;
      const bool stays = kind == Kind::Star || kind == Kind::AllStar || kind == Kind::FolderRest;
      if (stays) Enter(next, state);
      if (!stays || (kind == Kind::FolderRest && code == U'/')) Enter(next, state + 1);
    }
    states = std::move(next);
  }
  return states.back();
}

void NamePatterns::Add(View line) {
  if (line.ends_with(u'\r')) line.remove_suffix(1);
  // Blanks at the end count if a backslash stands in front of them.
  std::size_t end = 0;
  for (std::size_t index = 0; index < line.size(); ++index) {
    const bool escapes = line[index] == u'\\' && index + 1 < line.size();
    if (escapes) ++index;
    if (escapes || line[index] != u' ') end = index + 1;
  }
  line = line.substr(0, end);
  if (line.empty() || line.front() == u'#') return;
  const bool takesBack = line.front() == u'!';
  if (takesBack) line.remove_prefix(1);
  const bool foldersOnly = line.ends_with(u'/');
  if (foldersOnly) line.remove_suffix(1);
  const bool anyDepth = line.find(u'/') == line.npos;
  if (line.starts_with(u'/')) line.remove_prefix(1);
  if (line.empty()) return;
  rows.push_back({NamePattern(line), takesBack, foldersOnly, anyDepth});
}

bool NamePatterns::Excludes(View path, bool isFolder) const {
  const View last = path.substr(path.rfind(u'/') + 1);
  const auto decides = std::find_if(rows.rbegin(), rows.rend(), [&](const Row& row) {
    return (isFolder || !row.foldersOnly) && row.pattern.Matches(row.anyDepth ? last : path);
  });
  return decides != rows.rend() && !decides->takesBack;
}

bool NamePatterns::ExcludesFile(View path) const {
  for (std::size_t slash = path.find(u'/'); slash != path.npos;
       slash = path.find(u'/', slash + 1)) {
    if (Excludes(path.substr(0, slash), true)) return true;
  }
  return Excludes(path, false);
}

}  // namespace Larkspan::Archive
