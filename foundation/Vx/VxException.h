#pragma once

#include <exception>
#include <memory>

#include "foundation/Export.h"
#include "foundation/Vx/FailureDetail.h"
#include "foundation/Vx/UniString.h"

/// Base of all failures: a message, the source position that reported it, an identifier and the
/// failure that caused it. Also a `std::exception`, so that a host that knows nothing of these
/// classes gets a readable text from `what()`.
///
/// The exception owns a copy of its cause. Copies share nothing. One thread at a time.
class FOUNDATION_API VxException : public std::exception {
 public:
  ~VxException() override;

  /// Name of the class, without its namespace.
  [[nodiscard]] virtual const char* GetName() const noexcept = 0;
  [[nodiscard]] virtual int GetID() const noexcept;
  [[nodiscard]] virtual const Vx::UniString& GetMessage() const noexcept;
  /// Null if no position was given.
  [[nodiscard]] virtual const char* GetFileName() const noexcept;
  [[nodiscard]] virtual unsigned int GetLineNumber() const noexcept;

  /// A copy on the heap with the same class; the caller owns it and ends it with `delete`. Throws
  /// `Vx::OutOfMemoryException`.
  [[nodiscard]] virtual VxException* Clone() const = 0;

  /// Writes name and message, on one line. A status other than 0 ends it early.
  virtual void Print(Vx::OChannel& channel) const;
  /// Writes name, message and position of this exception and of its causes, a line each.
  virtual void Dump(Vx::OChannel& channel) const;

  /// The cause, owned by this exception; null at the end of the chain.
  [[nodiscard]] virtual VxException* GetCause() noexcept;
  [[nodiscard]] virtual const VxException* GetCause() const noexcept;

  /// What the system refused, and where; null if that is unknown or none of its doing. Owned by
  /// this exception.
  [[nodiscard]] const Vx::FailureDetail* GetDetail() const noexcept { return detail.get(); }
  /// Keeps a copy of the detail. Out of memory, the exception stays without it.
  void SetDetail(Vx::FailureDetail newDetail) noexcept;

  /// The message in UTF-8, or the class's name if the message is empty.
  [[nodiscard]] const char* what() const noexcept override;

 protected:
  VxException() noexcept;
  VxException(const VxException& source);
  VxException& operator=(const VxException& source);

  /// Sets everything at once; called by the constructors of the classes. A `cause` that is
  /// `Vx::NoCauseException` leaves the exception without a cause.
  void Initialize(const Vx::UniString& text, const char* sourceFile, unsigned int line,
                  const VxException& reason, int id);
  void Initialize(const char* text, const char* sourceFile, unsigned int line,
                  const VxException& reason, int id);

 private:
  Vx::UniString message;
  Vx::String utf8Message;
  const char* fileName = nullptr;
  unsigned int lineNumber = 0;
  int identifier = 0;
  std::unique_ptr<VxException> cause;
  std::unique_ptr<Vx::FailureDetail> detail;
};
