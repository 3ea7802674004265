// The main window driven through its buttons, with FakePrompts answering the dialogs: the
// enabling rules, loads, worker commands with their progress, results and failures, and
// cancellation.
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QSettings>
#include <QSpinBox>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>
#include <memory>

#include "app/gui/dialogs.h"
#include "app/gui/main_window.h"
#include "fake_prompts.h"

using namespace tessel;
using namespace tessel::gui;

namespace {

const QStringList kLoadCaptions = {"Load SIG file network...", "Load Two Column Net...",
                                   "Load a list of gene/protein names..."};
const QStringList kAlwaysCaptions = {"Help?", "E&xit"};

QString ReadText(const QString& path) {
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly)) return {};
  return QString::fromUtf8(file.readAll());
}

bool WriteText(const QString& path, const QByteArray& text) {
  QFile file(path);
  return file.open(QIODevice::WriteOnly) && file.write(text) == text.size();
}

// A window over a scratch folder holding a copy of the SIGNOR breast-cancer network.
struct Fixture {
  QTemporaryDir dir;
  QSettings settings{dir.filePath("settings.ini"), QSettings::IniFormat};
  FakePrompts prompts;
  MainWindow window{settings, prompts};
  QString network = dir.filePath("signor_lbc.sig");

  Fixture() { QFile::copy(TESSEL_SHARED_DATA_DIR "/networks/signor_lbc.sig", network); }

  void click(const QString& caption) {
    QPushButton* b = window.button(caption);
    QVERIFY2(b != nullptr, qPrintable(caption));
    QVERIFY2(b->isEnabled(), qPrintable(caption + " is disabled"));
    b->click();
  }
  QStringList enabledCommands() const {
    QStringList enabled;
    for (QPushButton* b : window.commandButtons()) {
      if (b->isEnabled()) enabled << b->text();
    }
    return enabled;
  }
};

}  // namespace

class MainWindowTest : public QObject {
  Q_OBJECT

 private slots:
  void initTestCase() { qunsetenv("TESSEL_REFERENCE_URL"); }

  void startAllowsOnlyLoadingHelpAndExit() {
    Fixture f;
    QCOMPARE(f.enabledCommands(), kLoadCaptions + kAlwaysCaptions);
    QVERIFY(!f.window.cancelButton()->isEnabled());
    QCOMPARE(f.window.progressBar()->value(), 0);
    // "Restart Viewer..." before any page does nothing.
    f.window.restartViewer();
    QVERIFY(f.prompts.pages.isEmpty());
  }

  void loadEnablesEveryCommand() {
    Fixture f;
    f.prompts.openAnswers << f.network;
    f.click("Load SIG file network...");
    QVERIFY(f.window.busy());
    QCOMPARE(f.enabledCommands(), kAlwaysCaptions);
    QTRY_VERIFY_WITH_TIMEOUT(!f.window.busy(), 30000);

    QCOMPARE(f.enabledCommands().size(), f.window.commandButtons().size());
    QVERIFY(f.window.network() != nullptr);
    QCOMPARE(f.window.network()->moleculeCount(), std::size_t{30});
    QCOMPARE(f.prompts.messages.size(), 1);
    QCOMPARE(f.prompts.messages[0].title, QString("Loading the network"));
    QCOMPARE(f.prompts.messages[0].text, QString("The network was loaded successfully!"));
    // Results go beside the network, where the default colours table was written.
    QCOMPARE(f.window.outputFolder(), QFileInfo(f.network).absolutePath());
    QVERIFY(QFile::exists(f.dir.filePath("colors_and_shapes.txt")));

    // A chosen output folder is remembered and wins over the network's folder.
    f.prompts.folderAnswer = f.dir.filePath("out");
    QDir().mkpath(f.prompts.folderAnswer);
    f.window.findChild<QPushButton*>("changeFolder")->click();
    QCOMPARE(f.window.outputFolder(), f.prompts.folderAnswer);
    QCOMPARE(f.settings.value(MainWindow::kOutputFolderKey).toString(), f.prompts.folderAnswer);
  }

