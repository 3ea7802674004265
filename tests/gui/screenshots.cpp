// Takes the screenshots of the documentation: the main window after a load, and the page
// viewer on the web site of a network. Run under a display (xvfb-run -a):
//   tessel_gui_screenshots OUT_DIR NETWORK SITE_NETWORK
#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QPixmap>
#include <QSettings>
#include <QTemporaryDir>
#include <QWebEngineView>
#include <cstdio>

#include "app/gui/main_window.h"
#include "app/gui/page_viewer.h"
#include "fake_prompts.h"
#include "model/color_table.h"
#include "output/website.h"

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

}  // namespace

int main(int argc, char** argv) {
  QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
  QApplication app(argc, argv);
  if (argc != 4) {
    std::fprintf(stderr, "usage: tessel_gui_screenshots OUT_DIR NETWORK SITE_NETWORK\n");
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
  MainWindow window(settings, prompts);
  window.loadNetwork(network, NetworkFormat::Auto);
  while (window.busy()) Pause(50);
  window.show();
  Pause(1000);
  bool ok = Save(window, out + "/main_window.png");

  // The site is written offline (PubMed records from the cache only) to keep this quick.
  const Network site = LoadNetwork(argv[3]);
  const ColorShapeTable colors = ColorShapeTable::Defaults();
  WebsiteSettings offline;
  offline.offline = true;
  NullProgress progress;
  const WebsiteResult result =
      RunWebsiteCommand(site, colors, offline, work.path().toStdString(), progress);
  PageViewer viewer(QUrl::fromLocalFile(QString::fromStdString(result.index.string())));
  viewer.resize(1000, 520);
  bool loaded = false;
  QObject::connect(viewer.view(), &QWebEngineView::loadFinished, [&loaded] { loaded = true; });
  viewer.show();
  for (int waited = 0; !loaded && waited < 30000; waited += 100) Pause(100);
  Pause(3000);  // drawings inside the page load after it
  ok = Save(viewer, out + "/viewer_website.png") && ok;
  return ok ? 0 : 1;
}
