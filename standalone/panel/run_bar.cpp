#include "standalone/panel/run_bar.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <cmath>
#include <utility>

namespace lumomixcalc::standalone {
namespace {

constexpr int kSteps = 1000;

QString Duration(double seconds) {
  const int whole = static_cast<int>(std::ceil(seconds));
  return whole < 60 ? QStringLiteral("%1 s").arg(whole)
                    : QStringLiteral("%1 min %2 s").arg(whole / 60).arg(whole % 60);
}

}  // namespace

RunBar::RunBar(std::function<void()> run, std::function<void()> cancel)
    : run_(new QPushButton(QStringLiteral("&Run"))),
      cancel_(new QPushButton(QStringLiteral("Cancel"))),
      progress_(new QProgressBar),
      state_(new QLabel) {
  auto* const layout = new QHBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  run_->setObjectName(QStringLiteral("Run"));
  cancel_->setObjectName(QStringLiteral("Cancel"));
  run_->setToolTip(QStringLiteral("Write the output (Ctrl+R)"));
  cancel_->setToolTip(QStringLiteral("Give the run up; nothing is written (Esc)"));
  cancel_->setEnabled(false);
  progress_->setRange(0, kSteps);
  progress_->setAccessibleName(QStringLiteral("Progress of the run"));
  state_->setMinimumWidth(fontMetrics().horizontalAdvance(QStringLiteral("00 min 00 s left")));
  state_->setObjectName(QStringLiteral("Run state"));
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
  state_->setText(QStringLiteral("running"));
}

void RunBar::SetProgress(double share) {
  progress_->setValue(static_cast<int>(share * kSteps));
  const double elapsed = static_cast<double>(sinceBegin_.elapsed()) / 1000;
  constexpr double kLeastToJudgeBy = 0.5;  // seconds
  if (share >= 1)
    state_->setText(QStringLiteral("completing the file"));
  else if (share > 0 && elapsed > kLeastToJudgeBy)
    state_->setText(Duration(elapsed / share * (1 - share)) + QStringLiteral(" left"));
}

void RunBar::End(const QString& outcome) {
  run_->setEnabled(true);
  cancel_->setEnabled(false);
  progress_->reset();
  state_->setText(outcome);
}

}  // namespace lumomixcalc::standalone
