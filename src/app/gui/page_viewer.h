// The page viewer: a dialog with an embedded browser in which result pages, drawings and
// help pages are shown, with "Back" and "Home" buttons. "Back" on the home page closes it.
#pragma once

#include <QDialog>
#include <QUrl>

class QPushButton;
class QWebEngineView;

namespace tessel::gui {

class PageViewer : public QDialog {
  Q_OBJECT

 public:
  explicit PageViewer(const QUrl& home, QWidget* parent = nullptr);

  const QUrl& home() const { return home_; }
  QWebEngineView* view() const { return view_; }

 public slots:
  // Goes back one page; on the home page (nothing to go back to) closes the viewer.
  void back();
  // Shows the home page again.
  void goHome();

 private:
  QUrl home_;
  QWebEngineView* view_;
  QPushButton* backButton_;
  QPushButton* homeButton_;
};

}  // namespace tessel::gui
