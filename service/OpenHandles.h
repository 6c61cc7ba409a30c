#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <vector>

namespace kal {

/// The open handles, and how often each was opened. The owner's lock guards the object.
class OpenHandles {
  public:
    /// One open handle. Operations on the handle use the identifier with which it was opened.
    struct Record {
        uint32_t handle;
        uint32_t clientId;
        uint32_t openCount;
    };

    /// Counts one more open. Throws std::bad_alloc without counting.
    void add(uint32_t handle, uint32_t clientId);
    [[nodiscard]] std::optional<Record> find(uint32_t handle) const;
    /// Decrements the open count of a handle and removes its record at 0. @return whether the handle was open
    bool remove(uint32_t handle);
    /// In ascending order. Throws std::bad_alloc.
    [[nodiscard]] std::vector<uint32_t> handles() const;

  private:
    using Records = std::map<uint32_t, Record>; ///< by handle

    Records records_;
    Records::node_type spare_; ///< of the latest close, so that repeated open and close do not allocate
};

} // namespace kal
