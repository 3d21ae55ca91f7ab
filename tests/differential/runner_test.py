#!/usr/bin/env python3
"""The runner reports how two programs differ. Both are small shell scripts."""

import collections
import os
import re
import tempfile
import unittest

import cases
import runner

SAME = """
printf 'out\\n'
printf '[ERROR  ][17][build] failed\\n' >&2
printf 'content' >file
printf 'record' >out1.pdb
exit 3
"""

Steps = collections.namedtuple("Steps", "steps")
INTENDED = [(re.compile(rb"note: \w+ is cut"), "a cut was silent")]
ONE_RUN = Steps([("run", ["--any"])])


class RunnerTest(unittest.TestCase):
    """What two programs do is compared in every respect."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name
        self.tally = runner.Tally()

    def program(self, name, script):
        path = os.path.join(self.folder, name)
        with open(path, "w", encoding="ascii") as file:
            file.write("#!/bin/sh\n" + script)
        os.chmod(path, 0o755)
        return path

    def differ(self, before, after, steps=ONE_RUN, seconds=20):
        """Returns how two scripts differ."""
        programs = [self.program("before", before), self.program("after", after)]
        return runner.Runner(programs, os.path.join(self.folder, "work"), seconds,
                             INTENDED).compare(steps, self.tally)

    def changed(self, old, new):
        self.assertIn(old, SAME)
        return self.differ(SAME, SAME.replace(old, new))

    def test_same_programs_do_not_differ(self):
        self.assertIsNone(self.differ(SAME, SAME))
        self.assertEqual(self.tally.runs, 1)
        self.assertEqual(dict(self.tally.statuses), {3: 1})
        self.assertEqual(self.tally.messages, {b"[ERROR ][#][build] failed"})

    def test_an_intended_line_is_left_out_and_counted(self):
        said = SAME.replace("exit 3", "echo 'note: name is cut' >&2\nexit 3")
        self.assertIsNone(self.differ(SAME, said))
        self.assertEqual(dict(self.tally.intended), {"a cut was silent": 1})
        self.assertIsNone(self.differ(said, said))

    def test_a_line_that_is_like_an_intended_one_differs(self):
        for line in ("note: name is cut off", "a note: name is cut", "note: is cut"):
            said = SAME.replace("exit 3", f"echo '{line}' >&2\nexit 3")
            self.assertIn("stderr", self.differ(SAME, said))

    def test_the_list_of_intended_lines_can_be_read(self):
        rows = runner.intended_lines()
        self.assertTrue(rows)
        self.assertTrue(all(reason for _, reason in rows))

    def test_status(self):
        self.assertEqual(self.changed("exit 3", "exit 0"), "status 3 became 0")

    def test_end_by_a_signal_is_a_status(self):
        self.assertEqual(self.changed("exit 3", "kill -9 $$"), "status 3 became -9")

    def test_standard_output(self):
        self.assertEqual(self.changed("out\\n", "Out\\n"), "stdout: b'out' became b'Out'")

    def test_standard_error(self):
        self.assertIn("stderr", self.changed("failed", "fails"))

    def test_function_name_and_kind_of_a_diagnostic(self):
        self.assertIn("stderr", self.changed("[build]", "[emit]"))
        self.assertIn("stderr", self.changed("ERROR  ", "WARNING"))

    def test_source_line_does_not_count(self):
        self.assertIsNone(self.changed("[17]", "[4711]"))

    def test_other_numbers_count(self):
        self.assertIn("stderr", self.differ("echo '[NOTE][1][f] x' >&2", "echo '[NOTE][2][f] x' >&2"))

    def test_order_of_messages(self):
        self.assertIn("stderr", self.differ("echo a >&2; echo b >&2", "echo b >&2; echo a >&2"))

    def test_byte_of_a_file(self):
        self.assertEqual(self.changed("content", "contenT"),
                         "file: 7 and 7 bytes, differ from byte 6")

    def test_length_of_a_file(self):
        self.assertEqual(self.changed("record'", "record1'"),
                         "out1.pdb: 6 and 7 bytes, differ from byte 6")

    def test_file_that_is_not_written(self):
        self.assertEqual(self.changed(">file", ">/dev/null"),
                         "files ['file', 'out1.pdb'] became ['out1.pdb']")

    def test_file_written_by_one_run_and_not_by_the_next(self):
        writes = "echo x >file$1.pdb"
        forgets = '[ "$1" = 2 ] || ' + writes
        steps = Steps([("run", ["1"]), ("run", ["2"])])
        self.assertEqual(self.differ(writes, forgets, steps),
                         "files ['file1.pdb', 'file2.pdb'] became ['file1.pdb']")

    def test_rewritten_file_counts_in_every_run(self):
        steps = Steps([("run", ["1"]), ("run", ["2"])])
        self.assertIn("files", self.differ("echo x >file", '[ "$1" = 2 ] || echo x >file', steps))

    def test_only_one_ends(self):
        self.assertEqual(self.differ("exit 0", "exec sleep 5", seconds=0.1),
                         "only now does not end within 1.0 seconds")

    def test_neither_ends(self):
        self.assertIsNone(self.differ("exec sleep 5", "exec sleep 5", seconds=0.1))
        self.assertEqual((self.tally.runs, self.tally.skipped), (0, 1))

    def test_both_sides_read_the_same_damaged_file(self):
        steps = Steps([("run", ["--any"]), ("spoil", "out1.pdb", "bad.pdb", lambda data: data[:3]),
                       ("run", ["--pdb-in", "bad.pdb"])])
        reads = "cat bad.pdb 2>/dev/null; printf record >out1.pdb"
        self.assertIsNone(self.differ(reads, reads, steps))
        self.assertIn("stdout", self.differ(reads, reads.replace("bad", "out1"), steps))

    def test_run_on_an_output_that_was_not_written_is_left_out(self):
        steps = Steps([("run", ["1"]), ("run", ["--pdb-in", "out1.pdb;out1.pdb"])])
        self.assertIsNone(self.differ("exit 0", "exit 0", steps))
        self.assertEqual(self.tally.runs, 1)

    def test_differences_that_are_meant_are_named_and_counted(self):
        whole = bytes.fromhex("01000003 01000002 02000001 00000000")
        longer = bytes.fromhex("01000003 01000003 02000001 00000000")
        for pdb, difference, meant in ((whole, "status 0 became 1", {}),
                                       (longer, None, {"over-long records": 1})):
            self.tally = runner.Tally()
            steps = Steps([("run", ["1"]), ("spoil", "out1.pdb", "in.pdb", lambda _, p=pdb: p),
                           ("run", ["--pdb-in", "in.pdb"])])
            writes = "echo >out1.pdb; "
            self.assertEqual(self.differ(writes + "exit 0",
                                         writes + '[ "$1" = 1 ] && exit 0; exit 1', steps),
                             difference)
            self.assertEqual(dict(self.tally.intended), meant)
        refused = "echo values expand to more than 9 bytes; exit 100"
        self.assertIsNone(self.differ(refused, "exit 0"))
        self.assertEqual(self.tally.intended["bound of the values"], 1)

    def test_option_without_its_argument(self):
        self.assertIsNone(self.differ(SAME, SAME, Steps([("run", ["--pdb-in"])])))
        self.assertEqual(self.tally.runs, 1)


class SeedTest(unittest.TestCase):
    """A seed and a number make one case."""

    def made(self, kind, number, seed):
        """Returns the input files and the runs of a case."""
        with tempfile.TemporaryDirectory() as folder:
            case = cases.make(kind, number, seed, folder)
            files = {}
            for path, _, names in os.walk(folder):
                for name in names:
                    with open(os.path.join(path, name), "rb") as file:
                        files[os.path.join(os.path.relpath(path, folder), name)] = file.read()
            return files, [step[:3] for step in case.steps]

    def test_same_number_makes_the_same_case(self):
        for kind in cases.KINDS:
            first = [self.made(kind, number, 5) for number in range(20)]
            again = [self.made(kind, number, 5) for number in reversed(range(20))]
            self.assertEqual(first, again[::-1], kind)

    def test_other_numbers_and_seeds_make_other_cases(self):
        for kind in cases.KINDS:
            self.assertNotEqual(self.made(kind, 1, 5), self.made(kind, 2, 5), kind)
            self.assertNotEqual(self.made(kind, 1, 5), self.made(kind, 1, 6), kind)


if __name__ == "__main__":
    unittest.main()
