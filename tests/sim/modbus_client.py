"""pymodbus as the qelsim tests' independent client.

usage: modbus_client.py tcp HOST PORT UNIT OP... | rtu|ascii DEVICE UNIT OP...
OP: r:ADDR:COUNT, w:ADDR:VALUE or W:ADDR:V1,V2,... Prints per OP the values
read, "ok" for a write, or "error TEXT". Exits 3 when pymodbus is missing.
"""
import sys

try:
    from pymodbus.client import ModbusSerialClient, ModbusTcpClient
    from pymodbus.framer.ascii_framer import ModbusAsciiFramer
    from pymodbus.framer.rtu_framer import ModbusRtuFramer
except ImportError:
    sys.exit(3)

kind, args = sys.argv[1], sys.argv[2:]
if kind == "tcp":
    client = ModbusTcpClient(args.pop(0), port=int(args.pop(0)), timeout=1, retries=0)
else:
    framer = ModbusRtuFramer if kind == "rtu" else ModbusAsciiFramer
    client = ModbusSerialClient(port=args.pop(0), framer=framer, baudrate=9600, timeout=1, retries=0)
unit = int(args.pop(0))
if not client.connect():
    sys.exit("error cannot connect")
calls = {"r": lambda a, v: client.read_holding_registers(a, v[0], slave=unit),
         "w": lambda a, v: client.write_register(a, v[0], slave=unit),
         "W": lambda a, v: client.write_registers(a, v, slave=unit)}
for op in args:
    what, addr, rest = op.split(":")
    try:
        rr = calls[what](int(addr, 0), [int(v, 0) for v in rest.split(",")])
    except Exception as e:  # a timeout or a broken frame surfaces here or as rr
        rr = e
    if rr is None or isinstance(rr, Exception) or rr.isError():
        print("error %s" % rr)
    else:
        print(" ".join(str(v) for v in rr.registers) if what == "r" else "ok")
client.close()
