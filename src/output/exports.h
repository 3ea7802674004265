// Files for other network tools: Pajek, MFinder, Cytoscape, and the SIG rows of the
// largest island.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "model/network.h"

namespace tessel {

// Pajek: "*Vertices    N", one line per molecule (id, quoted name, colour and shape by
// type and location), "*Arcs", one line per signed or neutral interaction.
std::string PajekText(const Network& network);

// MFinder: one "   source    target    1" line per interaction between two different
// molecules, neutral ones also reversed (the reverse first); names.txt lists "id name".
std::string MfinderText(const Network& network);
std::string MfinderNamesText(const Network& network);

// Cytoscape simple interaction format: "source pp target" (pd / mp / pm by molecule type).
std::string CytoscapeSifText(const Network& network);

// SIG rows (first PubMed id only) of every interaction touching the largest island.
std::string BigClusterSigText(const Network& network);

enum class ExportFormat { Pajek, Mfinder, Sif, BigCluster };

// Writes the export to `path` atomically; MFinder also writes "names.txt" beside it.
// Returns the files written.
std::vector<std::filesystem::path> WriteExport(const Network& network, ExportFormat format,
                                               const std::filesystem::path& path);

}  // namespace tessel
