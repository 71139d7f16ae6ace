#!/usr/bin/env python3
"""Installs the product into Wine prefixes and compares files and registry with what they should be.

    installer_test.py BIN WORK prepare|clean|TESTCLASS

BIN is a build's folder of programs. `prepare` makes what the tests share, below WORK: the packages (this build's and
one with a lower version) and an untouched prefix. Every class of tests works on a copy of that prefix.
"""

import hashlib
import http.server
import json
import os
import pathlib
import re
import shutil
import struct
import subprocess
import sys
import threading
import time
import unittest
import xml.etree.ElementTree
import zipfile

TOP = pathlib.Path(__file__).resolve().parents[2]
BIN = pathlib.Path(sys.argv[1]).resolve()
WORK = pathlib.Path(sys.argv[2]).resolve()
SHARED = WORK / "shared"
PRISTINE = SHARED / "pristine"
CURRENT = SHARED / "current-binaries"

VERSION = "2.0.1.10"
OLDER = "2.0.0.9"
# Windows Installer compares only three numbers, so it considers this build to have the same version.
LOWER_BUILD = "2.0.1.9"
CLSID_KEY = r"HKEY_LOCAL_MACHINE\Software\Classes\CLSID\{D39A94C6-35D2-4B40-BB6A-56E279951017}"
EVENT_KEY = r"HKEY_LOCAL_MACHINE\System\CurrentControlSet\Services\EventLog\Application\Vexal DRAVEv2 Provider"
SETTINGS_KEY = r"HKEY_LOCAL_MACHINE\Software\Vexal\DRAVEv2"
MAKER_KEY = r"HKEY_LOCAL_MACHINE\Software\Vexal"
WMI_KEY = r"HKEY_LOCAL_MACHINE\Software\Microsoft\WBEM\CIMOM"
FOREIGN_MOF = r"%windir%\system32\wbem\cimwin32.mof"
UNINSTALL_KEY = r"HKEY_LOCAL_MACHINE\Software\Microsoft\Windows\CurrentVersion\Uninstall\{".lower()
FOLDER = r"C:\Program Files\Vexal\DRAVEv2 Provider"
DLLS = ["ZerixDRAVEv2Provider.dll", "ZerixCimCore.dll", "ZerixRuntime.dll"]
MODULES = DLLS + ["wmihost.exe"]
# The package contains this program but does not install it.
SETUP_ACTION = "ZerixSetupAction.exe"
LEGAL = ["LICENSE.txt", "NOTICES.txt"]
FILES = sorted(MODULES + LEGAL + ["ZerixDRAVEv2.mof", "ZerixDRAVEv2-uninstall.mof", "README.txt", "metrics-task.xml",
                                  "zerix.rules.yml", "wmihost-completion.bash", "wmihost-completion.ps1"])

# The exit codes of Wine's installer (8 bits) when an action fails (1627) or a launch condition is not met (1603).
ACTION_FAILED = 1627 & 0xFF
REFUSED = 1603 & 0xFF

# Files that remain after a removal and do not belong to this product.
KEPT_FILES = {
    r"windows/Installer": "Windows Installer's store for packages; the folder itself stays when it is empty",
}
KEPT_KEYS = {
    r"HKEY_LOCAL_MACHINE\Software\Microsoft\Windows\CurrentVersion\Installer":
        "Windows Installer's own book; its empty keys stay, and none may name the product",
    r"HKEY_LOCAL_MACHINE\Software\Classes\Installer":
        "the part of that book which clients read; the same holds",
}
# Changes that the system makes by itself while the tests run.
FOREIGN_KEYS = {
    r"HKEY_LOCAL_MACHINE\Hardware\DEVICEMAP\VIDEO": "Wine's desktop notes what display it found, whenever it starts",
    r"HKEY_LOCAL_MACHINE\System\CurrentControlSet\Control\Video": "the same",
    r"HKEY_LOCAL_MACHINE\System\CurrentControlSet\Control\ServiceCurrent":
        "the number of the last service that the system has started",
}


def environment(prefix):
    # The caller's environment must not help the product to find its DLLs.
    kept = {name: value for name, value in os.environ.items() if name in ("HOME", "PATH", "USER")}
    # By default Wine would run its built-in schtasks and not the one that the tests put into its folder.
    return dict(kept, WINEPREFIX=str(prefix), WINEARCH="win64", WINEDEBUG="-all", DISPLAY="", LC_ALL="C",
                WINEDLLOVERRIDES="schtasks.exe=n")


def make_package(binaries, version, output, *options, **more):
    environ = dict(os.environ, **{"SOURCE_DATE_EPOCH": "1700000000", **more})
    subprocess.run([TOP / "tools/package", "--binaries", binaries, "--version", version, "--output", output, *options],
                   check=True, env=environ)
    return output / f"ZerixDRAVEv2-{version}-x64.msi"


def copy_without_symbols(folder):
    """A copy of this build with empty files for its symbols, which take most of the time to package."""
    folder.mkdir()
    for name in MODULES + [SETUP_ACTION]:
        shutil.copy(CURRENT / name, folder)
        (folder / (name + ".debug")).touch()


def make_other_package(version, folder):
    """A package of this build with another version in its modules, so that an upgrade has something to replace."""
    binaries = SHARED / (folder + "-binaries")
    copy_without_symbols(binaries)
    major, minor, revision, build = map(int, version.split("."))
    for name in MODULES:
        content = (CURRENT / name).read_bytes()
        place = content.find(b"\xbd\x04\xef\xfe\x00\x00\x01\x00") + 8
        (binaries / name).write_bytes(
            content[:place] + struct.pack("<4H", minor, major, build, revision) + content[place + 8 :])
    make_package(binaries, version, SHARED / folder)


