#!/usr/bin/env python3
"""Splits a corpus in two: one half to tune on, one to find out whether that
helped. A file belongs to half "a" when the SHA-1 of its bytes begins with a hex
digit from 0 to 7, else to "b".

    corpus_halves.py CORPUS OUT

OUT/a and OUT/b get the folders of CORPUS with symbolic links to its files.
"""

import hashlib
import os
import sys


def main(corpus, out):
    corpus = os.path.abspath(corpus)
    for folder, _, names in os.walk(corpus):
        for name in names:
            path = os.path.join(folder, name)
            with open(path, "rb") as file:
                digest = hashlib.sha1(file.read()).hexdigest()
            half = "a" if digest[0] in "01234567" else "b"
            link = os.path.join(out, half, os.path.relpath(path, corpus))
            os.makedirs(os.path.dirname(link), exist_ok=True)
            os.symlink(path, link)


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    main(*sys.argv[1:])
