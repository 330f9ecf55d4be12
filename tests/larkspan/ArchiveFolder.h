#pragma once

#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "Larkspan/Common/IO/ArchiveFile.h"
#include "tests/larkspan/ArchiveSample.h"
#include "tests/support/FailureOf.h"
#include "tests/support/FileFault.h"
#include "tests/support/TemporaryFolder.h"

namespace Tests {

/// A folder with the archive "a.lsa" in it.
class ArchiveFolder : public testing::Test {
 protected:
  void Write(const SampleArchive& archive) const { folder.Write("a.lsa", ToBytes(archive)); }
  [[nodiscard]] std::filesystem::path GetPath(const char* name) const {
    return folder.GetPath() / name;
  }

  const TemporaryFolder folder;
  const IO::Location location = folder.At("a.lsa");
  const SampleArchive sample = MakeSample(256);
};

}  // namespace Tests
