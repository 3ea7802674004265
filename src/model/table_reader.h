// Readers for the tabular network files that signalling databases and network tools write:
// CSV/TSV tables with a header row, the simple interaction format (SIF), SIGNOR's TSV
// downloads and the OmniPath interactions table.
//
// All of them map sign words with EffectFromWord (model/effects.h) and report what they
// could not use as counted warnings with the first file:line (model/warnings.h). A file that
// cannot be read at all raises InputError naming the file and line.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "model/network.h"
#include "model/readers.h"
#include "model/warnings.h"
#include "util/error.h"

namespace tessel {

// A table whose title line names no source or no target column the reader knows. It carries
// the titles, so that a front end can let the person choose the columns.
class TableColumnsError : public InputError {
 public:
  TableColumnsError(std::string file, std::size_t line, std::string message,
                    std::vector<std::string> titles)
      : InputError(std::move(file), line, std::move(message)), titles_(std::move(titles)) {}
  const std::vector<std::string>& titles() const { return titles_; }

 private:
  std::vector<std::string> titles_;
};

// CSV or TSV with a header row (separator found from the header: tab, else comma, else
// semicolon, else runs of blanks; fields may be quoted, and a quoted field may hold
// separators, quotes written "" and line breaks). Empty lines and lines starting with "#"
// are skipped. Columns are found by title, in any letter case, or taken from `columns`.
// Source and target are required; effect, interaction type, PubMed ids, types, locations
// and accessions are optional ("0", "NA", 0 when missing). Gene-symbol columns
// (source_genesymbol, target_genesymbol) name the molecules when present, and the plain
// source/target columns then give the accessions. Effects may also come from a pair of 0/1
// flag columns (is_stimulation/is_inhibition, or consensus_stimulation/consensus_inhibition,
// which are preferred); flags win over an effect column found by title, not over one given
// in `columns`. A references field keeps every numeric PubMed id ("SIGNOR:12345;PMID:678|9"
// gives 12345, 678, 9), one row per id. Blanks inside names, types, locations and
// interaction types become "_"; names keep a leading digit. Effect words EffectFromWord does
// not know, flag pairs that are both 0 or both 1, rows without a source or target and
// repeated title lines are counted as warnings. A file whose first line has no source and
// target titles but four tab-separated fields (regulator, target, a sign word,
// ";"-separated PubMed ids) is read with those columns and no title line. Large files are
// read in pieces on `threads` threads (on the calling thread, a piece after another, when a
// quoted field might hold a line break); the network, its warnings and error lines do not
// depend on the number.
// `consumed`, when set, is told of each part of the text whose rows have been added, and
// of the whole text once every row has been (see ReadSigRows).
Network ReadTableText(std::string_view text, const std::string& file,
                      const TableColumns& columns = {}, Warnings* warnings = nullptr,
                      unsigned threads = 1, const TextConsumed& consumed = {});

// SIF: "A relation B [C ...]" per line, tab separated when the line holds a tab, else blank
// separated; a line of one name is a molecule without interactions. Sign words and numbers
// give the effect (interaction type "NA"); any other relation is kept as the interaction
// type with effect "0". PubMed id 0. Blanks inside tab-separated names become "_"; a line
// of a name and a relation without a target is skipped with a warning.
Network ReadSifText(std::string_view text, const std::string& file, Warnings* warnings = nullptr);

// SIGNOR: the all-data TSV (28 columns, with or without its title line) and the pathway TSV
// (title line, 31 columns: regulator_location/target_location give type and location as
// SIGNOR draws them: extracellular -> Ligand/Extracellular, receptor -> Receptor/Membrane,
// factor -> TF/Nucleus, phenotypesList -> Phenotype/Cytosol, else the entity type in the
// Cytosol). EFFECT gives the sign (up-regulates... "+", down-regulates... "_", unknown and
// form complex "0"), MECHANISM the interaction type, TYPEA/TYPEB the molecule types written
// as words ("proteinfamily" -> "ProteinFamily"; location "NA" in the all-data file), IDA/IDB
// the accessions, PMID the PubMed id.
Network ReadSignorText(std::string_view text, const std::string& file, Warnings* warnings = nullptr,
                       unsigned threads = 1, const TextConsumed& consumed = {});

// OmniPath interactions TSV: a table whose gene symbols name the molecules, whose UniProt
// ids are the accessions and whose consensus (else is_) stimulation/inhibition flags give the
// sign. SIGNOR and OmniPath files are read on `threads` threads as tables are.
Network ReadOmniPathText(std::string_view text, const std::string& file,
                         Warnings* warnings = nullptr, unsigned threads = 1,
                         const TextConsumed& consumed = {});

// True for a column title that names source or target molecules in any spelling the table
// reader knows ("source", "Target", "regulator", "node1", "source_genesymbol", ...). The
// two-column reader uses it to refuse a title line that would load as an interaction.
bool IsEndPointTitle(std::string_view title);

// Recognises these formats from the first lines of a text: OmniPath and SIGNOR files by
// their column titles (or SIGNOR's 28-column rows), other tables by a header row naming a
// source and a target column, TRRUST-like four-column files (TF, target, Activation/
// Repression/Unknown, PubMed ids) as tables, and SIF by lines of three or more fields whose
// second field is a relation word. nullopt when the text is none of these (SIG, two-column,
// PSI-MI files are recognised elsewhere).
std::optional<NetworkFormat> DetectTabularFormat(std::string_view text);

}  // namespace tessel
