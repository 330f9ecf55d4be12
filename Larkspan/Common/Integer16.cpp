#include "Larkspan/Common/Integer16.h"

#include "Larkspan/Common/IntegerLiteral.h"

namespace Larkspan::Common {
namespace {

constexpr IntegerLiteral<short> Literal{
    "%hd",
    "Failed to parse literal as integer16 value.",
};

}  // namespace

bool Integer16::Parse(const Vx::UniString& literal, short& value) {
  return Literal.Parse(literal, value);
}

short Integer16::Parse(const Vx::UniString& literal) {
  return Literal.Parse(literal);
}

Vx::UniString Integer16::ToString(short value) {
  return Literal.ToString(value);
}

}  // namespace Larkspan::Common
