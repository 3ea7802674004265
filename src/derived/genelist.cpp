#include "derived/genelist.h"

#include <absl/container/flat_hash_map.h>

#include <stdexcept>

#include "util/error.h"
#include "util/files.h"
#include "util/text.h"

namespace tessel {
namespace {

bool IsUrl(std::string_view s) {
  return s.starts_with("http://") || s.starts_with("https://");
}

// Breadth-first distances from `start`, at most `limit` links, never entering `avoid`.
// `dist` (one entry per molecule, -1 when not reached) must be all -1 on entry; the ids
// reached are appended to `reached` so that the caller can reset exactly those.
void LimitedDistances(const Network& network, MoleculeId start, MoleculeId avoid, int limit,
                      std::vector<int>& dist, std::vector<MoleculeId>& reached) {
  dist[start - 1] = 0;
  reached.push_back(start);
  for (std::size_t head = reached.size() - 1; head < reached.size(); ++head) {
    const MoleculeId x = reached[head];
    const int d = dist[x - 1];
    if (d == limit) continue;
    for (const MoleculeId y : network.neighbours(x)) {
      if (y == avoid || dist[y - 1] >= 0) continue;
      dist[y - 1] = d + 1;
      reached.push_back(y);
    }
  }
}

void Reset(std::vector<int>& dist, std::vector<MoleculeId>& reached) {
  for (const MoleculeId id : reached) dist[id - 1] = -1;
  reached.clear();
}

bool Adjacent(const Network& network, MoleculeId a, MoleculeId b) {
  return network.findInteraction(a, b) != nullptr || network.findInteraction(b, a) != nullptr;
}

}  // namespace

std::vector<std::string> ReadGeneList(std::string_view text, const std::string& file) {
  std::vector<std::string> genes;
  absl::flat_hash_map<std::string, bool> seen;
  for (const std::string_view word : SplitFields(text)) {
    std::string name = UpperCaseKey(word);
    if (seen.emplace(name, true).second) genes.push_back(std::move(name));
  }
  if (genes.empty()) throw InputError(file, 0, "holds no gene or protein name");
  return genes;
}

Network LoadReferenceNetwork(const std::string& fileOrUrl, const HttpSettings& http,
                             Warnings* warnings) {
  if (!IsUrl(fileOrUrl)) return LoadNetwork(fileOrUrl, NetworkFormat::Auto, warnings);
  const std::string text = HttpGet(fileOrUrl, http);
  switch (DetectFormat(text, fileOrUrl.substr(0, fileOrUrl.find('?')))) {
    case NetworkFormat::Pairs:
      return ReadTwoColumnText(text, fileOrUrl, warnings);
    case NetworkFormat::Sig:
      return ReadSigText(text, fileOrUrl, warnings);
    default:
      throw std::runtime_error(fileOrUrl +
                               ": the reference network must be a SIG or two-column file");
  }
}

GeneListResult GeneListSubnetwork(const Network& reference, const std::vector<std::string>& genes,
                                  int intermediates, Progress& progress) {
  if (intermediates < 1 || intermediates > 3) {
    throw std::invalid_argument("the number of intermediates must be 1, 2 or 3");
  }
  const int maxLinks = intermediates + 1;
  GeneListResult result;

  absl::flat_hash_map<std::string, std::vector<MoleculeId>> byName;
  for (const Molecule& m : reference.molecules()) byName[UpperCaseKey(m.name)].push_back(m.id);
  std::vector<MoleculeId> listed;
  for (const std::string& gene : genes) {
    const auto it = byName.find(UpperCaseKey(gene));
    if (it == byName.end()) {
      result.absent.push_back(gene);
      continue;
    }
    result.found.push_back(gene);
    listed.insert(listed.end(), it->second.begin(), it->second.end());
  }

  const std::size_t n = reference.moleculeCount();
  std::vector<int> fromP(n, -1), fromR(n, -1);
  std::vector<MoleculeId> reachedP, reachedR, members;
  std::vector<char> inSet(n, 0);
  std::vector<char> used(reference.interactionCount(), 0);
  const std::size_t pairs = listed.size() < 2 ? 0 : listed.size() * (listed.size() - 1) / 2;
  std::size_t pairIndex = 0;

  // Whether X (at distance 2 from both ends, on a path of four links) has two different
  // neighbours A and B with P - A and B - R, so that P - A - X - B - R is simple.
  const auto distinctMiddles = [&](MoleculeId x) {
    MoleculeId a = 0;
    MoleculeId b = 0;
    for (const MoleculeId y : reference.neighbours(x)) {
      const bool nearP = fromP[y - 1] == 1;
      const bool nearR = fromR[y - 1] == 1;
      if (nearP && b != 0 && b != y) return true;
      if (nearR && a != 0 && a != y) return true;
      if (nearP && a == 0) a = y;
      if (nearR && b == 0) b = y;
    }
    return false;
  };

  for (std::size_t i = 0; i < listed.size(); ++i) {
    for (std::size_t j = i + 1; j < listed.size(); ++j) {
      const MoleculeId p = listed[i];
      const MoleculeId r = listed[j];
      ThrowIfCancelled(progress);
      progress.report(++pairIndex, pairs,
                      "Searching for paths from " + reference.nameOf(p) + " to " +
                          reference.nameOf(r) + "... please wait");
      // Distances from each end that never pass through the other end: a path P ... X is
      // then joined to X ... R without meeting an end twice. Paths of up to four links can
      // still share one middle molecule (P - A - X - A - R); distinctMiddles rules that out.
      LimitedDistances(reference, p, r, maxLinks - 1, fromP, reachedP);
      LimitedDistances(reference, r, p, maxLinks - 1, fromR, reachedR);
      for (const MoleculeId x : reachedP) {
        if (x == p) continue;
        const int dp = fromP[x - 1];
        const int dr = fromR[x - 1];
        if (dr < 0 || dp + dr > maxLinks) continue;
        if (dp == 2 && dr == 2 && !distinctMiddles(x)) continue;
        members.push_back(x);
      }
      if (!members.empty() || Adjacent(reference, p, r)) {
        members.push_back(p);
        members.push_back(r);
        for (const MoleculeId x : members) inSet[x - 1] = 1;
        for (const MoleculeId x : members) {
          for (const std::uint32_t k : reference.outgoing(x)) {
            if (inSet[reference.interactions()[k].target - 1]) used[k] = 1;
          }
        }
        for (const MoleculeId x : members) inSet[x - 1] = 0;
      }
      members.clear();
      Reset(fromP, reachedP);
      Reset(fromR, reachedR);
    }
  }
  for (std::size_t k = 0; k < used.size(); ++k) {
    if (used[k]) result.rows.push_back(FirstRowOf(reference, reference.interactions()[k]));
  }
  return result;
}

std::vector<std::string> ReadGeneListFile(const std::filesystem::path& file) {
  return ReadGeneList(ReadWholeFile(file), file.string());
}

GeneListOutcome RunGeneListCommand(const GeneListSettings& settings, Progress& progress) {
  if (settings.intermediates < 1 || settings.intermediates > 3) {
    throw std::invalid_argument("the number of intermediates must be 1, 2 or 3");
  }
  GeneListOutcome outcome;
  outcome.genes = ReadGeneListFile(settings.listFile);
  progress.report(0, 1, "Downloading the reference network... please wait");
  Network reference;
  try {
    reference = LoadReferenceNetwork(settings.reference, settings.http, &outcome.warnings);
  } catch (const Cancelled&) {
    throw;
  } catch (const std::exception& e) {
    throw ReferenceError(CategoryOf(e), e.what());
  }
  GeneListResult result =
      GeneListSubnetwork(reference, outcome.genes, settings.intermediates, progress);
  outcome.found = std::move(result.found);
  outcome.absent = std::move(result.absent);
  outcome.interactions = result.rows.size();
  if (result.rows.empty()) return outcome;
  absl::flat_hash_map<std::string_view, bool> names;
  for (const SigRow& row : result.rows) {
    names.emplace(row.source.name, true);
    names.emplace(row.target.name, true);
  }
  outcome.molecules = names.size();
  WriteFileAtomically(settings.output, SigRowsText(result.rows));
  outcome.file = settings.output;
  return outcome;
}

}  // namespace tessel
