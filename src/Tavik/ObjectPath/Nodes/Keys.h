/// @file
/// Internal: keys, by which the entries of a table are found.

#pragma once

#include <memory>
#include <vector>

#include <Tavik/ObjectPath/Nodes/Content.h>
#include <Tavik/ObjectPath/Nodes/PerThread.h>

namespace Tavik::Impl {

/// Points at the linked node without owning it, so that looking a node up does not change a reference count.
template <typename T>
std::shared_ptr<const T> borrow(const LinkRef<T>& link) noexcept {
    return std::shared_ptr<const T>(std::shared_ptr<const T>(), link.get());
}

/// What a new node takes over, but for its link, which is borrowed. Its strings are in the pool. Throws
/// `std::bad_alloc`.
/// @{
inline Segment keyOf(const SegmentContent& content) {
    Segment key{content.name.dedup(), {}, borrow(content.link)};
    key.attributeKeys.reserve(content.attributes.size());
    for (const auto& [attributeKey, value] : content.attributes) {
        key.attributeKeys.push_back(attributeKey.dedup());
    }
    return key;
}

inline Value keyOf(const ValueContent& content) {
    return {content.value.dedup(), borrow(content.link)};
}
/// @}

/// A key to find a node by, which does not enter its strings in the pool.
template <typename T>
class LookUpKey;

template <>
class LookUpKey<Value> {
public:
    explicit LookUpKey(const ValueContent& content) noexcept : key_{content.value.str(), borrow(content.link)} {}
    [[nodiscard]] const Value& get() const noexcept { return key_; }

private:
    Value key_;
};

/// The thread keeps the vector for further look-ups, so that they do not allocate.
template <>
class LookUpKey<Segment> {
public:
    explicit LookUpKey(const SegmentContent& content) : key_{content.name.str(), {}, borrow(content.link)} {
        if (content.attributes.empty()) {
            return;
        }
        keep_ = PerThread<std::vector<String>>::getOrCreate();
        if (keep_ != nullptr) {
            key_.attributeKeys.swap(*keep_);
        }
        key_.attributeKeys.reserve(content.attributes.size());
        for (const auto& [attributeKey, value] : content.attributes) {
            key_.attributeKeys.push_back(attributeKey.str());
        }
    }
    LookUpKey(const LookUpKey&) = delete;
    LookUpKey& operator=(const LookUpKey&) = delete;
    ~LookUpKey() {
        if (keep_ != nullptr) {
            key_.attributeKeys.clear();
            key_.attributeKeys.swap(*keep_);
        }
    }
    [[nodiscard]] const Segment& get() const noexcept { return key_; }

private:
    Segment key_;
    std::vector<String>* keep_ = nullptr;
};

}  // namespace Tavik::Impl
