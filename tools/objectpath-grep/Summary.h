/// @file
/// How many paths have which values of some fields.

#pragma once

#include <cstddef>
#include <vector>

#include <absl/container/flat_hash_map.h>

#include <Tavik/ObjectPath/ObjectPath.h>

#include "Field.h"

class Summary {
public:
    /// Counts the values of these fields, which must live as long as the summary.
    explicit Summary(const std::vector<Field>& fields) : fields_(fields), row_(fields.size()) {}

    /// Counts the values of a path. One that it does not have counts as empty.
    void add(const Tavik::ObjectPath& path);

    /// Prints the `size` most frequent rows of values with their numbers, and to standard error how many paths have
    /// none of the values.
    void print(std::size_t size) const;

private:
    using Row = std::vector<Tavik::String>;

    const std::vector<Field>& fields_;
    absl::flat_hash_map<Row, std::size_t> counts_;
    Row row_;  // of the path that was added last
    std::size_t without_ = 0;
};
