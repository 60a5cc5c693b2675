// Messages that are expensive to judge: what fills a field, a text or a page
// with more of one thing than any writer would. Used by hostile_bench. Many
// were found by it: by trying units in every field, and by building texts from
// the pieces of each pattern of the dictionary that make it go back most.

#include <stdint.h>

#include <string>

#include "bench_util.h"
#include "shapes.h"

std::string g_dictionaryText;

namespace {

typedef size_t N;
typedef std::string S;

const char kReceived[] =
    "Received: from a.example.net (a.example.net [192.0.2.7]) by b.example.org "
    "with ESMTP id 12; Thu, 15 Jan 2026 11:00:00 +0000\r\n";
const char kFrom[] = "From: \"A B\" <a@example.net>\r\n";
const char kTo[] = "To: b@example.org\r\n";
const char kDate[] = "Date: Thu, 15 Jan 2026 11:00:00 +0000\r\n";
const char kId[] = "Message-ID: <x@example.net>\r\n";
const char kSubject[] = "Subject: x\r\n";

// The header of a letter without one of its fields.
S Head(const S& without = "") {
  S head;
  for (const S field : {kReceived, kFrom, kTo, kDate, kId, kSubject})
    if (without.empty() || field.compare(0, without.size(), without) != 0)
      head += field;
  return head;
}

// A letter with this in a field of that name.
S Field(N n, const S& name, const S& begin, const S& unit, const S& end = "") {
  return Repeat(n, Head(name + ":") + name + ": " + begin, unit,
                end + "\r\n\r\nHello\r\n");
}

// Fields of that name in the header.
S Fields(N n, const S& name, const S& text) {
  return RepeatNumbered(n, Head(name + ":"), name + ": " + text + "\r\n",
                        "\r\nHello\r\n");
}

S Typed(const S& type) {
  return Head() + "Content-Type: " + type + "\r\n\r\n";
}

S Text(N n, const S& unit, const S& begin = "", const S& end = "") {
  return RepeatNumbered(n, Typed("text/plain; charset=utf-8") + begin, unit,
                        end);
}

S Html(N n, const S& unit, const S& begin = "", const S& end = "") {
  return RepeatNumbered(n, Typed("text/html; charset=utf-8") + "<html>" + begin,
                        unit, end + "</html>");
}

// A multipart of pieces with these headers and texts.
S Parts(N n, const S& piece) {
  return RepeatNumbered(n, Typed("multipart/mixed; boundary=\"b\""),
                        "--b\r\n" + piece + "\r\n", "--b--\r\n");
}

// Letters and digits as from a generator, in words of `length`.
S Noise(N n, const char* letters, N count, N length) {
  S out;
  uint64_t state = 1;
  while (out.size() < n) {
    for (N i = 0; i < length; i++) {
      state = state * 6364136223846793005u + 1442695040888963407u;
      out += letters[(state >> 33) % count];
    }
    out += ' ';
  }
  return out.substr(0, n);
}

// The dictionary's own lines without its comments, over and over. `flat` makes
// one line of it; without digits and marks only words are left.
S Dictionary(N n, bool flat, bool words) {
  S lines;
  bool comment = false, blank = true;
  for (char c : g_dictionaryText) {
    if (c == '\r') continue;
    if (c == '\n') comment = false;
    if (blank && c == ';') comment = true;
    blank = c == '\n' || (blank && c == ' ');
    if (comment) continue;
    const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
    const bool ends = c == '\n';
    lines += ends ? (flat ? ' ' : '\n') : (words && !letter) ? ' ' : c;
  }
  if (lines.empty()) lines = "no dictionary\n";
  S out;
  while (out.size() < n) out += lines;
  return out.substr(0, n);
}

// The same, every line without its last word: what begins like a group, and
// does not end like it.
S CutLines(N n) {
  S out, line;
  for (char c : Dictionary(4 * n, false, false)) {
    if (c != '\n') {
      line += c;
      continue;
    }
    const N cut = line.rfind(' ');
    out += line.substr(0, cut == S::npos ? line.size() : cut) + "\n";
    line.clear();
    if (out.size() >= n) break;
  }
  return out.substr(0, n);
}

S Fit(N n, const S& head, const S& text) {
  return (head + text).substr(0, n);
}

}  // namespace

