#pragma once

#include "simulator/Service.h"

#include <memory>

namespace simulator {

/// The service of this load of the library: null before OrxInitialize and after OrxUninitialize.
[[nodiscard]] std::shared_ptr<Service> currentService() noexcept;

/// Replaces the service, possibly by null. @return the previous one.
std::shared_ptr<Service> exchangeService(std::shared_ptr<Service> next) noexcept;

} // namespace simulator
