/// The findings of `kal doctor`, in the order in which an engineer needs them.
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
    std::string remedy; ///< "" if no action is needed
};

class DoctorReport {
  public:
    void ok(std::string question, std::string answer);
    void warn(std::string question, std::string answer, std::string remedy);
    void fail(std::string question, std::string answer, std::string remedy);

    /// Whether there is neither a warning nor a failure.
    [[nodiscard]] bool isAllWell() const;
    [[nodiscard]] std::string text() const;
    [[nodiscard]] nlohmann::ordered_json json() const;

  private:
    std::vector<Finding> findings_;
};

} // namespace tool
