# A first client in PowerShell (Windows PowerShell 5.1 or PowerShell 7), late bound.
#
#   powershell -ExecutionPolicy Bypass -File FirstClient.ps1 [drivers.ini]
#
# 64-bit PowerShell needs the 64-bit ORVOBusiness.dll registered, the 32-bit one (in SysWOW64) the 32-bit one.
param([string] $DriverFile = (Join-Path $PSScriptRoot '..\drivers.ini'))
$ErrorActionPreference = 'Stop'

# PowerShell cannot take the events of such an object itself: a small class receives them and keeps them until they are asked
# for. The identifiers are those of the group's events in the type library.
Add-Type -AssemblyName System.Windows.Forms
Add-Type -TypeDefinition @'
using System;
using System.Collections.Generic;
using System.Runtime.InteropServices;
using System.Runtime.InteropServices.ComTypes;

[ComVisible(true), Guid("f45283ea-81b6-4edb-9990-92fdde3209bd"), InterfaceType(ComInterfaceType.InterfaceIsIDispatch)]
public interface IGroupEvents {
    [DispId(1)] void DataChange(object handles, object values);
    [DispId(5)] void AsyncWriteComplete(int transactionId, object handles, object errors);
}

[ComVisible(true), ClassInterface(ClassInterfaceType.None)]
public class GroupWatcher : IGroupEvents, IDisposable {
    public readonly Queue<string> Lines = new Queue<string>();
    private readonly IConnectionPoint point;
    private readonly int cookie;

    public GroupWatcher(object group) {
        Guid events = typeof(IGroupEvents).GUID;
        ((IConnectionPointContainer)group).FindConnectionPoint(ref events, out point);
        point.Advise(this, out cookie);
    }
    public void Dispose() { point.Unadvise(cookie); }

    public void DataChange(object handles, object values) {
        Array handleArray = (Array)handles, valueArray = (Array)values;
        for (int k = 0; k < handleArray.Length; k++)
            Lines.Enqueue("DataChange: item " + handleArray.GetValue(k) + " = " + valueArray.GetValue(k));
    }
    public void AsyncWriteComplete(int transactionId, object handles, object errors) {
        Lines.Enqueue("AsyncWriteComplete: transaction " + transactionId);
    }
}
'@

# Handles the thread's messages, and shows what came. Requests are sent and events arrive only while somebody does this.
function Wait-Messages([int] $Milliseconds) {
    $spent = [Diagnostics.Stopwatch]::StartNew()
    while ($spent.ElapsedMilliseconds -lt $Milliseconds) {
        [System.Windows.Forms.Application]::DoEvents()
        while ($watcher.Lines.Count -gt 0) { "  " + $watcher.Lines.Dequeue() }
        [Threading.Thread]::Sleep(5)
    }
}

try {
    # Create and configure.
    $server = New-Object -ComObject ORVOBusiness.KELDataServer
    $server.SetDriverConfigurationFile((Resolve-Path $DriverFile).Path)
    $server.DeviceType = 2  # the line "2=PanelB" of the file

    # Groups and items are added while communication is closed.
    $group = $server.KELDataGroups.Add('Line 1')
    $items = $group.KELDataItems
    $speed = $items.Add('WO100', 'Speed')  # a word at 100
    $recipe = $items.Add('ST0020010', 'Recipe')  # ten characters at 200

    # Open. A line that does not answer is no error of this call: look at the status.
    $server.OpenCommunication()
    if ($server.ServerStatus -ne 3) { throw 'communication is not open' }
    "$($server.BoardDescription), status of the line $($server.CommunicationStatus)"

    # Write and read: arrays that run in parallel. [ref] marks what the server fills.
    $handles = [int[]] ($speed.Handle, $recipe.Handle)
    $results = $null
    $group.SyncWrite($handles, [object[]] (1500, 'Vanilla 3%'), [ref] $results)
    $values = $null
    $group.SyncRead($handles, [ref] $values, [ref] $results)
    for ($k = 0; $k -lt $handles.Count; $k++) {
        "  $($items.Item($handles[$k]).ItemName) = $($values[$k]), error $($results[$k])"
    }

    # Subscribe: from now on the group is read every 100 ms, and DataChange brings what is new.
    $watcher = New-Object GroupWatcher $group
    $group.Subscribed = $true
    $group.UpdateRate = 100
    $group.Active = $true
    foreach ($k in 1..3) {
        $transactionId = 0
        $group.AsyncWrite([int[]] $speed.Handle, [object[]] (1500 + 10 * $k), [ref] $transactionId)
        Wait-Messages 500
    }
    $group.Active = $false
    $watcher.Dispose()

    $server.CloseCommunication()

    # Catch an error: number, text and source.
    try {
        $null = $items.Add('XY100', 'Wrong')
    } catch {
        $failure = $_.Exception.GetBaseException()
        "error 0x{0:X8} from {1}: {2}" -f $failure.HResult, $failure.Source, $failure.Message
    }
    'DONE'
} catch {
    $failure = $_.Exception.GetBaseException()
    "FAILED: error 0x{0:X8}: {1}" -f $failure.HResult, $failure.Message
    if ($failure.HResult -eq 0x80040154) {
        "The server is not registered for $(8 * [IntPtr]::Size)-bit programs: run register-user.cmd or register-machine.cmd."
    }
    exit 1
}
