// The codes that a service may return, and the result of each for an application. This list is based on the
// documentation and not on the library's tables, so that the tests can compare the two.
#pragma once

#include "api/kal.h"

#include <cstdint>
#include <initializer_list>
#include <utility>

namespace kal::test {

/// Codes for tests: success, every code that has a result of its own in any export, and some others.
inline constexpr uint32_t serviceCodes[] = {0, 1, 2, 5, 6, 50, 87, 122, 126, 127, 170, 1168, 1460, 0xFFFFFFFF};

inline constexpr uint32_t libraryMissing = 126;    ///< the binding's code if comc.dll cannot be loaded
inline constexpr uint32_t entryPointMissing = 127; ///< if comc.dll lacks the entry point
inline constexpr uint32_t handleUnknown = 1;       ///< if the handle is not open

/// Maps the service's codes to the export's results.
class ExpectedResult {
  public:
    constexpr ExpectedResult(std::initializer_list<std::pair<uint32_t, int32_t>> rows, int32_t anyOther)
        : anyOther_(anyOther) {
        for (const auto &row : rows)
            rows_[count_++] = row;
    }
    constexpr int32_t operator()(uint32_t code) const {
        for (int index = 0; index < count_; ++index)
            if (rows_[index].first == code)
                return rows_[index].second;
        return anyOther_;
    }

  private:
    std::pair<uint32_t, int32_t> rows_[8];
    int count_ = 0;
    int32_t anyOther_;
};

namespace expected {

// clang-format off
inline constexpr ExpectedResult standard({{0, 0}, {170, KAL_PRNBUSY}, {1168, DEVERR_CONNECT}, {6, DEVERR_INVHANDLE}}, KAL_FAIL);
inline constexpr ExpectedResult close({{0, 0}, {1, DEVERR_INVHANDLE}}, KAL_FAIL);
inline constexpr ExpectedResult write({{0, 0}, {1168, DEVERR_CONNECT}, {50, DEVERR_PROTOCOL}, {6, DEVERR_INVHANDLE}}, KAL_FAIL);
inline constexpr ExpectedResult plain({{0, 0}}, KAL_FAIL);
inline constexpr ExpectedResult cache({{0, 0}, {6, DEVERR_INVHANDLE}}, KAL_FAIL);
inline constexpr ExpectedResult ignored({}, KAL_OKAY);
inline constexpr ExpectedResult openFirst({{0, 0}}, DEVERR_INVHANDLE); ///< of the open that some exports begin with
inline constexpr ExpectedResult notificationMode({{1, DEVERR_INVHANDLE}, {2, DEVERR_CONNECT}}, KAL_OKAY);
inline constexpr ExpectedResult bidi({{0, 0}, {122, KAL_MOREDATA}, {6, DEVERR_INVHANDLE}, {1, KAL_PRNBUSY}, {1460, DEVERR_READFAIL}}, KAL_FAIL);
// clang-format on

/// Whether the port type is valid for the handle.
constexpr bool portTypeFits(uint32_t portType, uint16_t handle) {
    const unsigned kind = handle & 0x7800u;
    switch (portType) {
    case 0:
    case 1024:
    case 4095:
        return true;
    case 2:
        return kind == 0x6000;
    case 512:
        return kind == 0x4000 || kind == 0x4800 || kind == 0x1000 || kind == 0x6000;
    case 2048:
        return kind == 0x1000 || kind == 0x6000;
    default:
        return false;
    }
}

} // namespace expected

} // namespace kal::test
