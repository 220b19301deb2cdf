#!/usr/bin/env python3
"""Writes the seed corpora of the fuzz targets into corpus/<target>/.

The seeds are laid out here from the formats themselves (Modbus framings,
the controllers' register maps, the profile files, the .PTN, data-log and
trend layouts), plus pieces of the shipped files of data/app, so that the
fuzzers start from inputs that reach deep into each parser. Run it again
after a format changes; the files it writes are kept in the repository.
"""
import os
import struct
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
APP = os.path.join(HERE, "..", "..", "data", "app")
OUT = os.path.join(HERE, "corpus")


def write(target, name, data):
    folder = os.path.join(OUT, target)
    os.makedirs(folder, exist_ok=True)
    if isinstance(data, str):
        data = data.encode("cp949")
    with open(os.path.join(folder, name), "wb") as f:
        f.write(data)


def shipped(name):
    with open(os.path.join(APP, name), "rb") as f:
        return f.read()


def crc16(data):
    crc = 0xFFFF
    for b in data:
        crc ^= b
        for _ in range(8):
            crc = (crc >> 1) ^ 0xA001 if crc & 1 else crc >> 1
    return crc


def rtu(pdu):
    c = crc16(pdu)
    return pdu + bytes([c & 0xFF, c >> 8])


def ascii_frame(pdu, lower=False):
    lrc = (-sum(pdu)) & 0xFF
    text = (pdu + bytes([lrc])).hex()
    return b":" + (text if lower else text.upper()).encode() + b"\r\n"


def tcp(pdu):
    return struct.pack(">HHH", 0x1234, 0, len(pdu)) + pdu


def registers(first, count, values):
    out = b""
    for r in range(first, first + count):
        out += struct.pack(">H", values.get(r, 0) & 0xFFFF)
    return out


def read_reply_pdu(address, count, data):
    return bytes([address, 3, (2 * count) & 0xFF]) + data


# Invalid CP949: a lead byte without its trail, a trail-less 0xFF, a lone 0x80.
BAD_CP949 = b"\xb0\x20\xff\x80\xc8"
KOREAN = "챔버 온도".encode("cp949")

# --- reply_check: address, first register (2 bytes), count - 1, mutation, frame
def reply_check():
    data = registers(2, 120, {4: 0x0101, 9: 253, 11: 250, 13: 455})
    pdu = read_reply_pdu(1, 120, data)
    head = bytes([1, 0, 2, 119, 17])
    write("fuzz_reply_check", "rtu_120", head + rtu(pdu))
    write("fuzz_reply_check", "ascii_120", head + ascii_frame(pdu))
    write("fuzz_reply_check", "tcp_120", head + tcp(pdu))
    pdu130 = read_reply_pdu(7, 130, registers(0xC8, 130, {0xC8: 3, 0xDD: 1}))
    write("fuzz_reply_check", "tcp_130_count04", bytes([7, 0, 0xC8, 129, 3]) + tcp(pdu130))
    write("fuzz_reply_check", "rtu_exception", bytes([1, 0, 2, 119, 0]) + rtu(bytes([1, 0x83, 2])))
    write("fuzz_reply_check", "ascii_lower_15", bytes([3, 0, 0x87, 14, 9]) +
          ascii_frame(read_reply_pdu(3, 15, registers(0x87, 15, {0x87: 2024, 0x88: 5})), lower=True))


# --- poll_blocks: set-up, three places, address, timing, then per request a control byte and data
MODELS = ["QEL2000", "QEL2100", "QEL2200", "QEL2300", "QEL2400"]


def setup_byte(model, ascii_line=False, fast=False, board=False):
    flags = (0x08 if ascii_line else 0) | (0x10 if fast else 0) | (0x40 if board else 0)
    for low in list(range(8)) + [0x80 + i for i in range(8)]:
        b = flags | low
        if b % 5 == MODELS.index(model):
            return b
    raise ValueError(model)


