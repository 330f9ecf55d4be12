#include "tools/larkspan/OutputChannel.h"

#include <cstring>
#include <utility>

#include "foundation/IO/Status.h"
#include "tools/larkspan/Failure.h"
#include "tools/larkspan/Interruption.h"

namespace Tool {
namespace {

constexpr unsigned int BufferSize = 0x40000;

}  // namespace

OutputChannel::OutputChannel(::IO::File& target, std::string printableName)
    : file(target), subject(std::move(printableName)), buffer(Vx::NewByteArray(BufferSize)) {}

OutputChannel::~OutputChannel() = default;

void OutputChannel::Write(const char* data, unsigned int size) {
  if (size > BufferSize - gathered) Flush();
  if (size >= BufferSize) {
    WriteOut(data, size);
    return;
  }
  if (size > 0) std::memcpy(buffer.get() + gathered, data, size);
  gathered += size;
}

void OutputChannel::Flush() {
  if (gathered > 0) WriteOut(buffer.get(), std::exchange(gathered, 0));
}

void OutputChannel::WriteOut(const char* data, unsigned int size) {
  const int status = file.WriteBin(data, size, nullptr);
  // A signal to the whole pipeline takes the reader away too.
  if (status != ::IO::StatusSuccess) CheckInterruption();
  if (status == ::IO::StatusPipeClosed) throw PipeClosed();
  if (status != ::IO::StatusSuccess) throw SystemFailure(subject, "can't be written", status);
}

StandardOutput::StandardOutput()
    : file(::IO::StandardStream::Output),
      channel(file, "standard output"),
      terminal(::IO::IsTerminal(::IO::StandardStream::Output)) {
  EndWhereBlocked();
}

void StandardOutput::Print(std::string_view text) {
  channel.Write(text.data(), static_cast<unsigned int>(text.size()));
  if (terminal) channel.Flush();
}

}  // namespace Tool
