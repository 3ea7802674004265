// The main window driven through its buttons, with FakePrompts answering the dialogs.
#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QFileInfo>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSettings>
#include <QSpinBox>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>

#include "app/gui/dialogs.h"
#include "app/gui/main_window.h"
#include "fake_prompts.h"

using namespace tessel;
using namespace tessel::gui;

namespace {

const QStringList kAlways = {"Help?", "About TESSEL", "E&xit"};
const QStringList kIdle = QStringList{"Load SIG file network...", "Load Two Column Net...",
                                      "Load a list of gene/protein names..."} +
                          kAlways;

QString ReadText(const QString& path) {
  QFile file(path);
  return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
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

  Fixture() { QFile::copy(TESSEL_SOURCE_DIR "/tests/data/networks/signor_lbc.sig", network); }

  QString file(const QString& name) const { return dir.filePath(name); }
  FakePrompts::Message last() const { return prompts.messages.value(prompts.messages.size() - 1); }
  bool settle(int ms = 120000) {
    return QTest::qWaitFor([this] { return !window.busy(); }, ms);
  }
  // Loads a network to completion and forgets the message saying so.
  void load(const QString& path) {
    window.loadNetwork(path, NetworkFormat::Auto);
    QVERIFY(settle());
    prompts.messages.clear();
  }
  void click(const QString& caption) {
    QPushButton* b = window.button(caption);
    QVERIFY2(b != nullptr && b->isEnabled(), qPrintable(caption));
    b->click();
  }
  void run(const QString& caption) {
    click(caption);
    QVERIFY(settle());
  }
  QStringList enabled() const {
    QStringList enabled;
    for (QPushButton* b : window.commandButtons()) {
      if (b->isEnabled()) enabled << b->text();
    }
    return enabled;
  }
  bool allEnabled() const { return enabled().size() == window.commandButtons().size(); }
};

}  // namespace

class MainWindowTest : public QObject {
  Q_OBJECT

 private slots:
  void initTestCase() { qunsetenv("TESSEL_REFERENCE_URL"); }

