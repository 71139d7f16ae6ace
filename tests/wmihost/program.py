"""The built wmihost with the built provider, in a separate Wine prefix, because other tests register and unregister the
provider while these run. The prefix is made once and kept."""

import os
import pathlib
import signal
import subprocess
import sys
import unittest

TOP = pathlib.Path(__file__).resolve().parents[2]
# The folder in which tools/wine-test records the programs that it started again, and the reasons.
RACES = TOP / "build" / "wine-races"
# The commands that Wine's server has killed. It kills a program that has not gone a second after its end, mostly because
# one of its threads is still inside a call of the platform. Its exit code is lost then.
KILLED = []


def failure_of_wine(code, out, error):
    """The name of Wine's failure, or nothing if the program itself has failed or succeeded; see tools/wine-test."""
    if "Inconsistency detected by ld.so" in error:
        return "end"
    return "loader" if code != 0 and not out and not error else None


def note_race(race, *command):
    with open(RACES, "a", encoding="utf-8") as races:
        print(race, *command, file=races)


def run_tests(arguments):
    """Runs the tests of the main module, and all of them once more if they fail after Wine's server has killed a program: a
    single command cannot always be repeated. Returns the exit code."""
    def pass_now():
        return unittest.main(argv=[sys.argv[0], *arguments], verbosity=2, exit=False).result.wasSuccessful()

    if pass_now():
        return 0
    if not KILLED:
        return 1
    note_race("end", *KILLED[0])
    KILLED.clear()
    return 0 if pass_now() else 1


class Program:
    """wmihost.exe from a build's folder of programs, run in a prefix."""

    def __init__(self, programs, prefix):
        self.programs = pathlib.Path(programs).resolve()
        self.prefix = pathlib.Path(prefix).resolve()

    def environment(self):
        kept = {name: value for name, value in os.environ.items() if name in ("HOME", "PATH", "USER")}
        return dict(kept, WINEPREFIX=str(self.prefix), WINEARCH="win64", WINEDEBUG="-all", DISPLAY="",
                    LC_ALL="C.UTF-8")

    def run(self, *command, folder=None, stdin=b""):
        """The exit code, standard output and standard error of a program of the machine. If Wine fails, the program is
        started once more."""
        result = self.run_once(*command, folder=folder, stdin=stdin)
        race = failure_of_wine(*result)
        if race is None or any("--quiet" in word for word in command):
            return result
        note_race(race, *command)
        return self.run_once(*command, folder=folder, stdin=stdin)

    def run_once(self, *command, folder=None, stdin=b""):
        """Uses files, since the prefix's services outlive the program and would keep a pipe open."""
        with open(self.prefix / "in.txt", "w+b") as given, open(self.prefix / "out.txt", "w+b") as out, \
                open(self.prefix / "error.txt", "w+b") as error:
            given.write(stdin)
            given.seek(0)
            done = subprocess.run(command, env=self.environment(), stdin=given, stdout=out, stderr=error, timeout=120,
                                  check=False, cwd=folder)
            out.seek(0)
            error.seek(0)
            if done.returncode == -signal.SIGKILL:
                KILLED.append(command)
            return done.returncode, out.read().decode(), error.read().decode()

    def wine(self, *command, folder=None, stdin=b""):
        return self.run("/usr/lib/wine/wine64", *command, folder=folder, stdin=stdin)

    def wmihost(self, *arguments, folder=None, stdin=b""):
        return self.wine(str(self.programs / "wmihost.exe"), *arguments, folder=folder, stdin=stdin)

    def server(self, *options):
        subprocess.run(["/usr/lib/wine/wineserver64", *options], env=self.environment(), check=False,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def script(self):
        """A folder for a shell's PATH, with a script wmihost that runs the program."""
        folder = self.prefix / "path"
        folder.mkdir(exist_ok=True)
        script = folder / "wmihost"
        script.write_text(f"#!/bin/sh\nexec /usr/lib/wine/wine64 '{self.programs}/wmihost.exe' \"$@\"\n")
        script.chmod(0o755)
        return folder

    def shell(self, line, folder=None):
        """Like run(), for a line of bash that may name wmihost."""
        return self.run("bash", "-c", f"PATH='{self.script()}':$PATH; {line}", folder=folder)

    def set_up(self):
        """Makes the prefix, keeps its server, registers the provider and deletes the settings and jobs that an earlier run
        left."""
        if not (self.prefix / "system.reg").exists():
            self.prefix.mkdir(parents=True, exist_ok=True)
            self.wine("wineboot", "-i")
            self.server("-k")
            self.server("-w")
        self.server("-p")
        provider = str(self.programs / "ZerixDRAVEv2Provider.dll").replace("/", "\\")
        if self.wine("regsvr32", "/s", "Z:" + provider)[0] != 0:
            raise RuntimeError("the provider cannot be registered")
        self.wine("reg", "delete", r"HKLM\Software\Vexal", "/f")

    def tear_down(self):
        self.server("-k")