def poll_seed(model, reads, cycles=2, heat_cool=False, keys=(0, 0), **flags):
    """reads: per cycle a list of (first, count, values) in request order."""
    timing = (cycles - 1) | (29 << 2)  # 30 s apart
    out = bytes([setup_byte(model, **flags), 1, 2, 0, 0, 1 if heat_cool else 0, timing])
    for cycle in range(cycles):
        out += bytes([keys[cycle]])
        for first, count, values in reads(cycle):
            out += b"\x00" + registers(first, count, values)
    return out


def poll_blocks():
    def qel2000(cycle):
        b1 = {0x04: 0x0001, 0x06: 0x0002, 0x09: 253 + cycle, 0x0A: 6000, 0x0B: 250, 0x0C: 6000, 0x0D: 455,
              0x0E: 1234, 0x13: 0x0005, 0x17: 1 << cycle, 0x1D: 1, 0x1E: 75, 0x1F: 30, 0x23: 3, 0x24: 2,
              0x27: 1, 0x28: 5, 0x2F: 1, 0x30: 20, 0x6E: 0, 0x75: 1, 0x78: 2, 0x79: 10}
        b2 = {0x039C: 2024, 0x039D: 13, 0x039E: 2, 0x039F: 7, 0x03A0: 8, 0x03A6: 1970, 0x03A7: 1, 0x03A8: 1}
        return [(0x0002, 120, b1), (0x039C, 82, b2)]

    write("fuzz_poll_blocks", "qel2100_rtu_running", poll_seed("QEL2100", qel2000, keys=(0x13, 0)))
    write("fuzz_poll_blocks", "qel2000_ascii_heatcool", poll_seed("QEL2000", qel2000, ascii_line=True, heat_cool=True))

    def qel2200(cycle):
        return [(0x0000, 109, {0x00: 0xFE70, 0x02: 8550, 0x03: 250, 0x04: 6000, 0x05: 455, 0x0D: 1 << cycle,
                               0x17: 2, 0x18: 75, 0x1A: 7, 0x43: 1, 0x3E: 2024, 0x3F: 13, 0x40: 2, 0x41: 7,
                               0x42: 8, 0x63: 1})]

    write("fuzz_poll_blocks", "qel2200_rtu_program", poll_seed("QEL2200", qel2200, board=True))

    def qel2300(cycle):
        b1 = {0x05: 0x7701, 0x06: 1500, 0x07: 0xFF38, 0x08: 0xFE0C, 0x09: 1550, 0x12: 0x12 + cycle, 0x1A: 9,
              0x3D: 0x1234, 0x3E: 0x5678}
        b2 = {0x8C: 1, 0x8D: 2, 0x97: 2024, 0x98: 2, 0x99: 29, 0x9A: 23, 0xB5: 2, 0xB9: 1}
        return [(0x0002, 82, b1), (0x008C, 82, b2)]

    write("fuzz_poll_blocks", "qel2300_ascii_rooms", poll_seed("QEL2300", qel2300, ascii_line=True, fast=True))

    def qel2400(cycle):
        b1 = {0x09: 0xFE70, 0x0A: 2534, 0x0B: 77, 0x0C: 250, 0x27: 0x0001, 0x28: 2, 0x29: 1, 0x2D: cycle,
              0x02: 0x0A, 0x42: 1}
        b2 = {0x87: 2024, 0x88: 5, 0x89: 6, 0x8A: 7, 0x8B: 8, 0x91: 2025, 0x92: 1, 0x93: 2}
        b3 = {0xC8: 7, 0xCA: 9, 0xDD: 1, 0xDE: 75, 0x135: 1, 0x136: 1, 0x137: 15, 0x149: cycle}
        return [(0x0002, 115, b1), (0x0087, 15, b2), (0x00C8, 130, b3)]

    write("fuzz_poll_blocks", "qel2400_rtu_three", poll_seed("QEL2400", qel2400, keys=(0x21, 0x04)))
    # A line that misbehaves: an exception, silence, then rubbish.
    bad = bytes([setup_byte("QEL2000"), 1, 1, 0, 0, 0, 2]) + b"\x00\xd1" + b"\x00\xe9" + b"\x02\xf0\x05\x01\x03\xf0\x00\x00"
    write("fuzz_poll_blocks", "qel2000_bad_line", bad)


