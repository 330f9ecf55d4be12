#include "Larkspan/Common/IO/LocationUtils.h"
#include "foundation/Vx/GeneralException.h"
#include "fuzz/Target.h"

namespace {

using IO::Location;
using IO::Name;
using IO::RelativeLocation;
using Vx::UniString;

// Bytes as ISO 8859-1, or, behind a first byte above 0x7F, as pairs that make a unit each.
UniString ToText(std::string_view bytes) {
  UniString text;
  if (bytes.empty() || static_cast<unsigned char>(bytes.front()) < 0x80) {
    text.Assign(bytes, VxCharCodePlain);
    return text;
  }
  while (bytes.size() >= 2) {
    const unsigned int high = Fuzz::TakeByte(bytes) & 0x7FU;
    text.Append(static_cast<Vx::UniChar>(high << 8U | Fuzz::TakeByte(bytes)));
  }
  return text;
}

bool IsPlainName(UniString::View name) {
  return !name.empty() && name != u"." && name != u".." &&
         name.find_first_of(UniString::View(u"/\\\0", 3)) == UniString::View::npos;
}

// Goes up to the root name by name, and from each name down again.
void CheckNames(const Location& location) {
  Location place = location;
  Location parent = location;
  for (; !place.IsRoot(); place = parent) {
    Name name;
    Fuzz::Require(place.GetLastLocalName(name) == 0, "what is no root has a name");
    Fuzz::Require(IsPlainName(name.GetText()), "a name is one name");
    Fuzz::Require(parent.DeleteLastLocalName() == 0, "what is no root has a parent");
    Fuzz::Require(place.IsBelow(parent) && !parent.IsBelow(place), "the parent is above");
    Fuzz::Require(parent.GetLocalLength() + 1 == place.GetLocalLength(), "by one name");
    Location again = parent;
    Fuzz::Require(again.AppendToLocal(name) == 0 && again == place, "and the name leads back");
  }
  Fuzz::Require(place.GetLocalLength() == 0, "a root has no names");
  Fuzz::Require(parent.DeleteLastLocalName() != 0, "there is nothing above a root");
}

void CheckLocation(const UniString& text) {
  const Location location(text);
  UniString path;
  Fuzz::Require((location.ToPath(path) == 0) == location.IsValid(), "a valid location has a path");
  if (!location.IsValid() || location.IsEmpty()) {
    Fuzz::Require(path.IsEmpty(), "without a place there is no path");
    return;
  }
  Fuzz::Require(Location(path) == location, "the path leads back");
  CheckNames(location);
  const Location fromUrl =
      Larkspan::Common::IO::LocationFromURL(Larkspan::Common::IO::LocationToURL(location));
  Fuzz::Require(fromUrl == location, "the URL leads back");
}

void CheckRelative(const UniString& text) {
  const Location folder(u"\\folder");
  const RelativeLocation relative(text);
  Location place = folder;
  const bool appended = place.AppendToLocal(relative) == 0;
  Fuzz::Require(appended == relative.IsValid(), "a valid relative location can be appended");
  if (!appended) {
    Fuzz::Require(place == folder, "a refused one changes nothing");
    return;
  }
  Fuzz::Require(place == folder || place.IsBelow(folder), "it never leads out of the folder");
  Location stepwise = folder;
  Name name;
  for (unsigned int index = 0; index < relative.GetLength(); ++index) {
    Fuzz::Require(relative.GetName(index, name) == 0 && IsPlainName(name.GetText()),
                  "a name is one name");
    Fuzz::Require(stepwise.AppendToLocal(name) == 0, "each name can be appended");
  }
  Fuzz::Require(relative.GetName(relative.GetLength(), name) != 0, "there are no more names");
  Fuzz::Require(stepwise == place, "the names lead to the same place");
  Fuzz::Require(RelativeLocation(relative.GetPath()) == relative, "the path leads back");
}

void CheckUrl(const UniString& text) {
  try {
    const Location location = Larkspan::Common::IO::LocationFromURL(text);
    const UniString url = Larkspan::Common::IO::LocationToURL(location);
    Fuzz::Require(Larkspan::Common::IO::LocationFromURL(url) == location, "the URL leads back");
  } catch (const Vx::GeneralException&) {
    // No URL of a place.
  }
}

}  // namespace

/// Path texts and URLs.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const UniString text = ToText(Fuzz::ToView(data, size));
  CheckLocation(text);
  CheckRelative(text);
  CheckUrl(text);
  UniString url(u"file://");
  url.Append(text.GetView());
  CheckUrl(url);
  return 0;
}
