// Building paths, segment by segment or by joining.

#include <Tavik/ObjectPath/Building.h>

#include <Tavik/Core/ThreadControl.h>
#include <Tavik/ObjectPath/Levels.h>

namespace Tavik {

void Impl::ensureThreadSafePointers() {
    static const bool told = (ThreadControl::threadSafePointerIs(true), true);
    static_cast<void>(told);
}

ObjectPath ObjectPath::append(std::string_view name, const absl::btree_map<String, String>& attributes) const {
    Impl::ensureThreadSafePointers();
    std::vector<String> keys(attributes.size());
    std::shared_ptr<const Impl::Value> chain = values;
    auto key = keys.rbegin();
    for (auto attribute = attributes.rbegin(); attribute != attributes.rend(); ++attribute, ++key) {
        *key = Impl::StringCommon<char>::dedup(attribute->first);
        chain = Impl::prependValue(attribute->second, std::move(chain));
    }
    return Impl::closeSegment(segment, std::move(chain), name, keys);
}

ObjectPath ObjectPath::append(std::string_view name) const {
    Impl::ensureThreadSafePointers();
    std::vector<String> noKeys;
    return Impl::closeSegment(segment, values, name, noKeys);
}

ObjectPath ObjectPath::append(const ObjectPath& other) const {
    Impl::ensureThreadSafePointers();
    ObjectPath path = *this;
    const Impl::Levels levels = Impl::levelsOf(other);
    boost::container::small_vector<const Impl::Value*, 8> levelValues;
    for (auto level = levels.rbegin(); level != levels.rend(); ++level) {
        std::vector<String> keys = level->segment->attributeKeys;
        const Impl::Value* value = level->values;
        for (std::size_t count = keys.size(); count > 0; --count) {
            levelValues.push_back(value);
            value = value->previous.get();
        }
        for (; !levelValues.empty(); levelValues.pop_back()) {
            path.values = Impl::prependValue(levelValues.back()->value, std::move(path.values));
        }
        path = Impl::closeSegment(path.segment, std::move(path.values), level->segment->name.view(), keys);
    }
    return path;
}

}  // namespace Tavik
