// Every operation through its virtual slot, pattern by pattern.
#include "tests/contract/binding/BindingFixture.h"

#include "tests/support/ImportHook.h"

#include <new>
#include <utility>

using namespace kal::test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr uint32_t serviceCode = 4711;

/// The arguments behind the client identifier arrived in order; SetClientInfo's first one is not passed on.
void expectArguments(const ServiceCall &call, const Operation &operation, const SlotArguments &arguments,
                     size_t firstWord, size_t skipped = 0) {
    for (size_t index = 0; index < operation.kinds.size(); ++index) {
        const uint64_t expected = arguments[index + skipped];
        if (operation.kinds[index] == 'P')
            EXPECT_EQ(call.arguments[firstWord + index], expected) << "argument " << index;
        else
            EXPECT_EQ(call.number(firstWord + index), static_cast<uint32_t>(expected)) << "argument " << index;
    }
}

std::vector<Operation> clientScopedWithHandle() {
    auto found = operationsOf("Cc");
    std::erase_if(found, [](const Operation &operation) { return !operation.kinds.starts_with('H'); });
    return found;
}

} // namespace

// ------------------------------------------------------------------------------------------------- the table itself

TEST(OperationTable, HasNinetyTwoOperationsInOrderOfTheirSlots) {
    int slot = 0;
    for (const Operation &operation : allOperations())
        EXPECT_EQ(operation.slot, ++slot) << operation.name;
    EXPECT_EQ(slot, 92);
}

// ------------------------------------------------------------------------------------------------- client-scoped

class ClientScoped : public OperationTest {
  protected:
    size_t skipped() const { return operation().name == "SetClientInfo" ? 1 : 0; }
    SlotArguments arguments() const {
        return distinctArguments(skipped() != 0 ? "P" + operation().kinds : operation().kinds, handle);
    }
    uint32_t call() { return callSlot(*client, operation().slot, arguments()); }
};

TEST_P(ClientScoped, PassesIdentifierAndArgumentsInOrder) {
    EXPECT_EQ(call(), 0u);
    EXPECT_THAT(service.operations(), ElementsAre(entryPoint()));
    const ServiceCall recorded = service.lastCall(entryPoint());
    EXPECT_EQ(recorded.number(0), firstClientId);
    expectArguments(recorded, operation(), arguments(), 1, skipped());
}

TEST_P(ClientScoped, LoadsAndAsksForIdentifierBeforeTheCall) {
    EXPECT_EQ(call(), 0u);
    EXPECT_THAT(service.sequence().at(0), "OrxInitialize");
    EXPECT_THAT(service.sequence().at(1), "OrxGetClientId");
    EXPECT_THAT(service.sequence().at(2), entryPoint());
}

TEST_P(ClientScoped, ServiceCodeIsPassedThrough) {
    service.answers(entryPoint(), serviceCode);
    EXPECT_EQ(call(), serviceCode);
}

TEST_P(ClientScoped, FailureGivesBothReferencesBack) {
    service.answers(entryPoint(), serviceCode);
    call();
    expectIdle();
}

TEST_P(ClientScoped, FailureLeavesTheReferencesOfOthers) {
    hold();
    service.answers(entryPoint(), serviceCode);
    call();
    expectReferences(1);
}

TEST_P(ClientScoped, MissingEntryPointIs127) {
    service.lacks(entryPoint());
    EXPECT_EQ(call(), 127u);
    EXPECT_THAT(service.operations(), IsEmpty());
}

TEST_P(ClientScoped, MissingEntryPointGivesBothReferencesBack) {
    service.lacks(entryPoint());
    call();
    expectIdle();
}

TEST_P(ClientScoped, MissingEntryPointLeavesTheReferencesOfOthers) {
    hold();
    service.lacks(entryPoint());
    call();
    expectReferences(1);
}

TEST_P(ClientScoped, MissingLibraryIs126) {
    removeComc();
    EXPECT_EQ(call(), 126u);
}

TEST_P(ClientScoped, RefusedIdentifierIsItsCode) {
    service.answersInTurn("OrxGetClientId", {5});
    EXPECT_EQ(call(), 5u);
    EXPECT_THAT(service.operations(), IsEmpty());
    expectIdle();
}

TEST_P(ClientScoped, PassesTheCurrentIdentifier) {
    open();                   // under 101
    client->releaseBinding(); // ... which is given up under the open handle
    hold();                   // under 102
    call();
    EXPECT_EQ(service.lastCall(entryPoint()).number(0), 102u);
}

INSTANTIATE_TEST_SUITE_P(Operation, ClientScoped, testing::ValuesIn(operationsOf("Cc")), nameOf);

