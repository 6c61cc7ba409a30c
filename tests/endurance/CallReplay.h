// What the service was asked during one call of an export, held against what the binding promises: the code that each
// operation must have given its export follows from it.
#pragma once

#include "tests/endurance/ScriptedService.h"

#include <cstdint>
#include <string>
#include <vector>

namespace kal::test {

/// References as the interface promises them; exact where one thread alone uses the library.
struct ReferenceModel {
    enum class Module { none, loaded, stale } module = Module::none;
    uint32_t loads = 0;
    uint32_t clientIds = 0;
    uint32_t clientId = 0;
};

/// One handle of one thread.
struct HandleModel {
    uint32_t opens = 0;
    uint32_t captures = 0; ///< outlive a registration, as the library's count of them does
    uint32_t clientId = 0; ///< of the first open
};

class CallReplay {
  public:
    /// @param references  null where several threads move them
    /// @param ownReferences  how many the caller holds by open handles: with one the library cannot be unloaded
    CallReplay(const CallContext &context, ReferenceModel *references, uint32_t ownReferences)
        : events_(context.events), references_(references), own_(ownReferences) {}

    // The operations, each with the code that it gives; to be called in the order in which the export makes them.
    uint32_t clientScoped(EntryPoint entryPoint);
    uint32_t open(HandleModel &handle);
    uint32_t close(HandleModel &handle);
    uint32_t handleScoped(EntryPoint entryPoint, const HandleModel &handle);
    uint32_t handleScopedOrClose(EntryPoint entryPoint, HandleModel &handle);

    /// As clientScoped, in two halves: what is asked between them happens inside the service's call.
    uint32_t beginClientScoped(EntryPoint entryPoint);
    void endClientScoped();

    /// What the latest successful answer told.
    uint32_t told() const { return told_; }
    /// Notes what was asked although nothing should have been.
    void expectEnd();
    /// Empty when all went as promised.
    const std::string &complaint() const { return complaint_; }

  private:
    const ServiceEvent *peek() const { return position_ < events_.size() ? &events_[position_] : nullptr; }
    const ServiceEvent *take(EntryPoint entryPoint);
    void complain(const std::string &text);
    uint32_t bringUp();
    uint32_t acquireClientId();
    void giveBack();
    void unload();
    /// The call in the module as it is.
    uint32_t called(EntryPoint entryPoint, uint32_t clientId);
    bool isModuleSure() const;

    const std::vector<ServiceEvent> &events_;
    ReferenceModel *const references_;
    uint32_t own_;
    size_t position_ = 0;
    uint32_t told_ = 0;
    bool isUp_ = false; ///< the pending client-scoped operation has its references
    std::string complaint_;
};

std::string describe(const std::vector<ServiceEvent> &events);

} // namespace kal::test
