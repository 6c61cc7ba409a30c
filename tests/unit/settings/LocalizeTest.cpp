#include "settings/Localize.h"

#include "settings/KeyPaths.h"
#include "tests/support/EveryCore.h"
#include "tests/support/ImportHook.h"
#include "tests/unit/platform/Thrown.h"
#include "tests/unit/platform/VirtualTable.h"
#include "tests/unit/settings/ModuleName.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

using namespace kal;
using namespace kal::test;

namespace {

const HMODULE otherModule = reinterpret_cast<HMODULE>(0x20000);
const std::string ownName = "C:\\Product\\KALCLIENT.DLL";

std::string textThrownByGetInstance() {
    try {
        static_cast<void>(Localize::getInstance());
    } catch (const char *text) {
        return text;
    }
    return "nothing thrown";
}

/// What each step showed in the life of the process's only instance, from before its creation.
struct InstanceHistory {
    InstanceHistory() {
        beforeCreation = textThrownByGetInstance();
        {
            ModuleName name("");
            failedCreation = thrownBy([] { Localize::createInstance(someModule); });
        }
        afterFailure = textThrownByGetInstance();
        {
            ModuleName name(ownName);
            Localize::createInstance(otherModule);
            destroyInstance();
        }
        afterDestruction = textThrownByGetInstance();

        ModuleName name(ownName);
        const EveryCore everyCore;
        std::vector<std::thread> threads;
        for (int number = 0; number < 8; ++number)
            threads.emplace_back([] { Localize::createInstance(someModule); });
        for (std::thread &thread : threads)
            thread.join();
        nameReadsOfEightCreations = name.calls();
        first = &Localize::getInstance();
        Localize::createInstance(otherModule);
        second = &Localize::getInstance();
        nameReadsOfALaterCreation = name.calls() - nameReadsOfEightCreations;
    }

    /// Where the program has no import of its own for it (not a PE file), LeakSanitizer looks.
    void destroyInstance() {
        const HMODULE program = GetModuleHandleA(nullptr);
        if (findImport(program, "free") == nullptr) {
            Localize::destroyInstance();
            isFreed = true;
            return;
        }
        const Localize *const instance = &Localize::getInstance();
        const ImportHook<"free", void(void *)> memory(program, [&](void *block) {
            isFreed = isFreed || block == instance;
            memory.original(block);
        });
        Localize::destroyInstance();
    }

    bool isFreed = false;
    std::string beforeCreation, afterFailure, afterDestruction;
    Thrown failedCreation;
    int nameReadsOfEightCreations = 0, nameReadsOfALaterCreation = 0;
    const Localize *first = nullptr, *second = nullptr;
};

const InstanceHistory &history() {
    static const InstanceHistory once;
    return once;
}

constexpr char notCreated[] = "You must call Localize::createInstance() before calling getInstance()";

} // namespace

TEST(Localize, KnowsModuleFileNameAndLocalId) {
    ModuleName name(ownName);
    const Localize localize(someModule);
    EXPECT_EQ(localize.module(), someModule);
    EXPECT_EQ(localize.fileName(), ownName);
    EXPECT_EQ(localize.localId(), "kalc");
    EXPECT_EQ(name.bufferSize(), 260u);
}

TEST(Localize, MembersAreModuleLocalIdFileName) {
    ModuleName name(ownName);
    const Localize localize(someModule);
    const auto offset = [&](const void *member) {
        return static_cast<const char *>(member) - reinterpret_cast<const char *>(&localize);
    };
    EXPECT_EQ(memberAt<HMODULE>(localize, 0), someModule);
    EXPECT_EQ(offset(&localize.localId()), 8);
    EXPECT_EQ(offset(&localize.fileName()), 40);
}

TEST(Localize, RootsAreThoseOfTheBrandCode) {
    ModuleName name(ownName);
    const Localize localize(someModule);
    EXPECT_EQ(localize.productRoot(), productRootOf("kalc"));
    EXPECT_EQ(localize.serviceRoot(), serviceRootOf("kalc"));
    for (uint32_t selector : {0u, 1u, 2u, 3u, 0xFFFFFFFFu})
        EXPECT_EQ(localize.root(selector), rootOf("kalc", selector)) << selector;
}

TEST(Localize, ProductRootOfNobodyIsTheFallback) {
    ModuleName name("C:\\zz.dll");
    EXPECT_EQ(Localize(someModule).productRoot(), "Software\\Veltro Tools");
}

TEST(Localize, UnreadableFileNameThrowsWithoutCode) {
    ModuleName name("");
    EXPECT_EQ(thrownBy([] { Localize localize(someModule); }),
              (Thrown{"Localize::Localize(): GetModuleFileName failed", 0, ".\\Localize", 33}));
}

TEST(Localize, UnreadableBrandCodeThrowsWithoutCode) {
    ModuleName name(ownName, 1);
    EXPECT_EQ(thrownBy([] { Localize localize(someModule); }),
              (Thrown{"Localize::Localize(): GetLocalId failed", 0, ".\\Localize", 45}));
}

TEST(LocalizeInstance, AskedForBeforeCreationThrowsAText) {
    EXPECT_EQ(history().beforeCreation, notCreated);
}

TEST(LocalizeInstance, FailedCreationReachesTheCaller) {
    EXPECT_EQ(history().failedCreation,
              (Thrown{"Localize::Localize(): GetModuleFileName failed", 0, ".\\Localize", 33}));
}

TEST(LocalizeInstance, FailedCreationLeavesNone) {
    EXPECT_EQ(history().afterFailure, notCreated);
}

TEST(LocalizeInstance, DestructionLeavesNoneUntilTheNextCreation) {
    EXPECT_EQ(history().afterDestruction, notCreated);
    EXPECT_EQ(history().first->module(), someModule);
}

TEST(LocalizeInstance, DestructionFreesIt) {
    EXPECT_TRUE(history().isFreed);
}

TEST(LocalizeInstance, LaterCreationTriesAgain) {
    ASSERT_NE(history().first, nullptr);
    EXPECT_EQ(history().first->localId(), "kalc");
}

TEST(LocalizeInstance, EightCreationsAtOnceBuildOneObject) {
    EXPECT_EQ(history().nameReadsOfEightCreations, 2); // file name and brand code, each once
}

TEST(LocalizeInstance, SecondCreationDoesNothing) {
    EXPECT_EQ(history().first, history().second);
    EXPECT_EQ(history().second->module(), someModule);
    EXPECT_EQ(history().nameReadsOfALaterCreation, 0);
}
