#include "Larkspan/Common/UnsignedInteger64.h"

#include "Larkspan/Common/IntegerLiteral.h"

namespace Larkspan::Common {
namespace {

constexpr IntegerLiteral<unsigned __int64> Literal{
    "%llu",
    "Failed to parse literal as unsigned integer64 value.",
};

}  // namespace

bool UnsignedInteger64::Parse(const Vx::UniString& literal, unsigned __int64& value) {
  return Literal.Parse(literal, value);
}

unsigned __int64 UnsignedInteger64::Parse(const Vx::UniString& literal) {
  return Literal.Parse(literal);
}

Vx::UniString UnsignedInteger64::ToString(unsigned __int64 value) {
  return Literal.ToString(value);
}

Vx::UniString UnsignedInteger64::ToHexString(unsigned __int64 value) {
  return Literal.ToHexString(value);
}

}  // namespace Larkspan::Common
