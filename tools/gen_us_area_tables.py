#!/usr/bin/env python3
"""Generate the United States area tables (countries/us/QRNPNidUsAlgoExt.cpp) from data/us_area_tables.csv and data/us_area_side_table.csv.

Plain python3, standard library only, no network.

    python3 tools/gen_us_area_tables.py            # rewrite countries/us/QRNPNidUsAlgoExt.cpp
    python3 tools/gen_us_area_tables.py --check    # exit 1 if the committed file is out of date

us_area_tables.csv has the header
`area,t2006_block,t2006_pos,t2006_high,t2008_block,t2008_pos,t2008_high,t2010_block,t2010_pos,t2010_high` and one
line per area 1..999: for each dated table the size of the area's block (0: none), its position in the block and
the highest group issued (0: not in use). t2006 becomes DistAreaTable ("11/01/06"), t2008 Y2008AreaTable
("01/02/08"), t2010 MaxGrpAreaTable ("10/10/10"). us_area_side_table.csv (`count,position,area`) lists the areas
that belong together without being consecutive and becomes AreaSideTable.

The generator refuses data the C++ side cannot rely on: a value outside a signed byte, a group above 99, an
inconsistent block, an area in use with neither a block nor a side-table row, a side-table set that is not whole,
area 666 or 900-999 in use.
"""
import csv
import os
import sys

import table_generator

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
TABLES_CSV = os.path.join(ROOT, 'data', 'us_area_tables.csv')
SIDE_CSV = os.path.join(ROOT, 'data', 'us_area_side_table.csv')
OUT_PATH = os.path.join(ROOT, 'countries', 'us', 'QRNPNidUsAlgoExt.cpp')
AREAS = 999
PER_LINE = 8
TABLES = [  # (csv prefix, C++ name, date string)
    ('t2006', 'DistAreaTable', '11/01/06'),
    ('t2008', 'Y2008AreaTable', '01/02/08'),
    ('t2010', 'MaxGrpAreaTable', '10/10/10'),
]


def fail(msg):
    table_generator.fail('gen_us_area_tables', msg)


def read_tables(path):
    header = ['area'] + ['%s_%s' % (p, f) for p, _, _ in TABLES for f in ('block', 'pos', 'high')]
    with open(path, newline='') as f:
        reader = csv.reader(f)
        if next(reader, None) != header:
            fail('%s: header must be %s' % (path, ','.join(header)))
        rows = {}
        for line in reader:
            if not line:
                continue
            if len(line) != len(header):
                fail('%s: line %d has %d fields' % (path, reader.line_num, len(line)))
            values = [int(x) for x in line]
            area = values[0]
            if area in rows or not 1 <= area <= AREAS:
                fail('%s: area %d repeated or out of range' % (path, area))
            rows[area] = [tuple(values[1 + 3 * t:4 + 3 * t]) for t in range(len(TABLES))]
    if sorted(rows) != list(range(1, AREAS + 1)):
        fail('%s: areas 1..%d expected' % (path, AREAS))
    return [[rows[a][t] for a in range(1, AREAS + 1)] for t in range(len(TABLES))]


def read_side(path):
    with open(path, newline='') as f:
        reader = csv.reader(f)
        if next(reader, None) != ['count', 'position', 'area']:
            fail('%s: header must be count,position,area' % path)
        side = [tuple(int(x) for x in line) for line in reader if line]
    # Every set is whole: its rows follow each other with positions 0..count-1.
    i = 0
    while i < len(side):
        count = side[i][0]
        if count < 1 or i + count > len(side):
            fail('side table row %d: set of %d does not fit' % (i, count))
        for k in range(count):
            c, pos, area = side[i + k]
            if c != count or pos != k or not 1 <= area <= AREAS:
                fail('side table row %d: expected (%d,%d,area)' % (i + k, count, k))
        i += count
    return side


def check_table(name, entries, side_areas):
    where = name + ' area %03d'
    for i, (block, pos, high) in enumerate(entries):
        area = i + 1
        if not (0 <= block <= 127 and 0 <= pos <= 127 and 0 <= high <= 99):
            fail((where + ': values out of range') % area)
        # Without the official rules the table alone refuses these areas.
        if high > 0 and (area == 666 or area >= 900):
            fail((where + ': never issued, cannot be in use') % area)
        if block == 0:
            if pos != 0:
                fail((where + ': position without a block') % area)
            if high > 0 and area not in side_areas:
                fail((where + ': in use with neither a block nor a side-table row') % area)
            continue
        if area in side_areas:
            fail((where + ': in the side table and in a block') % area)
        first = i - pos
        if pos >= block or first < 0 or first + block > AREAS:
            fail((where + ': block does not fit') % area)
        for k in range(block):
            if entries[first + k][:2] != (block, k):
                fail((where + ': block of %d from %03d is not consistent') % (area, block, first + 1))


def in_use(entries):
    used = [i + 1 for i, e in enumerate(entries) if e[2] > 0]
    return len(used), max(used)


def render(tables, side):
    out = ['// Generated by tools/gen_us_area_tables.py from data/us_area_tables.csv and',
           '// data/us_area_side_table.csv. Do not edit.',
           '//',
           '// Each entry: block size, position in the block, highest group issued, and two',
           '// fields a working copy fills (current group, serial counter).',
           '',
           '#include "countries/us/QRNPNidUsAlgo.h"',
           '']
    for (_, name, date), entries in zip(TABLES, tables):
        count, highest = in_use(entries)
        out.append('// "%s": %d areas in use, the highest %03d.' % (date, count, highest))
        out.append('const AreaEntry %s[US_AREA_COUNT] = {' % name)
        for i in range(0, AREAS, PER_LINE):
            cells = ', '.join('{%d, %d, %d, 0, 0}' % e for e in entries[i:i + PER_LINE])
            out.append('    /* %03d */ %s,' % (i + 1, cells))
        out.append('};')
        out.append('')
    out.append('// Areas that belong together without being consecutive: (count, position, area).')
    out.append('const AreaSideRow AreaSideTable[US_SIDE_TABLE_ROWS] = {')
    for i in range(0, len(side), 4):
        out.append('    ' + ' '.join('{%d, %d, %d},' % r for r in side[i:i + 4]))
    out.append('};')
    out.append('')
    return '\n'.join(out)


def produce(a):
    tables = read_tables(a.tables)
    side = read_side(a.side)
    if len(side) != 16:
        fail('the side table has %d rows, 16 expected' % len(side))
    side_areas = {r[2] for r in side}
    for (_, name, _), entries in zip(TABLES, tables):
        check_table(name, entries, side_areas)
    return render(tables, side)


def main():
    return table_generator.run('gen_us_area_tables', __doc__.splitlines()[0], OUT_PATH,
                               [('--tables', TABLES_CSV, 'the dated area tables'),
                                ('--side', SIDE_CSV, 'the side table')], produce)


if __name__ == '__main__':
    sys.exit(main())
