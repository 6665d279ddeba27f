#pragma once

/// @file
/// The export macro of the host libraries.

/// Marks a symbol that the host libraries export. All others have hidden visibility.
#define QZFL_EXPORT __attribute__((visibility("default")))
