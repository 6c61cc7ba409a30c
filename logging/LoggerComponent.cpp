#include "logging/LoggerComponent.h"

namespace kal {

namespace {

LoggerComponent components[static_cast<size_t>(ComponentId::count)] = {
#define LOGGER_COMPONENT(identifier, name, level) {name, level},
#include "logging/ComponentTable.inc"
#undef LOGGER_COMPONENT
};

} // namespace

LoggerComponent &loggerComponent(ComponentId id) noexcept {
    return components[static_cast<size_t>(id)];
}

} // namespace kal
