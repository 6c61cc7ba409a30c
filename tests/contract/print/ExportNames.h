#pragma once

#include <string>
#include <vector>

namespace kal::test {

/// All names that the library exports, in ascending order.
const std::vector<std::string> &allExports();

/// All exports but the six that open no trace.
std::vector<std::string> tracedExports();

/// What a traced export answers while it can reach nothing: 0 for the exports whose answer is fixed, else 1.
int fixedOrFailure(const std::string &name);

/// Exports that return nothing.
bool returnsNothing(const std::string &name);

} // namespace kal::test