  void enablingFollowsLoads() {
    Fixture f;
    QCOMPARE(f.enabled(), kIdle);
    QVERIFY(!f.window.cancelButton()->isEnabled());
    f.window.restartViewer();  // no page yet: nothing to show
    QVERIFY(f.prompts.pages.isEmpty());

    // A file that is not a network is reported and changes nothing.
    const QString bad = f.file("bad.sig");
    QVERIFY(WriteText(bad, "A B C\n"));
    f.window.loadNetwork(bad, NetworkFormat::Sig);
    QVERIFY(f.settle());
    QCOMPARE(f.last().text, QString("Failed to load network, bad file name!"));
    QVERIFY(f.last().details.contains("bad.sig"));
    QCOMPARE(f.enabled(), kIdle);

    f.prompts.openAnswers << f.network;
    f.click("Load SIG file network...");
    QCOMPARE(f.enabled(), kAlways);
    QVERIFY(f.settle());
    QVERIFY(f.allEnabled());
    QCOMPARE(f.last().text, QString("The network was loaded successfully!"));
    // Results go beside the network, where the default colours table was written.
    QCOMPARE(f.window.outputFolder(), QFileInfo(f.network).absolutePath());
    QVERIFY(QFile::exists(f.file("colors_and_shapes.txt")));

    // A failed load later keeps the loaded network.
    f.window.loadNetwork(bad, NetworkFormat::Sig);
    QVERIFY(f.settle());
    QCOMPARE(f.last().text, QString("Failed to load network, bad file name!"));
    QCOMPARE(f.window.loadedFile(), f.network);
    QVERIFY(f.allEnabled());

    // A chosen output folder is remembered and wins over the network's folder.
    f.prompts.folderAnswer = f.file("out");
    f.window.findChild<QPushButton*>("changeFolder")->click();
    QCOMPARE(f.window.outputFolder(), f.prompts.folderAnswer);
    QCOMPARE(f.settings.value(MainWindow::kOutputFolderKey).toString(), f.prompts.folderAnswer);

    // A table download is recognised from its columns; what its reader could not decide is
    // shown with the first line where it happened.
    QVERIFY(QFile::copy(TESSEL_SOURCE_DIR "/tests/data/omnipath_small.tsv",
                        f.file("omnipath_small.tsv")));
    f.prompts.openAnswers << f.file("omnipath_small.tsv");
    f.click("Load SIG file network...");
    QVERIFY(f.settle());
    QCOMPARE(f.last().text, QString("The network was loaded successfully!"));
    QVERIFY2(f.last().details.contains("omnipath_small.tsv:19: both consensus_stimulation"),
             qPrintable(f.last().details));
    QVERIFY(f.window.network()->findId("EGFR") != 0);

    // Titles the reader does not know: the columns are chosen in a dialog, and the table is
    // read again with them. A cancelled dialog keeps the network loaded before.
    const QString odd = f.file("odd.csv");
    QVERIFY(WriteText(odd, "left,right,arrow\nLEFTY1,NODAL,-1\nNODAL,ACVR1B,1\n"));
    f.prompts.onDialog = [](QDialog&) { return false; };
    f.window.loadNetwork(odd, NetworkFormat::Auto);
    QVERIFY(f.settle());
    QCOMPARE(f.prompts.dialogTitles, QStringList{"Choose the columns of the table"});
    QVERIFY(f.window.network()->findId("EGFR") != 0);
    QVERIFY(f.window.network()->findId("NODAL") == 0);
    f.prompts.onDialog = [](QDialog& d) {
      auto& dialog = dynamic_cast<TableColumnsDialog&>(d);
      dialog.role("effect")->setCurrentIndex(3);  // "(none)", then the three columns
      return true;
    };
    f.window.loadNetwork(odd, NetworkFormat::Auto);
    QVERIFY(f.settle());
    QVERIFY(f.settle());
    QCOMPARE(f.last().text, QString("The network was loaded successfully!"));
    const Network& chosen = *f.window.network();
    const Interaction* lefty =
        chosen.findInteraction(chosen.findId("LEFTY1"), chosen.findId("NODAL"));
    QVERIFY(lefty != nullptr);
    QCOMPARE(QString::fromStdString(lefty->effect), QString("_"));
  }

  void workerCommandRunsToItsPageOrFails() {
    Fixture f;
    f.load(f.network);
    QStringList texts;
    connect(&f.window.runner(), &CommandRunner::progressed, &f.window,
            [&texts](qulonglong, qulonglong, const QString& text) { texts << text; });
    f.click("Generate and analyze sub-networks based on connectivity");
    QCOMPARE(f.enabled(), QStringList{"Restart Viewer..."} + kAlways);
    QVERIFY(f.window.cancelButton()->isEnabled());
    QVERIFY(f.settle());

    QCOMPARE(texts.value(0), QString("Created 0 sub-networks out of 46..."));
    QCOMPARE(texts.value(texts.size() - 1),
             QString("Finished analyzing sub-networks based on connectivity..."));
    QCOMPARE(f.window.statusText(),
             QString("Done analyzing sub-networks based on connectivity..."));
    const QString page = f.file("TESSEL_reduced/stats_for_reduced_networks.htm");
    QCOMPARE(f.prompts.pages, QList<QUrl>{QUrl::fromLocalFile(page)});
    QVERIFY(f.allEnabled());
    QVERIFY(!f.window.cancelButton()->isEnabled());
    f.click("Restart Viewer...");
    QCOMPARE(f.prompts.pages, QList<QUrl>(2, QUrl::fromLocalFile(page)));

    // An output "folder" that is a file: the working folder cannot be made. The error is
    // shown and the window is usable again.
    QVERIFY(WriteText(f.file("not_a_folder"), "x"));
    f.settings.setValue(MainWindow::kOutputFolderKey, f.file("not_a_folder"));
    f.run("Generate and analyze sub-networks based on connectivity");
    QCOMPARE(f.last().title, QString("Error!"));
    QVERIFY(f.window.statusText().startsWith("Failed: "));
    QCOMPARE(f.prompts.pages.size(), 2);
    QVERIFY(f.allEnabled());
    f.click("Validate all");  // short commands on the window's thread report theirs too
    QCOMPARE(f.prompts.messages.size(), 2);
  }

