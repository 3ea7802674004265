// Everything the main window asks of the person in front of it: message boxes, file names,
// a line of text, the settings dialogs, the page viewer and the image viewer. The window
// goes through this interface only, so that tests can answer without modal windows.
#pragma once

#include <QString>
#include <QUrl>
#include <functional>

class QDialog;
class QWidget;

namespace tessel::gui {

class UserPrompts {
 public:
  enum class Icon { Information, Warning, Critical };

  virtual ~UserPrompts() = default;

  // A message box. `details`, when not empty, is shown below the text in a smaller font.
  virtual void message(QWidget* parent, Icon icon, const QString& title, const QString& text,
                       const QString& details = {}) = 0;
  // A yes/no question; true for yes.
  virtual bool confirm(QWidget* parent, const QString& title, const QString& text) = 0;
  // File dialogs; an empty result means the person cancelled. `filter` is in Qt's form
  // ("SIG files (*.sig);;All files (*)").
  virtual QString openFileName(QWidget* parent, const QString& caption, const QString& folder,
                               const QString& filter) = 0;
  virtual QString saveFileName(QWidget* parent, const QString& caption,
                               const QString& suggestedPath, const QString& filter) = 0;
  virtual QString folderName(QWidget* parent, const QString& caption, const QString& folder) = 0;
  // One line of text; an empty result means the person cancelled.
  virtual QString text(QWidget* parent, const QString& title, const QString& label,
                       const QString& initial) = 0;
  // Shows a settings dialog modally; true when the person confirmed it.
  virtual bool runDialog(QDialog& dialog) = 0;
  // The page viewer on a local page or a help page, in a window of its own (not modal).
  virtual void showPage(QWidget* parent, const QUrl& page) = 0;
  // What to show as a tooltip over pixel (x, y) of an image; empty text shows none.
  using ImageTip = std::function<QString(int x, int y)>;
  // An image file in a window of its own, modal, with a tooltip when `tip` is given.
  virtual void showImage(QWidget* parent, const QString& title, const QString& file,
                         const ImageTip& tip = {}) = 0;
};

// The real thing: Qt's standard dialogs and the page viewer.
class DialogPrompts final : public UserPrompts {
 public:
  void message(QWidget* parent, Icon icon, const QString& title, const QString& text,
               const QString& details) override;
  bool confirm(QWidget* parent, const QString& title, const QString& text) override;
  QString openFileName(QWidget* parent, const QString& caption, const QString& folder,
                       const QString& filter) override;
  QString saveFileName(QWidget* parent, const QString& caption, const QString& suggestedPath,
                       const QString& filter) override;
  QString folderName(QWidget* parent, const QString& caption, const QString& folder) override;
  QString text(QWidget* parent, const QString& title, const QString& label,
               const QString& initial) override;
  bool runDialog(QDialog& dialog) override;
  void showPage(QWidget* parent, const QUrl& page) override;
  void showImage(QWidget* parent, const QString& title, const QString& file,
                 const ImageTip& tip) override;
};

}  // namespace tessel::gui
