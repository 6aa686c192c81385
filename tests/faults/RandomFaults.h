#pragma once

#include <rapidcheck.h>

#include <iosfwd>
#include <string>
#include <vector>

#include "tests/faults/FaultRun.h"

// One to six faults at events of a clean update or at later ones of their kind, as they come when
// the tool asks again.
rc::Gen<std::vector<LineFault>> anyFaults(const std::vector<std::string>& events);

// How a counterexample is shown.
void showValue(const LineFault& fault, std::ostream& out);
