#include "Summary.h"

#include <algorithm>
#include <iterator>
#include <string>

#include <fmt/format.h>

#include "Messages.h"
#include "StandardOutput.h"

const Tavik::String* Summary::rowOf(const Tavik::ObjectPath& path) {
    if (fields_.size() == 1) {
        return fields_.front().in(path);
    }
    bool hasValue = false;
    row_ = Tavik::String();
    for (const Field& field : fields_) {
        row_.append(&field == &fields_.front() ? "" : "\t");
        if (const Tavik::String* value = field.in(path)) {
            row_.append(*value);
            hasValue = true;
        }
    }
    return hasValue ? &row_ : nullptr;
}

void Summary::add(const Tavik::ObjectPath& path) {
    if (const Tavik::String* row = rowOf(path)) {
        ++counts_[*row];
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
        write(fmt::format("{}\t{}\n", row->second, row->first.view()));
    }
    if (without_ > 0) {
        std::string names;
        for (const Field& field : fields_) {
            names += fmt::format("{}{}", names.empty() ? "" : " or ", shown(field.text()));
        }
        say(fmt::format("paths without {}: {}", names, without_));
    }
}
