#include "simulator/configuration/Configuration.h"

#include "comc/EntryPoints.h"
#include "comc/Properties.h"
#include "simulator/configuration/AlertFormat.h"
#include "simulator/configuration/ConfigurationReader.h"
#include "simulator/configuration/NotificationNames.h"

#include <algorithm>
#include <array>

namespace simulator {

namespace {

uint32_t readState(const Reader &reader, const JsonValue &value) {
    if (std::holds_alternative<std::string>(value.content)) {
        const auto state = stateByName(std::get<std::string>(value.content));
        if (!state) {
            reader.fail(value, "\"state\" knows printing, error and idle");
        }
        return *state;
    }
    return reader.number<uint32_t>(value, "\"state\"");
}

BidiRule readBidiRule(const Reader &reader, const JsonValue &value) {
    Members members(reader, value, "a bidi answer");
    BidiRule rule;
    rule.requestPrefix = reader.bytes(members.require("request"), "\"request\"");
    const auto *answer = members.find("answer");
    const auto *text = members.find("answerText");
    const auto *whole = members.find("response");
    const auto given = std::array{answer, text, whole};
    if (std::count(given.begin(), given.end(), nullptr) < 2) {
        members.fail("a bidi answer has one of \"answer\", \"answerText\" and \"response\"");
    }
    if (answer) {
        rule.answer = reader.bytes(*answer, "\"answer\"");
    } else if (text) {
        const auto &characters = reader.string(*text, "\"answerText\"");
        rule.answer.assign(characters.begin(), characters.end());
    } else if (whole) {
        rule.answer = reader.bytes(*whole, "\"response\"");
        rule.isWhole = true;
    }
    members.number("code", rule.code);
    members.number("delayMs", rule.delayMs);
    members.finish();
    return rule;
}

RawTcpTarget readRawTcp(const Reader &reader, const JsonValue &value) {
    Members members(reader, value, "\"rawTcp\"");
    RawTcpTarget target;
    target.host = reader.string(members.require("host"), "\"host\"");
    members.number("port", target.port);
    members.number("connectTimeoutMs", target.connectTimeoutMs);
    members.number("sendTimeoutMs", target.sendTimeoutMs);
    members.number("endTimeoutMs", target.endTimeoutMs);
    members.finish();
    return target;
}

void readCache(const Reader &reader, const JsonValue &value, PrinterConfiguration &printer) {
    Members members(reader, value, "\"cache\"");
    printer.cache.clear();
    if (const auto *bytes = members.find("bytes")) {
        printer.cache = reader.bytes(*bytes, "\"bytes\"");
    }
    if (const auto *text = members.find("text")) {
        const auto &characters = reader.string(*text, "\"text\"");
        printer.cache.insert(printer.cache.end(), characters.begin(), characters.end());
    }
    members.boolean("head", printer.hasCacheHead);
    members.finish();
}

PropertyValue readProperty(const Reader &reader, const JsonValue &value, const std::string &name) {
    if (const auto *text = std::get_if<std::string>(&value.content)) {
        return *text;
    }
    if (std::holds_alternative<JsonValue::Object>(value.content)) {
        Members members(reader, value, "a property");
        auto bytes = reader.bytes(members.require("bytes"), "\"bytes\"");
        members.finish();
        return bytes;
    }
    return reader.number<uint32_t>(value, "property \"" + name + "\"");
}

PrinterConfiguration readPrinter(const Reader &reader, const JsonValue &value) {
    Members members(reader, value, "a printer");
    PrinterConfiguration printer;
    printer.handle = reader.handle(members.require("handle"), "\"handle\"");
    const auto &transport = members.require("transport");
    if (!std::holds_alternative<std::nullptr_t>(transport.content)) {
        printer.transport = reader.string(transport, "\"transport\"");
    }
    printer.port = reader.string(members.require("port"), "\"port\"");
    printer.device = reader.string(members.require("device"), "\"device\"");
    printer.name = printer.port;
    members.string("name", printer.name);
    if (const auto *mac = members.find("macAddress")) {
        const auto bytes = reader.bytes(*mac, "\"macAddress\"");
        if (bytes.size() != 6) {
            reader.fail(*mac, "\"macAddress\" must have six bytes");
        }
        std::copy_n(bytes.begin(), 6, printer.macAddress.emplace().begin());
    }
    if (const auto *state = members.find("state")) {
        printer.state = readState(reader, *state);
    }
    members.boolean("reachable", printer.isReachable);
    members.boolean("hiddenUntilDiscovery", printer.isHiddenUntilDiscovery);
    if (const auto *cache = members.find("cache")) {
        readCache(reader, *cache, printer);
    }
    if (const auto *answers = members.find("bidi")) {
        for (const auto &answer : reader.array(*answers, "\"bidi\"")) {
            printer.bidi.push_back(readBidiRule(reader, answer));
        }
    }
    if (const auto *properties = members.find("properties")) {
        for (const auto &[name, content] : reader.object(*properties, "\"properties\"")) {
            printer.properties.emplace(name, readProperty(reader, content, name));
        }
    }
    if (const auto *target = members.find("rawTcp")) {
        printer.rawTcp = readRawTcp(reader, *target);
    }
    members.boolean("reportsJobs", printer.reportsJobs);
    members.number("printingMs", printer.printingMs);
    if (const auto *flag = members.find("endOfJobFlag")) {
        if (std::holds_alternative<std::nullptr_t>(flag->content)) {
            printer.endOfJobFlag.reset();
        } else {
            printer.endOfJobFlag = reader.number<uint32_t>(*flag, "\"endOfJobFlag\"");
        }
    }
    members.finish();
    return printer;
}

Misbehaviour readMisbehaviour(const Reader &reader, const JsonValue &value) {
    Members members(reader, value, "a misbehaviour");
    Misbehaviour misbehaviour;
    std::optional<uint32_t> call;
    std::optional<uint32_t> fromCall;
    members.number("call", call);
    members.number("fromCall", fromCall);
    if (call && fromCall) {
        members.fail("a misbehaviour has \"call\" or \"fromCall\", not both");
    }
    if (call.value_or(1) == 0 || fromCall.value_or(1) == 0) {
        members.fail("calls count from 1");
    }
    misbehaviour.firstCall = call.value_or(fromCall.value_or(1));
    misbehaviour.lastCall = call;
    members.number("code", misbehaviour.code);
    members.number("delayMs", misbehaviour.delayMs);
    members.number("accept", misbehaviour.accept);
    members.boolean("missing", misbehaviour.isMissing);
    if (misbehaviour.isMissing && (call || fromCall)) {
        members.fail("an entry point is missing for good: \"missing\" takes no \"call\" or \"fromCall\"");
    }
    members.finish();
    return misbehaviour;
}

void readMisbehaviours(const Reader &reader, const JsonValue &value, Configuration &configuration) {
    for (const auto &[name, rules] : reader.object(value, "\"entryPoints\"")) {
        if (comc::findEntryPoint(name) == nullptr) {
            reader.fail(rules, "there is no entry point \"" + name + "\"");
        }
        auto &target = configuration.entryPoints[name];
        if (std::holds_alternative<JsonValue::Object>(rules.content)) {
            target.push_back(readMisbehaviour(reader, rules));
            continue;
        }
        for (const auto &rule : reader.array(rules, "\"" + name + "\"")) {
            target.push_back(readMisbehaviour(reader, rule));
        }
    }
}

const PrinterConfiguration &findPrinter(const Reader &reader, const JsonValue &value,
                                        const std::vector<PrinterConfiguration> &printers) {
    const auto *text = std::get_if<std::string>(&value.content);
    auto found = std::find_if(printers.begin(), printers.end(),
                              [&](const auto &printer) { return text && printer.port == *text; });
    if (found == printers.end()) {
        const auto handle = reader.handle(value, "\"printer\"");
        found = std::find_if(printers.begin(), printers.end(),
                             [&](const auto &printer) { return printer.handle == handle; });
    }
    if (found == printers.end()) {
        reader.fail(value, "there is no such printer");
    }
    return *found;
}

/// The named alert or the given bytes, truncated or zero-filled to "alertLength".
std::optional<Bytes> readAlert(const Reader &reader, Members &members, const PrinterConfiguration &printer) {
    const auto *name = members.find("alert");
    const auto *bytes = members.find("alertBytes");
    const auto *length = members.find("alertLength");
    if (name && bytes) {
        members.fail("one entry has \"alert\" or \"alertBytes\", not both");
    }
    std::optional<Bytes> alert;
    if (name) {
        const auto kind = printer.device == comc::device::cpdPrinter ? DeviceKind::cpdPrinter : DeviceKind::bpdPrinter;
        alert = alertByName(reader.string(*name, "\"alert\""), kind);
        if (!alert) {
            reader.fail(*name, "a " + printer.device + " has no such alert; there are " + alertNames(kind));
        }
    } else if (bytes) {
        alert = reader.bytes(*bytes, "\"alertBytes\"");
    }
    if (length) {
        if (!alert) {
            reader.fail(*length, "\"alertLength\" needs an alert");
        }
        alert->resize(reader.number<uint16_t>(*length, "\"alertLength\""));
    }
    return alert;
}

TimelineEntry readTimelineEntry(const Reader &reader, const JsonValue &value,
                                const std::vector<PrinterConfiguration> &printers) {
    Members members(reader, value, "a timeline entry");
    TimelineEntry entry;
    const auto &printer = findPrinter(reader, members.require("printer"), printers);
    entry.handle = printer.handle;
    if (const auto *start = members.find("from")) {
        const auto &name = reader.string(*start, "\"from\"");
        if (name != "load" && name != "registration") {
            reader.fail(*start, "\"from\" knows load and registration");
        }
        entry.start = name == "load" ? TimelineStart::load : TimelineStart::registration;
    }
    members.number("afterMs", entry.afterMs);
    members.number("count", entry.count);
    members.number("intervalMs", entry.intervalMs);
    entry.alert = readAlert(reader, members, printer);
    if (const auto *notification = members.find("notification")) {
        if (const auto *name = std::get_if<std::string>(&notification->content)) {
            entry.notification = notificationByName(*name);
            if (!entry.notification) {
                reader.fail(*notification, "there is no such notification; there are " + notificationNames());
            }
        } else {
            entry.notification = reader.number<uint32_t>(*notification, "\"notification\"");
        }
    }
    members.number("category", entry.category);
    members.number("flag", entry.flag);
    if (entry.alert.has_value() == entry.notification.has_value()) {
        members.fail("a timeline entry has one alert or one notification");
    }
    members.finish();
    return entry;
}

} // namespace

Configuration readConfiguration(std::string_view text) {
    const auto root = readJson(text);
    const Reader reader(text);
    Members members(reader, root, "the configuration");
    Configuration configuration;
    members.string("spool", configuration.spool);
    members.number("spoolCapacity", configuration.spoolCapacity);
    members.string("replay", configuration.replay);
    members.boolean("logCalls", configuration.logsCalls);
    const auto *const printers = configuration.replay ? members.find("printers") : &members.require("printers");
    for (const auto &value : printers ? reader.array(*printers, "\"printers\"") : JsonValue::Array{}) {
        auto printer = readPrinter(reader, value);
        for (const auto &other : configuration.printers) {
            if (other.handle == printer.handle) {
                reader.fail(value, "two printers have the handle " + std::to_string(printer.handle));
            }
        }
        configuration.printers.push_back(std::move(printer));
    }
    if (const auto *entryPoints = members.find("entryPoints")) {
        readMisbehaviours(reader, *entryPoints, configuration);
    }
    if (const auto *timeline = members.find("timeline")) {
        for (const auto &entry : reader.array(*timeline, "\"timeline\"")) {
            configuration.timeline.push_back(readTimelineEntry(reader, entry, configuration.printers));
        }
    }
    members.finish();
    return configuration;
}

} // namespace simulator
