// The three exports that work on a thread of their own.
#include "tests/contract/print/ClientFixture.h"

#include <atomic>
#include <optional>

using namespace kal::test;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

using BeginThread = uintptr_t(void *, unsigned, unsigned (*)(void *), void *, unsigned, unsigned *);
using BeginThreadHook = ImportHook<"_beginthreadex", BeginThread>;

BeginThreadHook::Replacement refusing(DWORD error) {
    return [error](void *, unsigned, unsigned (*)(void *), void *, unsigned, unsigned *) {
        SetLastError(error);
        return ~uintptr_t{0};
    };
}

/// The argument record of the next call's worker, and whether the library frees it.
class WatchedRecord {
  public:
    explicit WatchedRecord(HMODULE library, std::optional<DWORD> refusal = {})
        : refusal_(refusal), begin_(library, [this](auto... arguments) { return start(arguments...); }),
          free_(library, [this](void *block) {
              if (block != nullptr && block == record_)
                  isFreed_ = true;
              free_.original(block);
          }) {}

    bool isSeen() const { return record_ != nullptr; }
    bool isFreed() const { return isFreed_; }

  private:
    uintptr_t start(void *security, unsigned stack, unsigned (*procedure)(void *), void *argument, unsigned flags,
                    unsigned *id) {
        // The thread's start record points to its runnable, which holds operations, function and the record.
        void **const runnable = *static_cast<void ***>(argument);
        record_ = runnable[2];
        return refusal_ ? refusing(*refusal_)(security, stack, procedure, argument, flags, id)
                        : begin_.original(security, stack, procedure, argument, flags, id);
    }

    std::optional<DWORD> refusal_;
    std::atomic<void *> record_ = nullptr;
    std::atomic<bool> isFreed_ = false;
    const BeginThreadHook begin_;
    const ImportHook<"free", void(void *)> free_;
};

struct ThreadedExport {
    const char *name;
    const char *operation;
};

void PrintTo(const ThreadedExport &row, std::ostream *stream) {
    *stream << row.name;
}

} // namespace

class Threaded : public RegisteredClient, public testing::WithParamInterface<ThreadedExport> {
  protected:
    int32_t call() {
        const std::string name = GetParam().name;
        if (name == "KalOpen")
            return kal.KalOpen(0, handle, 0);
        if (name == "KalEnumSpecificPort")
            return kal.KalEnumSpecificPort(0, 0, "port", nullptr);
        return kal.KalGetCache(0, handle, buffer, sizeof buffer, &length);
    }
    std::string failure(DWORD error) const {
        return std::string(GetParam().name) + "() exception=" + std::to_string(error);
    }
    char buffer[16] = {};
    uint32_t length = 0;
};

TEST_P(Threaded, WorksOnAThreadOfItsOwn) {
    call();
    EXPECT_NE(service.lastCall(GetParam().operation).thread, GetCurrentThreadId());
}

TEST_P(Threaded, StartsOneThreadWithTheDefaultStack) {
    std::vector<unsigned> stacks;
    const BeginThreadHook begin(library.module(), [&](void *security, unsigned stack, unsigned (*procedure)(void *),
                                                      void *argument, unsigned flags, unsigned *id) {
        EXPECT_EQ(security, nullptr);
        EXPECT_EQ(flags, 0u);
        stacks.push_back(stack);
        return begin.original(security, stack, procedure, argument, flags, id);
    });
    call();
    EXPECT_THAT(stacks, ElementsAre(4096u));
}

TEST_P(Threaded, WaitsForASlowService) {
    bool ended = false;
    service.does(GetParam().operation, [&](const ServiceCall &) {
        Sleep(50);
        ended = true;
        return 1u;
    });
    call();
    EXPECT_TRUE(ended);
}

TEST_P(Threaded, ThreadThatCannotStartIsFailure) {
    const BeginThreadHook begin(library.module(), refusing(8));
    EXPECT_EQ(call(), KAL_FAIL);
    EXPECT_THAT(service.sequence(), IsEmpty());
}

TEST_P(Threaded, ThreadThatCannotStartIsLoggedWithItsError) {
    const BeginThreadHook begin(library.module(), refusing(1816));
    call();
    const auto lines = log();
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_THAT(lines[0], StartsWith("+" + std::string(GetParam().name)));
    EXPECT_EQ(lines[1], failure(1816));
    EXPECT_THAT(lines[2], testing::EndsWith(" rc=1"));
}

TEST_P(Threaded, StartFailureIsLoggedAsAnError) {
    unregisterApp();
    machine.setLogger("startLog", 0);
    registerApp();
    forget();
    const BeginThreadHook begin(library.module(), refusing(8));
    call();
    EXPECT_THAT(log(), ElementsAre(failure(8)));
}

TEST_P(Threaded, StartEventThatCannotBeMadeIsFailure) {
    const ImportHook<"CreateEventA", HANDLE(SECURITY_ATTRIBUTES *, BOOL, BOOL, const char *)> event(
        library.module(), [](SECURITY_ATTRIBUTES *, BOOL, BOOL, const char *) -> HANDLE {
            SetLastError(1450);
            return nullptr;
        });
    EXPECT_EQ(call(), KAL_FAIL);
    EXPECT_THAT(log(), Contains(failure(1450)));
}

