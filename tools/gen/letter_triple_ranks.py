#!/usr/bin/env python3
"""Ranks triples of letters by how common they are in words of seven languages.

Usage: tools/gen/letter_triple_ranks.py [FOLDER] > \
           src/data/letter_triple_ranks.txt

FOLDER, /usr/share/dict unless told otherwise, has the word lists of Debian's
packages named below. The output is committed, so that neither a build nor a
check needs the packages; run this to follow newer lists.

Each list counts the same, whatever its length: its counts are scaled to parts
of a thousand millions before they are added. Only whole numbers are used, and
equal sums go by the alphabet, so that the result is the same everywhere.
"""
import os
import subprocess
import sys

from letter_triples import TRIPLES, fold_table

LISTS = (('wamerican', 'american-english'), ('wdutch', 'dutch'),
         ('wfrench', 'french'), ('witalian', 'italian'),
         ('wngerman', 'ngerman'), ('wportuguese', 'portuguese'),
         ('wspanish', 'spanish'))
SCALE = 1000000000
HEAD = '''\
# MADE BY tools/gen/letter_triple_ranks.py of the word lists in these packages
# of Debian; only counts are taken of them.
#
%s#
# The triples of letters in their words, the commonest first. Letters are those
# of ConvTable: accents go, and a byte that is no letter parts two words.
'''


def count(path, fold):
    """Occurrences of each triple in a list of words."""
    counts = [0] * TRIPLES
    with open(path, encoding='utf-8') as file:
        for line in file:
            word = [fold[b] for b in line.encode('cp1252', 'replace')]
            for a, b, c in zip(word, word[1:], word[2:]):
                if a and b and c:
                    counts[((a - 1) * 26 + b - 1) * 26 + c - 1] += 1
    return counts


def version(package):
    return subprocess.run(['dpkg-query', '-W', '-f', '${Version}', package],
                          check=True, capture_output=True, text=True).stdout


def name(number):
    return ''.join(chr(ord('a') + number // place % 26)
                   for place in (26 * 26, 26, 1))


def main():
    folder = sys.argv[1] if len(sys.argv) > 1 else '/usr/share/dict'
    fold = fold_table()
    sums = [0] * TRIPLES
    for _, file in LISTS:
        counts = count(os.path.join(folder, file), fold)
        total = sum(counts)
        for number in range(TRIPLES):
            sums[number] += counts[number] * SCALE // total
    seen = [number for number in range(TRIPLES) if sums[number]]
    seen.sort(key=lambda number: (-sums[number], number))
    sys.stdout.write(HEAD % ''.join(
        f'#   {package} {version(package)}, {file}\n'
        for package, file in LISTS))
    for i in range(0, len(seen), 16):
        print(' '.join(name(number) for number in seen[i:i + 16]))


main()
