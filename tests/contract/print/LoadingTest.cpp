// The library beside service libraries that are missing, broken or old.
#include "tests/contract/print/ClientFixture.h"

using namespace kal::test;
using testing::Contains;
using testing::IsEmpty;
using testing::Not;

namespace {

class WithoutComc : public Client {
  protected:
    WithoutComc() : Client(ComcFile::missing) { registerApp(); }
};

class WithBrokenComc : public Client {
  protected:
    WithBrokenComc() : Client(ComcFile::notALibrary) { registerApp(); }
};

class Renamed : public Client {
  protected:
    Renamed() : Client(ComcFile::recording, "printing.dll") { registerApp(); }
};

} // namespace

TEST_F(WithoutComc, EveryOperationFailsAndTheProcessGoesOn) {
    uint32_t count = 1;
    EXPECT_EQ(kal.KalOpen(0, fitting, 0), KAL_FAIL);
    EXPECT_EQ(kal.KalStartDoc(fitting, 0, "d"), KAL_FAIL);
    EXPECT_EQ(kal.KalWrite(0, fitting, 0, "x", &count), KAL_FAIL);
    EXPECT_EQ(kal.KalEndDoc(fitting, 0), KAL_FAIL);
    EXPECT_EQ(kal.KalCancelJob(0, fitting), KAL_FAIL);
    EXPECT_EQ(kal.KalClose(0, fitting), DEVERR_INVHANDLE);
    EXPECT_EQ(kal.KalGetCache(0, fitting, &count, sizeof count, &count), KAL_FAIL);
}

TEST_F(WithoutComc, LibraryThatComesLaterIsUsed) {
    EXPECT_EQ(kal.KalOpen(0, fitting, 0), KAL_FAIL);
    stageComc(library.folder(), ComcFile::recording);
    EXPECT_EQ(kal.KalOpen(0, fitting, 0), KAL_OKAY);
}

TEST_F(WithBrokenComc, OperationFailsAndTheProcessGoesOn) {
    EXPECT_EQ(kal.KalOpen(0, fitting, 0), KAL_FAIL);
    EXPECT_EQ(kal.KalClose(0, fitting), DEVERR_INVHANDLE);
    EXPECT_EQ(service.loads(), 0);
}

TEST_F(RegisteredClient, ServiceWithoutInitializeFailsTheOpen) {
    service.lacks("OrxInitialize");
    EXPECT_EQ(kal.KalOpen(0, fitting, 0), KAL_FAIL);
    EXPECT_FALSE(service.isLoaded());
}

TEST_F(RegisteredClient, ServiceThatFailsToInitializeFailsTheOpenAndMayBeTriedAgain) {
    service.answersInTurn("OrxInitialize", {5});
    EXPECT_EQ(kal.KalOpen(0, fitting, 0), KAL_FAIL); // 126
    EXPECT_EQ(kal.KalOpen(0, fitting, 0), KAL_FAIL); // 127: counted as loaded, nothing to look up in
    EXPECT_EQ(kal.KalOpen(0, fitting, 0), KAL_OKAY);
    EXPECT_EQ(service.loads(), 2);
}

TEST_F(RegisteredClient, UnregistrationAfterAFailedInitializeIsSafe) {
    service.answers("OrxInitialize", 5);
    kal.KalOpen(0, fitting, 0);
    unregisterApp();
    EXPECT_EQ(service.unloads(), 1);
}

TEST_F(RegisteredClient, IdleClientHoldsNoLibrary) {
    kal.KalOpen(0, fitting, 0);
    kal.KalClose(0, fitting);
    EXPECT_FALSE(service.isLoaded());
}

TEST_F(RegisteredClient, OpenPrinterHoldsTheLibrary) {
    openPrinter();
    kal.KalStartDoc(fitting, 0, "d");
    EXPECT_TRUE(service.isLoaded());
    EXPECT_EQ(service.loads(), 1);
}

TEST_F(Renamed, FindsTheServiceBesideItself) {
    EXPECT_EQ(kal.KalOpen(0, fitting, 0), KAL_OKAY);
    EXPECT_EQ(service.loads(), 1);
}

class LackingEntryPoint : public RegisteredClient, public testing::WithParamInterface<std::string> {};

TEST_P(LackingEntryPoint, IsFailureOfItsOwnOperationOnly) {
    openPrinter();
    service.lacks(GetParam());
    uint32_t count = 1;
    const bool lacksStart = GetParam() == "OrxStartJobPrinter";
    EXPECT_EQ(kal.KalWrite(0, fitting, 0, "x", &count), GetParam() == "OrxWritePrinter" ? KAL_FAIL : KAL_OKAY);
    EXPECT_EQ(kal.KalCancelJob(0, fitting), GetParam() == "OrxCancelJobPrinter" ? KAL_FAIL : KAL_OKAY);
    EXPECT_EQ(kal.KalStartDoc(fitting, 0, "d"), lacksStart ? KAL_FAIL : KAL_OKAY);
    EXPECT_EQ(kal.KalOpen(0, fitting, 0), GetParam() == "OrxOpenPrinter" ? KAL_FAIL : KAL_OKAY);
    EXPECT_EQ(kal.KalClose(0, fitting), GetParam() == "OrxClosePrinter" ? KAL_FAIL : KAL_OKAY);
}

INSTANTIATE_TEST_SUITE_P(EntryPoint, LackingEntryPoint,
                         testing::Values("OrxOpenPrinter", "OrxClosePrinter", "OrxStartJobPrinter", "OrxWritePrinter",
                                         "OrxCancelJobPrinter"),
                         [](const auto &row) { return row.param; });

TEST_F(RegisteredClient, ServiceThatRefusesAnIdentifierFailsTheOpen) {
    service.answersInTurn("OrxGetClientId", {170});
    EXPECT_EQ(kal.KalOpen(0, fitting, 0), KAL_PRNBUSY); // its code is mapped like the service's own
    EXPECT_FALSE(service.isLoaded());
    EXPECT_THAT(service.operations(), IsEmpty());
}

/// A copy of the library in whose import table one function stands for another.
class LibraryWithoutItsName : public testing::Test {
  protected:
    LibraryWithoutItsName() {
        constexpr std::string_view name("GetModuleFileNameA", 19); // with its terminator
        std::string replacement = "GetAtomNameA";                  // answers 0 for what is a module's handle
        replacement.resize(name.size());
        std::string bytes = readFile(programFolder() / "kalclient.dll");
        const size_t position = bytes.find(name);
        if (position != std::string::npos)
            bytes.replace(position, name.size(), replacement);
        module = LoadLibraryA(folder.write("kalclient.dll", bytes).c_str());
    }
    ~LibraryWithoutItsName() override { FreeLibrary(module); }

    TemporaryFolder folder;
    HMODULE module = nullptr;
};

TEST_F(LibraryWithoutItsName, LoadsAllTheSame) {
    ASSERT_NE(module, nullptr);
    EXPECT_EQ(findImport(module, "GetModuleFileNameA"), nullptr);
    EXPECT_EQ(exported<decltype(Initialize)>(module, "Initialize")(), 1);
}
