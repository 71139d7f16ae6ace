#!/usr/bin/env python3
"""Follows a machine's traffic from its adapters to PromQL, with the real programs.

    prometheus_test.py BIN WORK PROGRAMS TABLES

BIN is a build's folder of programs, WORK a folder for temporary files, PROGRAMS the folder into which Debian's packages
of Prometheus and its node exporter are unpacked. Packets flow through a pair of virtual adapters in a separate network
namespace. `wmihost metrics` writes its metrics into the folder of the exporter's textfile collector, and Prometheus
scrapes the exporter. Prometheus has to report the traffic that was sent, the loss of a link, the disappearance of a port
and the end of a program. The course of the run goes to TABLES/fleet.json, which tools/fleet-graph draws. WINEPREFIX
names the Wine prefix that is copied. Prints the reason and exits with 77 if namespaces or virtual adapters cannot be
made.
"""

import bisect
import json
import os
import pathlib
import shutil
import socket
import subprocess
import sys
import threading
import time
import urllib.parse
import urllib.request

SKIPPED = 77
SCRAPE_SECONDS = 2
SCRAPES = 40
WINDOW_SECONDS = SCRAPE_SECONDS * SCRAPES
TOLERANCE = 0.05
# The namespace has a separate loopback interface, so that no other program uses the port.
EXPORTER, PROMETHEUS = "127.0.0.1:9100", "127.0.0.1:9090"
PAYLOAD = bytes(1000)
PACKETS_PER_SECOND = 100
# Ethernet, IPv4 and UDP headers. The adapters count frames without their checksum.
FRAME_BYTES = 14 + 20 + 8 + len(PAYLOAD)

TOP = pathlib.Path(__file__).resolve().parents[2]
BIN, WORK, PROGRAMS, TABLES = (pathlib.Path(argument).absolute() for argument in sys.argv[1:5])

CONFIGURATION = f"""\
global:
  scrape_interval: {SCRAPE_SECONDS}s
  scrape_timeout: {SCRAPE_SECONDS}s
  evaluation_interval: {SCRAPE_SECONDS}s
rule_files:
  - {TOP}/install/prometheus/zerix.rules.yml
scrape_configs:
  - job_name: node
    static_configs:
      - targets: ["{EXPORTER}"]
"""


def ip(*arguments):
    subprocess.run(["ip", *arguments], check=True, capture_output=True, text=True)


def progress(text):
    print(time.strftime("%H:%M:%S"), text, flush=True)


def wait_for(what, condition, seconds=120):
    """Polls until the condition holds, and returns its value. The time limit only ends a run that hangs."""
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        found = condition()
        if found:
            progress(f"seen: {what}")
            return found
        time.sleep(0.5)
    raise SystemExit(f"not seen within {seconds} s: {what}")


class Traffic(threading.Thread):
    """Sends packets through one adapter at a steady pace and records the times and the numbers sent."""

    def __init__(self, address):
        super().__init__(daemon=True)
        self.address = address
        self.times, self.sent = [time.time()], [0]
        self.ended = threading.Event()

    def run(self):
        udp = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        due = time.monotonic()
        while not self.ended.is_set():
            try:
                udp.sendto(PAYLOAD, (self.address, 9))
                sent = self.sent[-1] + FRAME_BYTES
            except OSError:  # no link
                sent = self.sent[-1]
            self.sent.append(sent)
            self.times.append(time.time())
            due += 1 / PACKETS_PER_SECOND
            time.sleep(max(0, due - time.monotonic()))

    def bytes_until(self, moment):
        return self.sent[bisect.bisect_right(self.times, moment) - 1]


def ask(path, **arguments):
    with urllib.request.urlopen(f"http://{PROMETHEUS}/api/v1/{path}?{urllib.parse.urlencode(arguments)}") as answer:
        return json.load(answer)["data"]


def query(expression, **arguments):
    """The values of an instant query by port name; the name is "" for a series without a port."""
    found = ask("query", query=expression, **arguments)["result"]
    return {series["metric"].get("name", ""): float(series["value"][1]) for series in found}


def of_ports(metric):
    return f"{metric} * on (instance, guid) group_left (name) zerix_port_info"


def make_adapters():
    for first, second in (("v0", "w0"), ("x0", "y0")):
        ip("link", "add", first, "type", "veth", "peer", "name", second)
    for name in ("lo", "v0", "w0", "x0", "y0"):
        ip("link", "set", name, "up")
    ip("address", "add", "10.77.0.1/24", "dev", "v0")
    address = pathlib.Path("/sys/class/net/w0/address").read_text(encoding="utf-8").strip()
    # This address has no host. The frames go to the other end, which counts them.
    ip("neighbour", "add", "10.77.0.2", "lladdr", address, "dev", "v0", "nud", "permanent")


