#include "app/gui/prompts.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QInputDialog>
#include <QLabel>
#include <QMessageBox>
#include <QMouseEvent>
#include <QPixmap>
#include <QScrollArea>
#include <QToolTip>
#include <QVBoxLayout>

#include "app/gui/page_viewer.h"

namespace tessel::gui {

namespace {

// An image that names what is under the mouse pointer.
class TippedImage final : public QLabel {
 public:
  explicit TippedImage(UserPrompts::ImageTip tip) : tip_(std::move(tip)) {
    setMouseTracking(static_cast<bool>(tip_));
  }

 protected:
  void mouseMoveEvent(QMouseEvent* event) override {
    const QPoint at = event->position().toPoint();
    const QString text = tip_ ? tip_(at.x(), at.y()) : QString();
    if (text.isEmpty()) {
      QToolTip::hideText();
    } else {
      QToolTip::showText(event->globalPosition().toPoint(), text, this);
    }
    QLabel::mouseMoveEvent(event);
  }

 private:
  UserPrompts::ImageTip tip_;
};

}  // namespace

void DialogPrompts::message(QWidget* parent, Icon icon, const QString& title, const QString& text,
                            const QString& details) {
  QMessageBox box(parent);
  box.setWindowTitle(title);
  box.setText(text);
  box.setInformativeText(details);
  box.setIcon(icon == Icon::Information ? QMessageBox::Information
              : icon == Icon::Warning   ? QMessageBox::Warning
                                        : QMessageBox::Critical);
  box.exec();
}

bool DialogPrompts::confirm(QWidget* parent, const QString& title, const QString& text) {
  return QMessageBox::question(parent, title, text) == QMessageBox::Yes;
}

QString DialogPrompts::openFileName(QWidget* parent, const QString& caption, const QString& folder,
                                    const QString& filter) {
  return QFileDialog::getOpenFileName(parent, caption, folder, filter);
}

QString DialogPrompts::saveFileName(QWidget* parent, const QString& caption,
                                    const QString& suggestedPath, const QString& filter) {
  return QFileDialog::getSaveFileName(parent, caption, suggestedPath, filter);
}

QString DialogPrompts::folderName(QWidget* parent, const QString& caption, const QString& folder) {
  return QFileDialog::getExistingDirectory(parent, caption, folder);
}

QString DialogPrompts::text(QWidget* parent, const QString& title, const QString& label,
                            const QString& initial) {
  bool ok = false;
  const QString value =
      QInputDialog::getText(parent, title, label, QLineEdit::Normal, initial, &ok).trimmed();
  return ok ? value : QString();
}

bool DialogPrompts::runDialog(QDialog& dialog) {
  return dialog.exec() == QDialog::Accepted;
}

void DialogPrompts::showPage(QWidget* parent, const QUrl& page) {
  // A window of its own that frees itself when closed; the main window stays usable.
  auto* viewer = new PageViewer(page, parent);
  viewer->setAttribute(Qt::WA_DeleteOnClose);
  viewer->show();
  viewer->raise();
  viewer->activateWindow();
}

void DialogPrompts::showImage(QWidget* parent, const QString& title, const QString& file,
                              const ImageTip& tip) {
  QDialog dialog(parent);
  dialog.setWindowTitle(title);
  auto* image = new TippedImage(tip);
  image->setPixmap(QPixmap(file));
  auto* scroll = new QScrollArea;
  scroll->setWidget(image);
  scroll->setAlignment(Qt::AlignCenter);
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close);
  QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
  auto* layout = new QVBoxLayout(&dialog);
  layout->addWidget(scroll);
  layout->addWidget(buttons);
  const QSize size = image->sizeHint();
  dialog.resize(qMin(size.width() + 60, 1000), qMin(size.height() + 90, 800));
  dialog.exec();
}

}  // namespace tessel::gui
