#pragma once

#include "tests/contract/RegisteredApplication.h"

#include <cstring>
#include <map>
#include <optional>

namespace kal::test {

constexpr char transportDescriptor[] = "<Name>Transport</Name><Type>String</Type><Access>ReadOnly</Access>";
constexpr char macAddressDescriptor[] = "<Name>MacAddress</Name><Type>ByteArray</Type><Access>ReadOnly</Access>";
constexpr char portNameDescriptor[] = "<Name>Portname</Name><Type>String</Type><Access>Writeable</Access>";
constexpr char deviceDescriptor[] = "<Name>Device</Name><Type>String</Type><Access>ReadOnly</Access>";

/// A printer as a client callback received it: the record's bytes as they lay there.
struct ReportedPrinter {
    std::vector<uint8_t> head; ///< offsets 0 to 99
    std::string secondName;
    DWORD thread;

    template <class Number>
    Number at(size_t offset) const {
        Number value;
        std::memcpy(&value, head.data() + offset, sizeof value);
        return value;
    }
    std::string portName() const { return reinterpret_cast<const char *>(head.data()) + 6; }
};

class EnumerationTest : public RegisteredApplication {
  protected:
    EnumerationTest();
    ~EnumerationTest() override;

    /// Makes reading one property of every printer fail.
    void propertyFails(const std::string &name, uint32_t code);
    /// Writes exactly these bytes, without a terminator, when the property is read.
    void propertyIsRaw(const std::string &name, std::string bytes);
    void property(const std::string &name, const std::string &text) { propertyIsRaw(name, text + '\0'); }
    void macAddress(const std::string &bytes) { propertyIsRaw("MacAddress", bytes); }

    /// The handle of each property that was read, in order.
    [[nodiscard]] std::vector<uint32_t> handlesAskedFor() const;

    /// The client callback under test; what it received is in `reported`.
    static void report(const PortInfoRecord *printer);
    /// Another one, which only counts.
    static void reportElsewhere(const PortInfoRecord *printer);

    std::vector<ReportedPrinter> reported;
    int reportedElsewhere = 0;

  private:
    struct Answer {
        uint32_t code;
        std::string bytes;
    };

    uint32_t readProperty(const ServiceCall &call);

    static EnumerationTest *active;
    std::map<std::string, Answer> properties_;
};

} // namespace kal::test
