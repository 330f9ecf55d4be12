#pragma once

#include <algorithm>
#include <string>
#include <utility>

#include "Larkspan/Common/IO/JavaDataInputProtocol.h"
#include "Larkspan/Common/IO/JavaDataOutputProtocol.h"

namespace Tests {

/// A status channel out of a string and, behind its end, into it, up to `limit` bytes.
class StringChannel final : public Vx::OChannel, public Vx::IChannel {
 public:
  explicit StringChannel(std::string bytes = "", std::size_t limit = std::string::npos)
      : OChannel(Larkspan::Common::IO::JavaDataOutputProtocol::GetInstance()),
        IChannel(Larkspan::Common::IO::JavaDataInputProtocol::GetInstance()),
        content(std::move(bytes)),
        room(limit) {}
  int WriteBin(const char* source, unsigned int count, unsigned int*) override {
    const std::size_t before = content.size();
    content.append(source, std::min<std::size_t>(count, room - before));
    return content.size() == before + count ? Vx::StatusSuccess : Vx::StatusOutputFull;
  }
  int ReadBin(char* target, unsigned int count, unsigned int* delivered) override {
    const std::size_t taken = content.copy(target, count);
    if (delivered != nullptr) *delivered = static_cast<unsigned int>(taken);
    content.erase(0, taken);
    return taken == count ? Vx::StatusSuccess : Vx::StatusEndOfInput;
  }

  std::string content;

 private:
  std::size_t room;
};

}  // namespace Tests
