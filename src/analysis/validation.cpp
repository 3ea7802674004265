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

// The PubMed ids of the interactions, each once, in order.
std::vector<PubmedId> PubmedIdsOf(const Network& network,
                                  const std::vector<std::uint32_t>& interactions) {
  std::vector<PubmedId> ids;
  for (const std::uint32_t k : interactions) {
    for (const PubmedId id : network.interactions()[k].pubmedIds) {
      if (std::find(ids.begin(), ids.end(), id) == ids.end()) ids.push_back(id);
    }
  }
  return ids;
}

void AddName(std::vector<std::string>& names, const std::string& name) {
  if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
}

// A finding about the given interactions, naming the molecules at their ends.
Finding AboutInteractions(const Network& network, FindingKind kind,
                          std::vector<std::uint32_t> interactions, std::string message) {
  Finding f;
  f.kind = kind;
  for (const std::uint32_t k : interactions) {
    const Interaction& i = network.interactions()[k];
    AddName(f.molecules, network.nameOf(i.source));
    AddName(f.molecules, network.nameOf(i.target));
  }
  f.pubmedIds = PubmedIdsOf(network, interactions);
  f.interactions = std::move(interactions);
  f.message = std::move(message);
  return f;
}

void FindSelfLoops(const Network& network, std::vector<Finding>& findings) {
  const auto& interactions = network.interactions();
  for (std::uint32_t k = 0; k < interactions.size(); ++k) {
    const Interaction& i = interactions[k];
    if (i.source != i.target) continue;
    findings.push_back(AboutInteractions(network, FindingKind::SelfLoop, {k},
                                         "The following interaction has " + network.sourceName(i) +
                                             " as both the source and target!"));
  }
}

void FindCodeConflictsOf(const Network& network, std::vector<Finding>& findings) {
  const auto& interactions = network.interactions();
  for (const CodeConflict& c : FindCodeConflicts(network)) {
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

    std::vector<std::uint32_t> involved{c.first};
    if (c.second != c.first) involved.push_back(c.second);
    Finding f = AboutInteractions(
        network, FindingKind::CodeConflict, std::move(involved),
        network.nameOf(shared) + " have different accession code in the " +
            network.sourceName(first) + " " + network.targetName(first) + " interaction (" +
            firstCode + ") compared to " + network.sourceName(second) + " " +
            network.targetName(second) + " interaction (" + secondCode + ") interaction.");
    f.molecules = {network.nameOf(shared)};
    findings.push_back(std::move(f));
  }
}

// Repeated rows are merged into one interaction when the network is built; the rows
// whose effect or type differed from the kept ones are listed by the network, once per
// row. Each distinct variant of an interaction is reported once, at its first row.
void FindEffectConflicts(const Network& network, std::vector<Finding>& findings) {
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
    Finding f = AboutInteractions(network, FindingKind::EffectConflict, {c.interaction},
                                  "The effect of the interaction between " +
                                      network.sourceName(kept) + " " + network.targetName(kept) +
                                      " is different " + kept.effect + " and " + c.effect + ".");
    if (c.line > 0) f.lines.push_back(c.line);
    findings.push_back(std::move(f));
  }
}

// Each interaction A->B whose reverse B->A exists is reported once, by whichever of the
// two was created first; a self-interaction is its own reverse.
void FindReversedPairs(const Network& network, std::vector<Finding>& findings) {
  const auto& interactions = network.interactions();
  for (std::uint32_t k = 0; k < interactions.size(); ++k) {
    const Interaction& i = interactions[k];
    std::vector<std::uint32_t> involved{k};
    if (i.source != i.target) {
      const Interaction* reverse = network.findInteraction(i.target, i.source);
      if (reverse == nullptr || reverse < &i) continue;
      involved.push_back(static_cast<std::uint32_t>(reverse - interactions.data()));
    }
    findings.push_back(AboutInteractions(
        network, FindingKind::ReversedPair, std::move(involved),
        "The interaction between " + network.sourceName(i) + " and " + network.targetName(i) +
            " has the source being the target and the target being the source."));
  }
}

// Interactions whose effect is none of "+", "_" and "0", one finding per effect, in order of
// first appearance. Such effects are kept as read, but loop and path signs count only "_"
// as an inhibition, so a file that writes inhibitions as "-" needs to be told.
void FindUnknownEffects(const Network& network, std::vector<Finding>& findings) {
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
  }
  constexpr std::size_t kShown = 20;
  for (Group& g : groups) {
    std::string message = "The effect ";
    message += g.effect;
    message += " is used by " + std::to_string(g.interactions.size()) + " interaction";
    if (g.interactions.size() != 1) message += "s";
    message += "; loop and path signs count only _ as an inhibition";
    if (const auto meant = EffectFromWord(g.effect)) {
      message += " (other formats read it as ";
      message += *meant;
      message += ")";
    }
    message += ":";
    for (std::size_t n = 0; n < g.interactions.size() && n < kShown; ++n) {
      const Interaction& i = interactions[g.interactions[n]];
      message += n == 0 ? " " : ", ";
      message += network.sourceName(i) + " to " + network.targetName(i);
    }
    if (g.interactions.size() > kShown) {
      message += " and " + std::to_string(g.interactions.size() - kShown) + " more";
    }
    message += ".";
    findings.push_back(AboutInteractions(network, FindingKind::UnknownEffect,
                                         std::move(g.interactions), std::move(message)));
  }
}

