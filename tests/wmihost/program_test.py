#!/usr/bin/env python3
"""Runs the built wmihost with the built provider, as a user does, and compares exit codes and whole texts.

    program_test.py BIN WORK PROMTOOL

BIN is a build's folder of programs, PROMTOOL Prometheus' checker of metrics. The Wine prefix lies below WORK.
"""

import json
import pathlib
import re
import shlex
import subprocess
import sys
import unittest

import tour
from program import TOP, Program, run_tests

PREFIX = pathlib.Path(sys.argv[2]).resolve() / "program-prefix"
PROGRAM = Program(sys.argv[1], PREFIX)
PROMTOOL = pathlib.Path(sys.argv[3]).resolve()

PROFILE = 'Zerix_RegisteredProfile="Vexal:Profile:EthernetPort"'
SETTING = 'Zerix_DiagnosticSetting="Vexal:DiagnosticSetting"'
# Parts of the document's examples that differ between machines or runs: adapters, jobs, counters, times.
OF_ONE_MACHINE = ("-4E6574446576", "Vexal:Job:", " ms\n", "the first adapter,")
NEEDS_INSTALLATION = ("wmihost --service self-test",)
DENIED = """: failed
  WBEM_E_ACCESS_DENIED (0x80041003): access is denied
  Try: change writable properties only, and ask with --impersonation impersonate as a user with the right
"""
PROFILE_TABLE = """\
InstanceID                  RegisteredOrganization  OtherRegisteredOrganization  RegisteredName       \
RegisteredVersion  AdvertiseTypes
--------------------------  ----------------------  ---------------------------  -------------------  \
-----------------  --------------
Vexal:Profile:EthernetPort  Other                   Vexal                        Vexal Ethernet Port  \
1.0.0              Not Advertised
"""


def wmihost(*arguments, **options):
    return PROGRAM.wmihost(*arguments, **options)


def setUpModule():
    PROGRAM.set_up()


def tearDownModule():
    PROGRAM.tear_down()


def only_path(class_name, *conditions):
    code, out, _ = wmihost("list", class_name, "--property", "__RELPATH", *conditions, "--format", "json")
    paths = [instance["__RELPATH"] for instance in json.loads(out)] if code == 0 else []
    return paths[0]


