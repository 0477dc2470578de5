// Building paths, segment by segment or by joining.

#include <Tavik/ObjectPath/Building.h>

#include <array>

#include <Tavik/Core/ThreadControl.h>

namespace Tavik {
namespace {

constexpr std::array<std::pair<String, String>, 0> noAttributes;

}  // namespace

void Impl::ensureThreadSafePointers() {
    static const bool told = (ThreadControl::threadSafePointerIs(true), true);
    static_cast<void>(told);
}

ObjectPath ObjectPath::append(std::string_view name, const absl::btree_map<String, String>& attributes) const {
    return Impl::appendSegment(segment, values, name, attributes);
}

ObjectPath ObjectPath::append(std::string_view name) const {
    return Impl::appendSegment(segment, values, name, noAttributes);
}

ObjectPath ObjectPath::append(const ObjectPath& other) const {
    ObjectPath path = *this;
    for (const ObjectPathSegment& level : other.explode()) {
        path = path.append(level.segment->name.view(), level.attributes());
    }
    return path;
}

}  // namespace Tavik
