#include "model/graphml.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <optional>
#include <string>
#include <vector>

#include <absl/container/flat_hash_map.h>
#include <pugixml.hpp>

#include "model/effects.h"
#include "model/text_input.h"
#include "util/error.h"
#include "util/text.h"

namespace tessel {
namespace {

// A field value as the network keeps it: trimmed, each blank inside turned into "_" (no
// network field holds a blank), "NA" when nothing is left.
std::string FieldValue(std::string_view raw) {
  const std::string_view trimmed = Trim(raw);
  if (trimmed.empty()) return "NA";
  std::string value(trimmed);
  std::replace_if(value.begin(), value.end(), IsSpace, '_');
  return value;
}

// Key names are compared in lower case without blanks, "_", "-" and ".", so that
// "shared name", "molecule_type" and "moleculeType" each match one spelling.
std::string KeyWord(std::string_view name) {
  std::string word;
  for (const char c : name) {
    if (IsSpace(c) || c == '_' || c == '-' || c == '.') continue;
    word.push_back(LowerAscii(c));
  }
  return word;
}

// What a key holds for a molecule or an interaction. Lower ranks win when an element
// carries several keys for the same field.
enum Field : std::uint8_t {
  kName,
  kAccession,
  kExtraId,
  kType,
  kLocation,
  kEffect,
  kInteractionType,
  kPubmed,
  kSourceAccession,
  kSourceExtraId,
  kSourceType,
  kSourceLocation,
  kTargetAccession,
  kTargetExtraId,
  kTargetType,
  kTargetLocation,
  kFieldCount,
  kNoField = kFieldCount
};

struct FieldName {
  std::string_view word;  // as KeyWord spells it
  Field field;
};

// In order of preference within each field.
constexpr std::array<FieldName, 11> kNodeFields = {{
    {"name", kName},
    {"label", kName},
    {"sharedname", kName},
    {"gene", kName},
    {"symbol", kName},
    {"accession", kAccession},
    {"extraid", kExtraId},
    {"type", kType},
    {"moleculetype", kType},
    {"location", kLocation},
    {"compartment", kLocation},
}};

constexpr std::array<FieldName, 19> kEdgeFields = {{
    {"effect", kEffect},
    {"sign", kEffect},
    {"interaction", kEffect},
    {"regulation", kEffect},
    {"interactiontype", kInteractionType},
    {"mechanism", kInteractionType},
    {"type", kInteractionType},
    {"pubmed", kPubmed},
    {"pmid", kPubmed},
    {"pmids", kPubmed},
    {"references", kPubmed},
    {"sourceaccession", kSourceAccession},
    {"sourceextraid", kSourceExtraId},
    {"sourcetype", kSourceType},
    {"sourcelocation", kSourceLocation},
    {"targetaccession", kTargetAccession},
    {"targetextraid", kTargetExtraId},
    {"targettype", kTargetType},
    {"targetlocation", kTargetLocation},
}};

// A node label drawn by yEd, used when no name key gives a value.
constexpr int kGraphicsLabelRank = 1000;

struct FieldRank {
  Field field = kNoField;
  int rank = 0;
};

template <std::size_t N>
FieldRank FindField(const std::array<FieldName, N>& table, std::string_view word) {
  for (std::size_t i = 0; i < N; ++i) {
    if (table[i].field != kNoField && table[i].word == word) {
      return {table[i].field, static_cast<int>(i)};
    }
  }
  return {};
}

// One <key> declaration.
struct Key {
  std::string_view id;
  bool forNodes = false;
  bool forEdges = false;
  bool graphics = false;  // yEd drawing data: the label is the text of a <y:NodeLabel>
  std::string_view defaultValue;
  bool hasDefault = false;
  FieldRank nodeField;
  FieldRank edgeField;
};

// The text of the first element named `name` below `node` (depth first), or "".
std::string_view DescendantText(const pugi::xml_node& node, std::string_view name) {
  for (const pugi::xml_node child : node.children()) {
    if (child.type() != pugi::node_element) continue;
    if (LocalName(child) == name) return child.text().get();
    const std::string_view inner = DescendantText(child, name);
    if (!inner.empty()) return inner;
  }
  return {};
}

// A number written as a decimal (or the whole-number part of a decimal fraction).
std::optional<double> NumberOf(std::string_view text) {
  text = Trim(text);
  double value = 0;
  const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (ec != std::errc() || end != text.data() + text.size() || !std::isfinite(value)) {
    return std::nullopt;
  }
  return value;
}

// Every number in a text, in order, without repeats and without 0. A fraction part
// ("123.0", as tools that keep numbers as decimals write ids) is not a number of its own.
std::vector<PubmedId> NumbersIn(std::string_view text) {
  std::vector<PubmedId> ids;
  std::size_t i = 0;
  while (i < text.size()) {
    if (text[i] < '0' || text[i] > '9') {
      ++i;
      continue;
    }
    const std::size_t start = i;
    while (i < text.size() && text[i] >= '0' && text[i] <= '9') ++i;
    PubmedId value = 0;
    const auto [end, ec] = std::from_chars(text.data() + start, text.data() + i, value);
    if (ec == std::errc() && value > 0 && std::find(ids.begin(), ids.end(), value) == ids.end()) {
      ids.push_back(value);
    }
    if (i + 1 < text.size() && text[i] == '.' && text[i + 1] >= '0' && text[i + 1] <= '9') {
      ++i;
      while (i < text.size() && text[i] >= '0' && text[i] <= '9') ++i;
    }
  }
  return ids;
}

// One declared node and the molecule fields it carries.
struct NodeRecord {
  std::string name;
  std::array<std::string, kFieldCount> fields;  // kAccession .. kLocation are used
  std::size_t line = 0;
};

class GraphMlReader {
 public:
  GraphMlReader(std::string_view text, const std::string& file, Warnings* warnings)
      : lines_(text), file_(file), warnings_(warnings) {}

