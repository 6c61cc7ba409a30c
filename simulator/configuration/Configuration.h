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

/// The response of a printer to requests that begin with certain bytes.
struct BidiRule {
    Bytes requestPrefix;
    Bytes answer;
    bool isWhole = false; // the answer is the complete response; otherwise a five-byte header precedes it
    uint32_t code = 0;
    uint32_t delayMs = 0;
};

/// A real printer that receives the jobs of a virtual one.
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
    std::optional<std::string> transport; // nothing: the property cannot be read
    std::string port;
    std::string device; // value of the property Device; not limited to the two known kinds
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
    std::optional<uint32_t> endOfJobFlag = 1; // nothing: the true end of job has no flag
};

/// One kind of misbehaviour of an entry point, and the calls that it affects.
struct Misbehaviour {
    uint32_t firstCall = 1;
    std::optional<uint32_t> lastCall; // nothing: all further calls
    std::optional<uint32_t> code;
    uint32_t delayMs = 0;
    std::optional<uint32_t> accept;
    bool isMissing = false;
};

enum class TimelineStart { load, registration };

/// An unsolicited event of a printer.
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
    std::optional<uint64_t> spoolCapacity; // limit of one job in bytes; a longer job gets the code for a full disk
    std::optional<std::string> replay;     // a recording; "printers" is then optional
    bool logsCalls = false;
    std::vector<PrinterConfiguration> printers;
    std::map<std::string, std::vector<Misbehaviour>> entryPoints;
    std::vector<TimelineEntry> timeline;
};

/// @throws ConfigurationError  with the place of the error.
[[nodiscard]] Configuration readConfiguration(std::string_view text);

} // namespace simulator
