#include "model/effects.h"

#include <array>

#include "util/text.h"

namespace tessel {
namespace {

constexpr std::array<std::string_view, 19> kActivationWords = {
    "+",           "1",          "+1",        "activation", "activates", "activate", "activating",
    "stimulation", "stimulates", "stimulate", "positive",   "induction", "induces",  "up",
    "increases",   "->",         "-->",       "activator",  "stimulator"};
constexpr std::array<std::string_view, 18> kInhibitionWords = {
    "_",          "-",          "-1",        "inhibition", "inhibits",    "inhibit",
    "inhibiting", "repression", "represses", "repressor",  "negative",    "down",
    "decreases",  "-|",         "--|",       "inhibitor",  "suppression", "suppresses"};
constexpr std::array<std::string_view, 10> kNeutralWords = {
    "0",           "unknown",    "neutral", "binding", "binds",
    "association", "undirected", "complex", "none",    "form complex"};

}  // namespace

std::optional<std::string_view> EffectFromWord(std::string_view word) {
  const std::string_view w = TrimBlanks(word);
  for (const std::string_view prefix :
       {"up-regulates", "up regulates", "upregulates", "up-regulation", "upregulation"}) {
    if (StartsWithNoCase(w, prefix)) return kActivation;
  }
  for (const std::string_view prefix :
       {"down-regulates", "down regulates", "downregulates", "down-regulation", "downregulation"}) {
    if (StartsWithNoCase(w, prefix)) return kInhibition;
  }
  for (const std::string_view a : kActivationWords) {
    if (EqualsNoCase(w, a)) return kActivation;
  }
  for (const std::string_view a : kInhibitionWords) {
    if (EqualsNoCase(w, a)) return kInhibition;
  }
  for (const std::string_view a : kNeutralWords) {
    if (EqualsNoCase(w, a)) return kNeutral;
  }
  return std::nullopt;
}

}  // namespace tessel