  std::size_t lineOf(const pugi::xml_node& node) const {
    return lines_.lineOf(node.offset_debug());
  }

  Network read(const pugi::xml_node& root) {
    for (const pugi::xml_node child : root.children()) {
      if (child.type() == pugi::node_element && LocalName(child) == "key") readKey(child);
    }
    bool anyGraph = false;
    for (const pugi::xml_node child : root.children()) {
      if (child.type() == pugi::node_element && LocalName(child) == "graph") {
        anyGraph = true;
        collect(child);
      }
    }
    if (!anyGraph) throw InputError(file_, lineOf(root), "the file holds no <graph> element");
    if (nodes_.empty()) throw InputError(file_, lineOf(root), "the graph holds no nodes");

    NetworkBuilder builder;
    builder.makeNamesSigSafe(warnings_, file_);
    builder.reserve(edges_.size());
    for (const NodeRecord& n : nodes_) builder.addMolecule(EndPointOf(n), n.line);
    for (const pugi::xml_node& edge : edges_) addEdge(builder, edge);
    if (warnings_ && hyperedges_ > 0) {
      warnings_->addCount("graphml hyperedge", file_, hyperedgeLine_,
                          "hyperedges are not read (" + std::to_string(hyperedges_) + " left out)",
                          1);
    }
    return builder.build();
  }

 private:
  static EndPoint EndPointOf(const NodeRecord& n) {
    return {n.name, n.fields[kAccession], n.fields[kExtraId], n.fields[kType], n.fields[kLocation]};
  }

