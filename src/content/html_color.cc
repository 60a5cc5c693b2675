// Colours as HTML and style sheets write them: by name, as "rgb(...)" or in
// hexadecimal digits, of which any number will do, as in browsers. Rows of
// names stand in html_colors.inc. Entries: ParseHtmlColor, ColorCompare. Tested
// by html_style_test.cc.

#include "content/digits.h"
#include "content/html_style.h"

constexpr THTMLCOLOR HtmlColors[kHtmlColorCount] = {
#define QM_COLOR(name, rgb) {name, 0x##rgb},
#include "content/html_colors.inc"
#undef QM_COLOR
};

namespace {

const int32_t kInvalid = -1;
// Colours whose parts are nearer than this look the same.
const int32_t kLeastContrast = 24;

bool IsAll(TBLOCK text, uint32_t mask) {
  return !text.empty() && text.allIn(mask);
}

// A percentage, or a number that may have a sign; 0 to 255, or kInvalid.
int32_t ParseHtmlColorComponent(TBLOCK text) {
  text.trim();
  if (text.empty()) return kInvalid;
  bool negative = false;
  const bool percent = text[text.length - 1] == '%';
  if (percent) {
    text.cut(text.length - 1);
  } else if (text[0] == '-' || text[0] == '+') {
    negative = text[0] == '-';
    text.skip(1);
  }
  if (!IsAll(text, bitDigit)) return kInvalid;
  int32_t number = TakeNumber(text);
  if (negative) return 0;
  if (number > 255) number = 255;  // of percent too: 100 are all of it
  if (percent) number = number * 255 / 100;
  return number > 255 ? 255 : number;
}

// What follows "rgb": three parts in parentheses, or kInvalid.
int32_t ParseRgb(TBLOCK text) {
  text.trim();
  if (text[0] == '(' && text[text.length - 1] == ')' && text.length > 1) {
    text = TBLOCK(text.pointer + 1, text.length - 2);
    text.trim();
  }
  const int32_t red =
      ParseHtmlColorComponent(TBLOCK::BlockBeforeChar(text, ',', 0, 0));
  const int32_t green =
      ParseHtmlColorComponent(TBLOCK::BlockBeforeChar(text, ',', 0, 0));
  const int32_t blue = ParseHtmlColorComponent(text);
  if (red == kInvalid || green == kInvalid || blue == kInvalid) return kInvalid;
  return red << 16 | green << 8 | blue;
}

// Below 0, 0 or above 0, as the text stands ahead of the name or behind it.
int32_t CompareToName(TBLOCK text, const char* name) {
  for (uint32_t i = 0; i < text.length; i++) {
    const unsigned char letter = static_cast<unsigned char>(name[i]);
    const int32_t difference =
        TBLOCK::LowerConvTable[text[i]] - TBLOCK::LowerConvTable[letter];
    if (letter == 0) return 1;
    if (difference != 0) return difference;
  }
  return name[text.length] ? -1 : 0;
}

int32_t FindName(TBLOCK text) {
  uint32_t low = 0;
  uint32_t high = kHtmlColorCount;
  while (low < high) {
    const uint32_t middle = (low + high) / 2;
    const int32_t order = CompareToName(text, HtmlColors[middle].name);
    if (order == 0) return HtmlColors[middle].color;
    if (order < 0)
      high = middle;
    else
      low = middle + 1;
  }
  return kInvalid;
}

// Thirds of the digits, rounded up, of each of which the first two count; what
// is missing at the end counts as 0.
int32_t ParseDigits(TBLOCK text) {
  const uint32_t third = (text.length + 2) / 3;
  int32_t color = 0;
  for (uint32_t part = 0; part < 3; part++) {
    const uint32_t at = part * third;
    const int32_t high = at < text.length ? TBLOCK::HexValue(text[at]) : 0;
    const int32_t low =
        at + 1 < text.length ? TBLOCK::HexValue(text[at + 1]) : 0;
    color = color << 8 | high << 4 | low;
  }
  return color;
}

bool AreNear(int32_t a, int32_t b, int32_t shift) {
  const int32_t difference = (a >> shift & 0xFF) - (b >> shift & 0xFF);
  return difference < kLeastContrast && difference > -kLeastContrast;
}

}  // namespace

int32_t ParseHtmlColor(TBLOCK text) {
  text.trim();
  if (!text.empty() && text[0] == '#') text.skip(1);
  if (text.empty()) return kStyleUnset;
  // No name consists of such digits alone.
  if (IsAll(text, bitHexa)) return ParseDigits(text);
  if (text.begins("rgb(")) {
    const int32_t color = ParseRgb(text.from(3));
    if (color != kInvalid) return color;
  }
  return FindName(text);
}

void GetHtmlColor(TBLOCK value, int32_t& color) {
  const int32_t parsed = ParseHtmlColor(value);
  if (parsed != kStyleUnset) color = parsed;
}

bool ColorCompare(int32_t color, int32_t background) {
  if (color > 0 && background > 0 && AreNear(color, background, 16) &&
      AreNear(color, background, 8) && AreNear(color, background, 0))
    return true;
  // Very pale on white.
  return background == 0xFFFFFF && (color & 0xF0F0F0) == 0xE0E0E0;
}
