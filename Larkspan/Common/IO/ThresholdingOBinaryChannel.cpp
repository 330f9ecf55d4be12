#include "Larkspan/Common/IO/ThresholdingOBinaryChannel.h"

#include "foundation/Vx/IOException.h"
#include "foundation/Vx/IllegalArgumentException.h"

namespace Larkspan::Common::IO {

ThresholdingOBinaryChannel::ThresholdingOBinaryChannel(unsigned __int64 thresholdSize)
    : threshold(thresholdSize) {
  if (threshold == 0) {
    throw Vx::IllegalArgumentException("Invalid threshold: threshold is 0.", __FILE__, __LINE__);
  }
}

ThresholdingOBinaryChannel::ThresholdingOBinaryChannel(
    const ThresholdingOBinaryChannel& source) noexcept
    : Vx::OBinaryChannel(),  // which has no state
      thresholdReached(source.thresholdReached),
      threshold(source.threshold),
      count(source.count),
      closed(source.closed) {}

ThresholdingOBinaryChannel& ThresholdingOBinaryChannel::operator=(
    const ThresholdingOBinaryChannel& source) noexcept {
  if (this == &source) return *this;
  thresholdReached = source.thresholdReached;
  threshold = source.threshold;
  count = source.count;
  closed = source.closed;
  return *this;
}

ThresholdingOBinaryChannel::~ThresholdingOBinaryChannel() = default;

void ThresholdingOBinaryChannel::Write(const char* data, unsigned int size) {
  CheckOpened();
  CheckThreshold(size);
  GetOutputChannel().Write(data, size);
  count += size;
}

void ThresholdingOBinaryChannel::Flush() {
  CheckOpened();
  GetOutputChannel().Flush();
}

void ThresholdingOBinaryChannel::Close() {
  GetOutputChannel().Close();
  closed = true;
}

void ThresholdingOBinaryChannel::CheckOpened(const char* file, unsigned int line) const {
  if (!closed) return;
  throw Vx::IOException("Thresholding binary output channel is closed.", file, line);
}

void ThresholdingOBinaryChannel::CheckThreshold(unsigned __int64 size) {
  if (thresholdReached) return;
  // Not as a sum, which may not fit.
  if (!IsThresholdExceeded() && size <= threshold - count) return;
  thresholdReached = true;
  ThresholdReached();
}

}  // namespace Larkspan::Common::IO
