#include "tools/text/ResultNames.h"

#include "api/kal.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace tool {

namespace {

struct ResultRow {
    int32_t value;
    std::string_view name;
    std::string_view meaning;
};

constexpr ResultRow rows[] = {
    {KAL_OKAY, "KAL_OKAY", "the operation succeeded"},
    {KAL_FAIL, "KAL_FAIL", "the operation failed, without a more specific reason; the log may show it"},
    {DEVERR_INVHANDLE, "DEVERR_INVHANDLE", "the handle is not open or names no printer"},
    {DEVERR_CONNECT, "DEVERR_CONNECT", "the service cannot reach or find the device"},
    {KAL_REGISTRATION_REFUSED, "KAL_REGISTRATION_REFUSED", "the server cannot be reached"},
    {DEVERR_PROTOCOL, "DEVERR_PROTOCOL", "the port type does not match the handle, or the device refused the data"},
    {KAL_INVALID_FUNCTION, "KAL_INVALID_FUNCTION", "no request has this function code"},
    {DEVERR_READFAIL, "DEVERR_READFAIL", "the device's response could not be read in time"},
    {KAL_MOREDATA, "KAL_MOREDATA", "the answer is larger than the buffer"},
    {KAL_PRNBUSY, "KAL_PRNBUSY", "the printer is busy"},
};

} // namespace

std::string describeResult(int32_t result) {
    const auto *const row = std::ranges::find(rows, result, &ResultRow::value);
    if (row == std::end(rows)) {
        return "result " + std::to_string(result) + ": a result without a name";
    }
    return std::string(row->name) + " (" + std::to_string(result) + "): " + std::string(row->meaning);
}

} // namespace tool
