#!/usr/bin/env python3
"""Runs the built wmihost with the built provider like a user: on terminals of 40, 80 and 200 columns (tmux), on pipes and
with files.

    terminal_test.py BIN WORK
"""

import itertools
import json
import pathlib
import re
import signal
import subprocess
import sys
import tempfile
import time
import unittest

from program import Program, failure_of_wine, note_race, run_tests

WORK = pathlib.Path(sys.argv[2]).resolve()
PROGRAM = Program(sys.argv[1], WORK / "terminal-prefix")
# A socket's path has at most about a hundred characters, and the path of a build folder may be longer.
FOLDER = tempfile.TemporaryDirectory()
NUMBERS = itertools.count(1)
WIDTHS = (40, 80, 200)
LINES = 120
PATIENCE = 100  # seconds
# A narrow table omits these headings, because it shows the cells of a row below each other.
HEADINGS = {"Property", "Value", "Type", "Access", "Description", "Request", "Verdict", "Detail"}
SETTING = 'Zerix_DiagnosticSetting="Vexal:DiagnosticSetting"'


class Terminal:
    """A terminal with bash in it, and its screen."""

    def __init__(self, columns, lines=LINES):
        self.name = f"wmihost-{columns}x{lines}"
        # A separate server each: one that ends with its last session would refuse the next.
        self.socket = f"{FOLDER.name}/{next(NUMBERS)}"
        self.asked = 0
        shell = f"PATH='{PROGRAM.script()}':$PATH PS1= exec bash --noprofile --norc"
        self.tmux("new-session", "-d", "-s", self.name, "-x", str(columns), "-y", str(lines), shell)

    def tmux(self, *arguments):
        environment = {name: value for name, value in PROGRAM.environment().items()}
        done = subprocess.run(["tmux", "-u", "-S", self.socket, "-f", "/dev/null", *arguments],
                              env=dict(environment, TERM="xterm"), check=True, capture_output=True, timeout=60)
        return done.stdout.decode()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.tmux("kill-session", "-t", self.name)

    def type(self, *keys):
        self.tmux("send-keys", "-t", self.name, *keys)

    def screen(self):
        return self.tmux("capture-pane", "-p", "-t", self.name).rstrip("\n").split("\n")

    def wait_for(self, pattern):
        """The screen as soon as one of its lines matches the pattern."""
        end = time.monotonic() + PATIENCE
        while time.monotonic() < end:
            screen = self.screen()
            if any(re.search(pattern, line) for line in screen):
                return screen
            time.sleep(0.1)
        raise AssertionError(f"{pattern!r} did not appear:\n" + "\n".join(self.screen()))

    def run(self, line, errors=None):
        """What the command line leaves on the screen, and its exit code. Standard error goes to the file `errors` if one is
        given. The line is run once more if Wine has failed."""
        whole = line if errors is None else f"{line} 2>'{errors}'"
        shown, code = self.run_once(whole)
        race = failure_of_wine(code, "".join(shown), "" if errors is None else errors.read_text())
        if race is not None:
            note_race(race, line)
            shown, code = self.run_once(whole)
        return shown, code

    def run_once(self, line):
        self.asked += 1
        mark = f"end-{self.asked}-"
        self.type("-l", f"clear; {line}; echo {mark}$?")
        self.type("Enter")
        screen = self.wait_for(f"^{mark}[0-9]+$")
        place = max(i for i, text in enumerate(screen) if text.startswith(mark))
        shown = [text for text in screen[:place] if text]
        return shown, int(screen[place][len(mark):])


def setUpModule():
    PROGRAM.set_up()


def tearDownModule():
    PROGRAM.tear_down()


def first_port():
    return json.loads(PROGRAM.wmihost("list", "--property", "__RELPATH", "--format", "json")[1])[0]["__RELPATH"]


def cells_of(lines):
    """Whether each line below the headings is a row, and the joined text of each column."""
    rule = next(i for i, line in enumerate(lines) if set(line) <= set("- "))
    columns = [match.span() for match in re.finditer("-+", lines[rule])]
    rows = lines[rule + 1:]
    return rows, ["".join(row[begin:end].strip() for row in rows) for begin, end in columns]


def identities(instance):
    """The names of instances, of themselves or of what they refer to, within quotes."""
    return re.findall(r'[.,](?:DeviceID|InstanceID|Name)="([^"]*)"', instance["__PATH"].replace('\\"', '"'))


def class_names():
    return [entry["class"] for entry in json.loads(PROGRAM.wmihost("classes", "--format", "json")[1])]


