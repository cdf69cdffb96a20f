"""Runs pastille.exe under Wine and holds what it does against this host's own program.

Ends with 77, which counts as skipped, when there is no Wine or no pastille.exe.
"""
import argparse
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

OPTIONS = None
WINE = None
# What every Windows has.
SYSTEM_LIBRARIES = {"bcrypt.dll", "kernel32.dll", "msvcrt.dll", "ole32.dll", "shell32.dll"}
SAMPLES = ["contacts-ansi.pst", "submessage.pst", "dist-list.pst", "support.pst", "mailbox-4k.ost"]


def windows_path(path):
    """As the Windows side sees a path of this host: Wine has its root as drive Z."""
    return "Z:" + str(path).replace("/", "\\")


def host_paths(value):
    """The same value with the paths of the Windows side as this host writes them."""
    if isinstance(value, dict):
        return {key: host_paths(each) for key, each in value.items()}
    if isinstance(value, list):
        return [host_paths(each) for each in value]
    if isinstance(value, str):
        return re.sub(r"Z:(\\[^\n]*)", lambda found: found[1].replace("\\", "/"), value)
    return value


class Result:
    def __init__(self, status, out, err):
        self.status = status
        self.out = out.decode()
        self.err = err.decode()

    def json(self):
        return json.loads(self.out)


