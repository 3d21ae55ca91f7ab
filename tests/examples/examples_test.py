#!/usr/bin/env python3
"""What ships with the compiler: the two descriptions, the configuration directory, and the
semantic rule files with their generator.

    examples_test.py COMPILER [unittest arguments]

COMPILER is the pdata_compiler to run. The cases of the *.tsv files beside this one are run one
after the other; a case that fails is named in the report.
"""

import json
import os
import shutil
import subprocess
import sys
import tempfile
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.normpath(os.path.join(HERE, "..", ".."))
EXAMPLES = os.path.join(ROOT, "examples")
CFG = os.path.join(EXAMPLES, "cfg")
COMPILER = ""
GENERATOR = os.path.join(ROOT, "scripts", "make_semantic")

GENERATED = ["ipbt_serialization.c", "ipbt_serialization.h", "psa_key.h", "psa_serialization.c",
             "psa_serialization.h"]

# The vocabulary of a description: every key and the objects that it may stand in.
PROTOCOL_KEYS = {"name", "id", "version", "tags", "altname", "http_reclassify",
                 "implicit_bottom_layer", "virtual_id", "cacheable", "description", "rules"}
RULE_KEYS = {"order", "scope", "fastpass", "preempt", "path", "rule-tags", "rule"}
SUB_RULE_KEYS = {"protocol", "mindata", "cts-mindata", "stc-mindata", "stream_offset",
                 "cts-stream_offset", "stc-stream_offset"}
ATTRIBUTES = {
    "http": "uri_decoded post_variable_decoded uri_get_decoded uri_post_decoded uri_path_decoded "
            "header_raw content server uri mime_type user_agent referer server_agent location "
            "cookie",
    "quic": "server_name user_agent", "ssl": "common_name organization_name subject_alt_name",
    "dtls": "common_name", "rtmp": "page_url", "tcp": "stream pattern port payload_len",
    "udp": "stream pattern port payload_len", "sip": "user_agent server_agent domain",
    "icmp": "typeval code", "icmp6": "type code", "ip": "protoid address resolv_name dscp",
    "ip6": "protoid address dscp", "stun": "realm software", "dns": "query",
    "rtsp": "user_agent server server_agent"}


def load(*path):
    with open(os.path.join(EXAMPLES, *path), encoding="ascii") as file:
        return json.load(file)


def cases(name, columns):
    """The cases of a file: one a line, tab-separated; "#" starts a comment."""
    with open(os.path.join(HERE, name), encoding="ascii") as file:
        for line in file:
            if line.strip() and not line.startswith("#"):
                fields = line.rstrip("\n").split("\t")
                assert len(fields) == columns, f"{name}: not {columns} columns: {line}"
                yield fields


def description_of(place, text):
    """A description with a text in its place."""
    frames = {
        "protocol": "{}",
        "rule": '{{"name": "p", "rules": [{}]}}',
        "sub": '{{"name": "p", "rules": [{{"order": "1:1", "rule": [{}]}}]}}',
    }
    return '{"protocols": [' + frames.get(place, '{{"name": "p"}}').format(text) + "]}\n"


class InFolder(unittest.TestCase):
    """A test that runs in a folder of its own."""

    maxDiff = None

    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()

    def tearDown(self):
        self.folder.cleanup()

    def path(self, name):
        return os.path.join(self.folder.name, name)

    def compile(self, *options):
        """Runs the compiler in the folder of the test."""
        return subprocess.run([COMPILER, *options], cwd=self.folder.name, text=True,
                              capture_output=True, check=False)

    def write(self, name, text):
        with open(self.path(name), "w", encoding="ascii") as file:
            file.write(text)


