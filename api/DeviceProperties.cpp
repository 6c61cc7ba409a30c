#include "api/DeviceProperties.h"

#include "api/PortType.h"
#include "api/kal.h"
#include "comc/Properties.h"
#include "service/OrxClient.h"

#include <cstring>

namespace kal {

TextProperty readTextProperty(OrxClient &client, uint32_t handle, const char *descriptor, char *room, uint32_t size) {
    std::memset(room, 0, size);
    uint32_t length = 0;
    const uint32_t code = client.GetStringPrinter(handle, descriptor, room, size, &length);
    return {code, code == 0 ? comc::propertyText({room, size}) : std::string_view()};
}

uint32_t queryPortType(OrxClient &client, uint32_t handle) {
    char room[256];
    const TextProperty transport =
        readTextProperty(client, handle, comc::property::transport.descriptor, room, sizeof room);
    return transport.code == 0 ? portTypeOfTransport(transport.text) : NETTYPEUSB;
}

} // namespace kal
