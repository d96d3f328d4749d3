#include "linux/firefox_logins.h"

#include <nlohmann/json.hpp>

#include "linux/web_origin.h"

namespace tasselby {

namespace {

constexpr const char* kLoginsKey = "logins";
constexpr const char* kHostnameKey = "hostname";

}  // namespace

std::vector<std::string> FirefoxLogins::hostsOfLoginsJson(std::string_view text) {
    // Parsed without exceptions: a damaged file adds nothing and stops nothing.
    const nlohmann::json document = nlohmann::json::parse(text, nullptr, false);
    std::vector<std::string> hosts;
    if (!document.is_object()) return hosts;
    auto logins = document.find(kLoginsKey);
    if (logins == document.end() || !logins->is_array()) return hosts;
    for (const nlohmann::json& login : *logins) {
        if (!login.is_object()) continue;
        auto hostname = login.find(kHostnameKey);
        if (hostname == login.end() || !hostname->is_string()) continue;
        if (std::optional<WebOrigin> origin = WebOrigin::fromUrl(hostname->get_ref<const std::string&>())) {
            hosts.push_back(std::move(origin->host));
        }
    }
    return hosts;
}

}  // namespace tasselby
