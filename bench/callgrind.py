"""Counts the instructions that a program executes in its function `counted`, with valgrind."""
import concurrent.futures
import os
import re
import shutil
import subprocess
import sys

# The C library selects routines for the processor. With these settings it selects the same ones on every processor.
PLAIN_PROCESSOR = "glibc.cpu.hwcaps=-AVX2,-AVX512F,-AVX512VL,-AVX512BW,-ERMS,-FSRM,-AVX_Fast_Unaligned_Load"
ENVIRONMENT = {"PATH": "/usr/bin:/bin", "LC_ALL": "C.UTF-8", "GLIBC_TUNABLES": PLAIN_PROCESSOR, "LD_BIND_NOW": "1",
               "VEXAL_DRAVEv2_LOG_LEVEL": "1"}


def count(program, *arguments):
    """The instructions, and the program's output. Both are the same in every run, on every processor."""
    run = subprocess.run([shutil.which("valgrind"), "--tool=callgrind", "--toggle-collect=counted",
                          "--callgrind-out-file=/dev/null", program, *arguments],
                         capture_output=True, text=True, check=False, env=ENVIRONMENT)
    collected = re.search(r"Collected : (\d+)", run.stderr)
    if run.returncode != 0 or collected is None or int(collected[1]) == 0:
        sys.exit(f"the instructions of {' '.join(arguments)} were not counted:\n{run.stderr}")
    return int(collected[1]), run.stdout


def count_all(program, runs):
    """`count` for each tuple of arguments, as many at a time as there are processors."""
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        return list(pool.map(lambda arguments: count(program, *arguments), runs))
