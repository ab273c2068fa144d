#include "SpoolerFixture.h"
#include "platform/simulated/MemoryFiles.h"

#include <cstddef>
#include <cstring>
#include <string>
#include <vector>

namespace orvo::testing {
namespace {

using DriverAccess = SpoolerFixture;

TEST_F(DriverAccess, TheDriverGetsTheSpoolerAsItsSink) {
  const auto second = std::make_shared<ScriptedDriver>();
  spooler->PutDataComm(second);
  EXPECT_EQ(second->log, (Log{"SetEventSink()"}));
  Send(RT_ReadItemSync);
  EXPECT_EQ(journal, Log{});
  EXPECT_EQ(second->log.size(), 2U);
  second->Sink().AsyncReadComplete({}, {});
  EXPECT_FALSE(spooler->IsBusy());
}

TEST_F(DriverAccess, ADriverThatRefusesTheSinkIsStoredAndItsErrorPassedOn) {
  const auto second = std::make_shared<ScriptedDriver>();
  second->Fail("SetEventSink", 77, "no sink", 1);
  EXPECT_EQ(ErrorOf([&] { spooler->PutDataComm(second); }), "77: no sink");
  Send(RT_ReadItemSync);
  EXPECT_EQ(second->log.size(), 2U);
  EXPECT_EQ(journal, Log{});
}

TEST_F(DriverAccess, DownloadsAreForwardedWithTheFlag0AndAnswerWhetherTheDriverTookTheFile) {
  driver->during["DownloadFirmware"] = [&] { driver->Sink().DownloadFirmwareInProgress(50); };
  EXPECT_TRUE(spooler->DownloadFirmware("a b.fw"));
  EXPECT_TRUE(spooler->DownloadProject(""));
  driver->Fail("DownloadFirmware", 4, "");
  driver->Fail("DownloadProject", 4, "");
  EXPECT_FALSE(spooler->DownloadFirmware("a.fw"));
  EXPECT_FALSE(spooler->DownloadProject("a.obj"));
  spooler->PutDataComm(nullptr);
  EXPECT_FALSE(spooler->DownloadFirmware("a.fw"));
  EXPECT_FALSE(spooler->DownloadProject("a.obj"));
  EXPECT_EQ(journal,
            (Log{"DownloadFirmware(a b.fw,0)", "DownloadFirmwareInProgress 50", "DownloadProject(,0)",
                 "DownloadFirmware(a.fw,0)", "DownloadFirmwareInProgress 50", "DownloadProject(a.obj,0)"}));
}

TEST_F(DriverAccess, DownloadsDoNotTouchTheQueuesAndRunWhileARequestIsInFlight) {
  Send(RT_ReadItemSync);
  EXPECT_TRUE(spooler->DownloadProject("p.obj"));
  EXPECT_TRUE(spooler->IsBusy());
  Complete();
  spooler->DeliverNext();
  EXPECT_EQ(journal.back(), "ReadRequestComplete 1");
}

TEST_F(DriverAccess, TheDriversStateIsItsAnswerAnd0WhenTheQuestionFails) {
  driver->groupTransfer = true;
  EXPECT_EQ(spooler->DriverState(), -1);
  driver->groupTransfer = false;
  EXPECT_EQ(spooler->DriverState(), 0);
  driver->groupTransfer = true;
  driver->Fail("GroupTransfer", 5, "");
  EXPECT_EQ(spooler->DriverState(), 0);
  spooler->PutDataComm(nullptr);
  EXPECT_EQ(spooler->DriverState(), 0);
}

TEST_F(DriverAccess, AGroupIsDefinedAndReleasedByItsIdAndTheAnswerIsWhetherNoErrorWasRaised) {
  group->groupId = 12;
  EXPECT_TRUE(spooler->DefineDeviceGroup(*group, -1));
  EXPECT_TRUE(spooler->DefineDeviceGroup(*group, 0));
  driver->Fail("SetGroupDefinition", 5, "", 1);
  EXPECT_FALSE(spooler->DefineDeviceGroup(*group, -1));
  EXPECT_TRUE(spooler->DefineDeviceGroup(*group, -1));
  spooler->PutDataComm(nullptr);
  EXPECT_FALSE(spooler->DefineDeviceGroup(*group, -1));
  EXPECT_EQ(journal, (Log{"SetGroupDefinition(12,-1)", "SetGroupDefinition(12,0)", "SetGroupDefinition(12,-1)",
                          "SetGroupDefinition(12,-1)"}));
}

class Registry : public ::testing::Test {
 protected:
  SimulatedPlatform platform;
  MemoryFiles files;
  DriverRegistry drivers;
  DriverHost Host() { return {platform, files}; }
  // What Create makes of the identifier: the driver's description, or the error.
  std::string Made(const std::string& progId) {
    std::string description = "null";
    const std::string error = ErrorOf([&] {
      if (const auto driver = drivers.Create(progId, Host())) description = driver->Description();
    });
    return error == "none" ? description : error;
  }
  static DriverRegistry::Factory Named(const std::string& description) {
    return [description](DriverHost) {
      auto driver = std::make_shared<ScriptedDriver>();
      driver->description = description;
      return driver;
    };
  }
};

TEST_F(Registry, IdentifiersCompareWithoutCaseAndTheLaterFactoryWins) {
  drivers.Register("Vendor.Channel", Named("first"));
  drivers.Register("Vendor.Other", Named("other"));
  EXPECT_EQ(Made("VENDOR.channel"), "first");
  drivers.Register("vendor.CHANNEL", Named("second"));
  EXPECT_EQ(Made("Vendor.Channel"), "second");
  EXPECT_EQ(Made("Vendor.Other"), "other");
}

TEST_F(Registry, AnIdentifierThatNothingMakesIsError429WithItsName) {
  const std::string error = Made("Nobody.Knows");
  EXPECT_EQ(error.substr(0, 5), "429: ");
  EXPECT_NE(error.find("Nobody.Knows"), std::string::npos);
  drivers.SetFallback([](const std::string&, DriverHost) { return nullptr; });
  EXPECT_EQ(Made("Nobody.Knows"), error);
}

TEST_F(Registry, TheFallbackIsAskedOnlyForWhatNoFactoryBears) {
  Log asked;
  drivers.SetFallback([&](const std::string& progId, DriverHost host) {
    asked.push_back(progId);
    EXPECT_EQ(&host.platform, &platform);
    return Named("fallback")(host);
  });
  drivers.Register("Known", Named("known"));
  EXPECT_EQ(Made("known"), "known");
  EXPECT_EQ(Made("Unknown.One"), "fallback");
  EXPECT_EQ(asked, (Log{"Unknown.One"}));
}

TEST_F(Registry, EachDriverIsNewAndAFactorysFailureIsPassedOn) {
  drivers.Register("Good", [&](DriverHost host) {
    EXPECT_EQ(&host.platform, &platform);
    EXPECT_EQ(&host.files, &files);
    return std::make_shared<ScriptedDriver>();
  });
  drivers.Register("Bad", [](DriverHost) -> std::shared_ptr<CommunicationDriver> {
    throw AutomationError(70, "not for you");
  });
  EXPECT_NE(drivers.Create("Good", Host()), drivers.Create("Good", Host()));
  EXPECT_EQ(Made("Bad"), "70: not for you");
}

// The place of a virtual function in its class's table, from the pointer to it: one more than the offset.
template <class Member>
std::size_t Slot(Member member) {
  std::size_t raw = 0;
  static_assert(sizeof member >= sizeof raw);
  std::memcpy(&raw, &member, sizeof raw);
  return (raw - 1) / sizeof(void*);
}

std::vector<std::size_t> Following(std::size_t first, std::size_t count) {
  std::vector<std::size_t> slots;
  for (std::size_t k = 0; k < count; ++k)
    slots.push_back(first + k);
  return slots;
}

TEST(ContractOrder, TheOperationsOfTheDriverStandInSlotOrder) {
  using D = CommunicationDriver;
  const std::vector<std::size_t> slots{Slot(&D::SetEventSink),
                                       Slot(&D::WriteItems),
                                       Slot(&D::ReadItems),
                                       Slot(&D::WriteGroup),
                                       Slot(&D::ReadGroup),
                                       Slot(&D::OpenCommunication),
                                       Slot(&D::CloseCommunication),
                                       Slot(&D::BootVersion),
                                       Slot(&D::BootDate),
                                       Slot(&D::FirmwareVersion),
                                       Slot(&D::BoardDescription),
                                       Slot(&D::BoardStatus),
                                       Slot(&D::CommunicationStatus),
                                       Slot(&D::DownloadFirmware),
                                       Slot(&D::DownloadProject),
                                       Slot(&D::BaudRate),
                                       Slot(&D::PutBaudRate),
                                       Slot(&D::Reserved18),
                                       Slot(&D::SetConfigurationMode),
                                       Slot(&D::SetGroupDefinition),
                                       Slot(&D::GroupCapacity),
                                       Slot(&D::PutNetworkType),
                                       Slot(&D::Reserved23),
                                       Slot(&D::MinorVersion),
                                       Slot(&D::MajorVersion),
                                       Slot(&D::Description),
                                       Slot(&D::PutComPortNumber),
                                       Slot(&D::ComPortNumber),
                                       Slot(&D::Reserved29),
                                       Slot(&D::ProjectName),
                                       Slot(&D::PutProjectName),
                                       Slot(&D::GroupTransfer),
                                       Slot(&D::CheckVariable),
                                       Slot(&D::PutWordIO),
                                       Slot(&D::WordIO),
                                       Slot(&D::PutTimeout),
                                       Slot(&D::Timeout),
                                       Slot(&D::FirmwareDownloadNeeded),
                                       Slot(&D::ProjectDownloadNeeded),
                                       Slot(&D::CreateDevice)};
  EXPECT_EQ(slots, Following(slots[0], 40));
}

TEST(ContractOrder, TheOperationsOfTheSinkTheDeviceAndTheEventsStandInTheirOrder) {
  using S = IEventNotify;
  const std::vector<std::size_t> sink{Slot(&S::AsyncReadComplete),        Slot(&S::AsyncReadGroupComplete),
                                      Slot(&S::AsyncWriteComplete),       Slot(&S::AsyncWriteGroupComplete),
                                      Slot(&S::DownloadFirmwareComplete), Slot(&S::DownloadFirmwareInProgress),
                                      Slot(&S::DownloadProjectComplete),  Slot(&S::DownloadProjectInProgress)};
  EXPECT_EQ(sink, Following(sink[0], 8));
  using E = SpoolerEvents;
  const std::vector<std::size_t> events{
      Slot(&E::ReadRequestComplete),      Slot(&E::ReadRatedRequestComplete),
      Slot(&E::WriteRequestComplete),     Slot(&E::CancelRequestComplete),
      Slot(&E::DownloadFirmwareComplete), Slot(&E::DownloadFirmwareInProgress),
      Slot(&E::DownloadProjectComplete),  Slot(&E::DownloadProjectInProgress)};
  EXPECT_EQ(events, Following(events[0], 8));
  EXPECT_EQ(Slot(&DeviceObject::ExtractValue), Slot(&DeviceObject::CompileItemId) + 1);
}

}  // namespace
}  // namespace orvo::testing
