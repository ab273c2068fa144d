// A first client in C#, early bound through an interop assembly of the type library (both tools come with Visual Studio and
// the Windows SDK; a "Developer Command Prompt" knows them):
//
//   tlbimp ORVOBusiness.tlb /sysarray /out:Interop.ORVOBusiness.dll /namespace:ORVOBusiness
//   csc /platform:x64 /r:Interop.ORVOBusiness.dll FirstClient.cs       (/platform:x86 with the 32-bit ORVOBusiness.dll)
//   FirstClient [drivers.ini]
//
// In a project: Add Reference, COM, "ORVOBusiness 1.0: data server for operator panels"; platform x64 or x86, not Any CPU.
using System;
using System.Diagnostics;
using System.Runtime.InteropServices;
using System.Threading;
using System.Windows.Forms;
using ORVOBusiness;

static class FirstClient
{
    [STAThread] // the server wants an apartment of one thread
    static int Main(string[] arguments)
    {
        try
        {
            Run(arguments.Length > 0 ? arguments[0] : "drivers.ini");
            Console.WriteLine("DONE");
            return 0;
        }
        catch (Exception failure) // most are COMException; .NET makes others of some numbers, FileNotFoundException for one
        {
            Console.WriteLine("FAILED: error 0x{0:X8}: {1}", failure.HResult, failure.Message);
            if ((uint)failure.HResult == 0x80040154)
                Console.WriteLine("The server is not registered for {0}-bit programs: run register-user.cmd or "
                    + "register-machine.cmd.", 8 * IntPtr.Size);
            return 1;
        }
    }

    static void Run(string driverFile)
    {
        // Create and configure.
        KELDataServer server = new KELDataServer();
        server.SetDriverConfigurationFile(driverFile);
        server.DeviceType = 2; // the line "2=PanelB" of the file

        // Groups and items are added while communication is closed.
        KELDataGroup group = server.KELDataGroups.Add("Line 1");
        KELDataItems items = group.KELDataItems;
        KELDataItem speed = items.Add("WO100", "Speed"); // a word at 100
        KELDataItem recipe = items.Add("ST0020010", "Recipe"); // ten characters at 200

        // Open. A line that does not answer is no error of this call: look at the status.
        server.OpenCommunication();
        if (server.ServerStatus != 3) throw new COMException("communication is not open");
        Console.WriteLine("{0}, status of the line {1}", server.BoardDescription, server.CommunicationStatus);

        // Write and read: arrays that run in parallel. The server fills the arrays that are passed by reference.
        Array handles = new int[] { speed.Handle, recipe.Handle };
        Array values = new object[] { 1500, "Vanilla 3%" };
        Array errors = new int[2];
        group.SyncWrite(ref handles, ref values, ref errors);
        group.SyncRead(ref handles, ref values, ref errors);
        for (int k = 0; k < handles.Length; k++)
            Console.WriteLine("  {0} = {1}, error {2}", items.Item((int)handles.GetValue(k)).ItemName, values.GetValue(k),
                errors.GetValue(k));

        // Subscribe: from now on the group is read every 100 ms, and DataChange brings what is new.
        group.DataChange += OnDataChange;
        group.AsyncWriteComplete += OnAsyncWriteComplete;
        group.Subscribed = true;
        group.UpdateRate = 100;
        group.Active = true;
        for (int k = 1; k <= 3; k++)
        {
            Array one = new int[] { speed.Handle };
            Array next = new object[] { 1500 + 10 * k };
            int transactionId = 0;
            group.AsyncWrite(ref one, ref next, ref transactionId);
            Pump(500);
        }
        group.Active = false;
        group.AsyncWriteComplete -= OnAsyncWriteComplete;
        group.DataChange -= OnDataChange;

        server.CloseCommunication();

        // Catch an error: number, text and source.
        try
        {
            items.Add("XY100", "Wrong");
        }
        catch (COMException failure)
        {
            Console.WriteLine("error 0x{0:X8} from {1}: {2}", failure.ErrorCode, failure.Source, failure.Message);
        }
    }

    static void OnDataChange(ref Array DataHandles, ref Array USERValues)
    {
        for (int k = 0; k < DataHandles.Length; k++)
            Console.WriteLine("  DataChange: item {0} = {1}", DataHandles.GetValue(k), USERValues.GetValue(k));
    }

    static void OnAsyncWriteComplete(int TransactionId, ref Array DataHandles, ref Array DataErrors)
    {
        Console.WriteLine("  AsyncWriteComplete: transaction {0}, error {1}", TransactionId, DataErrors.GetValue(0));
    }

    // Handles the thread's messages. Requests are sent and events arrive only while somebody does this: a program with
    // windows does it all the time (Application.Run), a console program has to.
    static void Pump(int milliseconds)
    {
        Stopwatch spent = Stopwatch.StartNew();
        while (spent.ElapsedMilliseconds < milliseconds)
        {
            Application.DoEvents();
            Thread.Sleep(5); // leaves the processor to others
        }
    }
}
