#include "base/text.h"

namespace tasselby {

namespace {

template <typename Arguments>
std::string format(std::string_view format, const Arguments& arguments) {
    std::string out;
    out.reserve(format.size() + 16 * arguments.size());
    auto next = arguments.begin();
    for (std::size_t i = 0; i < format.size(); ++i) {
        if (format[i] == '%' && i + 1 < format.size()) {
            if (format[i + 1] == '@') {
                if (next != arguments.end()) out.append(*next++);
                ++i;
                continue;
            }
            if (format[i + 1] == '%') {
                out.push_back('%');
                ++i;
                continue;
            }
        }
        out.push_back(format[i]);
    }
    return out;
}

std::string_view withoutTrailingSlashes(std::string_view path) {
    while (path.size() > 1 && path.back() == '/') path.remove_suffix(1);
    return path;
}

}  // namespace

std::string stringWithFormat(std::string_view fmt, std::initializer_list<std::string_view> arguments) {
    return format(fmt, arguments);
}

std::string stringWithFormat(std::string_view fmt, const std::vector<std::string>& arguments) {
    return format(fmt, arguments);
}

std::string componentsJoinedByString(const std::vector<std::string>& parts, std::string_view separator) {
    std::string out;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        if (i > 0) out.append(separator);
        out.append(parts[i]);
    }
    return out;
}

std::vector<std::string> componentsSeparatedByString(std::string_view text, std::string_view separator) {
    std::vector<std::string> parts;
    if (separator.empty()) return {std::string(text)};
    std::size_t start = 0;
    for (;;) {
        std::size_t found = text.find(separator, start);
        if (found == std::string_view::npos) break;
        parts.emplace_back(text.substr(start, found - start));
        start = found + separator.size();
    }
    parts.emplace_back(text.substr(start));
    return parts;
}

std::string appendingPathComponent(std::string_view path, std::string_view component) {
    while (!component.empty() && component.front() == '/') component.remove_prefix(1);
    std::string base(withoutTrailingSlashes(path));
    if (component.empty()) return base;
    if (base.empty()) return std::string(component);
    if (base != "/") base.push_back('/');
    base.append(component);
    return base;
}

bool isFolderName(std::string_view name) {
    return !name.empty() && name != "." && name != ".." && name.find('/') == std::string_view::npos &&
           name.find('\0') == std::string_view::npos;
}

std::string lastPathComponent(std::string_view path) {
    path = withoutTrailingSlashes(path);
    if (path == "/") return "/";
    std::size_t slash = path.rfind('/');
    return std::string(slash == std::string_view::npos ? path : path.substr(slash + 1));
}

std::string deletingPathExtension(std::string_view path) {
    path = withoutTrailingSlashes(path);
    std::size_t slash = path.rfind('/');
    std::size_t nameStart = slash == std::string_view::npos ? 0 : slash + 1;
    std::size_t dot = path.rfind('.');
    if (dot == std::string_view::npos || dot <= nameStart) return std::string(path);
    return std::string(path.substr(0, dot));
}

std::string expandTilde(std::string_view path, std::string_view home) {
    if (path.empty() || path.front() != '~' || (path.size() > 1 && path[1] != '/')) return std::string(path);
    std::string expanded(withoutTrailingSlashes(home));
    std::string_view rest = withoutTrailingSlashes(path.substr(1));
    if (rest == "/") return expanded;
    // Repeated separators collapse, as they do in a tidied path.
    for (std::size_t i = 0; i < rest.size(); ++i) {
        if (rest[i] == '/' && !expanded.empty() && expanded.back() == '/') continue;
        expanded.push_back(rest[i]);
    }
    return expanded;
}

}  // namespace tasselby
