#include "HandWritten.h"

#include <algorithm>

#include "TextSyntax.h"

namespace Benchmarks {

template <typename AttributeMap>
std::variant<HandWrittenPath<AttributeMap>, std::string> HandWrittenPath<AttributeMap>::parse(std::string_view text) {
    HandWrittenPath path;
    if (text == "/") {
        return path;
    }
    SegmentReader reader(text);
    path.segments_.reserve(reader.maximalCount());
    while (!reader.atEnd()) {
        Segment& segment = path.segments_.emplace_back();
        if (!reader.next(segment.name, segment.attributes)) {
            return reader.takeError();
        }
    }
    return path;
}

template <typename AttributeMap>
HandWrittenPath<AttributeMap> HandWrittenPath<AttributeMap>::append(std::string_view name,
                                                                    Attributes attributes) const {
    HandWrittenPath longer;
    longer.segments_.reserve(segments_.size() + 1);
    longer.segments_.insert(longer.segments_.end(), segments_.begin(), segments_.end());
    longer.segments_.push_back({std::string(name), std::move(attributes)});
    return longer;
}

template <typename AttributeMap>
HandWrittenPath<AttributeMap> HandWrittenPath<AttributeMap>::parent() const {
    HandWrittenPath shorter;
    shorter.segments_.assign(segments_.begin(), segments_.end() - 1);
    return shorter;
}

template <typename AttributeMap>
bool HandWrittenPath<AttributeMap>::startsWith(const HandWrittenPath& prefix) const noexcept {
    return prefix.segments_.size() <= segments_.size() &&
           std::equal(prefix.segments_.begin(), prefix.segments_.end(), segments_.begin());
}

template <typename AttributeMap>
bool HandWrittenPath<AttributeMap>::matchesPattern(const HandWrittenPath& pattern) const noexcept {
    return matches(segments_, pattern.segments_);
}

template <typename AttributeMap>
std::string HandWrittenPath<AttributeMap>::toString() const {
    if (segments_.empty()) {
        return "/";
    }
    std::string out;
    out.reserve(segments_.size() * expectedSegmentSize);
    for (const Segment& segment : segments_) {
        appendSegment(out, segment);
    }
    return out;
}

template class HandWrittenPath<TreeMap>;
template class HandWrittenPath<FlatMap>;

}  // namespace Benchmarks
