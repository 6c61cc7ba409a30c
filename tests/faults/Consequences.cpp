#include "tests/faults/Consequences.h"

namespace kal::test {

namespace {

struct ConsequenceRow {
    std::string import;
    std::string what;
    std::string where;
    Promise promise;
};

std::vector<ConsequenceRow> &rows() {
    static std::vector<ConsequenceRow> all = {
#define CONSEQUENCE(import, what, where, consequence, text) {import, what, where, {Consequence::consequence, text}},
#include "tests/faults/Consequences.inc"
#undef CONSEQUENCE
    };
    return all;
}

bool fits(const std::string &wanted, const std::string &what) {
    const std::string plain = what.substr(0, what.rfind('#'));
    return wanted.empty() || wanted == what || wanted == plain;
}

} // namespace

Promise *promiseOf(const ImportWatch::Call &call, const ExportScenario &scenario) {
    for (ConsequenceRow &row : rows()) {
        const bool isHere = row.where.empty() || row.where == scenario.name ||
                            (!scenario.exports.empty() && row.where == scenario.exports.back());
        if (row.import == call.import && isHere && fits(row.what, call.what))
            return &row.promise;
    }
    return nullptr;
}

std::vector<std::string> unusedPromises() {
    std::vector<std::string> unused;
    for (const ConsequenceRow &row : rows())
        if (!row.promise.isUsed)
            unused.push_back(row.import + ", \"" + row.what + "\", \"" + row.where + "\"");
    return unused;
}

} // namespace kal::test
