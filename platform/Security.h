#pragma once

#include <windows.h>

namespace kal {

/// Security attributes for objects that processes share. The attributes of this class have no descriptor. It has no
/// effect outside the NT platform family. The order of the virtual operations is part of the binary interface.
class Security {
  public:
    Security();
    Security(const Security &) = delete;
    Security &operator=(const Security &) = delete;
    virtual ~Security() = default;

    /// For CreateFileA, CreateMutexA, CreateEventA and the like; valid as long as this object.
    [[nodiscard]] virtual SECURITY_ATTRIBUTES *securityAttributes() { return &attributes_; }

    /// Applies the descriptor to a kernel object. Throws "Security::doApply() SetKernelObjectSecurity failed ".
    virtual void doApply(HANDLE kernelObject);

    /// Applies the descriptor's access list to a registry key. Throws "Security::doApply() ... failed ".
    virtual void doApply(HKEY registryKey);

  protected:
    SECURITY_ATTRIBUTES attributes_;
    const bool enabled_;
};

} // namespace kal
