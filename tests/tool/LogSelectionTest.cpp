#include "tools/log/LogSelection.h"

#include "logging/LogLevel.h"
#include "logging/LoggerComponent.h"

#include <gtest/gtest.h>

#include <map>

using namespace tool;

namespace {

using Stored = std::map<std::string, uint32_t>;

Stored storedBy(const LogRequest &request, Stored stored = {}) {
    for (const auto &[name, value] : settingsFor(request)) {
        stored[name] = value;
    }
    return stored;
}

SettingReader reader(Stored stored) {
    return [stored = std::move(stored)](std::string_view name) -> std::optional<uint32_t> {
        const auto found = stored.find(std::string(name));
        return found == stored.end() ? std::nullopt : std::optional(found->second);
    };
}

/// Whether the library writes a message of the component at the level with these settings.
bool isWritten(const Stored &stored, std::string_view component, uint32_t level) {
    const SettingReader read = reader(stored);
    for (size_t id = 0; id < static_cast<size_t>(kal::ComponentId::count); ++id) {
        const kal::LoggerComponent &candidate = kal::loggerComponent(static_cast<kal::ComponentId>(id));
        if (candidate.nameView() == component) {
            return kal::passesMasks(level, read("All").value_or(0xFFFFFFFF),
                                    read(component).value_or(candidate.level()));
        }
    }
    ADD_FAILURE() << "no component " << component;
    return false;
}

} // namespace

TEST(SettingsFor, PlainOnStartsAndChangesNothingElse) {
    EXPECT_EQ(storedBy({}), (Stored{{"startLog", 1}}));
}

TEST(SettingsFor, AllStoresEveryLevel) {
    EXPECT_EQ(storedBy({.all = true}), (Stored{{"All", 0xFFFFFFFF}, {"startLog", 1}}));
}

TEST(SettingsFor, LevelHoldsForEveryComponentAndNoOther) {
    const Stored stored = storedBy({.level = 8u});
    for (const char *component : {"LegacyClient", "Bidi", "ComClient", "Server"}) {
        EXPECT_TRUE(isWritten(stored, component, 8)) << component;
        EXPECT_FALSE(isWritten(stored, component, 2)) << component;
    }
}

TEST(SettingsFor, NamedComponentsAloneAreWritten) {
    const Stored stored = storedBy({.components = {{"ComClient", 0x12}}});
    EXPECT_TRUE(isWritten(stored, "ComClient", 0x2));
    EXPECT_TRUE(isWritten(stored, "ComClient", 0x10));
    EXPECT_FALSE(isWritten(stored, "ComClient", 0x8));
    EXPECT_FALSE(isWritten(stored, "LegacyClient", 0x2));
}

TEST(SettingsFor, ComponentAddsToTheCommonLevel) {
    const Stored stored = storedBy({.level = 8u, .components = {{"Bidi", 2}}});
    EXPECT_TRUE(isWritten(stored, "Bidi", 2));
    EXPECT_TRUE(isWritten(stored, "Bidi", 8));
    EXPECT_TRUE(isWritten(stored, "LegacyClient", 8));
    EXPECT_FALSE(isWritten(stored, "LegacyClient", 2));
}

TEST(SettingsFor, NarrowSelectionReplacesAnEarlierOne) {
    const Stored earlier = storedBy({.components = {{"ComClient", 2}}}, storedBy({.all = true}));
    const Stored stored = storedBy({.components = {{"Bidi", 2}}}, earlier);
    EXPECT_FALSE(isWritten(stored, "ComClient", 2));
    EXPECT_TRUE(isWritten(stored, "Bidi", 2));
}

TEST(SettingsFor, HeaderFieldsAreStoredOnlyWhenAskedFor) {
    EXPECT_EQ(storedBy({.clock = false, .processId = true}),
              (Stored{{"Clocktime_In_Header", 0}, {"Proc_Id_In_Header", 1}, {"startLog", 1}}));
    EXPECT_EQ(storedBy({.threadId = true}), (Stored{{"Thread_Id_In_Header", 1}, {"startLog", 1}}));
}

TEST(FindComponent, CaseDoesNotMatter) {
    EXPECT_EQ(findComponent("legacyCLIENT"), "LegacyClient");
    EXPECT_EQ(findComponent("Legacy"), std::nullopt);
    EXPECT_EQ(findComponent(""), std::nullopt);
}

TEST(DescribeSelection, EachStateIsToldApart) {
    EXPECT_EQ(describeSelection(reader({})), "off: errors only");
    EXPECT_EQ(describeSelection(reader({{"startLog", 0}, {"All", 0xFFFFFFFF}})), "off: errors only");
    EXPECT_EQ(describeSelection(reader({{"startLog", 1}})), "on: every level of every component");
    EXPECT_EQ(describeSelection(reader(storedBy({.level = 8u}))), "on: levels 0x8 of every component");
    EXPECT_EQ(describeSelection(reader(storedBy({.components = {{"Bidi", 2}}}))),
              "on: errors of every component, levels 0x2 of Bidi");
}

TEST(DescribeSelection, DefaultMasksCountWhereNothingIsStored) {
    EXPECT_EQ(describeSelection(reader({{"startLog", 1}, {"All", 0}})),
              "on: errors of every component, every level of Bidi, every level of ComClientBidi, every level of "
              "LegacyClient, every level of PortMonitorUI, every level of PrintMonitor");
}

TEST(DescribeHeader, ClockIsOnByDefault) {
    EXPECT_EQ(describeHeader(reader({})), "clock");
    EXPECT_EQ(describeHeader(reader({{"Clocktime_In_Header", 0}})), "nothing");
    EXPECT_EQ(describeHeader(reader({{"Proc_Id_In_Header", 1}, {"Thread_Id_In_Header", 7}})),
              "clock, process id, thread id");
}
