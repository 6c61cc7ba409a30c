#include "tools/printers/PrinterDirectory.h"

#include "tools/printers/Session.h"
#include "tools/text/HexText.h"
#include "tools/text/Text.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <mutex>
#include <utility>

namespace tool {

namespace {

/// The printers of the running enumeration. Callbacks have no context argument, so there is one collection per process.
struct Collection {
    std::mutex lock; ///< guards the printers: the service calls back on its own threads
    std::vector<FoundPrinter> printers;
};

Collection &collection() {
    static Collection instance;
    return instance;
}

void collect(const PortInfoRecord *record) {
    FoundPrinter printer;
    printer.handle = record->handle;
    printer.deviceClass = record->deviceClass;
    printer.portType = record->portType;
    printer.portName = fromNarrow({record->portName, strnlen(record->portName, std::size(record->portName))});
    // A long name continues after its array, up to its terminator.
    printer.secondName = fromNarrow(reinterpret_cast<const char *>(record) + KAL_SECOND_NAME_OFFSET);
    std::copy(std::begin(record->macAddress), std::end(record->macAddress), printer.macAddress.begin());
    const std::scoped_lock guard(collection().lock);
    collection().printers.push_back(std::move(printer));
}

std::vector<FoundPrinter> takeCollected() {
    const std::scoped_lock guard(collection().lock);
    return std::exchange(collection().printers, {});
}

} // namespace

std::string FoundPrinter::macAddressText() const {
    std::string text = hexBytes(macAddress);
    std::ranges::replace(text, ' ', ':');
    return text;
}

std::vector<FoundPrinter> enumeratePrinters(uint32_t mask) {
    takeCollected();
    require("KalEnumPrinters", KalEnumPrinters(0, mask, collect));
    return takeCollected();
}

std::optional<FoundPrinter> findPrinter(const std::string &port, uint32_t mask, bool isUnc) {
    takeCollected();
    const std::string name = toNarrow(port);
    const int32_t result =
        isUnc ? KalEnumByUNC(0, mask, name.c_str(), collect) : KalEnumSpecificPort(0, mask, name.c_str(), collect);
    const auto found = takeCollected();
    if (!found.empty()) {
        return found.front();
    }
    // Without a callback, the result is 0 (no printer) or the general failure, never a port type.
    require(isUnc ? "KalEnumByUNC" : "KalEnumSpecificPort", result);
    return std::nullopt;
}

} // namespace tool
