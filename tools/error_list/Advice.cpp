#include "Advice.h"

#include "errors/modIDataErrors.h"

namespace orvo {
namespace {

constexpr std::int32_t Of(RuntimeError error) {
  return static_cast<std::int32_t>(error);
}

constexpr std::array<AdviceRow, 30> Advice{{
    {errInvalidState,
     "Look at ServerStatus: groups, items, files and settings want communication closed and a device type "
     "chosen; reads and "
     "writes want it open."},
    {errFileNotFound, "Look whether the file is there and its name complete."},
    {errInvalidFileFormat,
     "Take a file that SaveConfigurationToFile wrote, or correct the entry that the text names."},
    {errCannotWriteFile, "Look whether the folder exists and may be written."},
    {errInvalidDeviceType,
     "Give DeviceType a number that stands in the section [Drivers] of the driver configuration file, with a "
     "kind of device "
     "that the driver knows."},
    {errInvalidHandle,
     "Use the Handle of a group or item that is still in its collection; the handle of a removed one is given "
     "to the next that is added."},
    {errInvalidName,
     "Choose another name, or look for the exact spelling: ItemByName tells upper from lower case."},
    {errInvalidParameters, "Look at the arguments of the call."},
    {errInvalidItemId,
     "Look for the identifier's form in the manual of the driver; take items out of the group when it is too "
     "large."},
    {errCommunication,
     "Look at cable, port, baud rate and CommunicationStatus; close communication and open it again."},
    {errInvalidValue, "The text says which values the property takes."},
    {errQueueFull,
     "Requests are queued faster than the device answers: wait for completions before queueing more."},
    {errInvalidGroupSize, "Spread the items over more groups."},
    {errInternal,
     "The number behind the word code is the reason: look for it in this table. Send the whole text when you "
     "ask for help."},
    {errInvalidFormat,
     "Give the item a value of its kind and range; index tells which of several values was refused (none was "
     "written)."},
    {Of(RuntimeError::InvalidProcedureCall), "Look at the arguments of the call."},
    {Of(RuntimeError::Overflow), "Give a number that fits the property or item."},
    {Of(RuntimeError::OutOfMemory), "Close other programs; look whether the file is the right one."},
    {Of(RuntimeError::SubscriptOutOfRange), "Pass arrays of the same length."},
    {Of(RuntimeError::TypeMismatch),
     "Pass a number where a number is wanted, an array where an array is wanted."},
    {Of(RuntimeError::FileNotFound), "Look whether the file is there; give its name with the folder."},
    {Of(RuntimeError::DiskFull), "Make room on the disk."},
    {Of(RuntimeError::PermissionDenied),
     "Look whether your account may read or write the file, and who has it open."},
    {Of(RuntimeError::PathFileAccess), "Look whether the name is that of a file, and who has it open."},
    {Of(RuntimeError::PathNotFound), "Look whether the folder is there; give its name in full."},
    {Of(RuntimeError::ObjectNotSet),
     "Call SetDriverConfigurationFile and set DeviceType first; keep the server as long as its groups and "
     "items."},
    {Of(RuntimeError::InvalidUseOfNull), "Pass a value, not Null."},
    {Of(RuntimeError::CannotCreateObject),
     "Register the driver that DataCommunication names in the driver configuration file, for the bits of your "
     "program."},
    {Of(RuntimeError::AutomationFailure), "Look for the text in the manual of the driver."},
    {Of(RuntimeError::DuplicateKey), "Choose a name that differs in more than upper and lower case."},
}};

}  // namespace

std::string_view AdviceFor(std::int32_t number) noexcept {
  for (const AdviceRow& row : Advice)
    if (row.number == number) return row.advice;
  return {};
}

const std::array<SystemErrorRow, 13> SystemErrors{{
    {"0x80040154, 429", "Class not registered: there is no server for programs of these bits.",
     "Run register-user.cmd, or register-machine.cmd as administrator, from the folder x64 for 64-bit programs "
     "and from x86 "
     "for 32-bit ones. The program's bits count, not those of Windows."},
    {"0x800401F3, 429", "Invalid class string: the programmatic identifier is not known.",
     "Register as above; look at the spelling ORVOBusiness.KELDataServer."},
    {"0x800700C1, 193", "Wrong bitness: the DLL is not for programs of these bits.",
     "Take the DLL from the other folder (x64 or x86) and register that one too."},
    {"0x8007007E, 126", "The DLL is not where it was registered.",
     "Register again from the folder in which it lies now."},
    {"0x80070005, 5 (regsvr32)", "Access denied: only an administrator registers for the whole machine.",
     "Run register-machine.cmd as administrator, or register-user.cmd as yourself."},
    {"0x8002801D", "Library not registered: an early-bound program finds no type library.",
     "Register again; the type library is part of the DLL."},
    {"0x8001010E, 0x80010108",
     "Wrong thread: an object is used on another thread than the one that made it, or after that thread ended.",
     "Make the server on the thread that uses it (one server for each thread), an apartment of one thread "
     "(STA)."},
    {"(no error) events do not come",
     "No message pump: the thread that made the server does not handle its messages, so nothing is sent and no "
     "event comes.",
     "Let it handle them: DoEvents, Application.Run, PumpWaitingMessages, a message loop. Look too whether "
     "Subscribed is "
     "True."},
    {"(no error) no DataChange", "The group is not updated, or nothing changed.",
     "Set Active and Subscribed to True after OpenCommunication; read Active back: it stays False when the "
     "device has no "
     "room for one more group."},
    {"0x80020006, 0x80020003, 438", "Unknown name or member not found.",
     "Look at the spelling in the type library."},
    {"0x80020005, 13", "Type mismatch: an argument cannot be converted.",
     "Pass arrays for handles, values and errors; numbers for handles."},
    {"0x8002000E, 450", "Wrong number of arguments.", "Look at the member in the type library."},
    {"0x80004003", "A pointer for a result is null (C++ and the like).", "Pass the address of a variable."},
}};

const std::array<ItemErrorRow, 5> ItemErrors{{
    {"0", "Success.", "Nothing."},
    {"1",
     "The request was refused (the spooler is busy, another synchronous call waits), could not be queued, or "
     "had no answer in time. After a write: outcome unknown.",
     "Handle messages and try again. After a write read the item back first."},
    {"9", "The driver's answer did not reach this item, or its bytes were too few.",
     "Try again; if it stays, the driver does not know this item's length."},
    {"99", "The request never reached the device.",
     "Look at CommunicationStatus; close communication and open it again."},
    {"other", "The driver's own code for this item.", "Look for it in the manual of the driver."},
}};

}  // namespace orvo
