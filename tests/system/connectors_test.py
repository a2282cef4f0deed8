"""The installed connectors: what they make of a run's metrics for Ganglia and for Prometheus."""

import contextlib
import os
import pathlib
import re
import shutil
import socket
import stat
import subprocess
import time
import unittest
import xml.etree.ElementTree

from harness import BIN, CLIENT, SystemTest

CONNECTORS = BIN.parent / "share" / "quillon-reports"
GANGLIA = str(CONNECTORS / "ganglia-connector" / "qr-dcim")
PROMETHEUS = str(CONNECTORS / "prometheus-connector" / "qr-dcim")

# Takes the place of gmetric: writes its arguments to a file, each with a NUL byte behind it, and a line feed
# behind the last.
STAND_IN = """#!/bin/sh
{ printf '%s\\0' "$@"; echo; } >>"$RECORD"
exit ${STATUS:-0}
"""

# Receives on one address of this machine, measures nothing of its own, and talks to nobody.
GMOND_CONF = """
globals {{ daemonize = no setuid = no mute = yes deaf = no send_metadata_interval = 0 }}
cluster {{ name = "test" }}
udp_recv_channel {{ port = {port} bind = 127.0.0.1 }}
tcp_accept_channel {{ port = {port} bind = 127.0.0.1 }}
"""
GMETRIC_CONF = """
globals {{ send_metadata_interval = 0 }}
cluster {{ name = "test" }}
udp_send_channel {{ host = 127.0.0.1 port = {port} }}
"""


def options(name, value, units="", title="", kind="double"):
    """The options of one metric, as the tool gives them."""
    words = [f"-V{name}={value}"]
    words += [f"-U{name}={units}"] if units else []
    words += [f"-T{name}={title}"] if title else []
    return words + [f"-t{name}={kind}", f"-g{name}=brivane"]


def many(count):
    words = []
    for i in range(count):
        words += options(f"com.brivane.metric{i}", i, "B/s", f"Metric number {i}")
    return words


class Ganglia(SystemTest):
    def setUp(self):
        super().setUp()
        self.gmetric = self.folder / "gmetric"
        self.gmetric.write_text(STAND_IN)
        self.gmetric.chmod(0o755)
        self.record = self.folder / "record"

    def send(self, *words, gmetric=None, **variables):
        return self.run_program(
            GANGLIA, *words, QR_DCIM_GMETRIC=str(gmetric or self.gmetric), RECORD=str(self.record), **variables
        )

    def calls(self):
        """The arguments of each call of gmetric."""
        calls = self.record.read_text().split("\0\n")
        return [call.split("\0") for call in calls[:-1]]

    def test_a_call_for_each_metric(self):
        result = self.send(
            *options("com.brivane.cpu.memPercent", "12.5", "%", "Memory"),
            *options("com.brivane.application.hasGpu", "1", kind="uint8"),
        )
        self.assertExit(result, 0)
        self.assertEqual(
            self.calls(),
            [
                ["--name=com.brivane.cpu.memPercent", "--value=12.5", "--type=double", "--units=%",
                 "--title=Memory", "--group=brivane"],
                ["--name=com.brivane.application.hasGpu", "--value=1", "--type=uint8", "--group=brivane"],
            ],
        )
        self.assertEqual(result.stdout, b"sent 2 metrics\n")
        self.assertEqual(result.stderr, b"")

    def test_options_go_by_the_metric_in_any_order(self):
        self.assertExit(self.send("-ga=x", "-Tb=B", "-Va=1", "-Vb=2", "-tb=int32"), 0)
        self.assertEqual(
            self.calls(),
            [
                ["--name=a", "--value=1", "--type=string", "--group=x"],
                ["--name=b", "--value=2", "--type=int32", "--title=B"],
            ],
        )

    def test_words_arrive_as_they_are(self):
        title = "a = b $HOME `id` \\ %1 Größe"
        self.assertExit(self.send(*options("a", "-1.5e-07", "1/s", title)), 0)
        self.assertIn("--value=-1.5e-07", self.calls()[0])
        self.assertIn(f"--title={title}", self.calls()[0])

    def test_file_that_names_the_receivers(self):
        self.assertExit(self.send("-Va=1", QR_DCIM_GMOND_CONF="/etc/own.conf"), 0)
        self.assertEqual(self.calls()[0][0], "--conf=/etc/own.conf")

    def test_no_metrics(self):
        self.assertExit(self.send(), 0)
        self.assertFalse(self.record.exists())

    def test_many_metrics_on_one_command_line(self):
        self.assertExit(self.send(*many(5000)), 0)
        calls = self.calls()
        self.assertEqual(len(calls), 5000)
        self.assertEqual(calls[4999][:2], ["--name=com.brivane.metric4999", "--value=4999"])

    def test_failure_of_gmetric(self):
        result = self.send("-Va=1", "-Vb=2", STATUS="3")
        self.assertExit(result, 1)
        self.assertEqual(len(self.calls()), 1)
        self.assertEqual(result.stderr.decode(), f"qr-dcim: {self.gmetric} failed for a\n")

    def test_missing_gmetric(self):
        result = self.send("-Va=1", gmetric="/nonesuch/gmetric")
        self.assertExit(result, 127)
        self.assertEqual(
            result.stderr.decode(), "qr-dcim: cannot run /nonesuch/gmetric: No such file or directory\n"
        )

    def test_gmetric_is_found_through_path(self):
        path = f"{self.folder}:{os.environ['PATH']}"
        self.assertExit(self.run_program(GANGLIA, "-Va=1", PATH=path, RECORD=str(self.record)), 0)
        self.assertEqual(len(self.calls()), 1)

    def test_wrong_options(self):
        for words in (("-Xa=1",), ("-Va",), ("-V=1",), ("Va=1",), ("",), ("-Ta=only a title",)):
            with self.subTest(words=words):
                self.assertExit(self.send(*words), 2)
                self.assertFalse(self.record.exists())


