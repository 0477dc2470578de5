/// @file
/// Interning with a borrowed link.

#pragma once

#include <Tavik/ObjectPath/ObjectPath.h>

namespace Tavik::Impl {

/// Points at the node of `owner` without counting as an owner.
template <typename T>
[[nodiscard]] std::shared_ptr<const T> borrow(const std::shared_ptr<const T>& owner) noexcept {
    return std::shared_ptr<const T>(std::shared_ptr<const T>(), owner.get());
}

/// As `Dedup<T>::intern`, but the link of `key` may be borrowed from `link`, so that a node that exists already is
/// found without counting an owner of its link. Takes the content of `key` when it creates a node.
/// The caller must not hold `mutex_`, and must let go of `key` only afterwards.
template <typename T>
[[nodiscard]] std::shared_ptr<const T> internLinked(T& key, const std::shared_ptr<const T>& link);

}  // namespace Tavik::Impl
