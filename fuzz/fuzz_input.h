#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tasselby::fuzz {

// The fuzzer's bytes as text.
inline std::string_view text(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

// The bytes cut at every line end; a final line end adds an empty line.
inline std::vector<std::string> lines(std::string_view bytes) {
    std::vector<std::string> out;
    std::size_t start = 0;
    for (std::size_t end = bytes.find('\n'); end != std::string_view::npos; end = bytes.find('\n', start)) {
        out.emplace_back(bytes.substr(start, end - start));
        start = end + 1;
    }
    out.emplace_back(bytes.substr(start));
    return out;
}

// Whether every element of part appears in whole, in the same order.
inline bool isOrderedSubset(const std::vector<std::string>& part, const std::vector<std::string>& whole) {
    std::size_t at = 0;
    for (const std::string& element : part) {
        while (at < whole.size() && whole[at] != element) ++at;
        if (at == whole.size()) return false;
        ++at;
    }
    return true;
}

}  // namespace tasselby::fuzz
