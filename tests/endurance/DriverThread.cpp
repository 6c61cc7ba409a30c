#include "tests/endurance/DriverThread.h"

#include "tests/support/ExpectedResults.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <vector>

namespace kal::test {

namespace {

/// Printers that an enumeration reported to this thread's call; the service may report on a thread of its own, and the
/// library has one slot for all enumerations.
std::atomic<uint64_t> reportedPrinters = 0;

void notePrinter(const PortInfoRecord *record) {
    reportedPrinters += record != nullptr && record->handle != 0;
}

constexpr uint16_t kinds[] = {0x0000, 0x1000, 0x4000, 0x6000}; // of connection; each thread has one handle of each
constexpr uint32_t portTypes[] = {0, 2, 512, 1024, 2048, 4095, 4096};

/// What the library asks about a found printer. @return whether the application is told of it
bool readsPrinter(CallReplay &replay, uint32_t portType) {
    if (portType == 512 && replay.clientScoped(EntryPoint::OrxGetByteArrayPrinter) != 0)
        return false;
    if (replay.clientScoped(EntryPoint::OrxGetStringPrinter) != 0) // its port
        return false;
    replay.clientScoped(EntryPoint::OrxGetStringPrinter); // its device
    return true;
}

uint32_t readsPortType(CallReplay &replay) {
    return replay.clientScoped(EntryPoint::OrxGetStringPrinter) != 0 ? 1024 : transportNames[replay.told()].portType;
}

} // namespace

DriverThread::DriverThread(ScriptedService &service, uint64_t seed, unsigned number, ReferenceModel *references,
                           HWND window)
    : service_(service), number_(number), references_(references), window_(window),
      state_(mixed(seed ^ mixed(number))) {
    context_.events.reserve(64);
}

uint64_t DriverThread::draw() {
    return mixed(++state_);
}

uint16_t DriverThread::handleOf(size_t which) const {
    return static_cast<uint16_t>(kinds[which] | (0x100 + number_));
}

uint32_t DriverThread::opens() const {
    uint32_t sum = 0;
    for (const HandleModel &handle : handles_)
        sum += handle.opens;
    return sum;
}

void DriverThread::forgetOpens() {
    for (HandleModel &handle : handles_)
        handle.opens = 0;
}

void DriverThread::violate(const std::string &what) const {
    throw Violation("thread " + std::to_string(number_) + ", call " + std::to_string(callsMade_) + ", " +
                    current_.load() + ": " + what + "\n  the service was asked:" + describe(context_.events));
}

int32_t DriverThread::check(const char *what, const std::function<int32_t()> &call, const Expectation &expectation,
                            bool calm) {
    current_ = what;
    ++callsMade_;
    const uint64_t seed = draw();
    context_.begin(seed, calm);
    CallContext::current() = &context_;
    const uint32_t own = isUnbalanced_ ? 0 : opens();
    int32_t result = 0;
    try {
        result = call();
    } catch (...) {
        CallContext::current() = nullptr;
        violate("an exception came out");
    }
    CallContext::current() = nullptr;
    CallReplay replay(context_, references_, own);
    const int32_t promised = expectation(replay);
    replay.expectEnd();
    if (!replay.complaint().empty())
        violate(replay.complaint());
    if (result != promised)
        violate("result " + std::to_string(result) + " instead of " + std::to_string(promised));
    if (context_.strangeReply != 0)
        violate("a callback answered " + std::to_string(context_.strangeReply));
    checkLibrary();
    return result;
}

/// comc.dll is loaded exactly while something needs it.
void DriverThread::checkLibrary() {
    if (references_ != nullptr) {
        const bool isLoaded = GetModuleHandleA("comc.dll") != nullptr;
        if (isLoaded != (references_->module == ReferenceModel::Module::loaded))
            violate(isLoaded ? "comc.dll is loaded and nothing needs it" : "comc.dll is needed and not loaded");
        if (service_.held() != (isLoaded ? 1 : 0))
            violate("comc.dll was loaded and freed " + std::to_string(service_.held()) + " times apart");
    } else if (!isUnbalanced_ && opens() > 0 && (service_.held() != 1 || GetModuleHandleA("comc.dll") == nullptr)) {
        violate("comc.dll is needed and not loaded");
    }
}

void DriverThread::run(int calls, const Round &round) {
    isUnbalanced_ = round.isUnbalanced;
    for (int call = 0; call < calls; ++call)
        step(round);
}

void DriverThread::step(const Round &round) {
    const size_t which = draw(static_cast<uint32_t>(handles_.size()));
    const bool alias = draw(4) == 0;
    const uint32_t choice = draw(100);
    if (choice < 8 && round.sharesHandles)
        return stepShared();
    if (choice < 38)
        return openOrClose(which, alias);
    if (choice < 60)
        return printJob(which, alias);
    if (choice < 70)
        return jobMode(which);
    if (choice < 75)
        return enumeration(alias);
    if (choice < 85)
        return alerts(which, alias);
    if (choice < 91)
        return bidi(which, alias);
    if (choice < 95)
        return cacheOrStatus(which);
    choice < 98 ? registration() : legacy();
}

// -------------------------------------------------------------------------------------------- each family of exports

void DriverThread::openOrClose(size_t which, bool alias) {
    const uint16_t handle = handleOf(which);
    HandleModel &model = handles_[which];
    if (draw(2 + model.opens) < 2)
        check(
            "KalOpen", [&] { return (alias ? KalOpenLM : KalOpen)(0, handle, 0); },
            [&](CallReplay &replay) { return expected::standard(replay.open(model)); });
    else
        check(
            "KalClose", [&] { return (alias ? KalCloseLM : KalClose)(0, handle); },
            [&](CallReplay &replay) { return expected::close(replay.close(model)); });
}

void DriverThread::printJob(size_t which, bool alias) {
    const uint16_t handle = handleOf(which);
    HandleModel &model = handles_[which];
    const uint32_t portType = draw(3) != 0 ? 0 : portTypes[draw(std::size(portTypes))];
    const bool isFit = expected::portTypeFits(portType, handle);
    switch (draw(8)) {
    case 0:
        check(
            "KalStartDoc", [&] { return (alias ? KalStartDocLM : KalStartDoc)(handle, portType, "document"); },
            [&](CallReplay &replay) {
                return isFit ? expected::standard(replay.handleScopedOrClose(EntryPoint::OrxStartJobPrinter, model))
                             : DEVERR_PROTOCOL;
            });
        break;
    case 1:
        check(
            "KalEndDoc", [&] { return (alias ? KalEndDocLM : KalEndDoc)(handle, portType); },
            [&](CallReplay &replay) {
                return isFit ? expected::standard(replay.handleScopedOrClose(EntryPoint::OrxEndJobPrinter, model))
                             : DEVERR_PROTOCOL;
            });
        break;
    case 2:
        check(
            "KalCancelJob", [&] { return KalCancelJob(0, handle); },
            [&](CallReplay &replay) {
                return expected::plain(replay.handleScoped(EntryPoint::OrxCancelJobPrinter, model));
            });
        break;
    default: {
        static const std::vector<char> data(65536, 'x');
        const uint32_t requested = draw(static_cast<uint32_t>(data.size()));
        const bool overlapped = draw(8) == 0;
        uint32_t count = requested;
        check(
            overlapped ? "KalWriteOverlapped" : "KalWrite",
            [&] {
                return overlapped ? KalWriteOverlapped(0, handle, portType, data.data(), &count, 0)
                                  : (alias ? KalWriteLM : KalWrite)(0, handle, portType, data.data(), &count);
            },
            [&](CallReplay &replay) {
                if (!isFit)
                    return static_cast<int32_t>(DEVERR_PROTOCOL);
                const uint32_t code = replay.handleScoped(EntryPoint::OrxWritePrinter, model);
                if (context_.pauses != (code == ERROR_INSUFFICIENT_BUFFER ? 1 : 0))
                    violate(std::to_string(context_.pauses) + " pauses of two seconds");
                if (count != (code == 0 ? replay.told() : requested))
                    violate("byteCount " + std::to_string(count));
                return expected::write(code);
            });
    }
    }
}

void DriverThread::jobMode(size_t which) {
    const uint16_t handle = handleOf(which);
    HandleModel &model = handles_[which];
    switch (draw(6)) {
    case 0:
        check(
            "KalSetEndOfJobMode", [&] { return KalSetEndOfJobMode(0, handle, 0, 0, 5); },
            [](CallReplay &replay) {
                return expected::ignored(replay.clientScoped(EntryPoint::OrxSetJobStringPrinter));
            });
        break;
    case 1:
        check(
            "KalSetJobStringPrinter", [&] { return KalSetJobStringPrinter(0, handle, "key", "value"); },
            [](CallReplay &replay) {
                return expected::ignored(replay.clientScoped(EntryPoint::OrxSetJobStringPrinter));
            });
        break;
    case 2: {
        const int32_t job = static_cast<int32_t>(draw(4)) - 1;
        check(
            "KalSetJobCancelMode", [&] { return KalSetJobCancelMode(0, handle, job); },
            [&](CallReplay &replay) {
                return job < 1 ? KAL_FAIL : expected::plain(replay.clientScoped(EntryPoint::OrxSetByteArrayPrinter));
            });
        break;
    }
    case 3:
        check(
            "KalSetJobControlMode, start", [&] { return KalSetJobControlMode(0, handle, 2); },
            [&](CallReplay &replay) {
                if (replay.open(model) != 0)
                    return static_cast<int32_t>(DEVERR_INVHANDLE);
                return expected::notificationMode(
                    replay.handleScoped(EntryPoint::OrxRegisterForNotificationsPrinter, model));
            });
        break;
    case 4:
        check(
            "KalSetJobControlMode, stop", [&] { return KalSetJobControlMode(0, handle, 1); },
            [&](CallReplay &replay) {
                const uint32_t code = replay.handleScoped(EntryPoint::OrxUnregisterForNotificationsPrinter, model);
                replay.close(model);
                return expected::notificationMode(code);
            });
        break;
    default: {
        const uint32_t mode = draw(2) == 0 ? 128 : 3 + draw(100);
        check(
            "KalSetJobControlMode, other", [&] { return KalSetJobControlMode(0, handle, mode); },
            [&](CallReplay &) { return mode == 128 ? KAL_FAIL : KAL_OKAY; });
    }
    }
}

void DriverThread::enumeration(bool alias) {
    constexpr uint32_t bits[] = {0, NETTYPE_IP, NETTYPEUSB, NETTYPE_LOCAL, KAL_DISCOVER_FIRST, ENUM_P2P};
    uint32_t mask = 0;
    for (const uint32_t bit : bits)
        mask |= draw(2) == 0 ? bit : 0;
    const uint64_t before = reportedPrinters;
    uint64_t promised = 0;
    if (draw(2) == 0) {
        check(
            "KalEnumPrinters", [&] { return (alias ? KalEnumPrintersLM : KalEnumPrinters)(0, mask, notePrinter); },
            [&](CallReplay &replay) {
                for (const uint32_t bit : {NETTYPEUSB, NETTYPE_LOCAL})
                    if ((mask & KAL_DISCOVER_FIRST) != 0 && (mask & bit) != 0 &&
                        replay.clientScoped(EntryPoint::OrxDiscovery) != 0)
                        return KAL_OKAY;
                for (const uint32_t bit : {NETTYPE_IP, NETTYPEUSB, NETTYPE_LOCAL}) {
                    if ((mask & bit) == 0)
                        continue;
                    const uint32_t code = replay.beginClientScoped(EntryPoint::OrxEnumPrinters);
                    for (uint32_t left = code == 0 ? replay.told() : 0; left > 0; --left)
                        promised += readsPrinter(replay, readsPortType(replay));
                    replay.endClientScoped();
                    if (code != 0)
                        break;
                }
                return KAL_OKAY;
            });
    } else {
        const bool byName = draw(2) == 0;
        const char *const port = draw(2) == 0 ? "LPT1" : "PORT";
        check(
            byName ? "KalEnumByUNC" : "KalEnumSpecificPort",
            [&] {
                return byName ? (alias ? KalEnumByUNCLM : KalEnumByUNC)(0, mask, port, notePrinter)
                              : (alias ? KalEnumSpecificPortLM : KalEnumSpecificPort)(0, mask, port, notePrinter);
            },
            [&](CallReplay &replay) {
                if (replay.clientScoped(EntryPoint::OrxEnumSpecificPrinter) != 0)
                    return 0;
                const uint32_t portType = readsPortType(replay);
                const bool isNamedParallel = portType == 2048 && port[0] == 'L';
                if (portType == 0 ? (mask & ENUM_P2P) == 0 : (mask & 0xFFF) == 0 && !isNamedParallel)
                    return 0;
                const bool isTold = readsPrinter(replay, portType);
                promised += isTold;
                return isTold ? static_cast<int32_t>(portType) : 0;
            });
    }
    const uint64_t reported = reportedPrinters - before;
    if (references_ != nullptr ? reported != promised : reported < promised)
        violate(std::to_string(reported) + " printers were reported instead of " + std::to_string(promised));
}

void DriverThread::release(size_t which, bool alias, bool calm) {
    const uint16_t handle = handleOf(which);
    HandleModel &model = handles_[which];
    check(
        "KalReleaseAlerts", [&] { return (alias ? KalReleaseAlertsLM : KalReleaseAlerts)(0, handle); },
        [&](CallReplay &replay) {
            if (model.captures == 0)
                return static_cast<int32_t>(DEVERR_INVHANDLE);
            --model.captures;
            replay.handleScoped(EntryPoint::OrxUnregisterForAlertsPrinter, model);
            replay.close(model);
            if (replay.handleScoped(EntryPoint::OrxUnregisterForNotificationsPrinter, model) == 0)
                replay.close(model);
            return KAL_OKAY;
        },
        calm);
}

void DriverThread::alerts(size_t which, bool alias) {
    const uint16_t handle = handleOf(which);
    HandleModel &model = handles_[which];
    switch (draw(4)) {
    case 0: {
        const uint32_t mask = draw(2) == 0 ? 0x400000 : 0xFFFF;
        check(
            "KalCaptureAlerts",
            [&] { return (alias ? KalCaptureAlertsLM : KalCaptureAlerts)(0, handle, &mask, window_); },
            [&](CallReplay &replay) {
                if (replay.open(model) != 0)
                    return static_cast<int32_t>(DEVERR_INVHANDLE);
                if (replay.handleScoped(EntryPoint::OrxRegisterForAlertsPrinter, model) != 0) {
                    replay.close(model);
                    return KAL_FAIL;
                }
                ++model.captures;
                return KAL_OKAY;
            });
        break;
    }
    case 1:
        release(which, alias, false);
        break;
    default: {
        constexpr uint8_t untouched = 0xCD;
        uint8_t bytes[64];
        std::memset(bytes, untouched, sizeof bytes);
        const auto id = static_cast<uint16_t>(draw(300));
        const auto room = static_cast<uint16_t>(draw(40));
        uint16_t size = room;
        int32_t result = 0;
        check(
            "KalQueryAlerts",
            [&] { return result = (alias ? KalQueryAlertsLM : KalQueryAlerts)(0, id, 0, 0, bytes, &size); },
            [&](CallReplay &) { // any alert may be stored under the id by now; none is longer than 19 bytes
                const bool isUnknown = result == KAL_FAIL && size == room;
                const bool isCopied = result == KAL_OKAY && size <= room && size <= 19;
                const bool isTooSmall = result == size && size > room && size <= 19;
                const uint16_t end = isCopied ? size : 0;
                const bool isTidy =
                    std::all_of(bytes + end, bytes + sizeof bytes, [](uint8_t byte) { return byte == untouched; });
                if ((!isUnknown && !isCopied && !isTooSmall) || !isTidy)
                    violate("room " + std::to_string(room) + ", size " + std::to_string(size) + ", result " +
                            std::to_string(result));
                return result;
            });
    }
    }
}

void DriverThread::bidi(size_t which, bool alias) {
    const uint16_t handle = handleOf(which);
    HandleModel &model = handles_[which];
    constexpr uint16_t functions[] = {1, 170, 181, 182};
    const uint16_t function = functions[draw(std::size(functions))];
    const bool isValid = function == 1 || function == 170;
    uint8_t response[64] = {};
    const uint32_t room = draw(sizeof response + 1);
    uint32_t size = room;
    check(
        "KalSendBidi",
        [&] {
            return (alias ? KalSendBidiLM : KalSendBidi)(0, handle, 0, function, response, &size, "\xA5\0\1\x50", 4);
        },
        [&](CallReplay &replay) {
            if (!isValid)
                return KAL_INVALID_FUNCTION;
            if (replay.open(model) != 0) {
                if (size != 0)
                    violate("the size of no response is " + std::to_string(size));
                return static_cast<int32_t>(DEVERR_INVHANDLE);
            }
            const uint32_t code = replay.handleScoped(EntryPoint::OrxExchangeBidiPrinter, model);
            const uint32_t told = replay.told();
            replay.close(model);
            const uint32_t length = function == 170 || told == 0 ? told : told < 5 ? 0 : told - 5;
            if (code == 0 && size != length)
                violate("a response of " + std::to_string(size) + " bytes instead of " + std::to_string(length));
            return expected::bidi(code);
        });
}

void DriverThread::cacheOrStatus(size_t which) {
    const uint16_t handle = handleOf(which);
    if (draw(2) == 0) {
        uint8_t block[64] = {};
        uint32_t length = 0;
        check(
            "KalGetCache", [&] { return KalGetCache(0, handle, block, sizeof block, &length); },
            [&](CallReplay &replay) {
                const uint32_t code = replay.clientScoped(EntryPoint::OrxGetCachePrinter);
                const uint32_t told = replay.told();
                if (code == 0 && length != (told & 0xFFFF) - (told > 0xFFFF ? 8 : 0))
                    violate("a block of " + std::to_string(length) + " bytes");
                return expected::cache(code);
            });
        return;
    }
    KalPrinterStatusRecord record = {};
    const uint32_t room = draw(2) == 0 ? sizeof record : sizeof record - 1;
    uint32_t needed = 0;
    check(
        "KalQueryPrinterStatus", [&] { return KalQueryPrinterStatus(0, handle, 0, &record, room, &needed); },
        [&](CallReplay &replay) {
            if (replay.clientScoped(EntryPoint::OrxGetCurrentStatePrinter) != 0)
                return KAL_FAIL;
            if (needed != sizeof record)
                violate("needed " + std::to_string(needed));
            if (room < sizeof record)
                return static_cast<int32_t>(KAL_MOREDATA);
            const bool isPrinting = replay.told() == 1 || replay.told() == 2;
            if (record.isPrinting != (isPrinting ? 1u : 0u))
                violate("state " + std::to_string(replay.told()) + " is reported otherwise");
            return KAL_OKAY;
        });
}

void DriverThread::registration() {
    const Expectation nothing = [](CallReplay &) { return 1; };
    if (draw(2) == 0 && registrations_ < 3) {
        ++registrations_;
        const bool byServer = draw(2) == 0;
        check(
            "KalRegisterApp", [&] { return byServer ? KalRegisterWithRpcServer(nullptr) : KalRegisterApp(0); },
            nothing);
    } else if (registrations_ > 0) {
        --registrations_;
        check(
            "KalUnregisterApp", [] { return KalUnregisterApp(0), 1; }, nothing);
    } else {
        check(
            "KalSetClientName", [] { return KalSetClientName("client"), 1; }, nothing);
    }
}

void DriverThread::legacy() {
    using Plain = int32_t();
    static const struct {
        const char *name;
        Plain *function;
        int32_t result;
    } exports[] = {
        {"KalPing", reinterpret_cast<Plain *>(KalPing), KAL_FAIL},
        {"KalGetVersionLM", reinterpret_cast<Plain *>(KalGetVersionLM), KAL_FAIL},
        {"KalEnumJobs", reinterpret_cast<Plain *>(KalEnumJobs), KAL_FAIL},
        {"KalFlushMWOBuffer", reinterpret_cast<Plain *>(KalFlushMWOBuffer), KAL_OKAY},
        {"KalStartRpcServer", reinterpret_cast<Plain *>(KalStartRpcServer), 1},
        {"KalEnumSpecificLM", reinterpret_cast<Plain *>(KalEnumSpecificLM), KAL_OKAY},
    };
    const auto &each = exports[draw(std::size(exports))];
    check(
        each.name, [&] { return each.function(); }, [&](CallReplay &) { return each.result; });
}

/// On handles of all threads only the pair of answer and result is sure, and that nothing is asked of an export's entry
/// point twice: whether the handle is open, another thread decides meanwhile.
void DriverThread::stepShared() {
    const uint16_t handle = sharedHandles[draw(std::size(sharedHandles))];
    struct Shared {
        const char *name;
        std::function<int32_t()> call;
        EntryPoint entryPoint;
        const ExpectedResult &result;
    };
    char data[16] = {};
    uint32_t count = sizeof data;
    const Shared calls[] = {
        {"KalOpen, shared", [&] { return KalOpen(0, handle, 0); }, EntryPoint::OrxOpenPrinter, expected::standard},
        {"KalClose, shared", [&] { return KalClose(0, handle); }, EntryPoint::OrxClosePrinter, expected::close},
        {"KalWrite, shared", [&] { return KalWrite(0, handle, 0, data, &count); }, EntryPoint::OrxWritePrinter,
         expected::write},
        {"KalCancelJob, shared", [&] { return KalCancelJob(0, handle); }, EntryPoint::OrxCancelJobPrinter,
         expected::plain},
        {"KalStartDoc, shared", [&] { return KalStartDoc(handle, 0, nullptr); }, EntryPoint::OrxStartJobPrinter,
         expected::standard},
    };
    const Shared &chosen = calls[draw(std::size(calls))];
    current_ = chosen.name;
    ++callsMade_;
    context_.begin(draw(), false);
    CallContext::current() = &context_;
    const int32_t result = chosen.call();
    CallContext::current() = nullptr;
    const ServiceEvent *asked = nullptr;
    uint32_t refused = 0;
    for (const ServiceEvent &event : context_.events) {
        if (event.entryPoint == EntryPoint::OrxInitialize && event.code != 0)
            refused = libraryMissing;
        else if (event.entryPoint == EntryPoint::OrxGetClientId && event.code != 0)
            refused = event.code;
        else if (event.entryPoint == chosen.entryPoint && asked != nullptr)
            violate("asked twice");
        else if (event.entryPoint == chosen.entryPoint)
            asked = &event;
    }
    const bool isRight = asked != nullptr ? result == chosen.result(asked->code)
                         : refused != 0
                             ? result == chosen.result(refused)
                             : result == chosen.result(handleUnknown) || result == chosen.result(entryPointMissing);
    if (!isRight)
        violate("result " + std::to_string(result));
    checkLibrary();
}

// ------------------------------------------------------------------------------------------------------ end of a round

int DriverThread::closeWholly(uint16_t handle) {
    CallContext context;
    context.begin(0, true);
    CallContext::current() = &context;
    int closed = 0;
    while (KalClose(0, handle) != DEVERR_INVHANDLE && closed < 1000000)
        ++closed;
    CallContext::current() = nullptr;
    return closed;
}

void DriverThread::tidy(bool releases) {
    for (; registrations_ > 0; --registrations_)
        check(
            "KalUnregisterApp", [] { return KalUnregisterApp(0), 1; }, [](CallReplay &) { return 1; }, true);
    for (size_t which = 0; releases && which < handles_.size(); ++which) {
        while (handles_[which].captures > 0)
            release(which, false, true);
        for (uint32_t before = 0; handles_[which].opens != before;) {
            before = handles_[which].opens;
            if (before > 0)
                check(
                    "KalClose", [&] { return KalClose(0, handleOf(which)); },
                    [&](CallReplay &replay) { return expected::close(replay.close(handles_[which])); }, true);
        }
        if (handles_[which].opens > 0)
            continue; // its references went with a close that was missing: only the end of the registration helps
        check(
            "KalClose, closed", [&] { return KalClose(0, handleOf(which)); },
            [&](CallReplay &replay) { return expected::close(replay.close(handles_[which])); }, true);
    }
}

} // namespace kal::test
