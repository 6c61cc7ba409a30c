#include "simulator/Service.h"

#include "comc/Properties.h"
#include "platform/Hexadecimal.h"
#include "simulator/printers/BidiAnswer.h"

#include <algorithm>
#include <mutex>

#include <nlohmann/json.hpp>

namespace simulator {

namespace {

std::string hexadecimal(std::span<const uint8_t> bytes) {
    constexpr size_t mostShown = 64;
    std::string text;
    for (const auto byte : bytes.first(std::min(bytes.size(), mostShown))) {
        text += ' ';
        kal::appendHexadecimal(text, byte);
    }
    return bytes.size() > mostShown ? text + " ..." : text;
}

} // namespace

Service::Service(LoadedConfiguration loaded)
    : loaded_(std::move(loaded)), log_(loaded_.spool / "simulator.log"), memory_(loaded_.identity),
      printers_(loaded_.configuration, loaded_.spool / "printers", log_),
      events_(loaded_.configuration, loaded_.spool / "events") {
    if (loaded_.error) {
        if (memory_.isFirstReport()) {
            log_.write(*loaded_.error);
            reportLoudly(*loaded_.error);
        }
        return;
    }
    events_.begin();
}

Service::~Service() {
    stop();
}

void Service::stop() noexcept {
    events_.stop();
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

uint32_t Service::open(uint32_t handle) {
    const auto *found = printers_.withHandle(handle);
    if (!found) {
        return ERROR_INVALID_HANDLE;
    }
    if (!printers_.canBeOpened(*found)) {
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
    events_.unregisterAll(static_cast<uint16_t>(handle));
    if (unfinished) {
        unfinished->cancel();
        log_.write(title(*printers_.withHandle(handle)) + ": closed within a job, which is dropped");
    }
    return ERROR_SUCCESS;
}

uint32_t Service::remove(uint32_t handle) {
    const auto *found = printers_.withHandle(handle);
    if (!found) {
        return ERROR_INVALID_HANDLE;
    }
    if (isOpen(handle)) {
        return ERROR_BUSY;
    }
    return printers_.remove(*found);
}

uint32_t Service::startJob(uint32_t clientId, uint32_t handle, const JobRequest &request) {
    const auto *found = printers_.withHandle(handle);
    if (!found || !isOpen(handle)) {
        return ERROR_INVALID_HANDLE;
    }
    JobDescription description;
    description.documentName = request.documentName;
    description.user = request.user;
    description.host = request.host;
    description.options = request.options;
    description.handle = found->handle;
    description.printer = found->name;
    description.port = printers_.port(*found);
    description.clientId = clientId;
    description.jobStringsJson =
        nlohmann::json(printers_.jobStrings(*found)).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
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
        opened->second.job = job; // reserves the handle; the job starts without the lock
    }
    const auto &configuration = loaded_.configuration;
    if (const auto code = job->start(loaded_.spool, configuration.spoolCapacity, found->rawTcp); code != 0) {
        dropJob(handle, job);
        log_.write(title(*found) + ": job refused, code " + std::to_string(code));
        return code;
    }
    log_.write(title(*found) + ": job " + std::to_string(job->number()) + " started, document \"" +
               request.documentName + "\"");
    events_.setState(found->handle, ORX_PRINTER_PRINTING_AND_OKAY);
    events_.notify(*found, ORX_NOTIFICATION_START_JOB_REQUESTED);
    return ERROR_SUCCESS;
}

uint32_t Service::write(uint32_t handle, const void *data, uint32_t count) {
    std::shared_ptr<PrintJob> job;
    if (const auto code = findJob(handle, job); code != 0) {
        return code;
    }
    bool isFirst = false;
    const auto code = job->write(data, count, isFirst);
    const auto &found = *printers_.withHandle(handle);
    if (code != 0) {
        log_.write(title(found) + ": job " + std::to_string(job->number()) + " broken, code " + std::to_string(code));
    } else if (isFirst) {
        events_.notify(found, ORX_NOTIFICATION_FIRST_WRITE);
        events_.notify(found, ORX_PRINTER_PRINTING_AND_OKAY);
        events_.alert(found, "statusChange", "jobStatus");
    }
    return code;
}

uint32_t Service::endJob(uint32_t handle) {
    std::shared_ptr<PrintJob> job;
    if (const auto code = findJob(handle, job); code != 0) {
        return code;
    }
    const auto &found = *printers_.withHandle(handle);
    events_.notify(found, ORX_NOTIFICATION_END_JOB_REQUESTED);
    const auto code = job->end();
    dropJob(handle, job);
    if (code != 0) {
        log_.write(title(found) + ": job " + std::to_string(job->number()) + " failed at its end, code " +
                   std::to_string(code));
        events_.setState(found.handle, found.state);
        return code;
    }
    log_.write(title(found) + ": job " + std::to_string(job->number()) + " ended, " + std::to_string(job->size()) +
               " bytes in " + job->finalName().filename().string());
    reportEnd(found);
    return ERROR_SUCCESS;
}

uint32_t Service::cancelJob(uint32_t handle) {
    std::shared_ptr<PrintJob> job;
    if (const auto code = findJob(handle, job); code != 0) {
        return code;
    }
    job->cancel();
    dropJob(handle, job);
    const auto &found = *printers_.withHandle(handle);
    log_.write(title(found) + ": job " + std::to_string(job->number()) + " cancelled");
    events_.notify(found, ORX_NOTIFICATION_JOB_CANCELED);
    events_.notify(found, ORX_PRINTER_IDLE_AND_OKAY);
    events_.setState(found.handle, found.state);
    return ERROR_SUCCESS;
}

/// The printer goes on printing for printingMs after the last byte. If the property TeojDuration is shorter, the true
/// end of job is reported after that time, with the flag 0.
void Service::reportEnd(const PrinterConfiguration &found) {
    PropertyValue limit;
    uint32_t waitMs = found.printingMs;
    auto flag = found.endOfJobFlag;
    if (printers_.property(found.handle, comc::property::endOfJobDuration.descriptor, "Long", limit) == 0) {
        const auto limitMs = std::get<uint32_t>(limit);
        if (limitMs > 0 && limitMs < waitMs) {
            waitMs = limitMs;
            flag = 0;
        }
    }
    if (found.printingMs > 0) {
        printers_.keepPrinting(found, found.printingMs);
    }
    events_.notify(found, ORX_NOTIFICATION_TRUE_END_OF_JOB, waitMs, flag);
    events_.notify(found, ORX_PRINTER_IDLE_AND_OKAY, found.printingMs);
    events_.alert(found, "statusChange", "jobStatus", found.printingMs);
    events_.setState(found.handle, found.state);
}

uint32_t Service::state(uint32_t handle, uint32_t &state) {
    return printers_.state(handle, events_.state(static_cast<uint16_t>(handle)), state);
}

uint32_t Service::exchange(uint32_t handle, std::span<const uint8_t> request, Bytes &response) {
    const auto *found = printers_.withHandle(handle);
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

uint32_t Service::registerAlerts(uint32_t handle, uint32_t mask, OrxAlertCallback callback) {
    if (!isOpen(handle)) {
        return ERROR_INVALID_HANDLE;
    }
    if (!callback) {
        return ERROR_INVALID_PARAMETER;
    }
    events_.registerAlerts(static_cast<uint16_t>(handle), mask, callback);
    return ERROR_SUCCESS;
}

uint32_t Service::unregisterAlerts(uint32_t handle) {
    return events_.unregisterAlerts(static_cast<uint16_t>(handle)) ? ERROR_SUCCESS : ERROR_INVALID_FUNCTION;
}

uint32_t Service::registerNotifications(uint32_t handle, uint32_t mask, OrxNotificationCallback callback) {
    if (!isOpen(handle)) {
        return ERROR_INVALID_HANDLE;
    }
    if (!callback) {
        return ERROR_INVALID_PARAMETER;
    }
    events_.registerNotifications(static_cast<uint16_t>(handle), mask, callback);
    return ERROR_SUCCESS;
}

uint32_t Service::unregisterNotifications(uint32_t handle) {
    return events_.unregisterNotifications(static_cast<uint16_t>(handle)) ? ERROR_SUCCESS : ERROR_INVALID_FUNCTION;
}

bool Service::isOpen(uint32_t handle) {
    const std::lock_guard hold(lock_);
    return open_.contains(handle);
}

uint32_t Service::findJob(uint32_t handle, std::shared_ptr<PrintJob> &job) {
    const std::lock_guard hold(lock_);
    const auto found = open_.find(handle);
    if (found == open_.end()) {
        return ERROR_INVALID_HANDLE;
    }
    job = found->second.job;
    return job ? ERROR_SUCCESS : ERROR_NOT_SUPPORTED;
}

void Service::dropJob(uint32_t handle, const std::shared_ptr<PrintJob> &job) {
    const std::lock_guard hold(lock_);
    const auto found = open_.find(handle);
    if (found != open_.end() && found->second.job == job) {
        found->second.job.reset();
    }
}

} // namespace simulator