class TerminalTest(unittest.TestCase):
    maxDiff = None

    def test_rows_are_told_apart_in_every_class(self):
        # The jobs and results that the commands show stay for the whole test.
        self.assertEqual(PROGRAM.wmihost("set", SETTING, "JobRetentionSeconds=3600")[0], 0)
        self.addCleanup(PROGRAM.wmihost, "invoke", SETTING, "RestoreDefaults", "Names=*")
        port = first_port()
        for _ in range(2):
            self.assertEqual(PROGRAM.wmihost("invoke", port, "RunLinkDiagnostic", "SampleCount=1", "--wait")[0], 0)
        classes = {name: json.loads(PROGRAM.wmihost("list", name, "--format", "json")[1]) for name in class_names()}
        for columns in WIDTHS:
            with Terminal(columns) as terminal:
                for name, instances in classes.items():
                    with self.subTest(name, columns=columns):
                        shown, code = terminal.run(f"wmihost list {name}", WORK / "errors.txt")
                        self.assertEqual(code, 0, (WORK / "errors.txt").read_text())
                        self.assertTrue(all(len(line) <= columns for line in shown))
                        rows, texts = cells_of(shown)
                        if len(rows) == len(instances):
                            self.assertEqual(len(set(rows)), len(rows), shown)
                        else:  # keys go on below: they are there as a whole
                            self.assertLess(columns, 80, shown)
                            for instance in instances:
                                for identity in identities(instance):
                                    self.assertTrue(any(identity in text for text in texts), shown)

    def test_what_is_left_out_is_named(self):
        with Terminal(80) as terminal:
            shown, code = terminal.run("wmihost list Zerix_EthernetPort")
            hint = " ".join(shown).split("--property ")[1].split(" ")[0]
            self.assertEqual(code, 0)
            shown, code = terminal.run(f"wmihost list Zerix_EthernetPort --property {hint}")
            self.assertEqual((code, shown[0].split()), (0, hint.split(",")))

    def test_one_instance_and_descriptions_fit(self):
        for columns in WIDTHS:
            with Terminal(columns) as terminal:
                for line in (f"wmihost get '{SETTING}'", "wmihost describe Zerix_DiagnosticSetting",
                             "wmihost set --help", "wmihost self-test"):
                    with self.subTest(line, columns=columns):
                        shown, code = terminal.run(line)
                        self.assertEqual(code, 0, shown)
                        self.assertTrue(all(len(text) <= columns for text in shown))
                        # A word is split only if it is longer than the line.
                        _, whole, _ = PROGRAM.shell(line)
                        whole = re.sub("(?m)^  wmihost .*$", "", whole)  # examples stay in one piece
                        words = {word for word in whole.split() if len(word) < columns - 8 and word.strip("-")}
                        self.assertLessEqual(words - HEADINGS, set(" ".join(shown).split()), shown)

    def test_watch_shows_what_fits_the_height(self):
        instances = len(json.loads(PROGRAM.wmihost("list", "Zerix_EthernetPortStatistics", "--format", "json")[1]))
        with Terminal(80, 5) as terminal:
            shown, code = terminal.run("wmihost watch Zerix_EthernetPortStatistics --count 2 --interval 50")
            self.assertEqual(code, 0)
            self.assertLessEqual(len(shown), 5)
            if instances > 1:
                self.assertRegex(" ".join(shown), f"{instances - 1} more instance")

    def test_interrupt_ends_watch_with_130(self):
        with Terminal(80) as terminal:
            terminal.type("-l", "clear; wmihost watch Zerix_EthernetPortStatistics; echo code=$?")
            terminal.type("Enter")
            terminal.wait_for("^Instance ")
            terminal.type("C-c")
            terminal.wait_for("code=130$")

    def test_interrupt_says_what_becomes_of_the_job(self):
        port = first_port()
        with Terminal(200) as terminal:
            terminal.type("-l", f"clear; wmihost invoke '{port}' RunLinkDiagnostic SampleCount=600 --wait; echo code=$?")
            terminal.type("Enter")
            terminal.wait_for(r"\] \d+ % Running")
            terminal.type("C-c")
            shown = " ".join(terminal.wait_for("code=130$"))
            job = re.search(r'interrupted: the job (\S+) was at \d+ %, Running; it ends with this process', shown)
            self.assertTrue(job, shown)
        code, out, _ = PROGRAM.wmihost("get", job[1], "--property", "JobState", "--format", "json")
        self.assertEqual((code, json.loads(out)["JobState"]), (0, 10))

    def test_shell_keeps_jobs_alive(self):
        port = first_port()
        with Terminal(200) as terminal:
            terminal.type("-l", "clear; wmihost shell; echo code=$?")
            terminal.type("Enter")
            terminal.wait_for("^wmihost>")
            terminal.type("-l", f"invoke '{port}' RunLinkDiagnostic SampleCount=20 -W")
            terminal.type("Enter")
            terminal.wait_for(r"\] \d+ % Running")
            terminal.type("C-c")
            terminal.wait_for("interrupted: the job .* it goes on")
            for _ in range(100):
                terminal.type("-l", "list Zerix_ConcreteJob -p JobState -w JobState=4 -q")
                terminal.type("Enter")
                if not terminal.wait_for("^JobState")[-2:] == ["Running"]:
                    break
            terminal.type("-l", "exit")
            terminal.type("Enter")
            terminal.wait_for("code=0$")


