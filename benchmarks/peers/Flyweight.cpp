#include "Flyweight.h"

#include <algorithm>
#include <tuple>

#include <absl/hash/hash.h>

#include "TextSyntax.h"

namespace Benchmarks {
namespace {

using Node = FlyweightNode;

/// Nodes seen from the root.
template <typename Nodes>
struct RootFirst {
    Nodes leafFirst;

    [[nodiscard]] std::size_t size() const noexcept { return leafFirst.size(); }
    [[nodiscard]] const Node& operator[](std::size_t index) const noexcept {
        return *leafFirst[leafFirst.size() - 1 - index];
    }
};

}  // namespace

std::size_t FlyweightHash::operator()(const Node& node) const noexcept {
    return absl::HashOf(node.name, node.attributes, node.parent.node());
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
        path.leaf_.set(Node{std::move(name), std::move(attributes), path.leaf_});
    }
    return path;
}

FlyweightPath FlyweightPath::append(std::string_view name, Attributes attributes) const {
    FlyweightPath longer;
    longer.leaf_.set(Node{std::string(name), std::move(attributes), leaf_});
    return longer;
}

FlyweightPath FlyweightPath::parent() const noexcept {
    FlyweightPath shorter;
    shorter.leaf_ = leaf()->parent;
    return shorter;
}

bool FlyweightPath::startsWith(const FlyweightPath& prefix) const noexcept {
    const Node* const wanted = prefix.leaf();
    const Node* node = leaf();
    while (node != wanted && node != nullptr) {
        node = node->parent.node();
    }
    return node == wanted;
}

bool FlyweightPath::matchesPattern(const FlyweightPath& pattern) const {
    return matches(RootFirst<Nodes>{nodes()}, RootFirst<Nodes>{pattern.nodes()});
}

std::string FlyweightPath::toString() const {
    if (leaf() == nullptr) {
        return "/";
    }
    const Nodes leafFirst = nodes();
    std::string out;
    out.reserve(leafFirst.size() * expectedSegmentSize);
    for (auto node = leafFirst.rbegin(); node != leafFirst.rend(); ++node) {
        appendSegment(out, **node);
    }
    return out;
}

bool operator<(const FlyweightPath& left, const FlyweightPath& right) {
    const FlyweightPath::Nodes leftNodes = left.nodes();
    const FlyweightPath::Nodes rightNodes = right.nodes();
    return std::lexicographical_compare(
        leftNodes.rbegin(), leftNodes.rend(), rightNodes.rbegin(), rightNodes.rend(), [](const Node* a, const Node* b) {
            return a != b && std::tie(a->name, a->attributes) < std::tie(b->name, b->attributes);
        });
}

FlyweightPath::Nodes FlyweightPath::nodes() const {
    Nodes leafFirst;
    for (const Node* node = leaf(); node != nullptr; node = node->parent.node()) {
        leafFirst.push_back(node);
    }
    return leafFirst;
}

}  // namespace Benchmarks