class Programs:
    """The programs under test. The output of each is in a file; all end with the scope."""

    def __init__(self, folder):
        self.folder = folder
        self.running = {}
        # Only the registry's files change in a prefix, and they are replaced, not written to.
        self.environment = dict(os.environ, WINEPREFIX=str(folder / "prefix"))
        shutil.copytree(os.environ["WINEPREFIX"], folder / "prefix", symlinks=True, copy_function=os.link)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for process in self.running.values():
            process.kill()
            process.wait()
        self.wine_server("-k")
        self.wine_server("-w")

    def wine_server(self, option):
        subprocess.run(["/usr/lib/wine/wineserver64", option], env=self.environment, check=False)

    def start(self, name, *command):
        with open(self.folder / f"{name}.log", "w", encoding="utf-8") as log:
            self.running[name] = subprocess.Popen(
                [str(word) for word in command], env=self.environment, stdin=subprocess.DEVNULL, stdout=log, stderr=log)

    def end(self, name):
        self.running[name].kill()
        self.running.pop(name).wait()

    def start_wmihost(self):
        self.start("wmihost", TOP / "tools" / "wine", BIN / "wmihost.exe", "metrics", "--output",
                   f"Z:{self.folder}/textfile/zerix.prom", "--every", 1)

    def restart_wine(self):
        self.end("wmihost")
        self.wine_server("-k")
        self.wine_server("-w")
        self.start_wmihost()

    def start_all(self):
        metrics, data = self.folder / "textfile", self.folder / "data"
        metrics.mkdir()
        provider = str(BIN / "ZerixDRAVEv2Provider.dll").replace("/", "\\")
        subprocess.run([TOP / "tools" / "wine", "regsvr32", "/s", "Z:" + provider], env=self.environment, check=True,
                       stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.start_wmihost()
        self.start("exporter", PROGRAMS / "usr/bin/prometheus-node-exporter", "--collector.disable-defaults",
                   "--collector.textfile", f"--collector.textfile.directory={metrics}",
                   f"--web.listen-address={EXPORTER}")
        (self.folder / "prometheus.yml").write_text(CONFIGURATION, encoding="utf-8")
        self.start("prometheus", PROGRAMS / "usr/bin/prometheus", f"--config.file={self.folder}/prometheus.yml",
                   f"--storage.tsdb.path={data}", f"--web.listen-address={PROMETHEUS}")

    def logs(self):
        for log in sorted(self.folder.glob("*.log")):
            print(f"--- {log.name}\n" + "".join(log.read_text(errors="replace").splitlines(True)[-20:]))


def serving():
    try:
        return set(query("zerix_port_info")) == {"v0", "w0", "x0", "y0"}
    except OSError:
        return False


def check_traffic(traffic):
    """After forty scrapes, the increase that PromQL computes equals what was sent."""
    samples = f"count_over_time(zerix_port_transmitted_bytes_total[{WINDOW_SECONDS}s])"
    steady_since = traffic.times[0] + 2 * SCRAPE_SECONDS
    wait_for(f"{SCRAPES} scrapes of steady traffic",
             lambda: time.time() - steady_since > WINDOW_SECONDS and query(of_ports(samples))["v0"] >= SCRAPES,
             4 * WINDOW_SECONDS)
    now = time.time()
    sent = traffic.bytes_until(now) - traffic.bytes_until(now - WINDOW_SECONDS)
    for direction, port in (("transmitted", "v0"), ("received", "w0")):
        increase = f"increase(zerix_port_{direction}_bytes_total[{WINDOW_SECONDS}s])"
        found = query(of_ports(increase), time=now)[port]
        progress(f"{port} {direction}: {sent} bytes sent, increase {found:.0f} ({found / sent - 1:+.2%})")
        if abs(found - sent) > TOLERANCE * sent:
            raise SystemExit("the increase does not agree with the bytes sent")


def check_changes(programs):
    events = []

    def event(name):
        events.append((time.time(), name))

    def states():
        return [query(of_ports(metric)).get("v0") for metric in ("zerix_port_up", "zerix_port_carrier")]

    wait_for("v0 is up and has a carrier", lambda: states() == [1, 1])
    if query('up{job="node"}') != {"": 1} or query("zerix_read_success") != {"": 1}:
        raise SystemExit("Prometheus does not see a target that is up, or a reading that succeeded")
    event("other end of the link down")
    ip("link", "set", "w0", "down")
    wait_for("v0 has lost its carrier", lambda: states() == [0, 0])
    time.sleep(5 * SCRAPE_SECONDS)  # for the graph alone
    event("up again")
    ip("link", "set", "w0", "up")
    wait_for("v0 has its carrier back", lambda: states() == [1, 1])
    time.sleep(5 * SCRAPE_SECONDS)  # for the graph alone
    event("x0 and y0 removed")
    ip("link", "delete", "x0")
    wait_for("x0 is down", lambda: query(of_ports("zerix_port_up")).get("x0") == 0)
    # Wine lists adapters that have gone until its server ends.
    programs.restart_wine()
    event("Wine started anew")
    wait_for("x0 and y0 have disappeared", lambda: set(query("zerix_port_info")) == {"v0", "w0"})
    if set(query(of_ports("zerix_port_received_bytes_total"))) != {"v0", "w0"}:
        raise SystemExit("a port that has disappeared still has counters")
    time.sleep(5 * SCRAPE_SECONDS)  # for the graph alone
    rules = [rule for group in ask("rules")["groups"] for rule in group["rules"]]
    if len(rules) < 6 or any(rule["health"] != "ok" for rule in rules):
        raise SystemExit(f"a rule does not work: {rules}")
    event("wmihost ended")
    programs.end("wmihost")
    stale = "time() - zerix_read_last_success_timestamp_seconds > 10"
    wait_for("the reading is stale", lambda: query(stale))
    event("exporter ended")
    programs.end("exporter")
    wait_for("up is 0", lambda: query('up{job="node"}') == {"": 0})
    return events


def course(expression, begin, end):
    found = ask("query_range", query=expression, start=begin, end=end, step=SCRAPE_SECONDS)["result"]
    return {series["metric"].get("name", ""): [(moment - begin, float(value)) for moment, value in series["values"]]
            for series in found}


def store_course(begin, events):
    end = time.time()
    TABLES.mkdir(parents=True, exist_ok=True)
    (TABLES / "fleet.json").write_text(json.dumps({
        "bytesPerSecond": course(of_ports(f"rate(zerix_port_transmitted_bytes_total[{5 * SCRAPE_SECONDS}s])"), begin, end),
        "sentPerSecond": FRAME_BYTES * PACKETS_PER_SECOND,
        "carrier": course(of_ports("zerix_port_carrier"), begin, end),
        "ports": course("count(zerix_port_info)", begin, end),
        "events": [(moment - begin, name) for moment, name in events],
    }, indent=1) + "\n", encoding="utf-8")


def run(folder):
    make_adapters()
    with Programs(folder) as programs:
        try:
            programs.start_all()
            wait_for("four ports", serving)
            traffic = Traffic("10.77.0.2")
            traffic.start()
            check_traffic(traffic)
            events = check_changes(programs)
            store_course(traffic.times[0], events)
            traffic.ended.set()
        except BaseException:
            programs.logs()
            raise


def main():
    if os.environ.get("ZERIX_NAMESPACE"):
        run(pathlib.Path(os.environ["ZERIX_NAMESPACE"]))
        return 0
    if not (pathlib.Path(os.environ.get("WINEPREFIX", "")) / "system.reg").is_file():
        sys.exit("WINEPREFIX names no Wine prefix")
    space = f"zerix-fleet-{os.getpid()}"
    folder = WORK / space
    made = subprocess.run(["ip", "netns", "add", space], capture_output=True, text=True, check=False)
    probe = subprocess.run(["ip", "-n", space, "link", "add", "p0", "type", "veth", "peer", "name", "p1"],
                           capture_output=True, text=True, check=False)
    try:
        if made.returncode != 0 or probe.returncode != 0:
            print("skipped: no network namespace with virtual adapters can be made here:", made.stderr, probe.stderr)
            return SKIPPED
        subprocess.run(["ip", "-n", space, "link", "delete", "p0"], check=True)
        folder.mkdir(parents=True)
        return subprocess.run(["ip", "netns", "exec", space, sys.executable, *sys.argv],
                              env=dict(os.environ, ZERIX_NAMESPACE=str(folder)), check=False).returncode
    finally:
        subprocess.run(["ip", "netns", "delete", space], capture_output=True, check=False)
        shutil.rmtree(folder, ignore_errors=True)


sys.exit(main())
