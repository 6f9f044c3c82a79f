// The panel's program.
#include <QApplication>
#include <algorithm>
#include <clocale>
#include <cstdlib>
#include <string>
#include <vector>

#include "host/ip.h"
#include "standalone/base/messages.h"
#include "standalone/panel/panel_window.h"
#include "standalone/program.h"
#include "standalone/rasters/gdal_library.h"

namespace lumomixcalc::standalone {
namespace {

// What the toolkit says of a display that it cannot use, before it ends the process by itself. Must
// not return then.
void EndForWantOfDisplay(QtMsgType type, const QMessageLogContext&, const QString& message) {
  static QString reason;
  if (type != QtFatalMsg) {
    if (reason.isEmpty()) reason = message;
    return;
  }
  Tell("the panel cannot be shown: " + (reason.isEmpty() ? message : reason).toStdString());
  std::_Exit(static_cast<int>(ExitStatus::kFailed));
}

void ShowPanel(const Options& options, HostState& host, const std::stop_token& stop) {
  // Without a display the toolkit would end the process by itself.
  if (!DisplayIsNamed() && !qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
    throw Failure("-panel needs a display, and neither DISPLAY nor WAYLAND_DISPLAY is set");
  int argumentCount = 1;
  char programName[] = "lumomixcalc";
  char* arguments[] = {programName, nullptr};
  const QtMessageHandler usual = qInstallMessageHandler(EndForWantOfDisplay);
  QApplication application(argumentCount, arguments);
  qInstallMessageHandler(usual);
  // The toolkit takes the user's locale over; numbers in files and commands keep their point.
  std::setlocale(LC_NUMERIC, "C");
  QCoreApplication::setOrganizationName(QLatin1String(kProgramName));
  QCoreApplication::setApplicationName(QStringLiteral("panel"));

  SetUpGdal();
  host.registration.Call(IP_SLOT_SET_MENU);
  PanelWindow window(host, options.job);
  window.show();
  // A signal closes the panel without a question; its run, if there is one, is cancelled as it
  // goes.
  const std::stop_callback quit(stop, [&application] {
    QMetaObject::invokeMethod(&application, &QApplication::quit, Qt::QueuedConnection);
  });
  QApplication::exec();
}

}  // namespace
}  // namespace lumomixcalc::standalone

int main(int argc, char** argv) {
  using namespace lumomixcalc::standalone;
  std::vector<std::string> arguments(argv + 1, argv + argc);
  // What it shows may have fewer files than a run needs, as after this option.
  if (std::find(arguments.begin(), arguments.end(), "-panel") == arguments.end())
    arguments.insert(arguments.begin(), "-panel");
  return RunProgram(arguments, ShowPanel);
}
