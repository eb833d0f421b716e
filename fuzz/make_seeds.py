#!/usr/bin/env python3
"""Writes the seed corpora of the fuzz targets into fuzz/corpus/<target>/.

Run from the top of the tree after changing a seed here; the files it writes
are committed, this script only documents how they were made."""
import os
import struct

HERE = os.path.dirname(os.path.abspath(__file__))
HEADER = ("SampleID,Name,Time,Date,Latitude,Longitude,Salinity,Temperature,Pressure,Phosphate,"
          "Silicate,TempOut,PressureOut,TA,TCO2,pH,fCO2,pCO2,pCO2air,Windspeed,Comment")


def write(target, name, data):
    folder = os.path.join(HERE, "corpus", target)
    os.makedirs(folder, exist_ok=True)
    with open(os.path.join(folder, name), "wb") as f:
        f.write(data if isinstance(data, bytes) else data.encode("utf-8"))


def sample(sid, salinity="35", temperature="20", carbonate="2300,2000,,,", comment="ok", name=None):
    return (f"{sid},{name or 'St ' + sid},10:00,1/2/2023,10.5,-20.25,{salinity},{temperature},0,1,5,,,"
            f"{carbonate},400,7,{comment}")


# The lenient number reader: one field each.
for i, text in enumerate(["35", " 2300.5", "-999", "-9", "1e39", "-1e39", "1e-400", "+.5e-3x", "abc", "",
                          "  -0", "8.1e+", "2147483648", "-2147483649", "\t12,5", "0x1p3", "inf", "nan",
                          "1" * 400, "0." + "0" * 350 + "1", "3.4028235e38", "1.e5"]):
    write("lenient_number", f"seed-{i:02d}", text)

# Batch input files for the batch reader and the KML writer.
files = {
    "plain": HEADER + "\n" + sample("1") + "\n" + sample("2", "34") + "\n",
    "crlf": HEADER + "\r\n" + sample("1") + "\r\n\r\n" + sample("2") + "\r\n",
    "cr": HEADER + "\r" + sample("1") + "\r" + sample("2") + "\r\r\r",
    "bom": "\ufeff" + HEADER + "\n" + sample("1") + "\n",
    "empty": "",
    "header-only": HEADER + "\n",
    "header-22": HEADER + ",Extra\n" + sample("1") + "\n",
    "header-trailing-comma": HEADER + ",\n" + sample("1") + "\n",
    "no-final-line-end": HEADER + "\n" + sample("1") + "\n" + sample("2"),
    "empty-id": HEADER + "\n" + sample("") + "\n" + sample("2") + "\n",
    "no-salinity": HEADER + "\n" + sample("1") + "\n" + sample("2", salinity="") + "\n",
    "no-temperature": HEADER + "\n" + sample("1", temperature="") + "\n",
    "five-parameters": HEADER + "\n" + sample("1", carbonate="2300,2000,8.1,400,410") + "\n",
    "fco2-pco2": HEADER + "\n" + sample("1", carbonate=",,,400,410") + "\n",
    "short-line": HEADER + "\n1,Short,,,5\n" + sample("2") + "\n",
    "long-line": HEADER + "\n" + sample("1") + ",extra,fields,here\n",
    "odd-numbers": HEADER + "\n" + sample("1", "1e39", "-999", "nan,-1,inf,,") + "\n" + sample("2", "-9", "1e-45") + "\n",
    "placeholders": HEADER + "\n" + sample("1", name="#SALINITY# #tC#", comment="#cruiseComment#") + "\n",
    "nul-bytes": HEADER + "\n" + sample("1", name="a\0b") + "\n",
    "not-utf8": (HEADER + "\n" + sample("1", name="caf")).encode() + b"\xe9\n",
}
for name, text in files.items():
    write("batch_reader", name, text)
with open(os.path.join(HERE, "..", "examples", "cruise.csv"), "rb") as f:
    cruise = f.read()
write("batch_reader", "cruise", cruise)

# Placemarks: byte 0 the number L of board bytes, bytes 1..4 the sample
# number, L bytes for slots 0 upwards (0x00..0x3F a special value of the
# target's table, 0x40..0x7F the integer byte - 0x48, 0x80..0xFF four more
# bytes as a raw float), then the batch line.
KML_SPECIAL = {"0": 0, "-0": 1, "nan": 2, "-nan": 3, "inf": 4, "-inf": 5, "-9": 6, "-999": 7,
               "0.0005": 16, "-0.0005": 17, "0.0004999": 18, "1e30": 19, "max": 20, "-max": 21,
               "min": 22, "1e-45": 23}


def placemark(number, slots, line):
    cells = bytearray()
    for v in slots:
        if isinstance(v, str):
            cells.append(KML_SPECIAL[v])
        elif isinstance(v, int) and -8 <= v <= 55:
            cells.append(v + 0x48)
        else:
            cells.append(0x80)
            cells += struct.pack("<f", float(v))
    assert len(cells) <= 255
    return bytes([len(cells)]) + struct.pack("<I", number) + bytes(cells) + line.encode("utf-8")


ocean = [0] * 11 + [35.25, 20, 0, 1, 5, 2, 100] + [2300, 2000, 8, 400, 410, 400, 7] + [0] * 5 + \
        [2300, 2000, 8.05, 402.5, 412.75] + list(range(1, 39))[5:]
