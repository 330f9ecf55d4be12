#include "tools/larkspan/OutputChannel.h"

#include <utility>

#include "foundation/IO/Status.h"
#include "tools/larkspan/Failure.h"
#include "tools/larkspan/Interruption.h"
#include "tools/larkspan/Text.h"

namespace Tool {

OutputChannel::OutputChannel(::IO::File& target, std::string printableName)
    : file(target), subject(std::move(printableName)) {}

OutputChannel::~OutputChannel() = default;

void OutputChannel::Write(const char* data, unsigned int size) {
  const int status = file.WriteBin(data, size, nullptr);
  // A signal to the whole pipeline takes the reader away too.
  if (status != ::IO::StatusSuccess) CheckInterruption();
  if (status == ::IO::StatusPipeClosed) throw PipeClosed();
  if (status != ::IO::StatusSuccess) throw SystemFailure(subject, "can't be written", status);
}

StandardOutput::StandardOutput(bool null)
    : file(::IO::StandardStream::Output),
      sink(file, "standard output"),
      channel(sink, OutputChannel::BufferSize),
      terminal(::IO::IsTerminal(::IO::StandardStream::Output)),
      zeroEnds(null) {
  EndWhereBlocked();
}

void StandardOutput::Print(std::string_view text) {
  channel.Write(text.data(), static_cast<unsigned int>(text.size()));
  if (terminal) channel.Flush();
}

void StandardOutput::PrintName(std::string_view before, Vx::UniString::View name,
                               std::string_view after) {
  std::string line(before);
  line += terminal && !zeroEnds ? ToPrintable(name) : ToBytes(name);
  line += after;
  line += zeroEnds ? '\0' : '\n';
  Print(line);
}

}  // namespace Tool
