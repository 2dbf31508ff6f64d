#!/usr/bin/env python3
"""Writes a capture of any size: others one after the other, again and again, while time goes on.
usage: benchmarks/long_capture.py OUTPUT.dlf BYTES CAPTURE..."""
import struct
import sys
from pathlib import Path

TIME = 8  # where the time stamp of a log packet begins
SECOND = 800 << 16  # of time stamps
BEGIN = 0xD4DD349E0A0CBE  # in 2016


def log_packets(capture):
    """Without frames and radio prefixes."""
    for frame in capture.split(b"\x7e"):
        packet = frame.replace(b"\x7d\x5e", b"\x7e").replace(b"\x7d\x5d", b"\x7d")[:-2]
        packet = packet[8:] if packet.startswith(b"\x98\x01\0\0") else packet
        if packet.startswith(b"\x10\0") and len(packet) >= 16:
            yield packet, struct.unpack_from("<Q", packet, TIME)[0]


def drive(capture):
    """All packets as one piece, where their times are in it, counted from its first, and its length of time."""
    packets = list(log_packets(capture))
    middle = sorted(time for _, time in packets)[len(packets) // 2]
    packets = [(packet, time) for packet, time in packets if abs(time - middle) < 3600 * SECOND]
    first = min(time for _, time in packets)
    piece, places = bytearray(), []
    for packet, time in packets:
        places.append((len(piece) + TIME, time - first))
        piece += packet
    return piece, places, max(offset for _, offset in places) + SECOND


def main(output, size, *captures):
    drives = [drive(Path(capture).read_bytes()) for capture in captures]
    now = BEGIN
    with open(output, "wb") as file:
        while file.tell() < int(size):
            for piece, places, length in drives:
                for at, offset in places:
                    struct.pack_into("<Q", piece, at, now + offset)
                file.write(piece)
                now += length


main(*sys.argv[1:])
