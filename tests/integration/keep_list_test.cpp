#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <sstream>

#include "base/names.h"
#include "app/worker_app_delegate.h"
#include "integration/worker_run.h"
#include "support/cookie_stores.h"
#include "keep/worker_extras.h"
#include "platform/linux_platform.h"
#include "platform/secret_service_keychain.h"

namespace tasselby::testing {
namespace {

constexpr const char* kStatusLine = "status: ";
constexpr const char* kItemLine = "item:";
constexpr const char* kKeepLine = "keep: ";
constexpr const char* kProbe = "KeepListProbe.DISABLED_PrintsTheKeychainAndItsKeepList";

// Prints what the worker's keychain search answers in this session, one item
// a line, and the keep list built from it.
void printKeychainAndKeepList() {
    LinuxPlatform platform{CommandLine{}};
    std::optional<KeychainError> error;
    std::optional<std::vector<KeychainAttributes>> items = WorkerExtras::allAccounts(platform, &error);
    std::cout << kStatusLine << (error ? error->code : 0) << '\n';
    for (const KeychainAttributes& item : items.value_or(std::vector<KeychainAttributes>{})) {
        std::cout << kItemLine;
        for (const auto& [code, value] : item) std::cout << ' ' << code << '=' << value;
        std::cout << '\n';
    }
    WorkerAppDelegate delegate(platform);
    for (const std::string& site : delegate.getSmartFavouritesArray()) std::cout << kKeepLine << site << '\n';
}

// Run inside a session by the tests below (disabled otherwise).
TEST(KeepListProbe, DISABLED_PrintsTheKeychainAndItsKeepList) { printKeychainAndKeepList(); }

struct ProbeOutput {
    long status = 1;
    std::vector<std::string> items;
    std::vector<std::string> keep;
    std::string busLog;      // from the probe's start on
    std::string sessionLog;  // the whole session, the keyring's seeding included
};

ProbeOutput runProbe(WorkerRun& run) {
    const std::string self = std::filesystem::read_symlink("/proc/self/exe").string();
    WorkerResult result =
        run.runProgram({self, "--gtest_also_run_disabled_tests", std::string("--gtest_filter=") + kProbe});
    EXPECT_EQ(result.exitStatus, 0) << result.standardOutput << result.standardError;
    ProbeOutput output;
    std::istringstream lines(result.standardOutput);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with(kStatusLine)) output.status = std::stol(line.substr(std::string(kStatusLine).size()));
        if (line.starts_with(kItemLine)) output.items.push_back(line.substr(std::string(kItemLine).size()));
        if (line.starts_with(kKeepLine)) output.keep.push_back(line.substr(std::string(kKeepLine).size()));
    }
    output.busLog = result.commandBusLog;
    output.sessionLog = result.busLog;
    return output;
}

// Server, authentication type, protocol, user, port.
const std::vector<KeychainItem> kSavedPasswords = {
    {"www.example.com", "form", "https", "alice", ""},
    {"mail.example.com", "form", "imap", "bob", "993"},
    {"printer.local", "form", "http", "alice", ""},
    {"example.org", "basic", "https", "alice", ""},
};

// Whether any message of the bus log asked for a secret to be handed over.
bool secretRequested(const std::string& busLog) {
    return busLog.find("member=OpenSession") != std::string::npos ||
           busLog.find("member=GetSecret") != std::string::npos;
}

TEST(KeepListInSession, FormPasswordsOfTheKeyringGiveTheirSites) {
    WorkerRun run;
    run.withKeyring(kSavedPasswords).monitorBus();
    ProbeOutput output = runProbe(run);
    EXPECT_EQ(output.status, kErrSecSuccess);
    EXPECT_EQ(output.keep, std::vector<std::string>{"example.com"});
    std::sort(output.items.begin(), output.items.end());
    EXPECT_EQ(output.items, (std::vector<std::string>{
                                " acct=alice atyp=basic ptcl=https srvr=example.org",
                                " acct=alice atyp=form ptcl=http srvr=printer.local",
                                " acct=alice atyp=form ptcl=https srvr=www.example.com",
                                " acct=bob atyp=form port=993 ptcl=imap srvr=mail.example.com",
                            }));
    EXPECT_NE(output.busLog.find("member=SearchItems"), std::string::npos) << "the search crossed the bus";
    EXPECT_FALSE(secretRequested(output.busLog)) << output.busLog;
    EXPECT_TRUE(secretRequested(output.sessionLog)) << "storing the items handed their secrets over";
}

