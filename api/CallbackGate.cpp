#include "api/CallbackGate.h"

#include <algorithm>
#include <memory>
#include <new>

namespace kal {

namespace {

constexpr uintptr_t nobody = 0;
constexpr uintptr_t abandonedMark = 1;

constexpr bool isAwaited(uintptr_t visitor) noexcept {
    return visitor != nobody && (visitor & abandonedMark) == 0;
}

} // namespace

CallbackGate::~CallbackGate() {
    for (Block *block = first_.next; block != nullptr;) {
        const std::unique_ptr<Block> done(block);
        block = done->next;
    }
}

CallbackGate::Visit CallbackGate::enter(uintptr_t thread) noexcept {
    if (!isOpen_) {
        return {}; // without taking a place, so that late callbacks cannot keep the gate from becoming empty
    }
    Place *const place = takePlace(thread);
    if (place == nullptr) {
        return {};
    }
    // This sees a close that began before the place was taken. A later close sees the place.
    const bool isOpen = isOpen_;
    OrxClient *const client = client_;
    // An abandoned callback must not get the binding of a later registration, which would not wait for it.
    return isOpen && *place == thread ? Visit{place, client} : leave(*place);
}

CallbackGate::Visit CallbackGate::leave(Place &place) noexcept {
    place.store(nobody, std::memory_order_release);
    return {};
}

void CallbackGate::close() noexcept {
    isOpen_ = false;
    client_ = nullptr;
}

bool CallbackGate::isEmpty() const noexcept {
    return !isAnyPlace(isAwaited);
}

bool CallbackGate::holds(uintptr_t thread) const noexcept {
    return isAnyPlace([thread](uintptr_t visitor) { return visitor == thread; });
}

bool CallbackGate::abandon() noexcept {
    bool isAbandoned = false;
    for (Block *block = &first_; block != nullptr; block = block->next) {
        for (Place &place : block->places) {
            uintptr_t visitor = place;
            // Fails if the callback is just leaving.
            if (isAwaited(visitor) && place.compare_exchange_strong(visitor, visitor | abandonedMark)) {
                isAbandoned = true;
            }
        }
    }
    return isAbandoned;
}

bool CallbackGate::hasAbandoned() const noexcept {
    return isAnyPlace([](uintptr_t visitor) { return (visitor & abandonedMark) != 0; });
}

CallbackGate::Place *CallbackGate::takePlace(uintptr_t thread) noexcept {
    for (Block *block = &first_; block != nullptr; block = blockAfter(*block)) {
        for (Place &place : block->places) {
            uintptr_t visitor = place;
            if (visitor == nobody && place.compare_exchange_strong(visitor, thread)) {
                return &place;
            }
        }
    }
    return nullptr;
}

/// The next block; allocated if it does not exist. Null if there is no memory.
CallbackGate::Block *CallbackGate::blockAfter(Block &block) noexcept {
    Block *next = block.next;
    if (next != nullptr) {
        return next;
    }
    std::unique_ptr<Block> made(new (std::nothrow) Block);
    if (made && block.next.compare_exchange_strong(next, made.get())) {
        return made.release();
    }
    return next; // another thread's block, which was added first
}

template <class Condition>
bool CallbackGate::isAnyPlace(Condition condition) const noexcept {
    for (const Block *block = &first_; block != nullptr; block = block->next) {
        if (std::ranges::any_of(block->places, condition, [](const Place &place) { return place.load(); })) {
            return true;
        }
    }
    return false;
}

} // namespace kal
