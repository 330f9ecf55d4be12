// Settings that arrive as text: number and boolean literals, named properties, bytes as Base64.

#include <cstdio>
#include <exception>
#include <string_view>

#include "Larkspan/Common/Base64.h"
#include "Larkspan/Common/Boolean.h"
#include "Larkspan/Common/Containers/Properties.h"
#include "Larkspan/Common/Integer32.h"
#include "Larkspan/Common/UnsignedInteger16.h"

using Larkspan::Common::Base64;
using Larkspan::Common::Boolean;
using Larkspan::Common::Integer32;
using Larkspan::Common::UnsignedInteger16;
using Larkspan::Common::Containers::Properties;

namespace {

bool ReadSettings(const Properties& settings) {
  // A literal that must be there and be right: the failure is an exception.
  const unsigned short port = UnsignedInteger16::Parse(settings.GetProperty(u"port"));
  // One that may be missing or wrong: the default stays.
  int retries = 3;
  const bool isGiven = Integer32::Parse(settings.GetProperty(u"retries", u"none"), retries);
  const bool isVerbose = Boolean::Parse(settings.GetProperty(u"verbose", u"false"));
  std::printf("port %d, retries %d, verbose %s\n", port, retries,
              Boolean::ToString(isVerbose).ToUTF8().c_str());
  return port == 8080 && !isGiven && retries == 3 && isVerbose;
}

bool CompareSettings(const Properties& settings) {
  Properties copy(settings);
  copy.RemoveProperty(u"host");
  const bool differs = copy != settings;
  copy.SetProperty(u"host", settings.GetProperty(u"host"));
  for (const auto& [key, value] : copy.GetProperties()) {
    std::printf("%s = %s\n", key.ToUTF8().c_str(), value.ToUTF8().c_str());
  }
  // The host stands at the end now, and the order plays no part.
  return differs && copy == settings;
}

bool TakeThroughBase64(std::string_view data) {
  char* text = nullptr;
  unsigned int textSize = 0;
  Base64::Encode(data.data(), static_cast<unsigned int>(data.size()), &text, &textSize);
  const Vx::ByteArray ownedText(text);
  std::printf("%.*s\n", static_cast<int>(textSize), text);

  char* back = nullptr;
  unsigned int backSize = 0;
  Base64::Decode(text, textSize, &back, &backSize);
  const Vx::ByteArray ownedBack(back);
  return std::string_view(back, backSize) == data;
}

}  // namespace

int main() {
  try {
    Properties settings;
    settings.SetProperty(u"host", u"localhost");
    settings.SetProperty(u"port", u"8080");
    settings.SetProperty(u"verbose", u"true");
    const bool isRight = ReadSettings(settings) && CompareSettings(settings) &&
                         TakeThroughBase64("Two bytes are left over at the end");
    if (!isRight) std::fprintf(stderr, "Something did not come back as it was.\n");
    return isRight ? 0 : 1;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return 1;
  }
}
