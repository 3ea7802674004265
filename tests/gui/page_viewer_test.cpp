// The page viewer on real local pages, one with a blank in its name: following a link,
// "Back" and "Home", and "Back" on a fresh home page closing the viewer.
#include <QFile>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QWebEngineView>

#include "app/gui/page_viewer.h"

using tessel::gui::PageViewer;

class PageViewerTest : public QObject {
  Q_OBJECT

 public:
  static void initMain() { QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts); }

 private slots:
  void backAndHome() {
    QTemporaryDir dir;
    const QUrl home = QUrl::fromLocalFile(dir.filePath("first page.htm"));
    const QUrl second = QUrl::fromLocalFile(dir.filePath("second.htm"));
    for (const auto& [url, text] :
         {std::pair{home,
                    "<html><body style=\"margin:0\"><a href=\"second.htm\" "
                    "style=\"display:block;height:400px\">next</a></body></html>"},
          std::pair{second, "<html><body>second</body></html>"}}) {
      QFile file(url.toLocalFile());
      QVERIFY(file.open(QIODevice::WriteOnly) && file.write(text) > 0);
    }
    PageViewer viewer(home);
    viewer.show();
    QTRY_COMPARE_WITH_TIMEOUT(viewer.view()->url(), home, 30000);

    // Follow the link with a mouse click: the browser skips pages left without a user's
    // gesture when going back. The first click may come before the page is painted.
    for (int tries = 0; tries < 60 && viewer.view()->url() != second; ++tries) {
      QTest::mouseClick(viewer.view()->focusProxy(), Qt::LeftButton, {}, QPoint(40, 40));
      QTest::qWait(500);
    }
    QCOMPARE(viewer.view()->url(), second);
    QTRY_COMPARE_WITH_TIMEOUT(viewer.view()->title(), QString("second.htm"), 30000);

    QPushButton* back = viewer.findChild<QPushButton*>("back");
    back->click();
    QTRY_COMPARE_WITH_TIMEOUT(viewer.view()->url(), home, 30000);
    QVERIFY(viewer.isVisible());
    viewer.view()->load(second);
    QTRY_COMPARE_WITH_TIMEOUT(viewer.view()->url(), second, 30000);
    viewer.findChild<QPushButton*>("home")->click();
    QTRY_COMPARE_WITH_TIMEOUT(viewer.view()->url(), home, 30000);

    // Nothing before the home page: "Back" closes the viewer.
    PageViewer fresh(home);
    fresh.show();
    QTRY_COMPARE_WITH_TIMEOUT(fresh.view()->url(), home, 30000);
    fresh.findChild<QPushButton*>("back")->click();
    QTRY_VERIFY(!fresh.isVisible());
  }
};

QTEST_MAIN(PageViewerTest)
#include "page_viewer_test.moc"
