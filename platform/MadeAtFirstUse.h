#pragma once

#include "platform/CriticalSection.h"

#include <atomic>
#include <mutex>
#include <optional>

namespace kal {

/// A process-wide object that is made by the thread that first needs it: loading the library costs no system call for
/// it. If making it fails, the exception goes to that thread, and the next use tries again.
template <class Object>
class MadeAtFirstUse {
  public:
    MadeAtFirstUse() = default;
    MadeAtFirstUse(const MadeAtFirstUse &) = delete;
    MadeAtFirstUse &operator=(const MadeAtFirstUse &) = delete;
    ~MadeAtFirstUse() = default;

    /// @param arguments  of the object's constructor
    template <class... Arguments>
    [[nodiscard]] Object &get(const Arguments &...arguments) {
        if (!isMade_.load(std::memory_order_acquire)) {
            const std::lock_guard guard(making_);
            if (!object_) {
                object_.emplace(arguments...);
                isMade_.store(true, std::memory_order_release);
            }
        }
        return *object_;
    }

  private:
    std::atomic<bool> isMade_ = false;
    CriticalSection making_; ///< held while the object is made
    std::optional<Object> object_;
};

} // namespace kal
