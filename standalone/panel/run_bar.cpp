#include "standalone/panel/run_bar.h"

#include <cmath>
#include <utility>

namespace lumomixcalc::standalone {
namespace {

constexpr int kSteps = 1000;

QString Duration(double seconds) {
  const int whole = static_cast<int>(std::ceil(seconds));
  return whole < 60 ? QString("%1 s").arg(whole)
                    : QString("%1 min %2 s").arg(whole / 60).arg(whole % 60);
}

}  // namespace

RunBar::RunBar(std::function<void()> run, std::function<void()> cancel)
    : run_(Named(new QPushButton("&Run"), "Run")),
      cancel_(Named(new QPushButton("Cancel"), "Cancel")),
      progress_(Named(new QProgressBar, "Progress of the run")),
      state_(Named(new QLabel, "Run state")) {
  auto* const layout = NewLayout<QHBoxLayout>(this);
  run_->setToolTip("Write the output (Ctrl+R)");
  cancel_->setToolTip("Stop the run; nothing is written (Esc)");
  cancel_->setEnabled(false);
  progress_->setRange(0, kSteps);
  state_->setMinimumWidth(fontMetrics().horizontalAdvance("00 min 00 s left"));
  connect(run_, &QPushButton::clicked, std::move(run));
  connect(cancel_, &QPushButton::clicked, std::move(cancel));
  layout->addWidget(run_);
  layout->addWidget(cancel_);
  layout->addWidget(progress_, 1);
  layout->addWidget(state_);
}

void RunBar::Begin() {
  sinceBegin_.start();
  run_->setEnabled(false);
  cancel_->setEnabled(true);
  progress_->setValue(0);
  state_->setText("running");
}

void RunBar::SetProgress(double share) {
  progress_->setValue(static_cast<int>(share * kSteps));
  const double elapsed = static_cast<double>(sinceBegin_.elapsed()) / 1000;
  constexpr double kShortest = 0.5;  // seconds, to judge by
  if (share >= 1)
    state_->setText("completing the file");
  else if (share > 0 && elapsed > kShortest)
    state_->setText(Duration(elapsed / share * (1 - share)) + " left");
}

void RunBar::End(const QString& outcome) {
  run_->setEnabled(true);
  cancel_->setEnabled(false);
  progress_->reset();
  state_->setText(outcome);
}

}  // namespace lumomixcalc::standalone
