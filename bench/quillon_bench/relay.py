# SPDX-License-Identifier: MIT
"""A relay before a web server: delays bytes, forwards them in pieces, and cuts connections.

It delays what is sent, not the handshake of TCP. What it holds back for one connection is bounded, so that the server
is slowed down as by a real link. Runs as a program of its own: python3 -m quillon_bench.relay --help."""

import argparse
import asyncio
import socket
import struct

READ_SIZE = 64 << 10
INCOMPLETE_SECONDS = 0.02  # after which a piece is forwarded that is not complete
HELD_BACK = 4 << 20  # bytes for each connection: more than 200 Mbit/s make in 100 ms


class Relay:
    def __init__(self, options: argparse.Namespace):
        self._options = options
        self._forwarded = 0
        self._cuts = sorted(options.cut_at)

    async def serve(self) -> None:
        server = await asyncio.start_server(self._accept, self._options.address, 0, limit=READ_SIZE)
        print(server.sockets[0].getsockname()[1], flush=True)
        await server.serve_forever()

    async def _accept(self, client_reader: asyncio.StreamReader, client_writer: asyncio.StreamWriter) -> None:
        host, _, port = self._options.to.rpartition(":")
        reader, writer = await asyncio.open_connection(host, int(port), limit=READ_SIZE)
        upwards = asyncio.create_task(self._pump(client_reader, writer, None))
        downwards = asyncio.create_task(self._pump(reader, client_writer, self._options.piece))
        await asyncio.wait({upwards, downwards}, return_when=asyncio.FIRST_EXCEPTION)
        for task in (upwards, downwards):
            task.cancel()
        for stream in (writer, client_writer):
            stream.transport.abort()

    async def _pump(self, reader: asyncio.StreamReader, writer: asyncio.StreamWriter, piece: int | None) -> None:
        """Forwards one direction to its end; `piece` is None for requests, which are never cut."""
        waiting: asyncio.Queue[tuple[float, bytes]] = asyncio.Queue(HELD_BACK // READ_SIZE)
        filling = asyncio.create_task(self._fill(reader, waiting))
        loop = asyncio.get_running_loop()
        held, is_last = b"", False
        try:
            while True:
                try:
                    due, data = await asyncio.wait_for(waiting.get(), INCOMPLETE_SECONDS if held else None)
                    await asyncio.sleep(max(0.0, due - loop.time()))
                    held, is_last = held + data, not data
                    is_complete = is_last
                except asyncio.TimeoutError:
                    is_complete = True
                while held and (not piece or len(held) >= piece or is_complete):
                    part, held = (held[:piece], held[piece:]) if piece else (held, b"")
                    if piece is not None and self._is_cut(len(part)):
                        reset(writer)
                        raise ConnectionResetError
                    writer.write(part)
                    await writer.drain()
                    if piece:
                        await asyncio.sleep(self._options.pause)
                if is_last:
                    writer.write_eof()
                    return
        finally:
            filling.cancel()

    async def _fill(self, reader: asyncio.StreamReader, waiting: asyncio.Queue[tuple[float, bytes]]) -> None:
        loop = asyncio.get_running_loop()
        data = b"-"
        while data:
            try:
                data = await reader.read(READ_SIZE)
            except ConnectionError:
                data = b""
            await waiting.put((loop.time() + self._options.delay, data))

    def _is_cut(self, count: int) -> bool:
        """Whether the connection that these bytes go to is the next one to be cut. The bytes of all connections
        count, so that every contender is cut at the same points of its download."""
        self._forwarded += count
        if self._cuts and self._forwarded >= self._cuts[0]:
            self._cuts.pop(0)
            return True
        return False


def reset(writer: asyncio.StreamWriter) -> None:
    connection = writer.get_extra_info("socket")
    connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
    writer.transport.abort()


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--address", default="127.0.0.1")
    parser.add_argument("--to", required=True, metavar="HOST:PORT")
    parser.add_argument("--delay", type=float, default=0, help="seconds each way")
    parser.add_argument("--piece", type=int, default=0, help="bytes of one piece of an answer; 0: as they come")
    parser.add_argument("--pause", type=float, default=0, help="seconds after each piece")
    parser.add_argument("--cut-at", type=int, nargs="*", default=[], help="bytes of all answers after which to cut")
    asyncio.run(Relay(parser.parse_args()).serve())


if __name__ == "__main__":
    main()
