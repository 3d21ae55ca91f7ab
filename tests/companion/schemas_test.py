#!/usr/bin/env python3
"""Every JSON document that a console case prints validates against its schema.

    schemas_test.py BIN

runs the commands of all console cases (run.py) once more and looks at what they print: each line
that is a JSON object, and each output that is one as a whole, names its schema, and docs/schemas
has it. Every shipped schema must have been met, so that none of them goes untested.
"""

import json
import os
import sys
import tempfile
import unittest

import run

SCHEMAS = os.path.join(run.ROOT, "docs", "schemas")
PROGRAMS = os.path.abspath(sys.argv.pop(1)) if len(sys.argv) > 1 else ""

try:
    import jsonschema
except ImportError:
    jsonschema = None


def documents(output):
    """Yields the documents of an output: the whole of it, or its lines."""
    if output.startswith(b'{\n  "schema"'):
        yield json.loads(output)
        return
    for line in output.split(b"\n"):
        if line.startswith(b'{"schema"'):
            yield json.loads(line)


class Collector(run.Case):
    """A case that keeps the outputs of its commands."""

    def __init__(self, folder, programs):
        super().__init__(folder, programs)
        self.outputs = []

    def shown_output(self, output):
        self.outputs.append(output)


@unittest.skipIf(jsonschema is None, "python3-jsonschema is not installed")
class Schemas(unittest.TestCase):
    def test_every_document_validates(self):
        validators = {}
        for entry in sorted(os.listdir(SCHEMAS)):
            with open(os.path.join(SCHEMAS, entry), encoding="utf-8") as file:
                schema = json.load(file)
            jsonschema.Draft202012Validator.check_schema(schema)
            name = f"pdata.{entry[:-len('.json')]}/1"
            validators[name] = jsonschema.Draft202012Validator(schema)
        met = set()
        for name in run.names_of_cases():
            for output in self.outputs_of(name):
                for document in documents(output):
                    with self.subTest(case=name, document=json.dumps(document)[:200]):
                        validators[document["schema"]].validate(document)
                        met.add(document["schema"])
        self.assertEqual(met, set(validators))

    def outputs_of(self, name):
        with open(os.path.join(run.HERE, name + ".case"), encoding="utf-8") as file:
            lines = file.read().splitlines()
        with tempfile.TemporaryDirectory() as folder:
            case = Collector(folder, PROGRAMS)
            for line, block in run.steps(lines):
                case.take(line, block)
        return case.outputs


if __name__ == "__main__":
    unittest.main()
