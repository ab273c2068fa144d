#include "FakeLibraries.h"
#include "platform/simulated/MemoryFiles.h"
#include "platform/simulated/SimulatedPlatform.h"
#include "spooler/DriverLibraries.h"
#include "support/ScriptedDriver.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>

namespace orvo::testing {

namespace {

using Folders = std::vector<std::string>;

// How every refusal begins.
const std::string Begin = "429: ActiveX component can't create object: ";

class DriverLibrariesTest : public ::testing::Test {
 protected:
  DriverLibraries In(Folders folders) { return DriverLibraries(loader, std::move(folders)); }
  // "number: text" of the failure to make the driver, "none" when nothing was found, "made".
  std::string Outcome(const DriverLibraries& libraries, const std::string& progId) {
    return OutcomeOf([&] { return libraries.Create(progId, {platform, files}); });
  }
  static std::string OutcomeOf(const std::function<std::shared_ptr<CommunicationDriver>()>& make) {
    try {
      return make() ? "made" : "none";
    } catch (const AutomationError& error) {
      return std::to_string(error.Number()) + ": " + error.Description();
    }
  }
  static DriverLibraryFacts Making(const char* progId) {
    DriverLibraryFacts facts = FakeLibraries::Facts(progId);
    facts.make = [](DriverHost) -> std::shared_ptr<CommunicationDriver> {
      return std::make_shared<ScriptedDriver>();
    };
    return facts;
  }
  // What becomes of a library with these facts.
  std::string Refusal(const DriverLibraryFacts& facts) {
    loader.Put("/d/A.B.so", facts);
    return Outcome(In({"/d"}), "A.B");
  }

