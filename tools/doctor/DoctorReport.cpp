#include "tools/doctor/DoctorReport.h"

#include <algorithm>
#include <string_view>

namespace tool {

namespace {

constexpr size_t questionWidth = 18;

std::string_view verdictName(Verdict verdict) {
    switch (verdict) {
    case Verdict::ok:
        return "ok";
    case Verdict::warning:
        return "warning";
    case Verdict::failure:
        break;
    }
    return "failure";
}

std::string_view verdictMark(Verdict verdict) {
    switch (verdict) {
    case Verdict::ok:
        return "[ ok ]  ";
    case Verdict::warning:
        return "[warn]  ";
    case Verdict::failure:
        break;
    }
    return "[FAIL]  ";
}

} // namespace

void DoctorReport::ok(std::string question, std::string answer) {
    findings_.push_back({std::move(question), Verdict::ok, std::move(answer), {}});
}

void DoctorReport::warn(std::string question, std::string answer, std::string remedy) {
    findings_.push_back({std::move(question), Verdict::warning, std::move(answer), std::move(remedy)});
}

void DoctorReport::fail(std::string question, std::string answer, std::string remedy) {
    findings_.push_back({std::move(question), Verdict::failure, std::move(answer), std::move(remedy)});
}

bool DoctorReport::isAllWell() const {
    return std::ranges::all_of(findings_, [](const Finding &finding) { return finding.verdict == Verdict::ok; });
}

std::string DoctorReport::text() const {
    std::string text;
    for (const Finding &finding : findings_) {
        text.append(verdictMark(finding.verdict)).append(finding.question);
        text.append(questionWidth - std::min(questionWidth, finding.question.size()), ' ');
        text.append("  ").append(finding.answer).append("\n");
        if (!finding.remedy.empty()) {
            text.append(8, ' ').append(questionWidth, ' ').append("  -> ").append(finding.remedy).append("\n");
        }
    }
    return text + (isAllWell() ? "All is well.\n" : "Not all is well.\n");
}

nlohmann::ordered_json DoctorReport::json() const {
    auto checks = nlohmann::ordered_json::array();
    for (const Finding &finding : findings_) {
        nlohmann::ordered_json check{
            {"check", finding.question}, {"verdict", verdictName(finding.verdict)}, {"answer", finding.answer}};
        if (!finding.remedy.empty()) {
            check["remedy"] = finding.remedy;
        }
        checks.push_back(std::move(check));
    }
    return {{"allIsWell", isAllWell()}, {"checks", std::move(checks)}};
}

} // namespace tool
