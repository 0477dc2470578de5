// Building paths, segment by segment or by joining.

#include <Tavik/ObjectPath/Paths/Building.h>

#include <pthread.h>

#include <algorithm>
#include <atomic>

#include <Tavik/Core/ThreadControl.h>
#include <Tavik/ObjectPath/Nodes/NodeTable.h>
#include <Tavik/ObjectPath/Paths/AttributeList.h>
#include <Tavik/ObjectPath/Paths/Levels.h>

namespace Tavik {
namespace Impl {
namespace {

/// What the core library has been told about threads.
enum class Notice : int { missing, beingGiven, given };
constinit std::atomic<Notice> notice = Notice::missing;
constinit thread_local bool givesNotice = false;

/// In the child of a fork, a thread that was giving notice is gone, unless it is the one that forked.
[[maybe_unused]] const int forkHandler = pthread_atfork(nullptr, nullptr, [] {
    if (notice.load(std::memory_order_relaxed) == Notice::beingGiven && !givesNotice) {
        notice.store(Notice::missing, std::memory_order_relaxed);
    }
});

/// What is called may be the program's. It may build paths and fork, because no lock is held.
[[gnu::noinline, gnu::cold]] void giveNotice() {
    while (!givesNotice) {
        Notice found = Notice::missing;
        if (notice.compare_exchange_strong(found, Notice::beingGiven, std::memory_order_acquire)) {
            givesNotice = true;
            ThreadControl::threadSafePointerIs(true);
            givesNotice = false;
            notice.store(Notice::given, std::memory_order_release);
            notice.notify_all();
            return;
        }
        if (found == Notice::given) {
            return;
        }
        notice.wait(Notice::beingGiven, std::memory_order_acquire);
    }
}

/// Tells the core library, before the first segment is appended, that several threads may own a node. It is told once,
/// because an installed core library may start something on the call. Other threads wait until it has been told.
void ensureThreadSafePointers() {
    if (notice.load(std::memory_order_acquire) != Notice::given) {
        giveNotice();
    }
}

/// The path of a parent and one more segment. Nodes that are created copy or move what the links refer to. Inline in
/// both callers: passing the links on takes 4 % of the instructions of a parse.
[[gnu::always_inline]] inline ObjectPath append(LinkRef<Segment> parent,
                                                LinkRef<Value> link,
                                                const TextRef& name,
                                                Attributes attributes) {
    ensureThreadSafePointers();
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
    return append(LinkRef<Segment>::copying(path.segment), LinkRef<Value>::copying(path.values), name, attributes);
}

ObjectPath appendSegment(ObjectPath&& path, const TextRef& name, Attributes attributes) {
    return append(LinkRef<Segment>::moving(path.segment), LinkRef<Value>::moving(path.values), name, attributes);
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

ObjectPath ObjectPath::appendPairs(std::string_view name,
                                   const std::pair<String, String>* attributes,
                                   std::size_t count) const {
    const std::span pairs(attributes, count);
    Impl::AttributeVector ascending;
    for (const auto& [key, value] : pairs) {
        if (!ascending.empty() && !(ascending.back().first < key)) {
            break;
        }
        ascending.emplace_back(key, value);
    }
    if (ascending.size() == count) {
        // As most attributes in braces are. Inline, because finding a node again costs little more than a call.
        return Impl::append(Impl::LinkRef<Impl::Segment>::copying(segment), Impl::LinkRef<Impl::Value>::copying(values),
                            name, {ascending.data(), count});
    }
    Impl::AttributeList list;
    for (const auto& [key, value] : pairs) {
        list.add(key, value);
    }
    return Impl::appendSegment(*this, name, list.list());
}

ObjectPath ObjectPath::append(std::string_view name) const {
    return Impl::appendSegment(*this, name, {});
}

ObjectPath ObjectPath::append(const ObjectPathSegment& other) const {
    TAVIK_OBJECT_PATH_REQUIRE(other.segment != nullptr, "unexpected empty segment", {});
    const Impl::Level level{other.segment.get(), other.values.get()};
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
    TAVIK_OBJECT_PATH_REQUIRE(!isRoot(), "unexpected root path", {});
    const View leaf = toView();
    Impl::AttributeVector attributes = Impl::attributesWithout(key, leaf);
    const auto isBefore = [](const Impl::Attribute& left, std::string_view right) { return left.first.view() < right; };
    const auto place = std::lower_bound(attributes.begin(), attributes.end(), key, isBefore);
    attributes.emplace(place, key, value);
    return Impl::appendSegment(leaf.parent().path(), leaf.name(), {attributes.data(), attributes.size()});
}

ObjectPath ObjectPath::withoutAttribute(std::string_view key) const {
    TAVIK_OBJECT_PATH_REQUIRE(!isRoot(), "unexpected root path", {});
    const View leaf = toView();
    const Impl::AttributeVector attributes = Impl::attributesWithout(key, leaf);
    return Impl::appendSegment(leaf.parent().path(), leaf.name(), {attributes.data(), attributes.size()});
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
