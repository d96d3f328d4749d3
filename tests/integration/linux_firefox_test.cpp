#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <map>

#include "base/names.h"
#include "integration/worker_run.h"
#include "support/cookie_stores.h"
#include "support/firefox_stores.h"

namespace tasselby::testing {
namespace {

constexpr const char* kLinuxLayout = "--layout=linux";

// A process of its own holding the fcntl lock of a file, as a running Firefox
// holds its profile's ".parentlock", until the object goes.
class LockHolder {
public:
    explicit LockHolder(const std::string& path) {
        int ready[2];
        if (pipe(ready) != 0 || pipe(release_) != 0) throw std::runtime_error("pipe");
        child_ = fork();
        if (child_ == 0) {
            alarm(60);  // never outlives a stuck test
            int fd = open(path.c_str(), O_RDWR | O_CREAT, 0644);
            struct flock hold {};
            hold.l_type = F_WRLCK;
            hold.l_whence = SEEK_SET;
            char byte = fd >= 0 && fcntl(fd, F_SETLK, &hold) == 0 ? 'y' : 'n';
            close(release_[1]);
            if (write(ready[1], &byte, 1) != 1 || read(release_[0], &byte, 1) < 0) _exit(1);
            _exit(0);
        }
        close(ready[1]);
        close(release_[0]);
        char byte = 0;
        locked_ = read(ready[0], &byte, 1) == 1 && byte == 'y';
        close(ready[0]);
    }
    ~LockHolder() {
        close(release_[1]);
        int status = 0;
        waitpid(child_, &status, 0);
    }
    bool locked() const { return locked_; }

private:
    int release_[2] = {-1, -1};
    pid_t child_ = -1;
    bool locked_ = false;
};

// Two roots of one home: the classic one with a profile Firefox holds, the
// XDG one with a profile to clean.
TEST(LinuxFirefoxRun, AHeldProfileIsUntouchedTheOtherIsCleanedAndTheRunSaysTryAgainLater) {
    WorkerRun run;
    SampleHome& home = run.home();
    writeProfilesIni(home.path(".mozilla/firefox"), {{"held.default"}});
    writeProfilesIni(home.path(".config/mozilla/firefox"), {{"free.default"}});
    for (const char* profile : {".mozilla/firefox/held.default", ".config/mozilla/firefox/free.default"}) {
        writeLoginsJson(home.path(profile), {"https://alpha.localhost"});
        home.writeFile(std::string(profile) + "/key4.db", "key database");
        writeFirefoxCookies(home.path(std::string(profile) + "/cookies.sqlite"),
                            {{"alpha.localhost", "session", ""}, {"beta.localhost", "session", ""}});
        writeOriginStorage(home.path(profile), "http+++beta.localhost+18765");
    }
    const std::string logins = home.read(".config/mozilla/firefox/free.default/logins.json");
    const std::string heldCookies = home.read(".mozilla/firefox/held.default/cookies.sqlite");
    home.writeFile(".cache/mozilla/firefox/free.default/cache2/entries/0A1B", "cached");

    LockHolder firefox(home.path(".mozilla/firefox/held.default/.parentlock"));
    ASSERT_TRUE(firefox.locked());
    WorkerResult result = run.run({kLinuxLayout, kFirefox});
    EXPECT_EQ(result.exitStatus, 75);
    EXPECT_EQ(result.standardError, "tasselby-worker: skipped Profile .mozilla/firefox/held.default: running browser\n");
    EXPECT_EQ(home.read(".mozilla/firefox/held.default/cookies.sqlite"), heldCookies);
    EXPECT_TRUE(home.exists(".mozilla/firefox/held.default/storage/default/http+++beta.localhost+18765"));
    EXPECT_EQ(queryColumn(home.path(".config/mozilla/firefox/free.default/cookies.sqlite"),
                          "SELECT host FROM moz_cookies"),
              std::vector<std::string>{"alpha.localhost"});
    EXPECT_FALSE(home.exists(".config/mozilla/firefox/free.default/storage/default/http+++beta.localhost+18765"));
    EXPECT_FALSE(home.exists(".cache/mozilla/firefox/free.default/cache2"));
    EXPECT_EQ(home.read(".config/mozilla/firefox/free.default/logins.json"), logins);
    EXPECT_EQ(home.read(".config/mozilla/firefox/free.default/key4.db"), "key database");
}

}  // namespace
}  // namespace tasselby::testing