def without_now(value, start):
    """The same value with the times of the run itself, which some items get, as one."""
    if isinstance(value, dict):
        return {key: without_now(each, start) for key, each in value.items()}
    if isinstance(value, list):
        return [without_now(each, start) for each in value]
    is_time = isinstance(value, str) and re.fullmatch(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ", value)
    return "now" if is_time and value >= start else value


def run(command, home, **environment):
    variables = dict(os.environ, PASTILLE_HOME=str(home), **environment)
    # No pipes: Wine's own services would hold them open for seconds after the program has ended.
    with tempfile.TemporaryFile() as out, tempfile.TemporaryFile() as err:
        finished = subprocess.run(command, env=variables, stdin=subprocess.DEVNULL, stdout=out, stderr=err,
                                  timeout=300)
        out.seek(0)
        err.seek(0)
        return Result(finished.returncode, out.read(), err.read())


class Side:
    """One of the two programs, with a folder of its own."""

    def __init__(self, scratch, name):
        self.folder = scratch / name
        self.home = self.folder / "home"
        self.home.mkdir(parents=True)

    def output(self, name):
        folder = self.folder / name
        folder.mkdir()
        return folder


class LinuxSide(Side):
    path = staticmethod(str)

    def run(self, *arguments):
        return run([OPTIONS.program, *arguments], self.home)


class WindowsSide(Side):
    path = staticmethod(windows_path)

    def run(self, *arguments):
        return run([WINE, executable("cli/pastille.exe"), *arguments], windows_path(self.home), **wine_environment())


def executable(name):
    return str(OPTIONS.windows / name)


def wine_environment():
    # Nothing of it needs a screen; the add-ons for web pages and .NET would be asked for with windows.
    return {"WINEPREFIX": str(OPTIONS.prefix), "WINEARCH": "win64", "WINEDEBUG": "-all", "DISPLAY": "",
            "LC_ALL": "C.UTF-8", "WINEDLLOVERRIDES": "mscoree,mshtml=;winemenubuilder.exe=d"}


def without(report, *keys):
    return {key: value for key, value in report.items() if key not in keys}


class WindowsProgram(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.scratch = pathlib.Path(scratch.name).resolve()
        self.start = time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime(time.time() - 1))
        self.linux = LinuxSide(self.scratch, "linux")
        self.windows = WindowsSide(self.scratch, "windows")

    def repair(self, side, source, *options):
        to = side.output("to" + "".join(options))
        result = side.run("repair", side.path(source), "--to", side.path(to), "--json", "--quiet", *options)
        self.assertEqual(result.status, 0, result.err + result.out)
        return result.json()

    def contents(self, side, store):
        """Every folder of a store with its items, read by one side."""
        listed = side.run("list", side.path(store), "--json")
        self.assertEqual(listed.status, 0, listed.err)
        found = host_paths(without(listed.json(), "file", "store"))
        for folder in listed.json()["folders"]:
            if side is self.windows or folder["items"] == 0:
                continue
            items = side.run("list", side.path(store), "--folder", folder["path"], "--json")
            self.assertEqual(items.status, 0, items.err)
            found[folder["path"]] = without(items.json(), "file", "store")
        return without_now(found, self.start)

    def compare_repairs(self, source, *options):
        linux = self.repair(self.linux, source, *options)
        windows = self.repair(self.windows, source, *options)
        outputs = ("output", "log", "report", "phaseSeconds")
        self.assertEqual(host_paths(without(windows, *outputs)), without(linux, *outputs))
        for key in ("output", "log", "report"):
            self.assertEqual((host_paths(windows)[key] or "").replace(str(self.windows.folder), ""),
                             (linux[key] or "").replace(str(self.linux.folder), ""))
        store = host_paths(windows)["output"]
        expected = self.contents(self.linux, linux["output"])
        self.assertGreater(len(expected["folders"]), 5)
        self.assertEqual(self.contents(self.linux, store), expected)
        self.assertEqual(self.contents(self.windows, store)["folders"], expected["folders"])
        checked = self.linux.run("check", store)
        self.assertEqual(checked.status, 0, checked.out)
        if linux["report"]:
            texts = [pathlib.Path(host_paths(each)["report"]).read_text() for each in (linux, windows)]
            reports = [host_paths(without(json.loads(text), "output")) for text in texts]
            self.assertEqual(reports[1], reports[0])

    def test_recovers_the_same(self):
        sources = [OPTIONS.examples / "damaged.pst"]
        sources += [OPTIONS.samples / name for name in SAMPLES if (OPTIONS.samples / name).is_file()]
        for source in sources:
            for options in ((), ("--complete",)):
                with self.subTest(source=source.name, options=options):
                    self.setUp()
                    self.compare_repairs(source, *options)

    def test_smart_scan_finds_the_same(self):
        source = OPTIONS.examples / "damaged.pst"
        reports = [side.run("scan", side.path(source), "--smart", "--json", "--quiet")
                   for side in (self.linux, self.windows)]
        linux, windows = (host_paths(without(report.json(), "phaseSeconds")) for report in reports)
        self.assertEqual(windows, linux)

    def test_paths_of_any_length_and_script(self):
        deep = self.scratch.joinpath(*["folder with a long name " * 4 + str(i) for i in range(4)])
        deep.mkdir(parents=True)
        self.assertGreater(len(str(deep)), 300)
        source = deep / "Üçler 日本 \U0001F4EC.pst"
        shutil.copy(OPTIONS.examples / "damaged.pst", source)
        report = self.windows.run("repair", windows_path(source), "--to", windows_path(deep), "--json")
        self.assertEqual(report.status, 0, report.err)
        store = deep / "Üçler 日本 \U0001F4EC Recovered" / "Üçler 日本 \U0001F4EC Recovered.pst"
        self.assertEqual(host_paths(report.json())["output"], str(store))
        self.assertTrue(store.is_file())
        self.assertEqual(sorted(each.name for each in store.parent.iterdir()),
                         ["LogInformation.log", store.name])
        log = (store.parent / "LogInformation.log").read_bytes().decode("utf-16")
        self.assertIn(windows_path(source), log)
        listed = self.windows.run("list", windows_path(store))
        self.assertEqual(listed.status, 0, listed.err)

    def test_refusals(self):
        good = OPTIONS.examples / "damaged.pst"
        to = str(self.scratch)
        junk = self.scratch / "junk.pst"
        junk.write_bytes(b"nothing" * 1000)
        taken = self.scratch / "damaged Recovered"
        taken.mkdir()
        cases = [("repair", self.scratch / "missing.pst", "--to", to), ("repair", self.scratch, "--to", to),
                 ("repair", junk, "--to", to), ("repair", good, "--to", to), ("check", junk),
                 ("repair", good, "--to", self.scratch / "no such folder"),
                 ("scan", good, "--code-page", "no-such-page"), ("list", good, "--folder", "\\no such folder"),
                 ("repair", good)]
        for case in cases:
            with self.subTest(case=case):
                answers = [side.run(*(side.path(each) if "/" in str(each) else str(each) for each in case))
                           for side in (self.linux, self.windows)]
                linux, windows = ((each.status, host_paths(re.sub(r"\d\d:\d\d:\d\d", "", each.err)))
                                  for each in answers)
                self.assertNotEqual(linux[0], 0)
                self.assertEqual(windows, linux)
        for device in ("NUL", "CON", r"\\.\pipe\nobody"):
            self.assertEqual(self.windows.run("scan", device, "--quiet").status, 1)

    def test_one_file_with_the_systems_libraries(self):
        headers = subprocess.run(["x86_64-w64-mingw32-objdump", "-p", executable("cli/pastille.exe")],
                                 capture_output=True, text=True, check=True).stdout
        used = {name.lower() for name in re.findall(r"DLL Name: (\S+)", headers)}
        self.assertIn("kernel32.dll", used)
        self.assertLessEqual(used, SYSTEM_LIBRARIES)
        self.assertRegex(headers, r"SizeOfStackReserve\s+0*800000\b")
        version = self.windows.run("--version")
        self.assertEqual((version.status, version.out), (0, self.linux.run("--version").out))

    def test_files_and_code_pages_of_the_host(self):
        tests = executable("tests/windows/windows_platform_tests.exe")
        if not os.path.exists(tests):
            self.skipTest("windows_platform_tests.exe has not been built")
        result = run([WINE, tests, "--gtest_brief=1"], windows_path(self.windows.home), **wine_environment())
        self.assertEqual(result.status, 0, result.out)


def find_wine():
    return shutil.which("wine64") or shutil.which("wine64", path="/usr/lib/wine")


def main():
    global OPTIONS, WINE
    parser = argparse.ArgumentParser()
    parser.add_argument("--program", required=True)
    for name in ("windows", "examples", "samples", "prefix"):
        parser.add_argument("--" + name, required=True, type=lambda text: pathlib.Path(text).resolve())
    OPTIONS, rest = parser.parse_known_args()
    WINE = find_wine()
    missing = "Wine" if WINE is None else None if os.path.exists(executable("cli/pastille.exe")) else "pastille.exe"
    if missing:
        print(f"Skipped: there is no {missing}.")
        return 77
    OPTIONS.prefix.mkdir(parents=True, exist_ok=True)
    return 0 if unittest.main(argv=sys.argv[:1] + rest, exit=False).result.wasSuccessful() else 1


if __name__ == "__main__":
    sys.exit(main())
