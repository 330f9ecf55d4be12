#include "Larkspan/Archive/WrittenFiles.h"

#include <algorithm>
#include <utility>

namespace Larkspan::Archive {
namespace {

constexpr std::size_t FirstSlotCount = 1024;  // a power of two, as all that follow

}  // namespace

// The slot of the inode, or the one where it belongs.
std::size_t WrittenFiles::FindSlot(const Device& device, unsigned __int64 node) noexcept {
  constexpr unsigned __int64 goldenRatio = 0x9E3779B97F4A7C15ULL;  // spreads rows of numbers
  const std::size_t mask = device.slots.size() - 1;
  std::size_t slot = ((node * goldenRatio) >> 32U) & mask;
  while (device.slots[slot] != 0 && device.slots[slot] != node) slot = (slot + 1) & mask;
  return slot;
}

void WrittenFiles::Grow(Device& device) {
  Device larger{device.number, std::vector<unsigned __int64>(device.slots.size() * 2), device.used};
  for (const unsigned __int64 node : device.slots) {
    if (node != 0) larger.slots[FindSlot(larger, node)] = node;
  }
  device = std::move(larger);
}

void WrittenFiles::Add(const ::IO::Attributes& file) {
  auto device = std::ranges::find(devices, file.device, &Device::number);
  if (device == devices.end()) {
    devices.push_back(Device{file.device, std::vector<unsigned __int64>(FirstSlotCount)});
    device = devices.end() - 1;
  }
  unsigned __int64& slot = device->slots[FindSlot(*device, file.node)];
  if (slot == 0) ++device->used;
  slot = file.node;
  if (device->used > device->slots.size() / 4 * 3) Grow(*device);
}

bool WrittenFiles::Contains(const ::IO::Attributes& file) const {
  const auto device = std::ranges::find(devices, file.device, &Device::number);
  return device != devices.end() && file.node != 0 &&
         device->slots[FindSlot(*device, file.node)] == file.node;
}

}  // namespace Larkspan::Archive
