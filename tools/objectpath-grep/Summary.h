/// @file
/// How many paths have which value of an attribute.

#pragma once

#include <cstddef>
#include <string>
#include <unordered_map>

#include <Tavik/ObjectPath/ObjectPath.h>

class Summary {
public:
    /// Counts the values of the attribute `key`.
    explicit Summary(const char* key) : key_(key) {}

    /// Counts the value that the attribute has in the last segment of `path` that has it.
    void add(const Tavik::ObjectPath& path);

    /// Prints the `size` most frequent values with their numbers, and to standard error how many paths have none.
    void print(std::size_t size) const;

private:
    std::string key_;
    std::unordered_map<Tavik::String, std::size_t> counts_;
    std::size_t without_ = 0;
};
