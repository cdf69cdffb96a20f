"""Holds the manual's page of exit statuses against the program."""

import os
import signal
import subprocess
import unittest

from documents import MANUAL, PROGRAM, damage, place, run, table


def statuses():
    """The page's table: by command and what its cell says."""
    rows = table((MANUAL / "exit-status.md").read_text(encoding="utf-8"))
    return {(command, text.strip()): int(row[0])
            for row in rows[1:]
            for head, cell in zip(rows[0][1:], row[1:])
            for command in head.replace("`", "").split(", ")
            for text in cell.split(",") + [cell]}


class ExitStatus(unittest.TestCase):
    def setUp(self):
        self.told = statuses()

    def expect(self, command, said, result):
        status = [value for (name, text), value in self.told.items() if name == command and said in text]
        self.assertTrue(status, f"the page does not say of {command}: {said}")
        self.assertEqual(result.returncode, status[0], result.stderr)

    def test_of_runs(self):
        with place() as folder:
            to = folder / "to"
            to.mkdir()
            self.expect("repair", "done", run(["repair", "mail.pst", "--to", to], folder))
            self.expect("repair", "failed", run(["repair", "none.pst", "--to", to], folder))
            self.expect("repair", "failed", run(["repair", "mail.pst", "--to", folder / "none"], folder))
            self.expect("repair", "command line was wrong", run(["repair", "mail.pst"], folder))
            self.expect("scan", "done", run(["scan", "mail.pst"], folder))
            self.expect("scan", "failed", run(["scan", "none.pst"], folder))
            self.expect("scan", "command line was wrong", run(["scan"], folder))

    def test_of_a_stopped_run(self):
        with place() as folder:
            os.truncate(folder / "mail.pst", 8 << 30)  # sparse: long to read, nothing on the disk
            (folder / "to").mkdir()
            for arguments in (["repair", "mail.pst", "--to", "to"], ["scan", "mail.pst"]):
                environment = dict(os.environ, PASTILLE_HOME=str(folder / ".pastille"))
                with subprocess.Popen([PROGRAM, *arguments], cwd=folder, env=environment, text=True,
                                      stdout=subprocess.DEVNULL, stderr=subprocess.PIPE) as process:
                    for line in process.stderr:
                        if "Collecting NBT entries" in line:
                            process.send_signal(signal.SIGINT)
                self.assertEqual(process.returncode,
                                 self.told[(arguments[0], "stopped by **Ctrl+C** or a signal to end")])

    def test_of_looking_at_stores(self):
        with place() as folder:
            store = folder / "recovered.pst"
            inbox = ["list", store, "--folder", "Inbox"]
            self.expect("list", "done", run(inbox, folder))
            self.expect("list", "no such folder", run(["list", store, "--folder", "None"], folder))
            self.expect("list", "wrong", run(["list"], folder))
            self.expect("check", "no errors", run(["check", store], folder))
            self.expect("check", "wrong", run(["check"], folder))
            damage(store, lambda: "Error" in run(inbox, folder).stderr)
            self.expect("list", "could not be read", run(inbox, folder))
            self.expect("check", "has errors", run(["check", store], folder))
            store.write_bytes(b"no store" * 1000)
            self.expect("list", "no store", run(inbox, folder))
            self.expect("check", "cannot be read as a store", run(["check", store], folder))


if __name__ == "__main__":
    unittest.main()
