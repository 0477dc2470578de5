/// @file
/// The text of the peer "by hand" as one writes it at first: character by character.

#pragma once

#include <string>
#include <string_view>
#include <variant>

#include "HandWritten.h"

namespace Benchmarks {

[[nodiscard]] std::variant<HandWrittenPath<TreeMap>, std::string> parsePlainly(std::string_view text);
[[nodiscard]] std::string writePlainly(const HandWrittenPath<TreeMap>& path);

}  // namespace Benchmarks
