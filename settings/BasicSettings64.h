#pragma once

#include "settings/RegistryKey64.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kal {

class Data;

/// Typed values below a base path of the registry. Each operation opens the subkey it needs for its own duration: reads
/// with KEY_READ and without making the key, writes with the object's access mask and making it. A read finds nothing
/// when the subkey cannot be opened, and throws when the value is there but of another type.
/// The order of the virtual operations is part of the binary interface.
class BasicSettings64 {
  public:
    /// @param root      for example HKEY_LOCAL_MACHINE
    /// @param basePath  ends with a backslash; not copied (one of these objects is made for each log test), so the
    ///                  characters outlive the object
    /// @param localId   the brand code of the library that reads; not copied either
    /// @param access    mask for writes
    BasicSettings64(HKEY root, std::string_view basePath, std::string_view localId, REGSAM access) noexcept
        : root_(root), basePath_(basePath), localId_(localId), access_(access), key_(access) {}
    virtual ~BasicSettings64() = default;

    /// Read-or-create: when the base key opens but the value is not there, the default is written and handed out.
    /// @return whether the output holds the value; on a Win32Exception on the way the thread's last error is its code
    ///         and the result false.
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
    /// Removes every key below the base path. @return whether something was asked to be removed
    virtual bool removeStores();
    /// The full path of a subkey; the base has one root, whatever the selector.
    [[nodiscard]] virtual std::string keyPath(const std::string &subkey, uint32_t selector) const;

  protected:
    [[nodiscard]] RegistryKey64 &key() noexcept { return key_; }
    [[nodiscard]] HKEY root() const noexcept { return root_; }
    [[nodiscard]] std::string_view localId() const noexcept { return localId_; }
    /// Names of the keys below a subkey, at most limit of them; none when it cannot be opened.
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
    RegistryKey64 key_; ///< the object's own key, for those who keep it open
};

} // namespace kal
