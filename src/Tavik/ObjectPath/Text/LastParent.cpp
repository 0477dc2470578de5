// Resuming at the parent of the last path that this thread parsed.

#include <Tavik/ObjectPath/Text/LastParent.h>

#include <bit>
#include <cstring>
#include <utility>

#include <Tavik/ObjectPath/Nodes/PerThread.h>
#include <Tavik/ObjectPath/Paths/Levels.h>

namespace Tavik::Impl {
namespace {

std::uint64_t loadWord(const char* bytes) noexcept {
    std::uint64_t word = 0;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

/// The number of leading bytes, at most `size`, that two strings have in common.
std::size_t commonBytes(const char* left, const char* right, std::size_t size) noexcept {
    std::size_t count = 0;
    for (; size - count >= sizeof(std::uint64_t); count += sizeof(std::uint64_t)) {
        if (const std::uint64_t difference = loadWord(left + count) ^ loadWord(right + count)) {
            return count + static_cast<std::size_t>(std::countr_zero(difference)) / 8;
        }
    }
    while (count < size && left[count] == right[count]) {
        ++count;
    }
    return count;
}

/// The number of levels that `text` and `last` have in common.
std::size_t commonLevels(std::string_view text, const LastParent& last) noexcept {
    std::size_t count = last.levels;
    if (count == 0) {
        return 0;
    }
    const std::size_t size = std::min<std::size_t>(text.size(), last.ends[count - 1]);
    const std::size_t common = commonBytes(last.text.data(), text.data(), size);
    const auto isCommon = [&](std::size_t end) { return end <= common && (end == text.size() || text[end] == '/'); };
    while (count > 0 && !isCommon(last.ends[count - 1])) {
        --count;
    }
    return count;
}

/// Sets `path` to the first `count` levels of `last`. Returns whether their nodes are alive.
bool lockLevels(const LastParent& last, std::size_t count, ObjectPath& path) noexcept {
    ObjectPath parent{last.segment.lock(), last.values.lock()};
    if (parent.segment == nullptr || (last.hasValues && parent.values == nullptr)) {
        return false;
    }
    if (count == last.levels) {
        path = std::move(parent);
        return true;
    }
    path = ancestor(parent.toView(), last.levels - count).path();
    return true;
}

}  // namespace

std::size_t ParseResumption::find(std::string_view text, ObjectPath& path) noexcept {
    const LastParent* const last = PerThread<LastParent>::get();
    if (last == nullptr) {
        return 0;
    }
    common_ = commonLevels(text, *last);
    if (common_ == 0 || !last->hasNodes || !lockLevels(*last, common_, path)) {
        return 0;
    }
    found_ = common_;
    count_ = found_;
    return last->ends[found_ - 1];
}

/// Copies the first levels of a string, except those that were found in the last parent.
void ParseResumption::copyText(std::string_view text, std::size_t levels, LastParent& last) const noexcept {
    const std::size_t begin = found_ == 0 ? 0 : last.ends[found_ - 1];
    std::copy(text.begin() + begin, text.begin() + ends_[levels - 1], last.text.begin() + begin);
    std::copy(ends_.begin() + found_, ends_.begin() + levels, last.ends.begin() + found_);
}

/// There are three cases. A parent that is remembered with its nodes stays. A parent that is remembered without nodes
/// is repeated, so it gets its nodes now. Of a new parent, the string is copied, and the nodes are stored if more than
/// half of its levels were found, or if some were found and the parents before it were useful. Copies of parents that
/// are not useful are in vain. After a few of them in a row, only every eighth is copied, to notice when neighbours in
/// the list begin to have the same parents again.
void ParseResumption::remember(std::string_view text, const ObjectPath& path) const noexcept {
    constexpr std::uint8_t tolerated = 8;
    const std::size_t levels = count_ - 1;
    if (count_ <= 1 || levels > LastParent::maxLevels) {
        return;
    }
    LastParent* const last = PerThread<LastParent>::getOrCreate();
    if (last == nullptr) {
        return;
    }
    const bool isNewText = levels != last->levels || levels != common_;
    if (!isNewText && levels == found_) {
        return;
    }
    const bool isUseful = !isNewText || 2 * found_ > levels;
    const bool storesNodes = isUseful || (found_ > 0 && last->useless == 0);
    last->useless = isUseful ? 0 : (last->useless < 2 * tolerated ? last->useless : tolerated) + 1;
    if (last->useless > tolerated && last->useless < 2 * tolerated) {
        return;
    }
    if (isNewText && levels > found_) {
        if (ends_[levels - 1] > LastParent::maxSize) {
            return;
        }
        copyText(text, levels, *last);
    }
    last->levels = levels;
    last->hasNodes = storesNodes;
    if (storesNodes) {
        const ObjectPath::View parent = path.toView().parent();
        last->segment = *parent.segment;
        last->values = *parent.values;
        last->hasValues = *parent.values != nullptr;
    }
}

}  // namespace Tavik::Impl
