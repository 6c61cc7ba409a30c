// Every operation of the binding against every answer of its entry point: the code that comes out and the references
// that stay, also of the operations that no export uses.
#include "tests/contract/binding/BindingFixture.h"
#include "tests/support/ExpectedResults.h"
#include "tests/support/ImportHook.h"

using namespace kal::test;

namespace {

/// The operations that call one entry point of their own name.
std::vector<Operation> operationsWithEntryPoint() {
    return operationsOf("CcOXHhS");
}

class OperationAnswers : public OperationTest {
  protected:
    bool opensFirst() const { return std::string("XHh").find(operation().pattern) != std::string::npos; }
    bool keepsReferences() const {
        return operation().pattern == 'O' || operation().name == "RegisterForReportsHids" ||
               operation().name == "RegisterForReportsCardReader" ||
               operation().name == "RegisterForSystemNotifications";
    }
    /// References of each kind that are held after the call.
    int referencesAfter(uint32_t code, bool isMissing) const {
        const bool closes = operation().pattern == 'X' ||
                            (operation().pattern == 'h' && isMissing && operation().name != "WritePrinter");
        return (opensFirst() && !closes) || (keepsReferences() && code == 0) ? 1 : 0;
    }

    ImportHook<"Sleep", void(DWORD)> sleep{GetModuleHandleA(nullptr), [this](DWORD milliseconds) {
                                               if (milliseconds != 2000)
                                                   sleep.original(milliseconds);
                                           }};
};

} // namespace

TEST_P(OperationAnswers, EveryCodeComesOutAndMovesTheReferencesOfItsPattern) {
    for (const uint32_t code : serviceCodes) {
        SCOPED_TRACE("code " + std::to_string(code));
        makeClient("");
        if (opensFirst())
            open();
        service.answers(entryPoint(), code);
        EXPECT_EQ(call(), code);
        expectReferences(referencesAfter(code, false));
    }
}

TEST_P(OperationAnswers, MissingEntryPointIs127AndMovesTheReferencesOfItsPattern) {
    if (opensFirst())
        open();
    service.lacks(entryPoint());
    EXPECT_EQ(call(), entryPointMissing);
    expectReferences(referencesAfter(entryPointMissing, true));
}

INSTANTIATE_TEST_SUITE_P(Operation, OperationAnswers, testing::ValuesIn(operationsWithEntryPoint()), nameOf);
