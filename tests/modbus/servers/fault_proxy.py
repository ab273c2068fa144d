#!/usr/bin/python3
"""Stands between a Modbus client and a server on TCP and spoils what it is told to spoil.

Commands come line by line on the standard input, each is answered by one line on the standard output. Everything ends with
the standard input.

    [on FUNCTION] [after N] [once] FAULT
        From now on this happens to each answer (to the first one only), of this function only, when N of them have passed
        unharmed. The faults:
        pass             nothing
        slow MS          comes so much later
        drip MS          comes byte by byte, with so much time between two
        half             the first half comes, the rest never
        half-end         the first half comes, then the connection is closed
        end              the connection is closed instead
        swallow          does not come
        lose             the request does not reach the server
        hold             does not come until "release"
        late             comes when the next request is there, before its own answer
        stale            in its place the answer before comes once more
        twice            comes twice
        exception CODE   in its place the device refuses with this code
        wrong-id         another transaction, in frames of TCP
        wrong-unit       another device
        wrong-function   of another function
        wrong-length N   the length in it is N too large, or too small
        wrong-crc        in frames of RTU
        wrong-bit        one bit of its last data byte is turned, in frames of RTU
        garbage N        in its place come so many bytes without a meaning
    release              what is held back comes now
    say HEX              these bytes come now, unasked, on each connection
    cut                  all connections are closed
    refuse, accept       no new connections; connections again
    count                "requests N answers N connections N bytes N" and the requests of each function: "fN COUNT"
    reset                counts from 0
"""
import argparse
import asyncio
import os
import sys
import threading

FAULTS = {"pass": 0, "slow": 1, "drip": 1, "half": 0, "half-end": 0, "end": 0, "swallow": 0, "lose": 0, "hold": 0, "late": 0,
          "stale": 0, "twice": 0, "exception": 1, "wrong-id": 0, "wrong-unit": 0, "wrong-function": 0, "wrong-length": 1,
          "wrong-crc": 0, "wrong-bit": 0, "garbage": 1}


def crc(data):
    """Of a frame of RTU, as it travels."""
    value = 0xFFFF
    for byte in data:
        value ^= byte
        for _ in range(8):
            value = value >> 1 ^ (0xA001 if value & 1 else 0)
    return value.to_bytes(2, "little")


class TcpFrames:
    """Frames with the header of Modbus TCP."""

    header = 6  # bytes before the device's number

    @staticmethod
    async def read(reader):
        """The next frame; b"" at the end."""
        try:
            head = await reader.readexactly(6)
            return head + await reader.readexactly(int.from_bytes(head[4:6], "big"))
        except (asyncio.IncompleteReadError, ConnectionError):
            return b""

    @staticmethod
    def with_body(frame, body):
        """The same frame around other contents, from the device's number on."""
        return frame[:4] + len(body).to_bytes(2, "big") + body

    @staticmethod
    def spoilt(frame, fault, argument):
        """Wrong in the one way."""
        frame = bytearray(frame)
        if fault == "wrong-id":
            frame[1] ^= 0x55
        elif fault == "wrong-length":
            frame[4:6] = (int.from_bytes(frame[4:6], "big") + argument).to_bytes(2, "big")
        return bytes(frame)


class RtuFrames:
    """Frames of RTU, as they come: over TCP each is sent as one piece."""

    header = 0

    @staticmethod
    async def read(reader):
        """What came; b"" at the end."""
        try:
            return await reader.read(512)
        except ConnectionError:
            return b""

    @staticmethod
    def with_body(_frame, body):
        """A frame of these contents."""
        return body + crc(body)

    @staticmethod
    def spoilt(frame, fault, argument):
        """Wrong in the one way."""
        body = bytearray(frame[:-2])
        if fault == "wrong-length":
            body[2] = body[2] + argument & 0xFF
        elif fault == "wrong-crc":
            return frame[:-1] + bytes([frame[-1] ^ 1])
        elif fault == "wrong-bit":
            return frame[:-3] + bytes([frame[-3] ^ 1]) + frame[-2:]
        return bytes(body) + crc(body)


