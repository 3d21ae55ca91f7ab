#!/usr/bin/env python3
"""Flows of a capture by tshark's fields, the plain way.

    plain_flows.py CAPTURE

prints, and plain_flows(path) returns, what each pair of innermost ends exchanged: packets, bytes,
names, who is the client, the first payload of each side, and which service of services.pdd that is.
It is what the flows of the product are held against, and shares nothing with it.
"""

import collections
import os
import re
import subprocess
import sys

FIELDS = ["frame.protocols", "frame.len", "ip.src", "ip.dst", "ipv6.src", "ipv6.dst", "tcp.srcport",
          "tcp.dstport", "udp.srcport", "udp.dstport", "http.host", "dns.qry.name",
          "tls.handshake.extensions_server_name", "tcp.flags", "tls.handshake.type",
          "http.request.method", "dns.flags.response", "sip.Method", "sip.to.host", "tcp.payload",
          "udp.payload"]

# The services of services.pdd: by port of the responder, by name, by the beginning of payload.
PORTS = {("udp", 53): "dns", ("tcp", 53): "dns", ("tcp", 80): "http", ("tcp", 443): "ssl",
         ("udp", 443): "quic", ("tcp", 25): "smtp", ("tcp", 21): "ftp", ("tcp", 143): "imap",
         ("udp", 5060): "sip", ("tcp", 1883): "mqtt", ("tcp", 445): "smb", ("tcp", 139): "smb",
         ("udp", 67): "dhcp", ("udp", 137): "netbios", ("udp", 138): "netbios"}
NAMES = [("sni", r"(.*\.)?(google|gstatic)\.com", "google"),
         ("host", r"(www\.)?(ethereal\.com|wireshark\.org)", "wireshark"),
         ("sip", r"(.*\.)?brujula\.net", "brujula")]
PAYLOADS = [("udp", "client", b"d1:ad2:id20:", "torrent"), ("tcp", "server", b"SSH-2.0-", "banner"),
            ("tcp", "server", b"SSH-1.99-", "banner")]


class Flow:
    """What two ends exchanged."""

    def __init__(self):
        self.packets = self.bytes = 0
        self.names = collections.defaultdict(set)
        self.client, self.trust = None, -1
        self.payload = {}

    def say_client(self, end, trust):
        if trust > self.trust:
            self.client, self.trust = end, trust

    def service(self, transport, ends):
        """The service, and what tells it."""
        server = ends[1] if ends[0] == self.client else ends[0]
        for kind, pattern, service in NAMES:
            if any(re.fullmatch(pattern, name, re.IGNORECASE) for name in self.names[kind]):
                return service, "name"
        for kind, side, start, service in PAYLOADS:
            end = self.client if side == "client" else server
            if kind == transport and self.payload.get(end, b"").startswith(start):
                return service, "payload"
        service = PORTS.get((transport, server[1]))
        return service, service and "port"


def packets(path):
    """Yields the layers and fields of each packet."""
    arguments = ["tshark", "-n", "-r", path, "-T", "fields", "-E", "aggregator=|", "-E",
                 "separator=/t", "-o", "tcp.reassemble_out_of_order:TRUE"]
    for field in FIELDS:
        arguments += ["-e", field]
    done = subprocess.run(arguments, capture_output=True, check=True, text=True,
                          env={**os.environ, "LC_ALL": "C.UTF-8"})
    for line in done.stdout.splitlines():
        columns = dict(zip(FIELDS, (text.split("|") for text in line.split("\t"))))
        layers = columns["frame.protocols"][0].split(":")
        for icmp in ("icmp", "icmpv6"):  # what an error carries is no packet
            if icmp in layers:
                layers = layers[:layers.index(icmp) + 1]
        yield layers, columns


def ends_of(layers, columns):
    """The transport and the innermost ends of a packet, its sender first; None for others."""
    versions = [layer for layer in layers if layer in ("ip", "ipv6")]
    if not versions:
        return None
    innermost = versions[-1]
    at = versions.count(innermost) - 1
    carried = layers[len(layers) - layers[::-1].index(innermost):]
    transport = next((layer for layer in carried if not layer.startswith("ipv6.")), "")
    if transport not in ("tcp", "udp"):
        return None
    at_ports = layers.count(transport) - 1
    ends = [(columns[f"{innermost}.{end}"][at], int(columns[f"{transport}.{end}port"][at_ports]))
            for end in ("src", "dst")]
    return transport, ends[0], ends[1]


def take(flow, transport, layers, columns, sender, receiver):
    flow.packets += 1
    flow.bytes += int(columns["frame.len"][0])
    flow.say_client(sender, 0)
    if ("1" in columns["tls.handshake.type"] or columns["http.request.method"][0]
            or columns["dns.flags.response"][0] in ("0", "False") or columns["sip.Method"][0]):
        flow.say_client(sender, 1)
    if transport == "tcp":
        flags = int(columns["tcp.flags"][-1], 16)
        if flags & 2:
            flow.say_client(receiver if flags & 16 else sender, 2)
    payload = bytes.fromhex(columns[transport + ".payload"][-1])
    if payload:
        flow.payload.setdefault(sender, payload)
    flow.names["sni"] |= set(columns["tls.handshake.extensions_server_name"])
    flow.names["dns"] |= set(columns["dns.qry.name"]) - {"<Root>"}
    flow.names["sip"] |= set(columns["sip.to.host"][:1])
    if "http" in layers:
        flow.names["host"] |= {host.rsplit(":", 1)[0] for host in columns["http.host"]}
    for names in flow.names.values():
        names.discard("")


def plain_flows(path):
    """Returns the flows by transport and ends, the smaller end first."""
    flows = collections.defaultdict(Flow)
    for layers, columns in packets(path):
        found = ends_of(layers, columns)
        if found is not None:
            transport, sender, receiver = found
            key = (transport,) + tuple(sorted((sender, receiver)))
            take(flows[key], transport, layers, columns, sender, receiver)
    return flows


def main():
    for (transport, *ends), flow in plain_flows(sys.argv[1]).items():
        print(transport, *ends, flow.packets, flow.bytes, flow.client, *flow.service(transport, ends),
              dict(flow.names))


if __name__ == "__main__":
    main()
