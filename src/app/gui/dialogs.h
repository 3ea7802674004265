// The settings dialogs of the long commands. Each shows its defaults when it opens and
// hands out the settings (or the pathway query) that the core command takes.
#pragma once

#include <QDialog>
#include <QStringList>
#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "derived/shuffle.h"
#include "derived/subnetworks.h"
#include "model/molecule_condition.h"
#include "model/network.h"
#include "model/readers.h"
#include "motifs/motif_search.h"
#include "pathways/path_search.h"

class QCheckBox;
class QLineEdit;
class QComboBox;
class QPushButton;
class QRadioButton;
class QSpinBox;

namespace tessel::gui {

// The distinct values of a molecule field (type, location or name) over the network,
// sorted without regard to letter case, as the drop-down lists show them.
QStringList DistinctValues(const Network& network, ConditionKind kind);

// "Find and display motifs": which kinds of motif to search.
class MotifChoicesDialog : public QDialog {
  Q_OBJECT

 public:
  explicit MotifChoicesDialog(QWidget* parent = nullptr);

  // The ticked kinds, in the order of the check boxes.
  std::vector<MotifKind> kinds() const;
  QCheckBox* box(MotifKind kind) const;

 private:
  struct Choice {
    MotifKind kind;
    QCheckBox* box;
  };
  std::vector<Choice> choices_;
  QPushButton* ok_ = nullptr;
};

// "Generate and analyze shuffled networks": the kind of randomisation, how many networks,
// the island option, what to analyse and, optionally, the seed (to repeat an earlier run).
class ShuffledNetworksDialog : public QDialog {
  Q_OBJECT

 public:
  explicit ShuffledNetworksDialog(QWidget* parent = nullptr);

  ShuffleSettings settings() const;
  // The seed typed in the dialog; empty when the field is left blank (a new random seed).
  std::optional<std::uint64_t> seed() const;

  QRadioButton* swapTargets() const { return swap_; }
  QRadioButton* shuffleEffects() const { return effects_; }
  QRadioButton* erdosRenyi() const { return erdosRenyi_; }
  QSpinBox* count() const { return count_; }
  QCheckBox* oneIsland() const { return oneIsland_; }
  QCheckBox* motifs34() const { return motifs34_; }
  QCheckBox* motifs5() const { return motifs5_; }
  QCheckBox* clustering() const { return clustering_; }
  QLineEdit* seedField() const { return seed_; }

 private:
  QRadioButton* swap_;
  QRadioButton* effects_;
  QRadioButton* erdosRenyi_;
  QSpinBox* count_;
  QCheckBox* oneIsland_;
  QCheckBox* motifs34_;
  QCheckBox* motifs5_;
  QCheckBox* clustering_;
  QLineEdit* seed_;
};

// "Create web site...": whether PubMed records are downloaded or taken from the cache only.
class WebsiteDialog : public QDialog {
  Q_OBJECT

 public:
  explicit WebsiteDialog(bool offline, QWidget* parent = nullptr);
  bool offline() const;
  QCheckBox* offlineBox() const { return offline_; }

 private:
  QCheckBox* offline_;
};

// A condition kind list ("Location", "Name", "Type") whose choice refills a value list with
// the distinct values of that field. With `offerNone` the kind list starts with an empty
// entry that leaves the condition unused.
class ConditionPicker : public QObject {
  Q_OBJECT

 public:
  ConditionPicker(const Network& network, QComboBox* kind, QComboBox* value, bool offerNone,
                  QObject* parent);

  QComboBox* kind() const { return kind_; }
  QComboBox* value() const { return value_; }
  // Chooses the kind (refilling the values) and selects `value` if the list holds it;
  // otherwise the value list keeps no selection.
  void set(ConditionKind kind, const QString& value);
  // The condition shown; its value is empty when nothing is chosen.
  MoleculeCondition condition() const;

 private:
  void refill();

  const Network& network_;
  QComboBox* kind_;
  QComboBox* value_;
};

// "Sub-networks from source nodes setup": the source molecules, the largest number of
// steps and the direction.
class SourceNodesDialog : public QDialog {
  Q_OBJECT

 public:
  explicit SourceNodesDialog(const Network& network, QWidget* parent = nullptr);

  PropagateSettings settings() const;

  ConditionPicker* condition() const { return condition_; }
  QComboBox* steps() const { return steps_; }
  QComboBox* direction() const { return direction_; }

 private:
  ConditionPicker* condition_;
  QComboBox* steps_;
  QComboBox* direction_;
  QPushButton* ok_ = nullptr;
};

// "Select depth to connect components": how many molecules a path between two listed genes
// may pass through.
class IntermediatesDialog : public QDialog {
  Q_OBJECT

 public:
  explicit IntermediatesDialog(QWidget* parent = nullptr);

  int intermediates() const;
  QComboBox* choice() const { return choice_; }

 private:
  QComboBox* choice_;
};

// "Choose the columns of the table": for a table whose titles name no source or target
// column the readers know, which column holds what. Source and target are required; the
// other roles may be left out.
class TableColumnsDialog : public QDialog {
  Q_OBJECT

 public:
  TableColumnsDialog(const QString& file, const std::vector<std::string>& titles,
                     QWidget* parent = nullptr);

  // The choices as 1-based column numbers, as the table reader takes them.
  TableColumns columns() const;
  // The drop-down list of a role: "source", "target", "effect", "pubmed", "type",
  // "source_type", "target_type", "source_location", "target_location".
  QComboBox* role(const QString& name) const;

 private:
  std::vector<std::pair<QString, QComboBox*>> roles_;
};

// "Pathway maps generator setup": four source and four target conditions, the largest
// number of steps and map size, and whether only direct interactions are walked.
class PathwaySetupDialog : public QDialog {
  Q_OBJECT

 public:
  static constexpr int kSlots = 4;

  explicit PathwaySetupDialog(const Network& network, QWidget* parent = nullptr);

  PathwayQuery query() const;

  ConditionPicker* source(int slot) const { return sources_.at(slot); }
  ConditionPicker* target(int slot) const { return targets_.at(slot); }
  QSpinBox* maxSteps() const { return maxSteps_; }
  QSpinBox* maxSize() const { return maxSize_; }
  QCheckBox* directOnly() const { return directOnly_; }

 private:
  std::array<ConditionPicker*, kSlots> sources_{};
  std::array<ConditionPicker*, kSlots> targets_{};
  QSpinBox* maxSteps_;
  QSpinBox* maxSize_;
  QCheckBox* directOnly_;
};

// "Pathway Generator Easy Interface": one source (a ligand or a receptor) and one target
// (a transcription factor, kinase, phosphatase, vesicle protein, cytoskeleton protein or
// channel) by name, searched with 8 steps and map size 50.
class EasyInterfaceDialog : public QDialog {
  Q_OBJECT

 public:
  // `directOnly` is carried into the query unchanged.
  EasyInterfaceDialog(const Network& network, bool directOnly, QWidget* parent = nullptr);

  PathwayQuery query() const;

  // The molecule types offered, sources first, with the radio button and list of each.
  struct Choice {
    QString type;
    QRadioButton* button;
    QComboBox* list;
  };
  const std::vector<Choice>& sources() const { return sources_; }
  const std::vector<Choice>& targets() const { return targets_; }
  // The choice for a molecule type ("Ligand", "TF", ...), or nullptr.
  const Choice* choice(const QString& type) const;

 private:
  void updateLists();

  bool directOnly_;
  std::vector<Choice> sources_;
  std::vector<Choice> targets_;
  QPushButton* ok_ = nullptr;
};

}  // namespace tessel::gui
