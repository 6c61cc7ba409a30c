#include "tests/contract/print/ClientFixture.h"

namespace kal::test {

namespace {

template <class Function>
void find(HMODULE module, const char *name, Function *&function) {
    function = exported<Function>(module, name);
}

} // namespace

Exports::Exports(HMODULE module) {
#define FIND(name) find(module, #name, name)
    FIND(Initialize);
    FIND(Uninitialize);
    FIND(KalRegisterApp);
    FIND(KalRegisterAppLM);
    FIND(KalRegisterWithRpcServer);
    FIND(KalUnregisterApp);
    FIND(KalUnregisterAppLM);
    FIND(KalSetClientName);
    FIND(KalOpen);
    FIND(KalClose);
    FIND(KalStartDoc);
    FIND(KalWrite);
    FIND(KalWriteOverlapped);
    FIND(KalEndDoc);
    FIND(KalCancelJob);
    FIND(KalEnumSpecificPort);
    FIND(KalGetCache);
#undef FIND
}

Client::Client(ComcFile comc, const std::string &fileName) : library(comc, fileName), kal(library.module()) {
    machine.logEverything();
}

void Client::TearDown() {
    while (registrations > 0)
        unregisterApp();
}

void Client::registerApp() {
    ASSERT_EQ(kal.KalRegisterApp(0), 1);
    ++registrations;
}

void Client::unregisterApp() {
    kal.KalUnregisterApp(0);
    --registrations;
}

void Client::openPrinter(uint16_t which) {
    if (registrations == 0)
        registerApp();
    ASSERT_EQ(kal.KalOpen(0, which, 0), KAL_OKAY);
    forget();
}

void Client::forget() {
    service.forgetCalls();
    machine.deleteLog();
}

std::vector<std::string> Client::indentedLog() const {
    auto lines = machine.logLines();
    for (std::string &line : lines) {
        EXPECT_TRUE(line.starts_with("LegacyClient    ")) << line;
        line = line.substr(16);
    }
    return lines;
}

} // namespace kal::test
