#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>

#include "base/names.h"
#include "integration/worker_run.h"
#include "support/chromium_stores.h"
#include "support/sample_data.h"

namespace tasselby::testing {
namespace {

namespace fs = std::filesystem;

// Every item below a folder with its mode and, for files and links, its
// bytes or target; the session's own folders at the top of a home are left
// out (the bus and its services write there) unless asked for by name.
std::map<std::string, std::string> snapshot(const std::string& root, const std::vector<std::string>& also = {}) {
    std::map<std::string, std::string> items;
    std::error_code error;
    for (auto it = fs::recursive_directory_iterator(root, error); !error && it != fs::recursive_directory_iterator();
         it.increment(error)) {
        std::string relative = fs::relative(it->path(), root).string();
        bool session = relative == ".cache" || relative == ".config" || relative == ".local";
        bool asked = std::find(also.begin(), also.end(), relative) != also.end() ||
                     std::any_of(also.begin(), also.end(), [&](const std::string& a) { return a.starts_with(relative + "/"); });
        if (session && !asked) {
            it.disable_recursion_pending();
            continue;
        }
        struct stat info {};
        ::lstat(it->path().c_str(), &info);
        std::string state = std::to_string(info.st_mode);
        if (S_ISREG(info.st_mode)) state += " " + SampleHome(root).read(relative);
        if (S_ISLNK(info.st_mode)) state += " -> " + fs::read_symlink(it->path(), error).string();
        items.emplace(relative, state);
    }
    return items;
}

nlohmann::json parseReport(const WorkerResult& result) {
    EXPECT_EQ(result.exitStatus, 0) << result.standardError;
    return nlohmann::json::parse(result.standardOutput);
}

constexpr const char* kCountKeys[] = {"cookies", "trackingCookies", "databases", "flash", "silverlight"};

class DryRun : public ::testing::TestWithParam<const char*> {};

// The sample home holds data of every browser; with secure deletion on, the
// dry run also walks the overwrite path.
TEST_P(DryRun, LeavesTheHomeByteIdenticalAndCountsAsTheRealRunThatFollows) {
    WorkerRun run;
    std::string systemRoot = run.workingFolder() + "/system";
    buildSampleHome(run.home(), systemRoot);
    run.home().writeSuitePreferences({{kDisplayNotifications, true}, {kSecureDeleteData, true}});
    const std::vector<std::string> options = {"--system-root=" + systemRoot, "--report=json", GetParam()};
    auto home = snapshot(run.homePath());
    auto system = snapshot(systemRoot);

    std::vector<std::string> dryOptions = options;
    dryOptions.insert(dryOptions.begin(), "--dry-run");
    WorkerResult dry = run.run(dryOptions);
    nlohmann::json preview = parseReport(dry);
    EXPECT_TRUE(dry.notifications.empty()) << "a dry run posts nothing";
    EXPECT_TRUE(snapshot(run.homePath()) == home) << "the home changed";
    EXPECT_TRUE(snapshot(systemRoot) == system) << "the system root changed";

    WorkerResult real = run.run(options);
    nlohmann::json done = parseReport(real);
    EXPECT_TRUE(preview["dryRun"]);
    EXPECT_FALSE(done["dryRun"]);
    for (const char* key : kCountKeys) EXPECT_EQ(preview[key], done[key]) << key;
    EXPECT_GT(done["cookies"].get<long>(), 0);
    ASSERT_EQ(preview["stores"].size(), done["stores"].size());
    for (std::size_t i = 0; i < done["stores"].size(); ++i) {
        const nlohmann::json& would = preview["stores"][i];
        const nlohmann::json& did = done["stores"][i];
        EXPECT_EQ(would["path"], did["path"]);
        EXPECT_EQ(would["items"], did["items"]) << did["path"];
        EXPECT_EQ(would["action"], "would remove");
        EXPECT_EQ(did["action"], "removed");
    }
    // The JSON report and the notification tell the same story.
    ASSERT_EQ(real.notifications.size(), 1u);
    EXPECT_EQ(done["report"], real.notifications.front().body);
    EXPECT_EQ(real.notifications.front().body,
              std::to_string(done["cookies"].get<long>()) + " Cookies (" +
                  std::to_string(done["trackingCookies"].get<long>()) + " Tracking Cookies), " +
                  std::to_string(done["databases"].get<long>()) + " Databases, " +
                  std::to_string(done["flash"].get<long>()) + " Flash, " +
                  std::to_string(done["silverlight"].get<long>()) + " Silverlight, and Cache removed from " +
                  GetParam());
    EXPECT_FALSE(snapshot(run.homePath()) == home) << "the real run removed something";
}

INSTANTIATE_TEST_SUITE_P(EveryBrowser, DryRun,
                         ::testing::Values(kSafari, kGoogleChrome, kFirefox),
                         [](const auto& test) {
                             std::string name = test.param;
                             std::erase(name, ' ');
                             return name;
                         });

// A Chromium home of the Linux layout: one site kept by a saved login, two
// others with cookies, local storage, a service worker, Cache Storage and
// site storage, and caches.
void writeChromiumHome(const SampleHome& home) {
    const std::string profile = home.path(".config/chromium/Default");
    home.writeLocalState(".config/chromium", {{"Default", "Person 1"}});
    writeLoginData(profile + "/Login Data", {{"https://kept.localhost/login", "https://kept.localhost/"}});
    writeChromiumCookiesV24(profile + "/Cookies", {{"kept.localhost", "session", ""},
                                                   {".kept.localhost", "__utma", ""},
                                                   {"gone.localhost", "session", ""},
                                                   {".other.localhost", "id", ""}});
    const std::vector<std::string> origins = {"http://kept.localhost", "http://gone.localhost",
                                              "http://other.localhost:8080"};
    writeLevelDb(profile + "/Local Storage/leveldb", localStorageEntries(origins));
    writeLevelDb(profile + "/Service Worker/Database",
                 serviceWorkerEntries({"http://kept.localhost/", "http://gone.localhost/"}));
    writeCacheStorage(profile + "/Service Worker/CacheStorage/one", "http://gone.localhost/");
    writeWebStorage(profile + "/WebStorage", {"http://kept.localhost/", "http://other.localhost:8080/"});
    home.writeFile(".config/chromium/Default/Session Storage/000003.log", "session");
    home.writeFile(".cache/chromium/Default/Cache/Cache_Data/index", "cache");
}

TEST(DryRunLinuxLayout, LeavesTheProfileByteIdenticalAndCountsAsTheRealRunThatFollows) {
    WorkerRun run;
    writeChromiumHome(run.home());
    run.home().writeFile(".config/tasselby/placeholder");  // the preferences folder exists, empty
    const std::vector<std::string> stores = {".config/chromium", ".cache/chromium"};
    auto before = snapshot(run.homePath(), stores);

    WorkerResult dry = run.run({"--layout=linux", "--dry-run", "--report=json", kChromium});
    nlohmann::json preview = parseReport(dry);
    EXPECT_TRUE(snapshot(run.homePath(), stores) == before) << "the profile changed";
    EXPECT_TRUE(dry.notifications.empty());

    WorkerResult real = run.run({"--layout=linux", "--report=json", kChromium});
    nlohmann::json done = parseReport(real);
    EXPECT_EQ(preview["layout"], "linux");
    for (const char* key : kCountKeys) EXPECT_EQ(preview[key], done[key]) << key;
    EXPECT_EQ(done["cookies"], 3) << done.dump();
    EXPECT_GT(done["databases"].get<long>(), 0) << done.dump();
    ASSERT_EQ(preview["stores"].size(), done["stores"].size()) << preview.dump() << "\n" << done.dump();
    for (std::size_t i = 0; i < done["stores"].size(); ++i) {
        EXPECT_EQ(preview["stores"][i]["path"], done["stores"][i]["path"]);
        EXPECT_EQ(preview["stores"][i]["items"], done["stores"][i]["items"]) << done["stores"][i]["path"];
    }
    EXPECT_FALSE(snapshot(run.homePath(), stores) == before) << "the real run removed something";
}

// The preferences command and the worker agree on where the suite lives.
TEST(DefaultsCommand, WritingDisplayNotificationsMakesTheNextRunPostAndReadShowsIt) {
    WorkerRun run;
    EXPECT_TRUE(run.run({kSafari}).notifications.empty());

    WorkerResult written = run.runProgram({TASSELBY_DEFAULTS, "write", kDisplayNotifications, "true"});
    EXPECT_EQ(written.exitStatus, 0) << written.standardError;
    EXPECT_EQ(run.run({kSafari}).notifications.size(), 1u);
    WorkerResult read = run.runProgram({TASSELBY_DEFAULTS, "read", kDisplayNotifications});
    EXPECT_EQ(read.standardOutput, "1\n");
}

}  // namespace
}  // namespace tasselby::testing
