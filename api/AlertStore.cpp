#include "api/AlertStore.h"

#include <cstring>
#include <mutex>

namespace kal {

void AlertStore::put(uint16_t alertId, std::unique_ptr<Data> alert) {
    const std::lock_guard guard(section_);
    alerts_[alertId].swap(alert); // what was there before goes with the argument
}

AlertStore::Answer AlertStore::copy(uint16_t alertId, void *buffer, uint16_t size, uint32_t &stored) {
    const std::lock_guard guard(section_);
    const auto position = alerts_.find(alertId);
    if (position == alerts_.end()) {
        return Answer::unknownId;
    }
    const Data &alert = *position->second;
    stored = alert.remaining();
    if (size < stored) {
        return Answer::tooSmall;
    }
    if (stored != 0) {
        std::memcpy(buffer, alert.current(), stored);
    }
    return Answer::copied;
}

} // namespace kal
