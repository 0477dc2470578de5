/// @file
/// The exception of the parser that throws.
/// Part of <Tavik/ObjectPath/ObjectPath.h>, which includes it.

#pragma once

#include <cstddef>
#include <stdexcept>
#include <string_view>

#include <Tavik/ObjectPath/Export.h>

namespace Tavik {

/// Thrown for a string that is not the text of a path. `what()` is the message of `tryParseObjectPath`, which a NUL
/// in the string may cut short. Since 1.3.
class TAVIK_OBJECT_PATH_EXPORT ObjectPathError : public std::runtime_error {
public:
    /// An error at the byte `offset` of the text. Throws `std::bad_alloc`.
    ObjectPathError(std::string_view message, std::size_t offset);

    /// Copies share the message, so they never throw.
    /// @{
    ObjectPathError(const ObjectPathError& other) noexcept = default;
    ObjectPathError& operator=(const ObjectPathError& other) noexcept = default;
    /// @}
    ~ObjectPathError() override;

    /// The place of the error, as `tryParseObjectPath` gives it.
    [[nodiscard]] std::size_t offset() const noexcept { return offset_; }

private:
    std::size_t offset_;
};

}  // namespace Tavik
