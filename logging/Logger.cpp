#include "logging/Logger.h"

#include "settings/KeyPaths.h"
#include "settings/Localize.h"

#include <atomic>

namespace kal {

namespace {

constexpr uint32_t widthWhileMade = 25;
constexpr uint32_t width = 15;

std::atomic<BasicLogger *> kept = nullptr; ///< by keepInstance

/// "%ALLUSERSPROFILE%\" expanded; empty if that fails.
std::string logDirectory() {
    constexpr const char *unexpanded = "%ALLUSERSPROFILE%\\";
    const DWORD size = ExpandEnvironmentStringsA(unexpanded, nullptr, 0);
    if (size == 0) {
        return {};
    }
    std::string directory(size, '\0');
    if (ExpandEnvironmentStringsA(unexpanded, directory.data(), size) == 0) {
        return {};
    }
    directory.resize(strnlen(directory.data(), directory.size()));
    return directory;
}

} // namespace

Logger::Logger()
    : BasicLogger(logDirectory() + Localize::getInstance().localId() + ".log", widthWhileMade),
      settings_(Localize::getInstance()) {}

void Logger::readSetting(const std::string &name, uint32_t &value, uint32_t defaultValue) {
    value = defaultValue;
    static_cast<void>(settings_.read("Logger", name, value, localRoot));
}

void Logger::createInstance() {
    if (!BasicLogger::isInstance(nullptr)) {
        return;
    }
    if (BasicLogger *const before = kept.exchange(nullptr)) {
        before->forgetDepths(); // traces that were open will not write their ends
        static_cast<void>(publish(before));
        return;
    }
    auto logger = std::make_unique<Logger>();
    logger->setComponentWidth(width);
    if (publish(logger.get())) {
        static_cast<void>(logger.release()); // owned by the process until destroyInstance
    }
}

void Logger::destroyInstance() noexcept {
    if (!BasicLogger::isInstance(nullptr)) {
        const std::unique_ptr<BasicLogger> logger(&getInstance());
        unpublish();
    }
}

void Logger::keepInstance() noexcept {
    if (!BasicLogger::isInstance(nullptr)) {
        kept = &getInstance();
        unpublish();
    }
}

} // namespace kal
