#include "foundation/IO/Location.h"

#include <utility>

#include "foundation/IO/MemoryGuard.h"
#include "foundation/IO/PathNames.h"
#include "foundation/IO/Status.h"

namespace IO {
namespace {

using View = Vx::UniString::View;

bool IsDriveLetter(Vx::UniChar unit) noexcept {
  return (unit >= u'A' && unit <= u'Z') || (unit >= u'a' && unit <= u'z');
}

// Length of the root at the head of `text`; 0 if the text is not an absolute path. `C:` alone and
// `C:a` count from a drive's current folder, so they are not.
unsigned int MeasureRoot(View text) noexcept {
  if (!text.empty() && PathNames::IsSeparator(text[0])) return 1;
  const bool drive = text.size() >= 3 && IsDriveLetter(text[0]) && text[1] == u':' &&
                     PathNames::IsSeparator(text[2]);
  return drive ? 3 : 0;
}

}  // namespace

Location::Location(View text) noexcept {
  Set(text);
}

Location::Location(const Location& source) noexcept {
  *this = source;
}

Location::Location(Location&& source) noexcept = default;

Location& Location::operator=(const Location& source) noexcept {
  if (this == &source) return *this;
  const int outcome = GuardMemory(StatusOutOfMemory, [&] {
    path.Assign(source.path.GetView());
    return source.status;
  });
  Fail(outcome);
  return *this;
}

Location& Location::operator=(Location&& source) noexcept = default;

Location::~Location() = default;

int Location::Set(View text) noexcept {
  const unsigned int root = MeasureRoot(text);
  const int outcome = GuardMemory(StatusOutOfMemory, [&] {
    Vx::UniString made(text.substr(0, root));
    made.ReplaceAll(u'/', PathNames::Separator);
    const bool absolute = root > 0 && PathNames::AppendText(made, root, text.substr(root));
    if (!absolute && !text.empty()) return StatusInvalidLocation;
    path = std::move(made);
    return StatusSuccess;
  });
  return Fail(outcome);
}

// Takes `reason` as the state. A location that is not sound has no text.
int Location::Fail(int reason) noexcept {
  status = reason;
  if (reason != StatusSuccess) path.Clear();
  return reason;
}

int Location::ToPath(Vx::UniString& text) const noexcept {
  if (!IsValid()) return status;
  return GuardMemory(StatusOutOfMemory, [&] {
    text.Assign(path.GetView());
    return StatusSuccess;
  });
}

unsigned int Location::GetRootLength() const noexcept {
  return MeasureRoot(path);
}

bool Location::IsRoot() const noexcept {
  return !IsEmpty() && path.GetLength() == GetRootLength();
}

bool Location::IsBelow(const Location& folder) const noexcept {
  if (folder.IsEmpty() || path.GetLength() <= folder.path.GetLength()) return false;
  if (!path.GetView().starts_with(folder.path.GetView())) return false;
  return folder.IsRoot() || path[folder.path.GetLength()] == PathNames::Separator;
}

unsigned int Location::GetLocalLength() const noexcept {
  return PathNames::CountNames(path, GetRootLength());
}

int Location::GetLastLocalName(Name& name) const noexcept {
  if (!IsValid()) return status;
  if (GetLocalLength() == 0) return StatusInvalidLocation;
  return GuardMemory(StatusOutOfMemory, [&] {
    const unsigned int start = PathNames::FindLastName(path, GetRootLength());
    name.GetText().Assign(path.GetView().substr(start));
    return StatusSuccess;
  });
}

int Location::DeleteLastLocalName() noexcept {
  if (!IsValid()) return status;
  return GuardMemory(StatusOutOfMemory, [&] {
    const bool removed = PathNames::RemoveLastName(path, GetRootLength());
    return removed ? StatusSuccess : StatusInvalidLocation;
  });
}

Location Location::GetParent() const noexcept {
  Location parent(*this);
  parent.Fail(parent.DeleteLastLocalName());
  return parent;
}

int Location::Split(Location& folder, Name& name) const noexcept {
  Location parent = GetParent();
  if (!parent.IsValid()) return parent.status;
  const int outcome = GetLastLocalName(name);
  if (outcome == StatusSuccess) folder = std::move(parent);
  return outcome;
}

Location Location::GetSibling(View suffix) const noexcept {
  Location sibling(*this);
  sibling.Fail(GuardMemory(StatusOutOfMemory, [&] {
    if (GetLocalLength() == 0 || !PathNames::IsName(suffix)) return StatusInvalidLocation;
    sibling.path.Append(suffix);
    return sibling.status;
  }));
  return sibling;
}

int Location::AppendToLocal(const Name& name) noexcept {
  if (!PathNames::IsName(name.GetText())) return StatusInvalidLocation;
  return AppendText(name.GetText());
}

int Location::AppendToLocal(const RelativeLocation& relative) noexcept {
  if (!relative.IsValid()) return relative.GetStatus();
  return AppendText(relative.GetPath());
}

// Appends names that have been checked, with one separator between them.
int Location::AppendText(View text) noexcept {
  if (!IsValid()) return status;
  if (IsEmpty()) return StatusInvalidLocation;
  if (text.empty()) return StatusSuccess;
  const int outcome = GuardMemory(StatusOutOfMemory, [&] {
    PathNames::AppendName(path, GetRootLength(), text);
    return StatusSuccess;
  });
  return Fail(outcome);
}

}  // namespace IO
