#include "simulator/configuration/DefaultConfiguration.h"

namespace simulator {

// Bits 11 to 14 of a handle are the kind of connection: 0x6000 is valid for the network port type, 0x4000 for the
// host-based network, 0x1000 for the parallel port. USB accepts any.
std::string_view defaultConfiguration() noexcept {
    return R"({
  "printers": [
    { "handle": "0x6001", "transport": "IPv4", "port": "192.0.2.10", "device": "CpdPrinter",
      "name": "Network printer", "cache": { "head": true, "text": "MODEL:Network printer;STATE:ready;" },
      "bidi": [ { "request": "A5 00 03 50 04", "answerText": "Network printer" } ],
      "properties": { "Model": "Network printer", "PageCount": 1200 } },
    { "handle": "0x4001", "transport": "HBN3", "port": "HBN3_0002B3C4D5E6", "device": "BpdPrinter",
      "macAddress": "00:02:B3:C4:D5:E6",
      "name": "Host-based printer", "cache": { "text": "MODEL:Host-based printer;STATE:ready;" },
      "bidi": [ { "request": "A5 00 03 50 04", "answerText": "Host-based printer" } ],
      "properties": { "Model": "Host-based printer", "PageCount": 340 } },
    { "handle": 3, "transport": "USB1", "port": "USB001", "device": "BpdPrinter",
      "name": "USB printer", "cache": { "head": true, "text": "MODEL:USB printer;STATE:ready;" },
      "bidi": [ { "request": "A5 00 03 50 04", "answerText": "USB printer" } ],
      "properties": { "Model": "USB printer", "PageCount": 17 } },
    { "handle": "0x1001", "transport": "PAR1", "port": "LPT1", "device": "CpdPrinter",
      "name": "Parallel printer", "cache": { "text": "MODEL:Parallel printer;STATE:ready;" },
      "bidi": [ { "request": "A5 00 03 50 04", "answerText": "Parallel printer" } ],
      "properties": { "Model": "Parallel printer", "PageCount": 98000 } }
  ]
})";
}

} // namespace simulator