placemarks = {
    "plain": placemark(0, ocean, sample("1")),
    "zero-board": placemark(7, [], sample("2")),
    "reserved-characters": placemark(1, ocean[:40], sample("<&>", name="A&B <\"x\"> 'y'", comment="a<b>&c")),
    "placeholders-in-fields": placemark(2, ocean[:30], sample("1", name="#SAMPLENAME# #TA# #", comment="#cruiseComment#")),
    "entities-in-fields": placemark(3, ocean[:20], sample("1", name="&amp;&lt;&#38;", comment="]]><![CDATA[")),
    "odd-numbers": placemark(4, ["nan", "-nan", "inf", "-inf", "-0", "0.0005", "-0.0005", "0.0004999",
                                 "1e30", "max", "-max", "min", "1e-45"] * 7, sample("1")),
    "huge-number": placemark(0xFFFFFFFF, ["max"] * 100, sample("9")),
    "short-line": placemark(5, ocean[:12], "1,Short,,,5"),
    "empty-line": placemark(6, [], ""),
    "long-line": placemark(8, ocean[:50], sample("1") + ",extra,fields," + "&" * 300),
    "nul-and-line-ends": placemark(9, [1, 2, 3], "1,a\0b,\r\n,\n,lat\r,lon\n"),
    "not-utf8": (placemark(10, ocean[:25], sample("1", name="caf")) + b"\xe9,\xff\xfe"),
    "truncated-board": bytes([200, 1, 0]) + bytes([0x80, 1, 2]),
}
for name, data in placemarks.items():
    write("kml_writer", name, data)

# Boards for ComputeCO2: per slot (1, 2, 3, 4, 11..24) one byte, 0x00..0x3F a
# special value of the target's table, 0x40..0x7F the integer byte - 0x48,
# 0x80..0xFF four more bytes as a raw float.
SPECIAL = {0.0: 0, "nan": 2, "inf": 4, "-inf": 5, -9.0: 6, -999.0: 7, 1.0: 8, -1.0: 9, 35.0: 10,
           25.0: 11, 2300.0: 12, 2000.0: 13, 8.1: 14, 400.0: 15}


def board(values):
    out = bytearray()
    for v in values:
        if v in SPECIAL:
            out.append(SPECIAL[v])
        elif isinstance(v, int) and -8 <= v <= 55:
            out.append(v + 0x48)
        else:
            out.append(0x80)
            out += struct.pack("<f", float(v))
    return bytes(out)


# options (set-1, khso4-1, scale-1, flux), S, T, P, TP, TSi, Tout, Pout, TA, TCO2, pH, fCO2, pCO2, air, wind
boards = {
    "ta-tco2": [12, 0, 0, 0, 35.0, 25.0, 0.0, 1.0, 10, 2, 4000, 2300.0, 2000.0, 0.0, 0.0, 0.0, 400.0, 8],
    "ta-ph": [9, 1, 1, 1, 35.0, 25.0, 100, 1.0, 10, 0.0, 0.0, 2300.0, 0.0, 8.1, 0.0, 0.0, 400.0, 8],
    "ta-fco2": [12, 0, 2, 2, 35.0, 25.0, 0.0, 0.0, 0.0, 0.0, 0.0, 2300.0, 0.0, 0.0, 400.0, 0.0, 0.0, 0.0],
    "tco2-pco2": [6, 0, 3, 0, 35.0, 25.0, 0.0, 1.0, 10, 0.0, 0.0, 0.0, 2000.0, 0.0, 0.0, 400.0, 0.0, 0.0],
    "ph-pco2-set8": [7, 0, 3, 0, 0.0, 25.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 8.1, 0.0, 400.0, 0.0, 0.0],
    "missing-marks": [12, 0, 0, 0, 35.0, 25.0, -999.0, -9.0, -9.0, -999.0, -9.0, 2300.0, 2000.0, 0.0, 0.0, 0.0, 0.0, 0.0],
    "salinity-missing": [12, 0, 0, 0, -999.0, 25.0, 0.0, 0.0, 0.0, 0.0, 0.0, 2300.0, 2000.0, 0.0, 0.0, 0.0, 0.0, 0.0],
    "negative-tco2": [12, 0, 0, 0, 35.0, 25.0, 0.0, 0.0, 0.0, 0.0, 0.0, 2300.0, -1.0, 0.0, 0.0, 0.0, 0.0, 0.0],
    "never-converges": [0, 0, 0, 0, 0.0, 25.0, 0.0, 10, 100, 0.0, 0.0, 20, 10, 0.0, 0.0, 0.0, 0.0, 0.0],
    "infinite-ta": [12, 0, 0, 0, 35.0, 25.0, 0.0, 0.0, 0.0, 0.0, 0.0, "inf", 2000.0, 0.0, 0.0, 0.0, 0.0, 0.0],
    "codes-out-of-range": [40, 7, -3, 5, 35.0, 25.0, 0.0, 0.0, 0.0, 0.0, 0.0, 2300.0, 2000.0, 0.0, 0.0, 0.0, 0.0, 0.0],
    "huge-codes": [3e9, -3e9, 65543.0, "nan", 35.0, 25.0, 0.0, 0.0, 0.0, 0.0, 0.0, 2300.0, 2000.0, 0.0, 0.0, 0.0, 0.0, 0.0],
    "nan-conditions": [12, 0, 0, 0, "nan", "nan", "nan", "nan", "nan", "nan", "nan", 2300.0, 2000.0, 0.0, 0.0, 0.0, "nan", "nan"],
}
for name, values in boards.items():
    write("compute_co2", name, board(values))
