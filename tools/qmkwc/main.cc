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

struct Arguments {
  CompileOptions options;
  std::string out, source;  // empty: not written
};

// False for what Usage does not allow.
bool ReadArguments(int argc, char** argv, Arguments& to) {
  bool onlyFiles = false;
  for (int i = 1; i < argc; i++) {
    const std::string argument = argv[i];
    const bool value = i + 1 < argc;
    if (onlyFiles || argument.empty() || argument[0] != '-')
      to.options.inputs.push_back(argument);
    else if (argument == "--")
      onlyFiles = true;
    else if (argument == "--patch")
      to.options.patch = true;
    else if (argument == "-o" && value)
      to.out = argv[++i];
    else if (argument == "--cc" && value)
      to.source = argv[++i];
    else if (argument == "-D" && value)
      to.options.defines.push_back(argv[++i]);
    else if (argument.compare(0, 2, "-D") == 0 && argument.size() > 2)
      to.options.defines.push_back(argument.substr(2));
    else
      return false;
  }
  return !to.options.inputs.empty() && !(to.out.empty() && to.source.empty());
}

int CannotWrite(const std::string& path) {
  fprintf(stderr, "qmkwc: cannot write %s\n", path.c_str());
  return kExitIo;
}

}  // namespace

int main(int argc, char** argv) {
  Arguments arguments;
  if (!ReadArguments(argc, argv, arguments)) return Usage();
  Messages messages;
  TKwObj object;
  BLOCK image(0, 65536);
  if (!Compile(arguments.options, messages, object)) return kExitBadSource;
  if (!object.WriteToStream(&image)) {
    fprintf(stderr, "qmkwc: %s\n",
            object.error ? object.error : "out of memory");
    return kExitIo;
  }
  const std::string& out = arguments.out;
  if (!out.empty()) {
    remove(out.c_str());
    if (!image.saveTo(out.c_str(), 0)) return CannotWrite(out);
  }
  const std::string& source = arguments.source;
  if (!source.empty() && !WriteSource(source, image))
    return CannotWrite(source);
  return 0;
}
