#include "integration/worker_run.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <stdexcept>

extern char** environ;

namespace tasselby::testing {

namespace {

namespace fs = std::filesystem;

// The whole session, bus and services included, is ended past this limit;
// the worker itself gets a shorter one inside the session.
constexpr const char* kSessionLimitSeconds = "180";
// Under the working folder: what the session script leaves for us to read.
constexpr const char* kSessionFolder = ".session";
constexpr char kFieldSeparator = '\x1f';
// The stall limit the worker gets with our own keyring service, which answers
// at once when it answers at all.
constexpr const char* kFakeKeyringStall = "TASSELBY_KEYRING_STALL_MS=2000";
// The signal the session sends just before it starts the command.
constexpr const char* kCommandStartMarker = "CommandStarting";

void writeKeyringItems(const std::string& path, const std::vector<KeychainItem>& items) {
    std::ofstream out(path, std::ios::trunc);
    for (const KeychainItem& item : items) {
        out << item.server << kFieldSeparator << item.authtype << kFieldSeparator << item.protocol << kFieldSeparator
            << item.user << kFieldSeparator << item.port << '\n';
    }
    if (!out) throw std::runtime_error("cannot write " + path);
}

// Runs the command with standard input from /dev/null and its output into
// the log; answers its wait status.
int spawnAndWait(const std::vector<std::string>& command, const std::string& log) {
    std::vector<char*> argv;
    for (const std::string& argument : command) argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, log.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    posix_spawn_file_actions_adddup2(&actions, 1, 2);
    pid_t pid = 0;
    int error = posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) throw std::runtime_error("cannot start " + command.front());
    int status = 0;
    while (waitpid(pid, &status, 0) < 0) {
        if (errno != EINTR) throw std::runtime_error("lost the session process");
    }
    return status;
}

std::vector<PostedNotification> parseNotifications(const std::string& text) {
    std::vector<PostedNotification> posted;
    for (const nlohmann::json& call : nlohmann::json::parse(text)) {
        posted.push_back({call.at("appName").get<std::string>(), call.at("summary").get<std::string>(),
                          call.at("body").get<std::string>(), call.at("actions").get<std::vector<std::string>>()});
    }
    return posted;
}

}  // namespace

WorkerRun::WorkerRun() = default;

WorkerRun& WorkerRun::withKeyring(std::vector<KeychainItem> items) {
    keyring_ = true;
    items_ = std::move(items);
    return *this;
}

WorkerRun& WorkerRun::withFakeKeyring(const std::string& options) {
    fakeKeyring_ = options;
    return *this;
}

WorkerRun& WorkerRun::withLockedKeyring() {
    keyring_ = true;
    lockKeyring_ = true;
    return *this;
}

WorkerRun& WorkerRun::withoutNotificationService() {
    notificationService_ = false;
    return *this;
}

WorkerRun& WorkerRun::monitorBus() {
    monitor_ = true;
    return *this;
}

WorkerResult WorkerRun::run(const std::vector<std::string>& arguments) {
    std::vector<std::string> command = {TASSELBY_WORKER};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return runProgram(command);
}

WorkerResult WorkerRun::runProgram(const std::vector<std::string>& program) {
    const SampleHome session{workFolder_ / kSessionFolder};
    std::error_code ignored;
    fs::remove_all(session.root(), ignored);  // a second run starts afresh
    session.makeFolder("");

    std::vector<std::string> command = {"timeout", "--kill-after=5", kSessionLimitSeconds, "/bin/bash",
                                        TASSELBY_SESSION_SCRIPT, "--home", homePath(), "--work", workingFolder(),
                                        "--out", session.root()};
    if (!notificationService_) command.push_back("--no-notifications");
    if (keyring_) {
        std::string itemsFile = session.path("keyring-items");
        writeKeyringItems(itemsFile, items_);
        command.insert(command.end(), {"--keyring", itemsFile});
    }
    if (!fakeKeyring_.empty()) {
        command.insert(command.begin(), {"env", kFakeKeyringStall});
        command.insert(command.end(), {"--fake-keyring", TASSELBY_FAKE_SECRET_SERVICE, fakeKeyring_});
    }
    if (lockKeyring_) command.push_back("--lock-keyring");
    if (monitor_) command.push_back("--monitor");
    command.push_back("--");
    command.insert(command.end(), program.begin(), program.end());

    int status = spawnAndWait(command, session.path("session.log"));
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0 || !session.exists("status")) {
        throw std::runtime_error("the session did not run the worker:\n" + session.read("session.log"));
    }

    WorkerResult result;
    result.exitStatus = std::stoi(session.read("status"));
    result.standardOutput = session.read("stdout");
    result.standardError = session.read("stderr");
    result.notifications = parseNotifications(session.read("notifications.json"));
    if (monitor_) {
        result.busLog = session.read("bus.log");
        std::size_t start = result.busLog.find(kCommandStartMarker);
        if (start != std::string::npos) result.commandBusLog = result.busLog.substr(start);
    }
    return result;
}

}  // namespace tasselby::testing
