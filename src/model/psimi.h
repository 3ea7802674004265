// Readers for the two exchange formats of molecular-interaction databases: PSI-MI XML 2.5
// (also its 2.5.4 revision) and the tab-separated PSI-MI TAB (MITAB 2.5 to 2.8).
//
// Both readers reduce a file to binary interactions in the same way, so that an XML file and
// its tab-separated twin give the same network:
// - A molecule is named by its interactor's "gene name" alias, else by its short label
//   (MITAB: an alias or alternative id typed "(gene name)", else one typed "(display_short)"
//   or "(shortlabel)", else the value of its identifier). A suffix "_human", "_mouse" or
//   "_rat" (any case) is cut off. A name holding a blank is unusable; an interactor without a
//   usable name is dropped with every interaction that uses it. The accession is the UniProt
//   id, else "NA"; extra id, molecule type and location are "NA".
// - Only interactions with exactly two molecules are kept; the first participant (MITAB:
//   interactor A) is the source, the second the target, the effect is "0". Negative
//   interactions are dropped, and so are MITAB rows that come from expanding an interaction
//   of more participants.
// - The interaction type is its full name (else short label) with blanks turned into "_",
//   "NA" when there is none.
// - Each distinct PubMed id (decimal, above 0) of the interaction and of its experiments
//   gives one row. An interaction without one adds its two molecules but no interaction.
// What was dropped is counted in `warnings`.
#pragma once

#include <string>
#include <string_view>

#include "model/network.h"
#include "model/readers.h"

namespace tessel {

// Reads PSI-MI XML 2.5 (compact or expanded layout, any number of entries). UTF-8 and
// ISO-8859-1 files are read; PSI-MI 1.0 files and malformed XML raise InputError with the
// line of the offending element.
Network ReadPsiMiXml(std::string_view text, const std::string& file, Warnings* warnings = nullptr);

// Reads PSI-MI TAB: tab-separated lines of 15 or more columns; lines starting with "#" and
// a leading column-title line are skipped. A shorter line raises InputError naming it.
Network ReadMitabText(std::string_view text, const std::string& file, Warnings* warnings = nullptr);

}  // namespace tessel
