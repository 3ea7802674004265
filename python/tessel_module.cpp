// tessel._core: the core library for Python. The pure-Python package `tessel` (python/tessel)
// wraps these functions in the Network class that scripts use; results cross over as plain
// dicts and lists.
//
// Long work runs with the interpreter lock released. Progress reaches Python only from the
// calling thread (the core's rule for Progress), which takes the lock back for each report,
// calls the user's callback and lets Python handle pending signals: Ctrl-C (or an exception
// from the callback) cancels the core's work and is raised once the core has stopped.
#include <pybind11/functional.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>
#include <pybind11/stl/filesystem.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "analysis/statistics.h"
#include "analysis/validation.h"
#include "derived/shuffle.h"
#include "model/color_table.h"
#include "model/load.h"
#include "model/molecule_condition.h"
#include "model/readers.h"
#include "motifs/motif_search.h"
#include "output/page_context.h"
#include "output/results_json.h"
#include "pathways/path_search.h"
#include "pathways/pathway_pages.h"
#include "util/error.h"
#include "util/progress.h"

namespace py = pybind11;
namespace fs = std::filesystem;
using namespace tessel;

namespace {

// A loaded network with what its reader said about the file.
struct LoadedNetwork {
  Network network;
  Warnings warnings;
  std::string file;  // the file read; empty for networks built from rows
};

// Progress for Python callers. Made and destroyed with the lock held; report() runs on the
// calling thread with the lock released and takes it back.
class PythonProgress final : public Progress {
 public:
  explicit PythonProgress(py::object callback) : callback_(std::move(callback)) {}

  void report(std::size_t done, std::size_t total, std::string_view text) override {
    if (pending_) return;
    // Reports can come thousands of times a second; Python hears of them at most every
    // 50 ms, and always of the first and the last.
    const auto now = std::chrono::steady_clock::now();
    const bool last = total > 0 && done >= total;
    if (reported_ && !last && now - lastReport_ < std::chrono::milliseconds(50)) return;
    reported_ = true;
    lastReport_ = now;
    py::gil_scoped_acquire acquire;
    try {
      if (!callback_.is_none()) callback_(done, total, std::string(text));
      if (PyErr_CheckSignals() != 0) throw py::error_already_set();
    } catch (py::error_already_set& e) {
      pending_ = std::make_unique<py::error_already_set>(std::move(e));
    }
  }

  bool cancelled() const override { return pending_ != nullptr; }

  // Raises the exception that stopped the work (KeyboardInterrupt after Ctrl-C, or the
  // callback's own); call with the lock held.
  void raisePending() {
    if (pending_) {
      py::error_already_set e = std::move(*pending_);
      pending_.reset();
      throw e;
    }
  }

