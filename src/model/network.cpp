#include "model/network.h"

#include <algorithm>

#include "model/warnings.h"
#include "util/memory.h"
#include "util/parallel.h"
#include "util/text.h"

namespace tessel {

std::string UpperCaseKey(std::string_view s) {
  std::string key(s);
  for (char& c : key) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return key;
}

MoleculeId Network::findId(std::string_view name) const {
  const auto it = nameIndex_.find(name);
  return it == nameIndex_.end() ? 0 : it->second;
}

const Interaction* Network::findInteraction(MoleculeId source, MoleculeId target) const {
  const auto it = pairIndex_.find(pairKey(source, target));
  return it == pairIndex_.end() ? nullptr : &interactions_[it->second];
}

void NetworkBuilder::reserve(std::size_t rows) {
  net_.interactions_.reserve(rows);
  PreferHugePages(net_.interactions_.data(), net_.interactions_.capacity() * sizeof(Interaction));
  net_.pairIndex_.reserve(rows);
}

void NetworkBuilder::recordConflict(MoleculeId id, MoleculeConflict::Field field,
                                    std::string_view value, std::size_t line) {
  std::string key = std::to_string(id);
  key.push_back(field == MoleculeConflict::Field::Type ? 't' : 'l');
  key.append(value);
  ++conflictRows_;
  const auto [it, inserted] = conflictIndex_.try_emplace(std::move(key), 0);
  if (!inserted) {
    ++net_.moleculeConflicts_[it->second].rows;
    return;
  }
  it->second = net_.moleculeConflicts_.size();
  net_.moleculeConflicts_.push_back({id, field, std::string(value), line, 1});
}

namespace {

// The name for a message: control characters written as "\xHH".
std::string Printable(std::string_view name) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string out;
  for (const char c : name) {
    const auto u = static_cast<unsigned char>(c);
    if (u < 0x20 || u == 0x7F) {
      out += "\\x";
      out += kHex[u >> 4];
      out += kHex[u & 15];
    } else {
      out += c;
    }
  }
  return out;
}

}  // namespace

std::optional<std::string> SigSafeName(std::string_view name) {
  const auto unsafe = [](char c) {
    const auto u = static_cast<unsigned char>(c);
    return u < 0x20 || u == 0x7F || c == ' ';
  };
  const bool endMarker = name.size() == 2 && UpperCaseKey(name) == "NA";
  if (!endMarker && std::none_of(name.begin(), name.end(), unsafe)) return std::nullopt;
  std::string safe(name);
  for (char& c : safe) {
    if (unsafe(c)) c = '_';
  }
  if (endMarker) safe.push_back('_');
  return safe;
}

void NetworkBuilder::makeNamesSigSafe(Warnings* warnings, std::string file) {
  sigSafeNames_ = true;
  warnings_ = warnings;
  file_ = std::move(file);
}

MoleculeId NetworkBuilder::addMolecule(const EndPoint& given, std::size_t line) {
  EndPoint e = given;
  std::optional<std::string> safe;
  if (sigSafeNames_ && (safe = SigSafeName(e.name))) {
    if (warnings_ != nullptr) {
      warnings_->add("sig-name", file_, line,
                     "molecule name \"" + Abbreviate(Printable(e.name), 40) +
                         "\" cannot be written to a SIG file (\"na\" ends the data there; "
                         "blanks and control characters split or break the row): read as \"" +
                         Abbreviate(Printable(*safe), 40) + "\"");
    }
    e.name = *safe;
  }
  auto it = names_.find(e.name);
  if (it != names_.end()) {
    const MoleculeId id = it->second;
    Molecule& m = net_.molecules_[id - 1];
    const auto fill = [](std::string& kept, std::string_view given) {
      if (IsUnknownField(kept) && !IsUnknownField(given)) kept = given;
    };
    fill(m.accession, e.accession);
    fill(m.extraId, e.extraId);
    if (!IsUnknownField(e.moleculeType) && m.moleculeType != e.moleculeType) {
      if (IsUnknownField(m.moleculeType)) {
        m.moleculeType = e.moleculeType;
      } else {
        recordConflict(id, MoleculeConflict::Field::Type, e.moleculeType, line);
      }
    }
    if (!IsUnknownField(e.location) && m.location != e.location) {
      if (IsUnknownField(m.location)) {
        m.location = e.location;
      } else {
        recordConflict(id, MoleculeConflict::Field::Location, e.location, line);
      }
    }
    return id;
  }
  Molecule m;
  m.id = static_cast<MoleculeId>(net_.molecules_.size() + 1);
  m.name = e.name;
  m.accession = e.accession;
  m.extraId = e.extraId;
  m.moleculeType = e.moleculeType;
  m.location = e.location;
  names_.emplace(m.name, m.id);
  net_.molecules_.push_back(std::move(m));
  return net_.molecules_.back().id;
}

