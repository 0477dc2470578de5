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

class FlyweightPath {
public:
    using Attributes = std::map<std::string, std::string>;

    struct Node;
    struct NodeHash {
        [[nodiscard]] std::size_t operator()(const Node& node) const noexcept;
    };
    using Handle = boost::flyweights::flyweight<Node, boost::flyweights::hashed_factory<NodeHash>>;

    /// An optional handle, for use inside of the type that it refers to: the handle's type needs that one complete.
    class Link {
    public:
        Link() noexcept;
        Link(const Link& other) noexcept;
        Link& operator=(const Link& other) noexcept;
        ~Link();

        /// The node, or null.
        [[nodiscard]] const Node* node() const noexcept;
        void set(Node&& node);

    private:
        [[nodiscard]] std::optional<Handle>& handle() noexcept;
        [[nodiscard]] const std::optional<Handle>& handle() const noexcept;

        alignas(void*) std::byte storage_[2 * sizeof(void*)];
    };

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
    [[nodiscard]] const Node* leaf() const noexcept { return leaf_.node(); }

    friend bool operator==(const FlyweightPath& left, const FlyweightPath& right) noexcept {
        return left.leaf() == right.leaf();
    }
    template <typename H>
    friend H AbslHashValue(H state, const FlyweightPath& path) {
        return H::combine(std::move(state), path.leaf());
    }

private:
    Link leaf_;
};

struct FlyweightPath::Node {
    std::string name;
    Attributes attributes;
    Link parent;

    friend bool operator==(const Node& left, const Node& right) noexcept {
        return left.name == right.name && left.parent.node() == right.parent.node() &&
               left.attributes == right.attributes;
    }
};

inline std::optional<FlyweightPath::Handle>& FlyweightPath::Link::handle() noexcept {
    static_assert(sizeof(std::optional<Handle>) == sizeof storage_);
    return *std::launder(reinterpret_cast<std::optional<Handle>*>(storage_));
}

inline const std::optional<FlyweightPath::Handle>& FlyweightPath::Link::handle() const noexcept {
    return *std::launder(reinterpret_cast<const std::optional<Handle>*>(storage_));
}

inline FlyweightPath::Link::Link() noexcept {
    new (storage_) std::optional<Handle>;
}

inline FlyweightPath::Link::Link(const Link& other) noexcept {
    new (storage_) std::optional<Handle>(other.handle());
}

inline FlyweightPath::Link& FlyweightPath::Link::operator=(const Link& other) noexcept {
    handle() = other.handle();
    return *this;
}

inline FlyweightPath::Link::~Link() {
    handle().~optional();
}

inline const FlyweightPath::Node* FlyweightPath::Link::node() const noexcept {
    return handle() ? &handle()->get() : nullptr;
}

inline void FlyweightPath::Link::set(Node&& node) {
    handle().emplace(std::move(node));
}

}  // namespace Benchmarks
