#ifndef LUMOMIXCALC_STANDALONE_RUNS_RUN_OBSERVER_H
#define LUMOMIXCALC_STANDALONE_RUNS_RUN_OBSERVER_H

namespace lumomixcalc::standalone {

// What a run tells whoever started it and asks of it, once a strip. All calls come on the thread
// that started the run.
class RunObserver {
 public:
  RunObserver() = default;
  virtual ~RunObserver() = default;
  RunObserver(const RunObserver&) = delete;
  RunObserver& operator=(const RunObserver&) = delete;

  // The share of the run that is done, from 0 to 1, never falling.
  virtual void Progress(double share) = 0;

  // Whether to give up: the run then ends with RunCancelled and nothing published.
  virtual bool IsCancelled() = 0;
};

}  // namespace lumomixcalc::standalone

#endif
