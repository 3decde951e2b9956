#!/usr/bin/env python3
"""Writes the seed corpora of the fuzz targets from examples/*.txt.

    fuzz/make_seeds.py            # rewrites fuzz/corpus/<target>/seed-*

Each example file is named after its country (fr.txt, it.txt, ...). The
provider seeds run its lines through the layouts a host uses (column types,
methods, processing flags, in place or not); the converter seeds feed them to
every converter; the CSV seeds are their lines as a column and examples/*.csv,
read in pieces. The input layouts are described in provider_scenario.h,
converters_fuzz.cpp and csv_fuzz.cpp. Inputs found by fuzzing and kept as regressions are the
other files of the corpus directories and are left alone.
"""
import hashlib
import pathlib
import re
import struct

ROOT = pathlib.Path(__file__).resolve().parent.parent
CORPUS = ROOT / "fuzz" / "corpus"

COUNTRY_CODES = {"FR": 1, "IT": 2, "UK": 4, "ES": 8, "US": 16, "CA": 32}

# Column type indexes of provider_scenario.cpp's table.
CHAR, VARCHAR, VARCHAR_SZ, WCHAR, WVARCHAR, WVARCHAR_SZ = range(6)
U_LONG_LONG, INTEGER, U_INTEGER, DECIMAL_PKD, ORA_VARNUM = range(6, 11)

MASK, RANDOM, CTRLBLK = 0, 1, 2
ENCRYPT, DECRYPT = 0x10, 0x30   # method byte bits: the keyed methods
KEY = 15                        # operand slot: the 16 key operands (an odd value adds a tweak)


def countries_present():
    table = (ROOT / "provider" / "country_table.cpp").read_text()
    codes = sorted(COUNTRY_CODES[cc] for cc in re.findall(r"QRNP_COUNTRY_([A-Z]{2})", table))
    return codes


def chunk(data):
    if len(data) < 255:
        return bytes([len(data)]) + data
    return bytes([255]) + struct.pack("<H", len(data)) + data


