#include "Summary.h"

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "Messages.h"
#include "StandardOutput.h"

void Summary::add(const Tavik::ObjectPath& path) {
    for (auto view = path.toView(); !view.isRoot(); view = view.parent()) {
        if (const Tavik::String* value = view.attribute(key_)) {
            ++counts_[*value];
            return;
        }
    }
    ++without_;
}

void Summary::print(std::size_t size) const {
    std::vector<std::pair<std::string_view, std::size_t>> rows(counts_.begin(), counts_.end());
    size = std::min(size, rows.size());
    std::partial_sort(rows.begin(), std::next(rows.begin(), static_cast<std::ptrdiff_t>(size)), rows.end(),
                      [](const auto& left, const auto& right) {
                          return std::pair(right.second, left.first) < std::pair(left.second, right.first);
                      });
    rows.resize(size);
    for (const auto& [value, count] : rows) {
        write(fmt::format("{}\t{}\n", count, value));
    }
    if (without_ > 0) {
        say(fmt::format("paths without the key {}: {}", shown(key_), without_));
    }
}
