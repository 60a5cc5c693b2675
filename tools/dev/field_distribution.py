#!/usr/bin/env python3
"""How often each rule field is there: reads what `quaymarsh fields` prints.

    quaymarsh fields FILE... | field_distribution.py

For each field: messages in which its list is not empty, messages with an
element that is not empty, elements in all, the most in one message, the bytes
of the longest element as printed, and how elements begin in most messages.
"""

import collections
import re
import sys

LINE = re.compile(r"(\d+) (@?\w+)(:)?(?: (.*))?$")
SHOWN = 40  # characters of an element


class Field:
    def __init__(self, name):
        self.name = name
        self.lists = self.filled = self.elements = self.most = self.longest = 0
        self.values = collections.Counter()

    def add_message(self, elements):
        self.lists += bool(elements)
        self.filled += any(elements)
        self.elements += len(elements)
        self.most = max(self.most, len(elements))
        self.longest = max([self.longest] + [len(text) for text in elements])
        self.values.update({text[:SHOWN] for text in elements})
        if len(self.values) > 200000:
            self.values = collections.Counter(
                dict(self.values.most_common(20000)))


def main():
    fields = {}
    current = collections.defaultdict(list)
    messages = 0

    def end_message():
        for number, field in fields.items():
            field.add_message(current.get(number, []))
        current.clear()

    for line in sys.stdin:
        if line.startswith("file: "):
            if messages:
                end_message()
            messages += 1
            continue
        match = LINE.match(line.rstrip("\n"))
        if not match:
            continue
        number = int(match.group(1))
        fields.setdefault(number, Field(match.group(2)))
        if match.group(3):
            current[number].append(match.group(4) or "")
    if messages:
        end_message()

    print(f"{messages} messages")
    print("no. name            lists  filled elements  most longest  frequent")
    for number, field in sorted(fields.items()):
        frequent = ", ".join(f"{count}x {text}"
                             for text, count in field.values.most_common(3))
        print(f"{number:3} {field.name:14} {field.lists:6} {field.filled:7} "
              f"{field.elements:8} {field.most:5} {field.longest:7}  "
              f"{frequent}")


if __name__ == "__main__":
    main()
