#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

namespace kal {

/// One open registry key, always in the 64-bit view on 64-bit Windows. Failures are Win32Exceptions with fixed texts; a
/// value that is not there is no failure for a read. The order of the virtual operations is part of the binary
/// interface.
class RegistryKey64 {
  public:
    explicit RegistryKey64(REGSAM access = KEY_READ) noexcept;
    RegistryKey64(const RegistryKey64 &) = delete;
    RegistryKey64 &operator=(const RegistryKey64 &) = delete;
    virtual ~RegistryKey64();

    /// Sets the mask for the next open; the 64-bit view is added where there is one.
    virtual void setAccess(REGSAM access) noexcept;

    /// Opens a key, and makes it (with its parents) when it cannot be opened and createIfMissing is set. A key that was
    /// open before is closed. Throws "RegistryKey64::regOpenKeyEx()" or "RegistryKey64::regCreateKeyEx()".
    virtual void open(const std::string &path, bool createIfMissing, HKEY root);

    /// Opens an existing key without throwing: a key that is not there is the normal state of an installation.
    /// @return 0 or the Win32 code
    [[nodiscard]] LSTATUS tryOpen(const char *path, HKEY root) noexcept;
    void close() noexcept;
    [[nodiscard]] bool isOpen() const noexcept { return handle_ != nullptr; }
    [[nodiscard]] HKEY get() const noexcept { return handle_; }
    [[nodiscard]] REGSAM access() const noexcept { return access_; }

    /// Reads: true when found, false (and the output untouched) when there is no such value; throw when the value has
    /// another type or cannot be read.
    [[nodiscard]] bool getValue(const std::string &name, uint32_t &value) const;
    [[nodiscard]] bool getValue(const std::string &name, std::string &value) const;
    [[nodiscard]] bool getValue(const std::string &name, std::vector<uint8_t> &value) const;

    void setValue(const std::string &name, uint32_t value) const;
    void setValue(const std::string &name, const std::string &value) const;
    void setValue(const std::string &name, const uint8_t *bytes, uint32_t count) const;

    void deleteValue(const std::string &name) const;

    /// Names of the subkeys, at most limit of them.
    [[nodiscard]] std::vector<std::string> getChildrenNames(size_t limit = SIZE_MAX) const;
    [[nodiscard]] std::vector<std::string> getValueNames() const;

    /// Deletes a key with everything below it; a missing key is no failure. A key named "SOFTWARE" (in any case) loses
    /// what is below it but stays itself.
    static void recurseDeleteKey(const std::string &subkey, HKEY container);

  private:
    [[nodiscard]] LSTATUS regOpenKeyEx(const char *path, HKEY root) noexcept;
    void regCreateKeyEx(const std::string &path, HKEY root);

    HKEY handle_ = nullptr;
    REGSAM access_;
};

} // namespace kal
