#!/bin/sh
# quaymarsh lint: every kind of finding once, what must stay silent, and whether
# doc/sections.md tells of all sections that the tool knows. Needs QM_CLI, or
# the program as an argument.
cli=${QM_CLI:-$1}
top=${QM_SOURCE_DIR:-$(pwd)}
command=lint
. "${0%/*}/../expect.sh"

head='[#param]
version=09.000.01'

# ---- Nothing to say

cat >good.kws <<X
$head
[&BlackWords]             ; words of other sections, named here
Blackwords-pills
[Blackwords-pills]
<30>hoodia + weight loss*|diet
(=)<40>*viagra pill&|@ ?
<20>24 hours + # %
[^No-Blackwords-pills]    ; and their switch
(Subject=acai)
[^No-Subject]
(Subject=x)
[^Only-Html]
(Content=.)
[^=SpamRegex]
<20>@Chained:(Subject=a)
<10>listed:(Domain\$=Shops)
<10>anchored:(Content=^[a-z]+ [a-z]+)
<10>header:(@Lang=fr)
[^Chained]
<5>(Subject=b)
[\$Shops]
shop.example
[#RegexCount]
=Counted=100
[^=Counted]
<40>(Subject=c)
[#DeepPhishing]
<200>Bank
[^Bank]
<1>(Subject=d)
[\$Bank-Hash]
<1>d
[#ScamGroups]
<100>+Prize
[Prize-Group]
<50>prize
[&Prize]
+Big
[Prize\\Big-Words]
<60>million
[^Prize\\Big-GroupRegex]
<60>(Subject=e)
[^No-Prize-Regex]
(Subject=f)
[^PCE-Regex]              ; a rule without points gives a verdict, too
(Subject=g)
[!SpamHeaderField]
<10>Subject=^[a-z]{30}
[*SpamHdr]
<70>FTSD@th00??
<70>FTSD@th00??u
[#AsianCharset]
<200>Chinese|gb2312
<200>Chinese|gb*
X
expect "silent" 0 good.kws </dev/null

# ---- Each finding

cat >bad.kws <<X
$head
[#Blacksubject]
*win*
*lose*
[#WhiteContent]
<-10>*kind*
<-10>*too kind*
<-10>*KIND*
<-10>*a*b*c
[Nobody]
a
[^No-Tld]
(Subject=a)
[&PhishingWords]
Words2
[Words2]
<0>nothing
<10>word
<10>word
<10>good + 1st|second
[HardWords]
two words
[^=HeaderRegex]
<10>(Url=x)
<10>(Virus=x)&(Subjekt=x)
[^=SpamRegex]
<10>(Subject=(a*)*b)
<10>(Content=[^ ]{40})
<10>(Content=foo[a-z]*b)&(Words<>(x+x+)+y)
[#RegexCount]
Counted=0
[#AttachContent]
<10>name
[#WhiteHtmlMeta]
<-10>Colour=red
<-10>Author=a*b
[#NOTIFICATION-FROM]
<100>mailer*@*
[#WordsWithoutChars]
<10>._-
[#NoPhishing4]
a.example
[*SpamHdr]
<10>FTSD@
[\$HiVirusExt]
.exe
[\$BlackPhones]
<10>+33 1
[&SenderWords]
Round
[&Round]
Words2
Round2
[&Round2]
Round
X
expect "findings" 1 bad.kws <<'X'
bad.kws:3:1: warning: no line of this section has a score
bad.kws:8:6: warning: line 7 takes all that fits here
bad.kws:9:1: warning: the line stands already at line 7
bad.kws:10:8: warning: this star stands for itself: only one in front and one at the end stand for anything here
bad.kws:11:1: warning: no check reads this section
bad.kws:13:1: warning: no check reads this section
bad.kws:15:2: warning: this section is read as [PhishingWords]
bad.kws:18:1: warning: with a score of 0 the line does nothing
bad.kws:20:1: warning: the line stands already at line 19
bad.kws:21:5: warning: never found: '1st' is read as the words '1' 'st'
bad.kws:23:1: warning: only single words are looked up here
bad.kws:25:6: warning: this field is empty when the rule is asked: the body has not been read
bad.kws:26:6: warning: this field never has a value
bad.kws:26:16: warning: unknown field: it never has a value
bad.kws:28:14: warning: costly pattern: there are texts that keep it busy until it is given up
bad.kws:29:14: warning: costly pattern: nothing to search a long text for, neither a plain text nor an anchor
bad.kws:30:34: warning: costly pattern: there are texts that keep it busy until it is given up
bad.kws:32:1: warning: the line needs SECTION=POINTS, above 0
bad.kws:34:5: warning: the line needs NAME=VALUE
bad.kws:36:6: warning: the line needs TOKEN=VALUE, with a META name that is read
bad.kws:37:14: warning: nothing behind this star is looked at
bad.kws:39:12: warning: this star stands for itself: only one in front and one at the end stand for anything here
bad.kws:41:5: warning: the line needs CHARACTERS, a blank, and the words
bad.kws:43:1: warning: the line needs SHOWN-HOST:TARGET-HOST
bad.kws:45:5: warning: no fingerprint of a header: six or seven characters stand behind the last @
bad.kws:47:1: warning: what is looked up has no dot in front
bad.kws:49:5: warning: numbers are looked up by their digits
bad.kws:54:1: warning: this leads back to the list that it is in
bad.kws:56:1: warning: this leads back to the list that it is in
X

# What the compiler refuses is told, too, and --json says the same.
printf '%s\n' "$head" '[!SubstRegex]' '<10>[a-' >error.kws
expect "an error" 1 --json error.kws <<'X'
{"file":"error.kws","line":4,"column":5,"severity":"error","message":"Crochet manquant ] apres "}
X
printf '%s\n' '[+#Nobody]' '++a*b*c' '--gone' >patch.kws
expect "a patch" 0 --patch patch.kws </dev/null
expect "no file" 66 good.kws none.kws <<'X'
quaymarsh: none.kws: No such file or directory
X

# ---- The page tells of the same sections, with the same prefix

page="$top/doc/sections.md"
table="$top/tools/quaymarsh/known_sections.cc"
sed -n 's/^    {"\([^"]*\)", "\(.\).*/\2\1/p' "$table" | sed 's/^ //' | sort >known
sed -n 's/^| `\[\([^]]*\)\]` .*/\1/p' "$page" | sort >told
[ -s known ] && diff known told || fail "doc/sections.md and the table differ"

finish
