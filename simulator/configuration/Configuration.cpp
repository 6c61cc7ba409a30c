#include "simulator/configuration/Configuration.h"

#include "comc/EntryPoints.h"
#include "comc/Properties.h"
#include "simulator/configuration/AlertFormat.h"
#include "simulator/configuration/NotificationNames.h"

#include <algorithm>
#include <limits>
#include <set>

namespace simulator {

namespace {

/// Reads values of the types that a configuration wants and says where one is of another type.
class Reader {
  public:
    explicit Reader(std::string_view text) : text_(text) {}

    [[noreturn]] void fail(const JsonValue &value, const std::string &message) const {
        throw ConfigurationError(text_, value.offset, message);
    }

    const JsonValue::Object &object(const JsonValue &value, const std::string &what) const {
        return expect<JsonValue::Object>(value, what + " must be an object");
    }
    const JsonValue::Array &array(const JsonValue &value, const std::string &what) const {
        return expect<JsonValue::Array>(value, what + " must be an array");
    }
    const std::string &string(const JsonValue &value, const std::string &what) const {
        return expect<std::string>(value, what + " must be a string");
    }
    bool boolean(const JsonValue &value, const std::string &what) const {
        return expect<bool>(value, what + " must be true or false");
    }

    template <class Number>
    Number number(const JsonValue &value, const std::string &what) const {
        const auto largest = std::numeric_limits<Number>::max();
        if (const auto *content = std::get_if<uint64_t>(&value.content); content && *content <= largest) {
            return static_cast<Number>(*content);
        }
        fail(value, what + " must be a whole number from 0 to " + std::to_string(largest));
    }

    /// A number, or a string such as "0x6001": handles are easier to read so.
    uint16_t handle(const JsonValue &value, const std::string &what) const {
        const auto *text = std::get_if<std::string>(&value.content);
        if (!text) {
            return number<uint16_t>(value, what);
        }
        const bool isPrefixed = text->size() >= 3 && text->size() <= 6 && (*text)[0] == '0' && ((*text)[1] | 32) == 'x';
        if (!isPrefixed || text->find_first_not_of("0123456789abcdefABCDEF", 2) != std::string::npos) {
            fail(value, what + " must be a number from 0 to 65535 or a string such as \"0x6001\"");
        }
        return static_cast<uint16_t>(std::stoul(text->substr(2), nullptr, 16));
    }

    /// Pairs of hexadecimal digits, blanks, colons and hyphens between them as the author likes.
    Bytes bytes(const JsonValue &value, const std::string &what) const {
        const auto &text = string(value, what);
        Bytes result;
        int high = -1;
        for (const char character : text) {
            if (character == ' ' || character == ':' || character == '-') {
                if (high >= 0) {
                    break;
                }
                continue;
            }
            const int digit = digitOf(character);
            if (digit < 0) {
                high = 0;
                break;
            }
            if (high < 0) {
                high = digit;
            } else {
                result.push_back(static_cast<uint8_t>(high * 16 + digit));
                high = -1;
            }
        }
        if (high >= 0) {
            fail(value, what + " must be pairs of hexadecimal digits");
        }
        return result;
    }

  private:
    template <class Type>
    const Type &expect(const JsonValue &value, const std::string &message) const {
        if (const auto *content = std::get_if<Type>(&value.content)) {
            return *content;
        }
        fail(value, message);
    }

    static int digitOf(char character) {
        if (character >= '0' && character <= '9') {
            return character - '0';
        }
        const char lower = static_cast<char>(character | 32);
        return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
    }

    std::string_view text_;
};

/// Members of one object by name. What nobody asked for is an error at the end: a misspelt key must not pass silently.
class Members {
  public:
    Members(const Reader &reader, const JsonValue &value, const std::string &what)
        : reader_(reader), value_(value), members_(reader.object(value, what)), what_(what) {}

    const JsonValue *find(const std::string &key) {
        asked_.insert(key);
        const auto found = std::find_if(members_.begin(), members_.end(), [&](const auto &m) { return m.key == key; });
        return found == members_.end() ? nullptr : &found->value;
    }

    const JsonValue &require(const std::string &key) {
        const auto *found = find(key);
        if (!found) {
            reader_.fail(value_, what_ + " lacks \"" + key + "\"");
        }
        return *found;
    }

    template <class Number>
    void number(const std::string &key, Number &target) {
        if (const auto *value = find(key)) {
            target = reader_.number<Number>(*value, quoted(key));
        }
    }
    template <class Number>
    void number(const std::string &key, std::optional<Number> &target) {
        if (const auto *value = find(key)) {
            target = reader_.number<Number>(*value, quoted(key));
        }
    }
    void boolean(const std::string &key, bool &target) {
        if (const auto *value = find(key)) {
            target = reader_.boolean(*value, quoted(key));
        }
    }
    template <class Text>
    void string(const std::string &key, Text &target) {
        if (const auto *value = find(key)) {
            target = reader_.string(*value, quoted(key));
        }
    }

    void finish() const {
        for (const auto &[key, value] : members_) {
            if (!asked_.contains(key)) {
                reader_.fail(value, what_ + " has no \"" + key + "\"");
            }
        }
    }

    [[noreturn]] void fail(const std::string &message) const { reader_.fail(value_, message); }

  private:
    static std::string quoted(const std::string &key) { return "\"" + key + "\""; }

    const Reader &reader_;
    const JsonValue &value_;
    const JsonValue::Object &members_;
    std::string what_;
    std::set<std::string> asked_;
};

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
    if ((answer != nullptr) + (text != nullptr) + (whole != nullptr) > 1) {
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

/// The named alert or the given bytes, cut or filled up to the length that is asked for.
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