class Fault:
    """What happens to answers."""

    def __init__(self, words):
        self.function = None
        self.after = 0
        self.once = False
        words = list(words)
        while words and words[0] in ("on", "after", "once"):
            word = words.pop(0)
            if word == "once":
                self.once = True
            elif word == "on":
                self.function = int(words.pop(0))
            else:
                self.after = int(words.pop(0))
        self.name = words.pop(0)
        if len(words) != FAULTS[self.name]:
            raise ValueError(f"{self.name} takes {FAULTS[self.name]} arguments")
        self.argument = int(words[0]) if words else 0

    def applies(self, function):
        """Asked once for each answer."""
        if self.name == "pass" or self.function not in (None, function):
            return False
        if self.after > 0:
            self.after -= 1
            return False
        return True


class Connection:
    """One client, and its own connection to the server."""

    def __init__(self, proxy, client):
        self.proxy = proxy
        self.frames = proxy.frames
        self.from_client, self.to_client = client
        self.to_server = None
        self.held = []
        self.held_until_request = False

    async def run(self):
        """Until one of the two has enough of it."""
        try:
            from_server, self.to_server = await asyncio.open_connection("127.0.0.1", self.proxy.target)
            pumps = [asyncio.create_task(self.requests()), asyncio.create_task(self.answers(from_server))]
            await asyncio.wait(pumps, return_when=asyncio.FIRST_COMPLETED)
            for pump in pumps:
                pump.cancel()
        except ConnectionError:
            pass
        self.close()

    def close(self):
        """At once, whatever is on its way."""
        for writer in (self.to_client, self.to_server):
            if writer is not None:
                writer.transport.abort()

    async def cut(self):
        """The same, and until the client's end is gone."""
        self.close()
        try:
            await self.to_client.wait_closed()
        except ConnectionError:
            pass

    async def requests(self):
        """From the client to the server."""
        while frame := await self.frames.read(self.from_client):
            function = frame[self.frames.header + 1] if len(frame) > self.frames.header + 1 else 0
            self.proxy.count_request(function, len(frame))
            print("request", frame.hex(), file=sys.stderr, flush=True)
            if self.held_until_request:
                self.release()
            fault = self.proxy.fault
            if fault.name == "lose" and fault.applies(function):
                self.proxy.done(fault)
                continue
            self.to_server.write(frame)

    async def answers(self, from_server):
        """From the server to the client."""
        while frame := await self.frames.read(from_server):
            print("answer ", frame.hex(), file=sys.stderr, flush=True)
            self.proxy.counts["answers"] += 1
            fault = self.proxy.fault
            function = frame[self.frames.header + 1] & 0x7F if len(frame) > self.frames.header + 1 else 0
            if fault.name != "lose" and fault.applies(function):
                self.proxy.done(fault)
                print("fault  ", fault.name, fault.argument, file=sys.stderr, flush=True)
                if not await self.spoil(frame, fault):
                    return
            else:
                self.send(frame)
            self.proxy.previous = frame

    def send(self, data):
        """Bytes for the client."""
        self.proxy.counts["bytes"] += len(data)
        self.to_client.write(data)

    async def spoil(self, frame, fault):
        """One answer; false when the connection ends with it."""
        header = self.frames.header
        name, half = fault.name, len(frame) // 2
        if name == "slow":
            await asyncio.sleep(fault.argument / 1000)
            self.send(frame)
        elif name == "drip":
            for byte in frame:
                self.send(bytes([byte]))
                await asyncio.sleep(fault.argument / 1000)
        elif name == "half":
            self.send(frame[:half])
        elif name == "half-end":
            self.send(frame[:half])
            await self.to_client.drain()
            return False
        elif name == "end":
            return False
        elif name in ("hold", "late"):
            self.held.append(frame)
            self.held_until_request = name == "late"
        elif name == "stale":
            self.send(self.proxy.previous)
        elif name == "twice":
            self.send(frame + frame)
        elif name == "exception":
            self.send(self.frames.with_body(frame, bytes([frame[header], frame[header + 1] | 0x80, fault.argument])))
        elif name == "garbage":
            self.send(bytes((each * 89 + 41) & 0xFF for each in range(fault.argument)))
        elif name in ("wrong-unit", "wrong-function"):
            body = bytearray(frame[header:] if header else frame[:-2])
            body[0 if name == "wrong-unit" else 1] ^= 0x06
            self.send(self.frames.with_body(frame, bytes(body)))
        elif name != "swallow":
            self.send(self.frames.spoilt(frame, name, fault.argument))
        return True

    def release(self):
        """What was held back."""
        for frame in self.held:
            self.send(frame)
        self.held.clear()
        self.held_until_request = False


