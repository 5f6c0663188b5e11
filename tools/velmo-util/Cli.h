#pragma once

// velmo-util's command line, kept apart from main() so that tests can run it
// in-process and check its exact exit status and output.

#include <ostream>

namespace velmo {
namespace cli {

// Status for unreadable or invalid input and for usage errors. GenSizeInit
// never returns 2 (ERR_DPE_IN_16_ALIGN has no rule behind it), so the exit
// status still tells a bad file from a rejected configuration.
constexpr int kInputError = 2;

// Runs one velmo-util command; returns the process exit status (the GenSize
// result code for gensize and gensize-proc).
int runVelmoUtil(int argc, const char* const* argv, std::ostream& out, std::ostream& err);

}  // namespace cli
}  // namespace velmo
