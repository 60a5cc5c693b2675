"""Quay Marsh, the mail-content filtering engine, from Python.

    import quaymarsh

    with quaymarsh.Context() as context:
        result = quaymarsh.scan(mail, context=context)
    if result.state == quaymarsh.State.SPAM:
        print(result.score, [entry.label for entry in result.causes])

The module loads libquaymarsh.so.1, which has to be of the interpreter's width:
the one that QUAYMARSH_LIBRARY names, else the one that was installed together
with this file, else the system's. Any number of threads may scan, also with one
context; Python's own lock is released meanwhile. A thread that scans needs
about 256 KiB of stack.

Texts of a message are bytes in the encoding of the mail, so they go in and come
out as bytes or, where a str is more handy, with one character for each byte
that is not UTF-8 (the error handler "surrogateescape").
"""

import ctypes
import enum
import os
import pathlib
import re
import typing

__all__ = ["Check", "Context", "Entry", "Error", "Flag", "Result", "State",
           "decode", "scan"]


class State(enum.IntEnum):
    CLEAN = 0
    SPAM = 1
    VIRUS = 2
    NOTIFICATION = 3
    SUSPECT = 5
    COMMERCIAL_P = 10
    COMMERCIAL_M = 11
    COMMERCIAL_D = 12


class Check(enum.IntFlag):
    """The flags of the setups. A check runs when both setups have it."""

    NONE = 0
    VIRUS = 0x01
    NOTIFICATION = 0x02
    ALLOW_EASTERN = 0x04
    ALLOW_ASIAN = 0x08
    FORBID_LATIN = 0x10
    COMMERCIAL = 0x20
    SUSPECT = 0x40


class Flag(enum.IntFlag):
    WANT_CAUSE = 0x01
    FROM_FILE = 0x02
    REWRITE_HEADER = 0x04
    NO_BAILOUT = 0x08
    SKIP_EMAILS = 0x10


class GlobalSetup(ctypes.Structure):
    _pack_ = 4
    _fields_ = [("value", ctypes.c_int32), ("flags", ctypes.c_uint32)]


class UserSetup(ctypes.Structure):
    _pack_ = 4
    _fields_ = [("value1", ctypes.c_int32), ("value2", ctypes.c_int32),
                ("value3", ctypes.c_int32), ("value4", ctypes.c_int32),
                ("flags", ctypes.c_uint32)]


class Record(ctypes.Structure):
    """QMINFO of quaymarsh.h, in its newest version."""

    _pack_ = 4
    _fields_ = [
        ("size", ctypes.c_uint32),
        ("flags", ctypes.c_uint32),
        ("msgLength", ctypes.c_uint32),
        ("msg", ctypes.c_char_p),
        ("msgPath", ctypes.c_char_p),
        ("user", ctypes.c_char_p),
        ("globalListLength", ctypes.c_uint32),
        ("globalList", ctypes.c_char_p),
        ("userListLength", ctypes.c_uint32),
        ("userList", ctypes.c_char_p),
        ("keywordFile", ctypes.c_char_p),
        ("headerOut", ctypes.c_void_p),
        ("headerOutSize", ctypes.c_int32),
        ("userSetup", ctypes.POINTER(UserSetup)),
        ("globalSetup", ctypes.POINTER(GlobalSetup)),
        ("headerLength", ctypes.c_int32),
        ("headerOutLength", ctypes.c_int32),
        ("subjectTag", ctypes.c_char_p),
        ("state", ctypes.c_int32),
        ("score", ctypes.c_int32),
        ("cause", ctypes.c_void_p),
        ("causeSize", ctypes.c_int32),
        ("reserved", ctypes.c_uint32),
        ("version", ctypes.c_void_p),
        ("versionSize", ctypes.c_int32),
        ("bailout", ctypes.c_int32),
        ("profile", ctypes.c_char_p),
        ("params", ctypes.c_char_p),
        ("paramsOut", ctypes.c_void_p),
        ("paramsOutSize", ctypes.c_int32),
    ]


