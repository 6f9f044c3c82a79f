#ifndef LUMOMIXCALC_TESTS_STANDALONE_TEST_REGISTRATION_H
#define LUMOMIXCALC_TESTS_STANDALONE_TEST_REGISTRATION_H

#include "standalone/application/registration.h"

namespace lumomixcalc::standalone {

/// Two inputs and an output, labelled as an application might, blanks included.
inline Registration TwoInputsOneOutput() {
  Registration registration;
  registration.inputs = {MakeStream(1, "File1"), MakeStream(2, "File2")};
  registration.outputs = {MakeStream(3, " Save")};
  registration.regions = true;
  registration.resolutions = true;
  return registration;
}

}  // namespace lumomixcalc::standalone

#endif
