// The page viewer on real local pages: following a link, "Back" and "Home", closing with
// "Back" on the home page, and file names with blanks.
#include <QFile>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QWebEngineView>

#include "app/gui/page_viewer.h"

using tessel::gui::PageViewer;

namespace {

void Write(const QString& path, const QByteArray& text) {
  QFile file(path);
  QVERIFY(file.open(QIODevice::WriteOnly));
  file.write(text);
}

}  // namespace

class PageViewerTest : public QObject {
  Q_OBJECT

 public:
  static void initMain() { QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts); }

 private slots:
  void initTestCase() {
    QVERIFY(dir_.isValid());
    Write(dir_.filePath("first page.htm"),
          "<html><body style=\"margin:0\"><a href=\"second.htm\" style=\"display:block;"
          "height:400px\">next</a></body></html>");
    Write(dir_.filePath("second.htm"), "<html><body><p id=\"here\">second</p></body></html>");
  }

  void backAndHome() {
    const QUrl home = QUrl::fromLocalFile(dir_.filePath("first page.htm"));
    const QUrl second = QUrl::fromLocalFile(dir_.filePath("second.htm"));
    QVERIFY(home.toString(QUrl::FullyEncoded).contains("first%20page.htm"));
    PageViewer viewer(home);
    QCOMPARE(viewer.windowTitle(), QString("Web pages viewer"));
    QSignalSpy loads(viewer.view(), &QWebEngineView::loadFinished);
    viewer.show();
    QTRY_VERIFY_WITH_TIMEOUT(!loads.isEmpty(), 30000);
    QVERIFY(loads.last().at(0).toBool());
    QCOMPARE(viewer.view()->url(), home);

    // Follow the link with a mouse click: the browser skips pages left without a user's
    // gesture when going back. The first click may come before the page is painted.
    for (int tries = 0; tries < 60 && viewer.view()->url() != second; ++tries) {
      QTest::mouseClick(viewer.view()->focusProxy(), Qt::LeftButton, {}, QPoint(40, 40));
      QTest::qWait(500);
    }
    QCOMPARE(viewer.view()->url(), second);
    QTRY_COMPARE_WITH_TIMEOUT(viewer.view()->title(), QString("second.htm"), 30000);

    viewer.findChild<QPushButton*>("back")->click();
    QTRY_COMPARE_WITH_TIMEOUT(viewer.view()->url(), home, 30000);
    QVERIFY(viewer.isVisible());

    viewer.view()->load(second);
    QTRY_COMPARE_WITH_TIMEOUT(viewer.view()->url(), second, 30000);
    viewer.findChild<QPushButton*>("home")->click();
    QTRY_COMPARE_WITH_TIMEOUT(viewer.view()->url(), home, 30000);

    // On the home page there is nothing to go back to: "Back" closes the viewer.
    viewer.findChild<QPushButton*>("back")->click();
    QTRY_VERIFY(!viewer.isVisible());
  }

 private:
  QTemporaryDir dir_;
};

QTEST_MAIN(PageViewerTest)
#include "page_viewer_test.moc"