class Error(Exception):
    """A scan that did not run. `code` is what the library returned."""

    TEXTS = {-1: "no message, or no memory for it",
             -2: "the dictionary cannot be loaded",
             -3: "the file cannot be read"}

    def __init__(self, code):
        super().__init__(self.TEXTS.get(code, "error %d" % code))
        self.code = code


def _load():
    here = pathlib.Path(__file__).resolve()
    name = "libquaymarsh.so.1"
    told = os.environ.get("QUAYMARSH_LIBRARY")
    beside = here.parents[2] / name if len(here.parents) > 2 else None
    if not told and beside is not None and beside.is_file():
        told = str(beside)
    library = ctypes.CDLL(told or name)
    library.QmScanMessageWithContext.argtypes = [ctypes.POINTER(Record),
                                                 ctypes.c_void_p]
    library.QmScanMessageWithContext.restype = ctypes.c_int
    library.QmCreateSpeedupContextWith.argtypes = [ctypes.c_char_p]
    library.QmCreateSpeedupContextWith.restype = ctypes.c_void_p
    library.QmReleaseSpeedupContext.argtypes = [ctypes.c_void_p]
    library.QmReleaseSpeedupContext.restype = None
    return library


_library = _load()


def _bytes(text):
    """What the library is given of a str, bytes, path or None."""
    if text is None:
        return None
    if isinstance(text, str):
        return text.encode("utf-8", "surrogateescape")
    return bytes(text)


def _path(path):
    return None if path is None else os.fsencode(path)


class Context:
    """What all scans can share: made once, best when a program starts.

    The list of patches is looked for in `directory` first. Close it, or use it
    in a `with`, when no scan uses it any more.
    """

    def __init__(self, directory=None):
        self._pointer = _library.QmCreateSpeedupContextWith(_path(directory))
        if not self._pointer:
            raise MemoryError("no speedup context")

    def close(self):
        pointer, self._pointer = self._pointer, None
        _library.QmReleaseSpeedupContext(pointer)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def __del__(self):
        if getattr(self, "_pointer", None):
            self.close()


def decode(letters):
    """The bytes that a text of letter pairs stands for.

    An odd letter at the end is dropped: there the text was cut. ValueError for
    what are no letter pairs.
    """
    letters = _bytes(letters)
    out = bytearray()
    for at in range(0, len(letters) - 1, 2):
        quotient, remainder = letters[at + 1] - 98, letters[at] - 102
        if at // 2 % 2:
            quotient, remainder = letters[at] - 98, letters[at + 1] - 102
        value = 17 * quotient + remainder
        if not 0 <= remainder <= 16 or quotient < 0 or value > 255:
            raise ValueError("no letter pair at %d" % at)
        out.append(value)
    return bytes(out)


class Entry(typing.NamedTuple):
    """One cause, with its points in all.

    A label may end in how often it counted, "3x"; "label 3x" may as well be
    all label, so it is not taken apart.
    """

    label: str
    points: int


class Result:
    """What a scan says.

    state          State
    score          above 99 is spam
    causes         list of Entry; empty unless causes were asked for
    cause          all of the cause text, a str
    version        what the library, or the dictionary, calls itself
    header         the header block rewritten, as bytes; None without one
    header_length  how many bytes of the message it takes the place of
    params         the parameter lines that were scanned with, as bytes
    """

    def __init__(self, state, record, cause, version, header, params):
        self.state = State(state)
        self.score = record.score
        self.cause = cause.decode("utf-8", "surrogateescape")
        self.version = version
        self.header = header
        self.header_length = record.headerLength
        self.params = params
        self.causes = _entries(self.cause)

    def __repr__(self):
        return "Result(%s, %d points)" % (self.state.name, self.score)


# What stands in front of the entries, and one of them. A label may hold a ";".
_VERSION = re.compile(r".*?; Bailout: (?:N/A|-?[0-9]+); ", re.DOTALL)
_ENTRY = re.compile(r"(.*?) \((-?[0-9]+)\)(?:;|$)", re.DOTALL)


