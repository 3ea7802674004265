#include "pathways/path_search.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <iterator>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "util/parallel.h"

namespace tessel {
namespace {

bool Usable(const MoleculeCondition& c) {
  return !c.value.empty();
}

bool MatchesAny(const std::vector<MoleculeCondition>& conditions, const Molecule& m) {
  return std::any_of(conditions.begin(), conditions.end(),
                     [&m](const MoleculeCondition& c) { return Usable(c) && c.matches(m); });
}

std::uint32_t IndexOf(const Network& network, const Interaction* interaction) {
  return static_cast<std::uint32_t>(interaction - network.interactions().data());
}

// The steps a path may take, precomputed once per search: for every molecule the
// neighbours it may step to (in neighbour order), each with the interaction the step uses
// and whether that interaction inhibits.
class StepGraph {
 public:
  struct Step {
    MoleculeId to;
    std::uint32_t interaction;
    bool negative;
  };

  StepGraph(const Network& network, bool directOnly) {
    const std::size_t n = network.moleculeCount();
    start_.reserve(n + 1);
    start_.push_back(0);
    for (MoleculeId u = 1; u <= n; ++u) {
      for (const MoleculeId y : network.neighbours(u)) {
        if (!CanStep(network, u, y, directOnly)) continue;
        const std::uint32_t index = StepInteraction(network, u, y);
        steps_.push_back({y, index, network.interactions()[index].effect == "_"});
      }
      start_.push_back(steps_.size());
    }
  }

  std::size_t begin(MoleculeId id) const { return start_[id - 1]; }
  std::size_t end(MoleculeId id) const { return start_[id]; }
  const Step& step(std::size_t k) const { return steps_[k]; }

 private:
  std::vector<std::size_t> start_;
  std::vector<Step> steps_;
};

// Depth-first enumeration of simple paths over a StepGraph. One searcher serves many
// searches; its marks are stamped per search so that nothing needs clearing in between.
class PathSearcher {
 public:
  // `interrupt` is called every few thousand steps and may throw to abandon the search.
  PathSearcher(const Network& network, const StepGraph& graph, std::function<void()> interrupt)
      : graph_(graph),
        onPath_(network.moleculeCount() + 1, 0),
        usedStamp_(network.interactionCount(), 0),
        interrupt_(std::move(interrupt)) {}

  PathMap search(MoleculeId source, MoleculeId target, int steps,
                 const std::vector<int>& stepsToTarget, std::size_t limit) {
    PathMap map;
    if (source == target) {
      // The source meets the target at once: the one-molecule path, with no interactions.
      if (steps >= 1) ++map.positivePaths;
      return map;
    }
    if (++stamp_ == 0) {  // the stamp wrapped: clear the marks once
      std::fill(usedStamp_.begin(), usedStamp_.end(), 0);
      stamp_ = 1;
    }
    walk(source, target, steps, stepsToTarget, [&](std::uint32_t last, bool negative) {
      for (std::size_t k = 1; k < frames_.size(); ++k) use(frames_[k].via, map);
      use(last, map);
      ++(negative ? map.negativePaths : map.positivePaths);
      map.exceeded = map.interactions.size() > limit;
      return !map.exceeded;
    });
    return map;
  }

  // Adds the paths of exactly `steps` molecules to `list`, in the order `search` meets
  // them: each is counted, the first ones are kept while `list` holds fewer than `limit`.
  // Returns false, leaving `list` incomplete, when the count reaches `cap`.
  bool routesOfLength(MoleculeId source, MoleculeId target, int steps,
                      const std::vector<int>& stepsToTarget, std::size_t limit, std::size_t cap,
                      RouteList& list) {
    if (source == target) return true;
    const auto length = static_cast<std::size_t>(steps);
    walk(source, target, steps, stepsToTarget, [&](std::uint32_t, bool negative) {
      if (frames_.size() + 1 != length) return true;  // counted at its own length
      if (list.routes.size() < limit) {
        Route& route = list.routes.emplace_back();
        route.molecules.reserve(length);
        for (const Frame& f : frames_) route.molecules.push_back(f.molecule);
        route.molecules.push_back(target);
        route.negative = negative;
      }
      if (++list.total < cap) return true;
      list.complete = false;
      return false;
    });
    return list.complete;
  }