MoleculeId NetworkBuilder::findMolecule(std::string_view name) const {
  const auto it = names_.find(name);
  return it == names_.end() ? 0 : it->second;
}

MoleculeId NetworkBuilder::addEnd(const EndPoint& e, std::size_t line, EndFields& fields) {
  const std::array<std::string_view, 4> given{e.accession, e.extraId, e.moleculeType, e.location};
  const auto same = [&given](const LastEnd& last) {
    for (std::size_t k = 0; k < 4; ++k) {
      if (last.fields[k] != given[k]) return false;
    }
    return true;
  };
  // A name changed on the way in is warned about on every row that gives it.
  const bool renamed = sigSafeNames_ && SigSafeName(e.name);
  if (!renamed) {
    const MoleculeId id = findMolecule(e.name);
    if (id != 0 && id <= lastEnds_.size()) {
      LastEnd& last = lastEnds_[id - 1];
      if (last.repeatable && same(last)) {
        fields = last.fields;
        return id;
      }
    }
  }
  const std::size_t conflictsBefore = conflictRows_;
  const MoleculeId id = addMolecule(e, line);
  if (lastEnds_.size() < id) lastEnds_.resize(id);
  LastEnd& last = lastEnds_[id - 1];
  for (std::size_t k = 0; k < 4; ++k) {
    if (last.fields[k] != given[k]) last.fields[k] = texts_->intern(given[k]);
  }
  last.repeatable = !renamed && conflictRows_ == conflictsBefore;
  fields = last.fields;
  return id;
}

PooledText NetworkBuilder::recentText(std::vector<PooledText>& recent, std::string_view value) {
  for (const PooledText& t : recent) {
    if (t == value) return t;
  }
  // A file with many distinct values goes to the pool for the ones past the first few.
  const PooledText t = texts_->intern(value);
  if (recent.size() < 16) recent.push_back(t);
  return t;
}

void NetworkBuilder::addRow(const EndPoint& source, const EndPoint& target, std::string_view effect,
                            std::string_view interactionType, PubmedId pubmedId, std::size_t line) {
  EndFields sourceFields, targetFields;
  const MoleculeId s = addEnd(source, line, sourceFields);
  const MoleculeId t = addEnd(target, line, targetFields);
  addInteraction(s, t, sourceFields, targetFields, recentText(recentEffects_, effect),
                 recentText(recentTypes_, interactionType), pubmedId, line);
}

void NetworkBuilder::addInteraction(MoleculeId s, MoleculeId t, const EndFields& sourceFields,
                                    const EndFields& targetFields, PooledText effect,
                                    PooledText interactionType, PubmedId pubmedId,
                                    std::size_t line) {
  ++rows_;
  const auto [it, inserted] = net_.pairIndex_.try_emplace(
      Network::pairKey(s, t), static_cast<std::uint32_t>(net_.interactions_.size()));
  if (!inserted) {
    Interaction& existing = net_.interactions_[it->second];
    auto& ids = existing.pubmedIds;
    if (std::find(ids.begin(), ids.end(), pubmedId) == ids.end()) ids.push_back(pubmedId);
    if (existing.effect != effect || existing.interactionType != interactionType) {
      net_.conflicts_.push_back({it->second, effect, interactionType, line});
    }
    return;
  }
  Interaction& i = net_.interactions_.emplace_back();
  i.id = static_cast<std::uint32_t>(net_.interactions_.size());
  i.source = s;
  i.target = t;
  i.sourceAccession = sourceFields[0];
  i.sourceExtraId = sourceFields[1];
  i.sourceType = sourceFields[2];
  i.sourceLocation = sourceFields[3];
  i.targetAccession = targetFields[0];
  i.targetExtraId = targetFields[1];
  i.targetType = targetFields[2];
  i.targetLocation = targetFields[3];
  i.effect = effect;
  i.interactionType = interactionType;
  i.pubmedIds.push_back(pubmedId);
}

