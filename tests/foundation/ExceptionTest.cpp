#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "foundation/Vx/ConversionErrorException.h"
#include "foundation/Vx/DataIntegrityException.h"
#include "foundation/Vx/EndOfInputException.h"
#include "foundation/Vx/IllegalArgumentException.h"
#include "foundation/Vx/NullReferenceException.h"
#include "foundation/Vx/OutOfMemoryException.h"
#include "foundation/Vx/PreconditionException.h"
#include "tests/foundation/ToyProtocol.h"

namespace {

using namespace Vx;

std::string DumpOf(const VxException& exception) {
  Tests::StringChannel channel;
  exception.Dump(channel);
  return channel.content;
}

template <class Thrown, class Parent>
void ExpectClass(const std::string& name, int id) {
  SCOPED_TRACE(name);
  EXPECT_THROW(throw Thrown("text"), Parent);
  EXPECT_THROW(throw Thrown("text"), std::exception);
  auto source = std::make_unique<Thrown>("text", "here.cpp", 7U, IOException("cause"));
  const std::unique_ptr<VxException> clone(source->Clone());
  source.reset();
  EXPECT_NE(dynamic_cast<Thrown*>(clone.get()), nullptr);
  EXPECT_EQ(DumpOf(*clone), name + ": text at here.cpp(7)\nIOException: cause at (0)\n");
  EXPECT_EQ(clone->GetID(), id);
  EXPECT_EQ(Thrown().what(), name);
}

TEST(Exception, EachClassIsCaughtAsWhatItIsAndKeepsItsClassWhenCloned) {
  ExpectClass<GeneralException, VxException>("GeneralException", -7000);
  ExpectClass<LogicErrorException, GeneralException>("LogicErrorException", -7001);
  ExpectClass<RunTimeErrorException, GeneralException>("RunTimeErrorException", -7002);
  ExpectClass<IOException, GeneralException>("IOException", -7003);
  ExpectClass<EndOfInputException, IOException>("EndOfInputException", -7004);
  ExpectClass<DataIntegrityException, IOException>("DataIntegrityException", -7005);
  ExpectClass<PreconditionException, LogicErrorException>("PreconditionException", -7006);
  ExpectClass<IllegalArgumentException, LogicErrorException>("IllegalArgumentException", -7007);
  ExpectClass<NullReferenceException, LogicErrorException>("NullReferenceException", -7008);
  ExpectClass<OutOfMemoryException, RunTimeErrorException>("OutOfMemoryException", -7009);
  ExpectClass<ConversionErrorException, RunTimeErrorException>("ConversionErrorException", -7010);
}

TEST(Exception, AssignmentTakesAnythingEvenItsOwnCause) {
  IOException outer("caf\xE9", "o.cpp", 3, IOException("%s", "i.cpp", 4, GeneralException("g")));
  const IOException& alias = outer;
  outer = alias;
  EXPECT_STREQ(outer.what(), "caf\xC3\xA9");
  const std::string inner = "IOException: %s at i.cpp(4)\nGeneralException: g at (0)\n";
  EXPECT_EQ(DumpOf(outer), "IOException: caf\xC3\xA9 at o.cpp(3)\n" + inner);
  outer = dynamic_cast<const IOException&>(*outer.GetCause());
  EXPECT_EQ(DumpOf(outer), inner);
  Tests::StringChannel full("", 5);
  outer.Dump(full);
  outer.Print(full);
  EXPECT_EQ(full.content, "IOExc");
}

}  // namespace
