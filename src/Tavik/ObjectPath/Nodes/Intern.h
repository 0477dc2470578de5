/// @file
/// Internal: the one door to interning, which finds or creates the node with a given content.

#pragma once

#include <cstddef>
#include <memory>

#include <Tavik/ObjectPath/Nodes/Content.h>
#include <Tavik/ObjectPath/Nodes/NodeCache.h>
#include <Tavik/ObjectPath/ObjectPath.h>

namespace Tavik::Impl {

/// What `intern` does for a node that this thread has not found recently: searches what all threads share, and creates
/// the node when no other is alive.
/// @{
[[nodiscard]] std::shared_ptr<const Segment> internShared(const SegmentContent& content, std::size_t hash);
[[nodiscard]] std::shared_ptr<const Value> internShared(const ValueContent& content, std::size_t hash);
/// @}

/// The living node with the given content, created when there is none. The caller must not hold a table's mutex.
/// Throws `std::bad_alloc` and `std::system_error`, leaving a link to be moved in an unspecified state.
///
/// Searches first the nodes that this thread found recently, then those that all threads found while they met at a
/// table's lock, then the table. The first of these is inline: it finds most nodes, in fewer instructions than a call
/// of its own would leave.
template <typename Content>
[[nodiscard, gnu::always_inline]] inline std::shared_ptr<const typename Content::Node> intern(const Content& content) {
    const std::size_t hash = absl::Hash<Content>{}(content);
    if (auto recent = NodeCache::find(content, hash)) {
        return recent;
    }
    return internShared(content, hash);
}

}  // namespace Tavik::Impl