class ClientScopedWithHandle : public ClientScoped {};

TEST_P(ClientScopedWithHandle, HandleNeedNotBeOpen) {
    EXPECT_EQ(call(), 0u);
    EXPECT_EQ(client->CancelJobPrinter(handle), 1u); // and is not opened by it
}

INSTANTIATE_TEST_SUITE_P(Operation, ClientScopedWithHandle, testing::ValuesIn(clientScopedWithHandle()), nameOf);

class BalancedClientScoped : public ClientScoped {};

TEST_P(BalancedClientScoped, SuccessGivesBothReferencesBack) {
    call();
    expectIdle();
}

TEST_P(BalancedClientScoped, SuccessLeavesTheReferencesOfOthers) {
    hold();
    call();
    expectReferences(1);
}

INSTANTIATE_TEST_SUITE_P(Operation, BalancedClientScoped, testing::ValuesIn(operationsOf("C")), nameOf);

class KeepingClientScoped : public ClientScoped {};

TEST_P(KeepingClientScoped, SuccessKeepsBothReferences) {
    call();
    expectReferences(1);
}

TEST_P(KeepingClientScoped, EachSuccessKeepsItsOwn) {
    call();
    call();
    call();
    expectReferences(3);
}

INSTANTIATE_TEST_SUITE_P(Operation, KeepingClientScoped,
                         testing::Values(Operation{36, "RegisterForReportsHids", 'c', "P"},
                                         Operation{71, "RegisterForReportsCardReader", 'c', "P"},
                                         Operation{85, "RegisterForSystemNotifications", 'c', "NP"}),
                         nameOf);

// ------------------------------------------------------------------------------------------------- open

class Open : public OperationTest {};

TEST_P(Open, PassesIdentifierAndHandle) {
    EXPECT_EQ(call(), 0u);
    EXPECT_THAT(service.sequence(), ElementsAre("OrxInitialize", "OrxGetClientId", entryPoint()));
    EXPECT_EQ(service.lastCall(entryPoint()).number(0), firstClientId);
    EXPECT_EQ(service.lastCall(entryPoint()).number(1), handle);
}

TEST_P(Open, SuccessKeepsBothReferences) {
    call();
    expectReferences(1);
}

TEST_P(Open, EachSuccessKeepsItsOwnReferences) {
    call();
    call();
    expectReferences(2);
}

TEST_P(Open, SuccessMakesTheHandleKnown) {
    call();
    EXPECT_EQ(client->CancelJobPrinter(handle), 0u);
}

TEST_P(Open, FailureIsPassedThroughAndGivesBothReferencesBack) {
    service.answers(entryPoint(), serviceCode);
    EXPECT_EQ(call(), serviceCode);
    expectIdle();
}

TEST_P(Open, FailureLeavesTheHandleUnknown) {
    service.answers(entryPoint(), serviceCode);
    call();
    EXPECT_EQ(client->CancelJobPrinter(handle), 1u);
}

TEST_P(Open, WithoutMemoryToRememberItIsClosedAgain) {
    hold();
    bool isShort = false;
    service.does(entryPoint(), [&](const ServiceCall &) {
        isShort = true; // from now on: the double remembers the call in this program's memory, too
        return 0u;
    });
    {
        const ImportHook<"malloc", void *(size_t)> memory(GetModuleHandleA(nullptr), [&](size_t size) {
            return std::exchange(isShort, false) ? nullptr : memory.original(size);
        });
        EXPECT_THROW(call(), std::bad_alloc);
    }
    std::string closing = entryPoint();
    closing.replace(closing.find("Open"), 4, "Close");
    EXPECT_THAT(service.operations(), ElementsAre(entryPoint(), closing));
    EXPECT_EQ(service.lastCall(closing).number(1), handle);
    expectReferences(1);
}

TEST_P(Open, MissingEntryPointIs127AndGivesBothReferencesBack) {
    service.lacks(entryPoint());
    EXPECT_EQ(call(), 127u);
    EXPECT_EQ(client->CancelJobPrinter(handle), 1u);
    expectIdle();
}

TEST_P(Open, MissingLibraryIs126) {
    removeComc();
    EXPECT_EQ(call(), 126u);
}

TEST_P(Open, RefusedIdentifierIsItsCode) {
    service.answersInTurn("OrxGetClientId", {5});
    EXPECT_EQ(call(), 5u);
    EXPECT_THAT(service.operations(), IsEmpty());
    expectIdle();
}

INSTANTIATE_TEST_SUITE_P(Operation, Open, testing::ValuesIn(operationsOf("O")), nameOf);

// ------------------------------------------------------------------------------------------------- close

