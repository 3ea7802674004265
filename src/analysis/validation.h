// The validation report: self-interactions, molecules named alike with different codes,
// repeated interactions with different effects or types, reversed pairs, effects other than
// "+", "_" and "0", and molecules whose rows disagree on type or location.
#pragma once

#include <filesystem>
#include <string>

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

// The HTML text of "validation.htm".
std::string ValidationPage(const Network& network, ValidationSummary* summary = nullptr);

// Writes "validation.htm" into `folder`, with the run's context when one is given; returns
// the page's path.
std::filesystem::path WriteValidationReport(const Network& network,
                                            const std::filesystem::path& folder,
                                            ValidationSummary* summary = nullptr,
                                            const PageContext& context = {});

}  // namespace tessel
