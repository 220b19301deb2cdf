"""Reads and writes registers with pymodbus, for the qelsim tests.

usage: modbus_client.py tcp HOST PORT UNIT OP...
       modbus_client.py rtu|ascii DEVICE UNIT OP...
OP: r:ADDR:COUNT (read holding registers), w:ADDR:VALUE (write one),
    W:ADDR:V1,V2,... (write several). Numbers may be 0x hex.
Prints one line per OP: the values read, "ok" for a write, or "error TEXT".
Exit status 3 when pymodbus is missing, so that the caller can skip.
"""
import sys

try:
    from pymodbus.client import ModbusSerialClient, ModbusTcpClient
    from pymodbus.framer.ascii_framer import ModbusAsciiFramer
    from pymodbus.framer.rtu_framer import ModbusRtuFramer
except ImportError as e:  # pragma: no cover
    print("pymodbus missing: %s" % e)
    sys.exit(3)


def num(text):
    return int(text, 0)


def make_client(argv):
    kind = argv[0]
    if kind == "tcp":
        client = ModbusTcpClient(argv[1], port=num(argv[2]), timeout=1, retries=0)
        return client, num(argv[3]), argv[4:]
    framer = ModbusRtuFramer if kind == "rtu" else ModbusAsciiFramer
    client = ModbusSerialClient(port=argv[1], framer=framer, baudrate=9600, timeout=1, retries=0)
    return client, num(argv[2]), argv[3:]


def main(argv):
    client, unit, ops = make_client(argv)
    if not client.connect():
        print("error cannot connect")
        return 1
    for op in ops:
        kind, addr, rest = op.split(":")
        try:
            if kind == "r":
                rr = client.read_holding_registers(num(addr), num(rest), slave=unit)
            elif kind == "w":
                rr = client.write_register(num(addr), num(rest), slave=unit)
            else:
                rr = client.write_registers(num(addr), [num(v) for v in rest.split(",")], slave=unit)
        except Exception as e:  # a timeout or a broken frame surfaces here or as rr
            print("error %s" % e)
            continue
        if rr is None or rr.isError():
            print("error %s" % rr)
        elif kind == "r":
            print(" ".join(str(v) for v in rr.registers))
        else:
            print("ok")
    client.close()
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
