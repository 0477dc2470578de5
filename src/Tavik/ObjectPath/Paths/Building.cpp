// Building paths, segment by segment or by joining.

#include <Tavik/ObjectPath/Paths/Building.h>

#include <algorithm>
#include <atomic>

#include <Tavik/Core/ThreadControl.h>
#include <Tavik/ObjectPath/Nodes/NodeTable.h>
#include <Tavik/ObjectPath/Paths/Levels.h>

namespace Tavik {
namespace Impl {
namespace {

/// Tells the core library, before the first segment is appended, that several threads may own a node. It is told only
/// once, since the core library of a system may start something on the call. Not told by the initialiser of a local
/// static variable: a fork while another thread runs it would leave the child deadlocked.
void ensureThreadSafePointers() {
    static constinit std::atomic<bool> announced = false;
    if (!announced.load(std::memory_order_acquire)) {
        const std::lock_guard lock(Dedup<Segment>::mutex_);
        if (!announced.load(std::memory_order_relaxed)) {
            ThreadControl::threadSafePointerIs(true);
            announced.store(true, std::memory_order_release);
        }
    }
}

/// `path` with one more segment. Nodes that are created copy what `path` owns, or take it over from `movable`, which is
/// `path` or null.
ObjectPath append(const ObjectPath& path, ObjectPath* movable, const TextRef& name, Attributes attributes) {
    ensureThreadSafePointers();
    const bool moves = movable != nullptr;
    const auto parent = moves ? LinkRef<Segment>::moving(movable->segment) : LinkRef<Segment>::copying(path.segment);
    auto link = moves ? LinkRef<Value>::moving(movable->values) : LinkRef<Value>::copying(path.values);
    std::shared_ptr<const Value> head;
    for (auto attribute = attributes.rbegin(); attribute != attributes.rend(); ++attribute) {
        // After the first round, the link refers to `head`, which is assigned to only after the node has been interned.
        head = NodeTable<Value>::intern({attribute->second, link});
        link = LinkRef<Value>::moving(head);
    }
    return {NodeTable<Segment>::intern({name, attributes, parent}), link.takeOwner()};
}

}  // namespace

ObjectPath appendSegment(const ObjectPath& path, const TextRef& name, Attributes attributes) {
    return append(path, nullptr, name, attributes);
}

ObjectPath appendSegment(ObjectPath&& path, const TextRef& name, Attributes attributes) {
    return append(path, &path, name, attributes);
}

namespace {

/// `path` with copies of levels of another path.
ObjectPath appendLevels(ObjectPath path, std::span<const Level> levels) {
    AttributeVector attributes;
    for (const Level& level : levels) {
        attributes.clear();
        for (const auto& [key, value] : attributesOf(level)) {
            attributes.emplace_back(key, value);
        }
        path = appendSegment(std::move(path), level.segment->name, {attributes.data(), attributes.size()});
    }
    return path;
}

/// The attributes at a cursor, except the one with the given key.
AttributeVector attributesWithout(std::string_view key, const ObjectPath::View& view) {
    AttributeVector attributes;
    for (const auto& attribute : view.attributeRange()) {
        if (attribute.first != key) {
            attributes.emplace_back(attribute.first, attribute.second);
        }
    }
    return attributes;
}

}  // namespace
}  // namespace Impl

ObjectPath ObjectPath::append(std::string_view name, const absl::btree_map<String, String>& attributes) const {
    const Impl::AttributeVector list(attributes.begin(), attributes.end());
    return Impl::appendSegment(*this, name, {list.data(), list.size()});
}

ObjectPath ObjectPath::append(std::string_view name) const {
    return Impl::appendSegment(*this, name, {});
}

ObjectPath ObjectPath::append(const ObjectPathSegment& other) const {
    const Impl::Level level{&other.node("append"), other.values.get()};
    return Impl::appendLevels(*this, {&level, 1});
}

ObjectPath ObjectPath::append(const ObjectPath& other) const {
    const Impl::Levels levels = Impl::levelsOf(other);
    return Impl::appendLevels(*this, {levels.data(), levels.size()});
}

ObjectPath ObjectPath::appendNames(std::string_view text, char separator) const {
    ObjectPath path = *this;
    while (!text.empty()) {
        const std::size_t size = std::min(text.find(separator), text.size());
        if (size > 0) {
            path = Impl::appendSegment(std::move(path), text.substr(0, size), {});
        }
        text.remove_prefix(std::min(size + 1, text.size()));
    }
    return path;
}

ObjectPath ObjectPath::withAttribute(std::string_view key, std::string_view value) const {
    const View leaf = toView();
    const String& name = leaf.node("withAttribute").name;
    Impl::AttributeVector attributes = Impl::attributesWithout(key, leaf);
    const auto isBefore = [](const Impl::Attribute& left, std::string_view right) { return left.first.view() < right; };
    const auto place = std::lower_bound(attributes.begin(), attributes.end(), key, isBefore);
    attributes.emplace(place, key, value);
    return Impl::appendSegment(leaf.parent().path(), name, {attributes.data(), attributes.size()});
}

ObjectPath ObjectPath::withoutAttribute(std::string_view key) const {
    const View leaf = toView();
    const String& name = leaf.node("withoutAttribute").name;
    const Impl::AttributeVector attributes = Impl::attributesWithout(key, leaf);
    return Impl::appendSegment(leaf.parent().path(), name, {attributes.data(), attributes.size()});
}

std::optional<ObjectPath> ObjectPath::replacePrefix(const ObjectPath& base, const ObjectPath& replacement) const {
    if (!startsWith(base)) {
        return std::nullopt;
    }
    const Impl::Levels levels = Impl::levelsOf(*this);
    return Impl::appendLevels(replacement,
                              std::span<const Impl::Level>(levels.data(), levels.size()).subspan(base.depth()));
}

}  // namespace Tavik
