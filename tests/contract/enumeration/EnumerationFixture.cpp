#include "tests/contract/enumeration/EnumerationFixture.h"

namespace kal::test {

EnumerationTest *EnumerationTest::active = nullptr;

EnumerationTest::EnumerationTest() {
    active = this;
    property("Transport", "USB1");
    property("Portname", "PORT1");
    property("Device", "CpdPrinter");
    macAddress(std::string("\x01\x02\x03\x00\x05\x06", 6));
    const auto read = [this](const ServiceCall &call) { return readProperty(call); };
    service.does("OrxGetStringPrinter", read);
    service.does("OrxGetByteArrayPrinter", read);
}

EnumerationTest::~EnumerationTest() {
    active = nullptr;
}

void EnumerationTest::propertyFails(const std::string &name, uint32_t code) {
    properties_[name] = {code, {}};
}

void EnumerationTest::propertyIsRaw(const std::string &name, std::string bytes) {
    properties_[name] = {0, std::move(bytes)};
}

std::vector<uint32_t> EnumerationTest::handlesAskedFor() const {
    std::vector<uint32_t> handles;
    for (const ServiceCall &call : service.calls())
        if (call.entryPoint.starts_with("OrxGetString") || call.entryPoint.starts_with("OrxGetByteArray"))
            handles.push_back(call.number(1));
    return handles;
}

uint32_t EnumerationTest::readProperty(const ServiceCall &call) {
    const std::string &descriptor = call.text(2);
    const auto start = std::strlen("<Name>");
    const Answer &answer = properties_.at(descriptor.substr(start, descriptor.find("</Name>") - start));
    if (answer.code != 0)
        return answer.code;
    if (auto *length = call.pointer<uint32_t>(5))
        *length = static_cast<uint32_t>(answer.bytes.size());
    if (answer.bytes.size() > call.number(4))
        return ERROR_INSUFFICIENT_BUFFER;
    std::memcpy(call.pointer<char>(3), answer.bytes.data(), answer.bytes.size());
    return 0;
}

void EnumerationTest::report(const PortInfoRecord *printer) {
    const auto *bytes = reinterpret_cast<const uint8_t *>(printer);
    active->reported.push_back(
        {{bytes, bytes + 100}, reinterpret_cast<const char *>(bytes) + 100, GetCurrentThreadId()});
}

void EnumerationTest::reportElsewhere(const PortInfoRecord *) {
    ++active->reportedElsewhere;
}

} // namespace kal::test
