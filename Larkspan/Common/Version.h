#pragma once

// The version of the library, here and nowhere else: the build reads these three lines.
#define LARKSPAN_VERSION_MAJOR 0
#define LARKSPAN_VERSION_MINOR 1
#define LARKSPAN_VERSION_PATCH 0

/// One number to compare with: `#if LARKSPAN_VERSION >= 1200` asks for 0.12.0 or later.
#define LARKSPAN_VERSION \
  (LARKSPAN_VERSION_MAJOR * 10000 + LARKSPAN_VERSION_MINOR * 100 + LARKSPAN_VERSION_PATCH)
