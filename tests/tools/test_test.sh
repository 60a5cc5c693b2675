#!/bin/sh
# quaymarsh test on a dictionary of the test: lines of all kinds that hit and
# miss, claims that fail, lines without a test, messages that are completed,
# faulty files. Needs QM_CLI, or the program as an argument.
cli=${QM_CLI:-$1}
command=test
. "${0%/*}/../expect.sh"

mkdir d
cat >d/a.kws <<'X'
[#param]
version=09.000.01
[$TLD]
<0>unknown
<0>com
[^=SpamRegex]
<70>Big:(Subject=big win)
<10>small:(Subject=small)
[Blackwords]
<60>casino chips
<60>cafe bonus
[#BlackSubject]
<-50>*pta meeting*
[^No-Phone]
quiet:(Subject=(?i)quiet)
[$BlackPhones]
<80>0123456789
[@BlackDomains]
evil.example
X
cat >d/a.kwt <<'X'
What stands ahead of the first claim is not read.

%% hit =SpamRegex: Big
%% miss =spamregex: small
%% cause ^Big
%% state clean
Subject: a big win

No header but this field.
%% miss =SpamRegex: Big
%% no-cause ^Big
%% hit Blackwords: casino chips
a bigger win, in casino chips
and more
%% miss Blackwords: casino chips
%% hit BlackWords: cafe bonus
Chips: made of potatoes
Content-Type: text/plain; charset=iso-8859-1

casino, cafe bonus
%% hit BlackSubject: *pta meeting*
Subject: the PTA meeting

%% miss BlackSubject: *pta meeting*
Subject: a meeting of the PTA
%% hit BlackPhones: 0123456789

Call: 01 23 45 67 89
%% hit No-Phone: quiet
%% miss BlackPhones: 0123456789
%% miss BlackWords: cafe bonus
Subject: Quiet

Call 01 23 45 67 89 now.
%% state spam
%% hit BlackDomains: evil.example
http://www.evil.example/
X
expect "all well" 0 -j 2 d <<'X'
8 messages, 8 of 12 lines tested, 0 failures
X

cat >bad.kwt <<'X'
%% hit =SpamRegex: Big
%% state spam
%% cause ^small
%% no-cause Kept
%% miss =SpamRegex: small
%% hit Blackwords: no such
Subject: small

%% hit =SpamRegex: Big
X
grep -v BlackPhones d/a.kwt >c.kwt
expect "failures" 1 d/a.kws bad.kwt c.kwt <<'X'
bad.kwt:1: =SpamRegex: Big does not hit: ^small (10)
bad.kwt:2: state clean, score 10: ^small (10)
bad.kwt:5: =SpamRegex: small hits: ^small (10)
bad.kwt:6: no such line: Blackwords: no such
bad.kwt:9: =SpamRegex: Big does not hit: no cause
d/a.kws:17: no near miss of blackphones: 0123456789
d/a.kws:17: no test hits blackphones: 0123456789
9 messages, 7 of 12 lines tested, 7 failures
X

# ---- What goes wrong

printf '%%%% hits x: y\n' >faulty.kwt
expect "faulty test" 65 d faulty.kwt <<'X'
quaymarsh: faulty.kwt:1: expected hit, miss, state, cause or no-cause, and what
X
printf '[Words]\n<10>a\n[Words]\nb\n' >e.kws
expect "no source" 66 d/a.kwt <<'X'
quaymarsh: no dictionary source (*.kws)
X
expect "faulty source" 78 e.kws <<'X'
e.kws:1:1: no source has a section [#param]
X

finish
