"""Tests of the Python module: python3 -m unittest, in this folder, with
QUAYMARSH_LIBRARY naming a library of the interpreter's width.
"""

import ctypes
import pathlib
import threading
import unittest

import quaymarsh
from quaymarsh import Check, State

TOP = pathlib.Path(__file__).resolve().parents[2]
SAMPLES = TOP / "samples"
LETTER = (SAMPLES / "ham.eml").read_bytes()
PILLS = (SAMPLES / "pills.eml").read_bytes()


class LayoutTest(unittest.TestCase):
    def test_structures_lie_as_in_c(self):
        width = 8 * ctypes.sizeof(ctypes.c_void_p)
        committed = TOP / "tests/packaging" / ("layout%d.txt" % width)
        rows = []
        for name, kind in (("QMGLOBALSETUP", quaymarsh.GlobalSetup),
                           ("QMUSERSETUP", quaymarsh.UserSetup),
                           ("QMINFO", quaymarsh.Record)):
            rows.append("%s %d" % (name, ctypes.sizeof(kind)))
            for field, _ in kind._fields_:
                place = getattr(kind, field)
                rows.append("%s.%s %d %d" % (name, field, place.offset,
                                             place.size))
        self.assertEqual(rows, committed.read_text().splitlines())


class ScanTest(unittest.TestCase):
    def test_verdicts_and_causes(self):
        letter, pills = quaymarsh.scan(LETTER), quaymarsh.scan(PILLS)
        self.assertEqual(State.CLEAN, letter.state)
        self.assertEqual(State.SPAM, pills.state)
        self.assertGreater(pills.score, 99)
        self.assertEqual(pills.score, sum(e.points for e in pills.causes))
        self.assertTrue(pills.cause.startswith(pills.version))

    def test_a_file_is_its_bytes(self):
        for path in SAMPLES.iterdir():
            one = quaymarsh.scan(path, checks=Check.NOTIFICATION)
            two = quaymarsh.scan(path.read_bytes(), checks=Check.NOTIFICATION)
            self.assertEqual((one.state, one.score, one.cause),
                             (two.state, two.score, two.cause), path)

    def test_checks_need_both_setups(self):
        bounce = (SAMPLES / "bounce.eml").read_bytes()
        for checks, everywhere, state in (
                (Check.NOTIFICATION, None, State.NOTIFICATION),
                (Check.NOTIFICATION, Check.NONE, State.CLEAN),
                (Check.NONE, Check.NOTIFICATION, State.CLEAN)):
            result = quaymarsh.scan(bounce, checks=checks,
                                    global_checks=everywhere)
            self.assertEqual(state, result.state, (checks, everywhere))

    def test_the_header_is_rewritten(self):
        result = quaymarsh.scan(PILLS, rewrite_header=True, subject_tag="[x] ")
        self.assertIn(b"\nSubject: [x] V.i.a.g.r.a", result.header)
        self.assertIn(b"\nX-SPAM-SCORE: %d\n" % result.score,
                      result.header.replace(b"\r", b""))
        self.assertEqual(PILLS[result.header_length - 1:][:1], b"\n")
        # A tag that no buffer was made for.
        tag = "y" * 20000
        result = quaymarsh.scan(PILLS, rewrite_header=True, subject_tag=tag)
        self.assertIn(tag.encode(), result.header)
        self.assertIsNone(quaymarsh.scan(PILLS).header)

    def test_texts_go_in_whole(self):
        params = b"a=1\nb=\xff%"
        self.assertEqual(params, quaymarsh.scan(LETTER, params=params).params)
        # A cause longer than the first buffer: it names the profile.
        profile = "p" * 30000
        self.assertIn(profile, quaymarsh.scan(LETTER, profile=profile).cause)
        # Bytes behind a NUL count.
        self.assertEqual(quaymarsh.scan(PILLS[:40] + b"\0" + PILLS[40:]).state,
                         State.SPAM)

    def test_lists(self):
        sender = b"xkq83hvz@mail.example.com"
        plain = quaymarsh.scan(PILLS, no_bailout=True)
        for name in ("global_list", "user_list"):
            listed = quaymarsh.scan(PILLS, no_bailout=True,
                                    **{name: b"+" + sender + b"\n"})
            self.assertNotEqual(plain.score, listed.score, name)

    def test_errors(self):
        for code, what in ((-2, {"keywords": "/nonexistent.kwo"}),
                           (-3, {"message": pathlib.Path("/nonexistent")})):
            with self.assertRaises(quaymarsh.Error) as raised:
                quaymarsh.scan(**{"message": LETTER, **what})
            self.assertEqual(code, raised.exception.code)
        # Nothing is an answer, too.
        self.assertEqual((State.CLEAN, []), (quaymarsh.scan(b"").state,
                                             quaymarsh.scan(b"").causes))

    def test_one_context_for_many_threads(self):
        mails = [path.read_bytes() for path in sorted(SAMPLES.iterdir())] * 4
        alone = [quaymarsh.scan(mail).score for mail in mails]
        with quaymarsh.Context() as context:
            scores = [None] * len(mails)

            def work(first):
                for at in range(first, len(mails), 4):
                    scores[at] = quaymarsh.scan(mails[at],
                                                context=context).score

            threads = [threading.Thread(target=work, args=(i,))
                       for i in range(4)]
            for thread in threads:
                thread.start()
            for thread in threads:
                thread.join()
        self.assertEqual(alone, scores)
        self.assertRaises(ValueError, quaymarsh.scan, LETTER, context=context)


class DecodeTest(unittest.TestCase):
    def test_pairs(self):
        self.assertEqual(b"No date", quaymarsh.decode("pfhoucgurghtvg"))
        self.assertEqual(b"\xff\xff", quaymarsh.decode(b"fqqf"))
        self.assertEqual(b"N", quaymarsh.decode("pfh"))  # cut
        for wrong in ("gqfb", "ab", "pF", "fr"):
            self.assertRaises(ValueError, quaymarsh.decode, wrong)

    def test_entries(self):
        text = ("Quay Marsh 1 Profile: a; b; Bailout: N/A; x; y (3);z4x (-20)")
        for tail in ("", ";no end", "; Hdr=a; From=b (1); Domain=c;"):
            self.assertEqual([("x; y", 3), ("z4x", -20)],
                             quaymarsh._entries(text + tail), tail)
        self.assertEqual([], quaymarsh._entries(text.split("x;")[0]))


if __name__ == "__main__":
    unittest.main()
