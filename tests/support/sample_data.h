#pragma once

#include "support/sample_home.h"

namespace tasselby::testing {

// Fills a home with the data of every browser the worker cleans, with
// notifications on, for the demo and the benchmarks: one call per browser
// store, each a realistic example of its format.
void buildSampleHome(const SampleHome& home);

}  // namespace tasselby::testing
