#include "simulator/Service.h"

#include "simulator/configuration/AlertFormat.h"
#include "simulator/configuration/NotificationNames.h"
#include "simulator/printers/BidiAnswer.h"
#include "simulator/printers/CachedData.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <mutex>

#include <nlohmann/json.hpp>

namespace simulator {

namespace {

/// Host-based network printers are found on the network like the others.
bool isOnTransport(const PrinterConfiguration &printer, const char *transport) {
    if (!transport) {
        return true;
    }
    const std::string_view wanted(transport);
    if (!printer.transport) {
        return wanted == comc::transport::usb; // what cannot name its transport is a USB device
    }
    const bool isHostBased =
        *printer.transport == comc::transport::hostBased1 || *printer.transport == comc::transport::hostBased3;
    return *printer.transport == wanted || (isHostBased && wanted == comc::transport::ipv4);
}

std::string_view typeOf(const PropertyValue &value) {
    constexpr std::string_view names[] = {"String", "Long", "ByteArray"};
    return names[value.index()];
}

std::string hexadecimal(std::span<const uint8_t> bytes) {
    std::string text;
    char pair[4];
    for (const auto byte : bytes.first(std::min<size_t>(bytes.size(), 64))) {
        std::snprintf(pair, sizeof pair, " %02X", byte);
        text += pair;
    }
    return bytes.size() > 64 ? text + " ..." : text;
}

std::string title(const PrinterConfiguration &printer) {
    return "printer " + std::to_string(printer.handle) + " (" + printer.port + ")";
}

} // namespace

Service::Service(LoadedConfiguration loaded)
    : loaded_(std::move(loaded)), log_(loaded_.spool / "simulator.log"), memory_(loaded_.identity),
      store_(loaded_.spool / "printers"), listeners_(std::make_shared<Listeners>()),
      journal_(std::make_shared<EventJournal>(loaded_.spool / "events")), jobEvents_(listeners_, journal_),
      timeline_(listeners_), isScheduled_(loaded_.configuration.timeline.size()) {
    if (loaded_.error) {
        if (memory_.isFirstReport()) {
            log_.write(*loaded_.error);
            reportLoudly(*loaded_.error);
        }
        return;
    }
    scheduleTimeline(TimelineStart::load, std::nullopt);
}

Service::~Service() {
    stop();
}

void Service::stop() noexcept {
    listeners_->clearAll();
    timeline_.stop();
    jobEvents_.stop();
    std::map<uint32_t, OpenPrinter> open;
    {
        const std::lock_guard hold(lock_);
        open.swap(open_);
    }
    for (auto &[handle, printer] : open) {
        if (printer.job) {
            printer.job->cancel();
        }
    }
}

MisbehaviourDecision Service::decideCall(std::string_view entryPoint) {
    const auto found = loaded_.configuration.entryPoints.find(std::string(entryPoint));
    if (found == loaded_.configuration.entryPoints.end()) {
        return {};
    }
    return decide(found->second, memory_.countCall(entryPoint));
}

// ------------------------------------------------------------------------------------------------ open and close

uint32_t Service::open(uint32_t handle) {
    const auto *found = printer(handle);
    if (!found) {
        return ERROR_INVALID_HANDLE;
    }
    if (!found->isReachable || store_.read(found->handle).isDeleted) {
        return ERROR_NOT_FOUND;
    }
    const std::lock_guard hold(lock_);
    ++open_[handle].count;
    return ERROR_SUCCESS;
}

uint32_t Service::close(uint32_t handle) {
    std::shared_ptr<PrintJob> unfinished;
    {
        const std::lock_guard hold(lock_);
        const auto found = open_.find(handle);
        if (found == open_.end()) {
            return ERROR_INVALID_HANDLE;
        }
        if (--found->second.count > 0) {
            return ERROR_SUCCESS;
        }
        unfinished = std::move(found->second.job);
        open_.erase(found);
    }
    const auto narrow = static_cast<uint16_t>(handle);
    listeners_->clearAlerts(narrow);
    listeners_->clearNotifications(narrow);
    if (unfinished) {
        unfinished->cancel();
        log_.write(title(*printer(handle)) + ": closed within a job, which is dropped");
    }
    return ERROR_SUCCESS;
}

uint32_t Service::remove(uint32_t handle) {
    const auto *found = printer(handle);
    if (!found) {
        return ERROR_INVALID_HANDLE;
    }
    if (isOpen(handle)) {
        return ERROR_BUSY;
    }
    return store_.update(found->handle, [](StoredPrinter &stored) {
        stored = StoredPrinter();
        stored.isDeleted = true;
    });
}

// ---------------------------------------------------------------------------------------------------------- jobs

uint32_t Service::startJob(uint32_t clientId, uint32_t handle, const JobRequest &request) {
    const auto *found = printer(handle);
    if (!found || !isOpen(handle)) {
        return ERROR_INVALID_HANDLE;
    }
    const auto stored = store_.read(found->handle);
    JobDescription description;
    description.documentName = request.documentName;
    description.user = request.user;
    description.host = request.host;
    description.options = request.options;
    description.handle = found->handle;
    description.printer = found->name;
    description.port = portOf(*found);
    description.clientId = clientId;
    description.jobStringsJson =
        nlohmann::json(stored.jobStrings).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    const auto job = std::make_shared<PrintJob>(std::move(description));
    {
        const std::lock_guard hold(lock_);
        const auto opened = open_.find(handle);
        if (opened == open_.end()) {
            return ERROR_INVALID_HANDLE;
        }
        if (opened->second.job) {
            return ERROR_BUSY;
        }
        opened->second.job = job; // the place is taken; the job is started without the lock
    }
    const auto &configuration = loaded_.configuration;
    if (const auto code = job->start(loaded_.spool, configuration.spoolCapacity, found->rawTcp); code != 0) {
        dropJob(handle, job);
        log_.write(title(*found) + ": job refused, code " + std::to_string(code));
        return code;
    }
    log_.write(title(*found) + ": job " + std::to_string(job->number()) + " started, document \"" +
               request.documentName + "\"");
    listeners_->setState(found->handle, ORX_PRINTER_PRINTING_AND_OKAY);
    notify(*found, ORX_NOTIFICATION_START_JOB_REQUESTED);
    return ERROR_SUCCESS;
}

uint32_t Service::write(uint32_t handle, const void *data, uint32_t count) {
    if (!isOpen(handle)) {
        return ERROR_INVALID_HANDLE;
    }
    const auto job = runningJob(handle);
    if (!job) {
        return ERROR_NOT_SUPPORTED;
    }
    bool isFirst = false;
    const auto code = job->write(data, count, isFirst);
    const auto &found = *printer(handle);
    if (code != 0) {
        log_.write(title(found) + ": job " + std::to_string(job->number()) + " broken, code " + std::to_string(code));
    } else if (isFirst) {
        notify(found, ORX_NOTIFICATION_FIRST_WRITE);
        notify(found, ORX_PRINTER_PRINTING_AND_OKAY);
        alert(found, "statusChange", "jobStatus");
    }
    return code;
}

uint32_t Service::endJob(uint32_t handle) {
    if (!isOpen(handle)) {
        return ERROR_INVALID_HANDLE;
    }
    const auto job = runningJob(handle);
    if (!job) {
        return ERROR_NOT_SUPPORTED;
    }
    const auto &found = *printer(handle);
    notify(found, ORX_NOTIFICATION_END_JOB_REQUESTED);
    const auto code = job->end();
    dropJob(handle, job);
    if (code != 0) {
        log_.write(title(found) + ": job " + std::to_string(job->number()) + " failed at its end, code " +
                   std::to_string(code));
        listeners_->setState(found.handle, found.state);
        return code;
    }
    log_.write(title(found) + ": job " + std::to_string(job->number()) + " ended, " + std::to_string(job->size()) +
               " bytes in " + job->finalName().filename().string());
    reportEnd(found);
    return ERROR_SUCCESS;
}

uint32_t Service::cancelJob(uint32_t handle) {
    if (!isOpen(handle)) {
        return ERROR_INVALID_HANDLE;
    }
    const auto job = runningJob(handle);
    if (!job) {
        return ERROR_NOT_SUPPORTED;
    }
    job->cancel();
    dropJob(handle, job);
    const auto &found = *printer(handle);
    log_.write(title(found) + ": job " + std::to_string(job->number()) + " cancelled");
    notify(found, ORX_NOTIFICATION_JOB_CANCELED);
    notify(found, ORX_PRINTER_IDLE_AND_OKAY);
    listeners_->setState(found.handle, found.state);
    return ERROR_SUCCESS;
}

/// A printer is busy for a while after the last byte; a client that waits less long hears of the end without it.
void Service::reportEnd(const PrinterConfiguration &found) {
    PropertyValue limit;
    uint32_t waitMs = found.printingMs;
    auto flag = found.endOfJobFlag;
    if (property(found.handle, "<Name>TeojDuration</Name>", "Long", limit) == 0) {
        const auto limitMs = std::get<uint32_t>(limit);
        if (limitMs > 0 && limitMs < waitMs) {
            waitMs = limitMs;
            flag = 0;
        }
    }
    if (found.printingMs > 0) {
        const auto until = systemTimeMs() + found.printingMs;
        // That a printer still looks busy to other processes is a nicety, not a reason to fail a whole document.
        static_cast<void>(
            store_.update(found.handle, [until](StoredPrinter &stored) { stored.printingUntilMs = until; }));
    }
    notify(found, ORX_NOTIFICATION_TRUE_END_OF_JOB, waitMs, flag);
    notify(found, ORX_PRINTER_IDLE_AND_OKAY, found.printingMs);
    alert(found, "statusChange", "jobStatus", found.printingMs);
    listeners_->setState(found.handle, found.state);
}

// --------------------------------------------------------------------------------------------------- enumeration

std::vector<uint16_t> Service::find(const char *transport) {
    std::vector<uint16_t> handles;
    for (const auto &candidate : loaded_.configuration.printers) {
        if (isOnTransport(candidate, transport) && isPresent(candidate)) {
            handles.push_back(candidate.handle);
        }
    }
    return handles;
}

uint32_t Service::discover(const char *transport) {
    for (const auto &candidate : loaded_.configuration.printers) {
        if (!isOnTransport(candidate, transport) || isPresent(candidate)) {
            continue;
        }
        const auto code = store_.update(candidate.handle, [](StoredPrinter &stored) {
            stored.isDiscovered = true;
            stored.isDeleted = false;
        });
        if (code != 0) {
            return code;
        }
        log_.write(title(candidate) + ": discovered");
    }
    return ERROR_SUCCESS;
}

uint32_t Service::findPort(std::string_view portName, uint32_t &handle) {
    for (const auto &candidate : loaded_.configuration.printers) {
        if (portOf(candidate) == portName && isPresent(candidate)) {
            handle = candidate.handle;
            return ERROR_SUCCESS;
        }
    }
    return ERROR_NOT_FOUND;
}

// ---------------------------------------------------------------------------------------------------- properties

uint32_t Service::property(uint32_t handle, const char *text, std::string_view type, PropertyValue &value) {
    const auto *found = printer(handle);
    if (!found) {
        return ERROR_INVALID_HANDLE;
    }
    const auto descriptor = text ? comc::readDescriptor(text) : std::nullopt;
    if (!descriptor || (!descriptor->type.empty() && descriptor->type != type)) {
        return ERROR_INVALID_PARAMETER;
    }
    const auto &name = descriptor->name;
    const auto stored = store_.read(found->handle);
    if (const auto kept = stored.properties.find(name); kept != stored.properties.end()) {
        value = kept->second;
    } else if (name == comc::property::transport.name && found->transport) {
        value = *found->transport;
    } else if (name == comc::property::device.name) {
        value = found->device;
    } else if (name == comc::property::portName.name) {
        value = found->port;
    } else if (name == comc::property::macAddress.name && found->macAddress) {
        value = Bytes(found->macAddress->begin(), found->macAddress->end());
    } else if (name == comc::property::endOfJobDuration.name) {
        value = uint32_t{0};
    } else if (name == comc::property::jobId.name) {
        value = Bytes(4, 0);
    } else if (const auto own = found->properties.find(name); own != found->properties.end()) {
        value = own->second;
    } else {
        return ERROR_NOT_SUPPORTED;
    }
    return typeOf(value) == type ? ERROR_SUCCESS : ERROR_INVALID_PARAMETER;
}

uint32_t Service::setProperty(uint32_t handle, const char *text, std::string_view type, PropertyValue value) {
    const auto *found = printer(handle);
    if (!found) {
        return ERROR_INVALID_HANDLE;
    }
    const auto descriptor = text ? comc::readDescriptor(text) : std::nullopt;
    if (!descriptor || (!descriptor->type.empty() && descriptor->type != type)) {
        return ERROR_INVALID_PARAMETER;
    }
    const auto &name = descriptor->name;
    const bool isFixed = name == comc::property::transport.name || name == comc::property::device.name ||
                         name == comc::property::macAddress.name;
    if (isFixed || descriptor->access == "ReadOnly") {
        return ERROR_ACCESS_DENIED;
    }
    return store_.update(found->handle, [&](StoredPrinter &stored) { stored.properties[name] = std::move(value); });
}

uint32_t Service::setJobString(uint32_t handle, const char *key, const char *value) {
    const auto *found = printer(handle);
    if (!found) {
        return ERROR_INVALID_HANDLE;
    }
    if (!key || !value) {
        return ERROR_INVALID_PARAMETER;
    }
    const auto descriptor = comc::readDescriptor(key);
    if (!descriptor) {
        return store_.update(found->handle, [&](StoredPrinter &stored) { stored.jobStrings[key] = value; });
    }
    if (descriptor->type != "Long") {
        return setProperty(handle, key, "String", std::string(value));
    }
    uint32_t number = 0;
    const auto *end = value + std::strlen(value);
    const auto [stop, failure] = std::from_chars(value, end, number);
    if (failure != std::errc() || stop != end) {
        return ERROR_INVALID_PARAMETER;
    }
    return setProperty(handle, key, "Long", number);
}

uint32_t Service::cache(uint32_t handle, Bytes &block) {
    const auto *found = printer(handle);
    if (!found) {
        return ERROR_INVALID_HANDLE;
    }
    block = composeCache(*found);
    return ERROR_SUCCESS;
}

uint32_t Service::state(uint32_t handle, uint32_t &state) {
    const auto *found = printer(handle);
    if (!found) {
        return ERROR_INVALID_HANDLE;
    }
    if (!found->isReachable) {
        return ERROR_NOT_FOUND;
    }
    state = listeners_->state(found->handle).value_or(found->state);
    if (state == ORX_PRINTER_IDLE_AND_OKAY && store_.read(found->handle).printingUntilMs > systemTimeMs()) {
        state = ORX_PRINTER_PRINTING_AND_OKAY;
    }
    return ERROR_SUCCESS;
}

uint32_t Service::exchange(uint32_t handle, std::span<const uint8_t> request, Bytes &response) {
    const auto *found = printer(handle);
    if (!found || !isOpen(handle)) {
        return ERROR_INVALID_HANDLE;
    }
    if (request.empty()) {
        return ERROR_INVALID_PARAMETER;
    }
    auto answer = answerBidi(found->bidi, request);
    log_.write(title(*found) + ": bidi request" + hexadecimal(request) + ", code " + std::to_string(answer.code) +
               ", response" + hexadecimal(answer.response));
    if (answer.delayMs > 0) {
        Sleep(answer.delayMs);
    }
    response = std::move(answer.response);
    return answer.code;
}

// ------------------------------------------------------------------------------------------ alerts, notifications

uint32_t Service::registerAlerts(uint32_t handle, uint32_t mask, OrxAlertCallback callback) {
    if (!isOpen(handle)) {
        return ERROR_INVALID_HANDLE;
    }
    if (!callback) {
        return ERROR_INVALID_PARAMETER;
    }
    const auto narrow = static_cast<uint16_t>(handle);
    listeners_->setAlerts(narrow, mask, callback);
    listen(narrow);
    return ERROR_SUCCESS;
}

uint32_t Service::unregisterAlerts(uint32_t handle) {
    return listeners_->clearAlerts(static_cast<uint16_t>(handle)) ? ERROR_SUCCESS : ERROR_INVALID_FUNCTION;
}

uint32_t Service::registerNotifications(uint32_t handle, uint32_t mask, OrxNotificationCallback callback) {
    if (!isOpen(handle)) {
        return ERROR_INVALID_HANDLE;
    }
    if (!callback) {
        return ERROR_INVALID_PARAMETER;
    }
    const auto narrow = static_cast<uint16_t>(handle);
    listeners_->setNotifications(narrow, mask, callback);
    listen(narrow);
    return ERROR_SUCCESS;
}

uint32_t Service::unregisterNotifications(uint32_t handle) {
    return listeners_->clearNotifications(static_cast<uint16_t>(handle)) ? ERROR_SUCCESS : ERROR_INVALID_FUNCTION;
}

void Service::notify(const PrinterConfiguration &found, uint32_t notification, uint32_t afterMs,
                     std::optional<uint32_t> flag) {
    if (found.reportsJobs) {
        PrinterEvent event;
        event.handle = found.handle;
        event.notification = notification;
        event.flag = flag;
        tell(std::move(event), afterMs);
    }
}

void Service::alert(const PrinterConfiguration &found, std::string_view cpdAlert, std::string_view bpdAlert,
                    uint32_t afterMs) {
    if (found.reportsJobs) {
        const bool isCpd = found.device == comc::device::cpdPrinter;
        PrinterEvent event;
        event.handle = found.handle;
        event.alert =
            isCpd ? alertByName(cpdAlert, DeviceKind::cpdPrinter) : alertByName(bpdAlert, DeviceKind::bpdPrinter);
        tell(std::move(event), afterMs);
    }
}

/// To the listeners of this process directly, to those of others through the journal.
void Service::tell(PrinterEvent event, uint32_t afterMs) {
    journal_->append(event, afterMs);
    if (listeners_->hasAny(event.handle)) {
        jobEvents_.post(std::move(event), afterMs);
    }
}

/// Somebody registered: other processes are heard from now on, and what the timeline has for this moment begins.
void Service::listen(uint16_t handle) {
    {
        const std::lock_guard hold(lock_);
        if (!isListening_) {
            isListening_ = true;
            journal_->skipToEnd();
        }
    }
    jobEvents_.start();
    scheduleTimeline(TimelineStart::registration, handle);
}

void Service::scheduleTimeline(TimelineStart start, std::optional<uint16_t> handle) {
    const auto &entries = loaded_.configuration.timeline;
    const std::lock_guard hold(lock_);
    for (size_t index = 0; index < entries.size(); ++index) {
        const auto &entry = entries[index];
        if (isScheduled_[index] || entry.start != start || (handle && entry.handle != *handle)) {
            continue;
        }
        isScheduled_[index] = true;
        PrinterEvent event;
        event.handle = entry.handle;
        event.alert = entry.alert;
        event.category = entry.category;
        event.notification = entry.notification.value_or(0);
        event.flag = entry.flag;
        timeline_.post(std::move(event), entry.afterMs, entry.count, entry.intervalMs);
    }
}

// ------------------------------------------------------------------------------------------------------ look-ups

const PrinterConfiguration *Service::printer(uint32_t handle) const noexcept {
    for (const auto &candidate : loaded_.configuration.printers) {
        if (candidate.handle == handle) {
            return &candidate;
        }
    }
    return nullptr;
}

bool Service::isPresent(const PrinterConfiguration &candidate) const {
    const auto stored = store_.read(candidate.handle);
    return !stored.isDeleted && (!candidate.isHiddenUntilDiscovery || stored.isDiscovered);
}

bool Service::isOpen(uint32_t handle) {
    const std::lock_guard hold(lock_);
    return open_.contains(handle);
}

std::shared_ptr<PrintJob> Service::runningJob(uint32_t handle) {
    const std::lock_guard hold(lock_);
    const auto found = open_.find(handle);
    return found == open_.end() ? nullptr : found->second.job;
}

void Service::dropJob(uint32_t handle, const std::shared_ptr<PrintJob> &job) {
    const std::lock_guard hold(lock_);
    const auto found = open_.find(handle);
    if (found != open_.end() && found->second.job == job) {
        found->second.job.reset();
    }
}

std::string Service::portOf(const PrinterConfiguration &candidate) const {
    const auto stored = store_.read(candidate.handle);
    const auto kept = stored.properties.find(comc::property::portName.name);
    const auto *text = kept == stored.properties.end() ? nullptr : std::get_if<std::string>(&kept->second);
    return text ? *text : candidate.port;
}

} // namespace simulator
