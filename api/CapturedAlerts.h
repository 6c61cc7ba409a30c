#pragma once

#include "api/AlertStore.h"
#include "platform/Data.h"

#include <windows.h>

#include <cstdint>
#include <memory>
#include <optional>

namespace kal {

class OrxClient;

// The captures of alerts: their windows, their counts, and the alerts that wait to be queried. Any thread may call.

/// The window of the latest successful capture under a client identifier.
[[nodiscard]] std::optional<HWND> alertWindowOf(uint32_t clientId);

/// Counts a capture and sets its window. Changes nothing if it throws.
void countCapture(OrxClient &client, uint16_t handle, HWND window);
/// Decrements the capture count of a handle. @return false if it was 0
[[nodiscard]] bool takeCaptureOff(uint16_t handle);

/// Stores an alert. @return its new id
uint16_t storeAlert(std::unique_ptr<Data> alert);
/// Copies a stored alert, as AlertStore::copy.
[[nodiscard]] AlertStore::Answer copyStoredAlert(uint16_t alertId, void *buffer, uint16_t size, uint32_t &stored);
/// The id that the next alert will have.
[[nodiscard]] uint16_t nextAlertIdentifier() noexcept;
/// Restarts the alert ids at 0.
void resetAlertIds() noexcept;

} // namespace kal
