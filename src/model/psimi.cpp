#include "model/psimi.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <string>
#include <vector>

#include <absl/container/flat_hash_map.h>
#include <absl/container/flat_hash_set.h>
#include <pugixml.hpp>

#include "model/effects.h"
#include "model/text_input.h"
#include "util/error.h"
#include "util/text.h"

namespace tessel {
namespace {

// A molecule name from an alias or label: trimmed, without an organism suffix; none when
// nothing is left or a blank remains inside.
std::optional<std::string> UsableName(std::string_view raw) {
  std::string_view name = Trim(raw);
  for (const std::string_view suffix : {"_human", "_mouse", "_rat"}) {
    if (EndsWithNoCase(name, suffix)) {
      name.remove_suffix(suffix.size());
      break;
    }
  }
  if (name.empty() || std::any_of(name.begin(), name.end(), IsSpace)) return std::nullopt;
  return std::string(name);
}

// An interaction type as one word: runs of blanks become "_"; "NA" when empty.
std::string TypeWord(std::string_view raw) {
  raw = Trim(raw);
  return raw.empty() ? std::string("NA") : BlanksToUnderscores(raw);
}

// A PubMed id written as a decimal number above 0; 0 for anything else.
PubmedId PositivePubmedId(std::string_view text) {
  text = Trim(text);
  PubmedId value = 0;
  const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (ec != std::errc() || end != text.data() + text.size() || value <= 0) return 0;
  return value;
}

void AddPubmedId(std::vector<PubmedId>& ids, PubmedId id) {
  if (id > 0 && std::find(ids.begin(), ids.end(), id) == ids.end()) ids.push_back(id);
}

// One end of a binary interaction; an empty name marks an interactor without a usable name.
struct Partner {
  std::string name;
  std::string accession = "NA";
};

// How often one kind of thing was left out, and the line of the first.
struct Drop {
  std::size_t count = 0;
  std::size_t line = 0;
  void add(std::size_t at) {
    if (count++ == 0) line = at;
  }
};

// What the readers left out, reported as warnings at the end of a read.
struct DropCounts {
  Drop unnamedInteractors;
  Drop unnamedInteractions;
  Drop oneParticipant;
  Drop manyParticipants;
  Drop notMolecule;  // a participant that is itself an interaction
  Drop negative;
  Drop expanded;
  Drop withoutPubmed;
};

// Turns binary interactions into network rows, one per PubMed id.
class BinaryCollector {
 public:
  DropCounts counts;

  // Names a SIG file cannot hold are changed as they come in (NetworkBuilder).
  void makeNamesSigSafe(Warnings* warnings, const std::string& file) {
    builder_.makeNamesSigSafe(warnings, file);
  }

  void add(const Partner& a, const Partner& b, std::string_view effect, std::string_view type,
           const std::vector<PubmedId>& pubmedIds, std::size_t line) {
    const EndPoint source{a.name, a.accession};
    const EndPoint target{b.name, b.accession};
    if (pubmedIds.empty()) {
      counts.withoutPubmed.add(line);
      builder_.addMolecule(source);
      builder_.addMolecule(target);
      return;
    }
    for (const PubmedId id : pubmedIds) builder_.addRow(source, target, effect, type, id, line);
  }

  // A causal statement that gives no sign: read as "0", reported once per statement.
  void unknownStatement(std::string_view statement, std::size_t line) {
    unknownStatements_.emplace_back(statement, line);
  }

