// Pathway maps: for every pair of a source and a target molecule chosen by a query, the
// interactions of all simple directed paths from the source to the target, merged into one
// connection map.
//
// A pair's map grows with the number of steps allowed. The search tries 2, 3, ... molecules
// per path (both ends counted) up to the query's maximum; a pair yields a map only when its
// map outgrows the maximum size at some step count, and the map kept is the one of the step
// count just before. Paths are simple (no molecule twice, the source included) and end at
// the first meeting of the target.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "model/molecule_condition.h"
#include "model/network.h"
#include "util/progress.h"

namespace tessel {

struct PathwayQuery {
  // A molecule is a source when it matches any source condition, a target when it matches
  // any target condition; a pair needs both. Conditions with an empty value are ignored.
  std::vector<MoleculeCondition> sources;
  std::vector<MoleculeCondition> targets;
  int maxSteps = 9;  // molecules on a path, both ends included
  int maxSize = 70;  // interactions in a map
  bool directOnly = false;

  // Sources of type "Ligand", targets of type "TF", 9 steps, size 70.
  static PathwayQuery Default();
  // One source and one target by name, 8 steps, size 50.
  static PathwayQuery Easy(std::string source, std::string target, bool directOnly = false);

  bool isSource(const Molecule& m) const;
  bool isTarget(const Molecule& m) const;
};

// Whether a path may step from `from` to `to`. Direct-only: an interaction from -> to with
// an effect other than "0". Otherwise: any interaction from -> to, or a neutral ("0")
// interaction to -> from (neutral links are walked both ways).
bool CanStep(const Network& network, MoleculeId from, MoleculeId to, bool directOnly);

// The interaction a path uses between consecutive molecules a and b: a -> b, or failing
// that b -> a. Index into interactions().
std::uint32_t StepInteraction(const Network& network, MoleculeId a, MoleculeId b);

// Steps needed from each molecule to reach `target` under the link rule (indexed by
// id - 1; -1 when the target cannot be reached). A breadth-first search backwards.
std::vector<int> StepsToTarget(const Network& network, MoleculeId target, bool directOnly);

struct PathMap {
  // The map's interactions in the order the search first used them.
  std::vector<std::uint32_t> interactions;
  std::size_t positivePaths = 0;  // paths with an even number of "_" links
  std::size_t negativePaths = 0;
  bool exceeded = false;  // the search stopped because the map outgrew `limit`
};

// The map of all simple paths from source to target with at most `steps` molecules.
// `stepsToTarget` comes from StepsToTarget for this target and prunes the search. The
// search stops as soon as the map holds more than `limit` interactions (`exceeded`).
PathMap FindPathMap(const Network& network, MoleculeId source, MoleculeId target, int steps,
                    bool directOnly, const std::vector<int>& stepsToTarget, std::size_t limit);

struct PathwayMap {
  MoleculeId source = 0;
  MoleculeId target = 0;
  int steps = 0;  // the step count of the map kept
  PathMap map;
};

// Applies the query to every (source, target) pair, sources and targets in molecule list
// order, and returns the maps kept in that order. Pairs are searched in parallel; the
// result does not depend on `threads`. Progress text: "Searching for pathways from S to T
// in N steps... ". Throws Cancelled when stopped.
std::vector<PathwayMap> FindPathwayMaps(const Network& network, const PathwayQuery& query,
                                        Progress& progress, unsigned threads = 0);

}  // namespace tessel
