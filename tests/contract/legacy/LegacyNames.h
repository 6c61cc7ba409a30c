// The names of the legacy entry points, as data of the tests.
#pragma once

#include <ostream>
#include <string>

namespace kal::test {

/// Answers KAL_FAIL whatever it is given.
struct UnsupportedExport {
    const char *name;
    const char *tracedName;
};

constexpr UnsupportedExport unsupportedExports[] = {
    {"KalCaptureAlertsEx", "KalCaptureAlertsEx"},
    {"KalGetDeviceIDString", "KalGetDeviceIDString"},
    {"KalGetDeviceIDStringEx", "KalGetDeviceIDStringEx"},
    {"KalGetPrtInfo", "KalGetPrtInfo"},
    {"KalPing", "KalPing"},
    {"KalQueryPortType", "KalQueryPortType"},
    {"KalQueryPrintBuffer", "KalQueryPrintBuffer"},
    {"KalReceiveShutdownNotification", "KalReceiveShutdownNotification"},
    {"KalRetrieveData", "KalRetrieveData"},
    {"KalStartTrace", "KalStartTrace"},
    {"KalStopTrace", "KalStopTrace"},
    {"KalStoreData", "KalStoreData"},
    {"KalWriteUNI", "KalWriteUNI"},
    {"KalDeviceIoControl", "KalDeviceIoControl"},
    {"KalEnumSpecificEx", "KalEnumSpecificEx"},
    {"KalExchangeNetInfo", "KalExchangeNetInfo"},
    {"KalGetConnectionNames", "KalGetConnectionNames"},
    {"KalGetNetInfo", "KalGetNetInfo"},
    {"KalEnumJobs", "KalEnumJob"},
    {"KalGetJobAlertInfo", "KalGetJobAlertInfo"},
    {"KalGetNets", "KalGetNets"},
    {"KalGetPollingInterval", "KalGetPollingInterval"},
    {"KalGetPrinterAddr", "KalGetPrinterAddr"},
    {"KalGetPrinterAddrEx", "KalGetPrinterAddrEx"},
    {"KalGetPrinterName", "KalGetPrinterName"},
    {"KalGetQueueUpdate", "KalGetQueueUpdate"},
    {"KalGetVersion", "KalGetVersion"},
    {"KalGetVersionEx", "KalGetVersionEx"},
    {"KalGetVersionInfoEx", "KalGetVersionInfoEx"},
    {"KalIsUserAdmin", "KalIsUserAdmin"},
    {"KalMonitorPrinter", "KalMonitorPrinter"},
    {"KalMoveJob", "KalMoveJob"},
    {"KalReleaseJobs", "KalReleaseJobs"},
    {"KalReleasePort", "KalReleasePort"},
    {"KalReleaseQueues", "KalReleaseQueues"},
    {"KalSetJobStatus", "KalSetJobStatus"},
    {"KalSetNetInfo", "KalSetNetInfo"},
    {"KalSetPollingInterval", "KalSetPollingInterval"},
    {"KalSetQueueStatus", "KalSetQueueStatus"},
};
static_assert(std::size(unsupportedExports) == 39);

/// An LM name and the name that its trace bears.
struct Alias {
    const char *name;
    const char *tracedName;

    /// The export that it stands for.
    std::string plainName() const { return std::string(name).substr(0, std::string(name).size() - 2); }
};

/// Those of exports that do something.
constexpr Alias workingAliases[] = {
    {"KalCaptureAlertsLM", "KalCaptureAlertsLM"},
    {"KalCloseLM", "KalCloseLM"},
    {"KalEndDocLM", "KalEndDocLM"},
    {"KalEnumByUNCLM", "KalEnumByUNCLM"},
    {"KalEnumPrintersLM", "KalEnumPrintersLM"},
    {"KalEnumSpecificPortLM", "KalEnumSpecificPortLM"},
    {"KalOpenLM", "KalOpenLM"},
    {"KalQueryAlertsLM", "KalQueryAlertsLM"},
    {"KalRegisterAppLM", "KalRegisterAppLM"},
    {"KalReleaseAlertsLM", "KalReleaseAlertsLM"},
    {"KalSendBidiLM", "KalSendBidiLM"},
    {"KalStartDocLM", "KalStartDocLM"},
    {"KalUnregisterAppLM", "KalUnregisterAppLM"},
    {"KalWriteLM", "KalWriteLM"},
};

/// Those of exports that read no argument.
constexpr Alias unreadAliases[] = {
    {"KalCaptureAlertsExLM", "KalCaptureAlertsLM"}, // deliberately not its own name
    {"KalReceiveShutdownNotificationLM", "KalReceiveShutdownNotification"},
    {"KalDeviceIoControlLM", "KalDeviceIoControlLM"},
    {"KalEnumSpecificLM", "KalEnumSpecificLM"},
    {"KalEnumSpecificExLM", "KalEnumSpecificExLM"},
    {"KalExchangeNetInfoLM", "KalExchangeNetInfoLM"},
    {"KalGetConnectionNamesLM", "KalGetConnectionNamesLM"},
    {"KalGetDeviceIDStringLM", "KalGetDeviceIDStringLM"},
    {"KalGetDeviceIDStringExLM", "KalGetDeviceIDStringExLM"},
    {"KalGetNetInfoLM", "KalGetNetInfoLM"},
    {"KalGetNetsLM", "KalGetNetsLM"},
    {"KalGetPrinterAddrLM", "KalGetPrinterAddrLM"},
    {"KalGetPrinterAddrExLM", "KalGetPrinterAddrExLM"},
    {"KalGetPrinterNameLM", "KalGetPrinterNameLM"},
    {"KalGetPrtInfoLM", "KalGetPrtInfoLM"},
    {"KalGetVersionLM", "KalGetVersionLM"},
    {"KalGetVersionExLM", "KalGetVersionExLM"},
    {"KalGetVersionInfoExLM", "KalGetVersionInfoExLM"},
    {"KalMonitorPrinterLM", "KalMonitorPrinterLM"},
    {"KalReleasePortLM", "KalReleasePortLM"},
    {"KalSetNetInfoLM", "KalSetNetInfoLM"},
    {"KalStartTraceLM", "KalStartTraceLM"},
    {"KalStopTraceLM", "KalStopTraceLM"},
};
static_assert(std::size(workingAliases) + std::size(unreadAliases) == 37);

/// Has one answer, which is no failure.
struct FixedExport {
    const char *name;
    int32_t answer;
    const char *exitText; ///< behind the name in the exit trace
};

constexpr FixedExport fixedExports[] = {
    {"KalFlushMWOBuffer", 0, " rc=KAL_OKAY"},
    {"KalUninstallORX", 0, " rc=KAL_OKAY"},
    {"KalStartRpcServer", 1, " rc=TRUE"},
    {"KalEnumSpecific", 0, ""},
};

inline void PrintTo(const UnsupportedExport &row, std::ostream *stream) {
    *stream << row.name;
}
inline void PrintTo(const Alias &row, std::ostream *stream) {
    *stream << row.name;
}
inline void PrintTo(const FixedExport &row, std::ostream *stream) {
    *stream << row.name;
}

} // namespace kal::test
