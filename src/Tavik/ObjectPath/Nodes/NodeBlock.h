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

    /// The block of the node that is being created, from which its control block is allocated. Guarded by `mutex_`.
    static constinit inline NodeBlock* current = nullptr;
};

/// Places a control block into the current `NodeBlock`, and frees the whole block with it. A control block stores its
/// allocator: if that carried the block, instead of finding it in `NodeBlock::current`, each segment would take 16 more
/// bytes of the heap.
template <typename Control, typename T>
struct ControlAllocator {
    using value_type = Control;
    template <typename Other>
    struct rebind {
        using other = ControlAllocator<Other, T>;
    };

    ControlAllocator() = default;
    template <typename Other>
    explicit ControlAllocator(const ControlAllocator<Other, T>&) noexcept {}

    Control* allocate(std::size_t) noexcept {
        static_assert(sizeof(Control) <= NodeBlock<T>::controlSize && alignof(Control) <= alignof(void*));
        return reinterpret_cast<Control*>(NodeBlock<T>::current->control);
    }
    void deallocate(Control* control, std::size_t) noexcept {
        static_assert(offsetof(NodeBlock<T>, control) == 0, "the block is freed by the address of the control block");
        ::operator delete(control);
    }
};

/// A new node in `block`, made of `content`. The caller must hold `mutex_`.
///
/// A `std::shared_ptr` that cannot allocate its control block calls the deleter, which takes the lock that is held
/// here. So the control block is placed into the block, too.
template <typename T>
std::shared_ptr<const T> createNode(std::unique_ptr<NodeBlock<T>> block, T& content) noexcept {
    NodeBlock<T>::current = block.release();
    const T* const node = new (NodeBlock<T>::current->node) T(std::move(content));
    return std::shared_ptr<const T>(node, &Dedup<T>::deleter, ControlAllocator<T, T>());
}

}  // namespace Tavik::Impl
