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

#include "model/network.h"
#include "model/readers.h"
#include "model/warnings.h"

namespace tessel {

// CSV or TSV with a header row (separator found from the header: tab, else comma, else
// semicolon; CSV fields may be quoted). Columns are found by title, in any letter case, or
// taken from `columns`. Source and target are required; effect, interaction type, PubMed ids,
// types, locations and accessions are optional ("0", "NA", 0 when missing). Gene-symbol
// columns (source_genesymbol, target_genesymbol) name the molecules when present, and the
// plain source/target columns then give the accessions. Effects may also come from a pair of
// 0/1 flag columns (is_stimulation/is_inhibition, or consensus_stimulation/
// consensus_inhibition, which are preferred). A references field keeps every numeric PubMed
// id ("SIGNOR:12345;PMID:678|9" gives 12345, 678, 9), one row per id.
Network ReadTableText(std::string_view text, const std::string& file,
                      const TableColumns& columns = {}, Warnings* warnings = nullptr);

// SIF: "A relation B [C ...]" per line, tab separated when the line holds a tab, else blank
// separated; a line of one name is a molecule without interactions. Sign words and numbers
// give the effect (interaction type "NA"); any other relation is kept as the interaction
// type with effect "0". PubMed id 0.
Network ReadSifText(std::string_view text, const std::string& file, Warnings* warnings = nullptr);

// SIGNOR: the all-data TSV (28 columns, with or without its title line) and the pathway TSV
// (title line, 31 columns: regulator_location/target_location give type and location as
// SIGNOR draws them). EFFECT gives the sign, MECHANISM the interaction type, TYPEA/TYPEB the
// molecule types, PMID the PubMed id.
Network ReadSignorText(std::string_view text, const std::string& file,
                       Warnings* warnings = nullptr);

// OmniPath interactions TSV: a table whose gene symbols name the molecules, whose UniProt
// ids are the accessions and whose consensus (else is_) stimulation/inhibition flags give the
// sign.
Network ReadOmniPathText(std::string_view text, const std::string& file,
                         Warnings* warnings = nullptr);

// Recognises these formats from the first lines of a text: OmniPath and SIGNOR files by
// their column titles (or SIGNOR's 28-column rows), other tables by a header row naming a
// source and a target column, TRRUST-like four-column files (TF, target, Activation/
// Repression/Unknown, PubMed ids) as tables, and SIF by lines of three or more fields whose
// second field is a relation word. nullopt when the text is none of these (SIG, two-column,
// PSI-MI files are recognised elsewhere).
std::optional<NetworkFormat> DetectTabularFormat(std::string_view text);

}  // namespace tessel
