/// @file
/// Internal: the memory of a node.

#pragma once

#include <cstddef>
#include <memory>
#include <new>
#include <utility>

#include <Tavik/ObjectPath/ObjectPath.h>

namespace Tavik::Impl {

/// One allocation: the `std::shared_ptr` control block, then the node. The deleter destroys the node; the memory is
/// freed with the control block, when neither an owner nor a weak reference needs it any more.
template <typename T>
struct NodeBlock {
    /// The size of the control block of a `std::shared_ptr` that has a deleter and a stateless allocator.
    static constexpr std::size_t controlSize = 32;

    alignas(void*) std::byte control[controlSize];
    alignas(T) std::byte node[sizeof(T)];
};

/// Places a control block into a `NodeBlock`, and frees the whole block with it. A control block stores its allocator:
/// if that carried the block, each segment would take 16 more bytes of the heap. So the allocator gets the block of the
/// node that is being created from `Table::pendingBlock()`.
template <typename Control, typename Table>
struct ControlAllocator {
    using value_type = Control;
    template <typename Other>
    struct rebind {
        using other = ControlAllocator<Other, Table>;
    };

    ControlAllocator() = default;
    template <typename Other>
    explicit ControlAllocator(const ControlAllocator<Other, Table>&) noexcept {}

    Control* allocate(std::size_t) noexcept {
        auto* const block = Table::pendingBlock();
        static_assert(sizeof(Control) <= sizeof block->control && alignof(Control) <= alignof(void*));
        static_assert(offsetof(std::remove_pointer_t<decltype(block)>, control) == 0, "freed by this address");
        return reinterpret_cast<Control*>(block->control);
    }
    void deallocate(Control* control, std::size_t) noexcept { ::operator delete(control); }
};

/// A new node in `block`, which must be the pending block of `Table`, made of `content`.
///
/// A `std::shared_ptr` that cannot allocate its control block calls the deleter, which takes the lock that is held
/// while a node is created. So the control block is placed into the block, too.
template <typename Table, typename T>
std::shared_ptr<const T> createNode(NodeBlock<T>& block, T& content) noexcept {
    const T* const node = new (block.node) T(std::move(content));
    return std::shared_ptr<const T>(node, &Dedup<T>::deleter, ControlAllocator<T, Table>());
}

}  // namespace Tavik::Impl
