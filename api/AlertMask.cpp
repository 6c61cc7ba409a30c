#include "api/AlertMask.h"

namespace kal {

namespace {

struct AlertBitRow {
    uint32_t client;
    uint32_t service;
};

constexpr uint32_t clientEverything = 0x400000; ///< overrides all other bits
constexpr uint32_t serviceEverything = 0x100000;
constexpr uint32_t unchangedBits = 0x3FF;

// 0x10000 and the bits from 0x800000 upwards deliberately do not keep their order. Client bits without a row (0x400,
// 0x200000 and those above 0x4000000) select alerts that the service does not have.
constexpr AlertBitRow movedBits[] = {
    {0x800, 0x400},       {0x1000, 0x800},       {0x2000, 0x1000},      {0x4000, 0x2000},       {0x8000, 0x4000},
    {0x20000, 0x8000},    {0x40000, 0x10000},    {0x80000, 0x20000},    {0x100000, 0x40000},    {0x10000, 0x80000},
    {0x800000, 0x200000}, {0x1000000, 0x400000}, {0x2000000, 0x800000}, {0x4000000, 0x1000000},
};

} // namespace

uint32_t mapAlertMask(uint32_t clientMask) noexcept {
    if ((clientMask & clientEverything) != 0) {
        return serviceEverything;
    }
    uint32_t serviceMask = clientMask & unchangedBits;
    for (const AlertBitRow &row : movedBits) {
        if ((clientMask & row.client) != 0) {
            serviceMask |= row.service;
        }
    }
    return serviceMask;
}

} // namespace kal
