"""Holds the manual's list of messages against the texts in the code, in both directions."""

import pathlib
import re
import unittest

from documents import MANUAL, ROOT, place, run

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


def cells_of_manual():
    page = (MANUAL / "messages.md").read_text(encoding="utf-8")
    return re.findall(r"(?m)^\| (.*?[`…]) \| ", page)


def messages_of_manual():
    return [simplified(span) for cell in cells_of_manual() for span in re.findall(r"`([^`]+)`", cell)]


def forms_of_manual(in_front):
    """Each message as a whole: between its pieces, and where "…" ends it, anything may stand."""
    for cell in cells_of_manual():
        for message in re.split(r"(?<=[`…]), ", cell):
            pieces = [re.escape(simplified(piece)) for piece in re.findall(r"`([^`]+)`", message)]
            front = in_front if message.startswith("…") else ""
            end = r"(?:\W.*)?" if message.endswith("…") else ""
            yield re.compile(front + ".*".join(pieces) + end)


def complaints_of_the_command_line():
    """What the library that reads the command line says of wrong ones."""
    repair = ["repair", "mail.pst", "--to", "to"]
    wrong = ([], ["none"], ["repair"], repair[:2], repair[:3], [*repair, "--complete", "--kind", "xyz"],
             [*repair, "--kind"], [*repair, "--kind", "pst"], [*repair, "--none"], [*repair, "a", "b"], ["repair", "", "--to", "to"],
             [*repair, "--code-page", "none"], [*repair, "--to", "to"], [*repair, "--json=maybe"], ["list"],
             ["list", "a", "--folder"], ["check"])
    with place() as folder:
        for arguments in wrong:
            result = run(arguments, folder)
            assert result.returncode == 2, arguments
            yield from result.stderr.strip().split("\n")


class Texts(unittest.TestCase):
    def test_of_the_code_are_in_the_manual(self):
        told, forms = messages_of_manual(), list(forms_of_manual(in_front=r"(?:%\d )?"))
        self.assertTrue(told)
        others = set(OTHERS.read_text(encoding="utf-8").split("\n"))
        for text, path in texts_of_code().items():
            with self.subTest(str(path), text=text):
                # The code has a message with a name in it as pieces, or as a whole with a placeholder.
                known = text in told or any(form.fullmatch(text) for form in forms)
                self.assertTrue(known or text in others,
                                "neither in docs/manual/messages.md nor in tests/docs/other_texts.txt")

    def test_of_the_manual_are_in_the_code(self):
        code = " \n ".join(simplified("".join(LITERAL.findall(found[0])))
                           for folder in FOLDERS for suffix in ("*.cpp", "*.h")
                           for path in (ROOT / folder).rglob(suffix)
                           for found in LITERALS.finditer(path.read_text(encoding="utf-8")))
        foreign = "\n".join(complaints_of_the_command_line())
        for message in messages_of_manual():
            with self.subTest(message):
                self.assertTrue(message in code or message in foreign)

    def test_of_the_command_line_are_in_the_manual(self):
        forms = list(forms_of_manual(in_front=r"\S.* "))  # the option or argument that it is about
        for complaint in complaints_of_the_command_line():
            with self.subTest(complaint):
                self.assertTrue(any(form.fullmatch(complaint) for form in forms))

    def test_that_are_no_messages_are_still_in_the_code(self):
        others = set(OTHERS.read_text(encoding="utf-8").split("\n")) - {""}
        self.assertEqual(others - set(texts_of_code()), set())


if __name__ == "__main__":
    unittest.main()
