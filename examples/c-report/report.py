#!/usr/bin/env python3
"""The same interface from Python: report.py [LIBRARY] > report.html"""

import ctypes
import sys

lib = ctypes.CDLL(sys.argv[1] if len(sys.argv) > 1 else "libcustom-quillon-reports.so.7")
lib.quillon_report_create.restype = ctypes.c_void_p
lib.quillon_report_error_message.restype = ctypes.c_char_p
for name in ("free", "error_message", "set_value_int", "set_value_double", "set_value_string", "write_html"):
    getattr(lib, "quillon_report_" + name).argtypes = [ctypes.c_void_p]
lib.quillon_report_set_value_double.argtypes += [ctypes.c_char_p, ctypes.c_double]

DEFINITION = b"""<report xmlns="http://brivane.example/2016/BrivaneReports" name="Cache study">
  <reportMetrics>
    <reportMetric id="hits" displayName="Hits" units="%"/>
    <reportMetric id="misses" displayName="Misses" units="%"/>
  </reportMetrics>
  <summary>
    <heading>Where accesses found their data:</heading>
    <entry id="hits" reportMetric="hits"/>
    <entry id="misses" reportMetric="misses"/>
  </summary>
  <subsections/>
</report>"""

report = lib.quillon_report_create(DEFINITION)
lib.quillon_report_set_value_string(report, b"applicationDetails.exeName", b"report.py")
lib.quillon_report_set_value_int(report, b"applicationDetails.processes.plain", 1)
lib.quillon_report_set_value_string(report, b"applicationDetails.profiledRanks", b"All")
lib.quillon_report_set_value_double(report, b"hits", 93.5)
lib.quillon_report_set_value_double(report, b"misses", 6.5)

page = ctypes.c_char_p()
if lib.quillon_report_write_html(report, ctypes.byref(page)) != 0:
    sys.exit("report.py: " + lib.quillon_report_error_message(report).decode())
sys.stdout.buffer.write(page.value)
ctypes.CDLL(None).free(page)
lib.quillon_report_free(report)
