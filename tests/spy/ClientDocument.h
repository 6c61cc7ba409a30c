// The document that spy_client.exe prints.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace kal::test {

/// Bytes that depend on their position, so that missing, repeated and exchanged bytes are noticed.
inline std::string clientDocument(size_t size) {
    std::string document(size, '\0');
    uint32_t position = 0;
    for (char &byte : document) {
        byte = static_cast<char>(position++ * 2654435761u >> 24);
    }
    return document;
}

} // namespace kal::test
