// Conditions that pick molecules by type, location or name ("Type=Ligand"), used to choose
// the sources and targets of pathway maps and the sources of propagated sub-networks.
#pragma once

#include <string>
#include <string_view>

#include "model/network.h"

namespace tessel {

enum class ConditionKind { Type, Location, Name };

struct MoleculeCondition {
  ConditionKind kind = ConditionKind::Type;
  std::string value;

  // Exact, case-sensitive comparison of the chosen field with the value.
  bool matches(const Molecule& molecule) const;
};

// "Type", "Location" or "Name" (any letter case); throws std::invalid_argument otherwise.
ConditionKind ParseConditionKind(std::string_view name);
std::string_view ConditionKindName(ConditionKind kind);  // "Type", "Location", "Name"

// Parses "KIND=VALUE" (the value may itself hold "="); throws std::invalid_argument with a
// message naming the text when it is malformed.
MoleculeCondition ParseCondition(std::string_view text);

}  // namespace tessel