TEST_P(Threaded, StartsOneThreadAndFreesItsRecord) {
    const WatchedRecord record(library.module());
    call();
    EXPECT_TRUE(record.isSeen());
    EXPECT_TRUE(record.isFreed());
}

TEST_P(Threaded, ThreadThatCannotStartKeepsItsRecord) {
    const WatchedRecord record(library.module(), ERROR_NOT_ENOUGH_MEMORY);
    EXPECT_EQ(call(), KAL_FAIL);
    EXPECT_TRUE(record.isSeen());
    EXPECT_FALSE(record.isFreed());
}

TEST_P(Threaded, StartFailureOfARunningThreadKeepsItsRecord) {
    std::atomic<HANDLE> started = nullptr; // the worker waits for the lock of the log meanwhile
    const ImportHook<"CreateEventA", HANDLE(SECURITY_ATTRIBUTES *, BOOL, BOOL, const char *)> event(
        library.module(), [&](SECURITY_ATTRIBUTES *security, BOOL manual, BOOL isSet, const char *name) {
            return started = event.original(security, manual, isSet, name);
        });
    const ImportHook<"WaitForSingleObject", DWORD(HANDLE, DWORD)> wait(
        library.module(), [&](HANDLE object, DWORD milliseconds) {
            if (object != started)
                return wait.original(object, milliseconds);
            started = nullptr; // closed next; its number may come again
            SetLastError(ERROR_INVALID_HANDLE);
            return DWORD{WAIT_FAILED};
        });
    const WatchedRecord record(library.module());
    EXPECT_EQ(call(), KAL_FAIL);
    EXPECT_THAT(log(), Contains(failure(ERROR_INVALID_HANDLE)));
    EXPECT_TRUE(record.isSeen());
    EXPECT_FALSE(record.isFreed());
}

TEST_P(Threaded, StartFailureIsFailureEvenWhenItCannotBeLogged) {
    const BeginThreadHook begin(library.module(), refusing(8));
    const ImportHook<"WaitForSingleObject", DWORD(HANDLE, DWORD)> wait(library.module(), [](HANDLE, DWORD) {
        SetLastError(6);
        return DWORD{WAIT_FAILED};
    });
    EXPECT_EQ(call(), KAL_FAIL);
}

TEST_P(Threaded, WorksAgainAfterAStartFailure) {
    {
        const BeginThreadHook begin(library.module(), refusing(8));
        call();
    }
    forget();
    call();
    EXPECT_THAT(service.operations(), Contains(GetParam().operation));
    EXPECT_THAT(log(), Not(Contains(testing::HasSubstr("exception="))));
}

TEST_P(Threaded, ForeignExceptionOfAWorkerThatCannotBeJoinedPassesToTheCaller) {
    std::atomic<uintptr_t> worker = 0; // it waits for the lock of the log, which must not fail
    const BeginThreadHook begin(library.module(),
                                [&](auto... arguments) { return worker = begin.original(arguments...); });
    const ImportHook<"WaitForSingleObject", DWORD(HANDLE, DWORD)> wait(
        library.module(), [&](HANDLE object, DWORD milliseconds) {
            if (object != reinterpret_cast<HANDLE>(worker.load()))
                return wait.original(object, milliseconds);
            SetLastError(ERROR_INVALID_HANDLE);
            return DWORD{WAIT_FAILED};
        });
    service.does(GetParam().operation, [](const ServiceCall &) -> uint32_t {
        Sleep(50); // the join has failed by now
        throw std::runtime_error("of the service");
    });
    EXPECT_THROW(call(), std::runtime_error);
}

TEST_P(Threaded, ForeignExceptionOfTheWorkerPassesToTheCaller) {
    service.does(GetParam().operation,
                 [](const ServiceCall &) -> uint32_t { throw std::runtime_error("of the service"); });
    EXPECT_THROW(call(), std::runtime_error);
}

INSTANTIATE_TEST_SUITE_P(Export, Threaded,
                         testing::Values(ThreadedExport{"KalOpen", "OrxOpenPrinter"},
                                         ThreadedExport{"KalEnumSpecificPort", "OrxEnumSpecificPrinter"},
                                         ThreadedExport{"KalGetCache", "OrxGetCachePrinter"}),
                         [](const auto &row) { return row.param.name; });

TEST_F(RegisteredClient, OtherExportsStartNoThread) {
    openPrinter();
    const BeginThreadHook begin(library.module(), refusing(8));
    uint32_t count = 1;
    EXPECT_EQ(kal.KalStartDoc(fitting, 0, nullptr), KAL_OKAY);
    EXPECT_EQ(kal.KalWrite(0, fitting, 0, "x", &count), KAL_OKAY);
    EXPECT_EQ(kal.KalEndDoc(fitting, 0), KAL_OKAY);
    EXPECT_EQ(kal.KalCancelJob(0, fitting), KAL_OKAY);
    EXPECT_EQ(kal.KalClose(0, fitting), KAL_OKAY);
    EXPECT_EQ(begin.calls(), 0);
}
