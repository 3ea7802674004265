// GraphML networks: read with pugixml (no DOCTYPE, so no entity expansion), written with
// every molecule and interaction field.
#pragma once

#include <string>
#include <string_view>

#include "model/network.h"
#include "model/warnings.h"

namespace tessel {

// Reads GraphML as common network tools write it. Keys are matched by their attr.name (else
// their id) in any letter case: node name (name, label, shared name, gene, symbol; else the
// node id), type (type, molecule_type, moleculeType), location (location, compartment),
// accession, extra id; edge effect (effect, sign, interaction, regulation: sign words and
// numbers as EffectFromWord maps them), interaction type (interaction_type, interactionType,
// mechanism, type), PubMed ids (pubmed, pmid, pmids, references: every number). Edges of an
// undirected graph are read source -> target. Nodes without edges become molecules. The
// per-interaction end-point keys that GraphMlText writes (source_accession, target_type, ...)
// are read back, so a network written as GraphML loads as the same network; an effect other
// than "+", "_" and "0" is read through EffectFromWord ("-" becomes "_").
Network ReadGraphMlText(std::string_view text, const std::string& file,
                        Warnings* warnings = nullptr);

}  // namespace tessel
