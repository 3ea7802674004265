// tessel-gui: the desktop application.
#include <QApplication>
#include <QSettings>
#include <cstdio>
#include <cstdlib>

#include "app/gui/main_window.h"
#include "app/gui/prompts.h"

namespace {

bool Set(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr && *value != '\0';
}

}  // namespace

int main(int argc, char** argv) {
  // Without a display Qt aborts with a long message about platform plugins; say it plainly.
  if (!Set("DISPLAY") && !Set("WAYLAND_DISPLAY") && !Set("QT_QPA_PLATFORM")) {
    std::fputs(
        "tessel-gui: no display (neither DISPLAY nor WAYLAND_DISPLAY is set); run it on a "
        "desktop, or use the tessel command line\n",
        stderr);
    return 1;
  }
  // The embedded browser shares OpenGL contexts with the widgets; this must be set before
  // the application object exists.
  QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
  QApplication app(argc, argv);
  QCoreApplication::setOrganizationName("tessel");
  QCoreApplication::setApplicationName("tessel-gui");
  QCoreApplication::setApplicationVersion(TESSEL_VERSION);

  QSettings settings;
  tessel::gui::DialogPrompts prompts;
  tessel::gui::MainWindow window(settings, prompts);
  window.show();
  return app.exec();
}
