#include "fuzz/Target.h"
#include "tests/support/FailureOf.h"

namespace {

using Vx::UniString;

std::string Encode(const UniString& text, VxCharCode code) {
  return std::string(text.ToBytes(0, Vx::ToEnd, code, OnConversionErrorFail).GetView());
}

// Leaves `text` as it was where the bytes are malformed.
bool Decode(std::string_view bytes, VxCharCode code, UniString& text) {
  const UniString before(text);
  const std::string failure = Tests::FailureOf([&] { text.Assign(bytes, code); });
  if (failure.empty()) return true;
  Fuzz::Require(failure.starts_with("ConversionErrorException"), "malformed bytes are told so");
  Fuzz::Require(text == before, "malformed bytes change nothing");
  return false;
}

}  // namespace

/// The encodings of text.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes = Fuzz::ToView(data, size);
  UniString text(u"old");
  UniString modified(u"old");
  const bool isModified = Decode(bytes, VxCharCodeUTF, modified);
  if (Decode(bytes, VxCharCodeDebug, text)) {
    Fuzz::Require(Encode(text, VxCharCodeDebug) == bytes, "UTF-8 has one form for each text");
    Fuzz::Require(isModified && modified == text, "UTF-8 is understood in the modified form");
  }
  const std::string_view onlyInUtf8("\0\xF0\xF1\xF2\xF3\xF4", 6);
  const bool isOneToOne = bytes.find_first_of(onlyInUtf8) == std::string_view::npos;
  Fuzz::Require(!isModified || (Encode(modified, VxCharCodeUTF) == bytes) == isOneToOne,
                "the modified form is one to one");
  return 0;
}
