// Rule texts on a few messages. A rule that was parsed ahead must take the same
// steps and give the same result as its text, patterns pooled or not.

#include <stdint.h>

#include <memory>

#include "fuzz_util.h"
#include "regex/regex_pool.h"
#include "rules/rule_expression.h"
#include "scan/tqmmsg.h"

namespace {

const char kPlainMail[] =
    "From: A B <a.b@shop.example>\r\nTo: c@d.example, e@f.example\r\n"
    "Subject: Win $500 now\r\nMessage-ID: <1@x.example>\r\n"
    "Received: from h (h.example [10.1.2.3]) by mx.example; Mon, 1 Jan 2024 "
    "10:00:00 +0000\r\nX-Mailer: Post 1.0\r\n\r\n"
    "Call +44 20 7946 0000 or see http://www.x.example/a?b=c now\r\n";
const char kHtmlMail[] =
    "Subject: (a|b) ~ @\r\nContent-Type: text/html\r\n\r\n"
    "<a href='http://y.example/'>y</a><img src='http://z.example/i.gif'>";
const char* const kMails[] = {"", kPlainMail, kHtmlMail};
const char* const kParams[] = {"", "a", "a\nab\nb@c.d\nA-B (c)\n0123"};
const int kMessages = 3;

class Messages {
 public:
  Messages() {
    for (int i = 0; i < kMessages; i++) {
      mails[i].reset(new TQMMSG(nullptr, nullptr, nullptr, 0, 0));
      mails[i]->setParams(kParams[i]);
      mails[i]->loadFromBlock(TBLOCK(kMails[i]), nullptr, 1);
      mails[i]->parseBody();
    }
  }
  std::unique_ptr<TQMMSG> mails[kMessages];
};

// A step must not leave its elements.
class Steps : public RULETRACE {
 public:
  void leafTested(const TQMEXPR& leaf, const TBLOCKVECT& elements,
                  const TBLOCKVECT& matched, int32_t count) override {
    Check(leaf.isRule && count >= 0);
    Check(matched.count() <= elements.count());
    Check(count == 0 || count == matched.count() ||
          (elements.count() == 0 && count == 1));
    Check(leaf.field != 0 || elements.count() == 0);
    leaves++;
  }
  void ended(TBLOCK, int32_t result, TRULEEND) override { Check(result >= 0); }
  int leaves = 0;
};

void Compare(TQMMSG& message, TBLOCK text) {
  REGEXPOOL pool;
  TBLOCK name, other;
  Steps steps, again;
  message.ruleTrace = &steps;
  const int single = message.checkRule(text, name, 0, '|');
  const int multi = message.checkRule(text, other, 1, '|');
  Check(single == (multi > 0));
  _CheckRule(text, other, &pool);
  Check(other.pointer == name.pointer && other.length == name.length);

  BLOCK parts(0, 4096);
  TQMRULE rule;
  if (!ParseRule(text, rule, parts)) return;
  const uint32_t n = static_cast<uint32_t>(parts.length / sizeof(TRULEPART));
  Check(n == rule.count);
  TRULEPART* part = reinterpret_cast<TRULEPART*>(parts.data);
  const std::unique_ptr<TQMEXPR[]> leaves(new TQMEXPR[n]);
  message.dico.pool = &pool;
  for (uint32_t i = 0; i < n; i++) {
    Check(part[i].span >= 1 && part[i].span <= n - i);
    if (part[i].kind != TRULEPART::rkLeaf) continue;
    leaves[i].parse(part[i].text, message.dico);
    part[i].leaf = &leaves[i];
  }
  rule.parts = part;
  message.ruleTrace = &again;
  Check(message.checkRule(rule, 1, '|') == multi);
  Check(message.checkRule(rule, 0, '|') == single);
  Check(steps.leaves == again.leaves);
  message.dico.pool = nullptr;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  static const Messages messages;
  if (size > 4096) return 0;
  const HeapText copy(bytes, size);
  const TBLOCK text = copy.view();
  for (const auto& mail : messages.mails) Compare(*mail, text);
  return 0;
}
