#!/usr/bin/python3
"""The station's poll line measured against what the settings prescribe, what
the wire allows and what other Modbus masters take for the same reads.

Started by bench/run.sh after the build; prints one table. Every figure is a
ratio measured in the same run on this machine. Runs qelsim, qelstation
(headless), mbpoll and a pymodbus client as processes, as users start them.
"""
import argparse
import os
import re
import shutil
import subprocess
import sys
import tempfile
import threading
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
BUILD = os.path.join(ROOT, "build")
QELSIM = os.path.join(BUILD, "sim", "qelsim")
STATION = os.path.join(BUILD, "app", "qelstation")
APP = os.path.join(ROOT, "data", "app")

# Reads of one poll cycle of an idle chamber, by model: (first register, count) of each read.
BLOCKS = {"QEL2000": [(2, 120)], "QEL2200": [(0, 109)], "QEL2300": [(2, 82), (0x8C, 82)],
          "QEL2400": [(2, 115), (0x87, 15), (0xC8, 130)]}
READS = {m: [n for _, n in b] for m, b in BLOCKS.items()}
# A standard master reads at most 125 registers at once: the QEL2400's third
# read (130, byte count 0x04) is beyond mbpoll and pymodbus.
STANDARD = {m: all(n <= 125 for n in r) for m, r in READS.items()}


def wire_seconds(protocol, baud, reads):
    """Time the line needs for the requests and replies of `reads` at `baud`:
    RTU 10 bits a byte and a 3.5-character gap before each frame; ASCII ':',
    two characters a byte and CR LF, 10 bits each."""
    bits = 0.0
    for n in reads:
        if protocol == "RTU":
            request, reply = 8, 5 + 2 * n
            bits += 10 * (request + reply + 2 * 3.5)
        else:
            request, reply = 1 + 2 * 7 + 2, 1 + 2 * (4 + 2 * n) + 2
            bits += 10 * (request + reply)
    return bits / baud


class Line:
    """qelsim serving `count` idle chambers of `model`."""

    def __init__(self, protocol, model, count, baud=0):
        self.protocol, self.model, self.count = protocol, model, count
        self.port = 20000 + (os.getpid() * 7 + count) % 9000
        args = [QELSIM, "--no-noise", "--verbose"]
        if protocol == "ETH":
            args += ["--tcp", "--host-base", "127.0.1.1", "--port", str(self.port)]
        else:
            args += ["--rtu" if protocol == "RTU" else "--asc", "--baud", str(baud)]
        for a in range(1, count + 1):
            args += ["--chamber", "%d:%s" % (a, model)]
        self.proc = subprocess.Popen(args, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                     text=True)
        self.first_rx = None
        self.pty = None
        while True:
            line = self.proc.stdout.readline()
            if not line:
                raise RuntimeError("qelsim ended: " + self.proc.stderr.read())
            if line.startswith("pty "):
                self.pty = line.split()[1]
            if line.startswith("ready"):
                break
        threading.Thread(target=self._watch, daemon=True).start()

    def _watch(self):
        for line in self.proc.stderr:
            if self.first_rx is None and " rx " in " " + line.split(":", 1)[-1]:
                self.first_rx = time.monotonic()

    def stop(self):
        self.proc.kill()
        self.proc.wait()


