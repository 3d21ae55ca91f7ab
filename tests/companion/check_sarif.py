#!/usr/bin/env python3
"""Reads a SARIF log from standard input and holds it against the structure of SARIF 2.1.0 (OASIS,
2020): what must be there, what may be, of which kind, and what refers to what. Prints a line for each
result, or what is wrong."""

import json
import sys

TEXT = {"text": str}
REGION = {"startLine": int, "startColumn": int, "endLine": int, "endColumn": int,
          "byteOffset": int, "byteLength": int}
ARTIFACT = {"uri": str}
LOCATION = {"physicalLocation": {"artifactLocation": ARTIFACT, "region": REGION},
            "logicalLocations?": [{"fullyQualifiedName": str}]}
LOG = {
    "$schema": str,
    "version": str,
    "runs": [{
        "tool": {"driver": {"name": str, "version": str, "rules": [{
            "id": str, "shortDescription": TEXT,
            "defaultConfiguration": {"enabled": bool, "level": str}}]}},
        "columnKind": str,
        "results": [{
            "ruleId": str, "ruleIndex": int, "level": str, "message": TEXT,
            "locations": [LOCATION],
            "partialFingerprints": {"pdata/1": str},
            "relatedLocations?": [dict(LOCATION, message=TEXT)],
            "fixes?": [{"description": TEXT, "artifactChanges": [{
                "artifactLocation": ARTIFACT,
                "replacements": [{"deletedRegion": {"byteOffset": int, "byteLength": int},
                                  "insertedContent": TEXT}]}]}]}]}]}


def hold(value, shape, path):
    if isinstance(shape, type):
        assert isinstance(value, shape) and (shape is bool or not isinstance(value, bool)), path
    elif isinstance(shape, list):
        assert isinstance(value, list), path
        for index, item in enumerate(value):
            hold(item, shape[0], "%s/%d" % (path, index))
    else:
        assert isinstance(value, dict), path
        assert set(value) <= {key.rstrip("?") for key in shape}, (path, sorted(value))
        for key, inner in shape.items():
            name = key.rstrip("?")
            assert name in value or key.endswith("?"), path + "/" + name
            if name in value:
                hold(value[name], inner, path + "/" + name)


def main():
    log = json.load(sys.stdin)
    hold(log, LOG, "")
    assert log["version"] == "2.1.0" and log["runs"][0]["columnKind"] == "unicodeCodePoints"
    rules = log["runs"][0]["tool"]["driver"]["rules"]
    for result in log["runs"][0]["results"]:
        assert rules[result["ruleIndex"]]["id"] == result["ruleId"]
        assert result["level"] in ("error", "warning", "note")
        region = result["locations"][0]["physicalLocation"]["region"]
        assert (region["startLine"], region["startColumn"]) <= (region["endLine"], region["endColumn"])
        print("%s:%d:%d %s %s" % (
            result["locations"][0]["physicalLocation"]["artifactLocation"]["uri"],
            region["startLine"], region["startColumn"], result["level"], result["ruleId"]))


main()
