// Fingerprints of attached MP3, PDF and HTML files: short texts that are the
// same for all files one tool made, whatever they say or show. Of an MP3 it is
// the header of the first frame, of a PDF the version and the keys of its
// objects' dictionaries, of an HTML file whether it has scripts.
//
// Entry: TQMMSG::getAdnFromAttach. Tested by attachment_adn_test.cc.

#include "regex/regex.h"
#include "regex/regex_pool.h"
#include "scan/tqmmsg.h"

namespace {

// Body lengths, before decoding, from which on a file is not looked at.
const uint32_t kHtmlLimit = 8192;
const uint32_t kPdfExploitLimit = 20480;
const uint32_t kMp3Limit = 184000 + 1;

// ---- MP3

// Slots as wide as their longest text. The pairs of version 2 layer 3 differ
// from the published ones, on purpose: fingerprints are compared as text.
typedef const char BitrateTable[16][12];

BitrateTable BitrateV1L1 = {"free", "32",  "64",  "96",  "128", "160",
                            "192",  "224", "256", "288", "320", "352",
                            "384",  "416", "448", "bad"};
BitrateTable BitrateV1L2 = {"free", "32",  "48",  "56",  "64",  "80",
                            "96",   "112", "128", "160", "192", "224",
                            "256",  "320", "384", "bad"};
BitrateTable BitrateV1L3 = {"free", "32",  "40",  "48",  "56",  "64",
                            "80",   "96",  "112", "128", "160", "192",
                            "224",  "256", "320", "bad"};
BitrateTable& BitrateV2L1 = BitrateV1L1;
BitrateTable& BitrateV2L2 = BitrateV1L2;
BitrateTable BitrateV2L3 = {"free",      "8 (8)",     "16 (16)",   "24 (24)",
                            "32 (32)",   "64 (40)",   "80 (48)",   "56 (56)",
                            "64 (64)",   "128 (80)",  "160 (96)",  "112 (112)",
                            "128 (128)", "256 (144)", "320 (160)", "bad"};

// By the version bits of the second byte, then the rate bits of the third.
const struct {
  const char* name;
  int32_t rates[4];
} kMp3Versions[] = {
    {"MPEG2.5", {11025, 12000, 8000, 0}},
    {"Reserved", {0, 0, 0, 0}},
    {"MPEG2.0", {22050, 24000, 16000, 0}},
    {"MPEG1.0", {44100, 48000, 32000, 0}},
};
const unsigned char kVersion1 = 3;

// By the layer bits. A reserved layer has the bit rates of the third one.
const struct {
  const char* name;
  BitrateTable* version1;
  BitrateTable* version2;
} kMp3Layers[] = {
    {"Reserved", &BitrateV1L3, &BitrateV2L3},
    {"Layer3", &BitrateV1L3, &BitrateV2L3},
    {"Layer2", &BitrateV1L2, &BitrateV2L2},
    {"Layer1", &BitrateV1L1, &BitrateV2L1},
};

const char* const kMp3Modes[] = {"Stereo", "JS Stereo", "DC Stereo", "Mono"};
const char* const kMp3Emphases[] = {"None", "50/15 ms", "Reserved",
                                    "CCIT J.17"};

// The four bytes at the first sync: an FF and a byte with its top three bits
// set; empty when there is none. An FF that was none is the last one tried
// when little is left behind it.
TBLOCK FindMp3Frame(TBLOCK data) {
  const uint32_t kFewBytes = 128;
  for (;;) {
    const int32_t at = data.findByte(0xFF);
    if (at < 0) return TBLOCK();
    data.skip(static_cast<uint32_t>(at));
    if (data.length < 4) return TBLOCK();
    if ((data[1] & 0xE0) == 0xE0) return data.head(4);
    data.skip(1);
    if (data.length < kFewBytes) return TBLOCK();
  }
}

// Appends the fingerprint of an MP3's bytes.
void AddMp3Adn(TBLOCK data, STR& out) {
  const TBLOCK frame = FindMp3Frame(data);
  if (frame.empty()) return;
  const int version = frame[1] >> 3 & 3;
  const auto& layer = kMp3Layers[frame[1] >> 1 & 3];
  BitrateTable& bitrates =
      version == kVersion1 ? *layer.version1 : *layer.version2;
  out += kMp3Versions[version].name;
  out += '!';
  out += layer.name;
  out += '!';
  out += bitrates[frame[2] >> 4];
  out += '!';
  out += kMp3Versions[version].rates[frame[2] >> 2 & 3];
  out += '!';
  out += kMp3Modes[frame[3] >> 6];
  out += '!';
  out += kMp3Emphases[frame[3] & 3];
  out += frame[3] & 4 ? "!Original" : "!NonOriginal";
  out += frame[3] & 8 ? "!Copyright" : "!NonCopyright";
}

// ---- HTML

bool HasScript(BLOCKPART& part) {
  // Exact bytes; the last one has pairs of single quotes.
  static const char* const kScripts[] = {"<script", "<SCRIPT", "<Script",
                                         "http-equiv=\"refresh\"",
                                         "http-equiv=''refresh''"};
  for (const char* script : kScripts)
    if (part.contentStrPos(script)) return true;
  return false;
}

// ---- PDF

// How far the head of an object, "12 0 obj", may go.
const uint32_t kPdfHeadBytes = 256;

// The bytes up to white space, which are taken off `rest`.
TBLOCK NextWord(TBLOCK& rest) {
  const TBLOCK word = rest.head(rest.lengthUntil(bitWhiteSpace));
  rest.skip(word.length);
  return word;
}

// Whether an object begins here. The pattern is asked only where it has a
// chance, and never about the whole rest of the file.
bool IsPdfObject(REGEX& head, TBLOCK text) {
  return TBLOCK::Is(text[0], bitDigit) && head.match(text.head(kPdfHeadBytes));
}

// Appends the capitals of a name, or its first letters when it has no two.
void AddPdfName(TBLOCK name, STR& out) {
  const uint32_t kShortName = 3;
  uint32_t capitals = 0;
  for (uint32_t i = 0; i < name.length; i++)
    capitals += TBLOCK::Is(name[i], bitUpper);
  if (capitals < 2) {
    out += name.head(kShortName);
    return;
  }
  while (!name.empty()) {
    const TBLOCK run = name.head(name.lengthIn(bitUpper));
    out += run;
    name.skip(run.length + 1);
  }
}

// Appends the names in an object in their short form.
void AddPdfObject(TBLOCK object, STR& out) {
  const int32_t stream = object.find("stream");
  if (stream >= 0) object.cut(static_cast<uint32_t>(stream));
  out += '/';
  bool first = true;
  for (int32_t slash; (slash = object.findByte('/')) >= 0;) {
    object.skip(static_cast<uint32_t>(slash) + 1);
    const TBLOCK name = object.head(object.lengthIn(bitAlpha));
    if (name.empty()) continue;
    if (!first) out += ',';
    first = false;
    AddPdfName(name, out);
    object.skip(name.length);
  }
  if (stream >= 0) out += '!';
}

// Appends the fingerprint of a PDF's bytes.
void AddPdfAdn(TBLOCK rest, REGEXPOOL* pool, STR& out) {
  const TBLOCK signature("%PDF-1.");
  const TBLOCK end("endobj");
  if (!rest.begins(signature)) {
    out += "PDF:Error";
    return;
  }
  rest.skip(signature.length);
  rest.trimLeft();
  TBLOCK version = NextWord(rest);
  // A NUL would hide what follows in the list.
  const int32_t nul = version.findByte(0);
  if (nul >= 0) version.cut(static_cast<uint32_t>(nul));
  out += "PDF:";
  out += version;
  REGEX head(REGEXPOOL::_PDF_STUFF, pool);
  for (rest.trimLeft(); !rest.empty(); rest.trimLeft()) {
    if (!IsPdfObject(head, rest)) {
      NextWord(rest);
      continue;
    }
    const int32_t length = rest.find(end);
    AddPdfObject(length < 0 ? rest : rest.head(static_cast<uint32_t>(length)),
                 out);
    if (length < 0) return;
    rest.skip(static_cast<uint32_t>(length) + end.length);
  }
}

// Whether a PDF, still coded or not, asks for a program of the system.
bool HasPdfExploit(const BLOCKPART& part) {
  const TBLOCK exploit("%/../../../../../../Windows/system32");
  if (!(part.flags & pfBase64Checked) || (part.flags & pfDecoded))
    return part.content.find(exploit) >= 0;
  BLOCK copy(part.content.length, 0);
  TBLOCK bytes(copy.data, copy.capacity);
  TBLOCK::BlockUnbase64(part.content, bytes, 1);
  return bytes.find(exploit) >= 0;
}

}  // namespace

const char* TQMMSG::getMP3AdnFromAttach(BLOCKPART* part, STR& out) {
  out = "";
  if (part->attachKind == akMp3 && part->rawLength < kMp3Limit)
    AddMp3Adn(part->decodeContent(), out);
  return out.c_str();
}

const char* TQMMSG::getAdnFromAttach(BLOCKPART* part, STR& out) {
  if (part->attachKind == akMp3) return getMP3AdnFromAttach(part, out);
  out = "";
  if (part->attachKind == akHtml) {
    if (part->rawLength < kHtmlLimit && HasScript(*part))
      out = "Html::Javascript";
  } else if (part->attachKind == akPdf) {
    if (part->rawLength < kPdfExploitLimit && HasPdfExploit(*part))
      out = "PDF:Exploit";
    else
      AddPdfAdn(part->decodeContent(), pool, out);
  }
  return out.c_str();
}
