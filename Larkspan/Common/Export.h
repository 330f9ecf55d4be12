#pragma once

/// Marks what the library `larkspan-common` exports. Everything else is hidden.
#define LARKSPAN_API __attribute__((visibility("default")))
