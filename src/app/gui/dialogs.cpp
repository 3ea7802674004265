#include "app/gui/dialogs.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QRegularExpressionValidator>
#include <QSet>
#include <QSpinBox>
#include <QVBoxLayout>
#include <algorithm>

namespace tessel::gui {

namespace {

QString Q(const std::string& s) {
  return QString::fromStdString(s);
}

const std::string& Field(const Molecule& m, ConditionKind kind) {
  switch (kind) {
    case ConditionKind::Type:
      return m.moleculeType;
    case ConditionKind::Location:
      return m.location;
    case ConditionKind::Name:
      return m.name;
  }
  return m.moleculeType;
}

// Sorted like the drop-down lists of the desktop: letter case ignored, ties by code point.
void SortForDisplay(QStringList& list) {
  std::sort(list.begin(), list.end(), [](const QString& a, const QString& b) {
    const int c = a.compare(b, Qt::CaseInsensitive);
    return c != 0 ? c < 0 : a < b;
  });
}

// The kinds in the order the kind lists show them (sorted by name).
constexpr std::array<ConditionKind, 3> kKindOrder = {ConditionKind::Location, ConditionKind::Name,
                                                     ConditionKind::Type};

QComboBox* ValueList(QWidget* parent) {
  auto* list = new QComboBox(parent);
  // Long molecule names must not stretch the dialog.
  list->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
  list->setMinimumContentsLength(14);
  return list;
}

QDialogButtonBox* Buttons(QDialog* dialog, const QString& okText, const QString& cancelText,
                          QPushButton** ok) {
  auto* box = new QDialogButtonBox(dialog);
  *ok = box->addButton(okText, QDialogButtonBox::AcceptRole);
  (*ok)->setObjectName("ok");
  (*ok)->setDefault(true);
  if (!cancelText.isEmpty()) box->addButton(cancelText, QDialogButtonBox::RejectRole);
  QObject::connect(box, &QDialogButtonBox::accepted, dialog, &QDialog::accept);
  QObject::connect(box, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
  return box;
}

}  // namespace

QStringList DistinctValues(const Network& network, ConditionKind kind) {
  QStringList values;
  QSet<QString> seen;
  for (const Molecule& m : network.molecules()) {
    const QString value = Q(Field(m, kind));
    if (!seen.contains(value)) {
      seen.insert(value);
      values.append(value);
    }
  }
  SortForDisplay(values);
  return values;
}

// ----- motifs -----

MotifChoicesDialog::MotifChoicesDialog(QWidget* parent) : QDialog(parent) {
  setWindowTitle(tr("Find an display network motifs"));
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(new QLabel(tr("Select the types of motifs for the search:"), this));
  // The dialog offers the kinds searched by default, under their titles.
  for (const MotifKindInfo& kind : MotifKinds()) {
    if (!kind.isDefault) continue;
    auto* box = new QCheckBox(Q(std::string(kind.title)), this);
    box->setChecked(true);
    layout->addWidget(box);
    choices_.push_back({kind.kind, box});
  }
  layout->addWidget(Buttons(this, tr("OK"), tr("Cancel"), &ok_));
  // A search for nothing would only write an empty index page.
  for (const Choice& c : choices_) {
    connect(c.box, &QCheckBox::toggled, this, [this] { ok_->setEnabled(!kinds().empty()); });
  }
}

std::vector<MotifKind> MotifChoicesDialog::kinds() const {
  std::vector<MotifKind> ticked;
  for (const Choice& c : choices_) {
    if (c.box->isChecked()) ticked.push_back(c.kind);
  }
  return ticked;
}

QCheckBox* MotifChoicesDialog::box(MotifKind kind) const {
  for (const Choice& c : choices_) {
    if (c.kind == kind) return c.box;
  }
  return nullptr;
}

// ----- shuffled networks -----

ShuffledNetworksDialog::ShuffledNetworksDialog(QWidget* parent)
    : QDialog(parent),
      swap_(new QRadioButton(
          tr("Randomly swap pairs of target links (maintain the connectivity distribution )"))),
      effects_(new QRadioButton(tr("Shuffle the effects (this preserves the connectivity)"))),
      erdosRenyi_(new QRadioButton(
          tr("Random network with the same number of links and nodes (Erdos-Renyi)"))),
      count_(new QSpinBox),
      oneIsland_(new QCheckBox(tr("Maintain one island"))),
      motifs34_(new QCheckBox(tr("Motifs of size 3 and 4"))),
      motifs5_(new QCheckBox(tr("Motifs of size 5"))),
      clustering_(new QCheckBox(tr("Clustering, connectivity distribution, average path length"))),
      seed_(new QLineEdit) {
  setWindowTitle(tr("Generate and analyze shuffled networks"));
  swap_->setChecked(true);
  count_->setRange(1, 1000000);
  count_->setValue(100);
  clustering_->setChecked(true);

  auto* kindGroup = new QGroupBox(tr("Type of shuffled networks"), this);
  auto* kindLayout = new QVBoxLayout(kindGroup);
  kindLayout->addWidget(swap_);
  kindLayout->addWidget(effects_);
  kindLayout->addWidget(erdosRenyi_);
  auto* countRow = new QHBoxLayout;
  countRow->addWidget(new QLabel(tr("How many?")));
  countRow->addWidget(count_);
  countRow->addSpacing(20);
  countRow->addWidget(oneIsland_);
  countRow->addStretch();
  kindLayout->addLayout(countRow);

  seed_->setObjectName("seed");
  seed_->setPlaceholderText(tr("new random seed"));
  seed_->setToolTip(tr("The same seed, kind and count give the same networks again"));
  seed_->setValidator(new QRegularExpressionValidator(QRegularExpression("[0-9]{0,20}"), seed_));
  auto* seedRow = new QHBoxLayout;
  seedRow->addWidget(new QLabel(tr("Seed:")));
  seedRow->addWidget(seed_, 1);
  kindLayout->addLayout(seedRow);

  auto* analyzeGroup = new QGroupBox(tr("What to analyze?"), this);
  auto* analyzeLayout = new QVBoxLayout(analyzeGroup);
  analyzeLayout->addWidget(motifs34_);
  analyzeLayout->addWidget(motifs5_);
  analyzeLayout->addWidget(clustering_);

  QPushButton* ok = nullptr;
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(kindGroup);
  layout->addWidget(analyzeGroup);
  layout->addWidget(Buttons(this, tr("Generate and analyze networks"), tr("Cancel"), &ok));

  // Shuffled effects keep the wiring, so the network's islands stay as they are.
  connect(effects_, &QRadioButton::toggled, oneIsland_, [this](bool on) {
    oneIsland_->setEnabled(!on);
    if (on) oneIsland_->setChecked(false);
  });
}

ShuffleSettings ShuffledNetworksDialog::settings() const {
  ShuffleSettings s;
  s.kind = effects_->isChecked()      ? ShuffleKind::ShuffleEffects
           : erdosRenyi_->isChecked() ? ShuffleKind::ErdosRenyi
                                      : ShuffleKind::SwapTargets;
  s.count = count_->value();
  s.maintainOneIsland = oneIsland_->isChecked() && s.kind != ShuffleKind::ShuffleEffects;
  s.columns.clustering = clustering_->isChecked();
  s.columns.motifs34 = motifs34_->isChecked();
  s.columns.motifs5 = motifs5_->isChecked();
  s.analyze = s.columns.any();
  if (const auto typed = seed()) s.seed = *typed;
  return s;
}

std::optional<std::uint64_t> ShuffledNetworksDialog::seed() const {
  bool ok = false;
  const qulonglong value = seed_->text().toULongLong(&ok);
  if (!ok) return std::nullopt;  // blank, or more than 64 bits
  return static_cast<std::uint64_t>(value);
}

WebsiteDialog::WebsiteDialog(bool offline, QWidget* parent)
    : QDialog(parent),
      offline_(new QCheckBox(tr("Work offline: use only the PubMed records downloaded before"))) {
  setWindowTitle(tr("Create web site"));
  offline_->setObjectName("offline");
  offline_->setChecked(offline);
  auto* text = new QLabel(
      tr("The site has a page per molecule with the papers behind its interactions. Online, "
         "the PubMed records not yet in the cache are downloaded (a few seconds per hundred "
         "papers). Offline, papers without a record are listed by their PubMed link."));
  text->setWordWrap(true);
  QPushButton* ok = nullptr;
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(text);
  layout->addWidget(offline_);
  layout->addWidget(Buttons(this, tr("Create web site"), tr("Cancel"), &ok));
}

bool WebsiteDialog::offline() const {
  return offline_->isChecked();
}

// ----- condition lists -----

namespace {

constexpr int kNoKind = -1;

}  // namespace

ConditionPicker::ConditionPicker(const Network& network, QComboBox* kind, QComboBox* value,
                                 bool offerNone, QObject* parent)
    : QObject(parent), network_(network), kind_(kind), value_(value) {
  if (offerNone) kind_->addItem(QString(), kNoKind);
  for (const ConditionKind k : kKindOrder) {
    kind_->addItem(Q(std::string(ConditionKindName(k))), static_cast<int>(k));
  }
  kind_->setCurrentIndex(offerNone ? 0 : -1);
  connect(kind_, &QComboBox::currentIndexChanged, this, &ConditionPicker::refill);
}

void ConditionPicker::refill() {
  value_->clear();
  if (kind_->currentIndex() < 0 || kind_->currentData().toInt() == kNoKind) return;
  value_->addItems(
      DistinctValues(network_, static_cast<ConditionKind>(kind_->currentData().toInt())));
  value_->setCurrentIndex(value_->count() > 0 ? 0 : -1);
}

void ConditionPicker::set(ConditionKind kind, const QString& value) {
  const int index = kind_->findData(static_cast<int>(kind));
  if (index == kind_->currentIndex()) {
    refill();
  } else {
    kind_->setCurrentIndex(index);
  }
  value_->setCurrentIndex(value_->findText(value));
}

MoleculeCondition ConditionPicker::condition() const {
  MoleculeCondition c;
  const int kind = kind_->currentIndex() >= 0 ? kind_->currentData().toInt() : kNoKind;
  if (kind == kNoKind) return c;
  c.kind = static_cast<ConditionKind>(kind);
  if (value_->currentIndex() >= 0) c.value = value_->currentText().toStdString();
  return c;
}

// ----- source nodes -----

SourceNodesDialog::SourceNodesDialog(const Network& network, QWidget* parent)
    : QDialog(parent), steps_(new QComboBox), direction_(new QComboBox) {
  setWindowTitle(tr("Sub-networks from source nodes setup"));
  auto* kind = new QComboBox;
  auto* value = ValueList(this);
  kind->setObjectName("conditionType");
  value->setObjectName("conditionName");
  condition_ = new ConditionPicker(network, kind, value, false, this);
  condition_->set(ConditionKind::Type, QString());
  value->setCurrentIndex(value->count() > 0 ? 0 : -1);

  for (int s = 6; s <= 20; ++s) steps_->addItem(QString::number(s));
  steps_->setCurrentText("15");
  direction_->addItems({tr("Forward"), tr("Reverse")});

  auto* grid = new QGridLayout;
  grid->addWidget(new QLabel(tr("Condition type")), 0, 0);
  grid->addWidget(new QLabel(tr("Condition name")), 0, 2);
  grid->addWidget(kind, 1, 0);
  grid->addWidget(new QLabel(tr("==")), 1, 1);
  grid->addWidget(value, 1, 2);
  grid->setColumnStretch(2, 1);

  auto* form = new QGridLayout;
  form->addWidget(new QLabel(tr("Please specify the maximum number of steps:")), 0, 0);
  form->addWidget(steps_, 0, 1);
  form->addWidget(new QLabel(tr("Direction of signal propagation:")), 1, 0);
  form->addWidget(direction_, 1, 1);

  auto* layout = new QVBoxLayout(this);
  layout->addWidget(new QLabel(tr("Please specify a group of source nodes:")));
  layout->addLayout(grid);
  layout->addLayout(form);
  layout->addWidget(Buttons(this, tr("Continue..."), tr("Cancel"), &ok_));

  ok_->setEnabled(value->currentIndex() >= 0);
  connect(value, &QComboBox::currentIndexChanged, this,
          [this](int index) { ok_->setEnabled(index >= 0); });
}

PropagateSettings SourceNodesDialog::settings() const {
  PropagateSettings s;
  s.condition = condition_->condition();
  s.maxSteps = steps_->currentText().toInt();
  s.direction = direction_->currentIndex() == 1 ? Direction::Reverse : Direction::Forward;
  return s;
}

// ----- intermediates -----

IntermediatesDialog::IntermediatesDialog(QWidget* parent)
    : QDialog(parent), choice_(new QComboBox) {
  setWindowTitle(tr("Select depth to connect components"));
  choice_->addItems({"1", "2", "3"});
  auto* note =
      new QLabel(tr("Note: selecting more than one intermediate may take several hours to run."));
  note->setWordWrap(true);
  auto* row = new QHBoxLayout;
  row->addWidget(new QLabel(tr("Please select the maximum number of intermediates")));
  row->addWidget(choice_);
  QPushButton* ok = nullptr;
  auto* layout = new QVBoxLayout(this);
  layout->addLayout(row);
  layout->addWidget(note);
  layout->addWidget(Buttons(this, tr("OK"), tr("Cancel"), &ok));
}

int IntermediatesDialog::intermediates() const {
  return choice_->currentIndex() + 1;
}

// ----- table columns -----

TableColumnsDialog::TableColumnsDialog(const QString& file, const std::vector<std::string>& titles,
                                       QWidget* parent)
    : QDialog(parent) {
  setWindowTitle(tr("Choose the columns of the table"));
  setMinimumWidth(440);
  auto* note = new QLabel(
      tr("The titles of %1 name no source or target column that TESSEL knows. Choose the "
         "column of each field; leave out what the file does not have.")
          .arg(file));
  note->setWordWrap(true);
  auto* grid = new QGridLayout;
  const struct {
    const char* name;
    QString label;
    bool required;
  } roles[] = {
      {"source", tr("Source molecule"), true},
      {"target", tr("Target molecule"), true},
      {"effect", tr("Effect or sign"), false},
      {"pubmed", tr("PubMed ids"), false},
      {"type", tr("Interaction type"), false},
      {"source_type", tr("Source type"), false},
      {"target_type", tr("Target type"), false},
      {"source_location", tr("Source location"), false},
      {"target_location", tr("Target location"), false},
  };
  int row = 0;
  for (const auto& r : roles) {
    auto* box = new QComboBox;
    box->setObjectName(r.name);
    if (!r.required) box->addItem(tr("(none)"), 0);
    for (std::size_t k = 0; k < titles.size(); ++k) {
      const QString title = titles[k].empty() ? tr("(untitled)") : Q(titles[k]);
      box->addItem(tr("%1: %2").arg(k + 1).arg(title), static_cast<int>(k + 1));
    }
    // The first two columns are the usual source and target.
    if (r.required) box->setCurrentIndex(std::min<int>(row, box->count() - 1));
    grid->addWidget(new QLabel(r.label), row, 0);
    grid->addWidget(box, row, 1);
    roles_.emplace_back(r.name, box);
    ++row;
  }
  QPushButton* ok = nullptr;
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(note);
  layout->addLayout(grid);
  layout->addWidget(Buttons(this, tr("OK"), tr("Cancel"), &ok));
}

QComboBox* TableColumnsDialog::role(const QString& name) const {
  for (const auto& [n, box] : roles_) {
    if (n == name) return box;
  }
  return nullptr;
}

TableColumns TableColumnsDialog::columns() const {
  TableColumns c;
  const auto number = [this](const char* name) {
    const int column = role(name)->currentData().toInt();
    return column > 0 ? std::to_string(column) : std::string();
  };
  c.source = number("source");
  c.target = number("target");
  c.effect = number("effect");
  c.pubmed = number("pubmed");
  c.interactionType = number("type");
  c.sourceType = number("source_type");
  c.targetType = number("target_type");
  c.sourceLocation = number("source_location");
  c.targetLocation = number("target_location");
  return c;
}

// ----- pathway setup -----

PathwaySetupDialog::PathwaySetupDialog(const Network& network, QWidget* parent)
    : QDialog(parent),
      maxSteps_(new QSpinBox),
      maxSize_(new QSpinBox),
      directOnly_(new QCheckBox(tr("Include only direct interactions"))) {
  setWindowTitle(tr("Pathway maps generator setup"));
  maxSteps_->setRange(2, 1000);
  maxSteps_->setValue(9);
  maxSize_->setRange(1, 1000000);
  maxSize_->setValue(70);

  const auto makeGroup = [&](const QString& title, std::array<ConditionPicker*, kSlots>& pickers,
                             const QString& prefix) {
    auto* group = new QGroupBox(title, this);
    auto* grid = new QGridLayout(group);
    for (int slot = 0; slot < kSlots; ++slot) {
      auto* kind = new QComboBox;
      auto* value = ValueList(this);
      kind->setObjectName(QString("%1Kind%2").arg(prefix).arg(slot));
      value->setObjectName(QString("%1Value%2").arg(prefix).arg(slot));
      // A slot left on the empty kind is not used.
      pickers[slot] = new ConditionPicker(network, kind, value, true, this);
      const int row = 2 * slot;
      grid->addWidget(kind, row, 0);
      grid->addWidget(new QLabel(tr("==")), row, 1);
      grid->addWidget(value, row, 2);
      if (slot + 1 < kSlots) grid->addWidget(new QLabel(tr("OR")), row + 1, 0);
    }
    grid->setColumnStretch(2, 1);
    return group;
  };
  auto* sourceGroup = makeGroup(tr("Conditions for source nodes:"), sources_, "source");
  auto* targetGroup = makeGroup(tr("Conditions for target nodes:"), targets_, "target");
  sources_[0]->set(ConditionKind::Type, "Ligand");
  targets_[0]->set(ConditionKind::Type, "TF");

  auto* groups = new QHBoxLayout;
  groups->addWidget(sourceGroup, 1);
  groups->addWidget(new QLabel(tr("AND")));
  groups->addWidget(targetGroup, 1);

  auto* limits = new QGridLayout;
  limits->addWidget(new QLabel(tr("Max number of steps from source to target:")), 0, 0);
  limits->addWidget(maxSteps_, 0, 1);
  limits->addWidget(new QLabel(tr("Max size of map in nodes:")), 1, 0);
  limits->addWidget(maxSize_, 1, 1);
  limits->addWidget(directOnly_, 2, 0, 1, 2);
  limits->setColumnStretch(2, 1);

  auto* intro = new QLabel(
      tr("Before starting to generate pathway-maps you can adjust the following default query:"));
  auto* warning =
      new QLabel(tr("Warning!!! If the search query is very general and the network is large, "
                    "drawing the pathways may take several hours."));
  intro->setWordWrap(true);
  warning->setWordWrap(true);
  QPushButton* ok = nullptr;
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(intro);
  layout->addWidget(warning);
  layout->addLayout(groups);
  layout->addLayout(limits);
  layout->addWidget(Buttons(this, tr("Generate Pathways"), tr("Cancel"), &ok));
}

PathwayQuery PathwaySetupDialog::query() const {
  PathwayQuery q;
  for (const ConditionPicker* p : sources_) {
    MoleculeCondition c = p->condition();
    if (!c.value.empty()) q.sources.push_back(std::move(c));
  }
  for (const ConditionPicker* p : targets_) {
    MoleculeCondition c = p->condition();
    if (!c.value.empty()) q.targets.push_back(std::move(c));
  }
  q.maxSteps = maxSteps_->value();
  q.maxSize = maxSize_->value();
  q.directOnly = directOnly_->isChecked();
  return q;
}

// ----- easy interface -----

EasyInterfaceDialog::EasyInterfaceDialog(const Network& network, bool directOnly, QWidget* parent)
    : QDialog(parent), directOnly_(directOnly) {
  setWindowTitle(tr("Pathway Generator Easy Interface"));
  const auto makeGroup = [&](const QString& title,
                             const std::vector<std::pair<QString, QString>>& offered,
                             std::vector<Choice>& choices) {
    auto* group = new QGroupBox(title, this);
    auto* grid = new QGridLayout(group);
    for (const auto& [type, text] : offered) {
      Choice c{type, new QRadioButton(text), ValueList(this)};
      c.list->setObjectName(type);
      grid->addWidget(c.button, static_cast<int>(choices.size()), 0);
      grid->addWidget(c.list, static_cast<int>(choices.size()), 1);
      connect(c.button, &QRadioButton::toggled, this, &EasyInterfaceDialog::updateLists);
      choices.push_back(c);
    }
    grid->setColumnStretch(1, 1);
    return group;
  };
  auto* sourceGroup =
      makeGroup(tr("Source nodes"),
                {{"Ligand", tr("Ligand source")}, {"Receptor", tr("Receptor source")}}, sources_);
  auto* targetGroup = makeGroup(tr("Target nodes"),
                                {{"TF", tr("Transcription factor target")},
                                 {"Kinase", tr("Kinase target")},
                                 {"Phosphatase", tr("Phosphatase target")},
                                 {"Vesicle", tr("Vesicle related protein target")},
                                 {"Cytoskeleton", tr("Cytoskeleton target")},
                                 {"Channel", tr("Channel target")}},
                                targets_);

  // Each molecule goes to the list of its type, newest on top: the lists show the
  // molecules in the reverse of the network's display order.
  const auto order = network.displayOrder();
  for (auto it = order.rbegin(); it != order.rend(); ++it) {
    const Molecule& m = network.molecule(*it);
    if (const Choice* c = choice(Q(m.moleculeType))) c->list->addItem(Q(m.name));
  }

  auto* intro = new QLabel(
      tr("Please select one source node (ligand or receptor) and one target node (TF, kinase, "
         "phophatase, vesicle related, cytoskeleton or channel) from the lists below, then click "
         "the Generate Pathway button:"));
  intro->setWordWrap(true);
  auto* groups = new QHBoxLayout;
  groups->addWidget(sourceGroup, 1);
  groups->addWidget(targetGroup, 1);
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(intro);
  layout->addLayout(groups);
  layout->addWidget(Buttons(this, tr("Generate Pathway"), tr("Cancel"), &ok_));

  // Start on the first type of each group that this network has molecules of (receptors
  // when there is no ligand), so that the defaults can be run as they are.
  for (std::vector<Choice>* group : {&sources_, &targets_}) {
    const auto filled = std::find_if(group->begin(), group->end(),
                                     [](const Choice& c) { return c.list->count() > 0; });
    (filled != group->end() ? *filled : group->front()).button->setChecked(true);
  }
  updateLists();
}

const EasyInterfaceDialog::Choice* EasyInterfaceDialog::choice(const QString& type) const {
  for (const std::vector<Choice>* group : {&sources_, &targets_}) {
    for (const Choice& c : *group) {
      if (c.type == type) return &c;
    }
  }
  return nullptr;
}

void EasyInterfaceDialog::updateLists() {
  bool ready = true;
  for (const std::vector<Choice>* group : {&sources_, &targets_}) {
    bool chosen = false;
    for (const Choice& c : *group) {
      c.list->setEnabled(c.button->isChecked());
      if (c.button->isChecked()) chosen = c.list->currentIndex() >= 0;
    }
    ready = ready && chosen;
  }
  if (ok_ != nullptr) ok_->setEnabled(ready);
}

PathwayQuery EasyInterfaceDialog::query() const {
  QString source, target;
  for (const Choice& c : sources_) {
    if (c.button->isChecked()) source = c.list->currentText();
  }
  for (const Choice& c : targets_) {
    if (c.button->isChecked()) target = c.list->currentText();
  }
  return PathwayQuery::Easy(source.toStdString(), target.toStdString(), directOnly_);
}

}  // namespace tessel::gui
