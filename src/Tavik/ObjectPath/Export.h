/// @file
/// Marks what the library exports; everything else stays hidden. Since 1.3.

#pragma once

#define TAVIK_OBJECT_PATH_EXPORT __attribute__((visibility("default")))
