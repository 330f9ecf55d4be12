#include "Larkspan/Common/UnsignedInteger32.h"

#include "Larkspan/Common/IntegerLiteral.h"

namespace Larkspan::Common {
namespace {

constexpr IntegerLiteral<unsigned int> Literal{
    "%u",
    "Failed to parse literal as unsigned integer32 value.",
};

}  // namespace

bool UnsignedInteger32::Parse(const Vx::UniString& literal, unsigned int& value) {
  return Literal.Parse(literal, value);
}

unsigned int UnsignedInteger32::Parse(const Vx::UniString& literal) {
  return Literal.Parse(literal);
}

Vx::UniString UnsignedInteger32::ToString(unsigned int value) {
  return Literal.ToString(value);
}

Vx::UniString UnsignedInteger32::ToHexString(unsigned int value) {
  return Literal.ToHexString(value);
}

}  // namespace Larkspan::Common