  Network finish(const std::string& file, Warnings* warnings) {
    if (warnings) {
      const auto warn = [&](const Drop& drop, const std::string& what) {
        if (drop.count > 0) {
          warnings->addCount(what.substr(0, 40), file, drop.line,
                             std::to_string(drop.count) + " " + what +
                                 (drop.count > 1 ? " (the first is shown)" : ""),
                             1);
        }
      };
      const DropCounts& c = counts;
      warn(c.unnamedInteractors,
           "interactor(s) without a usable name (none, or one holding a blank) were dropped, "
           "and with them " +
               std::to_string(c.unnamedInteractions.count) + " interaction(s)");
      warn(c.oneParticipant, "interaction(s) with a single participant were dropped");
      warn(c.manyParticipants, "interaction(s) with more than two participants were dropped");
      warn(c.expanded,
           "row(s) expanded from interactions of more than two participants were dropped");
      warn(c.notMolecule, "interaction(s) with an interaction as participant were dropped");
      warn(c.negative, "negative interaction(s) were dropped");
      warn(c.withoutPubmed,
           "interaction(s) without a PubMed id were left out (their molecules were kept)");
      for (const auto& [statement, line] : unknownStatements_) {
        warnings->add(
            "causal\t" + statement, file, line,
            "causal statement \"" + Abbreviate(statement, 60) + "\" gives no sign; read as \"0\"");
      }
      if (builder_.interactionCount() == 0) {
        warnings->add("no interaction", file, 0, "no interaction was read");
      }
    }
    return builder_.build();
  }

 private:
  NetworkBuilder builder_;
  std::vector<std::pair<std::string, std::size_t>> unknownStatements_;
};

// ---------------------------------------------------------------------------------------
// PSI-MI XML

// The value of encoding="..." in the XML declaration, or "" when there is none.
std::string_view DeclaredEncoding(std::string_view text) {
  if (text.substr(0, 5) != "<?xml") return {};
  const std::string_view decl = text.substr(0, text.find("?>"));
  const std::size_t key = decl.find("encoding");
  if (key == std::string_view::npos) return {};
  std::size_t i = key + 8;
  while (i < decl.size() && IsSpace(decl[i])) ++i;
  if (i >= decl.size() || decl[i] != '=') return {};
  ++i;
  while (i < decl.size() && IsSpace(decl[i])) ++i;
  if (i >= decl.size() || (decl[i] != '"' && decl[i] != '\'')) return {};
  const std::size_t close = decl.find(decl[i], i + 1);
  if (close == std::string_view::npos) return {};
  return decl.substr(i + 1, close - i - 1);
}

std::string Latin1ToUtf8(std::string_view text) {
  std::string out;
  out.reserve(text.size() + text.size() / 8);
  for (const char ch : text) {
    const auto c = static_cast<unsigned char>(ch);
    if (c < 0x80) {
      out.push_back(ch);
    } else {
      out.push_back(static_cast<char>(0xC0 | (c >> 6)));
      out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    }
  }
  return out;
}

pugi::xml_node Child(const pugi::xml_node& node, std::string_view name) {
  for (const pugi::xml_node child : node.children()) {
    if (child.type() == pugi::node_element && LocalName(child) == name) return child;
  }
  return {};
}

template <typename F>
void ForEachChild(const pugi::xml_node& node, std::string_view name, F&& f) {
  for (const pugi::xml_node child : node.children()) {
    if (child.type() == pugi::node_element && LocalName(child) == name) f(child);
  }
}

std::string_view TextOf(const pugi::xml_node& node) {
  return node.text().get();
}
std::string_view AttributeOf(const pugi::xml_node& node, const char* name) {
  return node.attribute(name).value();
}

// Adds the PubMed ids among the primaryRef and secondaryRef elements of an xref.
void CollectPubmedIds(const pugi::xml_node& xref, std::vector<PubmedId>& ids) {
  for (const pugi::xml_node ref : xref.children()) {
    const std::string_view name = LocalName(ref);
    if (name != "primaryRef" && name != "secondaryRef") continue;
    if (EqualsNoCase(AttributeOf(ref, "db"), "pubmed") || AttributeOf(ref, "dbAc") == "MI:0446") {
      AddPubmedId(ids, PositivePubmedId(AttributeOf(ref, "id")));
    }
  }
}

// The publication of an experiment is its bibref; some files put it in its own xref too.
std::vector<PubmedId> ExperimentPubmedIds(const pugi::xml_node& experiment) {
  std::vector<PubmedId> ids;
  CollectPubmedIds(Child(Child(experiment, "bibref"), "xref"), ids);
  CollectPubmedIds(Child(experiment, "xref"), ids);
  return ids;
}

bool IsUniprot(const pugi::xml_node& ref) {
  const std::string_view db = AttributeOf(ref, "db");
  return EqualsNoCase(db, "uniprotkb") || EqualsNoCase(db, "uniprot") ||
         AttributeOf(ref, "dbAc") == "MI:0486";
}

Partner ReadInteractor(const pugi::xml_node& interactor) {
  Partner p;
  const pugi::xml_node names = Child(interactor, "names");
  // A gene-name alias wins over the short label; an unusable one gives way to the next.
  for (const pugi::xml_node alias : names.children()) {
    if (LocalName(alias) != "alias") continue;
    if (!EqualsNoCase(AttributeOf(alias, "type"), "gene name") &&
        AttributeOf(alias, "typeAc") != "MI:0301") {
      continue;
    }
    if (auto name = UsableName(TextOf(alias))) {
      p.name = std::move(*name);
      break;
    }
  }
  if (p.name.empty()) {
    if (auto name = UsableName(TextOf(Child(names, "shortLabel")))) p.name = std::move(*name);
  }
  const pugi::xml_node xref = Child(interactor, "xref");
  for (const std::string_view kind : {"primaryRef", "secondaryRef"}) {
    for (const pugi::xml_node ref : xref.children()) {
      if (LocalName(ref) == kind && IsUniprot(ref) && !Trim(AttributeOf(ref, "id")).empty()) {
        p.accession = Trim(AttributeOf(ref, "id"));
        return p;
      }
    }
  }
  return p;
}

class PsiMiXmlReader {
 public:
  PsiMiXmlReader(std::string_view text, const std::string& file, Warnings* warnings)
      : lines_(text), file_(file) {
    out_.makeNamesSigSafe(warnings, file);
  }

