/// What `kal doctor` found out, in the order in which an engineer asks for it.
#pragma once

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace tool {

enum class Verdict { ok, warning, failure };

struct Finding {
    std::string question;
    Verdict verdict;
    std::string answer;
    std::string remedy; ///< "" when there is nothing to do
};

class DoctorReport {
  public:
    void ok(std::string question, std::string answer);
    void warn(std::string question, std::string answer, std::string remedy);
    void fail(std::string question, std::string answer, std::string remedy);

    /// No warning and no failure.
    [[nodiscard]] bool isAllWell() const;
    [[nodiscard]] std::string text() const;
    [[nodiscard]] nlohmann::ordered_json json() const;

  private:
    std::vector<Finding> findings_;
};

} // namespace tool
