// Conditions that pick molecules by type, location or name ("Type=Ligand"), used to choose
// the sources and targets of pathway maps and the sources of propagated sub-networks.
#pragma once

#include <string>
#include <string_view>
#include <vector>

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

// The field of `molecule` that a condition of this kind compares.
const std::string& ConditionField(const Molecule& molecule, ConditionKind kind);

// The existing value of this kind closest to `value`: one equal to it without regard to
// letter case if there is one, else the one at the smallest edit distance (letter case
// ignored; the first in molecule order wins a tie). Empty when the network has no molecule.
std::string ClosestValue(const Network& network, ConditionKind kind, std::string_view value);

// Empty when some molecule matches `condition` (or its value is empty, so it is unused);
// otherwise a message naming it and the closest existing value:
//   no molecule has Type "tf"; did you mean "TF"?
// When the closest type or location differs by more than letter case, the existing values
// follow: ... did you mean "TF"? (Type values: Protein, Receptor, TF)
std::string UnmatchedConditionMessage(const Network& network, const MoleculeCondition& condition);

// Parses "KIND=VALUE" (the value may itself hold "="); throws std::invalid_argument with a
// message naming the text when it is malformed.
MoleculeCondition ParseCondition(std::string_view text);

}  // namespace tessel
