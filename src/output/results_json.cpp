#include "output/results_json.h"

#include <string>

namespace tessel {
namespace {

nlohmann::ordered_json TallyJson(const ValueTally& tally) {
  nlohmann::ordered_json object = nlohmann::ordered_json::object();
  for (const auto& [value, count] : tally.values) object[value] = count;
  return object;
}

}  // namespace

nlohmann::ordered_json StatisticsJson(const Statistics& stats) {
  nlohmann::ordered_json j;
  j["molecules"] = stats.molecules;
  j["interactions"] = stats.interactions;
  j["references"] = stats.references;
  j["links_per_node"] = stats.linksPerNode;
  j["clustering"] = stats.clustering;
  j["grid"] = stats.grid;
  j["cpl"] = stats.pathLength.value;
  j["cpl_largest_island"] = stats.pathLength.largestIsland;
  j["islands"] = stats.islands.count;
  j["largest_island"] = stats.islands.largest.size();
  j["types"] = TallyJson(stats.moleculeTypes);
  j["locations"] = TallyJson(stats.locations);
  j["effects"] = TallyJson(stats.effects);
  j["interaction_types"] = TallyJson(stats.interactionTypes);
  j["connectivity"] = {{"links", stats.connectivity.links},
                       {"in", stats.connectivity.in},
                       {"out", stats.connectivity.out}};
  return j;
}

nlohmann::ordered_json FindingsJson(const Network& network, const std::vector<Finding>& findings) {
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  for (const Finding& f : findings) {
    nlohmann::ordered_json interactions = nlohmann::ordered_json::array();
    for (const std::uint32_t k : f.interactions) {
      const Interaction& i = network.interactions()[k];
      interactions.push_back(
          nlohmann::ordered_json::array({network.sourceName(i), network.targetName(i)}));
    }
    list.push_back({{"kind", FindingKindName(f.kind)},
                    {"message", f.message},
                    {"molecules", f.molecules},
                    {"interactions", interactions},
                    {"lines", f.lines},
                    {"pubmed_ids", f.pubmedIds}});
  }
  return list;
}

std::string JsonText(const nlohmann::ordered_json& json, int indent) {
  return json.dump(indent, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

}  // namespace tessel
