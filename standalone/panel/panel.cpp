#include "standalone/panel/panel.h"

#include <QApplication>
#include <QTimer>
#include <clocale>
#include <cstdlib>

#include "standalone/messages.h"
#include "standalone/panel/panel_window.h"
#include "standalone/panel_start.h"
#include "standalone/rasters/gdal_setup.h"
#include "standalone/runs/interruption.h"

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

}  // namespace

void ShowPanel(const Options& options, RunContext& context) {
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
  context.registration.Call(IP_SLOT_SET_MENU);
  PanelWindow window(context, options);
  window.show();
  // A signal closes the panel without a question; its run, if there is one, is cancelled as it
  // goes.
  NoteInterruptions();
  QTimer signalCheck;
  QObject::connect(&signalCheck, &QTimer::timeout, [] {
    if (InterruptingSignal() != 0) QCoreApplication::quit();
  });
  constexpr int kCheckMs = 200;
  signalCheck.start(kCheckMs);
  QApplication::exec();
}

}  // namespace lumomixcalc::standalone