const SHAPE kCheckShapes[] = {
    // ---- fields that rules read
    {"Subject of capitals", [](N n) { return Field(n, "Subject", "", "A"); }},
    {"Subject of words in capitals",
     [](N n) { return Field(n, "Subject", "", "FREE "); }},
    {"Subject, no word ends in capitals",
     [](N n) { return Field(n, "Subject", "ZZ", "ZA  "); }},
    {"Subject of \"free\"",
     [](N n) { return Field(n, "Subject", "", "free "); }},
    {"Subject of \"your account\"",
     [](N n) { return Field(n, "Subject", "", "your account "); }},
    {"Subject of \"updatsecur\"",
     [](N n) { return Field(n, "Subject", "", "updatsecur"); }},
    {"Subject of brackets",
     [](N n) { return Field(n, "Subject", "<-->", "PATCH["); }},
    {"Subject of \"new\"", [](N n) { return Field(n, "Subject", "", "new"); }},
    {"Subject of cards",
     [](N n) { return Field(n, "Subject", "disabsuspen", "ocarta"); }},
    {"Subject of beginnings",
     [](N n) {
       return Field(n, "Subject", "", "your account new get crypto sav ");
     }},
    {"Subject of everything",
     [](N n) {
       return Field(n, "Subject", "",
                    "new get free your account wallet secur updat belly fat "
                    "lbs parcel entrega save quote crypto storage cloud ");
     }},
    {"Subject of numbers",
     [](N n) { return Field(n, "Subject", "", "10:00 $1,000 2 "); }},
    {"Subject of escapes",
     [](N n) { return Field(n, "Subject", "", "\x1B$B"); }},
    {"Subject of marks",
     [](N n) { return Field(n, "Subject", "", "A!B?C$ "); }},
    {"Subject of the dictionary",
     [](N n) {
       return Field(n, "Subject", Dictionary(n - 1000, true, false), "x");
     }},
    {"From of \"free\"", [](N n) { return Field(n, "From", "", "free "); }},
    {"From of letters, no address",
     [](N n) { return Field(n, "From", "", "a", "<"); }},
    {"From of letters and angles",
     [](N n) { return Field(n, "From", "abc", "<ab"); }},
    {"From of \"@a\"", [](N n) { return Field(n, "From", "mcafee", "@a"); }},
    {"From of words, an address",
     [](N n) { return Field(n, "From", "", "abcd efgh ", "<ijkl@m.org>"); }},
    {"From of two names, nearly the same",
     [](N n) {
       return "Authentication-Results: x; dmarc=pass header.from=a.b\r\n" +
              Field(n, "From", S(n / 2, 'a') + " <", "a", ">");
     }},
    {"From of a name and beginnings",
     [](N n) { return Field(n, "From", "icloud*", "\"  "); }},
    {"Message-ID of servers",
     [](N n) { return Field(n, "Message-ID", "<desktop@", "vps", ">"); }},
    {"From of the dictionary",
     [](N n) {
       return Field(n, "From", Dictionary(n - 1000, true, false), "x");
     }},
    {"Reply-To of labels",
     [](N n) { return Field(n, "Reply-To", "a@", "a."); }},
    {"Reply-To, digits behind \"@\"",
     [](N n) { return Field(n, "Reply-To", "a@", "1a1a1"); }},
    {"Reply-To of \"@a\"", [](N n) { return Field(n, "Reply-To", "", "@a"); }},
    {"To of addresses",
     [](N n) { return Field(n, "To", "", "\"a\" <a@b.org>, "); }},
    {"Message-ID of noise",
     [](N n) { return Field(n, "Message-ID", "<", "a1B2.c3-"); }},
    {"References",
     [](N n) { return Field(n, "References", "", "<a1@b.org> "); }},
    {"X-Mailer of letters", [](N n) { return Field(n, "X-Mailer", "", "a"); }},
    {"X-Mailer and an M for every field",
     [](N n) {
       return Repeat(n,
                     Head() + "X-Mailer: QUALCOMM Windows Eudora Version 5\r\n",
                     "Mime-Version: 1.0\r\n", "\r\nHello\r\n");
     }},
    {"Authentication-Results",
     [](N n) {
       return Field(n, "Authentication-Results", "",
                    "dmarc=pass header.d=a.b.c; header.from=");
     }},
    {"List-Unsubscribe",
     [](N n) { return Field(n, "List-Unsubscribe", "", "<http://a.b/>, "); }},
    {"boundary of letters",
     [](N n) {
       return Field(n, "Content-Type", "multipart/mixed; boundary=", "a1-");
     }},
    {"Received, one line of hosts",
     [](N n) { return Field(n, "Received", "from ", "dsl-1-2-3-4.a.b "); }},
    {"Received, one line of brackets",
     [](N n) { return Field(n, "Received", "from a (", "b [1.2.3.4]) (c "); }},
    {"Received, one line of pools",
     [](N n) { return Field(n, "Received", " ([0", "ppp"); }},
    {"Received chain of pools",
     [](N n) {
       return Fields(
           n, "Received",
           "from dsl-1-2-3-#.pool.example.com ([192.0.2.1]) by "
           "h#.example.org with SMTP id a#; Thu, 15 Jan 2026 11:00:00 "
           "+0000");
     }},
    {"Received chain, all folded",
     [](N n) {
       return Fields(n, "Received",
                     "from a#\r\n\t(b\r\n [192.0.2.1])\r\n by c\r\n with d\r\n "
                     "id e\r\n for <f@g.org>;\r\n Thu, 15 Jan 2026\r\n "
                     "11:00:00 +0000");
     }},
    {"fields that rules name",
     [](N n) {
       return Repeat(n, Head(),
                     "X-Priority: 1\r\nPrecedence: bulk\r\nList-Id: <a.b>\r\n"
                     "In-Reply-To: <a@b>\r\nAuto-Submitted: no\r\n",
                     "\r\nHello\r\n");
     }},
    {"Thread-Index",
     [](N n) {
       return Field(n, "Thread-Index", "AcZN8UUquG7RRuNcRMi8iWyyngQ2bQ==",
                    "AAAAbQ");
     }},
    {"boundary with a time",
     [](N n) {
       return Field(n, "Content-Type",
                    "multipart/mixed; boundary=\"----=_NextPart_000_0012_"
                    "01C82685.",
                    "3F2A5C10", "\"");
     }},
    {"marks of an earlier scan",
     [](N n) { return Fields(n, "X-SPAM-SCORE", "1\r\nX-ANTISPAM-AGENT: #"); }},
    {"fields of mailing lists",
     [](N n) { return Fields(n, "X-BeenThere", "a#@b.org\r\nX-loop: a@b.org"); }},
    {"automatic answers",
     [](N n) {
       return Field(n, "Subject", "", "Out of office: Delivery failure ");
     }},
    // ---- text
    {"text of the dictionary",
     [](N n) {
       return Fit(n, Typed("text/plain"), Dictionary(n, false, false));
     }},
    {"text of the dictionary, one line",
     [](N n) {
       return Fit(n, Typed("text/plain"), Dictionary(n, true, false));
     }},
    {"text of the dictionary's words",
     [](N n) {
       return Fit(n, Typed("text/plain"), Dictionary(n, true, true));
     }},
    {"text of the dictionary, lines cut",
     [](N n) { return Fit(n, Typed("text/plain"), CutLines(n)); }},
    {"different words", [](N n) { return Text(n, "w#x "); }},
    {"words of a group", [](N n) { return Text(n, "dear friend million "); }},
    {"words of a group, one line each",
     [](N n) { return Text(n, "click here to unsubscribe\r\n"); }},
    {"this and that of a cure",
     [](N n) { return Text(n, "oddmethod", "", "."); }},
    {"messengers", [](N n) { return Text(n, "t.me", "task"); }},
    {"coins of every kind", [](N n) { return Text(n, "invest-ai profit "); }},
    {"spread-out words", [](N n) { return Text(n, "v i a g r a "); }},
    {"capitals", [](N n) { return Text(n, "ABC DEF GHI j\r\n"); }},
    {"lines of capitals", [](N n) { return Text(n, "ABCDEFGHI\r\n"); }},
    {"amounts", [](N n) { return Text(n, "US$5,500,000.00 "); }},
    {"marks", [](N n) { return Text(n, "!?! $$$ "); }},
    {"random letters",
     [](N n) {
       return Fit(n, Typed("text/plain"), Noise(n, "qzxjvkwbcd", 10, 9));
     }},
    {"random letters and digits",
     [](N n) {
       return Fit(n, Typed("text/plain"), Noise(n, "qz4x9jAv7kQ", 11, 14));
     }},
    {"random letters, one word",
     [](N n) {
       return Fit(n, Typed("text/plain"), Noise(n, "qz4x9jAv7kQ", 11, n));
     }},
    {"doubled letters", [](N n) { return Text(n, "aabbccddeeff heello "); }},
    {"capitals inside of words",
     [](N n) { return Text(n, "vIAaGRbA xCIbALcIS "); }},
    {"variables of bulk programs",
     [](N n) { return Text(n, "%RND_A %%first_name {random "); }},
    {"ways out of a mailing",
     [](N n) { return Text(n, "unsubscribe a#@b.org http://a#.com/ "); }},
    {"phone numbers", [](N n) { return Text(n, "+1 (206) 555-01# "); }},
    {"phone numbers, nearly", [](N n) { return Text(n, "1 l0O 5S5 "); }},
    {"dates", [](N n) { return Text(n, "Thu, 15 Jan 2026 11:00:00 +0000 "); }},
    {"answers", [](N n) { return Text(n, "> > On Mon, A B wrote:\r\n"); }},
    {"answers with headers",
     [](N n) {
       return Text(n,
                   "-----Original Message-----\r\nFrom: a\r\nSubject: #\r\n");
     }},
    {"addresses", [](N n) { return Text(n, "a#@b#.org "); }},
    {"e-mail addresses, one line each",
     [](N n) { return Text(n, "mail me: a@b.org\r\n"); }},
    {"Cyrillic words",
     [](N n) { return Text(n, "\xD0\xBF\xD1\x80\xD0\xB8 "); }},
    {"Chinese words", [](N n) { return Text(n, "\xE4\xB8\xAD\xE6\x96\x87"); }},
    {"letters of mathematics",
     [](N n) { return Text(n, "\xF0\x9D\x90\x80\xF0\x9D\x91\x8E "); }},
    {"soft hyphens", [](N n) { return Text(n, "a\xC2\xAD"); }},
    {"zero-width letters", [](N n) { return Text(n, "a\xE2\x80\x8B"); }},
    {"look-alike letters",
     [](N n) { return Text(n, "p\xD0\xB0yp\xD0\xB0l "); }},
    // ---- links
    {"hosts, all different", [](N n) { return Text(n, "http://h#.com/\r\n"); }},
    {"hosts below one domain",
     [](N n) { return Text(n, "http://a#.b.example.com/ "); }},
    {"hosts of noise",
     [](N n) { return Text(n, "http://qzxvk#jwbcd.com/ "); }},
    {"hosts in Punycode",
     [](N n) { return Text(n, "http://xn--a#-abc.com/ "); }},
    {"hosts that blanks pull apart",
     [](N n) { return Text(n, "a# . com "); }},
    {"hosts of long labels",
     [](N n) { return Text(n, "http://" + S(60, 'a') + "#.com/\r\n"); }},
    {"hosts of many labels",
     [](N n) {
       return Text(n, "http://a.b.c.d.e.f.g.h.i.j.k.l.m.n#.com/\r\n");
     }},
    {"hosts of dashes",
     [](N n) { return Text(n, "http://secure-login-account-#.top/a\r\n"); }},
    {"hosts of 250 dots, a name behind",
     [](N n) {
       return Text(n, "http://h#user" + S(250, '.') + "ddnsgeek.com/\r\n");
     }},
    {"hosts of 1,000 dots, names",
     [](N n) {
       return Html(n, "<a href=\"http://h#azureedgebinance" + S(1000, '.') +
                          "z.com/\">http://www.b.com/</a>");
     }},
    {"hosts of 60 dots",
     [](N n) {
       return Text(n, "http://h#zoutlook" + S(60, '.') + "top/\r\n");
     }},
    {"paths of IPFS, 4,000 letters",
     [](N n) {
       return Html(n, "<a href=\"http://h#/ipfs/" + S(4000, 'a') + "\">x</a>");
     }},
    {"one host of labels", [](N n) { return Text(n, "a.", "http://"); }},
    {"one host of dashes", [](N n) { return Text(n, "vps-", "http://a."); }},
    {"one path", [](N n) { return Text(n, "/_a.b", "http://a.top"); }},
    {"links within links",
     [](N n) { return Text(n, "http://a#.xyz/u?url=http://c.d/# "); }},
    {"links and users",
     [](N n) { return Text(n, "http://a:b@c#.com/?d=e@f "); }},
    {"links of digits", [](N n) { return Text(n, "http://3221225985/# "); }},
    {"4,096 links, a bank's name each",
     [](N n) {
       return Html(n, "<a href=\"http://h#.top/\">www.bank#.com</a> ");
     }},
    {"4,096 short links",
     [](N n) { return Html(n, "<a href=http://h#.tk>p</a>"); }},
    {"4,096 links to files",
     [](N n) { return Html(n, "<a href=http://h#.tk/a.exe>p</a>"); }},
    {"links by redirection",
     [](N n) {
       return Html(n,
                   "<a href=\"http://www.google.com/url?q=http%3A%2F%2Fh#.tk\">"
                   "x</a>");
     }},
    {"one link of percent signs",
     [](N n) {
       return Html(n, "%41%2e", "<a href=\"http://a.b/", "\">x</a>");
     }},
    {"one link of IPFS",
     [](N n) {
       return Html(n, "a", "<a href=\"http://a.ipfs.io/ipfs/", "\">x</a>");
     }},
    {"links to mail",
     [](N n) { return Html(n, "<a href=mailto:a#@b.org>a</a>"); }},
    {"links of many parameters",
     [](N n) {
       return Html(n, "a#=b#&", "<a href=\"http://a.b/?", "\">x</a>");
     }},
    {"links for a way out",
     [](N n) {
       return Html(n, "<a href=http://a.com/unsub?#>unsubscribe</a>");
     }},
    {"links of pictures that count",
     [](N n) {
       return Html(n,
                   "<a href=http://a.com/c?id=#><img src=http://b.com/#.gif "
                   "width=1></a>");
     }},
    {"text of a link",
     [](N n) {
       return Html(n, "click here ", "<a href=\"http://a.b/\">", "</a>");
     }},
    // ---- pages
    {"page of the dictionary",
     [](N n) {
       return Fit(n, Typed("text/html"), Dictionary(n, false, false));
     }},
    {"fonts nearly white",
     [](N n) {
       return Html(n, "<font size=\"+5\" color=\"#fffffe\">x</font>");
     }},
    {"styles that hide",
     [](N n) { return Html(n, "<span style=\"display:none\">word#</span>"); }},
    {"styles of many properties",
     [](N n) {
       return Html(n, "color:red;font:1px a;", "<p style=\"", "\">x");
     }},
    {"a style sheet",
     [](N n) { return Html(n, ".a#{color:#fff;display:none}", "<style>"); }},
    {"classes of a style sheet",
     [](N n) {
       return Html(n, "<i class=a#>x</i>",
                   "<style>.a1{color:white}.a2{display:none}</style>");
     }},
    {"words cut by tags", [](N n) { return Html(n, "via<b></b>gr<i></i>a "); }},
    {"words cut by comments", [](N n) { return Html(n, "vi<!-- x -->agra "); }},
    {"tables, never closed", [](N n) { return Html(n, "<table><tr><td>a "); }},
    {"divisions, never closed", [](N n) { return Html(n, "<div>a"); }},
    {"divisions of colours, never closed",
     [](N n) {
       return Html(n, "<div style=\"color:#fff;background:#000\">a");
     }},
    {"closing tags without a beginning",
     [](N n) { return Html(n, "</div></a></font>a"); }},
    {"attributes", [](N n) { return Html(n, "a#=b ", "<p "); }},
    {"attributes, unclosed quotes", [](N n) { return Html(n, "a=\"<p "); }},
    {"tags of noise", [](N n) { return Html(n, "<q#z>a</q#z>"); }},
    {"entities", [](N n) { return Html(n, "&#65;&nbsp;&eacute;&x"); }},
    {"entities without an end", [](N n) { return Html(n, "&#0000000065"); }},
    {"pictures", [](N n) { return Html(n, "<img src=http://a#.com/b.gif>"); }},
    {"pictures of a size",
     [](N n) { return Html(n, "<img src=cid:a# width=1 height=1>"); }},
    {"texts of pictures",
     [](N n) {
       return Html(n, "<img src=cid:a alt=\"cheap pills now #\">");
     }},
    {"meta fields",
     [](N n) { return Html(n, "<meta name=keywords content=\"a #\">"); }},
    {"comments", [](N n) { return Html(n, "<!-- a# -->"); }},
    {"areas of pictures",
     [](N n) { return Html(n, "<map name=a#><area href=http://a#.com>"); }},
    {"forms", [](N n) { return Html(n, "<form action=http://a#.tk><input>"); }},
    {"scripts", [](N n) { return Html(n, "<script>a='b'+\"c\";</script>"); }},
    {"one script", [](N n) { return Html(n, "unescape('%61');", "<script>"); }},
    {"bases",
     [](N n) { return Html(n, "<base href=http://a#.com/><a href=b>c"); }},
    {"titles", [](N n) { return Html(n, "<title>a</title>"); }},
    // ---- parts
    {"parts of text",
     [](N n) { return Parts(n, "\r\nYour account # free\r\n"); }},
    {"parts of pages",
     [](N n) {
       return Parts(n, "Content-Type: text/html\r\n\r\n<a href=http://a#.tk>b");
     }},
    {"programs",
     [](N n) {
       return Parts(
           n,
           "Content-Type: application/octet-stream; name=\"a#.exe\"\r\n"
           "Content-Transfer-Encoding: base64\r\n\r\nTVqQAAMAAAA=");
     }},
    {"office files",
     [](N n) {
       return Parts(n,
                    "Content-Type: application/msword; name=\"a#.doc\"\r\n"
                    "Content-Transfer-Encoding: base64\r\n\r\n"
                    "0M8R4KGxGuEAAAAAAAAAAAAAAAAAAAAA");
     }},
    {"file names with two ends",
     [](N n) {
       return Parts(n,
                    "Content-Disposition: attachment; "
                    "filename=\"a#.pdf                     .scr\"\r\n\r\nx");
     }},
    {"content ids",
     [](N n) {
       return Parts(n,
                    "Content-Type: image/gif\r\nContent-ID: <a#.b@c.d>\r\n\r\n"
                    "GIF89a");
     }},
    {"content ids that a page names",
     [](N n) {
       const S page = RepeatNumbered(
           n / 2,
           Typed("multipart/related; boundary=\"b\"") +
               "--b\r\nContent-Type: text/html\r\n\r\n",
           "<img src=cid:#>");
       return RepeatNumbered(n, page + "\r\n", "--b\nContent-ID:<#>\n\n");
     }},
    {"letters in letters",
     [](N n) {
       return Parts(n,
                    "Content-Type: message/rfc822\r\n\r\nSubject: free #\r\n"
                    "From: a@b.org\r\n\r\nhttp://h#.tk/");
     }},
    {"returned letters",
     [](N n) {
       return Text(n,
                   "\r\n--- The following addresses had permanent errors ---"
                   "\r\n<a#@b.org>\r\n550 User unknown\r\n");
     }},
    {"returned letters, one in another",
     [](N n) {
       return RepeatNumbered(
           n, "",
           "From: MAILER-DAEMON@a.org\r\nSubject: Returned mail\r\n\r\n"
           "--- Below this line is a copy of the message.\r\n\r\n");
     }},
    {"a letter that a filter wrapped",
     [](N n) {
       return RepeatNumbered(
           n,
           "X-Spam-Flag: YES\r\n" + Typed("multipart/mixed; boundary=b") +
               "--b\r\nContent-Type: message/rfc822\r\n\r\n" + Head() + "\r\n",
           "http://h#user" + S(250, '.') + "ddnsgeek.com/\r\n");
     }},
    {"file names of 255 letters",
     [](N n) {
       return Parts(n, "Content-Disposition: attachment; filename=\"" +
                           S(250, 'a') + "#.zip\"\r\n\r\nPK");
     }},
};
const size_t kCheckShapeCount = sizeof kCheckShapes / sizeof *kCheckShapes;
