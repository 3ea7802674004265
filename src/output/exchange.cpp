#include "output/exchange.h"

#include <array>
#include <string_view>

#include <nlohmann/json.hpp>

#include "model/effects.h"
#include "util/error.h"
#include "util/files.h"
#include "util/text.h"

namespace tessel {
namespace {

// XML and JSON files must be UTF-8, while network files are read as bytes: a byte that
// starts no well-formed sequence is taken as a Latin-1 character, as older files mean it.
std::string AsUtf8(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size();) {
    const std::size_t length = Utf8SequenceLength(text, i);
    if (length > 0) {
      out.append(text.substr(i, length));
      i += length;
      continue;
    }
    const auto c = static_cast<unsigned char>(text[i++]);
    out.push_back(static_cast<char>(0xC0 | (c >> 6)));
    out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
  }
  return out;
}

// Appends text escaped for XML character data and attribute values. Tabs and line breaks
// become character references so that attribute normalisation keeps them; the other
// control characters cannot appear in XML 1.0 at all and become "_".
void AppendXml(std::string& out, std::string_view raw) {
  for (const char c : AsUtf8(raw)) {
    switch (c) {
      case '&':
        out.append("&amp;");
        break;
      case '<':
        out.append("&lt;");
        break;
      case '>':
        out.append("&gt;");
        break;
      case '"':
        out.append("&quot;");
        break;
      case '\'':
        out.append("&apos;");
        break;
      case '\t':
        out.append("&#9;");
        break;
      case '\n':
        out.append("&#10;");
        break;
      case '\r':
        out.append("&#13;");
        break;
      default:
        out.push_back(static_cast<unsigned char>(c) < 0x20 ? '_' : c);
    }
  }
}

std::string JoinedPubmedIds(const Interaction& i, char separator) {
  std::string out;
  for (const PubmedId id : i.pubmedIds) {
    if (!out.empty()) out.push_back(separator);
    out.append(std::to_string(id));
  }
  return out;
}

// The relation word of a signed SIF line and of the CX2 "interaction" attribute.
std::string_view RelationOf(const Interaction& i) {
  if (i.effect == kActivation) return "activates";
  if (i.effect == kInhibition) return "inhibits";
  if (i.effect == kNeutral) return "binds";
  return i.effect;
}

struct KeyDeclaration {
  std::string_view id;  // also the attribute name
  std::string_view domain;
};

constexpr std::array<KeyDeclaration, 18> kGraphMlKeys = {{
    {"name", "node"},
    {"accession", "node"},
    {"extra_id", "node"},
    {"type", "node"},
    {"location", "node"},
    {"color", "node"},
    {"shape", "node"},
    {"effect", "edge"},
    {"interaction_type", "edge"},
    {"pubmed", "edge"},
    {"source_accession", "edge"},
    {"source_extra_id", "edge"},
    {"source_type", "edge"},
    {"source_location", "edge"},
    {"target_accession", "edge"},
    {"target_extra_id", "edge"},
    {"target_type", "edge"},
    {"target_location", "edge"},
}};

void AppendData(std::string& out, std::string_view key, std::string_view value) {
  out.append("      <data key=\"");
  out.append(key);
  out.append("\">");
  AppendXml(out, value);
  out.append("</data>\n");
}

// A CSV field, quoted when it holds a separator, a quote or a line break.
void AppendCsvField(std::string& out, std::string_view field) {
  if (field.find_first_of(",\"\r\n") == std::string_view::npos) {
    out.append(field);
    return;
  }
  out.push_back('"');
  for (const char c : field) {
    if (c == '"') out.push_back('"');
    out.push_back(c);
  }
  out.push_back('"');
}

// A signed SIF field: tabs and line breaks would split the line, so they become "_".
void AppendSifField(std::string& out, std::string_view field) {
  for (const char c : field) out.push_back(c == '\t' || c == '\n' || c == '\r' ? '_' : c);
}

}  // namespace