class Program(unittest.TestCase):
    maxDiff = None

    def expect(self, arguments, code, out, error=""):
        self.assertEqual(wmihost(*arguments), (code, out, error))

    def test_a_change_is_kept_until_the_defaults_are_restored(self):
        before = wmihost("get", SETTING)
        self.assertEqual((before[0], before[2]), (0, ""))
        code, out, error = wmihost("set", SETTING, "SampleCount=7", "ElementName=Nightly")
        self.assertEqual((code, error), (0, ""))
        changed = {line.split()[0]: line.split(None, 1)[1:] for line in out.split("\n") if line}
        self.assertEqual((changed["SampleCount"], changed["ElementName"]), (["7"], ["Nightly"]))
        self.expect(["get", SETTING], 0, out)
        self.expect(["invoke", SETTING, "RestoreDefaults", "Names=*"], 0,
                    "Output       Value\n-----------  ---------------------------\n"
                    "ReturnValue  0 (Completed with No Error)\n")
        self.assertEqual(wmihost("get", SETTING), before)

    def test_a_method_without_any_argument_gets_no_object_and_fails(self):
        code, out, error = wmihost("invoke", SETTING, "RestoreDefaults")
        self.assertEqual((code, out), (1, ""))
        self.assertIn("WBEM_E_FAILED", error)

    def test_a_job_is_followed_to_its_end_and_deleted(self):
        port = only_path("Zerix_EthernetPort")
        code, out, error = wmihost("invoke", port, "RunLinkDiagnostic", "SampleCount=2", "--wait")
        match = re.fullmatch(
            "Output       Value\n"
            "-----------  -+\n"
            'Job          (Zerix_ConcreteJob\\.InstanceID="Vexal:Job:[0-9]+-[0-9]+")\n'
            "ReturnValue  4096 \\(Job Started\\)\n"
            "job ended: 7 \\(Completed\\)\n", out)
        self.assertTrue(match, out)
        self.assertEqual(code, 0)
        # The number of visible steps depends on timing, but the last one is always visible.
        self.assertRegex(error, r"^((0|50) % (New|Starting|Running)\n|100 % Running\n)*100 % Completed\n$")
        job = match[1]
        self.expect(["get", job, "--property", "JobState,PercentComplete"], 0,
                    "Property         Value\n---------------  -------------\n"
                    "JobState         7 (Completed)\nPercentComplete  100\n")
        self.expect(["delete", job], 0, f"deleted {job}\n")
        self.expect(["get", job], 1, "", f"""wmihost get {job}: failed
  WBEM_E_NOT_FOUND (0x80041002): there is no such object
  Try: list the class to see the paths and names that exist
""")

    def test_counters_are_watched(self):
        code, out, error = wmihost("watch", "Zerix_EthernetPortStatistics", "--count", "2", "--interval", "50",
                                   "--property", "BytesReceived,PacketsReceived")
        self.assertEqual((code, error), (0, ""))
        lines = out.split("\n")[:-1]
        half = len(lines) // 2
        for table in (lines[:half], lines[half:]):
            self.assertEqual(table[0].split(), ["Instance", "Activity", "BytesReceived", "PacketsReceived"])
            for row in table[2:]:
                self.assertRegex(row, r"^Vexal:PortStatistics:\{[0-9A-F-]{36}\} +#* +[0-9.e+]+ [kMG]?B/s +"
                                      r"[0-9.e+]+ [kMG]?/s$")
        self.assertEqual(half - 2, len(wmihost("list", "Zerix_EthernetPort")[1].split("\n")) - 3)

    def test_metrics_are_what_prometheus_reads(self):
        code, out, error = wmihost("metrics")
        self.assertEqual((code, error), (0, ""))
        checked = subprocess.run([PROMTOOL, "check", "metrics"], input=out, text=True, capture_output=True, check=False)
        self.assertEqual((checked.returncode, checked.stdout + checked.stderr), (0, ""), out)
        self.assertNotIn("\r", out)
        ports = len(wmihost("list", "Zerix_EthernetPort")[1].split("\n")) - 3
        self.assertEqual(out.count("\nzerix_port_info{"), ports)
        self.assertIn("\nzerix_read_success 1\n", out)
        # An alert on a metric that no program writes would never be raised.
        rules = (TOP / "install" / "prometheus" / "zerix.rules.yml").read_text(encoding="utf-8")
        asked = set(re.findall(r"zerix_[a-z_]+", re.sub(r"#.*", "", rules)))
        self.assertGreater(len(asked), 9)
        self.assertLessEqual(asked, set(re.findall(r"^# TYPE (\S+) ", out, re.M)))

    def test_metrics_count_the_jobs_of_all_hosts(self):
        def counts():
            return re.findall(r"^zerix_jobs_(\w+) (\d+)$", wmihost("metrics")[1], re.M)

        before = dict(counts())
        port = only_path("Zerix_EthernetPort")
        command = ["/usr/lib/wine/wine64", str(PROGRAM.programs / "wmihost.exe"), "invoke", port, "RunLinkDiagnostic",
                   "SampleCount=600", "--wait"]
        with subprocess.Popen(command, env=PROGRAM.environment(), stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL) as host:
            try:
                running = []
                while not running and host.poll() is None:
                    running = json.loads(wmihost("list", "Zerix_ConcreteJob", "--where", "JobState=4", "--format",
                                                 "json")[1] or "[]")
                self.assertEqual(dict(counts()), {"running": "1", "failed": before["failed"]})
            finally:
                host.kill()
        # The host that ran the job has ended, and so has the job.
        self.assertEqual(dict(counts()), {"running": "0", "failed": str(int(before["failed"]) + 1)})
        self.assertEqual(wmihost("delete", f'Zerix_ConcreteJob="{running[0]["InstanceID"]}"')[0], 0)
        self.assertEqual(dict(counts()), before)

    def test_the_self_test_passes_every_kind_of_request(self):
        _, out, _ = wmihost("list", "Zerix_EthernetPort", "--format", "json")
        ports = json.loads(out)
        self.expect(["self-test"], 0, f"""\
Request    Verdict  Detail
---------  -------  ---------------------------------
enumerate  passed   {len(ports)} {"adapter" if len(ports) == 1 else "adapters"}
get        passed   the first adapter, {ports[0]["Name"]}
put        passed   the diagnostic setting, unchanged
invoke     passed   RunLinkDiagnostic started a job
delete     passed   the job is gone
""")

    def test_each_level_of_impersonation_has_its_answer(self):
        for level in ("none", "impersonate", "delegate"):
            with self.subTest(level):
                self.expect(["list", "Zerix_RegisteredProfile", "--impersonation", level], 0, PROFILE_TABLE)
        for level in ("anonymous", "identify"):
            with self.subTest(level):
                self.expect(["list", "Zerix_RegisteredProfile", "--impersonation", level], 1, "",
                            f"wmihost list Zerix_RegisteredProfile --impersonation {level}" + DENIED)

    def test_queries_are_answered(self):
        code, out, error = wmihost("query", "SELECT Name, DeviceID FROM Zerix_EthernetPort WHERE NOT DeviceID IS NULL",
                                   "--format", "json")
        self.assertEqual((code, error), (0, ""))
        ports = json.loads(out)
        listed = json.loads(wmihost("list", "Zerix_EthernetPort", "--property", "Name,DeviceID", "--format", "json")[1])
        self.assertEqual(ports, listed)
        code, out, error = wmihost("query",
                                   f"SELECT Name FROM Zerix_EthernetPort WHERE DeviceID = '{ports[0]['DeviceID']}'")
        self.assertEqual((code, out.split("\n")[2:], error), (0, [ports[0]["Name"], ""], ""))
        self.expect(["query", "SELECT Name FROM Zerix_EthernetPort WHERE Name = 'of nobody'", "--format", "json"], 0,
                    "[]\n", "the query found nothing\n")

    def test_what_is_related_to_a_port_is_found_from_both_ends(self):
        port = only_path("Zerix_EthernetPort").replace('"', "'")
        found = json.loads(wmihost("related", port, "--format", "json")[1])
        self.assertLessEqual({"Zerix_EthernetPortStatistics", "Zerix_IPConfiguration", "Zerix_AdapterSetting",
                              "Zerix_DiagnosticSetting", "Zerix_RegisteredProfile"},
                             {instance["__CLASS"] for instance in found})
        for instance in found:
            path = instance["__PATH"].replace('"', "'")
            back = json.loads(wmihost("related", path, "--where", "ResultClass=Zerix_EthernetPort", "--format",
                                      "json")[1])
            self.assertIn(port, [end["__PATH"].split(":", 1)[1].replace('"', "'") for end in back], path)
        links = json.loads(wmihost("related", port, "--references", "--format", "json")[1])
        self.assertEqual(len(links), len(found))

    def test_many_requests_at_once_are_counted(self):
        summary = r"^12 requests, 0 failures, slowest [0-9]+\.[0-9] ms, mean [0-9]+\.[0-9] ms\n$"
        for command in (["list", "Zerix_EthernetPort"], ["get", PROFILE]):
            with self.subTest(command[0]):
                code, out, error = wmihost(*command, "--threads", "4", "--repeat", "3")
                self.assertEqual((code, error), (0, ""))
                self.assertRegex(out, summary)
        code, out, error = wmihost("get", PROFILE, "--repeat", "5", "--impersonation", "identify")
        self.assertEqual((code, error), (1, "first failure: WBEM_E_ACCESS_DENIED (0x80041003): access is denied\n"))
        self.assertRegex(out, r"^5 requests, 5 failures, ")

    def test_each_example_of_the_document_is_what_the_program_writes(self):
        document = (TOP / "docs" / "wmihost.md").read_text()
        (PREFIX / "bad.mof").write_text("class A\n{\n    [key] string Name;\n    uint8 Value\n};\n")
        host = re.search(r"\\\\\\\\(\w+)\\\\root", wmihost("list", "Zerix_RegisteredProfile", "--format", "json")[1])[1]
        asked = set()
        for example in re.findall(r"^```\n\$ wmihost *(.*)\n((?:(?!```).*\n)*)```", document, re.MULTILINE):
            arguments, expected = shlex.split(example[0]), example[1]
            asked.add(arguments[0] if arguments else "list")
            if any(of_that_machine in " ".join(example) for of_that_machine in OF_ONE_MACHINE):
                continue
            with self.subTest(example[0]):
                code, out, error = wmihost(*arguments, folder=PREFIX)
                failed = "FAILED" in out or re.match(r"wmihost.*: (failed|the MOF cannot be read)\n", error)
                self.assertEqual(code, 2 if "--help shows all that it takes" in error else 1 if failed else 0)
                self.assertEqual((out + error).replace("\r\n", "\n").replace("\\\\" + host + "\\", "\\\\VM\\").rstrip("\n"),
                                 expected.rstrip("\n"))
        self.assertLessEqual({"classes", "describe", "list", "get", "query", "related", "set", "delete", "invoke", "watch",
                              "metrics", "self-test"}, asked)

    def lines_of(self, language):
        document = (TOP / "docs" / "wmihost.md").read_text(encoding="utf-8")
        lines = [line for block in re.findall(rf"^```{language}\n(.*?)^```", document, re.M | re.S)
                 for line in block.splitlines()]
        self.assertGreater(len(lines), 4)
        return lines

    def test_lines_for_sh_work(self):
        for line in self.lines_of("sh"):
            with self.subTest(line):
                code, out, error = PROGRAM.shell(line, folder=PREFIX)
                # This machine's WMI does not know the product's classes.
                self.assertEqual(code, 1 if line in NEEDS_INSTALLATION else 0, out + error)

    def test_completion_for_powershell_is_understood(self):
        code, out, error = wmihost("completion", "powershell")
        self.assertEqual((code, error), (0, ""))
        script = PREFIX / "completion.ps1"
        script.write_text(out, encoding="utf-8")
        parsed = subprocess.run([TOP / "tests/tools/powershell-test", PREFIX.parent / "powershell", script], text=True,
                                capture_output=True, check=False)
        self.assertEqual(parsed.returncode, 0, parsed.stderr)
        commands = re.findall(r"(?m)^  ([a-z-]+) {2,}[A-Z]", wmihost("--help")[1])
        self.assertEqual(re.findall(r"(?m)^        '([a-z-]+)' = '-", out), commands)

    def test_lines_for_cmd_work(self):
        for line in self.lines_of("bat"):
            with self.subTest(line):
                (PREFIX / "line.cmd").write_text(f"@set PATH=Z:{str(PROGRAM.programs).replace('/', chr(92))};%PATH%\r\n@{line}\r\n",
                                                 encoding="cp1252")
                code, out, error = PROGRAM.wine("cmd", "/c", "line.cmd", folder=PREFIX)
                self.assertEqual((code, error), (0, ""), out)

    def test_the_tour_is_what_the_program_writes(self):
        document = (TOP / "docs" / "tour.md").read_text(encoding="utf-8")
        examples = re.findall(r"^```\n\$ (.*)\n((?:(?!```).*\n)*)```", document, re.MULTILINE)
        self.assertGreater(len(examples), 9)
        for line, expected in examples:
            with self.subTest(line):
                _, out, error = PROGRAM.shell(tour.command(line, only_path("Zerix_EthernetPort")), folder=PREFIX)
                self.assertEqual(tour.masked(out + error), tour.masked(expected))


if __name__ == "__main__":
    sys.exit(run_tests(sys.argv[4:]))
