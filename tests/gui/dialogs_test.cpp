// The settings dialogs: the defaults each shows, the value lists it fills from the network,
// and the settings or query it produces once the person changed something.
#include <QCheckBox>
#include <QComboBox>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QTest>

#include "app/gui/dialogs.h"
#include "model/readers.h"

using namespace tessel;
using namespace tessel::gui;

namespace {

// Types and locations in mixed letter case and first-appearance order, so that sorting and
// de-duplication show.
Network SmallNetwork(bool withLigands = true) {
  std::string text =
      "EGFR P1 NA Receptor Membrane GRB2 P2 NA Adaptor cytosol + binding 1\n"
      "GRB2 P2 NA Adaptor cytosol SOS1 P3 NA Kinase Cytosol + binding 2\n"
      "SOS1 P3 NA Kinase Cytosol FOS P4 NA TF Nucleus + NA 3\n"
      "SOS1 P3 NA Kinase Cytosol ATF2 P5 NA TF Nucleus _ NA 4\n"
      "IL1R P6 NA Receptor Membrane ATF2 P5 NA TF Nucleus 0 NA 5\n";
  if (withLigands) {
    text +=
        "egf P7 NA Ligand Extracellular EGFR P1 NA Receptor Membrane + binding 6\n"
        "Tgfa P8 NA Ligand Extracellular EGFR P1 NA Receptor Membrane + binding 7\n";
  }
  return ReadSigText(text, "small.sig");
}

QStringList Items(const QComboBox* list) {
  QStringList items;
  for (int i = 0; i < list->count(); ++i) items << list->itemText(i);
  return items;
}

QPushButton* Ok(const QDialog& dialog) {
  return dialog.findChild<QPushButton*>("ok");
}

}  // namespace

class DialogsTest : public QObject {
  Q_OBJECT

 private slots:
  void distinctValuesAreSortedWithoutRegardToCase() {
    const Network n = SmallNetwork();
    QCOMPARE(DistinctValues(n, ConditionKind::Type),
             QStringList({"Adaptor", "Kinase", "Ligand", "Receptor", "TF"}));
    QCOMPARE(DistinctValues(n, ConditionKind::Location),
             QStringList({"Cytosol", "cytosol", "Extracellular", "Membrane", "Nucleus"}));
    QCOMPARE(DistinctValues(n, ConditionKind::Name).size(), 8);
    QCOMPARE(DistinctValues(n, ConditionKind::Name).first(), QString("ATF2"));
  }

  void motifChoices() {
    MotifChoicesDialog d;
    QCOMPARE(d.windowTitle(), QString("Find an display network motifs"));
    const std::vector<MotifKind> all = {
        MotifKind::FeedbackLoop3,    MotifKind::FeedbackLoop4, MotifKind::FeedforwardLoop3,
        MotifKind::FeedforwardLoop4, MotifKind::Bifan,         MotifKind::Scaffold};
    QVERIFY(d.kinds() == all);
    QCOMPARE(d.box(MotifKind::Bifan)->text(), QString("Bifans"));
    for (MotifKind kind : all) d.box(kind)->setChecked(false);
    QVERIFY(!Ok(d)->isEnabled());
    d.box(MotifKind::Scaffold)->setChecked(true);
    d.box(MotifKind::FeedbackLoop4)->setChecked(true);
    QVERIFY(Ok(d)->isEnabled());
    QVERIFY((d.kinds() == std::vector{MotifKind::FeedbackLoop4, MotifKind::Scaffold}));
  }