def _entries(cause):
    entries = []
    found = _VERSION.match(cause)
    while found and not cause.startswith((" Hdr=", "; Hdr="),
                                          found.end()):
        found = _ENTRY.match(cause, found.end())
        if found:
            entries.append(Entry(found.group(1), int(found.group(2))))
    return entries


def _setup(kind, checks):
    return kind(flags=int(checks), **_DEFAULTS[kind])


_DEFAULTS = {GlobalSetup: {"value": 8},
             UserSetup: {"value1": 20, "value2": -100, "value3": 200}}


def scan(message, *, context=None, user=None, checks=Check.NONE,
         global_checks=None, want_cause=True, rewrite_header=False,
         subject_tag=None, profile=None, bailout=0, no_bailout=False,
         skip_emails=False, global_list=None, user_list=None, keywords=None,
         params=None):
    """Scans one message, raw bytes or the path of a file (os.PathLike).

    `checks` goes into the recipient's setup, and into the system's as well
    unless `global_checks` says otherwise. Returns a Result; raises Error when
    nothing was scanned.
    """
    if context is not None and not context._pointer:
        raise ValueError("the context is closed")
    record = Record(size=ctypes.sizeof(Record))
    from_file = isinstance(message, os.PathLike)
    if from_file:
        record.msgPath = _path(message)
        length = os.stat(message).st_size if rewrite_header else 0
    else:
        # Held here: the record has the pointer only.
        message = bytes(message)
        length = len(message)
        if length > 0xFFFFFFFF:
            raise ValueError("the message is too long")
        record.msg, record.msgLength = message, length
    record.flags = (want_cause * Flag.WANT_CAUSE | from_file * Flag.FROM_FILE |
                    rewrite_header * Flag.REWRITE_HEADER |
                    no_bailout * Flag.NO_BAILOUT |
                    skip_emails * Flag.SKIP_EMAILS)
    user_setup = _setup(UserSetup, checks)
    global_setup = _setup(
        GlobalSetup, checks if global_checks is None else global_checks)
    record.userSetup = ctypes.pointer(user_setup)
    record.globalSetup = ctypes.pointer(global_setup)
    record.user, record.profile = _bytes(user), _bytes(profile)
    record.subjectTag, record.params = _bytes(subject_tag), _bytes(params)
    record.keywordFile, record.bailout = _path(keywords), bailout
    lists = _bytes(global_list), _bytes(user_list)
    record.globalList, record.userList = lists
    record.globalListLength, record.userListLength = (
        len(part or b"") for part in lists)
    version = ctypes.create_string_buffer(256)
    record.version, record.versionSize = ctypes.addressof(version), 256

    room = {"cause": 16384, "paramsOut": 2 * len(record.params or b"") + 2}
    # The library says what the header needs. It cannot say that of the cause,
    # but one that fills its buffer may have been cut.
    header_room = min(length, 1 << 20) + 4096 if rewrite_header else 0
    while True:
        header = ctypes.create_string_buffer(header_room or 1)
        if header_room:
            record.headerOut = ctypes.addressof(header)
        record.headerOutSize, record.headerOutLength = header_room, 0
        buffers = {}
        for name, size in room.items():
            buffers[name] = ctypes.create_string_buffer(size)
            setattr(record, name, ctypes.addressof(buffers[name]))
            setattr(record, name + "Size", size)
        state = _library.QmScanMessageWithContext(
            ctypes.byref(record), context._pointer if context else None)
        if state < 0:
            raise Error(state)
        full = len(buffers["cause"].value) >= room["cause"] - 2
        if not full and record.headerOutSize <= header_room:
            break
        if full:
            room["cause"] *= 4
        header_room = max(header_room, record.headerOutSize + 1)

    cause = buffers["cause"].value
    if state != State.VIRUS:  # that text is plain
        cause = decode(cause)
    return Result(state, record, cause,
                  version.value.decode("utf-8", "surrogateescape"),
                  header.raw[:record.headerOutLength]
                  if record.headerOutLength else None,
                  decode(buffers["paramsOut"].value))
