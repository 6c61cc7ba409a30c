#pragma once

#include "service/OrxClient.h"
#include "tests/support/RecordedService.h"
#include "tests/support/StagedLibrary.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <string>
#include <vector>

namespace kal::test {

struct Operation {
    int slot;
    std::string name;
    char pattern;
    std::string kinds;
};

void PrintTo(const Operation &operation, std::ostream *stream);

const std::vector<Operation> &allOperations();
/// The operations whose pattern letter is among these.
std::vector<Operation> operationsOf(const std::string &patterns);

using SlotArguments = std::array<uint64_t, 7>;

/// Calls a virtual slot as a compiled caller would, with 64-bit words for all arguments.
uint32_t callSlot(OrxClient &client, int slot, const SlotArguments &arguments = {});

/// Words that show what becomes of them: all different, handles and numbers with their highest bit set and dirt above
/// their 32 bits. Every H is the given handle.
SlotArguments distinctArguments(const std::string &kinds, uint32_t handle);

inline HMODULE thisProgram() {
    return GetModuleHandleA(nullptr);
}

/// An OrxClient whose comc.dll, the double, lies beside this program.
class Binding : public testing::Test {
  protected:
    static constexpr uint32_t handle = 0x8123;
    static constexpr uint32_t firstClientId = 101;

    Binding() : client(std::make_unique<OrxClient>(GetModuleHandleA(nullptr), "", false)) {}

    /// Replaces the client by one beside whose library there is no comc.dll.
    void removeComc();
    void makeClient(const char *serverName, bool keepLoaded = false) {
        client = std::make_unique<OrxClient>(GetModuleHandleA(nullptr), serverName, keepLoaded);
    }

    /// Opens the handle and forgets the calls made for it.
    void open(uint32_t which = handle) {
        ASSERT_EQ(client->OpenPrinter(which), 0u);
        service.forgetCalls();
    }
    /// Holds one reference of each kind, as an open handle would.
    void hold() {
        ASSERT_EQ(client->acquireBinding(), 0u);
        service.forgetCalls();
    }
    /// Nothing holds the library or the identifier: it is unloaded, and the next operation loads it and asks anew.
    void expectIdle();
    /// Exactly so many references of each kind are held: that many releases, and no fewer, unload the library, and the
    /// identifier, asked for once, is asked for again after them.
    void expectReferences(int count);

    RecordedService service;
    std::unique_ptr<TemporaryFolder> folder;
    std::unique_ptr<OrxClient> client;
};

class OperationTest : public Binding, public testing::WithParamInterface<Operation> {
  protected:
    const Operation &operation() const { return GetParam(); }
    std::string entryPoint() const { return "Orx" + operation().name; }
    SlotArguments arguments() const { return distinctArguments(operation().kinds, handle); }
    uint32_t call() { return callSlot(*client, operation().slot, arguments()); }
};

inline std::string nameOf(const testing::TestParamInfo<Operation> &info) {
    return info.param.name;
}

} // namespace kal::test