def provider_seed(country_index, method, column, length, flags, rows, *, separate=True, as_list=False,
                  two_calls=False, error_limit=0, ctrl_method=0x1406, operands=()):
    shape = (1 if separate else 0) | (2 if as_list else 0) | (128 if two_calls else 0)
    header = bytes([country_index, method]) + struct.pack("<H", ctrl_method)
    header += bytes([column, length, 0]) + struct.pack("<H", flags)
    header += bytes([shape, 0]) + struct.pack("<h", error_limit)
    header += bytes([1, 0, len(rows) // 2, 0]) + struct.pack("<h", 0x0E05) + bytes([4])
    header += bytes([len(operands)])
    for key_index, value in operands:
        header += bytes([key_index]) + struct.pack("<H", value)
    body = b""
    for kind, text in rows:
        body += bytes([kind]) + chunk(text.encode("utf-8"))
    return header + body


def provider_seeds(index, cc, lines):
    text_rows = [(0, line) for line in lines]
    with_null = text_rows[:3] + [(1, "")] + [(3, lines[0])] + text_rows[3:]
    digits = [(0, re.sub(r"\D", "", line)) for line in lines if re.sub(r"\D", "", line)]
    seeds = [
        provider_seed(index, MASK, VARCHAR, 32, 0, text_rows),
        provider_seed(index, MASK, WVARCHAR_SZ, 24, 1, text_rows, as_list=True),
        provider_seed(index, MASK, CHAR, 20, 2, text_rows, separate=False),
        provider_seed(index, MASK, WCHAR, 24, 3, with_null, two_calls=True, error_limit=4),
        provider_seed(index, RANDOM, VARCHAR_SZ, 24, 0, with_null),
        provider_seed(index, CTRLBLK, WVARCHAR, 24, 2, text_rows, ctrl_method=0x1407),
        provider_seed(index, ENCRYPT, VARCHAR, 32, 0, text_rows, operands=((KEY, 0x2B7E),)),
        provider_seed(index, DECRYPT, WVARCHAR_SZ, 24, 2, text_rows, operands=((KEY, 0x1501),)),
    ]
    if cc in ("US", "CA"):
        seeds.append(provider_seed(index, MASK, INTEGER, 9, 2, digits))
        seeds.append(provider_seed(index, MASK, DECIMAL_PKD, 9, 1, digits))
        seeds.append(provider_seed(index, MASK, ORA_VARNUM, 9, 0, digits))
    return seeds


def converter_seed(choice, mode, capacity, data, precision=0, record=2, start=0, digits=0):
    return bytes([choice, mode]) + struct.pack("<h", capacity) + bytes([precision & 0xFF, record, start & 0xFF,
                                                                         digits & 0xFF]) + data


def wide(text):
    return text.encode("utf-32-le")


def converter_seeds(lines):
    seeds = []
    for line in lines[:2]:
        raw = line.encode("latin-1", "replace")
        seeds += [
            converter_seed(0, 0, 256, raw),                                   # CHAR
            converter_seed(1, 0, 256, struct.pack("<h", len(raw)) + raw),     # VARCHAR
            converter_seed(2, 1, 256, raw),                                   # VARCHAR_SZ, length unknown
            converter_seed(3, 0, 256, wide(line)),                            # WCHAR
            converter_seed(4, 0, 256, struct.pack("<h", 4 * len(line)) + wide(line)),
            converter_seed(5, 0, 256, wide(line) + b"\0\0\0\0"),
            converter_seed(15, 0, 64, wide(line)),                            # to CHAR
            converter_seed(16, 0, 64, wide(line)),
            converter_seed(17, 1, 64, wide(line) + b"\0\0\0\0"),
            converter_seed(18, 0, 128, wide(line)),
            converter_seed(19, 0, 128, wide(line)),
            converter_seed(20, 0, 128, wide(line)),
            converter_seed(25, 0, 0, wide(line), start=2, digits=6),          # digit reader
            converter_seed(26, 3, 0, wide("  " + line + "  ")),               # trimming
        ]
        number = re.sub(r"\D", "", line)
        if number:
            seeds += [
                converter_seed(21, 0, 8, wide(number)),                       # to ULONGLONG
                converter_seed(22, 0, 4, wide(number[:9])),
                converter_seed(23, 0, 16, wide(number), precision=9),
                converter_seed(24, 0, 22, wide(number)),
                converter_seed(6, 0, 128, struct.pack("<Q", int(number))),
                converter_seed(7, 0, 128, struct.pack("<I", int(number[:9]))),
            ]
    seeds += [
        converter_seed(12, 0, 128, bytes.fromhex("12345678 9C".replace(" ", "")), precision=9),
        converter_seed(13, 0, 128, bytes.fromhex("05C4020304 05".replace(" ", ""))),
        converter_seed(14, 0, 128, struct.pack("<hHHHHHI", 2024, 2, 29, 23, 59, 58, 123456)),
        converter_seed(8, 0, 64, struct.pack("<i", -2147483648)),
        converter_seed(10, 0, 64, struct.pack("<h", -32768)),
        converter_seed(27, 0, 33, b""),                                       # blank filling
    ]
    return seeds


def csv_seed(text, pieces=(), header=True):
    return bytes([(0x80 if header else 0) | len(pieces)] + [p & 0xFF for p in pieces]) + text


def csv_seeds(lines, csv_files):
    seeds = []
    column = "nir\n" + "\n".join(lines) + "\n"
    seeds.append(csv_seed(column.encode("utf-8"), (7, 1, 3)))
    seeds.append(csv_seed(column.replace("\n", "\r\n").encode("utf-8").rstrip(b"\r\n"), (1, 2), header=False))
    if not csv_files:
        return seeds
    for text in csv_files:
        seeds.append(csv_seed(text, ()))
        seeds.append(csv_seed(text, (1, 5, 13, 2)))
    awkward = (b'\r\n\nid,"name, full",nir\r\n1,"Ann ""A"" B",269037511604241\r\n\r\n'
               b'2,"line one\r\nline two",\n3,,""\n4, spaced ,x')
    seeds += [csv_seed(awkward, (1,)), csv_seed(awkward, (4, 9)), csv_seed(b'a,"b\nc', ()), csv_seed(b'a"b,c\n', ())]
    return seeds


def write(target, seeds):
    directory = CORPUS / target
    directory.mkdir(parents=True, exist_ok=True)
    for old in directory.glob("seed-*"):
        old.unlink()
    for seed in seeds:
        (directory / ("seed-" + hashlib.sha1(seed).hexdigest()[:16])).write_bytes(seed)


def main():
    present = countries_present()
    provider, converters, csv = [], [], []
    csv_files = [path.read_bytes() for path in sorted((ROOT / "examples").glob("*.csv"))]
    for path in sorted((ROOT / "examples").glob("*.txt")):
        cc = path.stem.upper()
        if cc not in COUNTRY_CODES or COUNTRY_CODES[cc] not in present:
            continue
        lines = [line.rstrip("\r\n") for line in path.read_text(encoding="utf-8").splitlines() if line.strip()]
        provider += provider_seeds(present.index(COUNTRY_CODES[cc]), cc, lines)
        converters += converter_seeds(lines)
        csv += csv_seeds(lines, csv_files if not csv else [])
    write("fuzz_provider", provider)
    write("fuzz_converters", converters)
    write("fuzz_csv", csv)
    print(f"{len(provider)} provider seeds, {len(converters)} converter seeds, {len(csv)} CSV seeds")


if __name__ == "__main__":
    main()
