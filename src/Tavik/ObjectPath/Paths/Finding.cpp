// Finding paths without creating them.

#include <Tavik/ObjectPath/Paths/Finding.h>

#include <Tavik/ObjectPath/Nodes/NodeTable.h>

namespace Tavik {

/// The segment comes first: it tells most paths that are not there, whatever their values are.
bool Impl::findSegment(ObjectPath& path, const TextRef& name, Attributes attributes) {
    auto segment = NodeTable<Segment>::find({name, attributes, LinkRef<Segment>::copying(path.segment)});
    if (segment == nullptr) {
        return false;
    }
    for (auto attribute = attributes.rbegin(); attribute != attributes.rend(); ++attribute) {
        path.values = NodeTable<Value>::find({attribute->second, LinkRef<Value>::copying(path.values)});
        if (path.values == nullptr) {
            return false;
        }
    }
    path.segment = std::move(segment);
    return true;
}

std::optional<ObjectPath> ObjectPath::findChild(std::string_view name) const {
    ObjectPath path = *this;
    return Impl::findSegment(path, name, {}) ? std::optional(std::move(path)) : std::nullopt;
}

std::optional<ObjectPath> ObjectPath::findChild(std::string_view name,
                                                const absl::btree_map<String, String>& attributes) const {
    const Impl::AttributeVector list(attributes.begin(), attributes.end());
    ObjectPath path = *this;
    return Impl::findSegment(path, name, {list.data(), list.size()}) ? std::optional(std::move(path)) : std::nullopt;
}

}  // namespace Tavik
