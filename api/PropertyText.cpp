#include "api/PropertyText.h"

#include <algorithm>

namespace kal {

std::string_view propertyText(std::span<const char> room) noexcept {
    return {room.begin(), std::find(room.begin(), room.end(), '\0')};
}

} // namespace kal
