// The keychain look-up against a keyring of saved form passwords:
//   keychain_bench [ITEMS] [ROUNDS]      (default 10000 items, 3 rounds)
// Inside the test session's private bus, twice: with a gnome-keyring seeded
// with ITEMS form passwords, and with the tests' own keyring service holding
// as many (which answers at once, so the time left is the worker's own and the
// bus's). Each session times alternately the floor (one SearchItems call on a
// fresh connection, what any look-up waits for) and the worker's whole look-up
// (the search, then every item's attributes), and prints the best and median
// of each. The look-up gets a generous time limit here so that a slow keyring
// is measured rather than given up.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include <gio/gio.h>

#include "platform/secret_service_keychain.h"
#include "support/sample_home.h"

namespace {

using Clock = std::chrono::steady_clock;
constexpr const char* kProbeFlag = "--inside-session";

double secondsSince(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

// One SearchItems call on a fresh connection; answers the unlocked items found.
std::size_t searchOnly() {
    GDBusConnection* connection = g_dbus_connection_new_for_address_sync(
        g_getenv("DBUS_SESSION_BUS_ADDRESS"),
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, nullptr, nullptr);
    if (connection == nullptr) return 0;
    GVariant* reply = g_dbus_connection_call_sync(
        connection, "org.freedesktop.secrets", "/org/freedesktop/secrets", "org.freedesktop.Secret.Service",
        "SearchItems", g_variant_new_parsed("({'xdg:schema': 'org.gnome.keyring.NetworkPassword'},)"),
        G_VARIANT_TYPE("(aoao)"), G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
    std::size_t found = 0;
    if (reply != nullptr) {
        GVariant* unlocked = g_variant_get_child_value(reply, 0);
        found = g_variant_n_children(unlocked);
        g_variant_unref(unlocked);
        g_variant_unref(reply);
    }
    g_object_unref(connection);
    return found;
}

void report(const char* name, std::vector<double> times, std::size_t items) {
    std::sort(times.begin(), times.end());
    std::printf("%-28s %6zu items: best %.3f s, median %.3f s\n", name, items, times.front(), times[times.size() / 2]);
}

int insideSession(int rounds) {
    tasselby::SecretServiceKeychain keychain(std::chrono::seconds(60), std::chrono::seconds(600));
    tasselby::KeychainQuery query;
    query.itemClass = tasselby::kSecClassInternetPassword;
    query.returnAttributes = query.matchLimitAll = true;
    std::vector<double> floor, lookUp;
    std::size_t searched = 0, answered = 0;
    for (int round = 0; round < rounds; ++round) {
        Clock::time_point start = Clock::now();
        searched = searchOnly();
        floor.push_back(secondsSince(start));
        start = Clock::now();
        tasselby::KeychainSearchResult result = keychain.copyMatching(query);
        lookUp.push_back(secondsSince(start));
        answered = result.items ? result.items->size() : 0;
        if (result.status != tasselby::kErrSecSuccess) std::printf("look-up failed with status %d\n", result.status);
    }
    report("  floor: SearchItems alone", floor, searched);
    report("  look-up with attributes", lookUp, answered);
    return 0;
}

// Runs the timing rounds inside a session with the keyring the options start.
void timeInSession(const char* keyring, const std::string& keyringOptions, long items, int rounds) {
    tasselby::testing::TemporaryFolder home("tasselby-keychain-home"), work("tasselby-keychain-work");
    const std::string out = work / "session";
    const std::string self = std::filesystem::read_symlink("/proc/self/exe").string();
    const std::string command = std::string("bash '") + TASSELBY_SESSION_SCRIPT + "' --no-notifications --home '" +
                                home.path() + "' --work '" + work.path() + "' --out '" + out + "' " + keyringOptions +
                                " -- '" + self + "' " + kProbeFlag + " " + std::to_string(rounds);
    const Clock::time_point start = Clock::now();
    if (std::system(command.c_str()) != 0) {
        std::fprintf(stderr, "keychain_bench: the session did not start\n");
        return;
    }
    std::printf("%s, %ld items (session with seeding %.1f s):\n", keyring, items, secondsSince(start));
    std::fflush(stdout);
    std::system(("cat '" + out + "/stdout' '" + out + "/stderr'").c_str());
}

}  // namespace

int main(int argc, char* argv[]) {
    if (argc > 2 && std::string(argv[1]) == kProbeFlag) return insideSession(std::atoi(argv[2]));
    const long items = argc > 1 ? std::atol(argv[1]) : 10000;
    const int rounds = argc > 2 ? std::atoi(argv[2]) : 3;
    timeInSession("tests' own keyring service", "--fake-keyring answer:" + std::to_string(items), items, rounds);
    timeInSession("gnome-keyring", "--bulk-keyring " + std::to_string(items), items, rounds);
    return 0;
}
