// Finding and creating nodes in the interning tables.
//
// A table has one entry for each content of a node: a copy of the content, which owns what the node links to, and a
// weak reference to the node. Every living node has its entry; an entry without a living node has expired, and is
// either refilled here or erased by the deleter of the node (see Release.cpp).
//
// The lock protects a table and the weak references in it. No shared pointer that is destroyed under the lock is the
// last owner of its node: what an erased entry owns is also owned by the node whose deleter erases it, and what the key
// of a look-up owns outlives the lock. So no deleter runs under the lock.

#include <Tavik/ObjectPath/Nodes/Intern.h>

#include <Tavik/ObjectPath/Nodes/Contention.h>
#include <Tavik/ObjectPath/Nodes/NodeBlock.h>
#include <Tavik/ObjectPath/Nodes/SharedCache.h>
#include <Tavik/ObjectPath/Nodes/Tables.h>

namespace Tavik::Impl {
namespace {

/// A new entry whose weak reference is empty. The caller must hold `mutex_`.
/// Throws `std::bad_alloc`, with the table unchanged.
template <typename T>
typename Dedup<T>::Table::iterator insertEntry(const T& content) {
    T copy = content;
    if (Dedup<T>::table_.bucket_count() >= hugeTable) [[unlikely]] {
        growInsteadOfRehashing<T>();
    }
    if (makeRoomForOne(Dedup<T>::table_)) [[unlikely]] {
        tableUse<T>.erased = 0;
    }
    return Dedup<T>::table_.try_emplace(std::move(copy)).first;
}

/// What the table gave for a key.
template <typename T>
struct Interned {
    std::shared_ptr<const T> node;
    std::size_t foundAmong;  // the number of nodes; 0 if the node was created
};

/// Finds the living node equal to `key`, or creates it of the content of `key`. If `key` only borrows its link,
/// `ownLink()` makes it an owner before a node is made of it. `key` must outlive the lock.
template <typename T, typename OwnLink>
Interned<T> internKey(T& key, std::size_t hash, OwnLink ownLink) {
    const TableLock<T> lock;
    auto entry = findEntry(Dedup<T>::table_, key, hash);
    const bool isNew = entry == Dedup<T>::table_.end();
    if (!isNew) {
        if (std::shared_ptr<const T> living = entry->second.lock()) {
            return {std::move(living), Dedup<T>::table_.size()};
        }
    }
    // Before the entry, so that without memory for the node there is no entry either.
    auto block = std::make_unique_for_overwrite<NodeBlock<T>>();
    ownLink();
    if (isNew) {
        entry = insertEntry(key);
    }
    std::shared_ptr<const T> created = createNode(std::move(block), key);
    entry->second = created;
    return {std::move(created), 0};
}

/// Points at the linked node without owning it, so that looking a node up does not change a reference count.
template <typename T>
std::shared_ptr<const T> borrow(const LinkRef<T>& link) noexcept {
    return std::shared_ptr<const T>(std::shared_ptr<const T>(), link.get());
}

Segment keyOf(const SegmentContent& content) {
    Segment key{content.name.dedup(), {}, borrow(content.link)};
    key.attributeKeys.reserve(content.attributes.size());
    for (const auto& [attributeKey, value] : content.attributes) {
        key.attributeKeys.push_back(attributeKey.dedup());
    }
    return key;
}

Value keyOf(const ValueContent& content) {
    return {content.value.dedup(), borrow(content.link)};
}

template <typename Content, typename Node = typename Content::Node>
std::shared_ptr<const Node> internContent(const Content& content, std::size_t hash) {
    if (Contention::takesShared()) {
        if (std::shared_ptr<const Node> node = sharedCache<Node>.find(content, hash)) {
            Contention::noteFound();
            NodeCache::enter(node, hash);
            return node;
        }
    }
    Node key = keyOf(content);
    Interned result = internKey(key, hash, [&] { linkOf(key) = content.link.ownerForNewNode(); });
    if (result.foundAmong != 0) {
        NodeCache::enter(result.node, hash);
        if (Contention::isOnTrial()) {
            Contention::noteFound();
            sharedCache<Node>.enter(result.node, hash, result.foundAmong);
        }
    }
    return std::move(result.node);
}

}  // namespace

std::shared_ptr<const Segment> internShared(const SegmentContent& content, std::size_t hash) {
    return internContent(content, hash);
}

std::shared_ptr<const Value> internShared(const ValueContent& content, std::size_t hash) {
    return internContent(content, hash);
}

template <typename T>
std::shared_ptr<const T> Dedup<T>::intern(T key) {
    return internKey(key, absl::Hash<T>{}(key), [] {}).node;
}

template std::shared_ptr<const Segment> Dedup<Segment>::intern(Segment key);
template std::shared_ptr<const Value> Dedup<Value>::intern(Value key);

}  // namespace Tavik::Impl