// Molecules named by several rows with different types or locations: the first row's value
// is kept (an "NA" is filled by a later row), the others are listed here.
void FindMoleculeConflicts(const Network& network, std::vector<Finding>& findings) {
  for (const MoleculeConflict& c : network.moleculeConflicts()) {
    const Molecule& m = network.molecule(c.molecule);
    const bool type = c.field == MoleculeConflict::Field::Type;
    Finding f;
    f.kind = FindingKind::MoleculeConflict;
    f.molecules = {m.name};
    if (c.line > 0) f.lines.push_back(c.line);
    f.message = m.name + (type ? " has the type " : " has the location ") +
                (type ? m.moleculeType : m.location) + ", but " + std::to_string(c.rows) +
                (c.rows == 1 ? " row gives " : " rows give ") + c.value;
    if (c.line > 0) f.message += " (first on line " + std::to_string(c.line) + ")";
    f.message += ".";
    findings.push_back(std::move(f));
  }
}

// One section of the page: each finding of the kind, escaped and followed by `end`, or
// `none` when there is none.
void WriteSection(const std::vector<Finding>& findings, FindingKind kind, std::string_view end,
                  std::string_view none, std::string& page) {
  bool any = false;
  for (const Finding& f : findings) {
    if (f.kind != kind) continue;
    page += HtmlEscape(f.message);
    page += end;
    any = true;
  }
  if (!any) page += none;
}

}  // namespace

std::string_view FindingKindName(FindingKind kind) {
  switch (kind) {
    case FindingKind::SelfLoop:
      return "self_loop";
    case FindingKind::CodeConflict:
      return "code_conflict";
    case FindingKind::EffectConflict:
      return "effect_conflict";
    case FindingKind::ReversedPair:
      return "reversed_pair";
    case FindingKind::UnknownEffect:
      return "unknown_effect";
    case FindingKind::MoleculeConflict:
      return "molecule_conflict";
  }
  return "unknown";
}

std::vector<Finding> ValidationFindings(const Network& network) {
  std::vector<Finding> findings;
  FindSelfLoops(network, findings);
  FindCodeConflictsOf(network, findings);
  FindEffectConflicts(network, findings);
  FindReversedPairs(network, findings);
  FindUnknownEffects(network, findings);
  FindMoleculeConflicts(network, findings);
  return findings;
}

ValidationSummary SummaryOf(const std::vector<Finding>& findings) {
  ValidationSummary s;
  for (const Finding& f : findings) {
    switch (f.kind) {
      case FindingKind::SelfLoop:
        ++s.selfLoops;
        break;
      case FindingKind::CodeConflict:
        ++s.codeConflicts;
        break;
      case FindingKind::EffectConflict:
        ++s.effectConflicts;
        break;
      case FindingKind::ReversedPair:
        ++s.reversedPairs;
        break;
      case FindingKind::UnknownEffect:
        s.unknownEffects += f.interactions.size();
        break;
      case FindingKind::MoleculeConflict:
        ++s.moleculeConflicts;
        break;
    }
  }
  return s;
}

std::string ValidationPage(const std::vector<Finding>& findings) {
  std::string page = "<html><body>\n";
  WriteSection(findings, FindingKind::SelfLoop, "<br>\n", kNoSelfLoops, page);
  page += "<br>\n";
  WriteSection(findings, FindingKind::CodeConflict, "<br><br>\n", kNoCodeConflicts, page);
  WriteSection(findings, FindingKind::EffectConflict, "<br><br>", kNoEffectConflicts, page);
  WriteSection(findings, FindingKind::ReversedPair, "<br>", kNoReversedPairs, page);
  page += "\n";
  page += "<br>\n<h4>Effects other than + (activation), _ (inhibition) and 0 (binding)</h4>\n";
  WriteSection(findings, FindingKind::UnknownEffect, "<br><br>\n",
               "All interactions have the effect +, _ or 0.<br><br>\n", page);
  page += "<h4>Molecules whose rows give different types or locations</h4>\n";
  WriteSection(findings, FindingKind::MoleculeConflict, "<br>\n",
               "Every molecule has the same type and location in all its rows.<br>\n", page);
  page += "</body></html>";
  return page;
}

std::string ValidationPage(const Network& network, ValidationSummary* summary) {
  const std::vector<Finding> findings = ValidationFindings(network);
  if (summary != nullptr) *summary = SummaryOf(findings);
  return ValidationPage(findings);
}

std::filesystem::path WriteValidationReport(const std::vector<Finding>& findings,
                                            const std::filesystem::path& folder,
                                            const PageContext& context) {
  // An empty folder would silently mean the current directory.
  if (folder.empty()) throw OutputError("validation report: no output folder given");
  const std::filesystem::path path = folder / kValidationPageName;
  WriteFileAtomically(path, WithPageContext(ValidationPage(findings), context, "Validation"));
  return path;
}

std::filesystem::path WriteValidationReport(const Network& network,
                                            const std::filesystem::path& folder,
                                            ValidationSummary* summary,
                                            const PageContext& context) {
  const std::vector<Finding> findings = ValidationFindings(network);
  if (summary != nullptr) *summary = SummaryOf(findings);
  return WriteValidationReport(findings, folder, context);
}

}  // namespace tessel
