#include "fuzz/Target.h"
#include "tests/support/ReadArchive.h"

/// A whole archive: what is reported as verified must be so, and how the bytes are cut must not
/// show. Small inputs can stand for much data, so not all of it is kept.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t most = 1U << 17U;
  const std::string bytes(Fuzz::ToView(data, size));
  const auto whole = Tests::ReadArchive(bytes, 4096, most);
  Fuzz::Require(!whole.failure.starts_with("OutOfMemory"), "sizes that lie take no memory");
  Tests::PiecewiseInput pieces(bytes, 1);
  Fuzz::Require(Tests::ReadArchive(pieces, 7, most) == whole, "cuts do not show");
  Tests::PiecewiseInput passed(bytes);
  const auto over = Tests::ReadArchive(passed, 1, 0);
  Fuzz::Require(over.failure == whole.failure, "reading over an entry verifies it");
  Fuzz::Require(over.archive.entries.size() == whole.archive.entries.size(), "and passes no other");
  return 0;
}
