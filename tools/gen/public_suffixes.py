#!/usr/bin/env python3
"""Takes the registries' two-part suffixes out of a public suffix list.

Usage: tools/gen/public_suffixes.py [LIST] > src/data/public_suffixes.txt

LIST is /usr/share/publicsuffix/public_suffix_list.dat unless told otherwise:
Debian's package "publicsuffix" has it. The output is committed, so that neither
a build nor a check needs the package; run this to follow a newer list.
"""
import datetime
import os
import re
import sys

LIST = '/usr/share/publicsuffix/public_suffix_list.dat'
BEGIN, END = '===BEGIN ICANN DOMAINS===', '===END ICANN DOMAINS==='
HEAD = '''\
# MADE BY tools/gen/public_suffixes.py of the public suffix list, the file
# public_suffix_list.dat of Debian's package "publicsuffix", dated %s.
# Only names are taken, as facts; the list itself is under the MPL 2.0.
#
# Suffixes of two parts below which the public registers names: one a line,
# sorted. They are the rules of the list's section of ICANN domains that hold
# exactly one dot and only ASCII letters, digits, "-" and "."; rules with a
# wild card ("*") and exceptions from these ("!") are left out, as are names in
# other scripts and the private section.
'''


def rules(lines):
    """The rules of the ICANN section, without comments."""
    inside = False
    for line in lines:
        if BEGIN in line:
            inside = True
        elif END in line:
            inside = False
        elif inside and line.strip() and not line.startswith('//'):
            yield line.split()[0]


def main():
    path = sys.argv[1] if len(sys.argv) > 1 else LIST
    with open(path, encoding='utf-8') as file:
        lines = file.readlines()
    date = datetime.datetime.fromtimestamp(os.path.getmtime(path),
                                           datetime.timezone.utc)
    names = {rule for rule in rules(lines)
             if re.fullmatch(r'[a-z0-9-]+\.[a-z0-9-]+', rule)}
    sys.stdout.write(HEAD % date.strftime('%Y-%m-%d'))
    sys.stdout.writelines(name + '\n' for name in sorted(names))


main()