 private:
  // Depth-first walk over every simple path from source to target with at most `steps`
  // molecules. At each path found, `onPath(lastInteraction, negative)` sees the path in
  // frames_ (the target not included) and returns false to stop the walk.
  template <class OnPath>
  void walk(MoleculeId source, MoleculeId target, int steps, const std::vector<int>& stepsToTarget,
            OnPath&& onPath) {
    if (steps < 2 || stepsToTarget[source - 1] < 0) return;
    // The largest number of links a path may have.
    const auto maxLinks = static_cast<std::size_t>(steps - 1);
    frames_.clear();
    frames_.push_back({source, graph_.begin(source), graph_.end(source), 0, 0});
    onPath_[source] = 1;
    std::size_t work = 0;
    while (!frames_.empty()) {
      Frame& top = frames_.back();
      if (top.next == top.end) {
        onPath_[top.molecule] = 0;
        frames_.pop_back();
        continue;
      }
      if (++work % kInterruptEvery == 0) interrupt_();
      const StepGraph::Step& step = graph_.step(top.next++);
      if (onPath_[step.to]) continue;
      const int remaining = stepsToTarget[step.to - 1];
      // Links used so far, this one, and the fewest the target can still be reached in.
      const std::size_t links = frames_.size() - 1;
      if (remaining < 0 || links + 1 + static_cast<std::size_t>(remaining) > maxLinks) continue;
      const int negatives = top.negatives + (step.negative ? 1 : 0);
      if (step.to == target) {
        if (!onPath(step.interaction, negatives % 2 == 1)) {
          for (const Frame& f : frames_) onPath_[f.molecule] = 0;
          frames_.clear();
          return;
        }
        continue;  // a path does not run on through the target
      }
      frames_.push_back(
          {step.to, graph_.begin(step.to), graph_.end(step.to), step.interaction, negatives});
      onPath_[step.to] = 1;
    }
  }

  static constexpr std::size_t kInterruptEvery = 4096;

  struct Frame {
    MoleculeId molecule;
    std::size_t next;  // next step of `molecule` to try
    std::size_t end;
    std::uint32_t via;  // the interaction that led here (unused for the source)
    int negatives;      // inhibiting interactions on the path up to here
  };

  void use(std::uint32_t interaction, PathMap& map) {
    if (usedStamp_[interaction] == stamp_) return;
    usedStamp_[interaction] = stamp_;
    map.interactions.push_back(interaction);
  }

