#include "app/gui/page_viewer.h"

#include <QHBoxLayout>
#include <QPushButton>
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
    : QDialog(parent),
      home_(home),
      view_(new QWebEngineView(this)),
      backButton_(new QPushButton(tr("Back"), this)),
      homeButton_(new QPushButton(tr("Home"), this)) {
  setWindowTitle(tr("Web pages viewer"));
  setObjectName("pageViewer");
  backButton_->setObjectName("back");
  homeButton_->setObjectName("home");
  // Enter in the dialog must not press a button (it would close or reload the page).
  backButton_->setAutoDefault(false);
  homeButton_->setAutoDefault(false);

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
  view_->load(home_);
}

void PageViewer::back() {
  const QUrl current = view_->url();
  if (current.isEmpty() || SamePage(current, home_)) {
    close();
  } else if (view_->history()->canGoBack()) {
    view_->back();
  } else {
    goHome();
  }
}

void PageViewer::goHome() {
  view_->load(home_);
}

}  // namespace tessel::gui
