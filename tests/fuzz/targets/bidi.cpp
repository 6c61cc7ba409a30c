// Bidi requests composed from an application's bytes, and responses as a printer sends them.
#include "api/BidiRequest.h"
#include "tests/fuzz/Input.h"

namespace {

void checkRequest(uint16_t function, const std::vector<uint8_t> &data) {
    std::vector<uint8_t> room(kal::bidiRequestSize);
    const auto request =
        kal::composeBidiRequest(function, data, std::span<uint8_t, kal::bidiRequestSize>(room.data(), room.size()));
    if (function == kal::rawBidiFunction) {
        fuzz::require(request && request->data() == data.data() && request->size() == data.size(),
                      "raw bytes go out as they stand");
        return;
    }
    if (!request) {
        return;
    }
    const std::vector<uint8_t> bytes(request->begin(), request->end()); // reads all of it
    fuzz::require(bytes.size() >= 3 && bytes.size() <= kal::bidiRequestSize, "a request fits its room");
    fuzz::require(bytes[0] == 0xA5, "a request begins with its lead byte");
    fuzz::require(static_cast<size_t>(bytes[1] << 8 | bytes[2]) == bytes.size() - 3, "a request tells its length");
    const bool isComposed = request->data() == room.data();
    if (isComposed) {
        fuzz::require(std::equal(data.rbegin(), data.rend(), bytes.rbegin()), "the data stands at the end");
    } else {
        const bool fits = !data.empty() && bytes.size() + data.size() <= kal::bidiRequestSize;
        fuzz::require(!fits, "data that fits is never left out");
    }
}

void checkResponse(const std::vector<uint8_t> &response) {
    std::vector<uint8_t> bytes = response;
    const uint32_t length = kal::dropBidiResponseHead(bytes.data(), static_cast<uint32_t>(bytes.size()));
    if (response.size() <= kal::bidiResponseHeadSize) {
        fuzz::require(length == 0, "a head alone is no response");
        return;
    }
    fuzz::require(length == response.size() - kal::bidiResponseHeadSize, "the head is gone");
    fuzz::require(std::equal(response.begin() + kal::bidiResponseHeadSize, response.end(), bytes.begin()),
                  "the response proper is untouched");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
    fuzz::Input input(bytes, size);
    const uint16_t function = input.number<uint16_t>();
    const std::vector<uint8_t> data = input.remainingBytes();
    checkRequest(function, data);
    checkRequest(function % 200, data); // most numbers are no function
    checkResponse(data);
    return 0;
}
