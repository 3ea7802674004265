// The settings dialogs: the defaults each shows, the value lists it fills from the network,
// and the settings or query it produces once the person changed something.
#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
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

bool OkEnabled(const QDialog& dialog) {
  return dialog.findChild<QPushButton*>("ok")->isEnabled();
}

// The dialogs' results in one line each, to compare with a hand-written expectation.
QString Conditions(const std::vector<MoleculeCondition>& conditions) {
  QStringList parts;
  for (const MoleculeCondition& c : conditions) {
    const std::string_view kind = ConditionKindName(c.kind);
    parts << QString::fromUtf8(kind.data(), kind.size()) + "=" + QString::fromStdString(c.value);
  }
  return parts.join(',');
}

// Pathway queries as "sources > targets, steps/size" and ", direct" when direct only.
QString Text(const PathwayQuery& q) {
  return QString("%1 > %2, %3/%4%5")
      .arg(Conditions(q.sources), Conditions(q.targets))
      .arg(q.maxSteps)
      .arg(q.maxSize)
      .arg(q.directOnly ? ", direct" : "");
}

QString Text(const PropagateSettings& s) {
  return QString("%1, %2 steps, %3")
      .arg(Conditions({s.condition}))
      .arg(s.maxSteps)
      .arg(s.direction == Direction::Forward ? "forward" : "reverse");
}

