#include "Larkspan/Common/UnsignedInteger16.h"

#include "Larkspan/Common/IntegerLiteral.h"

namespace Larkspan::Common {
namespace {

constexpr IntegerLiteral<unsigned short> Literal{
    "%hu",
    "Failed to parse literal as unsigned integer16 value.",
};

}  // namespace

bool UnsignedInteger16::Parse(const Vx::UniString& literal, unsigned short& value) {
  return Literal.Parse(literal, value);
}

unsigned short UnsignedInteger16::Parse(const Vx::UniString& literal) {
  return Literal.Parse(literal);
}

Vx::UniString UnsignedInteger16::ToString(unsigned short value) {
  return Literal.ToString(value);
}

Vx::UniString UnsignedInteger16::ToHexString(unsigned short value) {
  return Literal.ToHexString(value);
}

}  // namespace Larkspan::Common
