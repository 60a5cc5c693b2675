// quaymarsh fields: every field that a rule can ask for, with its elements, and
// some of what the parsers found besides, one value a line, so that two
// messages or two builds can be compared by diff. It looks inside: it parses
// with the same code as a scan, but without a check or a verdict. Tested by
// tests/tools/cli_test.sh.

#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <new>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "commands.h"
#include "dump/dump.h"
#include "dump/html_context.h"
#include "inside.h"
#include "printable.h"

namespace {

std::string BytesOf(TBLOCK text) {
  if (text.empty()) return "";
  return std::string(reinterpret_cast<const char*>(text.pointer), text.length);
}

struct Value {
  std::string text;
  bool isDump;  // a line already, with the message's bytes escaped
};

// What is printed under one name.
class Values {
 public:
  std::vector<Value> list;

  void dump(const std::string& line) { list.push_back({line, true}); }
  // A text that is not there is no element.
  void add(TBLOCK text) {
    if (!text.empty()) list.push_back({BytesOf(text), false});
  }
  void add(const TBLOCKVECT& texts) {
    for (int32_t i = 0; i < texts.count(); i++)
      list.push_back({BytesOf(texts.get(i)), false});
  }
};

struct Extra {
  const char* name;
  void (*get)(const TQMMSG& m, Values& v);
};

// In the order of printing: what no rule field shows.
const Extra kExtras[] = {
    {"tree", [](const TQMMSG& m, Values& v) { v.dump(DumpTree(m.message)); }},
    {"content-types",
     [](const TQMMSG& m, Values& v) { v.add(m.message.contentTypes); }},
    {"date",
     [](const TQMMSG& m, Values& v) { v.dump(DumpDate(m.headerDate)); }},
    {"message-date",
     [](const TQMMSG& m, Values& v) { v.dump(DumpDate(m.messageDate)); }},
    {"relay-date",
     [](const TQMMSG& m, Values& v) { v.dump(DumpDate(m.relayDate)); }},
    {"zones",
     [](const TQMMSG& m, Values& v) { v.dump(DumpZones(m.messageCharset)); }},
    {"subject-zones",
     [](const TQMMSG& m, Values& v) { v.dump(DumpZones(m.subjectCharset)); }},
    {"charset",
     [](const TQMMSG& m, Values& v) { v.add(m.messageCharset.name); }},
    {"subject-charset",
     [](const TQMMSG& m, Values& v) { v.add(m.subjectCharset.name); }},
    {"from-charset",
     [](const TQMMSG& m, Values& v) { v.add(m.fromCharset.name); }},
    {"reply-to", [](const TQMMSG& m, Values& v) { v.add(m.replyTo); }},
    {"return-path", [](const TQMMSG& m, Values& v) { v.add(m.returnPath); }},
    {"sender", [](const TQMMSG& m, Values& v) { v.add(m.sender); }},
    {"mailer-name", [](const TQMMSG& m, Values& v) { v.add(m.mailerName); }},
    {"html",
     [](const TQMMSG& m, Values& v) {
       if (m.bodyIsHtml) v.dump(DumpHtmlState(m.htmlContext));
     }},
    {"link",
     [](const TQMMSG& m, Values& v) {
       for (int32_t i = 0; m.links && i < m.links->count(); i++)
         v.dump(DumpLink(*m.links->get(i)));
     }},
    {"image",
     [](const TQMMSG& m, Values& v) {
       const TIMGVECT& images = m.htmlContext.images;
       for (int32_t i = 0; i < images.count(); i++)
         v.dump(DumpImage(*images.get(i)));
     }},
};

struct RuleField {
  std::string name;
  std::vector<std::string> elements;
};

// All rule fields, in the order of their numbers. Of "@Hdr", which takes the
// name of a header field, all fields of the header.
std::vector<RuleField> ReadRuleFields(TQMMSG& m) {
  std::vector<RuleField> fields;
  const std::string names = std::string(_REGEXFIELDNAMES) + ",";
  size_t begin = 0;
  while (begin < names.size()) {
    const size_t end = names.find(',', begin);
    RuleField field{names.substr(begin, end - begin), {}};
    begin = end + 1;
    const TBLOCKVECT& elements =
        m.regexFields(static_cast<int32_t>(fields.size()) + 1, TBLOCK("All"));
    for (int32_t i = 0; i < elements.count(); i++)
      field.elements.push_back(BytesOf(elements.get(i)));
    fields.push_back(field);
  }
  return fields;
}

// UTF-8 in which each byte is the character of that code point, so that a
// reader gets the bytes back whatever they are.
std::string BytesAsCodePoints(const std::string& bytes) {
  std::string result;
  for (char c : bytes) {
    const unsigned byte = static_cast<unsigned char>(c);
    if (byte < 0x80) {
      result += c;
    } else {
      result += static_cast<char>(0xC0 | (byte >> 6));
      result += static_cast<char>(0x80 | (byte & 0x3F));
    }
  }
  return result;
}

struct FieldsOptions {
  std::vector<std::string> inputs;
  InsideOptions inside;
  bool json = false;
};

class FieldsRun : public InsideRun {
 public:
  explicit FieldsRun(const FieldsOptions& options)
      : InsideRun(options.inside), options_(options) {}

