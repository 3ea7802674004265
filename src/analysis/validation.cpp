#include "analysis/validation.h"

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <tuple>
#include <unordered_set>
#include <utility>
#include <vector>

#include "model/effects.h"
#include "util/error.h"
#include "util/files.h"
#include "util/text.h"

namespace tessel {
namespace {

constexpr std::string_view kNoSelfLoops =
    "There are no interactions with the same source and target.<br>\n";
constexpr std::string_view kNoCodeConflicts =
    "No conflicts regarding different accession codes and the same name.<br><br>\n";
constexpr std::string_view kNoEffectConflicts =
    "The are no interactions with the same source and target and different effect of type of "
    "interaction.<br><br>\n";
constexpr std::string_view kNoReversedPairs =
    "There are no cases where the source and the target are in opposite places.<br>\n";

enum class Side : std::uint8_t { Source, Target };

// One end of an interaction, as seen from the molecule at that end.
struct End {
  std::uint32_t interaction;
  Side side;
};

const std::string& AccessionOf(const Interaction& i, Side side) {
  return side == Side::Source ? i.sourceAccession : i.targetAccession;
}
const std::string& ExtraIdOf(const Interaction& i, Side side) {
  return side == Side::Source ? i.sourceExtraId : i.targetExtraId;
}

// A molecule named alike at two ends whose codes differ. `first` <= `second` (creation
// order); `test` numbers the comparison: 1 source/source, 2 first's source with second's
// target, 3 target/target, 4 first's target with second's source.
struct CodeConflict {
  std::uint32_t first;
  std::uint32_t second;
  std::uint8_t test;

