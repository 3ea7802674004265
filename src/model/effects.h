// The effect of an interaction: "+" (activation), "_" (inhibition) or "0" (binding or not
// known), and the words that other network files use for them.
#pragma once

#include <optional>
#include <string_view>

namespace tessel {

inline constexpr std::string_view kActivation = "+";
inline constexpr std::string_view kInhibition = "_";
inline constexpr std::string_view kNeutral = "0";

// True for "+", "_" and "0", the effects every analysis understands.
inline bool IsKnownEffect(std::string_view effect) {
  return effect == kActivation || effect == kInhibition || effect == kNeutral;
}

// Maps a sign written as another tool or database writes it to "+", "_" or "0"; nullopt
// when the word says nothing about a sign. Case and surrounding blanks are ignored.
//   "+": +, 1, +1, activation, activates, activate, activating, activator, stimulation,
//        stimulates, stimulate, stimulator, positive, induction, induces, up, increases,
//        ->, -->, and any text starting with "up-regulates", "up regulates", "upregulates",
//        "up-regulation" or "upregulation" (SIGNOR's "up-regulates activity", ...)
//   "_": _, -, -1, inhibition, inhibits, inhibit, inhibiting, inhibitor, repression,
//        represses, repressor, suppression, suppresses, negative, down, decreases, -|, --|,
//        and any text starting with "down-regulates", "down regulates", "downregulates",
//        "down-regulation" or "downregulation"
//   "0": 0, unknown, neutral, binding, binds, association, undirected, complex, none,
//        form complex (SIGNOR's complex formation)
std::optional<std::string_view> EffectFromWord(std::string_view word);

}  // namespace tessel
