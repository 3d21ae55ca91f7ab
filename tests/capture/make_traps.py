#!/usr/bin/env python3
"""Writes small captures, each with a trap for readers of flows, into a folder.

    make_traps.py FOLDER

Every byte is put together here; no capture tool is involved.
"""

import os
import struct
import sys

CLIENT, SERVER, ROUTER = (10, 0, 0, 1), (10, 0, 0, 2), (10, 0, 0, 254)
OUTER_A, OUTER_B = (172, 16, 0, 1), (172, 16, 0, 2)
CLIENT6 = bytes.fromhex("20010db8000000000000000000000001")
SERVER6 = bytes.fromhex("20010db8000000000000000000000002")
FIN, SYN, RST, PSH, ACK = 1, 2, 4, 8, 16


def ethernet(payload, kind=0x0800):
    return bytes(12) + struct.pack("!H", kind) + payload


def ipv4(source, target, protocol, payload, tos=0):
    return struct.pack("!BBHHHBBH4s4s", 0x45, tos, 20 + len(payload), 1, 0x4000, 64, protocol, 0,
                       bytes(source), bytes(target)) + payload


def ipv6(source, target, following, payload):
    return struct.pack("!IHBB16s16s", 6 << 28, len(payload), following, 64, source, target) + payload


def tcp(source, target, sequence, flags, payload=b""):
    return struct.pack("!HHIIBBHHH", source, target, sequence, 1, 0x50, flags, 8192, 0, 0) + payload


def udp(source, target, payload):
    return struct.pack("!HHHH", source, target, 8 + len(payload), 0) + payload


def sent(port, sequence, flags, payload=b"", server=80):
    return ethernet(ipv4(CLIENT, SERVER, 6, tcp(port, server, sequence, flags, payload)))


def answered(port, sequence, flags, payload=b"", server=80):
    return ethernet(ipv4(SERVER, CLIENT, 6, tcp(server, port, sequence, flags, payload)))


def client_hello(name):
    entry = b"\0" + struct.pack("!H", len(name)) + name
    names = struct.pack("!H", len(entry)) + entry
    extension = struct.pack("!HH", 0, len(names)) + names
    body = (b"\x03\x03" + bytes(32) + b"\0" + b"\0\x02\x13\x01" + b"\x01\0"
            + struct.pack("!H", len(extension)) + extension)
    handshake = b"\x01" + struct.pack("!I", len(body))[1:] + body
    return b"\x16\x03\x01" + struct.pack("!H", len(handshake)) + handshake


def dns_query(name):
    labels = b"".join(bytes([len(label)]) + label for label in name.split(b".")) + b"\0"
    return struct.pack("!HHHHHH", 7, 0x0100, 1, 0, 0, 0) + labels + struct.pack("!HH", 1, 1)


def handshake(port, server=80):
    return [sent(port, 1000, SYN, b"", server), answered(port, 5000, SYN | ACK, b"", server),
            sent(port, 1001, ACK, b"", server)]


def vxlan(inner, network, outer_source, outer_target):
    header = struct.pack("!II", 0x08000000, network << 8)
    return ethernet(ipv4(outer_source, outer_target, 17, udp(51000, 4789, header + inner)))


def tunnel():
    """The same five-tuple in three networks, the last two times with the same sequence numbers."""
    request = b"GET / HTTP/1.1\r\nHost: %s\r\n\r\n"
    packets = []
    for network, name, first in ((7, b"seven.example", 1000), (8, b"eight.example", 900000),
                                 (9, b"nine.example", 900000)):
        packets += [vxlan(sent(4000, first, SYN), network, OUTER_A, OUTER_B),
                    vxlan(answered(4000, 5000, SYN | ACK), network, OUTER_B, OUTER_A),
                    vxlan(sent(4000, first + 1, ACK | PSH, request % name), network, OUTER_A,
                          OUTER_B)]
    return packets


def tunnels_at_once():
    """The same, packet by packet in turn, with sequence numbers far apart."""
    request = b"GET / HTTP/1.1\r\nHost: %s\r\n\r\n"
    packets = []
    for step in range(4):
        for network, name, first in ((7, b"seven.example", 1000), (8, b"eight.example", 900000000)):
            text = request % name
            inner = [sent(4000, first, SYN), answered(4000, 5000, SYN | ACK),
                     sent(4000, first + 1, ACK | PSH, text),
                     sent(4000, first + 1 + len(text), ACK | PSH, request % (b"two." + name))][step]
            ends = (OUTER_B, OUTER_A) if step == 1 else (OUTER_A, OUTER_B)
            packets.append(vxlan(inner, network, *ends))
    return packets


def icmp_error():
    """A query, and the error about it, which carries the query: no second query."""
    query = ipv4(CLIENT, SERVER, 17, udp(4001, 53, dns_query(b"lost.example")))
    error = struct.pack("!BBHI", 3, 3, 0, 0) + query
    return [ethernet(query), ethernet(ipv4(ROUTER, CLIENT, 1, error))]


