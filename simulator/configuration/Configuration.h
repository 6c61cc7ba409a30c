#pragma once

#include "simulator/configuration/JsonDocument.h"

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace simulator {

using Bytes = std::vector<uint8_t>;

enum class DeviceKind { cpdPrinter, bpdPrinter };

/// What a printer answers to the requests that begin with certain bytes.
struct BidiRule {
    Bytes requestPrefix;
    Bytes answer;
    bool isWhole = false; // the answer is the response as it stands; else the five-byte head is put before it
    uint32_t code = 0;
    uint32_t delayMs = 0;
};

/// A real printer that takes the jobs of a virtual one.
struct RawTcpTarget {
    std::string host;
    uint16_t port = 9100;
    uint32_t connectTimeoutMs = 5000;
    uint32_t sendTimeoutMs = 5000;
    uint32_t endTimeoutMs = 30000;
};

using PropertyValue = std::variant<std::string, uint32_t, Bytes>;

struct PrinterConfiguration {
    uint16_t handle = 0;
    std::string name;
    std::optional<std::string> transport; // none: the property cannot be read
    std::string port;
    std::string device; // as the property Device reads; anything but the two known kinds is neither of them
    std::optional<std::array<uint8_t, 6>> macAddress;
    uint32_t state = 3;
    bool isReachable = true;
    bool isHiddenUntilDiscovery = false;
    Bytes cache;
    bool hasCacheHead = false;
    std::vector<BidiRule> bidi;
    std::map<std::string, PropertyValue> properties;
    std::optional<RawTcpTarget> rawTcp;
    bool reportsJobs = true;
    uint32_t printingMs = 100;
    std::optional<uint32_t> endOfJobFlag = 1; // none: the true end of job comes without a flag
};

/// One way in which an entry point misbehaves, and at which of its calls.
struct Misbehaviour {
    uint32_t firstCall = 1;
    std::optional<uint32_t> lastCall; // none: for good
    std::optional<uint32_t> code;
    uint32_t delayMs = 0;
    std::optional<uint32_t> accept;
    bool isMissing = false;
};

enum class TimelineStart { load, registration };

/// Something that happens to a printer by itself.
struct TimelineEntry {
    uint16_t handle = 0;
    TimelineStart start = TimelineStart::load;
    uint32_t afterMs = 0;
    uint32_t count = 1;
    uint32_t intervalMs = 0;
    std::optional<Bytes> alert;
    std::optional<uint32_t> notification;
    uint32_t category = 1;
    std::optional<uint32_t> flag;
};

struct Configuration {
    std::optional<std::string> spool;
    std::optional<uint64_t> spoolCapacity; // bytes that one job may have before the spool counts as full
    std::optional<std::string> replay;     // a recording; there need not be printers then
    bool logsCalls = false;
    std::vector<PrinterConfiguration> printers;
    std::map<std::string, std::vector<Misbehaviour>> entryPoints;
    std::vector<TimelineEntry> timeline;
};

/// @throws ConfigurationError with the place of what cannot be used.
[[nodiscard]] Configuration readConfiguration(std::string_view text);

} // namespace simulator
