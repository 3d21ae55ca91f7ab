#!/usr/bin/env python3
"""The commands of docs/classify.md that run one process a partition: they give what one process
gives for the whole.

    parallel_test.py BIN

BIN is the folder of the programs. Skipped, visibly, without GNU parallel or tshark.
"""

import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.normpath(os.path.join(HERE, "..", ".."))
PROGRAMS = os.path.abspath(sys.argv.pop(1)) if len(sys.argv) > 1 else ""


def event(number):
    """An event whose flow is complete by itself."""
    return json.dumps({"event_type": "tls", "src_ip": f"10.0.{number // 200}.{number % 200}",
                       "src_port": 40000, "dest_ip": "192.0.2.7", "dest_port": 443,
                       "proto": "TCP", "tls": {"sni": f"{number}.youtube.com"}})


@unittest.skipIf(shutil.which("parallel") is None, "GNU parallel is not installed")
class Parallel(unittest.TestCase):
    def setUp(self):
        self.scratch = tempfile.TemporaryDirectory()
        self.addCleanup(self.scratch.cleanup)
        self.folder = self.scratch.name
        self.run_line(f"pdata_compiler --pdd {ROOT}/examples/protocols.pdd --cfg-path "
                      f"{ROOT}/examples/cfg --loadable --pdb-out loadable.pdb")
        with open(os.path.join(ROOT, "docs", "classify.md"), encoding="utf-8") as file:
            self.commands = re.findall(r"^    (parallel .*|pdata classify --jobs .*)$", file.read(),
                                       re.MULTILINE)
        self.assertEqual(len(self.commands), 3)

    def run_line(self, line):
        environment = {"PATH": PROGRAMS + ":" + os.environ["PATH"], "HOME": self.folder,
                       "LC_ALL": "C.UTF-8"}
        done = subprocess.run(["bash", "-c", line], cwd=self.folder, env=environment, check=True,
                              capture_output=True)
        return done.stdout

    def output(self, line, name):
        """What a command writes into the file that it names."""
        self.assertEqual(self.run_line(line), b"")
        with open(os.path.join(self.folder, name), "rb") as file:
            return file.read()

    @unittest.skipIf(shutil.which("tshark") is None, "tshark is not installed")
    def test_files(self):
        captures = os.path.join(self.folder, "captures")
        os.mkdir(captures)
        subprocess.run([sys.executable, os.path.join(HERE, "make_traps.py"), captures], check=True)
        whole = self.run_line("pdata classify --only unknown loadable.pdb captures/*.pcap")
        self.assertGreater(whole.count(b"\n"), 3)
        for line in self.commands:
            if "captures" in line:
                self.assertEqual(self.output(line, "unknown.tsv"), whole)

    def test_lines(self):
        with open(os.path.join(self.folder, "eve.json"), "w", encoding="ascii") as file:
            file.writelines(event(number) + "\n" for number in range(1000))
        whole = self.run_line("pdata classify loadable.pdb eve.json")
        self.assertEqual(whole.count(b"\tyoutube\t"), 1000)
        line, = (line for line in self.commands if "eve.json" in line)
        self.assertEqual(self.output(line, "flows.tsv"), whole)
        many = line.replace("-N 1000000", "-N 130")
        self.assertNotEqual(many, line)
        self.assertEqual(self.output(many, "flows.tsv"), whole)


if __name__ == "__main__":
    unittest.main()
