#include "cleaners/cookies/cookie_store_paths.h"

#include "base/names.h"
#include "base/text.h"

namespace tasselby {

bool isChromiumFamily(const std::string& browser) {
    return browser == kGoogleChrome || browser == kChromium || browser == kOpera;
}

std::vector<std::string> chromiumProfileFolders(WorkerAppDelegate& delegate, const std::string& browser) {
    // Opera keeps a single profile in its base folder.
    if (browser == kOpera) return {delegate.expandTilde(kOperaFolder)};
    if (browser != kGoogleChrome && browser != kChromium) return {};
    std::string base = delegate.expandTilde(browser == kGoogleChrome ? kChromeFolder : kChromiumFolder);
    std::vector<std::string> folders;
    for (const auto& profile : delegate.userProfiles(browser)) {
        folders.push_back(appendingPathComponent(base, profile.first));
    }
    return folders;
}

std::vector<std::string> firefoxProfileFolders(WorkerAppDelegate& delegate) {
    Platform& platform = delegate.platform();
    std::string base = delegate.expandTilde(kFirefoxProfilesFolder);
    std::vector<std::string> folders;
    for (const std::string& name : platform.contentsOfDirectory(base)) {
        std::string folder = appendingPathComponent(base, name);
        if (platform.fileType(folder) == FileType::Directory) folders.push_back(folder);
    }
    return folders;
}

}  // namespace tasselby
