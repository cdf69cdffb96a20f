"""Follows the links of the documents and of the built manual, and looks where its pictures come from.

Counts as skipped (77) where the manual was not built, after all has passed that can be told without it."""

import html.parser
import os
import pathlib
import re
import sys
import unittest

from documents import MANUAL, ROOT, documents

IS_BUILT = bool(os.environ["PASTILLE_MANUAL"])
BUILT = pathlib.Path(os.environ["PASTILLE_MANUAL"])
PICTURES = MANUAL / "pictures"


class Page(html.parser.HTMLParser):
    def __init__(self, path):
        super().__init__()
        self.targets, self.names, self.without_text = [], set(), []
        self.feed(path.read_text(encoding="utf-8"))

    def handle_starttag(self, tag, attrs):
        attributes = dict(attrs)
        self.names.add(attributes.get("id"))
        self.targets += [attributes[name] for name in ("href", "src") if name in attributes]
        if tag == "img" and not attributes.get("alt"):
            self.without_text.append(attributes["src"])


def listed_pages():
    lines = (MANUAL / "pages.txt").read_text(encoding="utf-8").split("\n")
    return [line.split()[0] for line in lines if line and not line.startswith("#")]


class Links(unittest.TestCase):
    def test_of_pages_are_all_listed(self):
        self.assertEqual({path.stem for path in MANUAL.glob("*.md")}, set(listed_pages()))

    @unittest.skipUnless(IS_BUILT, "The manual was not built.")
    def test_lead_to_pages_of_the_manual(self):
        pages = {path.name: Page(path) for path in BUILT.glob("*.html")}
        self.assertEqual({name.removesuffix(".html") for name in pages}, set(listed_pages()))
        for name, page in pages.items():
            self.assertEqual(page.without_text, [])
            self.assertNotIn("raw HTML omitted", (BUILT / name).read_text(encoding="utf-8"))
            for target in page.targets:
                with self.subTest(name, target=target):
                    file, _, anchor = target.partition("#")
                    self.assertTrue((BUILT / (file or name)).is_file())
                    if anchor:
                        self.assertIn(anchor, pages[file or name].names)

    def test_of_documents_lead_to_files(self):
        for page in documents():
            text = re.sub(r"(?ms)^```.*?^```", "", page.read_text(encoding="utf-8"))
            for target in re.findall(r"\]\(([^)\s]+)\)", text):
                with self.subTest(str(page.relative_to(ROOT)), target=target):
                    if not target.startswith("https://"):
                        self.assertTrue((page.parent / target.partition("#")[0]).exists())

    def test_code_that_documents_name_is_there(self):
        folders = [path.name for path in ROOT.iterdir() if path.is_dir() and path.name not in ("build", "out")]
        for page in documents():
            for name in re.findall(rf"`((?:{'|'.join(folders)})/[\w/*.-]+)`", page.read_text(encoding="utf-8")):
                with self.subTest(str(page.relative_to(ROOT)), name=name):
                    self.assertTrue(any(ROOT.glob(name.rstrip("/"))) or any(ROOT.glob(name + ".*")))

    @unittest.skipUnless(IS_BUILT, "The manual was not built.")
    def test_windows_open_pages_that_exist(self):
        source = "".join(path.read_text(encoding="utf-8") for path in (ROOT / "app").glob("*.cpp"))
        opened = set(re.findall(r'"([\w-]+\.html)"', source))
        self.assertTrue(opened)
        self.assertEqual({name for name in opened if not (BUILT / name).is_file()}, set())

    def test_pictures_are_made_by_the_screenshots_program(self):
        makers = (ROOT / "tests" / "app").glob("Screenshots*.cpp")
        made = set(re.findall(r'"([\w-]+)"', "".join(path.read_text(encoding="utf-8") for path in makers)))
        text = "".join(page.read_text(encoding="utf-8") for page in documents())
        used = set(re.findall(r"pictures/([\w-]+)\.png", text))
        self.assertTrue(used)
        self.assertEqual(used - made, set())
        self.assertEqual(used, {path.stem for path in PICTURES.glob("*.png")})


if __name__ == "__main__":
    program = unittest.main(exit=False)
    sys.exit(1 if not program.result.wasSuccessful() else 77 if program.result.skipped else 0)
