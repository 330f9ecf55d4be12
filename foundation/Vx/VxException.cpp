#include "foundation/Vx/VxException.h"

#include <utility>

#include "foundation/Vx/Memory.h"
#include "foundation/Vx/NoCauseException.h"
#include "foundation/Vx/OChannel.h"

namespace {

std::unique_ptr<VxException> CloneCause(const VxException& cause) {
  if (dynamic_cast<const Vx::NoCauseException*>(&cause) != nullptr) return nullptr;
  return std::unique_ptr<VxException>(cause.Clone());
}

std::unique_ptr<Vx::FailureDetail> CopyDetail(const Vx::FailureDetail* detail) {
  return std::unique_ptr<Vx::FailureDetail>(
      detail == nullptr ? nullptr : Vx::New<Vx::FailureDetail>(*detail));
}

void WriteBytes(Vx::OChannel& channel, const Vx::UniString& text) {
  const Vx::String bytes = text.ToBytes(0, Vx::ToEnd, VxCharCodeDebug, OnConversionErrorFail);
  static_cast<void>(channel.WriteBin(bytes.GetBuffer(), bytes.GetLength(), nullptr));
}

}  // namespace

VxException::VxException() noexcept = default;

VxException::VxException(const VxException& source)
    : std::exception(source),
      message(source.message),
      utf8Message(source.utf8Message),
      fileName(source.fileName),
      lineNumber(source.lineNumber),
      identifier(source.identifier),
      cause(source.cause ? source.cause->Clone() : nullptr),
      detail(CopyDetail(source.detail.get())) {}

VxException& VxException::operator=(const VxException& source) {
  if (this == &source) return *this;
  Vx::UniString text = source.message;
  Vx::String utf8 = source.utf8Message;
  std::unique_ptr<VxException> reason(source.cause ? source.cause->Clone() : nullptr);
  std::unique_ptr<Vx::FailureDetail> newDetail = CopyDetail(source.detail.get());
  fileName = source.fileName;
  lineNumber = source.lineNumber;
  identifier = source.identifier;
  detail = std::move(newDetail);
  message = std::move(text);
  utf8Message = std::move(utf8);
  // Last, since the source may be the cause of this exception, or hang below it.
  cause = std::move(reason);
  return *this;
}

VxException::~VxException() = default;

void VxException::Initialize(const Vx::UniString& text, const char* sourceFile, unsigned int line,
                             const VxException& reason, int id) {
  message = text;
  utf8Message = text.ToBytes(0, Vx::ToEnd, VxCharCodeDebug, OnConversionErrorFail);
  fileName = sourceFile;
  lineNumber = line;
  identifier = id;
  cause = CloneCause(reason);
}

void VxException::Initialize(const char* text, const char* sourceFile, unsigned int line,
                             const VxException& reason, int id) {
  Initialize(Vx::UniString(text, VxCharCodePlain), sourceFile, line, reason, id);
}

int VxException::GetID() const noexcept {
  return identifier;
}

const Vx::UniString& VxException::GetMessage() const noexcept {
  return message;
}

const char* VxException::GetFileName() const noexcept {
  return fileName;
}

unsigned int VxException::GetLineNumber() const noexcept {
  return lineNumber;
}

void VxException::SetDetail(Vx::FailureDetail newDetail) noexcept {
  try {
    detail.reset(Vx::New<Vx::FailureDetail>(std::move(newDetail)));
  } catch (const VxException&) {
    // Running out of memory must not hide the failure that is being told.
    detail.reset();
  }
}

void VxException::Print(Vx::OChannel& channel) const {
  Vx::UniString line;
  line.Printf(message.IsEmpty() ? "%s\n" : "%s: %T\n", GetName(), message.ToPrintf());
  WriteBytes(channel, line);
}

void VxException::Dump(Vx::OChannel& channel) const {
  for (const VxException* next = this; next != nullptr; next = next->GetCause()) {
    Vx::UniString line;
    line.Printf("%s: %T at %s(%lu)\n", next->GetName(), next->GetMessage().ToPrintf(),
                next->GetFileName(), next->GetLineNumber());
    WriteBytes(channel, line);
  }
}

VxException* VxException::GetCause() noexcept {
  return cause.get();
}

const VxException* VxException::GetCause() const noexcept {
  return cause.get();
}

const char* VxException::what() const noexcept {
  return utf8Message.IsEmpty() ? GetName() : utf8Message.GetBuffer();
}
