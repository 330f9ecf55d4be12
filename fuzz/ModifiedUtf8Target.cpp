#include "Larkspan/Common/IO/JavaDataInputProtocolUtils.h"
#include "Larkspan/Common/IO/JavaDataInputProtocolX.h"
#include "Larkspan/Common/IO/JavaDataOutputProtocolUtils.h"
#include "Larkspan/Common/IO/JavaDataOutputProtocolX.h"
#include "foundation/Vx/ConversionErrorException.h"
#include "foundation/Vx/EndOfInputException.h"
#include "foundation/Vx/MemoryOBinaryChannel.h"
#include "fuzz/Target.h"

namespace {

using Vx::UniString;

std::string Encode(const UniString& text, VxCharCode code) {
  return std::string(text.ToBytes(0, Vx::ToEnd, code, OnConversionErrorFail).GetView());
}

// Leaves `text` as it was where the bytes are malformed.
bool Decode(std::string_view bytes, VxCharCode code, UniString& text) {
  try {
    text.Assign(bytes, code);
    return true;
  } catch (const Vx::ConversionErrorException&) {
    return false;
  }
}

void CheckBytes(std::string_view bytes) {
  UniString text(u"old");
  if (Decode(bytes, VxCharCodeDebug, text)) {
    Fuzz::Require(Encode(text, VxCharCodeDebug) == bytes, "UTF-8 has one form for each text");
    UniString same;
    Fuzz::Require(Decode(bytes, VxCharCodeUTF, same), "UTF-8 is understood in the modified form");
    Fuzz::Require(same == text, "UTF-8 means the same in the modified form");
  } else {
    Fuzz::Require(text == u"old", "malformed bytes change nothing");
  }
  if (!Decode(bytes, VxCharCodeUTF, text)) return;
  const std::string encoded = Encode(text, VxCharCodeUTF);
  UniString back;
  Fuzz::Require(Decode(encoded, VxCharCodeUTF, back), "what was encoded can be decoded");
  Fuzz::Require(back == text, "text comes back");
  const bool isModified =
      bytes.find_first_of(std::string_view("\0\xF0\xF1\xF2\xF3\xF4", 6)) == std::string_view::npos;
  Fuzz::Require((encoded == bytes) == isModified, "the modified form is one to one");
}

void CheckUnits(std::string_view bytes) {
  UniString text;
  while (bytes.size() >= 2) {
    const unsigned int high = Fuzz::TakeByte(bytes);
    text.Append(static_cast<Vx::UniChar>(high << 8U | Fuzz::TakeByte(bytes)));
  }
  UniString back;
  Fuzz::Require(Decode(Encode(text, VxCharCodeUTF), VxCharCodeUTF, back), "any units are text");
  Fuzz::Require(back == text, "any units come back");
}

void CheckField(std::string_view bytes) {
  using namespace Larkspan::Common::IO;
  Fuzz::PiecewiseSource source(bytes, 3);
  Vx::IChannelX input(source, JavaDataInputProtocolX::GetInstance());
  UniString text;
  try {
    ReadUTF(input, text);
  } catch (const Vx::ConversionErrorException&) {
    return;
  } catch (const Vx::EndOfInputException&) {
    return;
  }
  // A sequence of four bytes grows to six, beyond what a field can hold in the worst case.
  if (Encode(text, VxCharCodeUTF).size() > 65535) return;
  Vx::MemoryOBinaryChannel target;
  Vx::OChannelX output(target, JavaDataOutputProtocolX::GetInstance());
  WriteUTF(output, text);
  Fuzz::PiecewiseSource again({target.GetBuffer(), target.GetSize()}, 2);
  Vx::IChannelX reread(again, JavaDataInputProtocolX::GetInstance());
  Fuzz::Require(ReadUTF(reread) == text && again.GetRest().empty(), "a field comes back");
}

}  // namespace

/// The encodings of text, as bytes, as units, and as a field with its length.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes = Fuzz::ToView(data, size);
  CheckBytes(bytes);
  CheckUnits(bytes);
  CheckField(bytes);
  return 0;
}
