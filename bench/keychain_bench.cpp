// The keychain look-up against a keyring of saved form passwords:
//   keychain_bench [ROUNDS]      (default 5 rounds)
// Inside the test session's private bus: our own keyring service
// (fake_secret_service, which answers at once, so the time left is the
// worker's own and the bus's) holding 1,000 and then 10,000 form passwords,
// and a gnome-keyring seeded with 1,000 as the real-world figure. Each session
// times alternately the floor (one SearchItems call on a fresh connection,
// what any look-up waits for) and the worker's whole look-up (the search, then
// every item's attributes), and prints the best and median of each, and the
// median of the processor time the look-up took in the worker's process
// (its share, whatever the service and the bus cost beside it). The search
// gets a generous time limit here so that a slow keyring is measured rather
// than given up.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gio/gio.h>
#include <sys/resource.h>
#include <unistd.h>

#include "platform/secret_service_keychain.h"
#include "support/sample_home.h"

namespace {

using Clock = std::chrono::steady_clock;
constexpr const char* kProbeFlag = "--inside-session";

double secondsSince(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

// Processor time of the whole process (every thread), in seconds.
double processorSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

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

// Processor time so far of the process that owns a bus name, in seconds
// (the bus itself owns "org.freedesktop.DBus"); 0 when it cannot be read.
double processorSecondsOf(GDBusConnection* connection, const char* busName) {
    GVariant* reply = g_dbus_connection_call_sync(connection, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                                  "org.freedesktop.DBus", "GetConnectionUnixProcessID",
                                                  g_variant_new("(s)", busName), G_VARIANT_TYPE("(u)"),
                                                  G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
    if (reply == nullptr) return 0;
    guint32 pid = 0;
    g_variant_get(reply, "(u)", &pid);
    g_variant_unref(reply);
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string line;
    std::getline(stat, line);
    // After the command name (in parentheses): state, then 10 fields, then
    // user and system time in clock ticks.
    std::istringstream fields(line.substr(line.rfind(')') + 2));
    std::string field;
    for (int skipped = 0; skipped < 11; ++skipped) fields >> field;
    double user = 0, system = 0;
    fields >> user >> system;
    return (user + system) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void report(const char* name, const std::vector<double>& times, std::size_t items) {
    std::printf("%-28s %6zu items: best %.3f s, median %.3f s\n", name, items,
                *std::min_element(times.begin(), times.end()), median(times));
}

int insideSession(int rounds) {
    tasselby::SecretServiceKeychain keychain(std::chrono::seconds(60));
    tasselby::KeychainQuery query;
    query.itemClass = tasselby::kSecClassInternetPassword;
    query.returnAttributes = query.matchLimitAll = true;
    GDBusConnection* bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
    std::vector<double> floor, lookUp, processor, service, daemon;
    std::size_t searched = 0, answered = 0;
    for (int round = 0; round < rounds; ++round) {
        Clock::time_point start = Clock::now();
        searched = searchOnly();
        floor.push_back(secondsSince(start));
        const double serviceStart = processorSecondsOf(bus, "org.freedesktop.secrets");
        const double daemonStart = processorSecondsOf(bus, "org.freedesktop.DBus");
        const double processorStart = processorSeconds();
        start = Clock::now();
        tasselby::KeychainSearchResult result = keychain.copyMatching(query);
        lookUp.push_back(secondsSince(start));
        processor.push_back(processorSeconds() - processorStart);
        service.push_back(processorSecondsOf(bus, "org.freedesktop.secrets") - serviceStart);
        daemon.push_back(processorSecondsOf(bus, "org.freedesktop.DBus") - daemonStart);
        answered = result.items ? result.items->size() : 0;
        if (result.status != tasselby::kErrSecSuccess) std::printf("look-up failed with status %d\n", result.status);
    }
    report("  floor: SearchItems alone", floor, searched);
    report("  look-up with attributes", lookUp, answered);
    std::printf("  processor time, median:    the worker %.3f s, the keyring %.3f s, the bus %.3f s\n",
                median(processor), median(service), median(daemon));
    g_object_unref(bus);
    return 0;
}

// Runs the timing rounds inside a session with the keyring the options start.
void timeInSession(const char* keyring, const std::string& keyringOptions, long items, int rounds) {
    tasselby::testing::TemporaryFolder home("tasselby-keychain-home"), work("tasselby-keychain-work");
    const std::string out = work / "session";
    const std::string self = std::filesystem::read_symlink("/proc/self/exe").string();
    const std::string command = std::string("bash '") + TASSELBY_SESSION_SCRIPT + "' --no-notifications --command-limit 3600 --home '" +
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
    const int rounds = std::max(1, argc > 1 ? std::atoi(argv[1]) : 5);
    for (long items : {1000L, 10000L}) {
        timeInSession("our own keyring service",
                      std::string("--fake-keyring '") + TASSELBY_FAKE_SECRET_SERVICE + "' '--items " +
                          std::to_string(items) + "'",
                      items, rounds);
    }
    timeInSession("gnome-keyring", "--bulk-keyring 1000", 1000, rounds);
    return 0;
}
