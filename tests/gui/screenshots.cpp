// Takes the screenshots of the documentation: the main window after loading a network and
// after each command it runs, and the page viewer on the page each command opened. Dialogs
// are answered with their defaults (a short, seeded shuffle; an offline web site). Run under
// a display (xvfb-run -a):
//   tessel_gui_screenshots OUT_DIR NETWORK
#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QLineEdit>
#include <QPixmap>
#include <QPushButton>
#include <QSettings>
#include <QSpinBox>
#include <QTemporaryDir>
#include <QWebEngineView>
#include <cstdio>

#include "app/gui/dialogs.h"
#include "app/gui/main_window.h"
#include "app/gui/page_viewer.h"
#include "fake_prompts.h"

using namespace tessel;
using namespace tessel::gui;

namespace {

void Pause(int ms) {
  QElapsedTimer timer;
  timer.start();
  while (timer.elapsed() < ms) QApplication::processEvents(QEventLoop::AllEvents, 50);
}

bool Save(QWidget& widget, const QString& file) {
  const bool ok = widget.grab().save(file, "PNG");
  std::fprintf(stderr, "%s %s\n", ok ? "wrote" : "could not write", qPrintable(file));
  return ok;
}

// Shows `url` in a page viewer and saves it once the page and its drawings have loaded.
bool SaveViewer(const QUrl& url, const QString& file) {
  PageViewer viewer(url);
  viewer.resize(1100, 760);
  bool loaded = false;
  QObject::connect(viewer.view(), &QWebEngineView::loadFinished, [&loaded] { loaded = true; });
  viewer.show();
  for (int waited = 0; !loaded && waited < 30000; waited += 100) Pause(100);
  Pause(2500);  // drawings inside the page load after it
  return Save(viewer, file);
}

}  // namespace

int main(int argc, char** argv) {
  QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
  QApplication app(argc, argv);
  if (argc != 3) {
    std::fprintf(stderr, "usage: tessel_gui_screenshots OUT_DIR NETWORK\n");
    return 2;
  }
  const QString out = QDir(argv[1]).absolutePath();
  QDir().mkpath(out);
  // A folder with a short name, as the window shows it.
  QDir work(QDir::temp().filePath("tessel-example"));
  work.removeRecursively();
  work.mkpath(".");
  const QString network = work.filePath(QFileInfo(argv[2]).fileName());
  QFile::copy(argv[2], network);

  QTemporaryDir settingsDir;
  QSettings settings(settingsDir.filePath("settings.ini"), QSettings::IniFormat);
  FakePrompts prompts;
  prompts.saveAnswers << work.filePath("network.svg");  // the drawing's file
  prompts.onDialog = [](QDialog& dialog) {
    if (auto* shuffle = dynamic_cast<ShuffledNetworksDialog*>(&dialog)) {
      shuffle->count()->setValue(20);
      shuffle->seedField()->setText("7");
    }
    if (auto* site = dynamic_cast<WebsiteDialog*>(&dialog)) site->offlineBox()->setChecked(true);
    if (auto* setup = dynamic_cast<PathwaySetupDialog*>(&dialog)) {
      // Receptors when the network has no ligand (the default sources).
      if (setup->query().sources.empty()) setup->source(0)->set(ConditionKind::Type, "Receptor");
    }
    return true;
  };
  MainWindow window(settings, prompts);
  window.resize(1000, 640);
  window.loadNetwork(network, NetworkFormat::Auto);
  while (window.busy()) Pause(50);
  window.show();
  Pause(1000);
  bool ok = Save(window, out + "/main_window.png");

  const struct {
    const char* caption;
    const char* name;
  } commands[] = {
      {"Compute statistics", "stats"},
      {"Validate all", "validate"},
      {"Make Graphviz SVG/DOT/JPG", "draw"},
      {"Draw interactions matrix", "matrix"},
      {"Create web site...", "website"},
      {"Find and display motifs", "motifs"},
      {"Pathways Generator", "pathways"},
      {"Easy Interface", "easy"},
      {"Generate and analyze sub-networks based on connectivity", "reduce"},
      {"Generate and analyze sub-networks propagating from source nodes", "propagate"},
      {"Generate and analyze shuffled networks", "shuffle"},
  };
  for (const auto& command : commands) {
    QPushButton* button = window.button(command.caption);
    if (!button) {
      std::fprintf(stderr, "no button \"%s\"\n", command.caption);
      ok = false;
      continue;
    }
    const qsizetype pagesBefore = prompts.pages.size();
    const qsizetype imagesBefore = prompts.images.size();
    button->click();
    Pause(200);
    while (window.busy()) Pause(100);
    Pause(300);
    ok = Save(window, out + "/window_" + command.name + ".png") && ok;
    if (prompts.images.size() > imagesBefore) {
      const QString image = out + "/image_" + command.name + ".png";
      QFile::remove(image);
      ok = QFile::copy(prompts.images.last(), image) && ok;
    }
    if (prompts.pages.size() > pagesBefore) {
      ok = SaveViewer(prompts.pages.last(), out + "/viewer_" + command.name + ".png") && ok;
    }
  }
  return ok ? 0 : 1;
}
