"""How the outputs of docs/tour.md are compared: named rules mask what differs between machines and between runs."""

import re

GUID = r"\{[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}\}"

# The order matters: an earlier rule may match a text that a later one would match too.
RULES = (
    ("ends of lines", r"\r", ""),
    ("GUIDs of adapters", GUID, "<guid>"),
    ("numbers of jobs", r"Vexal:Job:\d+-\d+", "<job>"),
    ("numbers of results", r"Vexal:DiagnosticResult:\d+-\d+", "<result>"),
    ("the machine's name", r'\\\\\\\\[^\\"]+\\\\root|(?<=SystemName=")[^"]*|(?<=SystemName=\\")[^"\\]*', "<machine>"),
    ("dates and intervals", r"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d UTC|\d\d:\d\d:\d\d|\d{14}\.\d{6}[+:]\d{3}", "<time>"),
    ("hardware addresses", r"\b[0-9A-F]{12}\b", "<mac>"),
    ("rates", r"[0-9.e+]+ [kMGT]?(?:B|bit)?/s", "<rate>"),
    ("bars", r"#+", ""),
    ("names of adapters", r"(?m)^(?:eth|ifb|lo|wlan|en)[a-z0-9]*\b", "<adapter>"),
    ("names of adapters", r"adapter, \w+", "adapter, <adapter>"),
    ("numbers of adapters", r"\d+ adapters?", "<n> adapters"),
    ("how many more", r"\d+ more \w+", "<n> more"),
    ("transmission units", r"(?m)^(<adapter> .*?) \d{3,5}  ", r"\1 <mtu>  "),
    ("states of adapters", r"(?m)^(<adapter> .*<mtu>).*$", r"\1 <state>"),
    ("which steps of a job are seen", r"(?m)^\d+ % \w+\n", ""),
    ("widths of columns", r"-{2,}", "--"),
    ("widths of columns", r" {2,}", " "),
    ("ends of lines", r"(?m) +$", ""),
)


def masked(text):
    """The text with the differences masked. A row that equals the one above it is masked too, since the number of adapters
    differs."""
    for _, pattern, replacement in RULES:
        text = re.sub(pattern, replacement, text)
    lines = []
    for line in text.strip("\n").split("\n"):
        if not lines or line != lines[-1]:
            lines.append(line)
    return "\n".join(lines)


def command(line, port):
    """A line of the tour, with the path of this machine's first adapter in place of the path in the document."""
    path = re.search(r"Zerix_EthernetPort\.[^ ]*SystemName=.[^,]*?(?=[\"']( |$))", line)
    return line if path is None else line.replace(path[0], port.replace('"', "'"))
