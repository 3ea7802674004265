// The page viewer: a window of its own with an embedded browser in which result pages,
// drawings and help pages are shown, with "Back" and "Home" buttons. It does not block the
// main window: several results can stay open while other commands run. "Back" goes back
// through the pages visited; on the home page with nothing to go back to it closes the window.
#pragma once

#include <QUrl>
#include <QWidget>

class QPushButton;
class QWebEngineView;

namespace tessel::gui {

class PageViewer : public QWidget {
  Q_OBJECT

 public:
  explicit PageViewer(const QUrl& home, QWidget* parent = nullptr);

  const QUrl& home() const { return home_; }
  QWebEngineView* view() const { return view_; }

 public slots:
  // Goes back one page; on the home page with nothing to go back to, closes the viewer.
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
