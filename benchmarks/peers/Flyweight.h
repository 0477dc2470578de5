/// @file
/// The peer "flyweight": nodes that are shared through Boost.Flyweight.

#pragma once

#include <cstddef>
#include <map>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include <boost/container/small_vector.hpp>
#include <boost/flyweight.hpp>

namespace Benchmarks {

/// An optional handle for use inside the node type that it refers to, which the handle's type requires to be complete.
template <typename Node, typename Handle>
class FlyweightLink {
public:
    FlyweightLink() noexcept { new (storage_) OptionalHandle; }
    FlyweightLink(const FlyweightLink& other) noexcept { new (storage_) OptionalHandle(other.handle()); }
    FlyweightLink& operator=(const FlyweightLink& other) noexcept {
        handle() = other.handle();
        return *this;
    }
    ~FlyweightLink() { handle().~OptionalHandle(); }

    /// The node, or null.
    [[nodiscard]] const Node* node() const noexcept { return handle() ? &handle()->get() : nullptr; }
    void set(Node&& node) { handle().emplace(std::move(node)); }

private:
    using OptionalHandle = std::optional<Handle>;

    [[nodiscard]] OptionalHandle& handle() noexcept {
        static_assert(sizeof(OptionalHandle) == sizeof storage_);
        return *std::launder(reinterpret_cast<OptionalHandle*>(storage_));
    }
    [[nodiscard]] const OptionalHandle& handle() const noexcept {
        return *std::launder(reinterpret_cast<const OptionalHandle*>(storage_));
    }

    alignas(void*) std::byte storage_[2 * sizeof(void*)];
};

struct FlyweightNode;

struct FlyweightHash {
    [[nodiscard]] std::size_t operator()(const FlyweightNode& node) const noexcept;
};

struct FlyweightNode {
    using Link =
        FlyweightLink<FlyweightNode,
                      boost::flyweights::flyweight<FlyweightNode, boost::flyweights::hashed_factory<FlyweightHash>>>;

    std::string name;
    std::map<std::string, std::string> attributes;
    Link parent;

    friend bool operator==(const FlyweightNode& left, const FlyweightNode& right) noexcept {
        return left.name == right.name && left.parent.node() == right.parent.node() &&
               left.attributes == right.attributes;
    }
};

class FlyweightPath {
public:
    using Attributes = std::map<std::string, std::string>;

    [[nodiscard]] static std::variant<FlyweightPath, std::string> parse(std::string_view text);

    [[nodiscard]] FlyweightPath append(std::string_view name, Attributes attributes = {}) const;
    /// The path without its leaf; there must be one.
    [[nodiscard]] FlyweightPath parent() const noexcept;
    [[nodiscard]] bool startsWith(const FlyweightPath& prefix) const noexcept;
    [[nodiscard]] bool matchesPattern(const FlyweightPath& pattern) const;
    [[nodiscard]] std::string toString() const;
    [[nodiscard]] std::string_view leafName() const noexcept { return leaf()->name; }

    template <typename Visit>
    void forEachName(Visit visit) const {
        const Nodes leafFirst = nodes();
        for (auto node = leafFirst.rbegin(); node != leafFirst.rend(); ++node) {
            visit((*node)->name);
        }
    }

    friend bool operator==(const FlyweightPath& left, const FlyweightPath& right) noexcept {
        return left.leaf() == right.leaf();
    }
    friend bool operator<(const FlyweightPath& left, const FlyweightPath& right);
    template <typename H>
    friend H AbslHashValue(H state, const FlyweightPath& path) {
        return H::combine(std::move(state), path.leaf());
    }

private:
    using Nodes = boost::container::small_vector<const FlyweightNode*, 10>;

    [[nodiscard]] const FlyweightNode* leaf() const noexcept { return leaf_.node(); }
    /// Leaf first.
    [[nodiscard]] Nodes nodes() const;

    FlyweightNode::Link leaf_;
};

}  // namespace Benchmarks
