// Answers the main window's questions without modal windows and records what it showed.
#pragma once

#include <QDialog>
#include <QList>
#include <QStringList>
#include <QUrl>
#include <functional>

#include "app/gui/prompts.h"

namespace tessel::gui {

class FakePrompts final : public UserPrompts {
 public:
  struct Message {
    Icon icon;
    QString title, text, details;
  };

  // Answers; the file names are used in order, and an empty answer means "cancelled".
  QStringList openAnswers, saveAnswers;
  QString folderAnswer, textAnswer;
  bool confirmAnswer = true;
  // Gets each settings dialog before it "closes"; returns whether it was confirmed.
  std::function<bool(QDialog&)> onDialog = [](QDialog&) { return true; };

  QList<Message> messages;
  QStringList questions;  // confirm() and text() labels
  QStringList dialogTitles, images;
  QList<QUrl> pages;

  void message(QWidget*, Icon icon, const QString& title, const QString& text,
               const QString& details) override {
    messages.append({icon, title, text, details});
  }
  bool confirm(QWidget*, const QString&, const QString& text) override {
    questions << text;
    return confirmAnswer;
  }
  QString openFileName(QWidget*, const QString&, const QString&, const QString&) override {
    return openAnswers.isEmpty() ? QString() : openAnswers.takeFirst();
  }
  QString saveFileName(QWidget*, const QString&, const QString&, const QString&) override {
    return saveAnswers.isEmpty() ? QString() : saveAnswers.takeFirst();
  }
  QString folderName(QWidget*, const QString&, const QString&) override { return folderAnswer; }
  QString text(QWidget*, const QString&, const QString& label, const QString&) override {
    questions << label;
    return textAnswer;
  }
  bool runDialog(QDialog& dialog) override {
    dialogTitles << dialog.windowTitle();
    return onDialog(dialog);
  }
  void showPage(QWidget*, const QUrl& page) override { pages << page; }
  void showImage(QWidget*, const QString&, const QString& file, const ImageTip& tip) override {
    images << file;
    imageTip = tip;
  }
  ImageTip imageTip;  // the last image's tooltip
};

}  // namespace tessel::gui