  void readKey(const pugi::xml_node& node) {
    Key key;
    key.id = node.attribute("id").value();
    if (key.id.empty()) return;
    const std::string_view domain = Trim(node.attribute("for").value());
    key.forNodes = domain.empty() || domain == "node" || domain == "all";
    key.forEdges = domain.empty() || domain == "edge" || domain == "all";
    const std::string_view yfilesType = node.attribute("yfiles.type").value();
    key.graphics = yfilesType == "nodegraphics";
    std::string_view name = node.attribute("attr.name").value();
    if (Trim(name).empty()) name = key.id;
    const std::string word = KeyWord(name);
    key.nodeField =
        key.graphics ? FieldRank{kName, kGraphicsLabelRank} : FindField(kNodeFields, word);
    key.edgeField = FindField(kEdgeFields, word);
    for (const pugi::xml_node child : node.children()) {
      if (child.type() == pugi::node_element && LocalName(child) == "default") {
        key.defaultValue = child.text().get();
        key.hasDefault = true;
      }
    }
    // Some tools give a node key and an edge key the same id; each domain keeps its own.
    if (key.forNodes) nodeKeyIndex_.emplace(key.id, keys_.size());
    if (key.forEdges) edgeKeyIndex_.emplace(key.id, keys_.size());
    keys_.push_back(key);
  }

  // Walks a graph and the graphs nested in its nodes (yEd groups), in document order.
  void collect(const pugi::xml_node& graph) {
    for (const pugi::xml_node child : graph.children()) {
      if (child.type() != pugi::node_element) continue;
      const std::string_view name = LocalName(child);
      if (name == "node") {
        addNode(child);
        for (const pugi::xml_node inner : child.children()) {
          if (inner.type() == pugi::node_element && LocalName(inner) == "graph") collect(inner);
        }
      } else if (name == "edge") {
        edges_.push_back(child);
      } else if (name == "hyperedge") {
        if (hyperedges_++ == 0) hyperedgeLine_ = lineOf(child);
      }
    }
  }

  // The value of every field for one element: its own <data>, else the key's default; among
  // several keys for one field, the best ranked one that gives a non-blank value.
  std::array<std::string_view, kFieldCount> fieldsOf(const pugi::xml_node& element, bool isNode) {
    values_.assign(keys_.size(), std::string_view());
    for (std::size_t k = 0; k < keys_.size(); ++k) {
      const bool applies = isNode ? keys_[k].forNodes : keys_[k].forEdges;
      if (applies && keys_[k].hasDefault) values_[k] = keys_[k].defaultValue;
    }
    for (const pugi::xml_node data : element.children()) {
      if (data.type() != pugi::node_element || LocalName(data) != "data") continue;
      const auto& index = isNode ? nodeKeyIndex_ : edgeKeyIndex_;
      const auto it = index.find(std::string_view(data.attribute("key").value()));
      if (it == index.end()) continue;
      const Key& key = keys_[it->second];
      values_[it->second] = key.graphics ? DescendantText(data, "NodeLabel") : data.text().get();
    }
    std::array<std::string_view, kFieldCount> fields{};
    std::array<int, kFieldCount> ranks;
    ranks.fill(kGraphicsLabelRank + 1);
    for (std::size_t k = 0; k < keys_.size(); ++k) {
      const FieldRank f = isNode ? keys_[k].nodeField : keys_[k].edgeField;
      if (f.field == kNoField || Trim(values_[k]).empty() || f.rank >= ranks[f.field]) continue;
      ranks[f.field] = f.rank;
      fields[f.field] = values_[k];
    }
    return fields;
  }

  void addNode(const pugi::xml_node& node) {
    const std::string_view id = node.attribute("id").value();
    const std::size_t line = lineOf(node);
    if (id.empty()) throw InputError(file_, line, "a <node> without an id");
    const auto [it, added] = nodeIndex_.try_emplace(id, nodes_.size());
    if (!added) {
      throw InputError(file_, line,
                       "node id \"" + Abbreviate(id, 40) + "\" is declared twice (first on line " +
                           std::to_string(nodes_[it->second].line) + ")");
    }
    const std::array<std::string_view, kFieldCount> f = fieldsOf(node, true);
    NodeRecord record;
    record.name = FieldValue(Trim(f[kName]).empty() ? id : f[kName]);
    for (const Field field : {kAccession, kExtraId, kType, kLocation}) {
      record.fields[field] = FieldValue(f[field]);
    }
    record.line = line;
    nodes_.push_back(std::move(record));
  }

