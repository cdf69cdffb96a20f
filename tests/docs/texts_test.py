"""Holds the manual's list of messages against the texts in the code, in both directions."""

import pathlib
import re
import unittest

from documents import MANUAL, ROOT

FOLDERS = ("app", "cli", "component", "platform", "preview", "recovery", "store", "writer")
# Texts that are shown, but are no messages: labels, headings, help and lines of the log.
OTHERS = pathlib.Path(__file__).with_name("other_texts.txt")

# Captions of properties, and a dictionary that a compression starts with.
WITHOUT_MESSAGES = {"GridRows.cpp", "RtfDictionary.h"}

LITERAL = re.compile(r'(?:u8|u|L)?"((?:[^"\\\n]|\\.)*)"')
LITERALS = re.compile(r'(?:(?:u8|u|L)?"(?:[^"\\\n]|\\.)*"\s*)+')
# Faults of the program itself, and of the format's structures, which stand behind a message.
NOT_FOR_PEOPLE = re.compile(r"(?:logic_error|length_error|invalid_argument|system_error|static_assert|CFormatError)"
                            r"[^;]{0,120}$")


def simplified(text):
    text = text.replace("\\r", "").replace("\\n", " ").replace('\\"', '"').replace("\\\\", "\\")
    return re.sub(r"\s+", " ", text).strip()


def texts(path):
    """What people may read of a source file: texts of several words, joined as the compiler joins them."""
    source = path.read_text(encoding="utf-8")
    source = re.sub(r'R"(\w*)\(.*?\)\1"', '""', source, flags=re.DOTALL)
    source = re.sub(r"(?m)^\s*(#include|//).*$|///<.*$|//[^\"\n]*$", "", source)
    for found in LITERALS.finditer(source):
        text = simplified("".join(LITERAL.findall(found[0])))
        if (re.search(r"[A-Za-z']+ [a-z']+|[a-z]+ [A-Za-z]+", text) and len(text.split()) >= 3 and
                not NOT_FOR_PEOPLE.search(source[:found.start()][-200:])):
            yield text


def texts_of_code():
    return {text: path.relative_to(ROOT)
            for folder in FOLDERS for suffix in ("*.cpp", "*.h") for path in (ROOT / folder).rglob(suffix)
            if path.name not in WITHOUT_MESSAGES for text in texts(path)}


def messages_of_manual():
    page = (MANUAL / "messages.md").read_text(encoding="utf-8")
    cells = re.findall(r"(?m)^\| (.*?[`…]) \| ", page)
    return [simplified(span) for cell in cells for span in re.findall(r"`([^`]+)`", cell)]


class Texts(unittest.TestCase):
    def test_of_the_code_are_in_the_manual(self):
        told = messages_of_manual()
        self.assertTrue(told)
        others = set(OTHERS.read_text(encoding="utf-8").split("\n"))
        for text, path in texts_of_code().items():
            with self.subTest(str(path), text=text):
                # A message with a name in it has pieces; those of one or two words say nothing alone.
                known = any(text == piece or piece.startswith(text) or text.startswith(piece) for piece in told)
                self.assertTrue(known or text in others,
                                "neither in docs/manual/messages.md nor in tests/docs/other_texts.txt")

    def test_of_the_manual_are_in_the_code(self):
        code = " \n ".join(simplified("".join(LITERAL.findall(found[0])))
                           for folder in FOLDERS for suffix in ("*.cpp", "*.h")
                           for path in (ROOT / folder).rglob(suffix)
                           for found in LITERALS.finditer(path.read_text(encoding="utf-8")))
        # Texts of the library that reads the command line.
        foreign = {"A subcommand is required", "is required", "--kind requires --complete",
                   "The following argument was not expected:"}
        self.assertLess(foreign, set(messages_of_manual()))
        for message in messages_of_manual():
            with self.subTest(message):
                self.assertTrue(message in code or message in foreign)

    def test_that_are_no_messages_are_still_in_the_code(self):
        others = set(OTHERS.read_text(encoding="utf-8").split("\n")) - {""}
        self.assertEqual(others - set(texts_of_code()), set())


if __name__ == "__main__":
    unittest.main()
