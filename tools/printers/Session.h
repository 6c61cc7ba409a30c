/// Objects for the library's paired calls: the destructor ends what the constructor began, however the command ends.
#pragma once

#include "api/kal.h"
#include "tools/Invocation.h"

#include <windows.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace tool {

/// Ends the command unless the operation succeeded. The message names the operation and explains the result.
void require(std::string_view operation, int32_t result);

/// A registration of this process, with the service on the machine that the command line named.
class Registration {
  public:
    explicit Registration(const Invocation &invocation) : Registration(invocation.server) {}
    explicit Registration(const std::string &server);
    ~Registration() { KalUnregisterApp(0); }
    Registration(const Registration &) = delete;
    Registration &operator=(const Registration &) = delete;
};

/// A printer that this command opened.
class OpenPrinter {
  public:
    explicit OpenPrinter(uint16_t handle);
    ~OpenPrinter() { KalClose(0, handle_); }
    OpenPrinter(const OpenPrinter &) = delete;
    OpenPrinter &operator=(const OpenPrinter &) = delete;

  private:
    uint16_t handle_;
};

/// Reports alerts and job notifications of a printer as window messages. The destructor ends both and closes the opens
/// that belong to them.
class Capture {
  public:
    Capture(uint16_t handle, uint32_t alertMask, HWND window);
    ~Capture() { KalReleaseAlerts(0, handle_); }
    Capture(const Capture &) = delete;
    Capture &operator=(const Capture &) = delete;

  private:
    uint16_t handle_;
};

} // namespace tool
