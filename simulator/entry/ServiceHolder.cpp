#include "simulator/entry/ServiceHolder.h"

#include <mutex>

namespace simulator {

namespace {

Lock lock; // guards the service

/// Never destroyed: at process exit the service's threads no longer run and may have left its locks held.
union Holder {
    Holder() noexcept : service() {}
    ~Holder() {} // NOLINT(modernize-use-equals-default): a defaulted one would be deleted
    std::shared_ptr<Service> service;
} holder;

} // namespace

std::shared_ptr<Service> currentService() noexcept {
    const std::lock_guard hold(lock);
    return holder.service;
}

std::shared_ptr<Service> exchangeService(std::shared_ptr<Service> next) noexcept {
    const std::lock_guard hold(lock);
    holder.service.swap(next);
    return next;
}

} // namespace simulator
