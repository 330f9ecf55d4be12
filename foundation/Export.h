#pragma once

/// Marks what the library `foundation` exports. Everything else is hidden.
#define FOUNDATION_API __attribute__((visibility("default")))