def stop(prefix):
    subprocess.run(["/usr/lib/wine/wineserver64", "-k"], env=environment(prefix), check=False)
    subprocess.run(["/usr/lib/wine/wineserver64", "-w"], env=environment(prefix), check=False)


def prepare():
    clean()
    SHARED.mkdir(parents=True)
    subprocess.run([TOP / "tools/wine", "wineboot", "-i"], env=environment(PRISTINE), check=True,
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    subprocess.run(["/usr/lib/wine/wineserver64", "-w"], env=environment(PRISTINE), check=True)
    # Wine leaves the log's key empty, and an empty key is deleted with the last source. On Windows it has values.
    subprocess.run([TOP / "tools/wine", "reg", "add", EVENT_KEY.rsplit("\\", 1)[0], "/v", "MaxSize", "/t", "REG_DWORD",
                    "/d", "20971520"], env=environment(PRISTINE), check=True, stdout=subprocess.DEVNULL,
                   stderr=subprocess.DEVNULL)
    subprocess.run(["/usr/lib/wine/wineserver64", "-w"], env=environment(PRISTINE), check=True)
    subprocess.run([TOP / "tools/wine", "reg", "add", WMI_KEY, "/v", "Autorecover MOFs", "/t", "REG_MULTI_SZ", "/d",
                    FOREIGN_MOF], env=environment(PRISTINE), check=True, stdout=subprocess.DEVNULL,
                   stderr=subprocess.DEVNULL)
    subprocess.run(["/usr/lib/wine/wineserver64", "-w"], env=environment(PRISTINE), check=True)
    compiler = PRISTINE / "drive_c/windows/system32/wbem/mofcomp.exe"
    compiler.replace(SHARED / "wine-mofcomp.exe")
    shutil.copy(WORK / "install_mofcomp_double.exe", compiler)
    scheduler = PRISTINE / "drive_c/windows/system32/schtasks.exe"
    scheduler.replace(SHARED / "wine-schtasks.exe")
    shutil.copy(WORK / "install_schtasks_double.exe", scheduler)
    probe = PRISTINE / "drive_c/probe"
    probe.mkdir()
    shutil.copy(WORK / "install_com_probe.exe", probe / "probe.exe")
    # Copies, because a build may replace the packages meanwhile.
    CURRENT.mkdir()
    for name in MODULES + [SETUP_ACTION]:
        shutil.copy(BIN / name, CURRENT)
        shutil.copy(BIN / (name + ".debug"), CURRENT)
    make_package(CURRENT, VERSION, SHARED / "current")
    make_other_package(OLDER, "older")
    make_other_package(LOWER_BUILD, "lower-build")


def clean():
    if SHARED.exists():
        shutil.rmtree(SHARED)


def parse_registry(text):
    """{key: {value name: data}} of an exported registry. Names and keys keep their spelling."""
    keys, current = {}, None
    for line in re.sub(r"\\\n\s*", "", text).split("\n"):
        if line.startswith("["):
            current = keys.setdefault(line[1:-1], {})
        elif current is not None and (match := re.match(r'(@|"(?:[^"\\]|\\.)*")=(.*)', line)):
            name = "" if match[1] == "@" else match[1][1:-1]
            current[name] = match[2]
    return keys


def is_below(key, roots):
    return any((key + "\\").lower().startswith((root + "\\").lower()) for root in roots)


class Prefix(unittest.TestCase):
    """A separate machine for a class of tests, without the product."""

    @classmethod
    def setUpClass(cls):
        cls.prefix = WORK / f"prefix-{cls.__name__}"
        if cls.prefix.exists():
            shutil.rmtree(cls.prefix)
        # Hard links: a prefix has 700 MB, and Wine replaces files instead of changing them.
        subprocess.run(["cp", "-al", PRISTINE, cls.prefix], check=True)
        for name in ("system.reg", "user.reg", "userdef.reg"):
            (cls.prefix / name).unlink()
            shutil.copy(PRISTINE / name, cls.prefix / name)
        cls.addClassCleanup(shutil.rmtree, cls.prefix)
        cls.addClassCleanup(stop, cls.prefix)
        subprocess.run(["/usr/lib/wine/wineserver64", "-p"], env=environment(cls.prefix), check=False)
        cls.c = cls.prefix / "drive_c"

    def wine(self, *command):
        """Runs a program of the prefix from its root folder; returns exit code and output."""
        # The output goes to a file: the prefix's services live longer than the program and would keep a pipe open.
        with open(self.prefix / "output.txt", "w+", encoding="utf-8") as output:
            done = subprocess.run(["/usr/lib/wine/wine64", *command], env=environment(self.prefix), cwd=self.c,
                                  stdin=subprocess.DEVNULL, stdout=output, stderr=subprocess.DEVNULL, timeout=120,
                                  check=False)
            output.seek(0)
            return done.returncode, output.read()

    def msiexec(self, option, package, *properties):
        """Runs Windows Installer silently and stores its log in self.log."""
        log = self.c / "msi.log"
        log.unlink(missing_ok=True)
        path = "Z:" + str(package).replace("/", "\\")
        code, _ = self.wine("msiexec", option, path, *properties, "/qn", "/l*v", r"C:\msi.log")
        content = log.read_bytes()
        self.log = content.decode("utf-16-le" if b"\0" in content[:64] else "latin-1", "replace")
        return code

    def repair(self):
        # The equivalent of /famus, which Wine lacks.
        return self.msiexec("/i", package(), "REINSTALL=ALL", "REINSTALLMODE=amus")

    def files(self):
        """{path below C: : digest}; the digest of a folder is None."""
        own = {"msi.log", "registry.reg", "mofcomp.log", "mofcomp-fails-on", "schtasks.log", "schtasks-fails"}
        found = {}
        for path in self.c.rglob("*"):
            name = str(path.relative_to(self.c))
            if name not in own and not path.is_symlink():
                found[name] = None if path.is_dir() else (path.stat().st_size, path.stat().st_mtime_ns)
        return found

    def registry(self):
        self.wine("regedit", "/E", r"C:\registry.reg")
        return parse_registry((self.c / "registry.reg").read_bytes().decode("utf-16").replace("\r", ""))

    def value(self, key, name):
        matches = [data for found, data in self.registry().items() if found.lower() == key.lower()]
        return matches[0].get(name) if matches else None

    def installed_products(self):
        """The values of every entry in the list of installed programs."""
        return [values for key, values in self.registry().items() if key.lower().startswith(UNINSTALL_KEY)]

    def restored_classes(self):
        """The files that WMI compiles when it rebuilds its repository."""
        data = self.value(WMI_KEY, "Autorecover MOFs")
        content = bytes.fromhex(data.removeprefix("hex(7):").replace(",", "")).decode("utf-16-le")
        return content.rstrip("\0").split("\0")

    def compiled(self):
        log = self.c / "mofcomp.log"
        return log.read_text().split("\n")[:-1] if log.exists() else []

    def scheduled(self):
        """The requests to the task scheduler since the last call."""
        log = self.c / "schtasks.log"
        lines = log.read_text().split("\n")[:-1] if log.exists() else []
        log.unlink(missing_ok=True)
        return lines

    def program_files(self):
        folder = self.c / "Program Files/Vexal/DRAVEv2 Provider"
        return sorted(path.name for path in folder.iterdir()) if folder.exists() else []

    def assert_nothing_left(self, files_before, registry_before, empty_keys=()):
        """`empty_keys`: roots below which empty keys may be left."""
        files, registry = self.files(), self.registry()
        changed = {name for name in files.keys() | files_before.keys() if files.get(name) != files_before.get(name)}
        self.assertEqual(sorted(changed - KEPT_FILES.keys()), [])
        self.assertNotIn("drave", str(files.keys() - files_before.keys()).lower())
        left = []
        for key in sorted(registry.keys() | registry_before.keys()):
            now, then = registry.get(key), registry_before.get(key)
            if now != then and not (now == {} and is_below(key, [*KEPT_KEYS, *empty_keys])) and not is_below(key, FOREIGN_KEYS):
                left.append((key, then, now))
        self.assertEqual(left, [])


def package(version=VERSION):
    folder = {VERSION: "current", OLDER: "older", LOWER_BUILD: "lower-build"}[version]
    return SHARED / folder / f"ZerixDRAVEv2-{version}-x64.msi"


def table(name, msi=None):
    """The rows of a table of the package's database: {first column: the other columns}."""
    rows = subprocess.run(["msiinfo", "export", msi or package(), name], check=True, text=True,
                          stdout=subprocess.PIPE).stdout.replace("\r", "").split("\n")[3:]
    return {row.split("\t")[0]: row.split("\t")[1:] for row in rows if row}


def packaged(name, version=VERSION):
    with zipfile.ZipFile(package(version).with_suffix(".zip")) as archive:
        return archive.read(name)


def quoted(text):
    """The text in the spelling of an exported registry."""
    return '"' + text.replace("\\", "\\\\") + '"'


class InstallRepairRemove(Prefix):
    """The life of an installation. The tests run in the order of their names, and each continues where the last one stopped."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.before = None

    def test_1_installs_silently(self):
        type(self).before = (self.files(), self.registry())
        self.assertEqual(self.msiexec("/i", package()), 0)

    def test_2_every_file_is_there_as_packaged(self):
        self.assertEqual(self.program_files(), FILES)
        folder = self.c / "Program Files/Vexal/DRAVEv2 Provider"
        for name in FILES:
            self.assertEqual((folder / name).read_bytes(), packaged(name), name)

    def test_3_com_class_and_event_source_are_registered(self):
        registry = {key.lower(): values for key, values in self.registry().items()}
        provider = quoted(FOLDER + "\\ZerixDRAVEv2Provider.dll")
        self.assertEqual(registry[CLSID_KEY.lower()], {"": quoted("DRAVEv2 Provider for Vexal(R) Ethernet Adapters")})
        self.assertEqual(registry[(CLSID_KEY + r"\InprocServer32").lower()],
                         {"": provider, "ThreadingModel": quoted("Both")})
        self.assertEqual(registry[EVENT_KEY.lower()],
                         {"EventMessageFile": provider, "TypesSupported": "dword:00000007"})
        self.assertEqual(registry[MAKER_KEY.lower()], {"DRAVEv2 Provider": quoted(FOLDER + "\\")})
        # Windows Installer sets their access rights; Wine does not support that table.
        self.assertEqual([registry[(SETTINGS_KEY + key).lower()] for key in (r"\Jobs", r"\Results")], [{}, {}])

    def test_4_the_programs_list_shows_the_product(self):
        (values,) = self.installed_products()
        self.assertEqual([values[name] for name in ("DisplayName", "DisplayVersion", "Publisher", "NoModify")],
                         [quoted("DRAVEv2 Provider"), quoted(VERSION), quoted("Vexal"), "dword:00000001"])

    def test_5_the_classes_were_compiled_once(self):
        self.assertEqual(self.compiled(), ["ZerixDRAVEv2.mof"])
        self.assertEqual(self.restored_classes(), [FOREIGN_MOF, FOLDER + r"\ZerixDRAVEv2.mof"])

    def test_6_com_loads_everything_from_the_installed_folder(self):
        code, output = self.wine(r"C:\probe\probe.exe")
        self.assertEqual((code, output.split("\n")), (0, [f"{FOLDER}\\{name}" for name in DLLS] + [""]))

    def test_7_the_installed_wmihost_lists_adapters(self):
        code, output = self.wine(FOLDER + r"\wmihost.exe", "list", "Zerix_EthernetPort", "--format", "json")
        self.assertEqual(code, 0)
        adapters = json.loads(output)
        self.assertGreater(len(adapters), 0)
        for adapter in adapters:
            self.assertRegex(adapter["DeviceID"], r"^\{[0-9A-F-]{36}\}$")

    def test_8_repair_brings_back_files_values_and_classes(self):
        folder = self.c / "Program Files/Vexal/DRAVEv2 Provider"
        (folder / "ZerixCimCore.dll").unlink()
        (folder / "ZerixDRAVEv2.mof").unlink()
        self.wine("reg", "delete", CLSID_KEY + r"\InprocServer32", "/v", "ThreadingModel", "/f")
        self.wine("reg", "delete", EVENT_KEY, "/f")
        self.assertNotEqual(self.wine(r"C:\probe\probe.exe")[0], 0)
        self.assertEqual(self.repair(), 0)
        self.test_2_every_file_is_there_as_packaged()
        self.test_3_com_class_and_event_source_are_registered()
        self.test_6_com_loads_everything_from_the_installed_folder()
        self.assertEqual(self.compiled(), ["ZerixDRAVEv2.mof"] * 2)

    def test_9_removal_leaves_nothing(self):
        self.wine("reg", "add", SETTINGS_KEY + r"\DiagnosticSetting", "/v", "SampleCount", "/d", "7")
        self.assertEqual(self.msiexec("/x", package()), 0)
        self.assertEqual(self.compiled(), ["ZerixDRAVEv2.mof"] * 2 + ["ZerixDRAVEv2-uninstall.mof"])
        self.assert_nothing_left(*self.before)


class Documents(Prefix):
    """The commands in the documents."""

    # Wine lacks this option; InstallRepairRemove repairs with the equivalent properties.
    UNKNOWN_TO_WINE = "msiexec /famus"

    def commands(self, document, *programs):
        """The indented lines that call one of the programs, in their order and without comments."""
        for line in (TOP / document).read_text().split("\n"):
            line = line.replace('& "$env:ProgramFiles\\Vexal\\DRAVEv2 Provider\\wmihost.exe"', "wmihost")
            words = line.strip().removeprefix(".\\").replace("<version>", VERSION).split(" ")
            if line.startswith("  ") and words[0] in programs and not line.strip().startswith(self.UNKNOWN_TO_WINE):
                yield words

    def run_each(self, commands):
        """Runs each command from C:\\, which holds the package. Afterwards nothing of the product may be left."""
        before = (self.files(), self.registry())
        copy = self.c / package().name
        shutil.copy(package(), copy)
        for program, *arguments in commands:
            path = FOLDER + r"\wmihost.exe" if program == "wmihost" else program
            code, output = self.wine(path, *arguments)
            self.assertEqual(code, 0, f"{program} {arguments}: {output}")
            if program == "wmihost":
                self.assertNotEqual(output, "")
        copy.unlink()
        (self.c / "install.log").unlink()
        self.assert_nothing_left(*before)

    def test_those_of_the_installation_guide_install_verify_and_remove(self):
        commands = list(self.commands("docs/windows-install.md", "msiexec", "wmihost"))
        self.assertEqual([" ".join(words[:2]) for words in commands],
                         ["msiexec /i", "wmihost self-test", "wmihost list", "msiexec /x"])
        self.run_each(commands)

    def test_those_of_the_installed_readme_do_too(self):
        # Lists the installed product first, and how it was installed below it.
        verify, install, remove = self.commands("install/README.txt", "msiexec", "wmihost")
        self.assertEqual([" ".join(words[:2]) for words in (install, verify, remove)],
                         ["msiexec /i", "wmihost list", "msiexec /x"])
        self.run_each([install, verify, remove])

    def test_every_repair_writes_files_and_registry(self):
        # "a" alone restores files; the machine's registry values need "m".
        for document in ["docs/windows-install.md", "docs/operations.md", "install/README.txt"]:
            for command in re.findall(r"msiexec /f\w*", (TOP / document).read_text()):
                self.assertEqual(command, self.UNKNOWN_TO_WINE, document)

    def test_classes_and_methods_in_ready_lines_exist(self):
        mof = (TOP / "install/ZerixDRAVEv2.mof").read_text()
        classes = set(re.findall(r"^class (\w+)", mof, re.MULTILINE))
        for document in ["docs/windows-install.md", "docs/operations.md", "install/README.txt", "README.md"]:
            text = (TOP / document).read_text()
            for name in re.findall(r"-ClassName (\w+)", text) + re.findall(r"wmihost (?:list|describe) (Zerix_\w+)", text):
                self.assertIn(name, classes, document)
            for name in re.findall(r"-MethodName (\w+)", text):
                self.assertRegex(mof, rf"\b{name}\(", document)
            for hashtable in re.findall(r"-Property @\{(.*?)\}", text):
                for name in re.findall(r"(\w+) =", hashtable):
                    self.assertRegex(mof, rf"\b{name}\b", document)


class Upgrade(Prefix):
    def test_replaces_the_older_build_and_nothing_replaces_a_newer_one(self):
        before = (self.files(), self.registry())
        self.assertEqual(self.msiexec("/i", package(OLDER)), 0)
        folder = self.c / "Program Files/Vexal/DRAVEv2 Provider"
        self.assertEqual((folder / "wmihost.exe").read_bytes(), packaged("wmihost.exe", OLDER))

        self.assertEqual(self.msiexec("/i", package()), 0)
        for name in FILES:
            self.assertEqual((folder / name).read_bytes(), packaged(name), name)
        self.assertEqual([values["DisplayVersion"] for values in self.installed_products()], [quoted(VERSION)])
        self.assertEqual(self.compiled(), ["ZerixDRAVEv2.mof", "ZerixDRAVEv2-uninstall.mof", "ZerixDRAVEv2.mof"])
        self.assertEqual(self.wine(r"C:\probe\probe.exe")[0], 0)

        self.assertEqual(self.msiexec("/i", package(OLDER)), REFUSED, "a newer version must not be replaced")
        self.assertRegex(self.log, r"Action ended [0-9:]+: LaunchConditions\. Return value 0\.")
        self.assertEqual([values["DisplayVersion"] for values in self.installed_products()], [quoted(VERSION)])

        self.assertEqual(self.msiexec("/x", package()), 0)
        self.assert_nothing_left(*before)


class LowerBuild(Prefix):
    def test_a_build_with_a_lower_fourth_number_keeps_its_files(self):
        before = (self.files(), self.registry())
        self.assertEqual(self.msiexec("/i", package()), 0)
        self.assertEqual(self.msiexec("/i", package(LOWER_BUILD)), 0)
        self.assertEqual(self.program_files(), FILES)
        folder = self.c / "Program Files/Vexal/DRAVEv2 Provider"
        for name in FILES:
            self.assertEqual((folder / name).read_bytes(), packaged(name, LOWER_BUILD), name)
        self.assertEqual([values["DisplayVersion"] for values in self.installed_products()], [quoted(LOWER_BUILD)])
        self.assertEqual(self.restored_classes(), [FOREIGN_MOF, FOLDER + r"\ZerixDRAVEv2.mof"])
        # Wine plans with the files that exist after the older product is removed. Windows plans before and needs this.
        self.assertEqual(table("Property")["REINSTALLMODE"], ["amus"])
        self.assertEqual(self.msiexec("/x", package(LOWER_BUILD)), 0)
        self.assert_nothing_left(*before)


class RemovalFails(Prefix):
    def test_a_removal_that_fails_loses_no_settings(self):
        # This build with an additional action, which fails at the end of a removal.
        faulty = self.c / "faulty.msi"
        shutil.copy(package(), faulty)
        directory, deferred = 34, 1024
        subprocess.run(["msibuild", faulty, "-q",
                        "INSERT INTO `CustomAction` (`Action`, `Type`, `Source`, `Target`) VALUES "
                        f"('Fail', {directory + deferred}, 'System64Folder', '[System64Folder]cmd.exe /c exit 1')",
                        "INSERT INTO `InstallExecuteSequence` (`Action`, `Condition`, `Sequence`) VALUES "
                        "('Fail', 'REMOVE=\"ALL\"', 6550)"], check=True)
        self.assertEqual(self.msiexec("/i", faulty), 0)
        for key, name in ((r"\DiagnosticSetting", "SampleCount"), (r"\Jobs\Vexal:Job:1", "State")):
            self.wine("reg", "add", SETTINGS_KEY + key, "/v", name, "/d", "7")

        self.assertEqual(self.msiexec("/x", faulty), ACTION_FAILED)

        self.assertEqual(self.value(SETTINGS_KEY + r"\DiagnosticSetting", "SampleCount"), quoted("7"))
        self.assertEqual(self.value(SETTINGS_KEY + r"\Jobs\Vexal:Job:1", "State"), quoted("7"))


class SettingsStay(Prefix):
    def test_a_removal_on_behalf_of_an_upgrade_keeps_the_settings(self):
        # Windows passes this property to the removal of the older product. Wine's upgrade does not.
        self.assertEqual(self.msiexec("/i", package(OLDER)), 0)
        self.wine("reg", "add", SETTINGS_KEY + r"\DiagnosticSetting", "/v", "SampleCount", "/d", "7")
        upgrading = "UPGRADINGPRODUCTCODE={00000000-0000-0000-0000-000000000001}"
        self.assertEqual(self.msiexec("/x", package(OLDER), upgrading), 0)
        self.assertEqual(self.installed_products(), [])
        self.assertEqual(self.value(SETTINGS_KEY + r"\DiagnosticSetting", "SampleCount"), quoted("7"))


class MetricsTask(Prefix):
    """The scheduled task that writes metrics exists only if it was requested, and only as long as the product."""

    TASK = r"/TN Vexal\DRAVEv2 metrics"
    RUN, END, REMOVE = "/Run " + TASK, "/End " + TASK, "/Delete /F " + TASK

    def registered(self, folder):
        return [
            f"/Create /F {self.TASK} /XML {folder}\\metrics-task.xml",
            f'/Change {self.TASK} /RU SYSTEM /TR "{folder}\\wmihost.exe" metrics --every 15 --output '
            r'"C:\Program Files\windows_exporter\textfile_inputs\zerix.prom"',
            self.RUN,
        ]

    def test_nobody_asks_for_it(self):
        self.assertEqual(self.msiexec("/i", package()), 0)
        self.assertEqual(self.scheduled(), [self.RUN])
        self.assertEqual(self.msiexec("/x", package()), 0)
        self.assertEqual(self.scheduled(), [self.END, self.REMOVE])

    def test_it_stays_with_an_upgrade_and_goes_with_the_product(self):
        folder = r"C:\Metrics here"
        self.assertEqual(self.msiexec("/i", package(OLDER), "METRICS=1", "INSTALLDIR=" + folder), 0)
        self.assertEqual(self.scheduled(), self.registered(folder))
        # The two halves of an upgrade: Wine does not inform the older product that a newer one replaces it.
        self.assertEqual(self.msiexec("/x", package(OLDER), "UPGRADINGPRODUCTCODE={00000000-0000-0000-0000-000000000001}"), 0)
        self.assertEqual(self.scheduled(), [self.END])
        self.assertEqual(self.msiexec("/i", package(), "INSTALLDIR=" + folder), 0)
        self.assertEqual(self.scheduled(), [self.RUN])
        self.assertEqual(self.repair(), 0)
        self.assertEqual(self.scheduled(), [self.END, self.RUN])
        metrics = self.c / "Program Files/windows_exporter/textfile_inputs/zerix.prom"
        metrics.parent.mkdir(parents=True)
        metrics.touch()
        (metrics.parent / "other.prom").touch()
        self.assertEqual(self.msiexec("/x", package()), 0)
        self.assertEqual(self.scheduled(), [self.END, self.REMOVE])
        self.assertEqual([file.name for file in metrics.parent.iterdir()], ["other.prom"])

    def test_an_installation_that_cannot_register_it_is_undone(self):
        (self.c / "schtasks-fails").touch()
        self.addCleanup((self.c / "schtasks-fails").unlink)
        self.assertEqual(self.msiexec("/i", package(), "METRICS=1"), ACTION_FAILED)
        self.assertEqual(self.program_files(), [])
        self.assertEqual(self.scheduled(), [*self.registered(FOLDER)[:1], self.REMOVE])

    def test_its_definition_names_what_is_installed(self):
        name = "{http://schemas.microsoft.com/windows/2004/02/mit/task}"
        task = xml.etree.ElementTree.fromstring(packaged("metrics-task.xml"))
        expanded = {element.tag.removeprefix(name): (element.text or "").replace("%ProgramFiles%", r"C:\Program Files")
                    for element in task.iter()}
        action = f'"{expanded["Command"]}" {expanded["Arguments"]}'
        self.assertEqual(f"/Change {self.TASK} /RU SYSTEM /TR {action}", self.registered(FOLDER)[1])
        # The task has no time limit and runs as the system account, which may write to that folder.
        self.assertEqual([expanded[tag] for tag in ("ExecutionTimeLimit", "UserId", "MultipleInstancesPolicy")],
                         ["PT0S", "S-1-5-18", "IgnoreNew"])
        (self.c / "task.xml").write_bytes(packaged("metrics-task.xml"))
        shutil.copy(SHARED / "wine-schtasks.exe", self.c)
        self.assertEqual(self.wine(r"C:\wine-schtasks.exe", "/Create", "/F", "/TN", "Test", "/XML", r"C:\task.xml")[0], 0)


class CompilerMissing(Prefix):
    MESSAGE = "TellCompilerMissing. mofcomp.exe was not found: the classes are not registered with WMI."

    def test_installs_and_says_so_and_a_repair_makes_up_for_it(self):
        before = (self.files(), self.registry())
        compiler = self.c / "windows/system32/wbem/mofcomp.exe"
        compiler.rename(self.c / "away.exe")
        self.assertEqual(self.msiexec("/i", package()), 0)
        self.assertIn(self.MESSAGE, self.log)
        self.assertEqual(self.program_files(), FILES)
        self.assertEqual(self.installed_products()[0]["Comments"],
                         quoted("mofcomp.exe was not found: the classes are not registered with WMI."))

        (self.c / "away.exe").rename(compiler)
        self.assertEqual(self.repair(), 0)
        self.assertNotIn(self.MESSAGE, self.log)
        self.assertEqual(self.compiled(), ["ZerixDRAVEv2.mof"])

        self.assertEqual(self.msiexec("/x", package()), 0)
        self.assert_nothing_left(*before)


class CompilerFails(Prefix):
    def setUp(self):
        (self.c / "mofcomp-fails-on").unlink(missing_ok=True)
        (self.c / "mofcomp.log").unlink(missing_ok=True)

    def test_a_failing_installation_is_undone(self):
        before = (self.files(), self.registry())
        (self.c / "mofcomp-fails-on").write_text("ZerixDRAVEv2.mof")
        self.assertEqual(self.msiexec("/i", package()), ACTION_FAILED)
        # Wine rolls back the earlier steps first, Windows the later ones; so only on Windows the file exists then.
        self.assertEqual([line.split(" ")[0] for line in self.compiled()],
                         ["ZerixDRAVEv2.mof", "ZerixDRAVEv2-uninstall.mof"])
        self.assertEqual(self.installed_products(), [])
        # Wine's rollback leaves out the keys without values, which are those of jobs and results.
        self.assert_nothing_left(*before, empty_keys=[MAKER_KEY])
        self.wine("reg", "delete", MAKER_KEY, "/f")

    def test_a_failing_compiler_does_not_keep_anybody_from_removing(self):
        before = (self.files(), self.registry())
        self.assertEqual(self.msiexec("/i", package()), 0)
        (self.c / "mofcomp-fails-on").write_text("ZerixDRAVEv2-uninstall.mof")
        self.assertEqual(self.msiexec("/x", package()), 0)
        self.assert_nothing_left(*before)


class WineCompiler(Prefix):
    def test_installs_and_removes_with_the_compiler_that_wine_brings(self):
        before = (self.files(), self.registry())
        compiler = self.c / "windows/system32/wbem/mofcomp.exe"
        double = compiler.rename(self.c / "double.exe")
        shutil.copy(SHARED / "wine-mofcomp.exe", compiler)
        self.assertEqual(self.msiexec("/i", package()), 0)
        self.assertNotIn("TellCompilerMissing.", self.log)
        self.assertEqual(self.msiexec("/x", package()), 0)
        double.replace(compiler)
        self.assert_nothing_left(*before)


class PackageTest(unittest.TestCase):
    """The packages themselves; nothing is installed."""

    def setUp(self):
        self.folder = WORK / f"package-test-{type(self).__name__}"
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        shutil.rmtree(self.folder, ignore_errors=True)
        self.folder.mkdir()


class Package(PackageTest):
    def test_the_same_build_gives_the_same_bytes_later(self):
        time.sleep(2.1)  # Zip archives count in steps of two seconds.
        make_package(CURRENT, VERSION, self.folder)
        self.assertEqual((self.folder / "SHA256SUMS").read_text(), (SHARED / "current/SHA256SUMS").read_text())

    def test_the_sums_are_those_of_the_files(self):
        lines = (SHARED / "current/SHA256SUMS").read_text().split("\n")[:-1]
        stem = f"ZerixDRAVEv2-{VERSION}-x64"
        names = [stem + "-symbols.zip", stem + ".msi", stem + ".zip"]
        self.assertEqual(lines, [
            hashlib.sha256((SHARED / "current" / name).read_bytes()).hexdigest() + "  " + name for name in names])

    def test_zip_and_symbols_hold_the_files_they_should(self):
        with zipfile.ZipFile(package().with_suffix(".zip")) as archive:
            self.assertEqual(sorted(archive.namelist()), FILES)
        with zipfile.ZipFile(SHARED / "current" / f"ZerixDRAVEv2-{VERSION}-x64-symbols.zip") as archive:
            self.assertEqual(sorted(archive.namelist()),
                             sorted([name + ".debug" for name in MODULES + [SETUP_ACTION]] + LEGAL))
            archive.extractall(self.folder)
        # The run time comes from archives without debug information, so it has only symbol names.
        for name in sorted(set(MODULES) - {"ZerixRuntime.dll"}):
            (self.folder / name).write_bytes(packaged(name))
            sections = subprocess.run(["x86_64-w64-mingw32-objdump", "-h", self.folder / name], check=True, text=True,
                                      stdout=subprocess.PIPE).stdout
            self.assertIn(".gnu_debuglink", sections)
            self.assertNotIn(".debug_info", sections)
            sections = subprocess.run(["x86_64-w64-mingw32-objdump", "-h", self.folder / (name + ".debug")], check=True,
                                      text=True, stdout=subprocess.PIPE).stdout
            self.assertIn(".debug_info", sections)

    def test_licence_and_notices_are_those_of_what_is_in_it(self):
        self.assertEqual(packaged("LICENSE.txt").replace(b"\r\n", b"\n"), (TOP / "LICENSE").read_bytes())
        notices = packaged("NOTICES.txt").decode()
        for library, sentence in {
            "GCC": "GCC Runtime Library Exception",
            "MinGW-w64": "mingw-w64-libraries/winpthreads",
            "CLI11": "CLI11",
            "JSON for Modern C++": "Niels Lohmann",
            "PEGTL": "Colin Hirsch",
        }.items():
            self.assertIn(sentence, notices, library)
        with zipfile.ZipFile(SHARED / "current" / f"ZerixDRAVEv2-{VERSION}-x64-symbols.zip") as archive:
            for name in LEGAL:
                self.assertEqual(archive.read(name), packaged(name))

    def test_the_provider_has_a_host_process_of_its_own(self):
        mof = packaged("ZerixDRAVEv2.mof").decode()
        self.assertEqual(mof.count("instance of __Win32Provider\n"), 2)
        # The text after the colon names the process. Providers with another name run in other processes.
        self.assertEqual(re.findall(r"HostingModel = (.*);", mof), ['"NetworkServiceHost:ZerixDRAVEv2"'] * 2)

    def test_folder_and_keys_of_jobs_have_their_rights(self):
        registry = table("Registry")
        self.assertEqual({key: registry[key] for key in ("JobsKey", "ResultsKey")}, {
            "JobsKey": ["2", r"Software\Vexal\DRAVEv2\Jobs", "+", "", "Core"],
            "ResultsKey": ["2", r"Software\Vexal\DRAVEv2\Results", "+", "", "Core"],
        })
        self.assertIn("INSTALLDIR", table("CreateFolder"))
        # The rights are protected and inherited below. The system and administrators have full access (FA, KA),
        # users read (0x1200a9 also runs programs), and NETWORK SERVICE, the account of the provider's host, writes
        # and deletes jobs.
        folder = "D:P(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)(A;OICI;0x1200a9;;;BU)"
        key = "D:P(A;CIOI;KA;;;SY)(A;CIOI;KA;;;BA)(A;CIOI;KR;;;BU)(A;CIOI;KRKWSD;;;NS)"
        self.assertEqual(table("MsiLockPermissionsEx"), {
            "LockFolder": ["INSTALLDIR", "CreateFolder", folder, ""],
            "LockJobs": ["JobsKey", "Registry", key, ""],
            "LockResults": ["ResultsKey", "Registry", key, ""],
        })
        self.assertIn('Installed OR NOT (INSTALLDIR >> ":" OR INSTALLDIR >> ":\\")', table("LaunchCondition"))

    def test_each_action_on_classes_follows_the_one_that_undoes_it(self):
        order = {action: int(columns[1]) for action, columns in table("InstallExecuteSequence").items()}
        chosen = ["InstallInitialize", "RemoveExistingProducts", "UndoRemoveClasses", "RemoveClasses", "ForgetClasses",
                  "EndTask", "RemoveRegistryValues", "RemoveFiles", "InstallFiles", "WriteRegistryValues", "UndoCompileClasses",
                  "UndoRememberClasses", "CompileClasses", "UndoRegisterTask", "RegisterTask", "PointTask", "RunTask",
                  "RemoveTask", "RemoveSettings", "InstallFinalize"]
        self.assertEqual(sorted(chosen, key=order.get), chosen)

        inside, directory, program, deferred, rollback, commit, as_system, go_on = 2, 34, 50, 1024, 256, 512, 2048, 64
        self.assertEqual({action: int(columns[0]) for action, columns in table("CustomAction").items()}, {
            "CompileClasses": program + deferred + as_system,
            "UndoCompileClasses": program + deferred + rollback + as_system + go_on,
            "RemoveClasses": program + deferred + as_system + go_on,
            "UndoRemoveClasses": program + deferred + rollback + as_system + go_on,
            "ForgetClasses": inside + deferred + as_system + go_on,
            "UndoRememberClasses": inside + deferred + rollback + as_system + go_on,
            "RemoveSettings": inside + deferred + commit + as_system + go_on,
            "TellCompilerMissing": 51,
            "EndTask": directory + deferred + as_system + go_on,
            "RegisterTask": directory + deferred + as_system,
            "UndoRegisterTask": directory + deferred + rollback + as_system + go_on,
            "PointTask": directory + deferred + as_system,
            "RunTask": directory + deferred + as_system + go_on,
            "RemoveTask": directory + deferred + commit + as_system + go_on,
        })

    def test_no_caller_can_choose_the_program_that_the_system_runs(self):
        properties = subprocess.run(["msiinfo", "export", package(), "Property"], check=True, text=True,
                                    stdout=subprocess.PIPE).stdout.replace("\r", "").split("\n")
        self.assertIn("SecureCustomProperties\tNEWERVERSION;OLDERVERSION;METRICS", properties)


class Signatures(PackageTest):
    """Signed packages. The certificate and the time-stamping service are made for the test."""

    def setUp(self):
        super().setUp()
        key, self.certificate = self.make_certificate("signer", "codeSigning")
        self.store = self.folder / "store.p12"
        subprocess.run(["openssl", "pkcs12", "-export", "-inkey", key, "-in", self.certificate, "-passout",
                        "pass:a b'c", "-out", self.store], check=True)

    def make_certificate(self, name, purpose):
        key, certificate = self.folder / f"{name}-key.pem", self.folder / f"{name}.pem"
        subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-subj", f"/CN=Vexal test {name}",
                        "-addext", f"extendedKeyUsage=critical,{purpose}", "-days", "3650", "-keyout", key,
                        "-out", certificate], check=True, stderr=subprocess.DEVNULL)
        return key, certificate

    def signed_files(self, *options):
        """The signed package and all of its files that can carry a signature."""
        copy_without_symbols(self.folder / "binaries")
        msi = make_package(self.folder / "binaries", VERSION, self.folder / "out", *options, ZERIX_SIGNING_CERTIFICATE=str(self.store),
                           ZERIX_SIGNING_PASSWORD="a b'c", SOURCE_DATE_EPOCH=str(int(time.time()) + 60))
        with zipfile.ZipFile(msi.with_suffix(".zip")) as archive:
            files = [pathlib.Path(archive.extract(name, self.folder / "zip")) for name in MODULES]
        action = self.folder / SETUP_ACTION
        with open(action, "wb") as out:
            subprocess.run(["msiinfo", "extract", msi, "Binary.SetupAction"], check=True, stdout=out)
        return files + [action, msi]

    def verify(self, path, *options):
        """The exit code and the output of a verification."""
        done = subprocess.run(["osslsigncode", "verify", "-CAfile", self.certificate, *options, "-in", path],
                              check=False, text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        return done.returncode, done.stdout

    def test_every_program_and_the_installer_are_signed(self):
        files = self.signed_files()
        for path in files:
            self.assertEqual(self.verify(path)[0], 0, path.name)
        self.assertNotEqual(self.verify(package())[0], 0, "an unsigned package must not pass")

        content = bytearray(files[0].read_bytes())
        content[0x800] ^= 1
        files[0].write_bytes(content)
        self.assertNotEqual(self.verify(files[0])[0], 0, "a changed file must not pass")

    def test_a_service_stamps_the_time_of_every_signature(self):
        with TimeStampService(self.folder, *self.make_certificate("stamper", "timeStamping")) as service:
            files = self.signed_files("--timestamp", service.address)
            for path in files:
                code, text = self.verify(path, "-TSA-CAfile", service.certificate)
                self.assertEqual(code, 0, path.name)
                self.assertIn("Vexal test stamper", text, path.name)
            self.assertEqual(service.answered, len(files))


class TimeStampService:
    """A time-stamping service (RFC 3161) on this machine, for as long as the scope lasts."""

    CONFIGURATION = """
[tsa]
default_tsa = service
[service]
serial = {folder}/serial
signer_cert = {certificate}
signer_key = {key}
signer_digest = sha256
default_policy = 1.2.3.4
digests = sha256, sha384, sha512
ess_cert_id_alg = sha256
"""

    def __init__(self, folder, key, certificate):
        self.folder, self.certificate, self.answered = folder, certificate, 0
        (folder / "serial").write_text("01")
        (folder / "tsa.cnf").write_text(self.CONFIGURATION.format(folder=folder, certificate=certificate, key=key))
        service = self

        class Handler(http.server.BaseHTTPRequestHandler):
            def do_POST(self):
                query = self.rfile.read(int(self.headers["Content-Length"]))
                answer = service.answer(query)
                self.send_response(200)
                self.send_header("Content-Type", "application/timestamp-reply")
                self.send_header("Content-Length", str(len(answer)))
                self.end_headers()
                self.wfile.write(answer)

            def log_message(self, *_):
                pass

        self.server = http.server.HTTPServer(("127.0.0.1", 0), Handler)
        self.address = f"http://127.0.0.1:{self.server.server_port}/"

    def answer(self, query):
        (self.folder / "query").write_bytes(query)
        subprocess.run(["openssl", "ts", "-reply", "-config", self.folder / "tsa.cnf", "-queryfile",
                        self.folder / "query", "-out", self.folder / "reply"], check=True, stderr=subprocess.DEVNULL)
        self.answered += 1
        return (self.folder / "reply").read_bytes()

    def __enter__(self):
        threading.Thread(target=self.server.serve_forever, daemon=True).start()
        return self

    def __exit__(self, *_):
        self.server.shutdown()
        self.server.server_close()


if __name__ == "__main__":
    if sys.argv[3] == "prepare":
        prepare()
    elif sys.argv[3] == "clean":
        clean()
    else:
        unittest.main(argv=[sys.argv[0], sys.argv[3], *sys.argv[4:]], verbosity=2)
