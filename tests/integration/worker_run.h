#pragma once

#include <string>
#include <vector>

#include "support/sample_home.h"

namespace tasselby::testing {

// A saved password in the keyring, of the network-password schema.
struct KeychainItem {
    std::string server;
    std::string authtype = "form";
    std::string protocol = "https";
    std::string user = "alice";
    std::string port;  // empty: no port attribute
};

// What the notification service received for one Notify call.
struct PostedNotification {
    std::string appName;
    std::string summary;
    std::string body;
    std::vector<std::string> actions;
};

struct WorkerResult {
    int exitStatus = -1;
    std::string standardOutput;
    std::string standardError;
    std::vector<PostedNotification> notifications;
    std::string busLog;  // what dbus-monitor saw, when asked for
    std::string commandBusLog;  // the part of busLog from the command's start on
};

// One run of the built worker, in its own throwaway HOME and working folder,
// inside a private session bus with the notification mock (and, on request,
// an unlocked keyring seeded with items). Nothing outside the two folders is
// touched; both are removed with the object.
class WorkerRun {
public:
    WorkerRun();

    SampleHome& home() { return home_; }
    const std::string& homePath() const { return homeFolder_.path(); }
    const std::string& workingFolder() const { return workFolder_.path(); }

    // Starts a keyring in the session and stores these items before the run.
    WorkerRun& withKeyring(std::vector<KeychainItem> items = {});
    // Leaves the keyring locked after seeding it.
    WorkerRun& withLockedKeyring();
    // Our own keyring service instead (bench/fake_secret_service.cpp), with
    // these options: "--items N" form passwords for www.site1.com ...,
    // "--locked N", "--delay MS", "--stall-after N", "--stall-search",
    // "--frozen" (see there). The worker then
    // gives up on a stalled keyring after two seconds.
    WorkerRun& withFakeKeyring(const std::string& options = "");
    // Runs without a notification service on the bus.
    WorkerRun& withoutNotificationService();
    // Records the session bus traffic into WorkerResult::busLog.
    WorkerRun& monitorBus();

    // Runs the worker with these arguments after argument 0, standard input closed.
    WorkerResult run(const std::vector<std::string>& arguments);
    // Runs another program (path and arguments) in the worker's place, for
    // tests that look at one part of the worker inside the session.
    WorkerResult runProgram(const std::vector<std::string>& command);

private:
    TemporaryFolder homeFolder_{"tasselby-home"};
    TemporaryFolder workFolder_{"tasselby-work"};
    SampleHome home_{homeFolder_.path()};
    bool keyring_ = false;
    bool lockKeyring_ = false;
    std::string fakeKeyring_;
    bool notificationService_ = true;
    bool monitor_ = false;
    std::vector<KeychainItem> items_;
};

}  // namespace tasselby::testing
