// Parsing that throws.

#include <Tavik/ObjectPath/ObjectPath.h>

namespace Tavik {

ObjectPathError::ObjectPathError(std::string_view message, std::size_t offset)
    : std::runtime_error(std::string(message)), offset_(offset) {}

// Not in the header: the unit that defines the destructor holds the type information, by which handlers find the type.
ObjectPathError::~ObjectPathError() = default;

ObjectPath parseObjectPathOrThrow(std::string_view text) {
    std::size_t offset = 0;
    auto result = tryParseObjectPath(text, offset);
    if (const auto* const message = std::get_if<String>(&result)) {
        throw ObjectPathError(*message, offset);
    }
    return std::get<ObjectPath>(std::move(result));
}

}  // namespace Tavik
