#include "tests/contract/print/ExportNames.h"

#include <algorithm>

namespace kal::test {

const std::vector<std::string> &allExports() {
    static const std::vector<std::string> names = {
        "Initialize",
        "KalCancelJob",
        "KalCaptureAlerts",
        "KalCaptureAlertsEx",
        "KalCaptureAlertsExLM",
        "KalCaptureAlertsLM",
        "KalClose",
        "KalCloseLM",
        "KalDeviceIoControl",
        "KalDeviceIoControlLM",
        "KalEndDoc",
        "KalEndDocLM",
        "KalEnumByUNC",
        "KalEnumByUNCLM",
        "KalEnumJobs",
        "KalEnumPrinters",
        "KalEnumPrintersLM",
        "KalEnumSpecific",
        "KalEnumSpecificEx",
        "KalEnumSpecificExLM",
        "KalEnumSpecificLM",
        "KalEnumSpecificPort",
        "KalEnumSpecificPortLM",
        "KalExchangeNetInfo",
        "KalExchangeNetInfoLM",
        "KalFlushMWOBuffer",
        "KalGetCache",
        "KalGetConnectionNames",
        "KalGetConnectionNamesLM",
        "KalGetDeviceIDString",
        "KalGetDeviceIDStringEx",
        "KalGetDeviceIDStringExLM",
        "KalGetDeviceIDStringLM",
        "KalGetJobAlertInfo",
        "KalGetNetInfo",
        "KalGetNetInfoLM",
        "KalGetNets",
        "KalGetNetsLM",
        "KalGetPollingInterval",
        "KalGetPrinterAddr",
        "KalGetPrinterAddrEx",
        "KalGetPrinterAddrExLM",
        "KalGetPrinterAddrLM",
        "KalGetPrinterName",
        "KalGetPrinterNameLM",
        "KalGetPrtInfo",
        "KalGetPrtInfoLM",
        "KalGetQueueUpdate",
        "KalGetVersion",
        "KalGetVersionEx",
        "KalGetVersionExLM",
        "KalGetVersionInfoEx",
        "KalGetVersionInfoExLM",
        "KalGetVersionLM",
        "KalIsUserAdmin",
        "KalMonitorPrinter",
        "KalMonitorPrinterLM",
        "KalMoveJob",
        "KalOpen",
        "KalOpenLM",
        "KalPing",
        "KalPrepareRhoaForUninstall",
        "KalQueryAlerts",
        "KalQueryAlertsLM",
        "KalQueryPortType",
        "KalQueryPrintBuffer",
        "KalQueryPrinterStatus",
        "KalReceiveShutdownNotification",
        "KalReceiveShutdownNotificationLM",
        "KalRegisterApp",
        "KalRegisterAppLM",
        "KalRegisterWithRpcServer",
        "KalReleaseAlerts",
        "KalReleaseAlertsLM",
        "KalReleaseJobs",
        "KalReleasePort",
        "KalReleasePortLM",
        "KalReleaseQueues",
        "KalRetrieveData",
        "KalSendBidi",
        "KalSendBidiLM",
        "KalSetClientName",
        "KalSetEndOfJobMode",
        "KalSetJobCancelMode",
        "KalSetJobControlMode",
        "KalSetJobStatus",
        "KalSetJobStringPrinter",
        "KalSetNetInfo",
        "KalSetNetInfoLM",
        "KalSetPollingInterval",
        "KalSetQueueStatus",
        "KalStartDoc",
        "KalStartDocLM",
        "KalStartRpcServer",
        "KalStartTrace",
        "KalStartTraceLM",
        "KalStopTrace",
        "KalStopTraceLM",
        "KalStoreData",
        "KalUninstallORX",
        "KalUnregisterApp",
        "KalUnregisterAppLM",
        "KalWrite",
        "KalWriteLM",
        "KalWriteOverlapped",
        "KalWriteUNI",
        "Uninitialize",
    };
    return names;
}

std::vector<std::string> tracedExports() {
    const std::vector<std::string> untraced = {"Initialize",       "Uninitialize",
                                               "KalRegisterApp",   "KalRegisterWithRpcServer",
                                               "KalUnregisterApp", "KalSetClientName"};
    auto names = allExports();
    std::erase_if(names, [&](const std::string &name) { return std::ranges::find(untraced, name) != untraced.end(); });
    return names;
}

int fixedOrFailure(const std::string &name) {
    const std::vector<std::string> zero = {"KalFlushMWOBuffer", "KalUninstallORX", "KalEnumSpecific",
                                           "KalEnumSpecificLM"};
    return std::ranges::find(zero, name) != zero.end() ? 0 : 1;
}

bool returnsNothing(const std::string &name) {
    return name == "KalPrepareRhoaForUninstall" || name == "KalUnregisterAppLM";
}

} // namespace kal::test
