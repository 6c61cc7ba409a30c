// The pages of the reference and the comments of kal.h, as tests read them.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace kal::test {

using Row = std::vector<std::string>; ///< cells, as they are written

/// A file of the source tree.
std::string sourceText(const std::string &path);

/// The rows of the table below a heading's line of cells: tableOf(page, "| Result | Number |").
std::vector<Row> tableOf(const std::string &path, const std::string &head);

/// The names in backquotes of a cell.
std::vector<std::string> namesIn(const std::string &cell);

/// What kal.h says of one export; an alias that takes over another's details has that one's.
struct ExportComment {
    std::string brief;                 ///< up to the first command
    std::set<std::string> results;     ///< of @retval
    std::string returned;              ///< of @return
    std::vector<std::string> logLines; ///< in backquotes below "@par Log line"
    std::string aliasOf;               ///< of @copydetails
    bool returnsNothing = false;
};

/// The comments of the exports, by name.
const std::map<std::string, ExportComment> &exportComments();

/// The result codes that kal.h defines, by name.
const std::map<std::string, int32_t> &resultCodes();

/// A result of a page, "`KAL_FAIL`, 2000 ms later" or "0: none", as number.
int32_t resultIn(const std::string &cell);

} // namespace kal::test
