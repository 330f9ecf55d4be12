#include "Larkspan/Common/Boolean.h"

#include "foundation/Vx/ConversionErrorException.h"
#include "foundation/Vx/IllegalArgumentException.h"

namespace Larkspan::Common {
namespace {

constexpr const Vx::UniChar* True = u"true";
constexpr const Vx::UniChar* False = u"false";

}  // namespace

bool Boolean::Parse(const Vx::UniString& literal, bool& value) {
  if (literal.IsEmpty()) {
    throw Vx::IllegalArgumentException("Invalid boolean literal: literal is empty.", __FILE__,
                                       __LINE__);
  }
  if (literal != False && literal != True) return false;
  value = literal == True;
  return true;
}

bool Boolean::Parse(const Vx::UniString& literal) {
  bool value = false;
  if (!Parse(literal, value)) {
    throw Vx::ConversionErrorException("Failed to parse boolean literal.", __FILE__, __LINE__);
  }
  return value;
}

Vx::UniString Boolean::ToString(bool value) {
  return value ? True : False;
}

}  // namespace Larkspan::Common
