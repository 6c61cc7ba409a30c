#include "tests/docs/Documents.h"

#include "tests/support/TemporaryFolder.h"

#include <algorithm>
#include <regex>
#include <sstream>
#include <stdexcept>

namespace kal::test {

namespace {

std::string trimmed(const std::string &text) {
    const auto begin = text.find_first_not_of(" \t\r\n");
    return begin == std::string::npos ? "" : text.substr(begin, text.find_last_not_of(" \t\r\n") - begin + 1);
}

Row cellsOf(const std::string &line) {
    Row cells;
    std::istringstream stream(line.substr(1)); // behind the first bar
    for (std::string cell; std::getline(stream, cell, '|');)
        cells.push_back(trimmed(cell));
    return cells;
}

/// A comment without its stars.
std::string withoutStars(const std::string &comment) {
    return std::regex_replace(comment, std::regex(R"(\n *\* ?)"), "\n");
}

ExportComment understand(const std::string &text) {
    ExportComment said;
    said.brief = trimmed(text.substr(0, text.find('@')));
    const std::regex command(R"(@(retval|return|par|copydetails)\s+([^@]*))");
    for (std::sregex_iterator match(text.begin(), text.end(), command), end; match != end; ++match) {
        const std::string kind = (*match)[1];
        const std::string body = trimmed((*match)[2]);
        if (kind == "retval")
            said.results.insert(body.substr(0, body.find_first_of(" \n")));
        if (kind == "return")
            said.returned = body;
        if (kind == "copydetails")
            said.aliasOf = body;
        if (kind == "par" && body.starts_with("Log line"))
            said.logLines = namesIn(body);
    }
    return said;
}

std::map<std::string, ExportComment> readComments() {
    const std::string header = sourceText("api/kal.h");
    // The comment that ends right before a declaration.
    const std::regex declaration(R"(\*/\s*\nKAL_API (\w+) (\w+)\()");
    std::map<std::string, ExportComment> comments;
    for (std::sregex_iterator match(header.begin(), header.end(), declaration), end; match != end; ++match) {
        const auto stop = static_cast<size_t>(match->position());
        const size_t start = header.rfind("/**", stop) + 3;
        ExportComment said = understand(withoutStars(header.substr(start, stop - start)));
        said.returnsNothing = (*match)[1] == "void";
        comments[(*match)[2]] = said;
    }
    return comments;
}

} // namespace

std::string sourceText(const std::string &path) {
    std::string text = readFile(std::string(KAL_SOURCE_FOLDER) + "/" + path);
    if (text.empty())
        throw std::runtime_error("cannot be read: " + path);
    std::erase(text, '\r');
    return text;
}

std::vector<Row> tableOf(const std::string &path, const std::string &head) {
    std::istringstream stream(sourceText(path));
    std::vector<Row> rows;
    bool isInside = false;
    for (std::string line; std::getline(stream, line);) {
        if (isInside && !line.starts_with('|'))
            break;
        if (isInside && !line.starts_with("|-"))
            rows.push_back(cellsOf(line));
        isInside = isInside || line.starts_with(head);
    }
    if (rows.empty())
        throw std::runtime_error("no table " + head + " in " + path);
    return rows;
}

std::vector<std::string> namesIn(const std::string &cell) {
    std::vector<std::string> names;
    const std::regex quoted("`([^`]+)`");
    for (std::sregex_iterator match(cell.begin(), cell.end(), quoted), end; match != end; ++match)
        names.push_back((*match)[1]);
    return names;
}

const std::map<std::string, ExportComment> &exportComments() {
    static const std::map<std::string, ExportComment> comments = readComments();
    return comments;
}

const std::map<std::string, int32_t> &resultCodes() {
    static const std::map<std::string, int32_t> codes = [] {
        const std::string header = sourceText("api/kal.h");
        const size_t begin = header.find("@defgroup results");
        const std::string group = header.substr(begin, header.find("@}", begin) - begin);
        const std::regex definition(R"(#define (\w+) \(?(-?\d+)\)?)");
        std::map<std::string, int32_t> found;
        for (std::sregex_iterator match(group.begin(), group.end(), definition), end; match != end; ++match)
            found[(*match)[1]] = std::stoi((*match)[2]);
        return found;
    }();
    return codes;
}

int32_t resultIn(const std::string &cell) {
    const auto names = namesIn(cell);
    return names.empty() ? std::stoi(cell) : resultCodes().at(names.front());
}

} // namespace kal::test
