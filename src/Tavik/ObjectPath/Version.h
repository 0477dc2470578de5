/// @file
/// The version of the library.

#pragma once

/// The version as text, "major.minor.patch".
#define TAVIK_OBJECT_PATH_VERSION "1.4.0"

/// The version as a number to compare with in `#if`: 10000 times major plus 100 times minor plus patch. Since 1.2.
#define TAVIK_OBJECT_PATH_VERSION_NUMBER 10400
