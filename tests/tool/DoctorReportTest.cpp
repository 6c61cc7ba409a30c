#include "tools/doctor/DoctorReport.h"

#include <gtest/gtest.h>

using tool::DoctorReport;

TEST(DoctorReport, OnlyOkIsAllWell) {
    DoctorReport report;
    report.ok("library", "there");
    EXPECT_TRUE(report.isAllWell());
    report.warn("log file", "read-only", "make it writable");
    EXPECT_FALSE(report.isAllWell());
}

TEST(DoctorReport, FailureIsNotWell) {
    DoctorReport report;
    report.fail("comc.dll", "missing", "install it");
    EXPECT_FALSE(report.isAllWell());
}

TEST(DoctorReport, TextHasVerdictAnswerAndRemedy) {
    DoctorReport report;
    report.ok("library", "there");
    report.warn("log file", "read-only", "make it writable");
    report.fail("comc.dll", "missing", "install it");
    EXPECT_EQ(report.text(), "[ ok ]  library             there\n"
                             "[warn]  log file            read-only\n"
                             "                            -> make it writable\n"
                             "[FAIL]  comc.dll            missing\n"
                             "                            -> install it\n"
                             "Not all is well.\n");
}

TEST(DoctorReport, JsonHasEveryCheckInOrder) {
    DoctorReport report;
    report.ok("library", "there");
    report.fail("comc.dll", "missing", "install it");
    EXPECT_EQ(report.json(), nlohmann::ordered_json::parse(R"({"allIsWell":false,"checks":[
        {"check":"library","verdict":"ok","answer":"there"},
        {"check":"comc.dll","verdict":"failure","answer":"missing","remedy":"install it"}]})"));
}
