// Scanners, card readers and HID devices, of which the simulator has none. Enumerations find nothing; functions that
// name a device return 1168. Registrations for all devices succeed, but nothing is ever reported.
#include "comc/comc.h"
#include "simulator/entry/Answer.h"

using namespace simulator;

namespace {

uint32_t answerEmpty(std::string_view entryPoint, OrxEnumCallback callback) {
    return answer(entryPoint,
                  [&](Service &) -> uint32_t { return callback ? ERROR_SUCCESS : ERROR_INVALID_PARAMETER; });
}

} // namespace

// clang-format off
extern "C" {

uint32_t OrxEnumHids(uint32_t, const char *, const char *, OrxEnumCallback callback)            { return answerEmpty("OrxEnumHids", callback); }
uint32_t OrxEnumSpecificHid(uint32_t, const char *, uint32_t *)                                 { return answerNoDevice("OrxEnumSpecificHid"); }
uint32_t OrxGetStringHid(uint32_t, uint32_t, const char *, char *, uint32_t, uint32_t *)        { return answerNoDevice("OrxGetStringHid"); }
uint32_t OrxGetLongHid(uint32_t, uint32_t, const char *, uint32_t *)                            { return answerNoDevice("OrxGetLongHid"); }
uint32_t OrxOpenHid(uint32_t, uint32_t)                                                         { return answerNoDevice("OrxOpenHid"); }
uint32_t OrxRegisterForReportsHid(uint32_t, uint32_t, const void *)                             { return answerNoDevice("OrxRegisterForReportsHid"); }
uint32_t OrxUnregisterForReportsHid(uint32_t, uint32_t)                                         { return answerNoDevice("OrxUnregisterForReportsHid"); }
uint32_t OrxRegisterForReportsHids(uint32_t, const void *)                                      { return answerDone("OrxRegisterForReportsHids"); }
uint32_t OrxUnregisterForReportsHids(uint32_t)                                                  { return answerDone("OrxUnregisterForReportsHids"); }
uint32_t OrxRegisterForNotificationsHid(uint32_t, uint32_t, const void *)                       { return answerNoDevice("OrxRegisterForNotificationsHid"); }
uint32_t OrxUnregisterForNotificationsHid(uint32_t, uint32_t)                                   { return answerNoDevice("OrxUnregisterForNotificationsHid"); }
uint32_t OrxCloseHid(uint32_t, uint32_t)                                                        { return answerNoDevice("OrxCloseHid"); }
uint32_t OrxDeleteHid(uint32_t, uint32_t)                                                       { return answerNoDevice("OrxDeleteHid"); }
uint32_t OrxGetCurrentStateHid(uint32_t, uint32_t, uint32_t *)                                  { return answerNoDevice("OrxGetCurrentStateHid"); }
uint32_t OrxEnumWindowsHids(uint32_t, const char *, const char *, OrxEnumCallback callback)     { return answerEmpty("OrxEnumWindowsHids", callback); }

uint32_t OrxEnumWindowsScanners(uint32_t, const char *, const char *, OrxEnumCallback callback) { return answerEmpty("OrxEnumWindowsScanners", callback); }
uint32_t OrxCloseScanner(uint32_t, uint32_t)                                                    { return answerNoDevice("OrxCloseScanner"); }
uint32_t OrxEndJobScanner(uint32_t, uint32_t)                                                   { return answerNoDevice("OrxEndJobScanner"); }
uint32_t OrxCancelJobScanner(uint32_t, uint32_t)                                                { return answerNoDevice("OrxCancelJobScanner"); }
uint32_t OrxEnumScanners(uint32_t, const char *, const char *, OrxEnumCallback callback)        { return answerEmpty("OrxEnumScanners", callback); }
uint32_t OrxEnumSpecificScanner(uint32_t, const char *, uint32_t *)                             { return answerNoDevice("OrxEnumSpecificScanner"); }
uint32_t OrxExchangeDataScanner(uint32_t, uint32_t, const void *, uint32_t, void *, uint32_t, uint32_t *) { return answerNoDevice("OrxExchangeDataScanner"); }
uint32_t OrxGetLongScanner(uint32_t, uint32_t, const char *, uint32_t *)                        { return answerNoDevice("OrxGetLongScanner"); }
uint32_t OrxGetStringScanner(uint32_t, uint32_t, const char *, char *, uint32_t, uint32_t *)    { return answerNoDevice("OrxGetStringScanner"); }
uint32_t OrxSetStringScanner(uint32_t, uint32_t, const char *, const char *, uint32_t)          { return answerNoDevice("OrxSetStringScanner"); }
uint32_t OrxOpenScanner(uint32_t, uint32_t)                                                     { return answerNoDevice("OrxOpenScanner"); }
uint32_t OrxStartJobScanner(uint32_t, uint32_t, const void *)                                   { return answerNoDevice("OrxStartJobScanner"); }
uint32_t OrxRegisterForAsyncDataScanner(uint32_t, uint32_t, uint32_t, const void *)             { return answerNoDevice("OrxRegisterForAsyncDataScanner"); }
uint32_t OrxUnregisterForAsyncDataScanner(uint32_t, uint32_t)                                   { return answerNoDevice("OrxUnregisterForAsyncDataScanner"); }
uint32_t OrxGetCurrentStateScanner(uint32_t, uint32_t, uint32_t *)                              { return answerNoDevice("OrxGetCurrentStateScanner"); }
uint32_t OrxSetJobStringScanner(uint32_t, uint32_t, const char *, const char *)                 { return answerNoDevice("OrxSetJobStringScanner"); }
uint32_t OrxGetJobStringScanner(uint32_t, uint32_t, const char *, char *, uint32_t, uint32_t *) { return answerNoDevice("OrxGetJobStringScanner"); }
uint32_t OrxGetWiaScannerInfo(uint32_t, const char *, void *, uint32_t, uint32_t *)             { return answerNoDevice("OrxGetWiaScannerInfo"); }

uint32_t OrxOpenCardReader(uint32_t, uint32_t)                                                  { return answerNoDevice("OrxOpenCardReader"); }
uint32_t OrxCloseCardReader(uint32_t, uint32_t)                                                 { return answerNoDevice("OrxCloseCardReader"); }
uint32_t OrxEnumSpecificCardReader(uint32_t, const char *, uint32_t *)                          { return answerNoDevice("OrxEnumSpecificCardReader"); }
uint32_t OrxEnumCardReaders(uint32_t, const char *, const char *, OrxEnumCallback callback)     { return answerEmpty("OrxEnumCardReaders", callback); }
uint32_t OrxExchangeBidiCardReader(uint32_t, uint32_t, const void *, uint32_t, void *, uint32_t, uint32_t *) { return answerNoDevice("OrxExchangeBidiCardReader"); }
uint32_t OrxRegisterForReportsCardReader(uint32_t, const void *)                                { return answerDone("OrxRegisterForReportsCardReader"); }
uint32_t OrxUnregisterForReportsCardReader(uint32_t)                                            { return answerDone("OrxUnregisterForReportsCardReader"); }
uint32_t OrxRegisterForNotificationsCardReader(uint32_t, uint32_t, const void *)                { return answerNoDevice("OrxRegisterForNotificationsCardReader"); }
uint32_t OrxUnregisterForNotificationsCardReader(uint32_t, uint32_t)                            { return answerNoDevice("OrxUnregisterForNotificationsCardReader"); }
uint32_t OrxRegisterForAsyncDataCardReader(uint32_t, uint32_t, const void *)                    { return answerNoDevice("OrxRegisterForAsyncDataCardReader"); }
uint32_t OrxUnregisterForAsyncDataCardReader(uint32_t, uint32_t)                                { return answerNoDevice("OrxUnregisterForAsyncDataCardReader"); }

} // extern "C"
// clang-format on
