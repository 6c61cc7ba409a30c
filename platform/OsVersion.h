#pragma once

#include <windows.h>

namespace kal {

/// The running Windows version, read once.
class OsVersion {
  public:
    /// Throws "OsVersion::OsVersion(): GetVersionEx failed" and "... failed with OSVERSIONINFOEX".
    OsVersion();

    [[nodiscard]] bool isNtPlatform() const noexcept;
    [[nodiscard]] bool isNt5OrLater() const noexcept;

    /// Whether this is a 32-bit process on 64-bit Windows; false if that cannot be determined.
    [[nodiscard]] static bool isWow64() noexcept;

    /// Whether the operating system is 64-bit Windows; always true for a 64-bit process.
    [[nodiscard]] static bool is64BitWindows() noexcept;

    [[nodiscard]] const OSVERSIONINFOEXA &record() const noexcept { return record_; }

    /// The process-wide instance, made while the library is loaded.
    [[nodiscard]] static const OsVersion &instance();

  private:
    OSVERSIONINFOEXA record_;
};

} // namespace kal
