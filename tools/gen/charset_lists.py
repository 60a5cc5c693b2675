"""Reading the lists of characters in src/data, for the generators here."""
import os
import sys

DATA = os.path.join(os.path.dirname(os.path.abspath(__file__)),
                    '..', '..', 'src', 'data')
# Bytes that code page 1252 leaves undefined.
NOT_IN_1252 = (0x81, 0x8D, 0x8F, 0x90, 0x9D)


def read(name):
    """Code point to byte, from lines "CODE <TAB> BYTE"."""
    rows = {}
    with open(os.path.join(DATA, name), encoding='ascii') as file:
        for number, line in enumerate(file, 1):
            line = line.split('#')[0].rstrip()
            if not line:
                continue
            code, byte = (int(word, 16) for word in line.split('\t'))
            if code in rows or code > 0xFFFF or byte > 0xFF:
                sys.exit(f'{name}:{number}: twice, or out of range')
            rows[code] = byte
    return rows
