"""Runs every command line of the documents, and compares transcripts with what comes."""

import json
import os
import pathlib
import re
import shutil
import subprocess
import unittest

from documents import MANUAL, PROGRAM, ROOT, blocks, documents, place, run

HERE = pathlib.Path(__file__).resolve().parent
# Of a document's folder, which stands for the reader's home.
HOME = "/home/you"


def environment(folder):
    """Programs of this build in front, and a home that nothing was in before."""
    programs = folder / ".bin"
    programs.mkdir()
    (programs / "pastille").symlink_to(PROGRAM)
    (programs / "sbatch").symlink_to(HERE / "sbatch")
    home = folder / ".home"
    home.mkdir()
    kept = {name: value for name, value in os.environ.items() if not name.startswith(("PASTILLE", "XDG"))}
    return dict(kept, PATH=f"{programs}:{os.environ['PATH']}", HOME=str(home), LC_ALL="C.UTF-8",
                SHELL="/bin/bash")


def shell(command, folder, variables):
    return subprocess.run(["bash", "-euo", "pipefail", "-c", command], cwd=folder, env=variables, text=True,
                          encoding="utf-8", stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False,
                          stdin=subprocess.DEVNULL, timeout=120)


def make_checkout(folder):
    """What ./run needs of the repository, with a program that is built already."""
    checkout = folder / "pastille"
    for name in ("run", "packages.txt", "cmake/packages.sh", "examples/damaged.pst"):
        (checkout / name).parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(ROOT / name, checkout / name)
    built = checkout / "build" / "release"
    (built / "cli").mkdir(parents=True)
    (built / "cli" / "pastille").symlink_to(PROGRAM)
    (built / "build.ninja").write_text("rule nothing\n command = true\nbuild pastille: phony\n")
    return checkout


def comparable(text, folder):
    text = text.replace(str(folder), HOME)
    text = re.sub(r"demo-\d{8}-\d{6}-\w{4}", "demo-now", text)
    return re.sub(r"(?m)^\d\d:\d\d:\d\d  Phase", "00:00:00  Phase", text).rstrip("\n")


class Commands(unittest.TestCase):
    def of_language(self, language):
        found = [block for page in documents() for block in blocks(page) if block.language == language]
        self.assertTrue(found)
        return found

    def test_run_without_failure(self):
        for block in self.of_language("sh"):
            with self.subTest(str(block)), place() as folder:
                result = shell(block.text, folder, environment(folder))
                self.assertEqual(result.returncode, 0, block.text + result.stdout)
                for made in folder.glob("**/result.json"):
                    self.assertEqual(json.loads(made.read_text())["status"], "done")

    def test_of_many_files_repair_them_all(self):
        batch = [block for block in blocks(MANUAL / "batch.md") if "*.pst" in block.text]
        self.assertEqual(len(batch), 3)
        for block in batch:
            with self.subTest(str(block)), place() as folder:
                shell(block.text, folder, environment(folder))
                for name in ("mail", "recovered"):
                    store = folder / "out" / name / f"{name} Recovered" / f"{name} Recovered.pst"
                    self.assertEqual(run(["check", store], folder).returncode, 0)

    def test_transcripts_are_what_comes(self):
        for block in self.of_language("console"):
            with self.subTest(str(block)), place() as folder:
                (folder / "recovered").mkdir()
                variables = environment(folder)
                where = make_checkout(folder) if "./run" in block.text else folder
                for part in re.split(r"(?m)^\$ ", block.text)[1:]:
                    command, _, expected = part.partition("\n")
                    result = shell(command, where, variables)
                    self.assertEqual(comparable(result.stdout, folder), comparable(expected, folder))

    def test_for_developers_name_what_is_there(self):
        presets = json.loads((ROOT / "CMakePresets.json").read_text())["configurePresets"]
        names = {preset["name"] for preset in presets if not preset.get("hidden")}
        for block in self.of_language("bash") + self.of_language("indented"):
            for line in block.text.split("\n"):
                with self.subTest(str(block), line=line):
                    for preset in re.findall(r"--preset (\w+)", line):
                        self.assertIn(preset, names)
                    program = re.match(r"(?:[A-Z_]+=\S+ )*((?:\./|bench/|fuzz/)\S+)(?: |$)", line)
                    if program and "=" not in program[1]:
                        self.assertTrue(os.access(ROOT / program[1], os.X_OK))

    def test_every_option_is_in_the_manual(self):
        page = (MANUAL / "command-line.md").read_text(encoding="utf-8")
        told = set(re.findall(r"--[a-z-]+", "\n".join(re.findall(r"(?m)^\| `--.*?` .*?\|", page))))
        with place() as folder:
            helps = [run([command, "--help"], folder).stdout for command in ("repair", "scan", "list", "check")]
        known = set(re.findall(r"(?m)^ +(?:-h,)?(--[a-z-]+)", "\n".join(helps))) - {"--help"}
        self.assertEqual(told, known)


if __name__ == "__main__":
    unittest.main()
