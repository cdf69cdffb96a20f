"""Holds the schemas, and the manual's page on them, against what the program prints."""

import json
import os
import pathlib
import re
import unittest

import jsonschema

from documents import EXAMPLE, MANUAL, ROOT, place, run

SCHEMAS = ROOT / "docs" / "schema"


def strict(schema):
    """The schema with all members forbidden that it does not name: readers may pass over such, not the program."""
    if isinstance(schema, list):
        return [strict(part) for part in schema]
    if not isinstance(schema, dict):
        return schema
    made = {name: strict(part) for name, part in schema.items()}
    if "properties" in made and "object" in str(made.get("type")):
        made["additionalProperties"] = False
    return made


def schema(name):
    return json.loads((SCHEMAS / f"{name}.schema.json").read_text(encoding="utf-8"))


def members_of(properties):
    """The names of all members, those of objects within it too. The object of a check has a section of its own."""
    names = set(properties)
    for part in properties.values():
        for inner in (part, part.get("items", {}), *part.get("items", {}).get("anyOf", [])):
            names |= members_of(inner.get("properties", {}))
    return names


def sources():
    """The example and, where there is one, a file of a mail program."""
    sample = pathlib.Path(os.environ.get("PASTILLE_SAMPLES", "")) / "outlook.pst"
    return [EXAMPLE] + ([sample] if sample.exists() else [])


class Output(unittest.TestCase):
    def validate(self, name, value):
        checker = jsonschema.validators.validator_for(schema(name))
        checker.check_schema(schema(name))
        checker(strict(schema(name))).validate(value)
        return value

    def prints(self, folder, command, *arguments, status=0):
        result = run([command, *arguments, "--json"], folder)
        self.assertEqual(result.returncode, status, result.stderr)
        return self.validate(command, json.loads(result.stdout))

    def repair(self, folder, source, *options, status=0):
        to = folder / f"to{len(list(folder.iterdir()))}"
        to.mkdir()
        value = self.prints(folder, "repair", source, "--to", to, *options, status=status)
        if value["report"]:
            return value, self.validate("report", json.loads(pathlib.Path(value["report"]).read_bytes()))
        return value, None

    def test_of_repairs(self):
        for source in sources():
            with self.subTest(source.name), place() as folder:
                value, report = self.repair(folder, source, "--verify")
                self.assertEqual((value["status"], value["check"]["status"], report), ("done", "sound", None))
                value, report = self.repair(folder, source, "--complete", "--smart")
                self.assertEqual(report["total"], value["account"])
                total = report["total"]
                self.assertEqual(total["written"] + total["lost"], total["expected"])

    def test_of_losses(self):
        with place() as folder:
            broken = bytearray((folder / "recovered.pst").read_bytes())
            for offset in range(0x8000, len(broken), 0x1800):
                broken[offset:offset + 64] = bytes(64)
            (folder / "broken.pst").write_bytes(broken)
            _, report = self.repair(folder, "broken.pst", "--complete")
            self.assertTrue(report["losses"])
            value = self.prints(folder, "check", "broken.pst", status=1)
            self.assertTrue(value["findings"])

    def test_of_scans_and_lists(self):
        for source in sources():
            with self.subTest(source.name), place() as folder:
                self.prints(folder, "scan", source)
                self.assertIsNotNone(self.prints(folder, "scan", source, "--smart")["orphans"])
        with place() as folder:
            folders = self.prints(folder, "list", "recovered.pst")["folders"]
            self.assertIn("\\Inbox", [entry["path"] for entry in folders])
            items = self.prints(folder, "list", "recovered.pst", "--folder", "Inbox")["items"]
            self.assertEqual(len(items), 12)
            self.assertEqual(self.prints(folder, "check", "recovered.pst")["status"], "sound")

    def test_of_failures(self):
        with place() as folder:
            self.repair(folder, "none.pst", status=1)
            self.prints(folder, "scan", "none.pst", status=1)
            self.prints(folder, "check", "none.pst", status=2)
            self.prints(folder, "list", "none.pst", status=2)
            for command in ("repair", "scan", "list", "check"):
                self.prints(folder, command, "--none", status=2)

    def test_is_described_in_the_manual(self):
        page = (MANUAL / "json.md").read_text(encoding="utf-8")
        for name in ("repair", "scan", "list", "check", "report"):
            with self.subTest(name):
                section = re.search(rf"(?ms)^## {name}(?:\.json)?\n(.*?)(?=^## |\Z)", page)[1]
                # A section tells what is its own; what it shares with a repair stands there.
                shared = "" if name in ("report", "repair") else re.search(r"(?ms)^## repair\n(.*?)^## ", page)[1]
                properties = schema(name)["properties"]
                members = members_of(properties)
                told = set(re.findall(r"`([\w-]+)`", section))
                self.assertEqual(members - told - set(re.findall(r"`([\w-]+)`", shared)), set())
                self.assertEqual(set(properties) - told, set())
                values = set(properties["losses"]["items"]["properties"]["what"]["enum"]) if name == "report" else set()
                self.assertEqual(values - told, set())
                self.assertEqual(self.names_of_rows(section) - members - values, set())

    @staticmethod
    def names_of_rows(text):
        rows = re.findall(r"(?m)^\| (`[^|]*) \|", text)
        return {name for row in rows for name in re.findall(r"`([\w-]+)`", row)}


if __name__ == "__main__":
    unittest.main()
