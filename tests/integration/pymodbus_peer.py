#!/usr/bin/python3
"""A Modbus slave built on pymodbus (any slave address), holding REG=VALUE:

  pymodbus_peer.py REG=VALUE ... --mode PORT|RTU|ASC

PORT serves Modbus/TCP on 127.0.0.1. RTU and ASC make a pseudo-terminal for
qelpoll, print "pty PATH" and bridge it to a second one where the server runs,
riding out qelpoll closing and reopening its side. Prints "ready" once serving.
"""
import argparse
import os
import select
import threading
import time
import tty

from pymodbus.datastore import ModbusSequentialDataBlock, ModbusServerContext, ModbusSlaveContext
from pymodbus.server import StartSerialServer, StartTcpServer
from pymodbus.transaction import ModbusAsciiFramer, ModbusRtuFramer


def open_pty():
    master, slave = os.openpty()
    tty.setraw(slave)
    return master, os.ttyname(slave)  # the slave stays open: no hang-up while qelpoll has it closed


def bridge(a, b):
    while True:
        try:
            for src in select.select([a, b], [], [], 0.05)[0]:
                os.write(b if src == a else a, os.read(src, 4096))
        except OSError:
            time.sleep(0.005)  # a side without a reader for a moment


ap = argparse.ArgumentParser()
ap.add_argument("registers", nargs="*")
ap.add_argument("--mode", required=True)
args = ap.parse_args()
values = [0] * 0x10000
for item in args.registers:
    reg, value = item.split("=")
    values[int(reg, 0)] = int(value, 0) & 0xFFFF
block = ModbusSequentialDataBlock(0, values)
slave = ModbusSlaveContext(hr=block, ir=block, co=block, di=block, zero_mode=True)
context = ModbusServerContext(slaves=slave, single=True)
ready = threading.Timer(0.5, lambda: print("ready", flush=True))
if args.mode.isdigit():
    ready.start()
    StartTcpServer(context=context, address=("127.0.0.1", int(args.mode)))
else:
    qelpoll_side, name = open_pty()
    server_side, server_name = open_pty()
    threading.Thread(target=bridge, args=(qelpoll_side, server_side), daemon=True).start()
    print("pty " + name, flush=True)
    ready.start()
    StartSerialServer(context=context, framer=ModbusRtuFramer if args.mode == "RTU" else ModbusAsciiFramer,
                      port=server_name, baudrate=9600, timeout=0.005)
