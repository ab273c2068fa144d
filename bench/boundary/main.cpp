// What the automation boundary costs, in virtual time: calls by name against the type library's own, and a
// synchronous read by a client against the same read of the core, both in this program.
//
// Prints a line per figure: the benchmark's name, the number of items, and nanoseconds, separated by tabs. Each
// figure is that of the best round; the two that are compared take turns.
//   boundary_bench [ROUNDS]

#include "Items.h"
#include "ORVOBusiness_h.h"
#include "com/ClassFactory.h"
#include "com/ComPtr.h"
#include "com/FacadeIdentity.h"
#include "com/KELDataServerFacade.h"
#include "com/ThreadHome.h"
#include "platform/simulated/MemoryFiles.h"
#include "platform/simulated/SimulatedPlatform.h"
#include "simulated/SimulatedPanel.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace orvo::bench {

namespace {

using com::ComPtr;

constexpr std::size_t Items = 10000;
// Rounds are short, so that many of them run undisturbed.
constexpr int CallsPerRound = 100;
constexpr int ReadsPerRound = 1;

// Every step must go through: a figure of a call that failed would be a lie.
void Require(HRESULT result, const char* what) {
  if (SUCCEEDED(result)) return;
  std::fprintf(stderr, "error: %s failed with %08lX\n", what, static_cast<unsigned long>(result));
  std::exit(1);
}

void Furnish() {
  com::ThreadHome::Setup setup;
  setup.platform = [] { return std::make_unique<SimulatedPlatform>(); };
  setup.files = [] {
    auto files = std::make_unique<MemoryFiles>();
    files->PutFile("panel.ini", "[Drivers]\nDataCommunication=SimulatedPanel.Channel\n2=PanelB\n");
    return files;
  };
  setup.drivers = [](DriverRegistry& drivers) {
    PanelOptions options;
    options.completionDelay = std::chrono::milliseconds(0);
    options.maximumGroupWords = 1'000'000;
    RegisterSimulatedPanel(drivers, options);
  };
  com::ThreadHome::Configure(std::move(setup));
}

// An open server with one group of items.
class Client {
 public:
  Client() {
    Furnish();
    home_ = com::ThreadHome::Current();
    const ComPtr<com::ClassFactory> factory(new com::ClassFactory(com::KELDataServerFacade::New));
    Require(factory->CreateInstance(nullptr, __uuidof(_KELDataServer), server.PutVoid()), "CreateInstance");
    server_ = std::dynamic_pointer_cast<orvo::KELDataServer>(com::OwnObject(server.Get()));
    server_->SetDriverConfigurationFile("panel.ini");
    server_->PutDeviceType(2);
    core = server_->KELDataGroups()->Add();
    for (std::size_t index = 0; index < Items; ++index) {
      const auto item = core->Items().Add(Identifier(index, 2 * index % 64000));
      item->PutSigned(KindOfItem(index).isSigned);
      if (KindOfItem(index).bcd) item->PutBCD(true);
    }
    server_->OpenCommunication();
    group = com::FacadeOfAny(core).Query<_KELDataGroup>();
  }

  ComPtr<_KELDataServer> server;
  ComPtr<_KELDataGroup> group;
  std::shared_ptr<orvo::KELDataGroup> core;