@unittest.skipUnless(shutil.which("gmetric") and shutil.which("gmond", path="/usr/sbin:/usr/bin"),
                     "ganglia-monitor isn't installed")
class RealGmetric(SystemTest):
    def setUp(self):
        super().setUp()
        with socket.socket(socket.AF_INET, socket.SOCK_STREAM) as probe:
            probe.bind(("127.0.0.1", 0))
            self.port = probe.getsockname()[1]
        (self.folder / "gmond.conf").write_text(GMOND_CONF.format(port=self.port))
        (self.folder / "gmetric.conf").write_text(GMETRIC_CONF.format(port=self.port))
        self.gmond = self.start_program(
            shutil.which("gmond", path="/usr/sbin:/usr/bin"), "-f", "-c", str(self.folder / "gmond.conf")
        )
        deadline = time.monotonic() + 20
        while True:
            with contextlib.suppress(OSError):
                self.received()
                return
            self.assertIsNone(self.gmond.poll(), "gmond has ended")
            self.assertLess(time.monotonic(), deadline, "gmond doesn't answer")
            time.sleep(0.05)

    def received(self):
        """What the receiver knows: by metric, its attributes and those of its further data."""
        with socket.create_connection(("127.0.0.1", self.port), timeout=10) as connection:
            content = b""
            while part := connection.recv(65536):
                content += part
        metrics = {}
        for metric in xml.etree.ElementTree.fromstring(content).iter("METRIC"):
            values = {key: metric.get(key) for key in ("VAL", "TYPE", "UNITS")}
            values.update({extra.get("NAME"): extra.get("VAL") for extra in metric.iter("EXTRA_ELEMENT")})
            metrics[metric.get("NAME")] = values
        return metrics

    def wait_for(self, *names):
        deadline = time.monotonic() + 10
        while not set(names) <= set(received := self.received()):
            self.assertLess(time.monotonic(), deadline, f"only {sorted(received)} came")
            time.sleep(0.05)
        return received

    def test_metrics_arrive(self):
        result = self.run_program(
            GANGLIA,
            *options("com.brivane.cpu.memPercent", "12.5", "%", "it's \"quoted\" & <tagged>"),
            *options("com.brivane.application.hasGpu", "1", kind="uint8"),
            *options("com.brivane.application.processes", "-64", "processes", "Processes", kind="int32"),
            *options("com.brivane.cpu.vectorNumPercent", "nan", "%"),
            QR_DCIM_GMOND_CONF=str(self.folder / "gmetric.conf"),
        )
        self.assertExit(result, 0)
        received = self.wait_for("com.brivane.cpu.vectorNumPercent")
        memory = received["com.brivane.cpu.memPercent"]
        self.assertEqual((memory["VAL"], memory["TYPE"], memory["UNITS"]), ("12.5", "double", "%"))
        self.assertEqual(memory["GROUP"], "brivane")
        self.assertEqual(memory["TITLE"], "it's \"quoted\" & <tagged>")
        has_gpu = received["com.brivane.application.hasGpu"]
        self.assertEqual((has_gpu["VAL"], has_gpu["TYPE"]), ("1", "uint8"))
        self.assertEqual(received["com.brivane.application.processes"]["VAL"], "-64")
        self.assertEqual(received["com.brivane.cpu.vectorNumPercent"]["VAL"], "nan")

    def test_metrics_of_a_run_arrive(self):
        result = self.quillon_report(
            "--dcim-output", "-o", "x.json", CLIENT, "spin", "0.5",
            QR_DCIM_GMOND_CONF=str(self.folder / "gmetric.conf"),
        )
        self.assertExit(result, 0)
        received = self.wait_for("com.brivane.overview.cpu.percent", "com.brivane.threads.syncPercent")
        self.assertGreater(float(received["com.brivane.overview.cpu.percent"]["VAL"]), 90)
        self.assertEqual(received["com.brivane.application.processes"]["VAL"], "1")
        self.assertEqual({metric["GROUP"] for metric in received.values()}, {"brivane"})
        self.assertNotIn("string", {metric["TYPE"] for metric in received.values()})

    def test_configuration_that_cannot_be_read(self):
        result = self.run_program(GANGLIA, "-Va=1", QR_DCIM_GMOND_CONF=str(self.folder / "nonesuch"))
        self.assertExit(result, 1)
        self.assertIn(b"qr-dcim: gmetric failed for a\n", result.stderr)


