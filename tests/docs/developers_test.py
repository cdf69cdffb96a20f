"""Looks at the commands of the documents that build, measure or need a display, and are too dear to be run: whether
their programs, presets, targets and options are there."""

import functools
import json
import os
import re
import shlex
import unittest

from documents import ROOT, blocks, documents, place, run, spans

# Programs of the system; what stands behind them is not looked at.
FOREIGN = {"sudo"}
PROGRAMS = re.compile(r"(?:[A-Z_]+=\S+ )*(?:\./\w+|cmake|ninja|ctest|pastille|repair|"
                      r"build/(?!fuzz/(?:corpus|findings)$)\S+/[\w.]+|"
                      r"(?:bench|fuzz)/\w+|tests/\S+/with_display|docs/\S+/make)(?: |$)")


@functools.cache
def presets(kind):
    made = json.loads((ROOT / "CMakePresets.json").read_text(encoding="utf-8"))[kind]
    return {preset["name"] for preset in made if not preset.get("hidden")}


@functools.cache
def targets():
    lists = [ROOT / "CMakeLists.txt", *(path for folder in ("cli", "app", "bench", "fuzz", "tests")
                                        for path in (ROOT / folder).rglob("CMakeLists.txt"))]
    text = "\n".join(path.read_text(encoding="utf-8") for path in lists)
    names = set(re.findall(r"(?m)^\s*(?:add_executable|pastille_add_\w+|pastille_test)\((\w+)", text))
    return names | {f"fuzz_{path.name.removesuffix('Target.cpp').lower()}"
                    for path in (ROOT / "fuzz").glob("*Target.cpp")}


@functools.cache
def usage_of_run():
    """What ./run does besides running the program: by its word, how many arguments."""
    script = (ROOT / "run").read_text(encoding="utf-8")
    told = {word: arguments for word, arguments in re.findall(r"(?m)^#   \./run ([a-z]+)((?: [A-Z[.\]]+)*)", script)}
    return {word: len(arguments.split()) for word, arguments in told.items()
            if re.search(rf"(?m)^{word}\)$", script)}


@functools.cache
def help_of(command):
    with place() as folder:
        return run([command, "--help"], folder).stdout


@functools.cache
def source_of(folder):
    return "\n".join(path.read_text(encoding="utf-8") for path in sorted((ROOT / folder).glob("*"))
                     if path.suffix in ("", ".cpp", ".h") and path.is_file())


def commands_of(text):
    """The command lines of a text, each as its words without the variables in front."""
    for line in text.split("\n"):
        for part in re.split(r" && |; ", line):
            words = shlex.split(part, comments=True)
            while words and re.match(r"[A-Z_]+=", words[0]):
                del words[0]
            if words:
                yield words


class Developers(unittest.TestCase):
    def look(self, words):
        program, *rest = words
        if program in FOREIGN:
            return
        if program == "./run":
            self.look_at_run(rest)
        elif program in ("pastille", "repair"):
            self.look_at_options(rest if program == "pastille" else words)
        elif program in ("cmake", "ctest", "ninja"):
            self.look_at_build(program, rest)
        elif program.startswith("build/"):
            self.look_at_program(program, rest)
        else:
            self.assertTrue(os.access(ROOT / program, os.X_OK), program)
            if program.endswith("/with_display") and rest:
                self.look(rest)
            elif program != "./test":  # which hands all to ctest
                self.expect_options(rest, (ROOT / program).read_text(encoding="utf-8"))

    def expect_options(self, words, text):
        for word in words:
            if word.startswith("--") and not word.startswith("--gtest"):
                self.assertRegex(text, rf"{word.partition('=')[0]}\b")

    def look_at_run(self, words):
        if words and words[0].isalpha() and words[0] not in ("repair", "scan", "list", "check"):
            self.assertIn(words[0], usage_of_run())
            self.assertLessEqual(len(words) - 1, usage_of_run()[words[0]])
        else:
            self.look_at_options(words)

    def look_at_options(self, words):
        if words and re.match(r"[a-z]", words[0]):
            self.assertIn("Usage: pastille " + words[0], help_of(words[0]))
            self.expect_options([word.strip("[]") for word in words[1:]], help_of(words[0]))

    def look_at_build(self, program, words):
        kind = "configurePresets"
        if "--build" in words:
            kind = "buildPresets"
        elif "--workflow" in words:
            kind = "workflowPresets"
        elif program == "ctest":
            kind = "testPresets"
        for before, word in zip(words, words[1:]):
            if before == "--preset":
                self.assertIn(word, presets(kind))
            elif before in ("-C", "--test-dir"):
                self.assertIn(word.removeprefix("build/"), presets("configurePresets"))
        if program == "ninja":
            self.assertEqual(set(words[2:]) - targets(), set())

    def look_at_program(self, path, words):
        _, preset, *folders, name = path.split("/")
        self.assertIn(preset, presets("configurePresets"))
        if name == "pastille.exe":
            name = "pastille"
        self.assertIn(name, targets())
        folder = "/".join(folders)
        lists = (ROOT / folder / "CMakeLists.txt").read_text(encoding="utf-8")
        self.assertTrue(name in lists or name.startswith("fuzz_"), f"{name} is not made in {folder}")
        self.expect_options(words, source_of(folder))
        for word in words:
            if word.startswith("--gtest_filter="):
                suite = word.partition("=")[2].rstrip("*")
                self.assertRegex(source_of(folder), rf"TEST\w*\({suite}")

    def test_blocks_of_commands_name_what_is_there(self):
        found = 0
        for page in documents():
            for block in blocks(page):
                # An indented block may be a picture too; every line of a bash block is a command.
                if block.language == "bash" or (block.language == "indented" and PROGRAMS.match(block.text)):
                    for words in commands_of(block.text):
                        found += 1
                        with self.subTest(str(block), words=words):
                            self.look(words)
        self.assertGreater(found, 20)

    def test_commands_within_texts_name_what_is_there(self):
        found = 0
        for page in documents():
            for where, span in spans(page):
                if PROGRAMS.match(span) and not span.endswith("/"):
                    for words in commands_of(span):
                        found += 1
                        with self.subTest(where, words=words):
                            self.look(words)
        self.assertGreater(found, 20)


if __name__ == "__main__":
    unittest.main()
