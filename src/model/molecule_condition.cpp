#include "model/molecule_condition.h"

#include <algorithm>
#include <numeric>
#include <stdexcept>
#include <unordered_set>

#include "model/network.h"
#include "util/text.h"

namespace tessel {

namespace {

// Levenshtein distance with one row of the table.
std::size_t EditDistance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t above = row[j];
      row[j] = std::min({row[j] + 1, row[j - 1] + 1, diagonal + (a[i - 1] == b[j - 1] ? 0 : 1)});
      diagonal = above;
    }
  }
  return row[b.size()];
}

}  // namespace

const std::string& ConditionField(const Molecule& molecule, ConditionKind kind) {
  switch (kind) {
    case ConditionKind::Location:
      return molecule.location;
    case ConditionKind::Name:
      return molecule.name;
    case ConditionKind::Type:
      break;
  }
  return molecule.moleculeType;
}

bool MoleculeCondition::matches(const Molecule& molecule) const {
  return ConditionField(molecule, kind) == value;
}

std::string ClosestValue(const Network& network, ConditionKind kind, std::string_view value) {
  const std::string key = UpperCaseKey(value);
  std::unordered_set<std::string_view> seen;
  std::string_view best;
  std::size_t bestDistance = 0;
  for (const Molecule& m : network.molecules()) {
    const std::string& candidate = ConditionField(m, kind);
    if (!seen.insert(candidate).second) continue;
    const std::string candidateKey = UpperCaseKey(candidate);
    if (candidateKey == key) return candidate;
    const std::size_t distance = EditDistance(key, candidateKey);
    if (best.data() == nullptr || distance < bestDistance) {
      best = candidate;
      bestDistance = distance;
    }
  }
  return std::string(best);
}

std::string UnmatchedConditionMessage(const Network& network, const MoleculeCondition& condition) {
  if (condition.value.empty()) return {};
  const auto& all = network.molecules();
  if (std::any_of(all.begin(), all.end(),
                  [&condition](const Molecule& m) { return condition.matches(m); })) {
    return {};
  }
  std::string message = "no molecule has " + std::string(ConditionKindName(condition.kind)) +
                        " \"" + condition.value + "\"";
  const std::string closest = ClosestValue(network, condition.kind, condition.value);
  if (closest.empty()) return message;
  message += "; did you mean \"" + closest + "\"?";
  // A guess that differs by more than letter case may be far off: types and locations are
  // few, so list them too.
  if (condition.kind == ConditionKind::Name || EqualsNoCase(closest, condition.value)) {
    return message;
  }
  std::vector<std::string> values;
  for (const Molecule& m : all) values.push_back(ConditionField(m, condition.kind));
  std::sort(values.begin(), values.end());
  values.erase(std::unique(values.begin(), values.end()), values.end());
  constexpr std::size_t kListed = 12;
  message += " (" + std::string(ConditionKindName(condition.kind)) + " values: ";
  for (std::size_t k = 0; k < values.size() && k < kListed; ++k) {
    message += (k > 0 ? ", " : "") + values[k];
  }
  if (values.size() > kListed) message += ", ...";
  return message + ")";
}

ConditionKind ParseConditionKind(std::string_view name) {
  const std::string key = UpperCaseKey(name);
  if (key == "TYPE") return ConditionKind::Type;
  if (key == "LOCATION") return ConditionKind::Location;
  if (key == "NAME") return ConditionKind::Name;
  throw std::invalid_argument("unknown condition kind \"" + std::string(name) +
                              "\" (use Type, Location or Name)");
}

std::string_view ConditionKindName(ConditionKind kind) {
  switch (kind) {
    case ConditionKind::Type:
      return "Type";
    case ConditionKind::Location:
      return "Location";
    case ConditionKind::Name:
      return "Name";
  }
  return "Type";
}

MoleculeCondition ParseCondition(std::string_view text) {
  const std::size_t eq = text.find('=');
  if (eq == std::string_view::npos || eq + 1 == text.size()) {
    throw std::invalid_argument("a condition is written KIND=VALUE, for example Type=Ligand: \"" +
                                std::string(text) + "\"");
  }
  return {ParseConditionKind(text.substr(0, eq)), std::string(text.substr(eq + 1))};
}

}  // namespace tessel