class Close : public OperationTest {};

TEST_P(Close, UnknownHandleIsOneAndTouchesNothing) {
    EXPECT_EQ(call(), 1u);
    EXPECT_EQ(service.loads(), 0);
    hold();
    EXPECT_EQ(call(), 1u);
    EXPECT_THAT(service.operations(), IsEmpty());
    expectReferences(1);
}

TEST_P(Close, PassesIdentifierAndHandle) {
    open();
    EXPECT_EQ(call(), 0u);
    EXPECT_THAT(service.operations(), ElementsAre(entryPoint()));
    EXPECT_EQ(service.lastCall(entryPoint()).number(0), firstClientId);
    EXPECT_EQ(service.lastCall(entryPoint()).number(1), handle);
}

TEST_P(Close, GivesTheReferencesOfTheOpenBack) {
    open();
    call();
    expectIdle();
}

TEST_P(Close, EachCloseGivesOneOpenBack) {
    open();
    open();
    EXPECT_EQ(call(), 0u);
    EXPECT_EQ(client->CancelJobPrinter(handle), 0u);
    expectReferences(1);
}

TEST_P(Close, LastCloseForgetsTheHandle) {
    open();
    open();
    EXPECT_EQ(call(), 0u);
    EXPECT_EQ(call(), 0u);
    EXPECT_EQ(call(), 1u);
    EXPECT_EQ(service.count(entryPoint()), 2u);
    expectIdle();
}

TEST_P(Close, PassesTheIdentifierOfTheOpen) {
    open();
    client->releaseBinding();
    hold();
    call();
    EXPECT_EQ(service.lastCall(entryPoint()).number(0), firstClientId);
}

TEST_P(Close, ServiceFailureIsPassedThroughAndStillCloses) {
    open();
    service.answers(entryPoint(), serviceCode);
    EXPECT_EQ(call(), serviceCode);
    EXPECT_EQ(client->CancelJobPrinter(handle), 1u);
    expectIdle();
}

TEST_P(Close, MissingEntryPointIs127AndGivesBothReferencesBack) {
    open();
    hold();
    service.lacks(entryPoint());
    EXPECT_EQ(call(), 127u);
    expectReferences(1);
}

TEST_P(Close, MissingEntryPointLeavesTheHandleKnown) {
    open();
    hold();
    service.lacks(entryPoint());
    call();
    EXPECT_EQ(client->CancelJobPrinter(handle), 0u);
}

INSTANTIATE_TEST_SUITE_P(Operation, Close, testing::ValuesIn(operationsOf("X")), nameOf);

// ------------------------------------------------------------------------------------------------- handle-scoped

class HandleScoped : public OperationTest {};

TEST_P(HandleScoped, PassesIdentifierHandleAndArgumentsInOrder) {
    open();
    EXPECT_EQ(call(), 0u);
    EXPECT_THAT(service.sequence(), ElementsAre(entryPoint()));
    const ServiceCall recorded = service.lastCall(entryPoint());
    EXPECT_EQ(recorded.number(0), firstClientId);
    expectArguments(recorded, operation(), arguments(), 1);
}

TEST_P(HandleScoped, PassesTheIdentifierOfTheOpen) {
    open();
    client->releaseBinding();
    hold();
    call();
    EXPECT_EQ(service.lastCall(entryPoint()).number(0), firstClientId);
}

TEST_P(HandleScoped, ServiceCodeIsPassedThrough) {
    open();
    service.answers(entryPoint(), serviceCode);
    EXPECT_EQ(call(), serviceCode);
}

TEST_P(HandleScoped, MovesNoReference) {
    open();
    call();
    service.answers(entryPoint(), serviceCode);
    call();
    expectReferences(1);
}

TEST_P(HandleScoped, UnknownHandleIsOneAndTouchesNothing) {
    EXPECT_EQ(call(), 1u);
    EXPECT_EQ(service.loads(), 0);
    hold();
    EXPECT_EQ(call(), 1u);
    EXPECT_THAT(service.operations(), IsEmpty());
    expectReferences(1);
}

TEST_P(HandleScoped, ClosedHandleIsOne) {
    open();
    client->ClosePrinter(handle);
    service.forgetCalls();
    EXPECT_EQ(call(), 1u);
    EXPECT_THAT(service.sequence(), IsEmpty());
}

TEST_P(HandleScoped, MissingEntryPointIs127) {
    open();
    service.lacks(entryPoint());
    EXPECT_EQ(call(), 127u);
}

INSTANTIATE_TEST_SUITE_P(Operation, HandleScoped, testing::ValuesIn(operationsOf("Hh")), nameOf);

