#include "Larkspan/Common/IO/LocationUtils.h"
#include "foundation/Vx/GeneralException.h"
#include "fuzz/Target.h"

namespace {

using namespace Larkspan::Common::IO;
using IO::Location;
using Vx::UniString;

void CheckLocation(const Location& location) {
  UniString path;
  Fuzz::Require((location.ToPath(path) == 0) == location.IsValid(), "a valid location has a path");
  if (path.IsEmpty()) return;
  Fuzz::Require(Location(path) == location, "the path leads back");
  Fuzz::Require(LocationFromURL(LocationToURL(location)) == location, "the URL leads back");
  // Up to the root name by name, and from each name down again.
  for (Location place = location; !place.IsRoot();) {
    IO::Name name;
    Location parent;
    Fuzz::Require(place.Split(parent, name) == 0, "what is not a root has a folder and a name");
    const auto text = name.GetText().GetView();
    Fuzz::Require(!text.empty() && text != u"." && text != u"..", "a name is one name");
    Fuzz::Require(text.find_first_of(u"/\\") == text.npos, "a name is one name");
    Fuzz::Require(place.IsBelow(parent) && !parent.IsBelow(place), "the parent is above");
    Location again = parent;
    Fuzz::Require(again.AppendToLocal(name) == 0 && again == place, "the name leads back");
    place = parent;
  }
}

void CheckText(const UniString& text) {
  CheckLocation(Location(text));
  const Location folder(u"\\folder");
  const IO::RelativeLocation relative(text);
  Location place = folder;
  Fuzz::Require((place.AppendToLocal(relative) == 0) == relative.IsValid(), "valid is appended");
  Fuzz::Require(place == folder || place.IsBelow(folder), "it never leads out of the folder");
  try {
    CheckLocation(LocationFromURL(text));
  } catch (const Vx::GeneralException&) {
    // No URL of a place.
  }
}

}  // namespace

/// Path texts and URLs, of bytes and of units.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes = Fuzz::ToView(data, size);
  UniString text;
  text.Assign(bytes, VxCharCodePlain);
  UniString url(u"file://");
  url.Append(text.GetView());
  for (const UniString& candidate : {text, Fuzz::ToUnits(bytes), url}) CheckText(candidate);
  return 0;
}
