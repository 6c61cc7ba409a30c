#include "simulator/entry/ServiceHolder.h"

#include <mutex>

namespace simulator {

namespace {

Lock lock; // guards the service

/// Has no destructor to run: at the end of the process the service's threads are gone and its locks may be orphaned.
union Holder {
    Holder() noexcept : service() {}
    ~Holder() {}
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