TEST(KeepListInSession, KeyringThatKeepsAnsweringIsReadToTheEnd) {
    // Our own service: gnome-keyring answers an item's attributes in time
    // that grows with the keyring (keychain_bench measures both). The slow
    // one takes longer in all than the stall limit, never that long for one
    // answer.
    const struct {
        const char* keyring;
        std::size_t items;
        const char* last;  // the last kept site in text order
    } kCases[] = {{"--items 10000", 10000, "site9999.com"}, {"--items 8 --delay 400", 8, "site8.com"}};
    for (const auto& [keyring, items, last] : kCases) {
        WorkerRun run;
        run.withFakeKeyring(keyring);
        ProbeOutput output = runProbe(run);
        EXPECT_EQ(output.status, kErrSecSuccess) << keyring;
        EXPECT_EQ(output.items.size(), items) << keyring;
        ASSERT_EQ(output.keep.size(), items) << keyring;
        std::sort(output.keep.begin(), output.keep.end());
        EXPECT_EQ(output.keep.front(), "site1.com") << keyring;
        EXPECT_EQ(output.keep.back(), last) << keyring;
    }
}

TEST(KeepListInSession, KeyringThatCannotBeAskedGivesNoList) {
    for (const char* stall : {"", "--frozen"}) {
        WorkerRun run;
        if (*stall != '\0') run.withFakeKeyring(stall);
        ProbeOutput output = runProbe(run);
        EXPECT_EQ(output.status, kErrSecNotAvailable) << stall;
        EXPECT_TRUE(output.items.empty()) << stall;
        EXPECT_TRUE(output.keep.empty()) << stall;
    }
}

TEST(KeepListInSession, UnreadableSavedPasswordsStopTheRunBeforeAnyRemoval) {
    // Without options of our own service: gnome-keyring, locked. The stall
    // comes after more answers than the worker keeps calls in flight.
    const struct {
        std::string keyring;
        const char* message;
    } kCases[] = {{"", "the keyring is locked"},
                  {"--items 5 --locked 2", "the keyring is locked"},
                  {"--stall-search", "stopped answering"},
                  {"--fail-search", "stopped answering"},
                  {"--items 600 --stall-after 500", "stopped answering"}};
    for (const auto& [keyring, message] : kCases) {
        WorkerRun run;
        run.home().writeSuitePreferences({{kDisplayNotifications, true}});
        run.home().writeLocalState(kChromeRoot, {{"Default", "Person 1"}});
        const std::string store = run.home().path(std::string(kChromeRoot) + "/Default/Cookies");
        writeChromiumCookies(store, ChromiumCookieSchema::Version20, exampleCookies());
        if (keyring.empty()) {
            run.withKeyring(kSavedPasswords).withLockedKeyring();
        } else {
            run.withFakeKeyring(keyring);
        }
        WorkerResult result = run.monitorBus().run({kGoogleChrome});
        EXPECT_EQ(result.exitStatus, 75) << keyring;
        EXPECT_NE(result.standardError.find(message), std::string::npos) << result.standardError;
        EXPECT_EQ(std::count(result.standardError.begin(), result.standardError.end(), '\n'), 1) << keyring;
        EXPECT_EQ(queryColumn(store, "SELECT name FROM cookies").size(), exampleCookies().size()) << keyring;
        EXPECT_TRUE(result.notifications.empty()) << keyring;
        EXPECT_FALSE(secretRequested(result.commandBusLog)) << keyring;
        EXPECT_EQ(result.commandBusLog.find("member=Unlock"), std::string::npos) << keyring;
    }
}

}  // namespace
}  // namespace tasselby::testing