  std::size_t lineOf(const pugi::xml_node& node) const {
    return lines_.lineOf(node.offset_debug());
  }

  void readEntry(const pugi::xml_node& entry) {
    experiments_.clear();
    interactors_.clear();
    ForEachChild(Child(entry, "experimentList"), "experimentDescription",
                 [&](const pugi::xml_node& e) {
                   experiments_[std::string(AttributeOf(e, "id"))] = ExperimentPubmedIds(e);
                 });
    const pugi::xml_node interactorList = Child(entry, "interactorList");
    if (Child(interactorList, "proteinInteractor")) {
      throw InputError(file_, lineOf(Child(interactorList, "proteinInteractor")),
                       "unsupported PSI-MI version 1.0 (only 2.5 is read)");
    }
    ForEachChild(interactorList, "interactor", [&](const pugi::xml_node& i) {
      Partner p = ReadInteractor(i);
      if (p.name.empty()) out_.counts.unnamedInteractors.add(lineOf(i));
      interactors_[std::string(AttributeOf(i, "id"))] = std::move(p);
    });
    ForEachChild(Child(entry, "interactionList"), "interaction",
                 [&](const pugi::xml_node& i) { readInteraction(i); });
  }

  Network finish(Warnings* warnings) { return out_.finish(file_, warnings); }

 private:
  // The molecule of a participant, or nullopt when it is another interaction.
  std::optional<Partner> participantMolecule(const pugi::xml_node& participant) {
    if (const pugi::xml_node ref = Child(participant, "interactorRef")) {
      const auto it = interactors_.find(std::string(Trim(TextOf(ref))));
      if (it == interactors_.end()) {
        throw InputError(file_, lineOf(ref),
                         "interactorRef \"" + Abbreviate(Trim(TextOf(ref)), 40) +
                             "\" names no interactor of this entry");
      }
      return it->second;
    }
    if (const pugi::xml_node inline_ = Child(participant, "interactor")) {
      Partner p = ReadInteractor(inline_);
      // An inline interactor may be referred to later by its id, and repeats of it are
      // counted once.
      const auto [it, added] = interactors_.try_emplace(std::string(AttributeOf(inline_, "id")), p);
      if (added && p.name.empty()) out_.counts.unnamedInteractors.add(lineOf(inline_));
      return p;
    }
    if (Child(participant, "interactionRef")) return std::nullopt;
    throw InputError(file_, lineOf(participant),
                     "participant without interactorRef, interactor or interactionRef");
  }