  friend bool operator<(const CodeConflict& a, const CodeConflict& b) {
    return std::tie(a.first, a.second, a.test) < std::tie(b.first, b.second, b.test);
  }
};

std::uint8_t TestNumber(Side firstSide, Side secondSide) {
  if (firstSide == Side::Source) return secondSide == Side::Source ? 1 : 2;
  return secondSide == Side::Target ? 3 : 4;
}

Side FirstSide(std::uint8_t test) {
  return test <= 2 ? Side::Source : Side::Target;
}
Side SecondSide(std::uint8_t test) {
  return test == 1 || test == 4 ? Side::Source : Side::Target;
}

// Finds every pair of ends of one molecule whose codes differ. The ends of each molecule
// are split into classes of equal codes and only ends of different classes are paired, so
// the work is linear in the interactions plus the number of conflicts found: a molecule
// whose ends all agree costs one pass over its ends.
std::vector<CodeConflict> FindCodeConflicts(const Network& network) {
  const auto& interactions = network.interactions();
  const auto codesOf = [&interactions](const End& e) {
    const Interaction& i = interactions[e.interaction];
    return std::pair<std::string_view, std::string_view>(AccessionOf(i, e.side),
                                                         ExtraIdOf(i, e.side));
  };

  std::vector<CodeConflict> conflicts;
  std::vector<End> ends;
  std::vector<std::size_t> classStart;
  for (MoleculeId m = 1; m <= network.moleculeCount(); ++m) {
    ends.clear();
    // A self-interaction is in both lists, once for each of its ends.
    for (const std::uint32_t i : network.outgoing(m)) ends.push_back({i, Side::Source});
    for (const std::uint32_t i : network.incoming(m)) ends.push_back({i, Side::Target});
    if (ends.size() < 2) continue;
    const auto firstCodes = codesOf(ends.front());
    const bool allAgree = std::all_of(ends.begin() + 1, ends.end(),
                                      [&](const End& e) { return codesOf(e) == firstCodes; });
    if (allAgree) continue;

    std::stable_sort(ends.begin(), ends.end(),
                     [&](const End& a, const End& b) { return codesOf(a) < codesOf(b); });
    classStart.assign(1, 0);
    for (std::size_t k = 1; k < ends.size(); ++k) {
      if (codesOf(ends[k]) != codesOf(ends[k - 1])) classStart.push_back(k);
    }
    classStart.push_back(ends.size());

    const std::size_t classes = classStart.size() - 1;
    for (std::size_t a = 0; a < classes; ++a) {
      for (std::size_t b = a + 1; b < classes; ++b) {
        for (std::size_t x = classStart[a]; x < classStart[a + 1]; ++x) {
          for (std::size_t y = classStart[b]; y < classStart[b + 1]; ++y) {
            End e1 = ends[x];
            End e2 = ends[y];
            if (e1.interaction == e2.interaction) {
              // The two ends of a self-interaction: reported once, as source against target.
              conflicts.push_back({e1.interaction, e1.interaction, 2});
              continue;
            }
            if (e2.interaction < e1.interaction) std::swap(e1, e2);
            conflicts.push_back({e1.interaction, e2.interaction, TestNumber(e1.side, e2.side)});
          }
        }
      }
    }
  }
  std::sort(conflicts.begin(), conflicts.end());
  return conflicts;
}

void WriteSelfLoops(const Network& network, std::string& page, ValidationSummary& summary) {
  for (const Interaction& i : network.interactions()) {
    if (i.source != i.target) continue;
    page += "The following interaction has ";
    page += HtmlEscape(network.sourceName(i));
    page += " as both the source and target!<br>\n";
    ++summary.selfLoops;
  }
  if (summary.selfLoops == 0) page += kNoSelfLoops;
  page += "<br>\n";
}

void WriteCodeConflicts(const Network& network, std::string& page, ValidationSummary& summary) {
  const auto& interactions = network.interactions();
  const std::vector<CodeConflict> conflicts = FindCodeConflicts(network);
  for (const CodeConflict& c : conflicts) {
    const Interaction& first = interactions[c.first];
    const Interaction& second = interactions[c.second];
    const Side firstSide = FirstSide(c.test);
    const Side secondSide = SecondSide(c.test);
    // Show the codes that differ: the accessions when they do, else the extra ids.
    const std::string& firstAccession = AccessionOf(first, firstSide);
    const std::string& secondAccession = AccessionOf(second, secondSide);
    const bool accessionsDiffer = firstAccession != secondAccession;
    const std::string& firstCode = accessionsDiffer ? firstAccession : ExtraIdOf(first, firstSide);
    const std::string& secondCode =
        accessionsDiffer ? secondAccession : ExtraIdOf(second, secondSide);
    const MoleculeId shared = firstSide == Side::Source ? first.source : first.target;

    page += HtmlEscape(network.nameOf(shared));
    page += " have different accession code in the ";
    page += HtmlEscape(network.sourceName(first));
    page += ' ';
    page += HtmlEscape(network.targetName(first));
    page += " interaction (";
    page += HtmlEscape(firstCode);
    page += ") compared to ";
    page += HtmlEscape(network.sourceName(second));
    page += ' ';
    page += HtmlEscape(network.targetName(second));
    page += " interaction (";
    page += HtmlEscape(secondCode);
    page += ") interaction.<br><br>\n";
  }
  summary.codeConflicts = conflicts.size();
  if (conflicts.empty()) page += kNoCodeConflicts;
}

// Repeated rows are merged into one interaction when the network is built; the rows
// whose effect or type differed from the kept ones are listed by the network, once per
// row. Each distinct variant of an interaction is reported once.
void WriteEffectConflicts(const Network& network, std::string& page, ValidationSummary& summary) {
  struct VariantHash {
    std::size_t operator()(const RowConflict* c) const noexcept {
      const std::size_t h1 = std::hash<std::string_view>{}(c->effect);
      const std::size_t h2 = std::hash<std::string_view>{}(c->interactionType);
      return (h1 * 31 + h2) * 1000003u + c->interaction;
    }
  };
  struct VariantEqual {
    bool operator()(const RowConflict* a, const RowConflict* b) const noexcept {
      return a->interaction == b->interaction && a->effect == b->effect &&
             a->interactionType == b->interactionType;
    }
  };
  std::unordered_set<const RowConflict*, VariantHash, VariantEqual> seen;
  seen.reserve(network.conflicts().size());
  const auto& interactions = network.interactions();
  for (const RowConflict& c : network.conflicts()) {
    if (!seen.insert(&c).second) continue;
    const Interaction& kept = interactions[c.interaction];
    page += "The effect of the interaction between ";
    page += HtmlEscape(network.sourceName(kept));
    page += ' ';
    page += HtmlEscape(network.targetName(kept));
    page += " is different ";
    page += HtmlEscape(kept.effect);
    page += " and ";
    page += HtmlEscape(c.effect);
    page += ".<br><br>";
    ++summary.effectConflicts;
  }
  if (summary.effectConflicts == 0) page += kNoEffectConflicts;
}

// Each interaction A->B whose reverse B->A exists is reported once, by whichever of the
// two was created first; a self-interaction is its own reverse.
void WriteReversedPairs(const Network& network, std::string& page, ValidationSummary& summary) {
  const auto& interactions = network.interactions();
  for (std::size_t k = 0; k < interactions.size(); ++k) {
    const Interaction& i = interactions[k];
    if (i.source != i.target) {
      const Interaction* reverse = network.findInteraction(i.target, i.source);
      if (reverse == nullptr || reverse < &i) continue;
    }
    page += "The interaction between ";
    page += HtmlEscape(network.sourceName(i));
    page += " and ";
    page += HtmlEscape(network.targetName(i));
    page += " has the source being the target and the target being the source.<br>";
    ++summary.reversedPairs;
  }
  if (summary.reversedPairs == 0) page += kNoReversedPairs;
}

// Interactions whose effect is none of "+", "_" and "0", grouped by effect, in order of
// first appearance. Such effects are kept as read, but loop and path signs count only "_"
// as an inhibition, so a file that writes inhibitions as "-" needs to be told.
void WriteUnknownEffects(const Network& network, std::string& page, ValidationSummary& summary) {
  struct Group {
    std::string_view effect;
    std::vector<std::uint32_t> interactions;
  };
  std::vector<Group> groups;
  const auto& interactions = network.interactions();
  for (std::uint32_t k = 0; k < interactions.size(); ++k) {
    const std::string_view effect = interactions[k].effect;
    if (IsKnownEffect(effect)) continue;
    auto it = std::find_if(groups.begin(), groups.end(),
                           [&](const Group& g) { return g.effect == effect; });
    if (it == groups.end()) it = groups.insert(groups.end(), Group{effect, {}});
    it->interactions.push_back(k);
    ++summary.unknownEffects;
  }
  page += "<br>\n<h4>Effects other than + (activation), _ (inhibition) and 0 (binding)</h4>\n";
  constexpr std::size_t kShown = 20;
  for (const Group& g : groups) {
    page += "The effect ";
    page += HtmlEscape(g.effect);
    page += " is used by " + std::to_string(g.interactions.size()) + " interaction";
    if (g.interactions.size() != 1) page += "s";
    page += "; loop and path signs count only _ as an inhibition";
    if (const auto meant = EffectFromWord(g.effect)) {
      page += " (other formats read it as ";
      page += HtmlEscape(*meant);
      page += ")";
    }
    page += ":";
    for (std::size_t n = 0; n < g.interactions.size() && n < kShown; ++n) {
      const Interaction& i = interactions[g.interactions[n]];
      page += n == 0 ? " " : ", ";
      page += HtmlEscape(network.sourceName(i));
      page += " to ";
      page += HtmlEscape(network.targetName(i));
    }
    if (g.interactions.size() > kShown) {
      page += " and " + std::to_string(g.interactions.size() - kShown) + " more";
    }
    page += ".<br><br>\n";
  }
  if (groups.empty()) page += "All interactions have the effect +, _ or 0.<br><br>\n";
}

// Molecules named by several rows with different types or locations: the first row's value
// is kept (an "NA" is filled by a later row), the others are listed here.
void WriteMoleculeConflicts(const Network& network, std::string& page, ValidationSummary& summary) {
  page += "<h4>Molecules whose rows give different types or locations</h4>\n";
  for (const MoleculeConflict& c : network.moleculeConflicts()) {
    const Molecule& m = network.molecule(c.molecule);
    const bool type = c.field == MoleculeConflict::Field::Type;
    page += HtmlEscape(m.name);
    page += type ? " has the type " : " has the location ";
    page += HtmlEscape(type ? m.moleculeType : m.location);
    page += ", but ";
    page += std::to_string(c.rows);
    page += c.rows == 1 ? " row gives " : " rows give ";
    page += HtmlEscape(c.value);
    if (c.line > 0) page += " (first on line " + std::to_string(c.line) + ")";
    page += ".<br>\n";
    ++summary.moleculeConflicts;
  }
  if (summary.moleculeConflicts == 0) {
    page += "Every molecule has the same type and location in all its rows.<br>\n";
  }
}

}  // namespace

std::string ValidationPage(const Network& network, ValidationSummary* summary) {
  ValidationSummary counts;
  std::string page = "<html><body>\n";
  WriteSelfLoops(network, page, counts);
  WriteCodeConflicts(network, page, counts);
  WriteEffectConflicts(network, page, counts);
  WriteReversedPairs(network, page, counts);
  page += "\n";
  WriteUnknownEffects(network, page, counts);
  WriteMoleculeConflicts(network, page, counts);
  page += "</body></html>";
  if (summary != nullptr) *summary = counts;
  return page;
}

std::filesystem::path WriteValidationReport(const Network& network,
                                            const std::filesystem::path& folder,
                                            ValidationSummary* summary,
                                            const PageContext& context) {
  // An empty folder would silently mean the current directory.
  if (folder.empty()) throw OutputError("validation report: no output folder given");
  const std::filesystem::path path = folder / kValidationPageName;
  WriteFileAtomically(path,
                      WithPageContext(ValidationPage(network, summary), context, "Validation"));
  return path;
}

}  // namespace tessel
