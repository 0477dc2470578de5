// Building paths: the only place where nodes are interned.

#include <Tavik/Core/ThreadControl.h>
#include <Tavik/ObjectPath/ObjectPath.h>

namespace Tavik {
namespace {

/// Tells the core library, before the first node exists, that owners are shared between threads.
void ensureThreadSafePointers() {
    static const bool told = (ThreadControl::threadSafePointerIs(true), true);
    static_cast<void>(told);
}

}  // namespace

ObjectPath ObjectPath::append(std::string_view name, const absl::btree_map<String, String>& attributes) const {
    using Common = Impl::StringCommon<char>;

    ensureThreadSafePointers();
    // From the last key to the first: every node is interned before the one that links to it.
    std::vector<String> keys(attributes.size());
    std::shared_ptr<const Impl::Value> head = values;
    auto key = keys.rbegin();
    for (auto attribute = attributes.rbegin(); attribute != attributes.rend(); ++attribute, ++key) {
        *key = Common::dedup(attribute->first);
        head = Impl::Dedup<Impl::Value>::intern({Common::dedup(attribute->second), std::move(head)});
    }
    auto leaf = Impl::Dedup<Impl::Segment>::intern({Common::dedup(name), std::move(keys), segment});
    return {std::move(leaf), std::move(head)};
}

ObjectPath ObjectPath::append(std::string_view name) const {
    return append(name, {});
}

ObjectPath ObjectPath::append(const ObjectPath& other) const {
    ObjectPath path = *this;
    for (const ObjectPathSegment& level : other.explode()) {
        path = path.append(level.segment->name.view(), level.attributes());
    }
    return path;
}

}  // namespace Tavik
