#ifndef LUMOMIXCALC_STANDALONE_FRAMEWORK_REGISTRATION_H
#define LUMOMIXCALC_STANDALONE_FRAMEWORK_REGISTRATION_H

#include <map>
#include <string>
#include <vector>

#include "host/ip.h"

namespace lumomixcalc::standalone {

// One input or output as the application declared it.
struct DeclaredStream {
  int number = 0;
  std::string label;  // without the blanks around it

  // The label as an option's name: lower case, blanks dropped.
  std::string OptionName() const;
};

// What the application declared of itself.
struct Registration {
  std::string title;
  int menuX = 0;  // the panel's place on the screen, in pixels
  int menuY = 0;
  bool inCore = false;
  bool regions = false;      // the user may choose a region
  bool resolutions = false;  // and a resolution
  std::vector<DeclaredStream> inputs;
  std::vector<DeclaredStream> outputs;
  std::map<int, IPRoutine> routines;  // by slot

  // Calls the routine of a slot; one that was not registered has nothing to do.
  void Call(int slot) const;

  // Throws Failure when the application asks for what this host does not offer.
  void CheckThatHostCanServe() const;

  // The one output. Valid after CheckThatHostCanServe.
  const DeclaredStream& Output() const { return outputs.front(); }
};

// A declared stream from the label that the application passed.
DeclaredStream MakeStream(int number, const char* label);

}  // namespace lumomixcalc::standalone

#endif
