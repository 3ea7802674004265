// The validation report: self-interactions, molecules named alike with different codes,
// repeated interactions with different effects or types, reversed pairs, effects other than
// "+", "_" and "0", and molecules whose rows disagree on type or location.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "model/network.h"
#include "output/page_context.h"
#include "util/progress.h"

namespace tessel {

inline constexpr const char* kValidationPageName = "validation.htm";

// Counts of what the report lists, for summaries and JSON.
struct ValidationSummary {
  std::size_t selfLoops = 0;
  std::size_t codeConflicts = 0;
  std::size_t effectConflicts = 0;
  std::size_t reversedPairs = 0;
  std::size_t unknownEffects = 0;     // interactions whose effect is not +, _ or 0
  std::size_t moleculeConflicts = 0;  // other types or locations given for a molecule
};

// What the checks find, one kind per section of the page.
enum class FindingKind : std::uint8_t {
  SelfLoop,          // an interaction from a molecule to itself
  CodeConflict,      // one molecule with different codes at two interaction ends
  EffectConflict,    // a repeated row with another effect or interaction type
  ReversedPair,      // A to B and B to A (a self-interaction is its own reverse)
  UnknownEffect,     // the interactions using one effect other than +, _ and 0
  MoleculeConflict,  // rows giving a molecule another type or location
};

// "self_loop", "code_conflict", "effect_conflict", "reversed_pair", "unknown_effect",
// "molecule_conflict".
std::string_view FindingKindName(FindingKind kind);

struct Finding {
  FindingKind kind = FindingKind::SelfLoop;
  std::vector<std::string> molecules;       // names of the molecules concerned, each once
  std::vector<std::uint32_t> interactions;  // indexes into Network::interactions()
  std::vector<std::size_t> lines;           // file lines of the rows at fault, where known
  std::vector<PubmedId> pubmedIds;          // the PubMed ids of those interactions, each once
  std::string message;                      // the sentence the page shows, as plain text
};

// Every finding, in page order: by kind as above, and within a kind in the network's order.
std::vector<Finding> ValidationFindings(const Network& network);

ValidationSummary SummaryOf(const std::vector<Finding>& findings);

// The HTML text of "validation.htm" listing the findings.
std::string ValidationPage(const std::vector<Finding>& findings);
// The same for the findings of the network.
std::string ValidationPage(const Network& network, ValidationSummary* summary = nullptr);

// Writes "validation.htm" listing the findings into `folder`, with the run's context when
// one is given; returns the page's path.
std::filesystem::path WriteValidationReport(const std::vector<Finding>& findings,
                                            const std::filesystem::path& folder,
                                            const PageContext& context = {});

// Writes "validation.htm" for the network into `folder`, with the run's context when one is given;
// returns the page's path.
std::filesystem::path WriteValidationReport(const Network& network,
                                            const std::filesystem::path& folder,
                                            ValidationSummary* summary = nullptr,
                                            const PageContext& context = {});

}  // namespace tessel