  void dialogChoicesReachTheCommand() {
    Fixture f;
    f.load(f.network);
    f.prompts.onDialog = [](QDialog& d) {  // bifans only
      auto& motifs = dynamic_cast<MotifChoicesDialog&>(d);
      for (QCheckBox* box : motifs.findChildren<QCheckBox*>()) box->setChecked(false);
      motifs.box(MotifKind::Bifan)->setChecked(true);
      return true;
    };
    f.run("Find and display motifs");
    const QString index = f.file("TESSEL_motifs/motifs.htm");
    QCOMPARE(f.prompts.pages.value(0), QUrl::fromLocalFile(index));
    QVERIFY(ReadText(index).contains("bifans.htm"));
    QVERIFY(!ReadText(index).contains("scaffolds.htm"));

    // The default query (ligands to transcription factors) finds nothing: there is no ligand.
    f.prompts.onDialog = [](QDialog&) { return true; };
    f.run("Pathways Generator");
    QCOMPARE(f.prompts.messages.size(), 1);
    QCOMPARE(f.last().text, QString("No pathways with the following query were found!"));
    QCOMPARE(f.window.statusText(), QString("No pathways were found..."));
    QCOMPARE(f.prompts.pages.size(), 1);

    // Receptors, direct links only, maps cut at 5: the form opens, and the easy interface
    // keeps the direct-only choice.
    f.prompts.onDialog = [](QDialog& d) {
      auto& setup = dynamic_cast<PathwaySetupDialog&>(d);
      setup.source(0)->set(ConditionKind::Type, "Receptor");
      setup.maxSize()->setValue(5);
      setup.directOnly()->setChecked(true);
      return true;
    };
    f.run("Pathways Generator");
    QCOMPARE(f.prompts.pages.value(1), QUrl::fromLocalFile(f.file("TESSEL_pg/form.htm")));
    bool easyDirectOnly = false;
    f.prompts.onDialog = [&easyDirectOnly](QDialog& d) {
      easyDirectOnly = dynamic_cast<EasyInterfaceDialog&>(d).query().directOnly;
      return false;
    };
    f.click("Easy Interface");
    QVERIFY(easyDirectOnly);
    QVERIFY(!f.window.busy());

    // One pair by name: its routes are listed and its map page opens directly.
    f.prompts.onDialog = [](QDialog& d) {
      auto& easy = dynamic_cast<EasyInterfaceDialog&>(d);
      for (const char* type : {"Receptor", "TF"}) easy.choice(type)->button->setChecked(true);
      easy.choice("Receptor")->list->setCurrentText("FGFR1");
      easy.choice("TF")->list->setCurrentText("TP53");
      return true;
    };
    f.run("Easy Interface");
    QCOMPARE(f.last().text, QString("1 route from FGFR1 to TP53:"));
    QCOMPARE(f.last().details,
             QString("FGFR1 -> MEK1/2 -> IRS1 -> PIK3CA -> AKT -> MDM2 -> TP53  (+)"));
    QCOMPARE(f.prompts.pages.last(), QUrl::fromLocalFile(f.file("TESSEL_pg/FGFR1_TO_TP53.htm")));

    // A typed seed reaches the run; the comparison with the random networks is shown.
    f.prompts.onDialog = [](QDialog& d) {
      auto& shuffle = dynamic_cast<ShuffledNetworksDialog&>(d);
      shuffle.count()->setValue(4);
      shuffle.seedField()->setText("3");
      return true;
    };
    f.run("Generate and analyze shuffled networks");
    QCOMPARE(f.window.statusText(), QString("Done analyzing shuffled networks (seed 3)"));
    QCOMPARE(f.last().title, QString("Your network against 4 random networks"));
    QVERIFY(f.last().text.contains("<th>z-score</th>") && f.last().text.contains("<td>CC</td>"));
    QVERIFY(ReadText(f.prompts.pages.last().toLocalFile()).contains("seed 3"));
  }

