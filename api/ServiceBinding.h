#pragma once

#include "api/CallbackGate.h"

namespace kal {

/// The binding of the process; null while no application is registered. Read without the registration lock, because
/// applications must not unregister while an export runs.
[[nodiscard]] OrxClient *serviceBinding() noexcept;

/// Whether the last attempt to register was refused and none has succeeded since. Exports then fail instead of
/// throwing, because the application did try to register.
[[nodiscard]] bool isRegistrationRefused() noexcept;

/// Keeps binding and logger alive while a callback of the service uses them. Exports need no such protection; a
/// callback cannot know that it is too late.
class CallbackEntry {
  public:
    CallbackEntry() noexcept;
    CallbackEntry(const CallbackEntry &) = delete;
    CallbackEntry &operator=(const CallbackEntry &) = delete;
    ~CallbackEntry();

    /// The binding; null until a registration has succeeded.
    [[nodiscard]] OrxClient *client() const noexcept { return visit_.client; }
    /// Whether the callback must not use binding and logger, because they do not exist or are being destroyed.
    [[nodiscard]] bool isLockedOut() const noexcept { return visit_.place == nullptr; }

  private:
    CallbackGate::Visit visit_;
};

// The following functions must be called with the registration lock held.

/// Sets the result of isRegistrationRefused.
void refuseRegistration(bool isRefused) noexcept;

/// Makes logger and binding; no application may be registered. Callbacks do not get the binding yet. A Win32Exception
/// is logged after the message, if there is one, and nothing is made. @return whether both were made
[[nodiscard]] bool makeLoggerAndBinding(const char *serverName, const char *exceptionMessage);

/// Makes the binding available to callbacks, after a successful registration.
void admitCallbacks() noexcept;

/// Keeps further callbacks out and waits for those that are inside. Stops waiting after five seconds, because a
/// callback whose thread was terminated never leaves. Does not wait if a callback on this thread is inside, which
/// cannot leave during the wait, or while the process exits, when other threads no longer run. Objects that a callback
/// may still use are then kept.
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
    bool isLoggerUnused_; ///< and no callback that was abandoned by an earlier registration
};

} // namespace kal