 private:
  py::object callback_;
  std::unique_ptr<py::error_already_set> pending_;
  bool reported_ = false;
  std::chrono::steady_clock::time_point lastReport_{};
};

// Runs `work` without the interpreter lock, then raises what stopped it, if anything.
template <class Work>
auto Released(PythonProgress& progress, Work&& work) -> decltype(work()) {
  std::optional<decltype(work())> result;
  try {
    py::gil_scoped_release release;
    result.emplace(work());
  } catch (const Cancelled&) {
    progress.raisePending();
    throw;
  }
  progress.raisePending();
  return std::move(*result);
}

// What the pages written for Python callers say about their origin.
PageContext ContextOf(const LoadedNetwork& net, const std::string& command) {
  return MakePageContext(net.file.empty() ? fs::path("(built in Python)") : fs::path(net.file),
                         "tessel (Python) " + command);
}

// A result in the form the command line prints it, as Python lists and dicts.
py::object FromJson(const nlohmann::ordered_json& json) {
  return py::module_::import("json").attr("loads")(JsonText(json));
}

// Strings from network files may hold bytes that are not UTF-8; they reach Python with
// U+FFFD in place of each bad byte rather than failing.
py::str Text(const std::string& s) {
  return py::reinterpret_steal<py::str>(
      PyUnicode_DecodeUTF8(s.data(), static_cast<Py_ssize_t>(s.size()), "replace"));
}

py::list Names(const Network& network, const std::vector<MoleculeId>& ids) {
  py::list names;
  for (const MoleculeId id : ids) names.append(Text(network.nameOf(id)));
  return names;
}

py::dict MoleculeDict(const Molecule& m) {
  py::dict d;
  d["id"] = m.id;
  d["name"] = Text(m.name);
  d["accession"] = Text(m.accession);
  d["extra_id"] = Text(m.extraId);
  d["type"] = Text(m.moleculeType);
  d["location"] = Text(m.location);
  const LinkCounters& c = m.links;
  d["links"] = c.allLinks;
  d["in_links"] = c.inLinks;
  d["out_links"] = c.outLinks;
  d["positive_links"] = c.positiveLinks;
  d["negative_links"] = c.negativeLinks;
  d["positive_in_links"] = c.positiveInLinks;
  d["negative_in_links"] = c.negativeInLinks;
  d["positive_out_links"] = c.positiveOutLinks;
  d["negative_out_links"] = c.negativeOutLinks;
  d["neutral_links"] = c.neutralLinks;
  return d;
}

py::dict InteractionDict(const Network& network, const Interaction& i) {
  py::dict d;
  d["source"] = Text(network.sourceName(i));
  d["target"] = Text(network.targetName(i));
  d["effect"] = Text(i.effect);
  d["type"] = Text(i.interactionType);
  d["pubmed"] = std::vector<PubmedId>(i.pubmedIds.begin(), i.pubmedIds.end());
  d["source_accession"] = Text(i.sourceAccession);
  d["source_extra_id"] = Text(i.sourceExtraId);
  d["source_type"] = Text(i.sourceType);
  d["source_location"] = Text(i.sourceLocation);
  d["target_accession"] = Text(i.targetAccession);
  d["target_extra_id"] = Text(i.targetExtraId);
  d["target_type"] = Text(i.targetType);
  d["target_location"] = Text(i.targetLocation);
  return d;
}

std::shared_ptr<LoadedNetwork> Load(const std::string& path, const std::string& format) {
  auto net = std::make_shared<LoadedNetwork>();
  net->file = path;
  ReadOptions options;
  options.format = ParseNetworkFormat(format);
  py::gil_scoped_release release;
  net->network = LoadNetwork(fs::path(path), options, &net->warnings);
  return net;
}

// One row of FromRows: the five fields of each end, effect, interaction type, PubMed ids.
using EdgeRow = std::tuple<std::vector<std::string>, std::vector<std::string>, std::string,
                           std::string, std::vector<PubmedId>>;

// Builds a network from rows as a reader would: repeated pairs merge, names a SIG file
// cannot hold are made safe (counted in the warnings), so the network saves and reads back
// the same.
std::shared_ptr<LoadedNetwork> FromRows(const std::vector<EdgeRow>& rows) {
  auto net = std::make_shared<LoadedNetwork>();
  NetworkBuilder builder;
  builder.makeNamesSigSafe(&net->warnings, "(rows)");
  builder.reserve(rows.size());
  std::size_t line = 0;
  for (const auto& [s, t, effect, type, pubmed] : rows) {
    ++line;
    if (s.size() != 5 || t.size() != 5) throw std::invalid_argument("an end needs five fields");
    if (s[0].empty() || t[0].empty()) {
      throw InputError("(rows)", line, "row without a source or target name");
    }
    const EndPoint source{s[0], s[1], s[2], s[3], s[4]};
    const EndPoint target{t[0], t[1], t[2], t[3], t[4]};
    if (pubmed.empty()) {
      builder.addRow(source, target, effect, type, 0, line);
    } else {
      for (const PubmedId id : pubmed) builder.addRow(source, target, effect, type, id, line);
    }
  }
  if (builder.rowCount() == 0) throw InputError("(rows)", 0, "no interactions given");
  net->network = builder.build();
  return net;
}

py::list WarningList(const Warnings& warnings) {
  py::list list;
  for (const Warnings::Entry& e : warnings.entries()) {
    py::dict d;
    d["file"] = Text(e.file);
    d["line"] = e.line;
    d["message"] = Text(e.message);
    d["count"] = e.count;
    d["text"] = Text(FormatWarning(e));
    list.append(d);
  }
  return list;
}

// The figures of `tessel stats --json`, without the page.
py::object Stats(const LoadedNetwork& net, py::object callback) {
  PythonProgress progress(std::move(callback));
  const Statistics s = Released(progress, [&] { return ComputeStatistics(net.network, progress); });
  return FromJson(StatisticsJson(s));
}

std::vector<MotifKind> KindsOf(const std::optional<std::vector<std::string>>& names) {
  if (!names) return DefaultMotifKinds();
  std::vector<MotifKind> kinds;
  for (const std::string& name : *names) {
    const auto kind = ParseMotifKind(name);
    if (!kind) throw std::invalid_argument("unknown motif kind: " + name);
    kinds.push_back(*kind);
  }
  return kinds;
}

// Counts per kind as `tessel motifs --json` gives them, and with `lists` every motif's
// molecule names (in cyclic order) and sign.
py::dict Motifs(const LoadedNetwork& net, const std::optional<std::vector<std::string>>& names,
                bool lists, unsigned threads, py::object callback) {
  const std::vector<MotifKind> kinds = KindsOf(names);
  PythonProgress progress(std::move(callback));
  py::dict d;
  for (const MotifKind kind : kinds) {
    NamedProgress named(progress, std::string(MotifKindInfoOf(kind).title));
    const MotifResult r = Released(progress, [&] {
      // Without lists only the counts are needed: the motifs are not kept.
      return lists ? FindMotifs(net.network, kind, named, threads)
                   : CountMotifs(net.network, kind, named, threads);
    });
    py::dict counts;
    counts["total"] = r.total();
    if (MotifIsSigned(kind)) {
      counts["positive"] = r.positive;
      counts["negative"] = r.negative;
    }
    if (lists) {
      py::list motifs;
      for (const Motif& m : r.motifs) {
        py::dict motif;
        motif["molecules"] = Names(net.network, m.molecules);
        if (MotifIsSigned(kind)) motif["sign"] = m.sign < 0 ? "-" : "+";
        motifs.append(motif);
      }
      counts["motifs"] = motifs;
    }
    d[py::str(std::string(MotifKindName(kind)))] = counts;
  }
  return d;
}

py::object Optional(bool present, double value) {
  return present ? py::object(py::float_(value)) : py::object(py::none());
}

// Makes and analyses random networks into `output` (the caller removes a temporary one).
py::dict Shuffle(const LoadedNetwork& net, const std::string& kind, int count,
                 std::optional<std::uint64_t> seed, const std::vector<std::string>& analyze,
                 const std::string& output, int passes, bool oneIsland, int islandTries,
                 unsigned threads, py::object callback) {
  ShuffleSettings settings;
  settings.kind = ParseShuffleKind(kind);
  if (count < 1) throw std::invalid_argument("count must be at least 1");
  if (passes < 1) throw std::invalid_argument("passes must be at least 1");
  settings.count = count;
  settings.passes = passes;
  settings.maintainOneIsland = oneIsland;
  settings.islandTries = islandTries;
  settings.threads = threads;
  settings.columns = {false, false, false};
  for (const std::string& a : analyze) {
    if (a == "clustering") {
      settings.columns.clustering = true;
    } else if (a == "motifs34") {
      settings.columns.motifs34 = true;
    } else if (a == "motifs5") {
      settings.columns.motifs5 = true;
    } else if (a != "none") {
      throw std::invalid_argument("unknown analysis: " + a +
                                  " (clustering, motifs34, motifs5 or none)");
    }
  }
  settings.analyze = settings.columns.any();
  settings.seed = seed ? *seed : std::random_device{}();
  settings.context = ContextOf(net, "shuffle");
  PythonProgress progress(std::move(callback));
  const ShuffleResult result = Released(
      progress, [&] { return RunShuffleCommand(net.network, settings, output, progress); });
  py::dict d;
  d["seed"] = settings.seed;
  d["kind"] = kind;
  d["count"] = count;
  py::list comparison;
  for (const ColumnComparison& c : result.comparison) {
    py::dict row;
    row["column"] = c.title;
    row["network"] = c.figures.value;
    row["mean"] = Optional(c.hasMean(), c.figures.mean);
    row["sd"] = Optional(c.hasSd(), c.figures.sd);
    row["z"] = Optional(c.figures.hasZ, c.figures.z);
    row["used"] = c.used;
    row["left_out"] = c.leftOut;
    comparison.append(row);
  }
  d["comparison"] = comparison;
  py::list random;
  for (const std::vector<double>& values : result.random) {
    py::dict row;
    for (std::size_t c = 0; c < result.titles.size() && c < values.size(); ++c) {
      row[py::str(result.titles[c])] = values[c];
    }
    random.append(row);
  }
  d["random"] = random;
  d["folder"] = result.folder.string();
  d["page"] =
      result.page.empty() ? py::object(py::none()) : py::object(py::str(result.page.string()));
  py::list files;
  for (const fs::path& f : result.files) files.append(f.string());
  d["files"] = files;
  return d;
}

// A source or target given as "KIND=VALUE" or as a plain molecule name.
MoleculeCondition ConditionOf(const std::string& text) {
  if (text.find('=') == std::string::npos) return {ConditionKind::Name, text};
  return ParseCondition(text);
}

py::dict Pathways(const LoadedNetwork& net, const std::vector<std::string>& sources,
                  const std::vector<std::string>& targets, int maxSteps, int maxSize,
                  bool directOnly, const std::optional<std::string>& output, std::size_t routes,
                  unsigned threads, py::object callback) {
  if (maxSteps < 2) throw std::invalid_argument("max_steps must be at least 2");
  if (maxSize < 1) throw std::invalid_argument("max_size must be at least 1");
  PathwayQuery query;
  for (const std::string& s : sources) query.sources.push_back(ConditionOf(s));
  for (const std::string& t : targets) query.targets.push_back(ConditionOf(t));
  if (query.sources.empty() || query.targets.empty()) {
    throw std::invalid_argument("give at least one source and one target");
  }
  query.maxSteps = maxSteps;
  query.maxSize = maxSize;
  query.directOnly = directOnly;
  const std::vector<std::string> unmatched = UnmatchedConditions(net.network, query);
  if (!unmatched.empty()) {
    std::string message;
    for (const std::string& m : unmatched) message += (message.empty() ? "" : "; ") + m;
    throw UsageError(message);
  }
  PythonProgress progress(std::move(callback));
  struct Found {
    std::vector<PathwayMap> maps;
    std::vector<RouteList> routes;
    PathwayCommandResult written;
  };
  const Found found = Released(progress, [&] {
    Found f;
    if (output) {
      const fs::path dir(*output);
      const ColorShapeTable colors = net.file.empty() ? ColorShapeTable::LoadOrCreate({dir}, dir)
                                                      : LoadColorsFor(net.file, dir);
      f.written = RunPathwayCommand(net.network, colors, query, dir, progress, threads,
                                    ContextOf(net, "pathways"));
      f.maps = f.written.maps;
    } else {
      f.maps = FindPathwayMaps(net.network, query, progress, threads);
    }
    if (routes > 0) {
      for (const PathwayMap& m : f.maps) {
        f.routes.push_back(
            ListRoutes(net.network, m.source, m.target, m.steps, directOnly, routes, &progress));
      }
    }
    return f;
  });
  const Network& network = net.network;
  py::list maps;
  for (std::size_t k = 0; k < found.maps.size(); ++k) {
    const PathwayMap& m = found.maps[k];
    py::dict map;
    map["source"] = Text(network.nameOf(m.source));
    map["target"] = Text(network.nameOf(m.target));
    map["steps"] = m.steps;
    py::list interactions;
    for (const std::uint32_t i : m.map.interactions) {
      interactions.append(InteractionDict(network, network.interactions()[i]));
    }
    map["interactions"] = interactions;
    map["positive_paths"] = m.map.positivePaths;
    map["negative_paths"] = m.map.negativePaths;
    if (routes > 0) {
      const RouteList& list = found.routes[k];
      py::list r;
      for (const Route& route : list.routes) {
        py::dict one;
        one["molecules"] = Names(network, route.molecules);
        one["sign"] = route.negative ? "-" : "+";
        r.append(one);
      }
      map["routes"] = r;
      map["routes_total"] = list.total;
      map["routes_complete"] = list.complete;
    }
    if (output) {
      map["page"] = (found.written.folder / (found.written.baseNames[k] + ".htm")).string();
    }
    maps.append(map);
  }
  py::dict d;
  d["maps"] = maps;
  if (found.maps.empty()) d["message"] = kNoPathwaysMessage;
  if (output) {
    d["folder"] = found.written.folder.string();
    d["form"] = found.maps.empty() ? py::object(py::none())
                                   : py::object(py::str(found.written.form.string()));
  }
  return d;
}

// The findings as `tessel validate --json` lists them.
py::object Validate(const LoadedNetwork& net) {
  return FromJson(FindingsJson(net.network, ValidationFindings(net.network)));
}

// Core errors as the Python exceptions a script expects: bad input or settings are
// ValueError, files that cannot be written OSError, a cancelled run KeyboardInterrupt.
void TranslateErrors(std::exception_ptr pointer) {
  try {
    if (pointer) std::rethrow_exception(pointer);
  } catch (const Cancelled&) {
    PyErr_SetNone(PyExc_KeyboardInterrupt);
  } catch (const Error& e) {
    switch (e.category()) {
      case ErrorCategory::Usage:
      case ErrorCategory::Input:
        PyErr_SetString(PyExc_ValueError, e.what());
        break;
      case ErrorCategory::Output:
        PyErr_SetString(PyExc_OSError, e.what());
        break;
      default:
        PyErr_SetString(PyExc_RuntimeError, e.what());
    }
  } catch (const fs::filesystem_error& e) {
    PyErr_SetString(PyExc_OSError, e.what());
  }
}

}  // namespace