  void cancelAndCloseStopARunningCommand() {
    Fixture f;
    f.window.show();
    f.load(f.network);
    f.prompts.onDialog = [](QDialog& d) {  // far more networks than the test waits for
      dynamic_cast<ShuffledNetworksDialog&>(d).count()->setValue(1000000);
      return true;
    };
    f.click("Generate and analyze shuffled networks");
    // The progress texts reach the status line, with the run's seed.
    QTRY_VERIFY_WITH_TIMEOUT(f.window.statusText().startsWith("Created "), 30000);
    QVERIFY(f.window.statusText().contains("(seed "));
    QVERIFY(f.window.busy());
    f.window.cancelButton()->click();
    QVERIFY(f.settle(30000));
    QCOMPARE(f.window.statusText(), QString("Cancelled."));
    QVERIFY(f.prompts.messages.isEmpty() && f.prompts.pages.isEmpty());
    QVERIFY(f.allEnabled());

    // Closing while busy asks first; "no" keeps the command running.
    f.click("Generate and analyze shuffled networks");
    f.prompts.confirmAnswer = false;
    QVERIFY(!f.window.close());
    QVERIFY(f.window.busy());
    f.prompts.confirmAnswer = true;
    QVERIFY(f.window.close());
    QVERIFY(f.settle(30000));
    QCOMPARE(f.prompts.questions.size(), 2);
  }

  void geneListLoadsTheConnectingSubnetwork() {
    Fixture f;
    const QString reference = f.file("reference.sig");
    const QString pair = f.file("pair.txt");
    QVERIFY(QFile::copy(f.network, reference));
    QVERIFY(WriteText(pair, "fgfr1\nFRS2 NOSUCHGENE\n"));
    QVERIFY(WriteText(f.file("single.txt"), "FGFR1\n"));

    // No reference network known yet: the window asks for one and remembers it.
    f.prompts.textAnswer = reference;
    f.prompts.openAnswers << pair;
    f.run("Load a list of gene/protein names...");
    QCOMPARE(f.prompts.questions.size(), 1);
    QCOMPARE(f.prompts.dialogTitles, QStringList{"Select depth to connect components"});
    QCOMPARE(f.settings.value(MainWindow::kReferenceKey).toString(), reference);
    QCOMPARE(f.last().text,
             QString("A subnetwork containing your genes/proteins was successfully created!"));
    QVERIFY(f.last().details.contains("NOSUCHGENE"));
    QCOMPARE(f.window.loadedFile(), f.file("subnetwork.sig"));
    QVERIFY(f.window.network()->findId("FGFR1") != 0);

    // One name makes no pair: nothing connects, and the loaded network stays.
    const std::size_t molecules = f.window.network()->moleculeCount();
    f.prompts.openAnswers << f.file("single.txt");
    f.run("Load a list of gene/protein names...");
    QCOMPARE(f.prompts.questions.size(), 1);
    QCOMPARE(f.last().text, QString("No connections were found!"));
    QCOMPARE(f.window.network()->moleculeCount(), molecules);

    // A reference that cannot be read is reported and forgotten.
    f.settings.setValue(MainWindow::kReferenceKey, f.file("missing.sig"));
    f.prompts.openAnswers << pair;
    f.run("Load a list of gene/protein names...");
    QVERIFY(f.last().text.startsWith("Failed to download background database!"));
    QTRY_VERIFY(!f.settings.contains(MainWindow::kReferenceKey));
  }

