#include "service/OpenHandles.h"

#include <utility>

namespace kal {

void OpenHandles::add(uint32_t handle, uint32_t clientId) {
    const auto position = records_.lower_bound(handle);
    if (position != records_.end() && position->first == handle) {
        ++position->second.openCount;
        return;
    }
    const Record record = {handle, clientId, 1};
    if (spare_.empty()) {
        records_.emplace_hint(position, handle, record);
        return;
    }
    spare_.key() = handle;
    spare_.mapped() = record;
    records_.insert(position, std::move(spare_));
}

std::optional<OpenHandles::Record> OpenHandles::find(uint32_t handle) const {
    const auto position = records_.find(handle);
    return position == records_.end() ? std::nullopt : std::optional(position->second);
}

bool OpenHandles::remove(uint32_t handle) {
    const auto position = records_.find(handle);
    if (position == records_.end()) {
        return false;
    }
    if (--position->second.openCount == 0) {
        spare_ = records_.extract(position);
    }
    return true;
}

std::vector<uint32_t> OpenHandles::handles() const {
    std::vector<uint32_t> found;
    found.reserve(records_.size());
    for (const auto &entry : records_) {
        found.push_back(entry.first);
    }
    return found;
}

} // namespace kal