std::string GraphMlText(const Network& network, const ColorShapeTable& table) {
  std::string out =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<graphml xmlns=\"http://graphml.graphdrawing.org/xmlns\" "
      "xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
      "xsi:schemaLocation=\"http://graphml.graphdrawing.org/xmlns "
      "http://graphml.graphdrawing.org/xmlns/1.0/graphml.xsd\">\n";
  for (const KeyDeclaration& key : kGraphMlKeys) {
    out.append("  <key id=\"");
    out.append(key.id);
    out.append("\" for=\"");
    out.append(key.domain);
    out.append("\" attr.name=\"");
    out.append(key.id);
    out.append("\" attr.type=\"string\"/>\n");
  }
  out.append("  <graph id=\"G\" edgedefault=\"directed\">\n");
  for (const Molecule& m : network.molecules()) {
    out.append("    <node id=\"n" + std::to_string(m.id) + "\">\n");
    AppendData(out, "name", m.name);
    AppendData(out, "accession", m.accession);
    AppendData(out, "extra_id", m.extraId);
    AppendData(out, "type", m.moleculeType);
    AppendData(out, "location", m.location);
    AppendData(out, "color", table.colorOf(network, m.name));
    AppendData(out, "shape", table.shapeOf(network, m.name));
    out.append("    </node>\n");
  }
  for (const Interaction& i : network.interactions()) {
    out.append("    <edge id=\"e" + std::to_string(i.id) + "\" source=\"n" +
               std::to_string(i.source) + "\" target=\"n" + std::to_string(i.target) + "\">\n");
    AppendData(out, "effect", i.effect);
    AppendData(out, "interaction_type", i.interactionType);
    AppendData(out, "pubmed", JoinedPubmedIds(i, ';'));
    AppendData(out, "source_accession", i.sourceAccession);
    AppendData(out, "source_extra_id", i.sourceExtraId);
    AppendData(out, "source_type", i.sourceType);
    AppendData(out, "source_location", i.sourceLocation);
    AppendData(out, "target_accession", i.targetAccession);
    AppendData(out, "target_extra_id", i.targetExtraId);
    AppendData(out, "target_type", i.targetType);
    AppendData(out, "target_location", i.targetLocation);
    out.append("    </edge>\n");
  }
  out.append("  </graph>\n</graphml>\n");
  return out;
}

std::string EdgeTableCsv(const Network& network) {
  std::string out(kEdgeTableHeader);
  out.push_back('\n');
  for (const Interaction& i : network.interactions()) {
    const std::string pubmed = JoinedPubmedIds(i, ';');
    const std::array<std::string_view, 13> fields = {network.sourceName(i),
                                                     i.sourceAccession,
                                                     i.sourceExtraId,
                                                     i.sourceType,
                                                     i.sourceLocation,
                                                     network.targetName(i),
                                                     i.targetAccession,
                                                     i.targetExtraId,
                                                     i.targetType,
                                                     i.targetLocation,
                                                     i.effect,
                                                     i.interactionType,
                                                     pubmed};
    for (std::size_t k = 0; k < fields.size(); ++k) {
      if (k > 0) out.push_back(',');
      AppendCsvField(out, fields[k]);
    }
    out.push_back('\n');
  }
  return out;
}

std::string SignedSifText(const Network& network) {
  std::string out;
  for (const Interaction& i : network.interactions()) {
    AppendSifField(out, network.sourceName(i));
    out.push_back('\t');
    AppendSifField(out, RelationOf(i));
    out.push_back('\t');
    AppendSifField(out, network.targetName(i));
    out.push_back('\n');
  }
  for (const Molecule& m : network.molecules()) {
    if (!network.outgoing(m.id).empty() || !network.incoming(m.id).empty()) continue;
    AppendSifField(out, m.name);
    out.push_back('\n');
  }
  return out;
}

