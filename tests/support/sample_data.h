#pragma once

#include <string>

#include "support/sample_home.h"

namespace tasselby::testing {

// Fills a home with the data of every browser the worker cleans, with
// notifications on, for the demo and the benchmarks: one call per browser
// store, each a realistic example of its format. With a system root, the
// per-user temporary folders that the worker finds there are filled too.
void buildSampleHome(const SampleHome& home, const std::string& systemRoot = "");

}  // namespace tasselby::testing
