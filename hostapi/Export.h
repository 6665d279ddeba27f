#pragma once

/// @file
/// What the host libraries let out.

/// Marks what the host libraries export. Everything else in them is compiled hidden.
#define QZFL_EXPORT __attribute__((visibility("default")))
