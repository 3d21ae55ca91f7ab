#!/usr/bin/env python3
"""Writes the capture of the tutorial: a service that nobody knows yet, and two that are known.

    make_unknown.py FILE [--check]

A chat service asks for its name, speaks TLS, fetches a page and sends voice over UDP with a word of
its own in front. --check compares the file with what would be written.
"""
import struct
import sys

from make_traps import ACK, PSH, SYN, client_hello, dns_query, ethernet, ipv4, tcp, udp

CLIENT = (192, 168, 1, 23)
RESOLVER, CHAT, PAGES, VOICE, VIDEO = ((192, 168, 1, 1), (203, 0, 113, 10), (203, 0, 113, 11),
                                       (203, 0, 113, 12), (198, 51, 100, 7))


def query(port, name):
    return [ethernet(ipv4(CLIENT, RESOLVER, 17, udp(port, 53, dns_query(name))))]


def connection(port, server, server_port, data):
    def there(sequence, flags, payload=b""):
        return ethernet(ipv4(CLIENT, server, 6, tcp(port, server_port, sequence, flags, payload)))
    back = ethernet(ipv4(server, CLIENT, 6, tcp(server_port, port, 5000, SYN | ACK)))
    return [there(1000, SYN), back, there(1001, ACK), there(1001, ACK | PSH, data)]


def voice(port, call):
    data = b"CHV1" + struct.pack("!II", call, 160) + bytes(range(160))
    return [ethernet(ipv4(CLIENT, VOICE, 17, udp(port, 3999, data)))] * 2


def request(host, path):
    return b"GET " + path + b" HTTP/1.1\r\nHost: " + host + b"\r\nUser-Agent: Chatter/3.2\r\n\r\n"


def packets():
    made = query(50001, b"gw3.chatter.example")
    made += connection(50002, CHAT, 443, client_hello(b"gw3.chatter.example"))
    made += connection(50003, PAGES, 80, request(b"update.chatter.example", b"/latest"))
    made += voice(50004, 7)
    made += connection(50005, VIDEO, 443, client_hello(b"www.youtube.com"))
    made += connection(50006, PAGES, 443, client_hello(b"media.chatter.example"))
    return made


def pcap(frames):
    made = struct.pack("<IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 65535, 1)
    for number, frame in enumerate(frames):
        made += struct.pack("<IIII", 1700000000 + number // 4, number % 4 * 250000, len(frame),
                            len(frame)) + frame
    return made


if __name__ == "__main__":
    if "--check" in sys.argv:
        with open(sys.argv[1], "rb") as file:
            sys.exit(0 if file.read() == pcap(packets()) else "the capture is another one")
    with open(sys.argv[1], "wb") as file:
        file.write(pcap(packets()))
