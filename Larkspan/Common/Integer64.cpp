#include "Larkspan/Common/Integer64.h"

#include "Larkspan/Common/IntegerLiteral.h"

namespace Larkspan::Common {
namespace {

constexpr IntegerLiteral<__int64> Literal{
    "%lld",
    "Failed to parse literal as integer64 value.",
};

}  // namespace

bool Integer64::Parse(const Vx::UniString& literal, __int64& value) {
  return Literal.Parse(literal, value);
}

__int64 Integer64::Parse(const Vx::UniString& literal) {
  return Literal.Parse(literal);
}

Vx::UniString Integer64::ToString(__int64 value) {
  return Literal.ToString(value);
}

Vx::UniString Integer64::ToHexString(__int64 value) {
  return Literal.ToHexString(value);
}

}  // namespace Larkspan::Common
