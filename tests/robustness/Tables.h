/// @file
/// Looking into the interning tables, and changing the kind of their mutexes.

#pragma once

#include <gtest/gtest.h>
#include <pthread.h>

#include <set>
#include <vector>

#include <Tavik/ObjectPath/ObjectPath.h>

namespace Robustness {

using Tavik::ObjectPath;
using Tavik::Impl::Dedup;
using Tavik::Impl::Segment;
using Tavik::Impl::Value;

inline const Segment* linkOf(const Segment& node) noexcept {
    return node.parent.get();
}

inline const Value* linkOf(const Value& node) noexcept {
    return node.previous.get();
}

/// Expects that every node that somebody owns has exactly one entry, and that there is no entry beyond these but the
/// returned number of entries whose node is gone. Such an entry owns what its content links to.
template <typename Node>
std::size_t countLeftovers(const std::vector<const Node*>& owned) {
    std::set<const Node*> nodes;
    const auto addChain = [&](const Node* node) {
        while (node != nullptr && nodes.insert(node).second) {
            node = linkOf(*node);
        }
    };
    for (const Node* node : owned) {
        addChain(node);
    }
    std::size_t leftovers = 0;
    for (const auto& [content, reference] : Dedup<Node>::table_) {
        if (reference.expired()) {
            ++leftovers;
            addChain(linkOf(content));
        }
    }
    for (const auto& [content, reference] : Dedup<Node>::table_) {
        if (const auto node = reference.lock()) {
            EXPECT_EQ(nodes.erase(node.get()), 1U) << "an entry names a node that nobody owns or another entry names";
            EXPECT_TRUE(*node == content);
        }
    }
    EXPECT_TRUE(nodes.empty()) << "a living node has no entry";
    return leftovers;
}

/// As above, for both tables, when nothing lives but `paths`.
inline std::size_t countLeftovers(const std::vector<ObjectPath>& paths) {
    std::vector<const Segment*> segments;
    std::vector<const Value*> values;
    for (const ObjectPath& path : paths) {
        segments.push_back(path.segment.get());
        values.push_back(path.values.get());
    }
    return countLeftovers(segments) + countLeftovers(values);
}

inline void expectEmptyTables() {
    EXPECT_EQ(Tavik::Impl::inspectSegmentTable().size(), 0U);
    EXPECT_EQ(Tavik::Impl::inspectValueTable().size(), 0U);
}

/// Gives the mutexes of both tables another kind for as long as this lives.
class MutexKind {
public:
    explicit MutexKind(int kind) { set(kind); }
    ~MutexKind() { set(PTHREAD_MUTEX_DEFAULT); }
    MutexKind(const MutexKind&) = delete;
    MutexKind& operator=(const MutexKind&) = delete;

private:
    static void set(int kind) {
        pthread_mutexattr_t attributes;
        pthread_mutexattr_init(&attributes);
        pthread_mutexattr_settype(&attributes, kind);
        for (pthread_mutex_t* mutex : {Dedup<Segment>::mutex_.native_handle(), Dedup<Value>::mutex_.native_handle()}) {
            pthread_mutex_destroy(mutex);
            pthread_mutex_init(mutex, &attributes);
        }
        pthread_mutexattr_destroy(&attributes);
    }
};

}  // namespace Robustness
