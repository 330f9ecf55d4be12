#pragma once

namespace IO {

/// What stands under a name in the file system.
enum class EntryType : int {
  File = 0,
  Folder = 1,
  Other = 2,  // a device, a pipe, a socket
  SymbolicLink = 3,
};

}  // namespace IO
