#pragma once

#include "api/kal.h"
#include "platform/Exception.h"
#include "tests/support/ImportHook.h"
#include "tests/support/PrivateMachine.h"
#include "tests/support/RecordedService.h"
#include "tests/support/StagedLibrary.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kal::test {

/// The exports under test, looked up in one loaded copy of the library.
struct Exports {
    explicit Exports(HMODULE module);

    decltype(::Initialize) *Initialize;
    decltype(::Uninitialize) *Uninitialize;
    decltype(::KalRegisterApp) *KalRegisterApp;
    decltype(::KalRegisterAppLM) *KalRegisterAppLM;
    decltype(::KalRegisterWithRpcServer) *KalRegisterWithRpcServer;
    decltype(::KalUnregisterApp) *KalUnregisterApp;
    decltype(::KalUnregisterAppLM) *KalUnregisterAppLM;
    decltype(::KalSetClientName) *KalSetClientName;
    decltype(::KalOpen) *KalOpen;
    decltype(::KalClose) *KalClose;
    decltype(::KalStartDoc) *KalStartDoc;
    decltype(::KalWrite) *KalWrite;
    decltype(::KalWriteOverlapped) *KalWriteOverlapped;
    decltype(::KalEndDoc) *KalEndDoc;
    decltype(::KalCancelJob) *KalCancelJob;
    decltype(::KalEnumSpecificPort) *KalEnumSpecificPort;
    decltype(::KalGetCache) *KalGetCache;
};

/// Any export as a function of eight words, to call it without knowing it or with dirt above its arguments.
using AnyExport = int64_t(uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t);

/// A freshly loaded kalclient.dll beside the recording double, on a machine of its own that logs everything.
class Client : public testing::Test {
  protected:
    static constexpr uint16_t handle = 0x8005;  // its kind bits are all zero
    static constexpr uint16_t fitting = 0xE005; // kind 0x6000: fits every known port type

    explicit Client(ComcFile comc = ComcFile::recording, const std::string &fileName = "kalclient.dll");

    void TearDown() override;

    /// Registers; the fixture unregisters at the end as often as needed.
    void registerApp();
    void unregisterApp();
    /// Registered, the handles open, recording and log empty.
    void openPrinter(uint16_t which = fitting);
    void forget();

    /// What was logged, without component and indentation.
    std::vector<std::string> log() const { return machine.logTexts(); }
    /// Lines of the log, indentation and all, without the component column.
    std::vector<std::string> indentedLog() const;

    template <class Function>
    Function *as(const char *name) const {
        return exported<Function>(library.module(), name);
    }

    PrivateMachine machine;
    StagedLibrary library;
    RecordedService service;
    Exports kal;
    int registrations = 0;
};

class RegisteredClient : public Client {
  protected:
    RegisteredClient() {
        registerApp();
        forget();
    }
};

/// Runs while no binding exists but the logger does: within the registration, when the binding is being made.
class BindinglessClient : public Client {
  protected:
    template <class Call>
    void withoutBinding(Call call) {
        bool done = false;
        const ImportHook<"GetModuleFileNameA", DWORD(HMODULE, char *, DWORD)> making(
            library.module(), [&](HMODULE module, char *buffer, DWORD size) {
                // 261 bytes: this is the binding that looks for its own folder.
                if (size == 261 && !done) {
                    done = true;
                    machine.deleteLog();
                    call();
                    lines = log();
                }
                return making.original(module, buffer, size);
            });
        registerApp();
        EXPECT_TRUE(done);
    }
    std::vector<std::string> lines;
};

/// What an export answers when the service answers a code.
struct Translation {
    uint32_t code;
    int32_t result;
    const char *name;
};

inline void PrintTo(const Translation &row, std::ostream *stream) {
    *stream << row.code;
}

inline std::string codeOf(const testing::TestParamInfo<Translation> &info) {
    return std::to_string(info.param.code);
}

/// Expects the logger's exception: the call was made while no application is registered.
template <class Call>
void expectUnregistered(Call call) {
    try {
        call();
        ADD_FAILURE() << "nothing was raised";
    } catch (const kal::Win32Exception &raised) {
        EXPECT_EQ(raised.message(), "BasicLogger::getInstance()");
        EXPECT_EQ(raised.code(), 1u);
        EXPECT_EQ(raised.file, "");
        EXPECT_EQ(raised.line, 0u);
    }
}

} // namespace kal::test
