#include "output/dot.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <unordered_map>
#include <vector>

#include "util/safe_name.h"
#include "util/text.h"

namespace tessel {
namespace {

// Graphviz's scanner refuses a single quoted string of more than 16384 bytes; longer text is
// written as several quoted pieces joined by DOT's "+", split between escapes and between
// UTF-8 sequences.
constexpr std::size_t kPieceLength = 4096;

// Appends the text of a quoted DOT string without its opening and closing quotes.
void AppendEscaped(std::string& out, std::string_view text) {
  std::size_t pieceStart = out.size();
  for (std::size_t i = 0; i < text.size();) {
    if (out.size() - pieceStart >= kPieceLength) {
      out += "\"+\"";
      pieceStart = out.size();
    }
    const unsigned char c = static_cast<unsigned char>(text[i]);
    if (c < 0x80) {
      if (c == '"' || c == '\\') {
        out += '\\';
        out += static_cast<char>(c);
      } else if (c >= 0x20 || c == '\t') {
        out += static_cast<char>(c);
      }
      // Line ends and other control characters are dropped: they cannot appear in the
      // drawing's XML output.
      ++i;
      continue;
    }
    if (const std::size_t length = Utf8SequenceLength(text, i); length > 0) {
      out.append(text.substr(i, length));
      i += length;
      continue;
    }
    // A byte that is not part of valid UTF-8 is read as Latin-1, the way Graphviz reads it
    // for labels, so that the drawing's text stays valid UTF-8 throughout.
    out += static_cast<char>(0xC0 | (c >> 6));
    out += static_cast<char>(0x80 | (c & 0x3F));
    ++i;
  }
}

constexpr std::string_view kActivating = " [arrowhead=\"normal\", color=\"darkgreen\"] ";
constexpr std::string_view kInhibiting = " [arrowhead=\"tee\",arrowsize=\"3.0\", color=\"red1\"] ";
constexpr std::string_view kNeutral = " [arrowhead=\"box\",arrowtail=\"box\", color=\"blue1\"] ";

constexpr std::string_view kFastLayout =
    "/* a large network: laid out with sfdp and straight edges, which take seconds where dot "
    "takes many minutes */\n"
    "layout=sfdp;overlap=prism;splines=false;outputorder=edgesfirst;dpi=72;\n";

}  // namespace

std::string_view FastLayoutAttributes() {
  return kFastLayout;
}

std::string DotQuote(std::string_view text) {
  std::string out;
  out.reserve(text.size() + 2);
  out += '"';
  AppendEscaped(out, text);
  out += '"';
  return out;
}

std::string_view EffectAttributes(std::string_view effect) {
  if (effect == "+") return kActivating;
  if (effect == "_") return kInhibiting;
  if (effect == "0") return kNeutral;
  return {};
}

std::string NodeStatement(std::string_view name, std::string_view url, std::string_view shape,
                          std::string_view color) {
  std::string out = DotQuote(name);
  out += " [style=\"filled\", ";
  if (!url.empty()) {
    out += "URL=";
    out += DotQuote(url);
    out += ' ';
  }
  out += "shape=";
  out += DotQuote(shape);
  out += ", color=";
  out += DotQuote(color);
  out += "];\n";
  return out;
}

std::string EdgeStatement(std::string_view source, std::string_view target,
                          std::string_view effect) {
  std::string out = DotQuote(source);
  out += " -> ";
  out += DotQuote(target);
  out += EffectAttributes(effect);
  out += ';';
  return out;
}

std::string LegendDot(const ColorShapeTable& colors, const Network& network) {
  std::string dot = "digraph G {rankdir=LR;\nsize=\"7.5,20\";\n";
  // Every node gets a made-up name and shows its text as a label, so that no type can clash
  // with a heading or an arrow's end.
  std::vector<std::string> column;  // the nodes of the column, top-down
  const auto add = [&](std::string attributes) {
    std::string name = DotQuote("legend " + std::to_string(column.size() + 1));
    dot += name + " [" + attributes + "];\n";
    column.push_back(std::move(name));
    return column.back();
  };
  const auto heading = [&](std::string_view text) {
    add("shape=\"plaintext\", fontsize=\"16\", label=" + DotQuote(text));
  };

  heading("Interactions");
  constexpr std::string_view kArrows[][2] = {
      {"+", "activation \"+\""}, {"_", "inhibition \"_\""}, {"0", "binding \"0\""}};
  for (const auto& [effect, label] : kArrows) {
    const std::string tail = add("shape=\"plaintext\", label=" + DotQuote(label));
    const std::string head = DotQuote("arrow " + std::string(effect));
    dot += head + " [shape=\"point\", style=\"invis\", width=\"0.01\"];\n";
    dot += tail + " -> " + head;
    dot += EffectAttributes(effect);
    dot += ";\n";
  }

  const std::vector<LegendEntry> entries = colors.legend(network);
  const auto firstOther = std::find_if(entries.begin(), entries.end(),
                                       [](const LegendEntry& e) { return !e.inNetwork; });
  for (auto it = entries.begin(); it != entries.end(); ++it) {
    if (it == entries.begin() && it->inNetwork) heading("Molecule types in this network");
    if (it == firstOther) heading("Other entries of the colours table");
    add("style=\"filled\", label=" + DotQuote(it->type) + ", shape=" + DotQuote(it->shape) +
        ", color=" + DotQuote(it->color));
  }

  // Nodes of one rank joined by invisible edges stand in the edges' order: top-down.
  dot += "{rank=same; ";
  for (std::size_t k = 0; k < column.size(); ++k) {
    if (k > 0) dot += " -> ";
    dot += column[k];
  }
  dot += " [style=\"invis\"];}\n}";
  return dot;
}

std::string WithMinimumLength(std::string edgeStatement, std::size_t minlen) {
  if (minlen <= 1 || edgeStatement.empty() || edgeStatement.back() != ';') return edgeStatement;
  edgeStatement.pop_back();
  edgeStatement += " [minlen=" + std::to_string(minlen) + "];";
  return edgeStatement;
}

std::vector<std::size_t> NeighbourhoodEdgeLengths(const Network& network, MoleculeId hub,
                                                  const std::vector<std::uint32_t>& interactions) {
  // Distinct neighbours on each side: 0 those the hub acts on, 1 those acting on it.
  std::unordered_map<MoleculeId, std::size_t> index[2];
  std::vector<std::pair<int, std::size_t>> place(interactions.size(), {-1, 0});
  for (std::size_t k = 0; k < interactions.size(); ++k) {
    const Interaction& i = network.interactions()[interactions[k]];
    if (i.source == i.target) continue;
    const int side = i.source == hub ? 0 : 1;
    const MoleculeId other = side == 0 ? i.target : i.source;
    const auto [at, added] = index[side].try_emplace(other, index[side].size());
    place[k] = {side, at->second};
  }
  std::size_t levels[2];
  for (int side = 0; side < 2; ++side) {
    const std::size_t count = index[side].size();
    levels[side] = count <= kSpreadNeighbours
                       ? 1
                       : static_cast<std::size_t>(std::ceil(std::sqrt(static_cast<double>(count))));
  }
  std::vector<std::size_t> lengths(interactions.size(), 1);
  for (std::size_t k = 0; k < interactions.size(); ++k) {
    const auto [side, position] = place[k];
    if (side >= 0) lengths[k] = 1 + position % levels[side];
  }
  return lengths;
}

std::string_view NeighbourhoodSpreadAttributes(const std::vector<std::size_t>& lengths) {
  const bool spread =
      std::any_of(lengths.begin(), lengths.end(), [](std::size_t length) { return length > 1; });
  return spread ? "nodesep=0.05;\n" : "";
}

std::string NetworkDot(const Network& network, const ColorShapeTable& colors,
                       const NetworkDrawingOptions& options) {
  std::string out = "digraph G {size=";
  out += DotQuote(options.size);
  out += ';';
  out += options.concentrate ? "concentrate=true;\n" : "concentrate=false;\n";
  if (options.fastLayout) out += kFastLayout;
  out += " { ";
  for (const MoleculeId id : network.displayOrder()) {
    const std::string& name = network.nameOf(id);
    const std::string url = options.urls ? SafeFileName(name) + ".htm" : std::string();
    out += NodeStatement(name, url, colors.shapeOf(network, name), colors.colorOf(network, name));
  }
  out += " } \n";
  for (const Interaction& interaction : network.interactions()) {
    out += EdgeStatement(network.sourceName(interaction), network.targetName(interaction),
                         interaction.effect);
  }
  out += '}';
  return out;
}

}  // namespace tessel