QString Text(const ShuffleSettings& s) {
  const char* kind = s.kind == ShuffleKind::SwapTargets  ? "swap"
                     : s.kind == ShuffleKind::ErdosRenyi ? "erdos-renyi"
                                                         : "effects";
  return QString("%1 %2").arg(kind).arg(s.count) + (s.maintainOneIsland ? " one-island" : "") +
         (s.columns.motifs34 ? " motifs34" : "") + (s.columns.motifs5 ? " motifs5" : "") +
         (s.columns.clustering ? " clustering" : "") + (s.analyze ? " analyze" : "");
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
  }

  void motifChoices() {
    MotifChoicesDialog d;
    QCOMPARE(d.kinds().size(), std::size_t{6});  // every kind ticked
    QCOMPARE(d.box(MotifKind::Bifan)->text(), QString("Bifans"));
    for (QCheckBox* box : d.findChildren<QCheckBox*>()) box->setChecked(false);
    QVERIFY(!OkEnabled(d));  // a search for nothing
    d.box(MotifKind::Scaffold)->setChecked(true);
    d.box(MotifKind::FeedbackLoop4)->setChecked(true);
    QVERIFY(OkEnabled(d));
    QVERIFY((d.kinds() == std::vector{MotifKind::FeedbackLoop4, MotifKind::Scaffold}));
  }

  void shuffledNetworks() {
    ShuffledNetworksDialog d;
    QCOMPARE(Text(d.settings()), QString("swap 100 clustering analyze"));
    // Shuffled effects keep the islands: the option is cleared and cannot be chosen.
    d.oneIsland()->setChecked(true);
    d.shuffleEffects()->setChecked(true);
    QVERIFY(!d.oneIsland()->isEnabled());
    QCOMPARE(Text(d.settings()), QString("effects 100 clustering analyze"));
    d.erdosRenyi()->setChecked(true);
    d.oneIsland()->setChecked(true);
    d.count()->setValue(7);
    d.clustering()->setChecked(false);
    d.motifs5()->setChecked(true);
    QCOMPARE(Text(d.settings()), QString("erdos-renyi 7 one-island motifs5 analyze"));
    d.motifs5()->setChecked(false);  // nothing to analyse: the networks are only written
    QCOMPARE(Text(d.settings()), QString("erdos-renyi 7 one-island"));
    // A typed seed repeats a run; a blank field or one beyond 64 bits asks for a new one.
    QVERIFY(!d.seed());
    d.seedField()->setText("18446744073709551615");
    QCOMPARE(d.settings().seed, 18446744073709551615ull);
    d.seedField()->setText("18446744073709551616");
    QVERIFY(!d.seed());
  }

  void sourceNodes() {
    const Network n = SmallNetwork();
    SourceNodesDialog d(n);
    QCOMPARE(Items(d.steps()).join(' '), QString("6 7 8 9 10 11 12 13 14 15 16 17 18 19 20"));
    QCOMPARE(Text(d.settings()), QString("Type=Adaptor, 15 steps, forward"));

    // A new kind refills the values and selects the first.
    d.condition()->kind()->setCurrentText("Location");
    QCOMPARE(Items(d.condition()->value()), DistinctValues(n, ConditionKind::Location));
    QCOMPARE(Text(d.settings()), QString("Location=Cytosol, 15 steps, forward"));
    d.condition()->value()->setCurrentText("Nucleus");
    d.steps()->setCurrentText("7");
    d.direction()->setCurrentText("Reverse");
    QCOMPARE(Text(d.settings()), QString("Location=Nucleus, 7 steps, reverse"));
  }

  void intermediates() {
    IntermediatesDialog d;
    QCOMPARE(d.intermediates(), 1);
    d.choice()->setCurrentText("3");
    QCOMPARE(d.intermediates(), 3);
  }

  void pathwaySetup() {
    const Network n = SmallNetwork();
    PathwaySetupDialog d(n);
    // The other slots start on an empty kind, which leaves them unused.
    QCOMPARE(Items(d.target(3)->kind()), QStringList({"", "Location", "Name", "Type"}));
    QCOMPARE(Items(d.source(0)->value()), DistinctValues(n, ConditionKind::Type));
    QCOMPARE(Text(d.query()), QString("Type=Ligand > Type=TF, 9/70"));

    // A second source by name (the list refilled with every name), a kinase target, new limits.
    d.source(1)->kind()->setCurrentText("Name");
    QCOMPARE(Items(d.source(1)->value()), DistinctValues(n, ConditionKind::Name));
    d.source(1)->value()->setCurrentText("EGFR");
    d.target(2)->set(ConditionKind::Type, "Kinase");
    d.maxSteps()->setValue(4);
    d.maxSize()->setValue(12);
    d.directOnly()->setChecked(true);
    QCOMPARE(Text(d.query()), QString("Type=Ligand,Name=EGFR > Type=TF,Type=Kinase, 4/12, direct"));
    // Back to the empty kind: the slot is dropped again.
    d.source(0)->kind()->setCurrentIndex(0);
    QCOMPARE(Text(d.query()), QString("Name=EGFR > Type=TF,Type=Kinase, 4/12, direct"));

    // Without a ligand the default source has no value and is left out.
    const Network noLigands = SmallNetwork(false);
    QCOMPARE(Text(PathwaySetupDialog(noLigands).query()), QString(" > Type=TF, 9/70"));
  }

  void easyInterface() {
    const Network n = SmallNetwork();
    EasyInterfaceDialog d(n, true);
    // Each list holds its type's molecules in reverse display order.
    QCOMPARE(Items(d.choice("Ligand")->list), QStringList({"Tgfa", "egf"}));
    QCOMPARE(d.choice("Channel")->list->count(), 0);
    QVERIFY(!d.choice("Receptor")->list->isEnabled());
    QCOMPARE(Text(d.query()), QString("Name=Tgfa > Name=FOS, 8/50, direct"));

    d.choice("Receptor")->button->setChecked(true);
    d.choice("Receptor")->list->setCurrentText("EGFR");
    d.choice("Kinase")->button->setChecked(true);
    QVERIFY(d.choice("Receptor")->list->isEnabled() && !d.choice("Ligand")->list->isEnabled());
    QCOMPARE(Text(d.query()), QString("Name=EGFR > Name=SOS1, 8/50, direct"));
    // An empty list cannot be searched from.
    QVERIFY(OkEnabled(d));
    d.choice("Channel")->button->setChecked(true);
    QVERIFY(!OkEnabled(d));

    // Without ligands the dialog starts on the receptors, ready to run.
    const Network withoutLigands = SmallNetwork(false);
    EasyInterfaceDialog noLigands(withoutLigands, false);
    QVERIFY(noLigands.choice("Receptor")->button->isChecked() && OkEnabled(noLigands));
  }
};

QTEST_MAIN(DialogsTest)
#include "dialogs_test.moc"