class Prometheus(SystemTest):
    def write(self, *words, file="run.prom", **variables):
        return self.run_program(PROMETHEUS, *words, QR_DCIM_TEXTFILE=file, **variables)

    def content(self):
        return (self.folder / "run.prom").read_text()

    def test_a_sample_for_each_metric(self):
        result = self.write(
            *options("com.brivane.cpu.memPercent", "12.5", "%", "Memory"),
            *options("com.brivane.application.hasGpu", "1", kind="uint8"),
        )
        self.assertExit(result, 0)
        self.assertEqual(
            self.content(),
            "# TYPE com_brivane_cpu_memPercent gauge\n"
            'com_brivane_cpu_memPercent{id="com.brivane.cpu.memPercent",title="Memory",units="%"} 12.5\n'
            "# TYPE com_brivane_application_hasGpu gauge\n"
            'com_brivane_application_hasGpu{id="com.brivane.application.hasGpu"} 1\n',
        )

    def test_labels_are_escaped(self):
        self.assertExit(self.write(*options("a", "1", title='back\\slash "quotes"\ntwo lines')), 0)
        self.assertIn('title="back\\\\slash \\"quotes\\"\\ntwo lines"', self.content())

    def test_numbers_of_all_kinds(self):
        for given, written in (("nan", "NaN"), ("inf", "+Inf"), ("-inf", "-Inf"), ("1.5e-07", "1.5e-07"), ("-3", "-3")):
            with self.subTest(number=given):
                self.assertExit(self.write(*options("a", given)), 0)
                self.assertEqual(self.content().splitlines()[1], f'a{{id="a"}} {written}')

    def test_texts_are_labels(self):
        self.assertExit(self.write(*options("a", 'two "words"', kind="string")), 0)
        self.assertEqual(self.content().splitlines()[1], 'a{id="a",text="two \\"words\\""} 1')

    def test_ids_that_give_one_name_stand_together(self):
        self.assertExit(self.write("-V1.a=1", "-Vb=2", "-V1-a=3"), 0)
        self.assertEqual(
            self.content(),
            '# TYPE _1_a gauge\n_1_a{id="1.a"} 1\n_1_a{id="1-a"} 3\n# TYPE b gauge\nb{id="b"} 2\n',
        )

    def test_many_metrics_on_one_command_line(self):
        self.assertExit(self.write(*many(5000)), 0)
        samples = [line for line in self.content().splitlines() if not line.startswith("#")]
        self.assertEqual(len(samples), 5000)
        for sample in samples:
            self.assertRegex(sample, r'\A[a-z]\w+\{id="[^"]+",title="[^"]+",units="B/s"\} [0-9]+\Z')

    def test_file_is_replaced_as_a_whole(self):
        old = self.folder / "run.prom"
        old.write_text("old\n")
        with old.open() as reader:
            self.assertExit(self.write("-Va=1"), 0)
            self.assertEqual(reader.read(), "old\n")
        self.assertIn("a{", self.content())
        self.assertEqual(self.files(), ["run.prom"])

    def test_file_can_be_read_by_the_exporter(self):
        self.assertExit(self.run_program("sh", "-c", 'umask 022; exec "$0" -Va=1', PROMETHEUS, QR_DCIM_TEXTFILE="run.prom"), 0)
        self.assertEqual(stat.S_IMODE((self.folder / "run.prom").stat().st_mode), 0o644)

    def test_file_that_cannot_be_written(self):
        result = self.write("-Va=1", file="nonesuch/run.prom")
        self.assertExit(result, 1)
        self.assertEqual(
            result.stderr.decode(), "qr-dcim: cannot write nonesuch/run.prom: No such file or directory\n"
        )

    def test_failure_leaves_nothing_behind(self):
        (self.folder / "run.prom").mkdir()
        self.assertExit(self.write("-Va=1"), 1)
        self.assertEqual(self.files(), [])

    def test_metrics_of_a_run(self):
        result = self.quillon_report(
            "--dcim-output", "-o", "/dev/null", CLIENT, "spin", "0.5",
            FERN_DCIM_SCRIPT=PROMETHEUS, QR_DCIM_TEXTFILE="run.prom",
        )
        self.assertExit(result, 0)
        share = re.search(r"^com_brivane_overview_cpu_percent\{[^\n]*\} ([0-9.]+)$", self.content(), re.MULTILINE)
        self.assertGreater(float(share.group(1)), 90)


class Scripts(unittest.TestCase):
    def test_connectors_are_executable(self):
        for connector in (GANGLIA, PROMETHEUS):
            self.assertTrue(os.access(connector, os.X_OK), connector)

    def test_connectors_are_well_formed(self):
        for connector in (GANGLIA, PROMETHEUS):
            compile(pathlib.Path(connector).read_text(), connector, "exec")


if __name__ == "__main__":
    unittest.main()
