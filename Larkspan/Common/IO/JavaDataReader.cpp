#include "Larkspan/Common/IO/JavaDataReader.h"

#include <string_view>

#include "Larkspan/Common/IO/JavaDataInputProtocolUtils.h"
#include "Larkspan/Common/IO/JavaDataInputProtocolX.h"
#include "foundation/Vx/EndOfInputException.h"

namespace Larkspan::Common::IO {

JavaDataReader::JavaDataReader(Vx::IBinaryChannel& source) noexcept
    : channel(source), peekable(Vx::PeekableInput::Find(source)) {}

void JavaDataReader::ReadUTF(Vx::UniString& text) {
  constexpr std::size_t prefix = BigEndian::Width<unsigned short>;
  if (GetLeft() >= prefix || FindBytes(prefix)) {
    const std::size_t length = Get<unsigned short>(next);
    if (GetLeft() >= prefix + length) {
      const std::string_view bytes(next + prefix, length);
      next += prefix + length;
      text.Assign(bytes.substr(0, bytes.find('\0')), VxCharCodeUTF);
      return;
    }
  }
  Settle();
  Vx::IChannelX values(channel, JavaDataInputProtocolX::GetInstance());
  IO::ReadUTF(values, text);
}

void JavaDataReader::Settle() {
  const auto taken = static_cast<unsigned int>(next - begin);
  begin = next = end = nullptr;
  if (taken != 0) peekable->Advance(taken);
}

bool JavaDataReader::FindBytes(std::size_t size) {
  if (peekable == nullptr) return false;
  Settle();
  const std::string_view bytes = peekable->Peek();
  if (bytes.size() < size) return false;
  begin = next = bytes.data();
  end = begin + bytes.size();
  return true;
}

std::size_t JavaDataReader::ReadApart(char* target, std::size_t size) {
  return channel.Read(target, static_cast<unsigned int>(size), Vx::IBinaryChannel::ReadAll);
}

void JavaDataReader::CheckComplete(std::size_t size, std::size_t wanted) {
  if (size == wanted) return;
  throw Vx::EndOfInputException("End of input reached.", __FILE__, __LINE__);
}

}  // namespace Larkspan::Common::IO
