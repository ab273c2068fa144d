// A first client in C++, early bound with the generated header: fast, and the compiler checks the calls.
//
//   x86_64-w64-mingw32-g++ -std=c++17 -I<folder of ORVOBusiness_h.h> FirstClient.cpp -lole32 -loleaut32 -luuid
//
//   cl /std:c++17 /EHsc /I<folder of ORVOBusiness_h.h> FirstClient.cpp ole32.lib oleaut32.lib user32.lib
//
//   FirstClient [drivers.ini]
//
// A 64-bit program needs the 64-bit ORVOBusiness.dll, a 32-bit program the 32-bit one.

#include "Automation.h"
#include "GroupEvents.h"
#include "ORVOBusiness_h.h"

#include <cstdio>

using namespace sample;

// Handles the thread's messages. Requests are sent and events arrive only while somebody does this: a program
// with windows does it all the time, a console program has to.
static void Pump(DWORD milliseconds) {
  const ULONGLONG start = GetTickCount64();
  for (;;) {
    MSG message;
    while (PeekMessage(&message, nullptr, 0, 0, PM_REMOVE))
      DispatchMessage(&message);
    const ULONGLONG spent = GetTickCount64() - start;
    if (spent >= milliseconds) return;
    MsgWaitForMultipleObjects(0, nullptr, FALSE, static_cast<DWORD>(milliseconds - spent), QS_ALLINPUT);
  }
}

static long AddItem(_KELDataItems* items, const wchar_t* identifier, const wchar_t* name) {
  Text id(identifier);
  Value itemName(name);
  Pointer<_KELDataItem> item;
  Check(items->Add(id.Put(), itemName.Get(), item.Put()));
  long handle = 0;
  Check(item->get_Handle(&handle));
  return handle;
}

static void Run(const wchar_t* driverFile) {
  // Create and configure.
  Pointer<_KELDataServer> server;
  Check(CoCreateInstance(__uuidof(KELDataServer), nullptr, CLSCTX_INPROC_SERVER, __uuidof(_KELDataServer),
                         reinterpret_cast<void**>(server.Put())));
  Check(server->SetDriverConfigurationFile(Text(driverFile).Get()));
  Check(server->put_DeviceType(2));  // the line "2=PanelB" of the file

  // Groups and items are added while communication is closed.
  Pointer<_KELDataGroups> groups;
  Pointer<_KELDataGroup> group;
  Pointer<_KELDataItems> items;
  Check(server->get_KELDataGroups(groups.Put()));
  Check(groups->Add(Value(L"Line 1").Get(), group.Put()));
  Check(group->get_KELDataItems(items.Put()));
  const long speed = AddItem(items.Get(), L"WO100", L"Speed");        // a word at 100
  const long recipe = AddItem(items.Get(), L"ST0020010", L"Recipe");  // ten characters at 200

  // Open. A line that does not answer is no error of this call: look at the status.
  Check(server->OpenCommunication());
  long status = 0;
  Check(server->get_ServerStatus(&status));
  if (status != 3) throw Failure{E_FAIL, L"communication is not open", L""};

  // Write and read: arrays that run in parallel.
  Array handles{speed, recipe};
  Array values{Value(1500L), Value(L"Vanilla 3%")};
  Array errors;
  Check(group->SyncWrite(handles.Put(), values.Put(), errors.Put()));
  Array readValues;
  Array readErrors;
  Check(group->SyncRead(handles.Put(), readValues.Put(), readErrors.Put()));
  for (long k = 0; k <= UpperBound(handles.Get()); ++k)
    std::printf("  item %ld = %ls, error %ld\n", NumberAt(handles.Get(), k),
                DisplayAt(readValues.Get(), k).c_str(), NumberAt(readErrors.Get(), k));

  // Subscribe: from now on the group is read every 100 ms, and DataChange brings what is new.
  GroupEvents events;
  {
    const Connection connection(group.Get(), &events);
    Check(group->put_Subscribed(VARIANT_TRUE));
    Check(group->put_UpdateRate(100));
    Check(group->put_Active(VARIANT_TRUE));
    for (long k = 1; k <= 3; ++k) {
      Array one{speed};
      Array next{Value(1500 + 10 * k)};
      long transaction = 0;
      Check(group->AsyncWrite(one.Put(), next.Put(), &transaction));
      Pump(500);
    }
    Check(group->put_Active(VARIANT_FALSE));
  }
  if (events.Changes() == 0) throw Failure{E_FAIL, L"no event came: does somebody pump the messages?", L""};

  // Catch an error: number, text and source.
  Check(server->CloseCommunication());
  try {
    AddItem(items.Get(), L"XY100", L"Wrong");
  } catch (const Failure& failure) {
    std::printf("error 0x%08lX from %ls: %ls\n", static_cast<unsigned long>(failure.number),
                failure.source.c_str(), failure.description.c_str());
  }
}

int main(int count, char** arguments) {
  if (FAILED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)))
    return 1;  // the server wants an apartment of one thread
  int result = 0;
  try {
    const char* file = count > 1 ? arguments[1] : "drivers.ini";
    Run(std::wstring(file, file + std::char_traits<char>::length(file)).c_str());
    std::printf("DONE\n");
  } catch (const Failure& failure) {
    std::printf("FAILED: error 0x%08lX: %ls\n", static_cast<unsigned long>(failure.number),
                failure.description.c_str());
    if (failure.number == REGDB_E_CLASSNOTREG)
      std::printf(
          "The server is not registered for %d-bit programs: run register-user.cmd or register-machine.cmd.\n",
          static_cast<int>(8 * sizeof(void*)));
    result = 1;
  }
  CoUninitialize();
  return result;
}
