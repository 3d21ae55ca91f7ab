#!/usr/bin/env python3
"""Flows of captures, held against what a plain script makes of tshark's fields.

    captures_test.py BIN [some]

BIN is the folder of the programs. The captures with traps are made by make_traps.py and what is
expected of them is written down here; those of ../shared/data/captures are optional. With "some", a
quarter of those is for flows, another one for what they are classified as. Without tshark everything
is skipped, visibly.
"""

import collections
import glob
import json
import os
import select
import shutil
import struct
import subprocess
import sys
import tempfile
import unittest

import make_traps
import plain_flows

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.normpath(os.path.join(HERE, "..", ".."))
CAPTURES = os.path.join(ROOT, "..", "shared", "data", "captures")
PROGRAMS = os.path.abspath(sys.argv.pop(1)) if len(sys.argv) > 1 else ""
SOME = sys.argv[1:] == ["some"]
if SOME:
    sys.argv.pop()
PDATA = os.path.join(PROGRAMS, "pdata")

def flows_of(path, *options, source=None):
    """Returns the flows that pdata finds, and its summary."""
    done = subprocess.run([PDATA, "flows", "--json", *options, path], input=source, check=False,
                          capture_output=True)
    lines = [json.loads(line) for line in done.stdout.splitlines()]
    return lines[:-1], lines[-1]["summary"], done


def values(flow, name, way="cts"):
    """The values of an attribute in a flow's line, as they are written there."""
    start = f"{name} {way} "
    return [value[len(start):] for value in flow["flow"].split("; ") if value.startswith(start)]


class Pipes(unittest.TestCase):
    def test_a_flow_is_answered_while_its_log_goes_on(self):
        record = {"event_type": "http", "src_ip": "10.0.0.1", "src_port": 1, "proto": "TCP",
                  "dest_ip": "10.0.0.2", "dest_port": 80, "http": {"hostname": "a.example"}}
        with subprocess.Popen([PDATA, "flows", "-"], stdin=subprocess.PIPE,
                              stdout=subprocess.PIPE) as pipe:
            for _ in range(2):
                pipe.stdin.write(json.dumps(record).encode() + b"\n")
                pipe.stdin.flush()
                ready, _, _ = select.select([pipe.stdout], [], [], 20)
                self.assertTrue(ready)
                self.assertIn(b"a.example", pipe.stdout.readline())
            pipe.stdin.close()

    @unittest.skipIf(shutil.which("tshark") is None, "tshark is not installed")
    def test_a_flow_is_answered_while_its_capture_goes_on(self):
        """A flow ends 120 seconds behind its last packet, which the next packet tells."""
        with subprocess.Popen([PDATA, "flows", "-"], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                              bufsize=0) as pipe:
            pipe.stdin.write(struct.pack("<IIQII", 0xA1B2C3D4, 0x00040002, 0, 65535, 1))
            for number in range(3):
                frame = make_traps.ethernet(make_traps.ipv4(
                    make_traps.CLIENT, (10, 0, 0, 2 + number), 17,
                    make_traps.udp(50000, 9, b"data")))
                pipe.stdin.write(struct.pack("<IIII", 121 * number, 0, len(frame), len(frame)) +
                                 frame)
                if number > 0:
                    ready, _, _ = select.select([pipe.stdout], [], [], 60)
                    self.assertTrue(ready)
                    self.assertIn(f"ip:address cts 10.0.0.{1 + number};".encode(),
                                  pipe.stdout.read(4096))
            pipe.stdin.close()
            self.assertIn(b"10.0.0.4", pipe.stdout.read())


