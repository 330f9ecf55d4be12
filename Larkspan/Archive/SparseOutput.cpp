#include "Larkspan/Archive/SparseOutput.h"

namespace Larkspan::Archive {
namespace {

constexpr Vx::UInt64 BlockSize = 4096;

}  // namespace

int SparseOutput::Write(std::string_view data) noexcept {
  std::size_t pending = 0;  // bytes at the front that are to be written
  while (pending < data.size()) {
    const Vx::UInt64 place = position + pending;
    const std::string_view rest = data.substr(pending);
    const auto step = static_cast<std::size_t>(BlockSize - place % BlockSize);
    const bool isBlock = step == BlockSize && rest.size() >= step;
    const std::string_view block = rest.substr(0, step);
    if (!isBlock || block.find_first_not_of('\0') != block.npos) {
      pending += block.size();
      continue;
    }
    if (const int status = WriteData(data.substr(0, pending)); status != 0) return status;
    position += block.size();
    data.remove_prefix(pending + block.size());
    pending = 0;
  }
  return WriteData(data);
}

int SparseOutput::WriteData(std::string_view data) noexcept {
  if (data.empty()) return 0;
  if (filePosition != position) {
    const int status = file.Seek(::IO::SeekOrigin::Begin, static_cast<Vx::Int64>(position));
    if (status != 0) return status;
  }
  const int status = file.WriteBin(data.data(), static_cast<unsigned int>(data.size()), nullptr);
  position += data.size();
  filePosition = position;
  return status;
}

int SparseOutput::Finish() noexcept {
  return filePosition == position ? 0 : file.SetSize(position);
}

}  // namespace Larkspan::Archive
