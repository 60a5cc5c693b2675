#!/usr/bin/env python3
"""Which causes real mail meets: scans a corpus and counts messages by cause.

    cause_distribution.py [--show WORD [--most N]] CLI CORPUS [-- OPTION...]

CLI is the program `quaymarsh`; the options go to its scan, which no score
ends. A table of messages: for each cause the wanted, the unwanted, the
automatic and the other mails that it hits, their shares, and its points. With
--show the hits of one cause follow instead, by kind, at most N of each. What
kind of mail a folder holds is told below; folders that are not, and their
messages, are left out.
"""

import argparse
import collections
import json
import os
import re
import subprocess
import sys

KINDS = ("ham", "spam", "auto", "mixed")
FOLDERS = {
    "sa/easy-ham-1": "ham",
    "sa/hard-ham-1": "ham",
    "sa-tests/nice": "ham",
    "notmuch/lkml": "ham",
    "intl": "ham",
    "lists/usrp-users": "ham",
    "lists/linux1394-devel/ham": "ham",
    "newsletter/bbnd": "ham",
    "sa/spam-1": "spam",
    "sa-tests/spam": "spam",
    "lists/osst-users/flagged": "spam",
    "lists/osst-users/unflagged": "mixed",
    "lists/linux1394-devel/other": "mixed",
    "lists/osst-users/notify": "auto",
    "bounce": "auto",
}
# How often something was found, as it stands at the end of a label. A name
# that ends in a digit keeps it.
REPEATS = re.compile(r"(?<=\D)\d+x$")
NUMBER = re.compile(r"(?<![\w$.])-?\d+(?![\w.])")
# What goes with these is a detail: of a line of the dictionary, or of a mail.
DETAIL_BEHIND = re.compile(
    r"^(Alias:|(black|white) (email domain|ReplyTo):|IP=|From=|Sender=|"
    r"Reply-To=|Return-Path=|Copy to )")
DETAIL_AHEAD = re.compile(
    r"( in sender| in subject| attached| (img )?url| #| charset)$")


def cause_of(label):
    """The cause without counts and details: "Hdr #", "* in subject"."""
    label = REPEATS.sub("", label)
    behind = DETAIL_BEHIND.match(label)
    if behind:
        return behind.group(1) + "*"
    ahead = DETAIL_AHEAD.search(label)
    if ahead and not label.startswith("^"):
        return "*" + ahead.group(1)
    return NUMBER.sub("#", label)


class Cause:
    def __init__(self):
        self.files = {kind: [] for kind in KINDS}
        self.points = set()


def scan(cli, folder, options):
    """Yields name and entries of each message that was scanned."""
    # A dictionary under trial must not meet a bailout: it would hide causes.
    command = [cli, "scan", "--json", "--no-bailout", *options, folder]
    with subprocess.Popen(command, stdout=subprocess.PIPE) as run:
        for line in run.stdout:
            mail = json.loads(line)
            yield mail["file"], mail["entries"]
    if run.returncode:
        print(f"{folder}: exit code {run.returncode}", file=sys.stderr)


def collect(args):
    causes = collections.defaultdict(Cause)
    totals = dict.fromkeys(KINDS, 0)
    for folder, kind in FOLDERS.items():
        path = os.path.join(args.corpus, folder)
        if not os.path.isdir(path):
            continue
        for name, entries in scan(args.cli, path, args.options):
            totals[kind] += 1
            for entry in entries:
                cause = causes[cause_of(entry["label"])]
                cause.points.add(entry["points"])
                # Once for a message, whatever it has of the kind.
                if name not in cause.files[kind][-1:]:
                    cause.files[kind].append(name)
    return causes, totals


def print_table(causes, totals):
    head = " ".join(f"{kind:>5}" for kind in KINDS)
    print(f"{head}  ham%  spam%  points        cause")
    print(" ".join(f"{totals[kind]:5}" for kind in KINDS) + "  messages")
    for label, cause in sorted(causes.items(),
                               key=lambda item: item[0].lower()):
        counts = {kind: len(cause.files[kind]) for kind in KINDS}
        shares = [100 * counts[kind] / max(1, totals[kind])
                  for kind in ("ham", "spam")]
        points = sorted(p for p in cause.points if p is not None)
        span = f"{points[0]}..{points[-1]}" if len(points) > 1 else \
            str(points[0]) if points else ""
        print(" ".join(f"{counts[kind]:5}" for kind in KINDS) +
              f" {shares[0]:5.1f} {shares[1]:6.1f}  {span:12}  {label}")


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--show", metavar="WORD")
    parser.add_argument("--most", type=int, default=1 << 30)
    parser.add_argument("cli")
    parser.add_argument("corpus")
    parser.add_argument("options", nargs="*")
    args = parser.parse_args()
    causes, totals = collect(args)
    if not args.show:
        print_table(causes, totals)
        return
    for kind in KINDS:
        for name in causes[args.show].files[kind][:args.most]:
            print(f"{kind:5} {name}")


if __name__ == "__main__":
    main()
