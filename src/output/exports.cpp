#include "output/exports.h"

#include <string_view>
#include <vector>

#include "analysis/metrics.h"
#include "util/error.h"
#include "util/files.h"

namespace tessel {
namespace {

namespace fs = std::filesystem;

// Shape and colour of a Pajek vertex; type rules come before location rules. The shape
// comes first: Pajek readers take the shape before the "ic" colour parameter.
std::string_view PajekVertexStyle(const Molecule& m) {
  if (m.moleculeType == "Ligand") return " ellipse ic Orange";
  if (m.moleculeType == "Cytoskeleton") return " ellipse ic Goldenrod";
  if (m.moleculeType == "TF") return " ellipse ic SkyBlue";
  if (m.location == "ER") return " ellipse ic Periwinkle";
  if (m.location == "Membrane") return " ellipse ic Orchid";
  if (m.location == "Vesicles") return " ellipse ic Periwinkle";
  if (m.location == "Cytosol") return " ellipse ic Blue";
  return " ellipse ic Gray20";
}

// Arc colour by effect; empty for effects that Pajek does not get.
std::string_view PajekArcColour(std::string_view effect) {
  if (effect == "+") return "PineGreen";
  if (effect == "_") return "Red";
  if (effect == "0") return "Blue";
  return {};
}

// A Pajek label is enclosed in double quotes, so a quote inside a name becomes an
// apostrophe.
void AppendPajekLabel(std::string& out, std::string_view name) {
  out.push_back('"');
  for (const char c : name) out.push_back(c == '"' ? '\'' : c);
  out.push_back('"');
}

// "   source    target    " - the arc prefix shared by Pajek and MFinder.
void AppendArc(std::string& out, MoleculeId source, MoleculeId target) {
  out.append("   ");
  out.append(std::to_string(source));
  out.append("    ");
  out.append(std::to_string(target));
  out.append("    ");
}

std::string_view SifWord(const Interaction& i) {
  if (i.targetType == "DNA") return " pd ";
  if (i.sourceType == "Messenger") return " mp ";
  if (i.targetType == "Messenger" || i.targetType == "Ion") return " pm ";
  return " pp ";
}

// One SIG field; an empty field would shift the columns, so it is written as "NA".
void AppendSigField(std::string& out, std::string_view field) {
  out.append(field.empty() ? std::string_view("NA") : field);
}

}  // namespace

std::string PajekText(const Network& network) {
  std::string out = "*Vertices    " + std::to_string(network.moleculeCount()) + "\n";
  for (const MoleculeId id : network.displayOrder()) {
    const Molecule& m = network.molecule(id);
    out.append(std::to_string(id));
    out.append("  ");
    AppendPajekLabel(out, m.name);
    out.append(PajekVertexStyle(m));
    out.push_back('\n');
  }
  out.append("*Arcs\n");
  for (const Interaction& i : network.interactions()) {
    const std::string_view colour = PajekArcColour(i.effect);
    if (colour.empty()) continue;
    AppendArc(out, i.source, i.target);
    out.append("1 c ");
    out.append(colour);
    out.push_back('\n');
  }
  return out;
}

std::string MfinderText(const Network& network) {
  std::string out;
  for (const Interaction& i : network.interactions()) {
    if (i.source == i.target) continue;
    if (i.isNeutral()) {
      AppendArc(out, i.target, i.source);
      out.append("1\n");
    }
    AppendArc(out, i.source, i.target);
    out.append("1\n");
  }
  return out;
}

std::string MfinderNamesText(const Network& network) {
  std::string out;
  for (const MoleculeId id : network.displayOrder()) {
    out.append(std::to_string(id));
    out.push_back(' ');
    out.append(network.nameOf(id));
    out.push_back('\n');
  }
  return out;
}

std::string CytoscapeSifText(const Network& network) {
  std::string out;
  for (const Interaction& i : network.interactions()) {
    out.append(network.sourceName(i));
    out.append(SifWord(i));
    out.append(network.targetName(i));
    out.push_back('\n');
  }
  return out;
}

std::string BigClusterSigText(const Network& network) {
  std::vector<bool> inIsland(network.moleculeCount() + 1, false);
  for (const MoleculeId id : FindIslands(network).largest) inIsland[id] = true;

  std::string out;
  for (const Interaction& i : network.interactions()) {
    if (!inIsland[i.source] && !inIsland[i.target]) continue;
    const std::string_view fields[] = {
        network.sourceName(i), i.sourceAccession,     i.sourceExtraId,   i.sourceType,
        i.sourceLocation,      network.targetName(i), i.targetAccession, i.targetExtraId,
        i.targetType,          i.targetLocation,      i.effect,          i.interactionType};
    for (const std::string_view field : fields) {
      AppendSigField(out, field);
      out.push_back(' ');
    }
    out.append(std::to_string(i.firstPubmedId()));
    out.push_back('\n');
  }
  return out;
}

std::vector<fs::path> WriteExport(const Network& network, ExportFormat format,
                                  const fs::path& path) {
  switch (format) {
    case ExportFormat::Pajek:
      WriteFileAtomically(path, PajekText(network));
      return {path};
    case ExportFormat::Mfinder: {
      const fs::path names = path.parent_path() / "names.txt";
      if (path.filename() == names.filename()) {
        throw OutputError(path.string() +
                          ": the MFinder file cannot be named names.txt, the name list goes there");
      }
      WriteFileAtomically(path, MfinderText(network));
      WriteFileAtomically(names, MfinderNamesText(network));
      return {path, names};
    }
    case ExportFormat::Sif:
      WriteFileAtomically(path, CytoscapeSifText(network));
      return {path};
    case ExportFormat::BigCluster:
      WriteFileAtomically(path, BigClusterSigText(network));
      return {path};
  }
  throw OutputError(path.string() + ": unknown export format");
}

}  // namespace tessel
