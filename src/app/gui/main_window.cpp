#include "app/gui/main_window.h"

#include <QCloseEvent>
#include <QDir>
#include <QFileInfo>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QSettings>
#include <QToolButton>
#include <QUrl>
#include <QVBoxLayout>
#include <filesystem>
#include <random>
#include <stdexcept>

#include "analysis/statistics.h"
#include "analysis/validation.h"
#include "app/gui/dialogs.h"
#include "app/gui/prompts.h"
#include "derived/genelist.h"
#include "derived/shuffle.h"
#include "derived/subnetworks.h"
#include "model/load.h"
#include "model/table_reader.h"
#include "motifs/motif_pages.h"
#include "net/services.h"
#include "output/drawing.h"
#include "output/exchange.h"
#include "output/export_formats.h"
#include "output/exports.h"
#include "output/matrix.h"
#include "output/page_context.h"
#include "output/website.h"
#include "pathways/pathway_pages.h"
#include "util/files.h"
#include "util/text.h"

// The help pages are compiled into the library; a static library needs its resources
// registered by hand, outside any namespace.
static void InitHelpResources() {
  Q_INIT_RESOURCE(help);
}

namespace tessel::gui {

namespace fs = std::filesystem;

namespace {

// The file name `tessel export NAME` writes by default, from the export table.
QString DefaultExportFile(std::string_view name) {
  return QString::fromStdString(std::string(FindExportFormat(name)->defaultFile));
}

fs::path Path(const QString& s) {
  return fs::path(s.toStdString());
}

QString Q(const fs::path& p) {
  return QString::fromStdString(p.string());
}

QString Q(const std::string& s) {
  return QString::fromStdString(s);
}

// How the file was read, the first few warnings of the load, and how many more there were.
QStringList WarningNotes(const Warnings& warnings) {
  QStringList notes;
  for (const std::string& note : warnings.notes()) notes << Q(note);
  const std::vector<std::string> lines = warnings.lines();
  const std::size_t shown = std::min<std::size_t>(lines.size(), 8);
  for (std::size_t k = 0; k < shown; ++k) notes << Q(lines[k]);
  if (lines.size() > shown) {
    notes << QObject::tr("... and %1 more kinds of warning").arg(lines.size() - shown);
  }
  return notes;
}

struct LoadedNetwork {
  std::shared_ptr<const Network> network;
  std::shared_ptr<const ColorShapeTable> colors;
  QStringList notes;  // the first warnings, and the colours table written
  std::size_t warnings = 0;
};

// Reads a network and the colours table its drawings use: from the network's folder, else
// the output folder, where the default table is written when neither has one.
LoadedNetwork ReadNetwork(const QString& file, const ReadOptions& options, const QString& output) {
  Warnings warnings;
  NetworkWithColors loaded = LoadNetworkWithColors(Path(file), options, Path(output), &warnings);
  QStringList notes = WarningNotes(warnings);
  if (!loaded.colorsWritten.empty()) {
    notes << QObject::tr("Wrote the default colours table %1.")
                 .arg(QDir(output).filePath(Q(std::string(kColorTableFileName))));
  }
  return {std::make_shared<const Network>(std::move(loaded.network)),
          std::make_shared<const ColorShapeTable>(std::move(loaded.colors)), std::move(notes),
          warnings.total()};
}

// The user network's figures beside the random networks' mean, standard deviation and
// z-score, as a small rich-text table for a message box.
QString ComparisonTable(const std::vector<ColumnComparison>& comparison) {
  const auto cell = [](const QString& text) { return "<td align=\"right\">" + text + "</td>"; };
  QString html = QObject::tr(
      "<table cellspacing=\"0\" cellpadding=\"3\"><tr><th align=\"left\">Figure</th>"
      "<th>Your network</th><th>Random mean</th><th>SD</th><th>z-score</th></tr>");
  QString notes;
  for (const ColumnComparison& c : comparison) {
    const Comparison& f = c.figures;
    html += "<tr><td>" + Q(c.title).toHtmlEscaped() + "</td>" + cell(Q(FormatNumber(f.value))) +
            cell(Q(c.meanText())) + cell(Q(c.sdText())) +
            cell(f.hasZ ? "<b>" + Q(c.zText()) + "</b>" : "-") + "</tr>";
    if (c.leftOut > 0) {
      notes += QObject::tr("<p>%1: %2 random networks of several islands left out.</p>")
                   .arg(Q(c.title).toHtmlEscaped())
                   .arg(c.leftOut);
    }
  }
  return html + "</table>" + notes;
}

// How many routes of one pair the window lists.
constexpr std::size_t kRoutesShown = 25;

// "12 routes from EGF to MYC (up to 8 molecules):" and one line per route listed,
// "EGF -> EGFR -> ... -> MYC  (+)", then how many more there are.
QString RoutesText(const Network& network, const RouteList& list) {
  if (list.routes.empty()) return {};
  const std::string& source = network.nameOf(list.routes.front().molecules.front());
  const std::string& target = network.nameOf(list.routes.front().molecules.back());
  QString text = list.complete
                     ? (list.total == 1 ? QObject::tr("1 route from %1 to %2:")
                                        : QObject::tr("%1 routes from %2 to %3:").arg(list.total))
                           .arg(Q(source), Q(target))
                     : QObject::tr("More than %1 routes from %2 to %3:")
                           .arg(list.total)
                           .arg(Q(source), Q(target));
  for (const Route& route : list.routes) {
    text += "\n" + Q(RouteNames(network, route)) + (route.negative ? "  (-)" : "  (+)");
  }
  if (list.total > list.routes.size()) {
    text += QObject::tr("\n... and %1 more").arg(list.total - list.routes.size());
  }
  return text;
}

std::uint64_t NewSeed() {
  std::random_device device;
  return (static_cast<std::uint64_t>(device()) << 32) ^ device();
}

}  // namespace

MainWindow::MainWindow(QSettings& settings, UserPrompts& prompts, QWidget* parent)
    : QWidget(parent), settings_(settings), prompts_(prompts) {
  InitHelpResources();
  setWindowTitle(tr("TESSEL"));
  buildUi();
  connect(&runner_, &CommandRunner::progressed, this, &MainWindow::onProgress);
  connect(&runner_, &CommandRunner::ended, this, &MainWindow::onEnded);
  updateCommandStates();
  showOutputFolder();
}

MainWindow::~MainWindow() = default;

// ----- layout -----

QPushButton* MainWindow::addCommand(QGridLayout* grid, const QString& caption, Needs needs,
                                    void (MainWindow::*slot)(), const QString& helpPage) {
  auto* button = new QPushButton(caption);
  button->setAutoDefault(false);
  // Some styles leave no room around the caption; keep a little.
  button->setMinimumWidth(button->sizeHint().width() + 16);
  const int row = grid->rowCount();
  grid->addWidget(button, row, 0);
  connect(button, &QPushButton::clicked, this, slot);
  commands_.push_back({button, needs});
  if (!helpPage.isEmpty()) {
    auto* help = new QToolButton;
    help->setText(tr("?"));
    help->setObjectName("help:" + helpPage);
    help->setToolTip(tr("What \"%1\" does").arg(caption));
    grid->addWidget(help, row, 1);
    connect(help, &QToolButton::clicked, this, [this, helpPage] { openHelp(helpPage); });
  }
  return button;
}

void MainWindow::buildUi() {
  const auto group = [](const QString& title, QGridLayout*& grid) {
    auto* box = new QGroupBox(title);
    grid = new QGridLayout(box);
    grid->setColumnStretch(0, 1);
    return box;
  };
  QGridLayout* networks = nullptr;
  QGridLayout* reports = nullptr;
  QGridLayout* searches = nullptr;
  QGridLayout* derived = nullptr;
  QGridLayout* exports = nullptr;
  auto* networksBox = group(tr("Networks"), networks);
  auto* reportsBox = group(tr("Web site, reports and drawings"), reports);
  auto* searchesBox = group(tr("Motifs and pathways"), searches);
  auto* derivedBox = group(tr("Derived networks"), derived);
  auto* exportsBox = group(tr("Files for other tools"), exports);

  addCommand(networks, tr("Load SIG file network..."), Needs::Idle, &MainWindow::loadSigNetwork,
             "load_network.htm");
  addCommand(networks, tr("Load Two Column Net..."), Needs::Idle, &MainWindow::loadTwoColumnNetwork,
             "two_columns.htm");
  addCommand(networks, tr("Load a list of gene/protein names..."), Needs::Idle,
             &MainWindow::loadGeneList, "load_list.htm");
  addCommand(networks, tr("Save as..."), Needs::Network, &MainWindow::saveAs, "save_as");
  addCommand(networks, tr("Restart Viewer..."), Needs::NetworkEvenWhileBusy,
             &MainWindow::restartViewer);

  addCommand(reports, tr("Create web site..."), Needs::Network, &MainWindow::createWebsite,
             "website.htm");
  addCommand(reports, tr("Compute statistics"), Needs::Network, &MainWindow::computeStatistics,
             "stats.htm");
  addCommand(reports, tr("Validate all"), Needs::Network, &MainWindow::validateAll, "validate.htm");
  addCommand(reports, tr("Make Graphviz SVG/DOT/JPG"), Needs::Network,
             &MainWindow::makeGraphvizDrawing, "graphviz.htm");
  addCommand(reports, tr("Draw interactions matrix"), Needs::Network,
             &MainWindow::drawInteractionsMatrix, "matrix.htm");

  addCommand(searches, tr("Find and display motifs"), Needs::Network, &MainWindow::findMotifs,
             "display_motifs.htm");
  addCommand(searches, tr("Pathways Generator"), Needs::Network, &MainWindow::pathwaysGenerator,
             "pg.htm");
  addCommand(searches, tr("Easy Interface"), Needs::Network, &MainWindow::easyInterface, "pg.htm");

  addCommand(derived, tr("Generate and analyze sub-networks based on connectivity"), Needs::Network,
             &MainWindow::reduceByConnectivity, "subnetworks.htm");
  addCommand(derived, tr("Generate and analyze sub-networks propagating from source nodes"),
             Needs::Network, &MainWindow::propagateFromSources, "subnetworks.htm");
  addCommand(derived, tr("Generate and analyze shuffled networks"), Needs::Network,
             &MainWindow::shuffledNetworks, "shuffled.htm");

  addCommand(exports, tr("Create .net file for Pajek"), Needs::Network, &MainWindow::exportPajek,
             "pajek.htm");
  addCommand(exports, tr("Create file for MFinder"), Needs::Network, &MainWindow::exportMfinder,
             "mfinder.htm");
  addCommand(exports, tr("Create .sif file for Cytoscape"), Needs::Network,
             &MainWindow::exportCytoscape, "sif.htm");
  addCommand(exports, tr("Dump the big cluster"), Needs::Network, &MainWindow::dumpBigCluster,
             "big_cluster.htm");
  addCommand(exports, tr("Export GraphML, table, signed SIF or CX2..."), Needs::Network,
             &MainWindow::exportExchange, "exchange.htm");

  networkLine_ = new QLabel(tr("No network loaded."));
  networkLine_->setObjectName("networkLine");
  networkLine_->setTextInteractionFlags(Qt::TextSelectableByMouse);

  folderLine_ = new QLineEdit;
  folderLine_->setObjectName("outputFolder");
  folderLine_->setReadOnly(true);
  folderLine_->setPlaceholderText(tr("the folder of the loaded network"));
  changeFolder_ = new QPushButton(tr("Change..."));
  changeFolder_->setObjectName("changeFolder");
  changeFolder_->setAutoDefault(false);
  connect(changeFolder_, &QPushButton::clicked, this, &MainWindow::chooseOutputFolder);
  auto* folderRow = new QHBoxLayout;
  folderRow->addWidget(new QLabel(tr("Output folder:")));
  folderRow->addWidget(folderLine_, 1);
  folderRow->addWidget(changeFolder_);

  progress_ = new QProgressBar;
  progress_->setRange(0, 1);
  progress_->setValue(0);
  progress_->setTextVisible(false);
  cancel_ = new QPushButton(tr("Cancel"));
  cancel_->setObjectName("cancel");
  cancel_->setAutoDefault(false);
  connect(cancel_, &QPushButton::clicked, this, [this] {
    runner_.cancel();
    cancel_->setEnabled(false);
    setStatus(tr("Cancelling..."));
  });
  auto* progressRow = new QHBoxLayout;
  progressRow->addWidget(progress_, 1);
  progressRow->addWidget(cancel_);

  status_ = new QLabel;
  status_->setObjectName("status");
  status_->setTextInteractionFlags(Qt::TextSelectableByMouse);
  status_->setMinimumWidth(200);

  auto* help = new QPushButton(tr("Help?"));
  help->setAutoDefault(false);
  connect(help, &QPushButton::clicked, this, [this] { openHelp("getting_started.htm"); });
  auto* about = new QPushButton(tr("About TESSEL"));
  about->setAutoDefault(false);
  connect(about, &QPushButton::clicked, this, &MainWindow::showAbout);
  auto* exit = new QPushButton(tr("E&xit"));
  exit->setAutoDefault(false);
  connect(exit, &QPushButton::clicked, this, &QWidget::close);
  commands_.push_back({help, Needs::Always});
  commands_.push_back({about, Needs::Always});
  commands_.push_back({exit, Needs::Always});
  auto* bottomRow = new QHBoxLayout;
  bottomRow->addWidget(help);
  bottomRow->addWidget(about);
  bottomRow->addStretch();
  bottomRow->addWidget(exit);

  // Two columns of about the same height; the right one holds the longer captions.
  auto* left = new QVBoxLayout;
  left->addWidget(networksBox);
  left->addWidget(reportsBox);
  auto* right = new QVBoxLayout;
  right->addWidget(searchesBox);
  right->addWidget(derivedBox);
  right->addWidget(exportsBox);
  auto* columns = new QHBoxLayout;
  columns->addLayout(left, 2);
  columns->addLayout(right, 3);
  for (QGridLayout* grid : {networks, reports, searches, derived, exports}) {
    grid->setRowStretch(grid->rowCount(), 1);
  }

  auto* layout = new QVBoxLayout(this);
  layout->addWidget(networkLine_);
  layout->addLayout(columns);
  layout->addLayout(folderRow);
  layout->addLayout(progressRow);
  layout->addWidget(status_);
  layout->addLayout(bottomRow);
}

QPushButton* MainWindow::button(const QString& caption) const {
  for (const Command& c : commands_) {
    if (c.button->text() == caption) return c.button;
  }
  return nullptr;
}

QList<QPushButton*> MainWindow::commandButtons() const {
  QList<QPushButton*> list;
  for (const Command& c : commands_) list << c.button;
  return list;
}

QString MainWindow::statusText() const {
  return status_->text();
}

void MainWindow::setStatus(const QString& text) {
  status_->setText(text);
}

void MainWindow::updateCommandStates() {
  const bool busy = runner_.running();
  const bool loaded = network_ != nullptr;
  for (const Command& c : commands_) {
    switch (c.needs) {
      case Needs::Always:
        c.button->setEnabled(true);
        break;
      case Needs::Idle:
        c.button->setEnabled(!busy);
        break;
      case Needs::Network:
        c.button->setEnabled(loaded && !busy);
        break;
      case Needs::NetworkEvenWhileBusy:
        c.button->setEnabled(loaded);
        break;
    }
  }
  cancel_->setEnabled(runner_.cancellable());
  changeFolder_->setEnabled(!busy);
}

// ----- output folder -----

QString MainWindow::outputFolder() const {
  const QString chosen = settings_.value(kOutputFolderKey).toString();
  if (!chosen.isEmpty()) return chosen;
  if (!defaultFolder_.isEmpty()) return defaultFolder_;
  return QDir::currentPath();
}

void MainWindow::showOutputFolder() {
  const QString chosen = settings_.value(kOutputFolderKey).toString();
  folderLine_->setText(!chosen.isEmpty() ? chosen : defaultFolder_);
}

void MainWindow::chooseOutputFolder() {
  const QString folder =
      prompts_.folderName(this, tr("Folder for results and working folders"), outputFolder());
  if (folder.isEmpty()) return;
  settings_.setValue(kOutputFolderKey, QDir(folder).absolutePath());
  showOutputFolder();
}

QString MainWindow::dialogFolder() const {
  const QString last = settings_.value(kLastFolderKey).toString();
  return !last.isEmpty() ? last : outputFolder();
}

// ----- running commands -----

void MainWindow::startCommand(const Launch& launch, CommandRunner::Job job) {
  if (!runner_.start(std::move(job), launch.cancellable,
                     launch.lowPriority ? QThread::LowPriority : QThread::NormalPriority)) {
    return;
  }
  running_ = launch;
  progress_->setRange(0, 0);
  progress_->setTextVisible(true);
  setStatus(launch.status + launch.statusSuffix);
  updateCommandStates();
}

void MainWindow::onProgress(qulonglong done, qulonglong total, const QString& text) {
  if (!runner_.running()) return;  // a late report of a command that has ended
  if (total == 0) {
    progress_->setRange(0, 0);
  } else {
    progress_->setRange(0, 1000);
    progress_->setValue(static_cast<int>(std::min<qulonglong>(done, total) * 1000 / total));
  }
  if (!text.isEmpty()) setStatus(text + running_.statusSuffix);
}

void MainWindow::onEnded() {
  CommandRunner::Outcome outcome = runner_.takeOutcome();
  progress_->setRange(0, 1);
  progress_->setValue(0);
  progress_->setTextVisible(false);
  updateCommandStates();
  switch (outcome.kind) {
    case CommandRunner::Outcome::Kind::Cancelled:
      setStatus(tr("Cancelled."));
      return;
    case CommandRunner::Outcome::Kind::Failed: {
      setStatus(tr("Failed: %1").arg(outcome.error.section('\n', 0, 0)));
      const bool own = !running_.failure.isEmpty();
      prompts_.message(this, UserPrompts::Icon::Critical, tr("Error!"),
                       own ? running_.failure : outcome.error, own ? outcome.error : QString());
      return;
    }
    case CommandRunner::Outcome::Kind::Succeeded:
      break;
  }
  if (!outcome.completion) return;
  try {
    outcome.completion();
  } catch (const std::exception& e) {
    setStatus(tr("Failed: %1").arg(Q(std::string(e.what()))));
    prompts_.message(this, UserPrompts::Icon::Critical, tr("Error!"), Q(std::string(e.what())));
  }
}

template <typename F>
void MainWindow::guarded(const QString& title, F&& f) {
  try {
    f();
  } catch (const std::exception& e) {
    setStatus(tr("Failed: %1").arg(Q(std::string(e.what()))));
    prompts_.message(this, UserPrompts::Icon::Critical, title, Q(std::string(e.what())));
  }
}

void MainWindow::closeEvent(QCloseEvent* event) {
  if (runner_.running()) {
    if (!prompts_.confirm(this, tr("TESSEL"),
                          tr("A command is still running. Stop it and quit?"))) {
      event->ignore();
      return;
    }
    runner_.cancel();
    setStatus(tr("Stopping the running command..."));
    runner_.wait();
  }
  event->accept();
}

// ----- pages -----

void MainWindow::openPage(const QString& file) {
  lastPage_ = QFileInfo(file).absoluteFilePath();
  prompts_.showPage(this, QUrl::fromLocalFile(lastPage_));
}

void MainWindow::openHelp(const QString& page) {
  if (page == "save_as") {
    prompts_.message(this, UserPrompts::Icon::Information, tr("TESSEL Help"),
                     tr("Allows you to save loaded networks as SIG files..."));
    return;
  }
  prompts_.showPage(this, QUrl("qrc:/help/" + page));
}

void MainWindow::showAbout() {
  prompts_.message(
      this, UserPrompts::Icon::Information, tr("About TESSEL"),
      tr("TESSEL %1: analysis of cell-signalling networks.").arg(TESSEL_VERSION),
      tr("Statistics, motifs, random networks for comparison, sub-networks, pathway maps, a web "
         "site with drawings and literature, and files for other tools.\n\nThe same commands "
         "run from the command line: tessel --help.\nBuilt with Qt %1 and Graphviz.")
          .arg(qVersion()));
}

PageContext MainWindow::pageContext(const QString& command) const {
  return MakePageContext(Path(loadedFile_), command.toStdString());
}

void MainWindow::restartViewer() {
  if (!lastPage_.isEmpty()) prompts_.showPage(this, QUrl::fromLocalFile(lastPage_));
}

// ----- loading -----

void MainWindow::loadSigNetwork() {
  // One filter for every readable file, then one per format, from the readers' table.
  QStringList all, each;
  for (const NetworkFormatInfo& format : NetworkFormats()) {
    if (format.patterns.empty()) continue;
    const QString patterns = Q(std::string(format.patterns));
    each << QString("%1 (%2)").arg(Q(std::string(format.label)), patterns);
    for (const QString& pattern : patterns.split(' ')) {
      if (!all.contains(pattern)) all << pattern;
    }
  }
  const QString filters =
      tr("Network files (%1)").arg(all.join(' ')) + ";;" + each.join(";;") + tr(";;All files (*)");
  const QString file =
      prompts_.openFileName(this, tr("Load SIG file network..."), dialogFolder(), filters);
  if (!file.isEmpty()) loadNetwork(file, NetworkFormat::Auto);
}

void MainWindow::loadTwoColumnNetwork() {
  const QString file = prompts_.openFileName(this, tr("Load Two Column Net..."), dialogFolder(),
                                             tr("Text files (*.txt);;All files (*)"));
  if (!file.isEmpty()) loadNetwork(file, NetworkFormat::Pairs);
}

void MainWindow::loadNetwork(const QString& file, NetworkFormat format) {
  ReadOptions options;
  options.format = format;
  loadNetwork(file, options);
}

void MainWindow::loadNetwork(const QString& file, const ReadOptions& options) {
  const QString path = QFileInfo(file).absoluteFilePath();
  const QString chosen = settings_.value(kOutputFolderKey).toString();
  const QString output = !chosen.isEmpty() ? chosen : QFileInfo(path).absolutePath();
  Launch launch;
  launch.status = tr("Loading %1...").arg(QFileInfo(path).fileName());
  launch.failure = tr("Failed to load network, bad file name!");
  launch.cancellable = false;
  startCommand(launch, [this, path, options, output](Progress&) -> CommandRunner::Completion {
    LoadedNetwork loaded;
    try {
      loaded = ReadNetwork(path, options, output);
    } catch (const TableColumnsError& e) {
      // A table with titles the reader does not know: let the person pick the columns,
      // then read it again.
      if (options.columns.any()) throw;
      return [this, path, titles = e.titles()] {
        TableColumnsDialog dialog(QFileInfo(path).fileName(), titles, this);
        if (!prompts_.runDialog(dialog)) return;
        ReadOptions chosen;
        chosen.format = NetworkFormat::Table;
        chosen.columns = dialog.columns();
        loadNetwork(path, chosen);
      };
    }
    return [this, loaded, path] {
      installNetwork(loaded.network, loaded.colors, path, loaded.warnings);
      prompts_.message(this, UserPrompts::Icon::Information, tr("Loading the network"),
                       tr("The network was loaded successfully!"), loaded.notes.join('\n'));
    };
  });
}

void MainWindow::installNetwork(std::shared_ptr<const Network> network,
                                std::shared_ptr<const ColorShapeTable> colors, const QString& file,
                                std::size_t warnings) {
  network_ = std::move(network);
  colors_ = std::move(colors);
  loadedFile_ = file;
  defaultFolder_ = QFileInfo(file).absolutePath();
  settings_.setValue(kLastFolderKey, defaultFolder_);
  networkLine_->setText(tr("Network: %1 (%2 molecules, %3 interactions)")
                            .arg(QFileInfo(file).fileName())
                            .arg(network_->moleculeCount())
                            .arg(network_->interactionCount()));
  QString status = tr("Loaded %1 molecules and %2 interactions from %3.")
                       .arg(network_->moleculeCount())
                       .arg(network_->interactionCount())
                       .arg(QFileInfo(file).fileName());
  if (warnings == 1) status += tr(" 1 warning while reading.");
  if (warnings > 1) status += tr(" %1 warnings while reading.").arg(warnings);
  setStatus(status);
  showOutputFolder();
  updateCommandStates();
}

void MainWindow::loadGeneList() {
  const QString file =
      prompts_.openFileName(this, tr("Load a list of gene/protein names..."), dialogFolder(),
                            tr("Text files (*.txt);;All files (*)"));
  if (file.isEmpty()) return;
  // A list without a name is refused before anything else is asked.
  try {
    ReadGeneListFile(Path(file));
  } catch (const std::exception& e) {
    prompts_.message(this, UserPrompts::Icon::Critical, tr("Error!"), Q(std::string(e.what())));
    return;
  }
  settings_.setValue(kLastFolderKey, QFileInfo(file).absolutePath());

  QString reference = settings_.value(kReferenceKey).toString();
  if (reference.isEmpty()) reference = Q(ServiceSettings::FromEnvironment().referenceUrl);
  if (reference.isEmpty()) {
    reference = prompts_.text(this, tr("Reference network"),
                              tr("The network to search for your genes/proteins:\n"
                                 "a SIG file or an http(s) address."),
                              QString());
    if (reference.isEmpty()) return;
  }
  settings_.setValue(kReferenceKey, reference);

  IntermediatesDialog dialog(this);
  if (!prompts_.runDialog(dialog)) return;
  const int intermediates = dialog.intermediates();

  const QString chosen = settings_.value(kOutputFolderKey).toString();
  const QString output = !chosen.isEmpty() ? chosen : QFileInfo(file).absolutePath();
  const QString target = QDir(output).filePath("subnetwork.sig");
  Launch launch;
  launch.status = tr("Downloading the reference network... please wait");
  launch.lowPriority = true;
  GeneListSettings geneList;
  geneList.listFile = Path(file);
  geneList.reference = reference.toStdString();
  geneList.intermediates = intermediates;
  geneList.output = Path(target);
  startCommand(
      launch, [this, geneList, output, target](Progress& progress) -> CommandRunner::Completion {
        GeneListOutcome result;
        try {
          result = RunGeneListCommand(geneList, progress);
        } catch (const ReferenceError& e) {
          // Ask for the reference again next time: the stored one may be wrong.
          QMetaObject::invokeMethod(this, [this] { settings_.remove(kReferenceKey); });
          throw std::runtime_error(std::string("Failed to download background database!\n") +
                                   e.what());
        }
        QStringList absent;
        for (const std::string& name : result.absent) absent << Q(name);
        QStringList notes;
        if (!absent.isEmpty())
          notes << tr("Not in the reference network: %1").arg(absent.join(' '));
        notes << WarningNotes(result.warnings);
        const QString message = Q(std::string(result.message()));
        if (!result.connected()) {
          return [this, message, notes] {
            setStatus(QString());
            prompts_.message(this, UserPrompts::Icon::Information, tr("TESSEL"), message,
                             notes.join('\n'));
          };
        }
        LoadedNetwork loaded = ReadNetwork(target, ReadOptions{NetworkFormat::Sig, {}}, output);
        return [this, loaded, target, message, notes] {
          installNetwork(loaded.network, loaded.colors, target, loaded.warnings);
          QStringList details{tr("Written to %1.").arg(target)};
          details << notes;
          prompts_.message(this, UserPrompts::Icon::Information, tr("TESSEL"), message,
                           details.join('\n'));
        };
      });
}

// ----- short commands -----

void MainWindow::saveAs() {
  QString file = prompts_.saveFileName(
      this, tr("Save as..."),
      QDir(outputFolder()).filePath(QFileInfo(loadedFile_).baseName() + ".sig"),
      tr("SIG files (*.sig);;All files (*)"));
  if (file.isEmpty()) return;
  if (QFileInfo(file).suffix().isEmpty()) file += ".sig";
  guarded(tr("Save as.."), [&] {
    WriteSigFile(*network_, Path(file));
    setStatus(tr("Saved %1.").arg(file));
    prompts_.message(this, UserPrompts::Icon::Information, tr("Save as.."), tr("Done!"));
  });
}

void MainWindow::validateAll() {
  guarded(tr("Validate all"), [&] {
    const fs::path page = WriteValidationReport(*network_, Path(outputFolder()), nullptr,
                                                pageContext(tr("Validate all")));
    setStatus(tr("Wrote %1.").arg(Q(page)));
    openPage(Q(page));
  });
}

void MainWindow::exportPajek() {
  const QString file =
      prompts_.saveFileName(this, tr("Create .net file for Pajek"),
                            QDir(outputFolder()).filePath(DefaultExportFile("pajek")),
                            tr("Pajek networks (*.net);;All files (*)"));
  if (file.isEmpty()) return;
  guarded(tr("Error!"), [&] {
    WriteExport(*network_, ExportFormat::Pajek, Path(file));
    setStatus(tr("Wrote %1.").arg(file));
    prompts_.message(this, UserPrompts::Icon::Information, tr("Finished creating file for Pajek"),
                     tr("Done!"));
  });
}

void MainWindow::exportMfinder() {
  const QString file =
      prompts_.saveFileName(this, tr("Create file for MFinder"),
                            QDir(outputFolder()).filePath(DefaultExportFile("mfinder")),
                            tr("Text files (*.txt);;All files (*)"));
  if (file.isEmpty()) return;
  guarded(tr("Error!"), [&] {
    const std::vector<fs::path> written = WriteExport(*network_, ExportFormat::Mfinder, Path(file));
    QStringList names;
    for (const fs::path& f : written) names << Q(f);
    setStatus(tr("Wrote %1.").arg(names.join(", ")));
    prompts_.message(this, UserPrompts::Icon::Information, tr("Creating file for MFinder"),
                     tr("Done!"), names.join('\n'));
  });
}

void MainWindow::exportCytoscape() {
  const QString file = QDir(outputFolder()).filePath(DefaultExportFile("sif"));
  guarded(tr("Error!"), [&] {
    WriteExport(*network_, ExportFormat::Sif, Path(file));
    setStatus(tr("Wrote %1.").arg(file));
    prompts_.message(this, UserPrompts::Icon::Information, tr("TESSEL"),
                     tr("The Sif file for Cytoscape was created and it was placed in your current "
                        "working directory!"),
                     file);
  });
}

void MainWindow::dumpBigCluster() {
  const QString file =
      prompts_.saveFileName(this, tr("Dump the big cluster"),
                            QDir(outputFolder()).filePath(DefaultExportFile("big-cluster")),
                            tr("SIG files (*.sig);;All files (*)"));
  if (file.isEmpty()) return;
  guarded(tr("Error!"), [&] {
    WriteExport(*network_, ExportFormat::BigCluster, Path(file));
    setStatus(tr("Wrote %1.").arg(file));
    prompts_.message(this, UserPrompts::Icon::Information, tr("Dumping the big cluster"),
                     tr("Done!"));
  });
}

void MainWindow::exportExchange() {
  QStringList filters;
  for (const ExportFormatInfo& format : ExportFormats()) {
    if (!format.exchange) continue;
    const QString extension = Q(fs::path(format.defaultFile).extension().string());
    filters << QString("%1 (*%2)").arg(Q(std::string(format.purpose)), extension);
  }
  filters << tr("All files (*)");
  const QString file = prompts_.saveFileName(
      this, tr("Export GraphML, table, signed SIF or CX2..."),
      QDir(outputFolder()).filePath(DefaultExportFile("graphml")), filters.join(";;"));
  if (file.isEmpty()) return;
  // The format follows the file name's extension, as in the dialog's filters; GraphML when
  // the extension is none of them.
  const ExportFormatInfo* chosen = ExchangeFormatForFile(Path(file));
  const ExchangeFormat format = chosen ? *chosen->exchange : ExchangeFormat::GraphMl;
  guarded(tr("Error!"), [&] {
    WriteExchange(*network_, *colors_, format, Path(file));
    setStatus(tr("Wrote %1.").arg(file));
    prompts_.message(this, UserPrompts::Icon::Information,
                     tr("Export GraphML, table, signed SIF or CX2..."), tr("Done!"), file);
  });
}

void MainWindow::drawInteractionsMatrix() {
  const QString file = QDir(outputFolder()).filePath("interactions_matrix.png");
  guarded(tr("Error!"), [&] {
    const fs::path page = WriteInteractionsMatrix(*network_, Path(file), 510,
                                                  pageContext(tr("Draw interactions matrix")));
    setStatus(tr("Wrote %1 and %2.").arg(file, Q(page)));
    // The tooltip names the row and column molecules under the pointer and their links.
    auto layout = std::make_shared<const MatrixLayout>(*network_, 510);
    prompts_.showImage(this, tr("Interactions Matrix"), file,
                       [layout, network = network_](int x, int y) {
                         return Q(layout->describe(layout->cellAt(x, y)));
                       });
  });
}

// ----- worker commands -----

void MainWindow::makeGraphvizDrawing() {
  // Beyond what the renderer can handle, a drawing is not offered at all.
  if (const std::string problem = DrawingSizeProblem(*network_); !problem.empty()) {
    prompts_.message(this, UserPrompts::Icon::Warning, tr("Make Graphviz SVG/DOT/JPG"), Q(problem));
    return;
  }
  const std::size_t molecules = network_->moleculeCount();
  if (molecules > kLargeDrawingMolecules &&
      !prompts_.confirm(this, tr("Make Graphviz SVG/DOT/JPG"),
                        tr("This network has %1 molecules. Drawings of more than %2 molecules "
                           "are hard to read and may take long to render. Draw it anyway?")
                            .arg(molecules)
                            .arg(kLargeDrawingMolecules))) {
    return;
  }
  const QString file = prompts_.saveFileName(this, tr("Make Graphviz SVG/DOT/JPG"),
                                             QDir(outputFolder()).filePath("network.svg"),
                                             tr("SVG drawings (*.svg);;All files (*)"));
  if (file.isEmpty()) return;
  // The three files share the chosen name without its extension.
  const QFileInfo info(file);
  QString base = info.fileName();
  for (const char* extension : {".svg", ".dot", ".jpg"}) {
    if (base.endsWith(extension, Qt::CaseInsensitive)) base.chop(4);
  }
  const QString folder = info.absolutePath();
  auto network = network_;
  auto colors = colors_;
  Launch launch;
  launch.status = tr("Drawing the network with Graphviz... please wait");
  // The layout itself cannot be interrupted; a cancel stops the run before rendering.
  launch.cancellable = true;
  startCommand(launch, [=, this](Progress& progress) -> CommandRunner::Completion {
    const DrawResult drawn =
        DrawNetwork(*network, *colors, Path(folder), base.toStdString(), progress);
    return [this, drawn, base] {
      setStatus(tr("Wrote %1, %2 and %3.").arg(Q(drawn.svg), Q(drawn.dot), Q(drawn.jpeg)));
      prompts_.message(this, UserPrompts::Icon::Information, tr("Success!"),
                       tr("Done creating %1.svg, %1.dot and %1.jpg files!").arg(base));
      openPage(Q(drawn.jpeg));
    };
  });
}

void MainWindow::createWebsite() {
  WebsiteDialog dialog(settings_.value(kWebsiteOfflineKey, false).toBool(), this);
  if (!prompts_.runDialog(dialog)) return;
  settings_.setValue(kWebsiteOfflineKey, dialog.offline());
  WebsiteSettings websiteSettings;
  websiteSettings.offline = dialog.offline();
  websiteSettings.context =
      pageContext(dialog.offline() ? tr("Create web site (offline)") : tr("Create web site"));
  auto network = network_;
  auto colors = colors_;
  const QString output = outputFolder();
  Launch launch;
  launch.status = tr("Performing the network statistical analysis... please wait!");
  launch.lowPriority = true;
  startCommand(launch, [=, this](Progress& progress) -> CommandRunner::Completion {
    const WebsiteResult result =
        RunWebsiteCommand(*network, *colors, websiteSettings, Path(output), progress);
    return [this, result] {
      QStringList details{tr("%1 molecule pages; %2 of %3 references with their record.")
                              .arg(result.moleculePages)
                              .arg(result.referencesShown)
                              .arg(result.references)};
      const std::size_t shown = std::min<std::size_t>(result.warnings.size(), 5);
      for (std::size_t k = 0; k < shown; ++k) details << Q(result.warnings[k]);
      setStatus(tr("Created web pages for %1 molecules.").arg(result.moleculePages));
      prompts_.message(this, UserPrompts::Icon::Information, tr("Site is ready for viewing!"),
                       tr("Done!"), details.join('\n'));
      openPage(Q(result.index));
    };
  });
}

void MainWindow::computeStatistics() {
  auto network = network_;
  const QString output = outputFolder();
  Launch launch;
  launch.status = tr("Performing the network statistical analysis... please wait!");
  const PageContext context = pageContext(tr("Compute statistics"));
  startCommand(launch, [=, this](Progress& progress) -> CommandRunner::Completion {
    const fs::path page = WriteStatisticsPage(*network, Path(output), progress, nullptr, context);
    return [this, page] {
      setStatus(tr("Done computing statistics..."));
      openPage(Q(page));
    };
  });
}

void MainWindow::findMotifs() {
  MotifChoicesDialog dialog(this);
  if (!prompts_.runDialog(dialog)) return;
  MotifCommandOptions options;
  options.kinds = dialog.kinds();
  QStringList kinds;
  for (const MotifKind kind : options.kinds) kinds << Q(std::string(MotifKindName(kind)));
  options.context = pageContext(tr("Find and display motifs: %1").arg(kinds.join(", ")));
  // A search that could run out of memory is asked about first (the bound is quick).
  if (const std::string problem = MotifLimitProblem(*network_, options.kinds, options.maxMotifs);
      !problem.empty()) {
    if (!prompts_.confirm(this, tr("Find and display motifs"),
                          Q(problem) + tr("\n\nSearch anyway?"))) {
      return;
    }
    options.force = true;
  }
  auto network = network_;
  auto colors = colors_;
  const QString output = outputFolder();
  Launch launch;
  launch.status = tr("Searching for motifs... please wait!");
  startCommand(launch, [=, this](Progress& progress) -> CommandRunner::Completion {
    const MotifCommandResult result =
        RunMotifCommand(*network, *colors, options, Path(output), progress);
    return [this, page = Q(result.indexPage)] {
      setStatus(tr("Done searching for motifs..."));
      openPage(page);
    };
  });
}

void MainWindow::pathwaysGenerator() {
  PathwaySetupDialog dialog(*network_, this);
  if (!prompts_.runDialog(dialog)) return;
  const PathwayQuery query = dialog.query();
  directOnly_ = query.directOnly;
  runPathways(query, tr("Pathways Generator"));
}

void MainWindow::easyInterface() {
  EasyInterfaceDialog dialog(*network_, directOnly_, this);
  if (!prompts_.runDialog(dialog)) return;
  runPathways(dialog.query(), tr("Easy Interface"), true);
}

void MainWindow::runPathways(const PathwayQuery& query, const QString& command, bool listRoutes) {
  // A condition that matches no molecule would only give "No pathways...": say which one,
  // and the value that was probably meant.
  const std::vector<std::string> unmatched = UnmatchedConditions(*network_, query);
  if (!unmatched.empty()) {
    QStringList lines;
    for (const std::string& line : unmatched) lines << Q(line);
    setStatus(tr("No molecule matches the query."));
    prompts_.message(this, UserPrompts::Icon::Warning, tr("Pathway Generator"),
                     tr("No molecule matches the query."), lines.join('\n'));
    return;
  }
  auto network = network_;
  auto colors = colors_;
  const QString output = outputFolder();
  const PageContext context = pageContext(command + ": " + Q(DescribeQuery(query)));
  Launch launch;
  launch.status = tr("Searching for pathways... please wait!");
  startCommand(launch, [=, this](Progress& progress) -> CommandRunner::Completion {
    // One named pair: the routes themselves, shortest first, beside the map.
    QString routes;
    if (listRoutes && query.sources.size() == 1 && query.targets.size() == 1) {
      const MoleculeId source = network->findId(query.sources[0].value);
      const MoleculeId target = network->findId(query.targets[0].value);
      if (source != 0 && target != 0) {
        routes = RoutesText(*network, ListRoutes(*network, source, target, query.maxSteps,
                                                 query.directOnly, kRoutesShown, &progress));
      }
    }
    const PathwayCommandResult result =
        RunPathwayCommand(*network, *colors, query, Path(output), progress, 0, context);
    if (result.maps.empty()) {
      return [this, routes] {
        setStatus(tr("No pathways were found..."));
        prompts_.message(this, UserPrompts::Icon::Information, tr("Pathway Generator"),
                         Q(std::string(kNoPathwaysMessage)), routes);
      };
    }
    // A single map opens directly; several open the form to choose from.
    const fs::path page = result.maps.size() == 1 && !routes.isEmpty()
                              ? result.folder / (result.baseNames.front() + ".htm")
                              : result.form;
    return [this, routes, page, maps = result.maps.size()] {
      setStatus(maps == 1 ? tr("Done generating pathways... 1 map")
                          : tr("Done generating pathways... %1 maps").arg(maps));
      if (!routes.isEmpty()) {
        prompts_.message(this, UserPrompts::Icon::Information, tr("Pathway Generator"),
                         routes.section('\n', 0, 0), routes.section('\n', 1));
      }
      openPage(Q(page));
    };
  });
}

void MainWindow::reduceByConnectivity() {
  auto network = network_;
  const QString output = outputFolder();
  const PageContext context =
      pageContext(tr("Generate and analyze sub-networks based on connectivity"));
  Launch launch;
  launch.status = tr("Creating sub-networks based on connectivity...");
  launch.lowPriority = true;
  startCommand(launch, [=, this](Progress& progress) -> CommandRunner::Completion {
    const ReduceResult result = RunReduceCommand(*network, Path(output), progress, 0, context);
    return [this, page = Q(result.page)] {
      setStatus(tr("Done analyzing sub-networks based on connectivity..."));
      openPage(page);
    };
  });
}

void MainWindow::propagateFromSources() {
  SourceNodesDialog dialog(*network_, this);
  if (!prompts_.runDialog(dialog)) return;
  PropagateSettings settings = dialog.settings();
  settings.context = pageContext(
      tr("Generate and analyze sub-networks propagating from source nodes: %1, %2 steps")
          .arg(Q(std::string(ConditionKindName(settings.condition.kind)) + "=" +
                 settings.condition.value))
          .arg(settings.maxSteps));
  auto network = network_;
  const QString output = outputFolder();
  Launch launch;
  launch.status = tr("Creating sub-networks from source nodes...");
  launch.lowPriority = true;
  startCommand(launch, [=, this](Progress& progress) -> CommandRunner::Completion {
    const PropagateResult result = RunPropagateCommand(*network, settings, Path(output), progress);
    return [this, page = Q(result.statsPage)] {
      setStatus(tr("Done analyzing sub-networks based on connectivity..."));
      openPage(page);
    };
  });
}

void MainWindow::shuffledNetworks() {
  ShuffledNetworksDialog dialog(this);
  if (!prompts_.runDialog(dialog)) return;
  ShuffleSettings settings = dialog.settings();
  settings.seed = dialog.seed().value_or(NewSeed());
  settings.context =
      pageContext(tr("Generate and analyze shuffled networks: %1, %2 networks, seed %3")
                      .arg(Q(ShuffleKindWords(settings.kind)))
                      .arg(settings.count)
                      .arg(settings.seed));
  auto network = network_;
  const QString output = outputFolder();
  Launch launch;
  launch.status = tr("Creating shuffled networks...");
  launch.lowPriority = true;
  launch.statusSuffix = tr(" (seed %1)").arg(settings.seed);
  startCommand(
      launch,
      [=, this, seed = launch.statusSuffix](Progress& progress) -> CommandRunner::Completion {
        const ShuffleResult result = RunShuffleCommand(*network, settings, Path(output), progress);
        if (result.page.empty()) {
          return [this, seed] { setStatus(tr("Done creating shuffled networks") + seed); };
        }
        return [this, seed, result] {
          setStatus(tr("Done analyzing shuffled networks") + seed);
          prompts_.message(this, UserPrompts::Icon::Information,
                           tr("Your network against %1 random networks").arg(result.files.size()),
                           ComparisonTable(result.comparison));
          openPage(Q(result.page));
        };
      });
}

}  // namespace tessel::gui
