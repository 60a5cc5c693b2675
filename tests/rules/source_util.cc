#include "rules/source_util.h"

#include "base/heap_text.h"
#include "rules/image_util.h"

namespace {

// The line at `at`, which moves behind it.
std::string TakeLine(const std::string& source, size_t& at) {
  const size_t end = std::min(source.find('\n', at), source.size());
  const std::string line = source.substr(at, end - at);
  at = end + 1;
  return line;
}

}  // namespace

std::string AddSource(TKwObj& object, const std::string& source) {
  for (size_t at = 0; at < source.size();) {
    std::string name = TakeLine(source, at);
    const bool patch = name.compare(0, 2, "[+") == 0;
    name = name.substr(patch ? 2 : 1, name.size() - (patch ? 3 : 2));
    std::string content;
    while (at < source.size() && source[at] != '[')
      content += TakeLine(source, at) + "\n";
    const HeapText text(content), title(name);
    TBLOCKVECT lines(4);
    lines.fillFromBigBlock(text.view(), '\n', 0);
    if (!object.AddSection(title.view(), &lines, patch)) return object.error;
  }
  return "";
}

std::string CompileSource(const std::string& source) {
  TKwObj object;
  BLOCK image(0, 1000);
  const std::string error = AddSource(object, source);
  if (!error.empty()) return error;
  return object.WriteToStream(&image) ? Str(image.view()) : object.error;
}

bool LoadSource(TQMDICO& dico, const std::string& source) {
  return dico.loadKeywordsFromBlock(BlockOf(CompileSource(source))) != 0;
}
