// Options that several sub-commands share, and the help texts built from the core's tables.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "app/cli/commands.h"

namespace tessel::cli {

// NETWORK, --output, --format, the table-column options, --json, --allow-empty, --quiet.
void AddCommonOptions(CLI::App& command, CommonOptions& options);

// The web service options: with `pubmed`, the PubMed and link addresses, key and cache;
// always --timeout.
void AddServiceOptions(CLI::App& command, ServiceOptions& options, bool pubmed);

// Checks a KIND=VALUE molecule condition at parse time, so that a bad one is a usage error.
extern const CLI::Validator kConditionCheck;

// "a, b or c": the words joined by `separator`, the last two by `last`.
std::string ListText(const std::vector<std::string>& words, std::string_view separator = ", ",
                     std::string_view last = " or ");

}  // namespace tessel::cli