  const StepGraph& graph_;
  std::vector<std::uint8_t> onPath_;  // indexed by id
  std::vector<std::uint32_t> usedStamp_;
  std::uint32_t stamp_ = 0;
  std::vector<Frame> frames_;
  std::function<void()> interrupt_;
};

}  // namespace

PathwayQuery PathwayQuery::Default() {
  PathwayQuery q;
  q.sources.push_back({ConditionKind::Type, "Ligand"});
  q.targets.push_back({ConditionKind::Type, "TF"});
  q.maxSteps = 9;
  q.maxSize = 70;
  return q;
}

PathwayQuery PathwayQuery::Easy(std::string source, std::string target, bool directOnly) {
  PathwayQuery q;
  q.sources.push_back({ConditionKind::Name, std::move(source)});
  q.targets.push_back({ConditionKind::Name, std::move(target)});
  q.maxSteps = 8;
  q.maxSize = 50;
  q.directOnly = directOnly;
  return q;
}

bool PathwayQuery::isSource(const Molecule& m) const {
  return MatchesAny(sources, m);
}

bool PathwayQuery::isTarget(const Molecule& m) const {
  return MatchesAny(targets, m);
}

std::vector<std::string> UnmatchedConditions(const Network& network, const PathwayQuery& query) {
  std::vector<std::string> messages;
  for (const auto* group : {&query.sources, &query.targets}) {
    for (const MoleculeCondition& c : *group) {
      std::string message = UnmatchedConditionMessage(network, c);
      if (!message.empty()) messages.push_back(std::move(message));
    }
  }
  return messages;
}

std::string DescribeQuery(const PathwayQuery& query) {
  const auto conditions = [](const std::vector<MoleculeCondition>& group) {
    std::string out;
    for (const MoleculeCondition& c : group) {
      if (!Usable(c)) continue;
      if (!out.empty()) out += " or ";
      out += std::string(ConditionKindName(c.kind)) + "=" + c.value;
    }
    return out.empty() ? std::string("none") : out;
  };
  return "sources " + conditions(query.sources) + "; targets " + conditions(query.targets) +
         "; up to " + std::to_string(query.maxSteps) + " molecules per path; maps up to " +
         std::to_string(query.maxSize) + " interactions; " +
         (query.directOnly ? "direct interactions only" : "neutral links walked both ways");
}

bool CanStep(const Network& network, MoleculeId from, MoleculeId to, bool directOnly) {
  if (from == to) return false;
  if (const Interaction* i = network.findInteraction(from, to)) {
    if (!directOnly || i->isSigned()) return true;
  }
  if (directOnly) return false;
  const Interaction* back = network.findInteraction(to, from);
  return back != nullptr && back->isNeutral();
}

std::uint32_t StepInteraction(const Network& network, MoleculeId a, MoleculeId b) {
  if (const Interaction* i = network.findInteraction(a, b)) return IndexOf(network, i);
  return IndexOf(network, network.findInteraction(b, a));
}

std::vector<int> StepsToTarget(const Network& network, MoleculeId target, bool directOnly) {
  std::vector<int> steps(network.moleculeCount(), -1);
  if (target == 0 || target > network.moleculeCount()) return steps;
  std::vector<MoleculeId> queue{target};
  steps[target - 1] = 0;
  const auto reach = [&](MoleculeId x, int distance) {
    if (steps[x - 1] >= 0) return;
    steps[x - 1] = distance;
    queue.push_back(x);
  };
  for (std::size_t head = 0; head < queue.size(); ++head) {
    const MoleculeId y = queue[head];
    const int next = steps[y - 1] + 1;
    const auto& all = network.interactions();
    // X may step to Y over an interaction X -> Y ...
    for (const std::uint32_t k : network.incoming(y)) {
      const Interaction& i = all[k];
      if (i.source == y || (directOnly && i.isNeutral())) continue;
      reach(i.source, next);
    }
    // ... or, walking neutral links backwards, over a neutral interaction Y -> X.
    if (directOnly) continue;
    for (const std::uint32_t k : network.outgoing(y)) {
      const Interaction& i = all[k];
      if (i.target == y || !i.isNeutral()) continue;
      reach(i.target, next);
    }
  }
  return steps;
}

PathMap FindPathMap(const Network& network, MoleculeId source, MoleculeId target, int steps,
                    bool directOnly, const std::vector<int>& stepsToTarget, std::size_t limit) {
  const StepGraph graph(network, directOnly);
  PathSearcher searcher(network, graph, [] {});
  return searcher.search(source, target, steps, stepsToTarget, limit);
}

std::vector<PathwayMap> FindPathwayMaps(const Network& network, const PathwayQuery& query,
                                        Progress& progress, unsigned threads) {
  ThrowIfCancelled(progress);
  std::vector<MoleculeId> sources;
  std::vector<MoleculeId> targets;
  for (const Molecule& m : network.molecules()) {
    if (query.isSource(m)) sources.push_back(m.id);
    if (query.isTarget(m)) targets.push_back(m.id);
  }
  if (sources.empty() || targets.empty() || query.maxSteps < 2) return {};
  const std::size_t limit = static_cast<std::size_t>(std::max(query.maxSize, 0));

  const StepGraph graph(network, query.directOnly);
  const std::size_t total = targets.size();
  threads = static_cast<unsigned>(std::min<std::size_t>(ResolveThreads(threads), total));

  // The workers queue their status texts with the count of targets done; the calling
  // thread reports them in order.
  std::mutex statusMutex;
  std::vector<std::pair<std::size_t, std::string>> statuses;
  std::atomic<std::size_t> targetsDone{0};
  std::vector<std::pair<std::size_t, std::string>> shown;
  const auto reportStatuses = [&] {
    {
      std::lock_guard lock(statusMutex);
      shown.swap(statuses);
    }
    for (const auto& [done, text] : shown) progress.report(done, total, text);
    shown.clear();
  };

  // Each item is a whole target: one backward search serves all sources of a target. Each
  // worker keeps one searcher, whose walks stop when the loop is stopping.
  std::vector<std::optional<PathSearcher>> searchers(std::max(threads, 1u));
  std::vector<std::vector<PathwayMap>> perTarget(total);
  const auto searchTarget = [&](std::size_t t, ParallelWorker& worker) {
    std::optional<PathSearcher>& searcher = searchers[worker.index()];
    if (!searcher) searcher.emplace(network, graph, [&worker] { ThrowIfCancelled(worker); });
    const MoleculeId target = targets[t];
    const std::vector<int> toTarget = StepsToTarget(network, target, query.directOnly);
    for (const MoleculeId source : sources) {
      const int fewest = toTarget[source - 1];
      if (source == target || fewest < 0 || fewest > query.maxSteps - 1) continue;
      PathMap previous;
      int previousSteps = 0;
      for (int steps = 2; steps <= query.maxSteps; ++steps) {
        {
          std::lock_guard lock(statusMutex);
          statuses.emplace_back(targetsDone.load(), "Searching for pathways from " +
                                                        network.nameOf(source) + " to " +
                                                        network.nameOf(target) + " in " +
                                                        std::to_string(steps) + " steps... ");
        }
        worker.publish();
        PathMap map = searcher->search(source, target, steps, toTarget, limit);
        if (map.exceeded) break;  // keep the map of the step count before, if any
        previous = std::move(map);
        previousSteps = steps;
      }
      // A map that still fits at the maximum step count is kept as it is; an empty one
      // (the limit was outgrown at the first tries) is not kept.
      if (!previous.interactions.empty()) {
        perTarget[t].push_back({source, target, previousSteps, std::move(previous)});
      }
    }
    ++targetsDone;
  };
  ParallelFor(total, threads, progress, searchTarget, {.itemDone = {}, .tick = reportStatuses});

  std::vector<PathwayMap> maps;
  for (auto& part : perTarget) {
    std::move(part.begin(), part.end(), std::back_inserter(maps));
  }
  std::sort(maps.begin(), maps.end(), [](const PathwayMap& a, const PathwayMap& b) {
    return std::pair(a.source, a.target) < std::pair(b.source, b.target);
  });
  return maps;
}

std::string RouteNames(const Network& network, const Route& route) {
  std::string text;
  for (const MoleculeId id : route.molecules) {
    if (!text.empty()) text += " -> ";
    text += network.nameOf(id);
  }
  return text;
}

RouteList ListRoutes(const Network& network, MoleculeId source, MoleculeId target, int maxSteps,
                     bool directOnly, std::size_t limit, Progress* progress, std::size_t countCap) {
  RouteList list;
  if (source == 0 || target == 0 || source > network.moleculeCount() ||
      target > network.moleculeCount()) {
    return list;
  }
  const StepGraph graph(network, directOnly);
  const std::vector<int> toTarget = StepsToTarget(network, target, directOnly);
  PathSearcher searcher(network, graph, [progress] {
    if (progress != nullptr) ThrowIfCancelled(*progress);
  });
  // One walk per length, shortest first: the routes kept are the shortest ones even when
  // counting stops at the cap.
  for (int steps = 2; steps <= maxSteps; ++steps) {
    if (!searcher.routesOfLength(source, target, steps, toTarget, limit, countCap, list)) break;
  }
  return list;
}

}  // namespace tessel