  void failedLoadKeepsThePreviousState() {
    Fixture f;
    const QString bad = f.dir.filePath("bad.sig");
    QVERIFY(WriteText(bad, "A B C\n"));
    f.window.loadNetwork(bad, NetworkFormat::Sig);
    QTRY_VERIFY_WITH_TIMEOUT(!f.window.busy(), 30000);
    QCOMPARE(f.prompts.messages.size(), 1);
    QCOMPARE(f.prompts.messages[0].title, QString("Error!"));
    QCOMPARE(f.prompts.messages[0].text, QString("Failed to load network, bad file name!"));
    QVERIFY(f.prompts.messages[0].details.contains("bad.sig"));
    QCOMPARE(f.enabledCommands(), kLoadCaptions + kAlwaysCaptions);

    f.window.loadNetwork(f.network, NetworkFormat::Auto);
    QTRY_VERIFY_WITH_TIMEOUT(!f.window.busy(), 30000);
    f.window.loadNetwork(bad, NetworkFormat::Sig);
    QTRY_VERIFY_WITH_TIMEOUT(!f.window.busy(), 30000);
    QCOMPARE(f.window.loadedFile(), f.network);
    QCOMPARE(f.enabledCommands().size(), f.window.commandButtons().size());
  }

  void workerCommandReportsProgressAndOpensItsPage() {
    Fixture f;
    f.window.loadNetwork(f.network, NetworkFormat::Auto);
    QTRY_VERIFY_WITH_TIMEOUT(!f.window.busy(), 30000);
    QStringList texts;
    connect(&f.window.runner(), &CommandRunner::progressed, &f.window,
            [&texts](qulonglong, qulonglong, const QString& text) { texts << text; });

    f.click("Generate and analyze sub-networks based on connectivity");
    QVERIFY(f.window.busy());
    QCOMPARE(f.enabledCommands(), QStringList{"Restart Viewer..."} + kAlwaysCaptions);
    QVERIFY(f.window.cancelButton()->isEnabled());
    QTRY_VERIFY_WITH_TIMEOUT(!f.window.busy(), 120000);

    QCOMPARE(texts.value(0), QString("Created 0 sub-networks out of 46..."));
    QCOMPARE(texts.value(texts.size() - 1),
             QString("Finished analyzing sub-networks based on connectivity..."));
    QCOMPARE(f.window.statusText(),
             QString("Done analyzing sub-networks based on connectivity..."));
    const QString page = f.dir.filePath("TESSEL_reduced/stats_for_reduced_networks.htm");
    QCOMPARE(f.prompts.pages, QList<QUrl>{QUrl::fromLocalFile(page)});
    QVERIFY(ReadText(page).contains("allowed connectivity"));
    QVERIFY(QFile::exists(f.dir.filePath("TESSEL_reduced/reduced_net50.sig")));
    QCOMPARE(f.enabledCommands().size(), f.window.commandButtons().size());
    QVERIFY(!f.window.cancelButton()->isEnabled());

    f.click("Restart Viewer...");
    QCOMPARE(f.prompts.pages.size(), 2);
    QCOMPARE(f.prompts.pages[1], f.prompts.pages[0]);
  }