class ExampleFilesTest(InFolder):
    def compile_silently(self, *options):
        run = self.compile(*options)
        self.assertEqual((run.returncode, run.stdout, run.stderr), (0, "", ""), options)

    def compile_example(self, name, form):
        """Compiles a shipped description, expecting silence; returns the output's path."""
        out = self.path(f"{name}{form}.pdb")
        self.compile_silently("--pdd", os.path.join(EXAMPLES, f"{name}.pdd"), "--cfg-path", CFG,
                              form, "--pdb-out", out)
        self.assertGreater(os.path.getsize(out), 0)
        return out

    def test_descriptions_compile_in_silence(self):
        for name in ("protocols", "user"):
            self.compile_example(name, "--description")
        for name in GENERATED:
            self.assertGreater(os.path.getsize(self.path(name)), 0, name)

    def test_descriptions_compile_into_loadable_pdbs_in_silence(self):
        for name in ("protocols", "user"):
            self.compile_example(name, "--loadable")
            self.compile_silently("--pdb-in", self.compile_example(name, "--description"),
                                  "--loadable", "--pdb-out", "loadable.pdb")

    def test_user_description_merges_into_the_other(self):
        both = [self.compile_example(name, "--description") for name in ("protocols", "user")]
        for form in ("--description", "--loadable"):
            self.compile_silently("--pdb-in", ";".join(both), "--merge", form,
                                  "--pdb-out", "merged.pdb")

    def test_user_description_alone_names_new_protocols(self):
        shipped = {protocol["name"] for protocol in load("protocols.pdd")["protocols"]}
        user = load("user.pdd")["user_protocols"]
        new = [protocol for protocol in user if protocol["name"] not in shipped]
        self.assertEqual([protocol["id"] >> 24 for protocol in new], [1] * len(new))
        self.assertEqual(len(user) - len(new), 1)

    def test_description_uses_the_whole_vocabulary(self):
        protocols = load("protocols.pdd")["protocols"]
        rules = [rule for protocol in protocols for rule in protocol["rules"]]
        subs = [sub for rule in rules for sub in rule["rule"]]
        self.assertGreaterEqual(len(protocols), 80)
        self.assertEqual({key for protocol in protocols for key in protocol}, PROTOCOL_KEYS)
        self.assertEqual({key for rule in rules for key in rule}, RULE_KEYS)
        self.assertLessEqual(SUB_RULE_KEYS, {key for sub in subs for key in sub})
        for layer, names in ATTRIBUTES.items():
            used = {key[4:] if key[:4] in ("cts-", "stc-") else key for sub in subs
                    if sub["protocol"] == layer for key in sub}
            self.assertLessEqual(set(names.split()), used, layer)

    def test_descriptions_tag_their_rules_from_the_tag_table(self):
        tags = load("cfg", "tag_table.json")["tag_table"]
        self.assertEqual(len(set(tags.values())), len(tags))
        for description in (load("protocols.pdd"), load("user.pdd")):
            for protocol in next(iter(description.values())):
                for rule in protocol["rules"]:
                    used = rule.get("rule-tags", [])
                    self.assertLessEqual({used} if isinstance(used, str) else set(used),
                                         set(tags), protocol["name"])

    def test_protocols_have_one_id_each(self):
        with open(os.path.join(ROOT, "data", "protocol_ids.tsv"), encoding="ascii") as file:
            builtin = dict(line.split() for line in file if not line.startswith("#"))
        protocols = load("protocols.pdd")["protocols"]
        names = [protocol["name"] for protocol in protocols]
        ids = [protocol.get("id") or int(builtin[protocol["name"]]) for protocol in protocols]
        self.assertEqual(len(set(names)), len(names))
        self.assertEqual(len(set(ids)), len(ids))


