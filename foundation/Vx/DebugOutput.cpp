#include "foundation/Vx/DebugOutput.h"

#include <atomic>
#include <cstdio>

#include "foundation/Vx/Encoding.h"
#include "foundation/Vx/String.h"

namespace Vx {
namespace {

std::atomic<DebugSink> currentSink = nullptr;

void WriteToStandardError(const char* bytes, std::size_t size) {
  // There is nobody to tell of a failure here.
  static_cast<void>(std::fwrite(bytes, 1, size, stderr));
}

class ByteSink final : public FormatSink {
 public:
  virtual ~ByteSink() = default;
  void AppendBytes(std::string_view bytes) override { text.Append(bytes); }
  void AppendUnits(std::u16string_view units) override {
    EncodeText(units, VxCharCodeDebug, OnConversionErrorFail, text);
  }

  String text;
};

}  // namespace

DebugSink SetDebugSink(DebugSink sink) noexcept {
  return currentSink.exchange(sink);
}

void WriteDebugOutput(const char* format, const FormatArgument* arguments, std::size_t count) {
  ByteSink collected;
  FormatText(collected, format, arguments, count);
  const DebugSink sink = currentSink.load();
  (sink == nullptr ? WriteToStandardError : sink)(collected.text.GetBuffer(),
                                                  collected.text.GetLength());
}

}  // namespace Vx