  void shuffledNetworks() {
    ShuffledNetworksDialog d;
    ShuffleSettings s = d.settings();
    QVERIFY(s.kind == ShuffleKind::SwapTargets);
    QCOMPARE(s.count, 100);
    QVERIFY(!s.maintainOneIsland);
    QVERIFY(s.columns.clustering && !s.columns.motifs34 && !s.columns.motifs5);
    QVERIFY(s.analyze);

    // Shuffled effects keep the islands: the option is off and cannot be chosen.
    d.oneIsland()->setChecked(true);
    d.shuffleEffects()->setChecked(true);
    QVERIFY(!d.oneIsland()->isEnabled());
    QVERIFY(!d.settings().maintainOneIsland);
    QVERIFY(d.settings().kind == ShuffleKind::ShuffleEffects);

    d.erdosRenyi()->setChecked(true);
    d.oneIsland()->setChecked(true);
    d.count()->setValue(7);
    d.clustering()->setChecked(false);
    d.motifs5()->setChecked(true);
    s = d.settings();
    QVERIFY(s.kind == ShuffleKind::ErdosRenyi);
    QVERIFY(s.maintainOneIsland);
    QCOMPARE(s.count, 7);
    QVERIFY(!s.columns.clustering && !s.columns.motifs34 && s.columns.motifs5);
    QVERIFY(s.analyze);

    // Nothing to analyse: the networks are only written.
    d.motifs5()->setChecked(false);
    QVERIFY(!d.settings().analyze);
  }

  void sourceNodes() {
    const Network n = SmallNetwork();
    SourceNodesDialog d(n);
    QCOMPARE(Items(d.condition()->kind()), QStringList({"Location", "Name", "Type"}));
    QCOMPARE(d.condition()->kind()->currentText(), QString("Type"));
    QCOMPARE(Items(d.condition()->value()), DistinctValues(n, ConditionKind::Type));
    QCOMPARE(d.condition()->value()->currentText(), QString("Adaptor"));
    QCOMPARE(d.steps()->count(), 15);
    QCOMPARE(d.steps()->itemText(0), QString("6"));
    QCOMPARE(d.steps()->itemText(14), QString("20"));
    PropagateSettings s = d.settings();
    QVERIFY(s.condition.kind == ConditionKind::Type);
    QCOMPARE(s.condition.value, std::string("Adaptor"));
    QCOMPARE(s.maxSteps, 15);
    QVERIFY(s.direction == Direction::Forward);

    // A new kind refills the values and selects the first.
    d.condition()->kind()->setCurrentText("Location");
    QCOMPARE(Items(d.condition()->value()), DistinctValues(n, ConditionKind::Location));
    QCOMPARE(d.condition()->value()->currentText(), QString("Cytosol"));
    d.condition()->value()->setCurrentText("Nucleus");
    d.steps()->setCurrentText("7");
    d.direction()->setCurrentText("Reverse");
    s = d.settings();
    QVERIFY(s.condition.kind == ConditionKind::Location);
    QCOMPARE(s.condition.value, std::string("Nucleus"));
    QCOMPARE(s.maxSteps, 7);
    QVERIFY(s.direction == Direction::Reverse);
  }

  void intermediates() {
    IntermediatesDialog d;
    QCOMPARE(Items(d.choice()), QStringList({"1", "2", "3"}));
    QCOMPARE(d.intermediates(), 1);
    d.choice()->setCurrentText("3");
    QCOMPARE(d.intermediates(), 3);
  }

