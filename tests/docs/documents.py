"""The documents of this repository, and places to try what they say."""

import contextlib
import os
import pathlib
import re
import shutil
import subprocess
import tempfile
from typing import NamedTuple

ROOT = pathlib.Path(__file__).resolve().parents[2]
PROGRAM = pathlib.Path(os.environ["PASTILLE_PROGRAM"])
MANUAL = ROOT / "docs" / "manual"
EXAMPLE = ROOT / "examples" / "damaged.pst"


def documents():
    """Every Markdown file of the repository that is for readers."""
    folders = [ROOT, ROOT / "docs", MANUAL, ROOT / "docs" / "issue-templates", ROOT / "examples", ROOT / "tests"]
    return [page for folder in folders for page in sorted(folder.glob("*.md"))]


class Block(NamedTuple):
    page: pathlib.Path
    line: int
    language: str  # "indented" for one without fences
    text: str

    def __str__(self):
        return f"{self.page.relative_to(ROOT)}:{self.line}"


def blocks(page):
    """The code blocks of a page."""
    found, lines = [], page.read_text(encoding="utf-8").split("\n")
    at = 0
    while at < len(lines):
        fence = re.match(r"( *)```(\S*)$", lines[at])
        start = at + 1
        if fence:
            at = next(i for i in range(start, len(lines)) if lines[i].strip() == "```")
            text = "\n".join(line[len(fence[1]):] for line in lines[start:at])
            found.append(Block(page, start, fence[2], text + "\n"))
        elif re.match(r" {4}\S", lines[at]) and not lines[at - 1].strip():
            while at < len(lines) and (lines[at].startswith("    ") or not lines[at].strip()):
                at += 1
            found.append(Block(page, start, "indented", "\n".join(line[4:] for line in lines[start - 1:at])))
            continue
        at += 1
    return found


def spans(page):
    """The pieces of code within a page's text, each with what can be said of its place."""
    text = page.read_text(encoding="utf-8")
    text = re.sub(r"(?ms)^ *```.*?^ *```", "", text)
    return [(f"{page.relative_to(ROOT)}: {span}", span) for span in re.findall(r"`([^`]+)`", text)]


def man_examples(page):
    """The commands below EXAMPLES in a man page, one after the other."""
    text = page.read_text(encoding="utf-8").split("\n.Sh EXAMPLES\n")[1].split("\n.Sh ")[0]
    literal = re.findall(r"(?ms)^\.Bd -literal.*?\n(.*?)^\.Ed$|^\.Dl (.*?\n)", text)
    commands = ["".join(parts) for parts in literal]
    for escape, character in ((r"\(aq", "'"), (r"\(dq", '"'), (r"\-", "-"), (r"\e", "\\")):
        commands = [command.replace(escape, character) for command in commands]
    return commands


def table(text):
    """The rows of the first table, heading first, each a list of cells."""
    rows = re.search(r"(?m)(^\|.*\n)+", text)[0].strip().split("\n")
    cells = [[cell.strip() for cell in re.split(r"(?<!\\)\|", row)[1:-1]] for row in rows]
    return [cells[0]] + cells[2:]


def run(arguments, folder, **options):
    environment = dict(os.environ, PASTILLE_HOME=str(folder / ".pastille"))
    return subprocess.run([str(PROGRAM), *map(str, arguments)], cwd=folder, env=environment, text=True,
                          encoding="utf-8", capture_output=True, check=False, timeout=120, **options)


@contextlib.contextmanager
def place():
    """A folder with the files that the documents speak of: mail.pst, which is damaged, and recovered.pst."""
    with tempfile.TemporaryDirectory(prefix="pastille-docs-") as name:
        folder = pathlib.Path(name)
        shutil.copy(EXAMPLE, folder / "mail.pst")
        shutil.copy(recovered_store(), folder / "recovered.pst")
        yield folder


_made = tempfile.TemporaryDirectory(prefix="pastille-docs-")


def recovered_store():
    """What a repair makes of mail.pst."""
    folder = pathlib.Path(_made.name)
    store = folder / "mail Recovered" / "mail Recovered.pst"
    if not store.exists():
        shutil.copy(EXAMPLE, folder / "mail.pst")
        result = run(["repair", "mail.pst", "--to", folder, "--quiet"], folder)
        assert result.returncode == 0, result.stderr
    return store


def damage(store, fits):
    """Breaks a block of a sound store such that `fits` holds for it; each place in turn."""
    sound = store.read_bytes()
    for offset in range(0x4800, len(sound) - 16, 0x240):
        broken = bytearray(sound)
        broken[offset:offset + 16] = bytes(b ^ 0x5A for b in broken[offset:offset + 16])
        store.write_bytes(broken)
        if fits():
            return
    raise AssertionError("no damage does that")
