"""Runs the commands of the documents and of the man page, and compares transcripts with what comes."""

import json
import os
import pathlib
import re
import shutil
import subprocess
import unittest

from documents import (EXAMPLE, MANUAL, PROGRAM, ROOT, blocks, documents, man_examples, place, run, spans)

HERE = pathlib.Path(__file__).resolve().parent
# Of a document's folder, which stands for the reader's home.
HOME = "/home/you"

# What commands are to print, by what is in their line. The example was made with 25 items.
PRINTED = {
    "iconv": "Total recovered mail items : 25",
    "pastille check": ": sound",
    "pastille scan": "Items:                  25",
    r"--folder '\Projects\Old bridge'": r"Folder: \Projects\Old bridge",
}


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


def shell(command, folder, variables, options="-euo pipefail"):
    return subprocess.run(["bash", *options.split(), "-c", command], cwd=folder, env=variables, text=True,
                          encoding="utf-8", stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False,
                          stdin=subprocess.DEVNULL, timeout=120)


def make_checkout(folder):
    """What ./run needs of the repository, with a program that is built already; and the reader's mail."""
    checkout = folder / "pastille"
    for name in ("run", "packages.txt", "cmake/packages.sh", "examples/damaged.pst"):
        (checkout / name).parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(ROOT / name, checkout / name)
    shutil.copy(EXAMPLE, checkout / "mail.pst")
    built = checkout / "build" / "release"
    (built / "cli").mkdir(parents=True)
    (built / "cli" / "pastille").symlink_to(PROGRAM)
    (built / "build.ninja").write_text("rule nothing\n command = true\nbuild pastille: phony\n")
    return checkout


def comparable(text, folder):
    return text.replace(str(folder), HOME).rstrip("\n")


def of_language(language):
    found = [block for page in documents() for block in blocks(page) if block.language == language]
    assert found
    return found


def only(page, piece):
    """The block of a page of the manual that has this in it."""
    (block,) = [block for block in blocks(MANUAL / page) if piece in block.text]
    return block


def results(folder):
    return {made.parent.name: json.loads(made.read_text())["status"] for made in folder.glob("out/*/result.json")}


