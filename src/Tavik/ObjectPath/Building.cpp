// Building paths, segment by segment or by joining.

#include <Tavik/ObjectPath/Building.h>

#include <atomic>

#include <Tavik/Core/ThreadControl.h>
#include <Tavik/ObjectPath/Levels.h>

namespace Tavik {
namespace Impl {
namespace {

/// Tells the core library, once and before the first node exists, that several threads may own a node. Not by the
/// initialiser of a local static variable: a fork while another thread runs it would leave the child waiting for ever.
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

ObjectPath append(LinkRef<Segment> parent, LinkRef<Value> values, const TextRef& name, const Attributes& attributes) {
    ensureThreadSafePointers();
    std::shared_ptr<const Value> head;
    for (auto attribute = attributes.rbegin(); attribute != attributes.rend(); ++attribute) {
        head = intern(ValueContent{attribute->second, values});
        values = LinkRef<Value>::moving(head);
    }
    return {intern(SegmentContent{name, attributes, parent}), values.take()};
}

}  // namespace

ObjectPath appendSegment(const ObjectPath& path, const TextRef& name, const Attributes& attributes) {
    return append(LinkRef<Segment>::copying(path.segment), LinkRef<Value>::copying(path.values), name, attributes);
}

ObjectPath appendSegment(ObjectPath&& path, const TextRef& name, const Attributes& attributes) {
    return append(LinkRef<Segment>::moving(path.segment), LinkRef<Value>::moving(path.values), name, attributes);
}

}  // namespace Impl

ObjectPath ObjectPath::append(std::string_view name, const absl::btree_map<String, String>& attributes) const {
    return Impl::appendSegment(*this, name, Impl::Attributes(attributes.begin(), attributes.end()));
}

ObjectPath ObjectPath::append(std::string_view name) const {
    return Impl::appendSegment(*this, name, {});
}

ObjectPath ObjectPath::append(const ObjectPath& other) const {
    ObjectPath path = *this;
    Impl::Attributes attributes;
    for (const Impl::Level& level : Impl::levelsOf(other)) {
        attributes.clear();
        const Impl::Value* value = level.values;
        for (const String& key : level.segment->attributeKeys) {
            attributes.emplace_back(key, value->value);
            value = value->previous.get();
        }
        path = Impl::appendSegment(std::move(path), level.segment->name, attributes);
    }
    return path;
}

}  // namespace Tavik
