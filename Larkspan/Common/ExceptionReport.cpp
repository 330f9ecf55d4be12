#include "Larkspan/Common/ExceptionReport.h"

#include "foundation/Vx/DebugOutput.h"

namespace Larkspan::Common {
namespace {

// Enough for most reports, so that they are built without growing.
constexpr unsigned int StartCapacity = 2048;

void AppendException(const char* heading, const VxException& exception, Vx::UniString& report) {
  report.Append(heading, VxCharCodePlain);
  report.Append(exception.GetName(), VxCharCodePlain);
  if (!exception.GetMessage().IsEmpty()) {
    report.Append(u": ");
    report.Append(exception.GetMessage());
  }
  report.AppendPrintf("\n\tat %s(%lu)", exception.GetFileName(), exception.GetLineNumber());
}

}  // namespace

Vx::UniString ToString(const VxException& exception) {
  Vx::UniString report;
  report.Reserve(StartCapacity);
  AppendException("\nException: ", exception, report);
  for (const VxException* cause = exception.GetCause(); cause != nullptr;
       cause = cause->GetCause()) {
    AppendException("\nCaused by: ", *cause, report);
  }
  return report;
}

void DebugPrintEx(const VxException& exception) {
  const Vx::UniString report = ToString(exception);
  const Vx::ByteArray text =
      report.ToCStr(0, report.GetLength(), VxCharCodeDebug, OnConversionErrorFail);
  DBPrintf("%s", text.get());
}

}  // namespace Larkspan::Common
