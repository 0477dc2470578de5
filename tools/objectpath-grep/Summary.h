/// @file
/// How many paths have which values of some fields.

#pragma once

#include <cstddef>
#include <unordered_map>
#include <vector>

#include <Tavik/ObjectPath/ObjectPath.h>

#include "Field.h"

class Summary {
public:
    /// Counts the values of these fields, which must live as long as the summary.
    explicit Summary(const std::vector<Field>& fields) : fields_(fields) {}

    /// Counts the values of a path. One that it does not have counts as empty.
    void add(const Tavik::ObjectPath& path);

    /// Prints the `size` most frequent rows of values with their numbers, and to standard error how many paths have
    /// none of the values.
    void print(std::size_t size) const;

private:
    /// The values of a path, with tabs between them; null if it has none. Valid as long as the path and until the
    /// next call.
    [[nodiscard]] const Tavik::String* rowOf(const Tavik::ObjectPath& path);

    const std::vector<Field>& fields_;
    std::unordered_map<Tavik::String, std::size_t> counts_;
    Tavik::String row_;  // of several values
    std::size_t without_ = 0;
};
