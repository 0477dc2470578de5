// Making room in the tables before it is needed.

#include <algorithm>
#include <bit>
#include <cstdint>
#include <new>
#include <optional>

#include <Tavik/ObjectPath/Nodes/AbseilTable.h>
#include <Tavik/ObjectPath/Nodes/NodeTable.h>

namespace Tavik {
namespace Impl {

/// Memory is allocated and freed without the lock. In between, other threads may let the table grow, but not shrink.
template <typename T>
class NodeTable<T>::Reservation {
public:
    /// Allocates room for `nodes` nodes. Throws `std::bad_alloc` and `std::system_error`.
    explicit Reservation(std::size_t nodes) : slots_(slotsFor(nodes)) {
        if (begin()) {
            try {
                larger_.emplace(slots_);
            } catch (...) {
                end();
                throw;
            }
        }
    }
    Reservation(const Reservation&) = delete;
    Reservation& operator=(const Reservation&) = delete;
    ~Reservation() { end(); }

    /// Makes the room, in place of what was reserved before.
    void commit() {
        const TableLock<T> lock(mutex_);
        state_.reserved = slots_;
        if (larger_.has_value() && larger_->slots() > table().bucket_count()) {
            larger_->replace(table());
            state_.erased = 0;
        }
    }

private:
    /// Twice the nodes, so that tombstones are rare and the table is never rehashed in place.
    static std::size_t slotsFor(std::size_t nodes) {
        if (nodes > PTRDIFF_MAX / 8 / sizeof(typename Table::value_type)) {
            throw std::bad_alloc();
        }
        return nodes == 0 ? 0 : std::max(fewestSlots, 2 * std::bit_ceil(nodes) - 1);
    }

    /// Returns whether the table is too small.
    [[nodiscard]] bool begin() {
        const TableLock<T> lock(mutex_);
        ++state_.reservations;
        return slots_ > table().bucket_count();
    }

    void end() {
        const TableLock<T> lock(mutex_);
        --state_.reservations;
        shrinkIfNearlyEmpty();
    }

    std::size_t slots_;
    std::optional<SpareTable<Table>> larger_;
};

}  // namespace Impl

void ObjectPath::reserve(std::size_t segments, std::size_t values) {
    Impl::NodeTable<Impl::Segment>::Reservation ofSegments(segments);
    Impl::NodeTable<Impl::Value>::Reservation ofValues(values);
    ofSegments.commit();
    ofValues.commit();
}

}  // namespace Tavik