  void dialogChoicesReachTheCommand() {
    Fixture f;
    f.window.loadNetwork(f.network, NetworkFormat::Auto);
    QTRY_VERIFY_WITH_TIMEOUT(!f.window.busy(), 30000);
    f.prompts.messages.clear();

    // Motifs: only bifans.
    f.prompts.onDialog = [](QDialog& d) {
      auto& motifs = dynamic_cast<MotifChoicesDialog&>(d);
      for (QCheckBox* box : motifs.findChildren<QCheckBox*>()) box->setChecked(false);
      motifs.box(MotifKind::Bifan)->setChecked(true);
      return true;
    };
    f.click("Find and display motifs");
    QTRY_VERIFY_WITH_TIMEOUT(!f.window.busy(), 120000);
    QCOMPARE(f.prompts.dialogTitles.value(0), QString("Find an display network motifs"));
    QCOMPARE(f.window.statusText(), QString("Done searching for motifs..."));
    const QString index = f.dir.filePath("TESSEL_motifs/motifs.htm");
    QCOMPARE(f.prompts.pages.value(0), QUrl::fromLocalFile(index));
    QVERIFY(ReadText(index).contains("bifans.htm"));
    QVERIFY(!ReadText(index).contains("scaffolds.htm"));

    // Pathways: the default query (ligands to transcription factors) finds nothing here,
    // as the network has no ligand.
    f.prompts.onDialog = [](QDialog&) { return true; };
    f.click("Pathways Generator");
    QTRY_VERIFY_WITH_TIMEOUT(!f.window.busy(), 120000);
    QCOMPARE(f.prompts.messages.size(), 1);
    QCOMPARE(f.prompts.messages[0].title, QString("Pathway Generator"));
    QCOMPARE(f.prompts.messages[0].text,
             QString("No pathways with the following query were found!"));
    QCOMPARE(f.window.statusText(), QString("No pathways were found..."));
    QCOMPARE(f.prompts.pages.size(), 1);

    // Receptors to transcription factors, direct links only, maps cut at 5 interactions: the
    // form opens, and the easy interface then keeps the direct-only choice.
    f.prompts.onDialog = [](QDialog& d) {
      auto& setup = dynamic_cast<PathwaySetupDialog&>(d);
      setup.source(0)->set(ConditionKind::Type, "Receptor");
      setup.maxSize()->setValue(5);
      setup.directOnly()->setChecked(true);
      return true;
    };
    f.click("Pathways Generator");
    QTRY_VERIFY_WITH_TIMEOUT(!f.window.busy(), 120000);
    QCOMPARE(f.window.statusText(), QString("Done generating pathways..."));
    QCOMPARE(f.prompts.pages.value(1), QUrl::fromLocalFile(f.dir.filePath("TESSEL_pg/form.htm")));
    bool easyDirectOnly = false;
    f.prompts.onDialog = [&easyDirectOnly](QDialog& d) {
      easyDirectOnly = dynamic_cast<EasyInterfaceDialog&>(d).query().directOnly;
      return false;
    };
    f.click("Easy Interface");
    QVERIFY(easyDirectOnly);
    QVERIFY(!f.window.busy());
  }

  void cancelStopsARunningCommand() {
    Fixture f;
    f.window.loadNetwork(f.network, NetworkFormat::Auto);
    QTRY_VERIFY_WITH_TIMEOUT(!f.window.busy(), 30000);
    f.prompts.messages.clear();
    // Far more networks than the test waits for.
    f.prompts.onDialog = [](QDialog& d) {
      auto& shuffle = dynamic_cast<ShuffledNetworksDialog&>(d);
      shuffle.count()->setValue(1000000);
      shuffle.motifs34()->setChecked(true);
      return true;
    };
    int reports = 0;
    connect(&f.window.runner(), &CommandRunner::progressed, &f.window,
            [&reports](qulonglong, qulonglong, const QString&) { ++reports; });
    f.click("Generate and analyze shuffled networks");
    QVERIFY(f.window.statusText().contains("(seed "));
    QTRY_VERIFY_WITH_TIMEOUT(reports > 0, 30000);
    QVERIFY(f.window.busy());
    QVERIFY(f.window.statusText().contains("(seed "));
    f.window.cancelButton()->click();
    QTRY_VERIFY_WITH_TIMEOUT(!f.window.busy(), 30000);
    QCOMPARE(f.window.statusText(), QString("Cancelled."));
    QVERIFY(f.prompts.messages.isEmpty());
    QVERIFY(f.prompts.pages.isEmpty());
    QCOMPARE(f.enabledCommands().size(), f.window.commandButtons().size());
  }

  void failuresAreReportedAndTheWindowRecovers() {
    Fixture f;
    f.window.loadNetwork(f.network, NetworkFormat::Auto);
    QTRY_VERIFY_WITH_TIMEOUT(!f.window.busy(), 30000);
    f.prompts.messages.clear();
    // An output "folder" that is a file: the working folder cannot be made.
    const QString blocker = f.dir.filePath("not_a_folder");
    QVERIFY(WriteText(blocker, "x"));
    f.settings.setValue(MainWindow::kOutputFolderKey, blocker);

    f.click("Generate and analyze sub-networks based on connectivity");
    QTRY_VERIFY_WITH_TIMEOUT(!f.window.busy(), 30000);
    QCOMPARE(f.prompts.messages.size(), 1);
    QCOMPARE(f.prompts.messages[0].title, QString("Error!"));
    QVERIFY(f.window.statusText().startsWith("Failed: "));
    QVERIFY(f.prompts.pages.isEmpty());
    QCOMPARE(f.enabledCommands().size(), f.window.commandButtons().size());

    // Short commands on the window's thread report theirs the same way.
    f.click("Validate all");
    QCOMPARE(f.prompts.messages.size(), 2);
    QVERIFY(f.window.statusText().startsWith("Failed: "));
  }

