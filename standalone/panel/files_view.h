#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "standalone/framework/host_calls.h"
#include "standalone/panel/widgets.h"
#include "standalone/runs/job.h"

namespace lumomixcalc::standalone {

class FileField;

// The fields of all files of a run: the inputs, then the output.
class FilesView : public QWidget {
 public:
  // changed is called at every change.
  FilesView(const Registration& registration, const std::function<void()>& changed);

  // The inputs by stream number, without those of empty fields. A file on disk has its absolute
  // path; a name that only GDAL understands is unchanged.
  std::map<int, std::string> Inputs() const;
  QString Output() const;

  void Show(const Job& job);

  // Dims the inputs that the run does not read.
  void ShowRead(const std::set<int>& inputs);

  // Marks the fields whose files a sentence about a failure names.
  void MarkFaults(const QString& failure);

  // The label of the input whose file is also the output, by whatever path; empty when none is.
  QString InputToBeReplaced() const;

  // Has the user choose the first input without a file, or else the first input.
  void Browse();

  // Takes files that were dropped on widgets of these names: one into the field there, or the one
  // whose picture is there, or else into the first input that is free.
  void Take(const QList<QUrl>& files, const QStringList& names);

 private:
  FileField& FreeInput() const;
  void AddSwap(QGridLayout& grid);
  void SuggestOutput();

  std::vector<FileField*> inputs_;
  FileField* output_ = nullptr;
  std::vector<FileField*> fields_;  // all of them
};

}  // namespace lumomixcalc::standalone
