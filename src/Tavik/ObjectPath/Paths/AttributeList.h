/// @file
/// Internal: the attributes of a segment, collected in any order.

#pragma once

#include <absl/container/btree_map.h>

#include <Tavik/ObjectPath/Nodes/Content.h>

namespace Tavik::Impl {

/// The attributes of one segment, in ascending order of distinct keys. Attributes that arrive in this order, as in
/// every canonical text, cost one comparison each. Once one is out of order, all go into a map.
class AttributeList {
public:
    /// Adds an attribute unless there is one with its key already. Returns whether it was added.
    bool add(const TextRef& key, const TextRef& value) {
        if (map_.empty() && (list_.empty() || list_.back().first < key)) {
            list_.emplace_back(key, value);
            return true;
        }
        map_.insert(list_.begin(), list_.end());
        list_.clear();
        return map_.emplace(key, value).second;
    }

    [[nodiscard]] Attributes list() {
        if (!map_.empty()) {
            list_.assign(map_.begin(), map_.end());
        }
        return {list_.data(), list_.size()};
    }

    void clear() noexcept {
        list_.clear();
        map_.clear();
    }

private:
    AttributeVector list_;
    absl::btree_map<TextRef, TextRef> map_;
};

}  // namespace Tavik::Impl
