// The main window: one button per command, a help button beside most of them, the output
// folder, a progress bar with a Cancel button and a status line. Short commands run on the
// window's thread; long ones (and loads, which may be large) run on the worker thread of a
// CommandRunner, with every command button but "Restart Viewer..." disabled meanwhile.
#pragma once

#include <QString>
#include <QStringList>
#include <QWidget>
#include <memory>
#include <vector>

#include "app/gui/command_runner.h"
#include "model/color_table.h"
#include "model/network.h"
#include "model/readers.h"
#include "output/page_context.h"
#include "pathways/path_search.h"

class QGridLayout;
class QLabel;
class QLineEdit;
class QProgressBar;
class QPushButton;
class QSettings;
class QToolButton;

namespace tessel::gui {

class UserPrompts;

class MainWindow : public QWidget {
  Q_OBJECT

 public:
  // Settings keys: the chosen output folder (empty: the loaded file's folder), the folder
  // the file dialogs start in, and the reference network of gene lists (a file or URL).
  static constexpr const char* kOutputFolderKey = "outputFolder";
  static constexpr const char* kLastFolderKey = "lastFolder";
  static constexpr const char* kReferenceKey = "referenceNetwork";
  static constexpr const char* kWebsiteOfflineKey = "websiteOffline";

  MainWindow(QSettings& settings, UserPrompts& prompts, QWidget* parent = nullptr);
  ~MainWindow() override;

  // The command button with this caption ("Save as...", "E&xit", ...), or nullptr.
  QPushButton* button(const QString& caption) const;
  // Every command button (not the help buttons), in table order.
  QList<QPushButton*> commandButtons() const;
  QPushButton* cancelButton() const { return cancel_; }
  QProgressBar* progressBar() const { return progress_; }
  QString statusText() const;

  bool busy() const { return runner_.running(); }
  const Network* network() const { return network_.get(); }
  const QString& loadedFile() const { return loadedFile_; }
  // Where results and working folders go: the chosen folder, else the loaded file's.
  QString outputFolder() const;
  // The last result page opened, which "Restart Viewer..." opens again; empty at start.
  const QString& lastPage() const { return lastPage_; }
  CommandRunner& runner() { return runner_; }

  // Loads a network file on the worker thread, as the load commands do once a file is
  // chosen.
  void loadNetwork(const QString& file, NetworkFormat format);
  // Reads a network with explicit reader options (the table columns chosen in a dialog).
  void loadNetwork(const QString& file, const ReadOptions& options);

 public slots:
  void loadSigNetwork();
  void loadTwoColumnNetwork();
  void loadGeneList();
  void saveAs();
  void createWebsite();
  void restartViewer();
  void computeStatistics();
  void validateAll();
  void exportPajek();
  void exportMfinder();
  void exportCytoscape();
  void dumpBigCluster();
  void exportExchange();
  void makeGraphvizDrawing();
  void pathwaysGenerator();
  void easyInterface();
  void findMotifs();
  void reduceByConnectivity();
  void propagateFromSources();
  void shuffledNetworks();
  void drawInteractionsMatrix();
  void chooseOutputFolder();

 protected:
  void closeEvent(QCloseEvent* event) override;

 private:
  // When a command button is enabled.
  enum class Needs {
    Always,                // help and exit
    Idle,                  // the loads: whenever no command runs
    Network,               // a loaded network and no command running
    NetworkEvenWhileBusy,  // "Restart Viewer...": a loaded network
  };
  struct Command {
    QPushButton* button;
    Needs needs;
  };
  // How a worker command is shown while it runs and when it fails.
  struct Launch {
    QString status;   // the status line when it starts
    QString failure;  // the failure message (the error goes below it); empty: the error
    bool cancellable = true;
    bool lowPriority = false;
    QString statusSuffix;  // appended to every status line of the run (the seed)
  };

  void buildUi();
  QPushButton* addCommand(QGridLayout* grid, const QString& caption, Needs needs,
                          void (MainWindow::*slot)(), const QString& helpPage = {});
  void updateCommandStates();
  void showOutputFolder();

  void startCommand(const Launch& launch, CommandRunner::Job job);
  void onProgress(qulonglong done, qulonglong total, const QString& text);
  void onEnded();
  void setStatus(const QString& text);

  // Installs a loaded network and tells the person so.
  void installNetwork(std::shared_ptr<const Network> network,
                      std::shared_ptr<const ColorShapeTable> colors, const QString& file,
                      std::size_t warnings);
  // Runs a pathway query; with `listRoutes`, a query of one named pair also lists its routes.
  void runPathways(const PathwayQuery& query, const QString& command, bool listRoutes = false);
  void openPage(const QString& file);
  void openHelp(const QString& page);
  void showAbout();
  // What the pages of a command run now say about where they come from.
  PageContext pageContext(const QString& command) const;
  // The folder that a file dialog starts in.
  QString dialogFolder() const;
  // Runs a short command on the window's thread; a thrown error becomes a message box.
  template <typename F>
  void guarded(const QString& title, F&& f);

  QSettings& settings_;
  UserPrompts& prompts_;
  CommandRunner runner_;
  std::vector<Command> commands_;
  QLabel* networkLine_ = nullptr;
  QLineEdit* folderLine_ = nullptr;
  QPushButton* changeFolder_ = nullptr;
  QProgressBar* progress_ = nullptr;
  QPushButton* cancel_ = nullptr;
  QLabel* status_ = nullptr;
  Launch running_;

  std::shared_ptr<const Network> network_;
  std::shared_ptr<const ColorShapeTable> colors_;
  QString loadedFile_;
  QString defaultFolder_;  // the folder of the last file loaded
  QString lastPage_;
  bool directOnly_ = false;  // the pathway setup's choice, kept for the easy interface
};

}  // namespace tessel::gui