  void visitMail(const Mail& mail) override;
  int run();

 private:
  void printText(const Mail& mail, TQMMSG& message);
  void printJson(const Mail& mail, TQMMSG& message);

  const FieldsOptions& options_;
  bool any_ = false;
};

int FieldsRun::run() {
  const int error = loadDictionary();
  if (error != kExitOk) return error;
  VisitMails(options_.inputs, false, this);
  return firstError();
}

void FieldsRun::visitMail(const Mail& mail) {
  const std::unique_ptr<TQMMSG> message = parse(mail);
  if (options_.json)
    printJson(mail, *message);
  else
    printText(mail, *message);
}

// "NUMBER NAME: ELEMENT", one element a line; an empty one has no text behind
// the ":", and a field without elements a line without ":".
std::string RuleFieldLines(const std::vector<RuleField>& fields) {
  std::string out;
  int number = 0;
  for (const RuleField& field : fields) {
    const std::string name = std::to_string(++number) + " " + field.name;
    if (field.elements.empty()) out += name + "\n";
    for (const std::string& text : field.elements) {
      out += name + ":";
      if (!text.empty())
        out += " " + EscapeBytes(TBLOCK(text.data(),
                                        static_cast<uint32_t>(text.size())));
      out += "\n";
    }
  }
  return out;
}

// One line a value; the bare name for one that is not there. An empty line
// stands between two messages.
void FieldsRun::printText(const Mail& mail, TQMMSG& message) {
  std::string out = any_ ? "\n" : "";
  any_ = true;
  out += "file: " + Printable(mail.name) + "\n";
  for (const Extra& extra : kExtras) {
    Values values;
    extra.get(message, values);
    if (values.list.empty()) out += std::string(extra.name) + ":\n";
    for (const Value& value : values.list) {
      const TBLOCK text(value.text.data(),
                        static_cast<uint32_t>(value.text.size()));
      out += std::string(extra.name) + ": " +
             (value.isDump ? value.text : EscapeBytes(text)) + "\n";
    }
  }
  out += RuleFieldLines(ReadRuleFields(message));
  fputs(out.c_str(), stdout);
}

void FieldsRun::printJson(const Mail& mail, TQMMSG& message) {
  nlohmann::ordered_json line;
  line["file"] = ToUtf8(mail.name);
  for (const RuleField& field : ReadRuleFields(message)) {
    nlohmann::ordered_json& list = line["fields"][field.name];
    list = nlohmann::ordered_json::array();
    for (const std::string& text : field.elements)
      list.push_back(BytesAsCodePoints(text));
  }
  for (const Extra& extra : kExtras) {
    Values values;
    extra.get(message, values);
    nlohmann::ordered_json& list = line["parsed"][extra.name];
    list = nlohmann::ordered_json::array();
    for (const Value& value : values.list)
      list.push_back(BytesAsCodePoints(value.text));
  }
  const std::string text = line.dump() + "\n";
  fputs(text.c_str(), stdout);
}

}  // namespace

void AddFieldsCommand(CLI::App& app, int* exitCode) {
  auto options = std::make_shared<FieldsOptions>();
  CLI::App* command =
      app.add_subcommand("fields", "Show what is read in messages");
  command
      ->add_option("FILE", options->inputs,
                   "Message files, directories, mbox files, or - for stdin")
      ->type_name("")
      ->required();
  command->add_flag("--json", options->json, "One JSON object a line");
  AddInsideOptions(command, &options->inside);
  command->callback(
      [options, exitCode]() { *exitCode = FieldsRun(*options).run(); });
}