# --- station start: SetUserTag.ini behind its two-byte length, then SetComm.ini
def station_start():
    def seed(user_tag, comm):
        return struct.pack(">H", len(user_tag)) + user_tag + comm

    write("fuzz_station_start", "shipped", seed(shipped("SetUserTag.ini"), shipped("SetComm.ini")))
    lines = ["[Set]", "MAX_CHAMBER_NO=3", "Chamber 01=1", "Chamber 02=2", "Chamber 03=3", "[AddNo]",
             "AddressNo 01=1", "AddressNo 02=2", "AddressNo 03=3", "[Name]", "1=항온 1/", "2=..\\x/", "3=/",
             "[IPAddNo]", "1=E", "2=E", "3=E", "[Model]", "1=QEL2100/", "2=QEL2300/", "3=QEL2400/",
             "[Board]", "1=1", "2=0", "[MODEL_ZZ]", "1=1", "3=9e99", "[SDP_1]", "1=0/", "2=/", "3=00/",
             "[SDP_2]", "1=00/", "2=/", "3=/", "[SDP_3]", "1=/", "2=/", "3=0/",
             "[UNIT_1]", "1=℃/", "2=/", "3=/", "[UNIT_2]", "1=%/", "2=/", "3=/", "[UNIT_3]", "1=/", "2=/", "3=/"]
    comm = (b"[CommSet]\r\nProtocol=RTU/\r\nPort Number=1\r\nBaud Rate=9600\r\nParity=1\r\nStop Bit=1\r\n"
            b"Data Len=8\r\nPCSpeed=300\r\n[FileSaveSec]\r\nFileSave=1\r\n[Language]\r\nLanguage=KOR\r\n"
            b"[ButtonSet]\r\nDisbuttonRun=1\r\n[CommData]\r\nCommDataSave=1\r\nFastReply=1\r\n")
    write("fuzz_station_start", "three_models_rtu", seed("\r\n".join(lines).encode("cp949"), comm))
    write("fuzz_station_start", "ascii_overflow", seed(b"[Set]\nMAX_CHAMBER_NO=1\n[AddNo]\nAddressNo 01=40000\n"
                                                       b"[Name]\n1=" + BAD_CP949 + b"/\n[IPAddNo]\n1=E\n[Model]\n1=QEL2000/\n",
                                                       comm.replace(b"RTU/", b"ASC/").replace(b"300", b"-5")))


# --- profile files
def profile():
    write("fuzz_profile", "setcomm", b"\x0a" + shipped("SetComm.ini"))
    odd = (b"\xef\xbb\xbfkey before=any\r\n[ CommSet ]\r\nprotocol = \"RTU/\" \r\nProtocol=ASC/\r\n"
           b"[commset]\r\nPCSpeed=1\r[Name]\r1=" + KOREAN + b"/\n2=" + BAD_CP949 + b"/\n3=a\x00b/\n[Open\n=novalue\n")
    write("fuzz_profile", "quirks", b"\x1f" + odd)
    write("fuzz_profile", "utf16", b"\x09" + "[CommSet]\r\nProtocol=RTU/\r\n".encode("utf-16"))


def comm_settings():
    write("fuzz_comm_settings", "shipped", shipped("SetComm.ini"))
    write("fuzz_comm_settings", "serial_kor",
          b"[CommSet]\r\nProtocol=RTU/\r\nPort Number=3\r\nBaud Rate=19200\r\nParity=2\r\nPCSpeed=300\r\n"
          b"[Ports]\r\nCOM3=/dev/ttyUSB0\r\n[FileSaveSec]\r\nFileSave=0\r\n[Language]\r\nLanguage=KOR\r\n"
          b"[ButtonSet]\r\nDisbuttonRun=1\r\n[CommData]\r\nCommDataSave=1\r\nFastReply=1\r\n")
    write("fuzz_comm_settings", "overflow_bad_cp949",
          b"[CommSet]\r\nProtocol=ASC/\r\nRemotePort=99999\r\nParity=" + BAD_CP949 + b"\r\n[Language]\r\nLanguage=eng\r\n")
    write("fuzz_comm_settings", "no_slash", b"[CommSet]\nProtocol=ETH\n")