  void geneListLoadsTheConnectingSubnetwork() {
    Fixture f;
    const QString reference = f.dir.filePath("reference.sig");
    QVERIFY(QFile::copy(f.network, reference));
    const QString pair = f.dir.filePath("pair.txt");
    const QString single = f.dir.filePath("single.txt");
    QVERIFY(WriteText(pair, "fgfr1\nFRS2 NOSUCHGENE\n"));
    QVERIFY(WriteText(single, "FGFR1\n"));

    // No reference network known yet: the window asks for one and remembers it.
    f.prompts.textAnswer = reference;
    f.prompts.openAnswers << pair;
    f.click("Load a list of gene/protein names...");
    QCOMPARE(f.prompts.questions.size(), 1);
    QCOMPARE(f.prompts.dialogTitles.value(0), QString("Select depth to connect components"));
    QTRY_VERIFY_WITH_TIMEOUT(!f.window.busy(), 60000);
    QCOMPARE(f.settings.value(MainWindow::kReferenceKey).toString(), reference);
    QCOMPARE(f.prompts.messages.size(), 1);
    QCOMPARE(f.prompts.messages[0].title, QString("TESSEL"));
    QCOMPARE(f.prompts.messages[0].text,
             QString("A subnetwork containing your genes/proteins was successfully created!"));
    QVERIFY(f.prompts.messages[0].details.contains("NOSUCHGENE"));
    QCOMPARE(f.window.loadedFile(), f.dir.filePath("subnetwork.sig"));
    QVERIFY(f.window.network()->findId("FGFR1") != 0);
    QVERIFY(f.window.network()->findId("FRS2") != 0);
    QCOMPARE(f.enabledCommands().size(), f.window.commandButtons().size());

    // One name makes no pair: nothing connects, and the loaded network stays.
    const std::size_t molecules = f.window.network()->moleculeCount();
    f.prompts.openAnswers << single;
    f.click("Load a list of gene/protein names...");
    QTRY_VERIFY_WITH_TIMEOUT(!f.window.busy(), 60000);
    QCOMPARE(f.prompts.questions.size(), 1);
    QCOMPARE(f.prompts.messages.value(1).text, QString("No connections were found!"));
    QCOMPARE(f.window.network()->moleculeCount(), molecules);

    // A reference that cannot be read is reported and forgotten.
    f.settings.setValue(MainWindow::kReferenceKey, f.dir.filePath("missing.sig"));
    f.prompts.openAnswers << pair;
    f.click("Load a list of gene/protein names...");
    QTRY_VERIFY_WITH_TIMEOUT(!f.window.busy(), 60000);
    QVERIFY(f.prompts.messages.value(2).text.startsWith("Failed to download background database!"));
    QTRY_VERIFY(!f.settings.contains(MainWindow::kReferenceKey));
  }

