#include "Larkspan/Common/IO/LocationUtils.h"

#include <string_view>

#include "Larkspan/Common/IO/LocationChecks.h"
#include "foundation/IO/SystemError.h"
#include "foundation/Vx/IOException.h"
#include "foundation/Vx/IllegalArgumentException.h"

namespace Larkspan::Common::IO {
namespace {

constexpr Vx::UniChar PathSeparator = u'\\';
constexpr Vx::UniChar UrlSeparator = u'/';
constexpr std::u16string_view UrlPrefix = u"file://";
constexpr std::u16string_view IllegalNameChars = u"\\/:*?\"<>|";

void CheckPath(const Vx::UniString& path, unsigned int line = __builtin_LINE()) {
  if (path.IsEmpty()) {
    throw Vx::IllegalArgumentException("Invalid path: path is empty.", __FILE__, line);
  }
}

}  // namespace

bool IsLegalNameChar(const Vx::UniChar& character) noexcept {
  return character >= u' ' && IllegalNameChars.find(character) == std::u16string_view::npos;
}

Vx::UniString NormalizeName(const Vx::UniString& name, const Vx::UniChar& replacement) {
  if (name.IsEmpty()) throw Vx::IllegalArgumentException("Invalid name: name is empty.");
  if (!IsLegalNameChar(replacement)) {
    throw Vx::IllegalArgumentException(
        "Invalid replacement character: replacement character is not a legal name character.",
        __FILE__, __LINE__);
  }
  Vx::UniString normalized(name);
  for (unsigned int index = 0; index < normalized.GetLength(); ++index) {
    if (!IsLegalNameChar(normalized[index])) normalized[index] = replacement;
  }
  return normalized;
}

bool IsAbsolutePath(const Vx::UniString& path) {
  CheckPath(path);
  ::IO::Location location;
  location.Set(path);
  CheckMemory(location);
  return location.IsValid() && !location.IsEmpty();
}

bool IsRelativePath(const Vx::UniString& path) {
  return !IsAbsolutePath(path);
}

Vx::UniString LocationToPath(const ::IO::Location& location) {
  CheckLocation(location);
  Vx::UniString path;
  if (location.ToPath(path) != 0) {
    throw Vx::IOException("Failed to get location path.", __FILE__, __LINE__);
  }
  return path;
}

Vx::UniString LocationToPath(const ::IO::RelativeLocation& location) {
  if (!location.IsValid()) {
    throw Vx::IllegalArgumentException("Invalid relative location: relative location is not valid.",
                                       __FILE__, __LINE__);
  }
  if (location.IsEmpty()) {
    throw Vx::IllegalArgumentException("Invalid relative location: relative location is empty.",
                                       __FILE__, __LINE__);
  }
  Vx::UniString path;
  for (unsigned int index = 0; index < location.GetLength(); ++index) {
    ::IO::Name name;
    if (location.GetName(index, name) != 0) continue;
    if (!path.IsEmpty()) path.Append(PathSeparator);
    path.Append(name.GetText());
  }
  return path;
}

::IO::Location LocationFromPath(const Vx::UniString& path) {
  CheckPath(path);
  if (!IsAbsolutePath(path)) {
    throw Vx::IOException(
        "Failed to create location from path: the specified path is not absolute.", __FILE__,
        __LINE__);
  }
  ::IO::Location location;
  location.Set(path);
  if (location.GetStatus() != 0) {
    throw Vx::IOException("Failed to create location from path.", __FILE__, __LINE__);
  }
  return location;
}

::IO::Location LocationFromRelativePath(const ::IO::Location& base, const Vx::UniString& path) {
  CheckLocation(base);
  CheckPath(path);
  if (IsAbsolutePath(path)) {
    throw Vx::IOException(
        "Failed to create location from relative path: the specified path is not relative.",
        __FILE__, __LINE__);
  }
  ::IO::Location location(base);
  CheckMemory(location);
  const int status = location.AppendToLocal(::IO::RelativeLocation(path));
  if (status != 0) {
    throw ::IO::WithDetail(
        Vx::IOException("Failed to create location from relative path.", __FILE__, __LINE__), base,
        status);
  }
  return location;
}

Vx::UniString LocationToURL(const ::IO::Location& location) {
  CheckLocation(location);
  Vx::UniString path = LocationToPath(location);
  path.ReplaceAll(PathSeparator, UrlSeparator);
  Vx::UniString url(UrlPrefix);
  url.Append(path);
  return url;
}

::IO::Location LocationFromURL(const Vx::UniString& url) {
  if (url.IsEmpty() || url.FindFirst(UrlPrefix) != 0) {
    throw Vx::IllegalArgumentException("Invalid file url.", __FILE__, __LINE__);
  }
  Vx::UniString path = url.GetSubstring(static_cast<unsigned int>(UrlPrefix.size()));
  path.ReplaceAll(UrlSeparator, PathSeparator);
  return LocationFromPath(path);
}

}  // namespace Larkspan::Common::IO
