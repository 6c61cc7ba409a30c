#pragma once

#include "simulator/Log.h"
#include "simulator/configuration/Configuration.h"
#include "simulator/printers/PrinterStore.h"

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace simulator {

/// The configured printers and their stored values: which of them can be found, their properties and their states.
/// Operations return 0 or a Win32 error code. Safe to use from any thread.
class Printers {
  public:
    /// Both references must outlive the object.
    Printers(const Configuration &configuration, std::filesystem::path folder, Log &log);

    /// Null if the configuration does not have the handle.
    [[nodiscard]] const PrinterConfiguration *withHandle(uint32_t handle) const noexcept;
    /// Whether an open can succeed.
    [[nodiscard]] bool canBeOpened(const PrinterConfiguration &printer) const;
    /// Removes the printer until the next discovery.
    [[nodiscard]] uint32_t remove(const PrinterConfiguration &printer);

    /// Handles of the printers that can be found on a transport; null means all transports.
    [[nodiscard]] std::vector<uint16_t> find(const char *transport) const;
    [[nodiscard]] uint32_t discover(const char *transport);
    [[nodiscard]] uint32_t findPort(std::string_view portName, uint32_t &handle) const;

    /// The port name, which a client may have changed.
    [[nodiscard]] std::string port(const PrinterConfiguration &printer) const;
    [[nodiscard]] std::map<std::string, std::string> jobStrings(const PrinterConfiguration &printer) const;

    /// @param type  "String", "Long" or "ByteArray"; the type that the caller expects.
    [[nodiscard]] uint32_t property(uint32_t handle, const char *descriptor, std::string_view type,
                                    PropertyValue &value) const;
    [[nodiscard]] uint32_t setProperty(uint32_t handle, const char *descriptor, std::string_view type,
                                       PropertyValue value);
    /// @param key  a descriptor, or the name of a job string.
    [[nodiscard]] uint32_t setJobString(uint32_t handle, const char *key, const char *value);
    [[nodiscard]] uint32_t cache(uint32_t handle, Bytes &block) const;

    /// All processes see the printer as printing for this time. If the time cannot be stored, nothing changes.
    void keepPrinting(const PrinterConfiguration &printer, uint32_t milliseconds);
    /// @param reported  the last state that a notification reported
    [[nodiscard]] uint32_t state(uint32_t handle, std::optional<uint32_t> reported, uint32_t &state) const;

  private:
    [[nodiscard]] bool isPresent(const PrinterConfiguration &printer) const;

    const Configuration &configuration_;
    Log &log_;
    PrinterStore store_;
};

/// The printer's name in the log.
[[nodiscard]] std::string title(const PrinterConfiguration &printer);

} // namespace simulator
