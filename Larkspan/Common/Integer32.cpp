#include "Larkspan/Common/Integer32.h"

#include "Larkspan/Common/IntegerLiteral.h"

namespace Larkspan::Common {
namespace {

constexpr IntegerLiteral<int> Literal{
    "%d",
    "Failed to parse literal as integer32 value.",
};

}  // namespace

bool Integer32::Parse(const Vx::UniString& literal, int& value) {
  return Literal.Parse(literal, value);
}

int Integer32::Parse(const Vx::UniString& literal) {
  return Literal.Parse(literal);
}

Vx::UniString Integer32::ToString(int value) {
  return Literal.ToString(value);
}

}  // namespace Larkspan::Common
