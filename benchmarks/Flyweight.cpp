#include "Flyweight.h"

#include <absl/hash/hash.h>

#include "TextSyntax.h"

namespace Benchmarks {
namespace {

using Node = FlyweightPath::Node;

const Node* parentOf(const Node& node) noexcept {
    return node.parent ? &node.parent->get() : nullptr;
}

/// Nodes seen from the root.
struct RootFirst {
    FlyweightPath::Nodes leafFirst;

    [[nodiscard]] std::size_t size() const noexcept { return leafFirst.size(); }
    [[nodiscard]] const Node& operator[](std::size_t index) const noexcept {
        return *leafFirst[leafFirst.size() - 1 - index];
    }
};

}  // namespace

std::size_t FlyweightPath::NodeHash::operator()(const Node& node) const noexcept {
    return absl::HashOf(node.name, node.attributes, parentOf(node));
}

bool operator==(const Node& left, const Node& right) noexcept {
    return left.name == right.name && parentOf(left) == parentOf(right) && left.attributes == right.attributes;
}

void FlyweightPath::push(std::string name, Attributes attributes) {
    leaf_.emplace(Node{std::move(name), std::move(attributes), std::move(leaf_)});
}

std::variant<FlyweightPath, std::string> FlyweightPath::parse(std::string_view text) {
    FlyweightPath path;
    if (text == "/") {
        return path;
    }
    SegmentReader reader(text);
    while (!reader.atEnd()) {
        std::string name;
        Attributes attributes;
        if (!reader.next(name, attributes)) {
            return reader.takeError();
        }
        path.push(std::move(name), std::move(attributes));
    }
    return path;
}

FlyweightPath FlyweightPath::append(std::string_view name, Attributes attributes) const {
    FlyweightPath longer;
    longer.leaf_.emplace(Node{std::string(name), std::move(attributes), leaf_});
    return longer;
}

FlyweightPath FlyweightPath::parent() const noexcept {
    FlyweightPath shorter;
    shorter.leaf_ = leaf_->get().parent;
    return shorter;
}

bool FlyweightPath::startsWith(const FlyweightPath& prefix) const noexcept {
    const Node* const wanted = prefix.address();
    const Node* node = address();
    while (node != wanted && node != nullptr) {
        node = parentOf(*node);
    }
    return node == wanted;
}

bool FlyweightPath::matchesPattern(const FlyweightPath& pattern) const {
    return matches(RootFirst{nodes()}, RootFirst{pattern.nodes()});
}

std::string FlyweightPath::toString() const {
    if (!leaf_) {
        return "/";
    }
    const Nodes leafFirst = nodes();
    std::size_t size = 0;
    for (const Node* node : leafFirst) {
        size += plainSize(*node);
    }
    std::string out;
    out.reserve(size + size / 8);
    for (auto node = leafFirst.rbegin(); node != leafFirst.rend(); ++node) {
        appendSegment(out, **node);
    }
    return out;
}

FlyweightPath::Nodes FlyweightPath::nodes() const {
    Nodes leafFirst;
    for (const Node* node = address(); node != nullptr; node = parentOf(*node)) {
        leafFirst.push_back(node);
    }
    return leafFirst;
}

}  // namespace Benchmarks
