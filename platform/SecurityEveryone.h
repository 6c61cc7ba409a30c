#pragma once

#include "platform/Security.h"

#include <cstddef>
#include <memory>

namespace kal {

/// Grants Everyone full access, with one access-allowed entry.
class SecurityEveryone : public Security {
  public:
    /// @param inheritable  whether objects created inside a container inherit the entry
    /// Throws the "SecurityEveryone::..." exception of the first call that fails.
    explicit SecurityEveryone(bool inheritable);

    [[nodiscard]] const ACL *accessList() const noexcept { return reinterpret_cast<const ACL *>(acl_.get()); }

  private:
    struct SidDeleter {
        void operator()(void *sid) const noexcept { FreeSid(sid); }
    };

    void makeDescriptor();
    void makeSid();
    void makeAccessList();
    void makeInheritable();

    std::unique_ptr<SECURITY_DESCRIPTOR> descriptor_;
    std::unique_ptr<std::byte[]> acl_;
    std::unique_ptr<void, SidDeleter> sid_;
};

} // namespace kal
