#pragma once

#include <cstddef>
#include <cstring>
#include <span>
#include <string>
#include <vector>

#include "foundation/Vx/IOException.h"
#include "foundation/Vx/OBinaryChannel.h"

// Input from memory is `Vx::MemoryIBinaryChannel`, which takes a `std::span` or a view.
namespace Larkspan::Interop {

/// Appends what is written to a container of bytes (`std::string`, `std::vector<std::byte>`,
/// `std::vector<char>`), which must outlive the channel. What the container throws passes through.
template <class Container>
requires(sizeof(typename Container::value_type) == 1) class ContainerOBinaryChannel final
    : public Vx::OBinaryChannel {
 public:
  explicit ContainerOBinaryChannel(Container& target) noexcept : container(target) {}

  using OBinaryChannel::Write;
  void Write(const char* data, unsigned int size) override {
    CheckOpened();
    const auto* const bytes = reinterpret_cast<const typename Container::value_type*>(data);
    container.insert(container.end(), bytes, bytes + size);
  }
  void Flush() override { CheckOpened(); }
  void Close() override { closed = true; }

 private:
  void CheckOpened(const char* file = __builtin_FILE(),
                   unsigned int line = __builtin_LINE()) const {
    if (closed) throw Vx::IOException("Container output channel is closed.", file, line);
  }

  Container& container;
  bool closed = false;
};

using StringOBinaryChannel = ContainerOBinaryChannel<std::string>;
using VectorOBinaryChannel = ContainerOBinaryChannel<std::vector<std::byte>>;

/// Fills memory of the host. A write that doesn't fit throws `Vx::IOException` and writes nothing.
class SpanOBinaryChannel final : public Vx::OBinaryChannel {
 public:
  explicit SpanOBinaryChannel(std::span<std::byte> target) noexcept : memory(target) {}

  using OBinaryChannel::Write;
  void Write(const char* data, unsigned int size) override {
    CheckOpened();
    if (size > memory.size() - written) {
      throw Vx::IOException("Failed to write to memory: it is full.", __FILE__, __LINE__);
    }
    if (size != 0) std::memcpy(memory.data() + written, data, size);
    written += size;
  }
  void Flush() override { CheckOpened(); }
  void Close() override { closed = true; }

  /// What has been written.
  [[nodiscard]] std::span<const std::byte> GetWritten() const noexcept {
    return memory.first(written);
  }

 private:
  void CheckOpened(const char* file = __builtin_FILE(),
                   unsigned int line = __builtin_LINE()) const {
    if (closed) throw Vx::IOException("Memory output channel is closed.", file, line);
  }

  std::span<std::byte> memory;
  std::size_t written = 0;
  bool closed = false;
};

}  // namespace Larkspan::Interop
