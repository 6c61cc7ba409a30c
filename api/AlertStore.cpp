#include "api/AlertStore.h"

#include <cstring>
#include <mutex>

namespace kal {

void AlertStore::put(uint16_t alertId, std::unique_ptr<Data> alert) {
    const std::lock_guard guard(section_);
    std::unique_ptr<Page> &page = pages_[alertId >> 8];
    if (!page) {
        page = std::make_unique<Page>();
    }
    (*page)[alertId & 0xFF].swap(alert); // the previous alert is freed with the argument
}

AlertStore::Answer AlertStore::copy(uint16_t alertId, void *buffer, uint16_t size, uint32_t &stored) {
    const std::lock_guard guard(section_);
    const Page *const page = pages_[alertId >> 8].get();
    const Data *const alert = page == nullptr ? nullptr : (*page)[alertId & 0xFF].get();
    if (alert == nullptr) {
        return Answer::unknownId;
    }
    stored = alert->remaining();
    if (size < stored) {
        return Answer::tooSmall;
    }
    if (stored != 0) {
        std::memcpy(buffer, alert->current(), stored);
    }
    return Answer::copied;
}

} // namespace kal
