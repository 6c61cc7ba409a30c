#include "tools/CommandLine.h"

#include "tools/File.h"
#include "tools/Terminal.h"
#include "tools/printers/Session.h"
#include "tools/text/HexText.h"
#include "tools/text/JsonText.h"
#include "tools/text/ResultNames.h"

#include <algorithm>
#include <memory>
#include <vector>

namespace tool {

namespace {

constexpr uint16_t rawRequest = 170;
/// Maximum size of a composed request, and size of the shortest stored request. If stored request and data together are
/// longer than the maximum, the library silently drops the data.
constexpr size_t composedRequestSize = 512;
constexpr size_t shortestStoredRequest = 3;
constexpr size_t longestData = 0xFFFF;

struct BidiRequest {
    uint16_t handle = 0;
    uint16_t function = 0;
    std::string data;
    uint32_t size = 64 * 1024;
    bool raw = false;
    bool json = false;
};

std::vector<uint8_t> readData(const BidiRequest &request) {
    if (request.data.starts_with('@')) {
        return readWholeFile(request.data.substr(1), longestData);
    }
    const auto bytes = parseHexBytes(request.data);
    if (!bytes) {
        throw CLI::ValidationError("--data", "'" + request.data + "' is neither bytes in hexadecimal nor @FILE");
    }
    if (bytes->size() > longestData) {
        throw CLI::ValidationError("--data", "at most " + std::to_string(longestData) + " bytes can be sent");
    }
    return *bytes;
}

int exchange(const BidiRequest &request, const std::vector<uint8_t> &data, const Invocation &invocation) {
    if (request.function != rawRequest && data.size() > composedRequestSize - shortestStoredRequest) {
        throw CommandFailure("the data is too long: a stored request and its data have at most " +
                             std::to_string(composedRequestSize) + " bytes; nothing was sent");
    }
    const Registration registration(invocation);
    std::vector<uint8_t> answer(request.size);
    uint32_t length = request.size;
    const int32_t result = KalSendBidi(0, request.handle, 0, request.function, answer.data(), &length,
                                       data.empty() ? nullptr : data.data(), static_cast<uint16_t>(data.size()));
    if (result == KAL_MOREDATA && length > request.size) {
        throw CommandFailure("KalSendBidi answered " + describeResult(result) + "; use --size " +
                             std::to_string(length));
    }
    require("KalSendBidi", result);
    answer.resize(std::min<size_t>(length, answer.size()));
    if (request.raw) {
        makeOutputBinary();
        printOut({reinterpret_cast<const char *>(answer.data()), answer.size()});
    } else if (request.json) {
        printOut(jsonText({{"handle", request.handle},
                           {"function", request.function},
                           {"length", answer.size()},
                           {"bytes", hexBytes(answer)}}));
    } else {
        printOut(answer.empty() ? "The response is empty.\n" : hexDump(answer));
    }
    return succeeded;
}

} // namespace

void addBidiCommand(CLI::App &program, Invocation &invocation) {
    auto *const command = program.add_subcommand("bidi", "Send one request to a printer and show its response");
    const auto request = std::make_shared<BidiRequest>();
    addHandle(*command, "HANDLE", request->handle);
    addNumber(*command, "CODE", request->function,
              "Function code of a stored request, 0 to 181; 170 sends only the data, unchanged", 0xFFFF)
        ->required();
    command->add_option("--data", request->data, "Bytes to send with it: hexadecimal, or @FILE for a file's bytes");
    addNumber(*command, "--size", request->size, "Buffer size for the response, in bytes", 16 * 1024 * 1024);
    auto *const raw =
        command->add_flag("--raw", request->raw, "Write the bytes of the response unchanged instead of a hex dump");
    addJson(*command, request->json)->excludes(raw);
    command->footer(
        "Examples:\n"
        "  kal bidi 3 1\n"
        "  kal bidi 3 168 --data \"01 FF\"\n"
        "  kal bidi 3 170 --data @request.bin --raw > answer.bin\n"
        "\n"
        "The response to a stored request is shown without its five-byte header, that to code 170 completely.");
    command->callback([request, &invocation] {
        // Read here, so that invalid data is reported as misuse.
        const auto data = readData(*request);
        invocation.action = [request, data, &invocation] { return exchange(*request, data, invocation); };
    });
}

} // namespace tool
