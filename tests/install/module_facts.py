#!/usr/bin/env python3
"""Compares the exports, imports and resources of our modules with the stored lists, and the DLLs that they need with
those of every machine.

    module_facts.py BIN

BIN is a build's folder of programs. With ZERIX_ACCEPT_BASELINES=1 in the environment the lists are written again.
The functions imported from the C and C++ run time are left out, and so are those that the run time exports, because the
compiler chooses them. All others are listed.
"""

import difflib
import os
import pathlib
import re
import subprocess
import sys

BASELINES = pathlib.Path(__file__).resolve().parent / "baselines"
MODULES = ["ZerixDRAVEv2Provider.dll", "ZerixCimCore.dll", "ZerixRuntime.dll", "ZerixSetupAction.exe", "wmihost.exe"]
CPP_RUN_TIME = "ZerixRuntime.dll"
RUN_TIME = ["msvcrt.dll", CPP_RUN_TIME.lower()]
# A DLL that is not in this list would have to be shipped under a unique name, because the loader uses the first DLL of
# a name that the process has loaded. Accepting new baselines does not change this list.
SYSTEM = {"ADVAPI32.dll", "IPHLPAPI.DLL", "KERNEL32.dll", "msvcrt.dll", "ntdll.dll", "ole32.dll", "OLEAUT32.dll",
          "SHELL32.dll", "SHLWAPI.dll", "USER32.dll"}
NEEDED = {
    "ZerixDRAVEv2Provider.dll": SYSTEM | {"ZerixCimCore.dll", CPP_RUN_TIME},
    "ZerixCimCore.dll": SYSTEM | {CPP_RUN_TIME},
    CPP_RUN_TIME: {"KERNEL32.dll", "msvcrt.dll"},
    # The installer runs it when the product's DLLs may already be deleted.
    "ZerixSetupAction.exe": {"ADVAPI32.dll", "KERNEL32.dll", "msvcrt.dll"},
    "wmihost.exe": SYSTEM | {CPP_RUN_TIME},
}
# These throw and catch exceptions and allocate memory: each module has to share them.
SHARED = {"__cxa_throw", "__cxa_begin_catch", "_Znwy", "__gxx_personality_seh0"}
RESOURCE_TYPES = {11: "message table", 16: "version", 24: "manifest"}


def dump(path):
    return subprocess.run(["x86_64-w64-mingw32-objdump", "-p", path], check=True, text=True,
                          stdout=subprocess.PIPE).stdout


def exports(text):
    """The names that the module's export table lists. The import library's own table is not in an image."""
    table = text.partition("[Ordinal/Name Pointer] Table")[2]
    return sorted(re.findall(r"^\s*\[ *\d+\](?: \+base\[ *\d+\])?\s+(?:[0-9a-f]{4,} )?(\S+)$",
                             table.partition("\n\n")[0], re.M))


def imports(text):
    found = {}
    for block in text.partition("The Import Tables")[2].split("DLL Name: ")[1:]:
        name, _, rest = block.partition("\n")
        # The tables end at the first empty line, even inside the last block.
        functions = re.findall(r"^\s+[0-9a-f]+\s+\d+\s+(\S+)$", rest.partition("\n\n")[0], re.M)
        found[name.strip()] = sorted(functions)
    return found


def resources(text):
    """Type, identifier and language of each resource, from the three levels of the resource directory."""
    found, current = [], []
    for line in text.partition(".rsrc Resource Directory section")[2].split("\n"):
        # The indentation after the offset gives the level: 3, 5 or 7 blanks.
        if match := re.match(r"[0-9a-f]+( +)Entry: ID: 0x([0-9a-f]+)", line):
            current = current[: (len(match[1]) - 3) // 2] + [int(match[2], 16)]
            if len(current) == 3:
                kind = RESOURCE_TYPES.get(current[0], f"type {current[0]}")
                found.append(f"{kind}, id {current[1]}, language 0x{current[2]:04x}")
    return sorted(found)


def facts(path, text):
    lines = ["exports"] + (["  " + name for name in exports(text)] if path.name != CPP_RUN_TIME else [])
    for dll, functions in sorted(imports(text).items(), key=lambda entry: entry[0].lower()):
        lines.append("imports from " + dll)
        lines += [] if dll.lower() in RUN_TIME else ["  " + name for name in functions]
    lines += ["resources"] + ["  " + resource for resource in resources(text)]
    return "\n".join(lines) + "\n"


def main():
    failed = False
    for name in MODULES:
        path, baseline = pathlib.Path(sys.argv[1]) / name, BASELINES / (name + ".txt")
        text = dump(path)
        found = facts(path, text)
        for dll in sorted(imports(text).keys() - NEEDED[name]):
            failed = True
            print(f"{name} needs {dll}, which is neither the platform's nor this product's")
        if CPP_RUN_TIME in NEEDED[name] and not SHARED <= set(imports(text).get(CPP_RUN_TIME, [])):
            failed = True
            print(f"{name} does not share the whole C++ run time")
        if name != CPP_RUN_TIME and text.count(" Export RVA") != len(exports(text)):
            failed = True
            print(f"{name} exports a function without a name")
        if os.environ.get("ZERIX_ACCEPT_BASELINES") == "1":
            baseline.write_text(found)
        expected = baseline.read_text() if baseline.exists() else ""
        same = found == expected
        failed = failed or not same
        print(f"{name}: {'as stored' if same else 'DIFFERS from ' + str(baseline)}")
        sys.stdout.writelines(
            difflib.unified_diff(expected.splitlines(True), found.splitlines(True), "stored", "built"))
    return 1 if failed else 0


sys.exit(main())
