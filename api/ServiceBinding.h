#pragma once

namespace kal {

class OrxClient;

/// The binding of the process; null while no application is registered. Read without the registration lock: an
/// unregistration that races with a running export is the application's error.
[[nodiscard]] OrxClient *serviceBinding() noexcept;

/// Whether the last attempt to register was refused and none has succeeded since. Exports then fail instead of raising:
/// the application did try.
[[nodiscard]] bool isRegistrationRefused() noexcept;

// The following are called under the registration lock.

/// What isRegistrationRefused returns from now on.
void refuseRegistration(bool isRefused) noexcept;

/// While no application is registered. A Win32Exception is logged under the message, if there is one, and leaves
/// everything as it was. @return whether both were made
[[nodiscard]] bool makeLoggerAndBinding(const char *serverName, const char *exceptionMessage);

void destroyBinding() noexcept;

/// Closes the library to callbacks and waits for those that are inside. They are short: they ask the service for a
/// property and post a message.
class CallbackLockout {
  public:
    CallbackLockout() noexcept;
    CallbackLockout(const CallbackLockout &) = delete;
    CallbackLockout &operator=(const CallbackLockout &) = delete;
    ~CallbackLockout();
};

/// Keeps binding and logger alive while a callback of the service uses them: the last unregistration waits for the
/// callbacks that are inside and lets no more in. Unlike an export, a callback cannot know that it comes too late.
class CallbackEntry {
  public:
    CallbackEntry() noexcept;
    CallbackEntry(const CallbackEntry &) = delete;
    CallbackEntry &operator=(const CallbackEntry &) = delete;
    ~CallbackEntry();

    /// The binding; null when there is none (any more).
    [[nodiscard]] OrxClient *client() const noexcept { return client_; }
    /// Whether binding and logger are being destroyed right now: the callback may use neither.
    [[nodiscard]] bool isLockedOut() const noexcept { return isLockedOut_; }

  private:
    OrxClient *client_;
    bool isLockedOut_;
};

} // namespace kal