  // The interaction's own PubMed ids and those of its experiments. Inline experiments are
  // kept, since a later interaction may refer to them.
  std::vector<PubmedId> pubmedIdsOf(const pugi::xml_node& interaction) {
    std::vector<PubmedId> pubmedIds;
    CollectPubmedIds(Child(interaction, "xref"), pubmedIds);
    for (const pugi::xml_node e : Child(interaction, "experimentList").children()) {
      if (LocalName(e) == "experimentDescription") {
        std::vector<PubmedId> ids = ExperimentPubmedIds(e);
        for (const PubmedId id : ids) AddPubmedId(pubmedIds, id);
        experiments_.try_emplace(std::string(AttributeOf(e, "id")), std::move(ids));
      } else if (LocalName(e) == "experimentRef") {
        std::string_view ref = Trim(TextOf(e));
        if (ref.empty()) ref = AttributeOf(e, "ref");  // the attribute form of older files
        const auto it = experiments_.find(std::string(ref));
        if (it == experiments_.end()) {
          throw InputError(
              file_, lineOf(e),
              "experimentRef \"" + Abbreviate(ref, 40) + "\" names no experiment of this entry");
        }
        for (const PubmedId id : it->second) AddPubmedId(pubmedIds, id);
      }
    }
    return pubmedIds;
  }

  void readInteraction(const pugi::xml_node& interaction) {
    // References are resolved (and inline definitions kept) even for interactions that are
    // dropped, so that a broken file is reported whatever it holds.
    const std::vector<PubmedId> pubmedIds = pubmedIdsOf(interaction);
    std::vector<std::optional<Partner>> participants;
    ForEachChild(Child(interaction, "participantList"), "participant",
                 [&](const pugi::xml_node& p) { participants.push_back(participantMolecule(p)); });
    if (EqualsNoCase(Trim(TextOf(Child(interaction, "negative"))), "true")) {
      out_.counts.negative.add(lineOf(interaction));
      return;
    }
    if (participants.size() != 2) {
      (participants.size() < 2 ? out_.counts.oneParticipant : out_.counts.manyParticipants)
          .add(lineOf(interaction));
      return;
    }
    const std::optional<Partner>& a = participants[0];
    const std::optional<Partner>& b = participants[1];
    if (!a || !b) {
      out_.counts.notMolecule.add(lineOf(interaction));
      return;
    }
    if (a->name.empty() || b->name.empty()) {
      out_.counts.unnamedInteractions.add(lineOf(interaction));
      return;
    }
    const pugi::xml_node typeNames = Child(Child(interaction, "interactionType"), "names");
    std::string_view typeText = Trim(TextOf(Child(typeNames, "fullName")));
    if (typeText.empty()) typeText = TextOf(Child(typeNames, "shortLabel"));
    out_.add(*a, *b, "0", TypeWord(typeText), pubmedIds, lineOf(interaction));
  }

