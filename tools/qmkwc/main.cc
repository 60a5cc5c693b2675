// qmkwc: compiles sources of the rule dictionary into an image. The language
// is told in doc/keyword-source.md. Tested by tests/tools/qmkwc_test.sh.

#include <cstdio>
#include <cstring>
#include <string>

#include "compiler.h"

namespace {

const int kExitBadSource = 1;
const int kExitUsage = 64;
const int kExitIo = 74;

int Usage() {
  fputs(
      "usage: qmkwc [-D NAME]... [--patch] [--cc FILE.cc] [-o OUT.kwo] "
      "FILE.kws...\n"
      "  -D NAME      defines a name for $ifdef\n"
      "  --patch      makes an image of patches: sections [+NAME] are allowed\n"
      "  -o OUT.kwo   where the image goes\n"
      "  --cc FILE    writes it as a C++ source that defines ReadyKWO, too\n"
      "Exit code: 0; 1 when a source is faulty; 64 for wrong options; 74 when\n"
      "the image cannot be written.\n",
      stderr);
  return kExitUsage;
}

// The image as the array that the library links in.
bool WriteSource(const std::string& path, const BLOCK& image) {
  FILE* file = fopen(path.c_str(), "wb");
  if (!file) return false;
  fputs(
      "// Made by qmkwc of dictionary/*.kws.\n\n#include \"data/ready_kwo.h\"\n"
      "\nalignas(8) const unsigned char ReadyKWO[] = {",
      file);
  for (uint32_t i = 0; i < image.length; i++)
    fprintf(file, "%s%u,", i % 20 == 0 ? "\n    " : "", image.data[i]);
  fprintf(file, "\n};\n\nuint32_t getReadyKWOLen() { return %u; }\n",
          image.length);
  const bool good = !ferror(file);
  return fclose(file) == 0 && good;
}

}  // namespace

int main(int argc, char** argv) {
  CompileOptions options;
  std::string out, source;
  bool onlyFiles = false;
  for (int i = 1; i < argc; i++) {
    const std::string argument = argv[i];
    const bool value = i + 1 < argc;
    if (onlyFiles || argument.empty() || argument[0] != '-')
      options.inputs.push_back(argument);
    else if (argument == "--")
      onlyFiles = true;
    else if (argument == "--patch")
      options.patch = true;
    else if (argument == "-o" && value)
      out = argv[++i];
    else if (argument == "--cc" && value)
      source = argv[++i];
    else if (argument == "-D" && value)
      options.defines.push_back(argv[++i]);
    else if (argument.compare(0, 2, "-D") == 0 && argument.size() > 2)
      options.defines.push_back(argument.substr(2));
    else
      return Usage();
  }
  if (options.inputs.empty() || (out.empty() && source.empty())) return Usage();

  Messages messages;
  TKwObj object;
  BLOCK image(0, 65536);
  if (!Compile(options, messages, object)) return kExitBadSource;
  if (!object.WriteToStream(&image)) {
    fprintf(stderr, "qmkwc: %s\n",
            object.error ? object.error : "out of memory");
    return kExitIo;
  }
  if (!out.empty()) {
    remove(out.c_str());
    if (!image.saveTo(out.c_str(), 0)) {
      fprintf(stderr, "qmkwc: cannot write %s\n", out.c_str());
      return kExitIo;
    }
  }
  if (!source.empty() && !WriteSource(source, image)) {
    fprintf(stderr, "qmkwc: cannot write %s\n", source.c_str());
    return kExitIo;
  }
  return 0;
}
