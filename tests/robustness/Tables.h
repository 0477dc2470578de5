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
using Attributes = absl::btree_map<Tavik::String, Tavik::String>;

/// Expects that every node of `paths` has exactly one entry, and that there is no other entry but the returned number
/// of those whose node is destroyed. Such an entry owns what its content links to.
template <typename Node>
std::size_t countLeftovers(const std::vector<ObjectPath>& paths,
                           std::shared_ptr<const Node> ObjectPath::*head,
                           std::shared_ptr<const Node> Node::*link) {
    std::set<const Node*> owned;
    const auto own = [&](const Node* node) {
        while (node != nullptr && owned.insert(node).second) {
            node = (node->*link).get();
        }
    };
    for (const ObjectPath& path : paths) {
        own((path.*head).get());
    }
    std::size_t leftovers = 0;
    for (const auto& [content, reference] : Dedup<Node>::table_) {
        if (reference.expired()) {
            own((content.*link).get());
            ++leftovers;
        }
    }
    for (const auto& [content, reference] : Dedup<Node>::table_) {
        const auto node = reference.lock();
        EXPECT_TRUE(!node || (*node == content && owned.erase(node.get()) == 1)) << "an entry names the wrong node";
    }
    EXPECT_TRUE(owned.empty()) << "a living node has no entry";
    return leftovers;
}

/// As above, for both tables.
inline std::size_t countLeftovers(const std::vector<ObjectPath>& paths) {
    return countLeftovers(paths, &ObjectPath::segment, &Segment::parent) +
           countLeftovers(paths, &ObjectPath::values, &Value::previous);
}

/// Reinitialises the mutexes of both tables, which must be unlocked.
inline void setMutexKind(int kind) {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, kind);
    for (std::mutex* mutex : {&Dedup<Segment>::mutex_, &Dedup<Value>::mutex_}) {
        pthread_mutex_destroy(mutex->native_handle());
        pthread_mutex_init(mutex->native_handle(), &attributes);
    }
}

/// Lets this thread find the lock of a table taken, so that it uses the node cache that all threads share for a while.
/// Reinitialises the mutexes of both tables, which must be unlocked.
inline void meetOthers() {
    setMutexKind(PTHREAD_MUTEX_ERRORCHECK);
    const std::lock_guard lock(Tavik::Impl::Dedup<Tavik::Impl::Segment>::mutex_);
    EXPECT_THROW(static_cast<void>(Tavik::ObjectPath().append("no node")), std::system_error);
}

}  // namespace Robustness