def split_hello():
    """A ClientHello in three segments, the last one before the second."""
    hello = client_hello(b"split.example")
    cuts = [hello[:20], hello[20:50], hello[50:]]
    first, second, third = [sent(4002, 1001 + at, ACK | PSH, cut, 443)
                            for at, cut in zip((0, 20, 50), cuts)]
    return handshake(4002, 443) + [first, third, second]


def retransmission():
    """A request of which the beginning is sent twice, and a gap behind."""
    packets = handshake(4003, 4444)
    return packets + [sent(4003, 1001, ACK | PSH, b"HELLO", 4444),
                      sent(4003, 1001, ACK | PSH, b"HELLO", 4444),
                      sent(4003, 1004, ACK | PSH, b"LO WORLD", 4444),
                      sent(4003, 1020, ACK | PSH, b"BEHIND THE GAP", 4444)]


def hop_by_hop():
    """An echo request behind a hop-by-hop header."""
    options = struct.pack("!BBBBI", 58, 0, 1, 4, 0)
    echo = struct.pack("!BBHHH", 128, 0, 0, 1, 1)
    return [ethernet(ipv6(CLIENT6, SERVER6, 0, options + echo), 0x86DD)]


def two_requests():
    """Two requests in one frame, with ports in their hosts, and a name with a zero byte."""
    requests = (b"GET /one HTTP/1.1\r\nHost: one.example:80\r\n\r\n"
                b"GET /two HTTP/1.1\r\nHost: two.example:8080\r\n\r\n")
    zero = b"GET /three HTTP/1.1\r\nHost: th\0ree.example\r\n\r\n"
    return handshake(4004) + [sent(4004, 1001, ACK | PSH, requests),
                              sent(4004, 1001 + len(requests), ACK | PSH, zero)]


def capitals():
    """A query in capitals; its answer comes first, so that the server sends the first packet."""
    query = dns_query(b"WWW.YouTube.COM")
    answer = query[:2] + b"\x81\x80" + query[4:]
    return [ethernet(ipv4(SERVER, CLIENT, 17, udp(53, 4005, answer))),
            ethernet(ipv4(CLIENT, SERVER, 17, udp(4005, 53, query)))]


def generations():
    """One five-tuple used for two connections."""
    packets = []
    for base in (1000, 900000):
        packets += [sent(4006, base, SYN, b"", 4444), answered(4006, 5000, SYN | ACK, b"", 4444),
                    sent(4006, base + 1, ACK | FIN, b"one" if base == 1000 else b"two", 4444),
                    answered(4006, 5001, ACK | FIN, b"", 4444)]
    return packets


def late_word():
    """A word behind 590 bytes of payload, in the second of two segments."""
    payload = b"x" * 590 + b"behind" + b"y" * 100
    return handshake(4007, 4444) + [sent(4007, 1001, ACK | PSH, payload[:300], 4444),
                                    sent(4007, 1301, ACK | PSH, payload[300:], 4444)]


def rtsp():
    """A request and its answer, with agents that tshark has no fields for."""
    request = (b"OPTIONS rtsp://cam.example:554/live RTSP/1.0\r\nCSeq: 1\r\n"
               b"User-Agent: Player \xff 1\r\n\r\n")
    answer = b"RTSP/1.0 200 OK\r\nCSeq: 1\r\nserver:Streamer/2 \r\n\r\n"
    return handshake(4008, 554) + [sent(4008, 1001, ACK | PSH, request, 554),
                                   answered(4008, 5001, ACK | PSH, answer, 554)]


def amf_string(text):
    return struct.pack("!H", len(text)) + text


def rtmp():
    """A connection that says on which page the player stands."""
    number = b"\x00" + struct.pack("!d", 1)
    properties = b"".join(amf_string(name) + b"\x02" + amf_string(value) for name, value in
                          ((b"app", b"pageUrl"), (b"pageUrl", b"http://page.example/watch")))
    command = b"\x02" + amf_string(b"connect") + number + b"\x03" + properties + b"\0\0\x09"
    chunk = (b"\x03" + bytes(3) + struct.pack("!I", len(command))[1:] + b"\x14" + bytes(4)
             + command)
    greeting = b"\x03" + bytes(1536)
    packets = handshake(4009, 1935)
    client, server = 1001, 5001
    for flags, is_client, payload in ((ACK, True, greeting), (ACK, False, greeting + bytes(1536)),
                                      (ACK | PSH, True, bytes(1536)), (ACK | PSH, True, chunk)):
        if is_client:
            packets.append(sent(4009, client, flags, payload, 1935))
            client += len(payload)
        else:
            packets.append(answered(4009, server, flags, payload, 1935))
            server += len(payload)
    return packets


TRAPS = [tunnel, tunnels_at_once, icmp_error, split_hello, retransmission, hop_by_hop, two_requests,
         capitals, generations, late_word, rtsp, rtmp]


def main():
    for trap in TRAPS:
        with open(os.path.join(sys.argv[1], trap.__name__ + ".pcap"), "wb") as file:
            file.write(struct.pack("<IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 65535, 1))
            for second, packet in enumerate(trap()):
                file.write(struct.pack("<IIII", 1700000000 + second, 0, len(packet), len(packet)))
                file.write(packet)


if __name__ == "__main__":
    main()
