#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

namespace kal {

/// One open registry key, on 64-bit Windows always in the 64-bit view. Failures are Win32Exceptions with fixed texts.
/// Reading a value that does not exist is not a failure. The order of the virtual operations is part of the binary
/// interface.
class RegistryKey64 {
  public:
    explicit RegistryKey64(REGSAM access = KEY_READ) noexcept;
    RegistryKey64(const RegistryKey64 &) = delete;
    RegistryKey64 &operator=(const RegistryKey64 &) = delete;
    virtual ~RegistryKey64();

    /// Sets the mask for the next open. On 64-bit Windows the 64-bit view is added.
    virtual void setAccess(REGSAM access) noexcept;

    /// Opens a key, after closing the one that was open. If that fails and createIfMissing is set, creates the key and
    /// its parents. Throws "RegistryKey64::regOpenKeyEx()" or "RegistryKey64::regCreateKeyEx()".
    virtual void open(const std::string &path, bool createIfMissing, HKEY root);

    /// Opens an existing key. Does not throw, since installations without the key are normal.
    /// @return 0 or the Win32 code
    [[nodiscard]] LSTATUS tryOpen(const char *path, HKEY root) noexcept;
    void close() noexcept;
    [[nodiscard]] bool isOpen() const noexcept { return handle_ != nullptr; }
    [[nodiscard]] HKEY get() const noexcept { return handle_; }
    [[nodiscard]] REGSAM access() const noexcept { return access_; }

    /// Reads a value. @return false, with the output unchanged, if the value does not exist. Throws if the value has
    /// another type or cannot be read.
    [[nodiscard]] bool getValue(const std::string &name, uint32_t &value) const;
    [[nodiscard]] bool getValue(const std::string &name, std::string &value) const;
    [[nodiscard]] bool getValue(const std::string &name, std::vector<uint8_t> &value) const;

    void setValue(const std::string &name, uint32_t value) const;
    void setValue(const std::string &name, const std::string &value) const;
    void setValue(const std::string &name, const uint8_t *bytes, uint32_t count) const;

    void deleteValue(const std::string &name) const;

    /// Names of the subkeys, at most limit.
    [[nodiscard]] std::vector<std::string> getChildrenNames(size_t limit = SIZE_MAX) const;
    [[nodiscard]] std::vector<std::string> getValueNames() const;

    /// Deletes a key with everything below it; a missing key is not a failure. A key named "SOFTWARE" (in any case)
    /// loses its content but is not deleted.
    static void recurseDeleteKey(const std::string &subkey, HKEY container);

  private:
    [[nodiscard]] LSTATUS regOpenKeyEx(const char *path, HKEY root) noexcept;
    void regCreateKeyEx(const std::string &path, HKEY root);

    HKEY handle_ = nullptr;
    REGSAM access_;
};

} // namespace kal
