#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

namespace kal {

class OrxClient;

/// Counts the callbacks of the service that are inside the library, and knows the thread of each. Binding and logger
/// are kept while a callback is inside.
///
/// Callbacks enter and leave on any thread, without a lock and without a system call. The other operations are called
/// under the registration lock, in this order: open, admit, close, and abandon for callbacks that do not leave.
class CallbackGate {
  public:
    /// The thread of one callback that is inside, or 0. The lowest bit marks a callback that was abandoned.
    using Place = std::atomic<uintptr_t>;

    struct Visit {
        Place *place = nullptr;      ///< null: the callback is not inside and may use neither binding nor logger
        OrxClient *client = nullptr; ///< null until admit
    };

    constexpr CallbackGate() noexcept = default;
    CallbackGate(const CallbackGate &) = delete;
    CallbackGate &operator=(const CallbackGate &) = delete;
    ~CallbackGate();

    /// @param thread  identifies the calling thread; even and not 0
    [[nodiscard]] Visit enter(uintptr_t thread) noexcept;
    /// @return the visit of a callback that is outside
    static Visit leave(Place &place) noexcept;

    /// Lets callbacks in; the logger must exist.
    void open() noexcept { isOpen_ = true; }
    /// Sets the binding for callbacks that enter from now on.
    void admit(OrxClient *client) noexcept { client_ = client; }
    /// Keeps further callbacks out.
    void close() noexcept;

    /// Whether no callback is inside, except abandoned ones.
    [[nodiscard]] bool isEmpty() const noexcept;
    /// Whether a callback that runs on the thread is inside, except abandoned ones.
    [[nodiscard]] bool holds(uintptr_t thread) const noexcept;
    /// Marks the callbacks that are inside as abandoned, so that no unregistration waits for them.
    /// @return whether any was inside
    bool abandon() noexcept;
    /// Whether an abandoned callback is still inside.
    [[nodiscard]] bool hasAbandoned() const noexcept;

  private:
    /// Enough places for the usual number of simultaneous callbacks. Further blocks are added as needed and kept.
    struct Block {
        std::array<Place, 16> places = {};
        std::atomic<Block *> next = nullptr;
    };

    [[nodiscard]] Place *takePlace(uintptr_t thread) noexcept;
    [[nodiscard]] static Block *blockAfter(Block &block) noexcept;
    template <class Condition>
    [[nodiscard]] bool isAnyPlace(Condition condition) const noexcept;

    std::atomic<bool> isOpen_ = false;
    std::atomic<OrxClient *> client_ = nullptr;
    Block first_;
};

} // namespace kal