class HandleScopedThatOnlyReports : public OperationTest {};

TEST_P(HandleScopedThatOnlyReports, MissingEntryPointLeavesHandleAndReferences) {
    open();
    service.lacks(entryPoint());
    call();
    EXPECT_THAT(service.sequence(), IsEmpty());
    service.lacks("OrxCancelJobPrinter");
    EXPECT_EQ(client->CancelJobPrinter(handle), 127u); // 1 if the handle were forgotten
    expectReferences(1);
}

INSTANTIATE_TEST_SUITE_P(Operation, HandleScopedThatOnlyReports, testing::ValuesIn(operationsOf("H")), nameOf);
INSTANTIATE_TEST_SUITE_P(Write, HandleScopedThatOnlyReports,
                         testing::Values(Operation{65, "WritePrinter", 'h', "HPNP"}), nameOf);

class HandleScopedThatCloses : public OperationTest {};

TEST_P(HandleScopedThatCloses, MissingEntryPointClosesTheHandleAsAPrinter) {
    open();
    service.lacks(entryPoint());
    EXPECT_EQ(call(), 127u);
    EXPECT_THAT(service.operations(), ElementsAre("OrxClosePrinter"));
    EXPECT_EQ(service.lastCall("OrxClosePrinter").number(0), firstClientId);
    EXPECT_EQ(service.lastCall("OrxClosePrinter").number(1), handle);
}

TEST_P(HandleScopedThatCloses, MissingEntryPointForgetsTheHandle) {
    open();
    hold();
    service.lacks(entryPoint());
    call();
    EXPECT_EQ(call(), 1u);
    expectReferences(1);
}

TEST_P(HandleScopedThatCloses, MissingEntryPointCountsOneOpenLess) {
    open();
    open();
    service.lacks(entryPoint());
    call();
    EXPECT_EQ(client->CancelJobPrinter(handle), 0u);
    expectReferences(1);
}

TEST_P(HandleScopedThatCloses, MissingEntryPointIs127WhateverTheCloseAnswers) {
    open();
    service.lacks(entryPoint());
    service.answers("OrxClosePrinter", serviceCode);
    EXPECT_EQ(call(), 127u);
}

TEST_P(HandleScopedThatCloses, ClosesThroughTheVirtualOperation) {
    struct ClosesItself : kal::OrxClient {
        using OrxClient::OrxClient;
        uint32_t ClosePrinter(uint32_t which) override {
            closed.push_back(which);
            return 0;
        }
        std::vector<uint32_t> closed;
    };
    auto own = std::make_unique<ClosesItself>(GetModuleHandleA(nullptr), "", false);
    ClosesItself &closing = *own;
    client = std::move(own);
    open();
    service.lacks(entryPoint());
    call();
    EXPECT_THAT(closing.closed, ElementsAre(handle));
}

INSTANTIATE_TEST_SUITE_P(Operation, HandleScopedThatCloses,
                         testing::Values(Operation{8, "EndJobPrinter", 'h', "H"},
                                         Operation{27, "StartJobPrinter", 'h', "HNPPPP"},
                                         Operation{28, "StartJobPrinterW", 'h', "HNPPPP"},
                                         Operation{56, "StartJobScanner", 'h', "HP"}),
                         nameOf);

// ------------------------------------------------------------------------------------------------- service control

class ServiceControl : public OperationTest {};

TEST_P(ServiceControl, PassesTheArgumentsAlone) {
    EXPECT_EQ(call(), 0u);
    EXPECT_THAT(service.sequence(), ElementsAre("OrxInitialize", entryPoint(), "OrxUninitialize"));
    expectArguments(service.lastCall(entryPoint()), operation(), arguments(), 0);
}

TEST_P(ServiceControl, ServiceCodeIsPassedThrough) {
    service.answers(entryPoint(), serviceCode);
    EXPECT_EQ(call(), serviceCode);
}

TEST_P(ServiceControl, GivesTheLoadBack) {
    call();
    expectIdle();
    service.answers(entryPoint(), serviceCode);
    call();
    expectIdle();
}

TEST_P(ServiceControl, LeavesTheReferencesOfOthers) {
    hold();
    call();
    expectReferences(1);
}

TEST_P(ServiceControl, MissingEntryPointIs127AndGivesTheLoadBack) {
    service.lacks(entryPoint());
    EXPECT_EQ(call(), 127u);
    expectIdle();
}

TEST_P(ServiceControl, MissingLibraryIs126) {
    removeComc();
    EXPECT_EQ(call(), 126u);
}

INSTANTIATE_TEST_SUITE_P(Operation, ServiceControl, testing::ValuesIn(operationsOf("S")), nameOf);
