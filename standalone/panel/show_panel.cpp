#include "standalone/panel/show_panel.h"

#include <cpl_conv.h>

#include <QApplication>
#include <chrono>
#include <clocale>
#include <cstdlib>
#include <thread>

#include "host/ip.h"
#include "standalone/base/messages.h"
#include "standalone/panel/panel_window.h"
#include "standalone/rasters/gdal_library.h"
#include "standalone/rasters/publication.h"

namespace lumomixcalc::standalone {
namespace {

// Reports in our words that Qt cannot use the display. Qt would abort after its last message.
void EndWithoutDisplay(QtMsgType type, const QMessageLogContext&, const QString& message) {
  static QString reason;
  if (type != QtFatalMsg) {
    if (reason.isEmpty()) reason = message;
    return;
  }
  Tell("the panel cannot be shown: " + (reason.isEmpty() ? message : reason).toStdString());
  std::_Exit(static_cast<int>(ExitStatus::kFailed));
}

}  // namespace

void ShowPanel(const std::optional<Job>& first, HostState& host, const std::stop_token& stop) {
  int argumentCount = 1;
  char programName[] = "lumomixcalc";
  char* arguments[] = {programName, nullptr};
  const QtMessageHandler usual = qInstallMessageHandler(EndWithoutDisplay);
  QApplication application(argumentCount, arguments);
  qInstallMessageHandler(usual);
  // Qt takes the user's locale; numbers in files and commands keep their decimal point.
  std::setlocale(LC_NUMERIC, "C");
  QCoreApplication::setOrganizationName(kProgramName);
  QCoreApplication::setApplicationName("panel");

  SetUpGdal();
  // All previews wait for a file that is being opened.
  for (const char* const option : {"GDAL_HTTP_CONNECTTIMEOUT", "GDAL_HTTP_LOW_SPEED_TIME"})
    if (!CPLGetConfigOption(option, nullptr)) CPLSetConfigOption(option, "10");
  if (!CPLGetConfigOption("GDAL_HTTP_LOW_SPEED_LIMIT", nullptr))
    CPLSetConfigOption("GDAL_HTTP_LOW_SPEED_LIMIT", "1");  // byte per second
  host.registration.Call(IP_SLOT_SET_MENU);
  bool runs = false;
  {
    PanelWindow window(host, first);
    window.show();
    // A signal closes the panel without a question, as QApplication::quit would not. The window's
    // end cancels its run.
    const std::stop_callback end(stop, [&application] {
      QMetaObject::invokeMethod(
          &application, [] { QCoreApplication::exit(); }, Qt::QueuedConnection);
    });
    QCoreApplication::exec();
    runs = window.IsRunning();
    // Not later than after a signal. Waiting for a server that does not answer cannot be stopped.
    if (!stop.stop_requested())
      std::thread([] {
        std::this_thread::sleep_for(std::chrono::seconds(1));
        RemovePublicationFolders();
        std::_Exit(static_cast<int>(ExitStatus::kDone));
      }).detach();
  }
  if (stop.stop_requested() && runs) throw Cancelled();
}

}  // namespace lumomixcalc::standalone
