#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace tasselby {

// "%@" formatting: each "%@" of the format takes the next argument; "%%" is a
// single "%". Missing arguments leave the rest of the "%@"s empty.
std::string stringWithFormat(std::string_view format, std::initializer_list<std::string_view> arguments);
std::string stringWithFormat(std::string_view format, const std::vector<std::string>& arguments);

std::string componentsJoinedByString(const std::vector<std::string>& parts, std::string_view separator);
std::vector<std::string> componentsSeparatedByString(std::string_view text, std::string_view separator);

// Path text as the worker's paths are written: "/" separators, no trailing "/".
// Appending "" leaves the path as it is; one "/" stands between the parts.
std::string appendingPathComponent(std::string_view path, std::string_view component);
std::string lastPathComponent(std::string_view path);
// Whether a name read from a store can stand for one entry of a folder:
// not empty, not "." or "..", and without "/" or a zero byte. Anything else,
// appended to a folder, would name that folder itself, one above it or
// somewhere else (a zero byte ends the path where the system reads it).
bool isFolderName(std::string_view name);
// The last component without its final extension ("a.b.localstorage" -> "a.b");
// a name that only begins with "." keeps it.
std::string deletingPathExtension(std::string_view path);
// "~" and "~/..." become the home folder, with repeated and trailing "/"
// dropped; any other path, "~user/..." included, comes back unchanged.
std::string expandTilde(std::string_view path, std::string_view home);

}  // namespace tasselby
