#include "Larkspan/Common/IO/JavaDataWriter.h"

#include "Larkspan/Common/IO/JavaDataOutputProtocolUtils.h"
#include "Larkspan/Common/IO/JavaDataOutputProtocolX.h"
#include "foundation/Vx/Utf8.h"

namespace Larkspan::Common::IO {

JavaDataWriter::JavaDataWriter(Vx::OBinaryChannel& target) noexcept
    : channel(target), fillable(Vx::FillableOutput::Find(target)) {}

void JavaDataWriter::WriteUTF(const Vx::UniString& text) {
  const std::size_t size = Vx::Utf8::GetJavaSize(text.GetView());
  if (size > MaxUTFSize || (GetRoomSize() < 2 + size && !FindRoom(2 + size))) {
    Settle();
    Vx::OChannelX values(channel, JavaDataOutputProtocolX::GetInstance());
    IO::WriteUTF(values, text);
    return;
  }
  Put(next, static_cast<unsigned short>(size));
  next = Vx::Utf8::EncodeJava(text.GetView(), next + 2);
}

void JavaDataWriter::Settle() noexcept {
  if (next != begin) fillable->Fill(static_cast<unsigned int>(next - begin));
  begin = next = end = nullptr;
}

bool JavaDataWriter::FindRoom(std::size_t size) {
  if (fillable == nullptr) return false;
  Settle();
  const std::span<char> room = fillable->GetRoom(static_cast<unsigned int>(size));
  begin = next = room.data();
  end = begin + room.size();
  return !room.empty();
}

}  // namespace Larkspan::Common::IO