class SemanticRulesTest(InFolder):
    def compile_case(self, place, text):
        """Compiles a small description, or any description with another configuration file."""
        cfg = CFG
        if place in ("tag_table", "matcher_alias"):
            cfg = self.path("cfg")
            shutil.copytree(CFG, cfg, dirs_exist_ok=True)
            self.write(f"cfg/{place}.json", text + "\n")
        self.write("case.pdd", description_of(place, text))
        return self.compile("--pdd", "case.pdd", "--cfg-path", cfg, "--description",
                            "--pdb-out", "case.pdb")

    def test_refuse_slips_of_the_pen(self):
        status = {"tag_table": "(1:", "matcher_alias": "(56:"}
        for title, place, text, report in cases("refused.tsv", 4):
            with self.subTest(title):
                run = self.compile_case(place, text)
                self.assertTrue(run.stdout.startswith(status.get(place, "(52:")), run.stdout)
                self.assertIn("\nBad semantic.\n", run.stdout)
                self.assertIn("\n" + report.replace("\\n", "\n") + "\n", "\n" + run.stdout)

    def test_name_the_protocol_the_place_and_what_was_expected(self):
        run = self.compile_case("rule", '{"order": "1:1", "preemt": true}')
        self.assertEqual(run.stdout, """(52:PDATA_ERR_JSON_BAD_SEMANTIC)
Bad semantic.
Protocol: p.
Context: { "name" : "*" , "rules" [ { "order" : "*" ,\x20
Unexpected type 'STRING': "preemt".
Expected:
\t+ type 'STRING', "order".
\t+ type 'STRING', "scope".
\t+ type 'STRING', "fastpass".
\t+ type 'STRING', "preempt".
\t+ type 'STRING', "path".
\t+ type 'STRING', "rule-tags".
\t+ type 'STRING', "rule".
\t+ type '}'.

""")

    def test_accept_what_is_unusual(self):
        for title, place, text in cases("accepted.tsv", 3):
            with self.subTest(title):
                run = self.compile_case(place, text)
                self.assertEqual((run.returncode, run.stdout), (0, ""))


class SemanticGeneratorTest(InFolder):
    def generate(self, source):
        """Runs the generator on a source; returns its status and report."""
        self.write("case.sem", source)
        run = subprocess.run([sys.executable, GENERATOR, "case.sem", "case.json"], text=True,
                             cwd=self.folder.name, capture_output=True, check=False)
        return run.returncode, run.stderr

    def test_shipped_rules_are_up_to_date(self):
        run = subprocess.run([sys.executable, GENERATOR, "--check"], text=True,
                             capture_output=True, check=False)
        self.assertEqual((run.returncode, run.stdout, run.stderr), (0, "", ""))

    def test_writes_nodes_by_position_and_transitions_in_source_order(self):
        status = self.generate("""# A list of names, at least one.
node start
    [ -> list
node list
    * -> name
node name
    count 1..
    , -> list
    ] -> full
node full
    end
    check name
    reset name
""")
        self.assertEqual(status, (0, ""))
        with open(self.path("case.json"), encoding="ascii") as file:
            self.assertEqual(file.read(), """{
  "nodes": [
    {"key": 0, "name": "start", "category": "start"},
    {"key": 1, "name": "list"},
    {"key": 2, "name": "name", "range": {"min": 1}},
    {"key": 3, "name": "full", "category": "end", "reset": [2], "check": [2]}
  ],
  "transitions": [
    {"from": 0, "to": 1, "trans": "["},
    {"from": 1, "to": 2, "trans": "*"},
    {"from": 2, "to": 1, "trans": ","},
    {"from": 2, "to": 3, "trans": "]"}
  ]
}
""")

    def test_refuses_a_faulty_source(self):
        for title, source, fault in cases("generator_faults.tsv", 3):
            with self.subTest(title):
                self.assertEqual(self.generate(source.replace("|", "\n")),
                                 (1, f"case.sem:{fault}\n"))

    def test_refuses_more_than_a_machine_holds(self):
        nodes = "".join(f"node n{i}\n{{ -> n{i + 1}\n" for i in range(128)) + "node n128\nend\n"
        self.assertEqual(self.generate(nodes), (1, "case.sem:257: more than 128 nodes\n"))
        transitions = "node a\n" + "".join(f'"k{i}" -> b\n' for i in range(65)) + "node b\nend\n"
        self.assertEqual(self.generate(transitions),
                         (1, "case.sem:1: node 'a': more than 64 transitions\n"))
        counted = [f"b{i}" for i in range(33)]
        checks = "node a\n* -> b0\n" + "".join(
            f"node b{i}\ncount ..1\n}} -> b{i + 1}\n" for i in range(33))
        self.assertEqual(self.generate(checks + f"node b33\nend\ncheck {' '.join(counted)}\n"),
                         (1, "case.sem:102: node 'b33': more than 32 entries in a list\n"))


if __name__ == "__main__":
    COMPILER = os.path.abspath(sys.argv[1])
    unittest.main(argv=[sys.argv[0], *sys.argv[2:]])
