/// @file
/// The peer "flyweight": nodes that are shared through Boost.Flyweight.

#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include <boost/container/small_vector.hpp>
#include <boost/flyweight.hpp>

namespace Benchmarks {

class FlyweightPath {
public:
    using Attributes = std::map<std::string, std::string>;

    struct Node;
    struct NodeHash {
        [[nodiscard]] std::size_t operator()(const Node& node) const noexcept;
    };
    using Handle = boost::flyweights::flyweight<Node, boost::flyweights::hashed_factory<NodeHash>>;
    /// The nodes of a path, leaf first.
    using Nodes = boost::container::small_vector<const Node*, 10>;

    [[nodiscard]] static std::variant<FlyweightPath, std::string> parse(std::string_view text);

    [[nodiscard]] FlyweightPath append(std::string_view name, Attributes attributes = {}) const;
    /// The path without its leaf; there must be one.
    [[nodiscard]] FlyweightPath parent() const noexcept;
    [[nodiscard]] bool startsWith(const FlyweightPath& prefix) const noexcept;
    [[nodiscard]] bool matchesPattern(const FlyweightPath& pattern) const;
    [[nodiscard]] std::string toString() const;
    [[nodiscard]] Nodes nodes() const;
    [[nodiscard]] const std::optional<Handle>& leaf() const noexcept { return leaf_; }

    friend bool operator==(const FlyweightPath& left, const FlyweightPath& right) noexcept;
    template <typename H>
    friend H AbslHashValue(H state, const FlyweightPath& path) {
        return H::combine(std::move(state), path.address());
    }

private:
    [[nodiscard]] const Node* address() const noexcept;
    void push(std::string name, Attributes attributes);

    std::optional<Handle> leaf_;
};

struct FlyweightPath::Node {
    std::string name;
    Attributes attributes;
    std::optional<Handle> parent;

    friend bool operator==(const Node& left, const Node& right) noexcept;
};

inline const FlyweightPath::Node* FlyweightPath::address() const noexcept {
    return leaf_ ? &leaf_->get() : nullptr;
}

inline bool operator==(const FlyweightPath& left, const FlyweightPath& right) noexcept {
    return left.address() == right.address();
}

}  // namespace Benchmarks