  void pathwaySetup() {
    const Network n = SmallNetwork();
    PathwaySetupDialog d(n);
    // Each kind list starts with an empty entry for an unused slot.
    for (int slot = 0; slot < PathwaySetupDialog::kSlots; ++slot) {
      QCOMPARE(Items(d.source(slot)->kind()), QStringList({"", "Location", "Name", "Type"}));
      QCOMPARE(Items(d.target(slot)->kind()), QStringList({"", "Location", "Name", "Type"}));
    }
    QCOMPARE(Items(d.source(0)->value()), DistinctValues(n, ConditionKind::Type));
    QCOMPARE(d.source(0)->value()->currentText(), QString("Ligand"));
    QCOMPARE(d.target(0)->value()->currentText(), QString("TF"));
    QCOMPARE(d.source(1)->value()->count(), 0);
    QCOMPARE(d.target(3)->value()->count(), 0);
    QCOMPARE(d.maxSteps()->value(), 9);
    QCOMPARE(d.maxSize()->value(), 70);
    QVERIFY(!d.directOnly()->isChecked());

    PathwayQuery q = d.query();
    const PathwayQuery defaults = PathwayQuery::Default();
    QCOMPARE(q.sources.size(), std::size_t{1});
    QVERIFY(q.sources[0].kind == defaults.sources[0].kind);
    QCOMPARE(q.sources[0].value, defaults.sources[0].value);
    QCOMPARE(q.targets.size(), std::size_t{1});
    QCOMPARE(q.targets[0].value, defaults.targets[0].value);
    QCOMPARE(q.maxSteps, defaults.maxSteps);
    QCOMPARE(q.maxSize, defaults.maxSize);

    // A second source slot by name (the list refilled with every name), a kinase target,
    // and changed limits.
    d.source(1)->kind()->setCurrentText("Name");
    QCOMPARE(Items(d.source(1)->value()), DistinctValues(n, ConditionKind::Name));
    d.source(1)->value()->setCurrentText("EGFR");
    d.target(2)->set(ConditionKind::Type, "Kinase");
    d.maxSteps()->setValue(4);
    d.maxSize()->setValue(12);
    d.directOnly()->setChecked(true);
    q = d.query();
    QCOMPARE(q.sources.size(), std::size_t{2});
    QVERIFY(q.sources[1].kind == ConditionKind::Name);
    QCOMPARE(q.sources[1].value, std::string("EGFR"));
    QCOMPARE(q.targets.size(), std::size_t{2});
    QCOMPARE(q.targets[1].value, std::string("Kinase"));
    QCOMPARE(q.maxSteps, 4);
    QCOMPARE(q.maxSize, 12);
    QVERIFY(q.directOnly);

    // Back to the empty kind: the slot is dropped again.
    d.source(0)->kind()->setCurrentIndex(0);
    QCOMPARE(d.source(0)->value()->count(), 0);
    QCOMPARE(d.query().sources.size(), std::size_t{1});
    QCOMPARE(d.query().sources[0].value, std::string("EGFR"));
  }

  void pathwaySetupWithoutLigands() {
    const Network n = SmallNetwork(false);
    PathwaySetupDialog d(n);
    QCOMPARE(d.source(0)->value()->currentIndex(), -1);
    QVERIFY(d.query().sources.empty());
    QCOMPARE(d.query().targets.size(), std::size_t{1});
  }

  void easyInterface() {
    const Network n = SmallNetwork();
    EasyInterfaceDialog d(n, true);
    // Each list holds its type's molecules in reverse display order.
    QCOMPARE(Items(d.choice("Ligand")->list), QStringList({"Tgfa", "egf"}));
    QCOMPARE(Items(d.choice("Receptor")->list), QStringList({"IL1R", "EGFR"}));
    QCOMPARE(Items(d.choice("TF")->list), QStringList({"FOS", "ATF2"}));
    QCOMPARE(Items(d.choice("Kinase")->list), QStringList({"SOS1"}));
    QCOMPARE(d.choice("Channel")->list->count(), 0);
    QCOMPARE(d.sources().size(), std::size_t{2});
    QCOMPARE(d.targets().size(), std::size_t{6});
    QVERIFY(d.choice("Ligand")->button->isChecked());
    QVERIFY(d.choice("TF")->button->isChecked());
    QVERIFY(!d.choice("Receptor")->list->isEnabled());

    PathwayQuery q = d.query();
    QVERIFY(q.sources[0].kind == ConditionKind::Name);
    QCOMPARE(q.sources[0].value, std::string("Tgfa"));
    QCOMPARE(q.targets[0].value, std::string("FOS"));
    QCOMPARE(q.maxSteps, 8);
    QCOMPARE(q.maxSize, 50);
    QVERIFY(q.directOnly);

    d.choice("Receptor")->button->setChecked(true);
    d.choice("Receptor")->list->setCurrentText("EGFR");
    d.choice("Kinase")->button->setChecked(true);
    QVERIFY(d.choice("Receptor")->list->isEnabled());
    QVERIFY(!d.choice("Ligand")->list->isEnabled());
    q = d.query();
    QCOMPARE(q.sources[0].value, std::string("EGFR"));
    QCOMPARE(q.targets[0].value, std::string("SOS1"));

    // An empty list cannot be searched from.
    QVERIFY(Ok(d)->isEnabled());
    d.choice("Channel")->button->setChecked(true);
    QVERIFY(!Ok(d)->isEnabled());
  }
};

QTEST_MAIN(DialogsTest)
#include "dialogs_test.moc"