std::string Cx2Json(const Network& network, const ColorShapeTable& table,
                    std::string_view networkName) {
  using Json = nlohmann::ordered_json;
  const auto text = [](std::string_view s) { return Json(AsUtf8(s)); };
  const auto declare = [](std::initializer_list<std::pair<const char*, const char*>> types) {
    Json block = Json::object();
    for (const auto& [name, type] : types) block[name] = {{"d", type}};
    return block;
  };

  Json nodes = Json::array();
  for (const Molecule& m : network.molecules()) {
    nodes.push_back({{"id", m.id},
                     {"v",
                      {{"name", text(m.name)},
                       {"accession", text(m.accession)},
                       {"extra_id", text(m.extraId)},
                       {"type", text(m.moleculeType)},
                       {"location", text(m.location)},
                       {"color", text(table.colorOf(network, m.name))},
                       {"shape", text(table.shapeOf(network, m.name))}}}});
  }
  Json edges = Json::array();
  for (const Interaction& i : network.interactions()) {
    edges.push_back({{"id", i.id},
                     {"s", i.source},
                     {"t", i.target},
                     {"v",
                      {{"interaction", text(RelationOf(i))},
                       {"effect", text(i.effect)},
                       {"interaction_type", text(i.interactionType)},
                       {"pubmed", i.pubmedIds},
                       {"source_accession", text(i.sourceAccession)},
                       {"source_extra_id", text(i.sourceExtraId)},
                       {"source_type", text(i.sourceType)},
                       {"source_location", text(i.sourceLocation)},
                       {"target_accession", text(i.targetAccession)},
                       {"target_extra_id", text(i.targetExtraId)},
                       {"target_type", text(i.targetType)},
                       {"target_location", text(i.targetLocation)}}}});
  }

  Json declarations = {{"networkAttributes", declare({{"name", "string"}})},
                       {"nodes", declare({{"name", "string"},
                                          {"accession", "string"},
                                          {"extra_id", "string"},
                                          {"type", "string"},
                                          {"location", "string"},
                                          {"color", "string"},
                                          {"shape", "string"}})},
                       {"edges", declare({{"interaction", "string"},
                                          {"effect", "string"},
                                          {"interaction_type", "string"},
                                          {"pubmed", "list_of_long"},
                                          {"source_accession", "string"},
                                          {"source_extra_id", "string"},
                                          {"source_type", "string"},
                                          {"source_location", "string"},
                                          {"target_accession", "string"},
                                          {"target_extra_id", "string"},
                                          {"target_type", "string"},
                                          {"target_location", "string"}})}};
  const auto count = [](const char* name, std::size_t n) {
    return Json{{"name", name}, {"elementCount", n}};
  };

  Json cx = Json::array();
  cx.push_back({{"CXVersion", "2.0"}, {"hasFragments", false}});
  cx.push_back({{"metaData",
                 {count("attributeDeclarations", 1), count("networkAttributes", 1),
                  count("nodes", nodes.size()), count("edges", edges.size())}}});
  cx.push_back({{"attributeDeclarations", Json::array({std::move(declarations)})}});
  cx.push_back({{"networkAttributes", Json::array({{{"name", text(networkName)}}})}});
  cx.push_back({{"nodes", std::move(nodes)}});
  cx.push_back({{"edges", std::move(edges)}});
  cx.push_back({{"status", Json::array({{{"error", ""}, {"success", true}}})}});
  return cx.dump(1) + "\n";
}

void WriteExchange(const Network& network, const ColorShapeTable& table, ExchangeFormat format,
                   const std::filesystem::path& path) {
  switch (format) {
    case ExchangeFormat::GraphMl:
      WriteFileAtomically(path, GraphMlText(network, table));
      return;
    case ExchangeFormat::Table:
      WriteFileAtomically(path, EdgeTableCsv(network));
      return;
    case ExchangeFormat::SignedSif:
      WriteFileAtomically(path, SignedSifText(network));
      return;
    case ExchangeFormat::Cx2:
      WriteFileAtomically(path, Cx2Json(network, table, path.stem().string()));
      return;
  }
  throw OutputError(path.string() + ": unknown exchange format");
}

}  // namespace tessel
