// Pathway maps: for every pair of a source and a target molecule chosen by a query, the
// interactions of all simple directed paths from the source to the target, merged into one
// connection map.
//
// A pair's map grows with the number of steps allowed. The search tries 2, 3, ... molecules
// per path (both ends counted) up to the query's maximum. A map that still fits the maximum
// size at the maximum step count is kept as it is; when the map outgrows the size at some
// step count, the map kept is the one of the step count just before. A map without any
// interaction is never kept. Paths are simple (no molecule twice, the source included) and
// end at the first meeting of the target.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
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

// One message per used condition that matches no molecule of the network, sources first,
// naming the closest existing value (see UnmatchedConditionMessage). Empty when every
// condition matches something: the query can run.
std::vector<std::string> UnmatchedConditions(const Network& network, const PathwayQuery& query);

// A short description of the query for pages:
//   sources Type=Ligand; targets Type=TF; up to 9 molecules per path; maps up to 70
//   interactions; neutral links walked both ways
std::string DescribeQuery(const PathwayQuery& query);

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

struct Route {
  std::vector<MoleculeId> molecules;  // source first, target last
  bool negative = false;              // an odd number of inhibiting ("_") links
};

// "EGF -> EGFR -> GRB2": the route's molecule names, source first.
std::string RouteNames(const Network& network, const Route& route);

struct RouteList {
  // The shortest routes, at most `limit`: by number of molecules, then in the order the
  // map search meets them.
  std::vector<Route> routes;
  std::size_t total = 0;  // routes counted, listed or not
  bool complete = true;   // false: counting stopped at the cap, there are more
};

// Every simple path from source to target with at most `maxSteps` molecules under the link
// rule of the map search (so the routes are exactly the paths a map of that step count
// merges), with its sign. The number of routes can grow very quickly with the step count on
// dense networks, so counting stops at `countCap` routes (`complete` is then false; the
// routes listed are still the shortest). `progress`, when given, can cancel (Cancelled is
// thrown).
RouteList ListRoutes(const Network& network, MoleculeId source, MoleculeId target, int maxSteps,
                     bool directOnly, std::size_t limit, Progress* progress = nullptr,
                     std::size_t countCap = 1000000);

}  // namespace tessel
