// The document that spy_client.exe prints.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace kal::test {

/// Bytes that depend on their position, so that none can be missing, doubled or in another's place unnoticed.
inline std::string clientDocument(size_t size) {
    std::string document(size, '\0');
    uint32_t position = 0;
    for (char &byte : document) {
        byte = static_cast<char>(position++ * 2654435761u >> 24);
    }
    return document;
}

} // namespace kal::test
