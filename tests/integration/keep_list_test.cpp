#include <gio/gio.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <sstream>

#include "base/names.h"
#include "app/worker_app_delegate.h"
#include "integration/worker_run.h"
#include "keep/worker_extras.h"
#include "platform/linux_platform.h"
#include "platform/secret_service_keychain.h"

namespace tasselby::testing {
namespace {

constexpr const char* kStatusLine = "status: ";
constexpr const char* kItemLine = "item:";
constexpr const char* kKeepLine = "keep: ";
constexpr const char* kProbe = "KeepListProbe.DISABLED_PrintsTheKeychainAndItsKeepList";
constexpr const char* kSilentServiceProbe = "KeepListProbe.DISABLED_PrintsTheKeychainBesideASilentService";

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

// A keyring service that owns its name on the bus but never answers: calls
// to its object wait for a main context that nobody runs.
class SilentSecretService {
public:
    SilentSecretService() {
        GError* error = nullptr;
        gchar* address = g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SESSION, nullptr, &error);
        connection_ = g_dbus_connection_new_for_address_sync(
            address,
            static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                              G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
            nullptr, nullptr, &error);
        g_free(address);
        node_ = g_dbus_node_info_new_for_xml(kInterface, &error);
        g_dbus_connection_register_object(connection_, kObjectPath, node_->interfaces[0], &kNeverAnswers, nullptr,
                                          nullptr, &error);
        GVariant* reply = g_dbus_connection_call_sync(
            connection_, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
            g_variant_new("(su)", kServiceName, 0u), G_VARIANT_TYPE("(u)"), G_DBUS_CALL_FLAGS_NONE, -1, nullptr, &error);
        EXPECT_NE(reply, nullptr) << (error != nullptr ? error->message : "");
        if (reply != nullptr) g_variant_unref(reply);
        if (error != nullptr) g_error_free(error);
    }
    ~SilentSecretService() {
        g_dbus_node_info_unref(node_);
        g_object_unref(connection_);
    }
    SilentSecretService(const SilentSecretService&) = delete;
    SilentSecretService& operator=(const SilentSecretService&) = delete;

private:
    static constexpr const char* kServiceName = "org.freedesktop.secrets";
    static constexpr const char* kObjectPath = "/org/freedesktop/secrets";
    static constexpr const char* kInterface =
        "<node><interface name='org.freedesktop.Secret.Service'>"
        "<method name='SearchItems'><arg type='a{ss}' direction='in'/>"
        "<arg type='ao' direction='out'/><arg type='ao' direction='out'/></method>"
        "<property name='Collections' type='ao' access='read'/>"
        "</interface></node>";
    static constexpr GDBusInterfaceVTable kNeverAnswers = {
        [](GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar*, GVariant*,
           GDBusMethodInvocation*, gpointer) {},
        nullptr, nullptr, {}};

    GDBusConnection* connection_ = nullptr;
    GDBusNodeInfo* node_ = nullptr;
};

// Run inside a session by the tests below (disabled otherwise).
TEST(KeepListProbe, DISABLED_PrintsTheKeychainAndItsKeepList) { printKeychainAndKeepList(); }

TEST(KeepListProbe, DISABLED_PrintsTheKeychainBesideASilentService) {
    SilentSecretService silent;
    printKeychainAndKeepList();
}

struct ProbeOutput {
    long status = 1;
    std::vector<std::string> items;
    std::vector<std::string> keep;
    std::string busLog;      // from the probe's start on
    std::string sessionLog;  // the whole session, the keyring's seeding included
};

ProbeOutput runProbe(WorkerRun& run, const char* probe = kProbe) {
    const std::string self = std::filesystem::read_symlink("/proc/self/exe").string();
    WorkerResult result =
        run.runProgram({self, "--gtest_also_run_disabled_tests", std::string("--gtest_filter=") + probe});
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

TEST(KeepListInSession, LockedKeyringShowsNoItems) {
    WorkerRun run;
    run.withKeyring(kSavedPasswords).withLockedKeyring().monitorBus();
    ProbeOutput output = runProbe(run);
    EXPECT_EQ(output.status, kErrSecItemNotFound);
    EXPECT_TRUE(output.items.empty());
    EXPECT_TRUE(output.keep.empty());
    EXPECT_FALSE(secretRequested(output.busLog)) << "nothing asks to unlock or read a secret";
    EXPECT_EQ(output.busLog.find("member=Unlock"), std::string::npos);
}

TEST(KeepListInSession, NoKeyringServiceGivesNoList) {
    WorkerRun run;
    ProbeOutput output = runProbe(run);
    EXPECT_EQ(output.status, kErrSecNotAvailable);
    EXPECT_TRUE(output.items.empty());
    EXPECT_TRUE(output.keep.empty());
}

TEST(KeepListInSession, KeyringServiceThatNeverAnswersIsGivenUp) {
    WorkerRun run;
    run.monitorBus();
    ProbeOutput output = runProbe(run, kSilentServiceProbe);
    EXPECT_EQ(output.status, kErrSecNotAvailable);
    EXPECT_TRUE(output.keep.empty());
    EXPECT_NE(output.busLog.find("org.freedesktop.Secret.Service"), std::string::npos)
        << "the search went to the silent service:\n" << output.busLog;
}

TEST(KeepListInSession, RunAsksTheKeyringUnlessEverythingIsRemoved) {
    for (bool removeAll : {false, true}) {
        WorkerRun run;
        run.home().writeSuitePreferences({{kRemoveAll, removeAll}});
        run.withKeyring(kSavedPasswords).monitorBus();
        WorkerResult result = run.run({kSafari});
        EXPECT_EQ(result.exitStatus, 0);
        ASSERT_NE(result.commandBusLog, "");
        const bool keyringAsked = result.commandBusLog.find("org.freedesktop.Secret") != std::string::npos;
        EXPECT_EQ(keyringAsked, !removeAll) << "removeAll " << removeAll;
        EXPECT_FALSE(secretRequested(result.commandBusLog));
    }
}

TEST(KeepListInSession, FirefoxRunLeavesTheKeyringAlone) {
    WorkerRun run;
    run.withKeyring(kSavedPasswords).monitorBus();
    WorkerResult result = run.run({kFirefox});
    EXPECT_EQ(result.exitStatus, 0);
    ASSERT_NE(result.commandBusLog, "");
    EXPECT_EQ(result.commandBusLog.find("org.freedesktop.Secret"), std::string::npos);
}

}  // namespace
}  // namespace tasselby::testing
