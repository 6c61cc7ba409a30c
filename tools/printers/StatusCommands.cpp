#include "tools/CommandLine.h"

#include "tools/Terminal.h"
#include "tools/printers/Session.h"
#include "tools/text/HexText.h"
#include "tools/text/JsonText.h"
#include "tools/text/NumberText.h"

#include <algorithm>
#include <memory>
#include <vector>

namespace tool {

namespace {

/// Larger than any cache block seen so far. The interface does not report the size that a larger one would need.
constexpr uint32_t cacheBufferSize = 1024 * 1024;

struct PrinterRequest {
    uint16_t handle = 0;
    bool raw = false;
    bool json = false;
};

int showStatus(const PrinterRequest &request, const Invocation &invocation) {
    const Registration registration(invocation);
    KalPrinterStatusRecord record{};
    uint32_t needed = 0;
    require("KalQueryPrinterStatus", KalQueryPrinterStatus(0, request.handle, 0, &record, sizeof record, &needed));
    const bool isPrinting = record.isPrinting != 0;
    if (request.json) {
        printOut(jsonText({{"handle", request.handle}, {"printing", isPrinting}, {"version", record.version}}));
    } else {
        printOut("Printer " + hexNumber(request.handle, 4) + (isPrinting ? " is printing.\n" : " is not printing.\n"));
    }
    return succeeded;
}

int showCache(const PrinterRequest &request, const Invocation &invocation) {
    const Registration registration(invocation);
    std::vector<uint8_t> buffer(cacheBufferSize);
    uint32_t length = 0;
    require("KalGetCache", KalGetCache(0, request.handle, buffer.data(), cacheBufferSize, &length));
    buffer.resize(std::min<size_t>(length, buffer.size()));
    if (request.raw) {
        makeOutputBinary();
        printOut({reinterpret_cast<const char *>(buffer.data()), buffer.size()});
    } else if (request.json) {
        printOut(jsonText({{"handle", request.handle}, {"length", buffer.size()}, {"bytes", hexBytes(buffer)}}));
    } else {
        printOut(buffer.empty() ? "The cache is empty.\n" : hexDump(buffer));
    }
    return succeeded;
}

} // namespace

void addStatusCommands(CLI::App &program, Invocation &invocation) {
    auto *const status = program.add_subcommand("status", "Show whether a printer is printing");
    const auto statusRequest = std::make_shared<PrinterRequest>();
    addHandle(*status, "HANDLE", statusRequest->handle);
    addJson(*status, statusRequest->json);
    status->footer("Examples:\n"
                   "  kal status 0x6001\n"
                   "  kal status 3 --json");
    status->callback([statusRequest, &invocation] {
        invocation.action = [statusRequest, &invocation] { return showStatus(*statusRequest, invocation); };
    });

    auto *const cache = program.add_subcommand("cache", "Show a printer's cached data block");
    const auto cacheRequest = std::make_shared<PrinterRequest>();
    addHandle(*cache, "HANDLE", cacheRequest->handle);
    auto *const raw = cache->add_flag("--raw", cacheRequest->raw, "Write the bytes unchanged instead of a hex dump");
    addJson(*cache, cacheRequest->json)->excludes(raw);
    cache->footer("Examples:\n"
                  "  kal cache 3\n"
                  "  kal cache 3 --raw > cache.bin");
    cache->callback([cacheRequest, &invocation] {
        invocation.action = [cacheRequest, &invocation] { return showCache(*cacheRequest, invocation); };
    });
}

} // namespace tool
