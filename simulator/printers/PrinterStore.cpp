#include "simulator/printers/PrinterStore.h"

#include <cstdio>
#include <fstream>
#include <iterator>

#include <nlohmann/json.hpp>

namespace simulator {

namespace {

using nlohmann::json;

/// Held while a file is read, changed and put back. A holder that died leaves a whole file: it is replaced, not edited.
class MutexHold {
  public:
    explicit MutexHold(HANDLE mutex) : mutex_(mutex) { WaitForSingleObject(mutex_, INFINITE); }
    ~MutexHold() { ReleaseMutex(mutex_); }
    MutexHold(const MutexHold &) = delete;
    MutexHold &operator=(const MutexHold &) = delete;

  private:
    HANDLE mutex_;
};

json toJson(const PropertyValue &value) {
    if (const auto *bytes = std::get_if<Bytes>(&value)) {
        return json{{"bytes", *bytes}};
    }
    if (const auto *number = std::get_if<uint32_t>(&value)) {
        return *number;
    }
    return std::get<std::string>(value);
}

PropertyValue propertyOf(const json &value) {
    if (value.is_string()) {
        return value.get<std::string>();
    }
    if (value.is_object()) {
        return value.at("bytes").get<Bytes>();
    }
    return value.get<uint32_t>();
}

StoredPrinter readFile(const std::filesystem::path &file) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream) {
        return {};
    }
    try {
        StoredPrinter printer;
        const auto content = json::parse(stream);
        for (const auto &[name, value] : content.at("properties").items()) {
            printer.properties.emplace(name, propertyOf(value));
        }
        printer.jobStrings = content.at("jobStrings").get<std::map<std::string, std::string>>();
        printer.isDiscovered = content.at("discovered").get<bool>();
        printer.isDeleted = content.at("deleted").get<bool>();
        printer.printingUntilMs = content.at("printingUntilMs").get<uint64_t>();
        return printer;
    } catch (const json::exception &) {
        return {};
    }
}

uint32_t writeFile(const std::filesystem::path &file, const StoredPrinter &printer) {
    json properties = json::object();
    for (const auto &[name, value] : printer.properties) {
        properties[name] = toJson(value);
    }
    const json content{{"properties", properties},
                       {"jobStrings", printer.jobStrings},
                       {"discovered", printer.isDiscovered},
                       {"deleted", printer.isDeleted},
                       {"printingUntilMs", printer.printingUntilMs}};
    const auto text = content.dump(2, ' ', false, json::error_handler_t::replace);

    std::error_code failure;
    std::filesystem::create_directories(file.parent_path(), failure);
    auto temporary = file;
    temporary.replace_extension(".new");
    {
        std::ofstream stream(temporary, std::ios::binary | std::ios::trunc);
        stream << text;
        stream.close();
        if (!stream) {
            return ERROR_WRITE_FAULT;
        }
    }
    return MoveFileExW(temporary.c_str(), file.c_str(), MOVEFILE_REPLACE_EXISTING) ? ERROR_SUCCESS : ERROR_WRITE_FAULT;
}

} // namespace

PrinterStore::PrinterStore(std::filesystem::path folder)
    : folder_(std::move(folder)), mutex_(CreateMutexW(nullptr, FALSE, L"Local\\comc-simulator-store")) {}

StoredPrinter PrinterStore::read(uint16_t handle) const {
    const MutexHold hold(mutex_.get());
    return readFile(fileOf(handle));
}

uint32_t PrinterStore::update(uint16_t handle, const std::function<void(StoredPrinter &)> &change) {
    const MutexHold hold(mutex_.get());
    auto printer = readFile(fileOf(handle));
    change(printer);
    return writeFile(fileOf(handle), printer);
}

std::filesystem::path PrinterStore::fileOf(uint16_t handle) const {
    char name[24];
    std::snprintf(name, sizeof name, "printer-%04x.json", handle);
    return folder_ / name;
}

uint64_t systemTimeMs() noexcept {
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    return ((static_cast<uint64_t>(now.dwHighDateTime) << 32) | now.dwLowDateTime) / 10000;
}

} // namespace simulator
