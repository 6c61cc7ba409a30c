// What every export has in common: trace, missing binding, unregistered process, result names.
#include "tests/contract/print/ClientFixture.h"
#include "tests/contract/print/ExportNames.h"
#include "tests/support/NetworkStandIn.h"

#include <array>

using namespace kal::test;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

int32_t callWithNothing(HMODULE module, const std::string &name) {
    return static_cast<int32_t>(exported<AnyExport>(module, name.c_str())(0, 0, 0, 0, 0, 0, 0, 0));
}

} // namespace

// --------------------------------------------------------------------------------- before the first registration

class Unregistered : public Client, public testing::WithParamInterface<std::string> {};

TEST_P(Unregistered, LetsTheLoggersExceptionOut) {
    expectUnregistered([&] { callWithNothing(library.module(), GetParam()); });
    EXPECT_EQ(service.loads(), 0);
}

TEST_P(Unregistered, LetsTheLoggersExceptionOutAfterTheLastUnregistration) {
    registerApp();
    unregisterApp();
    forget();
    expectUnregistered([&] { callWithNothing(library.module(), GetParam()); });
    EXPECT_THAT(service.sequence(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Export, Unregistered, testing::ValuesIn(tracedExports()),
                         [](const auto &row) { return row.param; });

TEST_F(Client, ProcessSetUpWorksUnregistered) {
    EXPECT_EQ(kal.Initialize(), 1);
    EXPECT_EQ(kal.Uninitialize(), 1);
    EXPECT_EQ(kal.Initialize(), 1);
    EXPECT_EQ(service.loads(), 0);
}

TEST_F(Client, UninitializeChangesNothing) {
    registerApp();
    kal.Uninitialize();
    EXPECT_EQ(kal.KalOpen(0, handle, 0), KAL_OKAY);
    EXPECT_EQ(kal.KalClose(0, handle), KAL_OKAY);
}

TEST_F(Client, ProcessSetUpOpensNoTrace) {
    registerApp();
    forget();
    kal.Initialize();
    kal.Uninitialize();
    EXPECT_THAT(log(), IsEmpty());
}

// --------------------------------------------------------------------------------- after a refused registration

class Refused : public Client, public testing::WithParamInterface<std::string> {
  protected:
    Refused() {
        NetworkStandIn network(library.module());
        network.answer = 67;
        EXPECT_EQ(kal.KalRegisterWithRpcServer("elsewhere"), -12);
        forget();
    }
};

TEST_P(Refused, AnswersInsteadOfRaising) {
    const int32_t result = callWithNothing(library.module(), GetParam());
    if (!returnsNothing(GetParam())) {
        EXPECT_EQ(result, fixedOrFailure(GetParam()));
    }
    EXPECT_EQ(service.loads(), 0);
    EXPECT_THAT(log(), IsEmpty());
}

std::vector<std::string> withoutRegistration() {
    auto names = tracedExports();
    std::erase_if(names,
                  [](const std::string &name) { return name == "KalRegisterAppLM" || name == "KalUnregisterAppLM"; });
    return names;
}

INSTANTIATE_TEST_SUITE_P(Export, Refused, testing::ValuesIn(withoutRegistration()),
                         [](const auto &row) { return row.param; });

using RefusedClient = Refused;

TEST_F(RefusedClient, RegistrationAliasDoesNotRaise) {
    EXPECT_EQ(kal.KalRegisterAppLM(0), 1);
    ++registrations; // the fixture gives it back
}

TEST_F(RefusedClient, RaisesAgainAfterARegistrationCameAndWent) {
    registerApp();
    EXPECT_EQ(kal.KalOpen(0, handle, 0), KAL_OKAY);
    unregisterApp();
    expectUnregistered([&] { kal.KalOpen(0, handle, 0); });
}

// --------------------------------------------------------------------------------- traces

TEST_F(RegisteredClient, InlineTraceOpensAndClosesWithTheResultsName) {
    kal.KalClose(0, 5);
    EXPECT_THAT(log(), ElementsAre("+KalClose() handle=5", "-KalClose() handle=5 rc=DEVERR_INVHANDLE"));
}

TEST_F(RegisteredClient, ThreadedTraceHoldsTheWorkersAndTheResultAsANumber) {
    kal.KalOpen(0, 5, 0);
    // The worker's lines stand on the worker's own depth.
    EXPECT_THAT(indentedLog(), ElementsAre("+KalOpen() handle =5", "+KalOpenRunnable()", "-KalOpenRunnable()",
                                           "-KalOpen() handle =5 rc=0"));
}

TEST_F(RegisteredClient, NothingIsTracedWithLevelTwoOff) {
    unregisterApp();
    machine.setLogger("All", 0);
    machine.setLogger("LegacyClient", 0xFFFFFFFD);
    registerApp();
    machine.deleteLog();
    service.answersInTurn("OrxOpenPrinter", {170, 0});
    EXPECT_EQ(kal.KalOpen(0, handle, 0), KAL_PRNBUSY);
    EXPECT_EQ(kal.KalOpen(0, handle, 0), KAL_OKAY);
    EXPECT_EQ(kal.KalStartDoc(handle, 2, nullptr), DEVERR_PROTOCOL);
    EXPECT_EQ(kal.KalClose(0, handle), KAL_OKAY);
    EXPECT_THAT(log(), IsEmpty());
}

TEST_F(RegisteredClient, ResultsAreTheSameWithTheSettingsKeyGone) {
    machine.removeKey();
    EXPECT_EQ(kal.KalOpen(0, handle, 0), KAL_OKAY);
    EXPECT_EQ(kal.KalClose(0, handle), KAL_OKAY);
    EXPECT_EQ(kal.KalClose(0, handle), DEVERR_INVHANDLE);
}

TEST_F(RegisteredClient, InlineExportWorksOnTheCallersThread) {
    openPrinter();
    kal.KalClose(0, fitting);
    EXPECT_EQ(service.lastCall("OrxClosePrinter").thread, GetCurrentThreadId());
}

TEST_F(RegisteredClient, ForeignExceptionPassesToTheCaller) {
    openPrinter();
    service.does("OrxCancelJobPrinter",
                 [](const ServiceCall &) -> uint32_t { throw std::runtime_error("of the service"); });
    EXPECT_THROW(kal.KalCancelJob(0, fitting), std::runtime_error);
    service.answers("OrxCancelJobPrinter", 0);
    EXPECT_EQ(kal.KalCancelJob(0, fitting), KAL_OKAY);
}

// --------------------------------------------------------------------------------- missing binding

struct MissingBinding {
    const char *name;
    const char *message;
};

void PrintTo(const MissingBinding &row, std::ostream *stream) {
    *stream << row.name;
}

class WithoutBinding : public BindinglessClient, public testing::WithParamInterface<MissingBinding> {
  protected:
    int32_t call() {
        std::array<uint64_t, 128> room = {};
        const auto place = static_cast<uint64_t>(reinterpret_cast<uintptr_t>(room.data()));
        // 0x1005 and 1: good as handle, port type, size or job id; behind them, and as any pointer, readable memory.
        const auto first = std::string(GetParam().name);
        auto *function = as<AnyExport>(GetParam().name);
        if (first == "KalStartDoc" || first == "KalEndDoc")
            return static_cast<int32_t>(function(5, 0, place, 0, 0, 0, 0, 0));
        if (first == "KalSetJobCancelMode")
            return static_cast<int32_t>(function(0, 5, 1, 0, 0, 0, 0, 0));
        if (first == "KalWrite" || first == "KalWriteOverlapped")
            return static_cast<int32_t>(function(0, 5, 0, place, place, 0, 0, 0));
        if (first == "KalQueryAlerts")
            return static_cast<int32_t>(function(0, 5, 0, 0, place, place, 0, 0));
        if (first == "KalQueryPrinterStatus")
            return static_cast<int32_t>(function(0, 5, 0, place, 0, place, 0, 0));
        if (first == "KalSendBidi")
            return static_cast<int32_t>(function(0, 5, 0, 1, place, place, place, 0));
        if (first == "KalGetCache")
            return static_cast<int32_t>(function(0, 5, place, 8, place, 0, 0, 0));
        return static_cast<int32_t>(function(0, 5, place, place, 0, 0, 0, 0));
    }
};

TEST_P(WithoutBinding, FailsWithTheExportsOwnMessage) {
    int32_t result = 0;
    withoutBinding([&] { result = call(); });
    EXPECT_EQ(result, KAL_FAIL);
    EXPECT_THAT(lines, Contains(GetParam().message).Times(1));
    EXPECT_EQ(service.loads(), 0);
}

TEST_P(WithoutBinding, MessageIsAnError) {
    machine.setLogger("startLog", 0); // errors are written all the same
    int32_t result = 0;
    withoutBinding([&] { result = call(); });
    EXPECT_EQ(result, KAL_FAIL);
    EXPECT_THAT(lines, ElementsAre(GetParam().message));
}

TEST_P(WithoutBinding, LogThatCannotBeLockedChangesNothing) {
    HANDLE logLock = nullptr;
    const ImportHook<"CreateMutexA", HANDLE(SECURITY_ATTRIBUTES *, BOOL, const char *)> making(
        library.module(), [&](SECURITY_ATTRIBUTES *attributes, BOOL owned, const char *name) {
            return logLock = making.original(attributes, owned, name);
        });
    int32_t result = 0;
    withoutBinding([&] {
        const ImportHook<"WaitForSingleObject", DWORD(HANDLE, DWORD)> failing(
            library.module(), [&](HANDLE object, DWORD timeout) {
                if (object != logLock)
                    return failing.original(object, timeout);
                SetLastError(6);
                return DWORD{WAIT_FAILED};
            });
        result = call();
    });
    EXPECT_EQ(result, KAL_FAIL);
    EXPECT_THAT(lines, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Export, WithoutBinding,
    testing::Values(
        MissingBinding{"KalOpen", "orxClient=NULL."}, MissingBinding{"KalClose", "orxClient=NULL."},
        MissingBinding{"KalStartDoc", "orxClient=NULL."}, MissingBinding{"KalEndDoc", "orxClient=NULL."},
        MissingBinding{"KalWrite", "orxClient=NULL"}, MissingBinding{"KalWriteOverlapped", "orxClient=NULL"},
        MissingBinding{"KalCancelJob", "orxClient=NULL."},
        MissingBinding{"KalSetEndOfJobMode", "KalSetJobCancelMode() orxClient = NULL"},
        MissingBinding{"KalSetJobCancelMode", "KalSetJobCancelMode() orxClient = NULL"},
        MissingBinding{"KalSetJobControlMode", "orxClient=NULL."},
        MissingBinding{"KalSetJobStringPrinter", "KalSetJobStringPrinter() orxClient = NULL"},
        MissingBinding{"KalEnumPrinters", "orxClient=NULL."}, MissingBinding{"KalEnumSpecificPort", "orxClient=NULL."},
        MissingBinding{"KalEnumByUNC", "orxClient=NULL."}, MissingBinding{"KalGetCache", "orxClient=NULL."},
        MissingBinding{"KalCaptureAlerts", "orxClient=NULL."},
        MissingBinding{"KalReleaseAlerts", "KalReleaseAlerts() orxClient = NULL"},
        MissingBinding{"KalQueryAlerts", "orxClient=NULL."}, MissingBinding{"KalQueryPrinterStatus", "orxClient=NULL."},
        MissingBinding{"KalSendBidi", "orxClient=NULL."}),
    [](const auto &row) { return row.param.name; });

TEST_F(BindinglessClient, InlineTraceEndsInFailure) {
    withoutBinding([&] { kal.KalClose(0, 5); });
    EXPECT_THAT(lines, ElementsAre("+KalClose() handle=5", "orxClient=NULL.", "-KalClose() handle=5 rc=KAL_FAIL"));
}

TEST_F(BindinglessClient, ThreadedTraceEndsInFailure) {
    withoutBinding([&] { kal.KalOpen(0, 5, 0); });
    EXPECT_THAT(lines, ElementsAre("+KalOpen() handle =5", "+KalOpenRunnable()", "orxClient=NULL.",
                                   "-KalOpenRunnable()", "-KalOpen() handle =5 rc=1"));
}
