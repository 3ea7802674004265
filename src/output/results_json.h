// Results as JSON objects, in the form `tessel ... --json` prints them; the Python module
// hands the same objects to its callers, so both give the same keys and figures.
#pragma once

#include <nlohmann/json.hpp>
#include <vector>

#include "analysis/statistics.h"
#include "analysis/validation.h"
#include "model/network.h"

namespace tessel {

// The figures of the statistics page: counts, coefficients, path lengths, islands, the
// tallies of types, locations, effects and interaction types, and the connectivity.
nlohmann::ordered_json StatisticsJson(const Statistics& stats);

// One object per finding: kind, message, molecules, interactions (source and target
// names), lines and PubMed ids.
nlohmann::ordered_json FindingsJson(const Network& network, const std::vector<Finding>& findings);

// Text of `json`, with bytes that are not UTF-8 (names from a Latin-1 file) replaced by
// U+FFFD instead of failing.
std::string JsonText(const nlohmann::ordered_json& json, int indent = -1);

}  // namespace tessel
