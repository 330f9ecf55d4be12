#pragma once

#include <string>
#include <vector>

#include "tools/larkspan/Console.h"

namespace Tool {

struct HeadersGetOptions {
  std::string archive;
  std::vector<std::string> names;  // one, or none for all
};

struct HeadersSetOptions {
  std::string archive;
  std::vector<std::string> headers;  // NAME=VALUE
  bool dryRun = false;
};

struct HeadersClearOptions {
  std::string archive;
  std::vector<std::string> names;
  bool all = false;
  bool dryRun = false;
};

/// Print or change the headers of an archive. Changes are made in place where they fit; else the
/// archive is rewritten beside itself, and the copy takes its name when it is complete. Headers are
/// read and written under one lock, so that of two changes at once neither is lost. An archive that
/// does not end at its last footer or a right seal is not rewritten.
void RunHeadersGet(const HeadersGetOptions& options, Console& console);
void RunHeadersSet(const HeadersSetOptions& options, Console& console);
/// `all` leaves the headers that stand for empty folders, and the promise of the seal.
void RunHeadersClear(const HeadersClearOptions& options, Console& console);

}  // namespace Tool
