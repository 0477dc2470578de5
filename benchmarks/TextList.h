/// @file
/// Lists of strings for the work on many paths.

#pragma once

#include <string>
#include <vector>

namespace Benchmarks {

using TextList = std::vector<std::string>;

/// The paths of a list of files, with attributes such as [mode=644][size=2044][user=root] at the leaf or without.
TextList textsOfFiles(const std::string& fileList, bool withAttributes);

}  // namespace Benchmarks
