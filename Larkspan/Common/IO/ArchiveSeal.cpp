#include "Larkspan/Common/IO/ArchiveSeal.h"

#include <algorithm>

#include "Larkspan/Common/IO/BigEndian.h"

namespace Larkspan::Common::IO {
namespace {

// A name of 65535 bytes that stops short, so that every reader takes the seal for the end.
constexpr std::string_view Mark = "\xFF\xFFLarkspanSeal";
constexpr unsigned int Version = 1;

constexpr std::u16string_view PromiseStart = u"1 ";
constexpr std::u16string_view HexDigits = u"0123456789ABCDEF";
constexpr unsigned int CRCDigits = 8;

template <class T>
char* Put(char* target, T value) noexcept {
  const BigEndian::Bytes<T> bytes = BigEndian::Encode(value);
  return std::copy(bytes.begin(), bytes.end(), target);
}

}  // namespace

Vx::UniString ArchiveSeal::MakePromise(unsigned int headerCRC) {
  Vx::UniString value(PromiseStart);
  for (unsigned int digit = CRCDigits; digit-- > 0;) {
    value.Append(HexDigits[headerCRC >> (4 * digit) & 0xF]);
  }
  return value;
}

std::optional<unsigned int> ArchiveSeal::ParsePromise(const Vx::UniString& value) {
  const std::u16string_view text = value;
  if (text.size() != PromiseStart.size() + CRCDigits || !text.starts_with(PromiseStart)) return {};
  unsigned int crc = 0;
  for (const char16_t unit : text.substr(PromiseStart.size())) {
    const std::size_t digit = HexDigits.find(unit);
    if (digit == std::u16string_view::npos) return {};
    crc = crc << 4 | static_cast<unsigned int>(digit);
  }
  return crc;
}

bool ArchiveSeal::HasMark(std::string_view tail) noexcept {
  return tail.find(Mark) != std::string_view::npos;
}

void ArchiveSeal::AddHeaderBytes(const char* bytes, unsigned int size) noexcept {
  if (size != 0) entries.Update(bytes, size);
}

void ArchiveSeal::AddFooter(unsigned __int64 size, unsigned int crc) noexcept {
  BigEndian::Bytes<unsigned __int64> sizeBytes = BigEndian::Encode(size);
  BigEndian::Bytes<unsigned int> crcBytes = BigEndian::Encode(crc);
  entries.Update(sizeBytes.data(), static_cast<unsigned int>(sizeBytes.size()));
  entries.Update(crcBytes.data(), static_cast<unsigned int>(crcBytes.size()));
  plainSize += size;
  ++entryCount;
}

ArchiveSeal::Bytes ArchiveSeal::Encode() const noexcept {
  Bytes bytes;
  char* end = std::copy(Mark.begin(), Mark.end(), bytes.data());
  end = Put(end, Version);
  end = Put(end, entryCount);
  end = Put(end, plainSize);
  end = Put(end, entries.GetValue());
  CRC32 own;
  own.Update(bytes.data(), static_cast<unsigned int>(end - bytes.data()));
  Put(end, own.GetValue());
  return bytes;
}

bool ArchiveSeal::Matches(std::string_view tail) const noexcept {
  const Bytes bytes = Encode();
  return tail == std::string_view(bytes.data(), bytes.size());
}

}  // namespace Larkspan::Common::IO