class Proxy:
    """Listens, counts, and knows what is to be spoilt."""

    def __init__(self, options):
        self.target = options.target
        self.port = options.port
        self.frames = RtuFrames if options.rtu else TcpFrames
        self.fault = Fault(["pass"])
        self.previous = b""
        self.connections = set()
        self.server = None
        self.counts = {}
        self.functions = {}
        self.reset()

    def reset(self):
        """Counts from 0."""
        self.counts = {"requests": 0, "answers": 0, "connections": 0, "bytes": 0}
        self.functions = {}

    def count_request(self, function, size):
        """Of one request that came."""
        self.counts["requests"] += 1
        self.counts["bytes"] += size
        self.functions[function] = self.functions.get(function, 0) + 1

    def done(self, fault):
        """The fault has happened."""
        if fault.once and fault is self.fault:
            self.fault = Fault(["pass"])

    async def listen(self):
        """On the same port as before."""
        if self.server is None:
            self.server = await asyncio.start_server(self.serve, "127.0.0.1", self.port, reuse_address=True)
            self.port = self.server.sockets[0].getsockname()[1]

    async def serve(self, reader, writer):
        """One connection."""
        self.counts["connections"] += 1
        connection = Connection(self, (reader, writer))
        self.connections.add(connection)
        await connection.run()
        self.connections.discard(connection)

    async def command(self, words):
        """One line; the answer to it."""
        name = words[0]
        if name == "release":
            for connection in self.connections:
                connection.release()
        elif name == "say":
            for connection in self.connections:
                connection.send(bytes.fromhex(words[1]))
        elif name == "cut":
            await asyncio.gather(*[connection.cut() for connection in list(self.connections)])
        elif name == "refuse":
            if self.server is not None:
                self.server.close()
                self.server = None
        elif name == "accept":
            await self.listen()
        elif name == "count":
            counted = [f"{name} {count}" for name, count in self.counts.items()]
            return " ".join(counted + [f"f{function} {count}" for function, count in sorted(self.functions.items())])
        elif name == "reset":
            self.reset()
        else:
            self.fault = Fault(words)
        return "ok"

    async def obey(self, line):
        """One line with its answer."""
        try:
            answer = await self.command(line.split())
        except (ValueError, KeyError, IndexError, OSError) as error:
            answer = f"error {error!r}"
        print(answer, flush=True)


def read_commands(proxy, loop):
    """A thread of its own: the standard input may be anything."""
    for line in sys.stdin:
        asyncio.run_coroutine_threadsafe(proxy.obey(line), loop).result()
    os._exit(0)  # pylint: disable=protected-access


async def main():
    """The command line."""
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--target", type=int, required=True, metavar="PORT", help="of the server, on 127.0.0.1")
    parser.add_argument("--port", type=int, default=0, help="to listen on; 0: a free one, which is printed")
    parser.add_argument("--rtu", action="store_true", help="frames of RTU")
    proxy = Proxy(parser.parse_args())
    await proxy.listen()
    print("listening", proxy.port, flush=True)
    threading.Thread(target=read_commands, args=(proxy, asyncio.get_running_loop()), daemon=True).start()
    await asyncio.Event().wait()


asyncio.run(main())
