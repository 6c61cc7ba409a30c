#include "settings/KeyPaths.h"

#include "settings/BrandTable.h"

#include <algorithm>

namespace kal {

std::string brandCodeOf(std::string_view libraryFileName) {
    constexpr size_t codeLength = 4;
    const size_t backslash = libraryFileName.rfind('\\');
    const size_t begin = backslash == std::string_view::npos ? 0 : backslash + 1;
    std::string code(libraryFileName.substr(begin, codeLength));
    std::ranges::transform(code, code.begin(), [](char character) {
        return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
    });
    return code;
}

std::string productRootOf(std::string_view brandCode) {
    const BrandRow *const row = findBrand(brandCode);
    return std::string("Software\\").append(row == nullptr ? fallbackProductKeyName : row->productKeyName);
}

std::string serviceRootOf(std::string_view brandCode) {
    return productRootOf(brandCode) + "\\Orx\\";
}

std::string rootOf(std::string_view brandCode, uint32_t selector) {
    switch (selector) {
    case localRoot:
        return serviceRootOf(brandCode).append("Local\\").append(brandCode).append("\\");
    case sharedRoot:
        return serviceRootOf(brandCode).append("Shared\\");
    default:
        return "Software\\VeltroTemp\\temp";
    }
}

} // namespace kal