PYBIND11_MODULE(_core, m) {
  m.doc() = "TESSEL core library: networks, statistics, motifs, random networks, pathways";
  m.attr("version") = TESSEL_VERSION;
  py::register_exception_translator(&TranslateErrors);

  py::class_<LoadedNetwork, std::shared_ptr<LoadedNetwork>>(m, "CoreNetwork")
      .def("__len__", [](const LoadedNetwork& n) { return n.network.moleculeCount(); })
      .def_property_readonly("molecule_count",
                             [](const LoadedNetwork& n) { return n.network.moleculeCount(); })
      .def_property_readonly("interaction_count",
                             [](const LoadedNetwork& n) { return n.network.interactionCount(); })
      .def_readonly("file", &LoadedNetwork::file)
      .def("molecules",
           [](const LoadedNetwork& n) {
             py::list list;
             for (const Molecule& mol : n.network.molecules()) list.append(MoleculeDict(mol));
             return list;
           })
      .def("display_order",
           [](const LoadedNetwork& n) {
             return std::vector<MoleculeId>(n.network.displayOrder().begin(),
                                            n.network.displayOrder().end());
           })
      .def("interactions",
           [](const LoadedNetwork& n) {
             py::list list;
             for (const Interaction& i : n.network.interactions()) {
               list.append(InteractionDict(n.network, i));
             }
             return list;
           })
      .def("warnings", [](const LoadedNetwork& n) { return WarningList(n.warnings); })
      .def("notes", [](const LoadedNetwork& n) { return n.warnings.notes(); });

  m.def("load", &Load, py::arg("path"), py::arg("format") = "auto");
  m.def("from_rows", &FromRows, py::arg("rows"));
  m.def("formats", &FormatNames);
  m.def("motif_kinds", [] {
    std::vector<std::string> names;
    for (const MotifKindInfo& k : MotifKinds()) names.emplace_back(k.name);
    return names;
  });
  m.def("stats", &Stats, py::arg("net"), py::arg("progress") = py::none());
  m.def("motifs", &Motifs, py::arg("net"), py::arg("kinds") = py::none(), py::arg("lists") = true,
        py::arg("threads") = 0, py::arg("progress") = py::none());
  m.def("shuffle", &Shuffle, py::arg("net"), py::arg("kind"), py::arg("count"), py::arg("seed"),
        py::arg("analyze"), py::arg("output"), py::arg("passes") = 10,
        py::arg("one_island") = false, py::arg("island_tries") = 100, py::arg("threads") = 0,
        py::arg("progress") = py::none());
  m.def("pathways", &Pathways, py::arg("net"), py::arg("sources"), py::arg("targets"),
        py::arg("max_steps") = 9, py::arg("max_size") = 70, py::arg("direct_only") = false,
        py::arg("output") = py::none(), py::arg("routes") = 50, py::arg("threads") = 0,
        py::arg("progress") = py::none());
  m.def("validate", &Validate, py::arg("net"));
  m.def(
      "save",
      [](const LoadedNetwork& n, const std::string& path) {
        py::gil_scoped_release release;
        WriteSigFile(n.network, path);
      },
      py::arg("net"), py::arg("path"));
}
