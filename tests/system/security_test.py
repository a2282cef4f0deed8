"""What a job, a definition or a name from somewhere else can't do."""

import os
import pathlib
import re
import shlex
import socket
import unittest

from harness import CLIENT, QUILLON_REPORT, SystemTest

HEAD = 'xmlns="http://brivane.example/2016/BrivaneReports" name="Partial"'
# Control characters but tabs and line feeds.
OBEYED = re.compile("[\x00-\x08\x0b-\x1f\x7f-\x9f]")


class Spool(SystemTest):
    def job(self, script):
        """A job that ends with some work, so that there is something to report."""
        return self.quillon_report("-o", "x.txt", "sh", "-c", f"{script}; {shlex.quote(CLIENT)} spin 0.2")

    def test_folder_is_the_users_alone(self):
        os.chmod(self.temporary, 0o1777)
        mask = os.umask(0)
        self.addCleanup(os.umask, mask)
        names = []
        for _ in range(2):
            result = self.job('for f in "$QUILLON_SAMPLER_SPOOL" "${QUILLON_SAMPLER_SPOOL%/*}"; do '
                              'stat -c "%n %a" "$f"; done; stat -c "%a" "$QUILLON_SAMPLER_SPOOL"/*')
            self.assertExit(result, 0)
            spool, folder, *files = result.stdout.decode().splitlines()
            self.assertEqual(spool, f"{folder.split()[0]}/spool 700")
            self.assertRegex(folder, rf"^{re.escape(str(self.temporary))}/fern-\w{{6}} 700$")
            self.assertEqual(set(files), {"600"})
            names.append(folder)
        self.assertNotEqual(*names)
        self.assertEqual(list(self.temporary.iterdir()), [])

    def test_links_in_it_lead_nowhere(self):
        kept = self.root / "kept"
        kept.mkdir()
        (kept / "file").write_text("mine")
        result = self.job(f'ln -s {kept} "$QUILLON_SAMPLER_SPOOL/folder"; '
                          f'ln -s {kept}/file "$QUILLON_SAMPLER_SPOOL/a.spool"; '
                          'mkfifo "$QUILLON_SAMPLER_SPOOL/pipe.spool"')
        self.assertExit(result, 0)
        self.assertEqual((kept / "file").read_text(), "mine")
        self.assertEqual(list(self.temporary.iterdir()), [])


class Terminal(SystemTest):
    NAME = "x\x1b[2J\x9b31m\x07y"

    def test_messages_hold_nothing_that_it_obeys(self):
        result = self.quillon_report("./" + self.NAME)
        self.assertExit(result, 127)
        message = result.stderr.decode()
        self.assertIsNone(OBEYED.search(message), message)
        self.assertIn("no such program: './x?[2J?31m?y'", message)

        result = self.quillon_report("--" + self.NAME)
        self.assertExit(result, 2)
        self.assertIsNone(OBEYED.search(result.stderr.decode()), result.stderr)

    def test_text_reports_hold_nothing_that_it_obeys(self):
        program = self.folder / self.NAME
        program.symlink_to(CLIENT)
        for output in ("x.txt", "x.json"):
            result = self.quillon_report("-v", "-o", output, str(program), "spin", "0.2", BRIVANE_NOTES=self.NAME)
            self.assertExit(result, 0)
            self.assertIsNone(OBEYED.search(result.stderr.decode()), result.stderr)
        text = (self.folder / "x.txt").read_text()
        self.assertIsNone(OBEYED.search(text), text)
        self.assertIn("x?[2J?31m?y", text)
        # Programs get what it was.
        self.assertEqual(self.values("x.json")["applicationDetails.notes"], self.NAME)


