// A library that is loaded, used and unloaded again and again leaves nothing behind.
#include "Client.h"
#include "IORVOBusiness_h.h"
#include "Library.h"
#include "Usage.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <thread>

namespace orvo::testing {
namespace {

using com::ComPtr;

constexpr int Times = 1000;
constexpr int SettledAfter = 100;  // what the system itself keeps is there by then
constexpr int ExchangeEvery = 25;  // an exchange with the device takes real time

// Handles and threads must not grow with the loads or threads. The system starts a thread of its own for an
// apartment when it finds the time, and keeps it: a few more, once, are not ours. The thread library inside the
// module keeps a record of its own for each load, of half a kilobyte in three blocks; more than that is a leak
// of ours.
constexpr std::size_t BlocksEach = 3;
constexpr std::size_t BytesEach = 560;
constexpr std::size_t MoreBlocks = 20;
constexpr std::size_t MoreBytes = 20000;
constexpr DWORD MoreHandles = 8;
constexpr DWORD MoreThreads = 2;

// A window of this class would have its procedure in a library that is gone.
bool HasWakeWindows() {
  return FindWindowExW(HWND_MESSAGE, nullptr, L"ORVOBusiness.Wake", nullptr) != nullptr;
}

void Reload(const std::wstring& path, const std::function<void(const Library&, int)>& use) {
  const std::wstring name = path.substr(path.find_last_of(L'\\') + 1);
  Usage settled;
  for (int round = 0; round < Times; ++round) {
    {
      const Library library(path);
      use(library, round);
      ASSERT_EQ(library.CanUnloadNow(), S_OK) << "round " << round;
    }
    ASSERT_EQ(GetModuleHandleW(name.c_str()), nullptr) << "round " << round << ": the library is still loaded";
    ASSERT_FALSE(HasWakeWindows()) << "round " << round;
    // A timer that was left would call into nothing.
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE))
      DispatchMessageW(&message);
    if (::testing::Test::HasFailure()) return;
    if (round == SettledAfter) settled = Usage::Now();
  }
  const Usage now = Usage::Now();
  constexpr std::size_t rounds = Times - SettledAfter;
  EXPECT_LE(now.handles, settled.handles + MoreHandles);
  EXPECT_LE(now.threads, settled.threads + MoreThreads);
  EXPECT_LE(now.blocks, settled.blocks + BlocksEach * rounds + MoreBlocks);
  EXPECT_LE(now.bytes, settled.bytes + BytesEach * rounds + MoreBytes);
  std::printf("handles %lu -> %lu, threads %lu -> %lu, blocks %zu -> %zu, bytes %zu -> %zu\n", settled.handles,
              now.handles, settled.threads, now.threads, settled.blocks, now.blocks, settled.bytes, now.bytes);
}

TEST(ReloadTest, ServerLeavesNothingBehind) {
  const Apartment apartment;
  const Scratch scratch;
  const std::wstring drivers = scratch.WriteDrivers("SimulatedPanel.Channel");
  Reload(ServerLibrary(), [&](const Library& library, int round) {
    const auto server = library.Create(__uuidof(KELDataServer)).Query<_KELDataServer>();
    ASSERT_TRUE(server);
    const ComPtr<_KELDataGroup> group = Configure(*server.Get(), drivers);
    ASSERT_TRUE(group);
    if (round % ExchangeEvery == 0) Exchange(*server.Get(), *group.Get());
    ASSERT_EQ(library.CanUnloadNow(), S_FALSE);
  });
}

TEST(ReloadTest, ServerThatIsReleasedWhileOpenLeavesNothingBehind) {
  const Apartment apartment;
  const Scratch scratch;
  const std::wstring drivers = scratch.WriteDrivers("SimulatedPanel.Channel");
  Reload(ServerLibrary(), [&](const Library& library, int) {
    const auto server = library.Create(__uuidof(KELDataServer)).Query<_KELDataServer>();
    ASSERT_TRUE(server);
    const ComPtr<_KELDataGroup> group = Configure(*server.Get(), drivers);
    ASSERT_EQ(group->put_Active(VARIANT_TRUE), S_OK);
    ASSERT_EQ(server->OpenCommunication(), S_OK);
  });
}

TEST(ReloadTest, ThreadsThatEndLeaveNothingBehind) {
  const Apartment apartment;
  const Library library(ServerLibrary());
  const auto use = [&] {
    const Apartment own;
    const auto server = library.Create(__uuidof(KELDataServer)).Query<_KELDataServer>();
    // An exception inside the library: that is what the thread's part of the run-time library is made for.
    EXPECT_EQ(server->put_DeviceType(2), static_cast<HRESULT>(0x8004000EU));
  };
  constexpr int Warm = 20;
  constexpr int Threads = 200;
  Usage settled;
  for (int i = 0; i < Threads; ++i) {
    std::thread(use).join();
    if (i == Warm) settled = Usage::Now();
  }
  const Usage now = Usage::Now();
  EXPECT_LE(now.handles, settled.handles + MoreHandles);
  EXPECT_LE(now.threads, settled.threads + MoreThreads);
  EXPECT_LE(now.bytes, settled.bytes + MoreBytes);
  EXPECT_EQ(library.CanUnloadNow(), S_OK);
}

TEST(ReloadTest, PanelLeavesNothingBehind) {
  const Apartment apartment;
  const CLSID panel = PanelClass();
  Reload(PanelLibrary(), [&](const Library& library, int) {
    const auto driver = library.Create(panel).Query<ICommunicationDriver>();
    ASSERT_TRUE(driver);
    ComPtr<IDeviceObject> device;
    ASSERT_EQ(driver->CreateDevice(Text(L"PanelB"), device.Put()), S_OK);
    double address = 0;
    LONG length = 0;
    LONG type = 0;
    VARIANT_BOOL known = VARIANT_FALSE;
    ASSERT_EQ(device->CompileItemId(Text(L"WO100"), &address, &length, &type, &known), S_OK);
    EXPECT_EQ(known, VARIANT_TRUE);
    ASSERT_EQ(driver->OpenCommunication(VARIANT_TRUE), S_OK);
    ASSERT_EQ(driver->CloseCommunication(), S_OK);
    ASSERT_EQ(library.CanUnloadNow(), S_FALSE);
  });
}

}  // namespace
}  // namespace orvo::testing
