#include "tests/endurance/CallReplay.h"

#include "tests/support/ExpectedResults.h"
#include "tests/support/RecordedService.h"

namespace kal::test {

using Module = ReferenceModel::Module;

const ServiceEvent *CallReplay::take(EntryPoint entryPoint) {
    const ServiceEvent *const next = peek();
    if (next == nullptr || next->entryPoint != entryPoint)
        return nullptr;
    ++position_;
    return next;
}

void CallReplay::complain(const std::string &text) {
    if (complaint_.empty())
        complaint_ = text;
}

bool CallReplay::isModuleSure() const {
    return references_ != nullptr ? references_->module == Module::loaded : own_ > 0;
}

uint32_t CallReplay::bringUp() {
    const bool isIdle = references_ != nullptr && references_->loads == 0 && references_->module == Module::none;
    const ServiceEvent *const initialized = take(EntryPoint::OrxInitialize);
    if (initialized != nullptr) {
        if (references_ != nullptr ? !isIdle : own_ > 0)
            complain("comc.dll was loaded although it was held");
        if (references_ != nullptr)
            references_->module = initialized->code == 0 ? Module::loaded : Module::stale;
        if (initialized->code != 0)
            return libraryMissing;
    } else if (isIdle) {
        complain("comc.dll was not loaded");
    }
    if (references_ != nullptr)
        ++references_->loads;
    const uint32_t code = acquireClientId();
    if (code != 0)
        unload();
    return code;
}

uint32_t CallReplay::acquireClientId() {
    const bool isNoneHeld = references_ != nullptr && references_->clientIds == 0;
    const ServiceEvent *const given = take(EntryPoint::OrxGetClientId);
    if (given != nullptr) {
        if (references_ != nullptr ? !isNoneHeld : own_ > 0)
            complain("an identifier was asked for although one was held");
        if (references_ != nullptr)
            references_->clientId = given->code == 0 ? given->told : 0;
        if (given->code != 0)
            return given->code;
    } else if (isNoneHeld) {
        if (isModuleSure())
            complain("no identifier was asked for");
        return entryPointMissing; // it cannot be found in a module that was released
    }
    if (references_ != nullptr)
        ++references_->clientIds;
    return 0;
}

void CallReplay::unload() {
    if (references_ == nullptr) {
        take(EntryPoint::OrxUninitialize);
        return;
    }
    if (references_->loads != 0)
        --references_->loads;
    if (references_->loads == 0 && references_->module != Module::none) {
        if (references_->module == Module::loaded && take(EntryPoint::OrxUninitialize) == nullptr)
            complain("comc.dll was not unloaded");
        references_->module = Module::none;
    }
}

void CallReplay::giveBack() {
    if (references_ != nullptr && references_->clientIds != 0 && --references_->clientIds == 0)
        references_->clientId = 0;
    unload();
}

uint32_t CallReplay::called(EntryPoint entryPoint, uint32_t clientId) {
    const ServiceEvent *const event = take(entryPoint);
    if (event == nullptr) {
        if (isModuleSure())
            complain(entryPointNames()[static_cast<size_t>(entryPoint)] + " was not called");
        return entryPointMissing;
    }
    if (!event->isMissing && (clientId != 0 ? event->clientId != clientId : event->clientId == 0))
        complain(entryPointNames()[static_cast<size_t>(entryPoint)] + " got another client identifier");
    if (event->code == 0)
        told_ = event->told;
    return event->code;
}

uint32_t CallReplay::beginClientScoped(EntryPoint entryPoint) {
    const uint32_t refused = bringUp();
    isUp_ = refused == 0;
    if (!isUp_)
        return refused;
    // Where other threads move the references an identifier that could not be had leaves no event behind: the operation
    // then gives 127, as it does when its entry point is missing.
    const uint32_t code = called(entryPoint, references_ != nullptr ? references_->clientId : 0);
    ++own_;
    return code;
}

void CallReplay::endClientScoped() {
    if (isUp_) {
        --own_;
        giveBack();
    }
    isUp_ = false;
}

uint32_t CallReplay::clientScoped(EntryPoint entryPoint) {
    const bool outer = isUp_;
    const uint32_t code = beginClientScoped(entryPoint);
    endClientScoped();
    isUp_ = outer;
    return code;
}

uint32_t CallReplay::open(HandleModel &handle) {
    const uint32_t code = beginClientScoped(EntryPoint::OrxOpenPrinter);
    if (!isUp_)
        return code;
    if (code != 0) {
        endClientScoped();
        return code;
    }
    isUp_ = false; // the references stay; own_ counts them
    if (handle.opens++ == 0)
        handle.clientId = events_[position_ - 1].clientId;
    return code;
}

uint32_t CallReplay::close(HandleModel &handle) {
    if (handle.opens == 0)
        return handleUnknown;
    const size_t before = position_;
    const uint32_t code = called(EntryPoint::OrxClosePrinter, handle.clientId);
    const bool wasCalled = position_ > before && !events_[before].isMissing;
    if (wasCalled)
        --handle.opens; // else the record stays although its references go
    if (own_ > 0)
        --own_;
    giveBack();
    return code;
}

uint32_t CallReplay::handleScoped(EntryPoint entryPoint, const HandleModel &handle) {
    return handle.opens == 0 ? handleUnknown : called(entryPoint, handle.clientId);
}

uint32_t CallReplay::handleScopedOrClose(EntryPoint entryPoint, HandleModel &handle) {
    if (handle.opens == 0)
        return handleUnknown;
    const size_t before = position_;
    const uint32_t code = called(entryPoint, handle.clientId);
    const bool wasCalled = position_ > before && !events_[before].isMissing;
    if (!wasCalled)
        close(handle);
    return code;
}

void CallReplay::expectEnd() {
    if (const ServiceEvent *const next = peek())
        complain(entryPointNames()[static_cast<size_t>(next->entryPoint)] + " was asked for and should not have been");
}

std::string describe(const std::vector<ServiceEvent> &events) {
    std::string text;
    for (const ServiceEvent &event : events)
        text += " " + entryPointNames()[static_cast<size_t>(event.entryPoint)] +
                (event.isMissing ? "(missing)" : "=" + std::to_string(event.code));
    return text.empty() ? " nothing" : text;
}

} // namespace kal::test