  FakeLibraries loader;
  SimulatedPlatform platform;
  MemoryFiles files;
};

TEST_F(DriverLibrariesTest, TheSearchPathIsTheVariableAndThenTheInstalledFolders) {
  EXPECT_EQ(DriverLibraries::SearchPath("/a:/b c", {"/i"}), (Folders{"/a", "/b c", "/i"}));
  EXPECT_EQ(DriverLibraries::SearchPath(nullptr, {"/i", "/j"}), (Folders{"/i", "/j"}));
  EXPECT_EQ(DriverLibraries::SearchPath("", {}), Folders{});
}

TEST_F(DriverLibrariesTest, EmptyEntriesOfTheVariableAreNotTheCurrentFolder) {
  EXPECT_EQ(DriverLibraries::SearchPath(":/a::/b:", {}), (Folders{"/a", "/b"}));
  EXPECT_EQ(DriverLibraries::SearchPath(nullptr, {"", "/i"}), Folders{"/i"}) << "nor are those of the host";
}

TEST_F(DriverLibrariesTest, ADriverIsFoundByItsNameInAnyCase) {
  loader.Put("/d/MyCompany.Channel.so", Making("MyCompany.Channel"));
  EXPECT_EQ(Outcome(In({"/empty", "/d"}), "mycompany.CHANNEL"), "made");
}

TEST_F(DriverLibrariesTest, NothingIsLoadedForAnotherName) {
  loader.Put("/d/MyCompany.Channel.so", Making("MyCompany.Channel"));
  EXPECT_EQ(Outcome(In({"/d"}), "MyCompany"), "none");
  EXPECT_EQ(Outcome(In({"/d"}), "MyCompany.Channel.so"), "none");
  EXPECT_EQ(Outcome(In({"/d"}), "../d/MyCompany.Channel"), "none");
  EXPECT_TRUE(loader.loaded.empty());
}

TEST_F(DriverLibrariesTest, TheFirstFolderOfThePathCounts) {
  loader.Put("/a/A.B.so", FakeLibraries::Facts("A.B"));
  loader.Put("/b/A.B.so", Making("A.B"));
  EXPECT_EQ(Outcome(In({"/b", "/a"}), "A.B"), "made");
  EXPECT_EQ(loader.loaded, Folders{"/b/A.B.so"});
}

TEST_F(DriverLibrariesTest, ARefusedLibraryIsNotReplacedByALaterOne) {
  loader.PutWithoutFunction("/a/A.B.so");
  loader.Put("/b/A.B.so", Making("A.B"));
  EXPECT_EQ(Outcome(In({"/a", "/b"}), "A.B"),
            Begin + "the library '/a/A.B.so' is no driver: it exports no orvo_driver_library");
}

TEST_F(DriverLibrariesTest, ALibraryThatCannotBeLoadedIsRefusedWithTheLoadersReason) {
  loader.PutBroken("/d/A.B.so", "wrong ELF class");
  EXPECT_EQ(Outcome(In({"/d"}), "A.B"), Begin + "wrong ELF class");
}

TEST_F(DriverLibrariesTest, ALibraryWithoutFactsIsRefused) {
  loader.PutWithoutFacts("/d/A.B.so");
  EXPECT_EQ(Outcome(In({"/d"}), "A.B"),
            Begin + "the library '/d/A.B.so' gives no facts: orvo_driver_library is null");
}

TEST_F(DriverLibrariesTest, ALibraryWhoseFunctionThrowsIsRefusedWithTheReason) {
  loader.PutThrowing("/d/A.B.so", [] { throw std::runtime_error("no licence"); });
  loader.PutThrowing("/d/A.C.so", [] { throw AutomationError(3, "no dongle"); });
  loader.PutThrowing("/d/A.D.so", [] { throw 1; });
  loader.Put("/d/A.E.so", Making("A.E"));
  const std::string begin = "gives no facts: orvo_driver_library ";
  EXPECT_EQ(Outcome(In({"/d"}), "A.B"), Begin + "the library '/d/A.B.so' " + begin + "failed: no licence");
  EXPECT_EQ(Outcome(In({"/d"}), "A.C"), Begin + "the library '/d/A.C.so' " + begin + "failed: no dongle");
  const auto found = In({"/d"}).List();
  ASSERT_EQ(found.size(), 4U);
  EXPECT_EQ(found[0].refusal, "the library '/d/A.B.so' " + begin + "failed: no licence");
  EXPECT_EQ(found[2].refusal, "the library '/d/A.D.so' " + begin + "threw something that is no exception");
  EXPECT_EQ(found[3].refusal, "") << "the list goes on";
}

TEST_F(DriverLibrariesTest, EachFactThatDoesNotAgreeIsARefusal) {
  const std::string begin = Begin + "the library '/d/A.B.so' ";
  DriverLibraryFacts facts = Making("A.B");
  facts.magic ^= 1;
  EXPECT_EQ(Refusal(facts), begin + "is no driver: what orvo_driver_library gives does not begin as it must");
  facts = Making("A.B");
  facts.contractVersion = 7;
  EXPECT_EQ(Refusal(facts), begin +
                                "was made for version 7 of the driver contract, this program for version 1: "
                                "build it against this version");
  facts = Making("A.B");
  facts.build = "g++ 4, libstdc++ with old strings";
  EXPECT_EQ(Refusal(facts), begin + "was built with g++ 4, libstdc++ with old strings, this program with " +
                                DriverBuildText + ": build both alike");
  facts = Making("A.B");
  facts.build = nullptr;
  EXPECT_EQ(Refusal(facts),
            begin + "was built with , this program with " + DriverBuildText + ": build both alike");
  facts = Making("A.B");
  facts.size -= 8;
  EXPECT_EQ(Refusal(facts), begin + "gives facts of " + std::to_string(facts.size) + " bytes instead of " +
                                std::to_string(facts.size + 8));
  EXPECT_EQ(Refusal(Making("A.C")), begin + "holds the driver 'A.C': name it 'A.C.so'");
  facts = Making("A.B");
  facts.make = nullptr;
  EXPECT_EQ(Refusal(facts), begin + "has no factory");
  EXPECT_EQ(Refusal(FakeLibraries::Facts("A.B")), begin + "made no driver");
  EXPECT_EQ(Refusal(Making("A.B")), "made");
}

TEST_F(DriverLibrariesTest, NothingOfAnotherVersionIsLookedAtButItsFirstFields) {
  DriverLibraryFacts facts = Making("A.B");
  facts.contractVersion = 2;
  // What lies behind the first fields of another version may be anything.
  facts.progId = reinterpret_cast<const char*>(std::size_t{1});
  facts.description = reinterpret_cast<const char*>(std::size_t{1});
  EXPECT_NE(Refusal(facts).find("version 2"), std::string::npos);
}

TEST_F(DriverLibrariesTest, AnErrorOfTheFactoryIsPassedOn) {
  DriverLibraryFacts facts = Making("A.B");
  facts.make = [](DriverHost) -> std::shared_ptr<CommunicationDriver> {
    throw AutomationError(3, "no such port");
  };
  EXPECT_EQ(Refusal(facts), "3: no such port");
}

TEST_F(DriverLibrariesTest, AnythingElseThatTheFactoryThrowsIsItsFailure) {
  DriverLibraryFacts facts = Making("A.B");
  facts.make = [](DriverHost) -> std::shared_ptr<CommunicationDriver> { throw std::logic_error("a slip"); };
  EXPECT_EQ(Refusal(facts), "440: Automation error: the factory of the library '/d/A.B.so' failed: a slip");
  facts.make = [](DriverHost) -> std::shared_ptr<CommunicationDriver> { throw 1; };
  EXPECT_EQ(
      Refusal(facts),
      "440: Automation error: the factory of the library '/d/A.B.so' threw something that is no exception");
}

TEST_F(DriverLibrariesTest, TheListHasEveryLibraryWithItsState) {
  loader.Put("/a/Good.One.so", FakeLibraries::Facts("good.ONE", "panels on a line"));
  loader.PutBroken("/a/Torn.One.so", "file too short");
  loader.Put("/b/GOOD.one.so", FakeLibraries::Facts("Good.One"));
  const auto found = In({"/a", "/missing", "/b"}).List();
  ASSERT_EQ(found.size(), 3U);
  EXPECT_EQ(found[0].progId, "good.ONE");
  EXPECT_EQ(found[0].description, "panels on a line");
  EXPECT_EQ(found[0].path, "/a/Good.One.so");
  EXPECT_EQ(found[0].refusal + found[0].shadowed, "");
  EXPECT_EQ(found[1].progId, "Torn.One");
  EXPECT_EQ(found[1].description, "");
  EXPECT_EQ(found[1].refusal, "file too short");
  EXPECT_EQ(found[2].progId, "GOOD.one");
  EXPECT_EQ(found[2].shadowed, "/a/Good.One.so");
  EXPECT_EQ(loader.loaded, (Folders{"/a/Good.One.so", "/a/Torn.One.so"})) << "what is shadowed is not loaded";
}

TEST_F(DriverLibrariesTest, OfTwoInOneFolderTheFirstByItsBytesCounts) {
  loader.Put("/d/a.b.so", FakeLibraries::Facts("a.b"));
  loader.Put("/d/A.B.so", Making("A.B"));
  EXPECT_EQ(Outcome(In({"/d"}), "a.b"), "made");
  EXPECT_EQ(In({"/d/"}).List().size(), 0U) << "the fake knows folders without a slash only";
  EXPECT_EQ(In({"/d"}).List()[1].shadowed, "/d/A.B.so");
}

TEST_F(DriverLibrariesTest, ARegistryAsksTheLibrariesForWhatNoFactoryBears) {
  loader.Put("/d/A.B.so", Making("A.B"));
  const DriverLibraries libraries = In({"/d"});
  DriverRegistry registry;
  registry.Register("Own.One", [](DriverHost) { return std::make_shared<ScriptedDriver>(); });
  libraries.PlugInto(registry);
  const auto create = [&](const std::string& progId) {
    return OutcomeOf([&] { return registry.Create(progId, {platform, files}); });
  };
  EXPECT_EQ(create("A.B"), "made");
  EXPECT_EQ(create("Own.One"), "made");
  EXPECT_EQ(loader.loaded, Folders{"/d/A.B.so"});
}

TEST_F(DriverLibrariesTest, WhatIsNotFoundIsNamedWithTheFoldersThatWereSearched) {
  const auto create = [&](Folders folders) {
    const DriverLibraries libraries = In(std::move(folders));
    DriverRegistry registry;
    libraries.PlugInto(registry);
    return OutcomeOf([&] { return registry.Create("A.B", {platform, files}); });
  };
  const std::string begin = Begin + "no driver is registered as 'A.B'";
  EXPECT_EQ(create({"/a", "/b", "/c"}), begin + ", and no library 'A.B.so' is in '/a', '/b' or '/c'");
  EXPECT_EQ(create({"/a"}), begin + ", and no library 'A.B.so' is in '/a'");
  EXPECT_EQ(create({}), begin);
}

TEST_F(DriverLibrariesTest, TheTextOfTheBuildNamesWhatMustAgree) {
  const std::string build = DriverBuildText;
  EXPECT_NE(build.find(std::to_string(sizeof(void*) * 8) + " bits"), std::string::npos) << build;
  EXPECT_NE(
      build.find("sizes " + std::to_string(sizeof(Variant)) + "/" + std::to_string(sizeof(SafeArray<Variant>))),
      std::string::npos)
      << build;
  EXPECT_TRUE(build.ends_with("/" + std::to_string(sizeof(AutomationError)))) << build;
#if defined(__GNUC__) && !defined(__clang__)
  EXPECT_EQ(build.find("g++ " + std::to_string(__GNUC__) + ","), 0U) << build;
#endif
}

}  // namespace

}  // namespace orvo::testing