def station_folder(line, pcspeed, fast):
    d = tempfile.mkdtemp(prefix="qelbench-")
    for f in os.listdir(APP):
        if f.endswith((".ini", ".xml")):
            shutil.copy(os.path.join(APP, f), d)
    tag = os.path.join(d, "SetUserTag.ini")
    text = open(tag, "rb").read().decode("cp949")
    out, section = [], ""
    for l in text.split("\r\n"):
        if l.startswith("["):
            section = l
        key, eq, _ = l.partition("=")
        if section == "[Set]" and key == "MAX_CHAMBER_NO":
            l = "MAX_CHAMBER_NO=%d" % line.count
        elif section == "[Set]" and key.startswith("Chamber "):
            c = int(key.split()[1])
            l = "%s=%d" % (key, c if c <= line.count else 0)
        elif section == "[Model]" and eq:
            l = "%s=%s/" % (key, line.model)
        elif section == "[IPAddNo]" and eq:
            l = "%s=127.0.1.%dE" % (key, int(key))
        out.append(l)
    open(tag, "wb").write("\r\n".join(out).encode("cp949"))
    comm = os.path.join(d, "SetComm.ini")
    text = open(comm, "rb").read().decode("cp949")
    text = re.sub(r"(?m)^Protocol=.*?\r$", "Protocol=%s/\r" % line.protocol, text)
    text = re.sub(r"(?m)^PCSpeed=.*?\r$", "PCSpeed=%d\r" % pcspeed, text)
    text = re.sub(r"(?m)^RemotePort=.*?\r$", "RemotePort=%d\r" % line.port, text)
    text = re.sub(r"(?m)^CommDataSave=.*?\r$", "CommDataSave=0\r\nFastReply=%d\r" % (1 if fast else 0), text)
    if line.protocol != "ETH":
        text = re.sub(r"(?m)^Port Number=.*?\r$", "Port Number=1\r", text)
        text += "[Ports]\r\nCOM1=%s\r\n" % line.pty
    open(comm, "wb").write(text.encode("cp949"))
    return d


