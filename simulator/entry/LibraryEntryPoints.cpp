#include "platform/ExportTable.h"
#include "simulator/entry/Answer.h"
#include "simulator/replay/Replay.h"

using namespace simulator;

namespace {

HMODULE thisModule = nullptr;

/// Removes the entry points that the configuration declares missing from this copy's export table.
void removeMissingEntryPoints() noexcept {
    try {
        const auto entryPoints = loadConfiguration(thisModule).configuration.entryPoints;
        const bool isAnyMissing = std::any_of(entryPoints.begin(), entryPoints.end(),
                                              [](const auto &rules) { return isMissing(rules.second); });
        if (isAnyMissing) {
            kal::ExportTable(thisModule).remove([&](const char *name) {
                const auto found = entryPoints.find(name);
                return found != entryPoints.end() && isMissing(found->second);
            });
        }
    } catch (const std::exception &) {
        // OrxInitialize loads the configuration again and returns a code.
    }
}

bool isReplaying() noexcept {
    try {
        return startReplay(thisModule);
    } catch (const std::exception &) {
        return false;
    }
}

} // namespace

extern "C" {

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, void *) {
    if (reason == DLL_PROCESS_ATTACH) {
        thisModule = module;
        if (!isReplaying()) {
            removeMissingEntryPoints();
        }
    }
    return TRUE;
}

/// Succeeds even if the configuration is broken: clients treat a failure as a missing library, which hides the cause.
uint32_t OrxInitialize() {
    try {
        auto service = std::make_shared<Service>(loadConfiguration(thisModule));
        const auto decision = service->decideCall("OrxInitialize");
        if (decision.delayMs > 0) {
            Sleep(decision.delayMs);
        }
        if (decision.code.value_or(0) != 0) {
            SetLastError(*decision.code); // clients look for the cause there
            return *decision.code;
        }
        if (const auto before = exchangeService(std::move(service))) {
            before->stop();
        }
        return ERROR_SUCCESS;
    } catch (const std::bad_alloc &) {
        return ERROR_NOT_ENOUGH_MEMORY;
    } catch (const std::exception &) {
        return ERROR_GEN_FAILURE;
    }
}

uint32_t OrxUninitialize() {
    const auto code = answerDone("OrxUninitialize");
    if (const auto before = exchangeService(nullptr)) {
        before->stop();
    }
    return code;
}

uint32_t OrxGetClientId(uint32_t *clientId, const char *) {
    return answer("OrxGetClientId", [&](Service &) -> uint32_t {
        if (!clientId) {
            return ERROR_INVALID_PARAMETER;
        }
        *clientId = GetCurrentProcessId();
        return ERROR_SUCCESS;
    });
}

/// Clients load the library only for this call, without calling OrxInitialize. In that case, the function makes a
/// temporary service.
uint32_t OrxInstall() {
    if (currentService()) {
        return answerDone("OrxInstall");
    }
    const auto code = OrxInitialize();
    const auto answered = code == ERROR_SUCCESS ? answerDone("OrxInstall") : code;
    if (const auto service = exchangeService(nullptr)) {
        service->stop();
    }
    return answered;
}

uint32_t OrxUninstall() {
    return answerDone("OrxUninstall");
}
uint32_t OrxResume() {
    return answerDone("OrxResume");
}
uint32_t OrxSuspend() {
    return answerDone("OrxSuspend");
}
uint32_t OrxAddTransport(const char *) {
    return answerDone("OrxAddTransport");
}
uint32_t OrxRemoveTransport(const char *) {
    return answerDone("OrxRemoveTransport");
}
uint32_t OrxAddMonitor() {
    return answerDone("OrxAddMonitor");
}

uint32_t OrxSetClientInfo(uint32_t, const void *, const void *) {
    return answerDone("OrxSetClientInfo");
}

uint32_t OrxGetHostInfo(uint32_t, const char *, void *, uint32_t, uint32_t *) {
    return answer("OrxGetHostInfo", [](Service &) -> uint32_t { return ERROR_NOT_SUPPORTED; });
}
uint32_t OrxSetHostInfo(uint32_t, const char *, const void *, uint32_t) {
    return answer("OrxSetHostInfo", [](Service &) -> uint32_t { return ERROR_NOT_SUPPORTED; });
}

uint32_t OrxRegisterForSystemNotifications(uint32_t, uint32_t, const void *) {
    return answerDone("OrxRegisterForSystemNotifications");
}
uint32_t OrxUnregisterForSystemNotifications(uint32_t) {
    return answerDone("OrxUnregisterForSystemNotifications");
}

} // extern "C"
