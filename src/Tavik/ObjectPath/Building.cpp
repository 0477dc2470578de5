// Building paths, segment by segment or by joining.

#include <Tavik/ObjectPath/Building.h>

#include <array>

#include <Tavik/Core/ThreadControl.h>
#include <Tavik/ObjectPath/Levels.h>

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
    const Impl::Levels levels = Impl::levelsOf(other);
    boost::container::small_vector<std::pair<const String&, const String&>, 4> attributes;
    for (auto level = levels.rbegin(); level != levels.rend(); ++level) {
        const Impl::Value* value = level->values;
        for (const String& key : level->segment->attributeKeys) {
            attributes.emplace_back(key, value->value);
            value = value->previous.get();
        }
        path = Impl::appendSegment(path.segment, std::move(path.values), level->segment->name.view(), attributes);
        attributes.clear();
    }
    return path;
}

}  // namespace Tavik
