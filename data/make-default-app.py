#!/usr/bin/env python3
"""Writes the application folder of a new installation into data/app/.

A small demonstration line: four chambers on TCP (Modbus over ETH, port
1502) at 127.0.0.11 to 127.0.0.14, models QEL2000, QEL2100, QEL2000,
QEL2100, addresses 1 to 4, English captions. Every key every loader reads is
present with its terminator, for all 30 chamber slots, so that the station
starts without an error-log line. Files are CP949 with CR LF line ends, as
the station reads and writes them.

Run with python3 from anywhere; only the standard library is used. The
output is kept in the repository as well.
"""

import os
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
OUT = os.path.join(HERE, "app")

SLOTS = 30
CHAMBERS = 4
MODELS = ["QEL2000", "QEL2100", "QEL2000", "QEL2100"]


def load_texts():
    sys.dont_write_bytecode = True
    sys.path.insert(0, HERE)
    import language_texts
    return language_texts.SECTIONS


def write_profile(name, sections, comment=None):
    """sections: list of (section, [(key, value), ...])."""
    lines = []
    if comment:
        lines.append("; " + comment)
    for section, entries in sections:
        lines.append("[%s]" % section)
        lines.extend("%s=%s" % (k, v) for k, v in entries)
    data = ("\r\n".join(lines) + "\r\n").encode("cp949")
    with open(os.path.join(OUT, name), "wb") as f:
        f.write(data)


def board(c):
    return "1" if c <= CHAMBERS else "0"


def model(c):
    return MODELS[c - 1] if c <= CHAMBERS else "QEL2000"


# --- lamp layouts: (label, first, last, offset, second board) ---------------
LAYOUT_2100 = [("IS", 1, 16, 0, False), ("TS", 17, 28, 16, False), ("AL", 29, 36, 28, False),
               ("SAL", 37, 40, 36, False), ("DI", 41, 56, 40, False), ("DI", 57, 72, 40, True),
               ("D0", 73, 88, 72, False), ("D0", 89, 104, 72, True)]
LAYOUT_2200 = [("IS", 1, 16, 0, False), ("TS", 17, 28, 16, False), ("AL", 29, 36, 28, False),
               ("DI", 37, 52, 36, False), ("DI", 53, 68, 36, True), ("D0", 69, 84, 68, False),
               ("D0", 85, 100, 68, True)]
LAYOUT_2300 = [("IS", 1, 12, 0, False), ("TS", 13, 20, 12, False), ("AL", 21, 28, 20, False),
               ("DI", 29, 44, 28, False), ("DI", 45, 60, 28, True), ("D0", 61, 76, 60, False),
               ("D0", 77, 92, 60, True)]


def lamp_entry(layout, i, board_choice):
    for label, first, last, offset, second in layout:
        if first <= i <= last:
            flag = "0" if second and board_choice == "0" else "1"
            return "%s %d=%s" % (label, i - offset, flag)
    return "=0"  # spare entry past the layout: no label, not selected


def lamp_file(name, word, layout):
    sections = []
    for c in range(1, SLOTS + 1):
        entries = [("Lamp %02d" % i, lamp_entry(layout, i, board(c)) + "/") for i in range(1, 106)]
        sections.append(("%s_%d" % (word, c), entries))
    write_profile(name, sections)


