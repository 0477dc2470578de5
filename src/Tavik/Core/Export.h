/// @file
/// Marks what the core library exports; everything else stays hidden.

#pragma once

#define TAVIK_CORE_EXPORT __attribute__((visibility("default")))
