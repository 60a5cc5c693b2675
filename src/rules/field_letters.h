// The letters that a dictionary gives to the names of header fields, for the
// names that most mail has: each message asks for all of its own, and each
// answer is a walk over the patterns of a section. They are looked up once for
// a dictionary. A name that is not among them, or that is spelled otherwise, is
// asked for as before.

#ifndef RULES_FIELD_LETTERS_H_
#define RULES_FIELD_LETTERS_H_

#include "base/hashtab.h"
#include "base/tblock.h"

class TQMDICO;

// The section: lines "letter:pattern", of which the first that fits decides.
extern const char kFieldLetterSection[];

class FIELDLETTERS {
 public:
  // Asks the dictionary for all of them.
  void prepare(TQMDICO& dico);
  // False when the name is not known; else its letter, or 0 when no line fits.
  bool find(TBLOCK name, char& letter) const;

 private:
  HASHTAB letters;  // name -> letter, as a word
};

// The letter of a value by such a section; 0 when no line fits.
char SectionLetter(TQMDICO& dico, const char* section, TBLOCK value);

#endif  // RULES_FIELD_LETTERS_H_
