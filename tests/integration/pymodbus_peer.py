#!/usr/bin/python3
"""A Modbus slave built on pymodbus, for checking the station's framing
against an implementation nobody here wrote.

  pymodbus_peer.py --tcp 127.0.0.1:PORT   [--set REG=VALUE ...]
  pymodbus_peer.py --rtu | --ascii        [--set REG=VALUE ...]

In the serial modes it makes a pseudo-terminal for the station, prints
"pty PATH", and bridges it to a second one on which the pymodbus server
runs; the station closes and reopens its side on every exchange, which the
bridge rides out. Prints "ready" once serving. Slave address: any.
"""
import argparse
import os
import select
import sys
import threading
import time
import tty

from pymodbus.datastore import (ModbusSequentialDataBlock, ModbusServerContext,
                                ModbusSlaveContext)
from pymodbus.server import StartSerialServer, StartTcpServer
from pymodbus.transaction import ModbusAsciiFramer, ModbusRtuFramer


def make_context(settings):
    values = [0] * 0x10000
    for item in settings:
        reg, value = item.split("=")
        values[int(reg, 0)] = int(value, 0) & 0xFFFF
    block = ModbusSequentialDataBlock(0, values)
    slave = ModbusSlaveContext(hr=block, ir=block, co=block, di=block, zero_mode=True)
    return ModbusServerContext(slaves=slave, single=True)


def open_pty():
    master, slave = os.openpty()
    tty.setraw(slave)
    name = os.ttyname(slave)
    return master, slave, name


def bridge(a, b):
    """Copies bytes both ways; EIO on a side with no reader is waited out."""
    while True:
        try:
            ready, _, _ = select.select([a, b], [], [], 0.05)
        except OSError:
            time.sleep(0.005)
            continue
        for src in ready:
            dst = b if src == a else a
            try:
                data = os.read(src, 4096)
            except OSError:
                time.sleep(0.005)  # the station has its side closed for a moment
                continue
            if data:
                try:
                    os.write(dst, data)
                except OSError:
                    pass


def main():
    ap = argparse.ArgumentParser()
    mode = ap.add_mutually_exclusive_group(required=True)
    mode.add_argument("--tcp")
    mode.add_argument("--rtu", action="store_true")
    mode.add_argument("--ascii", action="store_true")
    ap.add_argument("--set", action="append", default=[])
    args = ap.parse_args()
    context = make_context(args.set)

    if args.tcp:
        host, port = args.tcp.rsplit(":", 1)
        threading.Timer(0.5, lambda: (print("ready", flush=True))).start()
        StartTcpServer(context=context, address=(host, int(port)))
        return

    station_master, station_slave, station_name = open_pty()
    server_master, server_slave, server_name = open_pty()
    # Keep our own handle on the station's slave so the master never sees a
    # hang-up while the station has its side closed.
    threading.Thread(target=bridge, args=(station_master, server_master), daemon=True).start()
    print("pty " + station_name, flush=True)
    framer = ModbusRtuFramer if args.rtu else ModbusAsciiFramer
    threading.Timer(0.5, lambda: (print("ready", flush=True))).start()
    StartSerialServer(context=context, framer=framer, port=server_name, baudrate=9600, timeout=0.005)


if __name__ == "__main__":
    sys.exit(main())
