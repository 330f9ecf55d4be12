#pragma once

namespace IO {

/// What a file is opened for.
enum class OpenMode : int {
  Read = 0,
  Write = 1,       // the content is kept; starts at the first byte
  WriteEmpty = 2,  // the content is dropped; the file is created if missing
  WriteNew = 3,    // for reading and writing; a failure if anything has the name, a link included
  ReadShared = 5,  // the same as `Read` where files are not locked
  Update = 6,      // reads and writes; the content is kept, and a missing file is not created
  WriteNewPrivate = 7,  // as `WriteNew`, with permissions for the owner alone
};

}  // namespace IO