class Definitions(SystemTest):
    def report(self, definition):
        file = self.folder / "definition.xml"
        file.write_text(f'<?xml version="1.0" encoding="UTF-8"?>\n{definition}')
        return self.quillon_report("-o", "x.txt", CLIENT, "spin", "0.2", BRIVANE_PARTIAL_REPORT_SOURCE=str(file))

    @staticmethod
    def section(text):
        return (f'<partialReport {HEAD}><subsections><subsection id="s" heading="S" order="1" maxAdviceStrings="1">'
                f'<text>{text}</text><entry reportMetric="cpu.scalarNumPercent"/></subsection></subsections>'
                '</partialReport>')

    def test_reach_no_network(self):
        with socket.create_server(("127.0.0.1", 0)) as server:
            address = f"http://127.0.0.1:{server.getsockname()[1]}"
            self.assertExit(self.report(
                f'<partialReport {HEAD} xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance" '
                f'xsi:schemaLocation="http://other.example/x {address}/x.xsd '
                f'http://brivane.example/2016/BrivaneReports {address}/y.xsd"/>'), 1)
            self.report(f'<!DOCTYPE partialReport SYSTEM "{address}/x.dtd" '
                        f'[<!ENTITY % p SYSTEM "{address}/p"> %p; <!ENTITY e SYSTEM "{address}/e">]>\n'
                        f'<partialReport {HEAD}/>')
            server.settimeout(0.2)
            with self.assertRaises(TimeoutError):
                server.accept()

    def test_read_no_other_files(self):
        secret = self.root / "secret"
        secret.write_text("word")
        self.assertExit(self.report(f'<!DOCTYPE partialReport [<!ENTITY e SYSTEM "file://{secret}">]>\n'
                                    + self.section("[&e;]")), 0)
        self.assertIn("\nS:\n[]\n", (self.folder / "x.txt").read_text())

    def test_are_not_looked_for_in_the_working_folder(self):
        (self.folder / "report-default.xml").write_text("no definition")
        (self.folder / "validation.xsd").write_text("no schema")
        for name in ("partial-reports", "quillon-reports", "reports"):
            (self.folder / name).mkdir()
            (self.folder / name / "x.xml").write_text("no definition")
        self.assertExit(self.quillon_report("-o", "x.txt", CLIENT, "spin", "0.2"), 0)

    def test_texts_with_templates_reach_values_alone(self):
        self.assertExit(self.report(self.section(
            "[{{applicationDetails.exeName.constructor}}{{applicationDetails.exeName.split}}"
            "{{lookup @root 'constructor'}}{{#with applicationDetails.exeName.sub}}found{{/with}}]")), 0)
        self.assertIn("\nS:\n[]\n", (self.folder / "x.txt").read_text())


class Connector(SystemTest):
    def test_is_the_file_that_was_named(self):
        """A name without a folder is that of a file here, and not that of a program in PATH."""
        for folder in (self.folder, self.root / "bin"):
            folder.mkdir(exist_ok=True)
            program = folder / "connector"
            program.write_text(f"#!/bin/sh\ntouch {folder}/was-here\n")
            program.chmod(0o755)
        result = self.quillon_report("--dcim-output", "-o", "x.txt", CLIENT, "spin", "0.2",
                                     BRIVANE_DCIM_SCRIPT="connector", PATH=f"{self.root}/bin:{os.environ['PATH']}")
        self.assertExit(result, 0)
        self.assertTrue((self.folder / "was-here").exists())
        self.assertFalse((self.root / "bin" / "was-here").exists())

    def test_knows_nothing_of_the_sampler(self):
        program = self.folder / "connector"
        program.write_text("#!/bin/sh\nenv >environment\n")
        program.chmod(0o755)
        self.assertExit(self.quillon_report("--dcim-output", "-o", "x.txt", CLIENT, "spin", "0.2",
                                            BRIVANE_DCIM_SCRIPT=str(program)), 0)
        environment = (self.folder / "environment").read_text()
        self.assertIn("BRIVANE_DCIM_SCRIPT=", environment)
        self.assertNotIn("LD_PRELOAD", environment)
        self.assertNotIn("QUILLON_SAMPLER", environment)


class Output(SystemTest):
    def test_a_link_that_waits_under_the_name_is_not_followed(self):
        """Names that the tool chooses are free names; a link to nowhere takes one, too."""
        self.assertExit(self.quillon_report(CLIENT, "spin", "0.2"), 0)
        page, text = self.files()
        victim = self.root / "victim"
        for name in (page, text):
            os.remove(self.folder / name)
            (self.folder / name).symlink_to(victim)
        self.assertExit(self.quillon_report(CLIENT, "spin", "0.2"), 0)
        self.assertFalse(victim.exists())


if __name__ == "__main__":
    unittest.main()