def main():
    os.makedirs(OUT, exist_ok=True)
    slots = range(1, SLOTS + 1)

    write_profile("SetComm.ini", [
        ("CommSet", [("Protocol", "ETH/"), ("RemotePort", "1502"), ("Port Number", "1"), ("Baud Rate", "9600"),
                     ("Parity", "1"), ("Stop Bit", "1"), ("Data Len", "8"), ("PCSpeed", "100")]),
        ("FileSaveSec", [("FileSave", "30")]),
        ("Language", [("Language", "ENG")]),
        ("ButtonSet", [("DisbuttonRun", "1"), ("DisbuttonStop", "1"), ("DisbuttonAdv", "1"), ("DisbuttonHold", "1"),
                       ("DisbuttonAuto", "0"), ("DisplayStatus", "1"), ("DisplaySound", "0")]),
        ("CommData", [("CommDataSave", "0")]),
    ])

    user_tag = [("Set", [("MAX_CHAMBER_NO", str(CHAMBERS))] +
                 [("Chamber %02d" % c, str(c) if c <= CHAMBERS else "0") for c in slots]),
                ("AddNo", [("AddressNo %02d" % c, str(c)) for c in slots]),
                ("Name", [(str(c), "Chamber %d/" % c) for c in slots]),
                ("IPAddNo", [(str(c), "127.0.0.%dE" % (10 + c)) for c in slots]),
                ("Model", [(str(c), model(c) + "/") for c in slots]),
                ("Board", [(str(c), board(c)) for c in slots]),
                ("MODEL_ZZ", [(str(c), "0") for c in slots])]
    user_tag += [("SDP_%d" % n, [(str(c), "0/") for c in slots]) for n in (1, 2, 3)]
    user_tag += [("UNIT_%d" % n, [(str(c), "\u2103/") for c in slots]) for n in (1, 2, 3)]
    write_profile("SetUserTag.ini", user_tag)

    # Trace colours as 0x00BBGGRR: PV, SP, MV of channel 1, 2, 3.
    colors = [255, 65280, 16711680, 65535, 16776960, 16711935, 33023, 16777215, 12632256]
    graphs = []
    for c in slots:
        keys = [("MAX_%d_%d" % (c, n), "200") for n in (1, 2, 3)]
        keys += [("Min_%d_%d" % (c, n), "-50") for n in (1, 2, 3)]
        keys += [("X_MAJOR_%d" % c, "6"), ("Y_MAJOR_%d" % c, "5")]
        keys += [("COLOR_%d_%d" % (n, c), str(colors[n - 1])) for n in range(1, 10)]
        keys += [("C_T_SP%d" % c, "0")]
        graphs.append(("Set_%d" % c, keys))
    graphs.append(("PATTERN_Set", [("MAX", "200"), ("Min", "-50"), ("X_MAJOR", "10"), ("Y_MAJOR", "5")]))
    write_profile("SetScreensGraphInfo.ini", graphs)

    write_profile("SetGraphInfo.ini", [("Line", [("BackColor", "0"), ("TimeColor", "16777215"),
                                                 ("GridColor", "8421504")])])

    write_profile("SetDIErrorName.ini",
                  [("DIERRORNAME_%d" % c, [(str(n), "DI %d/" % n) for n in range(1, 33)]) for c in slots])

    lamp_file("SetLamp_2000.ini", "QEL2000", LAYOUT_2100)
    lamp_file("SetLamp_2100.ini", "QEL2100", LAYOUT_2100)
    lamp_file("SetLamp_2400.ini", "QEL2400", LAYOUT_2100)
    lamp_file("SetLamp_2200.ini", "QEL2200", LAYOUT_2200)
    lamp_file("SetLamp_2300.ini", "QEL2300", LAYOUT_2300)

    sections = load_texts()
    for column, name, what in ((0, "string-ren.xml", "English"), (1, "string-rkr.xml", "Korean"),
                               (2, "string-rch.xml", "Chinese")):
        write_profile(name, [(section, [(str(k), e[column] + "/") for k, e in enumerate(entries, 1)])
                             for section, entries in sections],
                      comment="%s captions and messages of the QEL station, read as a profile file" % what)

    with open(os.path.join(OUT, "LANGUAGE-INDEX.md"), "w", encoding="utf-8", newline="\n") as f:
        f.write("# Language file entries\n\n"
                "What each key of the language files (string-rkr.xml, string-ren.xml, string-rch.xml) shows.\n"
                "Keys run from 1 to the count of the section; every value ends in \"/\".\n"
                "Generated by data/make-default-app.py from data/language_texts.py.\n")
        for section, entries in sections:
            f.write("\n## %s (%d)\n\n| Key | English | Where it shows |\n|---|---|---|\n" % (section, len(entries)))
            for k, e in enumerate(entries, 1):
                f.write("| %d | %s | %s |\n" % (k, e[0].replace("|", "\\|"), e[3]))


if __name__ == "__main__":
    main()
