#!/usr/bin/env python3
"""Whole scans beside a filter that everybody has: Debian's bogofilter.

    beside_bogofilter.py [--rounds N] BUILD FOLDER...

BUILD holds bench/scan_bench. Takes at most 1000 messages, evenly from all
files below the folders. Bogofilter learns them first, as spam where the path
says "spam" and else as wanted mail, so that its word list is of this mail.
Then by turns, since machines are noisy: bogofilter classifies the messages,
once and four times in one process, whose difference is three rounds of steady
state; and scan_bench scans them with the dictionary that is built in. Time is
the processor's. Prints messages a second and their ratio for each turn and
the median of the ratios. Needs the package bogofilter; exit 69 without it.
"""

import argparse
import json
import os
import pathlib
import resource
import shutil
import statistics
import subprocess
import sys
import tempfile

MOST_MESSAGES = 1000
STEADY_ROUNDS = 3


def processor_seconds(command):
    """What a command took of the processor; its status does not matter."""
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    subprocess.run(command, stdout=subprocess.DEVNULL, check=False)
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    return (after.ru_utime - before.ru_utime +
            after.ru_stime - before.ru_stime)


def learn(messages, words):
    for option in "-s", "-n":
        files = [str(m) for m in messages
                 if ("spam" in str(m)) == (option == "-s")]
        if files:
            subprocess.run(["bogofilter", "-d", words, option, "-B", *files],
                           check=True)


def bogofilter_speed(files, words):
    command = ["bogofilter", "-d", words, "-v", "-B", *files]
    once = processor_seconds(command)
    more = processor_seconds(command + files * STEADY_ROUNDS)
    return STEADY_ROUNDS * len(files) / (more - once)


def scan_speed(program, folder):
    printed = subprocess.run([program, "--json", "--passes", "3", folder],
                             stdout=subprocess.PIPE, check=True).stdout
    return json.loads(printed)["dictionaries"][0]["messagesPerSecond"]


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--rounds", type=int, default=3)
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("folders", nargs="+", type=pathlib.Path)
    args = parser.parse_args()
    if not shutil.which("bogofilter"):
        print("bogofilter is not installed", file=sys.stderr)
        sys.exit(69)
    every = sorted(m for f in args.folders for m in f.rglob("*")
                   if m.is_file())
    count = min(len(every), MOST_MESSAGES)
    messages = [every[i * len(every) // count] for i in range(count)]
    if not messages:
        parser.error("no files in these folders")
    with tempfile.TemporaryDirectory() as place:
        words = os.path.join(place, "words")
        mail = os.path.join(place, "mail")
        os.mkdir(words)
        os.mkdir(mail)
        files = []
        for number, message in enumerate(messages):
            files.append(os.path.join(mail, "%04d.eml" % number))
            shutil.copyfile(message, files[-1])
        learn(messages, words)
        ratios = []
        print("%d messages" % len(files))
        print("%12s %12s %7s" % ("bogofilter/s", "quaymarsh/s", "ratio"))
        for _ in range(args.rounds):
            theirs = bogofilter_speed(files, words)
            ours = scan_speed(args.build / "bench/scan_bench", mail)
            ratios.append(ours / theirs)
            print("%12.0f %12.0f %7.2f" % (theirs, ours, ratios[-1]))
        print("median ratio %.2f" % statistics.median(ratios))


if __name__ == "__main__":
    main()