 private:
  std::shared_ptr<com::ThreadHome> home_;
  std::shared_ptr<orvo::KELDataServer> server_;
};

// Nanoseconds per repetition.
template <class Step>
double Time(int repetitions, Step&& step) {
  const auto start = std::chrono::steady_clock::now();
  for (int k = 0; k < repetitions; ++k)
    step();
  const std::chrono::duration<double, std::nano> lasted = std::chrono::steady_clock::now() - start;
  return lasted.count() / repetitions;
}

void Print(const char* name, std::size_t items, const std::vector<double>& figures, double divisor) {
  std::printf("%s\t%zu\t%.6g\n", name, items, *std::min_element(figures.begin(), figures.end()) / divisor);
}

// A property that is only stored: the group's update rate, read by name.
void MeasureProperty(Client& client, int rounds) {
  IDispatch* const object = client.group.Get();
  auto* name = const_cast<LPOLESTR>(L"UpdateRate");
  DISPID id = DISPID_UNKNOWN;
  Require(object->GetIDsOfNames(IID_NULL, &name, 1, 0, &id), "GetIDsOfNames");
  ComPtr<ITypeInfo> info;
  Require(object->GetTypeInfo(0, 0, info.Put()), "GetTypeInfo");
  DISPPARAMS none{};
  std::vector<double> byName;
  std::vector<double> byTypeLibrary;
  for (int round = 0; round < rounds; ++round) {
    byName.push_back(Time(CallsPerRound, [&] {
      VARIANT result;
      VariantInit(&result);
      Require(object->Invoke(id, IID_NULL, 0, DISPATCH_PROPERTYGET, &none, &result, nullptr, nullptr),
              "Invoke");
      if (V_VT(&result) != VT_I4) Require(E_FAIL, "reading UpdateRate by name");
    }));
    byTypeLibrary.push_back(Time(CallsPerRound, [&] {
      VARIANT result;
      VariantInit(&result);
      Require(info->Invoke(object, id, DISPATCH_PROPERTYGET, &none, &result, nullptr, nullptr),
              "ITypeInfo::Invoke");
      if (V_VT(&result) != VT_I4) Require(E_FAIL, "reading UpdateRate by the type library");
    }));
  }
  Print("PropertyByName", 1, byName, 1);
  Print("PropertyByTypeLibrary", 1, byTypeLibrary, 1);
}

SAFEARRAY* HandleArray() {
  SAFEARRAY* array = SafeArrayCreateVector(VT_I4, 0, static_cast<ULONG>(Items));
  LONG* elements = nullptr;
  Require(SafeArrayAccessData(array, reinterpret_cast<void**>(&elements)), "SafeArrayAccessData");
  for (std::size_t k = 0; k < Items; ++k)
    elements[k] = static_cast<LONG>(k + 1);
  Require(SafeArrayUnaccessData(array), "SafeArrayUnaccessData");
  return array;
}

// Every item was read.
void RequireNoErrors(SAFEARRAY* errors) {
  LONG* elements = nullptr;
  Require(SafeArrayAccessData(errors, reinterpret_cast<void**>(&elements)), "SafeArrayAccessData");
  for (std::size_t k = 0; k < Items; ++k)
    if (elements[k] != 0) Require(E_FAIL, "an item of SyncRead");
  Require(SafeArrayUnaccessData(errors), "SafeArrayUnaccessData");
}

void MeasureRead(Client& client, int rounds) {
  SAFEARRAY* handles = HandleArray();
  const SafeArray<std::int32_t> coreHandles = client.core->Items().AllHandles();
  std::vector<double> byClient;
  std::vector<double> byCore;
  for (int round = 0; round < rounds; ++round) {
    byClient.push_back(Time(ReadsPerRound, [&] {
      SAFEARRAY* values = SafeArrayCreateVector(VT_VARIANT, 0, static_cast<ULONG>(Items));
      SAFEARRAY* errors = SafeArrayCreateVector(VT_I4, 0, static_cast<ULONG>(Items));
      Require(client.group->SyncRead(&handles, &values, &errors), "SyncRead");
      RequireNoErrors(errors);
      SafeArrayDestroy(values);
      SafeArrayDestroy(errors);
    }));
    byCore.push_back(Time(ReadsPerRound, [&] {
      SafeArray<Variant> values;
      SafeArray<std::int32_t> errors;
      client.core->SyncRead(coreHandles, values, errors);
      if (values.Size() != Items || std::ranges::any_of(errors.View(), [](auto error) { return error != 0; }))
        Require(E_FAIL, "the core's SyncRead");
    }));
  }
  SafeArrayDestroy(handles);
  Print("BoundarySyncRead", Items, byClient, static_cast<double>(Items));
  Print("CoreSyncRead", Items, byCore, static_cast<double>(Items));
}

}  // namespace

}  // namespace orvo::bench

int main(int argc, char** argv) {
  const int rounds = argc > 1 ? std::atoi(argv[1]) : 300;
  if (rounds < 1) {
    std::fprintf(stderr, "usage: boundary_bench [ROUNDS]\n");
    return 2;
  }
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  {
    orvo::bench::Client client;
    orvo::bench::MeasureProperty(client, rounds);
    orvo::bench::MeasureRead(client, rounds);
  }
  CoUninitialize();
}
