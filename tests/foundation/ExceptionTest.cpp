#include <cstring>
#include <exception>
#include <memory>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "foundation/Vx/ConversionErrorException.h"
#include "foundation/Vx/DataIntegrityException.h"
#include "foundation/Vx/EndOfInputException.h"
#include "foundation/Vx/IllegalArgumentException.h"
#include "foundation/Vx/NullReferenceException.h"
#include "foundation/Vx/OutOfMemoryException.h"
#include "foundation/Vx/PreconditionException.h"
#include "tests/foundation/ToyProtocol.h"
#include "tests/support/AllocationFault.h"
#include "tests/support/FailureOf.h"

namespace {

using namespace Vx;
using Larkspan::Testing::AllocationFault;
using Tests::Describe;

template <class Thrown, class Clause>
bool IsCaughtAs() {
  try {
    throw Thrown("text");
  } catch (const Clause&) {
    return true;
  } catch (...) {
    return false;
  }
}

// The names of the clauses that take it, each without its "Exception".
template <class Thrown, class... Clauses>
std::string Catching() {
  std::string names;
  for (const auto& [name, taken] : {std::pair(Clauses::Name, IsCaughtAs<Thrown, Clauses>())...}) {
    if (taken) names += " " + std::string(name, std::strlen(name) - std::strlen("Exception"));
  }
  return names;
}

struct ExceptionRow {
  std::unique_ptr<VxException> exception;
  std::string caughtAs;
  bool isCaughtByHosts;
};

template <class Thrown>
ExceptionRow Row() {
  return {std::make_unique<Thrown>("text", "here.cpp", 7U, IOException("cause")),
          Catching<Thrown, GeneralException, IOException, EndOfInputException,
                   DataIntegrityException, LogicErrorException, PreconditionException,
                   IllegalArgumentException, NullReferenceException, RunTimeErrorException,
                   OutOfMemoryException, ConversionErrorException>(),
          IsCaughtAs<Thrown, VxException>() && IsCaughtAs<Thrown, std::exception>()};
}

TEST(Exception, EachClassIsCaughtAsWhatItIsAndKeepsItsClassWhenCloned) {
  const struct {
    ExceptionRow row;
    const char* name;
    int id;
    const char* caughtAs;
  } rows[] = {
      {Row<GeneralException>(), "General", -7000, " General"},
      {Row<LogicErrorException>(), "LogicError", -7001, " General LogicError"},
      {Row<RunTimeErrorException>(), "RunTimeError", -7002, " General RunTimeError"},
      {Row<IOException>(), "IO", -7003, " General IO"},
      {Row<EndOfInputException>(), "EndOfInput", -7004, " General IO EndOfInput"},
      {Row<DataIntegrityException>(), "DataIntegrity", -7005, " General IO DataIntegrity"},
      {Row<PreconditionException>(), "Precondition", -7006, " General LogicError Precondition"},
      {Row<IllegalArgumentException>(), "IllegalArgument", -7007,
       " General LogicError IllegalArgument"},
      {Row<NullReferenceException>(), "NullReference", -7008, " General LogicError NullReference"},
      {Row<OutOfMemoryException>(), "OutOfMemory", -7009, " General RunTimeError OutOfMemory"},
      {Row<ConversionErrorException>(), "ConversionError", -7010,
       " General RunTimeError ConversionError"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(row.row.caughtAs, row.caughtAs);
    EXPECT_TRUE(row.row.isCaughtByHosts);
    const VxException& source = *row.row.exception;
    const std::unique_ptr<VxException> clone(source.Clone());
    const VxException& copy = *clone;
    EXPECT_EQ(typeid(copy), typeid(source));
    EXPECT_EQ(Describe(copy), std::string(row.name) + "Exception: text");
    EXPECT_EQ(copy.GetID(), row.id);
    EXPECT_STREQ(copy.GetFileName(), "here.cpp");
    EXPECT_EQ(copy.GetLineNumber(), 7U);
    ASSERT_NE(copy.GetCause(), nullptr);
    EXPECT_NE(copy.GetCause(), source.GetCause());
    EXPECT_EQ(Describe(*copy.GetCause()), "IOException: cause");
  }
}

TEST(Exception, WithoutArgumentsThereIsNothingButTheName) {
  const EndOfInputException exception;
  EXPECT_TRUE(exception.GetMessage().IsEmpty());
  EXPECT_EQ(exception.GetFileName(), nullptr);
  EXPECT_EQ(exception.GetLineNumber(), 0U);
  EXPECT_EQ(exception.GetCause(), nullptr);
  EXPECT_STREQ(exception.what(), "EndOfInputException");
  const std::unique_ptr<VxException> none(NoCauseException().Clone());
  EXPECT_STREQ(none->GetName(), "NoCauseException");
  EXPECT_EQ(IOException("a", nullptr, 0, *none).GetCause(), nullptr);
}

TEST(Exception, WhatIsTheMessageInUtf8) {
  EXPECT_STREQ(IOException("caf\xE9").what(), "caf\xC3\xA9");
  EXPECT_STREQ(IOException(UniString(u"\u20AC\xD800")).what(), "\xE2\x82\xAC\xEF\xBF\xBD");
}

IOException MakeChain() {
  return IOException("outer", "o.cpp", 3,
                     LogicErrorException("middle", "m.cpp", 2, EndOfInputException()));
}

std::string DumpOf(const VxException& exception) {
  Tests::StringOChannel channel;
  exception.Dump(channel);
  return channel.content;
}

TEST(Exception, CausesAreCopiedToTheEndOfTheChain) {
  const std::string expected =
      "IOException: outer at o.cpp(3)\n"
      "LogicErrorException: middle at m.cpp(2)\n"
      "EndOfInputException:  at (0)\n";
  auto source = std::make_unique<IOException>(MakeChain());
  const IOException copy(*source);
  const std::unique_ptr<VxException> clone(source->Clone());
  IOException assigned("old", "old.cpp", 9, IOException("old cause"));
  assigned = *source;
  const VxException* const deepest = source->GetCause()->GetCause();
  EXPECT_NE(copy.GetCause()->GetCause(), deepest);
  source.reset();
  EXPECT_EQ(DumpOf(copy), expected);
  EXPECT_EQ(DumpOf(*clone), expected);
  EXPECT_EQ(DumpOf(assigned), expected);
}

TEST(Exception, AssignmentTakesAnythingEvenItsOwnCause) {
  IOException self = MakeChain();
  const IOException& alias = self;
  self = alias;
  EXPECT_EQ(DumpOf(self), DumpOf(MakeChain()));
  IOException outer("outer", "o.cpp", 3, IOException("inner", "i.cpp", 4, GeneralException("g")));
  outer = dynamic_cast<const IOException&>(*outer.GetCause());
  EXPECT_EQ(DumpOf(outer), "IOException: inner at i.cpp(4)\nGeneralException: g at (0)\n");
  outer = IOException();
  EXPECT_EQ(DumpOf(outer), "IOException:  at (0)\n");
}

TEST(Exception, PrintShowsOneLineAndStopsAtAFullChannel) {
  Tests::StringOChannel channel;
  IOException("100%s \xE9", "f.cpp", 1, LogicErrorException("cause")).Print(channel);
  IOException().Print(channel);
  EXPECT_EQ(channel.content, "IOException: 100%s \xC3\xA9\nIOException\n");
  Tests::StringOChannel full(5);
  MakeChain().Print(full);
  EXPECT_EQ(full.content, "IOExc");
  MakeChain().Dump(full);
  EXPECT_EQ(full.content, "IOExc");
}

TEST(Exception, RunningOutOfMemoryGivesOneFailureAndKeepsTheOldState) {
  const std::string longText(500, 'x');
  const IOException source(longText.c_str(), "s.cpp", 1, EndOfInputException(longText.c_str()));
  IOException target("old", "old.cpp", 2, DataIntegrityException("old cause"));
  const std::string before = DumpOf(target);
  const auto sweep = [&](auto&& work) {
    for (int n = 1;; ++n) {
      ASSERT_LT(n, 100);
      const AllocationFault fault(n);
      std::string failure;
      try {
        work();
      } catch (const OutOfMemoryException& exception) {
        failure = exception.what();
      }
      EXPECT_EQ(failure, fault.HasFired() ? "OutOfMemoryException" : "") << "allocation " << n;
      if (!fault.HasFired()) {
        EXPECT_GT(n, 1) << "no allocation was seen";
        break;
      }
    }
  };
  sweep([&] { static_cast<void>(IOException(longText.c_str(), "x", 1, source)); });
  sweep([&] { delete source.Clone(); });
  sweep([&] {
    EXPECT_EQ(target.GetMessage(), u"old");
    EXPECT_STREQ(target.GetCause()->what(), "old cause");
    target = source;
  });
  EXPECT_EQ(DumpOf(target), DumpOf(source));
}

}  // namespace
