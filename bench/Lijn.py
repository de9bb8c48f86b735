#!/usr/bin/env python3
"""A slow link in user space, for machines whose kernel has no netem: a TCP proxy from
127.0.0.1:POORT to DOEL that lets the client's bytes out at RATE bit/s in segments of 1448
bytes (a TCP segment's payload) and delivers every segment, both ways, VERTRAGING seconds after
it left; the first byte waits one round trip, as a TCP handshake would. It does not imitate
TCP's slow start or losses; the queue holds at most about 90 KB, like a socket buffer.
Usage: Lijn.py POORT DOELADRES DOELPOORT RATE_BIT_PER_S VERTRAGING_S"""
import asyncio
import sys
import time

poort, doel, doelpoort = int(sys.argv[1]), sys.argv[2], int(sys.argv[3])
rate, vertraging = float(sys.argv[4]), float(sys.argv[5])
SEGMENT = 1448


async def pijp(lezer, schrijver, bits_per_s):
    rij = asyncio.Queue(maxsize=64)

    async def lees():
        vertrek = time.monotonic() + 2 * vertraging  # the handshake's round trip
        while data := await lezer.read(65536):
            for i in range(0, len(data), SEGMENT):
                stuk = data[i:i + SEGMENT]
                vertrek = max(vertrek, time.monotonic())
                if bits_per_s:
                    vertrek += len(stuk) * 8 / bits_per_s
                await rij.put((vertrek + vertraging, stuk))
        await rij.put((time.monotonic() + vertraging, None))

    async def lever():
        while True:
            aankomst, stuk = await rij.get()
            wacht = aankomst - time.monotonic()
            if wacht > 0:
                await asyncio.sleep(wacht)
            if stuk is None:
                schrijver.write_eof() if schrijver.can_write_eof() else schrijver.close()
                return
            schrijver.write(stuk)
            await schrijver.drain()

    await asyncio.gather(lees(), lever())


async def verbinding(klant_lezer, klant_schrijver):
    try:
        lezer, schrijver = await asyncio.open_connection(doel, doelpoort)
        await asyncio.gather(pijp(klant_lezer, schrijver, rate), pijp(lezer, klant_schrijver, 0))
    except (ConnectionError, OSError):
        pass
    finally:
        klant_schrijver.close()


async def main():
    server = await asyncio.start_server(verbinding, "127.0.0.1", poort)
    async with server:
        await server.serve_forever()


asyncio.run(main())
