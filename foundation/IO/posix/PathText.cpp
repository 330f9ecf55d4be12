#include "foundation/IO/posix/PathText.h"

#include <cerrno>

#include "foundation/IO/MemoryGuard.h"
#include "foundation/IO/PathNames.h"
#include "foundation/Vx/Utf16.h"
#include "foundation/Vx/Utf8.h"

namespace IO::Posix {
namespace {

bool AppendCharacter(char32_t character, Vx::String& bytes) {
  if (Vx::Utf16::IsEscapedByte(character)) {
    bytes.Append(Vx::Utf16::UnescapeByte(character));
    return true;
  }
  if (Vx::Utf16::IsSurrogate(character)) return false;
  char sequence[4];
  const std::size_t length = Vx::Utf8::Encode(character, sequence);
  bytes.Append(std::string_view(sequence, length));
  return true;
}

int AppendText(Vx::UniString::View text, Vx::String& bytes) {
  for (std::size_t index = 0; index < text.size();) {
    const Vx::Utf16::Character decoded = Vx::Utf16::Decode(text, index);
    const bool separator = decoded.code == PathNames::Separator;
    if (!AppendCharacter(separator ? U'/' : decoded.code, bytes)) return EILSEQ;
    index += decoded.units;
  }
  return 0;
}

// Leaves no half of a path behind: it would be the path of something else.
int Convert(Vx::UniString::View text, Vx::String& bytes) noexcept {
  bytes.Clear();
  const int error = GuardMemory(ENOMEM, [&] { return AppendText(text, bytes); });
  if (error != 0) bytes.Clear();
  return error;
}

}  // namespace

int NameToBytes(Vx::UniString::View name, Vx::String& bytes) noexcept {
  if (!PathNames::IsName(name)) return EINVAL;
  return Convert(name, bytes);
}

int LocationToBytes(const Location& location, Vx::String& bytes) noexcept {
  if (location.IsEmpty()) return EINVAL;
  if (location.GetPath().front() != PathNames::Separator) return ENOENT;
  return Convert(location.GetPath(), bytes);
}

int RelativePathToBytes(Vx::UniString::View path, Vx::String& bytes) noexcept {
  return Convert(path, bytes);
}

Vx::UniString BytesToText(std::string_view bytes) {
  Vx::UniString text;
  while (!bytes.empty()) {
    const auto byte = static_cast<unsigned char>(bytes.front());
    Vx::Utf8::Sequence sequence = Vx::Utf8::Decode(bytes, Vx::Utf8::Form::Standard);
    const bool escaped = sequence.length == 0 || byte == PathNames::Separator;
    if (escaped) sequence = {Vx::Utf16::EscapeByte(byte), 1};
    char16_t units[2];
    const std::size_t count = Vx::Utf16::Encode(sequence.character, units);
    text.Append(Vx::UniString::View(units, count));
    bytes.remove_prefix(sequence.length);
  }
  return text;
}

}  // namespace IO::Posix
