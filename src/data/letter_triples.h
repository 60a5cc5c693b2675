// Which triples of letters occur in text. Triple abc has the number
// ((a * 26) + b) * 26 + c, with a to z as 0 to 25. letter_triples.cc is made by
// tools/gen/letter_triples.py of letter_triple_ranks.txt beside it, which is
// made of word lists in seven languages: 7,724 triples occur, 4,597 of them in
// step 0, 1,084 in step 1 and 2,043 in step 2. 7 KB.

#ifndef DATA_LETTER_TRIPLES_H_
#define DATA_LETTER_TRIPLES_H_

const unsigned kTripleCount = 26 * 26 * 26;

// One bit a triple, low bit first: set when it occurs.
extern const unsigned char BadSeq3[(kTripleCount + 7) / 8];
// Two bits a triple, low bits first: 0 frequent to 3 never.
extern const unsigned char DibitFreq[(kTripleCount + 3) / 4];
// Number of a letter from 1 on, accented ones as their base letter; 0 for any
// other byte.
extern const unsigned char ConvTable[256];

#endif  // DATA_LETTER_TRIPLES_H_
