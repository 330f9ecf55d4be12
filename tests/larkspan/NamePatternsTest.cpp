#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Larkspan/Archive/NamePatterns.h"
#include "tests/support/SeededRandom.h"
#include "tests/support/TemporaryFolder.h"

namespace Tests {
namespace {

using Larkspan::Archive::NamePattern;
using Larkspan::Archive::NamePatterns;

std::u16string Widen(const std::string& text) {
  return {text.begin(), text.end()};
}

TEST(NamePattern, MatchesWholeNamesInReasonableTime) {
  struct Row {
    const char16_t* pattern;
    const char16_t* name;
    bool matches;
  };
  constexpr Row rows[] = {
      {u"*.txt", u"a.txt", true},    {u"*.txt", u"d/a.txt", false},
      {u"**/*.txt", u"a.txt", true}, {u"**/*.txt", u"d/e/a.txt", true},
      {u"d/**", u"d/e/f", true},     {u"d/**", u"d", false},
      {u"d/**/f", u"d/f", true},     {u"d/**/f", u"d/xf", false},
      {u"?", u"\U0001F600", true},   {u"[!a-c]", u"d", true},
      {u"[[:digit:]x]", u"7", true}, {u"[a", u"[a", false},
      {u"a\\*", u"a*", true},        {u"a\\*", u"ab", false},
      {u"[]-]", u"]", true},         {u"a[b/]c", u"a/c", false},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(NamePattern(row.pattern).Matches(row.name), row.matches)
        << Vx::UniString(row.pattern).ToUTF8() << " " << Vx::UniString(row.name).ToUTF8();
  }
  EXPECT_TRUE(NamePattern(u"a\\b*", NamePattern::Backslash::IsPlain).Matches(u"a\\bc"));
  // Which takes ages by trial and error.
  std::u16string stars;
  for (int count = 0; count < 200; ++count) stars += u"*a";
  EXPECT_FALSE(NamePattern(stars).Matches(std::u16string(4000, u'a') + u"b"));
}

// Patterns and paths of few characters, so that they often meet.
std::string MakeText(SeededRandom& random, const std::vector<std::string>& parts) {
  std::string text;
  for (std::size_t count = 1 + random.Below(6); count > 0; --count) {
    text += parts[random.Below(parts.size())];
  }
  return text;
}

std::string MakePath(SeededRandom& random) {
  std::string path = MakeText(random, {"a", "b", "-", "!"});
  for (std::size_t depth = random.Below(4); depth > 0; --depth) {
    path += "/" + MakeText(random, {"a", "b", " b", "]"});
  }
  return path;
}

// What git says of each path, a line each: the pattern that decides, and the path.
std::vector<std::string> AskGit(const TemporaryFolder& folder) {
  const std::string git = "cd '" + folder.GetPath().string() + "' && git ";
  if (std::system((git + "init -q . >/dev/null 2>&1").c_str()) != 0) return {};
  static_cast<void>(std::system(
      (git + "check-ignore --no-index -v -n --stdin <paths >answers 2>/dev/null").c_str()));
  std::vector<std::string> lines;
  std::istringstream answers(folder.Read("answers"));
  for (std::string line; std::getline(answers, line);) lines.push_back(line);
  return lines;
}

TEST(NamePatterns, LeaveOutWhatGitLeavesOut) {
  SeededRandom random;
  for (int round = 0; round < 40; ++round) {
    const TemporaryFolder folder;
    std::string lines;
    std::string paths;
    NamePatterns patterns;
    std::vector<std::string> asked;
    for (int count = 0; count < 12; ++count) {
      const std::string line = MakeText(
          random, {"a",  "b", "*", "**", "/", "/**/", "?",           "[ab]", "[!a]", "[a-b]",
                   "\\", "!", "]", "-",  " ", "#",    "[[:alpha:]]", "[",    "**/",  "/**"});
      // Some versions of git take two stars behind other characters for a part of their own.
      const std::size_t stars = line.find("**");
      if (stars != line.npos && stars != 0 && line[stars - 1] != '/') continue;
      lines += line + "\n";
      patterns.Add(Widen(line));
    }
    for (int count = 0; count < 100; ++count) {
      asked.push_back(MakePath(random));
      paths += asked.back() + "\n";
    }
    folder.Write(".gitignore", lines);
    folder.Write("paths", paths);
    const std::vector<std::string> answers = AskGit(folder);
    if (answers.empty()) GTEST_SKIP() << "git is not installed";
    ASSERT_EQ(answers.size(), asked.size());
    for (std::size_t index = 0; index < asked.size(); ++index) {
      const std::string rule = answers[index].substr(0, answers[index].rfind('\t'));
      const bool decided = rule != "::";
      const std::size_t pattern = decided ? rule.find(':', rule.find(':') + 1) + 1 : 0;
      const bool excluded = decided && rule[pattern] != '!';
      EXPECT_EQ(patterns.ExcludesFile(Widen(asked[index])), excluded)
          << asked[index] << " by " << rule << "\n"
          << lines;
    }
  }
}

}  // namespace
}  // namespace Tests
