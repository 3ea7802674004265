// Network files for other graph tools: GraphML, a CSV edge table, a signed SIF and CX2, each
// holding every molecule and interaction field so that nothing the network knows is lost.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "model/color_table.h"
#include "model/network.h"

namespace tessel {

// GraphML of a directed graph. Nodes "n<molecule id>" carry name, accession, extra_id, type,
// location and the colour and shape the table gives the molecule; edges "e<interaction id>"
// carry effect, interaction_type, pubmed (every id, "id;id;..."), and the interaction's own
// end-point fields (source_accession, source_extra_id, source_type, source_location and the
// same for target), so that reading the file back gives the same SIG rows.
std::string GraphMlText(const Network& network, const ColorShapeTable& table);

// The column titles of the edge table, in order.
inline constexpr std::string_view kEdgeTableHeader =
    "source,source_accession,source_extra_id,source_type,source_location,target,"
    "target_accession,target_extra_id,target_type,target_location,effect,interaction_type,"
    "pubmed";

// CSV: the header above, then one row per interaction in creation order with its SIG fields;
// pubmed holds every id joined by ";". A field holding a comma, a double quote or a line
// break is quoted as RFC 4180 says. Lines end with "\n".
std::string EdgeTableCsv(const Network& network);

// Signed SIF: "source<TAB>relation<TAB>target" per interaction, the relation "activates" for
// "+", "inhibits" for "_", "binds" for "0" and the effect itself for any other effect; then
// each molecule without interactions alone on a line.
std::string SignedSifText(const Network& network);

// CX2 (CX version 2) JSON: descriptor, metaData, attributeDeclarations, networkAttributes
// (the name given), nodes (id = molecule id) and edges (id = interaction id) with the same
// fields as the GraphML file, pubmed as a list of numbers, and the status aspect.
std::string Cx2Json(const Network& network, const ColorShapeTable& table,
                    std::string_view networkName = "network");

enum class ExchangeFormat { GraphMl, Table, SignedSif, Cx2 };

// Writes one of the files above to `path` atomically (see WriteFileAtomically); the CX2
// network is named after the file's stem. Throws OutputError on failure.
void WriteExchange(const Network& network, const ColorShapeTable& table, ExchangeFormat format,
                   const std::filesystem::path& path);

}  // namespace tessel