class Commands(unittest.TestCase):
    def expect_sound(self, folder):
        stores = list(folder.glob("**/* Recovered.pst"))
        self.assertTrue(stores)
        for store in stores:
            self.assertEqual(run(["check", store], folder).returncode, 0)

    def test_run_without_failure(self):
        judging = (only("batch.md", "find out"), only("exit-status.md", "echo"))  # below, with their outcomes
        for block in of_language("sh"):
            if block in judging:
                continue
            with self.subTest(str(block)), place() as folder:
                variables = environment(folder)
                where = make_checkout(folder) if "./run" in block.text else folder
                result = shell(block.text, where, variables)
                self.assertEqual(result.returncode, 0, block.text + result.stdout)
                self.assertNotIn("Error:", result.stdout)
                for piece, expected in PRINTED.items():
                    if piece in block.text:
                        self.assertIn(expected, result.stdout)
                if " repair " in block.text:
                    self.expect_sound(folder)
                if "readpst" in block.text:
                    self.assertTrue(list(folder.glob("export/**/Inbox*")))
                if "rm -r home" in block.text:
                    self.assertEqual(list((folder / ".home").iterdir()), [])

    def test_of_many_files_repair_them_all(self):
        batch = [block for block in blocks(MANUAL / "batch.md") if "*.pst" in block.text]
        self.assertEqual(len(batch), 3)
        for block in batch:
            with self.subTest(str(block)), place() as folder:
                shell(block.text, folder, environment(folder))
                for name in ("mail", "recovered"):
                    store = folder / "out" / name / f"{name} Recovered" / f"{name} Recovered.pst"
                    self.assertEqual(run(["check", store], folder).returncode, 0)
                self.assertEqual(results(folder), {"mail": "done", "recovered": "done"})

    def test_name_the_files_that_failed(self):
        repairs, judges = only("batch.md", "for file in").text, only("batch.md", "find out").text
        of_man_page = man_examples(ROOT / "packaging" / "man" / "pastille.1")[-1]
        with place() as folder:
            variables = environment(folder)
            (folder / "broken.pst").write_bytes(b"no store" * 1000)
            # As in a reader's shell, which goes on when a command fails.
            shell(repairs, folder, variables, options="-u")
            self.assertEqual(results(folder), {"broken": "failed", "mail": "done", "recovered": "done"})
            for command in (judges, of_man_page):
                self.assertEqual(shell(command, folder, variables).stdout, "out/broken/result.json\n")
            (folder / "out" / "broken" / "result.json").write_text("")  # its process was ended
            self.assertEqual(shell(judges, folder, variables).stdout, "out/broken/result.json\n")
            shutil.rmtree(folder / "out" / "broken")
            self.assertEqual(shell(judges, folder, variables).stdout, "all are done\n")
            self.assertEqual(shell(of_man_page, folder, variables).stdout, "")
            for name in ("mail", "recovered"):
                (folder / "out" / name / "result.json").write_text('{"status": "failed"}')
            self.assertEqual(sorted(shell(judges, folder, variables).stdout.split()),
                             ["out/mail/result.json", "out/recovered/result.json"])
            shutil.rmtree(folder / "out")
            self.assertNotIn("all are done", shell(judges, folder, variables, options="-u").stdout)

    def test_tell_a_failure_by_its_status(self):
        block = only("exit-status.md", "echo")
        for content, told in ((EXAMPLE.read_bytes(), "repaired"), (b"no store" * 1000, "failed with status 1")):
            with self.subTest(told), place() as folder:
                (folder / "mail.pst").write_bytes(content)
                result = shell(block.text, folder, environment(folder))
                self.assertEqual(result.stdout.strip().split("\n")[-1], told)

    def test_of_the_man_page_do_what_it_says(self):
        examples = man_examples(ROOT / "packaging" / "man" / "pastille.1")
        self.assertEqual(len(examples), 4)
        with place() as folder:
            variables = environment(folder)
            printed = []
            for command in examples:
                command = command.replace("/usr/share/doc/pastille/examples/damaged.pst", str(EXAMPLE))
                result = shell(command, folder, variables)
                self.assertEqual(result.returncode, 0, command + result.stdout)
                printed.append(result.stdout)
            self.assertIn(r"\Inbox", printed[1])
            self.assertEqual(results(folder), {"mail": "done", "recovered": "done"})
            self.expect_sound(folder)

    def test_transcripts_are_what_comes(self):
        for block in of_language("console"):
            with self.subTest(str(block)), place() as folder:
                (folder / "recovered").mkdir()
                variables = environment(folder)
                where = make_checkout(folder) if "./run" in block.text else folder
                for part in re.split(r"(?m)^\$ ", block.text)[1:]:
                    command, _, expected = part.partition("\n")
                    result = shell(command, where, variables)
                    self.assertEqual(comparable(result.stdout, folder), comparable(expected, folder))

    def test_run_alone_repairs_the_example(self):
        with place() as folder:
            checkout = make_checkout(folder)
            result = shell("./run", checkout, environment(folder))
            self.assertEqual(result.returncode, 0, result.stdout)
            self.assertIn("Total items : 25", result.stdout)
            self.assertEqual(len(list(checkout.glob("out/demo-*/damaged Recovered/damaged Recovered.pst"))), 1)

    def test_within_texts_work(self):
        told = [span for page in documents() for _, span in spans(page)
                if re.match(r"pastille .*--(help|version)$", span)]
        self.assertTrue(told)
        for span in told:
            with self.subTest(span), place() as folder:
                result = shell(span, folder, environment(folder))
                self.assertEqual(result.returncode, 0, result.stdout)
                self.assertIn("pastille", result.stdout)


class CommandLinePage(unittest.TestCase):
    def setUp(self):
        self.page = (MANUAL / "command-line.md").read_text(encoding="utf-8")
        with place() as folder:
            self.helps = {command: run([command, "--help"], folder).stdout
                          for command in ("repair", "scan", "list", "check")}

    def test_explains_every_option(self):
        told = set(re.findall(r"--[a-z-]+", "\n".join(re.findall(r"(?m)^\| `--.*?` .*?\|", self.page))))
        known = set(re.findall(r"(?m)^ +(?:-h,)?(--[a-z-]+)", "\n".join(self.helps.values()))) - {"--help"}
        self.assertEqual(told, known)

    def test_has_the_synopsis_of_the_help(self):
        """Options with whether they take a value and whether they are needed, and what a command is for."""
        synopsis = only("command-line.md", "pastille repair SOURCE --to FOLDER [").text
        told = {command: line for command, line in re.findall(r"(?m)^pastille (\w+) (.*(?:\n +.*)*)", synopsis)}
        self.assertEqual(set(told), set(self.helps))
        for command, text in self.helps.items():
            with self.subTest(command):
                line = told[command]
                options = {name: (bool(value), " REQUIRED" in value) for name, value in
                           re.findall(r"(?m)^ +(?:-h,)?(--[a-z-]+)((?: [A-Z]+)*)  ", text) if name != "--help"}
                optional = re.findall(r"\[(?:[^][]|\[[^]]*\])*\]", line)
                self.assertEqual(options, {
                    name: (bool(value), not any(name in part for part in optional))
                    for name, value in re.findall(r"(--[a-z-]+)( [\w|]+)?", line)})
                source = re.search(r"Positionals:\n +(\w+)", text)[1]
                self.assertEqual(line.split()[0], source.upper())


if __name__ == "__main__":
    unittest.main()
