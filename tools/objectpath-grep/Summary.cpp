#include "Summary.h"

#include <algorithm>
#include <iterator>
#include <string>

#include <fmt/format.h>

#include "Messages.h"
#include "StandardOutput.h"

void Summary::add(const Tavik::ObjectPath& path) {
    bool hasValue = false;
    for (std::size_t index = 0; index < fields_.size(); ++index) {
        const Tavik::String* const value = fields_[index].in(path);
        row_[index] = value != nullptr ? *value : Tavik::String();
        hasValue |= value != nullptr;
    }
    if (hasValue) {
        ++counts_[row_];
    } else {
        ++without_;
    }
}

void Summary::print(std::size_t size) const {
    std::vector<const decltype(counts_)::value_type*> rows;
    for (const auto& row : counts_) {
        rows.push_back(&row);
    }
    size = std::min(size, rows.size());
    std::partial_sort(rows.begin(), std::next(rows.begin(), static_cast<std::ptrdiff_t>(size)), rows.end(),
                      [](const auto* left, const auto* right) {
                          return left->second != right->second ? left->second > right->second
                                                               : left->first < right->first;
                      });
    rows.resize(size);
    for (const auto* row : rows) {
        write(fmt::format("{}\t{}\n", row->second, fmt::join(row->first, "\t")));
    }
    if (without_ > 0) {
        std::string names;
        for (const Field& field : fields_) {
            names += fmt::format("{}{}", names.empty() ? "" : " or ", shown(field.text()));
        }
        say(fmt::format("paths without {}: {}", names, without_));
    }
}