namespace {

// Fills a compressed adjacency from (owner, value) pairs, keeping their order. `forEach`
// calls the function it is given with every pair; it is run twice (counting, then filling),
// so that the pairs need not be stored.
template <typename Value, typename ForEach>
void FillCompressed(std::size_t n, const ForEach& forEach, std::vector<std::size_t>& start,
                    std::vector<Value>& values) {
  start.assign(n + 1, 0);
  forEach([&start](MoleculeId owner, Value) { ++start[owner]; });
  for (std::size_t i = 1; i <= n; ++i) start[i] += start[i - 1];
  // Owner v (1-based) now owns [start[v-1], start[v]).
  values.resize(start[n]);
  std::vector<std::size_t> next(start.begin(), start.end() - 1);
  forEach([&](MoleculeId owner, Value value) { values[next[owner - 1]++] = value; });
}

void CountLinks(Molecule& source, Molecule& target, const Interaction& i) {
  source.links.allLinks++;
  target.links.allLinks++;
  if (i.isNeutral()) {
    source.links.neutralLinks++;
    target.links.neutralLinks++;
    return;
  }
  source.links.outLinks++;
  target.links.inLinks++;
  if (i.effect == "+") {
    source.links.positiveLinks++;
    target.links.positiveLinks++;
    source.links.positiveOutLinks++;
    target.links.positiveInLinks++;
  } else {
    source.links.negativeLinks++;
    target.links.negativeLinks++;
    source.links.negativeOutLinks++;
    target.links.negativeInLinks++;
  }
}

}  // namespace

Network NetworkBuilder::build(unsigned threads) {
  Network& net = net_;
  const std::size_t n = net.molecules_.size();
  // The ends of every interaction, read once: the interactions are large, and each
  // adjacency below goes over the ends twice.
  std::vector<std::pair<MoleculeId, MoleculeId>> ends;
  ends.reserve(net.interactions_.size());
  for (const Interaction& i : net.interactions_) ends.emplace_back(i.source, i.target);

  const auto undirected = [&] {
    // Undirected neighbours in order of first meeting: interactions in creation order give
    // exactly that order, since each pair's first row creates its interaction.
    std::vector<std::size_t> candidateStart;
    std::vector<MoleculeId> candidates;
    FillCompressed(
        n,
        [&ends](const auto& pair) {
          for (const auto& [source, target] : ends) {
            if (source == target) continue;
            pair(source, target);
            pair(target, source);
          }
        },
        candidateStart, candidates);
    net.neighbourStart_.assign(n + 1, 0);
    net.neighbourIds_.clear();
    net.neighbourIds_.reserve(candidates.size());
    std::vector<MoleculeId> stamp(n + 1, 0);
    for (MoleculeId v = 1; v <= n; ++v) {
      for (std::size_t k = candidateStart[v - 1]; k < candidateStart[v]; ++k) {
        const MoleculeId u = candidates[k];
        if (stamp[u] == v) continue;
        stamp[u] = v;
        net.neighbourIds_.push_back(u);
      }
      net.neighbourStart_[v] = net.neighbourIds_.size();
    }
  };

  // The rest reads the interactions and writes other members.
  const auto rest = [&] {
    // Directed adjacency by interaction index.
    const auto byEnd = [&ends](bool source) {
      return [&ends, source](const auto& pair) {
        for (std::uint32_t k = 0; k < ends.size(); ++k) {
          pair(source ? ends[k].first : ends[k].second, k);
        }
      };
    };
    FillCompressed(n, byEnd(true), net.outStart_, net.outIds_);
    FillCompressed(n, byEnd(false), net.inStart_, net.inIds_);

    // Display order: stable sort by upper-cased name.
    std::vector<std::string> keys;
    keys.reserve(n);
    for (const Molecule& m : net.molecules_) keys.push_back(UpperCaseKey(m.name));
    net.displayOrder_.resize(n);
    for (MoleculeId v = 1; v <= n; ++v) net.displayOrder_[v - 1] = v;
    std::stable_sort(net.displayOrder_.begin(), net.displayOrder_.end(),
                     [&](MoleculeId a, MoleculeId b) { return keys[a - 1] < keys[b - 1]; });

    for (Molecule& m : net.molecules_) m.links = {};
    for (const Interaction& i : net.interactions_) {
      CountLinks(net.molecules_[i.source - 1], net.molecules_[i.target - 1], i);
    }

    net.nameIndex_.reserve(n);
    for (const Molecule& m : net.molecules_) net.nameIndex_.emplace(m.name, m.id);
  };

  if (threads > 1) {
    OnThreads(2, [&](unsigned part) { part == 0 ? undirected() : rest(); });
  } else {
    undirected();
    rest();
  }
  net.texts_ = std::move(texts_);
  Network result = std::move(net_);
  net_ = Network();
  texts_ = std::make_shared<TextPool>();
  names_ = {};
  lastEnds_ = {};
  conflictRows_ = 0;
  recentEffects_.clear();
  recentTypes_.clear();
  rows_ = 0;
  conflictIndex_.clear();
  return result;
}

}  // namespace tessel
