// File names of the library (which brand, which registry keys) and server names of an application.
#include "service/ServerName.h"
#include "settings/BrandTable.h"
#include "settings/KeyPaths.h"
#include "tests/fuzz/Input.h"

namespace {

void checkFileName(const std::string &fileName) {
    const std::string code = kal::brandCodeOf(fileName);
    fuzz::require(code.size() <= 4, "a brand code has four characters at most");
    fuzz::require(code.find('\\') == code.npos, "a brand code is of the name, not of the folder");
    fuzz::require(kal::brandCodeOf(code) == code, "a brand code is its own");
    fuzz::require(!kal::isBrandRecognised(code) || kal::findBrand(code) != nullptr, "a recognised brand has a row");
    for (const uint32_t selector : {kal::localRoot, kal::sharedRoot}) {
        const std::string root = kal::rootOf(code, selector);
        fuzz::require(root.starts_with(kal::productRootOf(code) + "\\") && root.ends_with("\\"),
                      "both roots lie under the product's");
    }
}

void checkServerName(const std::string &server, const std::string &computer) {
    const bool isHere = kal::isThisMachine(server, computer.c_str());
    fuzz::require(kal::isThisMachine("", computer.c_str()), "no name is this machine");
    if (!server.empty()) {
        fuzz::require(!kal::isThisMachine(server, nullptr), "a name needs a name to be compared with");
        const std::string_view seen(computer.c_str());
        fuzz::require(!isHere || server.size() == seen.size() || server.size() == seen.size() + 2,
                      "this machine is named with or without two backslashes");
    }
    const std::string remote = kal::remoteNameOf(server);
    fuzz::require(remote.ends_with(server) && remote.size() <= server.size() + 2, "at most two backslashes are added");
    fuzz::require(remote.substr(0, 2).find('\\') != remote.npos, "a remote name has a backslash");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
    fuzz::Input input(bytes, size);
    const std::string first = input.text();
    const std::string second = input.remainingText();
    checkFileName(first);
    checkFileName(second);
    checkServerName(first, second);
    checkServerName(second, second);
    return 0;
}
