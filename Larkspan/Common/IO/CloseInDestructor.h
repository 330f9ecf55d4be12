#pragma once

namespace Larkspan::Common::IO {

/// Closes a channel that is being destroyed; nobody is left to be told of a failure.
template <class Channel>
void CloseInDestructor(Channel& channel) noexcept {
  try {
    channel.Channel::Close();
  } catch (...) {
  }
}

}  // namespace Larkspan::Common::IO