class PipeTest(unittest.TestCase):
    maxDiff = None

    def test_utf8_arguments_arrive_whole(self):
        code, out, error = PROGRAM.shell(f"wmihost set '{SETTING}' 'ElementName=Grüße, Zoë' -f json")
        self.assertEqual((code, json.loads(out)["ElementName"], error), (0, "Grüße, Zoë", ""))
        PROGRAM.wmihost("invoke", SETTING, "RestoreDefaults", "Names=*")

    def test_value_kept_otherwise_is_reported(self):
        code, out, error = PROGRAM.wmihost("set", SETTING, "ElementName=日本", "-f", "json")
        self.assertEqual((code, json.loads(out)["ElementName"]), (0, "??"))
        self.assertEqual(error, "wmihost set: ElementName was sent as '日本' and is kept as '??'\n")
        PROGRAM.wmihost("invoke", SETTING, "RestoreDefaults", "Names=*")

    def test_closed_pipe_ends_the_program(self):
        _, out, _ = PROGRAM.shell("set -o pipefail; wmihost watch Zerix_EthernetPortStatistics -i 10 | head -n 1; "
                                  "echo ${PIPESTATUS[0]}")
        self.assertRegex(out, r"^Instance .*\n1\n$")

    def test_full_disk_is_a_failure(self):
        for line in ("wmihost list", "wmihost classes --format json", "wmihost list --help", "wmihost --version"):
            with self.subTest(line):
                code, out, error = PROGRAM.shell(f"{line} >/dev/full")
                self.assertEqual((code, out), (1, ""))
                self.assertRegex(error, r"^wmihost: the output cannot be written: .*\S\n$")

    def test_interrupt_ends_a_pipe_with_130(self):
        with open(WORK / "watched.txt", "w+b") as out:
            program = subprocess.Popen(["/usr/lib/wine/wine64", str(PROGRAM.programs / "wmihost.exe"), "watch",
                                        "Zerix_EthernetPortStatistics", "-i", "20"], env=PROGRAM.environment(), stdout=out,
                                       stdin=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            end = time.monotonic() + PATIENCE
            while (WORK / "watched.txt").stat().st_size == 0 and time.monotonic() < end:
                time.sleep(0.05)
            program.send_signal(signal.SIGINT)
            self.assertEqual(program.wait(timeout=PATIENCE), 130)

    def test_shell_reads_a_pipe(self):
        port = first_port()
        lines = (f"invoke '{port}' RunLinkDiagnostic SampleCount=2 -f csv\n"
                 "list Zerix_ConcreteJob -p JobState -w JobState=4 -f csv\n"
                 f"invoke '{port}' RunLinkDiagnostic SampleCount=2 -f csv\n")
        code, out, error = PROGRAM.wmihost("shell", stdin=lines.encode())
        # The first job was still running when the third line was executed, so the port was in use.
        self.assertEqual((code, out.split("\r\n")[2:5]), (1, ["JobState", "4", "Job,ReturnValue"]), out + error)
        self.assertIn("RunLinkDiagnostic returned 6 (In Use)", error)

    def test_bash_completes(self):
        script = PROGRAM.wmihost("completion", "bash")[1]
        (WORK / "completion.bash").write_text(script)
        for words, expected in ((["li"], {"list"}), (["list", "--fo"], {"--format"}),
                                (["list", "--format", ""], {"table", "json", "mof", "csv"}),
                                (["list", "-f", "c"], {"csv"}), (["watch", "--inter"], {"--interval"}),
                                (["describe", "Zerix_EthernetPort"], {"Zerix_EthernetPort",
                                                                      "Zerix_EthernetPortStatistics"}),
                                (["--nam"], {"--namespace"})):
            with self.subTest(" ".join(words)):
                line = " ".join(f"'{word}'" for word in ["wmihost", *words])
                _, out, error = PROGRAM.shell(f". '{WORK}/completion.bash'; COMP_WORDS=({line}); COMP_CWORD={len(words)}; "
                                              "_wmihost; printf '%s\\n' \"${COMPREPLY[@]}\"")
                self.assertEqual((set(out.replace("\r", "").split()), error), (expected, ""))


if __name__ == "__main__":
    sys.exit(run_tests(sys.argv[3:]))
