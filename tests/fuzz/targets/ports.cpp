// What the service says about a found printer: transport name, port name, numbers; and the record made of it.
#include "api/PortInformation.h"
#include "api/PortType.h"
#include "api/kal.h"
#include "comc/Properties.h"
#include "tests/fuzz/Input.h"

#include <cstring>

namespace {

constexpr uint32_t knownPortTypes[] = {KAL_PORT_TYPE_UNSPECIFIED, NETTYPE_RHOA, NETTYPEUSB, NETTYPE_LOCAL, NETTYPE_IP};

/// What stands in a room of that size which the service filled, up to its end or not.
void checkText(const std::string &written, size_t roomSize) {
    std::vector<char> room(roomSize);
    std::copy_n(written.begin(), std::min(written.size(), roomSize), room.begin());
    const std::string_view text = comc::propertyText(room);
    fuzz::require(text.data() == room.data() && text.size() <= room.size(), "a text lies in its room");
    fuzz::require(text.find('\0') == text.npos, "a text has no terminator within");
    fuzz::require(text.size() == room.size() || room[text.size()] == 0, "a text ends where the service ended it");
}

void checkRecord(const kal::FoundPrinter &printer, const std::string &secondName) {
    const size_t size = kal::portInformationSize(secondName);
    fuzz::require(size >= sizeof(PortInfoRecord), "a record is never shorter than its fixed part");
    std::vector<uint8_t> bytes(size, 0xEE);
    kal::composePortInformation(bytes.data(), printer, secondName);
    PortInfoRecord record;
    std::memcpy(&record, bytes.data(), sizeof record);
    fuzz::require(record.handle == printer.handle && record.portType == printer.portType, "numbers stay themselves");
    fuzz::require(std::memchr(record.portName, 0, sizeof record.portName) != nullptr,
                  "the port name ends in its field");
    fuzz::require(std::string_view(record.portName, sizeof record.portName)
                      .starts_with(printer.name.substr(0, sizeof record.portName - 1)),
                  "the port name is the printer's");
    fuzz::require(bytes.back() == 0, "the second name is terminated");
    const std::string whole(bytes.begin(), bytes.end());
    fuzz::require(whole.compare(KAL_SECOND_NAME_OFFSET, secondName.size(), secondName) == 0,
                  "the second name is whole");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
    fuzz::Input input(bytes, size);
    const uint32_t netTypes = input.number<uint32_t>();
    const uint32_t anyPortType = input.number<uint32_t>();
    kal::FoundPrinter printer{};
    printer.handle = input.number<uint16_t>();
    printer.isCpdPrinter = input.number<uint8_t>() % 2 == 0;
    for (uint8_t &byte : printer.macAddress) {
        byte = input.number<uint8_t>();
    }
    const std::string transport = input.text();
    const std::string name = input.text();
    printer.name = name;

    for (const size_t roomSize : {size_t{11}, size_t{20}, size_t{256}, size_t{260}}) {
        checkText(transport, roomSize);
        checkText(name, roomSize);
    }
    printer.portType = kal::portTypeOfTransport(transport);
    fuzz::require(std::ranges::find(knownPortTypes, printer.portType) != std::end(knownPortTypes),
                  "a transport has a known port type");
    for (const uint32_t portType : {printer.portType, anyPortType}) {
        static_cast<void>(kal::portTypeFits(portType, printer.handle));
        const auto category = kal::categoryOf(portType, netTypes, name);
        fuzz::require(!category || *category != nullptr, "an accepted printer has a category");
        fuzz::require(!category || portType != KAL_PORT_TYPE_UNSPECIFIED, "an unknown port type has no category");
    }
    checkRecord(printer, input.remainingText());
    return 0;
}