def user_tag():
    write("fuzz_user_tag", "shipped_head", shipped("SetUserTag.ini")[:1500])
    lines = ["[Set]", "MAX_CHAMBER_NO=2", "Chamber 01=1", "Chamber 02=2", "[AddNo]", "AddressNo 01=1",
             "AddressNo 02=300", "[Name]", "1=항온항습기 1/", "2=Chamber two/", "[IPAddNo]", "1=192.168.0.10E",
             "2=E", "[Model]", "1=QEL2400/", "2=qel2000/", "[Board]", "1=1", "[MODEL_ZZ]", "1=1",
             "[SDP_1]", "1=0/", "2=/", "[SDP_2]", "1=00/", "[SDP_3]", "1=/", "[UNIT_1]", "1=℃/", "[UNIT_2]", "1=%/",
             "[UNIT_3]", "1=/"]
    write("fuzz_user_tag", "two_chambers", "\r\n".join(lines) + "\r\n")
    write("fuzz_user_tag", "bad_cp949", b"[Set]\r\nMAX_CHAMBER_NO=1\r\n[Name]\r\n1=" + BAD_CP949 + b"/\r\n"
          b"[Model]\r\n1=QEL2100/\r\n[SDP_1]\r\n1=00000000000/\r\n")
    write("fuzz_user_tag", "overflow", b"[Set]\nMAX_CHAMBER_NO=40000\n")


def graph_settings():
    screens = shipped("SetScreensGraphInfo.ini")
    write("fuzz_graph_settings", "shipped_head", screens[:screens.index(b"[Set_3]")] + shipped("SetGraphInfo.ini"))
    write("fuzz_graph_settings", "pattern_and_overflow",
          b"[PATTERN_Set]\r\nMAX=150.5\r\nMin=-1e3\r\nX_MAJOR=&H10\r\n[Set_1]\r\nMAX_1_1=70000\r\n"
          b"COLOR_1_1=99999999999\r\n[Line]\r\nBackColor=-1\r\nTimeColor=" + BAD_CP949 + b"\r\n")


def lamp_select():
    lamps = shipped("SetLamp_2000.ini")
    write("fuzz_lamp_select", "shipped_chamber1", b"\x01" + lamps[:lamps.index(b"[QEL2000_2]")])
    entries = ["[QEL2100_2]"] + ["Lamp %02d=DI %d=%d/" % (i, i, i % 2) for i in range(1, 106)]
    entries += ["[QEL2200_3]", "Lamp 01=경보=1/", "Lamp 02==5/", "Lamp 03=/", "Lamp 04=TS 1=1"]
    write("fuzz_lamp_select", "chamber2_and_quirks", b"\x00" + "\r\n".join(entries).encode("cp949") + BAD_CP949)


def di_names():
    names = shipped("SetDIErrorName.ini")
    write("fuzz_di_names", "shipped_chamber1", b"\x01" + names[:names.index(b"[DIERRORNAME_2]")])
    write("fuzz_di_names", "korean_and_bad", b"\x00" + "[DIERRORNAME_1]\r\n1=도어 열림/\r\n2=".encode("cp949") +
          BAD_CP949 + b"/\r\n3=no slash\r\n")


