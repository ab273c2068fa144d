"""A first client in Python (Windows, with pywin32: pip install pywin32).

    python first_client.py [drivers.ini]

64-bit Python needs the 64-bit ORVOBusiness.dll registered, 32-bit Python the 32-bit one.
"""
import sys
import time

import pythoncom
import pywintypes
import win32com.client
import win32con
import win32event


class GroupEvents:
    """Receives the events of a group: a method for each, "On" and the event's name."""

    def OnDataChange(self, DataHandles, USERValues):
        for handle, value in zip(DataHandles, USERValues):
            print("  DataChange: item", handle, "=", value)

    def OnAsyncWriteComplete(self, TransactionId, DataHandles, DataErrors):
        print("  AsyncWriteComplete: transaction", TransactionId, "errors", DataErrors)


def pump(seconds):
    """Handles the thread's messages. Requests are sent and events arrive only while somebody does this."""
    end = time.monotonic() + seconds
    while (left := end - time.monotonic()) > 0:
        pythoncom.PumpWaitingMessages()
        win32event.MsgWaitForMultipleObjects([], False, int(left * 1000) + 1, win32con.QS_ALLINPUT)


def describe(failure):
    """Number, source and text of a failed call; the first two parts of the exception say only that it failed."""
    if failure.excepinfo is None:
        return failure.hresult & 0xFFFFFFFF, "Windows", failure.strerror
    return failure.excepinfo[5] & 0xFFFFFFFF, failure.excepinfo[1], failure.excepinfo[2]


def run(driver_file):
    # Create and configure. EnsureDispatch reads the type library: calls are checked, and filled arguments are returned.
    server = win32com.client.gencache.EnsureDispatch("ORVOBusiness.KELDataServer")
    server.SetDriverConfigurationFile(driver_file)
    server.DeviceType = 2  # the line "2=PanelB" of the file

    # Groups and items are added while communication is closed.
    group = server.KELDataGroups.Add("Line 1")
    items = group.KELDataItems
    speed = items.Add("WO100", "Speed")  # a word at 100
    recipe = items.Add("ST0020010", "Recipe")  # ten characters at 200

    # Open. A line that does not answer is no error of this call: look at the status.
    server.OpenCommunication()
    if server.ServerStatus != 3:
        raise RuntimeError("communication is not open")
    print(server.BoardDescription, "status of the line", server.CommunicationStatus)

    # Write and read: lists that run in parallel. Arguments that the server fills come back as results.
    handles = [speed.Handle, recipe.Handle]
    errors = group.SyncWrite(handles, [1500, "Vanilla 3%"], [])
    values, errors = group.SyncRead(handles, [], [])
    for handle, value, error in zip(handles, values, errors):
        print("  %s = %s, error %d" % (items.Item(handle).ItemName, value, error))

    # Subscribe: from now on the group is read every 100 ms, and DataChange brings what is new.
    events = win32com.client.WithEvents(group, GroupEvents)
    group.Subscribed = True
    group.UpdateRate = 100
    group.Active = True
    for k in range(1, 4):
        transaction_id = group.AsyncWrite([speed.Handle], [1500 + 10 * k], 0)
        pump(0.5)
    group.Active = False
    events.close()

    server.CloseCommunication()

    # Catch an error: number, text and source.
    try:
        items.Add("XY100", "Wrong")
    except pywintypes.com_error as failure:
        print("error 0x%08X from %s: %s" % describe(failure))


if __name__ == "__main__":
    try:
        run(sys.argv[1] if len(sys.argv) > 1 else "drivers.ini")
        print("DONE")
    except pywintypes.com_error as failure:
        print("FAILED: error 0x%08X from %s: %s" % describe(failure))
        if failure.hresult & 0xFFFFFFFF in (0x80040154, 0x800401F3):
            print("The server is not registered for this Python: run register-user.cmd or register-machine.cmd.")
        sys.exit(1)
