#include "api/ResultCodes.h"

#include "api/kal.h"

#include <span>

namespace kal {

namespace {

struct ResultNameRow {
    int32_t result;
    const char *name;
};

constexpr ResultNameRow resultNames[] = {
    {KAL_OKAY, "KAL_OKAY"},
    {KAL_FAIL, "KAL_FAIL"},
    {DEVERR_INVHANDLE, "DEVERR_INVHANDLE"},
    {DEVERR_CONNECT, "DEVERR_CONNECT"},
    {DEVERR_PROTOCOL, "DEVERR_PROTOCOL"},
    {DEVERR_READFAIL, "DEVERR_READFAIL"},
    {KAL_MOREDATA, "KAL_MOREDATA"},
    {KAL_PRNBUSY, "KAL_PRNBUSY"},
};

/// The service's codes that have a result of their own.
enum ServiceCode : uint32_t {
    success = 0,
    invalidFunction = 1,
    fileNotFound = 2,
    invalidHandle = 6,
    notSupported = 50,
    insufficientBuffer = 122,
    busy = 170,
    notFound = 1168,
    timeout = 1460,
};

struct ResultRow {
    ServiceCode code;
    int32_t result;
};

constexpr ResultRow standardRows[] = {
    {success, KAL_OKAY},
    {busy, KAL_PRNBUSY},
    {notFound, DEVERR_CONNECT},
    {invalidHandle, DEVERR_INVHANDLE},
};

constexpr ResultRow closeRows[] = {
    {success, KAL_OKAY},
    {invalidFunction, DEVERR_INVHANDLE},
};

constexpr ResultRow writeRows[] = {
    {success, KAL_OKAY},
    {notFound, DEVERR_CONNECT},
    {notSupported, DEVERR_PROTOCOL},
    {invalidHandle, DEVERR_INVHANDLE},
};

constexpr ResultRow plainRows[] = {
    {success, KAL_OKAY},
};

constexpr ResultRow cacheRows[] = {
    {success, KAL_OKAY},
    {invalidHandle, DEVERR_INVHANDLE},
};

constexpr ResultRow bidiRows[] = {
    {success, KAL_OKAY},
    {insufficientBuffer, KAL_MOREDATA},
    {invalidHandle, DEVERR_INVHANDLE},
    {invalidFunction, KAL_PRNBUSY},
    {timeout, DEVERR_READFAIL},
};

constexpr ResultRow notificationModeRows[] = {
    {invalidFunction, DEVERR_INVHANDLE},
    {fileNotFound, DEVERR_CONNECT},
};

int32_t translate(std::span<const ResultRow> rows, uint32_t serviceCode, int32_t anyOther) noexcept {
    for (const ResultRow &row : rows) {
        if (row.code == serviceCode) {
            return row.result;
        }
    }
    return anyOther;
}

} // namespace

const char *resultName(int32_t result) noexcept {
    for (const ResultNameRow &row : resultNames) {
        if (row.result == result) {
            return row.name;
        }
    }
    return nullptr;
}

int32_t standardResult(uint32_t serviceCode) noexcept {
    return translate(standardRows, serviceCode, KAL_FAIL);
}

int32_t closeResult(uint32_t serviceCode) noexcept {
    return translate(closeRows, serviceCode, KAL_FAIL);
}

int32_t writeResult(uint32_t serviceCode) noexcept {
    return translate(writeRows, serviceCode, KAL_FAIL);
}

int32_t plainResult(uint32_t serviceCode) noexcept {
    return translate(plainRows, serviceCode, KAL_FAIL);
}

int32_t cacheResult(uint32_t serviceCode) noexcept {
    return translate(cacheRows, serviceCode, KAL_FAIL);
}

int32_t bidiResult(uint32_t serviceCode) noexcept {
    return translate(bidiRows, serviceCode, KAL_FAIL);
}

int32_t notificationModeResult(uint32_t serviceCode) noexcept {
    return translate(notificationModeRows, serviceCode, KAL_OKAY);
}

} // namespace kal
