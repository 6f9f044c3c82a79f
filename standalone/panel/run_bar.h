#ifndef LUMOMIXCALC_STANDALONE_PANEL_RUN_BAR_H
#define LUMOMIXCALC_STANDALONE_PANEL_RUN_BAR_H

#include "standalone/panel/widgets.h"

namespace lumomixcalc::standalone {

// The buttons that start and cancel a run, and how far it has come.
class RunBar : public QWidget {
 public:
  RunBar(std::function<void()> run, std::function<void()> cancel);

  void Begin();
  void SetProgress(double share);
  // outcome: one or two words that stand until the next run.
  void End(const QString& outcome);

 private:
  QPushButton* run_;
  QPushButton* cancel_;
  QProgressBar* progress_;
  QLabel* state_;
  QElapsedTimer sinceBegin_;
};

}  // namespace lumomixcalc::standalone

#endif
