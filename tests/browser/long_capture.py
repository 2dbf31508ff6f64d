"""A capture of any size: real ones one after the other, again and again, as time goes on."""
import struct

TIME = 8  # of a log packet, where its time stamp begins
SECOND = 800 << 16  # of a time stamp


def log_packets(capture):
    """Without their frames and radio prefixes."""
    for frame in capture.split(b"\x7e"):
        packet = frame.replace(b"\x7d\x5e", b"\x7e").replace(b"\x7d\x5d", b"\x7d")[:-2]
        packet = packet[8:] if packet.startswith(b"\x98\x01\0\0") else packet
        if packet.startswith(b"\x10\0") and len(packet) >= 16:
            yield packet


def write(path, captures, size):
    drives = []
    for capture in captures:
        packets = list(log_packets(capture.read_bytes()))
        times = [struct.unpack_from("<Q", packet, TIME)[0] for packet in packets]
        middle = sorted(times)[len(times) // 2]
        near = [(p, t) for p, t in zip(packets, times) if abs(t - middle) < 3600 * SECOND]
        first = min(t for _, t in near)
        at, places = 0, []
        for packet, time in near:
            places.append((at + TIME, time - first))
            at += len(packet)
        drives.append((bytearray(b"".join(p for p, _ in near)), places, max(t for _, t in near) - first + SECOND))
    with open(path, "wb") as file:
        now = 0xD4DD349E0A0CBE  # in 2016
        while file.tell() < size:
            for packets, places, length in drives:
                for at, offset in places:
                    struct.pack_into("<Q", packets, at, now + offset)
                file.write(packets)
                now += length