@unittest.skipIf(shutil.which("tshark") is None, "tshark is not installed")
class Traps(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        subprocess.run([sys.executable, os.path.join(HERE, "make_traps.py"), cls.folder.name],
                       check=True)

    @classmethod
    def tearDownClass(cls):
        cls.folder.cleanup()

    def path(self, name):
        return os.path.join(self.folder.name, name + ".pcap")

    def flows(self, name, *options):
        flows, summary, done = flows_of(self.path(name), *options)
        self.assertEqual(done.stderr, b"")
        self.assertEqual(done.returncode, 0)
        self.assertEqual(summary["flows"], len(flows))
        return flows

    def test_one_five_tuple_in_several_tunnels_is_several_flows(self):
        flows = self.flows("tunnel")
        self.assertEqual([flow["tunnel"][-2:] for flow in flows], [" 7", " 8", " 9"])
        for flow, name in zip(flows, ("seven", "eight", "nine")):
            self.assertEqual(flow["initiator"], {"address": "10.0.0.1", "port": 4000})
            self.assertEqual(flow["packets"], 3)
            self.assertIn(name + ".example", values(flow, "tcp:stream")[0])
        # To tshark, the segments of the last one repeat those of the one before.
        for flow, name in zip(flows[:2], ("seven", "eight")):
            self.assertEqual(values(flow, "http:server"), [f'"{name}.example"'])

    def test_tunnels_in_use_at_once_share_no_names(self):
        for flow in self.flows("tunnels_at_once"):
            name = "seven" if flow["tunnel"].endswith(" 7") else "eight"
            other = "eight" if name == "seven" else "seven"
            self.assertEqual(flow["packets"], 4)
            self.assertNotIn(other, flow["flow"])
            stream, = values(flow, "tcp:stream")
            self.assertIn(name + ".example", stream)
            self.assertIn("two." + name, stream)

    def test_an_icmp_error_is_no_packet_of_what_it_is_about(self):
        query, error = self.flows("icmp_error")
        self.assertEqual((query["transport"], query["packets"]), ("udp", 1))
        self.assertEqual(values(query, "dns:query"), ['"lost.example"'])
        self.assertEqual((error["transport"], error["packets"]), ("icmp", 1))
        self.assertEqual(values(error, "icmp:typeval"), ["3"])
        self.assertNotIn("lost.example", error["flow"])

    def test_a_hello_out_of_order(self):
        flow, = self.flows("split_hello")
        self.assertEqual(values(flow, "ssl:common_name"), ['"split.example"'])
        stream, = values(flow, "tcp:stream")
        self.assertTrue(stream.startswith('"\\x16\\x03\\x01'))
        self.assertTrue(stream.endswith('split.example"'))

    def test_what_is_sent_twice_counts_once_and_a_gap_ends(self):
        flow, = self.flows("retransmission")
        self.assertEqual(values(flow, "tcp:stream"), ['"HELLO WORLD"...'])

    def test_the_payload_is_bounded(self):
        flow, = self.flows("retransmission", "--payload", "8")
        self.assertEqual(values(flow, "tcp:stream"), ['"HELLO WO"...'])

    def test_the_payload_is_as_long_as_the_pdb_asks_for(self):
        services = write_services(self.folder.name)
        done = subprocess.run([PDATA, "classify", services, self.path("late_word")], check=True,
                              capture_output=True)
        self.assertEqual(done.stdout.split(b"\t")[6::2], [b"late", b"payload\n"])

    def test_a_hop_by_hop_header(self):
        flow, = self.flows("hop_by_hop")
        self.assertEqual(flow["transport"], "icmp6")
        self.assertEqual(values(flow, "ip6:protoid"), ["58"])
        self.assertEqual(values(flow, "icmp6:type"), ["128"])

    def test_two_requests_in_a_frame_and_a_zero_byte(self):
        flow, = self.flows("two_requests")
        self.assertEqual(values(flow, "http:uri"), ['"/one"', '"/two"', '"/three"'])
        self.assertEqual(values(flow, "http:server"),
                         ['"one.example"', '"two.example"', '"th"...'])

    def test_names_keep_their_case_and_the_asker_is_the_client(self):
        flow, = self.flows("capitals")
        self.assertEqual(flow["initiator"]["port"], 4005)
        self.assertEqual(values(flow, "dns:query"), ['"WWW.YouTube.COM"'])

    def test_agents_and_pages_that_stand_in_no_field_of_their_own(self):
        flow, = self.flows("rtsp")
        self.assertEqual(values(flow, "rtsp:server"), ['"cam.example"'])
        self.assertEqual(values(flow, "rtsp:user_agent"), ['"Player \\xff 1"'])
        self.assertEqual(values(flow, "rtsp:server_agent", "stc"), ['"Streamer/2"'])
        flow, = self.flows("rtmp")
        self.assertEqual(values(flow, "rtmp:page_url"), ['"http://page.example/watch"'])

    def test_a_five_tuple_used_again(self):
        first, second = self.flows("generations")
        self.assertEqual((first["generation"], second["generation"]), (0, 1))
        self.assertEqual(values(first, "tcp:stream"), ['"one"'])
        self.assertEqual(values(second, "tcp:stream"), ['"two"'])

    def test_pieces_mark_their_seams_and_lose_nothing(self):
        flow, = self.flows("retransmission", "--piece", "2")
        self.assertTrue(flow["seam"])
        self.assertEqual(values(flow, "tcp:stream"), ['"HELLO WORLD"...'])
        self.assertEqual(flow["packets"], 7)
        for piece, seam in (("6", True), ("7", False)):  # one piece holds all of its packets
            flow, = self.flows("retransmission", "--piece", piece)
            self.assertEqual(flow["seam"], seam, piece)

    def test_standard_input_and_what_is_cut_short(self):
        with open(self.path("hop_by_hop"), "rb") as file:
            whole = file.read()
        flows, _, done = flows_of("-", source=whole)
        self.assertEqual((len(flows), done.returncode), (1, 0))
        flows, _, done = flows_of("-", source=whole[:-3])
        self.assertEqual((len(flows), done.returncode), (0, 3))
        self.assertIn(b"cut short", done.stderr)

    def test_pcapng(self):
        with open(self.path("hop_by_hop"), "rb") as file:
            packet = file.read()[40:]
        for order in "<>":
            def block(kind, body):
                size = 12 + len(body)
                return struct.pack(order + "II", kind, size) + body + struct.pack(order + "I", size)
            padded = packet + bytes(-len(packet) % 4)
            capture = (block(0x0A0D0D0A, struct.pack(order + "IHHq", 0x1A2B3C4D, 1, 0, -1))
                       + block(1, struct.pack(order + "HHI", 1, 0, 0))
                       + 2 * block(6, struct.pack(order + "IIIII", 0, 0, 1, len(packet),
                                                  len(packet)) + padded))
            for piece in ("1", "9"):
                flows, _, done = flows_of("-", "--piece", piece, source=capture)
                self.assertEqual(done.stderr, b"")
                self.assertEqual([flow["packets"] for flow in flows], [2])

    def test_jobs_change_nothing_that_comes_out(self):
        inputs = [self.path(name) for name in ("tunnel", "two_requests")]
        inputs += [os.path.join(ROOT, "examples", "eve.json"), self.path("missing"), "-",
                   self.path("retransmission")]
        with open(self.path("hop_by_hop"), "rb") as file:
            source = file.read()[:-1] + b"cut"
        services = write_services(self.folder.name)
        for command in (["flows", "--json"], ["classify", "--summary", services],
                        ["classify", "--window", "1", "--piece", "2", services]):
            outcomes = []
            for jobs in ("1", "2") if command[0] == "flows" else ("1", "9"):
                done = subprocess.run([PDATA, *command, "--jobs", jobs, *inputs], input=source,
                                      check=False, capture_output=True)
                outcomes.append((done.stdout, done.stderr, done.returncode))
            self.assertEqual(outcomes[0][2], 3)
            self.assertEqual(outcomes, outcomes[:1] * 2)

    def test_captures_are_cases(self):
        services = write_services(self.folder.name)
        cases = os.path.join(self.folder.name, "cases.tsv")
        with open(cases, "w", encoding="ascii") as file:
            file.write("http*3\tcapture tunnel.pcap\n"
                       "[error]\ndns -\tcapture icmp_error.pcap\n"
                       "ssl\tcapture split_hello.pcap\n"
                       "[other]\nhttp\tcapture capitals.pcap\n")
        done = subprocess.run([PDATA, "test", "--json", services, cases], check=False,
                              capture_output=True)
        *outcomes, last = [json.loads(line) for line in done.stdout.splitlines()]
        self.assertEqual((done.returncode, done.stderr), (1, b""))
        self.assertEqual([outcome["passed"] for outcome in outcomes], [True, True, True, False])
        self.assertEqual((outcomes[3]["got"], last["summary"]["failed"]), (["dns*1"], 1))
        self.assertIn("udp:port stc 53", outcomes[3]["flow"])

    def test_the_window_evicts(self):
        flows, summary, _ = flows_of(self.path("icmp_error"), "--window", "1")
        self.assertEqual((len(flows), summary["evicted"]), (2, 1))


def write_services(folder):
    """Compiles services.pdd; returns the loadable pdb."""
    loadable = os.path.join(folder, "services.pdb")
    subprocess.run([os.path.join(PROGRAMS, "pdata_compiler"), "--pdd",
                    os.path.join(HERE, "services.pdd"), "--cfg-path",
                    os.path.join(ROOT, "examples", "cfg"), "--loadable", "--pdb-out", loadable],
                   check=True, capture_output=True, cwd=folder)
    return loadable


def key_of(flow):
    """Transport and ends of a flow that pdata printed, the smaller end first."""
    return (flow["transport"],) + tuple(sorted((flow[end]["address"], flow[end]["port"])
                                               for end in ("initiator", "responder")))


@unittest.skipIf(shutil.which("tshark") is None, "tshark is not installed")
@unittest.skipUnless(os.path.isdir(CAPTURES), "../shared/data/captures is not at hand")
class Captures(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        paths = sorted(glob.glob(os.path.join(CAPTURES, "*.pcap")))
        cls.captures = [(path, plain_flows.plain_flows(path)) for path in paths]

    def test_flows(self):
        for path, plain in self.captures[::4 if SOME else 1]:
            flows, _, done = flows_of(path)
            self.assertEqual((done.returncode, done.stderr), (0, b""), path)
            self.check_flows(flows, plain)

    def test_services(self):
        met = collections.Counter()
        with tempfile.TemporaryDirectory() as folder:
            loadable = write_services(folder)
            for path, plain in self.captures[1::4] if SOME else self.captures:
                done = subprocess.run([PDATA, "classify", "--json", loadable, path], check=True,
                                      capture_output=True)
                *flows, _ = [json.loads(line) for line in done.stdout.splitlines()]
                met += self.check_services(flows, plain)
        if SOME:
            return
        for service in {*plain_flows.PORTS.values(), *(row[-1] for row in plain_flows.NAMES),
                        *(row[-1] for row in plain_flows.PAYLOADS), None}:
            self.assertGreater(met[service], 0, service)

    def check_services(self, flows, plain):
        met = collections.Counter()
        numbers = collections.Counter(key_of(flow) for flow in flows if "port" in flow["initiator"])
        for flow in flows:
            if "port" not in flow["initiator"]:
                self.assertIsNone(flow["protocol"], flow)
                continue
            key = key_of(flow)
            met[flow["protocol"]] += 1
            if numbers[key] == 1:  # a five-tuple used once: all that is known of it is of this flow
                initiator = (flow["initiator"]["address"], flow["initiator"]["port"])
                self.assertEqual(initiator, plain[key].client, flow)
                self.assertEqual((flow["protocol"], flow["basis"]),
                                 plain[key].service(key[0], key[1:]), flow)
        self.assertLessEqual(sum(number for number in numbers.values() if number > 1), 10)
        return met

    def check_flows(self, flows, plain):
        found = collections.defaultdict(lambda: {"packets": 0, "bytes": 0, "flow": ""})
        for flow in flows:
            if flow["transport"] not in ("tcp", "udp"):
                continue
            total = found[key_of(flow)]
            total["packets"] += flow["packets"]
            total["bytes"] += flow["bytes"]
            total["flow"] += flow["flow"] + "; "
        self.assertEqual(set(found), set(plain))
        for key, expected in plain.items():
            self.assertEqual((found[key]["packets"], found[key]["bytes"]),
                             (expected.packets, expected.bytes), key)
            for name in set().union(*expected.names.values()):
                self.assertIn(f'"{name}"', found[key]["flow"], key)


if __name__ == "__main__":
    unittest.main()
