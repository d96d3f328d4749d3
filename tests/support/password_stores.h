#pragma once

#include <string>
#include <vector>

#include "support/sample_home.h"

namespace tasselby::testing {

// The folder, relative to a home, that holds Firefox's profiles.
inline constexpr const char* kFirefoxProfilesRoot = "Library/Application Support/Firefox/Profiles";

// Firefox's saved-password store of one profile, "signons.sqlite" with the
// tables and indices as Firefox creates them, holding one login (for a form
// of the site) per hostname. Hostnames are origins such as
// "https://www.example.com". Answers the file's path.
std::string writeFirefoxLogins(const SampleHome& home, const std::string& profile,
                               const std::vector<std::string>& hostnames);

// The same store written at the given path (its folder must exist).
std::string writeFirefoxSignons(const std::string& path, const std::vector<std::string>& hostnames);

// A "signons.sqlite" without the logins table, as a damaged or foreign file
// of that name would be.
std::string writeFirefoxSignonsWithoutLogins(const SampleHome& home, const std::string& profile);

}  // namespace tasselby::testing
