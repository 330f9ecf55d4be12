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
  /// Message, source position and cause. A message of bytes is ISO 8859-1, null for none; the name
  /// of the source file is not copied and must live as long as the program; the cause is copied.
  explicit ExceptionClass(const char* text = nullptr, const char* sourceFile = nullptr,
                          unsigned int line = 0, const VxException& reason = NoCauseException()) {
    this->Initialize(text, sourceFile, line, reason, Identifier);
  }

  explicit ExceptionClass(const UniString& text, const char* sourceFile = nullptr,
                          unsigned int line = 0, const VxException& reason = NoCauseException()) {
    this->Initialize(text, sourceFile, line, reason, Identifier);
  }

  [[nodiscard]] const char* GetName() const noexcept override { return Class::Name; }

  [[nodiscard]] VxException* Clone() const override {
    return New<Class>(static_cast<const Class&>(*this));
  }
};

}  // namespace Vx
