#pragma once

#include <functional>

#include "Larkspan/Archive/ArchiveIndex.h"
#include "Larkspan/Common/IO/ArchiveOBinaryChannel.h"

namespace Larkspan::Archive {

/// Whether the data of a copied entry is compared with its footer.
enum class CopyCheck {
  Verify,  ///< before the first byte is written: the data is decoded, and thrown away
  Trust,   ///< a damaged entry is as damaged in the copy
};

/// Told how many encoded bytes have been copied since it was told last, often and perhaps 0. What
/// it throws ends the work and comes out of it.
using CopyProgress = std::function<void(unsigned int size)>;

/// Puts an entry of one archive into another as it is, frames and footer, without encoding it anew.
/// It becomes the next entry of `target`, which closes the open one first. Linear in the entry's
/// size, in memory of 64 KiB.
///
/// Throws what `index.OpenEntry` and reading from its channel throw, with nothing written;
/// `Common::IO::ArchiveException` if the entry's frames aren't those that the index found, and what
/// the target throws: after these the target is damaged.
LARKSPAN_API void CopyEntry(const ArchiveIndex& index, std::size_t number,
                            Common::IO::ArchiveOBinaryChannel& target, CopyCheck check,
                            const CopyProgress& progress = {});
/// The same under another name and with other headers.
LARKSPAN_API void CopyEntry(const ArchiveIndex& index, std::size_t number,
                            const Vx::UniString& name, const Common::IO::ArchiveHeaders& headers,
                            Common::IO::ArchiveOBinaryChannel& target, CopyCheck check,
                            const CopyProgress& progress = {});

}  // namespace Larkspan::Archive
