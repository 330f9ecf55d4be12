#pragma once

#include "foundation/Vx/Memory.h"
#include "foundation/Vx/NoCauseException.h"
#include "foundation/Vx/VxException.h"

namespace Vx {

/// What every exception class is made of: the two constructors, the name and the clone.
///
/// A class `C` below `B` is written as
///
///     class C : public ExceptionClass<C, B, id> {
///      public:
///       using ExceptionClass::ExceptionClass;
///       ~C() override;
///       static constexpr const char* Name = "C";
///     };
///
/// The virtual base is built empty, and so is every class in between; the constructor of the
/// outermost class then fills the base once.
template <class Class, class Base, int Identifier>
class ExceptionClass : public Base {
 public:
  /// `message` is text in ISO 8859-1, null for none. `fileName` must live as long as the program.
  explicit ExceptionClass(const char* message = nullptr, const char* fileName = nullptr,
                          unsigned int lineNumber = 0,
                          const VxException& cause = NoCauseException()) {
    this->Initialize(message, fileName, lineNumber, cause, Identifier);
  }

  explicit ExceptionClass(const UniString& message, const char* fileName = nullptr,
                          unsigned int lineNumber = 0,
                          const VxException& cause = NoCauseException()) {
    this->Initialize(message, fileName, lineNumber, cause, Identifier);
  }

  [[nodiscard]] const char* GetName() const noexcept override { return Class::Name; }

  [[nodiscard]] VxException* Clone() const override {
    return New<Class>(static_cast<const Class&>(*this));
  }
};

}  // namespace Vx
