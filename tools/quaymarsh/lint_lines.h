// Lines that stand in a section and can never be found there.
#ifndef QUAYMARSH_TOOLS_LINT_LINES_H_
#define QUAYMARSH_TOOLS_LINT_LINES_H_

#include "compiler.h"
#include "known_sections.h"
#include "rules/qm_dico.h"

// The line without the action of a patch, options and score.
TBLOCK LintedText(const SourceSection& section, const SourceLine& line,
                  int32_t* score);
// The section's name without its prefix.
std::string SectionName(const SourceSection& section);

// Lines that don't have the form which the section's reader asks for, stars
// that are none, and lines of which earlier ones take all that would fit.
void LintForms(const SourceSection& section, const KnownSection& known,
               Messages& messages);
// Words that no text is split into. `dico` has the compiled section.
void LintWords(const SourceSection& section, const KnownSection* known,
               TQMDICO& dico, Messages& messages);

#endif  // QUAYMARSH_TOOLS_LINT_LINES_H_
