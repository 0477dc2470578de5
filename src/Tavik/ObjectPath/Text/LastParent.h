/// @file
/// Internal: the parent of the last path that a thread parsed, from which the next parse continues.
///
/// Neighbours in a list mostly have the same parent. So a thread remembers the string of the last parent, where its
/// levels end, and weak references to its two nodes. The levels that the next string begins with are found at once.
///
/// The result is the one that parsing would give. The parser reads from left to right, and a level ends before a "/"
/// and at the end of the string. So two strings that agree up to the end of a level in both agree in all levels up to
/// there. The nodes of a path never change, and a weak reference that can be locked refers to the one living node of
/// its content, which keeps its ancestors alive.
///
/// No node is kept alive; only the raw memory of two nodes may be kept. Remembering costs no more than it is worth:
/// weak references are stored for a parent that is seen for the second time in a row, or of whose levels more than half
/// were found. When none of the last few parents was like that, as in a shuffled list, most parents are not even
/// copied.

#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include <Tavik/ObjectPath/ObjectPath.h>

namespace Tavik::Impl {

/// The last parent of one thread.
struct LastParent {
    static constexpr std::size_t maxSize = 240;
    static constexpr std::size_t maxLevels = 16;

    std::array<char, maxSize> text;            // without the first "/"
    std::array<std::uint8_t, maxLevels> ends;  // where each level ends in the text
    std::size_t levels = 0;
    std::uint8_t useless = 0;  // parents in a row that were not worth their nodes; from 9 on, modulo 8
    bool hasNodes = false;
    bool hasValues = false;
    std::weak_ptr<const Segment> segment;  // of the parent, if it has nodes
    std::weak_ptr<const Value> values;     // if it has values
};

/// One parse, which resumes at the last parent of this thread and leaves the parent of its own path there.
class ParseResumption {
public:
    /// Finds as many levels that `text` begins with as possible. `text` has no leading "/". Sets `path` to these levels
    /// and returns their size in bytes, or returns 0.
    [[nodiscard]] std::size_t find(std::string_view text, ObjectPath& path) noexcept;

    /// Notes that the level after those that were found or noted ends at `offset`.
    void noteLevel(std::size_t offset) noexcept {
        if (count_ < ends_.size()) {
            ends_[count_] = static_cast<std::uint8_t>(std::min<std::size_t>(offset, UINT8_MAX));
        }
        ++count_;
    }

    /// Remembers the parent of `path`, to which `text` was parsed.
    void remember(std::string_view text, const ObjectPath& path) const noexcept;

private:
    void copyText(std::string_view text, std::size_t levels, LastParent& last) const noexcept;

    std::size_t common_ = 0;                                // levels that the string and the last parent have in common
    std::size_t found_ = 0;                                 // common levels whose nodes were found: all or none
    std::size_t count_ = 0;                                 // levels of the string
    std::array<std::uint8_t, LastParent::maxLevels> ends_;  // where each level ends that was not found
};

}  // namespace Tavik::Impl
