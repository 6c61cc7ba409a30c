// The calls of exports whose result comes of a code of the service.
#pragma once

#include "tests/support/ImportHook.h"
#include "tests/support/PrivateMachine.h"
#include "tests/support/RecordedService.h"
#include "tests/support/StagedLibrary.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace kal::test {

struct ServiceCallOfExport {
    std::string exportName;
    std::string operation;                ///< as the page names it; empty for the export's own
    std::vector<std::string> entryPoints; ///< those that answer the code
    std::function<int32_t()> call;
    std::function<void()> before; ///< what the call needs, while the service answers 0
};

/// All of them, of the registered library.
std::vector<ServiceCallOfExport> serviceCalls(const StagedLibrary &library);

/// A registered application and a service that answers as it is told.
class AnsweringService : public testing::Test {
  protected:
    AnsweringService();
    ~AnsweringService() override;

    /// The call's result when the service answers the code; nothing stays open.
    int32_t resultOf(const ServiceCallOfExport &call, uint32_t code);

    PrivateMachine machine;
    RecordedService service;
    StagedLibrary library;

  private:
    ImportHook<"Sleep", void(DWORD)> sleep_; ///< a full buffer costs two seconds else
};

} // namespace kal::test