  void shortCommandsWriteTheirFiles() {
    Fixture f;
    f.window.loadNetwork(f.network, NetworkFormat::Auto);
    QTRY_VERIFY_WITH_TIMEOUT(!f.window.busy(), 30000);
    f.prompts.messages.clear();
    const struct {
      const char* caption;
      const char* file;  // the save dialog's answer, or the file written without one
      bool asks;
      const char* title;
    } exports[] = {
        {"Create .net file for Pajek", "network.net", true, "Finished creating file for Pajek"},
        {"Create file for MFinder", "input_for_mfinder.txt", true, "Creating file for MFinder"},
        {"Create .sif file for Cytoscape", "network4cytoscape.sif", false, "TESSEL"},
        {"Dump the big cluster", "big.sig", true, "Dumping the big cluster"},
        {"Save as...", "saved", true, "Save as.."},
    };
    for (const auto& e : exports) {
      const QString file = f.dir.filePath(e.file);
      if (e.asks) f.prompts.saveAnswers << file;
      f.click(e.caption);
      QCOMPARE(f.prompts.messages.last().title, QString(e.title));
    }
    for (const char* file : {"network.net", "input_for_mfinder.txt", "names.txt",
                             "network4cytoscape.sif", "big.sig", "saved.sig"}) {
      QVERIFY2(QFileInfo(f.dir.filePath(file)).size() > 0, file);
    }
    // A cancelled save dialog writes nothing.
    const qsizetype shown = f.prompts.messages.size();
    f.click("Dump the big cluster");
    QCOMPARE(f.prompts.messages.size(), shown);

    f.click("Draw interactions matrix");
    QCOMPARE(f.prompts.images, QStringList{f.dir.filePath("interactions_matrix.png")});
    QVERIFY(QFile::exists(f.prompts.images[0]));

    f.click("Validate all");
    QCOMPARE(f.prompts.pages.last(), QUrl::fromLocalFile(f.dir.filePath("validation.htm")));

    f.prompts.saveAnswers << f.dir.filePath("drawing.svg");
    f.click("Make Graphviz SVG/DOT/JPG");
    QTRY_VERIFY_WITH_TIMEOUT(!f.window.busy(), 60000);
    QVERIFY(f.prompts.questions.isEmpty());  // 30 molecules: no question asked
    QCOMPARE(f.prompts.messages.last().title, QString("Success!"));
    QCOMPARE(f.prompts.messages.last().text,
             QString("Done creating drawing.svg, drawing.dot and drawing.jpg files!"));
    QCOMPARE(f.prompts.pages.last(), QUrl::fromLocalFile(f.dir.filePath("drawing.jpg")));
    QVERIFY(QFile::exists(f.dir.filePath("drawing.dot")));
  }

  void largeDrawingsNeedConfirmation() {
    Fixture f;
    const QString large = f.dir.filePath("omnipath_signed.sig");
    QVERIFY(QFile::copy(TESSEL_SOURCE_DIR "/examples/omnipath_signed.sig", large));
    f.window.loadNetwork(large, NetworkFormat::Auto);
    QTRY_VERIFY_WITH_TIMEOUT(!f.window.busy(), 30000);
    QVERIFY(f.window.network()->moleculeCount() > 100);
    f.prompts.confirmAnswer = false;
    f.prompts.saveAnswers << f.dir.filePath("big.svg");
    f.click("Make Graphviz SVG/DOT/JPG");
    QCOMPARE(f.prompts.questions.size(), 1);
    QVERIFY(f.prompts.questions[0].contains("100 molecules"));
    QVERIFY(!f.window.busy());
    QCOMPARE(f.prompts.saveAnswers.size(), 1);  // the save dialog was not shown
  }

  void helpButtonsOpenShippedPages() {
    Fixture f;
    const QList<QToolButton*> buttons = f.window.findChildren<QToolButton*>();
    QVERIFY(buttons.size() >= 15);
    for (QToolButton* help : buttons) {
      QVERIFY(help->isEnabled());
      const QString page = help->objectName().section(':', 1);
      const qsizetype before = f.prompts.pages.size() + f.prompts.messages.size();
      help->click();
      QCOMPARE(f.prompts.pages.size() + f.prompts.messages.size(), before + 1);
      if (page == "save_as") {
        QCOMPARE(f.prompts.messages.last().title, QString("TESSEL Help"));
      } else {
        QCOMPARE(f.prompts.pages.last(), QUrl("qrc:/help/" + page));
        QVERIFY2(ReadText(":/help/" + page).contains("</html>"), qPrintable(page));
      }
    }
    f.click("Help?");
    QCOMPARE(f.prompts.pages.last(), QUrl("qrc:/help/getting_started.htm"));
  }

  void closingWhileBusyAsksFirst() {
    Fixture f;
    f.window.show();
    f.window.loadNetwork(f.network, NetworkFormat::Auto);
    QTRY_VERIFY_WITH_TIMEOUT(!f.window.busy(), 30000);
    f.prompts.onDialog = [](QDialog& d) {
      dynamic_cast<ShuffledNetworksDialog&>(d).count()->setValue(1000000);
      return true;
    };
    f.click("Generate and analyze shuffled networks");
    f.prompts.confirmAnswer = false;
    QVERIFY(!f.window.close());
    QVERIFY(f.window.busy());
    f.prompts.confirmAnswer = true;
    QVERIFY(f.window.close());
    QTRY_VERIFY_WITH_TIMEOUT(!f.window.busy(), 30000);
    QCOMPARE(f.prompts.questions.size(), 2);
  }
};

QTEST_MAIN(MainWindowTest)
#include "main_window_test.moc"