  const NodeRecord& endOf(const pugi::xml_node& edge, const char* attribute) const {
    const std::string_view id = edge.attribute(attribute).value();
    if (id.empty()) {
      throw InputError(file_, lineOf(edge), std::string("an <edge> without a ") + attribute);
    }
    const auto it = nodeIndex_.find(id);
    if (it == nodeIndex_.end()) {
      throw InputError(file_, lineOf(edge),
                       std::string("the edge's ") + attribute + " \"" + Abbreviate(id, 40) +
                           "\" is not the id of any node");
    }
    return nodes_[it->second];
  }

  std::string effectOf(std::string_view raw, std::size_t line) {
    const std::string_view value = Trim(raw);
    if (value.empty()) return std::string(kNeutral);
    if (const auto effect = EffectFromWord(value)) return std::string(*effect);
    if (const auto number = NumberOf(value)) {
      return std::string(*number > 0 ? kActivation : *number < 0 ? kInhibition : kNeutral);
    }
    if (warnings_) {
      warnings_->add("graphml effect", file_, line,
                     "effect \"" + Abbreviate(value, 40) +
                         "\" is not a known sign; the interaction is read as \"0\"");
    }
    return std::string(kNeutral);
  }

  void addEdge(NetworkBuilder& builder, const pugi::xml_node& edge) {
    const std::size_t line = lineOf(edge);
    const NodeRecord& source = endOf(edge, "source");
    const NodeRecord& target = endOf(edge, "target");
    const std::array<std::string_view, kFieldCount> f = fieldsOf(edge, false);
    // The interaction keeps its own end-point fields where the edge gives them.
    const auto endField = [&](const NodeRecord& n, Field own, Field molecule) {
      return Trim(f[own]).empty() ? n.fields[molecule] : FieldValue(f[own]);
    };
    const std::string sa = endField(source, kSourceAccession, kAccession);
    const std::string se = endField(source, kSourceExtraId, kExtraId);
    const std::string st = endField(source, kSourceType, kType);
    const std::string sl = endField(source, kSourceLocation, kLocation);
    const std::string ta = endField(target, kTargetAccession, kAccession);
    const std::string te = endField(target, kTargetExtraId, kExtraId);
    const std::string tt = endField(target, kTargetType, kType);
    const std::string tl = endField(target, kTargetLocation, kLocation);
    const std::string effect = effectOf(f[kEffect], line);
    const std::string type = FieldValue(f[kInteractionType]);
    std::vector<PubmedId> ids = NumbersIn(f[kPubmed]);
    if (ids.empty()) ids.push_back(0);
    for (const PubmedId id : ids) {
      builder.addRow({source.name, sa, se, st, sl}, {target.name, ta, te, tt, tl}, effect, type, id,
                     line);
    }
  }

  LineIndex lines_;
  const std::string& file_;
  Warnings* warnings_;
  std::vector<Key> keys_;
  absl::flat_hash_map<std::string_view, std::size_t> nodeKeyIndex_;
  absl::flat_hash_map<std::string_view, std::size_t> edgeKeyIndex_;
  std::vector<NodeRecord> nodes_;
  absl::flat_hash_map<std::string_view, std::size_t> nodeIndex_;
  std::vector<pugi::xml_node> edges_;
  std::size_t hyperedges_ = 0;
  std::size_t hyperedgeLine_ = 0;
  std::vector<std::string_view> values_;  // per key, reused for every element
};

}  // namespace

Network ReadGraphMlText(std::string_view text, const std::string& file, Warnings* warnings) {
  if (text.substr(0, 3) == "\xEF\xBB\xBF") text.remove_prefix(3);
  if (Trim(text).empty()) throw InputError(file, 0, "the file is empty");
  const LineIndex lines(text);
  pugi::xml_document doc;
  ParseXml(doc, text, file, lines);
  GraphMlReader reader(text, file, warnings);
  const pugi::xml_node root = doc.document_element();
  if (LocalName(root) != "graphml") {
    throw InputError(file, reader.lineOf(root),
                     "not a GraphML file: the root element is <" + std::string(root.name()) +
                         ">, not <graphml>");
  }
  return reader.read(root);
}

}  // namespace tessel