  LineIndex lines_;
  const std::string& file_;
  BinaryCollector out_;
  // Ids are local to their entry.
  absl::flat_hash_map<std::string, std::vector<PubmedId>> experiments_;
  absl::flat_hash_map<std::string, Partner> interactors_;
};

// ---------------------------------------------------------------------------------------
// PSI-MI TAB

std::vector<std::string_view> SplitTabs(std::string_view line) {
  std::vector<std::string_view> fields;
  std::size_t start = 0;
  while (true) {
    const std::size_t tab = line.find('\t', start);
    fields.push_back(line.substr(start, tab == std::string_view::npos ? tab : tab - start));
    if (tab == std::string_view::npos) return fields;
    start = tab + 1;
  }
}

// The "|"-separated entries of a column; "-" means none. A "|" inside a quoted text does
// not separate.
std::vector<std::string_view> SplitEntries(std::string_view field) {
  std::vector<std::string_view> entries;
  field = Trim(field);
  if (field.empty() || field == "-") return entries;
  bool quoted = false;
  std::size_t start = 0;
  for (std::size_t i = 0; i <= field.size(); ++i) {
    if (i < field.size()) {
      if (quoted && field[i] == '\\' && i + 1 < field.size()) {
        ++i;  // an escaped character
        continue;
      }
      if (field[i] == '"') quoted = !quoted;
      if (quoted || field[i] != '|') continue;
    }
    const std::string_view entry = Trim(field.substr(start, i - start));
    if (!entry.empty() && entry != "-") entries.push_back(entry);
    start = i + 1;
  }
  return entries;
}

std::string Unquote(std::string_view s) {
  s = Trim(s);
  if (s.size() < 2 || s.front() != '"' || s.back() != '"') return std::string(s);
  std::string out;
  for (std::size_t i = 1; i + 1 < s.size(); ++i) {
    if (s[i] == '\\' && i + 2 < s.size()) ++i;
    out.push_back(s[i]);
  }
  return out;
}

// One entry "db:value(description)"; the value and the description may be quoted.
struct MitabEntry {
  std::string db;
  std::string value;
  std::string description;
};

MitabEntry ParseEntry(std::string_view entry) {
  MitabEntry e;
  // The description is the last parenthesised group outside quotes that ends the entry.
  std::size_t open = std::string_view::npos, colon = std::string_view::npos;
  int depth = 0;
  bool quoted = false;
  for (std::size_t i = 0; i < entry.size(); ++i) {
    const char c = entry[i];
    if (quoted) {
      if (c == '\\') ++i;
      if (c == '"') quoted = false;
      continue;
    }
    if (c == '"') {
      quoted = true;
    } else if (c == ':' && depth == 0 && colon == std::string_view::npos) {
      colon = i;
    } else if (c == '(') {
      if (depth++ == 0) open = i;
    } else if (c == ')' && depth > 0) {
      --depth;
    }
  }
  std::string_view head = entry;
  if (!entry.empty() && entry.back() == ')' && depth == 0 && open != std::string_view::npos) {
    e.description = Unquote(entry.substr(open + 1, entry.size() - open - 2));
    head = entry.substr(0, open);
  }
  if (colon != std::string_view::npos && colon < head.size()) {
    e.db = Trim(head.substr(0, colon));
    e.value = Unquote(head.substr(colon + 1));
  } else {
    e.value = Unquote(head);
  }
  return e;
}

// The sign of a MITAB 2.8 causal statement: "up regulates" (MI:2235) and its children
// MI:2236-MI:2239 give "+", "down regulates" (MI:2240) and MI:2241-MI:2244 give "_"; other
// statements are read by their words. Empty when the statement gives no sign.
std::string_view CausalEffect(const MitabEntry& statement) {
  const std::string_view id = statement.value;
  if (id.size() == 7 && EqualsNoCase(id.substr(0, 3), "MI:")) {
    int number = 0;
    const auto [end, ec] = std::from_chars(id.data() + 3, id.data() + id.size(), number);
    if (ec == std::errc() && end == id.data() + id.size()) {
      if (number >= 2235 && number <= 2239) return "+";
      if (number >= 2240 && number <= 2244) return "_";
    }
  }
  if (const auto effect = EffectFromWord(statement.description)) return *effect;
  return {};
}

// The molecule of one side of a row, from its identifier, alternative ids and aliases.
// Older files list the gene name among the alternative ids, newer ones among the aliases;
// some write the name type as the database ("gene name:ABP140"). As in the XML reader a
// gene name comes first, then the short label, and an interactor whose short label is not
// usable is dropped. Many files carry no short label at all: the identifier stands in.
Partner MitabPartner(std::string_view idField, std::string_view altField,
                     std::string_view aliasField) {
  Partner p;
  std::vector<MitabEntry> names;
  for (const std::string_view field : {altField, aliasField}) {
    for (const std::string_view entry : SplitEntries(field)) names.push_back(ParseEntry(entry));
  }
  const auto isGeneName = [](const MitabEntry& e) {
    return EqualsNoCase(e.description, "gene name") || EqualsNoCase(e.db, "gene name");
  };
  const auto isShortLabel = [](const MitabEntry& e) {
    return EqualsNoCase(e.description, "display_short") ||
           EqualsNoCase(e.description, "shortlabel") || EqualsNoCase(e.description, "short label");
  };
  const std::vector<std::string_view> ids = SplitEntries(idField);
  for (const std::string_view entry : ids) {
    const MitabEntry e = ParseEntry(entry);
    if (EqualsNoCase(e.db, "uniprotkb") || EqualsNoCase(e.db, "uniprot")) {
      p.accession = e.value;
      break;
    }
  }
  const auto firstUsable = [&](auto matches) -> std::optional<std::string> {
    for (const MitabEntry& e : names) {
      if (!matches(e)) continue;
      if (auto name = UsableName(e.value)) return name;
    }
    return std::nullopt;
  };
  std::optional<std::string> name = firstUsable(isGeneName);
  if (!name) {
    if (std::any_of(names.begin(), names.end(), isShortLabel)) {
      name = firstUsable(isShortLabel);
    } else if (!ids.empty()) {
      name = UsableName(ParseEntry(ids.front()).value);
    }
  }
  if (name) p.name = std::move(*name);
  return p;
}

bool IsMitabHeader(std::string_view firstField) {
  firstField = Trim(firstField);
  return firstField != "-" && firstField.find(':') == std::string_view::npos;
}

}  // namespace

Network ReadPsiMiXml(std::string_view text, const std::string& file, Warnings* warnings) {
  if (Trim(text).empty()) throw InputError(file, 0, "the file is empty");
  if (text.substr(0, 3) == "\xEF\xBB\xBF") text.remove_prefix(3);
  // Latin-1 text is converted here rather than by the parser so that element offsets, and
  // with them line numbers, refer to the buffer the lines are counted in.
  std::string converted;
  const std::string_view encoding = DeclaredEncoding(Trim(text));
  if (EqualsNoCase(encoding, "ISO-8859-1") || EqualsNoCase(encoding, "ISO8859-1") ||
      EqualsNoCase(encoding, "ISO_8859-1") || EqualsNoCase(encoding, "latin1")) {
    converted = Latin1ToUtf8(text);
    text = converted;
  } else if (!encoding.empty() && !EqualsNoCase(encoding, "UTF-8") &&
             !EqualsNoCase(encoding, "UTF8") && !EqualsNoCase(encoding, "US-ASCII") &&
             !EqualsNoCase(encoding, "ASCII")) {
    throw InputError(file, 1,
                     "unsupported encoding \"" + Abbreviate(encoding, 40) +
                         "\" (UTF-8 and ISO-8859-1 are read)");
  }
  const LineIndex lines(text);
  if (const std::size_t bad = FirstInvalidUtf8(text); bad != std::string_view::npos) {
    throw InputError(file, lines.lineOf(static_cast<std::ptrdiff_t>(bad)),
                     "the text is not valid UTF-8 (a Latin-1 file must declare "
                     "encoding=\"ISO-8859-1\")");
  }

  pugi::xml_document doc;
  ParseXml(doc, text, file, lines);
  PsiMiXmlReader reader(text, file, warnings);
  const pugi::xml_node root = doc.document_element();
  if (LocalName(root) != "entrySet") {
    throw InputError(file, reader.lineOf(root),
                     "not a PSI-MI XML file: the root element is <" + std::string(root.name()) +
                         ">, not <entrySet>");
  }
  const std::string_view level = Trim(AttributeOf(root, "level"));
  if (level == "1" || (level.empty() && Trim(AttributeOf(root, "version")) == "1")) {
    throw InputError(file, reader.lineOf(root),
                     "unsupported PSI-MI version 1.0 (only 2.5 is read)");
  }
  ForEachChild(root, "entry", [&](const pugi::xml_node& entry) { reader.readEntry(entry); });
  return reader.finish(warnings);
}

Network ReadMitabText(std::string_view text, const std::string& file, Warnings* warnings) {
  if (Trim(text).empty()) throw InputError(file, 0, "the file is empty");
  // The data rows with their line numbers; comment and title lines are left out.
  struct Row {
    std::size_t line;
    std::vector<std::string_view> fields;
  };
  std::vector<Row> rows;
  bool firstDataLine = true;
  std::size_t number = 0;
  for (std::size_t pos = 0; pos < text.size();) {
    const std::size_t end = std::min(text.find('\n', pos), text.size());
    std::string_view line = text.substr(pos, end - pos);
    pos = end + 1;
    ++number;
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    if (Trim(line).empty() || line.front() == '#') continue;
    std::vector<std::string_view> f = SplitTabs(line);
    if (firstDataLine && IsMitabHeader(f[0])) {
      firstDataLine = false;
      continue;  // a title line without the leading "#"
    }
    firstDataLine = false;
    if (f.size() < 15) {
      throw InputError(file, number,
                       Abbreviate(line) + ": " + std::to_string(f.size()) +
                           " column(s); PSI-MI TAB lines have at least 15");
    }
    rows.push_back({number, std::move(f)});
  }

  // Every row is one binary interaction, so an interaction identifier (column 14) found on
  // several rows belongs to an interaction of more participants that was expanded into
  // pairs. Files before MITAB 2.6 have no column saying so; this is how such rows are
  // recognised there. A row that merges several interactions is kept while one of its
  // identifiers is its own.
  absl::flat_hash_map<std::string, std::size_t> rowsPerId;
  for (const Row& row : rows) {
    for (const std::string_view id : SplitEntries(row.fields[13])) ++rowsPerId[std::string(id)];
  }
  const auto fromExpansion = [&](const Row& row) {
    if (row.fields.size() > 15 && !SplitEntries(row.fields[15]).empty()) return true;
    const std::vector<std::string_view> ids = SplitEntries(row.fields[13]);
    return !ids.empty() && std::all_of(ids.begin(), ids.end(), [&](std::string_view id) {
      return rowsPerId.find(std::string(id))->second > 1;
    });
  };

  BinaryCollector out;
  out.makeNamesSigSafe(warnings, file);
  absl::flat_hash_set<std::string> unnamed;  // identifiers of interactors without a name
  for (const Row& row : rows) {
    const std::vector<std::string_view>& f = row.fields;
    // Column 36 says "true" for a negative interaction (MITAB 2.7 and later).
    if (f.size() > 35 && EqualsNoCase(Trim(f[35]), "true")) {
      out.counts.negative.add(row.line);
      continue;
    }
    if (fromExpansion(row)) {
      out.counts.expanded.add(row.line);
      continue;
    }
    // An interaction of one participant is written with no interactor B, or with
    // interactor A repeated as B.
    if (SplitEntries(f[0]).empty() || SplitEntries(f[1]).empty() || Trim(f[0]) == Trim(f[1])) {
      out.counts.oneParticipant.add(row.line);
      continue;
    }
    const Partner a = MitabPartner(f[0], f[2], f[4]);
    const Partner b = MitabPartner(f[1], f[3], f[5]);
    if (a.name.empty() || b.name.empty()) {
      if (a.name.empty() && unnamed.insert(std::string(Trim(f[0]))).second) {
        out.counts.unnamedInteractors.add(row.line);
      }
      if (b.name.empty() && unnamed.insert(std::string(Trim(f[1]))).second) {
        out.counts.unnamedInteractors.add(row.line);
      }
      out.counts.unnamedInteractions.add(row.line);
      continue;
    }
    std::string type = "NA";
    if (const auto types = SplitEntries(f[11]); !types.empty()) {
      const MitabEntry e = ParseEntry(types.front());
      type = TypeWord(e.description.empty() ? e.value : e.description);
    }
    // MITAB 2.8 adds the causal regulatory mechanism (column 45), which says more about a
    // causal interaction than its interaction type, and the causal statement (column 46),
    // which gives its sign.
    std::string_view effect = "0";
    if (f.size() > 45) {
      if (const auto mechanisms = SplitEntries(f[44]); !mechanisms.empty()) {
        const MitabEntry e = ParseEntry(mechanisms.front());
        type = TypeWord(e.description.empty() ? e.value : e.description);
      }
      if (const auto statements = SplitEntries(f[45]); !statements.empty()) {
        effect = CausalEffect(ParseEntry(statements.front()));
        if (effect.empty()) {
          effect = "0";
          out.unknownStatement(f[45], row.line);
        }
      }
    }
    std::vector<PubmedId> pubmedIds;
    for (const std::string_view entry : SplitEntries(f[8])) {
      const MitabEntry e = ParseEntry(entry);
      if (EqualsNoCase(e.db, "pubmed")) AddPubmedId(pubmedIds, PositivePubmedId(e.value));
    }
    out.add(a, b, effect, type, pubmedIds, row.line);
  }
  return out.finish(file, warnings);
}

}  // namespace tessel
