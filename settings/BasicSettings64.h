#pragma once

#include "settings/RegistryKey64.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kal {

class Data;

/// Typed values below a base path of the registry. Each operation opens the subkey and closes it again. Reads use
/// KEY_READ and do not create the key; writes use the object's access mask and create it. A read finds nothing if the
/// subkey cannot be opened, and throws if the value has another type. The order of the virtual operations is part of
/// the binary interface.
class BasicSettings64 {
  public:
    /// Does not copy its strings, because every log test makes such an object.
    /// @param root      for example HKEY_LOCAL_MACHINE
    /// @param basePath  ends with a backslash; must outlive the object
    /// @param localId   the brand code of this library; must outlive the object
    /// @param access    mask for writes
    BasicSettings64(HKEY root, std::string_view basePath, std::string_view localId, REGSAM access) noexcept
        : root_(root), basePath_(basePath), localId_(localId), access_(access), key_(access) {}
    virtual ~BasicSettings64() = default;

    /// Reads a value. If the base key opens but the value does not exist, writes the default and returns it.
    /// @return whether the output has the value. After a Win32Exception, false, with its code as the thread's last
    /// error
    [[nodiscard]] virtual bool readOrCreate(const std::string &subkey, const std::string &name,
                                            std::vector<uint8_t> &value, const Data &defaultValue, uint32_t selector);
    [[nodiscard]] virtual bool read(const std::string &subkey, const std::string &name, std::vector<uint8_t> &value,
                                    uint32_t selector) const;
    [[nodiscard]] virtual bool readOrCreate(const std::string &subkey, const std::string &name, uint32_t &value,
                                            uint32_t defaultValue, uint32_t selector);
    [[nodiscard]] virtual bool read(const std::string &subkey, const std::string &name, uint32_t &value,
                                    uint32_t selector) const;
    [[nodiscard]] virtual bool readOrCreate(const std::string &subkey, const std::string &name, std::string &value,
                                            const std::string &defaultValue, uint32_t selector);
    [[nodiscard]] virtual bool read(const std::string &subkey, const std::string &name, std::string &value,
                                    uint32_t selector) const;
    virtual void write(const std::string &subkey, const std::string &name, const std::string &value, uint32_t selector);
    virtual void write(const std::string &subkey, const std::string &name, uint32_t value, uint32_t selector);
    [[nodiscard]] virtual std::vector<std::string> valueNames(const std::string &subkey, uint32_t selector) const;
    /// Deletes a subkey with everything below it.
    virtual void deleteKey(const std::string &subkey, uint32_t selector);
    virtual void deleteValue(const std::string &subkey, const std::string &name, uint32_t selector);
    /// Deletes every key below the base path. @return whether any key existed
    virtual bool removeStores();
    /// The full path of a subkey. This class has one root and ignores the selector.
    [[nodiscard]] virtual std::string keyPath(const std::string &subkey, uint32_t selector) const;

  protected:
    [[nodiscard]] RegistryKey64 &key() noexcept { return key_; }
    [[nodiscard]] HKEY root() const noexcept { return root_; }
    [[nodiscard]] std::string_view localId() const noexcept { return localId_; }
    /// Names of the keys below a subkey, at most limit; none if it cannot be opened.
    [[nodiscard]] std::vector<std::string> childrenNames(const std::string &subkey, uint32_t selector,
                                                         size_t limit) const;

  private:
    template <class Value>
    [[nodiscard]] bool readValue(const std::string &subkey, const std::string &name, Value &value,
                                 uint32_t selector) const;
    template <class Value, class WriteDefault>
    [[nodiscard]] bool readOrCreateValue(const std::string &subkey, const std::string &name, Value &value,
                                         uint32_t selector, WriteDefault writeDefault);
    void openForWriting(RegistryKey64 &key, const std::string &subkey, uint32_t selector) const;

    HKEY root_;
    std::string_view basePath_;
    std::string_view localId_;
    REGSAM access_;
    RegistryKey64 key_; ///< stays open for derived classes
};

} // namespace kal