def language():
    write("fuzz_language", "ren", b"\x01" + shipped("string-ren.xml"))
    rkr = shipped("string-rkr.xml")
    write("fuzz_language", "rkr_cut", b"\x00" + rkr[: len(rkr) // 2] + BAD_CP949)


# --- .PTN: each text a 16-bit little-endian byte count and CP949 bytes; TotalTime int32
def ptn_text(s):
    b = s.encode("cp949") if isinstance(s, str) else s
    return struct.pack("<H", len(b)) + b


def ptn_record(segments, bad=False):
    out = b""
    for t in ["7", "25.0", "60.0", "1", ""]:
        out += ptn_text(t)
    n = 101
    sp = ["%.1f" % (25 + 10 * i) for i in range(segments)] + [""] * (n - segments)
    sp2 = ["%.1f" % (60 - i) for i in range(segments)] + [""] * (n - segments)
    times = [str(600 * (i + 1)) for i in range(segments)] + [""] * (n - segments)
    for arr in (sp, sp2, times):
        out += b"".join(ptn_text(t) for t in arr)
    for k in range(12):  # eight signals, four aux
        out += b"".join(ptn_text("1" if (i + k) % 3 == 0 and i < segments else "0") for i in range(n))
    out += b"".join(ptn_text("1" if i < segments else "0") for i in range(n))
    for t in ["2", "1", "0"]:
        out += ptn_text(t)
    for arr in (["1", "2", "", "", ""], ["2", "3", "", "", ""], ["3", "1", "", "", ""]):
        out += b"".join(ptn_text(t) for t in arr)
    out += ptn_text(str(segments))
    out += struct.pack("<i", sum(600 * (i + 1) for i in range(segments)))
    for t in ["1", "0", "2", "1", "0", "6", "30", "5.0" if not bad else BAD_CP949]:
        out += ptn_text(t)
    return out


def ptn():
    write("fuzz_ptn", "three_segments_bad_tail", ptn_record(3, bad=True))
    write("fuzz_ptn", "short_file", ptn_record(2)[:700])


# --- data logs: 40-byte title, 40-byte channel text, rows of int32 seconds and float64 values
def data_log_header(title, channel):
    return title.encode("cp949").ljust(40, b" ") + channel.encode("cp949").ljust(40, b" ")


def data_log():
    rows = b"".join(struct.pack("<i3d", 30 * i, 25 + i / 10, 25.0, 40.5) for i in range(4))
    write("fuzz_data_log", "qel2100_ch1", b"\x00" + data_log_header("[QEL2100] Programs RUN / PT NO. 3", "CH1") + rows)
    hc = b"".join(struct.pack("<i4d", 30 * i, -10.0, -20.0, 0.0, 55.5) for i in range(3))
    write("fuzz_data_log", "heat_cool", b"\x01" + data_log_header("[QEL2000-HC] FIX RUN", "CH1") + hc)
    linked = b"".join(struct.pack("<i9d", i, *[float(i)] * 9) for i in range(2))
    write("fuzz_data_log", "qel2400_linked_part_row",
          b"\x02" + data_log_header("[QEL2400] Programs RUN / PT NO. 12", "") + linked + b"\x01\x02\x03")
    write("fuzz_data_log", "bad_title", b"\x03" + BAD_CP949.ljust(40, b"\xb0") + b" " * 40 + b"\x00" * 28)


def trend_file():
    six = "".join("2024-01-31 08:%02d:%02d,25.%d,25,40,60.5,60,12\r\n" % (15 + i // 30, (2 * i) % 60, i % 10)
                  for i in range(12))
    write("fuzz_trend_file", "qel2100_lines", bytes([0x09, 10, 20, 30, 40, 50, 60]) + six.encode())
    nine = "2024/01/31 23:59:58,1,2,3,4,5,6,7,8,9\n2024-02-01 00:00:00,-1.5e3,x,,4,5,6,7,8,9\ngarbage line\n"
    write("fuzz_trend_file", "qel2400_mixed", bytes([0x1C, 1, 2, 3, 4, 5, 6]) + nine.encode() + b"2024-02-01 00:00:0")
    write("fuzz_trend_file", "bad_bytes", bytes([0x00, 0, 0, 0, 0, 0, 0]) + BAD_CP949 + b",1\r\n\x00\x00,2,3\r\n")


if __name__ == "__main__":
    for make in (reply_check, poll_blocks, station_start, profile, comm_settings, user_tag, graph_settings, lamp_select, di_names,
                 language, ptn, data_log, trend_file):
        make()
    sys.exit(0)
