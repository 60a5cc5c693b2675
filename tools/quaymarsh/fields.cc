// quaymarsh fields: what the engine reads in a message, one value a line, so
// that two messages or two builds can be compared by diff. It looks inside: it
// parses with the same code as a scan, but without a check or a verdict. What
// is printed stands in one table, kFields. Tested by tests/tools/cli_test.sh.

#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <new>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "api/speedup_context.h"
#include "commands.h"
#include "dump/dump.h"
#include "mail_source.h"
#include "printable.h"
#include "scan/tqmmsg.h"

namespace {

struct Value {
  std::string text;
  bool isDump;  // a line already, with the message's bytes escaped
};

// The elements of one field.
class Values {
 public:
  std::vector<Value> list;

  void dump(const std::string& line) { list.push_back({line, true}); }
  // A text that is not there is no element.
  void add(TBLOCK text) {
    if (!text.empty()) addElement(text);
  }
  void add(const STR& text) { add(text.view()); }
  void add(const STRVECT& texts) {
    for (int32_t i = 0; i < texts.count(); i++) addElement(texts.at(i)->view());
  }
  void add(const TBLOCKVECT& texts) {
    for (int32_t i = 0; i < texts.count(); i++) addElement(texts.get(i));
  }

 private:
  void addElement(TBLOCK text) {
    const char* bytes = reinterpret_cast<const char*>(text.pointer);
    list.push_back(
        {std::string(text.empty() ? "" : bytes, text.length), false});
  }
};

void AddArchives(const TQMMSG& m, Values& v) {
  OITER walk(&m.message.parts);
  while (const void* item = walk.next())
    v.add(static_cast<const BLOCKPART*>(item)->archiveText);
}

struct Field {
  const char* name;
  void (*get)(const TQMMSG& m, Values& v);
};

// In the order of printing. Lower case: these are values of the engine, no
// fields that a rule can name.
const Field kFields[] = {
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
    {"subject", [](const TQMMSG& m, Values& v) { v.add(m.subject); }},
    {"from", [](const TQMMSG& m, Values& v) { v.add(m.from); }},
    {"to", [](const TQMMSG& m, Values& v) { v.add(m.to); }},
    {"cc", [](const TQMMSG& m, Values& v) { v.add(m.cc); }},
    {"reply-to", [](const TQMMSG& m, Values& v) { v.add(m.replyTo); }},
    {"return-path", [](const TQMMSG& m, Values& v) { v.add(m.returnPath); }},
    {"sender", [](const TQMMSG& m, Values& v) { v.add(m.sender); }},
    {"mailer", [](const TQMMSG& m, Values& v) { v.add(m.mailer); }},
    {"mailer-name", [](const TQMMSG& m, Values& v) { v.add(m.mailerName); }},
    {"message-id", [](const TQMMSG& m, Values& v) { v.add(m.messageId); }},
    {"boundary", [](const TQMMSG& m, Values& v) { v.add(m.boundary); }},
    {"first-line", [](const TQMMSG& m, Values& v) { v.add(m.firstLine); }},
    {"last-line", [](const TQMMSG& m, Values& v) { v.add(m.lastLine); }},
    {"field-tokens", [](const TQMMSG& m, Values& v) { v.add(m.fieldTokens); }},
    {"attachment-adns",
     [](const TQMMSG& m, Values& v) { v.add(m.attachAdns); }},
    {"attachment-content-adns",
     [](const TQMMSG& m, Values& v) { v.add(m.attachContentAdns); }},
    {"archives", AddArchives},
    {"image-sizes", [](const TQMMSG& m, Values& v) { v.add(m.imageSizes); }},
    {"image-weights",
     [](const TQMMSG& m, Values& v) { v.add(m.imageWeights); }},
    {"type-adn", [](const TQMMSG& m, Values& v) { v.add(m.typeAdn); }},
    {"tags", [](const TQMMSG& m, Values& v) { v.add(m.tags); }},
};

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

class FieldsRun : public MailVisitor {
 public:
  explicit FieldsRun(bool json)
      : json_(json), context_(CreateSpeedupContext(nullptr)) {
    if (!context_) throw std::bad_alloc();
  }

  void visitMail(const Mail& mail) override;
  void visitError(int code, const std::string& name,
                  const std::string& what) override;
  int exitCode() const { return firstError_; }

 private:
  void printText(const Mail& mail, const TQMMSG& message);
  void printJson(const Mail& mail, const TQMMSG& message);

  const bool json_;
  const std::unique_ptr<SPEEDUPCONTEXT> context_;
  bool any_ = false;
  int firstError_ = kExitOk;
};

void FieldsRun::visitError(int code, const std::string& name,
                           const std::string& what) {
  PrintError(name, what);
  if (firstError_ == kExitOk) firstError_ = code;
}

void FieldsRun::visitMail(const Mail& mail) {
  const std::unique_ptr<TQMMSG> message(
      new TQMMSG(context_->pool, context_->stuff, context_->blacklist, 0, 0));
  const TBLOCK text(mail.text.data(), static_cast<uint32_t>(mail.text.size()));
  if (!message->loadFromBlock(text, nullptr, 0)) throw std::bad_alloc();
  message->parse(0);
  if (json_)
    printJson(mail, *message);
  else
    printText(mail, *message);
}

// One line a value; the bare name for a field without one. An empty line
// stands between two messages.
void FieldsRun::printText(const Mail& mail, const TQMMSG& message) {
  std::string out = any_ ? "\n" : "";
  any_ = true;
  out += "file: " + Printable(mail.name) + "\n";
  for (const Field& field : kFields) {
    Values values;
    field.get(message, values);
    if (values.list.empty()) out += std::string(field.name) + ":\n";
    for (const Value& value : values.list) {
      const TBLOCK text(value.text.data(),
                        static_cast<uint32_t>(value.text.size()));
      out += std::string(field.name) + ": " +
             (value.isDump ? value.text : EscapeBytes(text)) + "\n";
    }
  }
  fputs(out.c_str(), stdout);
}

void FieldsRun::printJson(const Mail& mail, const TQMMSG& message) {
  nlohmann::ordered_json line;
  line["file"] = ToUtf8(mail.name);
  for (const Field& field : kFields) {
    Values values;
    field.get(message, values);
    nlohmann::ordered_json& list = line["fields"][field.name];
    list = nlohmann::ordered_json::array();
    for (const Value& value : values.list)
      list.push_back(BytesAsCodePoints(value.text));
  }
  const std::string text = line.dump() + "\n";
  fputs(text.c_str(), stdout);
}

struct FieldsOptions {
  std::vector<std::string> inputs;
  bool json = false;
};

int RunFields(const FieldsOptions& options) {
  FieldsRun run(options.json);
  VisitMails(options.inputs, false, &run);
  return run.exitCode();
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
  command->callback([options, exitCode]() { *exitCode = RunFields(*options); });
}
