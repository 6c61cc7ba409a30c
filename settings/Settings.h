#pragma once

#include "settings/BasicSettings64.h"

namespace kal {

class Localize;

/// The settings of this library: typed values below the roots of its product. The constructor opens the local root; if
/// that does not exist, readers get their defaults. Construction does not allocate. The order of the virtual operations
/// is part of the binary interface.
class Settings : public BasicSettings64 {
  public:
    /// Query, set, create subkeys, enumerate and notify.
    static constexpr REGSAM accessMask = 31;

    explicit Settings(const Localize &localize) noexcept;

    /// For uninstallation. If "DeleteStoreOnUninstall" under "Settings\" is a number other than 0, deletes the printer
    /// and scanner stores with all their contents. @return whether removal was requested
    bool removeStores() override;
    /// The path of a subkey below the root selected by the RootSelector.
    [[nodiscard]] std::string keyPath(const std::string &subkey, uint32_t selector) const override;

    [[nodiscard]] virtual bool keyPresent() const noexcept { return keyPresent_; }
    /// Opens the local root again and notes whether it exists.
    virtual void reopen() noexcept;
    [[nodiscard]] virtual bool isBrandRecognised() const;
    /// Whether "Inbox" under "Settings\" exists and is greater than 0.
    [[nodiscard]] virtual bool isInbox() const;
    /// Whether a host-based network transport is installed and its driver library can be opened.
    [[nodiscard]] virtual bool isHbnTransportUsable() const;
    /// Whether the service supports a device: a value with this name exists under "Runtime\SupportedDevices\".
    /// @return 0, or 1168 (not found)
    [[nodiscard]] virtual uint32_t findSupportedDevice(const std::string &device) const;

  private:
    bool keyPresent_ = false;
    const Localize &localize_;
};

} // namespace kal
