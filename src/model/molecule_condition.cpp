#include "model/molecule_condition.h"

#include <stdexcept>

#include "model/network.h"

namespace tessel {

bool MoleculeCondition::matches(const Molecule& molecule) const {
  switch (kind) {
    case ConditionKind::Type:
      return molecule.moleculeType == value;
    case ConditionKind::Location:
      return molecule.location == value;
    case ConditionKind::Name:
      return molecule.name == value;
  }
  return false;
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