  void shortCommandsWriteTheirFiles() {
    Fixture f;
    f.load(f.network);
    const struct {
      const char* caption;
      const char* answer;  // the save dialog's answer; nullptr: no dialog
      const char* written;
    } exports[] = {
        {"Create .net file for Pajek", "network.net", "network.net"},
        {"Create file for MFinder", "input_for_mfinder.txt", "input_for_mfinder.txt"},
        {"Create .sif file for Cytoscape", nullptr, "network4cytoscape.sif"},
        {"Dump the big cluster", "big.sig", "big.sig"},
        {"Save as...", "saved", "saved.sig"},
        {"Export GraphML, table, signed SIF or CX2...", "net.cx2", "net.cx2"},
        {"Export GraphML, table, signed SIF or CX2...", "net.csv", "net.csv"},
    };
    for (const auto& e : exports) {
      if (e.answer != nullptr) f.prompts.saveAnswers << f.file(e.answer);
      f.click(e.caption);
      QVERIFY2(f.last().icon == UserPrompts::Icon::Information, e.caption);
      QVERIFY2(QFileInfo(f.file(e.written)).size() > 0, e.written);
      f.prompts.messages.clear();
    }
    f.click("Dump the big cluster");  // a cancelled save dialog: nothing done, nothing said
    QVERIFY(f.prompts.messages.isEmpty());
    // The exchange format follows the extension chosen.
    QVERIFY(ReadText(f.file("net.cx2")).contains("\"CXVersion\": \"2.0\""));
    QVERIFY(ReadText(f.file("net.csv")).startsWith("source,source_accession,"));

    f.click("Draw interactions matrix");
    QCOMPARE(f.prompts.images, QStringList{f.file("interactions_matrix.png")});
    // The labelled page is written beside the image, whose tooltip names the cell's pair.
    QVERIFY(QFileInfo::exists(f.file("interactions_matrix.htm")));
    QVERIFY(f.prompts.imageTip(1, 1).contains(" -> ") || f.prompts.imageTip(1, 1).contains(" / "));
    QVERIFY(f.prompts.imageTip(600, 1).isEmpty());
    QVERIFY(QFile::exists(f.prompts.images[0]));
    f.click("Validate all");
    QCOMPARE(f.prompts.pages.last(), QUrl::fromLocalFile(f.file("validation.htm")));

    f.prompts.saveAnswers << f.file("drawing.svg");
    f.run("Make Graphviz SVG/DOT/JPG");
    QVERIFY(f.prompts.questions.isEmpty());  // 30 molecules: no question asked
    QCOMPARE(f.last().text,
             QString("Done creating drawing.svg, drawing.dot and drawing.jpg files!"));
    QCOMPARE(f.prompts.pages.last(), QUrl::fromLocalFile(f.file("drawing.jpg")));

    // Drawings of more than 100 molecules need a yes first.
    QVERIFY(QFile::copy(TESSEL_SOURCE_DIR "/tests/data/networks/omnipath_signed.sig",
                        f.file("large.sig")));
    f.load(f.file("large.sig"));
    f.prompts.confirmAnswer = false;
    f.prompts.saveAnswers << f.file("big.svg");
    f.click("Make Graphviz SVG/DOT/JPG");
    QCOMPARE(f.prompts.questions.size(), 1);
    QVERIFY(!f.window.busy());
    QCOMPARE(f.prompts.saveAnswers.size(), 1);  // the save dialog was not shown
  }

  void helpButtonsOpenShippedPages() {
    Fixture f;
    const QList<QToolButton*> buttons = f.window.findChildren<QToolButton*>();
    QVERIFY(buttons.size() >= 15);
    for (QToolButton* help : buttons) {
      const QString page = help->objectName().section(':', 1);
      help->click();
      if (page == "save_as") continue;  // a message box instead of a page
      QCOMPARE(f.prompts.pages.last(), QUrl("qrc:/help/" + page));
      QVERIFY2(ReadText(":/help/" + page).contains("</html>"), qPrintable(page));
    }
    QCOMPARE(f.prompts.pages.size() + f.prompts.messages.size(), buttons.size());
    f.click("Help?");
    QCOMPARE(f.prompts.pages.last(), QUrl("qrc:/help/getting_started.htm"));
  }
};

QTEST_MAIN(MainWindowTest)
#include "main_window_test.moc"
