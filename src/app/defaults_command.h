#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace tasselby {

// The preferences command: reads and edits the main application's suite,
// the domain whose three keys the worker reads.
//
//   tasselby-defaults [--layout=macos|linux] [--home=DIR] read [KEY]
//   tasselby-defaults [--layout=macos|linux] [--home=DIR] write KEY true|false
//   tasselby-defaults [--layout=macos|linux] [--home=DIR] delete KEY
//
// The property list is found where the worker of that layout looks for it.
// Every other key of the file is kept; a write replaces the file in one step
// with mode 0600, in the format it had (binary for a new file).
class DefaultsCommand {
public:
    // Exit statuses besides 0.
    static constexpr int kNotFound = 1;      // read or delete of a key or domain that is not there
    static constexpr int kUsage = 64;        // unknown command, key, value or option
    static constexpr int kDataError = 65;    // the existing file is no property list dictionary
    static constexpr int kCannotWrite = 73;  // the new file could not be made

    // Runs one command line (argument 0 is the program name); what it prints
    // goes to out and err. Answers the exit status.
    static int run(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err);
};

}  // namespace tasselby
