#include "app/gui/page_viewer.h"

#include <QHBoxLayout>
#include <QKeySequence>
#include <QPushButton>
#include <QShortcut>
#include <QVBoxLayout>
#include <QWebEngineHistory>
#include <QWebEngineView>

namespace tessel::gui {

namespace {

bool SamePage(const QUrl& a, const QUrl& b) {
  const auto options = QUrl::NormalizePathSegments | QUrl::StripTrailingSlash;
  return a.adjusted(options) == b.adjusted(options);
}

}  // namespace

PageViewer::PageViewer(const QUrl& home, QWidget* parent)
    : QWidget(parent, Qt::Window),
      home_(home),
      view_(new QWebEngineView(this)),
      backButton_(new QPushButton(tr("Back"), this)),
      homeButton_(new QPushButton(tr("Home"), this)) {
  setWindowTitle(tr("Web pages viewer"));
  setObjectName("pageViewer");
  backButton_->setObjectName("back");
  homeButton_->setObjectName("home");
  backButton_->setToolTip(tr("The page before (Alt+Left)"));
  homeButton_->setToolTip(tr("The page this window was opened on"));

  auto* buttons = new QHBoxLayout;
  buttons->addWidget(backButton_);
  buttons->addWidget(homeButton_);
  buttons->addStretch();
  auto* layout = new QVBoxLayout(this);
  layout->addLayout(buttons);
  layout->addWidget(view_, 1);
  resize(1000, 760);

  connect(backButton_, &QPushButton::clicked, this, &PageViewer::back);
  connect(homeButton_, &QPushButton::clicked, this, &PageViewer::goHome);
  connect(new QShortcut(QKeySequence::Back, this), &QShortcut::activated, this, &PageViewer::back);
  connect(new QShortcut(QKeySequence(Qt::Key_Escape), this), &QShortcut::activated, this,
          &QWidget::close);
  // The window shows the title of the page it shows (the network's name on generated pages).
  connect(view_, &QWebEngineView::titleChanged, this, [this](const QString& title) {
    setWindowTitle(title.isEmpty() || title.startsWith("file:") ? tr("Web pages viewer")
                                                                : title + tr(" - TESSEL"));
  });
  view_->load(home_);
}

void PageViewer::back() {
  if (view_->history()->canGoBack()) {
    view_->back();
    return;
  }
  const QUrl current = view_->url();
  if (current.isEmpty() || SamePage(current, home_)) {
    close();
  } else {
    goHome();
  }
}

void PageViewer::goHome() {
  view_->load(home_);
}

}  // namespace tessel::gui
