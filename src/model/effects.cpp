#include "model/effects.h"

#include <array>
#include <string>

namespace tessel {
namespace {

std::string Lower(std::string_view s) {
  while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) s.remove_prefix(1);
  while (!s.empty() && (s.back() == ' ' || s.back() == '\t' || s.back() == '\r')) {
    s.remove_suffix(1);
  }
  std::string out(s);
  for (char& c : out) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return out;
}

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
  const std::string w = Lower(word);
  for (const std::string_view prefix :
       {"up-regulates", "up regulates", "upregulates", "up-regulation", "upregulation"}) {
    if (w.starts_with(prefix)) return kActivation;
  }
  for (const std::string_view prefix :
       {"down-regulates", "down regulates", "downregulates", "down-regulation", "downregulation"}) {
    if (w.starts_with(prefix)) return kInhibition;
  }
  for (const std::string_view a : kActivationWords) {
    if (w == a) return kActivation;
  }
  for (const std::string_view a : kInhibitionWords) {
    if (w == a) return kInhibition;
  }
  for (const std::string_view a : kNeutralWords) {
    if (w == a) return kNeutral;
  }
  return std::nullopt;
}

}  // namespace tessel
