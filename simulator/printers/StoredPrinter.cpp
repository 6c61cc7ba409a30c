#include "simulator/printers/StoredPrinter.h"

#include <limits>
#include <stdexcept>

#include <nlohmann/json.hpp>

namespace simulator {

namespace {

using nlohmann::json;

json toJson(const PropertyValue &value) {
    if (const auto *bytes = std::get_if<Bytes>(&value)) {
        return json{{"bytes", *bytes}};
    }
    if (const auto *number = std::get_if<uint32_t>(&value)) {
        return *number;
    }
    return std::get<std::string>(value);
}

/// The JSON library would also convert numbers that do not fit, with an undefined result.
template <class Number>
Number numberOf(const json &value) {
    if (!value.is_number_unsigned() || value.get<uint64_t>() > std::numeric_limits<Number>::max()) {
        throw std::invalid_argument("is not a number of this type");
    }
    return value.get<Number>();
}

PropertyValue propertyOf(const json &value) {
    if (value.is_string()) {
        return value.get<std::string>();
    }
    if (value.is_object()) {
        Bytes bytes;
        for (const json &byte : value.at("bytes").get_ref<const json::array_t &>()) {
            bytes.push_back(numberOf<uint8_t>(byte));
        }
        return bytes;
    }
    return numberOf<uint32_t>(value);
}

} // namespace

std::string composeStoredPrinter(const StoredPrinter &printer) {
    json properties = json::object();
    for (const auto &[name, value] : printer.properties) {
        properties[name] = toJson(value);
    }
    const json content{{"properties", properties},
                       {"jobStrings", printer.jobStrings},
                       {"discovered", printer.isDiscovered},
                       {"deleted", printer.isDeleted},
                       {"printingUntilMs", printer.printingUntilMs}};
    return content.dump(2, ' ', false, json::error_handler_t::replace);
}

StoredPrinter readStoredPrinter(std::string_view text) {
    try {
        StoredPrinter printer;
        const auto content = json::parse(text);
        for (const auto &[name, value] : content.at("properties").get_ref<const json::object_t &>()) {
            printer.properties.emplace(name, propertyOf(value));
        }
        printer.jobStrings = content.at("jobStrings").get<std::map<std::string, std::string>>();
        printer.isDiscovered = content.at("discovered").get<bool>();
        printer.isDeleted = content.at("deleted").get<bool>();
        printer.printingUntilMs = numberOf<uint64_t>(content.at("printingUntilMs"));
        return printer;
    } catch (const json::exception &) {
        return {};
    } catch (const std::invalid_argument &) {
        return {};
    }
}

} // namespace simulator
