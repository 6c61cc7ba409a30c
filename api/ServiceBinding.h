#pragma once

#include "api/CallbackGate.h"

namespace kal {

/// The binding of the process; null while no application is registered. Read without the registration lock: an
/// unregistration that races with a running export is the application's error.
[[nodiscard]] OrxClient *serviceBinding() noexcept;

/// Whether the last attempt to register was refused and none has succeeded since. Exports then fail instead of raising:
/// the application did try.
[[nodiscard]] bool isRegistrationRefused() noexcept;

/// Keeps binding and logger alive while a callback of the service uses them. Unlike an export, a callback cannot know
/// that it comes too late.
class CallbackEntry {
  public:
    CallbackEntry() noexcept;
    CallbackEntry(const CallbackEntry &) = delete;
    CallbackEntry &operator=(const CallbackEntry &) = delete;
    ~CallbackEntry();

    /// The binding; null until a registration has succeeded.
    [[nodiscard]] OrxClient *client() const noexcept { return visit_.client; }
    /// Whether there is neither binding nor logger, or both are being destroyed: the callback may use neither.
    [[nodiscard]] bool isLockedOut() const noexcept { return visit_.place == nullptr; }

  private:
    CallbackGate::Visit visit_;
};

// The following are called under the registration lock.

/// What isRegistrationRefused returns from now on.
void refuseRegistration(bool isRefused) noexcept;

/// While no application is registered. Callbacks find no binding yet. A Win32Exception is logged under the message, if
/// there is one, and leaves everything as it was. @return whether both were made
[[nodiscard]] bool makeLoggerAndBinding(const char *serverName, const char *exceptionMessage);

/// The registration succeeded: callbacks get the binding.
void admitCallbacks() noexcept;

/// Lets no more callbacks in and waits for those that are inside. The wait is given up after some seconds, since a
/// callback whose thread was terminated never leaves; at once when a callback on this thread is inside, which cannot
/// leave before; and at once while the process ends, since the other threads are gone. What a callback may still use
/// is kept then.
class CallbackLockout {
  public:
    CallbackLockout() noexcept;
    CallbackLockout(const CallbackLockout &) = delete;
    CallbackLockout &operator=(const CallbackLockout &) = delete;
    ~CallbackLockout() = default;

    /// Destroys the logger, or keeps it for the next registration.
    void endLogger() const noexcept;
    /// Destroys the binding, or keeps it until the process ends.
    void endBinding() const noexcept;

  private:
    bool isEmpty_;        ///< no callback of this registration is inside
    bool isLoggerUnused_; ///< nor one that was abandoned by an earlier one
};

} // namespace kal