def run_station(line, pcspeed, fast, cycles):
    """Runs the headless station for `cycles` poll ticks. Returns the median
    cycle (time between the records of chamber 1 of two ticks, first tick
    left out), CPU seconds, peak memory in kB, start-up to the first request,
    wall time and failed reads."""
    folder = station_folder(line, pcspeed, fast)
    line.first_rx = None
    started = time.monotonic()
    proc = subprocess.Popen([STATION, "--headless", "--app-dir", folder, "--cycles", str(cycles), "--json"],
                            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
    ticks, failed, cpu_marks = [], 0, []
    for l in proc.stdout:
        if re.search(r'"Chamber":1[,}]', l):
            ticks.append(time.monotonic())
            cpu_marks.append((ticks[-1], process_cpu(proc.pid)))
        if '"FailCount":' in l and not re.search(r'"FailCount":0[,}]', l):
            failed += 1
    _, status, usage = os.wait4(proc.pid, 0)
    wall = time.monotonic() - started
    shutil.rmtree(folder, ignore_errors=True)
    cycles_s = sorted(b - a for a, b in zip(ticks[1:], ticks[2:])) or [float("nan")]
    # Steady state: from the second tick's record to the last, start-up left out.
    steady = [m for m in cpu_marks[1:] if m[1] is not None]
    steady_cpu = steady[-1][1] - steady[0][1] if len(steady) > 1 else float("nan")
    steady_wall = steady[-1][0] - steady[0][0] if len(steady) > 1 else float("nan")
    steady_ticks = len(steady) - 1
    startup = (line.first_rx - started) if line.first_rx else float("nan")
    return {"cycle": cycles_s[len(cycles_s) // 2], "cpu": steady_cpu, "cpu_wall": steady_wall,
            "rss": usage.ru_maxrss, "startup": startup, "wall": wall, "failed": failed, "ticks": steady_ticks}


def smallest_pcspeed(line, cycles, floor_ms):
    """The smallest PCSpeed (ms, a multiple of 5 from floor_ms to 300) at which
    the station, without FastReply, polls `cycles` ticks with no failed read,
    found by halving (a PCSpeed that works is taken to work above as well).
    Returns the PCSpeed and its run, or (nan, None) when 300 is the least."""
    def works(pcspeed):
        run = run_station(line, pcspeed, False, cycles)
        return (not run["failed"] and run["ticks"] >= cycles - 2), run
    lo, hi, best = max(5, 5 * (floor_ms // 5)), 300, (float("nan"), None)
    while lo < hi:
        mid = 5 * ((lo + hi) // 10)
        ok, run = works(mid)
        if ok:
            hi, best = mid, (mid, run)
        else:
            lo = mid + 5
    return best


def window_peak_mb(line, cycles=4):
    """Peak memory of the station with its window (offscreen) on the line."""
    folder = station_folder(line, 300, True)
    env = dict(os.environ, QT_QPA_PLATFORM="offscreen")
    proc = subprocess.Popen([STATION, "--app-dir", folder, "--cycles", str(cycles)], env=env,
                            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    _, _, usage = os.wait4(proc.pid, 0)
    shutil.rmtree(folder, ignore_errors=True)
    return usage.ru_maxrss / 1024


def process_cpu(pid):
    """User and system CPU seconds of a running process, from /proc."""
    try:
        fields = open("/proc/%d/stat" % pid).read().rsplit(")", 1)[1].split()
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")
    except (OSError, IndexError, ValueError):
        return None


def work_cpu(line, ticks=200):
    """CPU of the poll's work per chamber and tick: the headless station with
    FastReply and without any output, run for 1 and for 1 + `ticks` ticks; the
    difference leaves start-up and exit out. Taken from the kernel's
    accounting of the whole process (os.wait4), not sampled."""
    def cpu(cycles):
        folder = station_folder(line, 300, True)
        proc = subprocess.Popen([STATION, "--headless", "--app-dir", folder, "--cycles", str(cycles)],
                                stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        _, _, usage = os.wait4(proc.pid, 0)
        shutil.rmtree(folder, ignore_errors=True)
        return usage.ru_utime + usage.ru_stime
    return 1e6 * (cpu(1 + ticks) - cpu(1)) / (ticks * line.count)


PYMODBUS_READS = r'''
import sys, time
from pymodbus.client import ModbusSerialClient, ModbusTcpClient
protocol, target, count, rounds = sys.argv[1], sys.argv[2], int(sys.argv[3]), int(sys.argv[5])
blocks = [tuple(int(x) for x in b.split(":")) for b in sys.argv[4].split(",")]
def read(c, unit):
    return all(not c.read_holding_registers(first, n, slave=unit).isError() for first, n in blocks)
t = []
if protocol == "ETH":
    host_base, port = target.rsplit(":", 1)
    clients = [ModbusTcpClient("127.0.1.%d" % a, port=int(port), timeout=1) for a in range(1, count + 1)]
    for c in clients: c.connect()
    for _ in range(rounds):
        t0 = time.monotonic()
        ok = all(read(c, a) for a, c in enumerate(clients, 1))
        t.append(time.monotonic() - t0)
else:
    # pymodbus 3 takes the framing as a framer class; its "method" is no longer read.
    from pymodbus.framer.ascii_framer import ModbusAsciiFramer
    from pymodbus.framer.rtu_framer import ModbusRtuFramer
    c = ModbusSerialClient(port=target, framer=ModbusRtuFramer if protocol == "RTU" else ModbusAsciiFramer,
                           baudrate=int(sys.argv[6]), timeout=1)
    c.connect()
    for _ in range(rounds):
        t0 = time.monotonic()
        ok = all(read(c, a) for a in range(1, count + 1))
        t.append(time.monotonic() - t0)
t.sort()
print("%.6f %s" % (t[len(t) // 2], "ok" if ok else "failed"))
'''


def pymodbus_cycle(line, baud, rounds=3):
    target = line.pty if line.protocol != "ETH" else "127.0.1.1:%d" % line.port
    if not STANDARD[line.model]:
        return float("nan")
    blocks = ",".join("%d:%d" % b for b in BLOCKS[line.model])
    r = subprocess.run(["/usr/bin/python3", "-c", PYMODBUS_READS, line.protocol, target, str(line.count), blocks,
                        str(rounds), str(baud)], capture_output=True, text=True, timeout=600)
    parts = r.stdout.split()
    return float(parts[0]) if len(parts) == 2 and parts[1] == "ok" else float("nan")


def mbpoll_cycle(line, baud, rounds=3):
    if not shutil.which("mbpoll") or not STANDARD[line.model]:
        return float("nan")
    times = []
    for _ in range(rounds):
        t0 = time.monotonic()
        for first, n in BLOCKS[line.model]:  # mbpoll reads one block of every slave a run
            r = subprocess.run(["mbpoll", "-m", "rtu", "-b", str(baud), "-P", "none", "-a", "1:%d" % line.count,
                                "-0", "-r", str(first), "-c", str(n), "-1", "-o", "1", line.pty],
                               capture_output=True, text=True, timeout=600)
            if r.returncode != 0:
                return float("nan")
        times.append(time.monotonic() - t0)
    times.sort()
    return times[len(times) // 2]


def main():
    p = argparse.ArgumentParser()
    p.add_argument("--cycles", type=int, default=4, help="poll ticks per station run (at least 3)")
    p.add_argument("--chambers", type=int, default=30)
    p.add_argument("--baud", type=int, default=9600)
    p.add_argument("--models", default="QEL2000")
    p.add_argument("--protocols", default="ETH,RTU,ASC")
    p.add_argument("--asc-baud", type=int, default=19200,
                   help="ASCII's line speed: at 9600 a block read's reply alone takes longer than PCSpeed 300")
    a = p.parse_args()
    rows = []

    def row(*cells):
        rows.append(cells)
        print("  ".join(str(c) for c in cells), file=sys.stderr, flush=True)

    for model in a.models.split(","):
        for protocol in a.protocols.split(","):
            for count in (1, a.chambers):
                baud = {"ETH": 0, "RTU": a.baud, "ASC": a.asc_baud}[protocol]
                line = Line(protocol, model, count, baud)
                try:
                    # PCSpeed per read, and the poll timer's 100 ms between two walks.
                    prescribed = count * len(READS[model]) * 0.300 + 0.100
                    wire = count * wire_seconds(protocol, baud, READS[model]) if baud else float("nan")
                    slow = run_station(line, 300, False, a.cycles)
                    fast = run_station(line, 300, True, max(a.cycles, 20 if protocol == "ETH" else a.cycles))
                    other = mbpoll_cycle(line, baud) if protocol == "RTU" else float("nan")
                    py = pymodbus_cycle(line, baud)
                    work = work_cpu(line) if protocol == "ETH" else float("nan")
                    # Below 10 ms a wait is shorter than the station's timers can keep.
                    floor_ms = 10 if not baud else int(1000 * wire_seconds(protocol, baud, READS[model][:1]))
                    least, least_run = (smallest_pcspeed(line, a.cycles, floor_ms) if count > 1
                                        else (float("nan"), None))
                    window_mb = window_peak_mb(line) if protocol == "ETH" and count > 1 else float("nan")
                finally:
                    line.stop()
                tick_cpu_us = 1e6 * slow["cpu"] / max(1, slow["ticks"] * count)
                fast_cpu_us = 1e6 * fast["cpu"] / max(1, fast["ticks"] * count)
                row(model, protocol, count, "%.3f" % slow["cycle"], "%.3f" % (slow["cycle"] / prescribed),
                    "%.2f" % (slow["cycle"] / wire) if baud else "-", "%.3f" % fast["cycle"],
                    "%.2f" % (fast["cycle"] / wire) if baud else "-",
                    "%.2f" % (fast["cycle"] / other) if other == other else "-",
                    "%.2f" % (fast["cycle"] / py) if py == py else "-", "%.0f" % tick_cpu_us,
                    "%.0f" % fast_cpu_us, "%.0f" % work if work == work else "-",
                    "%.2f%%" % (100 * slow["cpu"] / slow["cpu_wall"]), "%d" % (slow["rss"] // 1024),
                    "%.0f" % (1000 * slow["startup"]), slow["failed"] + fast["failed"],
                    "%.0f" % window_mb if window_mb == window_mb else "-",
                    "%d" % least if least == least else "-",
                    "%.3f" % least_run["cycle"] if least_run else "-",
                    "%.2f" % (least_run["cycle"] / (count * len(READS[model]) * least / 1000 + 0.100))
                    if least_run else "-",
                    "%.2f" % (least_run["cycle"] / wire) if least_run and baud else "-")

    head = ("model", "line", "chambers", "cycle s", "/prescribed", "/wire", "fast cycle s", "fast/wire",
            "fast/mbpoll", "fast/pymodbus", "CPU us/chamber/tick", "fast: CPU us/chamber/tick",
            "work: CPU us/chamber/tick", "core share",
            "peak MB", "first request ms",
            "failed reads", "window peak MB", "smallest PCSpeed ms", "its cycle s", "its /prescribed", "its /wire")
    print("| " + " | ".join(head) + " |")
    print("|" + "---|" * len(head))
    for r in rows:
        print("| " + " | ".join(str(c) for c in r) + " |")


if __name__ == "__main__":
    main()
